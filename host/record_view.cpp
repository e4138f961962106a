#include "host/record_view.h"

#include <algorithm>

namespace vkcomm {

namespace {

struct JavadMeaning {
    std::string_view id;
    std::string_view meaning;
};

constexpr JavadMeaning kJavadMeanings[] = {
    {"~~", "Receiver time of day"},
    {"::", "Epoch time, end of an epoch"},
    {"RD", "Receiver date"},
    {"GT", "GPS time"},
    {"TO", "Offset of the receiver's clock"},
    {"DO", "Drift of the receiver's clock"},
    {"PO", "Cartesian position"},
    {"PV", "Cartesian position and velocity"},
    {"VE", "Cartesian velocity"},
    {"PG", "Geodetic position"},
    {"VG", "Geodetic velocity"},
    {"SG", "RMS errors of position and velocity"},
    {"DP", "Dilutions of precision"},
    {"PS", "Satellites locked, available and used"},
    {"ST", "Time tag of the solution"},
    {"SI", "Satellite indices"},
    {"NN", "GLONASS system numbers"},
    {"EL", "Elevations"},
    {"AZ", "Azimuths"},
    {"SS", "Navigation status of the satellites"},
    {"EC", "Signal-to-noise of C/A"},
    {"CE", "Signal-to-noise of C/A, in quarters of a dB-Hz"},
    {"GE", "GPS ephemeris"},
    {"UO", "GPS to UTC parameters"},
    {"IO", "GPS ionosphere parameters"},
    {"RE", "Reply"},
    {"ER", "Error reply"},
    {"MF", "Message format"},
    {"JP", "File identifier"},
    {"PM", "Parameters"},
};

}  // namespace

RecordView viewOf(const CNOut& decoder) {
    return {decoder.Type(), decoder.Id(), RecordSource::kStream, decoder.RecordBytes(),
            decoder.RecordOffset()};
}

RecordView viewOf(const JavadMessage& message) {
    return {LOG_NONE, javadId(message.id), RecordSource::kJavad, message.bytes, message.offset};
}

std::string_view familyNameOf(const MessageKind& kind) {
    return kind.source == RecordSource::kJavad ? "javad" : logTypeName(kind.type);
}

RecordName nameOf(const MessageKind& kind) {
    if (kind.source != RecordSource::kJavad) return recordName(kind.type, kind.id);
    const char characters[] = {static_cast<char>(kind.id >> 8), static_cast<char>(kind.id & 0xFF)};
    return RecordName(std::string_view(characters, 2));
}

std::string_view meaningOf(const MessageKind& kind) {
    if (kind.source != RecordSource::kJavad) return recordMeaning(kind.type, kind.id);
    const auto matches = [&](const JavadMeaning& row) { return javadId(row.id) == kind.id; };
    const auto* row = std::ranges::find_if(kJavadMeanings, matches);
    return row == std::end(kJavadMeanings) ? std::string_view() : row->meaning;
}

}  // namespace vkcomm
