#pragma once

#include <windows.h>

#include <utility>

namespace directsound {

/// Owns a kernel handle; null means none. Closes it once.
class UniqueHandle {
public:
    UniqueHandle() = default;
    explicit UniqueHandle(HANDLE handle) : m_Handle(handle) {}
    UniqueHandle(UniqueHandle&& other) noexcept : m_Handle(std::exchange(other.m_Handle, nullptr)) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept {
        std::swap(m_Handle, other.m_Handle);
        return *this;
    }
    UniqueHandle(const UniqueHandle&) = delete;
    UniqueHandle& operator=(const UniqueHandle&) = delete;
    ~UniqueHandle() {
        if (m_Handle != nullptr)
            CloseHandle(m_Handle);
    }

    [[nodiscard]] HANDLE get() const { return m_Handle; }
    explicit operator bool() const { return m_Handle != nullptr; }

private:
    HANDLE m_Handle = nullptr;
};

} // namespace directsound
