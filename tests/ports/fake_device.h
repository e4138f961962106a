// A communication device that plays a script.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "vkcomm/platform/comm_device.h"

namespace vkcomm {

// What one wait for events brings: the event word, what is said to be queued, and what is then read. A block waits until
// it is released: the wait for the event, or the read when there is something to read.
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
    std::deque<WriteStep> writes;                                 // then all are whole
    std::set<std::string> failing;                                // names of calls
    std::map<std::uint32_t, std::deque<std::uint32_t>> outcomes;  // of control, by code; then 0
    std::function<bool(const CommState&)> accepts;                // settings; empty: all
    std::function<Pass(const CommState&)> source;  // goes on when the passes are used up, at these settings
    bool isConnection = false;                     // whose other side waits
    int openNumber = 0;
    CommState driver{.BaudRate = 4800, .fOutX = 1, .ByteSize = 7, .Parity = 2, .StopBits = 2};

    bool open(const std::wstring& name, std::uint32_t attributes) override {
        const bool isOpen = note("open", std::string(name.begin(), name.end()), attributes);
        if (!isOpeningLong) return isOpen;
        std::unique_lock lock(m_lock);
        awaitRelease(lock);
        return isDeaf;
    }

    int openError() const override { return openNumber; }

    bool peerWaits() const override { return isConnection; }

    SystemError lastError() const override { return {"fake", 5, "scripted"}; }

    bool getTimeouts(CommTimeouts&) override { return note("getTimeouts"); }

    bool setTimeouts(const CommTimeouts& t) override {
        return note("setTimeouts", t.readInterval, t.readMultiplier, t.readConstant, t.writeMultiplier,
                    t.writeConstant);
    }

    bool setEventMask(std::uint32_t mask) override {
        change([&] { m_isReleased = mask == 0; });
        return note("setEventMask", mask);
    }

    bool setQueueSizes(std::uint32_t in, std::uint32_t out) override {
        return note("setQueueSizes", in, out);
    }

    bool getState(CommState& state) override {
        if (!note("getState")) return false;
        state = driver;
        return true;
    }

    bool setState(const CommState& s) override {
        const bool isAccepted = !accepts || accepts(s);
        change([&] {
            if (isAccepted) driver = s;
        });
        const bool isDone =
            note("setState", s.BaudRate, int{s.ByteSize}, int{s.Parity}, int{s.StopBits}, s.fBinary,
                 s.fDtrControl, s.fRtsControl, s.fTXContinueOnXoff, s.fInX, s.fOutX);
        return isDone && isAccepted;
    }

    bool purge(std::uint32_t flags) override { return note("purge", flags); }

    bool waitForEvent(std::uint32_t& events) override { return nextPass(events); }

    bool bytesQueued(std::uint32_t& count) override {
        const std::scoped_lock lock(m_lock);
        count = m_pass.queued.value_or(static_cast<std::uint32_t>(m_pass.bytes.size()));
        return true;
    }

    std::size_t read(std::span<unsigned char> buffer) override {
        std::unique_lock lock(m_lock);
        if (m_pass.isBlock) awaitRelease(lock);
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
        m_isWriteBegun = true;
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
        change([&] {
            std::deque<std::uint32_t>& scripted = outcomes[code];
            outcome = scripted.empty() ? 0 : scripted.front();
            if (!scripted.empty()) scripted.pop_front();
        });
        return note("control", code, input ? "address" : "null", length);
    }

    void close() override {
        note("close");
        change([this] { m_isClosed = true; });
    }

    bool isOpeningLong =
        false;            // open lasts until the device is closed, and then fails; if it is deaf it opens
    bool isDeaf = false;  // close and setEventMask release nobody: a driver that hangs

    // Lets go what a deaf device holds.
    void free() {
        change([this] { m_isFreed = true; });
    }

    void awaitWrites(std::size_t count) {
        await([&] { return m_written.size() >= count; });
    }

    void awaitWriteBegun() {
        await([&] { return m_isWriteBegun; });
    }

    void awaitClosed() {
        await([&] { return m_isClosed; });
    }

    void awaitBlocked() {
        await([&] { return m_isBlocked; });
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

    template <typename Change>
    void change(Change change) {
        const std::scoped_lock lock(m_lock);
        change();
        m_changed.notify_all();
    }

    template <typename Reached>
    void await(Reached reached) {
        std::unique_lock lock(m_lock);
        m_changed.wait(lock, reached);
    }

    template <typename... Parts>
    bool note(const char* call, const Parts&... parts) {
        std::ostringstream line;
        line << call;
        ((line << ' ' << parts), ...);
        const std::scoped_lock lock(m_lock);
        m_calls.push_back(line.str());
        return !failing.contains(call);
    }

    void awaitRelease(std::unique_lock<std::mutex>& lock) {
        m_isBlocked = true;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_isFreed || (!isDeaf && (m_isReleased || m_isClosed)); });
    }

    bool nextPass(std::uint32_t& events) {
        std::unique_lock lock(m_lock);
        m_pass = {0, {}, {}, false};
        const bool isOver = passes.empty() && !source;
        if (!passes.empty()) {
            m_pass = passes.front();
            passes.pop_front();
        } else if (source) {
            m_pass = source(driver);
        }
        if (m_pass.isBlock && m_pass.bytes.empty()) awaitRelease(lock);
        events = m_pass.events;
        return !isOver && !m_isClosed;
    }

    mutable std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<std::string> m_calls;
    std::vector<std::string> m_written;
    std::vector<std::size_t> m_reads;
    bool m_isWriteBegun = false;
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
