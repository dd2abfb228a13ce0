/**
 * @file
 * Runs commands in this process against the fake plug-in, and keeps what they say.
 */
#pragma once

#include "audio/wav_reader.h"
#include "commands/program.h"
#include "fake/fake_backend.h"
#include "platform/system_info.h"
#include "platform/text.h"
#include "test_files.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace soundcheck::test {

class CommandRun : public testing::Test {
protected:
    CommandRun()
        : m_fake(LoadLibraryW((programFolder() / L"fake_backend.dll").c_str())) { // kept, so that its notes live on
        SetEnvironmentVariableA("FAKE_BACKEND", nullptr);
        m_speech = sine16(440, 48000, 24123, 2);
        store(m_folder.file("speech.wav"), wavFile(formatChunk(1, 2, 48000, 16), sampleBytes(m_speech)));
    }
    void SetUp() override { ASSERT_NE(m_fake, nullptr); }
    void TearDown() override { FreeLibrary(m_fake); }

    static void misbehave(const char* words) { SetEnvironmentVariableA("FAKE_BACKEND", words); }

    int run(std::vector<std::string> arguments) {
        arguments.emplace_back("--dll");
        arguments.push_back(pathText(programFolder() / L"fake_backend.dll"));
        return runAsIs(std::move(arguments));
    }
    int runAsIs(std::vector<std::string> arguments) {
        std::FILE* const out = _wfopen(m_folder.file("out.txt").c_str(), L"wb");
        std::FILE* const err = _wfopen(m_folder.file("err.txt").c_str(), L"wb");
        int code = -1;
        {
            Console console(out, err);
            code = toInt(runProgram(std::move(arguments), console, m_interrupt));
        }
        std::fclose(out);
        std::fclose(err);
        return code;
    }
    std::string output() const { return text(m_folder.file("out.txt")); }
    std::string errors() const { return text(m_folder.file("err.txt")); }
    std::string path(std::string_view name) const { return pathText(m_folder.file(name)); }
    bool said(std::string_view words) const { return (output() + errors()).find(words) != std::string::npos; }

    std::string journal() const {
        return reinterpret_cast<FakeJournal>(reinterpret_cast<void (*)()>(GetProcAddress(m_fake, "fake_journal")))();
    }
    std::vector<std::int16_t> played() const {
        const auto take =
            reinterpret_cast<FakePlayed>(reinterpret_cast<void (*)()>(GetProcAddress(m_fake, "fake_played")));
        std::vector<std::int16_t> samples(1000000);
        samples.resize(take(samples.data(), samples.size()));
        return samples;
    }
    static std::vector<std::int16_t> samplesOf(const std::filesystem::path& file) {
        WavReader reader(file);
        std::vector<std::int16_t> samples(reader.frames() * reader.format().bytesPerFrame / 2);
        reader.read(std::as_writable_bytes(std::span(samples)));
        return samples;
    }

    HMODULE m_fake;
    TemporaryFolder m_folder;
    Interrupt m_interrupt;
    std::vector<std::int16_t> m_speech;
};

} // namespace soundcheck::test
