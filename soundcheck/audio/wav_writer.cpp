#include "audio/wav_writer.h"

#include "platform/system_info.h"
#include "platform/text.h"

#include <algorithm>

namespace soundcheck {
namespace {

/** The header counts in 32 bits; the rest is for the header itself. */
constexpr std::uint64_t kMaxDataBytes = 0xFFFFFF00;

} // namespace

WavWriter::WavWriter(const std::filesystem::path& file, const WavFormat& format)
    : m_name(pathText(file)), m_format(format), m_headerBytes(wavHeader(format, 0).size()) {
    m_file = UniqueHandle(CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!m_file)
        fail("The file cannot be created: " + systemErrorText(GetLastError()));
    if (writeAt(0, wavHeader(format, 0)) != m_headerBytes)
        fail("The header cannot be written: " + systemErrorText(GetLastError()));
}

WavWriter::~WavWriter() {
    try {
        finish();
    } catch (const AudioFileError&) { // the header of about a second ago stays, and is valid
    }
}

void WavWriter::write(std::span<const std::byte> bytes) {
    const std::uint64_t room = kMaxDataBytes - m_dataBytes;
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), room));
    const std::size_t written = writeAt(m_headerBytes + m_dataBytes, bytes.first(wanted));
    const DWORD error = GetLastError();
    m_dataBytes += written - written % m_format.bytesPerFrame();
    if (written < wanted) {
        finish();
        fail("The recording cannot be continued: " + systemErrorText(error));
    }
    if (wanted < bytes.size())
        fail("The recording has reached 4 GB, the most that a WAV file can hold");
    if (m_dataBytes - m_announcedBytes >= m_format.sampleRate * m_format.bytesPerFrame())
        finish();
}

void WavWriter::finish() {
    if (!m_file || m_announcedBytes == m_dataBytes)
        return;
    if (writeAt(0, wavHeader(m_format, static_cast<std::uint32_t>(m_dataBytes))) != m_headerBytes)
        fail("The header cannot be written: " + systemErrorText(GetLastError()));
    m_announcedBytes = m_dataBytes;
}

std::size_t WavWriter::writeAt(std::uint64_t offset, std::span<const std::byte> bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const std::uint64_t position = offset + done;
        OVERLAPPED place{}; // on a synchronous file this only names the place
        place.Offset = static_cast<DWORD>(position & 0xFFFFFFFF);
        place.OffsetHigh = static_cast<DWORD>(position >> 32);
        DWORD count = 0;
        if (!WriteFile(m_file.get(), bytes.data() + done, static_cast<DWORD>(bytes.size() - done), &count, &place) ||
            count == 0)
            break;
        done += count;
    }
    return done;
}

void WavWriter::fail(const std::string& reason) const {
    throw AudioFileError(m_name + ": " + reason + ".");
}

} // namespace soundcheck
