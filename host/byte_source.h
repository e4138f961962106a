// A file or standard input, read front to back.
#pragma once

#include <cstdint>
#include <cstdio>
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

    // The first size bytes of what is yet to be read, fewer only at the end or after a failure. They are still
    // to be read; valid until the next read.
    ByteSpan peek(std::size_t size);

    // Fills buffer from its start; fewer bytes than it holds only at the end or after a failure, which
    // error() tells.
    std::size_t read(std::span<unsigned char> buffer);

    // What went wrong while reading, empty if nothing.
    const std::string& error() const { return m_error; }

    // Bytes in all, where that is known beforehand.
    std::optional<std::uint64_t> size() const { return m_size; }

private:
    std::size_t readFile(std::span<unsigned char> buffer);

    struct Closer {
        void operator()(std::FILE* file) const;
    };

    std::string m_path;
    std::unique_ptr<std::FILE, Closer> m_file;
    std::optional<std::uint64_t> m_size;
    std::string m_error;
    std::vector<unsigned char> m_ahead;  // peeked at
    std::size_t m_aheadRead = 0;
};

}  // namespace vkcomm
