// Settings files: every form comes back, and what is wrong in one is found with its line.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "host/settings_check.h"
#include "host/settings_file.h"
#include "host/settings_json.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm::test {
namespace {

using namespace std::string_literals;
using testing::ElementsAreArray;
using testing::IsEmpty;
using Texts = std::vector<std::string>;

const SettingsKind& kindOf(std::string_view name) { return *findSettingsKind(name); }

base::CMyObArray defaults(const SettingsKind& kind, int count = 1) {
    base::CMyObArray records;
    for (int i = 0; i < count; ++i)
        records.Add(kind.create());
    return records;
}

// Sets a field to a value that any record may have.
struct Arbitrary {
    std::mt19937& random;

    unsigned char byte() const { return static_cast<unsigned char>(random()); }

    void operator()(unsigned char* value) const { *value = byte(); }

    void operator()(std::int32_t* value) const { *value = static_cast<std::int32_t>(random()); }

    void operator()(float* value) const {
        *value = std::ldexp(static_cast<float>(random()) - 2e9f, static_cast<int>(random() % 200) - 130);
    }

    void operator()(std::wstring* value) const {
        constexpr std::wstring_view kCharacters = L"aZ 09\"\\/\t\n\r\u007F\u00E9\u57FA\uFEFF";
        value->clear();
        for (std::size_t size = random() % 40; size > 0; --size)
            *value += kCharacters[random() % kCharacters.size()];
    }

    void operator()(BluetoothAddress* value) const {
        std::ranges::generate(*value, [this] { return byte(); });
    }

