/**
 * @file orvosoundbackend.h
 * @brief The interface of `directsound_win64.dll`, and its manual.
 *
 * The plug-in plays and captures voice through DirectSound 8. A client loads it at run time, looks up
 * fifteen functions by name and drives them; audio moves in blocks of 20 ms through callbacks.
 *
 * A complete client, which plays two seconds of a tone on the default device:
 *
 * @code{.c}
 * #include "orvosoundbackend.h"
 * #include <math.h>
 * #include <stdio.h>
 * #include <string.h>
 * #include <windows.h>
 *
 * typedef struct { uint32_t channels, rate, frame; } Tone; // written before start, read by the worker
 *
 * static int32_t play(void* context, const char* device, AudioBlock* block) {
 *     Tone* tone = (Tone*)context;
 *     (void)device;
 *     for (int32_t i = 0; i < block->frameCount; ++i, ++tone->frame)
 *         for (uint32_t c = 0; c < tone->channels; ++c)
 *             block->samples[(uint32_t)i * tone->channels + c] =
 *                 (int16_t)(8000 * sin(2 * 3.14159265358979 * 440 * tone->frame / tone->rate));
 *     return block->frameCount;
 * }
 * static void capture(void* c, const char* d, AudioBlock* b, AudioBlock* e) { (void)c, (void)d, (void)b, (void)e; }
 * static void change(void* c, int32_t event, const char* d, int32_t v) { (void)c, (void)event, (void)d, (void)v; }
 * static void note(void* c, const char* d, const char* text, int32_t level) {
 *     (void)c;
 *     printf("[%d] %s %s\n", level, d, text);
 * }
 *
 * int main(void) {
 *     HMODULE dll = LoadLibraryA("directsound_win64.dll");
 *     if (!dll) return 1;
 * #define LOAD(name)                                                                          \
 *     name##_fn p_##name = (name##_fn)(void (*)(void))GetProcAddress(dll, #name);             \
 *     if (!p_##name) return 1;
 *     ORVOSOUNDBACKEND_EXPORTS(LOAD)
 *     Tone tone = {0, 0, 0};
 *     BackendCallbacks callbacks = {&tone, change, play, capture, note};
 *     DirectSoundBackend* backend;
 *     DeviceInfoRecord device;
 *     uint32_t bits, mask = 0;
 *     int32_t result = p_orvosoundbackend_initialize(&backend, &callbacks);
 *     if (result != 0) return 1;
 *     result = p_orvosoundbackend_getDefaultDevice(backend, ORVO_PLAYBACK, &device);
 *     if (result == 0)
 *         result = p_orvosoundbackend_openDevice(backend, ORVO_PLAYBACK, device.id, 7,
 *                                                &tone.channels, &bits, &tone.rate, &mask);
 *     if (result == 0) {
 *         result = p_orvosoundbackend_startDevice(backend, ORVO_PLAYBACK, device.id, 7);
 *         if (result == 0) Sleep(2000);
 *         p_orvosoundbackend_stopDevice(backend, ORVO_PLAYBACK, device.id, 7);
 *         p_orvosoundbackend_closeDevice(backend, ORVO_PLAYBACK, device.id, 7);
 *         p_orvosoundbackend_waitForClosedDevices(backend);
 *     }
 *     p_orvosoundbackend_finalize(backend);
 *     FreeLibrary(dll);
 *     printf("result %d\n", (int)result);
 *     return result != 0;
 * }
 * @endcode
 *
 * ## Calling order
 *
 * `getInfo`, `isSupported` and `getErrorString` may be called at any time. `initialize` comes before
 * everything else, `finalize` last. In between, per device: open, start, stop, close, each once: a stopped
 * device is closed and opened anew. Enumeration, default-device queries and the echo association may come at
 * any time between initialize and finalize; `lockDSP` and `unlockDSP` come in pairs.
 *
 * ## What the plug-in promises
 *
 * - No exception leaves an export.
 * - Every failure is a negative result; a null pointer never crashes the plug-in (but for an empty slot of the
 *   callback table, see BackendCallbacks).
 * - `getPlaybackData` and `deliverCaptureData` never run while the client holds the DSP lock, and no two of them run
 *   at the same time for one backend.
 * - Close never waits for a device, and neither stop nor close waits for a client that holds the DSP lock. Stop waits
 *   for a device only while the device is at that very moment being stopped.
 * - `notifyDeviceChange` and the enumeration callback are called with no lock held.
 * - Texts and blocks that are passed to a callback are valid until it returns, and no longer.
 *
 * ## The client's duties
 *
 * 1. Fill all function slots of BackendCallbacks but `logMessage`, which may be null. The table is copied; what
 *    `clientContext` points to lives until finalize has returned.
 * 2. Initialize and finalize on one thread: the plug-in's hidden window belongs to it.
 * 3. Call the device exports (open, close, start, stop, associate) from one thread at a time per backend.
 * 4. Before finalize, close every device and call waitForClosedDevices. A device that is still registered is
 *    destroyed without ending its worker thread, which then touches freed memory.
 * 5. Release the DSP lock on the thread that took it, and do not take it twice: after two takes and two releases the
 *    thread still owns it, and no audio moves any more.
 * 6. Inside a callback of the table call no export that waits for a device: no open and start (for as long as a
 *    driver takes, the audio of all devices would stand still, or the monitor would see no device come or go), no
 *    waitForClosedDevices from an audio or log callback, no finalize from any callback.
 * 7. While in open, start, stop, waitForClosedDevices, lockDSP or finalize hold no lock that a callback takes: they
 *    may be waiting for the very thread that the callback runs on.
 * 8. Let no exception out of a callback. Where the client's compiler and the plug-in's have the same exceptions, the
 *    device stops or the export fails without a word of why; where they do not, the process ends.
 *
 * ## What a callback may do
 *
 * getInfo, isSupported and getErrorString may be called from everywhere. Besides:
 *
 * | Callback | Thread | May call |
 * |---|---|---|
 * | `notifyDeviceChange` | device monitor | enumerate, default device, close, stop, associate, waitForClosedDevices |
 * | `getPlaybackData`, `deliverCaptureData` | device worker, DSP lock held | enumerate, default device, close |
 * | `logMessage` | any, also inside an export; at times with the DSP lock or a device's lock held | nothing else |
 * | enumeration callback | the caller's | enumerate, default device, open, close, start, stop, associate |
 *
 * Audio callbacks return within a few milliseconds. Duty 3 holds inside callbacks, too.
 *
 * All functions use the standard calling convention of 64-bit Windows.
 * The header is C99 and C++20.
 */
