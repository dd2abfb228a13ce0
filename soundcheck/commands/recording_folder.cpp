#include "commands/recording_folder.h"

#include "exit_code.h"
#include "platform/text.h"

#include <windows.h>

#include <system_error>

namespace soundcheck {

RecordingFolder::RecordingFolder(const std::string& keep) : m_temporary(keep.empty()) {
    m_path = m_temporary ? std::filesystem::temp_directory_path() /
                               ("soundcheck-echo-" + std::to_string(GetCurrentProcessId()))
                         : toPath(keep);
    std::error_code error;
    std::filesystem::create_directories(m_path, error);
    if (error)
        throw Failure(ExitCode::usage, "The folder " + pathText(m_path) + " cannot be created.");
}

RecordingFolder::~RecordingFolder() {
    std::error_code error; // what cannot be removed stays: it is a temporary folder
    if (m_temporary)
        std::filesystem::remove_all(m_path, error);
}

} // namespace soundcheck
