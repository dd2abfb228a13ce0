// The primary and the secondary buffer.
#include "fake_buffer.h"

#include <algorithm>
#include <cstring>

namespace simulator {
namespace {

// {6825A449-7524-4D82-920F-50E36AB3AB1E}
constexpr GUID kSoundBuffer8 = {0x6825a449, 0x7524, 0x4d82, {0x92, 0x0f, 0x50, 0xe3, 0x6a, 0xb3, 0xab, 0x1e}};

class PlaybackBuffer final : public FakeBuffer, public IDirectSoundBuffer8 {
public:
    // Without a description it is the primary buffer of a device with this cooperative level.
    PlaybackBuffer(World& world, const FakeObject& parent, const DSBUFFERDESC* secondary, const DWORD* level)
        : FakeBuffer(world, parent, secondary ? "Secondary" : "Primary", secondary ? secondary->dwBufferBytes : 0),
          m_Level(level), m_Flags(secondary ? secondary->dwFlags : DSBCAPS_PRIMARYBUFFER),
          m_Format(secondary ? formatOf(*secondary->lpwfxFormat) : parent.device().primaryFormat),
          m_LossesBefore(parent.device().lossTimes.size()) {
        if (secondary)
            m_Device.heard.format = m_Format;
        // As memory comes: neither silence nor numbered audio.
        std::ranges::fill(m_Ring.memory(), std::byte{0x55});
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
        return method("QueryInterface", [&]() -> HRESULT {
            *object = nullptr;
            if (std::memcmp(&id, &kSoundBuffer8, sizeof(id)) != 0)
                return E_NOINTERFACE;
            addReference();
            *object = static_cast<IDirectSoundBuffer8*>(this);
            return S_OK;
        });
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return addReference(); }
    ULONG STDMETHODCALLTYPE Release() override { return releaseReference(); }

