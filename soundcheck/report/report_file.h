/**
 * @file
 * The file that a report goes to. It is opened before the run, so that a wrong name is told at once and not after
 * hours, and written behind it.
 *
 * Thread: one at a time. Ownership: the file is open as long as the object lives. Failure: Failure with a sentence
 * that names the file.
 */
#pragma once

#include "platform/unique_handle.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace soundcheck {

class ReportFile {
public:
    explicit ReportFile(const std::filesystem::path& file);

    /** Replaces what the file holds. */
    void write(std::string_view text);

private:
    [[noreturn]] void fail(const std::string& what) const;

    std::string m_name;
    UniqueHandle m_file;
};

} // namespace soundcheck
