/**
 * @file
 * What the pictures of a report need to know about a device: how its signals looked and when its blocks came. Bounded
 * however long it runs: signals get coarser, of gaps the first ones are kept.
 *
 * Thread: `addBlock` and `addReference` on the device's thread; they neither allocate nor wait. `begin` before the
 * device starts; `end` and everything that reads after its last callback. Pure but for the memory it takes.
 */
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace soundcheck {

using TraceClock = std::chrono::steady_clock;

/** The lowest and the highest of some samples of 16 bits. */
struct SampleRange {
    std::int16_t low = 0;
    std::int16_t high = 0;
};
SampleRange rangeOf(std::span<const std::int16_t> samples);
/** Of unsigned bytes around 128, as ranges of 16 bits. */
SampleRange rangeOf(std::span<const std::uint8_t> samples);

/** A signal as its lows and highs; when the memory is full, neighbours become one. */
class SignalTrace {
public:
    static constexpr std::size_t kColumns = 4096;

    struct Column {
        TraceClock::time_point time;
        SampleRange range;
    };

    SignalTrace() { m_columns.reserve(kColumns); }
    void add(TraceClock::time_point time, SampleRange range);
    std::span<const Column> columns() const { return m_columns; }

private:
    void halve();

    std::vector<Column> m_columns; ///< never beyond what was reserved
    std::size_t m_perColumn = 1;   ///< ranges that make one column
    std::size_t m_inLast = 0;      ///< ranges in the last column
};

/** When blocks came: how often which interval, and where none came for long. */
class IntervalTrace {
public:
    static constexpr auto kBin = std::chrono::microseconds(500);
    static constexpr std::size_t kBins = 201; ///< up to 100 ms; the last one holds what is longer
    /** Three blocks: what a driver's buffer usually bridges. */
    static constexpr auto kGap = std::chrono::milliseconds(60);
    static constexpr std::size_t kMostSpans = 512;

    struct Span {
        TraceClock::time_point from;
        TraceClock::time_point to;
    };

    IntervalTrace();
    void begin();
    void add(TraceClock::time_point now);
    /** @param stopped when the device was told to stop: a silence until then is a gap */
    void end(TraceClock::time_point stopped);

    std::span<const std::uint64_t> counts() const { return m_counts; }
    /** From the first to the last block of each run. */
    std::span<const Span> runs() const { return m_runs; }
    std::span<const Span> gaps() const { return m_gaps; }

private:
    void addGap(Span gap);

    std::array<std::uint64_t, kBins> m_counts{};
    std::vector<Span> m_runs; ///< both never beyond what was reserved
    std::vector<Span> m_gaps;
    bool m_running = false; ///< a block has come since `begin`
};

class DeviceTrace {
public:
    DeviceTrace(std::string name, bool isPlayback) : m_name(std::move(name)), m_isPlayback(isPlayback) {}

    /** The device is opened (again): its next block follows no other. */
    void begin();
    void addBlock(TraceClock::time_point now, SampleRange range);
    void addReference(TraceClock::time_point now, SampleRange range) { m_reference.add(now, range); }
    void end(TraceClock::time_point stopped);
    /** After the last callback: nothing changes any more. Any thread. */
    bool hasEnded() const { return m_ended.load(std::memory_order_acquire); }

    const std::string& name() const { return m_name; }
    bool isPlayback() const { return m_isPlayback; }
    const SignalTrace& signal() const { return m_signal; }
    const SignalTrace& reference() const { return m_reference; }
    const IntervalTrace& intervals() const { return m_intervals; }

private:
    std::string m_name;
    bool m_isPlayback;
    SignalTrace m_signal;
    SignalTrace m_reference;
    IntervalTrace m_intervals;
    std::atomic<bool> m_ended = true;
};

} // namespace soundcheck
