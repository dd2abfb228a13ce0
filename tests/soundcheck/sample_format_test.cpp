#include "audio/sample_format.h"
#include "test_files.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <limits>

namespace soundcheck {
namespace {

using test::append;
using test::Bytes;
using test::formatChunk;

Bytes extensibleChunk(std::uint32_t subformatTag, std::uint32_t bits) {
    Bytes chunk = formatChunk(0xFFFE, 2, 48000, bits);
    append(chunk, 22, 2);
    append(chunk, bits, 2);
    append(chunk, 3, 4);
    append(chunk, subformatTag, 2);
    constexpr std::array<std::uint32_t, 14> kTail = {0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80,
                                                     0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
    for (const std::uint32_t part : kTail)
        append(chunk, part, 1);
    return chunk;
}

std::vector<float> decode(SampleEncoding encoding, std::initializer_list<int> raw) {
    Bytes bytes;
    for (const int value : raw)
        bytes.push_back(static_cast<std::byte>(value));
    std::vector<float> samples(raw.size(), 99.0F);
    decodeSamples(encoding, bytes, samples);
    return samples;
}

TEST(FormatChunk, PlainPcm_AllWidths_AreRead) {
    EXPECT_EQ(parseFormatChunk(formatChunk(1, 1, 8000, 8)).encoding, SampleEncoding::Unsigned8);
    EXPECT_EQ(parseFormatChunk(formatChunk(1, 2, 44100, 16)).encoding, SampleEncoding::Signed16);
    EXPECT_EQ(parseFormatChunk(formatChunk(1, 6, 96000, 24)).encoding, SampleEncoding::Signed24);
    EXPECT_EQ(parseFormatChunk(formatChunk(1, 8, 192000, 32)).encoding, SampleEncoding::Signed32);
    EXPECT_EQ(parseFormatChunk(formatChunk(3, 1, 48000, 32)).encoding, SampleEncoding::Float32);
    const SampleFormat format = parseFormatChunk(formatChunk(1, 6, 96000, 24));
    EXPECT_EQ(format.channels, 6U);
    EXPECT_EQ(format.sampleRate, 96000U);
    EXPECT_EQ(format.bytesPerFrame, 18U);
}

TEST(FormatChunk, Extensible_PcmAndFloat_AreRead) {
    EXPECT_EQ(parseFormatChunk(extensibleChunk(1, 24)).encoding, SampleEncoding::Signed24);
    EXPECT_EQ(parseFormatChunk(extensibleChunk(3, 32)).encoding, SampleEncoding::Float32);
}

TEST(FormatChunk, Extensible_ForeignSubformat_IsRefused) {
    Bytes chunk = extensibleChunk(1, 16);
    chunk[39] = std::byte{0};
    EXPECT_THROW(parseFormatChunk(chunk), AudioFileError);
    EXPECT_THROW(parseFormatChunk(extensibleChunk(0x55, 16)), AudioFileError);
}

TEST(FormatChunk, CutShort_IsRefused) {
    const Bytes whole = extensibleChunk(1, 16);
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_THROW(parseFormatChunk(std::span(whole).first(length)), AudioFileError) << length;
}

TEST(FormatChunk, Nonsense_IsRefused) {
    EXPECT_THROW(parseFormatChunk(formatChunk(0x55, 2, 44100, 16)), AudioFileError); // compressed
    EXPECT_THROW(parseFormatChunk(formatChunk(1, 0, 44100, 16)), AudioFileError);
    EXPECT_THROW(parseFormatChunk(formatChunk(1, 65, 44100, 16)), AudioFileError);
    EXPECT_THROW(parseFormatChunk(formatChunk(1, 1, 0, 16)), AudioFileError);
    EXPECT_THROW(parseFormatChunk(formatChunk(1, 1, 0xFFFFFFFF, 16)), AudioFileError);
    EXPECT_THROW(parseFormatChunk(formatChunk(1, 1, 44100, 12)), AudioFileError);
    EXPECT_THROW(parseFormatChunk(formatChunk(3, 1, 44100, 16)), AudioFileError);
    Bytes contradiction = formatChunk(1, 2, 44100, 16);
    contradiction[12] = std::byte{2};
    EXPECT_THROW(parseFormatChunk(contradiction), AudioFileError);
}

TEST(DecodeSamples, EachEncoding_Extremes_AreExact) {
    EXPECT_EQ(decode(SampleEncoding::Unsigned8, {0, 128, 255})[0], -1.0F);
    EXPECT_EQ(decode(SampleEncoding::Unsigned8, {0, 128, 255})[1], 0.0F);
    EXPECT_EQ(decode(SampleEncoding::Unsigned8, {0, 128, 255})[2], 127.0F / 128.0F);
    EXPECT_EQ(decode(SampleEncoding::Signed16, {0x00, 0x80})[0], -1.0F);
    EXPECT_EQ(decode(SampleEncoding::Signed16, {0x01, 0x00})[0], 1.0F / 32768.0F);
    EXPECT_EQ(decode(SampleEncoding::Signed24, {0x00, 0x00, 0x80})[0], -1.0F);
    EXPECT_EQ(decode(SampleEncoding::Signed24, {0x01, 0x00, 0x00})[0], 1.0F / 8388608.0F);
    EXPECT_EQ(decode(SampleEncoding::Signed24, {0xFF, 0xFF, 0xFF})[0], -1.0F / 8388608.0F);
    EXPECT_EQ(decode(SampleEncoding::Signed32, {0x00, 0x00, 0x00, 0x80})[0], -1.0F);
    EXPECT_EQ(decode(SampleEncoding::Signed32, {0x00, 0x00, 0x00, 0x40})[0], 0.5F);
}

TEST(DecodeSamples, Float_NotANumberAndInfinity_BecomeSilence) {
    for (const float odd : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
        Bytes bytes;
        append(bytes, std::bit_cast<std::uint32_t>(odd), 4);
        std::array<float, 1> sample = {99.0F};
        decodeSamples(SampleEncoding::Float32, bytes, sample);
        EXPECT_EQ(sample[0], 0.0F);
    }
}

TEST(DecodeSamples, Signed16_ThereAndBack_IsExactForEveryValue) {
    for (int value = -32768; value <= 32767; ++value) {
        Bytes bytes;
        append(bytes, static_cast<std::uint32_t>(value) & 0xFFFF, 2);
        std::array<float, 1> sample{};
        decodeSamples(SampleEncoding::Signed16, bytes, sample);
        ASSERT_EQ(toSigned16(sample[0]), value);
    }
}

TEST(ToSigned16, TooLoud_IsClipped) {
    EXPECT_EQ(toSigned16(1.0F), 32767);
    EXPECT_EQ(toSigned16(-3.0F), -32768);
}

TEST(WavHeader, TwoChannels_ParsesBack) {
    const auto header = wavHeader({2, 16, 48000, 3}, 1920);
    ASSERT_EQ(header.size(), 44U);
    const SampleFormat format = parseFormatChunk(std::span(header).subspan(20, 16));
    EXPECT_EQ(format.channels, 2U);
    EXPECT_EQ(format.sampleRate, 48000U);
    EXPECT_EQ(format.encoding, SampleEncoding::Signed16);
}

TEST(WavHeader, ManyChannels_IsExtensibleAndOfFixedLength) {
    const auto header = wavHeader({6, 16, 48000, 0x3F}, 12);
    EXPECT_EQ(header.size(), 68U);
    EXPECT_EQ(wavHeader({6, 16, 48000, 0x3F}, 0xFFFFFF00).size(), header.size());
    EXPECT_EQ(parseFormatChunk(std::span(header).subspan(20, 40)).channels, 6U);
}

} // namespace
} // namespace soundcheck
