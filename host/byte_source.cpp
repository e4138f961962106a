#include "host/byte_source.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iostream>
#include <system_error>

namespace vkcomm {

namespace {

// A pipe gives no more than this at a time.
constexpr std::size_t kOneRead = 65536;

std::string because(int systemError) { return std::generic_category().message(systemError); }

}  // namespace

std::unique_ptr<ByteSource> ByteSource::open(const std::string& path, std::string& error) {
    auto source = std::make_unique<ByteSource>();
    source->m_path = path;
    if (path == "-") {
        std::ios_base::sync_with_stdio(false);  // else it comes one character at a time
        source->m_from = std::cin.rdbuf();
        return source;
    }
    std::error_code failed;
    if (std::filesystem::is_directory(path, failed)) {
        error = path + ": is a folder, not a recording";
        return nullptr;
    }
    if (!source->m_file.open(path, std::ios_base::in | std::ios_base::binary)) {
        error = path + ": cannot be opened: " + because(errno);
        return nullptr;
    }
    if (const auto bytes = std::filesystem::file_size(path, failed); !failed) source->m_size = bytes;
    return source;
}

ByteSpan ByteSource::peek(std::size_t size) {
    m_ahead.erase(m_ahead.begin(), m_ahead.begin() + static_cast<std::ptrdiff_t>(m_aheadRead));
    m_aheadRead = 0;
    while (m_ahead.size() < size) {
        const std::size_t had = m_ahead.size();
        m_ahead.resize(had + kOneRead);
        m_ahead.resize(had + readFrom(std::span(m_ahead).subspan(had)));
        if (m_ahead.size() == had) break;
    }
    return m_ahead;
}

std::size_t ByteSource::read(std::span<unsigned char> buffer) {
    const std::size_t ahead = std::min(buffer.size(), m_ahead.size() - m_aheadRead);
    if (ahead == 0) return readFrom(buffer);
    std::copy_n(m_ahead.begin() + static_cast<std::ptrdiff_t>(m_aheadRead), ahead, buffer.begin());
    m_aheadRead += ahead;
    return ahead;
}

// The standard library throws when the system cannot read.
std::size_t ByteSource::readFrom(std::span<unsigned char> buffer) try {
    auto* const to = reinterpret_cast<char*>(buffer.data());
    const auto room = static_cast<std::streamsize>(buffer.size());
    if (m_size) return static_cast<std::size_t>(m_from->sgetn(to, room));
    if (m_from->sgetc() == std::streambuf::traits_type::eof()) return 0;
    const std::streamsize atHand = std::max<std::streamsize>(m_from->in_avail(), 1);
    return static_cast<std::size_t>(m_from->sgetn(to, std::min(room, atHand)));

} catch (const std::exception&) {

    m_error = m_path + ": reading failed: " + because(errno);
    return 0;
}

}  // namespace vkcomm
