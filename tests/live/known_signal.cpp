#include "known_signal.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>

namespace live {
namespace {

constexpr int kRounding = 2;             // conversions to float and back may cost this much
constexpr std::size_t kPattern = 24;     // so many frames in a row are not alike by chance
constexpr std::uint64_t kSearch = 96000; // a loss of up to so many frames is followed
constexpr std::size_t kTries = 9600;     // frames of noise after which nothing known is expected any more

class Examiner {
public:
    Examiner(const std::vector<std::int16_t>& recording, std::uint32_t channels)
        : m_recording(recording), m_channels(channels), m_length(recording.size() / channels) {}

    SignalReport run() {
        std::size_t position = 0;
        while (position < m_length && silent(position))
            ++position;
        std::optional<std::uint64_t> frame = find(position, 0, kSearch);
        if (!frame)
            return m_report;
        m_report.found = true;
        m_report.firstFrame = *frame;
        while (position < m_length) {
            if (same(position, *frame)) {
                ++m_report.compared;
            } else if (!resume(position, *frame)) {
                break;
            }
            ++position;
            ++*frame;
        }
        return m_report;
    }

private:
    [[nodiscard]] bool silent(std::size_t position) const {
        return std::abs(m_recording[position * m_channels]) <= kRounding;
    }

    bool same(std::size_t position, std::uint64_t frame) {
        int largest = 0;
        for (std::uint32_t c = 0; c < m_channels; ++c)
            largest = std::max(largest, std::abs(m_recording[position * m_channels + c] - signalSample(frame, c)));
        if (largest > kRounding)
            return false;
        m_report.largestDifference = std::max(m_report.largestDifference, largest);
        return true;
    }

    bool matches(std::size_t position, std::uint64_t frame) {
        if (position + kPattern > m_length)
            return false;
        for (std::size_t i = 0; i < kPattern; ++i) {
            if (!same(position + i, frame + i))
                return false;
        }
        return true;
    }

    std::optional<std::uint64_t> find(std::size_t position, std::uint64_t from, std::uint64_t to) {
        for (std::uint64_t frame = from; frame < to; ++frame) {
            if (matches(position, frame))
                return frame;
        }
        return std::nullopt;
    }

    /// Moves both to where the recording goes on with the signal. False when nothing known comes any more.
    bool resume(std::size_t& position, std::uint64_t& frame) {
        const std::uint64_t lowest = frame > kSearch ? frame - kSearch : 0;
        std::size_t tried = 0;
        for (std::size_t skipped = 0; position + skipped + kPattern <= m_length && tried < kTries; ++skipped) {
            const std::size_t there = position + skipped;
            if (matches(there, frame + skipped)) { // goes on in its place
                m_report.wrong += skipped;
                m_report.troubles.push_back({Trouble::Kind::wrong, skipped, position});
                return moveTo(position, frame, there, frame + skipped);
            }
            if (silent(there))
                continue;
            ++tried;
            // Something else was heard for `skipped` frames, then the signal goes on elsewhere.
            if (const auto next = find(there, lowest, frame + kSearch)) {
                const bool loss = *next > frame + skipped;
                const std::uint64_t shift = loss ? *next - frame - skipped : frame + skipped - *next;
                (loss ? m_report.lost : m_report.repeated) += shift;
                m_report.wrong += loss ? skipped : skipped - std::min<std::uint64_t>(skipped, shift);
                m_report.troubles.push_back({loss ? Trouble::Kind::lost : Trouble::Kind::repeated, shift, position});
                return moveTo(position, frame, there, *next);
            }
        }
        return ended(position);
    }

    bool moveTo(std::size_t& position, std::uint64_t& frame, std::size_t newPosition, std::uint64_t newFrame) {
        position = newPosition;
        frame = newFrame;
        ++m_report.compared;
        return true;
    }

    /// Silence to the end is how a recording ends; anything else is wrong.
    bool ended(std::size_t position) {
        const std::size_t end = position;
        std::uint64_t noise = 0;
        for (; position < m_length; ++position)
            noise += silent(position) ? 0U : 1U;
        m_report.wrong += noise;
        if (noise > 0)
            m_report.troubles.push_back({Trouble::Kind::wrong, noise, end});
        return false;
    }

    const std::vector<std::int16_t>& m_recording;
    std::uint32_t m_channels;
    std::size_t m_length;
    SignalReport m_report;
};

} // namespace

std::int16_t signalSample(std::uint64_t frame, std::uint32_t channel) {
    std::uint64_t bits = (frame * 2 + channel + 1) * 0x9E3779B97F4A7C15ULL; // splitmix64
    bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9ULL;
    bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBULL;
    const auto value = static_cast<int>((bits ^ (bits >> 31)) % 16000);
    return static_cast<std::int16_t>(value < 8000 ? value + 100 : 7899 - value);
}

void writeSignal(std::int16_t* samples, std::uint64_t first, std::size_t count, std::uint32_t channels) {
    for (std::size_t i = 0; i < count; ++i) {
        for (std::uint32_t c = 0; c < channels; ++c)
            samples[i * channels + c] = signalSample(first + i, c);
    }
}

std::string describe(const Trouble& trouble) {
    constexpr std::array kKinds = {"lost", "repeated", "wrong"};
    return std::to_string(trouble.frames) + " frames " + kKinds.at(static_cast<std::size_t>(trouble.kind)) +
           " at frame " + std::to_string(trouble.position) + " of the recording";
}

SignalReport examine(const std::vector<std::int16_t>& recording, std::uint32_t channels) {
    return Examiner(recording, channels).run();
}

} // namespace live
