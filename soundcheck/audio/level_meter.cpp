#include "audio/level_meter.h"

#include "platform/text.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace soundcheck {
namespace {

using namespace std::chrono_literals;

constexpr auto kHoldTime = 1500ms;
constexpr auto kClipTime = 3s;
constexpr double kLowestShown = -60.0;
constexpr int kClippedFrom = kFullScale - 1; // the largest positive sample

std::size_t barLength(int peak, std::size_t width) {
    const double share = 1.0 - std::max(decibels(peak), kLowestShown) / kLowestShown;
    return static_cast<std::size_t>(std::lround(share * static_cast<double>(width)));
}

} // namespace

void LevelMeter::add(std::span<const std::int16_t> samples) {
    int peak = 0;
    for (const std::int16_t sample : samples)
        peak = std::max(peak, std::abs(int{sample}));
    raise(peak);
}

void LevelMeter::add(std::span<const std::uint8_t> samples) {
    int peak = 0;
    for (const std::uint8_t sample : samples)
        peak = std::max(peak, std::abs(int{sample} - 128));
    // The largest positive sample is one step short of full scale here, too.
    raise(peak == 127 ? kClippedFrom : peak * (kFullScale / 128));
}

void LevelMeter::add(std::span<const std::byte> bytes, std::uint32_t bitsPerSample) {
    if (bitsPerSample == 8)
        add(std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()));
    else
        add(std::span(reinterpret_cast<const std::int16_t*>(bytes.data()), bytes.size() / 2));
}

void LevelMeter::raise(int peak) {
    int known = m_peak.load(std::memory_order_relaxed);
    while (peak > known && !m_peak.compare_exchange_weak(known, peak, std::memory_order_relaxed)) {
    }
}

double decibels(int peak) {
    return peak <= 0 ? kSilenceDecibels
                     : std::max(kSilenceDecibels, 20.0 * std::log10(static_cast<double>(peak) / kFullScale));
}

void LevelDisplay::update(int peak, Clock::time_point now) {
    m_peak = peak;
    if (peak >= m_held || now - m_heldSince > kHoldTime) {
        m_held = peak;
        m_heldSince = now;
    }
    if (peak >= kClippedFrom) {
        m_clipped = true;
        m_clippedAt = now;
    } else if (now - m_clippedAt > kClipTime) {
        m_clipped = false;
    }
}

std::string LevelDisplay::text(std::size_t width) const {
    std::string bar(width, '-');
    std::fill_n(bar.begin(), static_cast<std::ptrdiff_t>(barLength(m_peak, width)), '#');
    const std::size_t mark = barLength(m_held, width);
    if (mark > 0)
        bar[mark - 1] = '|';
    std::string number = fixedDecimals(decibels(m_peak), 1);
    number.insert(0, number.size() < 5 ? 5 - number.size() : 0, ' ');
    return "[" + bar + "] " + number + " dB" + (m_clipped ? " CLIP" : "");
}

} // namespace soundcheck
