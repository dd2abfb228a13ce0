#include "diagnostics/sinks.h"

#include <gtest/gtest.h>
#include <io.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace directsound {
namespace {

// Sends the standard output into a file while it lives.
class OutputInFile {
public:
    explicit OutputInFile(const std::string& name) {
        std::fflush(stdout);
        m_Before = _dup(_fileno(stdout));
        m_File = std::fopen(name.c_str(), "w");
        _dup2(_fileno(m_File), _fileno(stdout));
    }
    ~OutputInFile() {
        std::fflush(stdout);
        _dup2(m_Before, _fileno(stdout));
        _close(m_Before);
        std::fclose(m_File);
    }
    OutputInFile(const OutputInFile&) = delete;
    OutputInFile& operator=(const OutputInFile&) = delete;

private:
    int m_Before;
    std::FILE* m_File;
};

std::string content(const std::string& name) {
    std::ostringstream text;
    text << std::ifstream(name).rdbuf();
    return text.str();
}

TEST(Sinks, OutputLine_IsThereAtOnceAndWhole) {
    const std::string name = testing::TempDir() + "sinks_test_output.txt";
    std::string atOnce;
    {
        const OutputInFile output(name);
        writeOutputLine("a line");
        atOnce = content(name);
    }
    EXPECT_EQ(atOnce, "a line\n");
    std::filesystem::remove(name);
}

} // namespace
} // namespace directsound
