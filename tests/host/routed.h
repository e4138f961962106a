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

class Routed {
public:
    explicit Routed(std::string_view family, std::uint32_t mask = kDecodeAll) {
        router.setReceiver(family);
        m_decoder.vSetDecodeMask(mask);
        m_reader = family == "javad" ? makeJavadReader(m_decoder) : makeFrameReader(m_decoder);
    }

    // A whole stream, to its end.
    Routed(std::string_view family, std::string_view stream, std::uint32_t mask = kDecodeAll,
           std::size_t piece = kLargestChunk)
        : Routed(family, mask) {
        feed(stream, piece);
        while (const auto record = m_reader->nextAtEnd())
            take(*record);
        while (const auto carried = router.nextCarriedAtEnd())
            keep(*carried);
    }

    void feed(std::string_view stream, std::size_t piece = kLargestChunk) {
        while (!stream.empty()) {
            const std::size_t size = pieceSize(stream, piece);
            m_reader->feed(spanOf(stream.substr(0, size)));
            stream.remove_prefix(size);
            while (const auto record = m_reader->next())
                take(*record);
        }
    }

    DecoderCounters counters() const { return m_reader->counters(); }

    // The names of the records in order.
    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const nlohmann::json& line : lines)
            names.push_back(line.at("name"));
        return names;
    }

    RecordRouter router;
    std::vector<nlohmann::json> lines;  // a JSON object for each record
    std::vector<std::string> ggas;      // one a position with a fix

private:
    void take(const RecordView& record) {
        keep(router.route(record));
        while (const auto carried = router.nextCarried())
            keep(*carried);
    }

    void keep(const RoutedRecord& record) {
        std::string line;
        m_lines.appendJson(line, record);
        lines.push_back(nlohmann::json::parse(line));
        if (router.isPosition(record) && record.use == RecordUse::kPosition)
            ggas.push_back(router.receiver().gga());
    }

    CNOut m_decoder;
    std::unique_ptr<RecordReader> m_reader;
    RecordLines m_lines;
};

// Every member that expected names is there and equal; real numbers to a billionth of their size.
inline bool holds(const nlohmann::json& line, const nlohmann::json& expected) {
    if (expected.is_number_float() && line.is_number())
        return std::abs(line.get<double>() - expected.get<double>()) <=
               1e-9 * std::max(1.0, std::abs(expected.get<double>()));
    if (expected.is_array()) return line.is_array() && std::ranges::equal(line, expected, holds);
    if (!expected.is_object()) return line == expected;
    return std::ranges::all_of(expected.items(), [&](const auto& member) {
        return line.contains(member.key()) && holds(line.at(member.key()), member.value());
    });
}

}  // namespace vkcomm::test
