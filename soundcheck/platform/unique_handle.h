/**
 * @file
 * Owner of one kernel handle (event, file, ...). Move-only; closes the handle when it goes. Null and
 * INVALID_HANDLE_VALUE both mean "none".
 */
#pragma once

#include <windows.h>

#include <utility>

namespace soundcheck {

class UniqueHandle {
public:
    UniqueHandle() = default;
    explicit UniqueHandle(HANDLE handle) : m_handle(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
    UniqueHandle(UniqueHandle&& other) noexcept : m_handle(std::exchange(other.m_handle, nullptr)) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    UniqueHandle(const UniqueHandle&) = delete;
    UniqueHandle& operator=(const UniqueHandle&) = delete;
    ~UniqueHandle() {
        if (m_handle != nullptr)
            CloseHandle(m_handle);
    }

    HANDLE get() const { return m_handle; }
    explicit operator bool() const { return m_handle != nullptr; }

private:
    HANDLE m_handle = nullptr;
};

} // namespace soundcheck
