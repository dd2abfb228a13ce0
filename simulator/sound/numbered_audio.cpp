#include "numbered_audio.h"

#include <cstring>

namespace simulator {
namespace {

constexpr std::size_t kReportedBreaks = 10;
constexpr std::uint64_t kLow15 = 0x7FFF;

std::uint16_t load(const std::byte* at, unsigned bits) {
    std::uint16_t value = 0;
    std::memcpy(&value, at, bits / 8);
    return value;
}

} // namespace

std::uint16_t numberedSample(std::uint64_t frame, unsigned channel, unsigned bits) {
    if (bits == 8)
        return static_cast<std::uint16_t>(frame & 0x7F);
    return static_cast<std::uint16_t>(0x8000 | ((channel == 0 ? frame : frame >> 15) & kLow15));
}

void fillNumbered(std::span<std::byte> bytes, std::uint64_t firstFrame, unsigned channels, unsigned bits) {
    const std::size_t sampleBytes = bits / 8;
    std::byte* at = bytes.data();
    const std::size_t frames = bytes.size() / (sampleBytes * channels);
    for (std::size_t frame = 0; frame < frames; ++frame) {
        for (unsigned channel = 0; channel < channels; ++channel, at += sampleBytes) {
            const std::uint16_t sample = numberedSample(firstFrame + frame, channel, bits);
            std::memcpy(at, &sample, sampleBytes);
        }
    }
}

std::uint64_t firstNumber(std::span<const std::byte> bytes, unsigned channels) {
    const std::uint64_t low = load(bytes.data(), 16) & kLow15;
    return channels == 1 ? low : low | (load(bytes.data() + sizeof(std::uint16_t), 16) & kLow15) << 15;
}

void NumberedChecker::feed(std::span<const std::byte> bytes) {
    const std::size_t sampleBytes = m_Bits / 8;
    const std::size_t frameBytes = sampleBytes * m_Channels;
    const std::uint64_t range = m_Bits == 8 ? 0x80 : m_Channels == 1 ? 0x8000 : 0x40000000;
    for (const std::byte* at = bytes.data(); at + frameBytes <= bytes.data() + bytes.size(); at += frameBytes) {
        const std::uint16_t first = load(at, m_Bits);
        const std::uint16_t second = m_Channels > 1 ? load(at + sampleBytes, m_Bits) : first;
        const bool silent = m_Bits == 8 ? first == 0x80 : first == 0 && second == 0;
        if (silent) {
            ++(m_Frames == 0 ? m_LeadIn : m_Silence);
            continue;
        }
        const bool numbered = m_Bits == 8 ? first < 0x80 : (first & second & 0x8000) != 0;
        if (!numbered) {
            ++m_Garbage;
            continue;
        }
        const std::uint64_t number =
            m_Bits == 8 ? first : (first & kLow15) | (m_Channels > 1 ? (second & kLow15) << 15 : 0);
        if (m_Frames > 0 && number != m_Expected) {
            ++m_Breaks;
            if (m_FirstBreaks.size() < kReportedBreaks)
                m_FirstBreaks.push_back("frame " + std::to_string((m_Expected + range - 1) % range) +
                                        " followed by " + std::to_string(number));
        }
        m_Expected = (number + 1) % range;
        ++m_Frames;
    }
}

} // namespace simulator
