// A caster's end of connections, without a caster's pace: it says what it is told to, when it is told to.
#pragma once

#include <array>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "host/caster_relay.h"
#include "sim/rtcm3_encoder.h"
#include "vkcomm/platform/listener.h"

namespace vkcomm::bench {

class CasterEnd {
public:
    CasterEnd() {
        SystemError error;
        m_listener = openListener("127.0.0.1", 0, error);
    }

    CasterUrl url() const {
        CasterUrl url;
        url.host = "127.0.0.1";
        url.port = m_listener->port();
        url.mount = "BENCH";
        return url;
    }

    // The next client, once it has got the answer to its request; null when none comes.
    std::unique_ptr<Connection> accept() {
        auto connection = m_listener->accept(std::chrono::seconds(20));
        std::string request;
        std::array<unsigned char, 1024> buffer;
        while (connection && request.find("\r\n\r\n") == request.npos) {
            const auto count = connection->read(buffer);
            if (!count) return nullptr;
            request.append(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(*count));
        }
        static constexpr std::string_view kAnswer = "ICY 200 OK\r\n\r\n";
        if (connection)
            connection->write({reinterpret_cast<const unsigned char*>(kAnswer.data()), kAnswer.size()});
        return connection;
    }

private:
    std::unique_ptr<Listener> m_listener;
};

// Messages of the given size with their frames, no two of them alike.
inline sim::Piece correctionFrames(int count, std::size_t size) {
    sim::Piece frames;
    for (int number = 0; number < count; ++number) {
        std::vector<unsigned char> message(size - 6, static_cast<unsigned char>(number));
        message[0] = 0x3E;  // 1004
        message[1] = 0xC0;
        storeBe(&message[2], static_cast<std::uint32_t>(number));
        sim::addRtcm3Frame(message, frames);
    }
    return frames;
}

}  // namespace vkcomm::bench
