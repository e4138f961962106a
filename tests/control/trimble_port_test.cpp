#include "vkcomm/control/trimble_port.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <thread>

#include "tests/control/golden.h"
#include "tests/frames/frame_texts.h"
#include "tests/ports/port_fixture.h"

namespace vkcomm::test {
namespace {

using namespace std::chrono_literals;

// Time passes at once for the writer: what it waits behind its n-th write is noted with n. The test's own thread
// waits until what it waits for has happened.
class QuickClock final : public Clock {
public:
    std::function<void(int)> onSleep = [](int) {};
    std::function<std::size_t()> writes;

    std::chrono::milliseconds now() override { return {}; }

    void sleep(std::chrono::milliseconds time) override { onSleep(static_cast<int>(time.count())); }

    bool wait(Event& event, std::chrono::milliseconds time) override {
        if (std::this_thread::get_id() == m_own) return Clock::wait(event, 1min);
        const std::scoped_lock lock(m_lock);
        m_delays[writes()] = static_cast<int>(time.count());
        return event.isSet();
    }

    int delayBehind(std::size_t write) {
        const std::scoped_lock lock(m_lock);
        return m_delays.contains(write) ? m_delays[write] : 0;
    }

private:
    const std::thread::id m_own = std::this_thread::get_id();
    std::mutex m_lock;
    std::map<std::size_t, int> m_delays;
};

// Text as text, with CR LF spelled out; anything else in hexadecimal.
std::string shown(std::string bytes) {
    const bool isLine = bytes.ends_with("\r\n");
    const std::string inner = bytes.substr(0, bytes.size() - (isLine ? 2 : 0));
    const bool isText =
        std::all_of(inner.begin(), inner.end(), [](char c) { return c >= ' ' && c <= '~'; }) &&
        !inner.starts_with("$$");
    return isText ? inner + (isLine ? "\\r\\n" : "") : spelled(bytes);
}

class TrimblePortTest : public testing::Test {
protected:
    TrimblePortTest() { use(port); }

    void use(CSerialPort& user) {
        user.vSetClock(clock);
        user.vSetDevices(devices);
        device = devices.add();
        device->passes.push_back(block());
        clock.writes = [this] { return device->written().size(); };
        clock.onSleep = [&user](int) { drain(user); };
    }

    // Until all is written, or the writer has ended before that.
    static void drain(CSerialPort& user) {
        while (user.nQueueDepth() > 0 && user.bWriterRunning())
            std::this_thread::yield();
    }

    void open() { ASSERT_EQ(port.bOpenPort(nullptr, 3, 9600), 1); }

    // "delay bytes" for each write so far.
    Lines sent() {
        drain(port);
        Lines lines;
        for (const std::string& bytes : device->written())
            lines.push_back(std::to_string(clock.delayBehind(lines.size() + 1)) + ' ' + shown(bytes));
        return lines;
    }

