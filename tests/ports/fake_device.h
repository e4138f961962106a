// A communication device that plays a script.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "vkcomm/platform/comm_device.h"

namespace vkcomm {

// What one wait for events brings: the event word, what is said to be queued, and what is then read. block waits
// until the wait is released.
struct Pass {
    std::uint32_t events = kEventReceived;
    std::string bytes;
    std::optional<std::uint32_t> queued;
    bool isBlock = false;
};

inline Pass block() { return {0, {}, {}, true}; }

inline Pass data(std::string bytes) { return {kEventReceived, std::move(bytes), {}, false}; }

// What one write does: takes all, takes some, fails, or waits until the device is closed and then fails.
struct WriteStep {
    enum Kind { kWhole, kShort, kFail, kBlock } kind = kWhole;

    std::size_t taken = 0;
};

// Scripts and faults are set before the device is used; the logs may be looked at from any thread by their
// accessors. When the passes are used up the device fails for good. Everything waits without a clock.
class FakeDevice final : public CommDevice {
public:
    std::deque<Pass> passes;
    std::deque<WriteStep> writes;                       // then all are whole
    std::set<std::string> failing;                      // names of calls
    std::map<std::uint32_t, std::deque<int>> outcomes;  // of control, by code; then 0
    int openNumber = 0;
    CommState driver{.BaudRate = 4800, .fOutX = 1, .ByteSize = 7, .Parity = 2, .StopBits = 2};

    bool open(const std::wstring& name, std::uint32_t attributes) override {
        std::ostringstream line;
        line << "open " << std::string(name.begin(), name.end()) << std::hex << ' ' << attributes;
        return note(line.str());
    }

    int openError() const override { return openNumber; }

    SystemError lastError() const override { return {"fake", 5, "scripted"}; }

    bool getTimeouts(CommTimeouts&) override { return note("getTimeouts"); }

    bool setTimeouts(const CommTimeouts& t) override {
        std::ostringstream line;
        line << "setTimeouts " << std::hex << t.readInterval << std::dec << ' ' << t.readMultiplier << ' '
             << t.readConstant << ' ' << t.writeMultiplier << ' ' << t.writeConstant;
        return note(line.str());
    }

    bool setEventMask(std::uint32_t mask) override {
        const std::scoped_lock lock(m_lock);
        m_isReleased = mask == 0;
        m_changed.notify_all();
        return noteLocked("setEventMask " + std::to_string(mask));
    }

    bool setQueueSizes(std::uint32_t in, std::uint32_t out) override {
        return note("setQueueSizes " + std::to_string(in) + ' ' + std::to_string(out));
    }

    bool getState(CommState& state) override {
        if (!note("getState")) return false;
        state = driver;
        return true;
    }

    bool setState(const CommState& s) override {
        driver = s;
        std::ostringstream line;
        line << "setState " << s.BaudRate << ' ' << int{s.ByteSize} << ' ' << int{s.Parity} << ' '
             << int{s.StopBits} << ' ' << s.fBinary << s.fDtrControl << s.fRtsControl << s.fTXContinueOnXoff
             << s.fInX << s.fOutX;
        return note(line.str());
    }

    bool purge(std::uint32_t flags) override { return note("purge " + std::to_string(flags)); }

    bool waitForEvent(std::uint32_t& events) override { return nextPass(events); }

    bool bytesQueued(std::uint32_t& count) override {
        const std::scoped_lock lock(m_lock);
        count = m_pass.queued.value_or(static_cast<std::uint32_t>(m_pass.bytes.size()));
        return true;
    }

    std::size_t read(std::span<unsigned char> buffer) override {
        const std::scoped_lock lock(m_lock);
        m_reads.push_back(buffer.size());
        const std::size_t count = std::min(buffer.size(), m_pass.bytes.size());
        std::copy_n(m_pass.bytes.begin(), count, buffer.begin());
        m_pass.bytes.erase(0, count);
        return count;
    }

