#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "vkcomm/platform/byte_server.h"
#include "vkcomm/platform/listener.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

using namespace std::chrono_literals;

class TcpServer final : public ByteServer {
public:
    TcpServer(std::string host, std::unique_ptr<Listener> listener)
        : m_host(std::move(host)), m_listener(std::move(listener)) {}

    std::string address() const override {
        const bool isIpv6 = m_host.find(':') != std::string::npos;
        std::string text = isIpv6 ? "tcp://[" + m_host + "]:" : "tcp://" + m_host + ":";
        appendInteger(text, m_listener->port());
        return text;
    }

    std::size_t clients() override {
        while (auto connection = m_listener->accept(0ms))
            m_clients.push_back(std::move(connection));
        return m_clients.size();
    }

    std::size_t write(ByteSpan bytes) override {
        std::size_t lost = clients() == 0 ? bytes.size() : 0;
        std::erase_if(m_clients, [&](const auto& client) {
            const auto taken = client->write(bytes);
            if (taken) lost = std::max(lost, bytes.size() - *taken);
            return !taken;
        });
        return lost;
    }

    std::size_t read(std::span<unsigned char> buffer) override {
        std::size_t size = 0;
        std::erase_if(m_clients, [&](const auto& client) {
            if (size != 0) return false;
            const auto taken = client->read(buffer);
            size = taken.value_or(0);
            return !taken;
        });
        return size;
    }

private:
    const std::string m_host;
    const std::unique_ptr<Listener> m_listener;
    std::vector<std::unique_ptr<Connection>> m_clients;
};

}  // namespace

std::unique_ptr<ByteServer> openTcpServer(const std::string& address, std::uint16_t port,
                                          SystemError& error) {
    auto listener = openListener(address, port, error);
    return listener ? std::make_unique<TcpServer>(address, std::move(listener)) : nullptr;
}

}  // namespace vkcomm
