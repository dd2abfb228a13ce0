// Writes pages of a report as they may come, good and bad, into a folder: for the test that opens them in a browser.
#include "pictures/pictures.h"
#include "platform/text.h"
#include "report/page.h"

#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>

namespace {

using namespace soundcheck;

constexpr const char* kLongName =
    "Lautsprecher (High Definition Audio Device, Front Left/Right and a name that never comes to its end)";
constexpr const char* kIdentifier = "{0A1B2C3D-1111-2222-3333-444455556666}";
constexpr const char* kHostile = "</title></style><script>throw 1</script><img src=http://example.invalid/x.png>";

WaveTrack speechLike(const char* name, double delay, double gain) {
    WaveTrack track{name, {}};
    for (int i = 0; i < 1000; ++i) {
        const double time = i * 0.02;
        const double loud = std::max(0.0, std::sin(time * 2.1) * std::sin(time * 9)) * gain;
        track.columns.push_back({time + delay, -loud, loud * 0.8});
    }
    return track;
}

std::vector<PagePicture> allPictures(const std::string& device) {
    IntervalCounts intervals{0.5, std::vector<std::uint64_t>(201)};
    for (int i = 30; i < 50; ++i)
        intervals.counts[static_cast<std::size_t>(i)] =
            static_cast<std::uint64_t>(3000 * std::exp(-0.3 * (i - 40) * (i - 40)));
    intervals.counts[90] = 1;
    intervals.counts[200] = 2;
    std::vector<PlottedLag> lag;
    lag.reserve(40);
    for (int i = 0; i < 40; ++i)
        lag.push_back({i * 0.5, 169.0 + std::sin(i) * 1e-6});
    const std::vector<WaveTrack> tracks = {speechLike("played", 0, 0.5), speechLike("captured", 0.17, 0.4),
                                           speechLike("echo reference", 0, 0.5)};
    const std::vector<TimelineRow> rows = {{device, {{0, 20}}, {{7.5, 7.8}}},
                                           {"Monitor of " + device, {{0.3, 20}}, {}}};
    const std::vector<TimelineMark> marks = {
        {0.01, 3, "opened"}, {7.5, 2, "late"}, {7.7, 1, std::string("broke ") + kHostile}};
    return {{"Signals on one time axis.", waveformPicture(tracks)},
            {"Time between two callbacks.", intervalPicture(intervals)},
            {"Lag of the microphone behind the echo reference.", lagPicture(lag)},
            {"When blocks came.", timelinePicture(rows, marks)},
            {"An excerpt: numbers with decimals at both ends.",
             waveformPicture(std::vector<WaveTrack>{{"excerpt", {{0, -0.5, 0.5}, {0.1, -0.4, 0.4}}}})},
            {"Of a device that was only opened.", lagPicture({})}};
}

Page page(Verdict verdict, const std::string& device) {
    Page result;
    result.title = "soundcheck talk, " + device;
    result.verdict = verdict;
    result.sentence = "What was played came back, and every block of it had its echo reference.";
    if (verdict == Verdict::failed) {
        result.sentence = "2 things are wrong: the device stood still, and blocks were lost.";
        result.findings = {device + " stood still for 300 ms.",
                           std::string("Blocks were lost on ") + kIdentifier + ".", kHostile};
    }
    result.sections = {
        {"Pictures", {}, allPictures(device), {}},
        {"Numbers",
         {"All times are counted from the first callback."},
         {},
         {{"Devices",
           {"device", "state", "blocks", "longest gap", "late", "with reference"},
           {{device, "closed", "1000", "300.2 ms", "1", "-"},
            {"Monitor of " + device, "closed", "985", "24.1 ms", "0", "981"}}},
          {"Environment",
           {"what", "value"},
           {{"Windows", "10.0.19045"}, {"device", kIdentifier}, {"plug-in", R"(C:\Program Files\x\plugin.dll)"}}}}}};
    PageTable wide{"A table with more columns than any reader's screen has room for", {}, {{}}};
    for (int i = 1; i <= 17; ++i) {
        wide.head.push_back("longest burst " + std::to_string(i));
        wide.rows[0].push_back(std::to_string(i * 1000));
    }
    result.sections.back().tables.push_back(std::move(wide));
    result.log = {{"0.010 s", 3, std::string("Device opened [") + kIdentifier + "]"},
                  {"7.700 s", 1, "DSERR_BUFFERLOST 0x88780096 " + std::string(300, 'x')},
                  {"7.800 s", 2, kHostile}};
    return result;
}

bool store(const std::filesystem::path& file, const Page& example) {
    std::ofstream stream(file, std::ios::binary);
    stream << htmlPage(example);
    stream.close();
    return !stream.fail();
}

bool storeAll(const std::filesystem::path& folder) {
    Page empty;
    empty.title = "soundcheck doctor";
    empty.sentence = "There is no device.";
    return store(folder / "passed.html", page(Verdict::passed, "Speaker")) &&
           store(folder / "failed.html", page(Verdict::failed, kLongName)) &&
           store(folder / "hostile.html", page(Verdict::failed, kHostile)) && store(folder / "nothing.html", empty);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::puts("usage: report_examples FOLDER");
        return 2;
    }
    try {
        return storeAll(argv[1]) ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "report_examples: %s\n", error.what());
        return 1;
    }
}
