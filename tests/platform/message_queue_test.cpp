#include "vkcomm/platform/message_queue.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <thread>
#include <vector>

#include "sim/random.h"

namespace vkcomm {

void PrintTo(const Message& message, std::ostream* out) {
    *out << message.id << "(" << message.wParam << ", " << message.lParam << ") x" << message.count;
}

namespace {

using namespace std::chrono_literals;
using Messages = std::vector<Message>;

Message portData(unsigned int bytes, int port, unsigned int count = 1) {
    return {WM_PORT_DATA, bytes, port, count};
}

// The port with a number is the object with ten times that address.
Message readError(unsigned int port, unsigned int count = 1) {
    return {WM_PORT_READ_ERROR, port, static_cast<std::intptr_t>(port) * 10, count};
}

Message writeError(unsigned int port, unsigned int count = 1) {
    return {WM_PORT_WRITE_ERROR, port, static_cast<std::intptr_t>(port) * 10, count};
}

Message socketData(unsigned int bytes, std::intptr_t socket, unsigned int count = 1) {
    return {WM_SOCKET_DATA, bytes, socket, count};
}

Message status(unsigned int value, unsigned int count = 1) { return {WM_SOCKET_STATUS, value, 0, count}; }

Message closed(unsigned int last) { return {WM_SOCKET_CLOSED, last, 0}; }

Message own(unsigned int value) { return {5000, value, 0}; }

void post(MessageQueue& queue, const Messages& messages) {
    for (const Message& message : messages)
        queue.post(message.id, message.wParam, message.lParam);
}

Messages fetchAll(MessageQueue& queue) {
    Messages messages;
    while (const auto message = queue.fetch())
        messages.push_back(*message);
    return messages;
}

struct Joining {
    const char* name;
    std::size_t capacity;
    Messages posted;
    Messages fetched;
};

TEST(MessageQueue, JoinsOnlyWhatItMay) {
    const Joining cases[] = {
        {"data stays apart while there is room",
         3,
         {portData(1, 1), portData(2, 1)},
         {portData(1, 1), portData(2, 1)}},
        {"a full queue adds up", 1, {portData(1, 1), portData(2, 1), portData(3, 1)}, {portData(6, 1, 3)}},
        {"of each port and socket by itself",
         3,
         {portData(1, 1), portData(2, 2), socketData(4, 1), portData(8, 1), socketData(16, 1),
          portData(32, 2)},
         {portData(9, 1, 2), portData(34, 2, 2), socketData(20, 1, 2)}},
        {"what finds nothing to join goes beyond",
         1,
         {portData(1, 1), portData(2, 2)},
         {portData(1, 1), portData(2, 2)}},
        {"data joins what waits before an error",
         1,
         {portData(1, 1), readError(1), portData(2, 1), readError(1)},
         {portData(3, 1, 2), readError(1, 2)}},
        {"socket data passes no socket event",
         1,
         {socketData(1, 9), status(0), socketData(2, 9)},
         {socketData(1, 9), status(0), socketData(2, 9)}},
        {"equal errors in a row are counted",
         9,
         {readError(1), readError(1), writeError(1), readError(1)},
         {readError(1, 2), writeError(1), readError(1)}},
        {"errors of two ports are not equal", 9, {readError(1), readError(2)}, {readError(1), readError(2)}},
        {"a full queue counts errors apart",
         2,
         {readError(1), readError(2), readError(1), readError(2)},
         {readError(1, 2), readError(2, 2)}},
        {"and by kind",
         1,
         {readError(1), writeError(1), readError(1), writeError(1)},
         {readError(1, 2), writeError(1, 2)}},
        {"a refused connection is an error", 9, {status(0), status(0), status(2)}, {status(0, 2), status(2)}},
        {"a connection made is not", 1, {status(1), status(1)}, {status(1), status(1)}},
        {"the last status of all is last",
         1,
         {status(0), status(1), status(0)},
         {status(0), status(1), status(0)}},
        {"a closed socket is told every time", 1, {closed(0), closed(0)}, {closed(0), closed(0)}},
        {"messages of the host's own are kept", 1, {own(1), own(1)}, {own(1), own(1)}},
        {"sums stop at the largest number",
         1,
         {portData(0, 1), Message{WM_PORT_DATA, ~std::uintptr_t{0}, 1}, portData(5, 1)},
         {Message{WM_PORT_DATA, ~std::uintptr_t{0}, 1, 3}}},
    };
    for (const Joining& each : cases) {
        MessageQueue queue(each.capacity);
        post(queue, each.posted);
        EXPECT_EQ(fetchAll(queue), each.fetched) << each.name;
    }
}

TEST(MessageQueue, ForgetsWhatCarriesAClosedObject) {
    MessageQueue queue;
    post(queue, {portData(1, 1), readError(1), readError(2), writeError(1), socketData(1, 10)});
    queue.forget(WM_PORT_READ_ERROR, 10);
    EXPECT_EQ(fetchAll(queue), (Messages{portData(1, 1), readError(2), writeError(1), socketData(1, 10)}));
}

// Four ports with data and errors, fetched now and then: all come out, and what waits is bounded.
TEST(MessageQueue, LosesNothingWhateverIsPosted) {
    constexpr std::size_t kCapacity = 8, kKinds = 8;
    for (unsigned int seed = 1; seed <= 50; ++seed) {
        sim::Random random(seed);
        MessageQueue queue(kCapacity);
        std::map<std::intptr_t, std::uintptr_t> bytes;  // posted less fetched
        std::map<std::uintptr_t, int> errors;
        const auto fetchOne = [&] {
            const auto message = queue.fetch();
            if (!message) return false;
            if (message->id == WM_PORT_DATA)
                bytes[message->lParam] -= message->wParam;
            else
                errors[message->wParam] -= static_cast<int>(message->count);
            return true;
        };
        for (int step = 0; step < 500; ++step) {
            const unsigned int port = random.below(4);
            if (random.below(8) == 0) {
                ++errors[port];
                post(queue, {readError(port)});
            } else {
                const unsigned int size = random.below(100);
                bytes[static_cast<int>(port)] += size;
                post(queue, {portData(size, static_cast<int>(port))});
            }
            ASSERT_LE(queue.size(), kCapacity + kKinds) << "seed " << seed;
            if (random.below(3) == 0) fetchOne();
        }
        while (fetchOne()) {
        }
        for (const auto& [port, left] : bytes)
            EXPECT_EQ(left, 0u) << "port " << port << ", seed " << seed;
        for (const auto& [port, left] : errors)
            EXPECT_EQ(left, 0) << "port " << port << ", seed " << seed;
    }
}

TEST(MessageQueue, HandsOverBetweenThreads) {
    constexpr unsigned int kPosts = 2000;
    MessageQueue queue(4);
    std::vector<std::thread> posters;
    for (int port = 1; port <= 3; ++port)
        posters.emplace_back([&queue, port] {
            for (unsigned int i = 0; i < kPosts; ++i)
                queue.post(WM_PORT_DATA, 1, port);
        });
    std::map<std::intptr_t, std::uintptr_t> bytes;
    while (bytes[1] + bytes[2] + bytes[3] < 3 * kPosts)
        if (const auto message = queue.wait(10s)) bytes[message->lParam] += message->wParam;
    for (std::thread& poster : posters)
        poster.join();
    EXPECT_EQ(bytes[1], kPosts);
    EXPECT_EQ(bytes[3], kPosts);
    EXPECT_FALSE(queue.wait(0ms));
}

}  // namespace
}  // namespace vkcomm
