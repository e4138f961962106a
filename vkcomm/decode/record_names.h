// The names of records: from the text of a sentence or ASCII log to its Id, and from an Id to a name and a
// meaning.
//
// Names are looked up in constant tables; nothing here allocates, throws, keeps state or depends on the
// locale, and every function may be called from any thread. Names are matched exactly: lower-case letters
// make an unknown name.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "vkcomm/decode/log_type.h"
#include "vkcomm/decode/record_ids.h"
#include "vkcomm/export.h"

namespace vkcomm {

// What a record is.
struct RecordKind {
    LOG_TYPE type = LOG_NONE;  // LOG_NONE: the name is not known
    unsigned id = 0;
};

// What a '$' sentence is, from its whole text, '$' first; the text may end anywhere.
//   "$GPGGA,…"      two letters of a talker and three of a formatter, both known: LOG_NMEA
//   "$PASHR,POS,…"  $PASHR and $PTNL by their second field; "$PASHR,142509.00,…" is kPashrAttitude: LOG_NMEA
//   "$PCSI,…"       other makers' sentences by their first field: LOG_NMEA
//   "$POSA,…"       logs of NovAtel's receivers before OEM4: LOG_NOVATEL_ASCII
// A field ends at ',', '*' or the end of the text. The checksum is not looked at.
VKCOMM_API RecordKind dollarKind(std::string_view sentence);

// The message number of an OEM4 ASCII log from its whole text, '#' first, or 0 for an unknown name. The name
// is the text up to ',' or ';': the log's name and 'A' for a log or 'R' for a response, and on receivers with
// more than one antenna '_' and one or two digits ("#BESTPOSA,…", "#SENDR,…", "#RANGECMPA_1,…"). The CRC is
// not looked at.
VKCOMM_API unsigned oem4AsciiId(std::string_view log);

// The Id of an NMEA address such as ("GP", "GGA"), or 0 when either part is unknown.
VKCOMM_API unsigned nmeaId(std::string_view talker, std::string_view formatter);

// A record's name as a value of its own: up to 31 characters, empty when there is none.
class RecordName {
public:
    static constexpr std::size_t kCapacity = 31;

    constexpr RecordName() = default;

    // The name is first and second joined; what passes the capacity is cut.
    constexpr explicit RecordName(std::string_view first, std::string_view second = {}) {
        append(first);
        append(second);
    }

    // Valid as long as this object, hence not from a temporary.
    constexpr std::string_view view() const& { return {m_text.data(), m_size}; }

    std::string_view view() const&& = delete;

    constexpr bool empty() const { return m_size == 0; }

    friend constexpr bool operator==(const RecordName& name, std::string_view text) {
        return name.view() == text;
    }

private:
    constexpr void append(std::string_view text) {
        for (const char character : text.substr(0, kCapacity - m_size))
            m_text[m_size++] = character;
    }

    std::array<char, kCapacity> m_text{};
    unsigned char m_size = 0;
};

// The name of a record: "BESTPOS" (for the ASCII form and the response too), "GNGGA", "PASHR,POS", "PASHR
// attitude", "GENOUT", "RK", …; empty when type or id is not known.
VKCOMM_API RecordName recordName(LOG_TYPE type, unsigned id);

// What it carries, in a line of English; empty when it is not known. For NMEA the formatter's meaning.
VKCOMM_API std::string_view recordMeaning(LOG_TYPE type, unsigned id);

// A row of the tables. The texts last as long as the program.
struct KnownName {
    unsigned id;
    std::string_view name;
    std::string_view meaning;
};

// Every known name of a type in the order of its Ids; for LOG_NMEA those of makers' sentences, since
// addresses are made of talkers and formatters. A second name of an Id follows the first, which is the one
// that recordName gives.
VKCOMM_API std::span<const KnownName> knownNames(LOG_TYPE type);
// The talkers and formatters of NMEA, with their numbers as ids.
VKCOMM_API std::span<const KnownName> nmeaTalkers();
VKCOMM_API std::span<const KnownName> nmeaFormatters();

}  // namespace vkcomm
