#pragma once

#include <windows.h>

namespace directsound {

/// A message-only window. DirectSound's cooperative level wants a window, and the client need not have one.
///
/// To be destroyed on the thread that created it. Converts to false when it could not be created; the thread's last
/// error then says why.
class HiddenWindow {
public:
    HiddenWindow()
        : m_Window(CreateWindowExW(0, L"BUTTON", L"Orvo_DirectSound", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                   GetModuleHandleW(nullptr), nullptr)) {}
    ~HiddenWindow() {
        if (m_Window != nullptr)
            DestroyWindow(m_Window);
    }
    HiddenWindow(const HiddenWindow&) = delete;
    HiddenWindow& operator=(const HiddenWindow&) = delete;

    explicit operator bool() const { return m_Window != nullptr; }
    [[nodiscard]] HWND handle() const { return m_Window; }

private:
    HWND m_Window;
};

} // namespace directsound
