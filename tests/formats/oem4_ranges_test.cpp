#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "tests/formats/oem4_frames.h"
#include "vkcomm/formats/oem4_format.h"

namespace vkcomm::test {
namespace {

TEST(Rangecmp, ExpandsRecords) {
    CNOEM4Format parser;
    int slot = 0;
    for (const RangeCase& c : kRanges) {
        SCOPED_TRACE(c.record);
        const std::string record = hex(c.record);
        parser.ProcessRangeCMPData(slot, dataOf(record));
        const RangeObservation& range = parser.Ranges().slots[static_cast<std::size_t>(slot++)];
        EXPECT_EQ(range.prn, c.prn);
        EXPECT_EQ(range.pseudorange, c.pseudorange);
        EXPECT_EQ(range.accumulatedDoppler, c.accumulatedDoppler);
        EXPECT_EQ(range.cn0, c.cn0);
        EXPECT_EQ(range.lockTime, c.lock);
        EXPECT_EQ(range.trackingStatus, c.state);
        EXPECT_EQ(range.doppler, 0.0f);
        EXPECT_EQ(range.pseudorangeSigma, 0.0f);
    }
}

TEST(Rangecmp, FillsSlotsInOrder) {
    CNOEM4Format parser;
    parser.vProcessRangeCMPB(spanOf(kRangecmp));
    EXPECT_EQ(parser.Ranges().count, 2u);
    EXPECT_EQ(parser.Ranges().slots[0].accumulatedDoppler, kRanges[0].accumulatedDoppler);
    EXPECT_EQ(parser.Ranges().slots[1].accumulatedDoppler, kRanges[1].accumulatedDoppler);
    EXPECT_EQ(parser.Ranges().slots[2].prn, 0);
    EXPECT_EQ(parser.Header().messageId, 0) << "the header is not that of a range log";
}

TEST(Rangecmp, KeepsTheFirst24) {
    CNOEM4Format parser;
    parser.vProcessRangeCMPB(dataOf(rangecmpOf(25, 25)));
    EXPECT_EQ(parser.Ranges().count, 24u);
    EXPECT_EQ(parser.Ranges().slots[23].prn, 24);
    parser.vProcessRangeCMPB(dataOf(rangecmpOf(0xFFFFFFFF, 24)));
    EXPECT_EQ(parser.Ranges().count, 24u);
    const std::string record = hex(kRanges[0].record);
    for (const int slot : {-1, 24, 1 << 30})
        parser.ProcessRangeCMPData(slot, dataOf(record));
    EXPECT_EQ(parser.Satellites().count, 0u) << "nothing behind the slots is touched";
}

TEST(Rangecmp, SkipsPrn63AndFoldsHigherOnes) {
    CNOEM4Format parser;
    parser.vProcessRangeCMPB(spanOf(kRangecmp));
    const std::string record = hex(kRanges[6].record);
    parser.ProcessRangeCMPData(0, spanOf(with<std::uint8_t>(record, 17, 63)));
    parser.ProcessRangeCMPData(0, spanOf(with<std::uint8_t>(record, 17, 127)));
    EXPECT_EQ(parser.Ranges().slots[0].prn, 3);
    EXPECT_EQ(parser.Ranges().slots[0].pseudorange, kRanges[0].pseudorange);
    parser.ProcessRangeCMPData(0, spanOf(with<std::uint8_t>(record, 17, 120)));
    EXPECT_EQ(parser.Ranges().slots[0].prn, 120 - 64);
    EXPECT_EQ(parser.Ranges().slots[0].pseudorange, kRanges[6].pseudorange);
}

TEST(Rangecmp, StoresUnknownWavelengthsAsNotFinite) {
    CNOEM4Format parser;
    const std::string record = with<std::uint8_t>(hex(kRanges[0].record), 0, 0x03);
    parser.ProcessRangeCMPData(0, spanOf(record));
    EXPECT_EQ(parser.Ranges().slots[0].prn, 3);
    EXPECT_EQ(parser.Ranges().slots[0].trackingStatus, 3u);
    EXPECT_TRUE(std::isinf(parser.Ranges().slots[0].accumulatedDoppler));
    const std::string nowhere = with<std::uint8_t>(std::string(24, '\0'), 17, 5);
    parser.ProcessRangeCMPData(0, spanOf(nowhere));
    EXPECT_TRUE(std::isnan(parser.Ranges().slots[0].accumulatedDoppler));
    EXPECT_EQ(parser.Ranges().slots[0].cn0, 20.0f);
}

TEST(Rangecmp, ReadsEveryFieldToItsLastBit) {
    CNOEM4Format parser;
    // State 4 and PRN 2, all other bits set.
    const std::string record =
        with<std::uint8_t>(with<std::uint8_t>(std::string(24, '\xFF'), 0, 0xE4), 17, 0xC2);
    parser.ProcessRangeCMPData(0, spanOf(record));
    const RangeObservation& range = parser.Ranges().slots[0];
    EXPECT_EQ(range.prn, 2);
    EXPECT_EQ(range.pseudorange, 68719476735.0 / 128.0);
    EXPECT_EQ(range.lockTime, 65535.96875f);
    EXPECT_EQ(range.cn0, 51.0f);
    EXPECT_EQ(range.trackingStatus, 4u);
}

TEST(SatelliteMessages, FillTheTable) {
    CNOEM4Format parser;
    parser.vProcessSatMsgB(spanOf(satelliteMessage(16, 16)));
    const std::string frame = satelliteMessage(2, 2);
    parser.vProcessSatMsgB(dataOf(frame));
    const SatelliteMessage& message = parser.Satellites();
    EXPECT_EQ(message.count, 2u);
    EXPECT_EQ(0, std::memcmp(message.raw.data(), frame.data() + 28, 6 + 2 * 12));
    const SatelliteEntry& entry = message.table[1];
    EXPECT_EQ(entry.byte0, 0x10);
    EXPECT_EQ(entry.byte3, 0x13);
    EXPECT_EQ(entry.word1, 0x1211);
    EXPECT_EQ(entry.byte5, 21.0f);
    EXPECT_EQ(entry.byte9, 25.0f);
    EXPECT_EQ(entry.byte4, 0x14);
    EXPECT_EQ(message.table[2].byte4, 0) << "entries of an earlier message are gone";
    parser.vProcessSatMsgB(spanOf(satelliteMessage(1, 1) + "\xFF"));
    EXPECT_EQ(parser.Satellites().count, 1u);
}

TEST(SatelliteMessages, StopAt24AndReadBytesAsUnsigned) {
    CNOEM4Format parser;
    parser.vProcessSatMsgB(dataOf(satelliteMessage(255, 24)));
    EXPECT_EQ(parser.Satellites().count, 24u);
    EXPECT_EQ(parser.Satellites().raw[0], 255);
    EXPECT_EQ(parser.Satellites().table[15].byte5, 245.0f);
    parser.vProcessSatMsgB(static_cast<const unsigned char*>(nullptr));
    EXPECT_EQ(parser.Satellites().count, 0u);
    EXPECT_EQ(parser.Satellites().table[15].byte5, 0.0f);
    EXPECT_EQ(parser.Satellites().raw[0], 255);
}

TEST(Satvis, ReadsARecordedLog) {
    std::string body =
        hex("010000000100000001000000"
            "3300000000000000f9d995e123a75240bdf2097330ab6c40f4be57b1eae689c01b86b454bae589c0");
    const auto view = SatvisView::of(spanOf(body));
    ASSERT_TRUE(view);
    EXPECT_TRUE(view->isValid());
    EXPECT_TRUE(view->hasCompleteAlmanac());
    ASSERT_EQ(view->count(), 1u);
    const VisibleSatellite satellite = (*view)[0];
    EXPECT_EQ(satellite.prn, 51);
    EXPECT_EQ(satellite.glonassFrequency, 0);
    EXPECT_EQ(satellite.health, 0u);
    EXPECT_EQ(satellite.elevation, 74.61156501420909);
    EXPECT_EQ(satellite.azimuth, 229.34966422980315);
    EXPECT_EQ(satellite.trueDoppler, -828.864596066966);
    EXPECT_EQ(satellite.apparentDoppler, -828.7159818747926);

    EXPECT_FALSE(SatvisView::of(spanOf(body).first(body.size() - 1)));
    EXPECT_FALSE(SatvisView::of(spanOf(body).first(11)));
    EXPECT_FALSE(SatvisView::of(spanOf(with<std::uint32_t>(body, 8, 0xFFFFFFFF))));
    EXPECT_EQ(SatvisView::of(spanOf(with<std::uint32_t>(body, 8, 0)))->count(), 0u);
}

}  // namespace
}  // namespace vkcomm::test
