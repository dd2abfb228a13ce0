/**
 * @file
 * Writes a WAV file that is readable at any time, even when the program or the disk comes to a sudden end: the
 * header counts what is there and is renewed about once a second.
 *
 * Thread: one at a time. Ownership: the file is open until the object goes, which renews the header. Failure:
 * AudioFileError with a sentence that names the file; what was written before stays readable.
 */
#pragma once

#include "audio/sample_format.h"
#include "platform/unique_handle.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

namespace soundcheck {

class WavWriter {
public:
    /** Creates the file, or replaces it. */
    WavWriter(const std::filesystem::path& file, const WavFormat& format);
    WavWriter(WavWriter&&) = default;
    WavWriter& operator=(WavWriter&&) = delete;
    WavWriter(const WavWriter&) = delete;
    WavWriter& operator=(const WavWriter&) = delete;
    ~WavWriter();

    void write(std::span<const std::byte> bytes);

    /** Brings the header up to date. */
    void finish();

    std::uint64_t frames() const { return m_dataBytes / m_format.bytesPerFrame(); }

private:
    std::size_t writeAt(std::uint64_t offset, std::span<const std::byte> bytes);
    [[noreturn]] void fail(const std::string& reason) const;

    std::string m_name;
    WavFormat m_format;
    UniqueHandle m_file;
    std::uint64_t m_headerBytes;
    std::uint64_t m_dataBytes = 0;      ///< whole frames that are on disk
    std::uint64_t m_announcedBytes = 0; ///< what the header says
};

} // namespace soundcheck
