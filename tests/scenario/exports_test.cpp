// What the exports check before anything else, and the constant records.
#include "scenario.h"

SCENARIO(Exports, GetInfo_IsTheSameConstantRecord, "The information record is constant: 1, Direct Sound, 200.") {
    const BackendInfo* info = sim.exports().orvosoundbackend_getInfo();
    EXPECT_EQ(info, sim.exports().orvosoundbackend_getInfo());
    EXPECT_EQ(info->firstNumber, 1u);
    EXPECT_STREQ(info->name, "Direct Sound");
    EXPECT_EQ(info->secondNumber, 200u);
}

SCENARIO(Exports, GetErrorString_KnowsTheGenericCodesOnly,
         "Texts come from the generic table; every other code is an unknown error, also those of DirectSound.") {
    const std::map<BackendResult, std::string> texts = {
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
    for (BackendResult code = -300; code <= 300; ++code) {
        const auto known = texts.find(code);
        const std::string expected = known == texts.end() ? "unknown error" : known->second;
        const char* text = nullptr;
        const char* result = sim.exports().orvosoundbackend_getErrorString(code, &text);
        EXPECT_EQ(text, expected) << code;
        EXPECT_EQ(result, text) << code;
        EXPECT_EQ(sim.exports().orvosoundbackend_getErrorString(code, nullptr), expected) << code;
    }
}

SCENARIO(
    Exports, UnknownDirection_ComesBeforeEverythingElse,
    "Open, close, start and stop refuse a direction that is neither 1 nor 2 before they look at anything else.") {
    EXPECT_EQ(client.initialize(), 0);
    const Exports& e = sim.exports();
    for (const int direction : {0, 3, -1, 127}) {
        const auto d = static_cast<DeviceDirection>(direction);
        EXPECT_EQ(e.orvosoundbackend_openDevice(client.backend, d, nullptr, 1, nullptr, nullptr, nullptr, nullptr),
                  -5);
        EXPECT_EQ(e.orvosoundbackend_closeDevice(client.backend, d, nullptr, 1), -5);
        EXPECT_EQ(e.orvosoundbackend_startDevice(client.backend, d, nullptr, 1), -5);
        EXPECT_EQ(e.orvosoundbackend_stopDevice(client.backend, d, nullptr, 1), -5);
        EXPECT_EQ(e.orvosoundbackend_enumDevices(client.backend, d, nullptr, nullptr), -5);
        EXPECT_EQ(e.orvosoundbackend_getDefaultDevice(client.backend, d, nullptr), -5);
    }
    client.finalize();
}

SCENARIO(Exports, NullPointers_NeverCrash, "Null arguments answer -10, and 0 where a function always answers 0.") {
    sim.playback("Speaker");
    sim.capture("Mic");
    const Exports& e = sim.exports();
    EXPECT_EQ(e.orvosoundbackend_finalize(nullptr), 0);
    EXPECT_EQ(e.orvosoundbackend_waitForClosedDevices(nullptr), 0);
    EXPECT_EQ(e.orvosoundbackend_lockDSP(nullptr), 0);
    EXPECT_EQ(e.orvosoundbackend_unlockDSP(nullptr), 0);
    EXPECT_EQ(e.orvosoundbackend_initialize(nullptr, &client.callbacks), -10);
    EXPECT_EQ(e.orvosoundbackend_initialize(&client.backend, nullptr), -10);
    EXPECT_EQ(e.orvosoundbackend_startDevice(nullptr, 1, "x", 1), -10);
    EXPECT_EQ(e.orvosoundbackend_stopDevice(nullptr, 2, "x", 1), -10);
    EXPECT_EQ(e.orvosoundbackend_closeDevice(nullptr, 1, "x", 1), -10);
    EXPECT_EQ(client.initialize(), 0);
    std::uint32_t value = 0;
    EXPECT_EQ(e.orvosoundbackend_openDevice(client.backend, 1, nullptr, 1, &value, &value, &value, &value), -10);
    EXPECT_EQ(e.orvosoundbackend_startDevice(client.backend, 1, nullptr, 1), -10);
    EXPECT_EQ(e.orvosoundbackend_stopDevice(client.backend, 1, nullptr, 1), -10);
    EXPECT_EQ(e.orvosoundbackend_closeDevice(client.backend, 1, nullptr, 1), -10);
    EXPECT_EQ(e.orvosoundbackend_enumDevices(client.backend, 1, nullptr, nullptr), -10);
    EXPECT_EQ(e.orvosoundbackend_getDefaultDevice(client.backend, 1, nullptr), -10);
    client.finalize();
}

SCENARIO(Exports, OpenWithNullOutPointer_IsRefused,
         "Open refuses each null out-pointer after the direction check, also for a device that is open.") {
    Device& speaker = sim.playback("Speaker");
    EXPECT_EQ(client.initialize(), 0);
    EXPECT_EQ(client.open(speaker).result, 0);
    for (int missing = 0; missing < 4; ++missing) {
        std::uint32_t value[4];
        const auto at = [&](int i) { return i == missing ? nullptr : &value[i]; };
        EXPECT_EQ(sim.exports().orvosoundbackend_openDevice(client.backend, 1, speaker.id().c_str(), 1, at(0), at(1),
                                                            at(2), at(3)),
                  -10);
    }
    client.closeAndFinalize({&speaker});
}
