#include "client/library.h"

#include "platform/system_info.h"
#include "platform/text.h"

#include <string>

namespace soundcheck {
namespace {

template <typename Function>
void resolve(HMODULE module, const char* name, Function& function) {
    // By way of the type that stands for any function: the compiler objects to a direct cast.
    function = reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
    if (function == nullptr)
        throw LibraryError(std::string("The library has no function ") + name + ", so it is not a sound backend.");
}

} // namespace

Library::Library(const std::filesystem::path& file) {
    // A whole path: a bare name would also be searched in the current folder and in PATH.
    const std::filesystem::path whole =
        file.has_parent_path() ? std::filesystem::absolute(file) : programFolder() / file;
    m_module.reset(LoadLibraryExW(whole.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    if (m_module == nullptr) {
        const DWORD error = GetLastError();
        throw LibraryError("The library " + pathText(whole) + " cannot be loaded: " + systemErrorText(error) + ".");
    }
#define SOUNDCHECK_RESOLVE_EXPORT(name) resolve(m_module.get(), #name, m_exports.name);
    ORVOSOUNDBACKEND_EXPORTS(SOUNDCHECK_RESOLVE_EXPORT)
#undef SOUNDCHECK_RESOLVE_EXPORT
}

std::filesystem::path Library::path() const {
    std::wstring text(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(m_module.get(), text.data(), static_cast<DWORD>(text.size()));
        if (length < text.size()) {
            text.resize(length);
            return text;
        }
        text.resize(text.size() * 2);
    }
}

void Library::check(BackendResult result, std::string_view step) const {
    if (result >= 0)
        return;
    const char* text = m_exports.orvosoundbackend_getErrorString(result, nullptr);
    throw BackendError(std::string(step) + " failed: " + (text != nullptr ? text : "no text") + " (" +
                           std::to_string(result) + ").",
                       result);
}

} // namespace soundcheck
