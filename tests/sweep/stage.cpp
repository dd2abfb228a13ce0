#include "stage.h"

#include <algorithm>

namespace sweep {

using simulator::Kind;

void Stage::require(bool holds, const char* what) {
    if (!holds)
        m_Broken.emplace_back(what);
}

bool Stage::begin() {
    const auto threads = [this] {
        return std::ranges::count_if(sim.calls("_beginthreadex"), [](const auto& call) { return call.result != 0; });
    };
    const auto before = threads();
    const bool there = client.initialize() == 0;
    // The client allows for the monitor's handle, which is never closed; without a monitor there is none.
    if (there && threads() == before)
        sim.expectLeft(Kind::threadHandle, sim.expectedLeft(Kind::threadHandle) - 1);
    require(there, "initialize succeeds");
    return there;
}

unsigned Stage::list(Direction direction) {
    unsigned devices = 0;
    const EnumDevicesCallback count = [](const DeviceInfoRecord* /*record*/, void* value) -> std::int32_t {
        ++*static_cast<unsigned*>(value);
        return 0;
    };
    sim.exports().orvosoundbackend_enumDevices(client.backend, static_cast<DeviceDirection>(direction), count,
                                               &devices);
    client.defaultDevice(direction);
    return devices;
}

bool Stage::run(const Device& device) {
    if (client.open(device).result != 0) {
        require(false, "a device opens");
        return false;
    }
    m_Open.push_back(&device);
    const bool runs = client.start(device) == 0;
    require(runs, "a device starts");
    return runs;
}

bool Stage::isOpen(const Device& device) const {
    return std::ranges::find(m_Open, &device) != m_Open.end();
}

void Stage::stop(const Device& device) {
    if (isOpen(device))
        client.stop(device);
}

void Stage::close(const Device& device) {
    if (!isOpen(device))
        return;
    const bool closed = client.close(device) == 0;
    require(closed, "a device closes");
    if (closed)
        std::erase(m_Open, &device);
}

void Stage::associate(const Device& capture, const Device& playback) {
    if (isOpen(capture))
        require(client.associate(capture, playback).result == 0, "an association succeeds");
}

void Stage::closeAll() {
    constexpr int kTries = 2; // without memory a close is refused, and the device stays open
    for (int i = 0; i < kTries; ++i) {
        for (const Device* device : std::vector(m_Open))
            close(*device);
    }
}

void Stage::end() {
    closeAll();
    client.waitForClosed();
    client.finalize();
}

void Stage::endWithoutWaiting() {
    closeAll();
    client.finalize();
}

} // namespace sweep
