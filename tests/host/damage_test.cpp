// Damaged recordings: under the family's mask every frame that was left whole comes out, the last one too,
// and nothing else passes for one.
#include <algorithm>

#include "host/receiver_family.h"
#include "sim/recording.h"
#include "tests/host/recordings.h"

namespace vkcomm::test {
namespace {

using Frames = std::vector<std::pair<std::uint64_t, std::string>>;  // offset and bytes

// A text reply of CSI receivers has no check and counts for nothing.
Frames wholeFrames(const sim::Piece& piece) {
    Frames frames;
    for (std::size_t i = 0; i < piece.frames.size(); ++i)
        if (piece.frames[i].whole && !textOf(piece.frameBytes(i)).starts_with("$>"))
            frames.emplace_back(piece.frames[i].offset, textOf(piece.frameBytes(i)));
    return frames;
}

// The records of that type, in pieces of a size.
Frames framesIn(ByteSpan stream, const std::string& family, LOG_TYPE type, std::size_t chunk) {
    CNOut decoder;
    decoder.vSetDecodeMask(findFamily(family)->decodeMask);
    const auto reader = family == "javad" ? makeJavadReader(decoder) : makeFrameReader(decoder);
    Frames frames;
    const auto keep = [&](const RecordView& record) {
        if (record.type == type) frames.emplace_back(record.offset, textOf(record.bytes));
    };
    for (std::size_t at = 0; at < stream.size(); at += chunk) {
        reader->feed(stream.subspan(at, std::min(chunk, stream.size() - at)));
        while (const auto record = reader->next())
            keep(*record);
    }
    while (const auto record = reader->nextAtEnd())
        keep(*record);
    return frames;
}

void expectWholeFrames(const sim::Piece& damaged, const std::string& family, LOG_TYPE type) {
    const Frames whole = wholeFrames(damaged);
    ASSERT_LT(whole.size(), damaged.frames.size());
    ASSERT_TRUE(damaged.frames.back().whole);
    for (const std::size_t chunk : {1u, 64u, 4096u}) {
        const Frames found = framesIn(damaged.bytes, family, type, chunk);
        const auto [left, right] = std::ranges::mismatch(whole, found);
        EXPECT_TRUE(left == whole.end() && right == found.end())
            << "in pieces of " << chunk << " from frame " << left - whole.begin() << " of " << whole.size();
    }
}

TEST(Damage, SimulatedReceiversLoseNoWholeFrame) {
    const struct {
        const char* simulated;
        const char* family;
        LOG_TYPE type;
    } cases[] = {
        {"nmea", "nmea", LOG_NMEA},
        {"oem4", "oem4", LOG_OEM4_BINARY},
        {"oem4-server", "oem4", LOG_OEM4_BINARY},
        {"trimble", "trimble", LOG_TRIMBLE_PACKET},
        {"javad", "javad", LOG_NONE},
        {"cmc", "cmc", LOG_CMC_BINARY},
        {"csi", "csi", LOG_HEMISPHERE_BINARY},
        {"maker", "maker", LOG_VAREK_REPLY},
    };

    EXPECT_EQ(std::size(cases), sim::families().size());
    for (const auto& c : cases)
        for (const double percent : {2.0, 30.0, 100.0})
            for (std::uint64_t seed = 1; seed <= 4; ++seed) {
                SCOPED_TRACE(testing::Message() << c.simulated << ' ' << percent << " % seed " << seed);
                expectWholeFrames(sim::makeRecording({.family = c.simulated,
                                                      .seconds = percent < 10 ? 600 : 60,
                                                      .seed = seed,
                                                      .damagePercent = percent}),
                                  c.family, c.type);
            }
}

// Lines of ASCII logs, which no simulated receiver sends.
sim::Match matchAsciiLog(ByteSpan bytes) {
    const std::string_view text = textOf(bytes);
    if (!text.starts_with('#')) return sim::Match::kNone;
    const std::string_view line = text.substr(0, text.find_first_of("\r\n"));
    if (line.size() == text.size()) return sim::Match::kUnfinished;
    const std::size_t star = line.rfind('*');
    if (star == line.npos || star == 0) return sim::Match::kNone;
    const std::string_view check = line.substr(star + 1, 8);
    std::string written(check);
    std::ranges::transform(written, written.begin(),
                           [](char c) { return c >= 'a' ? chr(byteOf(c) - 32) : c; });
    return written == digits(slowCrc(line.substr(1, star - 1)), 8) ? sim::Match::kFrame : sim::Match::kNone;
}

constexpr std::string_view kAsciiHeads[] = {"#BESTXYZA,COM1,", "#"};
const sim::Framing kAsciiFraming{matchAsciiLog, 2, kAsciiHeads};

class DamagedRecordings : public RecordingTest {};

// One frame in fifty of real recordings, behind as much garbage.
TEST_F(DamagedRecordings, LoseNoWholeFrame) {
    const auto framing = [](const char* family) { return sim::findFamily(family)->framing; };

    const struct {
        const char* file;
        const char* family;
        LOG_TYPE type;
        const sim::Framing* framing;
    } cases[] = {
        {"oem4_binary/span_propak6-basic-fix.bin", "oem4", LOG_OEM4_BINARY, framing("oem4")},
        {"oem4_binary/rtklib_oemv_20091218.gps", "oem4", LOG_OEM4_BINARY, framing("oem4")},
        {"oem4_ascii/gavlab_test2_rcvr1.ASC", "oem4", LOG_OEM4_ASCII, &kAsciiFraming},
        {"trimble_stx_gsof/ignav_171107134322.gsof", "trimble", LOG_TRIMBLE_PACKET, framing("trimble")},
        {"trimble_stx_rt17/rt17c_20140705.rt17", "trimble", LOG_TRIMBLE_PACKET, framing("trimble")},
        {"cmc_allstar/rtklib_ss2_20080517.log", "cmc", LOG_CMC_BINARY, framing("cmc")},
        {"csi_bin/rtklib_cres_20080526.partA_first131072.bin", "csi", LOG_HEMISPHERE_BINARY, framing("csi")},
        {"nmea/gpsd_quectel-l76k-nmea.log", "nmea", LOG_NMEA, framing("nmea")},
        {"nmea/gpsd_bundg_zeus_9.log", "nmea", LOG_NMEA, framing("nmea")},
        {"nmea/gpsd_hemi.log", "nmea", LOG_NMEA, framing("nmea")},
    };

    for (const auto& c : cases) {
        std::vector<Record> records = decodeRecording(c.file, findFamily(c.family)->decodeMask).records;
        std::erase_if(records, [&](const Record& record) { return record.type != c.type; });
        ASSERT_GT(records.size(), 300u) << c.file;
        for (std::uint64_t seed = 1; seed <= 4; ++seed) {
            SCOPED_TRACE(testing::Message() << c.file << " seed " << seed);
            sim::Damager damager(*c.framing, 2.0, seed);
            sim::Piece stream;
            for (std::size_t i = 0; i < records.size();) {
                constexpr std::size_t kFramesAPiece = 32;
                sim::Piece piece;
                for (const std::size_t end = std::min(records.size(), i + kFramesAPiece); i < end; ++i)
                    piece.addFrame(spanOf(records[i].bytes));
                damager.damage(piece, i == records.size());
                for (sim::Frame frame : piece.frames) {
                    frame.offset += stream.bytes.size();
                    stream.frames.push_back(frame);
                }
                stream.addBytes(piece.bytes);
            }
            expectWholeFrames(stream, c.family, c.type);
        }
    }
}

}  // namespace
}  // namespace vkcomm::test
