/**
 * @file
 * A folder of our own for files that nobody needs afterwards. Ownership: it and all in it go with the object. Failure:
 * Failure with a sentence that names the folder.
 */
#pragma once

#include <filesystem>

namespace soundcheck {

class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

} // namespace soundcheck
