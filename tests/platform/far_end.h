// The other end of a port under test: a pseudo-terminal or a TCP port, and the port opened on it.
#pragma once

#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include "vkcomm/platform/byte_server.h"
#include "vkcomm/platform/comm_device.h"
#include "vkcomm/platform/port_map.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm::test {

using Bytes = std::vector<unsigned char>;

enum class FarKind { kPty, kTcp };

// Those that this system has.
#ifdef _WIN32
inline constexpr FarKind kFarKinds[] = {FarKind::kTcp};
#else
inline constexpr FarKind kFarKinds[] = {FarKind::kPty, FarKind::kTcp};
#endif

inline std::unique_ptr<ByteServer> makeFarEnd(FarKind kind) {
    SystemError error;
    auto server = kind == FarKind::kPty ? openPtyServer(error) : openTcpServer("127.0.0.1", 0, error);
    EXPECT_TRUE(server) << error.message();
    return server;
}

inline std::wstring comName(const std::string& place) {
    return L"COM" + std::to_wstring(portMap().numberOf(place)) + L":";
}

// The steps that a port engine takes.
inline std::shared_ptr<CommDevice> openDevice(const std::string& place) {
    auto device = systemCommDevices().make();
    EXPECT_TRUE(device->open(comName(place), kRandomAccess)) << device->lastError().message();
    EXPECT_EQ(device->openError(), 0);
    CommState state;
    EXPECT_TRUE(device->setTimeouts({CommTimeouts::kReturnAtOnce, 0, 0, 10, 1000}));
    EXPECT_TRUE(device->setEventMask(kEventReceived));
    EXPECT_TRUE(device->getState(state));
    state.BaudRate = 115200;
    state.ByteSize = 8;
    EXPECT_TRUE(device->setState(state)) << device->lastError().message();
    EXPECT_TRUE(device->purge(15));
    return device;
}

inline Bytes everyByte(std::size_t size) {
    Bytes bytes(size);
    std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(0));
    return bytes;
}

inline void waitUntil(const std::function<bool()>& isSo) {
    while (!isSo())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

// Reads by events, as the engine does, until size bytes are there.
inline Bytes readFromDevice(CommDevice& device, std::size_t size) {
    Bytes bytes;
    while (bytes.size() < size) {
        std::uint32_t events = 0, queued = 0;
        EXPECT_TRUE(device.waitForEvent(events));
        EXPECT_EQ(events, kEventReceived);
        EXPECT_TRUE(device.bytesQueued(queued));
        Bytes piece(queued);
        piece.resize(device.read(piece));
        if (piece.empty()) break;
        bytes.insert(bytes.end(), piece.begin(), piece.end());
    }
    return bytes;
}

inline Bytes readFromServer(ByteServer& server, std::size_t size) {
    Bytes bytes;
    waitUntil([&] {
        Bytes piece(4096);
        piece.resize(server.read(piece));
        bytes.insert(bytes.end(), piece.begin(), piece.end());
        return bytes.size() >= size;
    });
    return bytes;
}

}  // namespace vkcomm::test
