// The base and rover records of the tests: their fields one by one, and one of each in which no two are alike.
#pragma once

#include <string>
#include <tuple>

#include "vkcomm/settings/base_config.h"
#include "vkcomm/settings/bluetooth_list.h"
#include "vkcomm/settings/rover_config.h"

namespace vkcomm::test {

// Every field, in the order of the class; std::tie so that they can be compared and filled.
inline auto fieldsOf(CAntType& c) { return std::tie(c.strName, c.uMeasureTo, c.fPhaseHeight, c.fOffset); }

inline auto fieldsOf(CBaseConfig& c) {
    return std::tuple_cat(std::tie(c.uVarekFormat, c.uTrimbleFormat, c.uElevMask, c.uVarekPort,
                                   c.uTrimblePort, c.nBaud, c.strStationID, c.uInterval, c.nAddRTCM,
                                   c.uPDOPMask, c.nParity, c.nCTS, c.uOption, c.nStationType),
                          fieldsOf(c.antenna));
}

inline auto fieldsOf(CBaseConfigJavad& c) {
    return std::tuple_cat(std::tie(c.uDifFormat, c.uElevMask, c.uPort, c.nBaud, c.strStationID, c.uExtra),
                          fieldsOf(c.antenna));
}

inline auto fieldsOf(CRoverConfig& c) {
    return std::tie(c.uVarekFormat, c.uTrimbleFormat, c.uReserved, c.strStationIndex, c.nLimitBase,
                    c.fElevMask, c.nOption, c.fPDOPMask, c.uTrimblePort, c.nBaud, c.uFlag, c.uParity,
                    c.uThales, c.uOption, c.uCom);
}

inline auto fieldsOf(CRoverConfigJavad& c) {
    return std::tie(c.uDifFormat, c.fElevMask, c.fPDOPMask, c.uPort, c.nBaud, c.nNetwork, c.nAmbiguityLevel,
                    c.nEnvironment);
}

inline auto fieldsOf(CBTInformation& c) { return std::tie(c.uAddress, c.strName, c.bPreferred); }

inline void fill(CAntType& c) {
    fieldsOf(c) = std::tuple(L"Zephyr", 1, 1.75f, std::array{0.125f, 0.25f, 0.5f});
}

inline void fill(CBaseConfig& c) {
    c.uVarekFormat = 13;
    c.uTrimbleFormat = 14;
    c.uElevMask = 11;
    c.uVarekPort = 19;
    c.uTrimblePort = 20;
    c.nBaud = 17;
    c.strStationID = L"基站1";
    c.uInterval = 255;
    c.nAddRTCM = -1;
    c.uPDOPMask = 12;
    c.nParity = 18;
    c.nCTS = 16;
    c.uOption = {1, 2, 3, 4};
    c.nStationType = 22;
    fill(c.antenna);
}

inline void fill(CBaseConfigJavad& c) {
    c.uDifFormat = 13;
    c.uElevMask = 5;
    c.uPort = 3;
    c.nBaud = 4;
    c.strStationID = L"7";
    c.uExtra = 31;
    fill(c.antenna);
}

inline void fill(CRoverConfig& c) {
    c.uVarekFormat = 1;
    c.uTrimbleFormat = 255;
    c.uReserved = 9;
    c.strStationIndex = L"站 2";
    c.nLimitBase = 6;
    c.fElevMask = 12.5f;
    c.nOption = -2;
    c.fPDOPMask = 4.5f;
    c.uTrimblePort = 3;
    c.nBaud = 8;
    c.uFlag = 10;
    c.uParity = 4;
    c.uThales = 7;
    c.uOption = {11, 12, 13, 14, 15, 16, 17, 18};
    c.uCom = 0xE3;
}

inline void fill(CRoverConfigJavad& c) {
    c.uDifFormat = 3;
    c.fElevMask = 7.5f;
    c.fPDOPMask = -1.0f;
    c.uPort = 5;
    c.nBaud = 4;
    c.nNetwork = 2;
    c.nAmbiguityLevel = -3;
    c.nEnvironment = 1;
}

}  // namespace vkcomm::test
