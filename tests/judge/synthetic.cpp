#include "synthetic.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace synthetic {

using judge::Sound;

Sound speech(double seconds, std::uint32_t seed, int rate) {
    std::mt19937 random(seed);
    std::normal_distribution<double> normal(0, 1);
    Sound sound{std::vector<double>(static_cast<std::size_t>(seconds * rate)), rate};
    double low = 0;
    double lower = 0;
    for (std::size_t i = 0; i < sound.samples.size(); ++i) {
        low += 0.25 * (normal(random) - low); // two low passes: most of the energy below 3 kHz, as in speech
        lower += 0.25 * (low - lower);
        const double time = static_cast<double>(i) / rate;
        const double syllable = std::max(0.0, std::sin(2 * std::numbers::pi * 2.7 * time));
        const double sentence = std::fmod(time, 2.0) < 1.6 ? 1 : 0;
        sound.samples[i] = 0.6 * lower * syllable * sentence;
    }
    return sound;
}

Sound noise(double seconds, std::uint32_t seed, double level) {
    std::mt19937 random(seed);
    std::normal_distribution<double> normal(0, level);
    Sound sound{std::vector<double>(static_cast<std::size_t>(seconds * kRate)), kRate};
    std::ranges::generate(sound.samples, [&] { return normal(random); });
    return sound;
}

Sound silence(double seconds) {
    return {std::vector<double>(static_cast<std::size_t>(seconds * kRate)), kRate};
}

Sound delayed(const Sound& sound, std::size_t frames, double silenceBehind) {
    Sound later{std::vector<double>(frames), sound.rate};
    later.samples.insert(later.samples.end(), sound.samples.begin(), sound.samples.end());
    later.samples.resize(later.samples.size() + static_cast<std::size_t>(silenceBehind * sound.rate));
    return later;
}

Sound withoutFrames(Sound sound, std::size_t position, std::size_t count) {
    const auto first = sound.samples.begin() + static_cast<std::ptrdiff_t>(position);
    sound.samples.erase(first, first + static_cast<std::ptrdiff_t>(count));
    return sound;
}

Sound withRepeat(Sound sound, std::size_t position, std::size_t count) {
    const auto first = sound.samples.begin() + static_cast<std::ptrdiff_t>(position - count);
    const std::vector<double> again(first, first + static_cast<std::ptrdiff_t>(count));
    sound.samples.insert(sound.samples.begin() + static_cast<std::ptrdiff_t>(position), again.begin(), again.end());
    return sound;
}

Sound withSilence(Sound sound, std::size_t position, std::size_t count) {
    std::fill_n(sound.samples.begin() + static_cast<std::ptrdiff_t>(position), count, 0.0);
    return sound;
}

Sound echoOf(const Sound& sound, std::size_t delayFrames, std::uint32_t seed) {
    std::mt19937 random(seed);
    std::normal_distribution<double> normal(0, 1);
    std::vector<double> room{0.5};
    for (std::size_t i = 1; i < 400; ++i) // 8 ms
        room.push_back(0.05 * normal(random) * std::exp(-static_cast<double>(i) / 80));
    Sound heard{std::vector<double>(sound.samples.size()), sound.rate};
    for (std::size_t i = delayFrames; i < heard.samples.size(); ++i) {
        for (std::size_t k = 0; k < std::min(room.size(), i - delayFrames + 1); ++k)
            heard.samples[i] += room[k] * sound.samples[i - delayFrames - k];
    }
    return heard;
}

Sound sum(Sound one, const Sound& other, double gain) {
    for (std::size_t i = 0; i < std::min(one.samples.size(), other.samples.size()); ++i)
        one.samples[i] += gain * other.samples[i];
    return one;
}

} // namespace synthetic
