/**
 * @file
 * The folder that a command's recordings go to: the user's, or a temporary one that goes again with all that is in it.
 * Failure: the constructor throws Failure with a sentence that names the folder.
 */
#pragma once

#include "platform/temporary_folder.h"

#include <filesystem>
#include <optional>
#include <string>

namespace soundcheck {

class RecordingFolder {
public:
    /** @param keep made when it is missing; empty: a temporary folder */
    explicit RecordingFolder(const std::string& keep);

    std::filesystem::path microphone() const { return m_path / "microphone.wav"; }
    std::filesystem::path reference() const { return m_path / "reference.wav"; }

private:
    std::optional<TemporaryFolder> m_temporary;
    std::filesystem::path m_path;
};

} // namespace soundcheck
