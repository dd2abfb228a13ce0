#include "commands/recording_folder.h"

#include "exit_code.h"
#include "platform/text.h"

#include <system_error>

namespace soundcheck {

RecordingFolder::RecordingFolder(const std::string& keep) {
    if (keep.empty()) {
        m_path = m_temporary.emplace().path();
        return;
    }
    m_path = toPath(keep);
    std::error_code error;
    std::filesystem::create_directories(m_path, error);
    if (error)
        throw Failure(ExitCode::fileFailed, "The folder " + pathText(m_path) + " cannot be created.");
}

} // namespace soundcheck
