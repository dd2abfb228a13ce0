#include "loopback/loop_pictures.h"

#include "loopback/loop_report.h"
#include "pictures/pictures.h"

#include <cstddef>
#include <string>
#include <utility>

namespace soundcheck {
namespace {

std::string captionOf(const LoopExcerpt& excerpt, std::uint32_t sampleRate) {
    if (!excerpt.disturbance)
        return "The first mark as it was played and as it came back, shifted by the round trip.";
    return "What was played and what came back " + disturbanceText(*excerpt.disturbance, sampleRate) +
           ". Shifted by the round trip up to there.";
}

WaveTrack trackOf(std::string name, const std::vector<float>& samples, std::uint64_t firstFrame,
                  std::uint32_t sampleRate) {
    WaveTrack track{std::move(name), {}};
    for (std::size_t i = 0; i < samples.size(); ++i)
        track.columns.push_back({static_cast<double>(firstFrame + i) / sampleRate, samples[i], samples[i]});
    return track;
}

void add(std::vector<PagePicture>& pictures, std::string caption, std::string svg) {
    if (!svg.empty())
        pictures.push_back({std::move(caption), std::move(svg)});
}

} // namespace

std::vector<PagePicture> loopPictures(const LoopResult& result, std::uint32_t sampleRate) {
    std::vector<PagePicture> pictures;
    std::vector<PlottedLag> points;
    for (const LatencyPoint& point : result.latency)
        points.push_back({point.seconds, point.milliseconds});
    add(pictures, "Round trip: how long after it was handed over each mark came back.", lagPicture(points));
    for (const LoopExcerpt& excerpt : result.excerpts)
        add(pictures, captionOf(excerpt, sampleRate),
            waveformPicture(
                std::vector<WaveTrack>{trackOf("played", excerpt.played, excerpt.frame, sampleRate),
                                       trackOf("captured", excerpt.captured, excerpt.frame, sampleRate)}));
    return pictures;
}

} // namespace soundcheck
