/**
 * @file
 * A bounded queue of audio blocks between one thread that puts and one that takes. Neither ever waits, so it may
 * be used inside an audio callback. All memory is allocated at the start.
 */
#pragma once

#include <atomic>
#include <cstddef>
#include <span>
#include <vector>

namespace soundcheck {

class BlockQueue {
public:
    BlockQueue(std::size_t blocks, std::size_t bytesPerBlock)
        : m_bytesPerBlock(bytesPerBlock), m_storage(blocks * bytesPerBlock), m_used(blocks) {}

    std::size_t capacity() const { return m_used.size(); }
    std::size_t size() const {
        return m_put.load(std::memory_order_acquire) - m_taken.load(std::memory_order_acquire);
    }

    /** Putting side: the block to be filled; empty when the queue is full. */
    std::span<std::byte> back() {
        return size() == capacity() ? std::span<std::byte>() : slot(m_put.load(std::memory_order_relaxed));
    }
    /** Putting side: hands over the first `bytes` of back(). */
    void push(std::size_t bytes) {
        const std::size_t number = m_put.load(std::memory_order_relaxed);
        m_used[number % capacity()] = bytes;
        m_put.store(number + 1, std::memory_order_release);
    }

    /** Taking side: the oldest block; empty when the queue is empty. */
    std::span<const std::byte> front() {
        const std::size_t number = m_taken.load(std::memory_order_relaxed);
        return size() == 0 ? std::span<const std::byte>() : slot(number).first(m_used[number % capacity()]);
    }
    /** Taking side: gives the block of front() back. */
    void pop() { m_taken.fetch_add(1, std::memory_order_release); }

private:
    std::span<std::byte> slot(std::size_t number) {
        return std::span(m_storage).subspan(number % capacity() * m_bytesPerBlock, m_bytesPerBlock);
    }

    std::size_t m_bytesPerBlock;
    std::vector<std::byte> m_storage;
    std::vector<std::size_t> m_used;
    std::atomic<std::size_t> m_put = 0;
    std::atomic<std::size_t> m_taken = 0;
};

} // namespace soundcheck
