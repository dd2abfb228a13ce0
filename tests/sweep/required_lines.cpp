// The lines by which failures are told, and the silences.
#include "codes.h"
#include "events.h"
#include "required.h"
#include "run.h"

#include <algorithm>
#include <array>
#include <set>

namespace sweep {
namespace {

using simulator::CallRecord;

struct Silence {
    std::string_view call;
    const char* reason;
};
// Functions whose failure is never told.
constexpr std::array kSilences{
    Silence{"GetDeviceID", "a rescan without default devices is given up; the next one comes in a second"},
    Silence{"DirectSoundCaptureEnumerateW", "a rescan without a whole list is given up; the next one comes"},
    Silence{"CaptureBuffer.Unlock", "the block has been copied; nothing is lost"},
    Silence{"_beginthreadex",
            "a missing worker is told by open's result; without a monitor devices work all the same"},
    Silence{"timeGetDevCaps", "the timer is left alone"},
    Silence{"timeBeginPeriod", "the timer then is as good as it is"},
    Silence{"timeEndPeriod", "nothing can be done about it"},
    Silence{"DestroyWindow", "nothing can be done about it"},
    Silence{"CloseHandle", "nothing can be done about it"},
    Silence{"SetThreadPriority", "the thread does its work at any priority"},
    Silence{"VerifyVersionInfoW", "the system counts as an older one, where the wave mapper is watched as well"},
    Silence{"waveOutGetNumDevs", "no devices are a number, too"},
    Silence{"waveInGetNumDevs", "no devices are a number, too"},
    Silence{"waveOutMessage", "what is not answered counts as unchanged"},
    Silence{"waveInMessage", "what is not answered counts as unchanged"},
    Silence{"waveOutGetDevCapsW", "what is not answered counts as unchanged"},
    Silence{"waveInGetDevCapsW", "what is not answered counts as unchanged"},
    Silence{"SetEvent", "an event of one's own can be set; who waits for one that cannot waits for ever"},
    Silence{"ResetEvent", "an event of one's own can be reset; a signal that stays is taken for a new one"},
    Silence{"WaitForSingleObject", "a wait that cannot be counts as woken"},
    Silence{"WaitForMultipleObjects", "a wait that cannot be counts as woken"},
    Silence{"malloc", "no memory for the line either"},
};

// Functions that only find words for something else.
constexpr std::array<std::string_view, 2> kWordFinders{"FormatMessageW", "LocalAlloc"};
constexpr const char* kWordsOnly = "it only finds words for something else";

constexpr std::string_view kNarrowing = "WideCharToMultiByte"; // for identifiers, and to find words

HRESULT hresultOf(const Fault& fault) {
    return static_cast<HRESULT>(fault.code.result.value_or(0));
}

std::string conversionLine(const Fault& fault) {
    if (fault.code.error == ERROR_INSUFFICIENT_BUFFER)
        return std::string(kErrorStream) + "buffer too small";
    // The words for the error need the conversion from UTF-16 themselves.
    const bool speechless = fault.lasting && fault.call == kNarrowing;
    return std::string(kErrorStream) + (speechless ? "" : "error 1113: No mapping.");
}

std::string errorNumberLine(const Fault& fault, const char* what) {
    return kErrorStream + std::string(what) + std::to_string(fault.code.error.value_or(0));
}

// The answers that a step takes for success or for no fault of the system's.
const char* whyNoFailure(const Fault& fault) {
    if (fault.call == "Secondary.Stop" && hresultOf(fault) == kBufferLost)
        return "a lost buffer counts as stopped";
    if (fault.call == "CaptureBuffer.Stop" && hresultOf(fault) == kNoDriver)
        return "a device that has gone away has stopped";
    if (fault.call == "DirectSoundCapture.CreateBuffer" && hresultOf(fault) == kAllocated)
        return "another program has the device";
    return nullptr;
}

// Which of the two comes next after the call.
std::string_view nextOf(const CallRecord& hit, const Calls& calls, std::string_view one, std::string_view other) {
    for (const auto* next = &hit + 1; next != calls.records.data() + calls.records.size(); ++next) {
        if (next->subject == hit.subject && (next->name == one || next->name == other))
            return next->name;
    }
    return {};
}

// Start fills the whole buffer before it plays; afterwards it is block by block.
bool isUnlockOfStart(const CallRecord& hit, const Calls& calls) {
    return nextOf(hit, calls, "Secondary.Play", "Secondary.Lock") == "Secondary.Play";
}

// The event of the DSP lock is the one that a backend creates right before its window.
bool isDspLockEvent(const CallRecord& hit, const Calls& calls) {
    return nextOf(hit, calls, "CreateWindowExW", "CreateEventW") == "CreateWindowExW";
}

// The words of a system error are made in two conversions, from memory that was just allocated for them.
bool makesWords(const CallRecord& hit, const Calls& calls) {
    const CallRecord* call = &hit;
    for (int steps = 0; steps < 2; ++steps) {
        do {
            if (call-- == calls.records.data())
                return false;
        } while (call->thread != hit.thread);
        if (call->name != kNarrowing)
            break;
    }
    return hit.name == kNarrowing && call->name == "LocalAlloc";
}

// The devices of which a failure of this call may be told: its worker's own, or for a call of the client's, which pairs
// a capture device with a reference, any capture device. Empty where nothing tells which.
std::vector<std::string> categoriesOf(const CallRecord& hit, const Calls& calls) {
    std::set<std::string> devices;
    for (const CallRecord& call : calls.records) {
        const bool ofCapture =
            call.name.starts_with("DirectSoundCapture.") || call.name.starts_with("CaptureBuffer.");
        const bool ofOwn = call.thread == hit.thread && call.name.find('.') != std::string::npos;
        if (isClient(hit.thread) ? ofCapture : ofOwn)
            devices.insert(call.subject);
    }
    return {devices.begin(), devices.end()};
}

// Silent here, though the function's failure is told elsewhere.
const char* whySilentHere(const Fault& fault, const CallRecord& hit, const Calls& calls) {
    if (fault.call == "Primary.SetFormat" && !fault.lasting && hit.arguments.find(" x 48000 ") != std::string::npos)
        return "there are further formats to try";
    if (fault.call == "Secondary.Unlock" && !isUnlockOfStart(hit, calls))
        return "the block has been written as far as it goes";
    if (fault.call == "CreateEventW" && hit.arguments == "auto reset")
        return "without this event devices that close are not waited for";
    if (fault.call == "CreateEventW" && isDspLockEvent(hit, calls))
        return "the lock does without its event";
    if (fault.call == "QueryPerformanceCounter" && !firstOfItsThread(hit, calls))
        return "a rescan without the time is put off";
    if (fault.call == "StringFromCLSID" && hit.thread != "client")
        return "the notification comes without an identifier";
    if (fault.call == "DirectSoundEnumerateW" && hit.arguments != "without context")
        return "a rescan without a whole list is given up; the next one comes";
    return nullptr;
}

} // namespace

bool firstOfItsThread(const CallRecord& hit, const Calls& calls) {
    const auto first = std::ranges::find_if(
        calls.records, [&](const CallRecord& c) { return c.name == hit.name && c.thread == hit.thread; });
    return &*first == &hit;
}

std::vector<std::string> possibleLines(const Fault& fault) {
    const HRESULT hr = hresultOf(fault);
    if (fault.call == "CoInitializeEx")
        return {kErrorStream + streamText(hr)};
    if (fault.call == "StringFromCLSID")
        return {kOutputStream + errorLine(hr, "SOUNDBACKEND")};
    if (fault.call == "DirectSoundEnumerateW")
        return {kOutputStream + errorLine(hr, "NOTSUPPORTED")};
    if (fault.call == "Primary.SetFormat")
        return {std::string(kWarningLog) + "Could not set preferred format for playback"};
    if (fault.call == "CreateEventW")
        return {std::string(kErrorStream) + "Error int CreateEvent"};
    if (fault.call == "CreateWindowExW")
        return {errorNumberLine(fault, "CreateWindow error ")};
    if (fault.call == "QueryPerformanceCounter")
        return {errorNumberLine(fault, "error during QueryPerformanceCounter")};
    if (fault.call == "QueryPerformanceFrequency")
        return {errorNumberLine(fault, "error during QueryPerformanceFrequency")};
    if (fault.call == "MultiByteToWideChar" || fault.call == kNarrowing)
        return {conversionLine(fault)};
    if (std::ranges::find(kSilences, fault.call, &Silence::call) == kSilences.end() && answersHresult(fault.call))
        return {kErrorLog + logLine(hr)};
    return {};
}

Telling requiredTelling(const Fault& fault, const Calls& calls) {
    if (std::ranges::find(kWordFinders, fault.call) != kWordFinders.end())
        return {{}, {}, kWordsOnly, true};
    const auto* silence = std::ranges::find(kSilences, fault.call, &Silence::call);
    if (silence != kSilences.end())
        return {{}, {}, silence->reason, false};
    if (const char* reason = whyNoFailure(fault))
        return {{}, {}, reason, false};
    const CallRecord* hit = calls.hitBy(fault);
    if (!hit)
        return {{}, {}, "it is never called", false};
    if (makesWords(*hit, calls))
        return {{}, {}, kWordsOnly, true};
    if (const char* reason = whySilentHere(fault, *hit, calls))
        return {{}, {}, reason, false};
    const std::vector<std::string> lines = possibleLines(fault);
    const std::string line = lines.empty() ? "a line that nobody has thought of" : lines.front();
    return {line, line.starts_with("log ") ? categoriesOf(*hit, calls) : std::vector<std::string>{}, nullptr,
            fault.call == kNarrowing && fault.session == "wrong-identifiers"};
}

} // namespace sweep