#ifndef ORVOSOUNDBACKEND_H
#define ORVOSOUNDBACKEND_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------------------------ results */

/** @brief Result of most exports: 0 is success, negative values are codes of BackendResultCode. */
typedef int32_t BackendResult;

/**
 * @brief The codes that exports return and that log lines speak of.
 *
 * `orvosoundbackend_getErrorString` has a text for the first group only; for all others it answers
 * "unknown error", and for the codes that stand in both groups it answers the text of the first.
 */
enum BackendResultCode {
    ORVO_OK = 0,
    ORVO_OS_ERROR = -1,              /**< A system call or a text conversion failed, or memory ran out. */
    ORVO_NOTSUPPORTED = -4,          /**< isSupported: DirectSound does not work on this system. */
    ORVO_UNKNOWN_DEVICETYPE = -5,    /**< The direction is neither 1 nor 2. */
    ORVO_INIT_IMPL = -6,             /**< A text did not fit into its buffer. */
    ORVO_INVALID_PARAM = -10,        /**< A pointer that must not be null is null. */
    ORVO_NOT_IMPLEMENTED = -100,     /**< Not answered by this backend. */
    ORVO_NOT_CONNECTED = -101,       /**< Not answered by this backend. */
    ORVO_NOT_INITIALIZED_YET = -119, /**< Not answered by this backend. */
    ORVO_DEVICE_ALREADY_OPEN = -120, /**< open: the identifier is open in this direction. */
    ORVO_DEVICE_NOT_OPEN = -121,     /**< The identifier is not open in this direction. */
    ORVO_GETTING_DEVICE = -124,      /**< Not answered by this backend. */
    ORVO_DEVICE_INITIALIZE = -125,   /**< Not answered by this backend. */
    ORVO_START = -130,               /**< Not answered by this backend. */
    ORVO_ALREADY_STARTED = -131,     /**< Not answered by this backend. */
    ORVO_NOT_STARTED = -132,         /**< Not answered by this backend. */
    ORVO_STOP = -135,                /**< Not answered by this backend. */
    ORVO_ALREADY_STOPPED = -136,     /**< Not answered by this backend. */
    ORVO_ECHO_DEV_NOT_OPEN = -145,   /**< Not answered by this backend. */
    ORVO_SOUNDBACKEND = -200,        /**< Base of the DirectSound codes. */

