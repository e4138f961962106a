#include "apps/vkcomm/output.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "vkcomm/platform/terminal.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr std::size_t kEnough = 65536;
constexpr std::chrono::milliseconds kEverySecond{1000};

int writeError = 0;

}  // namespace

bool Output::written() { return m_buffer.size() < kEnough ? m_ok : flush(); }

bool Output::flush() {
    if (m_ok && !m_buffer.empty()) {
        errno = 0;
        m_ok = std::fwrite(m_buffer.data(), 1, m_buffer.size(), stdout) == m_buffer.size() &&
               std::fflush(stdout) == 0;
        if (!m_ok) writeError = errno;
    }
    m_buffer.clear();
    return m_ok;
}

void complain(std::string_view message) {
    std::string line("vkcomm: ");
    line += message;
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

std::string sizeText(double bytes) {
    struct Unit {
        double bytes;
        const char* form;
    };

    constexpr Unit kUnits[] = {{1e6, "%.1f MB"}, {1e3, "%.1f kB"}, {1.0, "%.0f B"}};
    std::string text;
    for (const Unit& unit : kUnits)
        if (text.empty() && (bytes >= unit.bytes || unit.bytes == 1.0))
            appendFormat(text, unit.form, bytes / unit.bytes);
    return text;
}

std::string outputFailure() {
    return "standard output takes no more: " + std::generic_category().message(writeError);
}

Progress::Progress(std::string what, std::optional<std::uint64_t> totalBytes)
    : m_what(std::move(what)), m_total(totalBytes), m_watched(isErrorTerminal()),
      m_next(systemClock().now() + kEverySecond) {}

Progress::~Progress() {
    if (m_shown) std::fputs("\r\x1b[K", stderr);
}

void Progress::at(std::uint64_t bytes) {
    const auto now = systemClock().now();
    if (!m_watched || now < m_next) return;
    const auto elapsed = now - m_next + kEverySecond;
    const double perSecond =
        1000.0 * static_cast<double>(bytes - m_last) / static_cast<double>(elapsed.count());
    m_next = now + kEverySecond;
    m_shown = true;
    std::string line("\r" + m_what + ": " + sizeText(static_cast<double>(bytes)) + ", " +
                     sizeText(perSecond) + "/s");
    m_last = bytes;
    if (m_total && *m_total > 0)
        appendFormat(line, " (%.0f %%)", 100.0 * static_cast<double>(bytes) / static_cast<double>(*m_total));
    line += "\x1b[K";
    std::fputs(line.c_str(), stderr);
}

}  // namespace vkcomm
