#include "test_files.h"

#include "audio/sample_format.h"

#include <windows.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <numbers>

namespace soundcheck::test {

TemporaryFolder::TemporaryFolder() {
    static int number = 0;
    m_path =
        std::filesystem::temp_directory_path() /
        (L"soundcheck-pr\u00FCfung-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++number));
    std::filesystem::create_directories(m_path);
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored; // a file that a failed test left open stays behind
    std::filesystem::remove_all(m_path, ignored);
}

void append(Bytes& bytes, std::string_view letters) {
    for (const char letter : letters)
        bytes.push_back(static_cast<std::byte>(letter));
}

void append(Bytes& bytes, std::uint32_t value, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        bytes.push_back(static_cast<std::byte>(value >> (8 * i) & 0xFF));
}

Bytes formatChunk(std::uint32_t tag, std::uint32_t channels, std::uint32_t rate, std::uint32_t bits) {
    Bytes chunk;
    append(chunk, tag, 2);
    append(chunk, channels, 2);
    append(chunk, rate, 4);
    append(chunk, rate * channels * bits / 8, 4);
    append(chunk, channels * bits / 8, 2);
    append(chunk, bits, 2);
    return chunk;
}

Bytes wavFile(const Bytes& format, const Bytes& samples, std::uint32_t announced) {
    Bytes file;
    const auto formatBytes = static_cast<std::uint32_t>(format.size());
    const auto dataBytes = announced != 0 ? announced : static_cast<std::uint32_t>(samples.size());
    append(file, "RIFF");
    append(file, 20 + formatBytes + dataBytes, 4);
    append(file, "WAVEfmt ");
    append(file, formatBytes, 4);
    file.insert(file.end(), format.begin(), format.end());
    append(file, "data");
    append(file, dataBytes, 4);
    file.insert(file.end(), samples.begin(), samples.end());
    return file;
}

Bytes sampleBytes(std::span<const std::int16_t> samples) {
    const auto bytes = std::as_bytes(samples);
    return {bytes.begin(), bytes.end()};
}

void store(const std::filesystem::path& file, std::span<const std::byte> bytes) {
    std::ofstream stream(file, std::ios::binary);
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

Bytes load(const std::filesystem::path& file) {
    const std::string letters = text(file);
    Bytes bytes;
    append(bytes, letters);
    return bytes;
}

std::string text(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::vector<float> sine(double frequency, double rate, std::size_t frames, std::size_t channels, double amplitude) {
    std::vector<float> samples(frames * channels);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const std::size_t frame = i / channels;
        const double time = static_cast<double>(frame) / rate;
        samples[i] = static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * frequency * time));
    }
    return samples;
}

std::vector<std::int16_t> sine16(double frequency, double rate, std::size_t frames, std::size_t channels) {
    const std::vector<float> samples = sine(frequency, rate, frames, channels);
    std::vector<std::int16_t> result(samples.size());
    std::transform(samples.begin(), samples.end(), result.begin(), toSigned16);
    return result;
}

} // namespace soundcheck::test
