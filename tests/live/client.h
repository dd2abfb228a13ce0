// A voice client for tests: one backend, the devices it opens, and what the callbacks reported.
#pragma once

#include "plugin_library.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace live {

using Milliseconds = std::chrono::milliseconds;

struct Event {
    std::int32_t code;
    std::string deviceId;
    std::int32_t value;
};

struct LogLine {
    std::string deviceId;
    std::string text;
    std::int32_t level;
};

struct Format {
    std::uint32_t channels = 0;
    std::uint32_t bits = 0;
    std::uint32_t rate = 0;
    std::uint32_t mask = 0;
};

/// What the callbacks of one opening do; set before start, called on its worker thread.
struct Callbacks {
    std::function<std::int32_t(AudioBlock*)> play; ///< silence when not set
    std::function<void(const AudioBlock*, const AudioBlock*)> capture;
};

/// Waits until the condition holds, at most so long. Looks every few milliseconds.
bool waitUntil(const std::function<bool()>& condition, Milliseconds patience);

class Client;

/// One opening of a device. Its contextId is a number of its own.
class Device {
public:
    Device(Client& client, DeviceDirection direction, std::string id);

    BackendResult open();
    BackendResult start() const;
    BackendResult stop() const;
    BackendResult close() const;

    [[nodiscard]] std::uint64_t blocks() const { return *m_blocks; } ///< callbacks so far
    [[nodiscard]] bool waitForBlocks(std::uint64_t more, Milliseconds patience) const;

    Callbacks callbacks;
    Format format;
    const DeviceDirection direction;
    const std::string id;
    const std::uint32_t contextId;

private:
    friend class Client;
    Client& m_client;
    std::shared_ptr<std::atomic<std::uint64_t>> m_blocks;
};

class Client {
public:
    Client() = default;
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client();

    BackendResult initialize();
    /// Closes every device that was opened here, waits for them, and ends the backend.
    BackendResult finalize();

    std::vector<DeviceInfoRecord> devices(DeviceDirection direction);
    /// The device of that name; the empty text when there is none, which no open accepts.
    std::string idOf(DeviceDirection direction, const std::string& name);
    std::string defaultId(DeviceDirection direction);

    Device& device(DeviceDirection direction, const std::string& name);

    std::vector<Event> events() const;
    std::vector<LogLine> log(std::int32_t level) const;
    int strayBlocks() const { return m_strayBlocks; }

    PluginLibrary plugin;
    DirectSoundBackend* backend = nullptr;

private:
    friend class Device;
    /// Null, and counted, when there is none.
    Device* opening(std::uint32_t contextId);

    static void notify(void* client, std::int32_t event, const char* deviceId, std::int32_t value);
    static std::int32_t play(void* client, const char* deviceId, AudioBlock* block);
    static void capture(void* client, const char* deviceId, AudioBlock* captured, AudioBlock* echo);
    static void note(void* client, const char* deviceId, const char* text, std::int32_t level);

    std::atomic<int> m_strayBlocks{0};
    mutable std::mutex m_mutex; // guards everything below; the devices themselves never move
    std::vector<Event> m_events;
    std::vector<LogLine> m_log;
    std::map<std::uint32_t, std::unique_ptr<Device>> m_devices;
};

/// An initialized client; a machine without any device fails here instead of letting everything pass.
class LiveTest : public testing::Test {
protected:
    void SetUp() override;
    /// Ends the client; what was logged as an error fails the test, unless it said that it expects errors.
    void TearDown() override;

    Client client;
    bool errorsExpected = false;
};

} // namespace live
