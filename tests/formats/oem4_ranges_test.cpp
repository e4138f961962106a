#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "tests/formats/oem4_frames.h"
#include "vkcomm/formats/oem4_format.h"

namespace vkcomm::test {
namespace {

std::string shown(const RangeObservation& r) {
    return row(r.trackingStatus, r.prn, r.pseudorange, r.accumulatedDoppler, r.cn0, double{r.lockTime});
}

TEST(Rangecmp, ExpandsRecords) {
    CNOEM4Format parser;
    int slot = 0;
    for (const RangeCase& c : kRanges) {
        parser.ProcessRangeCMPData(slot, dataOf(hex(c.record)));
        const RangeObservation& range = parser.Ranges().slots[static_cast<std::size_t>(slot++)];
        EXPECT_EQ(shown(range), c.values);
        EXPECT_EQ(row(range.doppler, range.pseudorangeSigma, range.accumulatedDopplerSigma), "0 0 0");
    }
    // State 4 and PRN 2, all other bits set: every field to its last bit.
    std::string record(24, '\xFF');
    record[0] = chr(0xE4);
    record[17] = chr(0xC2);
    parser.ProcessRangeCMPData(0, spanOf(record));
    const RangeObservation& range = parser.Ranges().slots[0];
    EXPECT_EQ(row(range.trackingStatus, range.prn, range.pseudorange, range.cn0, range.lockTime),
              "4 2 536870911.9921875 51 65535.97");
}

TEST(Rangecmp, FillsThe24SlotsInOrder) {
    CNOEM4Format parser;
    parser.vProcessRangeCMPB(spanOf(kRangecmp));
    EXPECT_EQ(parser.Ranges().count, 2u);
    EXPECT_EQ(shown(parser.Ranges().slots[0]), kRanges[0].values);
    EXPECT_EQ(shown(parser.Ranges().slots[1]), kRanges[1].values);
    EXPECT_EQ(parser.Ranges().slots[2].prn, 0);
    EXPECT_EQ(parser.Header().messageId, 0) << "the header is not that of a range log";
    parser.vProcessRangeCMPB(dataOf(rangecmpOf(0xFFFFFFFF, 25)));
    EXPECT_EQ(parser.Ranges().count, 24u);
    EXPECT_EQ(parser.Ranges().slots[23].prn, 24);
    for (const int slot : {-1, 24, 1 << 30})
        parser.ProcessRangeCMPData(slot, dataOf(hex(kRanges[0].record)));
    EXPECT_EQ(parser.Satellites().count, 0u) << "nothing behind the slots is touched";
}

TEST(Rangecmp, SkipsPrn63FoldsHigherOnesAndStoresUnknownWavelengthsAsNotFinite) {
    CNOEM4Format parser;
    parser.vProcessRangeCMPB(spanOf(kRangecmp));
    const std::string record = hex(kRanges[3].record);
    const auto expand = [&](std::size_t at, unsigned byte) {
        parser.ProcessRangeCMPData(0, spanOf(with(record, at, static_cast<std::uint8_t>(byte))));
        return parser.Ranges().slots[0];
    };
    EXPECT_EQ(shown(expand(17, 63)), kRanges[0].values);
    EXPECT_EQ(shown(expand(17, 127)), kRanges[0].values);
    EXPECT_EQ(expand(17, 120).prn, 120 - 64);
    EXPECT_TRUE(std::isinf(expand(0, 0x03).accumulatedDoppler));
    EXPECT_EQ(row(expand(0, 0x03).prn, expand(0, 0x03).trackingStatus), "22 3");
    parser.ProcessRangeCMPData(0, spanOf(std::string(24, '\0')));
    EXPECT_TRUE(std::isnan(parser.Ranges().slots[0].accumulatedDoppler));
    EXPECT_EQ(parser.Ranges().slots[0].cn0, 20.0f);
}

TEST(SatelliteMessages, FillTheTableUpTo24) {
    CNOEM4Format parser;
    const SatelliteMessage& message = parser.Satellites();
    parser.vProcessSatMsgB(dataOf(satelliteMessage(255, 24)));
    EXPECT_EQ(row(message.count, message.raw[0], message.table[15].byte5), "24 255 245")
        << "bytes are unsigned";
    const std::string frame = satelliteMessage(2, 2);
    parser.vProcessSatMsgB(spanOf(frame));
    EXPECT_EQ(0, std::memcmp(message.raw.data(), frame.data() + 28, 6 + 2 * 12));
    const SatelliteEntry& e = message.table[1];
    EXPECT_EQ(row(message.count, e.byte0, e.byte3, e.word1, e.byte5, e.byte9, e.byte4),
              "2 16 19 4625 21 25 20");
    EXPECT_EQ(message.table[2].byte4, 0) << "entries of an earlier message are gone";
    parser.vProcessSatMsgB(static_cast<const unsigned char*>(nullptr));
    EXPECT_EQ(row(message.count, message.table[1].byte5, message.raw[0]), "0 0 2");
}

TEST(Satvis, ReadsARecordedLog) {
    const std::string body =
        hex("010000000100000001000000"
            "3300000000000000f9d995e123a75240bdf2097330ab6c40f4be57b1eae689c01b86b454bae589c0");
    const auto view = SatvisView::of(spanOf(body));
    ASSERT_TRUE(view);
    EXPECT_TRUE(view->isValid() && view->hasCompleteAlmanac());
    ASSERT_EQ(view->count(), 1u);
    const VisibleSatellite s = (*view)[0];
    EXPECT_EQ(
        row(s.prn, s.glonassFrequency, s.health, s.elevation, s.azimuth, s.trueDoppler, s.apparentDoppler),
        "51 0 0 74.61156501420909 229.34966422980315 -828.864596066966 -828.7159818747926");
    EXPECT_FALSE(SatvisView::of(spanOf(body).first(body.size() - 1)));
    EXPECT_FALSE(SatvisView::of(spanOf(body).first(11)));
    EXPECT_FALSE(SatvisView::of(spanOf(with<std::uint32_t>(body, 8, 0xFFFFFFFF))));
    EXPECT_EQ(SatvisView::of(spanOf(with<std::uint32_t>(body, 8, 0)))->count(), 0u);
}

}  // namespace
}  // namespace vkcomm::test
