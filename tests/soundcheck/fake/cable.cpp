#include "cable.h"

#include "words.h"

#include <algorithm>
#include <utility>

namespace fake {

void Cable::put(std::span<const std::int16_t> stereo) {
    const bool swap = asked("loopback-swap"); // once per block: to look into the environment takes its time
    const bool mute = asked("loopback-mute");
    const bool add = asked("loopback-add");
    const bool pop = asked("loopback-pop");
    const bool drop = asked("loopback-drop");
    for (std::size_t i = 0; i + 1 < stereo.size(); i += 2, ++m_frames) {
        std::int16_t left = stereo[i];
        std::int16_t right = stereo[i + 1];
        if (swap)
            std::swap(left, right);
        if (mute)
            left = right = 0;
        if (m_frames == kErrorFrame && add)
            m_samples.resize(m_samples.size() + 2 * kErrorFrames);
        if (m_frames == kErrorFrame && pop)
            left = right = 30000;
        if (m_frames >= kErrorFrame && m_frames < kErrorFrame + kErrorFrames && drop)
            continue;
        m_samples.push_back(left);
        m_samples.push_back(right);
    }
}

bool Cable::take(std::span<std::int16_t> stereo, bool playing) {
    if (!playing && m_frames == 0) {
        std::fill(stereo.begin(), stereo.end(), std::int16_t{0});
        return true;
    }
    if (m_samples.size() - m_next < stereo.size())
        return false;
    std::copy_n(m_samples.begin() + static_cast<std::ptrdiff_t>(m_next), stereo.size(), stereo.begin());
    m_next += stereo.size();
    return true;
}

} // namespace fake