    /* Codes without a text. */
    ORVO_BACKEND_UNUSABLE = -8,  /**< initialize: the hidden window could not be created, or memory ran out. */
    ORVO_DEVICE_ALLOCATED = -16, /**< open: another program holds the capture device exclusively. */

    /* The DirectSound group. */
    ORVO_GETTING_ID = -105,           /**< Not answered by this backend. */
    ORVO_DEVICE_GETBUFFER = -122,     /**< Not answered by this backend. */
    ORVO_DEVICE_ACTIVATE = -123,      /**< Not answered by this backend. */
    ORVO_DEVICE_GETMIXFORMAT = -126,  /**< Not answered by this backend. */
    ORVO_GETBUFFERSIZE = -132,        /**< Not answered by this backend. */
    ORVO_INVALID_CONTEXT_ID = -144,   /**< The contextId is not the one given at open. */
    ORVO_GUID_TO_STRING = -200,       /**< A device GUID has no text. */
    ORVO_NO_DEFAULT_FOUND = -201,     /**< getDefaultDevice: no device is marked. */
    ORVO_DEVICE_GUID = -202,          /**< The identifier is not a GUID text. */
    ORVO_GET_CURRENT_POSITION = -203, /**< The device's cursors cannot be read (logged; the device stops). */
    ORVO_LOCK = -204,   /**< The buffer cannot be locked: start (playback), or logged, and the device stops. */
    ORVO_UNLOCK = -205, /**< start (playback): the buffer cannot be unlocked. */
    ORVO_DIRECTSOUNDCAPTURECREATE8 = -206, /**< open (capture): the device cannot be created. */
    ORVO_CREATECAPTUREBUFFER = -207,       /**< open (capture): the buffer cannot be created. */
    ORVO_CREATECAPTUREBUFFER_INTF = -208,  /**< open (capture): the buffer has no second interface. */
    ORVO_GET_FORMAT = -209,                /**< Not answered by this backend. */
    ORVO_ECHO_DEV_NOT_FOUND = -210,        /**< Not answered by this backend. */
    ORVO_GET_FORMAT_1 = -211,              /**< Not answered by this backend. */
    ORVO_GET_FORMAT_2 = -212,        /**< open (capture): the buffer does not tell its format, or a useless one. */
    ORVO_GET_FORMAT_3 = -213,        /**< Not answered by this backend. */
    ORVO_GET_FORMAT_4 = -214,        /**< open (playback): the buffer does not tell its format, or a useless one. */
    ORVO_GET_FORMAT_5 = -215,        /**< open (playback): the primary buffer does not tell its format. */
    ORVO_PLAYBACK_STOP = -220,       /**< The buffer cannot be stopped (logged; stop has answered by then). */
    ORVO_PLAYBACK_START = -221,      /**< start (playback): the buffer cannot be played. */
    ORVO_CAPTURE_STOP = -222,        /**< The buffer cannot be stopped (logged; stop has answered by then). */
    ORVO_CAPTURE_START = -223,       /**< start (capture): the buffer cannot be started. */
    ORVO_RESTORE = -224,             /**< Not answered by this backend. */
    ORVO_GET_STATUS = -225,          /**< Not answered by this backend. */
    ORVO_CREATEBUFFER = -226,        /**< open (playback): the buffer, or its second interface, cannot be created. */
    ORVO_CREATEPRIMARYBUFFER = -227, /**< open (playback): the primary buffer cannot be created. */
    ORVO_DIRECTSOUNDCREATE8 = -228,  /**< open (playback), associate: the device cannot be created. */
    ORVO_SETCOOPERATIVELEVEL = -229, /**< open (playback): the device refuses the priority level. */
    ORVO_GET_CAPS = -230,            /**< open, associate: the device or its buffer does not tell what it can do. */
    ORVO_CAPTURE_FORMAT_NOT_SUPPORTED = -231, /**< Not answered by this backend. */
    ORVO_CALL_OUT_OF_ORDER = -232,            /**< start: the device is not in the state "open". */
    ORVO_UNKNOWN = -233,           /**< open or start: no worker thread, or it ended without recording a result. */
    ORVO_GET_SPEAKER_CONFIG = -234 /**< open (playback), associate: the device does not tell its speakers. */
};

