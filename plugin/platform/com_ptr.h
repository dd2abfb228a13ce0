#pragma once

#include <utility>

namespace directsound {

/// Owns one reference to a COM interface; null means none.
template <typename Interface>
class ComPtr {
public:
    ComPtr() = default;
    ~ComPtr() { reset(); }
    ComPtr(const ComPtr&) = delete;
    ComPtr& operator=(const ComPtr&) = delete;

    [[nodiscard]] Interface& operator*() const { return *m_Interface; }
    [[nodiscard]] Interface* operator->() const { return m_Interface; }

    /// For functions that hand out a reference. Only while empty.
    [[nodiscard]] Interface** put() { return &m_Interface; }
    [[nodiscard]] void** putVoid() { return reinterpret_cast<void**>(&m_Interface); }

    /// Releases the reference. The pointer is cleared first, so that a second reset finds nothing.
    void reset() noexcept {
        if (Interface* released = std::exchange(m_Interface, nullptr))
            released->Release();
    }

private:
    Interface* m_Interface = nullptr;
};

} // namespace directsound
