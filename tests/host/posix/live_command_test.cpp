// The verbs on live ports as processes: what they print and complain of, how they end, and what one hands the next.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/host/command.h"

namespace vkcomm::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using Text = testing::Matcher<std::string>;

using LiveVerbs = Command;

TEST_F(LiveVerbs, PrintComplainAndEndAsTheyShould) {
    write("empty", "");
    write("old", "an older recording");

    const struct {
        const char* arguments;
        int status;
        Text out;
        Text err;
    } cases[] = {
        {"ports --help", 0, HasSubstr("vkcomm ports"), ""},
        {"monitor --help", 0, HasSubstr("vkcomm monitor sim:oem4 --for 10s"), ""},
        {"record --help", 0, HasSubstr("vkcomm record sim:oem4 log.bin --for 10s"), ""},
        {"replay --help", 0, HasSubstr("vkcomm replay demo.bin --speed max"), ""},
        {"monitor", 2, "", HasSubstr("URL is required")},
        {"record sim:oem4", 2, "", HasSubstr("FILE is required")},
        {"replay", 2, "", HasSubstr("FILE is required")},
        {"monitor --json --plain sim:oem4", 2, "", HasSubstr("excludes")},
        {"monitor sim:oem4 --for soon", 2, "", HasSubstr("soon is no time such as 10s")},
        {"monitor sim:oem4 --family nobody", 2, "", HasSubstr("nobody is no receiver family")},
        {"record old copy", 2, "", HasSubstr("old is a file already")},
        {"replay old --speed fast", 2, "", HasSubstr("--speed must be a number of bytes a second, or max")},
        {"replay old --pty --json", 2, "", HasSubstr("excludes")},
        {"simulate oem4 --pty --tcp 0", 2, "", HasSubstr("excludes")},
        {"simulate oem4 --pty -o x", 2, "", HasSubstr("choose one")},
        {"simulate oem4 --pty --rate 50", 2, "", HasSubstr("the rate must be from 1 to 20 Hz")},
        {"simulate oem4 --tcp 99999", 2, "", HasSubstr("99999 is neither PORT nor ADDRESS:PORT")},
        {"simulate oem4 --tcp 1.2.3.4:0", 1, "", HasSubstr("cannot listen on 1.2.3.4:0")},

        // addresses that are none, and ports and files that cannot be opened
        {"monitor ftp://x", 2, "", HasSubstr("ftp://x is no port: give serial:/dev/ttyUSB0?baud=115200")},
        {"monitor sim:nobody", 2, "", HasSubstr("unknown family 'nobody'")},
        {"monitor sim:oem4?rate=99", 2, "", HasSubstr("rate must be 1 to 20")},
        {"monitor serial:/dev/vkcomm-none", 1, "", HasSubstr("is it plugged in and switched on?")},
        {"monitor tcp://127.0.0.1:1", 1, "",
         HasSubstr("is the receiver switched on, and are address and port")},
        {"monitor missing", 1, "", HasSubstr("cannot open missing: No such file")},
        {"monitor .", 1, "", HasSubstr("Is a directory")},
        {"monitor empty", 1, "", HasSubstr("empty: no record of a receiver came")},
        {"replay missing", 1, "", HasSubstr("missing: cannot be opened: No such file")},
        {"replay .", 1, "", HasSubstr("is a folder, not a recording")},
        {"replay empty", 1, "", HasSubstr("empty: is empty")},
        {"replay empty --pty", 1, "", HasSubstr("empty: is empty")},
        {"replay missing --pty", 1, "", HasSubstr("missing: cannot be opened: No such file")},
        {"record serial:/dev/vkcomm-none old", 1, "", HasSubstr("/dev/vkcomm-none")},
        {"record sim:oem4 missing/log --for 1s", 1, "", HasSubstr("cannot open missing/log: No such file")},

        // what works without a receiver
        {"ports", 0, testing::_, testing::_},
        {"simulate oem4 --pty --unplug-after 200ms", 0, StartsWith("/dev/"), HasSubstr("taken by nobody")},
        {"monitor 'sim:oem4?rate=20' --for 2s", 0, HasSubstr(" N  "), HasSubstr("family: oem4")},
        {"record 'sim:oem4?rate=20' /dev/full --for 2s", 1, StartsWith("0 bytes, "),
         AllOf(HasSubstr("No space left on device; reception goes on"),
               HasSubstr("bytes could not be written"))},
    };

    for (const auto& c : cases) {
        const Outcome outcome = run(c.arguments);
        EXPECT_EQ(outcome.status, c.status) << c.arguments;
        EXPECT_THAT(outcome.out, c.out) << c.arguments;
        EXPECT_THAT(outcome.err, c.err) << c.arguments;
    }
    EXPECT_EQ(bytesOf("old"), "an older recording") << "a port that cannot be opened costs no recording";
}