/* ------------------------------------------------------------------------------------------ devices */

/** @brief ORVO_PLAYBACK or ORVO_CAPTURE. Only the low 8 bits of what the client passes are read. */
typedef int8_t DeviceDirection;

enum DeviceDirectionValue { ORVO_PLAYBACK = 1, ORVO_CAPTURE = 2 };

/** @brief Event codes of `notifyDeviceChange`; the comment names the fourth argument. */
enum DeviceEventCode {
    ORVO_EVENT_DEFAULT_CHANGED = 1, /**< The default voice device is now this one; value: the direction. */
    ORVO_EVENT_DEVICE_ADDED = 2,    /**< A device appeared; value: the direction. A state event (1) follows. */
    ORVO_EVENT_DEVICE_REMOVED = 3,  /**< A device is gone; value: the direction. A state event (4) came before. */
    ORVO_EVENT_DEVICE_STATE = 4     /**< The device's state changed; value: a DeviceStateValue. */
};

/** @brief Values of ORVO_EVENT_DEVICE_STATE. */
enum DeviceStateValue { ORVO_STATE_ACTIVE = 1, ORVO_STATE_NOT_PRESENT = 4 };

/** @brief Levels of `logMessage`. */
enum LogLevelValue { ORVO_LOG_ERROR = 1, ORVO_LOG_WARNING = 2, ORVO_LOG_INFORMATION = 3 };

/** @brief Channel masks that are markers of the system, not speaker positions. */
enum ChannelMaskMarker {
    ORVO_MASK_HEADPHONES = 0x30000000, /**< Echo association only: headphones, or stereo at full width. */
    ORVO_MASK_MONO = 0x40000000        /**< One channel: echo association, and open for plain mono formats. */
};

/**
 * @brief One device, as enumeration and the default-device query describe it (504 bytes).
 *
 * The caller owns the memory. `id` is the device identifier of every other export: the braced upper-case GUID
 * text of the DirectSound device, 38 bytes of UTF-8. Identifiers are compared byte by byte.
 */
typedef struct DeviceInfoRecord {
    uint8_t idLength;   /**< Bytes of `id` without its NUL: 38. */
    uint8_t nameLength; /**< Bytes of `name` without its NUL, at most 247. */
    uint8_t unused[4];  /**< Zero. */
    uint16_t reserved;  /**< Zero. */
    char id[248];       /**< UTF-8, NUL-terminated. */
    char name[248];     /**< UTF-8, NUL-terminated, cut after 247 bytes even inside a character. */
} DeviceInfoRecord;

/** @brief The backend. Created by initialize, freed by finalize, opaque in between. */
typedef struct DirectSoundBackend DirectSoundBackend;

/** @brief The constant record of `orvosoundbackend_getInfo`. The client neither changes nor frees it. */
typedef struct BackendInfo {
    uint64_t firstNumber;  /**< 1. What it means is the client's affair. */
    const char* name;      /**< "Direct Sound". */
    uint64_t secondNumber; /**< 200. What it means is the client's affair. */
} BackendInfo;

/* ------------------------------------------------------------------------------------------ audio */

/**
 * @brief One block of audio, passed to the audio callbacks. The plug-in owns it; it is valid during the call.
 *
 * A block holds 20 ms: rate * 20 / 1000 frames, truncated. A frame is one sample per channel, in the channel
 * order of the device's mask.
 */
typedef struct AudioBlock {
    uint32_t contextId; /**< The number the client chose at open; the constant 1 in an echo reference. */
    uint8_t flag;       /**< 0. */
    int16_t* samples;   /**< Interleaved samples. A capture device that opened with 8 bits per sample delivers
                             unsigned bytes here; playback and echo reference are always signed 16 bits. */
    int32_t frameCount; /**< Frames that are wanted (playback) or delivered (capture). Do not change it. */
} AudioBlock;

/* ------------------------------------------------------------------------------------------ callbacks */

