// What the exports promise before any device comes in: constants, texts, directions, null arguments.
#include "scenario.h"

#include <array>
#include <cstring>
#include <map>

namespace {

// Calls an export with a direction that is wider than the parameter, as careless callers do.
template <class Wide, class Function>
Wide widened(Function* function) {
    return reinterpret_cast<Wide>(reinterpret_cast<void*>(function));
}

using WideCommand = BackendResult (*)(DirectSoundBackend*, int, const char*, std::uint32_t);
using WideEnum = BackendResult (*)(DirectSoundBackend*, int, EnumDevicesCallback, void*);
using WideDefault = BackendResult (*)(DirectSoundBackend*, int, DeviceInfoRecord*);
using WideOpen = BackendResult (*)(DirectSoundBackend*, int, const char*, std::uint32_t, std::uint32_t*,
                                   std::uint32_t*, std::uint32_t*, std::uint32_t*);

std::int32_t ignoreDevice(const DeviceInfoRecord*, void*) {
    return 0;
}

} // namespace

SCENARIO(Exports, Info_IsOneConstantRecord,
         "The information record is the same on every call: 1, \"Direct Sound\" and 200, in slots of eight bytes.") {
    const BackendInfo* info = sim.exports().orvosoundbackend_getInfo();
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(sim.exports().orvosoundbackend_getInfo(), info);
    static_assert(sizeof(*info) == 24);
    std::array<std::uint64_t, 3> slots{};
    std::memcpy(slots.data(), info, sizeof(slots));
    EXPECT_EQ(slots[0], 1u);
    EXPECT_STREQ(reinterpret_cast<const char*>(slots[1]), "Direct Sound");
    EXPECT_EQ(slots[2], 200u);
    client.initialize();
    EXPECT_EQ(sim.exports().orvosoundbackend_getInfo(), info);
    client.finalize();
}

SCENARIO(Exports, ErrorString_KnowsTheGenericCodesOnly,
         "The generic codes have their texts, and every other number, the codes of this backend included, is an "
         "\"unknown error\".") {
    const std::map<BackendResult, std::string> texts = {{0, "OK"},
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
                                                        {-200, "SOUNDBACKEND"}};
    for (BackendResult code = -400; code <= 100; ++code) {
        const char* text = nullptr;
        const char* const answer = sim.exports().orvosoundbackend_getErrorString(code, &text);
        const auto known = texts.find(code);
        EXPECT_STREQ(text, known == texts.end() ? "unknown error" : known->second.c_str()) << code;
        EXPECT_EQ(answer, text) << code;
    }
    for (const BackendResult code : {INT32_MIN, INT32_MAX})
        EXPECT_STREQ(sim.exports().orvosoundbackend_getErrorString(code, nullptr), "unknown error");
}

SCENARIO(Exports, ErrorStringWithoutOutPointer_StillReturnsTheText,
         "Without an out-pointer the error text is still the result.") {
    EXPECT_STREQ(sim.exports().orvosoundbackend_getErrorString(-10, nullptr), "INVALID_PARAM");
}

SCENARIO(Exports, Supported_NeedsNeitherBackendNorDevice, "The support check needs no backend and no device.") {
    EXPECT_EQ(sim.exports().orvosoundbackend_isSupported(), 0);
    expectOutputLines({});
}

SCENARIO(Exports, WrongDirection_IsRefusedBeforeAnythingElse,
         "Open, close, start and stop refuse a direction other than 1 or 2 with -5 before they look at anything "
         "else.") {
    const Exports& exports = sim.exports();
    for (const int number : {0, 3, -1, 127, -128}) {
        const auto direction = static_cast<DeviceDirection>(number);
        EXPECT_EQ(
            exports.orvosoundbackend_openDevice(nullptr, direction, nullptr, 0, nullptr, nullptr, nullptr, nullptr),
            -5);
        EXPECT_EQ(exports.orvosoundbackend_closeDevice(nullptr, direction, nullptr, 0), -5);
        EXPECT_EQ(exports.orvosoundbackend_startDevice(nullptr, direction, nullptr, 0), -5);
        EXPECT_EQ(exports.orvosoundbackend_stopDevice(nullptr, direction, nullptr, 0), -5);
    }
}

SCENARIO(Exports, DirectionOfMoreThanEightBits_CountsByItsLowestByte,
         "A direction is eight bits wide: 257 is playback, and 256 is none.") {
    const Device& speaker = sim.playback("Speaker");
    sim.capture("Microphone");
    client.initialize();
    std::array<std::uint32_t, 4> format{};
    const auto open = widened<WideOpen>(sim.exports().orvosoundbackend_openDevice);
    const std::string id = speaker.id();
    EXPECT_EQ(open(client.backend, 256, id.c_str(), 7, &format[0], &format[1], &format[2], &format[3]), -5);
    EXPECT_EQ(open(client.backend, 257, id.c_str(), 7, &format[0], &format[1], &format[2], &format[3]), 0);
    EXPECT_EQ(client.open(speaker).result, -120);
    const Exports& exports = sim.exports();
    EXPECT_EQ(widened<WideCommand>(exports.orvosoundbackend_startDevice)(client.backend, 257, id.c_str(), 7), 0);
    EXPECT_EQ(widened<WideCommand>(exports.orvosoundbackend_stopDevice)(client.backend, 257, id.c_str(), 7), 0);
    EXPECT_EQ(widened<WideCommand>(exports.orvosoundbackend_closeDevice)(client.backend, 257, id.c_str(), 7), 0);
    EXPECT_EQ(widened<WideCommand>(exports.orvosoundbackend_closeDevice)(client.backend, 256, id.c_str(), 7), -5);
    const auto list = widened<WideEnum>(exports.orvosoundbackend_enumDevices);
    EXPECT_EQ(list(client.backend, 258, &ignoreDevice, nullptr), 0);
    EXPECT_EQ(list(client.backend, 256, &ignoreDevice, nullptr), -5);
    const auto query = widened<WideDefault>(exports.orvosoundbackend_getDefaultDevice);
    DeviceInfoRecord record{};
    EXPECT_EQ(query(client.backend, 257, &record), 0);
    EXPECT_EQ(record.id, id);
    EXPECT_EQ(query(client.backend, 512, &record), -5);
    client.waitForClosed();
    client.finalize();
}

