/* The smallest client: plays three seconds of a tone on the default voice device.
 *
 * It loads directsound_win64.dll by name and keeps the calling order: initialize, open, start, stop, close, wait,
 * finalize. Exit code: 0 when the tone was asked for, 1 when anything failed. */
#include "orvosoundbackend.h"

#include <windows.h>

#include <math.h>
#include <stdio.h>

#define TONE_SECONDS 3
#define CONTEXT_ID 1 /* our own number for this opening; start, stop and close repeat it */

/* One pointer per export, named after it: orvosoundbackend_initialize is in call.orvosoundbackend_initialize. */
#define DECLARE_EXPORT(name) name##_fn name;
static struct { ORVOSOUNDBACKEND_EXPORTS(DECLARE_EXPORT) } call;

/* What the callbacks work on. The format is written before start; afterwards only the device's thread uses it. */
typedef struct {
    uint32_t channels, rate, frame;
    volatile LONG blocks; /* counted for the main thread */
} Tone;

/* The plug-in wants 20 ms. Runs on the device's thread with the DSP lock held: be quick, never wait. */
static int32_t get_playback_data(void* context, const char* device_id, AudioBlock* block) {
    Tone* tone = (Tone*)context;
    (void)device_id;
    for (int32_t i = 0; i < block->frameCount; ++i, ++tone->frame)
        for (uint32_t c = 0; c < tone->channels; ++c)
            block->samples[(uint32_t)i * tone->channels + c] =
                (int16_t)(8000.0 * sin(2.0 * 3.14159265358979 * 440.0 * tone->frame / tone->rate));
    InterlockedIncrement(&tone->blocks);
    return block->frameCount;
}

/* All slots but the log must be filled, also the ones that this client has no use for. */
static void deliver_capture_data(void* context, const char* device_id, AudioBlock* captured, AudioBlock* echo) {
    (void)context, (void)device_id, (void)captured, (void)echo;
}
static void notify_device_change(void* context, int32_t event, const char* device_id, int32_t value) {
    (void)context, (void)event, (void)device_id, (void)value;
}
/* Any thread, several at once: fprintf is safe there. */
static void log_message(void* context, const char* device_id, const char* message, int32_t level) {
    (void)context;
    fprintf(stderr, "[level %d] %s %s\n", (int)level, message, device_id);
}

static int done(const char* step, BackendResult result) {
    if (result < 0)
        fprintf(stderr, "%s failed with %d\n", step, (int)result);
    return result >= 0;
}

static int look_up(HMODULE dll) {
#define LOOK_UP_EXPORT(name)                                                                                         \
    call.name = (name##_fn)(void (*)(void))GetProcAddress(dll, #name);                                               \
    if (call.name == NULL)                                                                                           \
        return 0;
    ORVOSOUNDBACKEND_EXPORTS(LOOK_UP_EXPORT)
    return 1;
}

static void play(DirectSoundBackend* backend, Tone* tone) {
    DeviceInfoRecord device;
    uint32_t bits = 0, mask = 0;
    if (!done("Asking for the default device",
              call.orvosoundbackend_getDefaultDevice(backend, ORVO_PLAYBACK, &device)) ||
        !done("Opening", call.orvosoundbackend_openDevice(backend, ORVO_PLAYBACK, device.id, CONTEXT_ID,
                                                          &tone->channels, &bits, &tone->rate, &mask)))
        return;
    if (done("Starting", call.orvosoundbackend_startDevice(backend, ORVO_PLAYBACK, device.id, CONTEXT_ID)))
        Sleep(TONE_SECONDS * 1000);
    call.orvosoundbackend_stopDevice(backend, ORVO_PLAYBACK, device.id, CONTEXT_ID);
    call.orvosoundbackend_closeDevice(backend, ORVO_PLAYBACK, device.id, CONTEXT_ID);
    call.orvosoundbackend_waitForClosedDevices(backend); /* from here on no callback comes any more */
}

int main(void) {
    Tone tone = {0, 0, 0, 0}; /* lives until finalize has returned */
    const BackendCallbacks callbacks = {&tone, notify_device_change, get_playback_data, deliver_capture_data,
                                        log_message};
    DirectSoundBackend* backend = NULL;
    HMODULE dll = LoadLibraryA("directsound_win64.dll");
    if (dll == NULL || !look_up(dll)) {
        fprintf(stderr, "directsound_win64.dll cannot be loaded.\n");
        return 1;
    }
    if (done("Initializing", call.orvosoundbackend_initialize(&backend, &callbacks))) {
        play(backend, &tone);
        call.orvosoundbackend_finalize(backend); /* on the thread that initialized */
    }
    FreeLibrary(dll);
    printf("%ld blocks of 20 ms at %u Hz, %u channels\n", (long)tone.blocks, (unsigned)tone.rate,
           (unsigned)tone.channels);
    return tone.blocks > TONE_SECONDS * 40 ? 0 : 1;
}
