// The functions of dsound and of the wave side of winmm, which lead to the sound system.
#include "../sound/sound_system.h"

#include <algorithm>
#include <cstring>

namespace simulator {
namespace {

constexpr GUID kDefaultPlayback = {0xdef00000, 0x9c6d, 0x47ed, {0xaa, 0xf1, 0x4d, 0xda, 0x8f, 0x2b, 0x5c, 0x03}};
constexpr GUID kDefaultCapture = {0xdef00001, 0x9c6d, 0x47ed, {0xaa, 0xf1, 0x4d, 0xda, 0x8f, 0x2b, 0x5c, 0x03}};
constexpr GUID kDefaultVoicePlayback = {0xdef00002, 0x9c6d, 0x47ed, {0xaa, 0xf1, 0x4d, 0xda, 0x8f, 0x2b, 0x5c, 0x03}};
constexpr GUID kDefaultVoiceCapture = {0xdef00003, 0x9c6d, 0x47ed, {0xaa, 0xf1, 0x4d, 0xda, 0x8f, 0x2b, 0x5c, 0x03}};
constexpr UINT kPreferredVoiceDevice = 0x2017; // DRVM_MAPPER_CONSOLEVOICECOM_GET

bool same(const GUID& a, const GUID& b) {
    return std::memcmp(&a, &b, sizeof(GUID)) == 0;
}

// The present device that a GUID stands for: its own, or the default one's by any of its names, of which null is one.
Device* present(World& w, Direction direction, const GUID* guid) {
    const bool playback = direction == Direction::playback;
    const bool isDefault = !guid || same(*guid, playback ? kDefaultPlayback : kDefaultCapture) ||
                           same(*guid, playback ? kDefaultVoicePlayback : kDefaultVoiceCapture);
    const auto wanted = isDefault ? w.sound->defaultVoice(direction) : std::optional(*guid);
    return wanted ? w.sound->findPresent(direction, *wanted) : nullptr;
}

// One of the two functions that create a device object. Without success there is no object.
template <class Interface, class Create>
HRESULT createObject(const char* function, Direction direction, LPCGUID guid, Interface** object, IUnknown* outer,
                     Create&& create) {
    World* w = scheduledWorld(function);
    if (!w || !w->sound)
        return DSERR_NODRIVER;
    Device* device = present(*w, direction, guid);
    const HRESULT result =
        w->call<HRESULT>(function, device ? device->label() : "", DSERR_NODRIVER, [&]() -> HRESULT {
            if (!object)
                return DSERR_INVALIDPARAM;
            if (outer)
                return DSERR_NOAGGREGATION;
            if (!device || !device->present()) // it may go while another thread runs
                return DSERR_NODRIVER;
            return create(*w, *device);
        });
    if (FAILED(result) && object)
        *object = nullptr;
    return result;
}

HRESULT WINAPI createPlayback(LPCGUID guid, LPDIRECTSOUND8* object, LPUNKNOWN outer) {
    return createObject("DirectSoundCreate8", Direction::playback, guid, object, outer,
                        [object](World& w, Device& device) -> HRESULT {
                            if (device.isAllocated)
                                return DSERR_ALLOCATED;
                            *object = createPlaybackObject(w, device);
                            return DS_OK;
                        });
}

HRESULT WINAPI createCapture(LPCGUID guid, LPDIRECTSOUNDCAPTURE* object, LPUNKNOWN outer) {
    return createObject("DirectSoundCaptureCreate8", Direction::capture, guid, object, outer,
                        [object](World& w, Device& device) -> HRESULT {
                            *object = createCaptureObject(w, device); // who else has it shows at the buffer
                            return DS_OK;
                        });
}

HRESULT WINAPI enumeratePlayback(LPDSENUMCALLBACKW callback, LPVOID context) {
    World* w = scheduledWorld("DirectSoundEnumerateW");
    if (!w || !w->sound)
        return DSERR_NODRIVER;
    return w->call<HRESULT>(
        "DirectSoundEnumerateW", "", DSERR_GENERIC,
        [&] { return w->sound->enumerate(Direction::playback, callback, context); },
        context ? "" : "without context");
}

HRESULT WINAPI enumerateCapture(LPDSENUMCALLBACKW callback, LPVOID context) {
    World* w = scheduledWorld("DirectSoundCaptureEnumerateW");
    if (!w || !w->sound)
        return DSERR_NODRIVER;
    return w->call<HRESULT>("DirectSoundCaptureEnumerateW", "", DSERR_GENERIC,
                            [&] { return w->sound->enumerate(Direction::capture, callback, context); });
}

HRESULT WINAPI getDeviceId(LPCGUID wanted, LPGUID found) {
    World* w = scheduledWorld("GetDeviceID");
    if (!w || !w->sound)
        return DSERR_NODRIVER;
    const bool playback = wanted && same(*wanted, kDefaultVoicePlayback);
    const bool capture = wanted && same(*wanted, kDefaultVoiceCapture);
    return w->call<HRESULT>("GetDeviceID",
                            playback  ? "playback"
                            : capture ? "capture"
                                      : "",
                            DSERR_NODRIVER, [&]() -> HRESULT {
                                if (!playback && !capture) {
                                    w->findings.add("GetDeviceID for something else than the default voice devices");
                                    return DSERR_INVALIDPARAM;
                                }
                                const auto guid =
                                    w->sound->defaultVoice(playback ? Direction::playback : Direction::capture);
                                if (!guid)
                                    return DSERR_NODRIVER;
                                *found = *guid;
                                return DS_OK;
                            });
}

unsigned count(World& w, Direction direction) {
    const auto& scripted = direction == Direction::playback ? w.system.waveOutputs : w.system.waveInputs;
    return scripted ? *scripted : static_cast<unsigned>(w.sound->present(direction).size());
}

UINT WINAPI outputCount() {
    World* w = scheduledWorld("waveOutGetNumDevs");
    if (!w || !w->sound)
        return waveOutGetNumDevs();
    return w->call<UINT>("waveOutGetNumDevs", "", 0, [&] { return count(*w, Direction::playback); });
}

UINT WINAPI inputCount() {
    World* w = scheduledWorld("waveInGetNumDevs");
    if (!w || !w->sound)
        return waveInGetNumDevs();
    return w->call<UINT>("waveInGetNumDevs", "", 0, [&] { return count(*w, Direction::capture); });
}

// Wave device numbers follow the order of the present devices.
template <class Caps>
MMRESULT describeWave(World& w, Direction direction, UINT_PTR number, Caps* caps, UINT size) {
    const std::vector<Device*> devices = w.sound->present(direction);
    if (number >= devices.size() || !caps || size < sizeof(Caps))
        return MMSYSERR_BADDEVICEID;
    *caps = {};
    const std::wstring name = devices[number]->name().value_or(L"");
    std::copy_n(name.begin(), std::min(name.size(), std::size(caps->szPname) - 1), &caps->szPname[0]);
    return MMSYSERR_NOERROR;
}

MMRESULT WINAPI outputCaps(UINT_PTR number, LPWAVEOUTCAPSW caps, UINT size) {
    World* w = scheduledWorld("waveOutGetDevCapsW");
    if (!w || !w->sound)
        return waveOutGetDevCapsW(number, caps, size);
    return w->call<MMRESULT>(
        "waveOutGetDevCapsW", "", MMSYSERR_NODRIVER,
        [&] { return describeWave(*w, Direction::playback, number, caps, size); },
        std::to_string(number) + " size " + std::to_string(size));
}

MMRESULT WINAPI inputCaps(UINT_PTR number, LPWAVEINCAPSW caps, UINT size) {
    World* w = scheduledWorld("waveInGetDevCapsW");
    if (!w || !w->sound)
        return waveInGetDevCapsW(number, caps, size);
    return w->call<MMRESULT>(
        "waveInGetDevCapsW", "", MMSYSERR_NODRIVER,
        [&] { return describeWave(*w, Direction::capture, number, caps, size); },
        std::to_string(number) + " size " + std::to_string(size));
}

MMRESULT preferred(World& w, Direction direction, UINT message, DWORD_PTR number, DWORD_PTR flags) {
    if (message != kPreferredVoiceDevice || number == 0 || flags == 0)
        return MMSYSERR_NOTSUPPORTED;
    const auto guid = w.sound->defaultVoice(direction);
    const std::vector<Device*> devices = w.sound->present(direction);
    const auto device = std::ranges::find_if(devices, [&](Device* d) { return guid && same(d->guid(), *guid); });
    *reinterpret_cast<DWORD*>(number) =
        device == devices.end() ? WAVE_MAPPER : static_cast<DWORD>(device - devices.begin());
    *reinterpret_cast<DWORD*>(flags) = 0;
    return MMSYSERR_NOERROR;
}

bool isMapper(const void* device) {
    // The mapper is the number -1, which 32-bit and 64-bit code widen differently.
    return static_cast<UINT>(reinterpret_cast<UINT_PTR>(device)) == WAVE_MAPPER;
}

MMRESULT WINAPI outputMessage(HWAVEOUT device, UINT message, DWORD_PTR first, DWORD_PTR second) {
    World* w = scheduledWorld("waveOutMessage");
    if (!w || !w->sound)
        return waveOutMessage(device, message, first, second);
    return w->call<MMRESULT>("waveOutMessage", "", MMSYSERR_NODRIVER, [&] {
        return isMapper(device) ? preferred(*w, Direction::playback, message, first, second)
                                : static_cast<MMRESULT>(MMSYSERR_BADDEVICEID);
    });
}

MMRESULT WINAPI inputMessage(HWAVEIN device, UINT message, DWORD_PTR first, DWORD_PTR second) {
    World* w = scheduledWorld("waveInMessage");
    if (!w || !w->sound)
        return waveInMessage(device, message, first, second);
    return w->call<MMRESULT>("waveInMessage", "", MMSYSERR_NODRIVER, [&] {
        return isMapper(device) ? preferred(*w, Direction::capture, message, first, second)
                                : static_cast<MMRESULT>(MMSYSERR_BADDEVICEID);
    });
}

} // namespace

std::vector<Replacement> soundFunctions() {
    return {
        replacement("DirectSoundCreate8", &createPlayback),
        replacement("DirectSoundCaptureCreate8", &createCapture),
        replacement("DirectSoundEnumerateW", &enumeratePlayback),
        replacement("DirectSoundCaptureEnumerateW", &enumerateCapture),
        replacement("GetDeviceID", &getDeviceId),
        replacement("waveOutGetNumDevs", &outputCount),
        replacement("waveInGetNumDevs", &inputCount),
        replacement("waveOutGetDevCapsW", &outputCaps),
        replacement("waveInGetDevCapsW", &inputCaps),
        replacement("waveOutMessage", &outputMessage),
        replacement("waveInMessage", &inputMessage),
    };
}

} // namespace simulator
