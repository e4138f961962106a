// Messages in the queue of a window.
#include "vkcomm/platform/window_target.h"

#include <gtest/gtest.h>

#include <thread>
#include <tuple>
#include <vector>

#include "vkcomm/platform/win32/windows_api.h"

namespace vkcomm {
namespace {

class Window : public testing::Test {
protected:
    using Row = std::tuple<UINT, WPARAM, LPARAM>;

    const HWND window =
        ::CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    WindowTarget target{window};

    void SetUp() override { ASSERT_NE(window, nullptr); }

    void TearDown() override { ::DestroyWindow(window); }

    std::vector<Row> waiting() const {
        std::vector<Row> rows;
        MSG message{};
        while (::PeekMessageW(&message, window, WM_SOCKET_DATA, WM_PORT_WRITE_ERROR, PM_REMOVE) != 0)
            rows.emplace_back(message.message, message.wParam, message.lParam);
        return rows;
    }
};

TEST_F(Window, GetsMessagesOfEveryThreadWithFullWidth) {
    const auto object = static_cast<std::intptr_t>(0x7123'4567'89AB'CDEF);
    std::thread([&] { target.post(WM_PORT_READ_ERROR, 5, object); }).join();
    target.post(WM_PORT_DATA, 0xFFFF'FFFF'0000'0001, 5);
    EXPECT_EQ(waiting(),
              (std::vector<Row>{{WM_PORT_READ_ERROR, 5, object}, {WM_PORT_DATA, 0xFFFF'FFFF'0000'0001, 5}}));
}

TEST_F(Window, ForgetsThoseOfOneSenderAlone) {
    target.post(WM_SOCKET_DATA, 1, 100);
    target.post(WM_SOCKET_DATA, 2, 200);
    target.post(WM_SOCKET_CLOSED, 3, 0);
    target.post(WM_SOCKET_DATA, 4, 100);
    target.post(WM_SOCKET_DATA, 5, 300);
    target.forget(WM_SOCKET_DATA, 100);
    EXPECT_EQ(waiting(), (std::vector<Row>{
                             {WM_SOCKET_CLOSED, 3, 0}, {WM_SOCKET_DATA, 2, 200}, {WM_SOCKET_DATA, 5, 300}}));
}

TEST_F(Window, ForgettingKeepsTheWishToEndTheProgram) {
    ::PostQuitMessage(7);
    target.forget(WM_PORT_DATA, 1);
    MSG message{};
    ASSERT_NE(::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE), 0);
    EXPECT_EQ(message.message, UINT{WM_QUIT});
    EXPECT_EQ(message.wParam, 7u);
}

TEST_F(Window, ThatIsNoneGetsNothingAndForgetsNothing) {
    WindowTarget none(nullptr);
    none.post(WM_PORT_DATA, 1, 5);
    MSG message{};
    EXPECT_EQ(::PeekMessageW(&message, nullptr, WM_PORT_DATA, WM_PORT_DATA, PM_REMOVE), 0);
    target.post(WM_PORT_DATA, 1, 5);
    none.forget(WM_PORT_DATA, 5);
    EXPECT_EQ(waiting().size(), 1u);
}

TEST_F(Window, ThatIsGoneGetsNothing) {
    ::DestroyWindow(window);
    target.post(WM_PORT_DATA, 1, 1);
    target.forget(WM_PORT_DATA, 1);
}

}  // namespace
}  // namespace vkcomm
