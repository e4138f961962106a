// An IPv4 address and port as a value.
#pragma once

#include <cstdint>
#include <string>

#include "vkcomm/export.h"
#include "vkcomm/platform/network.h"

namespace vkcomm {

// Addresses and ports are in the host's byte order. No operation fails but CreateFrom. A plain value.
class VKCOMM_API CSockAddrIn {
public:
    CSockAddrIn() = default;

    CSockAddrIn(std::uint32_t address, unsigned short port) : m_value{address, port} {}

    explicit CSockAddrIn(const SocketAddress& value) : m_value(value) {}

    // Address and port 0.
    void Clear() { m_value = {}; }

    int IsNull() const { return m_value == SocketAddress{} ? 1 : 0; }

    std::uint32_t GetIPAddr() const { return m_value.address; }

    unsigned short GetPort() const { return m_value.port; }

    // Bytes of the system's form of an IPv4 socket address.
    int Size() const { return 16; }

    void SetAddr(std::uint32_t address, unsigned short port) { m_value = {address, port}; }

    void Copy(const CSockAddrIn& other) { m_value = other.m_value; }

    // By address, then by port.
    int IsEqual(const CSockAddrIn& other) const { return m_value == other.m_value ? 1 : 0; }

    int IsGreater(const CSockAddrIn& other) const { return m_value > other.m_value ? 1 : 0; }

    int IsLower(const CSockAddrIn& other) const { return m_value < other.m_value ? 1 : 0; }

    // From dotted text, or the first address of a name, which waits for the resolver. 0, changing nothing, when
    // the name does not resolve or the port is above 65535.
    int CreateFrom(const std::wstring& host, unsigned int port, Network& network = systemNetwork());

    const SocketAddress& value() const { return m_value; }

private:
    SocketAddress m_value;
};

// "192.168.0.1"
VKCOMM_API std::wstring dottedText(std::uint32_t address);

}  // namespace vkcomm
