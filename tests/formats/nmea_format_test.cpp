#include "vkcomm/formats/nmea_format.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/formats/parser_bytes.h"
#include "vkcomm/formats/sentence.h"
#include "vkcomm/formats/sentence_fields.h"

namespace vkcomm::test {
namespace {

const std::string kGga =
    "$GPGGA,193221.00,2037.72792,N,08704.08478,W,1,04,1.7,-30.40,M,-13.9,M,2.6,0120*00\r\n";
const std::string kGsa = "$GPGSA,A,3,10,28,09,13,,,,,,,,,03.4,01.7,03.0*00\r\n";
const std::string kRmc = "$GPRMC,193221.00,A,2037.7279,N,08704.0848,W,10.0,180.0,231207,01.5,W,A*2D\r\n";

// The parser reads narrow text in place; it must see what CSentence sees.
TEST(Sentence, GivesFieldsByNumber) {
    const std::pair<std::string, std::string> cases[] = {
        {kGsa, "GPGSA|A|3|10|28|09|13|||||||||03.4|01.7|03.0|00\r\n"},
        {"$GPGSA,,3*00", "GPGSA||3|00"},
        {"$A,1*2*3,4", "A|1|2|3|4"},
        {",A,B", "A|B"},
        {"$A,\x80", "A|\x80"},
        {"$A" + std::string(23, ',') + "x", "A|||||||||||||||||||||||x"},
        {"$", ""},
        {"", ""},
    };
    for (const auto& [text, expected] : cases) {
        CSentence wide;
        wide = text.c_str();
        const SentenceFields narrow(text);
        std::string all;
        for (int n = 0; n < 24; ++n) {
            const std::wstring field = wide.Field(n);
            all += std::string(field.begin(), field.end()) + "|";
            EXPECT_EQ(wide.Double(n), narrow.real(static_cast<std::size_t>(n))) << text << n;
            EXPECT_EQ(std::string(field.begin(), field.end()), narrow.text(static_cast<std::size_t>(n)));
        }
        EXPECT_EQ(all.substr(0, all.find_last_not_of('|') + 1), expected);
        EXPECT_EQ(wide.Field(-1), L"");
    }
}

TEST(Sentence, ConvertsAndCountsFields) {
    class Shouted : public CSentence {
        std::wstring Field(int n) const override { return n == 1 ? L"99999999999.5" : L""; }
    };

    EXPECT_EQ(Shouted().Double(1), 99999999999.5) << "a derived field changes the numbers too";
    EXPECT_EQ(Shouted().Integer(1), 2147483647);
    CSentence sentence;
    sentence = "$X,0x10,nan,inf,12abc,-7.9e1*";
    EXPECT_EQ(row(sentence.Double(1), sentence.Double(2), sentence.Double(3), sentence.Integer(4),
                  sentence.Double(5)),
              "0 0 0 12 -79");
    sentence = kGsa.c_str();
    EXPECT_EQ(sentence.GetNumberOfDataFields(), 17);
    sentence = L"$" + std::wstring(70000, L',');
    EXPECT_EQ(sentence.GetNumberOfDataFields(), 65535);
}

TEST(NmeaFormat, ReadsEachSentence) {
    CNmeaFormat nmea;
    EXPECT_EQ(nmea.bProcessGGA(dataOf(kGga)), 1);
    EXPECT_NEAR(nmea.Fix().position.latitude, 0.360040457464, 1e-12);
    EXPECT_NEAR(nmea.Fix().position.longitude, -1.519624663572, 1e-12);
    EXPECT_DOUBLE_EQ(nmea.Fix().position.height, -44.30);
    EXPECT_EQ(row(nmea.Fix().quality, nmea.Fix().satellites, nmea.Fix().age, nmea.Fix().station,
                  nmea.Dops().hdop, nmea.Time().hour, nmea.Time().minute, nmea.Time().second),
              "1 4 2 120 1.7 19 32 21");

    EXPECT_EQ(nmea.bProcessRMC(dataOf(kRmc)), 1);
    EXPECT_DOUBLE_EQ(nmea.Motion().speed, 5.1444);
    EXPECT_DOUBLE_EQ(nmea.Motion().course, 180 * 0.017453292519943295);
    EXPECT_EQ(row(nmea.Motion().magneticVariation, nmea.Time().gpsWeek, nmea.Time().gpsSeconds),
              "-1.5 1459 70341");

    EXPECT_EQ(nmea.bProcessGST(spanOf("$GPGST,193221.00,11,1,2,3,0.7,0.5,1.1*44\r\n")), 1);
    const NmeaErrors& errors = nmea.Errors();
    EXPECT_EQ(row(errors.latitude, errors.longitude, errors.height, errors.rangeRms), "0.7 0.5 1.1 11");

    EXPECT_EQ(nmea.bProcessZDA(spanOf("$GPZDA,000001.5,29,02,2024,00,00*69\r\n")), 1);
    EXPECT_EQ(row(nmea.Time().gpsWeek, nmea.Time().gpsSeconds), "2303 345601");

    EXPECT_EQ(nmea.bProcessGSA(spanOf(kGsa)), 1);
    EXPECT_EQ(row(nmea.Dops().pdop, nmea.Dops().hdop, nmea.Dops().vdop), "3.4 1.7 3");
    EXPECT_EQ(nmea.bProcessGSA(spanOf("$GPGSA,,,,,,,,,,,,,,,,,*6E\r\n")), 1);
    EXPECT_EQ(row(nmea.Dops().pdop, nmea.Dops().hdop, nmea.Dops().vdop), "0 0 0");
}

TEST(NmeaFormat, AShortTimeClearsWhatTheSentenceOwns) {
    CNmeaFormat nmea;
    nmea.bProcessGGA(spanOf(kGga));
    nmea.bProcessRMC(spanOf(kRmc));
    EXPECT_EQ(nmea.bProcessZDA(spanOf("$GPZDA,12345,29,02,2024,,*00")), 0);
    EXPECT_EQ(nmea.Time().year, 2007) << "ZDA changes nothing";
    EXPECT_EQ(nmea.bProcessRMC(spanOf("$GPRMC,12345,A,2037.7279,N,08704.0848,W,10.0,180.0,231207,01.5,W*2D")),
              0);
    EXPECT_EQ(row(nmea.Motion().speed, nmea.Motion().course, nmea.Motion().magneticVariation), "0 0 0");
    EXPECT_EQ(row(nmea.Time().year, nmea.Time().gpsWeek), "0 1459") << "week and seconds stay";
    EXPECT_EQ(nmea.Fix().satellites, 4) << "the position is not RMC's";
    EXPECT_EQ(nmea.bProcessGGA(spanOf("$GPGGA,,,,,,0,,,,M,,M,,*66")), 0);
    EXPECT_EQ(row(nmea.Fix().position.latitude, nmea.Fix().satellites), "0 0");
}

TEST(NmeaFormat, SurvivesOddSentences) {
    const std::pair<const char*, const char*> cases[] = {
        {"$GPRMC,120000,A,,,,,,,010199,,*00", "2099 6208"},     // two-digit years are this century's
        {"$GPRMC,120000,A,,,,,,,011399,,*00", "2099 1459"},     // month 13
        {"$GPRMC,abcdef,A,,,,x,y,zz,q,W*00", "2000 1459"},      // letters
        {"$GPRMC,12001e999,A,,,,,,,231207,,*00", "2007 1459"},  // endless seconds
    };
    CNmeaFormat nmea;
    for (const auto& [sentence, yearAndWeek] : cases) {
        nmea.bProcessRMC(spanOf(kRmc));
        EXPECT_EQ(nmea.bProcessRMC(spanOf(sentence)), 1) << sentence;
        EXPECT_EQ(row(nmea.Time().year, nmea.Time().gpsWeek), yearAndWeek) << sentence;
    }
    EXPECT_EQ(nmea.bProcessGGA(static_cast<const unsigned char*>(nullptr)), 0);
    EXPECT_EQ(nmea.bProcessGSA(ByteSpan{}), 0);
    nmea.bProcessGGA(spanOf("$GPGGA,120000,4530.0,S,18000.0,E,1,04,1.7,,M,,M,,*00"));
    EXPECT_DOUBLE_EQ(nmea.Fix().position.latitude, -45.5 * 0.017453292519943295);
    nmea.bProcessGGA(spanOf("$GPGGA,120000,1e999,N,-1e999,W,99999999999999,-5,1e-400,,,,,1e300,*00"));
    EXPECT_TRUE(std::isfinite(nmea.Fix().position.latitude));
    EXPECT_EQ(nmea.Fix().age, 2147483647);
}

}  // namespace
}  // namespace vkcomm::test
