#include "report/report_file.h"

#include "exit_code.h"
#include "platform/system_info.h"
#include "platform/text.h"

#include <algorithm>

namespace soundcheck {
namespace {

bool isPage(const std::filesystem::path& file) {
    std::string extension = pathText(file.extension());
    std::transform(extension.begin(), extension.end(), extension.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter;
    });
    return extension == ".html" || extension == ".htm";
}

} // namespace

ReportFile::ReportFile(const std::filesystem::path& file) : m_name(pathText(file)) {
    m_file = UniqueHandle(CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!m_file)
        fail("The report cannot be created");
    // A slip of the finger must not cost a recording.
    if (!isPage(file) && GetFileSize(m_file.get(), nullptr) != 0)
        throw Failure(ExitCode::fileFailed,
                      m_name + ": This file is there and is not called .html; it is not replaced.");
}

void ReportFile::write(std::string_view text) {
    if (SetFilePointer(m_file.get(), 0, nullptr, FILE_BEGIN) == INVALID_SET_FILE_POINTER ||
        !SetEndOfFile(m_file.get()))
        fail("The report cannot be written");
    constexpr std::size_t kMostAtOnce = 1U << 20;
    while (!text.empty()) {
        DWORD written = 0;
        const auto wanted = static_cast<DWORD>(std::min(text.size(), kMostAtOnce));
        if (!WriteFile(m_file.get(), text.data(), wanted, &written, nullptr) || written == 0)
            fail("The report cannot be written");
        text.remove_prefix(written);
    }
    if (!FlushFileBuffers(m_file.get())) // a full disk may show only here
        fail("The report cannot be written");
}

void ReportFile::fail(const std::string& what) const {
    throw Failure(ExitCode::fileFailed, m_name + ": " + what + ": " + systemErrorText(GetLastError()) + ".");
}

} // namespace soundcheck
