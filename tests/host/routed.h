// Streams sent through reader and router, and what came out.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "host/decode_stream.h"
#include "host/record_lines.h"
#include "host/record_router.h"
#include "tests/decode/frames.h"

namespace vkcomm::test {

inline ByteSpan spanOf(std::string_view bytes) {
    return {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()};
}

enum class StreamKind { kFrames, kJavad };

// A router that has seen a whole stream, and a JSON object for each record.
struct Routed {
    std::unique_ptr<RecordRouter> router = std::make_unique<RecordRouter>();
    std::vector<nlohmann::json> lines;
    std::vector<std::string> ggas;  // one a position with a fix
    DecoderCounters counters;
};

inline void keep(Routed& routed, const RoutedRecord& record) {
    std::string line;
    RecordLines().appendJson(line, record);
    routed.lines.push_back(nlohmann::json::parse(line));
    if (routed.router->isPosition(record) && record.use == RecordUse::kPosition)
        routed.ggas.push_back(routed.router->receiver().gga());
}

inline Routed route(std::string_view stream, std::string_view family, std::uint32_t mask = kDecodeAll,
                    std::size_t piece = kLargestChunk) {
    Routed routed;
    routed.router->setReceiver(family);
    CNOut decoder;
    decoder.vSetDecodeMask(mask);
    const auto reader = family == "javad" ? makeJavadReader(decoder) : makeFrameReader(decoder);
    const auto use = [&](const RecordView& view) {
        keep(routed, routed.router->route(view));
        while (const auto carried = routed.router->nextCarried())
            keep(routed, *carried);
    };
    while (!stream.empty()) {
        const std::size_t size = pieceSize(stream, piece);
        reader->feed(spanOf(stream.substr(0, size)));
        stream.remove_prefix(size);
        while (const auto record = reader->next())
            use(*record);
    }
    while (const auto record = reader->nextAtEnd())
        use(*record);
    while (const auto carried = routed.router->nextCarriedAtEnd())
        keep(routed, *carried);
    routed.counters = reader->counters();
    return routed;
}

// Every member that expected names is there and equal; real numbers to a billionth of their size.
inline bool holds(const nlohmann::json& line, const nlohmann::json& expected) {
    if (expected.is_number_float() && line.is_number())
        return std::abs(line.get<double>() - expected.get<double>()) <=
               1e-9 * std::max(1.0, std::abs(expected.get<double>()));
    if (expected.is_array()) {
        if (!line.is_array() || line.size() != expected.size()) return false;
        for (std::size_t i = 0; i < expected.size(); ++i)
            if (!holds(line[i], expected[i])) return false;
        return true;
    }
    if (!expected.is_object()) return line == expected;
    for (const auto& member : expected.items())
        if (!line.contains(member.key()) || !holds(line.at(member.key()), member.value())) return false;
    return true;
}

}  // namespace vkcomm::test