    void operator()(std::span<unsigned char> value) const {
        std::ranges::generate(value, [this] { return byte(); });
    }
};

std::string wordsOf(const SettingsProblem& problem) {
    return std::to_string(problem.line) + ": " + problem.text;
}

TEST(SettingsForms, EveryValueComesBackFromArchivesAndJson) {
    std::mt19937 random(7);
    for (const SettingsKind& kind : settingsKinds())
        for (int turn = 0; turn < 100; ++turn) {
            base::CMyObArray records = defaults(kind, kind.isList ? turn % 4 : 1);
            forEachField(kind, records, [&](int, const SettingsField&, const SettingsRef& value) {
                std::visit(Arbitrary{random}, value);
            });
            for (const char* name : {"archive", "archive-body", "json", "text"}) {
                const auto form = findSettingsForm(kind, name);
                if (!form) continue;
                const std::string bytes = settingsBytes(kind, *form, records);
                SettingsProblem problem;
                auto read = readSettings(kind, bytes, problem);
                ASSERT_TRUE(read) << kind.name << " " << name << " " << wordsOf(problem);
                EXPECT_EQ(read->form, *form) << kind.name;
                if (*form == SettingsForm::kText) continue;
                EXPECT_THAT(fieldsNotKept(kind, records, bytes), IsEmpty())
                    << kind.name << " " << name << turn;
            }
        }
}

TEST(SettingsForms, AreThese) {
    const auto bytesOf = [](const char* kind, SettingsForm form) {
        base::CMyObArray records = defaults(kindOf(kind));
        return settingsBytes(kindOf(kind), form, records);
    };
    const std::string body =
        "\0\0\0\0\xFF\xFE\xFF\x01"s
        "1\0\x03\x0A\x06\x01\0\0\0\0\x05\0\0\0\0\0\0\0\0\x02\x04\xFF\xFE\xFF\x07U\0N\0K\0N\0O\0W\0N\0\x02"s
        "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x44\x06\0\x01\0\0\0\0"s;
    EXPECT_EQ(bytesOf("base", SettingsForm::kArchiveBody), body);
    EXPECT_EQ(bytesOf("base", SettingsForm::kArchive), "\xFF\xFF\x01\0\x0B\0CBaseConfig"s + body);
    EXPECT_EQ(bytesOf("rover-javad", SettingsForm::kJson),
              "{\n  \"kind\": \"rover-javad\",\n  \"uDifFormat\": 2,\n  \"fElevMask\": 13.0,\n  "
              "\"fPDOPMask\": 30.0,\n"
              "  \"uPort\": 1,\n  \"nBaud\": 5,\n  \"nNetwork\": 0,\n  \"nAmbiguityLevel\": 1,\n  "
              "\"nEnvironment\": 0\n}\n");
    EXPECT_EQ(bytesOf("bluetooth", SettingsForm::kText), "[BTINFO]\n\n00.00.00.00.00.00\n0\n[END]\n");
}

TEST(SettingsForms, TextTellsWhatItDoesNotKeep) {
    base::CMyObArray records = defaults(kindOf("rover"));
    const SettingsKind& kind = kindOf("rover");
    *std::get<float*>(kind.find("", "fElevMask")->in(*records.GetAt(0))) = 10.25f;
    std::get<std::span<unsigned char>>(kind.find("", "uOption")->in(*records.GetAt(0)))[7] = 1;
    EXPECT_EQ(fieldsNotKept(kind, records, settingsBytes(kind, SettingsForm::kText, records)),
              (Texts{"fElevMask", "uOption"}));
}

TEST(SettingsJson, IsTakenByTheLetter) {
    struct Case {
        const char* kind;
        const char* json;
        const char* problem;
    };

    constexpr Case kCases[] = {
        {"base", "{}", ""},
        {"base", "{\"kind\": \"base\", \"uOption\": [1, 2, 3, 4], \"antenna\": {\"fTopOffset\": null}}", ""},
        {"base", "{\"nBaud\": -2147483648, \"uInterval\": 255}", ""},
        {"base", "{\n\"nBaud\": 3,\n}", "3: is no JSON from here on"},
        {"base", "{\"nBaud\": 3", "1: is no JSON from here on"},
        {"base", "{\n\"kind\": \"rover\"}", "2: kind is not \"base\""},
        {"base", "{\n\n\"nBauds\": 3}", "3: nBauds is no field of base"},
        {"base", "{\"strName\": \"A\"}", "1: strName is no field of base"},
        {"base", "{\"antenna\": {\"nBaud\": 3}}", "1: nBaud is no field of base"},
        {"base", "{\"antenna\": 3}", "1: antenna is not a JSON object"},
        {"base", "{\"nBaud\": 3.5}", "1: nBaud is not a whole number of 32 bits"},
        {"base", "{\"nBaud\": 2147483648}", "1: nBaud is not a whole number of 32 bits"},
        {"base", "{\"nBaud\": 18446744073709551615}", "1: nBaud is not a whole number of 32 bits"},
        {"base", "{\"uInterval\": 256}", "1: uInterval is not a whole number from 0 to 255"},
        {"base", "{\"uInterval\": -1}", "1: uInterval is not a whole number from 0 to 255"},
        {"base", "{\"strStationID\": 1}", "1: strStationID is not a text"},
        {"base", "{\"antenna\": {\n\"fTopOffset\": \"1\"}}",
         "2: antenna.fTopOffset is not a number of single precision"},
        {"base", "{\"antenna\": {\n\"fTopOffset\": 1e300}}",
         "2: antenna.fTopOffset is not a number of single precision"},
        {"base", "{\"uOption\": [1, 2, 3]}",
         "1: uOption is not a list of as many numbers from 0 to 255 as the field has"},
        {"bluetooth", "[]", ""},
        {"bluetooth", "{}", "1: is not a JSON array of records"},
        {"bluetooth", "[{\"uAddress\": \"00:11:22:AA:bb:cc\"}]", ""},
        {"bluetooth", "[{\"uAddress\": \"00:11:22:AA:bb:cc\"},\n{\"uAddress\": \"00:11\"}]",
         "2: uAddress is not an address like 00:11:22:aa:bb:cc"},
        {"bluetooth", "[{}, 3]", "0: a record is not a JSON object"},
    };
    for (const Case& each : kCases) {
        SettingsProblem problem;
        const auto settings = readSettings(kindOf(each.kind), each.json, problem);
        EXPECT_EQ(settings ? "" : wordsOf(problem), each.problem) << each.json;
    }
}

TEST(SettingsJson, TakesAnyDepthAndGarbage) {
    SettingsProblem problem;
    for (const std::string& json :
         {"{\"kind\":" + std::string(100'000, '[') + std::string(100'000, ']') + "}",
          "[{" + std::string(100'000, '['), "{\xFF\xFE"s, "{\"\xE5\": 1}"s}) {
        EXPECT_FALSE(readSettings(kindOf("base"), json, problem));
        EXPECT_THAT(checkSettings(kindOf("bluetooth"), json), testing::Not(IsEmpty()));
    }
}

constexpr const char* kRover =
    "Rover option\nRover option version:\n1\nIs limit base station:\n0\nElevation mask:\n13.0\nPDOP "
    "mask:\n6.0\n"
    "Use station index:\nANY\nVarek GPS broadcast type:\n3\nTrimble GPS broadcast type\n2\nBaud rate:\n5\n"
    "Parity:\n0\nvarek GPS port:\n1\nTrimble GPS port:\n2\n";
constexpr const char* kBase =
    "Base options:\nBase option version:\n4\nOutput additional code RTCM:\n0\nElevation mask:\n10\nPDOP "
    "mask:\n6\n"
    "Varek GPS broadcast format:\n3\nTrimble GPS broadcast format:\n4\nInterval:\n1\nCTS enabled:\n0\nBaud "
    "rate:\n5\n"
    "Parity:\n0\nvarek GPS port:\n0\nTrimble GPS port:\n2\nBase station ID:\n1\nBase station Type:\n0\n"
    "Antenna parameter version:\n1\nAntenna type\nUNKNOWN\nDistance from bottom to phase center:\n0.000\n"
    "Distance from top to phase center:\n0.000\nDistance from center to phase center:\n0.000\nMeasure "
    "to:\n2\n"
    "Measure height:\n0.000\n";
constexpr const char* kDevices =
    "[BTINFO]\nA\n00.11.22.aa.bb.cc\n1\n[BTINFO]\nB\n00.11.22.aa.bb.cd\n0\n[END]\n";

// The text with the given lines, counted from 1, replaced.
std::string with(std::string_view text, std::vector<std::pair<int, std::string>> changes) {
    std::string changed;
    for (int line = 1; !text.empty(); ++line) {
        const std::string_view old = text.substr(0, text.find('\n') + 1);
        const auto change = std::ranges::find(changes, line, &std::pair<int, std::string>::first);
        changed += change == changes.end() ? std::string(old) : change->second;
        text.remove_prefix(old.size());
    }
    return changed;
}

TEST(SettingsCheck, NamesWhatIsWrongWithItsLine) {
    struct Case {
        const char* name;
        const char* kind;
        std::string bytes;
        Texts problems;
    };

    const Case cases[] = {
        {"a good base", "base", kBase, {}},
        {"a good rover", "rover", kRover, {}},
        {"good devices", "bluetooth", kDevices, {}},
        {"CR LF and labels of other languages",
         "rover",
         with(kRover, {{1, "流动站选项\r\n"}, {4, "是否限定基準站:\r\n"}, {16, "速率:\n"}}),
         {}},
        {"ports no receiver has",
         "base",
         with(kBase, {{23, "9\n"}, {25, "200\n"}}),
         {"23: uVarekPort is 9 and is not 0 to 3 (port on the maker's boards: 0 is com1)",
          "25: uTrimblePort is 200 and is not 0 to 3 (port on Trimble receivers)"}},
        {"values that do not fit",
         "base",
         with(kBase, {{15, "256\n"}, {19, "5000000000\n"}}),
         {"15: uInterval is 256, which does not fit into the field (seconds between corrections)",
          "19: nBaud is 5000000000, which does not fit into the field (0 to 9: 300, 600, 1200, 2400, 4800, "
          "9600, "
          "19200, 38400, 57600, 115200 bit/s)"}},
        {"no numbers",
         "rover",
         with(kRover, {{7, "13,0\n"}, {13, "\n"}}),
         {"7: fElevMask is no number: \"13,0\" (elevation mask, degrees)",
          "13: uVarekFormat is no whole number: \"\" (correction format: 0 3 6 CMR, 1 4 RTCM 2, 2 5 RTCA, 7 "
          "RTCM 3, "
          "8 RTCM type 1)"}},
        {"a mask of more than the zenith",
         "rover",
         with(kRover, {{7, "90.1\n"}}),
         {"7: fElevMask is 90.1 and is not 0 to 90 (elevation mask, degrees)"}},
        {"two sources of corrections",
         "rover",
         with(kRover, {{21, "161\n"}}),
         {"21: uCom is 161 and has two sources of corrections: bits 0x20 and 0x80 (port on the maker's "
          "boards; plus "
          "32 own GPRS link, 64 VRS, 128 data module)"}},
        {"no station",
         "rover",
         with(kRover, {{11, "\n"}}),
         {"11: strStationIndex is \"\" and is empty (station to take corrections from, or ANY)"}},
        {"a block of another kind",
         "rover",
         with(kRover, {{1, "Base options:\n"}}),
         {"1: \"Base options:\" is not the label that belongs here, \"Rover option\""}},
        {"a label with a control character",
         "rover",
         with(kRover, {{4, "\x1B[2J\n"}}),
         {"4: \"\\u001b[2J\" is not the label that belongs here, \"Is limit base station:\""}},
        {"another version",
         "rover",
         with(kRover, {{3, "2\n"}}),
         {"3: is no version of a text block of this kind"}},
        {"a newer version",
         "base",
         with(kBase, {{3, "7\n"}}),
         {"3: version \"7\" is newer than 4 and read as that"}},
        {"another antenna version",
         "base",
         with(kBase, {{31, "2\n"}}),
         {"31: version \"2\" of the antenna is not read"}},
        {"the first version",
         "base",
         with(kBase, {{3, "1\n"}}),
         {"26: is behind the end of the block and not read"}},
        {"an antenna that is too high",
         "base",
         with(kBase, {{43, "1000\n"}}),
         {"43: antenna.fPhaseHeight is 1000 and is not -10 to 100 (phase centre above the mark, metres)"}},
        {"cut behind a label", "rover", std::string(kRover, 147), {"12: the file ends before uVarekFormat"}},
        {"more lines", "rover", kRover + "more\n"s, {"24: is behind the end of the block and not read"}},
        {"an empty file", "rover", "", {"3: is no version of a text block of this kind"}},
        {"devices with faults",
         "bluetooth",
         with(kDevices, {{2, std::string(49, 'x') + "\n"}, {3, "00.11.22\n"}, {8, "yes\n"}, {9, "[end]\n"}}),
         {"2: strName is cut to 48 bytes (name of the device)",
          "3: uAddress is no address: \"00.11.22\" (device address)",
          "8: bPreferred is no whole number: \"yes\" (1: the preferred device)",
          "9: is neither [BTINFO] nor [END]: the list ends here"}},
        {"devices twice",
         "bluetooth",
         with(kDevices, {{7, "00.11.22.aa.bb.cc\n"}, {8, "1\n"}}),
         {"7: uAddress stands in the list a second time", "8: bPreferred is set for a second device"}},
        {"devices cut",
         "bluetooth",
         with(kDevices, {{8, ""}, {9, ""}}),
         {"5: the file ends inside the entry that begins here"}},
        {"devices without end",
         "bluetooth",
         with(kDevices, {{9, ""}}),
         {"8: the file ends without an [END]"}},
        {"JSON",
         "base-javad",
         "{\n\"uDifFormat\": 14,\n\"antenna\": {\"fTopOffset\": null}\n}",
         {"2: uDifFormat is 14 and is not 0 to 13 (messages: 0 to 5 RTCM 2, 6 to 9 RTCM 3, 10 11 CMR, 12 13 "
          "Javad RTK)",
          "3: antenna.fTopOffset is nan and is not -5 to 5 (top to phase centre, metres)"}},
        {"JSON of devices",
         "bluetooth",
         "[{\"strName\": \"A\", \"uAddress\": \"00:00:00:00:00:01\"},\n"
         "{\"strName\": \"\", \"uAddress\": \"00:00:00:00:00:00\"}]",
         {"2: uAddress is 00:00:00:00:00:00 and is no address of a device (device address)",
          "2: strName is \"\" and is empty (name of the device)"}},
        {"an archive of another class",
         "rover",
         "\xFF\xFF\x01\0\x0B\0CBaseConfig"s,
         {"0: is no archive of this kind: class CBaseConfig where CRoverConfig is wanted (at byte 0)"}},
    };
    for (const Case& each : cases) {
        Texts found;
        for (const SettingsProblem& problem : checkSettings(kindOf(each.kind), each.bytes))
            found.push_back(wordsOf(problem));
        EXPECT_EQ(found, each.problems) << each.name;
    }
}

TEST(SettingsCheck, AHundredProblemsAreEnough) {
    std::string list;
    for (int i = 0; i < 100'000; ++i)
        list += "[BTINFO]\n\n\n\n";
    const auto problems = checkSettings(kindOf("bluetooth"), list);
    ASSERT_EQ(problems.size(), 101u);
    EXPECT_EQ(wordsOf(problems.back()), "0: there are more problems than these");
}

TEST(SettingsCheck, FilesCutAnywhereAreFound) {
    for (const char* kind : {"base", "rover", "bluetooth"}) {
        const std::string whole = kind == "base"s ? kBase : kind == "rover"s ? kRover : kDevices;
        // Of the last line nobody knows how long it should be.
        for (std::size_t size = 0; size <= whole.find_last_of('\n', whole.size() - 2); ++size)
            EXPECT_THAT(checkSettings(kindOf(kind), whole.substr(0, size)), testing::Not(IsEmpty()))
                << kind << size;
    }
}

}  // namespace
}  // namespace vkcomm::test
