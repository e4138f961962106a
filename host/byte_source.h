// A file, a pipe or standard input, read front to back.
#pragma once

#include <cstdint>
#include <fstream>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "vkcomm/util/bytes.h"

namespace vkcomm {

class ByteSource {
public:
    // Opens path for reading, "-" meaning standard input. Null when that is not possible; error then says
    // what is wrong and with which path.
    static std::unique_ptr<ByteSource> open(const std::string& path, std::string& error);

    // What is yet to be read, as far as it is at hand: at least size bytes, fewer only at the end or after a
    // failure. They are still to be read; valid until the next call.
    ByteSpan peek(std::size_t size);

    // Fills buffer from its start. Waits for one byte and takes what has come with it, so that what a pipe
    // gives is not held back. 0 means the end, or a failure, which error() tells.
    std::size_t read(std::span<unsigned char> buffer);

    // What went wrong while reading, empty if nothing.
    const std::string& error() const { return m_error; }

    // Bytes in all, where that is known beforehand: of files, not of pipes and standard input.
    std::optional<std::uint64_t> size() const { return m_size; }

private:
    std::size_t readFrom(std::span<unsigned char> buffer);

    std::string m_path;
    std::filebuf m_file;
    std::streambuf* m_from = &m_file;  // or standard input
    std::optional<std::uint64_t> m_size;
    std::string m_error;
    std::vector<unsigned char> m_ahead;  // peeked at
    std::size_t m_aheadRead = 0;
};

}  // namespace vkcomm
