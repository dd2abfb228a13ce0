/**
 * @file
 * The folder that a command's recordings go to: the user's, or a temporary one that goes again with all that is in it.
 * Failure: the constructor throws Failure with a sentence that names the folder.
 */
#pragma once

#include <filesystem>
#include <string>

namespace soundcheck {

class RecordingFolder {
public:
    /** @param keep made when it is missing; empty: a temporary folder */
    explicit RecordingFolder(const std::string& keep);
    RecordingFolder(const RecordingFolder&) = delete;
    RecordingFolder& operator=(const RecordingFolder&) = delete;
    ~RecordingFolder();

    std::filesystem::path microphone() const { return m_path / "microphone.wav"; }
    std::filesystem::path reference() const { return m_path / "reference.wav"; }

private:
    bool m_temporary;
    std::filesystem::path m_path;
};

} // namespace soundcheck
