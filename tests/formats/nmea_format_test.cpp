#include "vkcomm/formats/nmea_format.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/formats/parser_bytes.h"
#include "vkcomm/formats/sentence.h"
#include "vkcomm/formats/sentence_fields.h"

namespace vkcomm::test {
namespace {

const unsigned char* text(const char* sentence) { return reinterpret_cast<const unsigned char*>(sentence); }

constexpr const char* kGga =
    "$GPGGA,193221.00,2037.72792,N,08704.08478,W,1,04,1.7,-30.40,M,-13.9,M,2.6,0120*00\r\n";
constexpr const char* kGsa = "$GPGSA,A,3,10,28,09,13,,,,,,,,,03.4,01.7,03.0*00\r\n";
constexpr const char* kRmc = "$GPRMC,193221.00,A,2037.7279,N,08704.0848,W,10.0,180.0,231207,01.5,W,A*2D\r\n";

TEST(Sentence, GivesFieldsByNumber) {
    struct {
        const wchar_t* text;
        int field;
        const wchar_t* expected;
    } const cases[] = {
        {L"$GPGSA,A,3*00\r\n", 0, L"GPGSA"},
        {L"$GPGSA,A,3*00\r\n", 1, L"A"},
        {L"$GPGSA,A,3*00\r\n", 2, L"3"},
        {L"$GPGSA,A,3*00", 3, L"00"},
        {L"$GPGSA,A,3*00", 4, L""},
        {L"$GPGSA,,3*00", 1, L""},
        {L"$GPGSA", 0, L"GPGSA"},
        {L"$GPGSA", 1, L""},
        {L"$GPGSA,A", 1, L"A"},
        {L"$GPGSA,A", -1, L""},
        {L"$", 0, L""},
        {L"", 0, L""},
        {L",A,B", 0, L"A"},
    };

    for (const auto& c : cases) {
        CSentence sentence;
        sentence = std::wstring(c.text);
        EXPECT_EQ(sentence.Field(c.field), c.expected) << c.field;
    }
}

TEST(Sentence, CountsAndConvertsFields) {
    CSentence sentence;
    sentence = kGsa;
    EXPECT_EQ(sentence.GetNumberOfDataFields(), 17);
    EXPECT_EQ(row(sentence.Double(15), sentence.Double(17), sentence.Double(7)), "3.4 3 0");
    sentence = "$X,0x10,nan,inf,12abc,99999999999,-7.9e1,\x80*";
    EXPECT_EQ(row(sentence.Double(1), sentence.Double(2), sentence.Double(3), sentence.Double(6)),
              "0 0 0 -79");
    EXPECT_EQ(row(sentence.Integer(4), sentence.Integer(5)), "12 2147483647");
    EXPECT_EQ(sentence.Field(7), L"\x80");
    sentence = ("$" + std::string(70000, ',')).c_str();
    EXPECT_EQ(sentence.GetNumberOfDataFields(), 65535);
}

TEST(Sentence, ADerivedFieldChangesTheNumbersToo) {
    class Shouted : public CSentence {
        std::wstring Field(int n) const override { return n == 1 ? L"42.5" : L""; }
    };

    EXPECT_EQ(Shouted().Double(1), 42.5);
    EXPECT_EQ(Shouted().Integer(1), 42);
}

// The parser reads narrow text in place; it must see what CSentence sees.
TEST(Sentence, NarrowFieldsAreTheSame) {
    for (const std::string& line : {std::string(kGga), std::string(kGsa), std::string("$"), std::string(),
                                    "$A" + std::string(23, ',') + "x,y,z", std::string("$A,1*2*3,4")}) {
        CSentence wide;
        wide = line.c_str();
        const SentenceFields narrow(line);
        for (std::size_t n = 0; n < SentenceFields::kMostFields; ++n) {
            const std::string_view field = narrow.text(n);
            EXPECT_EQ(wide.Field(static_cast<int>(n)), std::wstring(field.begin(), field.end())) << line << n;
            EXPECT_EQ(wide.Double(static_cast<int>(n)), narrow.real(n)) << line << " field " << n;
        }
    }
}

TEST(NmeaFormat, ReadsEachSentence) {
    CNmeaFormat nmea;
    EXPECT_EQ(nmea.bProcessGGA(text(kGga)), 1);
    EXPECT_NEAR(nmea.Fix().position.latitude, 0.360040457464, 1e-12);
    EXPECT_NEAR(nmea.Fix().position.longitude, -1.519624663572, 1e-12);
    EXPECT_DOUBLE_EQ(nmea.Fix().position.height, -44.30);
    EXPECT_EQ(row(nmea.Fix().quality, nmea.Fix().satellites, nmea.Fix().age, nmea.Fix().station),
              "1 4 2 120");
    EXPECT_EQ(row(nmea.Dops().hdop, nmea.Time().hour, nmea.Time().minute, nmea.Time().second),
              "1.7 19 32 21");

    EXPECT_EQ(nmea.bProcessRMC(text(kRmc)), 1);
    EXPECT_DOUBLE_EQ(nmea.Motion().speed, 5.1444);
    EXPECT_DOUBLE_EQ(nmea.Motion().course, 180 * 0.017453292519943295);
    EXPECT_EQ(row(nmea.Motion().magneticVariation, nmea.Time().gpsWeek, nmea.Time().gpsSeconds),
              "-1.5 1459 70341");

    EXPECT_EQ(nmea.bProcessGST(text("$GPGST,193221.00,11,1,2,3,0.7,0.5,1.1*44\r\n")), 1);
    const auto& errors = nmea.Errors();
    EXPECT_EQ(row(errors.latitude, errors.longitude, errors.height, errors.rangeRms), "0.7 0.5 1.1 11");

    EXPECT_EQ(nmea.bProcessZDA(text("$GPZDA,000001.5,29,02,2024,00,00*69\r\n")), 1);
    EXPECT_EQ(row(nmea.Time().gpsWeek, nmea.Time().gpsSeconds), "2303 345601");

    EXPECT_EQ(nmea.bProcessGSA(text(kGsa)), 1);
    EXPECT_EQ(row(nmea.Dops().pdop, nmea.Dops().hdop, nmea.Dops().vdop), "3.4 1.7 3");
    EXPECT_EQ(nmea.bProcessGSA(text("$GPGSA,,,,,,,,,,,,,,,,,*6E\r\n")), 1);
    EXPECT_EQ(row(nmea.Dops().pdop, nmea.Dops().hdop, nmea.Dops().vdop), "0 0 0");
}

TEST(NmeaFormat, AShortTimeClearsWhatTheSentenceOwns) {
    CNmeaFormat nmea;
    nmea.bProcessGGA(text(kGga));
    nmea.bProcessRMC(text(kRmc));
    EXPECT_EQ(nmea.bProcessZDA(text("$GPZDA,12345,29,02,2024,,*00\r\n")), 0);
    EXPECT_EQ(nmea.Time().year, 2007) << "ZDA changes nothing";
    EXPECT_EQ(nmea.bProcessRMC(text("$GPRMC,12345,A,2037.7279,N,08704.0848,W,10.0,180.0,231207,01.5,W*2D")),
              0);
    EXPECT_EQ(row(nmea.Motion().speed, nmea.Motion().course, nmea.Motion().magneticVariation), "0 0 0");
    EXPECT_EQ(row(nmea.Time().year, nmea.Time().gpsWeek), "0 1459") << "week and seconds stay";
    EXPECT_FALSE(nmea.Flags().rmc);
    EXPECT_EQ(nmea.Fix().satellites, 4) << "the position is not RMC's";
    EXPECT_EQ(nmea.bProcessGGA(text("$GPGGA,,,,,,0,,,,M,,M,,*66\r\n")), 0);
    EXPECT_EQ(row(nmea.Fix().position.latitude, nmea.Fix().satellites), "0 0");
    EXPECT_FALSE(nmea.Flags().gga);
}

TEST(NmeaFormat, SurvivesOddSentences) {
    struct {
        const char* name;
        const char* sentence;
        const char* yearAndWeek;
    } const cases[] = {
        {"two-digit years are this century's", "$GPRMC,120000,A,,,,,,,010199,,*00", "2099 6208"},
        {"month 13", "$GPRMC,120000,A,,,,,,,011399,,*00", "2099 1459"},
        {"no date", "$GPRMC,120000,A,,,,,,,,,*00", "2000 1459"},
        {"letters", "$GPRMC,abcdef,A,,,,x,y,zz,q,W*00", "2000 1459"},
        {"endless seconds", "$GPRMC,12001e999,A,,,,,,,231207,,*00", "2007 1459"},
    };

    CNmeaFormat nmea;
    for (const auto& c : cases) {
        nmea.bProcessRMC(text(kRmc));
        EXPECT_EQ(nmea.bProcessRMC(text(c.sentence)), 1) << c.name;
        EXPECT_EQ(row(nmea.Time().year, nmea.Time().gpsWeek), c.yearAndWeek) << c.name;
    }
    EXPECT_EQ(nmea.bProcessGGA(static_cast<const unsigned char*>(nullptr)), 0);
    EXPECT_EQ(nmea.bProcessGSA(ByteSpan{}), 0);
    nmea.bProcessGGA(text("$GPGGA,120000,1e999,N,-1e999,W,99999999999999,-5,1e-400,,,,,1e300,*00"));
    EXPECT_TRUE(std::isfinite(nmea.Fix().position.latitude));
    EXPECT_EQ(nmea.Fix().age, 2147483647);
}

}  // namespace
}  // namespace vkcomm::test
