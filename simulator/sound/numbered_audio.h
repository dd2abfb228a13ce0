// Audio whose every frame carries its number, so that loss, repetition and disorder can be proved.
//
// 16 bits: the first channel carries bits 0 to 14 of the number, the others bits 15 to 29, each with the top bit
// set; 8 bits: every channel carries bits 0 to 6. So no sample of it is ever silence.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace simulator {

// One sample as it lies in the buffer, in the low 8 or 16 bits.
std::uint16_t numberedSample(std::uint64_t frame, unsigned channel, unsigned bits);
// Whole frames, beginning with the given number.
void fillNumbered(std::span<std::byte> bytes, std::uint64_t firstFrame, unsigned channels, unsigned bits);

// Number of the first frame of 16-bit numbered audio, modulo the range that its channels can carry.
std::uint64_t firstNumber(std::span<const std::byte> bytes, unsigned channels = 2);

// Follows numbered audio that comes in any pieces of whole frames.
class NumberedChecker {
public:
    NumberedChecker(unsigned channels, unsigned bits) : m_Channels(channels), m_Bits(bits) {}

    void feed(std::span<const std::byte> bytes);

    [[nodiscard]] std::uint64_t frames() const { return m_Frames; }   // numbered ones
    [[nodiscard]] std::uint64_t silence() const { return m_Silence; } // frames of silence after the first numbered
    [[nodiscard]] std::uint64_t leadIn() const { return m_LeadIn; }   // frames of silence before it
    [[nodiscard]] std::uint64_t garbage() const { return m_Garbage; } // neither numbered nor silence
    [[nodiscard]] std::uint64_t breaks() const { return m_Breaks; }   // where a number did not follow its predecessor
    // "frame 960 followed by 2880" of the first breaks.
    [[nodiscard]] const std::vector<std::string>& firstBreaks() const { return m_FirstBreaks; }
    // Numbered frames only, each the successor of the one before.
    [[nodiscard]] bool unbroken() const { return m_Frames > 0 && m_Silence == 0 && m_Garbage == 0 && m_Breaks == 0; }

private:
    unsigned m_Channels;
    unsigned m_Bits;
    std::uint64_t m_Expected = 0;
    std::uint64_t m_Frames = 0;
    std::uint64_t m_Silence = 0;
    std::uint64_t m_LeadIn = 0;
    std::uint64_t m_Garbage = 0;
    std::uint64_t m_Breaks = 0;
    std::vector<std::string> m_FirstBreaks;
};

} // namespace simulator
