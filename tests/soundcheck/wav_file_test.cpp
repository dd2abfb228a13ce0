#include "audio/wav_reader.h"
#include "audio/wav_writer.h"
#include "test_files.h"

#include <gtest/gtest.h>

#include <array>

namespace soundcheck {
namespace {

using test::append;
using test::Bytes;
using test::formatChunk;
using test::wavFile;

class WavFile : public testing::Test {
protected:
    std::filesystem::path stored(const Bytes& bytes) const {
        test::store(m_folder.file("test.wav"), bytes);
        return m_folder.file("test.wav");
    }
    /** The sentence of the refusal; fails when the file is taken. */
    std::string refusal(const Bytes& bytes) const {
        try {
            const WavReader reader(stored(bytes));
        } catch (const AudioFileError& error) {
            return error.what();
        }
        ADD_FAILURE() << "the file was accepted";
        return {};
    }
    test::TemporaryFolder m_folder;
    Bytes m_samples = test::sampleBytes(test::sine16(440, 48000, 4800, 2));
    Bytes m_format = formatChunk(1, 2, 48000, 16);
};

TEST_F(WavFile, Reader_GoodFile_GivesEveryByte) {
    WavReader reader(stored(wavFile(m_format, m_samples)));
    EXPECT_EQ(reader.frames(), 4800U);
    Bytes all;
    std::array<std::byte, 1001> piece{}; // no whole number of frames
    while (const std::size_t count = reader.read(piece))
        all.insert(all.end(), piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(count));
    EXPECT_EQ(all, m_samples);
    EXPECT_EQ(reader.read(piece), 0U);
}

TEST_F(WavFile, Reader_ForeignChunksBetween_AreSkipped) {
    Bytes file;
    append(file, "RIFF");
    append(file, 4 + 8 + 6 + 8 + 16 + 8 + 4 + 8 + 8, 4);
    append(file, "WAVELIST");
    append(file, 5, 4); // odd, so one byte of padding follows
    append(file, "INFO!\x01");
    append(file, "fmt ");
    append(file, 16, 4);
    file.insert(file.end(), m_format.begin(), m_format.end());
    append(file, "fact");
    append(file, 4, 4);
    append(file, 2, 4);
    append(file, "data");
    append(file, 8, 4);
    append(file, "12345678");
    WavReader reader(stored(file));
    std::array<std::byte, 64> piece{};
    ASSERT_EQ(reader.read(piece), 8U);
    EXPECT_EQ(piece[0], std::byte{'1'});
}

TEST_F(WavFile, Reader_LengthUnknownToTheWriter_ReadsToTheEndOfTheFile) {
    EXPECT_EQ(WavReader(stored(wavFile(m_format, m_samples, 0x7FFFF000))).frames(), 4800U);
    EXPECT_EQ(WavReader(stored(wavFile(m_format, m_samples, 0xFFFFFFFF))).frames(), 4800U);
}

TEST_F(WavFile, Reader_PartOfAFrameAtTheEnd_IsLeftOut) {
    Bytes samples = m_samples;
    samples.pop_back();
    EXPECT_EQ(WavReader(stored(wavFile(m_format, samples))).frames(), 4799U);
}

TEST_F(WavFile, Reader_Missing_IsRefused) {
    EXPECT_THROW(WavReader(m_folder.file("missing.wav")), AudioFileError);
}

TEST_F(WavFile, Reader_Folder_IsRefused) {
    try {
        const WavReader reader(m_folder.path());
        FAIL();
    } catch (const AudioFileError& error) {
        EXPECT_NE(std::string(error.what()).find("folder"), std::string::npos);
    }
}

TEST_F(WavFile, Reader_Empty_IsRefused) {
    EXPECT_NE(refusal({}).find("empty"), std::string::npos);
}

TEST_F(WavFile, Reader_OtherFormats_AreRefused) {
    Bytes text;
    append(text, "This is a letter, not a sound. It is longer than a header is.");
    EXPECT_NE(refusal(text).find("not a WAV"), std::string::npos);
    EXPECT_NE(refusal(wavFile(formatChunk(0x55, 2, 48000, 16), m_samples)).find("compressed"), std::string::npos);
}

TEST_F(WavFile, Reader_NoSamples_IsRefused) {
    EXPECT_NE(refusal(wavFile(m_format, {})).find("no samples"), std::string::npos);
}

TEST_F(WavFile, Reader_CutAnywhere_IsRefused) {
    const Bytes samples(m_samples.begin(), m_samples.begin() + 64);
    const Bytes whole = wavFile(m_format, samples);
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_FALSE(refusal(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length))).empty())
            << length;
}

TEST_F(WavFile, Writer_WhatWasWritten_ReadsBack) {
    {
        WavWriter writer(m_folder.file("out.wav"), {2, 16, 48000, 3});
        writer.write(m_samples);
        EXPECT_EQ(writer.frames(), 4800U);
    }
    EXPECT_EQ(test::load(m_folder.file("out.wav")), wavFile(m_format, m_samples));
}

TEST_F(WavFile, Writer_StillOpen_FileIsReadableUpToTheLastSecond) {
    WavWriter writer(m_folder.file("out.wav"), {2, 16, 48000, 3});
    for (int i = 0; i < 25; ++i) // 2.5 seconds
        writer.write(m_samples);
    const Bytes now = test::load(m_folder.file("out.wav"));
    test::store(m_folder.file("copy.wav"), now);
    EXPECT_EQ(WavReader(m_folder.file("copy.wav")).frames(), 2U * 48000);
}

TEST_F(WavFile, Writer_NotWritable_IsRefused) {
    EXPECT_THROW(WavWriter(m_folder.path(), {2, 16, 48000, 3}), AudioFileError);
    EXPECT_THROW(WavWriter(m_folder.path() / "missing" / "out.wav", {2, 16, 48000, 3}), AudioFileError);
}

TEST_F(WavFile, Writer_SameFileTwice_SecondIsRefused) {
    const WavWriter first(m_folder.file("out.wav"), {2, 16, 48000, 3});
    EXPECT_THROW(WavWriter(m_folder.file("out.wav"), {2, 16, 48000, 3}), AudioFileError);
}

TEST_F(WavFile, Writer_Samples8Bit_AreReadBackAs8Bit) {
    {
        WavWriter writer(m_folder.file("out.wav"), {1, 8, 48000, 0});
        writer.write(std::span(m_samples).first(101));
    }
    const WavReader reader(m_folder.file("out.wav"));
    EXPECT_EQ(reader.format().encoding, SampleEncoding::Unsigned8);
    EXPECT_EQ(reader.frames(), 101U);
}

} // namespace
} // namespace soundcheck
