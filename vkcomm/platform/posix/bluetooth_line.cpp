// Bluetooth serial links over RFCOMM sockets of the kernel.
#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <system_error>

#include "vkcomm/platform/device_place.h"
#include "vkcomm/platform/posix/stream_socket.h"

namespace vkcomm {

namespace {

using namespace std::chrono_literals;

// As the kernel defines them; its header comes with a library that nothing else here needs.
constexpr int kBluetoothFamily = 31;
constexpr int kRfcomm = 3;

struct RfcommAddress {
    sa_family_t family;
    std::array<unsigned char, 6> device;  // the byte that people write first is the last
    unsigned char channel;
};

// Receivers offer their serial port on the first channel.
constexpr unsigned char kSerialChannel = 1;

// Paging a device and building the link may take most of this.
constexpr auto kConnectTime = 20s;

constexpr std::size_t kAddressSize = 6;

int connectDevice(int fd, ByteSpan device, int wake) {
    RfcommAddress address{kBluetoothFamily, {}, kSerialChannel};
    std::ranges::copy(device.first(kAddressSize), address.device.rbegin());
    const auto* general = static_cast<const sockaddr*>(static_cast<const void*>(&address));
    return connectStream(fd, general, sizeof address, kConnectTime, wake);
}

Refusal explain(int code) {
    const std::string words = std::generic_category().message(code);
    const bool noBluetooth = code == EAFNOSUPPORT || code == EPROTONOSUPPORT || code == ESOCKTNOSUPPORT;
    return {kErrorNotFound, code,
            words + (noBluetooth ? "; this system has no Bluetooth: load its driver (modprobe rfcomm)"
                                 : "; is the receiver switched on, near and paired?")};
}

// With an address open connects to it; without, it is the driver, which is told later where to connect.
class BluetoothLine final : public ConnectionLine {
public:
    explicit BluetoothLine(std::optional<BluetoothAddress> address) : m_address(address) {}

    Descriptor open(Refusal& refusal, int wake) override {
        Descriptor fd = makeStreamSocket(kBluetoothFamily, kRfcomm);
        int code = fd ? 0 : errno;
        if (code == 0 && m_address) code = connectDevice(fd.get(), *m_address, wake);
        if (code == 0) return fd;
        refusal = explain(code);
        return Descriptor();
    }

    bool isDriver() const override { return !m_address; }

    int connect(int fd, ByteSpan address, int wake) override {
        return address.size() < kAddressSize ? EINVAL : connectDevice(fd, address, wake);
    }

private:
    const std::optional<BluetoothAddress> m_address;
};

}  // namespace

std::unique_ptr<Line> makeBluetoothDriver() { return std::make_unique<BluetoothLine>(std::nullopt); }

std::unique_ptr<Line> makeBluetoothLine(const std::string& text) {
    const auto address = parseBluetoothPlace(text);
    return address ? std::make_unique<BluetoothLine>(address) : nullptr;
}

}  // namespace vkcomm
