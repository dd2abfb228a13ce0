#include "diagnostics/hresult_text.h"

#include "diagnostics/format_wide.h"
#include "diagnostics/last_error_text.h"
#include "diagnostics/message.h"
#include "diagnostics/text_conversion.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cwchar>
#include <vector>

namespace directsound {
namespace {

struct ValueText {
    std::uint32_t value;
    const char* text;
};

// Only these have a text of their own: all other DirectSound values are left to the system, on purpose.
constexpr std::array kDirectSoundTexts{
    ValueText{0x8878001E, "The requested control is not available"},
    ValueText{0x88780032, "The call is not valid for the current state of this object"},
    ValueText{0x88780046, "The function requires a higher priority level"},
    ValueText{0x88780064, "The specified wave format is not supported"},
    ValueText{0x88780078, "No sound driver is available for use"},
    ValueText{0x88780096, "Buffer memory has been lost, and must be restored"},
    ValueText{0x887800A0, "Another dsound app has focus, preventing this call from succeeding"},
    ValueText{0x887800AA, "This object has not been initialized"},
    ValueText{0x887800BE, "Attempted to use DirectSound 8+ functionality on an older DirectSound object"},
};

/// Found by number: the platform's headers of some ages lack the later names.
constexpr std::uint32_t kFirstAudioClientValue = 0x88890001;
constexpr std::array kAudioClientNames{
    "AUDCLNT_E_NOT_INITIALIZED",
    "AUDCLNT_E_ALREADY_INITIALIZED",
    "AUDCLNT_E_WRONG_ENDPOINT_TYPE",
    "AUDCLNT_E_DEVICE_INVALIDATED",
    "AUDCLNT_E_NOT_STOPPED",
    "AUDCLNT_E_BUFFER_TOO_LARGE",
    "AUDCLNT_E_OUT_OF_ORDER",
    "AUDCLNT_E_UNSUPPORTED_FORMAT",
    "AUDCLNT_E_INVALID_SIZE",
    "AUDCLNT_E_DEVICE_IN_USE",
    "AUDCLNT_E_BUFFER_OPERATION_PENDING",
    "AUDCLNT_E_THREAD_NOT_REGISTERED",
    "AUDCLNT_E_NO_SINGLE_PROCESS",
    "AUDCLNT_E_EXCLUSIVE_MODE_NOT_ALLOWED",
    "AUDCLNT_E_ENDPOINT_CREATE_FAILED",
    "AUDCLNT_E_SERVICE_NOT_RUNNING",
    "AUDCLNT_E_EVENTHANDLE_NOT_EXPECTED",
    "AUDCLNT_E_EXCLUSIVE_MODE_ONLY",
    "AUDCLNT_E_BUFDURATION_PERIOD_NOT_EQUAL",
    "AUDCLNT_E_EVENTHANDLE_NOT_SET",
    "AUDCLNT_E_INCORRECT_BUFFER_SIZE",
    "AUDCLNT_E_BUFFER_SIZE_ERROR",
    "AUDCLNT_E_CPUUSAGE_EXCEEDED",
};
static_assert(kFirstAudioClientValue + kAudioClientNames.size() - 1 == 0x88890017);

/// Values of the interface facility, which scripting hosts number from here.
constexpr std::uint32_t kDispatchErrorBase = 0x80040200;
constexpr std::uint32_t kDispatchErrorEnd = 0x80050000;
constexpr std::uint32_t kDispatchErrorOffset = 0x200;

constexpr std::size_t kFallbackCapacity = 32;

/// Cuts a trailing line feed, and a carriage return before it, from a message of two characters or more.
void cutLineEnd(wchar_t* message) {
    const std::size_t length = std::wcslen(message);
    if (length < 2 || message[length - 1] != L'\n')
        return;
    message[length - 1] = L'\0';
    if (message[length - 2] == L'\r')
        message[length - 2] = L'\0';
}

/// Words for a value that the system has no message for.
void describeUnknown(std::uint32_t value, std::array<wchar_t, kFallbackCapacity>& buffer) {
    const std::uint32_t lowBits = value & 0xFFFF;
    if (value >= kDispatchErrorBase && value < kDispatchErrorEnd && lowBits != kDispatchErrorOffset)
        formatWide(buffer.data(), buffer.size(), L"IDispatch error #%d",
                   static_cast<int>(lowBits) - static_cast<int>(kDispatchErrorOffset));
    else
        formatWide(buffer.data(), buffer.size(), L"Unknown error 0x%0lX", static_cast<unsigned long>(value));
}

std::string withDecimal(const wchar_t* words, HRESULT hr) {
    std::vector<char> utf8(std::wcslen(words) * 4 + 1);
    const int converted = utf16ToUtf8(words, -1, utf8.data(), static_cast<int>(utf8.size()));
    if (conversionFailed(converted))
        return message("Error in utf16 conversion of com error message for HRESULT ", static_cast<std::int32_t>(hr));
    // Kept: the count includes the terminator, so a NUL stands in the text before its number.
    return message(std::string(utf8.data(), static_cast<std::size_t>(converted)), " (", static_cast<std::int32_t>(hr),
                   ")");
}

} // namespace

std::string hresultText(HRESULT hr) {
    const auto value = static_cast<std::uint32_t>(hr);

    const auto known = std::find_if(kDirectSoundTexts.begin(), kDirectSoundTexts.end(),
                                    [value](const ValueText& entry) { return entry.value == value; });
    if (known != kDirectSoundTexts.end())
        return known->text;
    if (value >= kFirstAudioClientValue && value - kFirstAudioClientValue < kAudioClientNames.size())
        return kAudioClientNames[value - kFirstAudioClientValue];

    if (const UniqueLocal<wchar_t> words = systemMessage(value)) {
        cutLineEnd(words.get());
        return withDecimal(words.get(), hr);
    }
    std::array<wchar_t, kFallbackCapacity> words{};
    describeUnknown(value, words);
    return withDecimal(words.data(), hr);
}

} // namespace directsound
