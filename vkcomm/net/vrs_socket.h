// The socket through which a host fetches network corrections.
//
// The host sends its request, judges the caster's reply and relays what follows to the receiver; the library
// keeps four settings for it beside the socket and reads none of them.
#pragma once

#include "vkcomm/net/tcp_socket.h"

namespace vkcomm {

// A CCESocket in everything else; what it says of threads and copies holds here too. Copies carry the settings.
class VKCOMM_API CVRSSocket : public CCESocket {
public:
    using CCESocket::CCESocket;
    CVRSSocket(const CVRSSocket&) = default;
    CVRSSocket& operator=(const CVRSSocket&) = default;
    ~CVRSSocket() override;

    unsigned char m_uFirst = 0;
    unsigned char m_uSecond = 1;
    int m_nThird = 1;
    unsigned char m_uFourth = 0;
};

}  // namespace vkcomm
