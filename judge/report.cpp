#include "report.h"

#include <cmath>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <sstream>

namespace judge {
namespace {

using Json = nlohmann::ordered_json;

class Lines {
public:
    Lines() { m_text << std::fixed; }

    std::ostream& line(const char* name, int decimals) {
        m_text << (m_first ? "" : "\n") << std::left << std::setw(14) << name << std::setprecision(decimals);
        m_first = false;
        return m_text;
    }
    [[nodiscard]] std::string text() const { return m_text.str(); }

private:
    std::ostringstream m_text;
    bool m_first = true;
};

std::string place(std::size_t position, int rate) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(3) << " at " << static_cast<double>(position) / rate
         << " s of the original (frame " << position << ")";
    return text.str();
}

double rounded(double value) {
    return std::round(value * 10000) / 10000;
}

} // namespace

std::string toText(const Comparison& comparison, int rate) {
    Lines lines;
    if (!comparison.found) {
        lines.line("verdict", 0) << "what was said is not in what was heard";
        return lines.text();
    }
    lines.line("offset", 2) << comparison.offsetMilliseconds << " ms (" << comparison.offsetFrames << " frames at "
                            << rate << " Hz)";
    lines.line("lost", 0) << comparison.lost << " frames";
    lines.line("repeated", 0) << comparison.repeated << " frames";
    for (const Jump& jump : comparison.jumps)
        lines.line("", 3) << std::abs(jump.frames) << (jump.frames < 0 ? " lost" : " repeated")
                          << place(jump.position, rate);
    lines.line("damaged", 0) << comparison.damaged << " frames";
    for (const Damage& damage : comparison.damages)
        lines.line("", 3) << damage.frames << " damaged" << place(damage.position, rate);
    lines.line("correlation", 5) << comparison.likeness;
    lines.line("gain", 2) << comparison.gainDecibels << " dB";
    lines.line("verdict", 0) << (comparison.same() ? "heard as said" : "what was heard is not what was said");
    return lines.text();
}

std::string toText(const LagReport& lag) {
    Lines lines;
    lines.line("lag", 2) << lag.milliseconds << " ms (reference before microphone)";
    lines.line("spread", 3) << lag.spreadMilliseconds << " ms over " << lag.windows << " windows, in " << lag.unsure
                            << " of which the reference was not found";
    lines.line("settling", 3) << lag.settlingMilliseconds << " ms with the first " << kSettlingMilliseconds / 1000
                              << " s, in which the queue of played blocks finds its depth";
    lines.line("correlation", 5) << lag.likeness;
    lines.line("verdict", 0) << (lag.constant() ? "the lag is constant" : "the lag is not constant");
    return lines.text();
}

std::string toText(const ErleReport& report) {
    Lines lines;
    lines.line("erle", 1) << report.erle << " dB in the second half of the run, while the reference speaks (tail "
                          << report.settings.tailMilliseconds << " ms)";
    if (report.settings.shiftMilliseconds != 0)
        lines.line("shift", 1) << "reference delayed on purpose by " << report.settings.shiftMilliseconds << " ms";
    if (report.nearEnd) {
        const NearEndReport& near = *report.nearEnd;
        lines.line("near end", 1) << near.survival.survivingDecibels << " dB of it survive, correlation "
                                  << std::setprecision(4) << near.survival.likeness;
        lines.line("", 1) << "(mixed into the last third " << near.gainDecibels
                          << " dB over the microphone; the residual projected on the clean speech)";
    }
    lines.line("verdict", 0) << (report.good() ? "a good reference" : "not a reference a canceller can use");
    return lines.text();
}

std::string toJson(const Comparison& comparison, int rate) {
    Json jumps = Json::array();
    for (const Jump& jump : comparison.jumps)
        jumps.push_back({{"position", jump.position}, {"frames", jump.frames}});
    Json damages = Json::array();
    for (const Damage& damage : comparison.damages)
        damages.push_back({{"position", damage.position}, {"frames", damage.frames}});
    return Json{{"found", comparison.found},
                {"rate", rate},
                {"offsetFrames", rounded(comparison.offsetFrames)},
                {"offsetMilliseconds", rounded(comparison.offsetMilliseconds)},
                {"lost", comparison.lost},
                {"repeated", comparison.repeated},
                {"damaged", comparison.damaged},
                {"jumps", jumps},
                {"damages", damages},
                {"correlation", rounded(comparison.likeness)},
                {"gainDecibels", rounded(comparison.gainDecibels)},
                {"good", comparison.same()}}
        .dump();
}

std::string toJson(const LagReport& lag) {
    return Json{{"lagMilliseconds", rounded(lag.milliseconds)},
                {"spreadMilliseconds", rounded(lag.spreadMilliseconds)},
                {"settlingMilliseconds", rounded(lag.settlingMilliseconds)},
                {"windows", lag.windows},
                {"unsure", lag.unsure},
                {"correlation", rounded(lag.likeness)},
                {"good", lag.constant()}}
        .dump();
}

std::string toJson(const ErleReport& report) {
    Json json{{"erleDecibels", rounded(report.erle)},
              {"shiftMilliseconds", report.settings.shiftMilliseconds},
              {"tailMilliseconds", report.settings.tailMilliseconds},
              {"frame", report.settings.frame}};
    if (report.nearEnd) {
        json["nearEnd"] = {{"gainDecibels", report.nearEnd->gainDecibels},
                           {"survivingDecibels", rounded(report.nearEnd->survival.survivingDecibels)},
                           {"correlation", rounded(report.nearEnd->survival.likeness)}};
    }
    json["good"] = report.good();
    return json.dump();
}

} // namespace judge
