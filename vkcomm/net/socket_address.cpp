#include "vkcomm/net/socket_address.h"

#include "vkcomm/util/numbers.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

int CSockAddrIn::CreateFrom(const std::wstring& host, unsigned int port, Network& network) {
    if (port > 0xFFFF) return 0;
    const auto address = network.resolve(toUtf8(host));
    if (!address) return 0;
    m_value = {*address, static_cast<std::uint16_t>(port)};
    return 1;
}

std::wstring dottedText(std::uint32_t address) {
    std::string text;
    appendFormat(text, "%u.%u.%u.%u", address >> 24, address >> 16 & 0xFF, address >> 8 & 0xFF,
                 address & 0xFF);
    return {text.begin(), text.end()};
}

}  // namespace vkcomm