    HRESULT STDMETHODCALLTYPE GetCaps(LPDSBCAPS caps) override {
        return method("GetCaps", [&]() -> HRESULT {
            if (!caps || caps->dwSize != sizeof(DSBCAPS))
                return DSERR_INVALIDPARAM;
            caps->dwFlags = m_Flags;
            caps->dwBufferBytes = m_Ring.size();
            caps->dwUnlockTransferRate = 0;
            caps->dwPlayCpuOverhead = 0;
            return DS_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE GetCurrentPosition(LPDWORD play, LPDWORD write) override {
        return method("GetCurrentPosition", [&]() -> HRESULT {
            catchUp();
            if (play)
                *play = inRing(playedFrames(0));
            if (write)
                *write = inRing(m_Playing ? playedFrames(m_Device.lead) : playedFrames(0));
            return DS_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE GetFormat(LPWAVEFORMATEX format, DWORD capacity, LPDWORD written) override {
        return method(
            "GetFormat",
            [&]() -> HRESULT {
                const auto& kept = isPrimary() ? m_Device.primaryKept : m_Device.bufferReported;
                const std::vector<std::byte> record = waveRecord(kept.value_or(m_Format));
                if (written)
                    *written = static_cast<DWORD>(record.size());
                if (!format)
                    return written ? DS_OK : DSERR_INVALIDPARAM;
                std::memcpy(format, record.data(), std::min<std::size_t>(capacity, record.size()));
                return capacity < record.size() ? DSERR_INVALIDPARAM : DS_OK;
            },
            "capacity " + std::to_string(capacity));
    }
    HRESULT STDMETHODCALLTYPE GetVolume(LPLONG) override { return notSimulated("GetVolume"); }
    HRESULT STDMETHODCALLTYPE GetPan(LPLONG) override { return notSimulated("GetPan"); }
    HRESULT STDMETHODCALLTYPE GetFrequency(LPDWORD) override { return notSimulated("GetFrequency"); }
    HRESULT STDMETHODCALLTYPE GetStatus(LPDWORD status) override {
        return method("GetStatus", [&]() -> HRESULT {
            *status = (m_Playing ? DSBSTATUS_PLAYING | DSBSTATUS_LOOPING : 0) | (lost() ? DSBSTATUS_BUFFERLOST : 0);
            return DS_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE Initialize(LPDIRECTSOUND, LPCDSBUFFERDESC) override {
        return notSimulated("Initialize");
    }
    HRESULT STDMETHODCALLTYPE Lock(DWORD offset, DWORD bytes, LPVOID* first, LPDWORD firstBytes, LPVOID* second,
                                   LPDWORD secondBytes, DWORD flags) override {
        return method(
            "Lock",
            [&]() -> HRESULT {
                if (isPrimary())
                    return DSERR_PRIOLEVELNEEDED;
                if (lost())
                    return DSERR_BUFFERLOST;
                catchUp();
                if ((flags & ~static_cast<DWORD>(DSBLOCK_ENTIREBUFFER)) != 0)
                    return DSERR_INVALIDPARAM;
                const bool entire = (flags & DSBLOCK_ENTIREBUFFER) != 0;
                if (!m_Ring.lock(offset, entire ? m_Ring.size() : bytes, first, firstBytes, second, secondBytes,
                                 m_Device.lockSplit, m_Device.lockSurplus))
                    return DSERR_INVALIDPARAM;
                noteLock();
                return DS_OK;
            },
            std::to_string(offset) + " " + std::to_string(bytes) + " flags " + std::to_string(flags));
    }
    HRESULT STDMETHODCALLTYPE Play(DWORD reserved, DWORD priority, DWORD flags) override {
        return method(
            "Play",
            [&]() -> HRESULT {
                if (lost())
                    return DSERR_BUFFERLOST;
                if (reserved != 0 || (flags & ~static_cast<DWORD>(DSBPLAY_LOOPING)) != 0)
                    return DSERR_INVALIDPARAM;
                if (!m_Playing)
                    m_Start = deviceTime();
                m_Playing = true;
                return DS_OK;
            },
            std::to_string(reserved) + " " + std::to_string(priority) + " flags " + std::to_string(flags));
    }
    HRESULT STDMETHODCALLTYPE SetCurrentPosition(DWORD) override { return notSimulated("SetCurrentPosition"); }
    HRESULT STDMETHODCALLTYPE SetFormat(LPCWAVEFORMATEX wave) override {
        return method(
            "SetFormat",
            [&]() -> HRESULT {
                if (!isPrimary())
                    return DSERR_INVALIDCALL;
                if (wave == nullptr)
                    return DSERR_INVALIDPARAM;
                if (*m_Level < DSSCL_PRIORITY)
                    return DSERR_PRIOLEVELNEEDED;
                const Format wanted = formatOf(*wave);
                HRESULT answer = wanted.channels == 0 ? DSERR_BADFORMAT : DS_OK;
                if (m_Device.primaryAnswer)
                    answer = m_Device.primaryAnswer(wanted);
                if (SUCCEEDED(answer))
                    m_Format = wanted;
                return answer;
            },
            wave ? describe(*wave) : "null");
    }
    HRESULT STDMETHODCALLTYPE SetVolume(LONG) override { return notSimulated("SetVolume"); }
    HRESULT STDMETHODCALLTYPE SetPan(LONG) override { return notSimulated("SetPan"); }
    HRESULT STDMETHODCALLTYPE SetFrequency(DWORD) override { return notSimulated("SetFrequency"); }
    HRESULT STDMETHODCALLTYPE Stop() override {
        return method("Stop", [&]() -> HRESULT {
            requireUnlocked("Stop");
            if (lost())
                return DSERR_BUFFERLOST;
            catchUp();
            m_FramesBefore = playedFrames(0);
            m_Playing = false;
            return DS_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE Unlock(LPVOID first, DWORD firstBytes, LPVOID second, DWORD secondBytes) override {
        noteUnlock();
        return method(
            "Unlock",
            [&]() -> HRESULT {
                catchUp();
                noteLateWrite();
                return m_Ring.unlock(first, firstBytes, second, secondBytes, true) ? DS_OK : DSERR_INVALIDPARAM;
            },
            std::to_string(firstBytes) + " " + std::to_string(secondBytes));
    }
    HRESULT STDMETHODCALLTYPE Restore() override { return notSimulated("Restore"); }
    HRESULT STDMETHODCALLTYPE SetFX(DWORD, LPDSEFFECTDESC, LPDWORD) override { return notSimulated("SetFX"); }
    HRESULT STDMETHODCALLTYPE AcquireResources(DWORD, DWORD, LPDWORD) override {
        return notSimulated("AcquireResources");
    }
    HRESULT STDMETHODCALLTYPE GetObjectInPath(REFGUID, DWORD, REFGUID, LPVOID*) override {
        return notSimulated("GetObjectInPath");
    }

    void catchUp() override {
        if (isPrimary() || !m_Playing)
            return;
        // Its cursors go on, but a lost buffer is not heard.
        const std::int64_t played = framesUntil(lost() ? m_Device.lossTimes[m_LossesBefore] : deviceTime());
        std::int64_t missing = (played - m_HeardFrames) * m_Format.frameBytes();
        DWORD from = inRing(m_HeardFrames);
        m_HeardFrames = played;
        while (missing > 0) {
            const auto piece = static_cast<DWORD>(std::min<std::int64_t>(missing, m_Ring.size() - from));
            m_Device.heard.add(m_Ring.memory().subspan(from, piece));
            from = (from + piece) % m_Ring.size();
            missing -= piece;
        }
    }

private:
    [[nodiscard]] bool isPrimary() const { return m_Level != nullptr; }
    [[nodiscard]] bool lost() const { return m_Device.lossTimes.size() > m_LossesBefore; }
    // Since creation, at the play cursor or so much device time ahead of it.
    [[nodiscard]] std::int64_t playedFrames(Nanoseconds ahead) const {
        if (!m_Playing)
            return m_FramesBefore;
        return framesUntil(deviceTime(), ahead);
    }
    // While it plays.
    [[nodiscard]] std::int64_t framesUntil(Nanoseconds time, Nanoseconds ahead = 0) const {
        return m_FramesBefore + framesIn(m_Device.clock.shown(time - m_Start) + ahead, m_Format.rate);
    }
    [[nodiscard]] DWORD inRing(std::int64_t frames) const {
        return isPrimary() ? 0 : m_Ring.wrapped(frames * m_Format.frameBytes());
    }
    void noteLateWrite() {
        const auto& locked = m_Ring.locked();
        if (!locked || !m_Playing)
            return;
        const DWORD size = m_Ring.size();
        const DWORD play = inRing(playedFrames(0));
        const DWORD busy = (inRing(playedFrames(m_Device.lead)) + size - play) % size;
        const DWORD begin = (locked->offset + size - play) % size;
        if (begin < busy || begin + locked->bytes > size)
            ++m_Device.heard.lateWrites;
    }

    const DWORD* m_Level; // null for a secondary buffer
    DWORD m_Flags;
    Format m_Format;
    std::size_t m_LossesBefore;
    bool m_Playing = false;
    Nanoseconds m_Start = 0;         // device time of Play
    std::int64_t m_FramesBefore = 0; // played before that
    std::int64_t m_HeardFrames = 0;
};

IDirectSoundBuffer8* create(World& world, const FakeObject& parent, const DSBUFFERDESC* secondary,
                            const DWORD* level) {
    auto object = std::make_unique<PlaybackBuffer>(world, parent, secondary, level);
    PlaybackBuffer* raw = object.get();
    world.sound->keep(std::move(object));
    return raw;
}

} // namespace

IDirectSoundBuffer8* createPrimaryBuffer(World& world, const FakeObject& parent, const DWORD& level) {
    return create(world, parent, nullptr, &level);
}

IDirectSoundBuffer8* createSecondaryBuffer(World& world, const FakeObject& parent, const DSBUFFERDESC& description) {
    return create(world, parent, &description, nullptr);
}

} // namespace simulator
