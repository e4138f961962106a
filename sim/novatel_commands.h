// The commands of a simulated NovAtel OEM4 receiver: lines of text, answered by "<OK" or "<ERROR:" and a prompt.
//
// Known are FIX, ECUTOFF, RTKELEVMASK, GLOECUTOFF, LOG, UNLOG, UNLOGALL, INTERFACEMODE, DGPSTXID, COM, IONOCONDITION,
// RTKSOURCE, PSRDIFFSOURCE, SENDHEX, SAVECONFIG and FRESET, in any case. The port that commands come from takes
// commands in every mode. A log asked for once is sent when the receiver has it.
//
// With the board is one of the maker's modems: it takes "$$" frames, which come as they are or through COM2, where
// SENDHEX writes them; what it answers there is not heard.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "sim/arguments.h"
#include "sim/commanded_receiver.h"

namespace vkcomm::sim {

class NovatelCommands final : public CommandedReceiver {
public:
    std::string state() const override;

protected:
    Front frontOf(ByteSpan bytes) const override;

    void obey(ByteSpan command, Reaction& reaction) override;

    std::string_view rateSetting() const override { return "port com1"; }

private:
    bool takesCommands() const;
    struct Row;
    static const Row kRows[];

    void obeyFrame(ByteSpan frame, Reaction& reaction);
    // The problem, or nothing.
    std::string obeyLine(std::string_view line, Reaction& reaction);

    void fix(Arguments& arguments);
    void elevationMask(Arguments& arguments);
    void rtkElevationMask(Arguments& arguments);
    void glonassElevationMask(Arguments& arguments);
    void log(Arguments& arguments);
    void unlog(Arguments& arguments);
    void unlogAll(Arguments& arguments);
    void interfaceMode(Arguments& arguments);
    void station(Arguments& arguments);
    void port(Arguments& arguments);
    void ionosphere(Arguments& arguments);
    void rtkSource(Arguments& arguments);
    void codeSource(Arguments& arguments);
    void sendHex(Arguments& arguments);
    void saveConfig(Arguments& arguments);
    void factoryReset(Arguments& arguments);

    void source(const char* name, std::string_view types, Arguments& arguments);
    void sendLog(std::string_view message);
    void sendThrough(ByteSpan bytes);
    Reaction toModem(ByteSpan frame);

    Reaction* m_reaction = nullptr;  // of the command that is being obeyed
    std::unique_ptr<CommandedReceiver> m_modem;
};

}  // namespace vkcomm::sim
