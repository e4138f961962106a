// A simulated receiver that takes commands: it reads them strictly, changes its settings and answers as the receivers
// of its family do. What it does not know, what fails its check and what is out of range it refuses and notes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "sim/command_front.h"
#include "sim/receiver_settings.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm::sim {

// Something that came in and was understood, or refused.
struct CommandNote {
    std::string command;  // a line, or what a packet says; bytes that are no text as in \x02
    std::string problem;  // why it was refused; empty when it was obeyed

    bool isObeyed() const { return problem.empty(); }
};

// What bytes lead to.
struct Reaction {
    std::vector<unsigned char> answer;  // whole frames for the host
    std::vector<unsigned char> rest;    // what is no command and is heard, in order: corrections, and garbage

    void say(ByteSpan bytes) { answer.insert(answer.end(), bytes.begin(), bytes.end()); }

    void say(std::string_view text) { answer.insert(answer.end(), text.begin(), text.end()); }

    void leave(ByteSpan bytes) { rest.insert(rest.end(), bytes.begin(), bytes.end()); }
};

// Not thread-safe.
class CommandedReceiver {
public:
    virtual ~CommandedReceiver() = default;

    // Takes bytes of the host, cut anywhere; half a command waits for its rest. The same bytes have the same effect
    // however they are cut. Any bytes may come: no more than kMostHeld are kept.
    Reaction receive(ByteSpan bytes);

    static constexpr std::size_t kMostHeld = 2048;

    std::size_t held() const { return m_held.size(); }

    // What the receiver has been set to, one "name: value" a line, by name.
    virtual std::string state() const { return m_settings.text(); }

    const ReceiverSettings& settings() const { return m_settings; }

    // The rate that commands have given the port which they come by; 0 when none has.
    std::uint32_t portRate() const;

    // The newest notes, kMostNotes at most, oldest first.
    const std::deque<CommandNote>& notes() const { return m_notes; }

    static constexpr std::size_t kMostNotes = 1000;

    // How many there were.
    std::uint64_t obeyed() const { return m_obeyed; }

    std::uint64_t refused() const { return m_refused; }

protected:
    // bytes is not empty.
    virtual Front frontOf(ByteSpan bytes) const = 0;
    // Obeys what frontOf called a command: notes it, once or more, and appends what there is to answer.
    virtual void obey(ByteSpan command, Reaction& reaction) = 0;

    // False: corrections reach the receiver in its family's own frames only; what else is no command is lost.
    virtual bool hearsBareCorrections() const { return true; }

    // The setting that begins with the rate of the port which commands come by; empty when there is none.
    virtual std::string_view rateSetting() const { return {}; }

    void note(std::string command, std::string problem = {});
    // Lets another receiver, inside or behind this one, take bytes: its notes become this one's.
    Reaction passOn(CommandedReceiver& other, ByteSpan bytes);

    ReceiverSettings m_settings;

private:
    Front correctionsOrFrontOf(ByteSpan bytes) const;
    void leave(ByteSpan bytes, Reaction& reaction) const;
    void giveUp(ByteSpan& left, Reaction& reaction);

    std::vector<unsigned char> m_held;
    std::deque<CommandNote> m_notes;
    std::uint64_t m_obeyed = 0;
    std::uint64_t m_refused = 0;
};

// The receiver of a family, by the names of sim/recording.h and "thales" and "tsip"; null for any other name.
// "nmea" takes the commands of Thales receivers, "maker" those of any board inside as well.
std::unique_ptr<CommandedReceiver> makeCommandedReceiver(std::string_view family);

}  // namespace vkcomm::sim
