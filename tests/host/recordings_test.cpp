// Recordings of real receivers against what an independent scanner counted in them, and against each other.
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <sstream>

#include "host/receiver_family.h"
#include "tests/host/recordings.h"
#include "vkcomm/decode/record_ids.h"

namespace vkcomm::test {
namespace {

using Message = std::pair<std::string, std::string>;  // family and message, as the scanner names them
using Counts = std::map<Message, int>;

const std::set<std::string> kCountedFamilies{"nmea", "oem4", "oem4_ascii", "trimble", "cmc", "bin"};

const std::map<std::string, std::string> kFamilyOfFolder{
    {"ashtech_pashr", "thales"},     {"cmc_allstar", "cmc"},
    {"corrections", "nmea"},         {"csi_bin", "csi"},
    {"javad_greis", "javad"},        {"nmea", "nmea"},
    {"oem4_ascii", "oem4"},          {"oem4_binary", "oem4"},
    {"other_foreign", "oem4"},       {"robustness_synthetic", "oem4"},
    {"trimble_tsip", "tsip"},        {"trimble_stx_gsof", "trimble"},
    {"trimble_stx_rt17", "trimble"},
};

std::uint32_t maskFor(const std::string& file) {
    return findFamily(kFamilyOfFolder.at(file.substr(0, file.find('/'))))->decodeMask;
}

// The rule of the stream: a '$' sentence whose name is not known is no record, only counted.
struct UnknownAddresses {
    const char* whose;
    std::set<std::string> addresses;
};

const UnknownAddresses kUnknownAddresses[] = {
    {"the second antenna of Unicore receivers",
     {"GAGSVH", "GBGSVH", "GLGSVH", "GNGGAH", "GNGLLH", "GNGNSH", "GNGRSH", "GNGSAH", "GNGSTH", "GNHPR2",
      "GNRMCH", "GNROT2", "GNTHS2", "GNTRA2", "GNVTGH", "GPGSVH", "GQGSVH"}},
    {"Furuno", {"PERDAPI", "PERDCRJ", "PERDCRQ", "PERDCRW", "PERDCRX", "PERDCRY", "PERDCRZ", "PFEC"}},
    {"Trimble and Fugro", {"PFUGDP", "PGPPADV"}},
    {"Garmin", {"PGRME", "PGRMM", "PGRMZ"}},
    {"others", {"PSRFEPE", "PSTI", "PTNTA", "PUBX"}},
};

bool isUnknown(const std::string& message) {
    const std::string address = message.substr(0, message.find(','));
    return std::ranges::any_of(kUnknownAddresses,
                               [&](const auto& row) { return row.addresses.contains(address); });
}

constexpr std::string_view kSwallowingLeads = "\xFF%@<";
constexpr const char* kSwallowed = "a swallowing lead takes the bytes behind it without a check";

// What else differs from the scanner's counts, which looks for one family at a time: all with the whole mask.
struct Difference {
    const char* file;
    Message message;
    int count;
    const char* reason;
};

const Difference kDifferences[] = {
    {"nmea/gpsd_ublox-zed-f9r.log", {"nmea", "GNRMC"}, -30, kSwallowed},
    {"nmea/gpsd_ublox-zed-f9r.log",
     {"trimble", "0x00"},
     1,
     "02 0B 00 00 0B 03 inside another maker's binary message is a whole Trimble packet"},
    {"nmea/pynmeagps_pygpsdata-mixed.log", {"nmea", "GNGGA"}, -2, kSwallowed},
    {"nmea/rtklib_ubx_20080526_nmea_plus_ubx.ubx", {"nmea", "GPRMC"}, -28, kSwallowed},
    {"oem4_binary/oem7driver_ins1.gps", {"oem4", "1945"}, -1, kSwallowed},
    {"oem4_binary/oem7driver_ins1.gps", {"oem4", "2051"}, -4, kSwallowed},
    {"oem4_binary/oem7driver_ins2.gps", {"oem4", "1465"}, -1, kSwallowed},
};

// Per file, the scanner's counts of the families that are framed here.
std::map<std::string, Counts> scannerCounts() {
    std::map<std::string, Counts> files;
    const auto json = nlohmann::json::parse(recording("counts.json"));
    for (const auto& [file, families] : json.items())
        for (const auto& [family, counts] : families.items()) {
            Counts& known = files[file];
            if (!kCountedFamilies.contains(family)) continue;
            for (const auto& [message, count] : counts.items())
                known[{family, message}] = count;
        }
    return files;
}

std::vector<std::string> fieldsOf(const std::string& text) {
    std::vector<std::string> fields;
    std::istringstream stream(text.substr(1, text.find_first_of("*;") - 1));
    for (std::string field; std::getline(stream, field, ',');)
        fields.push_back(field);
    return fields;
}

std::string nameOfSentence(const std::string& sentence) {
    static const std::set<std::string> kNamedBySecondField{"PASHR", "PTNL", "PSTI"};
    const std::vector<std::string> fields = fieldsOf(sentence);
    if (!kNamedBySecondField.contains(fields[0])) return fields[0];
    return fields[0] + "," + fields[1].substr(0, fields[1].find('.'));
}

// The record's family and message as the scanner names them, from its bytes; no family: it counts no such.
Message messageOf(const Record& record) {
    const std::string& bytes = record.bytes;
    const auto little16 = [&](std::size_t at) {
        return std::to_string(byteOf(bytes[at]) + 256 * byteOf(bytes[at + 1]));
    };
    switch (record.type) {
    case LOG_NMEA: return {"nmea", nameOfSentence(bytes)};
    case LOG_OEM4_ASCII: return {"oem4_ascii", fieldsOf(bytes)[0]};
    case LOG_OEM4_BINARY: return {"oem4", little16(4)};
    case LOG_TRIMBLE_PACKET: return {"trimble", "0x" + digits(byteOf(bytes[2]), 2)};
    case LOG_CMC_BINARY:
        return {"cmc", std::to_string(byteOf(bytes[1])) + "/len" + std::to_string(byteOf(bytes[3]))};
    case LOG_HEMISPHERE_BINARY: return {"bin", little16(4) + "/" + little16(6)};
    default: return {};
    }
}

Counts countsOf(const std::vector<Record>& records) {
    Counts counts;
    for (const Record& record : records)
        if (const Message message = messageOf(record); !message.first.empty()) ++counts[message];
    return counts;
}

Counts expectedCounts(const std::string& file, Counts counts, bool wholeMask) {
    std::erase_if(counts, [](const auto& entry) { return isUnknown(entry.first.second); });
    for (const Difference& row : kDifferences)
        if (wholeMask && row.file == file) counts[row.message] += row.count;
    std::erase_if(counts, [](const auto& entry) { return entry.second == 0; });
    return counts;
}

// Every byte of the file is in a record or counted as dropped, and what counts is there as the file has it.
// A CR without its LF is completed.
void expectTrueToTheFile(const std::string& bytes, const DecodedRecording& decoded) {
    std::uint64_t consumed = 0;
    for (const Record& record : decoded.records) {
        consumed += static_cast<std::uint64_t>(record.consumed);
        if (messageOf(record).first.empty()) continue;
        std::string piece =
            bytes.substr(static_cast<std::size_t>(record.offset), static_cast<std::size_t>(record.consumed));
        if (piece.size() + 1 == record.bytes.size() && piece.ends_with('\r')) piece += '\n';
        EXPECT_EQ(piece, record.bytes) << "at " << record.offset;
    }
    EXPECT_EQ(decoded.counters.received, bytes.size());
    EXPECT_EQ(consumed + decoded.counters.dropped, bytes.size());
}

std::uint64_t unknownSentences(const Counts& counts) {
    std::uint64_t sum = 0;
    for (const auto& [message, count] : counts)
        if (isUnknown(message.second)) sum += static_cast<std::uint64_t>(count);
    return sum;
}

class Recordings : public RecordingTest {};

TEST_F(Recordings, TheFamilysMaskFindsWhatTheScannerCountedAndTheWholeMaskTheSameButForTheTable) {
    for (const auto& [file, counts] : scannerCounts())
        for (const bool wholeMask : {false, true}) {
            SCOPED_TRACE(testing::Message() << file << (wholeMask ? " with the whole mask" : ""));
            const DecodedRecording decoded = decodeRecording(file, wholeMask ? kDecodeAll : maskFor(file));
            EXPECT_EQ(countsOf(decoded.records), expectedCounts(file, counts, wholeMask));
            EXPECT_TRUE(wholeMask || decoded.counters.unknownSentences == unknownSentences(counts));
            expectTrueToTheFile(recording(file), decoded);
        }
}

// What the whole mask loses begins inside a record that was taken without a check, as the table says.
TEST_F(Recordings, WhatIsSwallowedStandsBehindASwallowingLead) {
    std::set<std::string> files;
    for (const Difference& row : kDifferences)
        if (row.reason == kSwallowed) files.insert(row.file);
    for (const std::string& file : files) {
        SCOPED_TRACE(file);
        const std::string bytes = recording(file);
        const auto own = decodeRecording(file, maskFor(file)).records;
        const auto all = decodeRecording(file, kDecodeAll).records;
        for (const Record& record : own) {
            if (messageOf(record).first.empty() || std::ranges::find(all, record) != all.end()) continue;
            const auto over = std::ranges::find_if(all, [&](const Record& other) {
                return other.offset < record.offset &&
                       record.offset < other.offset + static_cast<std::uint64_t>(other.consumed);
            });
            ASSERT_NE(over, all.end()) << "nothing took the record at " << record.offset;
            EXPECT_NE(kSwallowingLeads.find(bytes[static_cast<std::size_t>(over->offset)]),
                      std::string_view::npos)
                << over->offset;
        }
    }
}

int occurrences(const std::string& bytes, std::string_view text) {
    int count = 0;
    for (std::size_t at = bytes.find(text); at != bytes.npos; at = bytes.find(text, at + 1))
        ++count;
    return count;
}

// Replies, banners and prompts of NovAtel receivers stand between the logs, each on its own; TSIP is taken
// byte by byte.
TEST_F(Recordings, RepliesAndPromptsAreWhereTheirTextsAre) {
    const struct {
        const char* folder;
        LOG_TYPE type;
        std::vector<std::string> texts;
    } cases[] = {
        {"oem4", LOG_REPLY_OK, {"<OK"}},
        {"oem4", LOG_REPLY_ERROR, {"<ERROR:"}},
        {"oem4", LOG_PORT_PROMPT, {"[COM1]", "[COM2]", "[COM3]", "Com1>", "Com2>", "Console>"}},
        {"trimble_tsip", LOG_TSIP, {"\x10"}},
    };

    for (const auto& [file, counts] : scannerCounts())
        for (const auto& c : cases) {
            if (!file.starts_with(c.folder)) continue;
            int expected = 0;
            for (const std::string& text : c.texts)
                expected += occurrences(recording(file), text);
            const auto records = decodeRecording(file, maskFor(file)).records;
            EXPECT_EQ(std::ranges::count(records, c.type, &Record::type), expected) << file << ' ' << c.type;
        }
}

// Other makers' protocols, OEM3 logs (AA 44 11) among them, and junk made to look like frames. Under no
// receiver's mask do they give a checked frame; what a NovAtel host gets from them is lines of text.
TEST_F(Recordings, ForeignStreamsGiveNoFrames) {
    int files = 0;
    for (const auto& [file, counts] : scannerCounts()) {
        const bool foreign = file.starts_with("other_foreign/");
        const bool synthetic = file.starts_with("robustness_synthetic/");
        if (!foreign && !synthetic) continue;
        ++files;
        for (const ReceiverFamily& family : receiverFamilies()) {
            SCOPED_TRACE(file + " as " + std::string(family.name));
            const auto records = decodeRecording(file, family.decodeMask).records;
            EXPECT_EQ(countsOf(records), Counts{});
            EXPECT_EQ(std::ranges::count(records, LOG_VAREK_REPLY, &Record::type), 0);
            if (family.name != "oem4") continue;
            EXPECT_TRUE(std::ranges::all_of(records, [&](const Record& record) {
                return foreign && (record.type == LOG_REPLY_TEXT || record.type == LOG_PORT_PROMPT);
            }));
        }
    }
    EXPECT_EQ(files, 12);
}

// The number of a log and when it was made: week and milliseconds.
std::string epochOf(unsigned id, const Record& log) {
    const auto text = [id](long week, long milliseconds) {
        return std::to_string(id) + " at " + std::to_string(week) + ":" + std::to_string(milliseconds);
    };
    if (log.type == LOG_OEM4_ASCII) {
        const std::vector<std::string> header = fieldsOf(log.bytes);
        return text(std::stol(header.at(5)), std::lround(1000.0 * std::stod(header.at(6))));
    }
    const auto* bytes = reinterpret_cast<const unsigned char*>(log.bytes.data());
    return text(loadLe<std::uint16_t>(bytes + 14), static_cast<long>(loadLe<std::uint32_t>(bytes + 16)));
}

// The maker's converter leaves out the binary responses to commands. from is shown as to.
std::vector<std::string> epochsIn(const std::string& file, unsigned from = 0, unsigned to = 0) {
    std::vector<std::string> epochs;
    for (const Record& record : decodeRecording(file, maskFor(file)).records) {
        const bool isResponse = record.type == LOG_OEM4_BINARY && (byteOf(record.bytes[6]) & 0x80) != 0;
        if (!isResponse && messageOf(record).first.starts_with("oem4"))
            epochs.push_back(epochOf(record.id == from ? to : record.id, record));
    }
    return epochs;
}

// Text that the maker's own converter made of the binary recording. The last one holds RANGE where the
// binary has RANGECMP.
TEST_F(Recordings, TwinsHoldTheSameLogsOfTheSameEpochs) {
    const struct {
        const char* binary;
        const char* text;
        std::size_t logs;
        unsigned from = 0;
        unsigned to = 0;
    } all[] = {
        {"MorePropak.GPS", "MorePropak.ASC", 14},
        {"OnceEachAgain.GPS", "OnceEachAgain.ASC", 58},
        {"OneEach.GPS", "OneEach.ASC", 15},
        {"ParsingData2.GPS", "ParsingData2.ASC", 63},
        {"PropakWithGlonass.GPS", "PropakWithGlonass.ASC", 39},
        {"test1_rcvr1.dat", "test1_rcvr1.ASC", 1115},
        {"test2_rcvr1.dat", "test2_rcvr1.ASC", 897},
        {"test2_rcvr1.dat", "test2_rcvr1_decompressed.ASC", 897, kOem4Rangecmp, kOem4Range},
    };

    for (const auto& twins : all) {
        const auto binary = epochsIn(std::string("oem4_binary/gavlab_") + twins.binary, twins.from, twins.to);
        EXPECT_EQ(binary.size(), twins.logs) << twins.text;
        EXPECT_EQ(binary, epochsIn(std::string("oem4_ascii/gavlab_") + twins.text)) << twins.text;
    }
}

}  // namespace
}  // namespace vkcomm::test
