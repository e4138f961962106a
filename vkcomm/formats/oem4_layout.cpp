#include "vkcomm/formats/oem4_layout.h"

#include <algorithm>

namespace vkcomm {

namespace {

template <std::size_t Size>
std::array<char, Size> loadText(const unsigned char* bytes) {
    std::array<char, Size> text;
    std::transform(bytes, bytes + Size, text.begin(),
                   [](unsigned char byte) { return static_cast<char>(byte); });
    return text;
}

}  // namespace

Oem4Header loadOem4Header(const unsigned char* frame) {
    Oem4Header header;
    header.headerLength = frame[3];
    header.messageId = loadLe<std::uint16_t>(frame + 4);
    header.messageType = frame[6];
    header.portAddress = frame[7];
    header.messageLength = loadLe<std::uint16_t>(frame + 8);
    header.sequence = loadLe<std::uint16_t>(frame + 10);
    header.idleTime = frame[12];
    header.timeStatus = frame[13];
    header.week = loadLe<std::uint16_t>(frame + 14);
    header.milliseconds = loadLe<std::uint32_t>(frame + 16);
    header.receiverStatus = loadLe<std::uint32_t>(frame + 20);
    header.reserved = loadLe<std::uint16_t>(frame + 24);
    header.softwareVersion = loadLe<std::uint16_t>(frame + 26);
    return header;
}

BestposBody loadBestposBody(const unsigned char* body) {
    BestposBody position;
    position.solutionStatus = loadLe<std::uint32_t>(body);
    position.positionType = loadLe<std::uint32_t>(body + 4);
    position.latitude = loadLe<double>(body + 8);
    position.longitude = loadLe<double>(body + 16);
    position.height = loadLe<double>(body + 24);
    position.undulation = loadLe<float>(body + 32);
    position.datum = loadLe<std::uint32_t>(body + 36);
    position.latitudeSigma = loadLe<float>(body + 40);
    position.longitudeSigma = loadLe<float>(body + 44);
    position.heightSigma = loadLe<float>(body + 48);
    position.baseStation = loadText<4>(body + 52);
    position.differentialAge = loadLe<float>(body + 56);
    position.solutionAge = loadLe<float>(body + 60);
    position.satellitesTracked = body[64];
    position.satellitesUsed = body[65];
    position.satellitesL1 = body[66];
    position.satellitesL1L2 = body[67];
    position.reserved68 = body[68];
    position.extendedStatus = body[69];
    position.reserved70 = body[70];
    position.signalMask = body[71];
    return position;
}

PsrdopBody loadPsrdopBody(const unsigned char* body) {
    PsrdopBody dops;
    dops.gdop = loadLe<float>(body);
    dops.pdop = loadLe<float>(body + 4);
    dops.hdop = loadLe<float>(body + 8);
    dops.htdop = loadLe<float>(body + 12);
    dops.tdop = loadLe<float>(body + 16);
    dops.elevationCutOff = loadLe<float>(body + 20);
    dops.satellites = loadLe<std::uint32_t>(body + 24);
    return dops;
}

VersionComponent loadVersionComponent(const unsigned char* component) {
    VersionComponent version;
    version.type = loadLe<std::uint32_t>(component);
    version.model = loadText<16>(component + 4);
    version.serialNumber = loadText<16>(component + 20);
    version.hardware = loadText<16>(component + 36);
    version.software = loadText<16>(component + 52);
    version.boot = loadText<16>(component + 68);
    version.compileDate = loadText<12>(component + 84);
    version.compileTime = loadText<12>(component + 96);
    return version;
}

}  // namespace vkcomm
