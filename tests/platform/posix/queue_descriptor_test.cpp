// What a host's event loop sees of a message queue.
#include <gtest/gtest.h>

#include <poll.h>

#include "vkcomm/platform/message_queue.h"

namespace vkcomm {
namespace {

bool isReadable(int descriptor) {
    pollfd watched{descriptor, POLLIN, 0};
    return ::poll(&watched, 1, 0) == 1;
}

TEST(MessageQueue, ShowsItsDescriptorReadableWhileMessagesWait) {
    MessageQueue queue;
    queue.post(WM_PORT_READ_ERROR, 1, 10);
    const int descriptor = queue.descriptor();
    EXPECT_TRUE(isReadable(descriptor)) << "posted before the descriptor was asked for";
    queue.post(WM_PORT_DATA, 1, 1);
    queue.fetch();
    EXPECT_TRUE(isReadable(descriptor));
    queue.fetch();
    EXPECT_FALSE(isReadable(descriptor));
    queue.post(WM_PORT_READ_ERROR, 1, 10);
    EXPECT_TRUE(isReadable(descriptor));
    queue.forget(WM_PORT_READ_ERROR, 10);
    EXPECT_FALSE(isReadable(descriptor));
}

}  // namespace
}  // namespace vkcomm
