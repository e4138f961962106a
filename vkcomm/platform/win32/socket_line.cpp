// Receivers that serve their stream on a TCP port, and Bluetooth serial links by sockets of the system.
#include <algorithm>
#include <mutex>
#include <optional>
#include <utility>

#include "vkcomm/platform/device_place.h"
#include "vkcomm/platform/win32/line.h"
#include "vkcomm/platform/win32/stream_socket.h"

#include <mstcpip.h>
#include <ws2bth.h>

namespace vkcomm {

namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;

constexpr auto kConnectTime = 10s;
// Paging a device and building the link may take most of this.
constexpr auto kBluetoothTime = 20s;

std::string wordsOf(int code) { return systemError({}, code).text; }

// A line without settings, over which bytes go both ways: what all connections have in common.
class SocketLine : public Line {
public:
    bool open(std::uint32_t /*attributes*/, HANDLE wake, Refusal& refusal) override {
        m_wake = wake;
        const int code = startWinsock();
        if (code != 0) refusal = {kErrorNotFunctioning, static_cast<DWORD>(code), wordsOf(code)};
        m_socket = code == 0 ? makeSocket(refusal) : nullptr;
        return m_socket != nullptr;
    }

    bool peerWaits() const override { return true; }

    DWORD getTimeouts(CommTimeouts& timeouts) override {
        const std::scoped_lock lock(m_lock);
        timeouts = m_timeouts;
        return ERROR_SUCCESS;
    }

    // Deliberate: reads that wait are refused. A reader waits for events, which another thread can end.
    DWORD setTimeouts(const CommTimeouts& timeouts) override {
        if (timeouts.readInterval != CommTimeouts::kReturnAtOnce || timeouts.readMultiplier != 0 ||
            timeouts.readConstant != 0)
            return ERROR_INVALID_PARAMETER;
        const std::scoped_lock lock(m_lock);
        m_timeouts = timeouts;
        return ERROR_SUCCESS;
    }

    DWORD setEventMask(std::uint32_t /*mask*/) override { return ERROR_SUCCESS; }

    // The queues are the system's own, which may hold more: what goes beyond the size is told only later.
    DWORD setQueueSizes(std::uint32_t in, std::uint32_t /*out*/) override {
        const std::scoped_lock lock(m_lock);
        m_queueIn = in;
        return ERROR_SUCCESS;
    }

    DWORD getState(CommState& state) override {
        const std::scoped_lock lock(m_lock);
        state = m_state;
        return ERROR_SUCCESS;
    }

    DWORD setState(const CommState& state) override {
        const std::scoped_lock lock(m_lock);
        m_state = state;
        return ERROR_SUCCESS;
    }

    // Discards nothing: what arrives over a connection is never stale.
    DWORD purge(std::uint32_t /*flags*/) override { return ERROR_SUCCESS; }

    DWORD setBreak(bool /*on*/) override { return ERROR_NOT_SUPPORTED; }

    DWORD waitForEvent(std::uint32_t& events, HANDLE released) override {
        const SocketState state = socket()->waitReadable(kForever, released);
        events = state == SocketState::kWoken ? 0 : kEventReceived;
        return ERROR_SUCCESS;
    }

    DWORD queued(std::uint32_t& count) override {
        const auto socket = this->socket();
        count = static_cast<std::uint32_t>(socket->queued());
        if (count == 0 && socket->waitReadable(0ms, m_wake) != SocketState::kTimeout) count = 1;
        const std::scoped_lock lock(m_lock);
        if (m_queueIn > 0) count = std::min(count, m_queueIn);
        return ERROR_SUCCESS;
    }

    DWORD read(std::span<unsigned char> buffer, std::size_t& size) override {
        const int count = socket()->receive(buffer);
        if (count > 0) size = static_cast<std::size_t>(count);
        if (count > 0 || buffer.empty()) return ERROR_SUCCESS;
        return count < 0 && ::WSAGetLastError() == WSAEWOULDBLOCK ? ERROR_SUCCESS : kGone;
    }

