#include "sound.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace judge {
namespace {

using File = std::unique_ptr<SNDFILE, int (*)(SNDFILE*)>;

File openFile(const std::string& path, int mode, SF_INFO& info) {
    File file(sf_open(path.c_str(), mode, &info), sf_close);
    if (!file)
        throw BadFile(path + ": " + sf_strerror(nullptr));
    return file;
}

} // namespace

std::size_t Sound::frames(double milliseconds) const {
    return static_cast<std::size_t>(std::lround(milliseconds * rate / 1000.0));
}

Sound readSound(const std::string& path) {
    SF_INFO info{};
    const File file = openFile(path, SFM_READ, info);
    const auto channels = static_cast<std::size_t>(info.channels);
    std::vector<double> interleaved(static_cast<std::size_t>(info.frames) * channels);
    const sf_count_t read = sf_readf_double(file.get(), interleaved.data(), info.frames);
    if (read <= 0)
        throw BadFile(path + ": holds no sound");
    Sound sound{std::vector<double>(static_cast<std::size_t>(read)), info.samplerate};
    for (std::size_t i = 0; i < sound.samples.size(); ++i) {
        for (std::size_t c = 0; c < channels; ++c)
            sound.samples[i] += interleaved[i * channels + c] / static_cast<double>(channels);
    }
    return sound;
}

void writeSound(const std::string& path, const Sound& sound) {
    SF_INFO info{};
    info.samplerate = sound.rate;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    const File file = openFile(path, SFM_WRITE, info);
    const auto frames = static_cast<sf_count_t>(sound.samples.size());
    if (sf_writef_double(file.get(), sound.samples.data(), frames) != frames)
        throw BadFile(path + ": " + sf_strerror(file.get()));
}

double levelOf(const std::vector<double>& samples, std::size_t first, std::size_t count) {
    const std::size_t end = std::min(samples.size(), first + count);
    double sum = 0;
    for (std::size_t i = first; i < end; ++i)
        sum += samples[i] * samples[i];
    return count == 0 ? 0 : std::sqrt(sum / static_cast<double>(count));
}

double decibels(double amplitudeRatio) {
    return 20 * std::log10(std::max(amplitudeRatio, 1e-10));
}

} // namespace judge
