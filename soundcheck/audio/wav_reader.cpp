#include "audio/wav_reader.h"

#include "platform/system_info.h"
#include "platform/text.h"

#include <algorithm>
#include <array>

namespace soundcheck {
namespace {

constexpr std::uint32_t fourLetters(const char (&letters)[5]) {
    std::uint32_t code = 0;
    for (std::size_t i = 4; i-- > 0;)
        code = code << 8 | static_cast<unsigned char>(letters[i]);
    return code;
}

/** The multimedia file functions count in signed 32-bit numbers. */
constexpr std::uint64_t kMaxFileBytes = 0x7FFFFFFF;

/** Programs that write to a pipe cannot know the length and put a number of about this size, or the largest one. */
constexpr std::uint32_t kUnknownLength = 0x7FFFF000;

/** Size of an existing regular file. */
std::uint64_t sizeOf(const std::filesystem::path& file) {
    WIN32_FILE_ATTRIBUTE_DATA attributes{};
    if (!GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &attributes))
        throw AudioFileError("The file cannot be opened: " + systemErrorText(GetLastError()) + ".");
    if ((attributes.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        throw AudioFileError("It is a folder, not a WAV file.");
    return std::uint64_t{attributes.nFileSizeHigh} << 32 | attributes.nFileSizeLow;
}

} // namespace

WavReader::WavReader(const std::filesystem::path& file) : m_name(pathText(file)) {
    try {
        const std::uint64_t fileBytes = sizeOf(file);
        if (fileBytes == 0)
            throw AudioFileError("The file is empty.");
        if (fileBytes > kMaxFileBytes)
            throw AudioFileError("The file is larger than 2 GB.");
        std::wstring path = file.native(); // the function takes a pointer to changeable text
        MMIOINFO info{};
        m_file.reset(mmioOpenW(path.data(), &info, MMIO_READ | MMIO_ALLOCBUF | MMIO_DENYWRITE));
        if (m_file == nullptr)
            throw AudioFileError("The file cannot be opened (multimedia error " + std::to_string(info.wErrorRet) +
                                 ").");
        readHeader(fileBytes);
    } catch (const AudioFileError& error) {
        throw AudioFileError(m_name + ": " + error.what());
    }
}

void WavReader::readHeader(std::uint64_t fileBytes) {
    MMCKINFO riff{};
    riff.fccType = fourLetters("WAVE");
    if (mmioDescend(m_file.get(), &riff, nullptr, MMIO_FINDRIFF) != MMSYSERR_NOERROR)
        throw AudioFileError("This is not a WAV file.");

    MMCKINFO chunk{};
    chunk.ckid = fourLetters("fmt ");
    if (mmioDescend(m_file.get(), &chunk, &riff, MMIO_FINDCHUNK) != MMSYSERR_NOERROR)
        throw AudioFileError("The file has no format chunk.");
    std::array<std::byte, 40> body{};
    const auto wanted = static_cast<LONG>(std::min<std::size_t>(chunk.cksize, body.size()));
    if (mmioRead(m_file.get(), reinterpret_cast<HPSTR>(body.data()), wanted) != wanted)
        throw AudioFileError("The file is cut off inside its format chunk.");
    try {
        m_format = parseFormatChunk(std::span(body).first(static_cast<std::size_t>(wanted)));
    } catch (const AudioFileError& error) {
        throw AudioFileError(std::string("The file cannot be played: ") + error.what() + ".");
    }
    if (mmioAscend(m_file.get(), &chunk, 0) != MMSYSERR_NOERROR)
        throw AudioFileError("The file is cut off behind its format chunk.");

    chunk = {};
    chunk.ckid = fourLetters("data");
    if (mmioDescend(m_file.get(), &chunk, &riff, MMIO_FINDCHUNK) != MMSYSERR_NOERROR)
        throw AudioFileError("The file has no samples: there is no data chunk.");
    const std::uint64_t present = fileBytes - std::min<std::uint64_t>(chunk.dwDataOffset, fileBytes);
    if (chunk.cksize > present && chunk.cksize < kUnknownLength)
        throw AudioFileError("The file is cut off: " + std::to_string(chunk.cksize) +
                             " bytes of samples are announced, " + std::to_string(present) + " are there.");
    const std::uint64_t bytes = std::min<std::uint64_t>(chunk.cksize, present);
    m_dataBytes = bytes - bytes % m_format.bytesPerFrame;
    m_bytesLeft = m_dataBytes;
    if (m_dataBytes == 0)
        throw AudioFileError("The file holds no samples.");
}

std::size_t WavReader::read(std::span<std::byte> bytes) {
    const std::uint64_t wholeFrames = bytes.size() - bytes.size() % m_format.bytesPerFrame;
    const auto wanted = static_cast<LONG>(std::min({wholeFrames, m_bytesLeft, kMaxFileBytes}));
    if (wanted == 0)
        return 0;
    // Fewer bytes than the header promised: the file shrank, or the disk failed.
    if (mmioRead(m_file.get(), reinterpret_cast<HPSTR>(bytes.data()), wanted) != wanted)
        throw AudioFileError(m_name + ": The file cannot be read any further.");
    m_bytesLeft -= static_cast<std::uint64_t>(wanted);
    return static_cast<std::size_t>(wanted);
}

} // namespace soundcheck
