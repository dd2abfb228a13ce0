#pragma once

#include <windows.h>

#include <mmreg.h>

#include <cstdint>

namespace directsound {

// Pure arithmetic of the one-second device buffers. Positions and sizes are bytes, times milliseconds, and a block
// index runs from 0 to BLOCKS_PER_BUFFER - 1.

inline constexpr std::uint32_t kBlockMilliseconds = 20;
inline constexpr std::uint32_t BLOCKS_PER_BUFFER = 50;
inline constexpr std::uint32_t kMillisecondsPerSecond = 1000;
static_assert(kBlockMilliseconds * BLOCKS_PER_BUFFER == kMillisecondsPerSecond, "a buffer holds one second");

/// Sizes of a block in a given format.
struct BlockGeometry {
    std::uint32_t framesPerBlock;
    std::uint32_t bytesPerBlock;
    std::uint32_t bytesPerSecond;

    [[nodiscard]] constexpr std::uint32_t bytesPerBuffer() const { return bytesPerBlock * BLOCKS_PER_BUFFER; }
    /// False for a format that no audio can move in: the positions below would divide by zero.
    [[nodiscard]] constexpr bool valid() const { return bytesPerBlock != 0 && bytesPerSecond != 0; }
};

[[nodiscard]] constexpr BlockGeometry blockGeometry(std::uint32_t samplesPerSecond, std::uint32_t blockAlign) {
    const std::uint32_t frames = samplesPerSecond * kBlockMilliseconds / kMillisecondsPerSecond;
    return {frames, frames * blockAlign, samplesPerSecond * blockAlign};
}

[[nodiscard]] inline BlockGeometry blockGeometry(const WAVEFORMATEX& format) {
    return blockGeometry(format.nSamplesPerSec, format.nBlockAlign);
}

/// The block that holds a position.
[[nodiscard]] constexpr std::uint32_t blockAt(std::uint32_t position, const BlockGeometry& geometry) {
    return position / geometry.bytesPerBlock;
}

[[nodiscard]] constexpr std::uint32_t nextBlock(std::uint32_t block) {
    return (block + 1) % BLOCKS_PER_BUFFER;
}

/// Blocks from `from` forward to `to`, around the end of the buffer.
[[nodiscard]] constexpr std::uint32_t blockDistance(std::uint32_t from, std::uint32_t to) {
    return to >= from ? to - from : to + BLOCKS_PER_BUFFER - from;
}

/// Milliseconds by which a position has passed the start of its block, truncated.
[[nodiscard]] constexpr std::uint32_t millisecondsIntoBlock(std::uint32_t position, const BlockGeometry& geometry) {
    return position % geometry.bytesPerBlock * kMillisecondsPerSecond / geometry.bytesPerSecond;
}

/// The block that playback must not write yet: one past the cushion ahead of the write cursor's block.
[[nodiscard]] constexpr std::uint32_t playbackTarget(std::uint32_t writeCursor, std::uint32_t latencyBlocks,
                                                     const BlockGeometry& geometry) {
    return (blockAt(writeCursor, geometry) + 1 + latencyBlocks) % BLOCKS_PER_BUFFER;
}

/// How long playback waits before it looks again. Kept: it grows with the distance that the write cursor has already
/// covered in its block, instead of shrinking with what is left of it.
[[nodiscard]] constexpr std::uint32_t playbackWait(std::uint32_t writeCursor, const BlockGeometry& geometry) {
    return writeCursor % geometry.bytesPerBlock == 0 ? kBlockMilliseconds
                                                     : millisecondsIntoBlock(writeCursor, geometry);
}

} // namespace directsound
