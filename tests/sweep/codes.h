// What the functions answer when they fail, and what the plug-in makes of it in words.
#pragma once

#include "fault.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace sweep {

inline constexpr HRESULT kAllocated = static_cast<HRESULT>(0x8878000A);
inline constexpr HRESULT kNoDriver = static_cast<HRESULT>(0x88780078);
inline constexpr HRESULT kBufferLost = static_cast<HRESULT>(0x88780096);

// The answers that a failing call of this name is tried with. Empty: it cannot fail, see whyNeverFails.
std::vector<Code> codesOf(std::string_view call);
// Why calls of this name and subject are not made to fail; null when they are.
const char* whyNeverFails(std::string_view call, std::string_view subject);
// Whether the answers of this function are HRESULTs.
bool answersHresult(std::string_view call);

// What the scripted system has as message of a value, "" for none; of all the values above.
struct SystemMessage {
    DWORD value;
    const wchar_t* text;
};
std::span<const SystemMessage> systemMessages();

// The plug-in's text of an HRESULT: on a stream, and in a log callback, where the first NUL ends it.
std::string streamText(HRESULT hr);
std::string errorLine(HRESULT hr, std::string_view name);
std::string logLine(HRESULT hr);

} // namespace sweep
