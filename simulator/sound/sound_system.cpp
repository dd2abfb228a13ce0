#include "sound_system.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace simulator {
namespace {

bool same(const GUID& a, const GUID& b) {
    return std::memcmp(&a, &b, sizeof(GUID)) == 0;
}

std::size_t index(Direction direction) {
    return static_cast<std::size_t>(direction) - 1;
}

} // namespace

FakeObject::FakeObject(World& world, Device& device, std::string name, const FakeObject* parent)
    : m_World(world), m_Device(device), m_Name(std::move(name)), m_Parent(parent),
      m_UnplugsBefore(device.unplugTimes.size()) {
    m_World.ledger.take(Kind::interfacePointer, reinterpret_cast<std::uintptr_t>(this),
                        m_Name + " of " + m_Device.label());
}

ULONG FakeObject::addReference() {
    if (!alive())
        m_World.findings.add(m_Name + ".AddRef of " + m_Device.label() + " after its last release");
    m_World.ledger.take(Kind::interfacePointer, reinterpret_cast<std::uintptr_t>(this),
                        m_Name + " of " + m_Device.label());
    return ++m_References;
}

ULONG FakeObject::releaseReference() {
    // Not through method(): a release works on a dead device, too, and cannot fail.
    m_World.call(m_Name + ".Release", m_Device.label(), 0, [] { return 0; });
    if (!alive()) {
        m_World.findings.add(m_Name + ".Release of " + m_Device.label() + " after its last release");
        return 0;
    }
    m_World.ledger.give(Kind::interfacePointer, reinterpret_cast<std::uintptr_t>(this));
    if (--m_References == 0) {
        catchUp();
        onLastRelease();
        if (m_World.sound->hasLivingBuffers(*this))
            m_World.findings.add("the device object of " + m_Device.label() + " was released before its buffers");
    }
    return m_References;
}

Nanoseconds FakeObject::deviceTime() const {
    return dead() ? m_Device.unplugTimes[m_UnplugsBefore] : m_Device.clock.exact(m_Device.now());
}

std::vector<std::string> methodNames() {
    const std::vector<std::pair<std::vector<const char*>, std::vector<const char*>>> interfaces = {
        {{"DirectSound"},
         {"QueryInterface", "Release", "CreatePrimary", "CreateSecondary", "GetCaps", "DuplicateSoundBuffer",
          "SetCooperativeLevel", "Compact", "GetSpeakerConfig", "SetSpeakerConfig", "Initialize",
          "VerifyCertification"}},
        {{"Primary", "Secondary"},
         {"QueryInterface",
          "Release",
          "GetCaps",
          "GetCurrentPosition",
          "GetFormat",
          "GetVolume",
          "GetPan",
          "GetFrequency",
          "GetStatus",
          "Initialize",
          "Lock",
          "Play",
          "SetCurrentPosition",
          "SetFormat",
          "SetVolume",
          "SetPan",
          "SetFrequency",
          "Stop",
          "Unlock",
          "Restore",
          "SetFX",
          "AcquireResources",
          "GetObjectInPath"}},
        {{"DirectSoundCapture"}, {"QueryInterface", "Release", "CreateBuffer", "GetCaps", "Initialize"}},
        {{"CaptureBuffer"},
         {"QueryInterface", "Release", "GetCaps", "GetCurrentPosition", "GetFormat", "GetStatus", "Initialize",
          "Lock", "Start", "Stop", "Unlock", "GetObjectInPath", "GetFXStatus"}},
    };
    std::vector<std::string> names;
    for (const auto& [objects, methods] : interfaces) {
        for (const char* object : objects) {
            for (const char* method : methods)
                names.push_back(std::string(object) + "." + method);
        }
    }
    return names;
}

SoundSystem::SoundSystem(World& world) : m_World(world) {
    m_World.sound = this;
}

SoundSystem::~SoundSystem() {
    m_World.sound = nullptr;
}

Device& SoundSystem::add(Direction direction, std::string label) {
    // The number of the device and its direction make the GUID, so that traces can be read.
    const auto number = static_cast<DWORD>(m_Devices.size() + 1);
    const GUID guid{number, 0x0D50, static_cast<WORD>(direction), {0x80, 0, 0, 0, 0, 0, 0, 1}};
    m_Devices.push_back(
        std::make_unique<Device>(direction, std::move(label), guid, [this] { return m_World.scheduler.now(); }));
    return *m_Devices.back();
}

Device& SoundSystem::find(std::string_view label) {
    for (const auto& device : m_Devices) {
        if (device->label() == label)
            return *device;
    }
    throw std::out_of_range("no device " + std::string(label));
}

void SoundSystem::makeDefault(Device& device) {
    makeDefault(device.direction(), device.guid());
}

void SoundSystem::makeDefault(Direction direction, const GUID& guid) {
    m_DefaultVoice[index(direction)] = guid;
}

std::vector<Device*> SoundSystem::present(Direction direction) const {
    std::vector<Device*> devices;
    for (const auto& device : m_Devices) {
        if (device->direction() == direction && device->present())
            devices.push_back(device.get());
    }
    return devices;
}

std::vector<Device*> SoundSystem::all(Direction direction) const {
    std::vector<Device*> devices;
    for (const auto& device : m_Devices) {
        if (device->direction() == direction)
            devices.push_back(device.get());
    }
    return devices;
}

Device* SoundSystem::findPresent(Direction direction, const GUID& guid) {
    for (Device* device : present(direction)) {
        if (same(device->guid(), guid))
            return device;
    }
    return nullptr;
}

std::optional<GUID> SoundSystem::defaultVoice(Direction direction) const {
    const std::vector<Device*> devices = present(direction);
    if (const auto& chosen = m_DefaultVoice[index(direction)]) {
        bool isThere = false;
        bool isDevice = false;
        for (const auto& device : m_Devices) {
            if (device->direction() != direction || !same(device->guid(), *chosen))
                continue;
            isDevice = true;
            isThere = isThere || device->present();
        }
        if (isThere || !isDevice)
            return chosen;
    }
    if (devices.empty())
        return std::nullopt;
    return devices.front()->guid();
}

HRESULT SoundSystem::enumerate(Direction direction, LPDSENUMCALLBACKW callback, void* context) {
    const std::vector<Device*> devices = present(direction);
    const wchar_t* primaryName =
        direction == Direction::playback ? L"Primary Sound Driver" : L"Primary Sound Capture Driver";
    if (listsPrimary && !devices.empty() && !callback(nullptr, primaryName, L"", context))
        return DS_OK;
    for (Device* device : devices) {
        GUID guid = device->guid();
        const auto& name = device->name();
        if (!callback(device->hasGuid() ? &guid : nullptr, name ? name->c_str() : nullptr, L"simulated", context)) {
            m_World.findings.add("an enumeration callback did not ask for the next device");
            break;
        }
    }
    return DS_OK;
}

void SoundSystem::catchUp() {
    for (const auto& object : m_Objects) {
        if (object->alive())
            object->catchUp();
    }
}

std::vector<std::string> SoundSystem::living(const Device& device) const {
    std::vector<std::string> names;
    for (const auto& object : m_Objects) {
        if (object->alive() && &object->device() == &device)
            names.push_back(object->objectName());
    }
    return names;
}

bool SoundSystem::hasLivingBuffers(const FakeObject& deviceObject) const {
    return std::ranges::any_of(
        m_Objects, [&](const auto& object) { return object->alive() && object->parent() == &deviceObject; });
}

} // namespace simulator
