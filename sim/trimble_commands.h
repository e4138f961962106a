// The packets that a simulated Trimble receiver takes:
//
//   ENQ            ACK
//   questions      06h RETSERIAL, 08h RECSTAT1, 4Ah RETOPT with the masks that are set, 49h BREAKRET, 54h satellite
//                  flags or the ephemeris of a satellite, 56h the position, 65h file 0, 66h the list of files
//   58h reset      ACK
//   64h file       ACK behind its last page. Known records are general controls, serial port, reference position,
//                  output message and static or kinematic, in the lengths of the device types 6 and 8. A file with a
//                  wrong record changes nothing.
//
// What is wrong is answered by NAK.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "sim/commanded_receiver.h"

namespace vkcomm::sim {

class TrimbleCommands final : public CommandedReceiver {
protected:
    Front frontOf(ByteSpan bytes) const override;
    void obey(ByteSpan command, Reaction& reaction) override;

    std::string_view rateSetting() const override { return "port 1"; }

private:
    struct Row;
    static const Row kRows[];

    // Each gives the problem, or nothing.
    std::string obeyPacket(ByteSpan packet, Reaction& reaction);
    std::string tellSerial(ByteSpan data, Reaction& reaction);
    std::string tellStatus(ByteSpan data, Reaction& reaction);
    std::string tellOptions(ByteSpan data, Reaction& reaction);
    std::string tellBreak(ByteSpan data, Reaction& reaction);
    std::string tellSatellites(ByteSpan data, Reaction& reaction);
    std::string tellPosition(ByteSpan data, Reaction& reaction);
    std::string tellFile(ByteSpan data, Reaction& reaction);
    std::string tellFiles(ByteSpan data, Reaction& reaction);
    std::string reset(ByteSpan data, Reaction& reaction);
    std::string takePage(ByteSpan data, Reaction& reaction);

    unsigned char maskOr(const char* name, unsigned char usual) const;

    std::vector<unsigned char> m_file;  // the pages that have come
    std::uint8_t m_transmission = 0;
    std::uint8_t m_nextPage = 0;
};

}  // namespace vkcomm::sim
