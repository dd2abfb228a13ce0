// How far a sweep has come: written by the process that runs the faults, read by the one that watches over it, also
// when the former has crashed.
#pragma once

#include <windows.h>

#include <array>
#include <string>

namespace sweep {

struct Progress {
    LONG calls;  // of the clean run that are made to fail
    LONG faults; // that there are
    LONG chosen; // that are to be tried
    LONG next;   // the number of the fault that runs or will run
    LONG failed;
    LONG busy;                   // 1 while a fault runs
    std::array<char, 200> words; // of the fault that runs
};

// A piece of memory that two processes share, zero at first. The one that creates it gives the other its name.
class SharedProgress {
public:
    // Throws std::runtime_error when the system refuses.
    explicit SharedProgress(std::string name);
    ~SharedProgress();
    SharedProgress(const SharedProgress&) = delete;
    SharedProgress& operator=(const SharedProgress&) = delete;

    [[nodiscard]] const std::string& name() const { return m_Name; }
    Progress* operator->() { return m_Progress; }
    Progress& operator*() { return *m_Progress; }

private:
    std::string m_Name;
    HANDLE m_Mapping;
    Progress* m_Progress;
};

} // namespace sweep
