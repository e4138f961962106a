// A network whose sockets do what a script says.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "vkcomm/net/tcp_socket.h"

namespace vkcomm::test {

// What the next receive gives: bytes, nothing (the peer has closed), or a failure.
struct Arrival {
    int count = 0;  // -1: failure
    std::string bytes{};
};

// Shared by the test and the socket, which the object under test owns.
struct Wire {
    std::mutex lock;
    std::condition_variable changed;
    std::deque<Arrival> arrivals;
    bool closedAtEnd = false;  // when the script has ended the peer has closed; else nothing arrives any more
    bool connects = true;
    bool closesGracefully = true;
    bool connectBlocks = false;
    bool interrupted = false;
    int mostPerSend = 1 << 20;
    int sendsLeft = 1 << 20;
    bool sendsBlock = false;  // those that are too many wait until they are interrupted; else they fail
    std::function<void()> onResolve = [] {};
    std::string sent;
    std::vector<std::string> calls;
    int opened = 0;

    void note(const std::string& call) {
        const std::lock_guard guard(lock);
        calls.push_back(call);
    }

    std::string lastCall() {
        const std::lock_guard guard(lock);
        return calls.empty() ? std::string() : calls.back();
    }
};

class FakeSocket final : public NetSocket {
public:
    explicit FakeSocket(Wire& wire) : m_wire(wire) {}

    ~FakeSocket() override { m_wire.note("close"); }

    bool setGracefulClose() override { return m_wire.closesGracefully; }

    bool connect(const SocketAddress&) override {
        std::unique_lock guard(m_wire.lock);
        m_wire.changed.wait(guard, [this] { return !m_wire.connectBlocks || m_wire.interrupted; });
        return m_wire.connects && !m_wire.interrupted;
    }

    SocketWait waitReadable(std::chrono::milliseconds) override {
        std::unique_lock guard(m_wire.lock);
        m_wire.changed.wait(
            guard, [this] { return m_wire.interrupted || !m_wire.arrivals.empty() || m_wire.closedAtEnd; });
        return m_wire.interrupted ? SocketWait::kInterrupted : SocketWait::kReady;
    }

    int receive(std::span<unsigned char> buffer, SocketAddress* sender) override {
        const std::lock_guard guard(m_wire.lock);
        if (m_wire.arrivals.empty()) return 0;
        if (sender) *sender = {0x0A000001, 9};
        std::string& bytes = m_wire.arrivals.front().bytes;
        const std::size_t count = std::min(buffer.size(), bytes.size());
        const int answer = bytes.empty() ? m_wire.arrivals.front().count : static_cast<int>(count);
        std::copy_n(bytes.begin(), count, buffer.begin());
        bytes.erase(0, count);
        if (bytes.empty()) m_wire.arrivals.pop_front();
        return answer;
    }

    int send(ByteSpan bytes) override {
        std::this_thread::yield();  // to one that sends at the same time
        std::unique_lock guard(m_wire.lock);
        if (m_wire.sendsLeft-- <= 0) {
            m_wire.calls.emplace_back("send fails");
            m_wire.changed.wait(guard, [this] { return !m_wire.sendsBlock || m_wire.interrupted; });
            return -1;
        }
        const auto count = std::min(bytes.size(), static_cast<std::size_t>(m_wire.mostPerSend));
        m_wire.sent.append(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
        return static_cast<int>(count);
    }

    int sendTo(ByteSpan bytes, const SocketAddress&) override { return send(bytes); }

    void shutdown() override { m_wire.note("shutdown"); }

    void interrupt() override {
        {
            const std::lock_guard guard(m_wire.lock);
            m_wire.interrupted = true;
        }
        m_wire.changed.notify_all();
    }

    std::optional<SocketAddress> localAddress() const override { return SocketAddress{0x7F000001, 4242}; }

    SystemError error() const override { return {"the fake fails", 1, "as told"}; }

private:
    Wire& m_wire;
};

class FakeNetwork final : public Network {
public:
    // In place of the network that another test has left on.
    explicit FakeNetwork(Wire& wire) : m_wire(wire) {
        CloseWSA();
        StartWSA(*this);
    }

    ~FakeNetwork() override { CloseWSA(); }

    bool start() override {
        ++starts;
        return isThere;
    }

    void stop() override { ++stops; }

    bool isThere = true;
    int starts = 0, stops = 0;

    std::unique_ptr<NetSocket> open(SocketKind, SystemError&) override {
        const std::lock_guard guard(m_wire.lock);
        ++m_wire.opened;
        m_wire.interrupted = false;
        return std::make_unique<FakeSocket>(m_wire);
    }

    std::optional<std::uint32_t> resolve(const std::string& host) override {
        m_wire.onResolve();
        const std::map<std::string, std::uint32_t> known{
            {"caster", 0xC0A80001}, {"192.168.0.1", 0xC0A80001}, {"controller", 0x7F000001}};
        const auto found = known.find(host);
        return found == known.end() ? std::nullopt : std::optional(found->second);
    }

    std::string hostName() override { return "controller"; }

private:
    Wire& m_wire;
};

}  // namespace vkcomm::test
