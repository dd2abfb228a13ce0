#include "audio/sample_format.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <string>
#include <string_view>

namespace soundcheck {
namespace {

constexpr std::uint32_t kTagPcm = 1;
constexpr std::uint32_t kTagFloat = 3;
constexpr std::uint32_t kTagExtensible = 0xFFFE;
constexpr std::size_t kPlainChunkBytes = 16;
constexpr std::size_t kExtensibleChunkBytes = 40;

/** The subformat GUIDs are the format tag followed by these bytes. */
constexpr std::array<std::uint8_t, 14> kSubformatTail = {0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80,
                                                         0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};

/** `count` bytes from `offset`, little-endian. */
std::uint32_t number(std::span<const std::byte> bytes, std::size_t offset, std::size_t count) {
    std::uint32_t value = 0;
    for (std::size_t i = count; i-- > 0;)
        value = value << 8 | std::to_integer<std::uint32_t>(bytes[offset + i]);
    return value;
}

std::uint32_t subformatTag(std::span<const std::byte> chunk) {
    if (chunk.size() < kExtensibleChunkBytes)
        throw AudioFileError("its extensible format is cut short");
    for (std::size_t i = 0; i < kSubformatTail.size(); ++i)
        if (chunk[26 + i] != std::byte{kSubformatTail[i]})
            throw AudioFileError("its samples are in an unknown subformat");
    return number(chunk, 24, 2);
}

SampleEncoding encodingOf(std::uint32_t tag, std::uint32_t bits) {
    if (tag != kTagPcm && tag != kTagFloat)
        throw AudioFileError("its samples are compressed (format tag " + std::to_string(tag) +
                             "); only PCM and 32-bit float can be played");
    if (tag == kTagFloat && bits == 32)
        return SampleEncoding::Float32;
    if (tag == kTagPcm && bits == 8)
        return SampleEncoding::Unsigned8;
    if (tag == kTagPcm && bits == 16)
        return SampleEncoding::Signed16;
    if (tag == kTagPcm && bits == 24)
        return SampleEncoding::Signed24;
    if (tag == kTagPcm && bits == 32)
        return SampleEncoding::Signed32;
    throw AudioFileError("its samples have " + std::to_string(bits) + " bits, which cannot be played");
}

class HeaderBytes {
public:
    void text(std::string_view letters) {
        for (const char letter : letters)
            m_bytes.push_back(static_cast<std::byte>(letter));
    }
    void number(std::uint32_t value, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            m_bytes.push_back(static_cast<std::byte>(value >> (8 * i) & 0xFF));
    }
    std::vector<std::byte> take() { return std::move(m_bytes); }

private:
    std::vector<std::byte> m_bytes;
};

} // namespace

SampleFormat parseFormatChunk(std::span<const std::byte> chunk) {
    if (chunk.size() < kPlainChunkBytes)
        throw AudioFileError("its format chunk is cut short");
    std::uint32_t tag = number(chunk, 0, 2);
    if (tag == kTagExtensible)
        tag = subformatTag(chunk);
    SampleFormat format;
    format.channels = number(chunk, 2, 2);
    format.sampleRate = number(chunk, 4, 4);
    const std::uint32_t bits = number(chunk, 14, 2);
    format.encoding = encodingOf(tag, bits);
    format.bytesPerFrame = std::size_t{format.channels} * bits / 8;
    if (format.channels == 0 || format.channels > kMaxChannels)
        throw AudioFileError("it has " + std::to_string(format.channels) + " channels");
    if (format.sampleRate < kMinSampleRate || format.sampleRate > kMaxSampleRate)
        throw AudioFileError("its sample rate is " + std::to_string(format.sampleRate) + " Hz");
    if (number(chunk, 12, 2) != format.bytesPerFrame)
        throw AudioFileError("its header contradicts itself about the size of a frame");
    return format;
}

void decodeSamples(SampleEncoding encoding, std::span<const std::byte> bytes, std::span<float> samples) {
    const auto decodeEach = [&](std::size_t sampleBytes, auto decodeOne) {
        for (std::size_t i = 0; i < bytes.size() / sampleBytes; ++i)
            samples[i] = decodeOne(number(bytes, i * sampleBytes, sampleBytes));
    };
    switch (encoding) {
    case SampleEncoding::Unsigned8:
        return decodeEach(1, [](std::uint32_t raw) { return (static_cast<float>(raw) - 128.0F) / 128.0F; });
    case SampleEncoding::Signed16:
        return decodeEach(2, [](std::uint32_t raw) {
            return static_cast<float>(static_cast<std::int16_t>(static_cast<std::uint16_t>(raw))) / 32768.0F;
        });
    case SampleEncoding::Signed24: // moved to the top, so that the sign bit stands where it belongs
        return decodeEach(3, [](std::uint32_t raw) {
            return static_cast<float>(static_cast<std::int32_t>(raw << 8)) / 2147483648.0F;
        });
    case SampleEncoding::Signed32:
        return decodeEach(
            4, [](std::uint32_t raw) { return static_cast<float>(static_cast<std::int32_t>(raw)) / 2147483648.0F; });
    case SampleEncoding::Float32: // a file may hold NaN and infinity, which would spread through the resampler
        return decodeEach(4, [](std::uint32_t raw) {
            const auto value = std::bit_cast<float>(raw);
            return std::isfinite(value) ? std::clamp(value, -1.0F, 1.0F) : 0.0F;
        });
    }
}

std::int16_t toSigned16(float sample) {
    return static_cast<std::int16_t>(std::lrint(std::clamp(sample * 32768.0F, -32768.0F, 32767.0F)));
}

std::vector<std::byte> wavHeader(const WavFormat& format, std::uint32_t dataBytes) {
    const bool extensible = format.channels > 2;
    const std::size_t formatBytes = extensible ? kExtensibleChunkBytes : kPlainChunkBytes;
    const auto bytesPerFrame = static_cast<std::uint32_t>(format.bytesPerFrame());
    constexpr std::size_t kAround = 4 + 8 + 8; // "WAVE" and the two chunk heads
    HeaderBytes header;
    header.text("RIFF");
    header.number(static_cast<std::uint32_t>(kAround + formatBytes) + dataBytes + dataBytes % 2, 4);
    header.text("WAVEfmt ");
    header.number(static_cast<std::uint32_t>(formatBytes), 4);
    header.number(extensible ? kTagExtensible : kTagPcm, 2);
    header.number(format.channels, 2);
    header.number(format.sampleRate, 4);
    header.number(format.sampleRate * bytesPerFrame, 4);
    header.number(bytesPerFrame, 2);
    header.number(format.bitsPerSample, 2);
    if (extensible) {
        header.number(static_cast<std::uint32_t>(kExtensibleChunkBytes - kPlainChunkBytes - 2), 2);
        header.number(format.bitsPerSample, 2);
        header.number(format.channelMask, 4);
        header.number(kTagPcm, 2);
        for (const std::uint8_t part : kSubformatTail)
            header.number(part, 1);
    }
    header.text("data");
    header.number(dataBytes, 4);
    return header.take();
}

} // namespace soundcheck
