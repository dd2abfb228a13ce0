/**
 * @file
 * The sample formats of WAV files: reading the format chunk, decoding samples, writing the header. Pure functions
 * of bytes. Failure: AudioFileError with a sentence.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <vector>

namespace soundcheck {

/** A file cannot be read or written as a WAV file. `what()` is a sentence. */
class AudioFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

enum class SampleEncoding { Unsigned8, Signed16, Signed24, Signed32, Float32 };

struct SampleFormat {
    SampleEncoding encoding = SampleEncoding::Signed16;
    std::uint32_t channels = 0;
    std::uint32_t sampleRate = 0;
    std::size_t bytesPerFrame = 0;
};

/** Limits of what is played. Beyond them a header is more likely damaged than meant. */
inline constexpr std::uint32_t kMaxChannels = 64;
inline constexpr std::uint32_t kMinSampleRate = 100;
inline constexpr std::uint32_t kMaxSampleRate = 768000;

/** Reads the body of a `fmt ` chunk: plain or extensible, PCM of 8, 16, 24, 32 bits or 32-bit float. */
SampleFormat parseFormatChunk(std::span<const std::byte> chunk);

/** Decodes whole samples to -1 ... 1; `samples` has room for all of `bytes`. */
void decodeSamples(SampleEncoding encoding, std::span<const std::byte> bytes, std::span<float> samples);

/** Rounds to the nearest of 16 bits; what is too loud is clipped. */
std::int16_t toSigned16(float sample);

/** Format of a file to be written. */
struct WavFormat {
    std::uint32_t channels = 0;
    std::uint32_t bitsPerSample = 0;
    std::uint32_t sampleRate = 0;
    std::uint32_t channelMask = 0; ///< speaker positions; only written for more than two channels

    std::size_t bytesPerFrame() const { return std::size_t{channels} * bitsPerSample / 8; }
};

/** The whole header of a file with `dataBytes` of samples behind it. Its length does not depend on `dataBytes`. */
std::vector<std::byte> wavHeader(const WavFormat& format, std::uint32_t dataBytes);

} // namespace soundcheck
