#include "discovery/default_watch.h"

#include <windows.h>

#include <mmsystem.h>

#include <algorithm>
#include <cwchar>
#include <utility>

namespace directsound {
namespace {

/// The wave mapper's query for the preferred console voice-communication device (DRVM_MAPPER_CONSOLEVOICECOM_GET).
constexpr UINT kConsoleVoiceCommunicationQuery = 0x2017;

static_assert(sizeof(WAVEOUTCAPSW) == 84 && sizeof(WAVEINCAPSW) == 80 && MAXPNAMELEN == 32);

bool isVersion6OrLater() {
    OSVERSIONINFOEXW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    version.dwMajorVersion = 6;
    DWORDLONG conditions = 0;
    conditions = VerSetConditionMask(conditions, VER_MAJORVERSION, VER_GREATER_EQUAL);
    conditions = VerSetConditionMask(conditions, VER_MINORVERSION, VER_GREATER_EQUAL);
    conditions = VerSetConditionMask(conditions, VER_SERVICEPACKMAJOR, VER_GREATER_EQUAL);
    return VerifyVersionInfoW(&version, VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR, conditions) !=
           FALSE;
}

/// Stores a new value and tells whether it differed.
bool update(std::uint32_t& stored, std::uint32_t now) {
    return std::exchange(stored, now) != now;
}

// The query's parameters are addresses, passed as numbers.
DWORD_PTR addressOf(DWORD& value) {
    return reinterpret_cast<DWORD_PTR>(&value);
}

} // namespace

DefaultWatch::DefaultWatch() : m_NewSystem(isVersion6OrLater()) {}

DefaultWatch::Findings DefaultWatch::look() {
    const bool counts = countsChanged();
    // Newer systems tell the default directly, so there a change is always taken for possible.
    return {counts, m_NewSystem || preferredDevicesChanged()};
}

bool DefaultWatch::countsChanged() {
    const bool outputs = update(m_OutputCount, waveOutGetNumDevs());
    const bool inputs = update(m_InputCount, waveInGetNumDevs());
    return outputs || inputs;
}

bool DefaultWatch::preferredDevicesChanged() {
    // What the system does not answer counts as unchanged.
    DWORD output = m_PreferredOutput;
    DWORD input = m_PreferredInput;
    DWORD flags = 0;
    // The mapper's number stands where a handle is wanted.
    const auto mapper = static_cast<UINT_PTR>(WAVE_MAPPER);
    waveOutMessage(reinterpret_cast<HWAVEOUT>(mapper), kConsoleVoiceCommunicationQuery, addressOf(output),
                   addressOf(flags));
    waveInMessage(reinterpret_cast<HWAVEIN>(mapper), kConsoleVoiceCommunicationQuery, addressOf(input),
                  addressOf(flags));
    bool changed = update(m_PreferredOutput, output);
    changed = update(m_PreferredInput, input) || changed;

    const auto compareName = [&changed](ProductName& stored, const wchar_t* now) {
        if (!changed && std::wcsncmp(stored.data(), now, stored.size()) == 0)
            return;
        std::copy_n(now, stored.size(), stored.begin());
        changed = true;
    };
    WAVEOUTCAPSW outputCaps{};
    if (waveOutGetDevCapsW(m_PreferredOutput, &outputCaps, sizeof(outputCaps)) == MMSYSERR_NOERROR)
        compareName(m_OutputName, outputCaps.szPname);
    WAVEINCAPSW inputCaps{};
    if (waveInGetDevCapsW(m_PreferredInput, &inputCaps, sizeof(inputCaps)) == MMSYSERR_NOERROR)
        compareName(m_InputName, inputCaps.szPname);
    return changed;
}

} // namespace directsound
