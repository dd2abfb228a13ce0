#include "diagnostics/result_text.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace directsound {
namespace {

const std::map<BackendResult, std::string> kGeneric{
    {0, "OK"},
    {-1, "OS_ERROR"},
    {-4, "NOTSUPPORTED"},
    {-5, "UNKNOWN_DEVICETYPE"},
    {-6, "INIT_IMPL"},
    {-10, "INVALID_PARAM"},
    {-100, "NOT_IMPLEMENTED"},
    {-101, "NOT_CONNECTED"},
    {-119, "NOT_INITIALIZED_YET"},
    {-120, "DEVICE_ALREADY_OPEN"},
    {-121, "DEVICE_NOT_OPEN"},
    {-124, "GETTING_DEVICE"},
    {-125, "DEVICE_INITIALIZE"},
    {-130, "START"},
    {-131, "ALREADY_STARTED"},
    {-132, "NOT_STARTED"},
    {-135, "STOP"},
    {-136, "ALREADY_STOPPED"},
    {-145, "ECHO_DEV_NOT_OPEN"},
    {-200, "SOUNDBACKEND"},
};

const std::map<BackendResult, std::string> kDirectSound{
    {-105, "GETTING_ID"},
    {-120, "DEVICE_ALREADY_OPEN"},
    {-121, "DEVICE_NOT_OPEN"},
    {-122, "DEVICE_GETBUFFER"},
    {-123, "DEVICE_ACTIVATE"},
    {-124, "GETTING_DEVICE"},
    {-125, "DEVICE_INITIALIZE"},
    {-126, "DEVICE_GETMIXFORMAT"},
    {-132, "GETBUFFERSIZE"},
    {-144, "INVALID_CONTEXT_ID"},
    {-200, "GUID_TO_STRING"},
    {-201, "NO_DEFAULT_FOUND"},
    {-202, "DEVICE_GUID"},
    {-203, "GET_CURRENT_POSITION"},
    {-204, "LOCK"},
    {-205, "UNLOCK"},
    {-206, "DIRECTSOUNDCAPTURECREATE8"},
    {-207, "CREATECAPTUREBUFFER"},
    {-208, "CREATECAPTUREBUFFER_INTF"},
    {-209, "GET_FORMAT"},
    {-210, "ECHO_DEV_NOT_FOUND"},
    {-211, "GET_FORMAT_1"},
    {-212, "GET_FORMAT_2"},
    {-213, "GET_FORMAT_3"},
    {-214, "GET_FORMAT_4"},
    {-215, "GET_FORMAT_5"},
    {-220, "PLAYBACK_STOP"},
    {-221, "PLAYBACK_START"},
    {-222, "CAPTURE_STOP"},
    {-223, "CAPTURE_START"},
    {-224, "RESTORE"},
    {-225, "GET_STATUS"},
    {-226, "CREATEBUFFER"},
    {-227, "CREATEPRIMARYBUFFER"},
    {-228, "DIRECTSOUNDCREATE8"},
    {-229, "SETCOOPERATIVELEVEL"},
    {-230, "GET_CAPS"},
    {-231, "CAPTURE_FORMAT_NOT_SUPPORTED"},
    {-232, "CALL_OUT_OF_ORDER"},
    {-233, "UNKNOWN"},
    {-234, "GET_SPEAKER_CONFIG"},
};

std::string textIn(const std::map<BackendResult, std::string>& texts, BackendResult code) {
    const auto found = texts.find(code);
    return found == texts.end() ? "unknown error" : found->second;
}

TEST(ResultText, Generic_EveryCode_ItsTextOrUnknown) {
    for (BackendResult code = -300; code <= 10; ++code)
        EXPECT_EQ(genericResultText(code), textIn(kGeneric, code)) << code;
}

TEST(ResultText, DirectSound_EveryCode_ItsTextOrUnknown) {
    for (BackendResult code = -300; code <= 10; ++code)
        EXPECT_EQ(directSoundResultText(code), textIn(kDirectSound, code)) << code;
}

TEST(ResultText, Backend_EveryCode_GenericTextAlone) {
    for (BackendResult code = -300; code <= 10; ++code)
        EXPECT_EQ(resultText(code), textIn(kGeneric, code)) << code;
}

TEST(ResultText, Backend_ExtremeCodes_Unknown) {
    EXPECT_STREQ(resultText(INT32_MIN), "unknown error");
    EXPECT_STREQ(resultText(INT32_MAX), "unknown error");
}

} // namespace
} // namespace directsound
