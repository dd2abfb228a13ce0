#pragma once

#include <array>
#include <cstdint>

namespace directsound {

/// Notices cheaply that the system's wave devices, or the preferred ones among them, have changed since the last look.
/// One thread at a time.
class DefaultWatch {
public:
    struct Findings {
        bool countsChanged;
        bool defaultChanged;
    };

    DefaultWatch();

    [[nodiscard]] Findings look();

private:
    static constexpr std::size_t kProductNameLength = 32;
    using ProductName = std::array<wchar_t, kProductNameLength>;

    [[nodiscard]] bool countsChanged();
    [[nodiscard]] bool preferredDevicesChanged();

    bool m_NewSystem;
    std::uint32_t m_OutputCount = 0;
    std::uint32_t m_InputCount = 0;
    std::uint32_t m_PreferredOutput = 0;
    std::uint32_t m_PreferredInput = 0;
    ProductName m_OutputName{};
    ProductName m_InputName{};
};

} // namespace directsound
