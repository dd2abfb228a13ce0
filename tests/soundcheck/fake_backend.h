/**
 * @file
 * The plug-in's part, played for tests: the fifteen exports with devices that exist only here, ten times faster
 * than time. What the words in the environment variable FAKE_BACKEND say goes wrong. It notes every call, so that
 * a test sees the order and what broke the contract; FAKE_BACKEND_JOURNAL names a file for the notes, too.
 *
 * Words: no-devices, no-default, unsupported, initialize-fails, open-fails, start-fails, capture-open-fails, stop-fails,
 * close-hangs, silent (no block at all), freeze (no block after the tenth), slow (50 ms per block), eight-bits (capture),
 * echo (the microphone hears what is played, 160 ms behind its reference), deaf (with echo: it does not), reference-late
 * (with echo: the other way round), flaky-open (every fifth), alternating-reference, no-reference, odd-echo (another rate
 * is announced), log-error, latecomer (a device comes and goes), loopback (what is played is captured again, see
 * fake_cable.h).
 */
#pragma once

#include <cstddef>
#include <cstdint>

/** Calls so far, one word each with a blank behind it: "initialize open-1 start-1 ...". Violations in capitals. */
using FakeJournal = const char* (*)();
/** All frames that were played (stereo), up to `capacity` samples. @return samples */
using FakePlayed = std::size_t (*)(std::int16_t* samples, std::size_t capacity);
