#include "platform/temporary_folder.h"

#include "exit_code.h"
#include "platform/text.h"

#include <windows.h>

#include <string>
#include <system_error>

namespace soundcheck {

TemporaryFolder::TemporaryFolder()
    : m_path(std::filesystem::temp_directory_path() /
             (L"soundcheck-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(GetTickCount64()))) {
    std::error_code error;
    std::filesystem::create_directories(m_path, error);
    if (error)
        throw Failure(ExitCode::fileFailed, "The folder " + pathText(m_path) + " cannot be created.");
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored; // a file that somebody looks into stays behind
    std::filesystem::remove_all(m_path, ignored);
}

} // namespace soundcheck
