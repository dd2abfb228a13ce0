// Sounds made for the tests: speech-like noise, and what can befall it on the way.
#pragma once

#include "sound.h"

#include <cstdint>
#include <random>

namespace synthetic {

constexpr int kRate = 48000;

/// Noise coloured and cut into syllables with pauses, so that it has the level and the pauses of speech.
judge::Sound speech(double seconds, std::uint32_t seed, int rate = kRate);

judge::Sound noise(double seconds, std::uint32_t seed, double level = 0.1);
judge::Sound silence(double seconds);

/// The sound that many frames later, with that much silence behind it.
judge::Sound delayed(const judge::Sound& sound, std::size_t frames, double silenceBehind = 0.5);

judge::Sound withoutFrames(judge::Sound sound, std::size_t position, std::size_t count);
judge::Sound withRepeat(judge::Sound sound, std::size_t position, std::size_t count);
judge::Sound withSilence(judge::Sound sound, std::size_t position, std::size_t count);

/// What a microphone hears of the sound in a small room: delayed, with a decaying random tail.
judge::Sound echoOf(const judge::Sound& sound, std::size_t delayFrames, std::uint32_t seed);

judge::Sound sum(judge::Sound one, const judge::Sound& other, double gain);

} // namespace synthetic
