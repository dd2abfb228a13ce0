/**
 * @file
 * A cable from the fake plug-in's playback to its capture device. It loses nothing, however the threads run, but for
 * what the words ask for, once, 1.8 seconds after the playback began: loopback-drop (480 frames), loopback-add (as
 * many of silence), loopback-pop (one frame); and always: loopback-swap (left is right), loopback-mute (silence).
 *
 * Thread: one at a time.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace fake {

class Cable {
public:
    static constexpr std::size_t kDelayFrames = 4800;
    static constexpr std::size_t kErrorFrame = 86400;
    static constexpr std::size_t kErrorFrames = 480;

    void put(std::span<const std::int16_t> stereo);
    /** Silence before anything is played. @return false: wait, what comes next is not played yet */
    bool take(std::span<std::int16_t> stereo, bool playing);

private:
    std::vector<std::int16_t> m_samples = std::vector<std::int16_t>(2 * kDelayFrames);
    std::size_t m_frames = 0; ///< put so far
    std::size_t m_next = 0;
};

} // namespace fake
