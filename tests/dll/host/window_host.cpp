// A host with a window: its procedure gets what ports and sockets post, across the boundary of the DLL. (All but
// WM_SOCKET_CLOSED, which comes of an error in receiving: Wine takes a connection that was reset for one that ended.)
#include "framework_macros.h"

#include <vkcomm/vkcomm.h>

#include <vkcomm/platform/listener.h>

using namespace vkcomm;

int frameworkSum();

namespace {

struct Seen {
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
};

std::vector<Seen> seen;

LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message >= WM_SOCKET_DATA && message <= WM_PORT_WRITE_ERROR) {
        seen.push_back({message, wParam, lParam});
        return 0;
    }
    return ::DefWindowProcW(window, message, wParam, lParam);
}

HWND makeWindow() {
    WNDCLASSW kind{};
    kind.lpfnWndProc = procedure;
    kind.hInstance = ::GetModuleHandleW(nullptr);
    kind.lpszClassName = L"VkcommHost";
    ::RegisterClassW(&kind);
    return ::CreateWindowExW(0, kind.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, kind.hInstance,
                             nullptr);
}

// Handles messages until one is of that kind; gives the first such.
Seen await(UINT message) {
    for (;;) {
        for (std::size_t i = 0; i < seen.size(); ++i)
            if (seen[i].message == message) {
                const Seen found = seen[i];
                seen.erase(seen.begin() + static_cast<std::ptrdiff_t>(i));
                return found;
            }
        MSG next;
        ::GetMessageW(&next, nullptr, 0, 0);
        ::DispatchMessageW(&next);
    }
}

int failures = 0;

void expect(bool isSo, const char* what) {
    if (isSo) return;
    std::printf("not so: %s\n", what);
    ++failures;
}

constexpr char kSentence[] =
    "$GPGGA,120000.00,5130.0000000,N,00007.0000000,W,1,08,1.0,50.0,M,47.0,M,,*49\r\n";

std::wstring writeRecording() {
    std::string line(kSentence);
    unsigned int sum = 0;
    for (std::size_t i = 1; line[i] != '*'; ++i)
        sum ^= static_cast<unsigned char>(line[i]);
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02X", sum);
    line.replace(line.find('*') + 1, 2, digits);
    std::ofstream("host_test.bin", std::ios::binary) << line << line;
    return L"host_test.bin";
}

void playsAFile(WindowTarget& target) {
    CTrimblePort port;
    port.EnableVirtualPort(true);
    port.SetVirtualPortFile(writeRecording());
    port.SetVirtualPortSpeed(100'000);
    expect(port.bOpenPort(&target, 6, 115200) == 1, "the recording opens");
    const Seen data = await(WM_PORT_DATA);
    expect(data.lParam == 6 && data.wParam == 2 * (sizeof kSentence - 1), "data: count and port number");
    CNmeaFormat nmea;
    int fixes = 0;
    while (port.Decoder().Read() == CNOut::RETURN_COMPLETE)
        fixes += nmea.bProcessGGA(port.Decoder().Get());
    expect(fixes == 2, "two sentences decoded");
    expect(CNOEM4Format().strGetGPGGA().substr(0, 7) == L"$GPGGA,", "a string made inside is read outside");
    port.vClosePort();
}

void losesAReceiver(WindowTarget& target) {
    SystemError error;
    auto listener = openListener("127.0.0.1", 0, error);
    portMap().map(9, "tcp://127.0.0.1:" + std::to_string(listener->port()));
    CMySerialPort port;
    expect(port.InitPort(&target, 9, 115200) == 1 && port.StartMonitoring() == 1, "the receiver opens");
    auto receiver = listener->accept(std::chrono::seconds(10));
    const unsigned char bytes[] = {'h', 'o', 's', 't'};
    expect(port.WriteToPort(bytes, sizeof bytes, 0, 0, 1) == sizeof bytes, "a request is taken");
    unsigned char echo[8];
    std::size_t size = 0;
    while (size < sizeof bytes)
        size += receiver->read(std::span(echo).subspan(size)).value_or(sizeof bytes);
    receiver->write(std::span(echo).first(size));
    const Seen data = await(WM_PORT_DATA);
    expect(data.wParam == sizeof bytes && data.lParam == 9, "data of the receiver");
    receiver.reset();
    const Seen lost = await(WM_PORT_READ_ERROR);
    expect(lost.wParam == 9 && lost.lParam == reinterpret_cast<LPARAM>(&port),
           "read error: port number and object");
    for (;;) {  // a connection takes some before it knows
        port.WriteToPort(bytes, sizeof bytes, 0, 0, 1);
        if (port.Counters().writeErrors > 0) break;
        ::Sleep(10);
    }
    const Seen failed = await(WM_PORT_WRITE_ERROR);
    expect(failed.wParam == 9 && failed.lParam == reinterpret_cast<LPARAM>(&port),
           "write error: port number and object");
    port.vClosePort();
    MSG left;
    expect(::PeekMessageW(&left, nullptr, WM_PORT_DATA, WM_PORT_WRITE_ERROR, PM_REMOVE) == 0,
           "closing takes messages back");
    seen.clear();
}

void readsACaster(WindowTarget& target) {
    SystemError error;
    auto listener = openListener("127.0.0.1", 0, error);
    StartWSA();
    {
        CVRSSocket socket;
        expect(socket.Create(CCESocket::SOCKET_TCP, &target) == 1, "a socket is made");
        expect(socket.Connect(L"127.0.0.1", listener->port()) == 1, "it connects");
        auto caster = listener->accept(std::chrono::seconds(10));
        expect(await(WM_SOCKET_STATUS).wParam == 1, "status: connected");
        const unsigned char corrections[] = {0xD3, 0x00, 0x00};
        caster->write(corrections);
        const Seen data = await(WM_SOCKET_DATA);
        expect(data.wParam == sizeof corrections &&
                   data.lParam == reinterpret_cast<LPARAM>(static_cast<CCESocket*>(&socket)),
               "data: count and object");
        unsigned char taken[8];
        expect(socket.Read(taken) == sizeof corrections && taken[0] == 0xD3, "and its bytes");
        caster.reset();
        expect(await(WM_SOCKET_STATUS).wParam == 0, "status: the peer has closed");
        socket.Disconnect();
    }
    CloseWSA();
}

}  // namespace

int main() {
    const HWND window = makeWindow();
    WindowTarget target(window);
    playsAFile(target);
    losesAReceiver(target);
    readsACaster(target);
    expect(frameworkSum() == 7, "the framework's classes are its own");
    std::printf(failures == 0 ? "the host is content\n" : "%d failures\n", failures);
    return failures == 0 ? 0 : 1;
}
