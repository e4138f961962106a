// The home of the interfaces' tables of virtual functions: a program has each of them once, and the list of what the
// library exports shows when an interface gets another operation.
#include "vkcomm/platform/byte_file.h"
#include "vkcomm/platform/byte_server.h"
#include "vkcomm/platform/clock.h"
#include "vkcomm/platform/comm_device.h"
#include "vkcomm/platform/listener.h"
#include "vkcomm/platform/message_target.h"
#include "vkcomm/platform/network.h"
#include "vkcomm/platform/registry.h"

namespace vkcomm {

ByteFile::~ByteFile() = default;
ByteFiles::~ByteFiles() = default;
ByteServer::~ByteServer() = default;
Clock::~Clock() = default;
CommDevice::~CommDevice() = default;
CommDevices::~CommDevices() = default;
Connection::~Connection() = default;
Listener::~Listener() = default;
MessageTarget::~MessageTarget() = default;
NetSocket::~NetSocket() = default;
Network::~Network() = default;
Registry::~Registry() = default;
RegistryKey::~RegistryKey() = default;

}  // namespace vkcomm
