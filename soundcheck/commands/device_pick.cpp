#include "commands/device_pick.h"

#include "client/device_selection.h"
#include "exit_code.h"

#include <optional>
#include <set>
#include <string_view>

namespace soundcheck {
namespace {

constexpr std::string_view kPlaybackPrefix = "playback:";
constexpr std::string_view kCapturePrefix = "capture:";

/** What one direction has to say about one text. */
class Search {
public:
    explicit Search(std::span<const DeviceEntry> devices) : m_devices(devices) {}

    bool find(std::string_view wanted) {
        try {
            m_chosen.insert(selectDevice(m_devices, wanted).number);
            return true;
        } catch (const SelectionError& error) {
            m_error = error;
            return false;
        }
    }
    [[noreturn]] void refuse() const { throw SelectionError(*m_error); }
    /** Several devices fit the last text, rather than none. */
    bool ambiguous() const { return m_error && m_error->ambiguous(); }

    void collect(DeviceDirection direction, bool all, std::vector<PickedDevice>& picked) const {
        for (const DeviceEntry& entry : m_devices)
            if (all || m_chosen.contains(entry.number))
                picked.push_back({direction, entry});
    }

private:
    std::span<const DeviceEntry> m_devices;
    std::set<int> m_chosen;
    std::optional<SelectionError> m_error;
};

} // namespace

std::vector<PickedDevice> pickDevices(std::span<const DeviceEntry> playback, std::span<const DeviceEntry> capture,
                                      std::span<const std::string> wanted) {
    Search played(playback);
    Search captured(capture);
    for (const std::string_view text : wanted) {
        if (text.starts_with(kPlaybackPrefix)) {
            if (!played.find(text.substr(kPlaybackPrefix.size())))
                played.refuse();
        } else if (text.starts_with(kCapturePrefix)) {
            if (!captured.find(text.substr(kCapturePrefix.size())))
                captured.refuse();
        } else {
            const bool isPlayed = played.find(text);
            const bool isCaptured = captured.find(text);
            if (!isPlayed && !isCaptured)
                (captured.ambiguous() && !played.ambiguous() ? captured : played).refuse();
        }
    }
    std::vector<PickedDevice> picked;
    played.collect(ORVO_PLAYBACK, wanted.empty(), picked);
    captured.collect(ORVO_CAPTURE, wanted.empty(), picked);
    return picked;
}

std::vector<PickedDevice> pickDevices(const Backend& backend, std::span<const std::string> wanted) {
    const std::vector<DeviceEntry> playback = backend.devices(ORVO_PLAYBACK);
    const std::vector<DeviceEntry> capture = backend.devices(ORVO_CAPTURE);
    if (playback.empty() && capture.empty())
        throw Failure(ExitCode::nothingChecked, "There is no device.");
    return pickDevices(playback, capture, wanted);
}

} // namespace soundcheck
