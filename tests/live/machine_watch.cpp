#include "machine_watch.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

namespace live {
namespace {

MachineWatch::Clock::time_point at(double seconds) {
    return MachineWatch::Clock::time_point(
        std::chrono::duration_cast<MachineWatch::Clock::duration>(std::chrono::duration<double>(seconds)));
}

} // namespace

MachineWatch MachineWatch::read() {
    const char* const file = std::getenv("BENCH_PAUSES");
    std::ifstream notes(file != nullptr ? "Z:" + std::string(file) : std::string());
    if (!notes)
        throw std::runtime_error("Nobody watches whether the machine stands still; run this through with-bench");
    return MachineWatch(notes);
}

MachineWatch::MachineWatch(std::istream& notes) {
    double from = 0;
    double to = 0;
    int processor = 0;
    while (notes >> from >> to >> processor)
        m_pauses.push_back({at(from), at(to)});
}

bool MachineWatch::disturbed(Clock::time_point time) const {
    return std::any_of(m_pauses.begin(), m_pauses.end(),
                       [time](const Pause& pause) { return time >= pause.from && time <= pause.to + kAftermath; });
}

} // namespace live
