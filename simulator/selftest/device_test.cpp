// What can happen to a sound device, and what its objects answer then and to wrong use.
#include "sound_bench.h"

#include <stdexcept>

using namespace simulator;

namespace {

// One of the replaced functions of dsound.
template <class Function>
Function* dsound(std::string_view name) {
    for (const Replacement& replaced : soundFunctions()) {
        if (replaced.function == name)
            return reinterpret_cast<Function*>(replaced.with);
    }
    return nullptr;
}

HRESULT lock(IDirectSoundBuffer8& buffer, DWORD offset, DWORD bytes) {
    void* first = nullptr;
    void* second = nullptr;
    DWORD firstBytes = 0;
    DWORD secondBytes = 0;
    const HRESULT answer = buffer.Lock(offset, bytes, &first, &firstBytes, &second, &secondBytes, 0);
    if (SUCCEEDED(answer)) {
        EXPECT_EQ(buffer.Unlock(first, firstBytes, second, secondBytes), DS_OK);
    }
    return answer;
}

constexpr GUID kDefaults[] = {{0xdef00000, 0x9c6d, 0x47ed, {0xaa, 0xf1, 0x4d, 0xda, 0x8f, 0x2b, 0x5c, 0x03}},
                              {0xdef00001, 0x9c6d, 0x47ed, {0xaa, 0xf1, 0x4d, 0xda, 0x8f, 0x2b, 0x5c, 0x03}},
                              {0xdef00002, 0x9c6d, 0x47ed, {0xaa, 0xf1, 0x4d, 0xda, 0x8f, 0x2b, 0x5c, 0x03}},
                              {0xdef00003, 0x9c6d, 0x47ed, {0xaa, 0xf1, 0x4d, 0xda, 0x8f, 0x2b, 0x5c, 0x03}}};

} // namespace

TEST(Device, LosesBuffers_TakesTheLivingOnesAndNoOther) {
    Bench b;
    b.run([&] {
        b.advance(100);
        b.speaker.losesBuffers();
        b.advance(50);
        EXPECT_EQ(lock(*b.playing, 0, 3840), DSERR_BUFFERLOST);
        EXPECT_EQ(b.playing->Play(0, 0, DSBPLAY_LOOPING), DSERR_BUFFERLOST);
        EXPECT_EQ(b.playing->Stop(), DSERR_BUFFERLOST);
        DWORD status = 0;
        EXPECT_EQ(b.playing->GetStatus(&status), DS_OK);
        EXPECT_NE(status & DSBSTATUS_BUFFERLOST, 0u);
        EXPECT_EQ(b.playCursor(), 150 * kBytesPerMillisecond) << "the cursors go on";
        EXPECT_EQ(b.heardBytes(), 100u * kBytesPerMillisecond) << "but nothing is heard any more";

        IDirectSoundBuffer8* fresh = b.createBuffer(*b.playbackObject);
        EXPECT_EQ(lock(*fresh, 0, 3840), DS_OK);
        EXPECT_EQ(fresh->Play(0, 0, DSBPLAY_LOOPING), DS_OK);
        b.advance(30);
        EXPECT_EQ(b.heardBytes(), 130u * kBytesPerMillisecond);
        b.speaker.losesBuffers();
        EXPECT_EQ(lock(*fresh, 0, 3840), DSERR_BUFFERLOST);
        b.advance(10);
        EXPECT_EQ(b.heardBytes(), 130u * kBytesPerMillisecond) << "the first loss keeps its own time";
        EXPECT_EQ(fresh->Release(), 0u);
    });
    EXPECT_EQ(b.lastFinding(), "");
}

TEST(Device, Breaks_AnswersSoUntilItIsPluggedInAnew) {
    Bench b;
    b.run([&] {
        b.speaker.breaks(DSERR_GENERIC);
        EXPECT_EQ(b.playing->GetCurrentPosition(nullptr, nullptr), DSERR_GENERIC);
        EXPECT_EQ(b.createBuffer(*b.playbackObject, DSERR_GENERIC), nullptr);
        EXPECT_EQ(b.readCursor(), 0u) << "another device is not touched";
        b.speaker.hotplug();
        EXPECT_EQ(b.playCursor(), 0u);
    });
}