    DWORD write(ByteSpan bytes, std::size_t& written) override {
        const auto socket = this->socket();
        const auto end = std::chrono::steady_clock::now() + writeTime(bytes.size());
        while (written < bytes.size()) {
            const int count = socket->send(bytes.subspan(written));
            if (count > 0) written += static_cast<std::size_t>(count);
            if (count > 0) continue;
            if (::WSAGetLastError() != WSAEWOULDBLOCK) return kGone;
            switch (socket->waitForRoom(leftUntil(end, bytes.size()), m_wake)) {
            case SocketState::kReady: continue;
            case SocketState::kTimeout: return ERROR_SUCCESS;
            default: return kGone;
            }
        }
        return ERROR_SUCCESS;
    }

protected:
    using SocketPointer = std::shared_ptr<Socket>;

    // Null on failure, which refusal tells.
    virtual SocketPointer makeSocket(Refusal& refusal) = 0;

    HANDLE wake() const { return m_wake; }

    SocketPointer socket() const {
        const std::scoped_lock lock(m_lock);
        return m_socket;
    }

    void replace(SocketPointer socket) {
        const std::scoped_lock lock(m_lock);
        m_socket.swap(socket);
    }

private:
    milliseconds writeTime(std::size_t size) const {
        const std::scoped_lock lock(m_lock);
        return milliseconds(m_timeouts.writeConstant + std::uint64_t{m_timeouts.writeMultiplier} * size);
    }

    milliseconds leftUntil(std::chrono::steady_clock::time_point end, std::size_t size) const {
        if (writeTime(size) == 0ms) return kForever;
        const auto left = std::chrono::ceil<milliseconds>(end - std::chrono::steady_clock::now());
        return std::max(left, milliseconds(0));
    }

    HANDLE m_wake = nullptr;
    mutable std::mutex m_lock;
    SocketPointer m_socket;
    std::uint32_t m_queueIn = 0;  // 0: of any size
    CommTimeouts m_timeouts{CommTimeouts::kReturnAtOnce, 0, 0, 10, 1000};
    CommState m_state{.BaudRate = 115200, .fBinary = 1, .ByteSize = 8};
};

// Small pieces go out at once, and a receiver that fell silent because its power or cable is gone is noticed.
void tune(SOCKET socket) {
    const BOOL on = TRUE;
    const void* value = &on;
    static_cast<void>(
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, static_cast<const char*>(value), sizeof on));
    tcp_keepalive keepAlive{1, 10'000, 5'000};
    DWORD size = 0;
    static_cast<void>(::WSAIoctl(socket, SIO_KEEPALIVE_VALS, &keepAlive, sizeof keepAlive, nullptr, 0, &size,
                                 nullptr, nullptr));
}

class TcpLine final : public SocketLine {
public:
    explicit TcpLine(HostPort place) : m_place(std::move(place)) {}

private:
    // The first address that answers.
    SocketPointer makeSocket(Refusal& refusal) override {
        const Addresses addresses = resolve(refusal);
        for (const ADDRINFOW* each = addresses.get(); each; each = each->ai_next) {
            auto socket = std::make_shared<Socket>(each->ai_family, SOCK_STREAM, IPPROTO_TCP);
            const int code =
                socket->isOpen()
                    ? socket->connect(each->ai_addr, static_cast<int>(each->ai_addrlen), kConnectTime, wake())
                    : ::WSAGetLastError();
            if (code == 0) {
                tune(socket->get());
                return socket;
            }
            if (code == WSAEINTR) {
                refusal = {kErrorNotFunctioning, WSAEINTR, "it was closed before anybody answered"};
                break;
            }
            refusal = {kErrorNotFound, static_cast<DWORD>(code),
                       wordsOf(code) + "; is the receiver switched on, and are address and port right?"};
        }
        return nullptr;
    }

    Addresses resolve(Refusal& refusal) const {
        ADDRINFOW wanted{};
        wanted.ai_socktype = SOCK_STREAM;
        int code = 0;
        Addresses found = findAddresses(m_place.host, m_place.port, wanted, code);
        if (code != 0)
            refusal = {kErrorNotFound, static_cast<DWORD>(code), wordsOf(code) + "; is the name right?"};
        return found;
    }