/**
 * @brief A device appeared, disappeared or became the default. Called on the monitor thread, no lock held.
 * @param clientContext the table's first slot
 * @param event a DeviceEventCode
 * @param deviceId the device's identifier; empty when the system could not name it
 * @param value a direction or a state, as DeviceEventCode says
 *
 * One rescan reports playback first, then capture; within a direction the added devices, then the new default,
 * then the removed ones, each group in GUID order. Devices that enumeration lists when initialize returns are not
 * reported; where both lists are still empty then (see initialize), all devices come later as added.
 */
typedef void (*NotifyDeviceChangeCallback)(void* clientContext, int32_t event, const char* deviceId, int32_t value);

/**
 * @brief The plug-in needs 20 ms of audio. Called on the device's worker thread, DSP lock held.
 * @param block write up to `frameCount` frames to `samples`; leave the record itself unchanged
 * @return frames written. Missing frames become silence; a negative number, or one greater than `frameCount`,
 *         makes the whole block silence.
 *
 * A call that takes more than 20 ms is reported by a log line of level 2.
 */
typedef int32_t (*GetPlaybackDataCallback)(void* clientContext, const char* deviceId, AudioBlock* block);

/**
 * @brief 20 ms of audio were captured. Called on the device's worker thread, DSP lock held.
 * @param captured the block, in the format that open reported
 * @param echoReference a block that the associated playback device sent out, at that device's own rate; null when
 *        there is none. They begin once the playback device has a queue of more than its cushion and one block (7
 *        blocks, 12 for emulated drivers), oldest first. A block is handed out once: two capture devices that are
 *        paired with one playback device share its blocks, and neither gets a whole reference.
 */
typedef void (*DeliverCaptureDataCallback)(void* clientContext, const char* deviceId, AudioBlock* captured,
                                           AudioBlock* echoReference);

/**
 * @brief A diagnostic. Called on any thread, also on the caller's own inside an export, several at once.
 * @param deviceId the device that the message concerns, or the empty text
 * @param message one line of UTF-8 without a line end
 * @param level a LogLevelValue
 *
 * Some are sent with the DSP lock or the device's own lock held: return soon, and mind duty 7.
 */
typedef void (*LogMessageCallback)(void* clientContext, const char* deviceId, const char* message, int32_t level);

/** @brief The client's callbacks; initialize copies the table. */
typedef struct BackendCallbacks {
    void* clientContext;                           /**< First argument of every callback; may be null. */
    NotifyDeviceChangeCallback notifyDeviceChange; /**< Must not be null. */
    GetPlaybackDataCallback getPlaybackData;       /**< Must not be null. */
    DeliverCaptureDataCallback deliverCaptureData; /**< Must not be null. */
    LogMessageCallback logMessage;                 /**< May be null: then nothing is logged. */
} BackendCallbacks;

/** @brief Called once per device by enumDevices; the record is valid during the call. The result is ignored. */
typedef int32_t (*EnumDevicesCallback)(const DeviceInfoRecord* device, void* userValue);

/* ------------------------------------------------------------------------------------------ exports */

/** @brief Lists the fifteen exports: `X(name)` for each. The type of `name` is `name##_fn`. */
#define ORVOSOUNDBACKEND_EXPORTS(X)                                                                                  \
    X(orvosoundbackend_getInfo)                                                                                      \
    X(orvosoundbackend_isSupported)                                                                                  \
    X(orvosoundbackend_initialize)                                                                                   \
    X(orvosoundbackend_finalize)                                                                                     \
    X(orvosoundbackend_getErrorString)                                                                               \
    X(orvosoundbackend_enumDevices)                                                                                  \
    X(orvosoundbackend_getDefaultDevice)                                                                             \
    X(orvosoundbackend_openDevice)                                                                                   \
    X(orvosoundbackend_closeDevice)                                                                                  \
    X(orvosoundbackend_waitForClosedDevices)                                                                         \
    X(orvosoundbackend_startDevice)                                                                                  \
    X(orvosoundbackend_stopDevice)                                                                                   \
    X(orvosoundbackend_associateAECDevice)                                                                           \
    X(orvosoundbackend_lockDSP)                                                                                      \
    X(orvosoundbackend_unlockDSP)

/** @brief Who this backend is. Any thread, any time. @return the same constant record on every call. */
const BackendInfo* orvosoundbackend_getInfo(void);

