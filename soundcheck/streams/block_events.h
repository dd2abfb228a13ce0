/**
 * @file
 * The callbacks of one device, written down as they come: when, how loud, with an echo reference or without. The
 * audio thread only puts a note into a bounded queue; the client's thread takes the notes out and does the reckoning.
 */
#pragma once

#include "streams/block_queue.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <optional>

namespace soundcheck {

struct BlockEvent {
    std::chrono::steady_clock::time_point time;
    int peak = 0; ///< 0 ... kFullScale
    bool reference = false;
};

class BlockEvents {
public:
    /** Audio thread. */
    void put(const BlockEvent& event) {
        const std::span<std::byte> slot = m_queue.back();
        if (slot.empty()) {
            m_lost.fetch_add(1, std::memory_order_relaxed);
            return;
        }
        std::memcpy(slot.data(), &event, sizeof event);
        m_queue.push(sizeof event);
    }

    /** Client's thread: the oldest note. */
    std::optional<BlockEvent> take() {
        const std::span<const std::byte> slot = m_queue.front();
        if (slot.empty())
            return std::nullopt;
        BlockEvent event;
        std::memcpy(&event, slot.data(), sizeof event);
        m_queue.pop();
        return event;
    }

    /** Notes that found no room, since nobody took them for so long. */
    std::uint64_t lost() const { return m_lost.load(std::memory_order_relaxed); }

private:
    static constexpr std::size_t kKept = 1000; // twenty seconds

    BlockQueue m_queue{kKept, sizeof(BlockEvent)};
    std::atomic<std::uint64_t> m_lost = 0;
};

} // namespace soundcheck