    QuickClock clock;
    FakeDevices devices;
    std::shared_ptr<FakeDevice> device;
    CTrimblePort port;
};

const BLH kPosition = {0.5, 2.0, 25.5};
const unsigned char kBytes[] = {1, 2, 3, 4};

struct Operation {
    const char* name;
    std::function<void(CTrimblePort&)> run;
};

class Operations : public TrimblePortTest, public testing::WithParamInterface<Operation> {};

TEST_P(Operations, SendTheirBytes) {
    open();
    GetParam().run(port);
    EXPECT_EQ(sent(), Golden("operations.txt").lines(GetParam().name));
}

const CRoverConfig kRadio;

const CRoverConfig& moduleSettings() {
    static const std::unique_ptr<CRoverConfig> settings = [] {
        auto made = std::make_unique<CRoverConfig>();
        made->vSetDifSource(1);
        return made;
    }();
    return *settings;
}

const Operation kOperations[] = {
    {"Command", [](auto& p) { p.vSendCommand(6, nullptr, 0, 30); }},
    {"CommandTooLong", [](auto& p) { p.vSendCommand(6, counted(256).data(), 256, 0); }},
    {"CommandNegative", [](auto& p) { p.vSendCommand(6, kBytes, -1, 0); }},
    {"CommandWrapped15",
     [](auto& p) {
         p.vSetReceiverType(OEM_VAREK_TRIMBLE_15);
         p.vGetSerial();
     }},
    {"CommandWrapped16",
     [](auto& p) {
         p.vSetReceiverType(OEM_VAREK_TRIMBLE_16);
         p.vSendCommand(6, nullptr, 0, 30);
     }},
    {"Text", [](auto& p) { p.vSendVarekString(OEM_NONE, L"RM,B5"); }},
    {"TextThroughNovatel", [](auto& p) { p.vSendVarekString(OEM_TYPE_3, L"RM,B5", 5); }},
    {"RZ", [](auto& p) { EXPECT_EQ(p.bSendVarekRZCmd(OEM_NOVATEL_6, L"RZ,B5", 1, 60), 1); }},
    {"HexString", [](auto& p) { p.vSendHexString(3, L"\x01\xAB", 7); }},
    {"Masks", [](auto& p) { p.vMaskIntCmd(0x10001, 0, 5, 10); }},
    {"MasksAskedFor", [](auto& p) { p.vMaskIntCmd(0x1234, 1, 5, 10); }},
    {"OwnTooLong", [](auto& p) { p.vSendOwnCmd(1, 1, 65534, counted(65534).data()); }},
    {"OwnWithoutData", [](auto& p) { p.vSendOwnCmd(1, 0x1234, 0, nullptr); }},
    {"Tsip",
     [](auto& p) {
         p.vSendTSIPCmd({0x82, {0x10}}, 9);
     }},
    {"Cmc", [](auto& p) { p.vSendCMCCMD(20, 1, 0, nullptr, 50, OEM_CMC); }},
    {"Cmc11", [](auto& p) { p.vSendCMCCMD(20, 0, 0, nullptr, 50, OEM_TYPE_11); }},
    {"Cmc12", [](auto& p) { p.vSendCMCCMD(20, 0, 0, nullptr, 50, OEM_TYPE_12); }},
    {"RMThroughNovatel", [](auto& p) { p.vSendVarekRMCmd(OEM_NOVATEL, 5, 20); }},
    {"RMWithoutSettings", [](auto& p) { p.vSendVarekRMCmd(OEM_NONE, 5, 20); }},
    {"RMWithSettings",
     [](auto& p) {
         p.vSetSettings(&moduleSettings());
         p.vSendVarekRMCmd(OEM_NONE, 5, 0);
     }},
    {"RQ", [](auto& p) { p.vSendVarekRQCmd(OEM_NONE, 4, 1, 0); }},
    {"RKWithoutSettings", [](auto& p) { p.vSendVarekRKCmd(OEM_NONE, 44, 0); }},
    {"RLWithSettings",
     [](auto& p) {
         p.vSetSettings(&kRadio);
         p.vSetRLFlag(1);
         p.vSendVarekRKCmd(OEM_NONE, 44, 0);
     }},
    {"BTVV", [](auto& p) { p.vSendBTVVStr(L"abcdefghijklmnopqrstu"); }},
    {"BTVVNothing", [](auto& p) { p.vSendBTVVStr(L""); }},
    {"SerialQuery", [](auto& p) { p.vGetSerial(); }},
    {"StatusQuery", [](auto& p) { p.vGetStat1(); }},
    {"OptionQuery", [](auto& p) { p.vGetOpt(); }},
    {"SatelliteQuery", [](auto& p) { p.vGetSVData(1, 5); }},
    {"BreakQuery", [](auto& p) { p.vGetBreakInfo(); }},
    {"FileList", [](auto& p) { p.vGetAFDir(); }},
    {"File", [](auto& p) { p.vActAppFile(0); }},
    {"Reset", [](auto& p) { p.vResetTBGPS(); }},
    {"PortBaud", [](auto& p) { p.vSetPortBaud(1, 38400, OEM_TRIMBLE); }},
    {"Unlogall", [](auto& p) { p.vUnlogallPort(2, OEM_TRIMBLE); }},
    {"Mask", [](auto& p) { p.vSetMask(13, 6, OEM_TRIMBLE_7); }},
    {"Raw", [](auto& p) { p.vGetRaw(1, 2); }},
    {"RawPort", [](auto& p) { p.vGetRaw(OEM_TRIMBLE, 3, 0); }},
    {"Nmea", [](auto& p) { p.vWriteToPortNMEA(L"$GPHDT,,T"); }},
    {"NovatelLine", [](auto& p) { p.vSendNOEM4Cmd(L"unlogall\r\n", OEM_NOVATEL_18, 5); }},
    {"CorsToOther", [](auto& p) { p.vSendCorsData(kBytes, 4, OEM_NOVATEL); }},
    {"Cors", [](auto& p) { p.vSendCorsData(kBytes, 4, OEM_TYPE_13); }},
    {"Corrections", [](auto& p) { p.vSendVDCmd(kBytes, 4, OEM_NOVATEL_19); }},
    {"CorrectionsNothing", [](auto& p) { p.vSendVDCmd(nullptr, 4, OEM_NOVATEL); }},
    {"CorrectionsNegative", [](auto& p) { p.vSendVDCmd(kBytes, -4, OEM_NOVATEL); }},
    {"NovatelSecondStep",
     [](auto& p) {
         CBaseConfig config;
         config.uVarekFormat = 4;
         config.strStationID = L"12";
         config.nBaud = 9;
         p.vSetBaseStationNovatel1(OEM_NOVATEL, &config);
     }},
    {"NullRecords",
     [](auto& p) {
         for (int type = -1; type <= 20; ++type) {
             if (type != OEM_CMC) p.vSetBaseStation(nullptr, kPosition, L"", static_cast<GPSOEMTYPE>(type));
             p.vSetBaseStationNovatel1(static_cast<GPSOEMTYPE>(type), nullptr);
             p.vSetRoverStation(nullptr, static_cast<GPSOEMTYPE>(type));
         }
         p.vSetBaseStationJavad(nullptr, kPosition);
         p.vSetRoverStationJavad(nullptr);
     }},
};

INSTANTIATE_TEST_SUITE_P(All, Operations, testing::ValuesIn(kOperations),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(TrimblePortTest, GsofIsTheBodyInAPacket) {
    open();
    port.vOutputGSOFInfo(2, OEM_TRIMBLE);
    ASSERT_EQ(sent().size(), 1u);
    const std::string packet = device->written()[0];
    EXPECT_EQ(packet.size(), 73u);
    EXPECT_EQ(packet.substr(0, 18), hex("020064430000000306010107080a02030001"));
    EXPECT_TRUE(CTrimblePort::bCheckSum(vkcomm::bytesOf(packet).data(), 73));
    EXPECT_EQ(CTrimblePort::bteGetCheckSum(vkcomm::bytesOf(packet).data() + 1, 70),
              vkcomm::bytesOf(packet)[71]);
    EXPECT_FALSE(CTrimblePort::bCheckSum(vkcomm::bytesOf(packet).data(), 72));
    EXPECT_FALSE(CTrimblePort::bCheckSum(nullptr, 5));
}

TEST_F(TrimblePortTest, TextsForTheModemAreCutAt55) {
    open();
    port.vSendLandCmd(std::wstring(111, L'x'), OEM_NONE);
    port.vSendGGAMsg(std::wstring(110, L'x'), OEM_NONE);
    port.vSendLandCmd(L"", OEM_NONE);
    port.vSendVarekString(OEM_NONE, L"VL,S" + std::wstring(2000, L'x'));
    EXPECT_EQ(sent().back().size(), 3u + 256 * 3 - 1);
    Lines starts;
    for (const std::string& line : sent())
        starts.push_back(line.substr(0, line.find(" 24 24") + 21));
    EXPECT_EQ(starts,
              (Lines{"100 24 24 56 4C 18 37 78", "100 24 24 56 4C 18 37 78", "50 24 24 56 4C 18 01 78",
                     "10 24 24 56 46 18 37 78", "50 24 24 56 46 18 37 78", "50 24 24 56 4C 18 F7 78"}));
}

TEST_F(TrimblePortTest, BytesForTheBoardAreWaitedFor) {
    std::array<unsigned char, 64> out{};
    const auto expectFrame = [&](const wchar_t* command, int length, std::size_t framesSent, int frame) {
        const std::size_t before = sent().size();
        port.vAdjustVarekCmd(OEM_NOVATEL_6, command, counted(110).data(), out.data(), length);
        EXPECT_EQ(length, frame);
        EXPECT_EQ(device->written().size() - before, framesSent) << frame;
    };
    open();
    expectFrame(L"RZ", 0, 0, 9);
    expectFrame(L"RZ", 55, 0, 64);
    expectFrame(L"RZ", 56, 1, 10);
    expectFrame(L"RZ", 110, 2, 9);
    expectFrame(L"RZ", -1, 0, 0);
    expectFrame(L"R", 4, 0, 0);
    expectFrame(L"RZ", 4, 0, 13);
    EXPECT_EQ(spelled(ByteSpan(out).first(13)), "24 24 52 5A 18 04 00 01 02 03 14 0D 0A");
    int length = 56;
    port.vAdjustVarekCmd(OEM_NOVATEL_6, L"RZ", counted(56).data(), nullptr, length);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(sent().size(), 3u);
}

// A block of more than 20 pieces is dropped whole, so its pieces are one group; the next block is another.
TEST_F(TrimblePortTest, CorrectionsAreGroups) {
    const std::pair<int, std::size_t> blocks[] = {{1100, 20}, {1101, 0}, {110, 2}};
    open();
    for (const bool framed : {true, false})
        for (const auto& [size, pieces] : blocks) {
            const std::size_t before = sent().size();
            const Bytes bytes = counted(static_cast<std::size_t>(size));
            if (framed)
                port.vSendVDCmd(bytes.data(), size, OEM_NOVATEL_5);
            else
                port.vSendCorsData(bytes.data(), size, OEM_TYPE_13);
            EXPECT_EQ(sent().size() - before, pieces) << size;
        }
}

TEST_F(TrimblePortTest, CorrectionsAreDroppedWhileTheQueueIsBusy) {
    device->writes = {{WriteStep::kBlock, 0}};
    open();
    port.vGetSerial();
    device->awaitWriteBegun();
    port.vSendVDCmd(kBytes, 4, OEM_NOVATEL_5);
    port.vSendCorsData(kBytes, 4, OEM_TYPE_13);
    EXPECT_EQ(port.nQueueDepth(), 1);
    device->free();
    EXPECT_EQ(sent(), Lines{});
}

TEST_F(TrimblePortTest, PendingCommandsGoOneByOne) {
    open();
    int reset = 0;
    EXPECT_EQ(port.nSendECommandArray(0, OEM_NONE), 0);
    port.vAddOneCmd('x', L"dropped", reset);
    reset = 7;
    port.vAddOneCmd(110, L"one", reset);
    EXPECT_EQ(reset, 0);
    port.vAddOneCmd('B', L"two", reset);
    EXPECT_EQ(port.nPendingCommands(), 2);
    EXPECT_EQ(port.nSendECommandArray(0, OEM_NONE), 1);
    EXPECT_EQ(port.nSendECommandArray(1, OEM_NONE), 0);
    EXPECT_EQ(sent(), (Lines{"0 %n one\\r\\n", "50 24 24 56 53 18 08 25 42 20 74 77 6F 0D 0A 39 0D 0A"}));
}

TEST_F(TrimblePortTest, ThalesBaudMovesBothEnds) {
    struct {
        int from, to, local;
        std::vector<unsigned> rates;  // here: while the receiver is told, behind
        const char* line;
    } const cases[] = {
        {5, 9, 1, {9600, 115200}, "0 $PASHS,SPD,B,9*49\\r\\n"},
        {6, 9, 1, {19200, 115200}, "0 $PASHS,SPD,B,9*49\\r\\n"},
        {6, 9, 0, {115200, 115200}, "0 $PASHS,SPD,B,9*49\\r\\n"},
        {-1, 10, 1, {115200, 115200}, "0 $PASHS,SPD,B,10*71\\r\\n"},
        {5, 5, 1, {}, ""},
    };

    open();
    port.vSetLinePort(2);  // B: the flag alone says whether this end follows
    for (const auto& c : cases) {
        const std::size_t before = sent().size();
        std::vector<unsigned> rates;
        clock.onSleep = [&](int time) {
            drain(port);
            if (time == 300 && device->written().size() > before && rates.empty())
                rates.push_back(device->driver.BaudRate);
        };
        port.vChangeThalesBaud('B', c.from, c.to, c.local);
        if (!rates.empty()) rates.push_back(device->driver.BaudRate);
        EXPECT_EQ(rates, c.rates) << c.from << ' ' << c.to;
        ASSERT_EQ(sent().size() - before, c.rates.empty() ? 0u : 1u);
        if (!c.rates.empty()) {
            EXPECT_EQ(sent().back(), c.line);
        }
    }
}

// The command stays in the queue for two looks at it; the last wait begins when it is gone.
TEST_F(TrimblePortTest, ThalesBaudWaitsUntilTheCommandIsSent) {
    open();
    device->writes = {{WriteStep::kBlock, 0}};
    std::vector<int> depths;
    clock.onSleep = [&](int) {
        depths.push_back(port.nQueueDepth());
        if (depths.size() != 2) return;
        device->free();
        drain(port);
    };
    port.vChangeThalesBaud('B', 5, 9, 1);
    device->free();
    EXPECT_EQ(depths, (std::vector<int>{1, 1, 0}));
}

// The last line of a rover's setup reaches the receiver at the rate that the line before it has set.
TEST_F(TrimblePortTest, FollowsTheRateOfTheReceiversPort) {
    struct {
        const char* name;
        GPSOEMTYPE type;
        int linePort, com;
        std::size_t toldBefore;  // writes at the old rate, when the rate changes
        unsigned rate;
    } const cases[] = {
        {"the port in use", OEM_NOVATEL, 1, 1, 6, 115200},
        {"another port", OEM_NOVATEL, 2, 1, 0, 9600},
        {"a port that is not known", OEM_NOVATEL, 0, 1, 0, 9600},
        {"no port", OEM_NOVATEL, 0, 0, 0, 9600},
        {"a port of the board inside", OEM_NOVATEL_5, 1, 1, 0, 9600},
    };

    for (const auto& c : cases) {
        CTrimblePort user;
        devices.next.clear();
        use(user);
        ASSERT_EQ(user.bOpenPort(nullptr, 3, 9600), 1);
        CRoverConfig config;
        config.uCom = static_cast<unsigned char>(c.com);
        config.nBaud = 9;
        std::size_t told = 0;
        clock.onSleep = [&](int) {
            drain(user);
            if (device->driver.BaudRate == 9600) told = device->written().size();
        };
        user.vSetLinePort(c.linePort);
        user.vSetRoverStation(&config, c.type);
        drain(user);
        EXPECT_EQ(told, c.toldBefore) << c.name;
        EXPECT_EQ(device->driver.BaudRate, c.rate) << c.name;
        if (told != 0) {
            EXPECT_EQ(device->written()[told - 1], "com com1 115200\r\n");
            EXPECT_EQ(device->written().size(), told + 1);
        }
    }
}

// Which operation a setup is, told by its first bytes; the bytes themselves are compared with the transcripts.
// Packets are wrapped by the type of the port, which is none here, not by that of the setup.
TEST_F(TrimblePortTest, SetupGoesByTheType) {
    const std::map<int, std::string> starts = {
        {0, "\x02"}, {1, "ecutoff"}, {2, "\x01"},   {5, "$$RZ8"},     {6, "$$RZ\x18"}, {7, "\x02"},
        {8, "\x02"}, {14, "\x02"},   {15, "$$RG8"}, {16, "$$RG\x18"}, {18, "ecutoff"}, {19, "ecutoff"}};
    const CRoverConfig rover;
    const auto lastLead = [this] {
        drain(port);
        return device->written().back().substr(0, 1);
    };
    open();
    for (int type = -1; type <= 20; ++type) {
        CBaseConfig config;
        const std::size_t before = sent().size();
        port.vSetBaseStation(&config, kPosition, L"B", static_cast<GPSOEMTYPE>(type));
        const std::size_t behind = sent().size();
        ASSERT_EQ(behind > before, starts.contains(type)) << type;
        if (behind == before) continue;
        EXPECT_TRUE(device->written()[before].starts_with(starts.at(type))) << type;
        EXPECT_EQ(config.uTrimblePort, type == 15 || type == 16 ? 1 : 2);
        if (setupFamily(static_cast<GPSOEMTYPE>(type)) != SetupFamily::kTrimble) continue;
        EXPECT_EQ(lastLead(), "\x02") << type;
        port.vSetRoverStation(&rover, static_cast<GPSOEMTYPE>(type));
        EXPECT_EQ(lastLead(), "\x02") << type;
    }
    port.vSetReceiverType(OEM_VAREK_TRIMBLE_16);
    CBaseConfig config;
    port.vSetBaseStation(&config, kPosition, L"B", OEM_TRIMBLE);
    EXPECT_EQ(lastLead(), "$");
    EXPECT_EQ(config.uTrimblePort, 2);
    port.vSetRoverStation(&rover, OEM_TRIMBLE);
    EXPECT_EQ(lastLead(), "$");
}

TEST_F(TrimblePortTest, RemembersWhatItSetUp) {
    const CBaseConfig base;
    CRoverConfig rover;
    CBaseConfig withNan;
    open();
    port.vSetBaseStation(&withNan, {std::nan(""), 0, 0}, L"", OEM_NOVATEL);
    EXPECT_EQ(port.bBaseFixed(), 0);
    port.vSetBaseStation(&withNan, kPosition, L"", OEM_NOVATEL);
    EXPECT_EQ(port.bBaseFixed(), 1);
    port.vSetRoverStation(&rover, OEM_TRIMBLE);
    EXPECT_EQ(port.bRoverMode(), 0);
    port.vSetOEMCmdSet(2);
    port.vSetIonosphere(2);
    port.vSetRoverStation(&rover, OEM_NOVATEL);
    EXPECT_EQ(port.bRoverMode(), 1);
    EXPECT_THAT(sent(), testing::Contains("100 ionocondition disturbed\\r\\n"));
    port.vSetBaseStationNovatel1(OEM_NOVATEL, &base);
    EXPECT_EQ(port.bRoverMode(), 0);
    port.vSetBaseStationJavad(std::make_unique<CBaseConfigJavad>().get(), kPosition);
    port.vSetRoverStationJavad(std::make_unique<CRoverConfigJavad>().get());
    port.vInitThales('A');
    const Lines lines = sent();
    EXPECT_TRUE(std::any_of(lines.begin(), lines.end(),
                            [](const std::string& line) { return line.find("imode,cmr@") != line.npos; }));
    EXPECT_EQ(lines.back(), "50 $PASHS,NME,ZDA,A,ON,1*1D\\r\\n");
}

TEST_F(TrimblePortTest, TellsHowMuchOfASequenceItTook) {
    CommandSteps steps(3);
    for (CommandStep& step : steps)
        step.bytes = {'x'};
    EXPECT_EQ(port.nSendSteps(steps), 0);
    open();
    EXPECT_EQ(port.nSendSteps(steps), 3);
    steps[0].drain = true;
    drain(port);
    device->writes = {{WriteStep::kBlock, 0}};
    clock.onSleep = [this](int) {
        device->free();
        port.vClosePort();
    };
    EXPECT_EQ(port.nSendSteps(steps), 1);
    CBaseConfig config;
    CRoverConfig rover;
    port.vSetBaseStation(&config, kPosition, L"", OEM_NOVATEL);
    port.vSetRoverStation(&rover, OEM_NOVATEL);
    EXPECT_EQ(port.bBaseFixed(), 0) << "no position was sent";
    EXPECT_EQ(port.bRoverMode(), 1);
}

TEST(TrimblePort, NumberOfSixBytes) {
    const unsigned char bytes[] = {0x21, 0x43, 0x65, 0x87, 0x09, 0xF1};
    EXPECT_EQ(CTrimblePort::strGetNum(bytes), L"12345678901");
    const unsigned char high[] = {0xFA, 0, 0, 0, 0, 0xF};
    EXPECT_EQ(CTrimblePort::strGetNum(high), L"10150000000015");
    EXPECT_EQ(CTrimblePort::strGetNum(ByteSpan(high).first(5)), L"");
    EXPECT_EQ(CTrimblePort::strGetNum(nullptr), L"");
}

}  // namespace
}  // namespace vkcomm::test
