#include "devices/wave_format.h"

#include <gtest/gtest.h>

#include <cstring>

namespace directsound {
namespace {

TEST(WaveFormat, SpeakerMask_EveryConfiguration_ItsMask) {
    constexpr std::uint32_t kMasks[] = {0, MASK_HEADPHONES, MASK_MONO, 0x33, 3, 0x107, 0x3F, 0xFF, 0x63F, 0x60F};
    for (std::uint32_t config = 0; config < std::size(kMasks); ++config)
        EXPECT_EQ(speakerConfigToChannelMask(config), kMasks[config]) << config;
    for (std::uint32_t config = 10; config < 256; ++config)
        EXPECT_EQ(speakerConfigToChannelMask(config), 0U) << config;
}

TEST(WaveFormat, SpeakerMask_StereoGeometries_HeadphonesOnlyAtTheWidest) {
    for (std::uint32_t geometry = 0; geometry < 256; ++geometry)
        EXPECT_EQ(speakerConfigToChannelMask(geometry << 16 | 4), geometry == 180 ? MASK_HEADPHONES : 3U) << geometry;
}

TEST(WaveFormat, SpeakerMask_OtherBits_Ignored) {
    EXPECT_EQ(speakerConfigToChannelMask(0xFF00FF06), 0x3FU);
}

TEST(WaveFormat, ChannelCount_Masks_SetBits) {
    EXPECT_EQ(channelCountOfMask(0), 0U);
    EXPECT_EQ(channelCountOfMask(MASK_HEADPHONES), 2U);
    EXPECT_EQ(channelCountOfMask(MASK_MONO), 1U);
    EXPECT_EQ(channelCountOfMask(0x63F), 8U);
    EXPECT_EQ(channelCountOfMask(0xFFFFFFFF), 32U);
}

TEST(WaveFormat, Fill_Stereo_ExtensiblePcm) {
    const WAVEFORMATEXTENSIBLE format = fillWaveFormat(48000, 2, 16, 3);
    EXPECT_EQ(format.Format.wFormatTag, 0xFFFE);
    EXPECT_EQ(format.Format.nChannels, 2);
    EXPECT_EQ(format.Format.nSamplesPerSec, 48000U);
    EXPECT_EQ(format.Format.nAvgBytesPerSec, 192000U);
    EXPECT_EQ(format.Format.nBlockAlign, 4);
    EXPECT_EQ(format.Format.wBitsPerSample, 16);
    EXPECT_EQ(format.Format.cbSize, 22);
    EXPECT_EQ(format.Samples.wValidBitsPerSample, 16);
    EXPECT_EQ(format.dwChannelMask, 3U);
    constexpr GUID kPcm{1, 0, 0x10, {0x80, 0, 0, 0xaa, 0, 0x38, 0x9b, 0x71}};
    EXPECT_EQ(std::memcmp(&format.SubFormat, &kPcm, sizeof(GUID)), 0);
}

TEST(WaveFormat, Fill_Markers_SpeakerPositions) {
    EXPECT_EQ(fillWaveFormat(44100, 2, 16, MASK_HEADPHONES).dwChannelMask, 3U);
    EXPECT_EQ(fillWaveFormat(44100, 1, 16, MASK_MONO).dwChannelMask, 4U);
    EXPECT_EQ(fillWaveFormat(44100, 6, 16, 0x3F).dwChannelMask, 0x3FU);
}

TEST(WaveFormat, Plain_Stereo_Pcm) {
    const WAVEFORMATEX format = plainWaveFormat(44100, 2, 16);
    EXPECT_EQ(format.wFormatTag, 1);
    EXPECT_EQ(format.nBlockAlign, 4);
    EXPECT_EQ(format.nAvgBytesPerSec, 176400U);
    EXPECT_EQ(format.cbSize, 0);
}

TEST(WaveFormat, Rates_Table_FourRising) {
    constexpr std::array<std::uint32_t, 4> kExpected{11025, 22050, 44100, 48000};
    EXPECT_EQ(kSampleRates, kExpected);
}

} // namespace
} // namespace directsound
