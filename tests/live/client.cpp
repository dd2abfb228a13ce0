#include "client.h"

#include <iostream>
#include <thread>

namespace live {
namespace {

std::atomic<std::uint32_t> nextContextId{1000};

} // namespace

bool waitUntil(const std::function<bool()>& condition, Milliseconds patience) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(Milliseconds(5));
    }
    return true;
}

// ------------------------------------------------------------------------------------------ Device

Device::Device(Client& client, DeviceDirection wantedDirection, std::string deviceId)
    : direction(wantedDirection), id(std::move(deviceId)), contextId(nextContextId++), m_client(client),
      m_blocks(std::make_shared<std::atomic<std::uint64_t>>(0)) {}

BackendResult Device::open() {
    return m_client.plugin.orvosoundbackend_openDevice(m_client.backend, direction, id.c_str(), contextId,
                                                       &format.channels, &format.bits, &format.rate, &format.mask);
}

BackendResult Device::start() const {
    return m_client.plugin.orvosoundbackend_startDevice(m_client.backend, direction, id.c_str(), contextId);
}

BackendResult Device::stop() const {
    return m_client.plugin.orvosoundbackend_stopDevice(m_client.backend, direction, id.c_str(), contextId);
}

BackendResult Device::close() const {
    return m_client.plugin.orvosoundbackend_closeDevice(m_client.backend, direction, id.c_str(), contextId);
}

bool Device::waitForBlocks(std::uint64_t more, Milliseconds patience) const {
    const std::uint64_t wanted = blocks() + more;
    return waitUntil([&] { return blocks() >= wanted; }, patience);
}

// ------------------------------------------------------------------------------------------ Client

Client::~Client() {
    finalize();
}

BackendResult Client::initialize() {
    const BackendCallbacks callbacks{this, notify, play, capture, note};
    return plugin.orvosoundbackend_initialize(&backend, &callbacks);
}

BackendResult Client::finalize() {
    if (backend == nullptr)
        return 0;
    for (const auto& [contextId, device] : m_devices)
        device->close(); // refused for what is closed already
    plugin.orvosoundbackend_waitForClosedDevices(backend);
    const BackendResult result = plugin.orvosoundbackend_finalize(backend);
    backend = nullptr;
    return result;
}

std::vector<DeviceInfoRecord> Client::devices(DeviceDirection direction) {
    std::vector<DeviceInfoRecord> found;
    const auto add = [](const DeviceInfoRecord* record, void* list) -> std::int32_t {
        static_cast<std::vector<DeviceInfoRecord>*>(list)->push_back(*record);
        return 0;
    };
    EXPECT_EQ(plugin.orvosoundbackend_enumDevices(backend, direction, add, &found), 0);
    return found;
}

std::string Client::idOf(DeviceDirection direction, const std::string& name) {
    for (const DeviceInfoRecord& record : devices(direction)) {
        if (record.name == name)
            return record.id;
    }
    ADD_FAILURE() << "there is no device " << name;
    return {};
}

std::string Client::defaultId(DeviceDirection direction) {
    DeviceInfoRecord record{};
    EXPECT_EQ(plugin.orvosoundbackend_getDefaultDevice(backend, direction, &record), 0);
    return record.id;
}

Device& Client::device(DeviceDirection direction, const std::string& name) {
    auto device = std::make_unique<Device>(*this, direction, idOf(direction, name));
    const std::lock_guard guard(m_mutex);
    return *m_devices.emplace(device->contextId, std::move(device)).first->second;
}

std::vector<Event> Client::events() const {
    const std::lock_guard guard(m_mutex);
    return m_events;
}

std::vector<LogLine> Client::log(std::int32_t level) const {
    const std::lock_guard guard(m_mutex);
    std::vector<LogLine> lines;
    for (const LogLine& line : m_log) {
        if (line.level == level)
            lines.push_back(line);
    }
    return lines;
}

Device* Client::opening(std::uint32_t contextId) {
    const std::lock_guard guard(m_mutex);
    const auto found = m_devices.find(contextId);
    if (found != m_devices.end())
        return found->second.get();
    ++m_strayBlocks;
    return nullptr;
}

// ------------------------------------------------------------------------------------------ callbacks

void Client::notify(void* client, std::int32_t event, const char* deviceId, std::int32_t value) {
    auto* self = static_cast<Client*>(client);
    const std::lock_guard guard(self->m_mutex);
    self->m_events.push_back({event, deviceId, value});
}

std::int32_t Client::play(void* client, const char*, AudioBlock* block) {
    Device* device = static_cast<Client*>(client)->opening(block->contextId);
    if (device == nullptr)
        return 0;
    ++*device->m_blocks;
    return device->callbacks.play ? device->callbacks.play(block) : 0;
}

void Client::capture(void* client, const char*, AudioBlock* captured, AudioBlock* echo) {
    Device* device = static_cast<Client*>(client)->opening(captured->contextId);
    if (device == nullptr)
        return;
    ++*device->m_blocks;
    if (device->callbacks.capture)
        device->callbacks.capture(captured, echo);
}

void Client::note(void* client, const char* deviceId, const char* text, std::int32_t level) {
    auto* self = static_cast<Client*>(client);
    const std::lock_guard guard(self->m_mutex);
    self->m_log.push_back({deviceId, text, level});
}

// ------------------------------------------------------------------------------------------ LiveTest

void LiveTest::SetUp() {
    ASSERT_EQ(client.initialize(), 0);
    ASSERT_FALSE(client.devices(ORVO_PLAYBACK).empty()) << "nothing to play on: this run would prove nothing";
    ASSERT_FALSE(client.devices(ORVO_CAPTURE).empty()) << "nothing to capture from: this run would prove nothing";
}

void LiveTest::TearDown() {
    EXPECT_EQ(client.finalize(), 0);
    EXPECT_EQ(client.strayBlocks(), 0) << "blocks came with a contextId that nobody opened";
    for (const LogLine& line : client.log(ORVO_LOG_WARNING))
        std::cout << "warning: " << line.text << '\n';
    for (const LogLine& line : client.log(ORVO_LOG_ERROR)) {
        if (errorsExpected)
            std::cout << "error, as expected: " << line.text << '\n';
        else
            ADD_FAILURE() << "logged as an error: " << line.text;
    }
}

} // namespace live
