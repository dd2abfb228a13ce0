#include "devices/wave_format.h"

#include "platform/directsound.h"

#include <bit>

namespace directsound {
namespace {

constexpr GUID kSubtypePcm{0x00000001, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xaa, 0x00, 0x38, 0x9b, 0x71}};

constexpr WORD kExtraBytes = sizeof(WAVEFORMATEXTENSIBLE) - sizeof(WAVEFORMATEX);
static_assert(sizeof(WAVEFORMATEXTENSIBLE) == 40 && kExtraBytes == 22);

std::uint32_t speakerPositions(std::uint32_t mask) {
    switch (mask) {
    case MASK_HEADPHONES:
        return kFrontLeftRight;
    case MASK_MONO:
        return kFrontCenter;
    default:
        return mask;
    }
}

} // namespace

std::uint32_t speakerConfigToChannelMask(std::uint32_t speakerConfig) {
    // By number: the platform's headers of some ages lack the names of the later configurations.
    switch (DSSPEAKER_CONFIG(speakerConfig)) {
    case 1: // headphones
        return MASK_HEADPHONES;
    case 2: // mono
        return MASK_MONO;
    case 3: // quad
        return 0x33;
    case 4: // stereo
        return DSSPEAKER_GEOMETRY(speakerConfig) == DSSPEAKER_GEOMETRY_MAX ? MASK_HEADPHONES : kFrontLeftRight;
    case 5: // surround
        return 0x107;
    case 6: // 5.1
        return 0x3F;
    case 7: // 7.1 wide
        return 0xFF;
    case 8: // 7.1 surround
        return 0x63F;
    case 9: // 5.1 surround
        return 0x60F;
    default: // direct out, unknown
        return 0;
    }
}

std::uint32_t channelCountOfMask(std::uint32_t mask) {
    return static_cast<std::uint32_t>(std::popcount(mask));
}

WAVEFORMATEXTENSIBLE fillWaveFormat(std::uint32_t samplesPerSecond, std::uint32_t channels,
                                    std::uint32_t bitsPerSample, std::uint32_t mask) {
    WAVEFORMATEXTENSIBLE format{};
    format.Format = plainWaveFormat(samplesPerSecond, channels, bitsPerSample);
    format.Format.wFormatTag = WAVE_FORMAT_EXTENSIBLE;
    format.Format.cbSize = kExtraBytes;
    format.Samples.wValidBitsPerSample = static_cast<WORD>(bitsPerSample);
    format.dwChannelMask = speakerPositions(mask);
    format.SubFormat = kSubtypePcm;
    return format;
}

WAVEFORMATEX plainWaveFormat(std::uint32_t samplesPerSecond, std::uint32_t channels, std::uint32_t bitsPerSample) {
    WAVEFORMATEX format{};
    format.wFormatTag = WAVE_FORMAT_PCM;
    format.nChannels = static_cast<WORD>(channels);
    format.nSamplesPerSec = samplesPerSecond;
    format.nBlockAlign = static_cast<WORD>(bitsPerSample * channels / 8);
    format.nAvgBytesPerSec = format.nBlockAlign * samplesPerSecond;
    format.wBitsPerSample = static_cast<WORD>(bitsPerSample);
    return format;
}

} // namespace directsound
