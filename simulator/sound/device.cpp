#include "device.h"

#include <algorithm>
#include <cstring>
#include <sstream>
#include <stdexcept>

namespace simulator {
namespace {

// KSDATAFORMAT_SUBTYPE_PCM, written out so that no library of GUIDs is needed.
constexpr GUID kSubtypePcm = {0x00000001, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};

} // namespace

Format formatOf(const WAVEFORMATEX& wave) {
    Format format{wave.nChannels, wave.nSamplesPerSec, wave.wBitsPerSample, std::nullopt, std::nullopt};
    if (wave.wFormatTag == WAVE_FORMAT_EXTENSIBLE) {
        WAVEFORMATEXTENSIBLE extensible{};
        std::memcpy(&extensible, &wave, sizeof(extensible));
        format.mask = extensible.dwChannelMask;
    }
    return format;
}

std::vector<std::byte> waveRecord(const Format& format) {
    WAVEFORMATEXTENSIBLE record{};
    WAVEFORMATEX& wave = record.Format;
    wave.wFormatTag = format.mask ? WAVE_FORMAT_EXTENSIBLE : WAVE_FORMAT_PCM;
    wave.nChannels = format.channels;
    wave.nSamplesPerSec = format.rate;
    wave.wBitsPerSample = format.bits;
    wave.nBlockAlign = format.reportedAlign.value_or(format.frameBytes());
    wave.nAvgBytesPerSec = wave.nBlockAlign * format.rate;
    std::size_t size = sizeof(WAVEFORMATEX);
    if (format.mask) {
        size = sizeof(record);
        wave.cbSize = static_cast<WORD>(sizeof(record) - sizeof(WAVEFORMATEX));
        record.Samples.wValidBitsPerSample = format.bits;
        record.dwChannelMask = *format.mask;
        record.SubFormat = kSubtypePcm;
    }
    std::vector<std::byte> bytes(size);
    std::memcpy(bytes.data(), &record, size);
    return bytes;
}

std::string describe(const WAVEFORMATEX& wave) {
    const Format format = formatOf(wave);
    std::ostringstream text;
    text << (format.mask ? "extensible " : "pcm ") << format.channels << " x " << format.rate << " x " << format.bits
         << " align " << wave.nBlockAlign << " bytes/s " << wave.nAvgBytesPerSec << " extra " << wave.cbSize;
    if (format.mask) {
        text << " mask 0x" << std::hex << *format.mask << std::dec;
        WAVEFORMATEXTENSIBLE extensible{};
        std::memcpy(&extensible, &wave, sizeof(extensible));
        if (extensible.Samples.wValidBitsPerSample != format.bits)
            text << " valid bits " << extensible.Samples.wValidBitsPerSample;
        if (std::memcmp(&extensible.SubFormat, &kSubtypePcm, sizeof(GUID)) != 0)
            text << " not PCM";
    }
    return text.str();
}

void Heard::add(std::span<const std::byte> piece) {
    bytes += piece.size();
    if (listener)
        listener(piece);
    const std::size_t kept = std::min(piece.size(), keep - std::min(keep, audio.size()));
    audio.insert(audio.end(), piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(kept));
}

Device::Device(Direction direction, std::string label, const GUID& guid, std::function<Nanoseconds()> now)
    : m_Direction(direction), m_Label(std::move(label)), m_Guid(guid),
      m_Name(std::wstring(m_Label.begin(), m_Label.end())), m_Now(std::move(now)) {}

Device& Device::bufferKeeps(Format format) {
    if (m_Direction != Direction::capture)
        throw std::logic_error(m_Label + " is a playback device: its buffers report a format, see bufferReports");
    bufferKept = format;
    return *this;
}

Device& Device::bufferReports(Format format) {
    if (m_Direction != Direction::playback)
        throw std::logic_error(m_Label + " is a capture device: its buffer keeps a format, see bufferKeeps");
    bufferReported = format;
    return *this;
}

Device& Device::unplug() {
    m_Present = false;
    unplugTimes.push_back(clock.exact(m_Now()));
    return freezes();
}

Device& Device::losesBuffers() {
    lossTimes.push_back(clock.exact(m_Now()));
    return *this;
}

std::string Device::id() const {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text = "{";
    const auto append = [&](std::uint32_t value, int digits) {
        for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
            text += kDigits[value >> shift & 15];
    };
    append(m_Guid.Data1, 8);
    text += '-';
    append(m_Guid.Data2, 4);
    text += '-';
    append(m_Guid.Data3, 4);
    text += '-';
    for (int i = 0; i < 8; ++i) {
        if (i == 2)
            text += '-';
        append(m_Guid.Data4[i], 2);
    }
    return text + '}';
}

NumberedChecker Device::checkHeard() const {
    NumberedChecker checker(heard.format.channels, heard.format.bits);
    checker.feed(heard.audio);
    return checker;
}

} // namespace simulator