TEST_F(LiveVerbs, ARecordingReplayedGivesTheRecordsOfDecode) {
    for (const std::string family : {"oem4", "javad"}) {
        const Outcome outcome = play("family=" + family + R"sh(
            rm -f address
            VKCOMM record "sim:$family?rate=20" log --for 1s || exit 1
            VKCOMM decode --json log >decoded || exit 2
            VKCOMM replay log --speed max --json >replayed && cmp decoded replayed || exit 3
            [ $(wc -l <decoded) -ge 10 ] || exit 4
            cp log 'wh?t&.bin'  # no name of a file may be taken for something else
            VKCOMM replay 'wh?t&.bin' --speed max --json 2>/dev/null | cmp - decoded || exit 5
            # once more through a pseudo-terminal, which is gone at the end of the file
            "$VKCOMM" replay log --pty --speed 100000 >address &
            await '[ -s address ]'
            VKCOMM record "serial:$(cat address)?baud=115200" copy --no-reopen
            cmp log copy)sh");
        EXPECT_EQ(outcome.status, 0) << family << ": " << outcome.out << outcome.err;
    }
}

TEST_F(LiveVerbs, AStopSignalLeavesAWholeRecording) {
    for (const std::string signal : {"INT", "TERM"}) {
        const Outcome outcome = play("signal=" + signal + R"sh(
            rm -f address log
            "$VKCOMM" simulate oem4 --pty --rate 20 >address &
            simulator=$!
            await '[ -s address ]'
            "$VKCOMM" record "serial:$(cat address)?baud=115200" log --lead-timeout 0 >said &
            await '[ -s log ]'
            kill -$signal $!; wait $! || exit 1
            kill $simulator; wait $simulator || exit 2
            records=$(VKCOMM decode --json log | wc -l)
            echo "$(wc -c <log) bytes, $records records in log" >expected
            cmp said expected)sh");
        EXPECT_EQ(outcome.status, 0) << signal << ": " << outcome.out << bytesOf("said") << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr("family: oem4"));
    }
}

TEST_F(LiveVerbs, MonitorComesBackWithItsReceiver) {
    const Outcome outcome = play(R"sh("$VKCOMM" simulate nmea --tcp 0 --rate 20 >address &
        simulator=$!
        await '[ -s address ]'
        url=$(cat address)
        "$VKCOMM" monitor "$url" --json >positions 2>events &
        monitor=$!
        await '[ -s positions ]'
        kill $simulator; wait $simulator
        await 'grep -q refused events'
        "$VKCOMM" simulate nmea --tcp ${url##*:} --rate 20 >address &
        simulator=$!
        await 'grep -q "is open again" events'
        before=$(wc -l <positions)
        await '[ $(wc -l <positions) -gt $before ]'
        kill $monitor; wait $monitor || exit 1
        kill $simulator; wait $simulator)sh");
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err << bytesOf("events");
    std::istringstream positions(bytesOf("positions"));
    for (std::string line; std::getline(positions, line);)
        EXPECT_TRUE(nlohmann::json::accept(line)) << line;
}

}  // namespace
}  // namespace vkcomm::test
