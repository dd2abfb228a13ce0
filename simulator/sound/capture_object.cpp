// The capture device object and its buffer.
#include "fake_buffer.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace simulator {
namespace {

// {00990DF4-0DBB-4872-833E-6D303E80AEB6}
constexpr GUID kCaptureBuffer8 = {0x00990df4, 0x0dbb, 0x4872, {0x83, 0x3e, 0x6d, 0x30, 0x3e, 0x80, 0xae, 0xb6}};

class CaptureBuffer final : public FakeBuffer, public IDirectSoundCaptureBuffer8 {
public:
    CaptureBuffer(World& world, const FakeObject& parent, const DSCBUFFERDESC& description)
        : FakeBuffer(world, parent, "CaptureBuffer", description.dwBufferBytes),
          m_Format(parent.device().bufferKept.value_or(formatOf(*description.lpwfxFormat))) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
        return method("QueryInterface", [&]() -> HRESULT {
            *object = nullptr;
            if (std::memcmp(&id, &kCaptureBuffer8, sizeof(id)) != 0)
                return E_NOINTERFACE;
            addReference();
            *object = static_cast<IDirectSoundCaptureBuffer8*>(this);
            return S_OK;
        });
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return addReference(); }
    ULONG STDMETHODCALLTYPE Release() override { return releaseReference(); }

