// Followers of whole streams, block by block and frame by frame, that keep nothing: for sessions of hours.
#pragma once

#include "sound/numbered_audio.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace scenario {

// Stereo frames of 16 bits in pieces, and with which number they began.
class StreamFollower {
public:
    void feed(std::span<const std::byte> piece);

    [[nodiscard]] const simulator::NumberedChecker& frames() const { return m_Frames; }
    // Number of the first frame that was not silent; a number that never comes before.
    [[nodiscard]] std::uint64_t first() const { return m_First; }

private:
    simulator::NumberedChecker m_Frames{2, 16};
    std::uint64_t m_First = UINT64_MAX;
};

// The blocks that came as echo reference. Played blocks may be left out, since two clocks never agree; none may come
// twice, out of order or in pieces.
class ReferenceFollower {
public:
    explicit ReferenceFollower(std::uint64_t framesPerBlock) : m_FramesPerBlock(framesPerBlock) {}

    // A captured block came with this reference, or with none.
    void feed(std::span<const std::byte> reference);
    void feedNone() { ++(m_Blocks == 0 ? m_Before : m_Missing); }

    [[nodiscard]] std::uint64_t blocks() const { return m_Blocks; }
    [[nodiscard]] std::uint64_t leftOut() const { return m_LeftOut; } // played blocks that never came
    [[nodiscard]] std::uint64_t missing() const { return m_Missing; } // captured blocks without one, after the first
    [[nodiscard]] std::uint64_t before() const { return m_Before; }   // captured blocks before the first
    [[nodiscard]] std::uint64_t disorder() const { return m_Disorder; } // repeated, earlier, or torn

private:
    std::uint64_t m_FramesPerBlock;
    std::uint64_t m_Next = 0; // frame
    std::uint64_t m_Blocks = 0;
    std::uint64_t m_LeftOut = 0;
    std::uint64_t m_Missing = 0;
    std::uint64_t m_Before = 0;
    std::uint64_t m_Disorder = 0;
};

} // namespace scenario
