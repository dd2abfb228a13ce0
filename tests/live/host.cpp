#include "host.h"

#include "client.h"

#include <windows.h>

#include <array>
#include <fstream>
#include <sstream>

namespace live {
namespace {

constexpr Milliseconds kPatience{10000};

struct HandleCloser {
    using pointer = HANDLE;
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, HandleCloser>;

std::wstring temporaryFile() {
    std::array<wchar_t, MAX_PATH + 1> folder{};
    std::array<wchar_t, MAX_PATH + 1> file{};
    GetTempPathW(static_cast<DWORD>(folder.size()), folder.data());
    GetTempFileNameW(folder.data(), L"host", 0, file.data());
    return file.data();
}

std::string contentsOf(const std::wstring& path) {
    std::string text;
    const Handle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  OPEN_EXISTING, 0, nullptr));
    std::array<char, 4096> piece{};
    DWORD read = 0;
    while (ReadFile(file.get(), piece.data(), static_cast<DWORD>(piece.size()), &read, nullptr) && read > 0)
        text.append(piece.data(), read);
    return text;
}

// Wine gives no handle of a host process, so the shell writes the exit code behind the output.
bool start(const std::string& command, const std::wstring& outputPath) {
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    const Handle output(CreateFileW(outputPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                                    CREATE_ALWAYS, 0, nullptr));
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output.get();
    startup.hStdError = output.get();
    std::wstring line = L"/bin/sh -c \"" + std::wstring(command.begin(), command.end()) + L"; echo exit $?\"";
    PROCESS_INFORMATION process{};
    return CreateProcessW(L"\\\\?\\unix\\bin\\sh", line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                          &process) != FALSE;
}

} // namespace

HostResult runOnHost(const std::string& command) {
    const std::wstring path = temporaryFile();
    HostResult result;
    if (start(command, path)) {
        waitUntil(
            [&] {
                const std::string text = contentsOf(path);
                const std::size_t end = text.rfind("exit ");
                if (end == std::string::npos || text.back() != '\n')
                    return false;
                result = {std::stoi(text.substr(end + 5)), text.substr(0, end)};
                return true;
            },
            kPatience);
    }
    DeleteFileW(path.c_str());
    return result;
}

void pullOut(const std::string& sink) {
    const HostResult found = runOnHost("pactl list short modules | grep sink_name=" + sink + " | cut -f1");
    ASSERT_EQ(found.exitCode, 0);
    const int module = std::stoi(found.output);
    const HostResult unloaded = runOnHost("pactl unload-module " + std::to_string(module));
    ASSERT_EQ(unloaded.exitCode, 0) << unloaded.output;
    const HostResult left = runOnHost("pactl list short sinks");
    ASSERT_EQ(left.output.find(sink), std::string::npos) << left.output;
}

} // namespace live
