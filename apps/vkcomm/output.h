// Standard output in large pieces, and messages for people on standard error.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "vkcomm/platform/clock.h"

namespace vkcomm {

// Collects lines and writes them when there are enough, at flush and at the end.
class Output {
public:
    ~Output() { flush(); }

    // Append lines here, then call written().
    std::string& buffer() { return m_buffer; }

    // False once standard output no longer takes anything (closed pipe, full disk).
    bool written();
    bool flush();

private:
    std::string m_buffer;
    bool m_ok = true;
};

// "vkcomm: message" on standard error.
void complain(std::string_view message);

// "640 B", "12.3 kB", "4.0 MB".
std::string sizeText(double bytes);

// The cause of a failed write to standard output, for people.
std::string outputFailure();

// Shows on a terminal how far a long run is and how fast, once a second.
class Progress {
public:
    explicit Progress(std::string what, std::optional<std::uint64_t> totalBytes);
    ~Progress();

    void at(std::uint64_t bytes);

private:
    std::string m_what;
    std::optional<std::uint64_t> m_total;
    bool m_watched;
    bool m_shown = false;
    std::uint64_t m_last = 0;  // shown
    std::chrono::milliseconds m_next;
};

}  // namespace vkcomm