SCENARIO(Exports, InitializeWithoutOutOrTable_IsAnInvalidParameter,
         "Initialize without a place for the backend or without a table answers -10, and the place holds null.") {
    EXPECT_EQ(sim.exports().orvosoundbackend_initialize(nullptr, &client.callbacks), -10);
    EXPECT_EQ(sim.exports().orvosoundbackend_initialize(nullptr, nullptr), -10);
    auto* backend = reinterpret_cast<DirectSoundBackend*>(&client);
    EXPECT_EQ(sim.exports().orvosoundbackend_initialize(&backend, nullptr), -10);
    EXPECT_EQ(backend, nullptr);
    EXPECT_EQ(sim.count("CreateWindowExW"), 0u);
}

SCENARIO(Exports, NullBackend_IsIgnoredByThoseThatReportNothing,
         "Finalize, wait, lock and unlock accept a null backend, do nothing and answer 0.") {
    EXPECT_EQ(sim.exports().orvosoundbackend_finalize(nullptr), 0);
    EXPECT_EQ(sim.exports().orvosoundbackend_waitForClosedDevices(nullptr), 0);
    EXPECT_EQ(sim.exports().orvosoundbackend_lockDSP(nullptr), 0);
    EXPECT_EQ(sim.exports().orvosoundbackend_unlockDSP(nullptr), 0);
    expectErrorLines({});
}

SCENARIO(Exports, NullBackend_IsAnInvalidParameterForTheOthers, "Every other export answers -10 to a null backend.") {
    const Exports& exports = sim.exports();
    std::array<std::uint32_t, 4> values{};
    DeviceInfoRecord record{};
    EXPECT_EQ(exports.orvosoundbackend_openDevice(nullptr, 1, "x", 7, &values[0], &values[1], &values[2], &values[3]),
              -10);
    EXPECT_EQ(exports.orvosoundbackend_closeDevice(nullptr, 2, "x", 7), -10);
    EXPECT_EQ(exports.orvosoundbackend_startDevice(nullptr, 1, "x", 7), -10);
    EXPECT_EQ(exports.orvosoundbackend_stopDevice(nullptr, 2, "x", 7), -10);
    EXPECT_EQ(exports.orvosoundbackend_enumDevices(nullptr, 1, &ignoreDevice, nullptr), -10);
    EXPECT_EQ(exports.orvosoundbackend_getDefaultDevice(nullptr, 2, &record), -10);
    EXPECT_EQ(exports.orvosoundbackend_associateAECDevice(nullptr, "x", "y", 7, &values[0], &values[1], &values[2],
                                                          &values[3]),
              -10);
}

SCENARIO(Exports, NullIdentifier_IsAnInvalidParameter,
         "A null device identifier, record or callback is answered with -10.") {
    client.initialize();
    const Exports& exports = sim.exports();
    std::array<std::uint32_t, 4> values{};
    EXPECT_EQ(exports.orvosoundbackend_openDevice(client.backend, 1, nullptr, 7, &values[0], &values[1], &values[2],
                                                  &values[3]),
              -10);
    EXPECT_EQ(exports.orvosoundbackend_closeDevice(client.backend, 1, nullptr, 7), -10);
    EXPECT_EQ(exports.orvosoundbackend_startDevice(client.backend, 2, nullptr, 7), -10);
    EXPECT_EQ(exports.orvosoundbackend_stopDevice(client.backend, 1, nullptr, 7), -10);
    EXPECT_EQ(exports.orvosoundbackend_associateAECDevice(client.backend, nullptr, "y", 7, &values[0], &values[1],
                                                          &values[2], &values[3]),
              -10);
    EXPECT_EQ(exports.orvosoundbackend_enumDevices(client.backend, 1, nullptr, nullptr), -10);
    client.finalize();
}

SCENARIO(Exports, NullOutPointerAtOpen_IsAnInvalidParameterAlsoForAnOpenDevice,
         "Each of the four out-pointers of open is needed: without one the answer is -10, also for a device that is "
         "open already.") {
    const Device& speaker = sim.playback("Speaker");
    client.initialize();
    const std::string id = speaker.id();
    for (const bool open : {false, true}) {
        if (open) {
            EXPECT_EQ(client.open(speaker).result, 0);
        }
        for (std::size_t missing = 0; missing < 4; ++missing) {
            std::array<std::uint32_t, 4> values{1, 2, 3, 4};
            std::array<std::uint32_t*, 4> outs{&values[0], &values[1], &values[2], &values[3]};
            outs[missing] = nullptr;
            EXPECT_EQ(sim.exports().orvosoundbackend_openDevice(client.backend, 1, id.c_str(), 7, outs[0], outs[1],
                                                                outs[2], outs[3]),
                      -10);
            EXPECT_EQ(values, (std::array<std::uint32_t, 4>{1, 2, 3, 4}));
        }
    }
    EXPECT_EQ(sim.count("DirectSoundCreate8"), 1u);
    client.closeAndFinalize({&speaker});
}
