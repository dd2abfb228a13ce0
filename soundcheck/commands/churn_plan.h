/**
 * @file
 * The order of calls in the churn: any that the plug-in allows, chosen by a seed. The same seed gives the same order
 * on every system. Pure.
 */
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace soundcheck {

enum class ChurnCall { open, start, stop, close, wait };

inline constexpr std::array<ChurnCall, 5> kChurnCalls = {ChurnCall::open, ChurnCall::start, ChurnCall::stop,
                                                         ChurnCall::close, ChurnCall::wait};

/** "open", ... */
const char* callName(ChurnCall call);

struct ChurnStep {
    ChurnCall call = ChurnCall::wait;   ///< wait: for all closed devices
    std::size_t device = 0;             ///< of no meaning for wait
    std::chrono::milliseconds pause{0}; ///< behind the call
};

class ChurnPlan {
public:
    /** @param devices at least one; all closed */
    ChurnPlan(std::uint64_t seed, std::size_t devices) : m_random(seed), m_states(devices, State::closed) {}

    /** The next step, which counts as done. */
    ChurnStep next();

    /** A call failed and everything was closed. */
    void allClosed() { m_states.assign(m_states.size(), State::closed); }

private:
    enum class State { closed, open, running, stopped };

    static std::vector<ChurnCall> allowed(State state);
    static State after(ChurnCall call, State state);
    std::size_t below(std::size_t limit);

    std::mt19937_64 m_random; // only its numbers are the same everywhere; the distributions are not
    std::vector<State> m_states;
};

} // namespace soundcheck
