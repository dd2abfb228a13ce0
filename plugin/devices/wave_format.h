#pragma once

#include "orvosoundbackend.h"

#include <windows.h>

#include <mmreg.h>

#include <array>
#include <cstdint>

namespace directsound {

// The rates that the devices are asked for. Capture always takes the highest.
inline constexpr std::array<std::uint32_t, 4> kSampleRates{11025, 22050, 44100, 48000};
inline constexpr std::uint32_t kRate44k = kSampleRates[2];
inline constexpr std::uint32_t kRate48k = kSampleRates.back();

// Speaker positions.
inline constexpr std::uint32_t kFrontLeftRight = 0x3;
inline constexpr std::uint32_t kFrontCenter = 0x4;

// Markers for speaker configurations. They are no speaker positions; a wave format gets the positions instead.
inline constexpr std::uint32_t MASK_HEADPHONES = ORVO_MASK_HEADPHONES;
inline constexpr std::uint32_t MASK_MONO = ORVO_MASK_MONO;

/// Channel mask of a DirectSound speaker configuration; 0 for direct out and unknown ones.
[[nodiscard]] std::uint32_t speakerConfigToChannelMask(std::uint32_t speakerConfig);

/// Number of channels of a mask: its set bits, the markers' included.
[[nodiscard]] std::uint32_t channelCountOfMask(std::uint32_t mask);

/// An extensible PCM format. A marker in `mask` becomes the speaker positions that it stands for.
[[nodiscard]] WAVEFORMATEXTENSIBLE fillWaveFormat(std::uint32_t samplesPerSecond, std::uint32_t channels,
                                                  std::uint32_t bitsPerSample, std::uint32_t mask);

/// A plain PCM format.
[[nodiscard]] WAVEFORMATEX plainWaveFormat(std::uint32_t samplesPerSecond, std::uint32_t channels,
                                           std::uint32_t bitsPerSample);

} // namespace directsound
