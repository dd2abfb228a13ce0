/**
 * @file
 * Reads the samples of a WAV file piece by piece, through the multimedia file functions of the system.
 *
 * Thread: one at a time. Ownership: the file is open as long as the object lives. Failure: AudioFileError with a
 * sentence that names the file. A file that ends before its header says so is refused at once, not half played.
 */
#pragma once

#include "audio/sample_format.h"

#include <windows.h>

#include <mmsystem.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <type_traits>

namespace soundcheck {

class WavReader {
public:
    explicit WavReader(const std::filesystem::path& file);

    const SampleFormat& format() const { return m_format; }
    std::uint64_t frames() const { return m_dataBytes / m_format.bytesPerFrame; }

    /** Reads whole frames. @return bytes read; 0 only at the end of the samples */
    std::size_t read(std::span<std::byte> bytes);

private:
    struct Close {
        void operator()(HMMIO file) const { mmioClose(file, 0); }
    };
    void readHeader(std::uint64_t fileBytes);

    std::string m_name;
    std::unique_ptr<std::remove_pointer_t<HMMIO>, Close> m_file;
    SampleFormat m_format;
    std::uint64_t m_dataBytes = 0;
    std::uint64_t m_bytesLeft = 0;
};

} // namespace soundcheck
