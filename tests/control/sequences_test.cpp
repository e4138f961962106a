#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <locale>
#include <numbers>

#include "tests/control/golden.h"
#include "tests/frames/frame_texts.h"
#include "vkcomm/control/base_sequences.h"
#include "vkcomm/control/command_carriers.h"
#include "vkcomm/control/rover_sequences.h"
#include "vkcomm/control/thales_sequences.h"
#include "vkcomm/frames/send_hex.h"

namespace vkcomm::test {
namespace {

constexpr double kRadian = std::numbers::pi / 180.0;  // of a degree
constexpr BLH kPosition = {30.5 * kRadian, 114.25 * kRadian, 25.5};

GPSOEMTYPE typeOf(int type) { return static_cast<GPSOEMTYPE>(type); }

std::string withDelay(const CommandStep& step, const std::string& text) {
    return std::to_string(step.delay) + ' ' + text;
}

Lines spelledLines(const CommandSteps& steps) {
    Lines lines;
    for (const CommandStep& step : steps)
        lines.push_back(withDelay(step, spelled(step.bytes)));
    return lines;
}

// Text lines without their CR LF.
std::string textLine(const CommandStep& step) {
    const std::string sent = text(step.bytes);
    EXPECT_TRUE(sent.ends_with("\r\n")) << sent;
    return sent.substr(0, sent.size() - 2);
}

// What a maker frame carries for the board: a NovAtel line without its CR LF. The maker's own commands as bytes.
std::string unwrapped(const CommandStep& step, GPSOEMTYPE type) {
    EXPECT_TRUE(isOneRecord(step.bytes, LOG_VAREK_REPLY)) << step.what;
    EXPECT_TRUE(step.wrapped);
    const std::string frame = text(step.bytes);
    if (!frame.starts_with("$$RZ")) return spelled(step.bytes);
    EXPECT_EQ(frame[4], type == OEM_NOVATEL_5 ? 0x38 : 0x18) << step.what;
    EXPECT_TRUE(frame.substr(0, frame.size() - 3).ends_with("\r\n")) << frame;
    return frame.substr(6, frame.size() - 11);
}

Lines novatelLines(const CommandSteps& steps, GPSOEMTYPE type) {
    Lines lines;
    for (const CommandStep& step : steps)
        lines.push_back(withDelay(step, step.bytes[0] == '$' ? unwrapped(step, type) : textLine(step)));
    return lines;
}

// "#" is the port's number; inside the maker's frames no delay is below 50.
Lines expectedLines(Lines lines, GPSOEMTYPE type, int port) {
    for (std::string& line : lines) {
        if (const std::size_t mark = line.find('#'); mark != line.npos)
            line.replace(mark, 1, std::to_string(port + 1));
        if ((type == OEM_NOVATEL_5 || type == OEM_NOVATEL_6) && line.starts_with("0 "))
            line.replace(0, 1, "50");
    }
    return lines;
}

const std::vector<int> kNovatelTypes = {1, 5, 6, 18, 19};

TEST(NovatelBase, EveryFormatTypePortAndCommandSet) {
    const Golden golden("novatel.txt");
    CBaseConfig config;
    config.strStationID = L"12";
    config.uInterval = 3;
    config.nBaud = 8;
    forAll({{"type", kNovatelTypes},
            {"format", {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 255}},
            {"port", {0, 1}},
            {"station", {0, 1, 2, 3}},
            {"set", {0, 1, 2}}},
           [&](const GoldenKeys& keys) {
               const GPSOEMTYPE type = typeOf(keys.at("type"));
               config.uVarekFormat = static_cast<unsigned char>(keys.at("format"));
               config.uVarekPort = static_cast<unsigned char>(keys.at("port"));
               config.nStationType = keys.at("station");
               CommandSteps steps = novatelBasePosition(type, config, kPosition);
               append(steps, novatelBaseOutput(type, config, keys.at("set")));
               EXPECT_EQ(novatelLines(steps, type),
                         expectedLines(golden.lines({"position", "head", "logs", "tail"}, keys), type,
                                       config.uVarekPort))
                   << testing::PrintToString(keys);
           });
    EXPECT_TRUE(novatelBasePosition(OEM_TRIMBLE, config, kPosition).empty());
}

TEST(NovatelBase, IndicesAndTextsStayInTheirTables) {
    CBaseConfig config;
    config.uVarekFormat = 8;
    const auto lines = [&](int line) {
        return textLine(novatelBaseOutput(OEM_NOVATEL, config, 0).at(static_cast<std::size_t>(line)));
    };
    const std::pair<int, const char*> bauds[] = {
        {0, "300"},   {1, "600"},   {2, "1200"},        {3, "2400"},  {4, "4800"},
        {5, "9600"},  {6, "19200"}, {7, "38400"},       {8, "57600"}, {9, "115200"},
        {10, "9600"}, {-1, "9600"}, {INT32_MIN, "9600"}};
    for (const auto& [index, rate] : bauds) {
        config.nBaud = index;
        EXPECT_EQ(lines(4), std::string("com com1 ") + rate) << index;
    }
    const std::pair<std::wstring, const char*> stations[] = {
        {L"12", "12"}, {L" 7x", "7"}, {L"", "0"},
        {L"x", "0"},   {L"-3", "-3"}, {L"99999999999999999999", "2147483647"},
    };
    for (const auto& [id, number] : stations) {
        config.strStationID = id;
        EXPECT_EQ(lines(2), std::string("dgpstxid rtcm ") + number);
    }
    config.uVarekFormat = 2;
    config.uVarekPort = 255;
    config.uInterval = 255;
    EXPECT_EQ(lines(0), "unlogall com256");
    EXPECT_EQ(lines(4), "log com256 rtcaobs2b ontime 256");
    // the low 8 bits of U+010D are a CR
    using namespace std::string_literals;
    for (const std::wstring& end : {L"\r\nfreset\r\n"s, L"\x010D!"s, L"\x7!"s, L"\0!"s}) {
        config.strStationID = L"12345" + end;
        EXPECT_EQ(lines(2), "dgpstxid rtca \"12345\"");
    }
}

TEST(NovatelRover, EveryFormatFilterPortAndIonosphere) {
    const Golden golden("novatel_rover.txt");
    CRoverConfig config;
    config.fElevMask = 12.5f;
    config.strStationIndex = L"12";
    config.nBaud = 8;
    forAll({{"type", {1, 5}},
            {"format", {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}},
            {"limit", {0, 1}},
            {"com", {0, 3}},
            {"set", {0, 1, 2}},
            {"iono", {-1, 0, 1, 2, 3}}},
           [&](const GoldenKeys& keys) {
               config.uVarekFormat = static_cast<unsigned char>(keys.at("format"));
               config.nLimitBase = keys.at("limit");
               config.uCom = static_cast<unsigned char>(0xE0 | keys.at("com"));
               const GPSOEMTYPE type = typeOf(keys.at("type"));
               const CommandSteps steps = novatelRover(type, config, keys.at("set"), keys.at("iono"));
               EXPECT_EQ(novatelLines(steps, type),
                         golden.lines({"start", "iono", "silence", "source", "input"}, keys))
                   << testing::PrintToString(keys);
           });
    config.uVarekFormat = 7;
    for (const wchar_t* any : {L"ANY", L"", L"\r\nfreset"}) {
        config.strStationIndex = any;
        EXPECT_EQ(textLine(novatelRover(OEM_NOVATEL, config, 0, 0).at(4)), "rtksource rtcmv3 any") << any;
    }
}

Lines javadLines(const CommandSteps& steps) {
    Lines lines;
    for (const CommandStep& step : steps) {
        const std::string line = textLine(step);
        EXPECT_EQ(line.substr(line.size() - 2), digits(xorSum(line.substr(0, line.size() - 2)), 2));
        EXPECT_EQ(line[line.size() - 3], '@');
        lines.push_back(withDelay(step, line.substr(0, line.size() - 3)));
    }
    return lines;
}

TEST(Javad, EveryFormatAndNetwork) {
    const Golden golden("javad.txt");
    CBaseConfigJavad base;
    base.strStationID = L"12";
    base.uPort = 1;
    forAll({{"format", {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 32, 255}}},
           [&](const GoldenKeys& keys) {
               base.uDifFormat = static_cast<unsigned char>(keys.at("format"));
               EXPECT_EQ(javadLines(javadBase(base, kPosition)),
                         golden.lines({"start", "parameters", "port", "messages"}, keys));
           });
    CRoverConfigJavad rover;
    rover.fElevMask = 12.6f;
    rover.fPDOPMask = 7.25f;
    rover.uPort = 2;
    rover.nBaud = 2;
    forAll({{"format", {0, 1, 2, 3, 4}}, {"network", {0, 1, 2, 3}}}, [&](const GoldenKeys& keys) {
        rover.uDifFormat = static_cast<unsigned char>(keys.at("format"));
        rover.nNetwork = keys.at("network");
        EXPECT_EQ(javadLines(javadRover(rover)),
                  golden.lines({"rover_start", "rover_network", "rover_port", "rover_input"}, keys));
    });
}

TEST(Javad, PortsAndRatesOutsideTheirTables) {
    struct {
        int port, baud;
        const char *base, *rover;
    } const cases[] = {
        {0, 0, "a/rate,4800", "a/rate,4800"},       {3, 4, "d/rate,57600", "d/rate,57600"},
        {2, 1, "c/rate,9600", "c/rate,9600"},       {4, 5, "a/rate,115200", "e/rate,115200"},
        {7, 9, "a/rate,115200", "h/rate,115200"},   {25, 2, "a/rate,19200", "z/rate,19200"},
        {26, -1, "a/rate,115200", "a/rate,115200"}, {255, 3, "a/rate,38400", "a/rate,38400"},
    };

    for (const auto& c : cases) {
        CBaseConfigJavad base;
        CRoverConfigJavad rover;
        base.uPort = rover.uPort = static_cast<unsigned char>(c.port);
        base.nBaud = rover.nBaud = c.baud;
        const std::string line = "0 %%set,/par/dev/ser/";
        EXPECT_THAT(javadLines(javadBase(base, kPosition)), testing::Contains(line + c.base));
        EXPECT_THAT(javadLines(javadRover(rover)), testing::Contains(line + c.rover));
    }
}

TEST(OtherFamilies, AreThoseOfTheTranscripts) {
    const Golden golden("bytes.txt");
    EXPECT_EQ(spelledLines(cmcBase(kPosition)), golden.lines("cmc"));
    CommandSteps thales = thalesInit('B');
    append(thales, thalesBaud('B', 9));
    append(thales, thalesBaud('A', -12));
    Lines lines;
    for (const CommandStep& step : thales)
        lines.push_back(withDelay(step, textLine(step)));
    EXPECT_EQ(lines, Golden("thales.txt").lines("init"));
}

CommandSteps trimbleBaseOf(const GoldenKeys& keys) {
    CBaseConfig config;
    config.strStationID = L"12";
    const auto value = [&](const char* key, int usual) { return keys.contains(key) ? keys.at(key) : usual; };
    config.uTrimbleFormat = static_cast<unsigned char>(value("format", 4));
    config.uInterval = static_cast<unsigned char>(value("interval", 1));
    config.nBaud = value("baud", 9);
    config.nParity = value("parity", 0);
    config.nCTS = value("cts", 0);
    config.nAddRTCM = value("add", 0);
    const GPSOEMTYPE type = typeOf(value("type", 0));
    return trimbleBase(type, type, config, kPosition, L"BASE");
}

TEST(Trimble, BaseAndRoverOfEveryGroup) {
    const Golden golden("bytes.txt");
    forAll({{"type", {0, 7, 8, 14, 15, 16}}}, [&](const GoldenKeys& keys) {
        const GPSOEMTYPE type = typeOf(keys.at("type"));
        EXPECT_EQ(spelledLines(trimbleBaseOf(keys)), golden.lines("trimble_base", keys));
        EXPECT_EQ(spelledLines(trimbleRover(type, type, CRoverConfig())),
                  golden.lines("trimble_rover", keys));
    });
}

// The bytes of the records of that kind, a line each.
Lines recordsOf(const CommandSteps& steps, std::string_view kind) {
    Lines records;
    bool inside = false;
    for (const FileField& field : steps.at(0).fields) {
        const bool begins = field.name == "record";
        if (begins) inside = field.value.find(kind) != std::string::npos;
        if (begins && inside) records.emplace_back();
        if (inside && !begins) records.back() += ' ';
        if (inside) records.back() += spelled(field.bytes);
    }
    return records;
}

TEST(Trimble, RecordsFollowTheSettings) {
    const Golden golden("application_file.txt");
    const auto expectRecords = [&](const char* kind, const char* setting, std::vector<int> values) {
        forAll({{setting, std::move(values)}}, [&](const GoldenKeys& keys) {
            EXPECT_EQ(recordsOf(trimbleBaseOf(keys), kind), golden.lines(kind, keys));
        });
    };
    expectRecords("serial", "baud", {-1, 0, 9, 10});
    expectRecords("serial", "parity", {-1, 0, 1, 2, 3});
    expectRecords("serial", "cts", {0, 5});
    expectRecords("output", "format", {0, 1, 2, 3, 4, 5, 6, 255});
    expectRecords("output", "interval", {0, 1, 2, 3, 5, 10, 15, 30, 60, 255});
    forAll({{"format", {0, 1, 2, 3, 4, 5, 6, 255}}, {"add", {1}}}, [&](const GoldenKeys& keys) {
        EXPECT_EQ(recordsOf(trimbleBaseOf(keys), "output"), golden.lines("added", keys));
    });
    CBaseConfig config;
    config.uElevMask = 15;
    config.uPDOPMask = 9;
    config.uTrimblePort = 255;
    config.strStationID = L"1065";
    for (const wchar_t* name : {L"STATION 7", L"A\nB"}) {
        const CommandSteps steps = trimbleBase(OEM_NONE, OEM_TRIMBLE, config, kPosition, name);
        Lines records = recordsOf(steps, "general");
        for (const std::string& reference : recordsOf(steps, "reference"))
            records.push_back(reference);
        EXPECT_EQ(records, golden.lines("masks_and_reference", {{"short", name[1] == L'\n'}}));
    }
    CRoverConfig rover;
    rover.fElevMask = 12.6f;
    rover.fPDOPMask = 255;
    rover.uTrimblePort = 255;
    rover.nBaud = 9;
    rover.uParity = 2;
    EXPECT_EQ(recordsOf(trimbleRover(OEM_NONE, OEM_TRIMBLE, rover), ""), golden.lines("rover"));
}

// One line a field: "offset bytes name: value".
TEST(Trimble, FieldsTellWhatTheFileDoes) {
    const CommandSteps steps = trimbleBaseOf({{"type", 7}, {"add", 1}});
    Lines lines;
    for (const FileField& field : steps[0].fields)
        lines.push_back(std::to_string(field.offset) + ' ' + spelled(field.bytes) + ' ' + field.name +
                        (field.value.empty() ? "" : ": " + field.value));
    EXPECT_EQ(lines, Golden("application_file.txt").lines("base"));
}

TEST(Sequences, NeedAPositionOnEarthAndMasksThatAreNumbers) {
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN(), kPi = std::numbers::pi;
    const auto expectStands = [](const BLH& position, bool stands) {
        EXPECT_EQ(basePositionProblem(position).empty(), stands);
        EXPECT_EQ(novatelBasePosition(OEM_NOVATEL, CBaseConfig(), position).empty(), !stands);
        EXPECT_EQ(javadBase(CBaseConfigJavad(), position).empty(), !stands);
        EXPECT_EQ(cmcBase(position).empty(), !stands);
        EXPECT_EQ(trimbleBase(OEM_NONE, OEM_VAREK_TRIMBLE_15, CBaseConfig(), position, L"").empty(), !stands);
    };
    expectStands({kPi / 2, -2 * kPi, -1000}, true);
    for (const BLH& nowhere : {BLH{kNan, 0, 0},
                               {0, -HUGE_VAL, 0},
                               {0, 0, kNan},
                               {1.5708, 0, 0},
                               {0, 6.2832, 0},
                               {0, 0, -1000.1},
                               {0, 0, 20000000.1},
                               {30.5, 0, 0}})
        expectStands(nowhere, false);
    const auto expectCounts = [](double elevation, double pdop, bool counts) {
        CRoverConfig rover;
        CRoverConfigJavad javad;
        rover.fElevMask = javad.fElevMask = static_cast<float>(elevation);
        rover.fPDOPMask = javad.fPDOPMask = static_cast<float>(pdop);
        EXPECT_EQ(novatelRover(OEM_NOVATEL, rover, 2, 0).empty(), !counts) << elevation << ' ' << pdop;
        EXPECT_EQ(trimbleRover(OEM_NONE, OEM_TRIMBLE, rover).empty(), !counts) << elevation << ' ' << pdop;
        EXPECT_EQ(javadRover(javad).empty(), !counts) << elevation << ' ' << pdop;
    };
    expectCounts(0, 0, true);
    expectCounts(90, 255, true);
    for (const double elevation : {kNan, -0.1, 90.5})
        expectCounts(elevation, 6, false);
    for (const double pdop : {kNan, HUGE_VAL, -1.0})
        expectCounts(13, pdop, false);
}

TEST(Carriers, TakeTheRoadOfTheType) {
    for (int type = -1; type <= 20; ++type) {
        const CommandSteps maker = makerText(typeOf(type), "RQ,B4", 0);
        ASSERT_EQ(maker.size(), 1u);
        EXPECT_EQ(text(maker[0].bytes).starts_with("SENDHEX COM2 24 AA44"), type >= 1 && type <= 3) << type;
        EXPECT_EQ(maker[0].delay, 50);
        EXPECT_EQ(makerText(typeOf(type), "RQ,B4", 7)[0].delay, 7);

        const CommandSteps cmc = cmcSteps(typeOf(type), 80, false, counted(60), 20);
        EXPECT_EQ(cmc.size(), type == 2 ? 1u : type == 11 || type == 12 ? 2u : 0u) << type;
        if (cmc.size() == 2) {
            EXPECT_EQ(cmc[1].bytes[4], type == 11 ? 0x18 : 0x38);
        }

        EXPECT_EQ(trimbleSteps(typeOf(type), serialQuery(), 0)[0].wrapped, type == 15 || type == 16) << type;
    }
    EXPECT_TRUE(makerText(OEM_NOVATEL, "VL,S" + std::string(300, 'x'), 0).empty());
    const std::string longLine = std::string(245, 'x') + "\r\n";
    EXPECT_EQ(novatelText(OEM_NOVATEL_5, longLine, 0).at(0).bytes.size(), 256u);
    EXPECT_TRUE(novatelText(OEM_NOVATEL_6, 'x' + longLine, 0).empty());
    EXPECT_EQ(text(novatelText(OEM_NOVATEL_19, 'x' + longLine, 0).at(0).bytes), 'x' + longLine);
    EXPECT_TRUE(trimbleSteps(OEM_NONE, {0x64, counted(256), "", false}, 0).empty());
    EXPECT_TRUE(cmcSteps(OEM_CMC, 1, false, counted(256), 0).empty());

    const CommandSteps split = trimbleSteps(OEM_VAREK_TRIMBLE_16, {0x56, counted(104), "", false}, 30);
    ASSERT_EQ(split.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(split[i].bytes.size(), i < 2 ? 64u : 9u);
        EXPECT_EQ(split[i].delay, i < 2 ? 0 : 30);
        EXPECT_EQ(split[i].drain, i < 2);
    }
}

TEST(Sequences, ResetsAreMarked) {
    EXPECT_TRUE(trimbleSteps(OEM_NONE, *gsofOutput(1, OEM_TRIMBLE, 3), 0)[0].factoryReset);
    EXPECT_TRUE(trimbleSteps(OEM_VAREK_TRIMBLE_15, receiverReset(), 0)[0].factoryReset);
    EXPECT_FALSE(trimbleBase(OEM_NONE, OEM_TRIMBLE, CBaseConfig(), kPosition, L"")[0].factoryReset);
}

// Which steps change a rate, and to what: "port baud what".
TEST(Sequences, TellWhichRateTheyChange) {
    CBaseConfig base;
    base.uVarekPort = 1;
    CRoverConfig rover;
    rover.uCom = 0xE3;

    struct {
        CommandSteps steps;
        const char* rate;
    } const cases[] = {
        {novatelBaseOutput(OEM_NOVATEL_18, base, 0), "2 9600 com com2 9600"},
        {novatelRover(OEM_NOVATEL, rover, 0, 0), "3 9600 com com3 9600"},
        {javadBase(CBaseConfigJavad(), kPosition), "1 38400 %%set,/par/dev/ser/a/rate,38400"},
        {javadRover(CRoverConfigJavad()), "2 115200 %%set,/par/dev/ser/b/rate,115200"},
        {thalesBaud('C', 9), "3 115200 $PASHS,SPD,C,9"},
        {thalesBaud('C', 10), ""},
        {thalesBaud('?', 9), ""},
        {novatelBaseOutput(OEM_NOVATEL_5, base, 0), ""},  // the line here ends at the maker's receiver
        {novatelRover(OEM_NOVATEL_6, rover, 0, 0), ""},
    };

    for (const auto& c : cases) {
        std::string rates;
        for (const CommandStep& step : c.steps)
            if (step.newRate)
                rates += std::to_string(step.newRate->port) + ' ' + std::to_string(step.newRate->baud) + ' ' +
                         step.what;
        EXPECT_EQ(rates, c.rate);
    }
}

std::string everythingWithNumbers() {
    CBaseConfig base;
    base.nBaud = 9;
    CRoverConfig rover;
    rover.fElevMask = 12.5f;
    std::string sent = sendHexLine(12345, counted(1200));
    for (const CommandSteps& steps :
         {novatelBasePosition(OEM_NOVATEL, base, kPosition), novatelBaseOutput(OEM_NOVATEL, base, 2),
          thalesBaud('A', 12345), javadBase(CBaseConfigJavad(), kPosition), javadRover(CRoverConfigJavad()),
          novatelRover(OEM_NOVATEL, rover, 2, 1),
          trimbleBase(OEM_NONE, OEM_TRIMBLE, CBaseConfig(), kPosition, L"B")})
        for (const CommandStep& step : steps) {
            sent += text(step.bytes);
            for (const FileField& field : step.fields)
                sent += field.value;
        }
    return sent;
}

class CommaPunctuation final : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }

    char do_thousands_sep() const override { return '.'; }

    std::string do_grouping() const override { return "\3"; }
};

TEST(Sequences, DoNotFollowTheLocale) {
    const std::string plain = everythingWithNumbers();
    const std::locale before = std::locale::global(std::locale(std::locale(), new CommaPunctuation));
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "German_Germany.1252"})
        if (std::setlocale(LC_ALL, name) != nullptr) break;
    const std::string german = everythingWithNumbers();
    std::setlocale(LC_ALL, "C");
    std::locale::global(before);
    EXPECT_EQ(german, plain);
    EXPECT_THAT(plain, testing::HasSubstr("fix position 30.50000000 114.25000000 25.500\r\n"));
}

}  // namespace
}  // namespace vkcomm::test
