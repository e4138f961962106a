// The simulated caster on a real port, asked as clients ask.
#include "sim/caster.h"

#include <gtest/gtest.h>

#include "host/rtcm3_scanner.h"
#include "vkcomm/platform/network.h"

namespace vkcomm::sim {
namespace {

using namespace std::chrono_literals;

constexpr const char* kPlace = "$GPGGA,235930.00,4717.1,N,00833.9,E,1,08,1.0,431.2,M,47.4,M,,*";
// user:pass
constexpr const char* kCredentials = "Authorization: Basic dXNlcjpwYXNz\r\n";

std::string withSum(const std::string& sentence) {
    unsigned sum = 0;
    for (const char c : sentence.substr(1, sentence.size() - 2))
        sum ^= static_cast<unsigned char>(c);
    return sentence + "0123456789ABCDEF"[sum / 16] + "0123456789ABCDEF"[sum % 16];
}

class Running {
public:
    explicit Running(const CasterOptions& options) {
        SystemError error;
        auto listener = openListener("127.0.0.1", 0, error);
        m_port = listener->port();
        m_caster = std::make_unique<Caster>(options, std::move(listener), "127.0.0.1");
        m_caster->start();
    }

    std::unique_ptr<NetSocket> connect() const {
        SystemError error;
        auto socket = systemNetwork().open(SocketKind::kStream, error);
        EXPECT_TRUE(socket && socket->connect({0x7F000001, m_port})) << error.message();
        return socket;
    }

    Caster& operator*() { return *m_caster; }

