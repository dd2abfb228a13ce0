// Clocks, cursors, what is heard and what is captured.
#include "sound_bench.h"

#include <cstring>

using namespace simulator;

TEST(Sound, SmoothClock_MovesTheCursorFrameByFrame) {
    Bench b;
    b.run([&] {
        EXPECT_EQ(b.playCursor(), 0u);
        b.advance(1);
        EXPECT_EQ(b.playCursor(), kBytesPerMillisecond);
        b.advance(999);
        EXPECT_EQ(b.playCursor(), 0u) << "one second is the whole ring";
        b.advance(20);
        EXPECT_EQ(b.playCursor(), 20 * kBytesPerMillisecond);
        EXPECT_EQ(b.readCursor(), 20 * kBytesPerMillisecond);
    });
}

TEST(Sound, SteppedClock_MovesInSteps) {
    Bench b;
    b.mic.steps(31.25);
    b.speaker.steps(10);
    b.run([&] {
        b.advance(31);
        EXPECT_EQ(b.readCursor(), 0u);
        EXPECT_EQ(b.playCursor(), 30 * kBytesPerMillisecond);
        b.advance(0.25);
        EXPECT_EQ(b.readCursor(), 6000u);
        b.advance(31.25);
        EXPECT_EQ(b.readCursor(), 12000u);
    });
}

TEST(Sound, Lead_SeparatesTheCursors) {
    Bench b;
    b.speaker.cursorLead(15);
    b.run([&] {
        b.advance(5);
        EXPECT_EQ(b.playCursor(), 5 * kBytesPerMillisecond);
        EXPECT_EQ(b.writeCursor(), 20 * kBytesPerMillisecond);
    });
}

TEST(Sound, Drift_AddsUp) {
    Bench b;
    b.speaker.drifts(1000); // a millisecond per second
    b.run([&] {
        b.advance(10'000);
        EXPECT_EQ(b.playCursor(), 10 * kBytesPerMillisecond);
    });
}

TEST(Sound, FreezeThawAndJump_ActFromTheirMomentOn) {
    Bench b;
    b.run([&] {
        b.advance(10);
        b.speaker.freezes();
        b.advance(100);
        EXPECT_EQ(b.playCursor(), 10 * kBytesPerMillisecond);
        b.speaker.thaws();
        b.advance(5);
        EXPECT_EQ(b.playCursor(), 15 * kBytesPerMillisecond);
        b.speaker.jumps(200);
        EXPECT_EQ(b.playCursor(), 215 * kBytesPerMillisecond);
    });
}

TEST(Sound, WhatThePlayCursorPasses_IsHeard) {
    Bench b;
    b.run([&] {
        void* first = nullptr;
        void* second = nullptr;
        DWORD firstBytes = 0;
        DWORD secondBytes = 0;
        b.advance(100);
        // One block across the end of the ring.
        ASSERT_EQ(b.playing->Lock(192000 - 400, 3840, &first, &firstBytes, &second, &secondBytes, 0), DS_OK);
        EXPECT_EQ(firstBytes, 400u);
        EXPECT_EQ(secondBytes, 3440u);
        fillNumbered({static_cast<std::byte*>(first), firstBytes}, 0, 2, 16);
        fillNumbered({static_cast<std::byte*>(second), secondBytes}, 100, 2, 16);
        ASSERT_EQ(b.playing->Unlock(first, firstBytes, second, secondBytes), DS_OK);
        b.advance(950);
    });
    b.sound.catchUp();
    const NumberedChecker heard = b.speaker.checkHeard();
    EXPECT_EQ(heard.frames(), 960u);
    EXPECT_EQ(heard.breaks(), 0u);
    EXPECT_EQ(heard.leadIn(), 0u) << "a new buffer is not silent";
    constexpr std::size_t kBegin = std::size_t{48000 - 100} * 4;
    EXPECT_EQ(b.speaker.heard.audio.at(kBegin - 1), std::byte{0x55});
    EXPECT_EQ(b.speaker.heard.audio.at(kBegin), std::byte{0x00});
}

TEST(Sound, WhatIsCaptured_IsNumbered) {
    Bench b;
    b.run([&] {
        NumberedChecker checker(2, 16);
        for (DWORD block = 0; block < 120; ++block) { // beyond the end of the ring
            b.advance(20);
            void* data = nullptr;
            DWORD bytes = 0;
            ASSERT_EQ(b.capturing->Lock(block % 50 * 3840, 3840, &data, &bytes, nullptr, nullptr, 0), DS_OK);
            checker.feed({static_cast<std::byte*>(data), bytes});
            ASSERT_EQ(b.capturing->Unlock(data, bytes, nullptr, 0), DS_OK);
        }
        EXPECT_EQ(checker.frames(), 120u * 960u);
        EXPECT_TRUE(checker.unbroken());
    });
}

TEST(Sound, NumberedChecker_SeesLossRepetitionAndSilence) {
    std::vector<std::byte> block(std::size_t{960} * 4);
    NumberedChecker checker(2, 16);
    fillNumbered(block, 0, 2, 16);
    checker.feed(block);
    checker.feed(block); // repeated
    fillNumbered(block, 1920, 2, 16);
    checker.feed(block); // 960 lost
    std::memset(block.data(), 0, block.size());
    checker.feed(block);
    EXPECT_EQ(checker.frames(), 3u * 960u);
    EXPECT_EQ(checker.breaks(), 2u);
    EXPECT_EQ(checker.silence(), 960u);
    EXPECT_FALSE(checker.unbroken());
}

TEST(Sound, CallAfterTheLastRelease_IsFound) {
    Bench b;
    b.run([&] {
        b.playing->AddRef();
        b.playing->Release();
        EXPECT_TRUE(b.world.findings.all().empty());
        IDirectSoundBuffer8* late = b.playing;
        b.afterClose = [late] { EXPECT_EQ(late->Stop(), E_FAIL); };
    });
    ASSERT_EQ(b.world.findings.all().size(), 1u);
    EXPECT_NE(b.world.findings.all().front().find("Secondary.Stop of Speaker after its last release"),
              std::string::npos);
}

TEST(Sound, DefaultVoiceDevice_MovesOnWhenItIsGone) {
    Bench b;
    Device& headset = b.sound.add(Direction::playback, "Headset");
    EXPECT_EQ(b.sound.defaultVoice(Direction::playback)->Data1, b.speaker.guid().Data1);
    b.sound.makeDefault(headset);
    EXPECT_EQ(b.sound.defaultVoice(Direction::playback)->Data1, headset.guid().Data1);
    headset.unplug();
    EXPECT_EQ(b.sound.defaultVoice(Direction::playback)->Data1, b.speaker.guid().Data1);
    b.speaker.unplug();
    EXPECT_FALSE(b.sound.defaultVoice(Direction::playback).has_value());
}
