// The looping memory of a sound buffer, and the copy that a Lock hands out.
//
// A Lock gives a copy that Unlock writes back: what is written after the Unlock is never heard, as on hardware that
// has moved its memory, and what is written outside the locked region is not heard either.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <vector>

namespace simulator {

class Ring {
public:
    explicit Ring(DWORD bytes) : m_Memory(bytes) {}

    [[nodiscard]] DWORD size() const { return static_cast<DWORD>(m_Memory.size()); }
    std::span<std::byte> memory() { return m_Memory; }
    // So many bytes from the begin, also before it, around the end of the memory.
    [[nodiscard]] DWORD wrapped(std::int64_t bytes) const {
        const std::int64_t rest = bytes % size();
        return static_cast<DWORD>(rest < 0 ? rest + size() : rest);
    }

    // The copy is the first region, a gap, and the second region.
    struct Locked {
        DWORD offset = 0;
        DWORD bytes = 0;
        DWORD firstBytes = 0;
        std::vector<std::byte> copy;

        [[nodiscard]] const std::byte* second() const { return copy.data() + firstBytes + kGap; }
    };

    // Null pointers for the second part are allowed. The first region is no longer than `split`, and both together are
    // longer than `bytes` by `surplus`, as far as the memory goes. False: the arguments are wrong.
    bool lock(DWORD offset, DWORD bytes, void** first, DWORD* firstBytes, void** second, DWORD* secondBytes,
              DWORD split = MAXDWORD, DWORD surplus = 0) {
        if (bytes == 0 || bytes > size() || offset >= size() || !first || !firstBytes)
            return false;
        bytes += std::min(surplus, size() - bytes);
        Locked locked{offset, bytes, std::min({bytes, size() - offset, split}), std::vector<std::byte>(bytes + kGap)};
        if (!second && locked.firstBytes < bytes)
            return false;
        read(offset, locked.copy.data(), locked.firstBytes);
        read(offset + locked.firstBytes, locked.copy.data() + locked.firstBytes + kGap, bytes - locked.firstBytes);
        m_Locked = std::move(locked);
        *first = m_Locked->copy.data();
        *firstBytes = m_Locked->firstBytes;
        if (second)
            *second = m_Locked->firstBytes < bytes ? m_Locked->copy.data() + m_Locked->firstBytes + kGap : nullptr;
        if (secondBytes)
            *secondBytes = bytes - m_Locked->firstBytes;
        return true;
    }
    [[nodiscard]] const std::optional<Locked>& locked() const { return m_Locked; }
    // Of a buffer that nobody uses any more.
    void freeMemory() {
        m_Memory = {};
        m_Locked.reset();
    }

    // False: not what lock() gave.
    bool unlock(const void* first, DWORD firstBytes, const void* second, DWORD secondBytes, bool writeBack) {
        if (!m_Locked || first != m_Locked->copy.data() || firstBytes > m_Locked->firstBytes)
            return false;
        const std::byte* rest = m_Locked->second();
        if (secondBytes > m_Locked->bytes - m_Locked->firstBytes || (secondBytes > 0 && second != rest))
            return false;
        if (writeBack) {
            write(m_Locked->offset, m_Locked->copy.data(), firstBytes);
            write(m_Locked->offset + m_Locked->firstBytes, rest, secondBytes);
        }
        m_Locked.reset();
        return true;
    }

private:
    static constexpr DWORD kGap = 64;

    // Around the end of the memory.
    void read(DWORD from, std::byte* target, DWORD bytes) const {
        from %= size();
        const DWORD before = std::min(bytes, size() - from);
        std::memcpy(target, &m_Memory[from], before);
        std::memcpy(target + before, m_Memory.data(), bytes - before);
    }
    void write(DWORD to, const std::byte* source, DWORD bytes) {
        to %= size();
        const DWORD before = std::min(bytes, size() - to);
        std::memcpy(&m_Memory[to], source, before);
        std::memcpy(m_Memory.data(), source + before, bytes - before);
    }

    std::vector<std::byte> m_Memory;
    std::optional<Locked> m_Locked;
};

// Frames in so much time, without overflow for years.
inline std::int64_t framesIn(std::int64_t nanoseconds, std::uint32_t rate) {
    constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
    return nanoseconds / kNanosecondsPerSecond * rate +
           nanoseconds % kNanosecondsPerSecond * rate / kNanosecondsPerSecond;
}

} // namespace simulator