TEST(Device, Vanish_TakesItFromTheListsOnly) {
    Bench b;
    b.run([&] {
        b.speaker.vanish();
        EXPECT_TRUE(b.sound.present(Direction::playback).empty());
        EXPECT_EQ(b.sound.all(Direction::playback).size(), 1u);
        EXPECT_EQ(b.sound.findPresent(Direction::playback, b.speaker.guid()), nullptr);
        b.advance(20);
        EXPECT_EQ(b.playCursor(), 20 * kBytesPerMillisecond);
        EXPECT_EQ(lock(*b.playing, 0, 3840), DS_OK);
    });
}

TEST(Device, HotplugAfterUnplug_OldObjectsStayDead) {
    Bench b;
    b.run([&] {
        b.advance(100);
        b.speaker.unplug();
        b.mic.unplug();
        EXPECT_EQ(b.playing->GetCurrentPosition(nullptr, nullptr), DSERR_NODRIVER);
        b.advance(50);
        b.sound.find("Speaker").hotplug();
        b.sound.find("Mic").hotplug();
        b.advance(50);
        EXPECT_EQ(b.playing->GetCurrentPosition(nullptr, nullptr), DSERR_NODRIVER);
        EXPECT_EQ(b.capturing->GetCurrentPosition(nullptr, nullptr), DSERR_NODRIVER);
        EXPECT_EQ(b.createBuffer(*b.playbackObject, DSERR_NODRIVER), nullptr);
        EXPECT_EQ(b.heardBytes(), 100u * kBytesPerMillisecond);
        EXPECT_EQ(b.mic.framesCaptured, 4800u);

        IDirectSound8* object = createPlaybackObject(b.world, b.speaker);
        EXPECT_EQ(object->SetCooperativeLevel(GetDesktopWindow(), DSSCL_NORMAL), DS_OK);
        IDirectSoundBuffer8* fresh = b.createBuffer(*object);
        EXPECT_EQ(fresh->Play(0, 0, DSBPLAY_LOOPING), DS_OK);
        b.advance(10);
        EXPECT_EQ(b.heardBytes(), 110u * kBytesPerMillisecond);
        EXPECT_EQ(fresh->Release(), 0u);
        EXPECT_EQ(object->Release(), 0u);
    });
}

TEST(Device, AllocatedByOthers_ShowsAtThePlaybackObjectAndTheCaptureBuffer) {
    Bench b;
    b.run([&] {
        auto* create = dsound<decltype(DirectSoundCreate8)>("DirectSoundCreate8");
        ASSERT_NE(create, nullptr);
        b.speaker.allocatedByOthers();
        b.mic.allocatedByOthers();
        IDirectSound8* object = b.playbackObject; // anything but null
        EXPECT_EQ(create(&b.speaker.guid(), &object, nullptr), DSERR_ALLOCATED);
        EXPECT_EQ(object, nullptr);
        EXPECT_EQ(b.createCapture(*b.captureObject, Bench::pcm(2, 48000, 16), DSERR_ALLOCATED), nullptr);
        b.speaker.allocatedByOthers(false);
        ASSERT_EQ(create(&b.speaker.guid(), &object, nullptr), DS_OK);
        EXPECT_EQ(object->Release(), 0u);
    });
}

TEST(Device, NamesOfTheDefault_MeanTheDefaultDevice) {
    Bench b;
    Device& headset = b.sound.add(Direction::playback, "Headset");
    b.sound.makeDefault(headset);
    b.run([&] {
        auto* create = dsound<decltype(DirectSoundCreate8)>("DirectSoundCreate8");
        auto* createCapture = dsound<decltype(DirectSoundCaptureCreate8)>("DirectSoundCaptureCreate8");
        ASSERT_TRUE(create && createCapture);
        for (const GUID* guid : {static_cast<const GUID*>(nullptr), &kDefaults[0], &kDefaults[2]}) {
            IDirectSound8* object = nullptr;
            ASSERT_EQ(create(guid, &object, nullptr), DS_OK);
            EXPECT_EQ(b.sound.living(headset), std::vector<std::string>{"DirectSound"});
            EXPECT_EQ(object->Release(), 0u);
        }
        for (const GUID* guid : {static_cast<const GUID*>(nullptr), &kDefaults[1], &kDefaults[3]}) {
            IDirectSoundCapture* object = nullptr;
            ASSERT_EQ(createCapture(guid, &object, nullptr), DS_OK);
            EXPECT_EQ(b.sound.living(b.mic).size(), 3u);
            EXPECT_EQ(object->Release(), 0u);
        }
        IDirectSound8* object = b.playbackObject;
        EXPECT_EQ(create(&kDefaults[1], &object, nullptr), DSERR_NODRIVER) << "a name of the other direction";
        EXPECT_EQ(object, nullptr);
        EXPECT_EQ(create(nullptr, nullptr, nullptr), DSERR_INVALIDPARAM);
    });
}

