#include "progress.h"

#include <stdexcept>
#include <utility>

namespace sweep {

SharedProgress::SharedProgress(std::string name)
    : m_Name(std::move(name)), m_Mapping(CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                                            sizeof(Progress), m_Name.c_str())),
      m_Progress(m_Mapping ? static_cast<Progress*>(MapViewOfFile(m_Mapping, FILE_MAP_WRITE, 0, 0, sizeof(Progress)))
                           : nullptr) {
    if (m_Progress)
        return;
    if (m_Mapping)
        CloseHandle(m_Mapping);
    throw std::runtime_error("the memory for the progress cannot be shared");
}

SharedProgress::~SharedProgress() {
    UnmapViewOfFile(m_Progress);
    CloseHandle(m_Mapping);
}

} // namespace sweep
