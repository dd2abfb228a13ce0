#include "followed_streams.h"

namespace scenario {
namespace {

constexpr unsigned kChannels = 2;
constexpr unsigned kBits = 16;
constexpr std::uint64_t kNumbers = 1ull << 30; // of stereo frames, before they begin anew

} // namespace

void StreamFollower::feed(std::span<const std::byte> piece) {
    constexpr std::size_t kFrameBytes = kChannels * kBits / 8;
    const bool begins = m_Frames.frames() == 0;
    m_Frames.feed(piece);
    // A stream that begins unbroken has run from its first number to that of the piece's last frame.
    if (begins && m_Frames.frames() > 0)
        m_First = simulator::firstNumber(piece.last(kFrameBytes), kChannels) + 1 - m_Frames.frames();
}

void ReferenceFollower::feed(std::span<const std::byte> reference) {
    simulator::NumberedChecker frames(kChannels, kBits);
    frames.feed(reference);
    const std::uint64_t first = simulator::firstNumber(reference, kChannels);
    const std::uint64_t skipped = (first + kNumbers - m_Next) % kNumbers;
    const bool whole = frames.unbroken() && frames.frames() == m_FramesPerBlock;
    const bool forward = m_Blocks == 0 || (skipped % m_FramesPerBlock == 0 && skipped < kNumbers / 2);
    if (!whole || !forward)
        ++m_Disorder;
    else if (m_Blocks > 0)
        m_LeftOut += skipped / m_FramesPerBlock;
    m_Next = (first + m_FramesPerBlock) % kNumbers;
    ++m_Blocks;
}

} // namespace scenario