    CasterTotals totalsAtEnd() {
        m_caster->stop();
        return m_caster->totals();
    }

private:
    std::uint16_t m_port = 0;
    std::unique_ptr<Caster> m_caster;
};

void say(NetSocket& socket, const std::string& text) {
    ASSERT_EQ(socket.send({reinterpret_cast<const unsigned char*>(text.data()), text.size()}),
              static_cast<int>(text.size()));
}

struct Heard {
    std::string text;
    bool closed = false;
};

// Until there are that many bytes or the caster has closed.
Heard hear(NetSocket& socket, std::size_t size) {
    Heard heard;
    std::array<unsigned char, 512> buffer;
    while (heard.text.size() < size && !heard.closed) {
        socket.waitReadable(60s);
        const int count = socket.receive(buffer, nullptr);
        heard.closed = count <= 0;
        if (count > 0) heard.text.append(buffer.begin(), buffer.begin() + count);
    }
    return heard;
}

CasterOptions withFile(std::string bytes) {
    CasterOptions options;
    options.user = "user";
    options.password = "pass";
    options.file = std::make_shared<const std::string>(std::move(bytes));
    options.bytesPerSecond = 0.0;
    return options;
}

TEST(Caster, AnswersAsCastersDo) {
    struct Case {
        const char* name;
        std::string request;
        std::string begin;  // of the answer
        std::string end;
    };

    const std::string first = "User-Agent: NTRIP test/1\r\n";
    const std::string second = first + "Host: x\r\nntrip-version:Ntrip/2.0\r\n";
    const std::string gga = "Ntrip-GGA: " + withSum(kPlace) + "\r\n";
    Running running(withFile("corrections"));
    for (const Case& c : {
             Case{"version 1", "GET /SIM HTTP/1.0\r\n" + first + kCredentials, "ICY 200 OK\r\ncorr",
                  "corrections"},
             Case{"version 1 asked with HTTP/1.1", "GET /SIM HTTP/1.1\r\n" + first + kCredentials, "ICY 200",
                  "ns"},
             Case{"version 2", "GET /SIM HTTP/1.1\r\n" + second + kCredentials, "HTTP/1.1 200 OK\r\n",
                  "\r\nTransfer-Encoding: chunked\r\n\r\nb\r\ncorrections\r\n0\r\n\r\n"},
             Case{"version 2 with a position", "GET /VRS HTTP/1.1\r\n" + second + gga + kCredentials,
                  "HTTP/1.1 200", "corrections\r\n0\r\n\r\n"},
             Case{"wrong password", "GET /SIM HTTP/1.0\r\n" + first + "Authorization: Basic dXNlcjp4\r\n",
                  "HTTP/1.0 401 ", "password.\r\n"},
             Case{"no password", "GET /SIM HTTP/1.1\r\n" + second, "HTTP/1.1 401 ", "password.\r\n"},
             Case{"unknown mount point", "GET /NONE HTTP/1.0\r\n" + first, "SOURCETABLE 200 OK\r\n",
                  "ENDSOURCETABLE\r\n"},
             Case{"unknown mount point, version 2", "GET /NONE HTTP/1.1\r\n" + second, "HTTP/1.1 404 ",
                  "point.\r\n"},
             Case{"source table", "GET / HTTP/1.0\r\n" + first, "SOURCETABLE 200 OK\r\n",
                  "STR;VRS;Simulated;RTCM 3.1;1004(1),1006(10),1010(1);2;GPS+GLO;VKCOMM;CHE;47.29;8.57;1;1;"
                  "simulator;none;B;N;1800;\r\nENDSOURCETABLE\r\n"},
             Case{"source table, version 2", "GET / HTTP/1.1\r\n" + second, "HTTP/1.1 200 OK\r\n",
                  "TABLE\r\n"},
             Case{"a browser", "GET /SIM HTTP/1.1\r\nUser-Agent: Mozilla\r\n", "HTTP/1.0 400 ",
                  "served.\r\n"},
             Case{"another method", "POST /SIM HTTP/1.1\r\n" + first, "HTTP/1.0 400 ", "served.\r\n"},
             Case{"no end", std::string(9000, 'x'), "HTTP/1.0 400 ", "served.\r\n"},
         }) {
        SCOPED_TRACE(c.name);
        const auto socket = running.connect();
        say(*socket, c.request + "\r\n");
        const Heard heard = hear(*socket, 100'000);
        EXPECT_TRUE(heard.text.starts_with(c.begin)) << heard.text;
        EXPECT_TRUE(heard.text.ends_with(c.end)) << heard.text;
    }
    const CasterTotals totals = running.totalsAtEnd();
    EXPECT_EQ(totals.streams, 4u);
    EXPECT_EQ(totals.refusals, 7u);
    EXPECT_EQ(totals.tables, 2u);
    EXPECT_EQ(totals.bytes, 44u);
}

TEST(Caster, WaitsForAPositionThatCanBeUsed) {
    Running running(withFile("corrections"));
    const auto socket = running.connect();
    say(*socket, std::string("GET /VRS HTTP/1.0\r\nUser-Agent: NTRIP test/1\r\n") + kCredentials + "\r\n");
    std::string noFix = kPlace;
    noFix.replace(noFix.find("E,1"), 3, "E,0");
    say(*socket, "$GPGGA,,*00\r\nhello\r\n" + std::string(kPlace) + "00\r\n" + withSum(noFix) + "\r\n");
    EXPECT_EQ(hear(*socket, 12).text, "ICY 200 OK\r\n");
    EXPECT_EQ(socket->waitReadable(50ms), SocketWait::kTimeout);
    say(*socket, withSum(kPlace) + "\r\n");
    EXPECT_EQ(hear(*socket, 100).text, "corrections");
    EXPECT_EQ(running.totalsAtEnd().positions, 1u);
}

TEST(Caster, StreamsTheSimulatedStation) {
    Running running({});
    const auto socket = running.connect();
    say(*socket, "GET /SIM HTTP/1.0\r\nUser-Agent: NTRIP test/1\r\n\r\n");
    Rtcm3Scanner scanner;
    std::vector<CorrectionBlock> blocks;
    scanner.feed(hear(*socket, 250).text.substr(12), blocks);
    EXPECT_EQ(scanner.counts(), (std::map<int, std::uint64_t>{{1004, 1}, {1006, 1}, {1010, 1}}));
    EXPECT_EQ(scanner.badChecks(), 0u);
}

TEST(Caster, HasTheFaultsItIsAskedFor) {
    const std::string request =
        std::string("GET /SIM HTTP/1.0\r\nUser-Agent: NTRIP t\r\n") + kCredentials + "\r\n";
    CasterOptions options = withFile("corrections");
    options.closeAfter = 4;
    Running closing(options);
    const auto first = closing.connect();
    say(*first, request);
    const Heard heard = hear(*first, 100);
    EXPECT_EQ(heard.text, "ICY 200 OK\r\ncorr");
    EXPECT_TRUE(heard.closed);

    options.closeAfter.reset();
    options.stallAfter = 4;
    Running stalling(options);
    const auto second = stalling.connect();
    say(*second, request);
    EXPECT_EQ(hear(*second, 16).text, "ICY 200 OK\r\ncorr");
    EXPECT_EQ(second->waitReadable(50ms), SocketWait::kTimeout);
    (*stalling).stop();
    EXPECT_TRUE(hear(*second, 1).closed);
}

// Whatever a client that does not read was not sent yet waits, or is left out between messages.
TEST(Caster, LetsWhoDoesNotReadWait) {
    std::string bytes(20'000'000, 'a');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i * 31 >> 7);
    Running running(withFile(bytes));
    const auto socket = running.connect();
    say(*socket, std::string("GET /SIM HTTP/1.0\r\nUser-Agent: NTRIP t\r\n") + kCredentials + "\r\n");
    std::uint64_t before = 0;
    for (std::uint64_t now = 1; now != before || now == 0; now = (*running).totals().bytes) {
        before = now;
        systemClock().sleep(100ms);
    }
    EXPECT_LT(before, bytes.size()) << "it pushes back";
    EXPECT_TRUE(hear(*socket, bytes.size() + 13).text == "ICY 200 OK\r\n" + bytes);
}

}  // namespace
}  // namespace vkcomm::sim