TEST(Device, CooperativeLevel_IsCheckedAndNeeded) {
    Bench b;
    b.run([&] {
        IDirectSound8* object = createPlaybackObject(b.world, b.speaker);
        const WAVEFORMATEX format = Bench::pcm(2, 44100, 16);
        EXPECT_EQ(b.createBuffer(*object, DSERR_PRIOLEVELNEEDED), nullptr);
        EXPECT_EQ(object->SetCooperativeLevel(nullptr, DSSCL_PRIORITY), DSERR_INVALIDPARAM);
        EXPECT_EQ(object->SetCooperativeLevel(reinterpret_cast<HWND>(0x00C0FFEE), DSSCL_PRIORITY),
                  DSERR_INVALIDPARAM);
        EXPECT_EQ(object->SetCooperativeLevel(GetDesktopWindow(), 0), DSERR_INVALIDPARAM);
        EXPECT_EQ(object->SetCooperativeLevel(GetDesktopWindow(), 5), DSERR_INVALIDPARAM);
        EXPECT_EQ(object->SetCooperativeLevel(GetDesktopWindow(), DSSCL_NORMAL), DS_OK);
        IDirectSoundBuffer8* primary = b.createPrimary(*object);
        EXPECT_EQ(primary->SetFormat(&format), DSERR_PRIOLEVELNEEDED);
        EXPECT_EQ(object->SetCooperativeLevel(GetDesktopWindow(), DSSCL_PRIORITY), DS_OK);
        EXPECT_EQ(primary->SetFormat(&format), DS_OK);
        EXPECT_EQ(primary->Release(), 0u);
        EXPECT_EQ(object->Release(), 0u);
    });
}

TEST(Device, CaptureFormat_MustBeSoundAndOffered) {
    Bench b;
    b.mic.captureFormats(0x8000 | 0x0001); // 48 kHz stereo 16, 11 kHz mono 8
    b.run([&] {
        WAVEFORMATEX format = Bench::pcm(2, 48000, 16);
        ++format.nBlockAlign;
        EXPECT_EQ(b.createCapture(*b.captureObject, format, DSERR_INVALIDPARAM), nullptr);
        format = Bench::pcm(2, 48000, 16);
        ++format.nAvgBytesPerSec;
        EXPECT_EQ(b.createCapture(*b.captureObject, format, DSERR_INVALIDPARAM), nullptr);
        format = Bench::pcm(2, 48000, 16);
        format.wFormatTag = 3; // floating point
        EXPECT_EQ(b.createCapture(*b.captureObject, format, DSERR_BADFORMAT), nullptr);
        for (const WAVEFORMATEX& refused :
             {Bench::pcm(1, 48000, 16), Bench::pcm(2, 48000, 8), Bench::pcm(3, 48000, 16), Bench::pcm(2, 44100, 16),
              Bench::pcm(2, 11025, 8), Bench::pcm(2, 48000, 24), Bench::pcm(0, 48000, 16)})
            EXPECT_EQ(b.createCapture(*b.captureObject, refused, DSERR_BADFORMAT), nullptr) << describe(refused);
        for (const WAVEFORMATEX& offered : {Bench::pcm(2, 48000, 16), Bench::pcm(1, 11025, 8)}) {
            IDirectSoundCaptureBuffer* buffer = b.createCapture(*b.captureObject, offered);
            ASSERT_NE(buffer, nullptr) << describe(offered);
            EXPECT_EQ(buffer->Release(), 0u);
        }
    });
}

TEST(Device, FormatVerbs_AreOfOneDirectionEach) {
    Bench b;
    EXPECT_THROW(b.speaker.bufferKeeps({1, 44100, 16, std::nullopt}), std::logic_error);
    EXPECT_THROW(b.mic.bufferReports({1, 44100, 16, std::nullopt}), std::logic_error);
}

TEST(Device, ListsPrimaryFalse_LeavesTheEntryWithoutGuidOut) {
    Bench b;
    b.run([&] {
        const auto countAll = [](GUID* /*guid*/, LPCWSTR, LPCWSTR, void* count) -> BOOL {
            ++*static_cast<int*>(count);
            return TRUE;
        };
        int entries = 0;
        EXPECT_EQ(b.sound.enumerate(Direction::playback, countAll, &entries), DS_OK);
        EXPECT_EQ(entries, 2);
        b.sound.listsPrimary = false;
        entries = 0;
        EXPECT_EQ(b.sound.enumerate(Direction::playback, countAll, &entries), DS_OK);
        EXPECT_EQ(entries, 1);
    });
}

