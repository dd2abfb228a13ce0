#include "devices/device_context.h"

#include "diagnostics/error_report.h"
#include "platform/directsound.h"

#include <utility>

namespace directsound {
namespace {

constexpr std::uint32_t kEmulatedLatencyBlocks = 10;
static_assert(DSCAPS_EMULDRIVER == DSCCAPS_EMULDRIVER, "both directions flag emulated drivers alike");

} // namespace

DeviceContext::DeviceContext(std::string deviceId, std::uint32_t contextId, const DeviceHost& host)
    : m_DeviceId(std::move(deviceId)), m_ContextId(contextId), m_DS(&host) {
    m_CommandEvent = Event::manualReset();
    m_ReplyEvent = Event::manualReset();
    if (!m_CommandEvent || !m_ReplyEvent)
        writeErrorLine("Error int CreateEvent");
}

DeviceContext::~DeviceContext() = default;

BackendResult DeviceContext::report(BackendResult code, HRESULT hr) const noexcept {
    logErrorReport(m_DS->m_Callbacks, m_DeviceId, code, hr);
    return code;
}

void DeviceContext::log(const std::string& message, LogLevel level) const {
    logMessage(m_DS->m_Callbacks, m_DeviceId, message, level);
}

void DeviceContext::chooseLatency(DWORD capabilityFlags, std::uint32_t usualBlocks) {
    m_LatencyBlocks = usualBlocks;
    if ((capabilityFlags & DSCAPS_EMULDRIVER) == 0)
        return;
    m_LatencyBlocks = kEmulatedLatencyBlocks;
    log("Opening emulated direct sound device. This is bad for latency. Please enable hardware accelleration.",
        LogLevel::Warning);
}

WAVEFORMATEX* DeviceContext::allocateFormat() {
    m_Format = std::make_unique<std::byte[]>(kFormatCapacity);
    return reinterpret_cast<WAVEFORMATEX*>(m_Format.get());
}

} // namespace directsound