    HRESULT STDMETHODCALLTYPE GetCaps(LPDSCBCAPS caps) override {
        return method("GetCaps", [&]() -> HRESULT {
            if (!caps || caps->dwSize != sizeof(DSCBCAPS))
                return DSERR_INVALIDPARAM;
            caps->dwFlags = 0;
            caps->dwBufferBytes = m_Ring.size();
            caps->dwReserved = 0;
            return DS_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE GetCurrentPosition(LPDWORD capture, LPDWORD read) override {
        return method("GetCurrentPosition", [&]() -> HRESULT {
            catchUp();
            if (read)
                *read = inRing(m_Captured);
            if (capture)
                *capture = inRing(m_Captured + (m_Running ? framesIn(m_Device.lead, m_Format.rate) : 0));
            return DS_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE GetFormat(LPWAVEFORMATEX format, DWORD capacity, LPDWORD written) override {
        return method(
            "GetFormat",
            [&]() -> HRESULT {
                const std::vector<std::byte> record = waveRecord(m_Format);
                if (written)
                    *written = static_cast<DWORD>(record.size());
                if (!format)
                    return written ? DS_OK : DSERR_INVALIDPARAM;
                std::memcpy(format, record.data(), std::min<std::size_t>(capacity, record.size()));
                return capacity < record.size() ? DSERR_INVALIDPARAM : DS_OK;
            },
            "capacity " + std::to_string(capacity));
    }
    HRESULT STDMETHODCALLTYPE GetStatus(LPDWORD status) override {
        return method("GetStatus", [&]() -> HRESULT {
            *status = m_Running ? DSCBSTATUS_CAPTURING | DSCBSTATUS_LOOPING : 0;
            return DS_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE Initialize(LPDIRECTSOUNDCAPTURE, LPCDSCBUFFERDESC) override {
        return notSimulated("Initialize");
    }
    HRESULT STDMETHODCALLTYPE Lock(DWORD offset, DWORD bytes, LPVOID* first, LPDWORD firstBytes, LPVOID* second,
                                   LPDWORD secondBytes, DWORD flags) override {
        return method(
            "Lock",
            [&]() -> HRESULT {
                catchUp();
                if (flags != 0)
                    return DSERR_INVALIDPARAM;
                if (!m_Ring.lock(offset, bytes, first, firstBytes, second, secondBytes, m_Device.lockSplit,
                                 m_Device.lockSurplus))
                    return DSERR_INVALIDPARAM;
                noteLock();
                return DS_OK;
            },
            std::to_string(offset) + " " + std::to_string(bytes) + " flags " + std::to_string(flags));
    }
    HRESULT STDMETHODCALLTYPE Start(DWORD flags) override {
        return method(
            "Start",
            [&]() -> HRESULT {
                if ((flags & ~static_cast<DWORD>(DSCBSTART_LOOPING)) != 0)
                    return DSERR_INVALIDPARAM;
                if (!m_Running)
                    m_Start = deviceTime();
                m_Running = true;
                return DS_OK;
            },
            "flags " + std::to_string(flags));
    }
    HRESULT STDMETHODCALLTYPE Stop() override {
        return method("Stop", [&]() -> HRESULT {
            requireUnlocked("Stop");
            catchUp();
            m_CapturedBefore = m_Captured;
            m_Running = false;
            return DS_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE Unlock(LPVOID first, DWORD firstBytes, LPVOID second, DWORD secondBytes) override {
        noteUnlock();
        return method(
            "Unlock",
            [&]() -> HRESULT {
                return m_Ring.unlock(first, firstBytes, second, secondBytes, false) ? DS_OK : DSERR_INVALIDPARAM;
            },
            std::to_string(firstBytes) + " " + std::to_string(secondBytes));
    }
    HRESULT STDMETHODCALLTYPE GetObjectInPath(REFGUID, DWORD, REFGUID, LPVOID*) override {
        return notSimulated("GetObjectInPath");
    }
    HRESULT STDMETHODCALLTYPE GetFXStatus(DWORD, LPDWORD) override { return notSimulated("GetFXStatus"); }

    // Writes what was captured since the last time; of more than a buffer's length only what is not overwritten.
    void catchUp() override {
        if (!m_Running)
            return;
        const std::int64_t captured =
            m_CapturedBefore + framesIn(m_Device.clock.shown(deviceTime() - m_Start), m_Format.rate);
        std::int64_t frame = std::max(m_Captured, captured - m_Ring.size() / m_Format.frameBytes());
        while (frame < captured) {
            const DWORD at = inRing(frame);
            const std::int64_t untilEnd = (m_Ring.size() - at) / m_Format.frameBytes();
            const std::int64_t frames = std::min(captured - frame, std::max<std::int64_t>(untilEnd, 1));
            const auto bytes = static_cast<std::size_t>(frames) * m_Format.frameBytes();
            record(m_Ring.memory().subspan(at, std::min<std::size_t>(bytes, m_Ring.size() - at)), frame);
            frame += frames;
        }
        m_Captured = captured;
        m_Device.framesCaptured =
            std::max(m_Device.framesCaptured, static_cast<std::uint64_t>(std::max<std::int64_t>(captured, 0)));
    }

private:
    void record(std::span<std::byte> piece, std::int64_t frame) {
        if (m_Device.source)
            m_Device.source(piece, static_cast<std::uint64_t>(frame), m_Format);
        else
            fillNumbered(piece, static_cast<std::uint64_t>(frame), m_Format.channels, m_Format.bits);
    }
    [[nodiscard]] DWORD inRing(std::int64_t frames) const { return m_Ring.wrapped(frames * m_Format.frameBytes()); }

    Format m_Format;
    bool m_Running = false;
    Nanoseconds m_Start = 0;
    std::int64_t m_CapturedBefore = 0; // frames before the last Start
    std::int64_t m_Captured = 0;       // frames since creation
};

// The bit of a format among those of a device's capabilities; 0 when there is none.
DWORD formatBit(const Format& format) {
    constexpr DWORD kRates[] = {11025, 22050, 44100, 48000, 96000};
    constexpr int kFormatsPerRate = 4; // mono and stereo of 8 bits, then of 16
    const auto* rate = std::ranges::find(kRates, format.rate);
    if (rate == std::end(kRates) || (format.bits != 8 && format.bits != 16) || format.channels < 1 ||
        format.channels > 2)
        return 0;
    const auto position = static_cast<int>(rate - std::begin(kRates)) * kFormatsPerRate;
    return 1U << (position + (format.bits == 16 ? 2 : 0) + format.channels - 1);
}

class CaptureObject final : public FakeObject, public IDirectSoundCapture {
public:
    CaptureObject(World& world, Device& device) : FakeObject(world, device, "DirectSoundCapture") {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return notSimulated("QueryInterface"); }
    ULONG STDMETHODCALLTYPE AddRef() override { return addReference(); }
    ULONG STDMETHODCALLTYPE Release() override { return releaseReference(); }
    HRESULT STDMETHODCALLTYPE CreateCaptureBuffer(LPCDSCBUFFERDESC description, LPDIRECTSOUNDCAPTUREBUFFER* buffer,
                                                  LPUNKNOWN outer) override {
        return method(
            "CreateBuffer",
            [&]() -> HRESULT {
                if (!description || !buffer || description->dwSize != sizeof(DSCBUFFERDESC) ||
                    !description->lpwfxFormat || description->dwBufferBytes == 0 || description->dwReserved != 0 ||
                    description->dwFXCount != 0 || description->lpDSCFXDesc)
                    return DSERR_INVALIDPARAM;
                if (outer)
                    return DSERR_NOAGGREGATION;
                if (const HRESULT answer = judgeFormat(*description->lpwfxFormat); FAILED(answer))
                    return answer;
                if (m_Device.isAllocated)
                    return DSERR_ALLOCATED;
                *buffer = createCaptureBuffer(m_World, *this, *description);
                return DS_OK;
            },
            description && description->lpwfxFormat
                ? "size " + std::to_string(description->dwSize) + " flags " + std::to_string(description->dwFlags) +
                      " bytes " + std::to_string(description->dwBufferBytes) + " " +
                      describe(*description->lpwfxFormat)
                : "");
    }
    HRESULT STDMETHODCALLTYPE GetCaps(LPDSCCAPS caps) override {
        return method("GetCaps", [&]() -> HRESULT {
            if (!caps || caps->dwSize != sizeof(DSCCAPS))
                return DSERR_INVALIDPARAM;
            caps->dwFlags = m_Device.emulatedDriver ? DSCCAPS_EMULDRIVER : 0;
            caps->dwFormats = m_Device.formatBits;
            caps->dwChannels = 2;
            return DS_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE Initialize(LPCGUID) override { return notSimulated("Initialize"); }

private:
    // Without the wave mapper only what the device says in its capabilities.
    [[nodiscard]] HRESULT judgeFormat(const WAVEFORMATEX& wave) const {
        if (wave.wFormatTag != WAVE_FORMAT_PCM && wave.wFormatTag != WAVE_FORMAT_EXTENSIBLE)
            return DSERR_BADFORMAT;
        if (wave.nBlockAlign != wave.nChannels * wave.wBitsPerSample / 8 ||
            wave.nAvgBytesPerSec != wave.nBlockAlign * wave.nSamplesPerSec)
            return DSERR_INVALIDPARAM;
        return (m_Device.formatBits & formatBit(formatOf(wave))) != 0 ? DS_OK : DSERR_BADFORMAT;
    }
};

} // namespace

IDirectSoundCapture* createCaptureObject(World& world, Device& device) {
    auto object = std::make_unique<CaptureObject>(world, device);
    CaptureObject* raw = object.get();
    world.sound->keep(std::move(object));
    return raw;
}

IDirectSoundCaptureBuffer8* createCaptureBuffer(World& world, const FakeObject& parent,
                                                const DSCBUFFERDESC& description) {
    auto object = std::make_unique<CaptureBuffer>(world, parent, description);
    CaptureBuffer* raw = object.get();
    world.sound->keep(std::move(object));
    return raw;
}

} // namespace simulator
