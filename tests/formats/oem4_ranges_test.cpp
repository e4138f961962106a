// Range observations and the satellites in view.
#include <gtest/gtest.h>

#include <numeric>

#include "tests/formats/parser_bytes.h"
#include "tests/host/literal_frames.h"
#include "vkcomm/formats/oem4_format.h"

namespace vkcomm::test {
namespace {

const std::string kL1 = hex("049c1018c68bfb2f5585a3097ddb22ab2003ecf4e6030000");
const std::string kL2 = hex("2b9c3011999904c0eafac30b702f4efaa3162fd100020000");
const char* const kShownL1 = "4 3 20213930.640625 -106224932.51171875 51 14247.375";

// State, PRN, pseudorange, accumulated Doppler, C/No, lock time.
std::string shown(const RangeObservation& r) {
    return row(r.trackingStatus, r.prn, r.pseudorange, r.accumulatedDoppler, r.cn0, double{r.lockTime});
}

// The first four are recorded, their values those of an independent decoder that reads the accumulated
// Doppler as signed.
TEST(Rangecmp, ExpandsRecords) {
    const std::string ones(16, '\xFF');

    struct {
        const char* name;
        std::string record;
        const char* slot;
    } const cases[] = {
        {"PRN 3, L1", kL1, kShownL1},
        {"PRN 3, L2", hex("0b9c30118287fc6f4c85a3090945fd9020038ee426030000"),
         "11 3 20213929.546875 -82772666.96484375 45 14116.4375"},
        {"PRN 22, L1", hex("249c101842e70570fdfac30be2ee7dc58116bed1e0020000"),
         "4 22 24674143.6796875 -129663505.1171875 43 1677.9375"},
        {"PRN 22, L2", kL2, "11 22 24674141.34375 -101036496.5625 36 1673.46875"},
        {"all bits but state 4 and PRN 2", chr(0xE4) + ones + chr(0xC2) + ones.substr(0, 6),
         "4 2 536870911.9921875 -2818572288.0039062 51 65535.96875"},
        {"PRN 63 is skipped", with(kL2, 17, std::uint8_t{63}), kShownL1},
        {"also with higher bits", with(kL2, 17, std::uint8_t{127}), kShownL1},
        {"PRN 120 is folded", with(kL2, 17, std::uint8_t{120}),
         "11 56 24674141.34375 -101036496.5625 36 1673.46875"},
        {"unknown wavelength", with(kL2, 0, std::uint8_t{3}), "3 22 24674141.34375 -inf 36 1673.46875"},
    };

    for (const auto& c : cases) {
        CNOEM4Format parser;
        parser.ProcessRangeCMPData(23, dataOf(kL1));
        parser.ProcessRangeCMPData(23, spanOf(c.record));
        const RangeObservation& r = parser.Ranges().slots[23];
        EXPECT_EQ(shown(r), c.slot) << c.name;
        EXPECT_EQ(row(r.doppler, r.pseudorangeSigma, r.accumulatedDopplerSigma), "0 0 0") << c.name;
    }
}

TEST(Rangecmp, FillsTheSlotsInOrder) {
    CNOEM4Format parser;
    const RangeData& ranges = parser.Ranges();
    parser.vProcessRangeCMPB(dataOf(kRangecmp));
    for (const int outside : {-1, 24, 1 << 30})
        parser.ProcessRangeCMPData(outside, dataOf(kL2));
    EXPECT_EQ(shown(ranges.slots[0]), kShownL1);
    EXPECT_EQ(row(ranges.count, ranges.slots[1].trackingStatus, ranges.slots[23].prn), "2 11 0");
    EXPECT_EQ(row(parser.Satellites().count, parser.Header().week), "0 0") << "nothing else is touched";
}

TEST(SatelliteMessage, FillsTheTableUpTo24) {
    CNOEM4Format parser;
    const SatelliteMessage& m = parser.Satellites();
    std::string body(6 + 24 * 12, '\0');
    std::iota(body.begin(), body.end(), '\xFF');
    parser.vProcessSatMsgB(dataOf(oem4(1000, body)));
    EXPECT_EQ(row(m.count, m.table[20].byte5, m.table[23].byte4), "24 250 29") << "bytes are unsigned";
    body[0] = 2;
    parser.vProcessSatMsgB(spanOf(oem4(1000, body.substr(0, 6 + 24))));
    EXPECT_EQ(std::string(m.raw.begin(), m.raw.begin() + 30), body.substr(0, 30));
    const SatelliteEntry& e = m.table[1];
    EXPECT_EQ(row(m.count, e.byte0, e.word1, e.byte3, e.byte4, e.byte5, e.byte9), "2 17 4882 20 21 22 26");
    EXPECT_EQ(m.table[2].byte4, 0) << "entries of an earlier message are gone";
    parser.vProcessSatMsgB(static_cast<const unsigned char*>(nullptr));
    EXPECT_EQ(row(m.count, m.table[1].byte5, m.raw[0]), "0 0 2");
}

TEST(Satvis, ReadsARecordedLog) {
    const std::string body = hex("0100000001000000010000003300000000000000f9d995e123a75240bdf2097330ab6c40"
                                 "f4be57b1eae689c01b86b454bae589c0");
    const auto view = SatvisView::of(spanOf(body));
    ASSERT_TRUE(view && view->isValid() && view->hasCompleteAlmanac() && view->count() == 1);
    const VisibleSatellite s = (*view)[0];
    EXPECT_EQ(
        row(s.prn, s.glonassFrequency, s.health, s.elevation, s.azimuth, s.trueDoppler, s.apparentDoppler),
        "51 0 0 74.61156501420909 229.34966422980315 -828.864596066966 -828.7159818747926");
    EXPECT_FALSE(SatvisView::of(spanOf(body).first(body.size() - 1)));
    EXPECT_FALSE(SatvisView::of(spanOf(body).first(11)));
    EXPECT_FALSE(SatvisView::of(spanOf(with(body, 8, 0xFFFFFFFF))));
}

}  // namespace
}  // namespace vkcomm::test
