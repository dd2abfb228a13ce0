// The playback device object.
#include "sound_system.h"

#include <cstring>

namespace simulator {
namespace {

class PlaybackObject final : public FakeObject, public IDirectSound8 {
public:
    PlaybackObject(World& world, Device& device) : FakeObject(world, device, "DirectSound") {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return notSimulated("QueryInterface"); }
    ULONG STDMETHODCALLTYPE AddRef() override { return addReference(); }
    ULONG STDMETHODCALLTYPE Release() override { return releaseReference(); }

    HRESULT STDMETHODCALLTYPE CreateSoundBuffer(LPCDSBUFFERDESC description, LPDIRECTSOUNDBUFFER* buffer,
                                                IUnknown* outer) override {
        const bool primary = description && (description->dwFlags & DSBCAPS_PRIMARYBUFFER) != 0;
        return method(
            primary ? "CreatePrimary" : "CreateSecondary",
            [&]() -> HRESULT {
                if (!description || !buffer || description->dwSize != sizeof(DSBUFFERDESC))
                    return DSERR_INVALIDPARAM;
                if (outer)
                    return DSERR_NOAGGREGATION;
                if (m_Level < DSSCL_NORMAL)
                    return DSERR_PRIOLEVELNEEDED;
                return primary ? createPrimary(*description, *buffer) : createSecondary(*description, *buffer);
            },
            description ? describeBuffer(*description) : "");
    }
    HRESULT STDMETHODCALLTYPE GetCaps(LPDSCAPS caps) override {
        return method("GetCaps", [&]() -> HRESULT {
            if (!caps || caps->dwSize != sizeof(DSCAPS))
                return DSERR_INVALIDPARAM;
            *caps = {};
            caps->dwSize = sizeof(DSCAPS);
            caps->dwFlags =
                DSCAPS_PRIMARY16BIT | DSCAPS_PRIMARYSTEREO | (m_Device.emulatedDriver ? DSCAPS_EMULDRIVER : 0);
            caps->dwMinSecondarySampleRate = m_Device.minRate;
            caps->dwMaxSecondarySampleRate = m_Device.maxRate;
            return DS_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE DuplicateSoundBuffer(LPDIRECTSOUNDBUFFER, LPDIRECTSOUNDBUFFER*) override {
        return notSimulated("DuplicateSoundBuffer");
    }
    HRESULT STDMETHODCALLTYPE SetCooperativeLevel(HWND window, DWORD level) override {
        const bool own = m_World.ledger.holds(Kind::window, reinterpret_cast<std::uintptr_t>(window));
        return method(
            "SetCooperativeLevel",
            [&]() -> HRESULT {
                if ((!own && !IsWindow(window)) || level < DSSCL_NORMAL || level > DSSCL_WRITEPRIMARY)
                    return DSERR_INVALIDPARAM;
                m_Level = level;
                return DS_OK;
            },
            std::string(own ? "window" : "somebody else's window") + " level " + std::to_string(level));
    }
    HRESULT STDMETHODCALLTYPE Compact() override { return notSimulated("Compact"); }
    HRESULT STDMETHODCALLTYPE GetSpeakerConfig(LPDWORD config) override {
        return method("GetSpeakerConfig", [&]() -> HRESULT {
            if (!config)
                return DSERR_INVALIDPARAM;
            *config = m_Device.speakerConfig;
            return DS_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE SetSpeakerConfig(DWORD) override { return notSimulated("SetSpeakerConfig"); }
    HRESULT STDMETHODCALLTYPE Initialize(LPCGUID) override { return notSimulated("Initialize"); }
    HRESULT STDMETHODCALLTYPE VerifyCertification(LPDWORD) override { return notSimulated("VerifyCertification"); }

private:
    static std::string describeBuffer(const DSBUFFERDESC& description) {
        std::string text = "size " + std::to_string(description.dwSize) + " flags " +
                           std::to_string(description.dwFlags) + " bytes " +
                           std::to_string(description.dwBufferBytes);
        if (description.lpwfxFormat)
            text += " " + describe(*description.lpwfxFormat);
        if (description.dwReserved != 0)
            text += " reserved " + std::to_string(description.dwReserved);
        if (constexpr GUID kNone{}; std::memcmp(&description.guid3DAlgorithm, &kNone, sizeof(GUID)) != 0)
            text += " 3D";
        return text;
    }

    HRESULT createPrimary(const DSBUFFERDESC& description, LPDIRECTSOUNDBUFFER& buffer) {
        if (description.lpwfxFormat || description.dwBufferBytes != 0)
            return DSERR_INVALIDPARAM;
        // The plain and the version-8 interface begin with the same slots.
        buffer = static_cast<LPDIRECTSOUNDBUFFER>(static_cast<void*>(createPrimaryBuffer(m_World, *this, m_Level)));
        return DS_OK;
    }
    HRESULT createSecondary(const DSBUFFERDESC& description, LPDIRECTSOUNDBUFFER& buffer) {
        const WAVEFORMATEX* wave = description.lpwfxFormat;
        if (!wave || description.dwBufferBytes < DSBSIZE_MIN)
            return DSERR_INVALIDPARAM;
        if (wave->nChannels == 0 || wave->nBlockAlign != wave->nChannels * wave->wBitsPerSample / 8 ||
            wave->nAvgBytesPerSec != wave->nBlockAlign * wave->nSamplesPerSec)
            return DSERR_BADFORMAT;
        if (wave->nSamplesPerSec < m_Device.minRate || wave->nSamplesPerSec > m_Device.maxRate)
            return DSERR_BADFORMAT;
        buffer =
            static_cast<LPDIRECTSOUNDBUFFER>(static_cast<void*>(createSecondaryBuffer(m_World, *this, description)));
        return DS_OK;
    }

    DWORD m_Level = 0;
};

} // namespace

IDirectSound8* createPlaybackObject(World& world, Device& device) {
    auto object = std::make_unique<PlaybackObject>(world, device);
    PlaybackObject* raw = object.get();
    world.sound->keep(std::move(object));
    return raw;
}

} // namespace simulator
