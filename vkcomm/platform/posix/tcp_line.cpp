// Receivers that serve their stream on a TCP port.
#include <cerrno>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <optional>
#include <system_error>

#include "vkcomm/platform/device_place.h"
#include "vkcomm/platform/posix/stream_socket.h"

namespace vkcomm {

namespace {

using namespace std::chrono_literals;

constexpr auto kConnectTime = 5s;

struct AddressesDeleter {
    void operator()(addrinfo* addresses) const { ::freeaddrinfo(addresses); }
};

using Addresses = std::unique_ptr<addrinfo, AddressesDeleter>;

Addresses resolve(const HostPort& place, Refusal& refusal) {
    addrinfo wanted{};
    wanted.ai_socktype = SOCK_STREAM;
    wanted.ai_flags = AI_NUMERICSERV;
    addrinfo* found = nullptr;
    const int code = ::getaddrinfo(place.host.c_str(), place.port.c_str(), &wanted, &found);
    if (code != 0) {
        const int systemCode = code == EAI_SYSTEM ? errno : EHOSTUNREACH;
        refusal = {kErrorNotFound, systemCode, std::string(::gai_strerror(code)) + "; is the name right?"};
    }
    return Addresses(found);
}

// Small pieces go out at once, and a receiver that fell silent because its power or cable is gone is noticed
// within half a minute.
void tune(int fd) {
    struct Option {
        int level, name, value;
    };

    constexpr Option kOptions[] = {
        {IPPROTO_TCP, TCP_NODELAY, 1},   {SOL_SOCKET, SO_KEEPALIVE, 1},
        {IPPROTO_TCP, TCP_KEEPIDLE, 10}, {IPPROTO_TCP, TCP_KEEPINTVL, 5},
        {IPPROTO_TCP, TCP_KEEPCNT, 3},   {IPPROTO_TCP, TCP_USER_TIMEOUT, 25'000},
    };
    for (const Option& option : kOptions)
        static_cast<void>(::setsockopt(fd, option.level, option.name, &option.value, sizeof option.value));
}

class TcpLine final : public ConnectionLine {
public:
    explicit TcpLine(HostPort place) : m_place(std::move(place)) {}

    // The first address that answers.
    Descriptor open(Refusal& refusal, int wake) override {
        const Addresses addresses = resolve(m_place, refusal);
        for (const addrinfo* each = addresses.get(); each; each = each->ai_next) {
            Descriptor fd = makeStreamSocket(each->ai_family, each->ai_protocol);
            const int code =
                fd ? connectStream(fd.get(), each->ai_addr, each->ai_addrlen, kConnectTime, wake) : errno;
            if (code == 0) {
                tune(fd.get());
                return fd;
            }
            if (code == ECANCELED) {
                refusal = {kErrorNotFunctioning, code, "it was closed before anybody answered"};
                break;
            }
            refusal = {kErrorNotFound, code,
                       std::generic_category().message(code) +
                           "; is the receiver switched on, and are address and port right?"};
        }
        return Descriptor();
    }

private:
    const HostPort m_place;
};

}  // namespace

std::unique_ptr<Line> makeTcpLine(const std::string& text) {
    std::optional<HostPort> place = parseHostPort(text);
    return place ? std::make_unique<TcpLine>(std::move(*place)) : nullptr;
}

}  // namespace vkcomm
