#include "vkcomm/platform/byte_server.h"
#include "vkcomm/platform/win32/windows_api.h"

namespace vkcomm {

std::unique_ptr<ByteServer> openPtyServer(SystemError& error) {
    error = {"cannot make a pseudo-terminal", ERROR_NOT_SUPPORTED,
             "Windows has none; serve a TCP port instead, or pair two ports by a null-modem driver"};
    return nullptr;
}

std::unique_ptr<ByteServer> openLocalServer(SystemError& error) {
    return openTcpServer("127.0.0.1", 0, error);
}

}  // namespace vkcomm
