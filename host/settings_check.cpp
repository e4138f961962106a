#include "host/settings_check.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <set>

#include "host/settings_json.h"
#include "vkcomm/datum/process_settings.h"
#include "vkcomm/settings/bluetooth_list.h"
#include "vkcomm/util/numbers.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

using Lines = std::vector<std::string>;

constexpr std::string_view kBlanks = " \t";
constexpr std::size_t kLongestListLine = 48;  // bytes that are read of a line of a list file
constexpr std::size_t kMostProblems = 100;    // that are told
constexpr int kEnglish = 1;                   // of nGetLang

// A line of a text that holds the value of a field, as it stands there.
struct ValueLine {
    const SettingsField* field;
    int record;
    int line;
    std::string text;
};

// A piece of the file as it can be shown.
std::string shown(std::string_view text) {
    constexpr std::size_t kEnough = 60;
    return quotedText(text, kEnough);
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

template <typename Number>
bool isWhole(std::string_view text, Number& number) {
    text = trimmed(text);
    if (text.starts_with('+')) text.remove_prefix(1);
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc{} && result.ptr == text.data() + text.size();
}

// What is wrong with a text for the type of its field, empty when nothing is.
struct TextProblem {
    std::string_view text;

    template <typename Integer>
    std::string integer() const {
        long long number = 0;
        if (!isWhole(text, number)) return "is no whole number: " + shown(text);
        using Range = std::numeric_limits<Integer>;
        if (number >= Range::min() && number <= Range::max()) return {};
        std::string problem;
        appendFormat(problem, "is %lld, which does not fit into the field", number);
        return problem;
    }

    std::string operator()(unsigned char*) const { return integer<unsigned char>(); }

    std::string operator()(std::int32_t*) const { return integer<std::int32_t>(); }

    std::string operator()(float*) const {
        double number = 0;
        return isWhole(text, number) && std::isfinite(number) ? "" : "is no number: " + shown(text);
    }

    std::string operator()(BluetoothAddress*) const {
        BluetoothAddress ignored;
        return parseBluetoothAddress(text, ignored) ? "" : "is no address: " + shown(text);
    }

    // A text is what it is; bytes without names stand in no text form.
    std::string operator()(std::wstring*) const { return {}; }

    std::string operator()(std::span<unsigned char>) const { return {}; }
};

// A text file in lines as CStdioFileCe reads them, in UTF-8.
Lines linesOf(std::string_view bytes) {
    base::CStdioFileCe file;
    file.OpenBytes(bytes);
    Lines lines;
    for (std::wstring line; file.ReadString(line) != 0;)
        lines.push_back(toUtf8(line));
    return lines;
}

// The lines of a list file, whole, although only the front of a longer one is read.
std::vector<std::string_view> listLinesOf(std::string_view bytes) {
    std::vector<std::string_view> lines;
    while (!bytes.empty()) {
        const std::size_t size = bytes.find('\n');
        std::string_view line = bytes.substr(0, size);
        bytes.remove_prefix(std::min(bytes.size(), line.size() + 1));
        if (size != bytes.npos && line.ends_with('\r')) line.remove_suffix(1);
        lines.push_back(line);
    }
    return lines;
}

// The lines of a block of default values in each language: what its labels may be.
std::vector<Lines> blocksOfEveryLanguage(const SettingsKind& kind) {
    base::CMyObArray records;
    records.Add(kind.create());
    const int before = nGetLang();
    std::vector<Lines> blocks;
    for (const int language : {0, 1, 2}) {
        vSetLang(language);
        blocks.push_back(linesOf(settingsBytes(kind, SettingsForm::kText, records)));
    }
    vSetLang(before);
    return blocks;
}

class Check {
public:
    Check(const SettingsKind& kind, std::string_view bytes) : m_kind(kind), m_bytes(bytes) {}

    std::vector<SettingsProblem> run() {
        SettingsProblem unreadable;
        auto settings = readSettings(m_kind, m_bytes, unreadable);
        if (!settings) return {unreadable};
        if (settings->form == SettingsForm::kText) m_kind.isList ? findListLines() : findBlockLines();
        for (const ValueLine& value : m_values)
            checkText(value, settings->records);
        forEachField(m_kind, settings->records,
                     [&](int i, const SettingsField& field, const SettingsRef& value) {
                         const std::string problem = problemWithValue(field, value);
                         if (!problem.empty() && !m_full && !isReported(field, i))
                             report(lineOf(*settings, field, i), field,
                                    "is " + settingsValueText(value) + " and " + problem);
                     });
        if (m_kind.isList) checkList(settings->records, *settings);
        std::ranges::stable_sort(m_problems, {}, &SettingsProblem::line);
        if (m_full) m_problems.push_back({0, "there are more problems than these"});
        return std::move(m_problems);
    }

private:
    void report(int line, std::string text) {
        m_full = m_problems.size() == kMostProblems;
        if (!m_full) m_problems.push_back({line, std::move(text)});
    }

    void report(int line, const SettingsField& field, const std::string& problem) {
        report(line, field.path() + " " + problem + " (" + std::string(field.meaning) + ")");
    }

    const ValueLine* find(const SettingsField& field, int record) const {
        const auto found = std::ranges::find_if(m_values, [&](const ValueLine& value) {
            return value.field == &field && value.record == record;
        });
        return found == m_values.end() ? nullptr : &*found;
    }

    int lineOf(const Settings& settings, const SettingsField& field, int record) const {
        if (settings.form == SettingsForm::kJson) return jsonLineOf(m_bytes, field.name, record);
        const ValueLine* const value = find(field, record);
        return value == nullptr ? 0 : value->line;
    }

    // Of a text that is no number nothing more need be said.
    bool isReported(const SettingsField& field, int record) const {
        const ValueLine* const value = find(field, record);
        return value != nullptr &&
               std::ranges::find(m_problems, value->line, &SettingsProblem::line) != m_problems.end();
    }

    void checkText(const ValueLine& value, base::CMyObArray& records) {
        if (value.record >= records.GetSize()) return;
        const SettingsRef ref = value.field->in(*records.GetAt(value.record));
        const std::string problem = std::visit(TextProblem{value.text}, ref);
        if (!problem.empty()) report(value.line, *value.field, problem);
    }

    // A text block: an optional title, the version of the block, pairs of a label and a value.
    void findBlockLines() {
        const BlockLines block{linesOf(m_bytes), blocksOfEveryLanguage(m_kind)};
        const std::size_t title = m_kind.hasTitleLine ? 1 : 0;
        const int version = versionIn(block.lines.at(title + 1), title + 1);
        std::size_t at = 0;       // in the lines of the file
        std::size_t written = 0;  // in those of a block of the newest version
        if (m_kind.hasTitleLine) checkLabel(block, at++, written++);
        for (const SettingsPair& pair : m_kind.pairs) {
            if (pair.since <= version) {
                if (at + 1 >= block.lines.size())
                    return report(lineNumber(block.lines.size() - 1), "the file ends before " + nameOf(pair));
                checkLabel(block, at, written);
                takeValue(pair, lineNumber(at + 1), block.lines[at + 1]);
                at += 2;
            }
            written += 2;
        }
        if (at < block.lines.size()) report(lineNumber(at), "is behind the end of the block and not read");
    }

    struct BlockLines {
        Lines lines;
        std::vector<Lines> expected;  // by language
    };

    static int lineNumber(std::size_t at) { return static_cast<int>(at) + 1; }

    int versionIn(const std::string& text, std::size_t at) {
        const int version = static_cast<int>(std::min(parseInteger(text), 1000L));
        if (version > m_kind.newestVersion)
            report(lineNumber(at), "version " + shown(text) + " is newer than " +
                                       std::to_string(m_kind.newestVersion) + " and read as that");
        return version;
    }

    void checkLabel(const BlockLines& block, std::size_t at, std::size_t written) {
        const std::string& label = block.lines[at];
        const auto isLabel = [&](const Lines& language) { return language[written] == label; };
        if (!std::ranges::any_of(block.expected, isLabel))
            report(lineNumber(at), shown(label) + " is not the label that belongs here, " +
                                       shown(block.expected[kEnglish][written]));
    }

    static std::string nameOf(const SettingsPair& pair) {
        return pair.name.empty() ? "the antenna" : std::string(pair.name);
    }

    void takeValue(const SettingsPair& pair, int line, const std::string& text) {
        if (!pair.name.empty()) m_values.push_back({m_kind.find(pair.group, pair.name), 0, line, text});
        if (pair.name.empty() && !pair.group.empty() && trimmed(text) != "1")
            report(line, "version " + shown(text) + " of the antenna is not read");
    }

    // The list of Bluetooth devices: entries of a mark and three lines, then an end.
    void findListLines() {
        constexpr std::string_view kMark = "[BTINFO]";
        constexpr std::array<std::string_view, 3> kFields = {"strName", "uAddress", "bPreferred"};
        const auto lines = listLinesOf(m_bytes);
        const auto isMark = [&](std::size_t at) {
            return at < lines.size() && cutUtf8(lines[at], kLongestListLine).find(kMark) != kMark.npos;
        };
        std::size_t at = 0;
        while (at < lines.size() && !isMark(at))
            ++at;
        for (int record = 0; isMark(at); at += 1 + kFields.size(), ++record) {
            if (at + kFields.size() >= lines.size())
                return report(lineNumber(at), "the file ends inside the entry that begins here");
            for (std::size_t i = 0; i < kFields.size(); ++i)
                takeListLine(*m_kind.find("", kFields[i]), record, lineNumber(at + i + 1), lines[at + i + 1]);
        }
        checkListEnd(lines, at);
    }

    void takeListLine(const SettingsField& field, int record, int line, std::string_view text) {
        const std::string_view kept = cutUtf8(text, kLongestListLine);
        if (kept.size() < text.size())
            report(line, field, "is cut to " + std::to_string(kept.size()) + " bytes");
        m_values.push_back({&field, record, line, std::string(kept)});
    }

    void checkListEnd(const std::vector<std::string_view>& lines, std::size_t at) {
        if (at >= lines.size())
            report(std::max(lineNumber(lines.size()) - 1, 1), "the file ends without an [END]");
        else if (trimmed(lines[at]) != "[END]")
            report(lineNumber(at), "is neither [BTINFO] nor [END]: the list ends here");
        else if (at + 1 < lines.size())
            report(lineNumber(at + 1), "is behind the [END] and not read");
    }

    // What concerns more than one device.
    void checkList(const base::CMyObArray& devices, const Settings& settings) {
        int preferred = 0;
        std::set<BluetoothAddress> addresses;
        for (int i = 0; i < devices.GetSize() && !m_full; ++i) {
            const auto& device = static_cast<const CBTInformation&>(*devices.GetAt(i));
            if (!addresses.insert(device.uAddress).second)
                report(lineOf(settings, *m_kind.find("", "uAddress"), i),
                       "uAddress stands in the list a second time");
            if (device.bPreferred != 0 && ++preferred == 2)
                report(lineOf(settings, *m_kind.find("", "bPreferred"), i),
                       "bPreferred is set for a second device");
        }
    }

    const SettingsKind& m_kind;
    std::string_view m_bytes;
    std::vector<ValueLine> m_values;
    std::vector<SettingsProblem> m_problems;
    bool m_full = false;  // a problem was left out
};

}  // namespace

std::vector<SettingsProblem> checkSettings(const SettingsKind& kind, std::string_view bytes) {
    return Check(kind, bytes).run();
}

}  // namespace vkcomm