/**
 * @brief Whether DirectSound works here; no device needs to exist. Any thread, any time.
 * @return 0, or ORVO_NOTSUPPORTED with one line on standard output.
 */
BackendResult orvosoundbackend_isSupported(void);

/**
 * @brief Creates a backend: raises the system's timer resolution, scans the devices, starts the monitor thread.
 * @param out receives the backend, or null on failure
 * @param callbacks copied
 * @return 0; ORVO_INVALID_PARAM for a null argument; ORVO_BACKEND_UNUSABLE when the hidden window could not be
 *         created or memory ran out.
 *
 * The device lists are complete when it returns, if both directions have a default voice device: without a
 * microphone, say, the system does not name its defaults, and both lists are empty until one is there. `logMessage`
 * may be called before it returns.
 */
BackendResult orvosoundbackend_initialize(DirectSoundBackend** out, const BackendCallbacks* callbacks);

/**
 * @brief Ends the monitor thread, destroys what is left, frees the backend. On initialize's thread.
 * @param backend null is ignored
 * @return 0
 *
 * Waits for the monitor thread and for devices handed over for closing, not for devices still open (duty 4).
 */
BackendResult orvosoundbackend_finalize(DirectSoundBackend* backend);

/**
 * @brief The text of a result code. Any thread, any time.
 * @param out receives the constant text; never to be freed; may be null
 * @return the same text
 */
const char* orvosoundbackend_getErrorString(BackendResult code, const char** out);

/**
 * @brief Lists the devices of one direction in the order of their GUIDs, on the caller's thread.
 * @param callback called once per device, no lock held
 * @param userValue handed to the callback
 * @return 0; ORVO_UNKNOWN_DEVICETYPE; ORVO_INVALID_PARAM; ORVO_GUID_TO_STRING, ORVO_INIT_IMPL or ORVO_OS_ERROR
 *         when a device could not be described, which ends the listing.
 *
 * Reads the monitor's list, which is at most about a second old (but see initialize: while a direction has no
 * default voice device, both lists stay as they were). Does not touch DirectSound.
 */
BackendResult orvosoundbackend_enumDevices(DirectSoundBackend* backend, DeviceDirection direction,
                                           EnumDevicesCallback callback, void* userValue);

/**
 * @brief The default voice-communication device of a direction (not the default multimedia device).
 * @param record written on success; left alone when there is no default, zeroed when it cannot be described
 * @return 0; ORVO_UNKNOWN_DEVICETYPE; ORVO_NO_DEFAULT_FOUND; ORVO_INVALID_PARAM; otherwise as enumDevices.
 */
BackendResult orvosoundbackend_getDefaultDevice(DirectSoundBackend* backend, DeviceDirection direction,
                                                DeviceInfoRecord* record);

/**
 * @brief Opens a device on a worker thread of its own and waits until it is open.
 * @param deviceId the identifier; may be open once per direction
 * @param contextId the client's own number for this opening; start, stop and close repeat it
 * @param channels samples per frame
 * @param bitsPerSample 16; a capture device without 16-bit formats gives 8
 * @param sampleRate frames per second
 * @param channelMask speaker positions; ORVO_MASK_MONO for a plain mono format; not written for a plain format
 *        with more than two channels, so set it before
 * @return 0; ORVO_UNKNOWN_DEVICETYPE; ORVO_INVALID_PARAM; ORVO_DEVICE_ALREADY_OPEN; ORVO_DEVICE_ALLOCATED; or the
 *         code of the step that failed, told by a log line of level 1. Without a log line: ORVO_INIT_IMPL or
 *         ORVO_OS_ERROR when the identifier cannot be converted (told on standard error), ORVO_OS_ERROR when memory
 *         ran out, ORVO_UNKNOWN when there was no thread or no memory for the worker.
 *
 * A capture device without any 48 kHz format is never answered; neither is any device when COM cannot be
 * initialized on its worker thread (told on standard error).
 */
BackendResult orvosoundbackend_openDevice(DirectSoundBackend* backend, DeviceDirection direction,
                                          const char* deviceId, uint32_t contextId, uint32_t* channels,
                                          uint32_t* bitsPerSample, uint32_t* sampleRate, uint32_t* channelMask);

