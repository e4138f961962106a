// Frames of receivers: recorded ones, whose check values were verified, and built ones.
#pragma once

#include <bit>
#include <string>

#include "tests/decode/frames.h"

namespace vkcomm::test {

inline std::string reversed(std::string bytes) { return {bytes.rbegin(), bytes.rend()}; }

inline std::string bigDouble(double value) {
    return reversed(little(std::bit_cast<std::uint64_t>(value), 8));
}

inline std::string bigFloat(float value) { return reversed(little(std::bit_cast<std::uint32_t>(value), 4)); }

inline std::string big(std::uint64_t value, int count) { return reversed(little(value, count)); }

// Recorded.
inline const std::string kBestpos = hex("aa44121c2a0002be4800000000b41a0620a2b51e20084c004561c71200000000"
                                        "120000002acc0046beef4140f707cf1b784c6140006054821e258e4044001d42"
                                        "3d00000022e2c03f0d486b3f3ff6074031323900000040400000000010090000"
                                        "0006000389d7f39e");
inline const std::string kBestposNoFix =
    hex("aa44121c2a0002be48000000a114000070203d0020004c004561c71201000000"
        "000000000000000000000000000000000000000000d0cc6c915458c19a998541"
        "3d00000000000000000000000000000000303030000000000000000000000000"
        "000000007d2fb986");
inline const std::string kRangecmp = hex("aa44121c8c0002a03400000047b41a0620a2b51e000800009196c71202000000"
                                         "049c1018c68bfb2f5585a3097ddb22ab2003ecf4e60300000b9c30118287fc6f"
                                         "4c85a3090945fd9020038ee426030000c83e183f");
inline const std::string kRawephem = hex("aa44121c290002a066001f0047c81a0620a2b51e00080000b797c7120b000000"
                                         "1a06000000e907008b0868a7b7a68690007480c778965b0de75f4fede76e7e90"
                                         "00ffeefb69df8b0868a7b5a96e00504937e5caabce0096054fe1ec0949a10d9e"
                                         "7c7e907c8b0868a7b62d0029527f2be000592431d8111fca1f95d490ff9bcc6e"
                                         "015497612ec5");
inline const std::string kBinNavigation =
    hex("2442494e010034000708c90519050000206afa40ad0cdc54bbef4140c63de045"
        "794c614051f97844646401bd09bba6bd538d9bbd129c3e3e0400070081130d0a");
inline const std::string kBinChannels = hex("2442494e630030010b0ec90519050000206afa40000c5f0202000200403c0000"
                                            "5c0791fefeff0100b9029804010e5f02020002001f9b0000a80295fdffff0000"
                                            "fa09dd0b02055f02020002003e51000007072dfe010000001307f20803095f02"
                                            "02000200311400009907a2fe030002009cf782f9040f5f020200020011350100"
                                            "be007efbfeff0100a5f588f705125f02020002003b640000760641fe00000100"
                                            "8df971fb061e5f02020002002a5c0100130acdfc030001003a0c1c0e07002000"
                                            "000000000000000000000000000000000000000008165f020200020037900000"
                                            "ba07c5fd010000000904ea05091a5f0202000200043600005e00000000000000"
                                            "87f469f60a815f020200000030590600b802000000000000fdffe0010b895f02"
                                            "020000002f540600d301000000000000fbffdf01e4010000f43e0d0a");
inline const std::string kBinRaw = hex("2442494e60002c010000c90519050000206afa400c76ff0883147cff3b120a3a"
                                       "e2cf73415ed5e70b406756410e2bff0a03771afed06d02960bd5754174abeef4"
                                       "c7084e410570ff0453f6a7fe92f53727a76b73419682f7c93dd35541097aff02"
                                       "33619901fc3fb52611e573412f495fd841e555410f0cff0253f1f80167c9c7d1"
                                       "c7dd76410568f56b447828c11267ff06f3aa3a01a176ab9a00c97341a579d610"
                                       "6d8157411ea1ff0493d4acfd9634757344b67441c94ba371e904554100000000"
                                       "0000000000000000000000000000000000000000167cff0e23c83bff94a45d61"
                                       "0c1f74417fe2faffac5755411a06ff0483ff2e026c1f629c6e6278418b1e9650"
                                       "14255b41812bff0283f1000022f702cdeab98141938edaa7df2f1041891dff09"
                                       "43800100ea303319f1bd814192493206f23410414c780d0a");
inline const std::string kCmcUtc =
    hex("0114eb470533000090bbf9ffef3f0407d907fb7cf60c50eaed3f7478056da5adffbf0e111e44000000000000000000000000"
        "0000000000000000656d434123795c411f002100a2050300002214");
inline const std::string kJavadTime = hex("7e7e303035b852860018");
inline const std::string kJavadDate = hex("5244303036db07010f00b3");
inline const std::string kJavadDops = hex("44503030457b44213f3fc9803f76af083f011a");
inline const std::string kJavadPosition = hex(
    "50563032452e958316183a4ec135f7effbf48c4941585f806d19374c41a073bd3f77a471bb1c4b043cda9d5bbbe1f5cf3b0188");
inline const std::string kJavadGpsTime = hex("4754303037fc42ab1fbb03b4");
inline const std::string kJavadRms = hex("5347303132a8e0e53ea266433f0eebe03b95cf283c016c");

// Built.
inline const std::string kBinSolution = hex("2442494e02001000105ba2201049a2200e0009000f0000006e020d0a");
inline const std::string kJavadStatistics = hex("5053303039040c080a07090664e2");

// GSOF records and the packets around them.
inline std::string gsof(unsigned type, std::string_view data) {
    return std::string{chr(type), chr(static_cast<unsigned>(data.size()))} + std::string(data);
}

inline std::string genout(unsigned transmission, unsigned page, unsigned lastPage, std::string_view records) {
    return trimble(0x40, std::string{chr(transmission), chr(page), chr(lastPage)} + std::string(records));
}

inline std::string gsofTime(unsigned week, unsigned milliseconds, unsigned satellites, unsigned flags2) {
    return gsof(1, big(milliseconds, 4) + big(week, 2) + chr(satellites) + chr(0x3F) + chr(flags2) + chr(9));
}

// 45 degrees north, 90 degrees west, 100 m.
inline std::string gsofPlace() {
    return gsof(2, bigDouble(0.78539816339744831) + bigDouble(-1.5707963267948966) + bigDouble(100.0));
}

inline std::string gsofSigmas() {
    return gsof(12, bigFloat(1.0F) + bigFloat(0.5F) + bigFloat(0.25F) + bigFloat(0.0F) + bigFloat(0.9F) +
                        bigFloat(0.6F) + bigFloat(0.2F) + bigFloat(45.0F) + bigFloat(1.0F) + big(30, 2));
}

inline std::string gsofSatellites() {
    return gsof(14, std::string{chr(2), chr(5), chr(0x47), chr(0), chr(30)} + big(200, 2) + chr(180) +
                        chr(0) + std::string{chr(17), chr(0x01), chr(0), chr(0xFE)} + big(359, 2) + chr(0) +
                        chr(0));
}

}  // namespace vkcomm::test
