#pragma once

#include <windows.h>

#include <objbase.h>

namespace directsound {

/// COM on the current thread, in the multithreaded apartment, for the lifetime of the object.
class ComApartment {
public:
    ComApartment() : m_Result(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
    ~ComApartment() {
        if (entered())
            CoUninitialize();
    }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;

    [[nodiscard]] bool entered() const { return m_Result == S_OK || m_Result == S_FALSE; }
    [[nodiscard]] HRESULT result() const { return m_Result; }

    /// Leaves COM initialized when the object goes.
    void abandon() { m_Result = E_ABORT; }

private:
    HRESULT m_Result;
};

} // namespace directsound
