#include "sim/nmea_encoder.h"

#include <gtest/gtest.h>

#include "tests/sim/sample.h"

namespace vkcomm::sim {
namespace {

std::string encoded(const Epoch& epoch) {
    Piece piece;
    encodeNmea(epoch, piece);
    return {piece.bytes.begin(), piece.bytes.end()};
}

TEST(NmeaEncoder, WritesTheSentencesOfAnEpoch) {
    const std::string expected =
        "$GPGGA,000000.99,3330.0000000,S,15115.0000000,E,4,02,1.0,98.750,M,22.50,M,1.5,0001*58\r\n"
        "$GPGSA,A,3,03,22,,,,,,,,,,,2.0,1.0,1.7*34\r\n"
        "$GPGSV,1,1,03,03,61,123,51,22,61,123,51,33,30,180,00*43\r\n"
        "$GLGSV,1,1,01,73,09,359,00*56\r\n"
        "$GPRMC,000000.99,A,3330.0000000,S,15115.0000000,E,4.860,45.000,290224,3.1,E,R*0F\r\n"
        "$GPGST,000000.99,0.016,0.008,0.006,0.0,0.008,0.006,0.016*57\r\n"
        "$GPZDA,000000.99,29,02,2024,00,00*6B\r\n"
        "$GPVTG,45.000,T,,M,4.860,N,9.000,K,R*2C\r\n";
    EXPECT_EQ(encoded(sampleEpoch()), expected);
}

TEST(NmeaEncoder, LeavesFieldsEmptyWithoutAFix) {
    const std::string expected = "$GPGGA,000000.99,,,,,0,00,,,M,,M,,*48\r\n"
                                 "$GPGSA,A,1,,,,,,,,,,,,,,,*1E\r\n"
                                 "$GPGSV,1,1,03,03,61,123,51,22,61,123,51,33,30,180,00*43\r\n"
                                 "$GLGSV,1,1,01,73,09,359,00*56\r\n"
                                 "$GPRMC,000000.99,V,,,,,,,290224,3.1,E,N*1B\r\n"
                                 "$GPGST,000000.99,,,,,,,*79\r\n"
                                 "$GPZDA,000000.99,29,02,2024,00,00*6B\r\n"
                                 "$GPVTG,,T,,M,,N,,K,N*2C\r\n";
    EXPECT_EQ(encoded(epochWithoutFix()), expected);
}

TEST(NmeaEncoder, CarriesRoundedMinutesIntoDegrees) {
    const struct {
        const char* name;
        double latitude, longitude;
        const char* fields;
    } cases[] = {
        {"zero", 0.0, 0.0, ",0000.0000000,N,00000.0000000,E,"},
        {"largest before the carry", 47 + 59.9999999 / 60, 8 + 59.9999999 / 60,
         ",4759.9999999,N,00859.9999999,E,"},
        {"carry", 47 + 59.99999999 / 60, 99 + 59.99999999 / 60, ",4800.0000000,N,10000.0000000,E,"},
        {"carry south and west", -47 - 59.99999999 / 60, -59.99999999 / 60,
         ",4800.0000000,S,00100.0000000,W,"},
        {"pole and date line", 90.0, -180.0, ",9000.0000000,N,18000.0000000,W,"},
        {"below the last digit", 1e-12, -1e-12, ",0000.0000000,N,00000.0000000,W,"},
    };

    for (const auto& c : cases) {
        Epoch epoch = sampleEpoch();
        epoch.latitude = c.latitude;
        epoch.longitude = c.longitude;
        const std::string text = encoded(epoch);
        EXPECT_NE(text.find(c.fields), std::string::npos) << c.name << text.substr(0, text.find('\n'));
    }
}

// Twelve places in GSA, four satellites in each GSV.
TEST(NmeaEncoder, SpreadsManySatellitesOverSentences) {
    Epoch epoch = sampleEpoch();
    epoch.satellites.clear();
    for (int prn = 1; prn <= 14; ++prn)
        epoch.satellites.push_back({.number = prn, .used = true});
    const std::string text = encoded(epoch);
    EXPECT_NE(text.find("$GPGSA,A,3,01,02,03,04,05,06,07,08,09,10,11,12,2.0,1.0,1.7*"), std::string::npos);
    EXPECT_NE(text.find("$GPGSV,4,1,14,01,00,000,00,02,"), std::string::npos);
    EXPECT_NE(text.find("$GPGSV,4,4,14,13,00,000,00,14,00,000,00*"), std::string::npos);
    EXPECT_EQ(text.find("GLGSV"), std::string::npos);
}

}  // namespace
}  // namespace vkcomm::sim
