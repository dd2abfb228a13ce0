/**
 * @file
 * The exceptions of the client library. `what()` is a whole sentence that can be shown to a user.
 */
#pragma once

#include "orvosoundbackend.h"

#include <stdexcept>
#include <string>

namespace soundcheck {

/** The DLL cannot be loaded, or lacks an export. */
class LibraryError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** An export answered with a negative code. */
class BackendError : public std::runtime_error {
public:
    BackendError(const std::string& what, BackendResult code) : std::runtime_error(what), m_code(code) {}
    BackendResult code() const { return m_code; }

private:
    BackendResult m_code;
};

} // namespace soundcheck
