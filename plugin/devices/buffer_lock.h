#pragma once

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <span>

namespace directsound {

/// A locked stretch of a playback or capture buffer: one region, or two when it wraps around the buffer's end.
/// Unlocked at the latest when the object goes.
template <typename Buffer>
class BufferLock {
public:
    BufferLock(Buffer& buffer, DWORD offset, DWORD bytes, DWORD flags)
        : m_Buffer(buffer),
          m_Result(buffer.Lock(offset, bytes, &m_First, &m_FirstBytes, &m_Second, &m_SecondBytes, flags)),
          m_Locked(SUCCEEDED(m_Result)) {}
    ~BufferLock() {
        if (m_Locked)
            unlock(); // nothing can be done about a failure here
    }
    BufferLock(const BufferLock&) = delete;
    BufferLock& operator=(const BufferLock&) = delete;

    [[nodiscard]] HRESULT result() const { return m_Result; }
    void write(std::span<const std::byte> source) {
        const std::size_t split = std::min(source.size(), first().size());
        std::ranges::copy(source.first(split), first().begin());
        std::ranges::copy(source.subspan(split).first(std::min(source.size() - split, second().size())),
                          second().begin());
    }
    void read(std::span<std::byte> destination) const {
        const std::size_t split = std::min(destination.size(), first().size());
        std::ranges::copy(first().first(split), destination.begin());
        std::ranges::copy(second().first(std::min(destination.size() - split, second().size())),
                          destination.subspan(split).begin());
    }
    void fill(std::byte value) {
        std::ranges::fill(first(), value);
        std::ranges::fill(second(), value);
    }

    HRESULT unlock() {
        m_Locked = false;
        return m_Buffer.Unlock(m_First, m_FirstBytes, m_Second, m_SecondBytes);
    }

private:
    [[nodiscard]] std::span<std::byte> first() const { return {static_cast<std::byte*>(m_First), m_FirstBytes}; }
    [[nodiscard]] std::span<std::byte> second() const { return {static_cast<std::byte*>(m_Second), m_SecondBytes}; }

    Buffer& m_Buffer;
    void* m_First = nullptr;
    void* m_Second = nullptr;
    DWORD m_FirstBytes = 0;
    DWORD m_SecondBytes = 0;
    HRESULT m_Result;
    bool m_Locked;
};

} // namespace directsound
