#include "host/byte_source.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

namespace vkcomm {

namespace {

std::string because(int systemError) { return std::generic_category().message(systemError); }

}  // namespace

void ByteSource::Closer::operator()(std::FILE* file) const {
    if (file != stdin) std::fclose(file);
}

std::unique_ptr<ByteSource> ByteSource::open(const std::string& path, std::string& error) {
    auto source = std::make_unique<ByteSource>();
    source->m_path = path;
    if (path == "-") {
        source->m_file.reset(stdin);
        return source;
    }
    std::error_code failed;
    if (std::filesystem::is_directory(path, failed)) {
        error = path + ": is a folder, not a recording";
        return nullptr;
    }
    source->m_file.reset(std::fopen(path.c_str(), "rb"));
    if (!source->m_file) {
        error = path + ": cannot be opened: " + because(errno);
        return nullptr;
    }
    if (const auto bytes = std::filesystem::file_size(path, failed); !failed) source->m_size = bytes;
    return source;
}

ByteSpan ByteSource::peek(std::size_t size) {
    m_ahead.erase(m_ahead.begin(), m_ahead.begin() + static_cast<std::ptrdiff_t>(m_aheadRead));
    m_aheadRead = 0;
    if (const std::size_t had = m_ahead.size(); had < size) {
        m_ahead.resize(size);
        m_ahead.resize(had + readFile(std::span(m_ahead).subspan(had)));
    }
    return ByteSpan(m_ahead).first(std::min(size, m_ahead.size()));
}

std::size_t ByteSource::read(std::span<unsigned char> buffer) {
    const std::size_t ahead = std::min(buffer.size(), m_ahead.size() - m_aheadRead);
    std::copy_n(m_ahead.begin() + static_cast<std::ptrdiff_t>(m_aheadRead), ahead, buffer.begin());
    m_aheadRead += ahead;
    return ahead + readFile(buffer.subspan(ahead));
}

std::size_t ByteSource::readFile(std::span<unsigned char> buffer) {
    const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), m_file.get());
    if (count < buffer.size() && std::ferror(m_file.get()))
        m_error = m_path + ": reading failed: " + because(errno);
    return count;
}

}  // namespace vkcomm