TEST(Device, JumpBackwards_TakesTheCursorsBack) {
    Bench b;
    b.run([&] {
        b.advance(100);
        EXPECT_EQ(b.readCursor(), 100 * kBytesPerMillisecond);
        EXPECT_EQ(b.playCursor(), 100 * kBytesPerMillisecond);
        b.speaker.jumps(-40);
        b.mic.jumps(-40);
        EXPECT_EQ(b.playCursor(), 60 * kBytesPerMillisecond);
        EXPECT_EQ(b.readCursor(), 60 * kBytesPerMillisecond);
        b.advance(10);
        EXPECT_EQ(b.readCursor(), 70 * kBytesPerMillisecond);
        EXPECT_EQ(b.heardBytes(), 110u * kBytesPerMillisecond) << "what is passed again is heard again";
        EXPECT_EQ(b.mic.framesCaptured, 4800u);
        b.speaker.jumps(-80); // to before its start
        b.mic.jumps(-80);
        EXPECT_EQ(b.playCursor(), 990 * kBytesPerMillisecond);
        EXPECT_EQ(b.readCursor(), 990 * kBytesPerMillisecond);
    });
}

TEST(Device, LockHeldTooLong_IsFound) {
    Bench b;
    b.run([&] {
        void* data = nullptr;
        DWORD bytes = 0;
        EXPECT_EQ(b.playing->Lock(0, 0, &data, &bytes, nullptr, nullptr, 0), DSERR_INVALIDPARAM);
        EXPECT_EQ(b.capturing->Lock(0, 0, &data, &bytes, nullptr, nullptr, 0), DSERR_INVALIDPARAM);
        EXPECT_EQ(b.playing->Stop(), DS_OK);
        EXPECT_EQ(b.capturing->Stop(), DS_OK);
        EXPECT_EQ(b.lastFinding(), "") << "a lock that failed is none";

        EXPECT_EQ(b.playing->Lock(0, 3840, &data, &bytes, nullptr, nullptr, 0), DS_OK);
        EXPECT_EQ(b.playing->Lock(0, 3840, &data, &bytes, nullptr, nullptr, 0), DS_OK);
        EXPECT_EQ(b.lastFinding(), "Secondary.Lock of Speaker without unlock before");
        EXPECT_EQ(b.playing->Stop(), DS_OK);
        EXPECT_EQ(b.lastFinding(), "Secondary.Stop of Speaker without unlock before");
        EXPECT_EQ(b.capturing->Lock(0, 3840, &data, &bytes, nullptr, nullptr, 0), DS_OK);
        EXPECT_EQ(b.capturing->Stop(), DS_OK);
        EXPECT_EQ(b.lastFinding(), "CaptureBuffer.Stop of Mic without unlock before");
    });
    ASSERT_EQ(b.world.findings.all().size(), 5u);
    EXPECT_EQ(b.world.findings.all()[3], "Secondary.last Release of Speaker without unlock before");
    EXPECT_EQ(b.world.findings.all()[4], "CaptureBuffer.last Release of Mic without unlock before");
}

TEST(Device, LocksMore_LengthensTheLastRegion) {
    Bench b;
    b.run([&] {
        void* first = nullptr;
        void* second = nullptr;
        DWORD firstBytes = 0;
        DWORD secondBytes = 0;
        const auto lockAt = [&](DWORD offset) {
            EXPECT_EQ(b.capturing->Lock(offset, 3840, &first, &firstBytes, &second, &secondBytes, 0), DS_OK);
            EXPECT_EQ(b.capturing->Unlock(first, firstBytes, second, secondBytes), DS_OK);
        };
        b.mic.locksMore(640);
        lockAt(0);
        EXPECT_EQ(firstBytes, 3840u + 640u);
        EXPECT_EQ(secondBytes, 0u);
        b.mic.splitsLocks(1000);
        lockAt(0);
        EXPECT_EQ(firstBytes, 1000u);
        EXPECT_EQ(secondBytes, 2840u + 640u);
        b.mic.locksMore(1'000'000);
        lockAt(0);
        EXPECT_EQ(firstBytes + secondBytes, 192000u) << "no more than there is";
    });
}
