// The scripted sound system: its devices, its lists, its defaults, and the objects that it handed out.
#pragma once

#include "../platform/world.h"
#include "device.h"

#include <deque>
#include <memory>

// dsound.h leans on mmsystem.h, which device.h brings.
#include <dsound.h>

namespace simulator {

// What all fake interfaces have in common. An object whose last reference is gone stays as a tombstone, so that a
// later call on it is seen instead of hitting freed memory.
class FakeObject {
public:
    // A buffer names its device object as parent. Comes with one reference, which the ledger knows.
    FakeObject(World& world, Device& device, std::string name, const FakeObject* parent = nullptr);
    virtual ~FakeObject() = default;
    FakeObject(const FakeObject&) = delete;
    FakeObject& operator=(const FakeObject&) = delete;

    // Brings what is heard or captured up to the present.
    virtual void catchUp() {}
    // Its device was unplugged in its life; that it is there again changes nothing.
    [[nodiscard]] bool dead() const { return m_Device.unplugTimes.size() > m_UnplugsBefore; }
    [[nodiscard]] bool alive() const { return m_References > 0; }
    [[nodiscard]] Device& device() const { return m_Device; }
    [[nodiscard]] const std::string& objectName() const { return m_Name; }
    [[nodiscard]] const FakeObject* parent() const { return m_Parent; }

protected:
    // One method call: script, tombstone, broken device, work.
    template <class Work>
    HRESULT method(const char* name, Work&& work, std::string arguments = {}) {
        return m_World.call<HRESULT>(
            m_Name + "." + name, m_Device.label(), E_FAIL,
            [&]() -> HRESULT {
                if (!alive()) {
                    m_World.findings.add(m_Name + "." + name + " of " + m_Device.label() +
                                         " after its last release, " + m_World.whereAndWhen());
                    return E_FAIL;
                }
                if (dead())
                    return DSERR_NODRIVER;
                if (m_Device.broken)
                    return *m_Device.broken;
                return work();
            },
            std::move(arguments));
    }
    HRESULT notSimulated(const char* name) {
        return method(name, [&]() -> HRESULT {
            m_World.findings.add(m_Name + "." + name + " is not simulated");
            return E_NOTIMPL;
        });
    }
    ULONG addReference();
    ULONG releaseReference();
    // Called once, with the object brought up to the present: what a tombstone needs no more can go.
    virtual void onLastRelease() {}
    // Device time, which stands for a dead object.
    [[nodiscard]] Nanoseconds deviceTime() const;

    World& m_World;
    Device& m_Device;

private:
    std::string m_Name;
    const FakeObject* m_Parent;
    std::size_t m_UnplugsBefore;
    unsigned m_References = 1;
};

class SoundSystem {
public:
    explicit SoundSystem(World& world);
    ~SoundSystem();
    SoundSystem(const SoundSystem&) = delete;
    SoundSystem& operator=(const SoundSystem&) = delete;

    // --- the script ---
    Device& add(Direction direction, std::string label);
    // Throws std::out_of_range when there is none.
    Device& find(std::string_view label);
    // The default voice device; without one, or when it is gone, the first device present is.
    void makeDefault(Device& device);
    void makeDefault(Direction direction, const GUID& guid); // also one that is nowhere listed
    // Whether enumeration begins with the entry without a GUID, as the real one does when there is a device.
    bool listsPrimary = true;

    // --- what the plug-in sees ---
    HRESULT enumerate(Direction direction, LPDSENUMCALLBACKW callback, void* context);
    [[nodiscard]] std::optional<GUID> defaultVoice(Direction direction) const;
    [[nodiscard]] std::vector<Device*> present(Direction direction) const;
    [[nodiscard]] std::vector<Device*> all(Direction direction) const;
    Device* findPresent(Direction direction, const GUID& guid);

    void keep(std::unique_ptr<FakeObject> object) { m_Objects.push_back(std::move(object)); }
    void catchUp();
    // Living objects of a device by their names.
    [[nodiscard]] std::vector<std::string> living(const Device& device) const;
    [[nodiscard]] bool hasLivingBuffers(const FakeObject& deviceObject) const;

private:
    World& m_World;
    std::deque<std::unique_ptr<Device>> m_Devices;
    std::optional<GUID> m_DefaultVoice[2];
    std::vector<std::unique_ptr<FakeObject>> m_Objects;
};

// The names of the objects' methods as calls have them.
std::vector<std::string> methodNames();

// The objects; each comes with one reference.
IDirectSound8* createPlaybackObject(World& world, Device& device);
// The level is the parent's cooperative level, which may change.
IDirectSoundBuffer8* createPrimaryBuffer(World& world, const FakeObject& parent, const DWORD& level);
IDirectSoundBuffer8* createSecondaryBuffer(World& world, const FakeObject& parent, const DSBUFFERDESC& description);
IDirectSoundCapture* createCaptureObject(World& world, Device& device);
IDirectSoundCaptureBuffer8* createCaptureBuffer(World& world, const FakeObject& parent,
                                                const DSCBUFFERDESC& description);

} // namespace simulator
