// Recordings of real receivers, where there are any, and what the decoder makes of them.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "host/decode_stream.h"
#include "tests/decode/frames.h"

namespace vkcomm::test {

// The folder that VKCOMM_DATA names, else the one beside the sources.
inline std::filesystem::path recordingsFolder() {
    if (const char* folder = std::getenv("VKCOMM_DATA")) return folder;
    return std::filesystem::path(VKCOMM_SOURCE_DIR) / ".." / "shared" / "data";
}

inline std::string recording(const std::string& name) {
    std::ifstream file(recordingsFolder() / name, std::ios::binary);
    EXPECT_TRUE(file) << name;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// Tests of this kind are skipped where there are no recordings.
class RecordingTest : public testing::Test {
protected:
    void SetUp() override {
        if (!std::filesystem::exists(recordingsFolder() / "counts.json"))
            GTEST_SKIP() << "no recordings; VKCOMM_DATA can name their folder";
    }
};

struct DecodedRecording {
    std::vector<Record> records;
    DecoderCounters counters;
};

inline DecodedRecording decodeRecording(const std::string& name, std::uint32_t mask) {
    DecodedRecording result;
    std::string error;
    const auto source = ByteSource::open((recordingsFolder() / name).string(), error);
    EXPECT_TRUE(source) << error;
    if (!source) return result;
    UnhurriedClock clock;
    CNOut decoder;
    decoder.vSetClock(clock);
    decoder.vSetDecodeMask(mask);
    const auto keep = [&](const RecordView&) {
        result.records.push_back(recordOf(decoder));
        return true;
    };
    readStream(*source, *makeFrameReader(decoder), {}, {keep, {}});
    result.counters = decoder.Counters();
    return result;
}

}  // namespace vkcomm::test
