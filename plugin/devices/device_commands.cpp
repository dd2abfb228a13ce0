// The client's side of a device: posts commands to its worker and waits for the answers.

#include "devices/device_context.h"
#include "devices/wave_format.h"

#include <process.h>

#include <mutex>

namespace directsound {
namespace {

constexpr std::uint32_t kMonoChannels = 1;
constexpr std::uint32_t kStereoChannels = 2;

unsigned __stdcall workerThread(void* context) {
    // An inner function does the work, since _endthreadex skips the destructors of this one.
    static_cast<DeviceContext*>(context)->runWorker();
    _endthreadex(0);
    return 0;
}

} // namespace

bool DeviceContext::startWorker() noexcept {
    if (!m_CommandEvent || !m_ReplyEvent)
        return false; // nobody could tell the worker what to do
    m_Thread = UniqueHandle(reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, workerThread, this, 0, nullptr)));
    return static_cast<bool>(m_Thread);
}

BackendResult DeviceContext::commandOpen(std::optional<DeviceFormat>& format) noexcept {
    return command(DeviceState::New, DeviceState::Open, &format);
}

BackendResult DeviceContext::commandStart() noexcept {
    return command(DeviceState::Open, DeviceState::Running, nullptr);
}

void DeviceContext::commandStop() noexcept {
    const std::lock_guard guard(m_Lock);
    if (m_State == DeviceState::Running)
        m_CommandEvent.set();
}

void DeviceContext::terminateAndJoin() noexcept {
    m_ReplyEvent.reset();
    {
        const std::lock_guard guard(m_Lock);
        m_State = DeviceState::TerminateRequested;
        m_CommandEvent.set();
    }
    WaitForSingleObject(m_Thread.get(), INFINITE);
}

BackendResult DeviceContext::command(DeviceState expected, DeviceState success,
                                     std::optional<DeviceFormat>* format) noexcept {
    {
        const std::lock_guard guard(m_Lock);
        if (m_State != expected)
            return ORVO_CALL_OUT_OF_ORDER;
        m_CommandEvent.set();
    }
    m_ReplyEvent.wait();
    const std::lock_guard guard(m_Lock);
    m_ReplyEvent.reset();
    if (m_State != success)
        return m_LastResult;
    if (format != nullptr)
        *format = describeFormat();
    return ORVO_OK;
}

DeviceFormat DeviceContext::describeFormat() const noexcept {
    const WAVEFORMATEX& plain = format();
    DeviceFormat described{plain.nChannels, plain.wBitsPerSample, plain.nSamplesPerSec, std::nullopt};
    if (plain.wFormatTag == WAVE_FORMAT_EXTENSIBLE)
        described.channelMask = reinterpret_cast<const WAVEFORMATEXTENSIBLE*>(&plain)->dwChannelMask;
    else if (plain.nChannels == kMonoChannels)
        described.channelMask = MASK_MONO; // kept: the marker, not the front-centre position; clients rely on it
    else if (plain.nChannels == kStereoChannels)
        described.channelMask = kFrontLeftRight;
    return described;
}

} // namespace directsound
