/**
 * @file
 * Which device a user means. A pure function of the list and the text.
 */
#pragma once

#include "client/backend.h"

#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace soundcheck {

/** No device, or more than one, fits the text. `what()` is a sentence that names the candidates. */
class SelectionError : public std::runtime_error {
public:
    explicit SelectionError(const std::string& sentence, bool ambiguous = false)
        : std::runtime_error(sentence), m_ambiguous(ambiguous) {}

    /** More than one device fits. */
    bool ambiguous() const { return m_ambiguous; }

private:
    bool m_ambiguous;
};

/**
 * @param wanted `default` (the default voice device), an identifier, a number of the list, a whole name, or a part
 *        of exactly one name; case does not matter. They are tried in this order.
 * @throws SelectionError
 */
const DeviceEntry& selectDevice(std::span<const DeviceEntry> devices, std::string_view wanted);

} // namespace soundcheck