    bool write(ByteSpan bytes, std::size_t& written) override {
        std::unique_lock lock(m_lock);
        WriteStep step;
        if (!writes.empty()) {
            step = writes.front();
            writes.pop_front();
        }
        ++m_writesBegun;
        m_changed.notify_all();
        if (step.kind == WriteStep::kBlock)
            m_changed.wait(lock, [this] { return m_isFreed || (!isDeaf && m_isClosed); });
        const bool isTaken = step.kind <= WriteStep::kShort && !m_isClosed;
        written = step.kind == WriteStep::kWhole ? bytes.size() : step.taken;
        if (isTaken)
            m_written.emplace_back(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(written));
        m_changed.notify_all();
        return isTaken;
    }

    bool setBreak() override { return note("setBreak"); }

    bool clearBreak() override { return note("clearBreak"); }

    bool control(std::uint32_t code, const unsigned char* input, std::uint32_t length,
                 std::uint32_t& outcome) override {
        if (code == kControlWait) return nextPass(outcome);
        const std::scoped_lock lock(m_lock);
        std::deque<int>& scripted = outcomes[code];
        outcome = scripted.empty() ? 0 : static_cast<std::uint32_t>(scripted.front());
        if (!scripted.empty()) scripted.pop_front();
        return noteLocked("control " + std::to_string(code) + (input ? " address " : " null ") +
                          std::to_string(length));
    }

    void close() override {
        const std::scoped_lock lock(m_lock);
        noteLocked("close");
        m_isClosed = true;
        m_changed.notify_all();
    }

    bool isDeaf = false;  // close and setEventMask release nobody: a driver that hangs

    // Lets go what a deaf device holds.
    void free() {
        const std::scoped_lock lock(m_lock);
        m_isFreed = true;
        m_changed.notify_all();
    }

    void awaitWrites(std::size_t count) {
        std::unique_lock lock(m_lock);
        m_changed.wait(lock, [&] { return m_written.size() >= count; });
    }

    void awaitWriteBegun(std::size_t count) {
        std::unique_lock lock(m_lock);
        m_changed.wait(lock, [&] { return m_writesBegun >= count; });
    }

    void awaitClosed() {
        std::unique_lock lock(m_lock);
        m_changed.wait(lock, [&] { return m_isClosed; });
    }

    void awaitBlocked() {
        std::unique_lock lock(m_lock);
        m_changed.wait(lock, [&] { return m_isBlocked; });
    }

    std::vector<std::string> calls() const { return copy(m_calls); }

    std::vector<std::string> written() const { return copy(m_written); }

    std::vector<std::size_t> reads() const { return copy(m_reads); }

private:
    template <typename T>
    std::vector<T> copy(const std::vector<T>& from) const {
        const std::scoped_lock lock(m_lock);
        return from;
    }

    bool note(const std::string& call) {
        const std::scoped_lock lock(m_lock);
        return noteLocked(call);
    }

    bool noteLocked(const std::string& call) {
        m_calls.push_back(call);
        return !failing.contains(call.substr(0, call.find(' ')));
    }

    bool nextPass(std::uint32_t& events) {
        std::unique_lock lock(m_lock);
        m_pass = {0, {}, {}, false};
        if (!passes.empty()) m_pass = passes.front();
        const bool isOver = passes.empty();
        if (!isOver) passes.pop_front();
        m_isBlocked = m_pass.isBlock;
        m_changed.notify_all();
        if (m_pass.isBlock)
            m_changed.wait(lock, [this] { return m_isFreed || (!isDeaf && (m_isReleased || m_isClosed)); });
        events = m_pass.events;
        return !isOver && !m_isClosed;
    }

    mutable std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<std::string> m_calls;
    std::vector<std::string> m_written;
    std::vector<std::size_t> m_reads;
    std::size_t m_writesBegun = 0;
    Pass m_pass;
    bool m_isBlocked = false;
    bool m_isReleased = false;
    bool m_isClosed = false;
    bool m_isFreed = false;
};

// Hands out the devices that the test has put there, in order, then ones that cannot be opened.
class FakeDevices final : public CommDevices {
public:
    std::deque<std::shared_ptr<FakeDevice>> next;

    std::shared_ptr<FakeDevice> add() { return next.emplace_back(std::make_shared<FakeDevice>()); }

    std::shared_ptr<CommDevice> make() override {
        if (next.empty()) add()->failing = {"open"};
        const auto made = next.front();
        next.pop_front();
        return made;
    }
};

}  // namespace vkcomm
