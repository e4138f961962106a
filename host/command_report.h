// Commands and their answers as lines, for people and as JSON, and the transcript of a line.
#pragma once

#include <memory>
#include <string>

#include "host/command_runner.h"
#include "vkcomm/platform/byte_file.h"

namespace vkcomm {

// Numbers the commands from 1.
class CommandReport {
public:
    // For people: what the command is, its bytes in hexadecimal digits, the fields of an application file.
    std::string begin(const Command& command);
    // For people: each answer, and what has become of the command.
    static std::string end(const Command& command, const CommandResult& result);

    // One object: {"command":1,"what":…,"bytes":…,"wrapped":…,"resets":…,"fields":[…],"outcome":…,"answers":[…]}
    // A dry run has neither outcome nor answers.
    std::string json(const Command& command, const CommandResult* result);

private:
    int m_number = 0;
};

// "12 commands: 10 answered, 1 refused, 1 not sent"
std::string summaryOf(const std::vector<CommandResult>& results);

// A file of everything on a line: a line of text for each event, and for bytes the time in UTC, ">" for sent or "<"
// for received, sixteen bytes in hexadecimal digits and as text, and more such lines below it.
class Transcript {
public:
    // False when the file cannot be made, and why in error.
    bool begin(const std::string& path, SystemError& error, ByteFiles& files = systemByteFiles());

    bool isOpen() const { return m_file != nullptr; }

    void note(std::string_view text,
              std::chrono::system_clock::time_point time = std::chrono::system_clock::now());
    void add(const LineChunk& chunk);

    // The first failure of writing.
    const SystemError& error() const { return m_error; }

private:
    void write(const std::string& text);

    std::unique_ptr<ByteFile> m_file;
    SystemError m_error;
};

// "2026-03-01T12:34:56.789Z"
std::string utcText(std::chrono::system_clock::time_point time);

// Upper-case hexadecimal digits, a blank between bytes.
std::string spacedHex(ByteSpan bytes);

}  // namespace vkcomm
