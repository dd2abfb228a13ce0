#include "client/device_selection.h"

#include "platform/text.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <vector>

namespace soundcheck {
namespace {

int listNumber(std::string_view text) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? number : 0;
}

} // namespace

const DeviceEntry& selectDevice(std::span<const DeviceEntry> devices, std::string_view wanted) {
    const std::wstring folded = toLower(toWide(wanted));
    const auto lower = [](const std::string& text) { return toLower(toWide(text)); };
    const auto findFirst = [&](auto fits) { return std::find_if(devices.begin(), devices.end(), fits); };

    if (folded == L"default") {
        const auto found = findFirst([](const DeviceEntry& entry) { return entry.isDefault; });
        if (found == devices.end())
            throw SelectionError("No device is marked as the default voice device; choose one with its number.");
        return *found;
    }
    if (const auto byId = findFirst([&](const DeviceEntry& entry) { return lower(entry.id) == folded; });
        byId != devices.end())
        return *byId;
    if (const int number = listNumber(wanted); number != 0) {
        const auto byNumber = findFirst([&](const DeviceEntry& entry) { return entry.number == number; });
        if (byNumber != devices.end())
            return *byNumber;
    }

    std::vector<const DeviceEntry*> whole;
    std::vector<const DeviceEntry*> part;
    for (const DeviceEntry& entry : devices) {
        const std::wstring name = lower(entry.name);
        if (name == folded)
            whole.push_back(&entry);
        if (!folded.empty() && name.find(folded) != std::wstring::npos)
            part.push_back(&entry);
    }
    const std::vector<const DeviceEntry*>& candidates = whole.empty() ? part : whole;
    if (candidates.size() == 1)
        return *candidates.front();
    if (candidates.empty())
        throw SelectionError("There is no device \"" + std::string(wanted) + "\"; `soundcheck list` shows all.");
    std::string sentence = "\"" + std::string(wanted) + "\" fits more than one device:";
    for (const DeviceEntry* entry : candidates)
        sentence += " " + std::to_string(entry->number) + " (" + entry->name + ")";
    throw SelectionError(sentence + ". Choose one with its number.", true);
}

} // namespace soundcheck
