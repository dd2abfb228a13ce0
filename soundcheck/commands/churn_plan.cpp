#include "commands/churn_plan.h"

namespace soundcheck {
namespace {

/** One step of so many waits for the closed devices; a device is often opened again before it is gone. */
constexpr std::size_t kStepsPerWait = 12;

/** Most calls follow each other at once; behind the others a device has the time to run. */
constexpr std::size_t kStepsPerPause = 3;
constexpr std::size_t kLongestPause = 60;

} // namespace

const char* callName(ChurnCall call) {
    switch (call) {
    case ChurnCall::open:
        return "open";
    case ChurnCall::start:
        return "start";
    case ChurnCall::stop:
        return "stop";
    case ChurnCall::close:
        return "close";
    case ChurnCall::wait:
        break;
    }
    return "wait";
}

ChurnStep ChurnPlan::next() {
    ChurnStep step;
    if (below(kStepsPerWait) != 0) {
        step.device = below(m_states.size());
        State& state = m_states[step.device];
        const std::vector<ChurnCall> calls = allowed(state);
        step.call = calls[below(calls.size())];
        state = after(step.call, state);
    }
    if (below(kStepsPerPause) == 0)
        step.pause = std::chrono::milliseconds(below(kLongestPause + 1));
    return step;
}

std::vector<ChurnCall> ChurnPlan::allowed(State state) {
    switch (state) {
    case State::closed:
        return {ChurnCall::open};
    case State::open: // to stop a device that does not run is allowed, and does nothing
        return {ChurnCall::start, ChurnCall::start, ChurnCall::stop, ChurnCall::close};
    case State::running:
        return {ChurnCall::stop, ChurnCall::close};
    case State::stopped:
        break;
    }
    return {ChurnCall::stop, ChurnCall::close, ChurnCall::close};
}

ChurnPlan::State ChurnPlan::after(ChurnCall call, State state) {
    switch (call) {
    case ChurnCall::open:
        return State::open;
    case ChurnCall::start:
        return State::running;
    case ChurnCall::stop:
        return state == State::running ? State::stopped : state;
    case ChurnCall::close:
        return State::closed;
    case ChurnCall::wait:
        break;
    }
    return state;
}

std::size_t ChurnPlan::below(std::size_t limit) {
    return static_cast<std::size_t>(m_random() % limit);
}

} // namespace soundcheck