    const HostPort m_place;
};

Refusal explainBluetooth(int code) {
    const bool noBluetooth =
        code == WSAEAFNOSUPPORT || code == WSAESOCKTNOSUPPORT || code == WSAEPROTONOSUPPORT;
    return {kErrorNotFound, static_cast<DWORD>(code),
            wordsOf(code) + (noBluetooth
                                 ? "; this system has no Bluetooth: is its adapter there and switched on?"
                                 : "; is the receiver switched on, near and paired?")};
}

int connectDevice(Socket& socket, ByteSpan device, HANDLE wake) {
    SOCKADDR_BTH address{};
    address.addressFamily = AF_BTH;
    for (const unsigned char byte : device.first(std::tuple_size_v<BluetoothAddress>))
        address.btAddr = address.btAddr << 8 | byte;
    // receivers offer their serial port as this service
    address.serviceClassId = {0x00001101, 0x0000, 0x1000, {0x80, 0x00, 0x00, 0x80, 0x5F, 0x9B, 0x34, 0xFB}};
    const void* place = &address;
    return socket.connect(static_cast<const sockaddr*>(place), sizeof address, kBluetoothTime, wake);
}

// With an address open connects to it; without, it stands in for the driver of a handheld, which is told later
// where to connect.
class BluetoothLine final : public SocketLine {
public:
    explicit BluetoothLine(std::optional<BluetoothAddress> address) : m_address(address) {}

    DWORD control(std::uint32_t code, ByteSpan input, std::uint32_t /*length*/,
                  std::uint32_t& outcome) override {
        if (m_address) return ERROR_NOT_SUPPORTED;
        switch (code) {
        case kControlConnect: return connect(input, outcome);
        case kControlWait: return waitForData(outcome);
        case kControlReset: return reset();
        default: return ERROR_INVALID_PARAMETER;
        }
    }

private:
    SocketPointer makeSocket(Refusal& refusal) override {
        auto socket = std::make_shared<Socket>(AF_BTH, SOCK_STREAM, BTHPROTO_RFCOMM);
        int code = socket->isOpen() ? 0 : ::WSAGetLastError();
        if (code == 0 && m_address) code = connectDevice(*socket, *m_address, wake());
        if (code == 0) return socket;
        refusal = explainBluetooth(code);
        return nullptr;
    }

    DWORD connect(ByteSpan address, std::uint32_t& outcome) {
        const int code = address.size() < std::tuple_size_v<BluetoothAddress>
                             ? WSAEINVAL
                             : connectDevice(*socket(), address, wake());
        outcome = code == 0 ? 0 : 1;
        return static_cast<DWORD>(code);
    }

    // A link that is not connected, or no longer, fails at a pace that a reader can afford to try again at.
    DWORD waitForData(std::uint32_t& outcome) {
        constexpr DWORD kPace = 1000;
        const auto socket = this->socket();
        if (socket->hasConnected()) socket->waitReadable(kForever, wake());
        if (socket->hasConnected() && socket->queued() > 0) {
            outcome = kEventDataReady;
            return ERROR_SUCCESS;
        }
        return ::WaitForSingleObject(wake(), kPace) == WAIT_OBJECT_0 ? ERROR_OPERATION_ABORTED : kGone;
    }

    // A socket connects once: a new one takes its place, and who waits for the old one sees its end.
    DWORD reset() {
        Refusal refusal;
        SocketPointer fresh = makeSocket(refusal);
        if (!fresh) return refusal.code;
        const SocketPointer old = socket();
        replace(std::move(fresh));
        old->shutdown();
        return ERROR_SUCCESS;
    }

    const std::optional<BluetoothAddress> m_address;
};

}  // namespace

std::unique_ptr<Line> makeSocketLine(const std::string& place) {
    if (auto network = parseHostPort(place)) return std::make_unique<TcpLine>(std::move(*network));
    if (const auto address = parseBluetoothPlace(place)) return std::make_unique<BluetoothLine>(address);
    return nullptr;
}

std::unique_ptr<Line> makeBluetoothSockets() { return std::make_unique<BluetoothLine>(std::nullopt); }

}  // namespace vkcomm
