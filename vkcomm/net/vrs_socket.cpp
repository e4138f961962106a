#include "vkcomm/net/vrs_socket.h"

namespace vkcomm {

// Deliberate: it stands here and not in the header, so that this library holds the class's virtual table.
CVRSSocket::~CVRSSocket() = default;

}  // namespace vkcomm
