// Mono sound in memory, and its way from and to WAV files.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace judge {

/// Samples are -1 to 1; several channels of a file are averaged to one.
struct Sound {
    std::vector<double> samples;
    int rate = 0;

    [[nodiscard]] double milliseconds(double frames) const { return 1000.0 * frames / rate; }
    [[nodiscard]] std::size_t frames(double milliseconds) const;
};

/// A file that cannot be used; the text is a sentence for the user.
struct BadFile : std::runtime_error {
    using std::runtime_error::runtime_error;
};

Sound readSound(const std::string& path);
void writeSound(const std::string& path, const Sound& sound);

/// Root of the mean square of `count` samples from `first`; what lies outside the sound counts as silence.
double levelOf(const std::vector<double>& samples, std::size_t first, std::size_t count);

double decibels(double amplitudeRatio);

} // namespace judge
