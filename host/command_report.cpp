#include "host/command_report.h"

#include <algorithm>
#include <array>

#include "host/field_writer.h"
#include "vkcomm/util/numbers.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

using std::chrono::system_clock;

constexpr std::size_t kBytesALine = 24;
constexpr std::size_t kTranscriptBytes = 16;

void padTo(std::string& line, std::size_t column) { line.resize(std::max(line.size() + 1, column), ' '); }

template <typename Use>
void forEachLine(ByteSpan bytes, std::size_t size, Use use) {
    for (std::size_t at = 0; at < bytes.size(); at += size)
        use(bytes.subspan(at, std::min(size, bytes.size() - at)), at == 0);
}

std::string printable(ByteSpan bytes) {
    std::string text;
    for (const unsigned char byte : bytes)
        text += byte >= ' ' && byte < 0x7F ? static_cast<char>(byte) : '.';
    return text;
}

// Offset in the body, bytes, name and value.
std::string fieldLine(const FileField& field) {
    constexpr std::size_t kBytesColumn = 11, kNameColumn = 36, kValueColumn = 60;
    std::string line = "     ";
    appendInteger(line, static_cast<long long>(field.offset), 3);
    padTo(line, kBytesColumn);
    line += spacedHex(field.bytes);
    padTo(line, kNameColumn);
    line += field.name;
    padTo(line, kValueColumn);
    line += field.value;
    line.erase(line.find_last_not_of(' ') + 1);
    return line + "\n";
}

const std::vector<FileField>& fieldsOf(const Command& command) { return command.steps.front().fields; }

std::string cutOffText(const Command& command, const CommandResult& result) {
    if (result.bytesSent == command.size()) return ": all bytes had gone out, but not the answer come";
    return ": " + std::to_string(result.bytesSent) + " of " + std::to_string(command.size()) +
           " bytes had gone out";
}

std::string outcomeText(const Command& command, const CommandResult& result) {
    std::string text(outcomeName(result.outcome));
    if (result.outcome == CommandOutcome::kSent && command.expects == Expectation::kNothing)
        text += " (this receiver does not answer)";
    if (result.outcome == CommandOutcome::kSent && command.expects == Expectation::kPerhaps)
        text += " (no answer came, and none is needed)";
    if (result.lineRate != 0) text += "; this line is at " + std::to_string(result.lineRate) + " bit/s now";
    if (result.outcome == CommandOutcome::kCutOff) text += cutOffText(command, result);
    if (!result.problem.empty()) text += "; " + result.problem;
    return text;
}

void writeFields(std::string& out, const Command& command) {
    out += ",\"fields\":[";
    for (const FileField& field : fieldsOf(command)) {
        out += &field == &fieldsOf(command).front() ? "{" : ",{";
        FieldWriter writer(out, LineFormat::kJson);
        writer.integer("offset", static_cast<std::int64_t>(field.offset));
        writer.bytes("bytes", field.bytes);
        writer.text("name", field.name);
        writer.text("value", field.value);
        out += '}';
    }
    out += ']';
}

void writeResult(std::string& out, const CommandResult& result) {
    FieldWriter writer(out += ',', LineFormat::kJson);
    writer.text("outcome", outcomeName(result.outcome));
    writer.integer("bytes_sent", static_cast<std::int64_t>(result.bytesSent));
    if (!result.problem.empty()) writer.text("problem", result.problem);
    out += ",\"answers\":[";
    for (const Answer& answer : result.answers) {
        out += &answer == &result.answers.front() ? "" : ",";
        if (!answer.json.empty()) {
            out += answer.json;
            continue;
        }
        FieldWriter text(out += '{', LineFormat::kJson);
        text.text("text", answer.text);
        out += '}';
    }
    out += ']';
}

}  // namespace

std::string spacedHex(ByteSpan bytes) {
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i > 0) text += ' ';
        appendUpperHex(text, bytes.subspan(i, 1));
    }
    return text;
}

std::string CommandReport::begin(const Command& command) {
    std::string lines;
    appendFormat(lines, "%3d  ", ++m_number);
    lines += command.what;
    if (command.steps.front().wrapped) lines += "   [in the maker's frame]";
    if (const auto rate = command.newRate())
        appendFormat(lines, "   [%s goes to %d bit/s]", command.portText().c_str(), rate->baud);
    lines += command.resets ? "   [the receiver loses its settings]\n" : "\n";
    for (const CommandStep& step : command.steps)
        forEachLine(step.bytes, kBytesALine, [&](ByteSpan bytes, bool isFirst) {
            lines += (isFirst ? "     > " : "       ") + spacedHex(bytes) + "\n";
        });
    for (const FileField& field : fieldsOf(command))
        lines += fieldLine(field);
    return lines;
}

std::string CommandReport::end(const Command& command, const CommandResult& result) {
    std::string lines;
    for (const Answer& answer : result.answers)
        lines += "     < " + answer.text + "\n";
    return lines + "     " + outcomeText(command, result) + "\n";
}

std::string CommandReport::json(const Command& command, const CommandResult* result) {
    Bytes bytes;
    for (const CommandStep& step : command.steps)
        bytes.insert(bytes.end(), step.bytes.begin(), step.bytes.end());
    std::string out = "{";
    FieldWriter writer(out, LineFormat::kJson);
    writer.integer("command", ++m_number);
    writer.text("what", command.what);
    writer.bytes("bytes", bytes);
    writer.boolean("wrapped", command.steps.front().wrapped);
    writer.boolean("resets", command.resets);
    if (!fieldsOf(command).empty()) writeFields(out, command);
    if (result) writeResult(out, *result);
    return out + "}\n";
}

std::string summaryOf(const std::vector<CommandResult>& results) {
    std::array<int, 6> counts{};
    for (const CommandResult& result : results)
        ++counts[static_cast<std::size_t>(result.outcome)];
    std::string text = std::to_string(results.size()) + (results.size() == 1 ? " command" : " commands");
    const char* separator = ": ";
    for (std::size_t i = 0; i < counts.size(); ++i) {
        if (counts[i] == 0) continue;
        text += separator + std::to_string(counts[i]) + " " +
                std::string(outcomeName(static_cast<CommandOutcome>(i)));
        separator = ", ";
    }
    return text;
}

std::string utcText(system_clock::time_point time) {
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(std::chrono::floor<std::chrono::milliseconds>(time - day));
    std::string text;
    appendFormat(text, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
                 static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                 static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                 static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
    return text;
}

bool Transcript::begin(const std::string& path, SystemError& error, ByteFiles& files) {
    m_file = files.open(toWide(path), kFileCreate | kFileWrite, error);
    return m_file != nullptr;
}

void Transcript::note(std::string_view text, system_clock::time_point time) {
    write(utcText(time) + " # " + std::string(text) + "\n");
}

void Transcript::add(const LineChunk& chunk) {
    const std::string time = utcText(chunk.time);
    std::string lines;
    forEachLine(chunk.bytes, kTranscriptBytes, [&](ByteSpan bytes, bool isFirst) {
        const std::size_t start = lines.size();
        lines += isFirst ? time + (chunk.isSent ? " > " : " < ") : std::string(time.size() + 3, ' ');
        lines += spacedHex(bytes);
        lines.resize(start + time.size() + 3 + 3 * kTranscriptBytes + 1, ' ');
        lines += printable(bytes) + "\n";
    });
    write(lines);
}

void Transcript::write(const std::string& text) {
    if (!m_file || m_error) return;
    m_file->write(bytesOf(text), m_error);
}

}  // namespace vkcomm
