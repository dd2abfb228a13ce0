/**
 * @file
 * The plug-in's part, played for tests: the fifteen exports with devices that exist only here, ten times faster
 * than time. What the words in the environment variable FAKE_BACKEND say goes wrong. It notes every call, so that
 * a test sees the order and what broke the contract; FAKE_BACKEND_JOURNAL names a file for the notes, too.
 *
 * Words for calls: unsupported, initialize-fails, no-devices, no-default, latecomer (a device comes and goes), open-fails,
 * capture-open-fails, second-open-fails and reopen-fails (of each device the second one, all but the first), flaky-open
 * (every fifth), start-fails, start-out-of-order (all are answered so), late-event and late-events (the third is answered
 * so, every third), stop-fails, stop-hangs, close-hangs, slow-calls (initialize, open, wait, finalize), odd-echo (another
 * rate is announced), log-error (at start).
 * Words for audio: silent (no block at all), freeze and freeze-once (no block after the tenth; only the first opening),
 * slow (50 ms per block), eight-bits and loud (capture), alternating-reference, no-reference, loopback (what is played is
 * captured again, see cable.h), echo (the microphone hears what is played, 160 ms behind its reference), deaf (with
 * echo: it does not), reference-late (with echo: the other way round).
 */
#pragma once

#include <cstddef>
#include <cstdint>

/** Calls so far, one word each with a blank behind it: "initialize open-1 start-1 ...". Violations in capitals. */
using FakeJournal = const char* (*)();
/** All frames that were played (stereo), up to `capacity` samples. @return samples */
using FakePlayed = std::size_t (*)(std::int16_t* samples, std::size_t capacity);