/**
 * @brief Gives a device up, whatever state it is in. Does not wait; the monitor thread ends and frees it.
 * @return 0; ORVO_UNKNOWN_DEVICETYPE; ORVO_INVALID_PARAM; ORVO_DEVICE_NOT_OPEN; ORVO_INVALID_CONTEXT_ID.
 *
 * The identifier may be opened again at once. Callbacks may still come until waitForClosedDevices has returned.
 */
BackendResult orvosoundbackend_closeDevice(DirectSoundBackend* backend, DeviceDirection direction,
                                           const char* deviceId, uint32_t contextId);

/**
 * @brief Waits until every device given up with closeDevice is gone. One thread at a time.
 * @return 0
 *
 * Writes one line to standard error when it has to wait. On the monitor thread it closes the devices itself. Does not
 * return when the monitor thread has failed (told on standard error), or while a callback of such a device does not.
 */
BackendResult orvosoundbackend_waitForClosedDevices(DirectSoundBackend* backend);

/**
 * @brief Starts an open device and waits until it runs. Callbacks may come before it returns.
 * @return 0; ORVO_UNKNOWN_DEVICETYPE; ORVO_INVALID_PARAM; ORVO_DEVICE_NOT_OPEN; ORVO_INVALID_CONTEXT_ID;
 *         ORVO_CALL_OUT_OF_ORDER for a device that runs or has run; or the code of the step that failed: the
 *         device is then of no more use but to be closed.
 */
BackendResult orvosoundbackend_startDevice(DirectSoundBackend* backend, DeviceDirection direction,
                                           const char* deviceId, uint32_t contextId);

/**
 * @brief Asks a running device to stop. Callbacks may still come until the device is closed and
 * waitForClosedDevices has returned: a capture device first hands over its backlog, up to half a second of audio.
 * @return 0, also for a device that does not run; ORVO_UNKNOWN_DEVICETYPE; ORVO_INVALID_PARAM;
 *         ORVO_DEVICE_NOT_OPEN; ORVO_INVALID_CONTEXT_ID.
 */
BackendResult orvosoundbackend_stopDevice(DirectSoundBackend* backend, DeviceDirection direction,
                                          const char* deviceId, uint32_t contextId);

/**
 * @brief Names the playback device whose output is the echo reference of an open capture device.
 * @param playbackDeviceId null ends the pairing; the out-parameters are then not looked at. The device need not
 *        be open: while it is not, no reference comes.
 * @param contextId the capture device's
 * @param echoChannelMask speaker positions or a ChannelMaskMarker; the reference has as many channels as bits
 *        are set, and no block comes while the playback device runs with another number, nor with a mask of 0, the
 *        answer for speakers that are not known
 * @param echoBitsPerSample 16
 * @param echoSampleRate 48000, or 44100 when the playback device cannot do 48000
 * @param associationCounter raised by every pairing
 * @return 0; ORVO_DEVICE_NOT_OPEN; ORVO_INVALID_CONTEXT_ID; ORVO_INVALID_PARAM; ORVO_INIT_IMPL or ORVO_OS_ERROR
 *         for an identifier that cannot be converted; ORVO_DEVICE_GUID; ORVO_DIRECTSOUNDCREATE8; ORVO_GET_CAPS;
 *         ORVO_GET_SPEAKER_CONFIG. On failure the previous pairing stays.
 *
 * A running capture switches at its next block.
 */
BackendResult orvosoundbackend_associateAECDevice(DirectSoundBackend* backend, const char* captureDeviceId,
                                                  const char* playbackDeviceId, uint32_t contextId,
                                                  uint32_t* echoChannelMask, uint32_t* echoBitsPerSample,
                                                  uint32_t* echoSampleRate, uint32_t* associationCounter);

/**
 * @brief Waits for a running audio callback, then keeps all of them away until unlockDSP. See duty 5.
 * @return 0
 */
BackendResult orvosoundbackend_lockDSP(DirectSoundBackend* backend);

/** @brief Lets the audio callbacks run again. Only after lockDSP, on the same thread. @return 0 */
BackendResult orvosoundbackend_unlockDSP(DirectSoundBackend* backend);

/* ------------------------------------------------------------------------------------------ load by name */

