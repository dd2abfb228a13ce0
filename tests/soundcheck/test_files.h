/**
 * @file
 * Files and sounds for the tests.
 */
#pragma once

#include "platform/text.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace soundcheck::test {

/** A fresh folder with a name outside ASCII; removed with all its files at the end. */
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();
    std::filesystem::path file(std::string_view name) const { return m_path / toPath(name); }
    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

using Bytes = std::vector<std::byte>;

void append(Bytes& bytes, std::string_view text);
void append(Bytes& bytes, std::uint32_t value, std::size_t count);

/** Body of a plain format chunk. */
Bytes formatChunk(std::uint32_t tag, std::uint32_t channels, std::uint32_t rate, std::uint32_t bits);

/** A RIFF file of these chunks, in this order; `announced` replaces the size of the data chunk when it is not 0. */
Bytes wavFile(const Bytes& format, const Bytes& samples, std::uint32_t announced = 0);

/** 16-bit samples as bytes. */
Bytes sampleBytes(std::span<const std::int16_t> samples);

void store(const std::filesystem::path& file, std::span<const std::byte> bytes);
Bytes load(const std::filesystem::path& file);

/** A sine of `frames` frames, the same in all channels. */
std::vector<float> sine(double frequency, double rate, std::size_t frames, std::size_t channels = 1,
                        double amplitude = 0.5);
std::vector<std::int16_t> sine16(double frequency, double rate, std::size_t frames, std::size_t channels = 1);

/** Everything that a text file holds. */
std::string text(const std::filesystem::path& file);

} // namespace soundcheck::test
