#include "client.h"

#include <algorithm>
#include <bit>

namespace simulator {
namespace {

std::string key(int direction, const std::string& id) {
    return std::to_string(direction) + id;
}

int number(Direction direction) {
    return static_cast<int>(direction);
}

std::vector<std::byte> copy(const void* data, std::size_t bytes) {
    const auto* begin = static_cast<const std::byte*>(data);
    return {begin, begin + bytes};
}

std::string threadName() {
    return Scheduler::current() ? Scheduler::current()->name : "?";
}

} // namespace

Client::Client(Simulation& simulation)
    : callbacks{this, &Client::notify, &Client::play, &Client::capture, &Client::log}, m_Sim(simulation) {}

BackendResult Client::initialize() {
    m_BackendGone = false;
    const BackendResult result = m_Sim.exports().orvosoundbackend_initialize(&backend, &callbacks);
    m_BackendGone = result != 0;
    // The plug-in never closes the handle of its monitor thread.
    if (result == 0)
        m_Sim.expectLeft(Kind::threadHandle, m_Sim.expectedLeft(Kind::threadHandle) + 1);
    return result;
}

BackendResult Client::finalize() {
    const BackendResult result = m_Sim.exports().orvosoundbackend_finalize(backend);
    backend = nullptr;
    m_BackendGone = true;
    m_Closing.clear();
    m_Gone.merge(m_Open);
    m_Open.clear();
    return result;
}

Opened Client::open(const Device& device, std::uint32_t contextId) {
    return open(number(device.direction()), device.id(), contextId);
}

Opened Client::open(int direction, const std::string& id, std::uint32_t contextId) {
    Opened opened{};
    const std::string opening = key(direction, id) + std::to_string(contextId);
    m_Gone.erase(opening);
    opened.result = m_Sim.exports().orvosoundbackend_openDevice(backend, static_cast<DeviceDirection>(direction),
                                                                id.c_str(), contextId, &opened.channels, &opened.bits,
                                                                &opened.rate, &opened.mask);
    if (opened.result == 0) {
        m_Open.insert(opening);
        m_Formats[key(direction, id)] = {static_cast<WORD>(opened.channels), opened.rate,
                                         static_cast<WORD>(opened.bits), std::nullopt};
    }
    return opened;
}

BackendResult Client::start(const Device& device, std::uint32_t contextId) {
    return m_Sim.exports().orvosoundbackend_startDevice(backend, static_cast<DeviceDirection>(device.direction()),
                                                        device.id().c_str(), contextId);
}

BackendResult Client::stop(const Device& device, std::uint32_t contextId) {
    return m_Sim.exports().orvosoundbackend_stopDevice(backend, static_cast<DeviceDirection>(device.direction()),
                                                       device.id().c_str(), contextId);
}

BackendResult Client::close(const Device& device, std::uint32_t contextId) {
    const BackendResult result = m_Sim.exports().orvosoundbackend_closeDevice(
        backend, static_cast<DeviceDirection>(device.direction()), device.id().c_str(), contextId);
    if (result == 0)
        m_Closing.insert(key(number(device.direction()), device.id()) + std::to_string(contextId));
    return result;
}

BackendResult Client::waitForClosed() {
    const std::set<std::string> closing = m_Closing;
    const BackendResult result = m_Sim.exports().orvosoundbackend_waitForClosedDevices(backend);
    for (const std::string& device : closing) {
        m_Closing.erase(device);
        m_Open.erase(device);
        m_Gone.insert(device);
    }
    return result;
}

Associated Client::associate(const Device& capture, const Device& playback, std::uint32_t contextId) {
    Associated associated{};
    associated.result = m_Sim.exports().orvosoundbackend_associateAECDevice(
        backend, capture.id().c_str(), playback.id().c_str(), contextId, &associated.mask, &associated.bits,
        &associated.rate, &associated.counter);
    if (associated.result == 0)
        m_EchoMask = associated.mask;
    return associated;
}

BackendResult Client::dissociate(const Device& capture, std::uint32_t contextId) {
    return m_Sim.exports().orvosoundbackend_associateAECDevice(backend, capture.id().c_str(), nullptr, contextId,
                                                               nullptr, nullptr, nullptr, nullptr);
}

std::vector<ListedDevice> Client::list(Direction direction) {
    std::vector<ListedDevice> devices;
    const auto add = [](const DeviceInfoRecord* record, void* list) -> std::int32_t {
        static_cast<std::vector<ListedDevice>*>(list)->push_back({0, record->id, record->name, *record});
        return 0;
    };
    const BackendResult result =
        m_Sim.exports().orvosoundbackend_enumDevices(backend, static_cast<DeviceDirection>(direction), add, &devices);
    if (result != 0)
        problem("enumDevices answered " + std::to_string(result));
    return devices;
}

ListedDevice Client::defaultDevice(Direction direction) {
    ListedDevice device;
    device.result = m_Sim.exports().orvosoundbackend_getDefaultDevice(
        backend, static_cast<DeviceDirection>(direction), &device.record);
    if (device.result == 0) {
        device.id = device.record.id;
        device.name = device.record.name;
    }
    return device;
}

BackendResult Client::lockDsp() {
    const BackendResult result = m_Sim.exports().orvosoundbackend_lockDSP(backend);
    m_DspHolders.push_back(Scheduler::current());
    if (!m_AudioCallback.empty())
        problem("lockDSP returned while an audio callback of " + m_AudioCallback + " ran");
    return result;
}

BackendResult Client::unlockDsp() {
    if (const auto own = std::ranges::find(m_DspHolders, Scheduler::current()); own != m_DspHolders.end())
        m_DspHolders.erase(own);
    return m_Sim.exports().orvosoundbackend_unlockDSP(backend);
}

void Client::closeAndFinalize(const std::vector<const Device*>& devices, std::uint32_t contextId) {
    for (const Device* device : devices) {
        if (const BackendResult result = close(*device, contextId); result != 0)
            problem("close of " + device->label() + " answered " + std::to_string(result));
    }
    waitForClosed();
    finalize();
}

void Client::problem(const std::string& text) {
    m_Sim.findings().add(text);
}

std::vector<std::string> Client::logTexts(std::int32_t level) const {
    std::vector<std::string> texts;
    for (const LogLine& line : logs) {
        if (line.level == level)
            texts.push_back(line.text);
    }
    return texts;
}

NumberedChecker Client::checkCaptured(const Device& device) const {
    const auto known = m_Formats.find(key(number(Direction::capture), device.id()));
    const Format format = known == m_Formats.end() ? Format{} : known->second;
    NumberedChecker checker(format.channels, format.bits);
    for (const CapturedBlock& block : captured) {
        if (block.device == device.id())
            checker.feed(block.audio);
    }
    return checker;
}

std::int32_t Client::fillNumberedBlock(const std::string& device, AudioBlock& block) {
    const Format& format = m_Formats[key(number(Direction::playback), device)];
    std::uint64_t& next = m_Frames[device];
    const auto frames = static_cast<std::size_t>(block.frameCount);
    fillNumbered({static_cast<std::byte*>(static_cast<void*>(block.samples)), frames * format.frameBytes()}, next,
                 format.channels, format.bits);
    next += frames;
    return block.frameCount;
}

void Client::requireBackend(const char* callback) {
    if (m_BackendGone)
        problem(std::string(callback) + " without a backend");
}

void Client::enterAudioCallback(Direction direction, const std::string& device, std::uint32_t contextId) {
    if (!m_AudioCallback.empty())
        problem("two audio callbacks at once: " + m_AudioCallback + " and " + device);
    if (!m_DspHolders.empty())
        problem("audio callback of " + device + " while " + m_DspHolders.back()->name + " holds the DSP lock");
    if (m_Gone.contains(key(number(direction), device) + std::to_string(contextId)))
        problem("audio callback of " + device + ", which is gone");
    if (m_Sim.kernel().ownedBy(*Scheduler::current()).size() > 1)
        problem("audio callback of " + device + " under another lock than the DSP lock");
    m_AudioCallback = device;
}

void Client::leaveAudioCallback() {
    m_Sim.scheduler().point("callback returns");
    m_AudioCallback.clear();
}

void Client::notify(void* client, std::int32_t event, const char* device, std::int32_t value) {
    auto& self = *static_cast<Client*>(client);
    self.m_Sim.scheduler().point("notifyDeviceChange", std::to_string(event));
    self.requireBackend("notifyDeviceChange");
    if (!self.m_Sim.kernel().ownedBy(*Scheduler::current()).empty())
        self.problem("notifyDeviceChange under a lock");
    self.notifications.push_back({self.m_Sim.now(), event, device, value});
    if (self.onNotification)
        self.onNotification(Notification(self.notifications.back()));
}

std::int32_t Client::play(void* client, const char* device, AudioBlock* block) {
    auto& self = *static_cast<Client*>(client);
    self.m_Sim.scheduler().point("getPlaybackData", device);
    self.enterAudioCallback(Direction::playback, device, block->contextId);
    ++self.requestCount;
    if (self.keepBlocks)
        self.requests.push_back(
            {self.m_Sim.now(), threadName(), device, block->contextId, block->flag, block->frameCount});
    const std::int32_t frames =
        self.onPlayback ? self.onPlayback(device, *block) : self.fillNumberedBlock(device, *block);
    self.leaveAudioCallback();
    return frames;
}

void Client::capture(void* client, const char* device, AudioBlock* block, AudioBlock* echo) {
    auto& self = *static_cast<Client*>(client);
    self.m_Sim.scheduler().point("deliverCaptureData", device);
    self.enterAudioCallback(Direction::capture, device, block->contextId);
    ++self.capturedCount;
    if (self.keepBlocks) {
        const Format& format = self.m_Formats[key(number(Direction::capture), device)];
        const auto frames = static_cast<std::size_t>(block->frameCount);
        CapturedBlock kept{self.m_Sim.now(),  device,
                           block->contextId,  block->flag,
                           block->frameCount, copy(block->samples, frames * format.frameBytes())};
        if (echo) {
            kept.hasEcho = true;
            kept.echoContextId = echo->contextId;
            kept.echoFrames = echo->frameCount;
            kept.echoAudio = copy(echo->samples, static_cast<std::size_t>(echo->frameCount) * 2 *
                                                     static_cast<std::size_t>(std::popcount(self.m_EchoMask)));
        }
        self.captured.push_back(std::move(kept));
    }
    if (self.onCapture)
        self.onCapture(device, *block, echo);
    self.leaveAudioCallback();
}

void Client::log(void* client, const char* device, const char* text, std::int32_t level) {
    auto& self = *static_cast<Client*>(client);
    self.m_Sim.scheduler().point("logMessage", text);
    self.requireBackend("logMessage");
    if (level < 1 || level > 3)
        self.problem("logMessage of level " + std::to_string(level));
    self.logs.push_back({self.m_Sim.now(), threadName(), device, text, level});
    if (self.onLog)
        self.onLog(LogLine(self.logs.back()));
}

} // namespace simulator
