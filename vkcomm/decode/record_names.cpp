#include "vkcomm/decode/record_names.h"

#include <algorithm>

#include "vkcomm/decode/name_tables.h"

namespace vkcomm {

namespace {

bool isDigit(char character) { return character >= '0' && character <= '9'; }

std::size_t countDigits(std::string_view text) {
    return static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), isDigit) - text.begin());
}

bool isFieldEnd(std::string_view text, std::size_t at) {
    return at >= text.size() || text[at] == ',' || text[at] == '*';
}

// The size of text up to the end of the field of a sentence that begins at start.
std::size_t fieldEnd(std::string_view text, std::size_t start) {
    while (!isFieldEnd(text, start))
        ++start;
    return start;
}

// The text up to the comma or semicolon that ends the name of an ASCII log.
std::string_view logName(std::string_view text) {
    std::size_t size = 0;
    while (size < text.size() && text[size] != ',' && text[size] != ';')
        ++size;
    return text.substr(0, size);
}

// Digits, or digits with a point behind one of them: "142509", "142509.00".
bool isTime(std::string_view field) {
    const std::size_t whole = countDigits(field);
    if (whole == 0 || whole == field.size()) return whole != 0;
    const std::string_view decimals = field.substr(whole + 1);
    return field[whole] == '.' && countDigits(decimals) == decimals.size();
}

// The first two fields of a sentence of a maker: first is up to the first comma, both up to the second.
RecordKind makerKind(std::string_view first, std::string_view both) {
    if (first == "PASHR" && both != first && isTime(both.substr(first.size() + 1)))
        return {LOG_NMEA, kPashrAttitude};
    const KnownName* row = detail::findMakerSentence(first);
    if (!row) row = detail::findMakerSentence(both);
    // the attitude sentence has no name of its own on the wire
    if (!row || row->id == kPashrAttitude) return {};
    return {LOG_NMEA, row->id};
}

// "BESTPOSA_1" without the antenna's number.
std::string_view withoutAntenna(std::string_view name) {
    const std::size_t mark = name.find('_');
    if (mark == std::string_view::npos) return name;
    const std::string_view number = name.substr(mark + 1);
    const bool isNumber = !number.empty() && number.size() <= 2 && countDigits(number) == number.size();
    return isNumber ? name.substr(0, mark) : name;
}

bool isPrintable(unsigned character) { return character > ' ' && character < 0x7F; }

// A reply of the maker's receivers whose pair of letters has no number of its own.
RecordName letterPair(unsigned id) {
    if (!isPrintable(id >> 8) || !isPrintable(id & 0xFF)) return {};
    const char letters[] = {static_cast<char>(id >> 8), static_cast<char>(id & 0xFF)};
    return RecordName({letters, 2});
}

const KnownName* rowOf(std::span<const KnownName> rows, unsigned id) {
    const auto row =
        std::lower_bound(rows.begin(), rows.end(), id,
                         [](const KnownName& known, unsigned wanted) { return known.id < wanted; });
    return row != rows.end() && row->id == id ? &*row : nullptr;
}

}  // namespace

RecordKind dollarKind(std::string_view sentence) {
    constexpr std::size_t kTalkerSize = 2;
    constexpr std::size_t kAddressSize = 5;
    if (!sentence.starts_with('$')) return {};
    const std::string_view fields = sentence.substr(1);
    // no known letters hold the end of a field: when both are known the first field need not be searched for
    if (fields.size() >= kAddressSize && isFieldEnd(fields, kAddressSize))
        if (const unsigned id =
                nmeaId(fields.substr(0, kTalkerSize), fields.substr(kTalkerSize, kAddressSize - kTalkerSize)))
            return {LOG_NMEA, id};
    const std::string_view name = fields.substr(0, fieldEnd(fields, 0));
    if (const KnownName* log = detail::findNovatelAscii(name)) return {LOG_NOVATEL_ASCII, log->id};
    const bool hasMore = name.size() < fields.size() && fields[name.size()] == ',';
    return makerKind(name, hasMore ? fields.substr(0, fieldEnd(fields, name.size() + 1)) : name);
}

unsigned oem4AsciiId(std::string_view log) {
    if (!log.starts_with('#')) return 0;
    std::string_view name = withoutAntenna(logName(log.substr(1)));
    if (!name.ends_with('A') && !name.ends_with('R')) return 0;
    name.remove_suffix(1);
    const KnownName* row = detail::findOem4(name);
    return row ? row->id : 0;
}

std::span<const KnownName> knownNames(LOG_TYPE type) {
    switch (type) {
    case LOG_OEM4_ASCII:
    case LOG_OEM4_BINARY: return detail::oem4Names();
    case LOG_NMEA: return detail::makerSentenceNames();
    case LOG_NOVATEL_ASCII: return detail::novatelAsciiNames();
    default: return detail::packetNames(type);
    }
}

RecordName recordName(LOG_TYPE type, unsigned id) {
    if (const KnownName* row = rowOf(knownNames(type), id)) return RecordName(row->name);
    if (type == LOG_VAREK_REPLY) return letterPair(id);
    if (type != LOG_NMEA || !isNmeaAddress(id)) return {};
    const KnownName* talker = rowOf(nmeaTalkers(), nmeaTalker(id));
    const KnownName* formatter = rowOf(nmeaFormatters(), nmeaFormatter(id));
    return talker && formatter ? RecordName(talker->name, formatter->name) : RecordName();
}

std::string_view recordMeaning(LOG_TYPE type, unsigned id) {
    const KnownName* row = rowOf(knownNames(type), id);
    if (!row && type == LOG_NMEA && rowOf(nmeaTalkers(), nmeaTalker(id)))
        row = rowOf(nmeaFormatters(), nmeaFormatter(id));
    return row ? row->meaning : std::string_view();
}

}  // namespace vkcomm
