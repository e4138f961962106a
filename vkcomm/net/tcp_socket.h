// A client socket, TCP or UDP, with a reader thread of its own.
//
// The host creates the object, calls Create and Connect, and learns what happens from messages posted to the
// owner it gave to Create:
//
//   WM_SOCKET_STATUS  1068  wParam 1 connected, 0 connect failed or peer closed, 2 receive error; lParam 0
//   WM_SOCKET_DATA    1065  wParam bytes received, lParam the socket object
//   WM_SOCKET_CLOSED  1066  wParam last receive count, lParam 0: the reader ended while the socket was open
//
// A peer that closes shows as reads of nothing; they are paced, so that the closing is told after about a
// second (more than 100 such reads in a row) and again each second while the socket stays open.
//
// Threads: Create and Connect are for one thread at a time. Everything else may come from any thread, Disconnect also
// while another one sends or connects, which then gives 0 unless its reader runs already. Disconnect and destruction
// wait for the reader, except on the reader's own thread (an owner that handles messages while they are posted), where
// the reader ends by itself after the handler; it touches nothing but state it owns together with the object. After
// Disconnect nothing is posted; messages 1066 and 1068 that wait in the owner's queue do not name their socket and
// stay there.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>

#include "vkcomm/export.h"
#include "vkcomm/net/socket_address.h"
#include "vkcomm/platform/clock.h"
#include "vkcomm/platform/message_target.h"
#include "vkcomm/platform/network.h"
#include "vkcomm/util/receive_buffer.h"

namespace vkcomm {

// Starts and stops the system's sockets, once for the whole library. Without a start no socket can be created.
// A test gives a network of its own; it must outlive all sockets.
VKCOMM_API void StartWSA(Network& network = systemNetwork());
VKCOMM_API void CloseWSA();

class VKCOMM_API CCESocket {
public:
    enum SOCKET_TYPE { SOCKET_TCP = 1, SOCKET_UDP = 2 };

    enum SOCKET_STATE { SOCKET_NONE = 0, SOCKET_CREATED = 2, SOCKET_CONNECTED = 3 };

    explicit CCESocket(Clock& clock = systemClock());
    // The settings and the bytes waiting in the buffer; the copy has no socket and no reader of its own.
    CCESocket(const CCESocket& other);
    // The same; a socket that is open here is disconnected first.
    CCESocket& operator=(const CCESocket& other);
    virtual ~CCESocket();

    // Opens a socket: type 1 TCP (which closes gracefully), 2 UDP. 0 without StartWSA, when a socket is open
    // already, for another type, or when the system refuses. owner gets the messages (null: nobody) and must
    // live until Disconnect.
    int Create(int type, MessageTarget* owner);

    // host: dotted text or a name, which is resolved here and now. TCP: 1 says that the reader was started,
    // which makes the connection and posts whether it stands; UDP: the socket is connected. 0, posting
    // nothing, for a port above 65535, an unknown host, or a socket that is not open or already connected.
    // A UDP socket may be connected again to a new peer. Takes half a second.
    int Connect(const std::wstring& host, unsigned int port);

    // Ends the connection and the reader and closes the socket; bytes received stay. Does nothing when there
    // is none.
    void Disconnect();

    // Sends all bytes and returns their number; fewer when the connection broke on the way or took nothing
    // more for half a minute; -1 when none were sent or the socket is not connected. The text form sends the
    // low 8 bits of each character.
    int Send(const unsigned char* bytes, int length);
    int Send(ByteSpan bytes);
    int Send(const std::wstring& text);

    // Bytes waiting in the receive buffer.
    int GetDataSize() const;
    // Takes up to out.size() waiting bytes and returns their number.
    int Read(std::span<unsigned char> out);
    // Calls use with the buffer, under its lock: keep it short and call nothing of this socket. Bytes in
    // front of the sync mark make room for new ones. While less than 2048 bytes of room are left a TCP reader
    // receives nothing and the peer has to wait; datagrams that do not fit cost everything that is buffered.
    void WithBuffer(const std::function<void(CnBuffer&)>& use);
    // Datagrams and buffered bytes lost for want of room, in bytes.
    unsigned long long LostBytes() const;

    int GetSocketType() const;
    int GetSocketState() const;
    // 1 from the connection until its end.
    int IsConnected() const;
    // 1 from Connect until the reader has ended.
    int IsReaderRunning() const;
    // Non-zero: a peer that closes is not reported.
    void vSetRead0Flag(int flag);
    // Why the last Create, Connect (the reader's part of it too), Send or receive failed.
    SystemError Error() const;

    // The name of this machine; empty when unknown.
    std::wstring GetLocalName() const;
    // The address, dotted, and the port that this end of the open socket has; empty and 0 without one.
    std::wstring GetIPAddress() const;
    unsigned int GetPortNumber() const;
    // The first address of this machine's name, dotted; empty when unknown.
    std::wstring GetLocalAddress() const;
    // The same as plain text (the name is spelled so); valid until the next call of this
    // operation; one thread at a time.
    const char* lpGetLocoalAddress();
    // Who sent the last datagram.
    CSockAddrIn SenderAddress() const;

private:
    struct VKCOMM_NO_EXPORT Link;
    struct VKCOMM_NO_EXPORT Session;

    void copySettings(const CCESocket& other);
    bool startReader(const std::shared_ptr<Session>& session);

    std::shared_ptr<Link> m_link;
    Clock* m_clock;
    std::string m_localAddress;
};

}  // namespace vkcomm
