// A sound system with one playing and one capturing buffer, for tests of both.
#pragma once

#include "sound/sound_system.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace simulator {

// A playing secondary buffer of one second and a running capture buffer of one second.
class Bench {
public:
    void run(const std::function<void()>& body) {
        setWorld(&world);
        world.scheduler.run([&] {
            open();
            body();
            close();
            if (afterClose)
                afterClose();
        });
        setWorld(nullptr);
    }

    World world;
    SoundSystem sound{world};
    Device& speaker = sound.add(Direction::playback, "Speaker");
    Device& mic = sound.add(Direction::capture, "Mic");
    IDirectSoundBuffer8* playing = nullptr;
    IDirectSoundCaptureBuffer* capturing = nullptr;
    IDirectSound8* playbackObject = nullptr;
    IDirectSoundCapture* captureObject = nullptr;
    std::function<void()> afterClose;

    void advance(double milliseconds) {
        world.scheduler.spend(static_cast<Nanoseconds>(milliseconds * kMillisecond));
    }
    DWORD playCursor() {
        DWORD cursor = 0;
        EXPECT_EQ(playing->GetCurrentPosition(&cursor, nullptr), DS_OK);
        return cursor;
    }
    DWORD writeCursor() {
        DWORD cursor = 0;
        EXPECT_EQ(playing->GetCurrentPosition(nullptr, &cursor), DS_OK);
        return cursor;
    }
    DWORD readCursor() {
        DWORD cursor = 0;
        EXPECT_EQ(capturing->GetCurrentPosition(nullptr, &cursor), DS_OK);
        return cursor;
    }

    // Bytes that were heard up to now.
    std::uint64_t heardBytes() {
        sound.catchUp();
        return speaker.heard.bytes;
    }

    // Another buffer of a second; null when the answer is another one than success.
    IDirectSoundBuffer8* createBuffer(IDirectSound8& object, HRESULT answer = DS_OK) {
        std::vector<std::byte> wave = waveRecord({2, 48000, 16, 3});
        DSBUFFERDESC description{};
        description.dwSize = sizeof(description);
        description.dwBufferBytes = 192000;
        description.lpwfxFormat = static_cast<WAVEFORMATEX*>(static_cast<void*>(wave.data()));
        IDirectSoundBuffer* plain = nullptr;
        EXPECT_EQ(object.CreateSoundBuffer(&description, &plain, nullptr), answer);
        return static_cast<IDirectSoundBuffer8*>(static_cast<void*>(plain));
    }
    IDirectSoundBuffer8* createPrimary(IDirectSound8& object) {
        DSBUFFERDESC description{};
        description.dwSize = sizeof(description);
        description.dwFlags = DSBCAPS_PRIMARYBUFFER;
        IDirectSoundBuffer* plain = nullptr;
        EXPECT_EQ(object.CreateSoundBuffer(&description, &plain, nullptr), DS_OK);
        return static_cast<IDirectSoundBuffer8*>(static_cast<void*>(plain));
    }
    IDirectSoundCaptureBuffer* createCapture(IDirectSoundCapture& object, const WAVEFORMATEX& format,
                                             HRESULT answer = DS_OK) {
        WAVEFORMATEX wanted = format;
        DSCBUFFERDESC description{};
        description.dwSize = sizeof(description);
        description.dwBufferBytes = 192000;
        description.lpwfxFormat = &wanted;
        IDirectSoundCaptureBuffer* buffer = nullptr;
        EXPECT_EQ(object.CreateCaptureBuffer(&description, &buffer, nullptr), answer);
        return buffer;
    }
    static WAVEFORMATEX pcm(WORD channels, DWORD rate, WORD bits) {
        WAVEFORMATEX wave{};
        const std::vector<std::byte> record = waveRecord({channels, rate, bits, std::nullopt});
        std::memcpy(&wave, record.data(), sizeof(wave));
        return wave;
    }
    [[nodiscard]] std::string lastFinding() const {
        return world.findings.all().empty() ? "" : world.findings.all().back();
    }

private:
    void open() {
        playbackObject = createPlaybackObject(world, speaker);
        EXPECT_EQ(playbackObject->SetCooperativeLevel(GetDesktopWindow(), DSSCL_PRIORITY), DS_OK);
        playing = createBuffer(*playbackObject);
        EXPECT_EQ(playing->Play(0, 0, DSBPLAY_LOOPING), DS_OK);
        captureObject = createCaptureObject(world, mic);
        capturing = createCapture(*captureObject, pcm(2, 48000, 16));
        EXPECT_EQ(capturing->Start(DSCBSTART_LOOPING), DS_OK);
    }
    void close() {
        EXPECT_EQ(playing->Release(), 0u);
        EXPECT_EQ(playbackObject->Release(), 0u);
        EXPECT_EQ(capturing->Release(), 0u);
        EXPECT_EQ(captureObject->Release(), 0u);
        EXPECT_EQ(world.ledger.open(Kind::interfacePointer), 0u);
    }
};

inline constexpr DWORD kBytesPerMillisecond = 192;

} // namespace simulator
