#include "loopback/loop_report.h"

#include "platform/text.h"

#include <cmath>
#include <string_view>

namespace soundcheck {
namespace {

/** Sound hardware is better than this by far; a client's clock correction is not made for worse. */
constexpr double kMaxDriftPpm = 1000;

/** Disturbances that are listed one by one for a reader; the document has them all. */
constexpr std::size_t kListed = 20;

std::string framesText(std::uint64_t frames) {
    return std::to_string(frames) + (frames == 1 ? " frame" : " frames");
}

double secondsOf(const Disturbance& disturbance, std::uint32_t sampleRate) {
    return static_cast<double>(disturbance.frame) / sampleRate;
}

/** One decimal is what there is to tell; without the sign of a zero. */
double rounded(double value, int decimals) {
    const double scale = std::pow(10, decimals);
    return std::round(value * scale) / scale + 0.0;
}

std::string channelText(const LoopChannel& channel, std::size_t number) {
    std::string text = "channel " + std::to_string(number + 1) + ": ";
    if (channel.source < 0)
        text += "nothing of the sines";
    else
        text += (channel.mixed ? "a mix, loudest is played channel " : "played channel ") +
                std::to_string(channel.source + 1) + ", gain " + fixedDecimals(rounded(channel.gainDecibels, 1), 1) +
                " dB";
    if (channel.noiseDecibels)
        text += ", noise " + fixedDecimals(rounded(*channel.noiseDecibels, 1), 1) + " dB";
    return text;
}

void addDisturbanceFinding(std::vector<std::string>& findings, const LoopResult& result, DisturbanceKind kind,
                           std::string_view what, std::uint32_t sampleRate) {
    const std::size_t places = result.count(kind);
    if (places == 0)
        return;
    const std::uint64_t frames = result.framesOf(kind);
    std::string text = framesText(frames) + (frames == 1 ? " was " : " were ") + std::string(what) + " in " +
                       std::to_string(places) + (places == 1 ? " place" : " places");
    for (const Disturbance& disturbance : result.disturbances)
        if (disturbance.kind == kind) {
            text += (places == 1 ? ", at " : ", first at ") + fixedDecimals(secondsOf(disturbance, sampleRate), 3) +
                    " s of the recording.";
            break;
        }
    findings.push_back(std::move(text));
}

void addChannelFindings(std::vector<std::string>& findings, const LoopResult& result, std::uint32_t playedChannels) {
    if (result.swapped()) {
        findings.emplace_back("Left and right are swapped.");
        return;
    }
    for (std::size_t i = 0; i < result.channels.size(); ++i) {
        const LoopChannel& channel = result.channels[i];
        const std::string name = "Captured channel " + std::to_string(i + 1);
        const bool own = i < playedChannels && result.channels.size() > 1 && playedChannels > 1;
        if (channel.source < 0)
            findings.push_back(name + " carries nothing of the probe.");
        else if (own && channel.mixed)
            findings.push_back(name + " carries a mix of played channels.");
        else if (own && channel.source != static_cast<int>(i))
            findings.push_back(name + " carries played channel " + std::to_string(channel.source + 1) + ".");
    }
}

} // namespace

std::string disturbanceText(const Disturbance& disturbance, std::uint32_t sampleRate) {
    std::string text = "at " + fixedDecimals(secondsOf(disturbance, sampleRate), 3) + " s (frame " +
                       std::to_string(disturbance.frame) + "): ";
    text += disturbance.kind == DisturbanceKind::pop
                ? "pop, " + framesText(disturbance.frames) + " spoilt"
                : framesText(disturbance.frames) + " " + std::string(disturbanceName(disturbance.kind));
    if (disturbance.within > 0)
        text += ", or up to " + fixedDecimals(1000.0 * static_cast<double>(disturbance.within) / sampleRate, 0) +
                " ms later";
    return text;
}

std::vector<std::string> loopLines(const LoopResult& result, std::uint32_t sampleRate) {
    std::vector<std::string> lines;
    if (!result.found())
        return lines;
    lines.push_back("round trip: " + fixedDecimals(result.latencySpread.median, 1) + " ms (" +
                    fixedDecimals(result.latencySpread.min, 1) + " to " + fixedDecimals(result.latencySpread.max, 1) +
                    " ms)");
    for (std::size_t i = 0; i < result.channels.size(); ++i)
        lines.push_back(channelText(result.channels[i], i));
    for (std::size_t i = 0; i < result.disturbances.size() && i < kListed; ++i)
        lines.push_back(disturbanceText(result.disturbances[i], sampleRate));
    if (result.disturbances.size() > kListed)
        lines.push_back("and " + std::to_string(result.disturbances.size() - kListed) + " more");
    return lines;
}

std::vector<std::string> loopFindings(const LoopResult& result, std::uint32_t playedChannels,
                                      std::uint32_t sampleRate) {
    if (!result.found())
        return {"Nothing of the probe came back: the capture device does not hear the playback device."};
    if (!result.toneHeard)
        return {"The sines of the probe did not come back clean enough to be judged."};
    std::vector<std::string> findings;
    addDisturbanceFinding(findings, result, DisturbanceKind::dropped, "lost", sampleRate);
    addDisturbanceFinding(findings, result, DisturbanceKind::added, "added", sampleRate);
    addDisturbanceFinding(findings, result, DisturbanceKind::pop, "spoilt", sampleRate);
    addChannelFindings(findings, result, playedChannels);
    if (std::abs(result.driftPpm) > kMaxDriftPpm)
        findings.push_back("The clocks of the two devices are " + fixedDecimals(result.driftPpm, 0) + " ppm apart.");
    return findings;
}

Json loopDetails(const LoopResult& result, std::uint32_t sampleRate) {
    Json details = {{"channels", Json::array()}, {"disturbances", Json::array()}, {"latency", Json::array()}};
    for (const LoopChannel& channel : result.channels)
        details["channels"].push_back(
            {{"source", channel.source < 0 ? Json() : Json(channel.source + 1)},
             {"mixed", channel.mixed},
             {"gain_db", channel.source < 0 ? Json() : Json(rounded(channel.gainDecibels, 2))},
             {"noise_db", channel.noiseDecibels ? Json(rounded(*channel.noiseDecibels, 2)) : Json()}});
    for (const Disturbance& disturbance : result.disturbances)
        details["disturbances"].push_back({{"kind", disturbanceName(disturbance.kind)},
                                           {"seconds", rounded(secondsOf(disturbance, sampleRate), 6)},
                                           {"frame", disturbance.frame},
                                           {"frames", disturbance.frames},
                                           {"within", disturbance.within},
                                           {"spoilt", disturbance.spoilt}});
    for (const LatencyPoint& point : result.latency)
        details["latency"].push_back(
            {{"seconds", rounded(point.seconds, 6)}, {"milliseconds", rounded(point.milliseconds, 3)}});
    return details;
}

} // namespace soundcheck
