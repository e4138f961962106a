// A port on a fake device, clock and disk, and an owner that notes the messages.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <future>

#include "tests/ports/fake_clock.h"
#include "tests/ports/fake_device.h"
#include "vkcomm/ports/my_serial_port.h"

namespace vkcomm {

struct Posted {
    unsigned int id;
    std::uintptr_t wParam;
    std::intptr_t lParam;

    friend bool operator==(const Posted&, const Posted&) = default;
};

class FakeOwner final : public MessageTarget {
public:
    std::function<void(const Posted&)> handler;  // set before the port runs; called in post

    void post(unsigned int message, std::uintptr_t wParam, std::intptr_t lParam) override {
        {
            const std::scoped_lock lock(m_lock);
            m_posted.push_back({message, wParam, lParam});
            m_changed.notify_all();
        }
        if (handler) handler({message, wParam, lParam});
    }

    void forget(unsigned int message, std::intptr_t lParam) override {
        const std::scoped_lock lock(m_lock);
        m_forgotten.push_back({message, 0, lParam});
    }

    // The first so many messages, once there are that many.
    std::vector<Posted> await(std::size_t count) {
        std::unique_lock lock(m_lock);
        m_changed.wait(lock, [&] { return m_posted.size() >= count; });
        return m_posted;
    }

    std::vector<Posted> posted() { return await(0); }

    std::vector<Posted> forgotten() {
        const std::scoped_lock lock(m_lock);
        return m_forgotten;
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<Posted> m_posted;
    std::vector<Posted> m_forgotten;
};

// Files in memory: those that can be read, and one place to write to.
class FakeFiles final : public ByteFiles {
public:
    std::map<std::wstring, std::string> readable;
    std::string written;
    std::size_t diskSize = 1 << 20;
    std::vector<std::string> calls;

    std::unique_ptr<ByteFile> open(const std::wstring& path, unsigned int flags,
                                   SystemError& error) override {
        calls.push_back("open " + std::to_string(flags));
        if ((flags & kFileWrite) != 0 || readable.contains(path))
            return std::make_unique<File>(*this, readable[path]);
        error = {"cannot open", 2, "missing"};
        return nullptr;
    }

private:
    class File final : public ByteFile {
    public:
        File(FakeFiles& files, std::string bytes) : m_files(files), m_bytes(std::move(bytes)) {}

        std::size_t read(std::span<unsigned char> buffer, SystemError&) override {
            const std::size_t count = std::min(buffer.size(), m_bytes.size() - m_at);
            std::copy_n(m_bytes.begin() + static_cast<std::ptrdiff_t>(m_at), count, buffer.begin());
            m_at += count;
            return count;
        }

        std::size_t write(ByteSpan bytes, SystemError& error) override {
            const std::size_t count = std::min(bytes.size(), m_files.diskSize - m_files.written.size());
            m_files.written.append(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
            if (count < bytes.size()) error = {"cannot write", 28, "full"};
            return count;
        }

        bool seekToEnd() override {
            m_files.calls.push_back("seekToEnd");
            return true;
        }

    private:
        FakeFiles& m_files;
        std::string m_bytes;
        std::size_t m_at = 0;
    };
};

class PortTest : public testing::Test {
protected:
    static constexpr unsigned int kPort = 5;

    PortTest() { useFakes(port); }

    void useFakes(CSerialPort& user) {
        user.vSetClock(clock);
        user.vSetDevices(devices);
        user.vSetFiles(files);
    }

    // A device whose reader finds these passes and then waits.
    std::shared_ptr<FakeDevice> deviceWith(std::deque<Pass> passes) {
        auto device = devices.add();
        device->passes = std::move(passes);
        device->passes.push_back(block());
        return device;
    }

    void open() {
        ASSERT_EQ(port.InitPort(&owner, kPort, 9600), 1);
        ASSERT_EQ(port.StartMonitoring(), 1);
    }

    void write(const std::string& text, int delay = 0, unsigned long group = 0) {
        const ByteSpan bytes = bytesOf(text);
        const auto size = static_cast<unsigned long>(bytes.size());
        EXPECT_EQ(port.WriteToPort(bytes.data(), size, delay, group, 1), size);
    }

    void add(const std::string& text, int delay, unsigned long group) {
        port.AddToPort(bytesOf(text).data(), static_cast<unsigned long>(text.size()), delay, group);
    }

    Posted dataMessage(std::size_t bytes) const { return {WM_PORT_DATA, bytes, kPort}; }

    Posted errorMessage(unsigned int id) const {
        return {id, kPort, reinterpret_cast<std::intptr_t>(static_cast<const CSerialPort*>(&port))};
    }

    FakeClock clock;
    FakeDevices devices;
    FakeFiles files;
    FakeOwner owner;
    CMySerialPort port;
};

}  // namespace vkcomm
