#include "codes.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace sweep {
namespace {

// One value per way in which the plug-in finds words: its own table twice, the table of names, the system's messages,
// and the two fallbacks for values that nobody knows.
struct HresultText {
    HRESULT value;
    const char* text;
    bool withDecimal; // behind a NUL
};
constexpr std::array kHresults{
    HresultText{kNoDriver, "No sound driver is available for use", false},
    HresultText{kBufferLost, "Buffer memory has been lost, and must be restored", false},
    HresultText{static_cast<HRESULT>(0x88890004), "AUDCLNT_E_DEVICE_INVALIDATED", false},
    HresultText{static_cast<HRESULT>(0x8007000E), "Not enough memory.", true},
    HresultText{static_cast<HRESULT>(0x80040207), "IDispatch error #7", true},
    HresultText{static_cast<HRESULT>(0x80004005), "Unknown error 0x80004005", true},
};
constexpr std::array kSystemMessages{
    SystemMessage{0x8007000E, L"Not enough memory.\r\n"},
    SystemMessage{0x80040207, L""},
    SystemMessage{0x80004005, L""},
    SystemMessage{ERROR_NO_UNICODE_TRANSLATION, L"No mapping."},
};

using Names = std::span<const std::string_view>;
constexpr std::array<std::string_view, 8> kHresultFunctions{
    "DirectSoundCreate8", "DirectSoundCaptureCreate8", "DirectSoundEnumerateW", "DirectSoundCaptureEnumerateW",
    "GetDeviceID",        "CLSIDFromString",           "StringFromCLSID",       "CoInitializeEx"};
constexpr std::array<std::string_view, 4> kResources{"CreateEventW", "CreateWindowExW", "_beginthreadex",
                                                     "LocalAlloc"};
constexpr std::array<std::string_view, 2> kConversions{"MultiByteToWideChar", "WideCharToMultiByte"};
constexpr std::array<std::string_view, 4> kFlags{"QueryPerformanceCounter", "QueryPerformanceFrequency",
                                                 "VerifyVersionInfoW", "FormatMessageW"};
// These answer a failure in one way, FALSE or WAIT_FAILED, and nobody reads their error number.
constexpr std::array<std::string_view, 7> kHandles{
    "CloseHandle", "DestroyWindow",       "SetThreadPriority",     "SetEvent",
    "ResetEvent",  "WaitForSingleObject", "WaitForMultipleObjects"};
constexpr std::array<std::string_view, 4> kWave{"waveOutMessage", "waveInMessage", "waveOutGetDevCapsW",
                                                "waveInGetDevCapsW"};
constexpr std::array<std::string_view, 2> kCounts{"waveOutGetNumDevs", "waveInGetNumDevs"};
constexpr std::array<std::string_view, 3> kTimer{"timeGetDevCaps", "timeBeginPeriod", "timeEndPeriod"};

constexpr long long kMmsysBadDevice = 2;
constexpr long long kMmsysNoDriver = 6;
constexpr long long kTimerNoCanDo = 97;
constexpr long long kTimerStructureSize = 129;
constexpr long long kOtherCount = 7; // than there are devices

bool among(Names names, std::string_view name) {
    return std::ranges::find(names, name) != names.end();
}

struct NeverFails {
    std::string_view call; // the end of its name
    const char* reason;
};
constexpr std::array kNeverFails{
    NeverFails{"CriticalSection", "has no answer, or answers only that the section is busy"},
    NeverFails{".Release", "has no answer that says failure"},
    NeverFails{"CoUninitialize", "has no answer"},
    NeverFails{"_endthreadex", "does not return"},
    NeverFails{"Sleep", "has no answer"},
};

} // namespace

std::vector<Code> codesOf(std::string_view call) {
    if (answersHresult(call)) {
        std::vector<Code> codes(kHresults.size());
        std::ranges::transform(kHresults, codes.begin(), [](const HresultText& known) {
            return Code{known.value, {}};
        });
        if (call == "DirectSoundCapture.CreateBuffer")
            codes.push_back({kAllocated, {}});
        return codes;
    }
    if (among(kResources, call))
        return {{{}, ERROR_NOT_ENOUGH_MEMORY}, {{}, ERROR_NO_SYSTEM_RESOURCES}};
    if (among(kConversions, call))
        return {{{}, ERROR_INSUFFICIENT_BUFFER}, {{}, ERROR_NO_UNICODE_TRANSLATION}};
    if (among(kFlags, call))
        return {{{}, ERROR_INVALID_HANDLE}, {{}, ERROR_ACCESS_DENIED}};
    if (among(kHandles, call))
        return {{{}, ERROR_INVALID_HANDLE}};
    if (among(kWave, call))
        return {{kMmsysBadDevice, {}}, {kMmsysNoDriver, {}}};
    if (among(kCounts, call))
        return {{0, {}}, {kOtherCount, {}}};
    if (among(kTimer, call))
        return {{kTimerNoCanDo, {}}, {kTimerStructureSize, {}}};
    if (call == "malloc")
        return {{}};
    return {};
}

bool answersHresult(std::string_view call) {
    return (call.find('.') != std::string_view::npos && !call.ends_with(".Release")) ||
           among(kHresultFunctions, call);
}

const char* whyNeverFails(std::string_view call, std::string_view subject) {
    if (call == "WaitForSingleObject" && subject.starts_with('T'))
        return "a thread that cannot be waited for cannot be outlived: what it uses is freed under it";
    const auto* found =
        std::ranges::find_if(kNeverFails, [&](const NeverFails& n) { return call.ends_with(n.call); });
    return found == kNeverFails.end() ? nullptr : found->reason;
}

std::span<const SystemMessage> systemMessages() {
    return kSystemMessages;
}

std::string streamText(HRESULT hr) {
    const auto* known = std::ranges::find(kHresults, hr, &HresultText::value);
    if (known == kHresults.end())
        return "?";
    std::string text = known->text;
    if (known->withDecimal)
        text.append(1, '\0').append(" (").append(std::to_string(hr)).append(")");
    return text;
}

std::string errorLine(HRESULT hr, std::string_view name) {
    std::array<char, 20> hexadecimal{};
    std::snprintf(hexadecimal.data(), hexadecimal.size(), " (0x%lx)", static_cast<unsigned long>(hr));
    return std::string(name).append(": ").append(streamText(hr)).append(hexadecimal.data());
}

std::string logLine(HRESULT hr) {
    const std::string line = errorLine(hr, "unknown error");
    return line.substr(0, line.find('\0'));
}

} // namespace sweep