typedef const BackendInfo* (*orvosoundbackend_getInfo_fn)(void);
typedef BackendResult (*orvosoundbackend_isSupported_fn)(void);
typedef BackendResult (*orvosoundbackend_initialize_fn)(DirectSoundBackend**, const BackendCallbacks*);
typedef BackendResult (*orvosoundbackend_finalize_fn)(DirectSoundBackend*);
typedef const char* (*orvosoundbackend_getErrorString_fn)(BackendResult, const char**);
typedef BackendResult (*orvosoundbackend_enumDevices_fn)(DirectSoundBackend*, DeviceDirection, EnumDevicesCallback,
                                                         void*);
typedef BackendResult (*orvosoundbackend_getDefaultDevice_fn)(DirectSoundBackend*, DeviceDirection,
                                                              DeviceInfoRecord*);
typedef BackendResult (*orvosoundbackend_openDevice_fn)(DirectSoundBackend*, DeviceDirection, const char*, uint32_t,
                                                        uint32_t*, uint32_t*, uint32_t*, uint32_t*);
typedef BackendResult (*orvosoundbackend_closeDevice_fn)(DirectSoundBackend*, DeviceDirection, const char*, uint32_t);
typedef BackendResult (*orvosoundbackend_waitForClosedDevices_fn)(DirectSoundBackend*);
typedef BackendResult (*orvosoundbackend_startDevice_fn)(DirectSoundBackend*, DeviceDirection, const char*, uint32_t);
typedef BackendResult (*orvosoundbackend_stopDevice_fn)(DirectSoundBackend*, DeviceDirection, const char*, uint32_t);
typedef BackendResult (*orvosoundbackend_associateAECDevice_fn)(DirectSoundBackend*, const char*, const char*,
                                                                uint32_t, uint32_t*, uint32_t*, uint32_t*, uint32_t*);
typedef BackendResult (*orvosoundbackend_lockDSP_fn)(DirectSoundBackend*);
typedef BackendResult (*orvosoundbackend_unlockDSP_fn)(DirectSoundBackend*);

/* ------------------------------------------------------------------------------------------ layout */

#ifdef __cplusplus
} /* extern "C" */
#define ORVO_LAYOUT_ASSERT(name, condition) static_assert(condition, #name)
#else
/* C99 has no static assertion: an array of a negative size does not compile. */
#define ORVO_LAYOUT_ASSERT(name, condition) typedef char orvo_layout_##name[(condition) ? 1 : -1]
#endif

ORVO_LAYOUT_ASSERT(info_size, sizeof(BackendInfo) == 24);
ORVO_LAYOUT_ASSERT(info_name, offsetof(BackendInfo, name) == 8);
ORVO_LAYOUT_ASSERT(info_second_number, offsetof(BackendInfo, secondNumber) == 16);
ORVO_LAYOUT_ASSERT(callbacks_size, sizeof(BackendCallbacks) == 40);
ORVO_LAYOUT_ASSERT(callbacks_notify, offsetof(BackendCallbacks, notifyDeviceChange) == 8);
ORVO_LAYOUT_ASSERT(callbacks_playback, offsetof(BackendCallbacks, getPlaybackData) == 16);
ORVO_LAYOUT_ASSERT(callbacks_capture, offsetof(BackendCallbacks, deliverCaptureData) == 24);
ORVO_LAYOUT_ASSERT(callbacks_log, offsetof(BackendCallbacks, logMessage) == 32);
ORVO_LAYOUT_ASSERT(block_size, sizeof(AudioBlock) == 24);
ORVO_LAYOUT_ASSERT(block_flag, offsetof(AudioBlock, flag) == 4);
ORVO_LAYOUT_ASSERT(block_samples, offsetof(AudioBlock, samples) == 8);
ORVO_LAYOUT_ASSERT(block_frame_count, offsetof(AudioBlock, frameCount) == 16);
ORVO_LAYOUT_ASSERT(record_size, sizeof(DeviceInfoRecord) == 504);
ORVO_LAYOUT_ASSERT(record_name_length, offsetof(DeviceInfoRecord, nameLength) == 1);
ORVO_LAYOUT_ASSERT(record_reserved, offsetof(DeviceInfoRecord, reserved) == 6);
ORVO_LAYOUT_ASSERT(record_id, offsetof(DeviceInfoRecord, id) == 8);
ORVO_LAYOUT_ASSERT(record_name, offsetof(DeviceInfoRecord, name) == 256);

#endif /* ORVOSOUNDBACKEND_H */
