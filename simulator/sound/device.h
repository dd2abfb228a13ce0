// One scripted sound device: what it claims to be, how its clock runs, what it plays and records.
//
// The setters chain and hold from now on; a device that is open sees the change at its next call.
#pragma once

#include "../schedule/trace.h"
#include "device_clock.h"
#include "numbered_audio.h"

#include <windows.h>

#include <mmsystem.h>

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>
// Between the two headers: ksmedia.h and dsound.h lean on mmsystem.h.
#include <mmreg.h>

namespace simulator {

enum class Direction { playback = 1, capture = 2 };

// A wave format without the ballast of its records.
struct Format {
    WORD channels = 2;
    DWORD rate = 48000;
    WORD bits = 16;
    // Speaker positions; the extensible form is used when it is given.
    std::optional<DWORD> mask;
    // For a driver that reports a block align that does not fit.
    std::optional<WORD> reportedAlign{};

    [[nodiscard]] WORD frameBytes() const { return static_cast<WORD>(channels * bits / 8); }
};

Format formatOf(const WAVEFORMATEX& wave);
// 18 bytes, or 40 for the extensible form.
std::vector<std::byte> waveRecord(const Format& format);
std::string describe(const WAVEFORMATEX& wave);

// What the play cursor passed over while the buffer played.
struct Heard {
    std::vector<std::byte> audio; // the first `keep` bytes
    std::size_t keep = 40'000'000;
    std::uint64_t bytes = 0;
    std::uint64_t lateWrites = 0; // pieces written where the device was already reading
    Format format;
    std::function<void(std::span<const std::byte>)> listener; // gets all of it

    void add(std::span<const std::byte> piece);
};

class Device {
public:
    Device(Direction direction, std::string label, const GUID& guid, std::function<Nanoseconds()> now);

    // --- what it is ---
    Device& withGuid(const GUID& guid) { return m_Guid = guid, *this; }
    Device& named(std::wstring name) { return m_Name = std::move(name), *this; }
    Device& withoutName() { return m_Name.reset(), *this; }
    Device& withoutGuid() { return m_HasGuid = false, *this; } // in enumeration
    Device& rates(DWORD lowest, DWORD highest) { return minRate = lowest, maxRate = highest, *this; }
    Device& emulated() { return emulatedDriver = true, *this; }
    Device& speakers(DWORD config, DWORD geometry = 0) { return speakerConfig = config | geometry << 16, *this; }
    Device& captureFormats(DWORD bits) { return formatBits = bits, *this; }
    // Another program has it: creating the playback object or the capture buffer answers so.
    Device& allocatedByOthers(bool allocated = true) { return isAllocated = allocated, *this; }
    Device& absent() { return m_Present = false, *this; } // from the beginning

    // --- formats that differ from what was asked for ---
    Device& primaryRefuses(HRESULT answer) {
        return primaryAnswer = [answer](const Format&) { return answer; }, *this;
    }
    Device& primaryAnswers(std::function<HRESULT(const Format&)> answer) {
        return primaryAnswer = std::move(answer), *this;
    }
    Device& primaryKeeps(Format format) { return primaryKept = format, *this; } // whatever is set
    // Capture: the buffer runs in this format, whatever was asked for. Throws std::logic_error for playback.
    Device& bufferKeeps(Format format);
    // Playback: the secondary buffer says that it has this format; it runs in the one that was asked for. Throws
    // std::logic_error for capture.
    Device& bufferReports(Format format);

    // --- how its clock runs ---
    Device& smooth() { return clock.setStep(0), *this; }
    Device& steps(double milliseconds) {
        return clock.setStep(static_cast<Nanoseconds>(milliseconds * kMillisecond)), *this;
    }
    Device& drifts(double partsPerMillion) { return clock.setDrift(m_Now(), partsPerMillion), *this; }
    Device& freezes() { return clock.freeze(m_Now()), *this; }
    Device& thaws() { return clock.thaw(m_Now()), *this; }
    // Cursors included; backwards when it is negative.
    Device& jumps(int milliseconds) { return clock.jump(m_Now(), milliseconds * kMillisecond), *this; }
    // How far the write cursor is ahead of the play cursor, or the capture cursor of the read cursor.
    Device& cursorLead(double milliseconds) {
        return lead = static_cast<Nanoseconds>(milliseconds * kMillisecond), *this;
    }

    // --- what happens to it ---
    // There, or there again: listed, whole, its clock running. What was open when it was unplugged stays dead.
    Device& hotplug() { return m_Present = true, broken.reset(), thaws(); }
    // Gone from all lists, and its clock stands; calls on what is open answer for ever that there is no driver.
    Device& unplug();
    // Gone from all lists, but what is open goes on.
    Device& vanish() { return m_Present = false, *this; }
    // Calls on its objects answer this from now on until it is hot-plugged.
    Device& breaks(HRESULT answer) { return broken = answer, *this; }
    // The playback buffers that live now are lost: not heard any more, and their calls answer so. New ones are good.
    Device& losesBuffers();
    // A lock hands out two regions, the first of so many bytes.
    Device& splitsLocks(DWORD bytes) { return lockSplit = bytes, *this; }
    // A lock hands out so much more than it was asked for, in its last region.
    Device& locksMore(DWORD bytes) { return lockSurplus = bytes, *this; }

    // --- reading ---
    [[nodiscard]] Direction direction() const { return m_Direction; }
    [[nodiscard]] const std::string& label() const { return m_Label; }
    [[nodiscard]] const GUID& guid() const { return m_Guid; }
    [[nodiscard]] std::string id() const; // as the plug-in writes it
    [[nodiscard]] bool present() const { return m_Present; }
    [[nodiscard]] bool hasGuid() const { return m_HasGuid; }
    [[nodiscard]] const std::optional<std::wstring>& name() const { return m_Name; }
    [[nodiscard]] Nanoseconds now() const { return m_Now(); }
    // Checks what was heard so far as numbered audio.
    [[nodiscard]] NumberedChecker checkHeard() const;

    DWORD minRate = 100;
    DWORD maxRate = 200'000;
    bool emulatedDriver = false;
    DWORD speakerConfig = 0x00140004; // stereo, 20 degrees
    DWORD formatBits = 0xFFFFF;
    bool isAllocated = false;
    std::function<HRESULT(const Format&)> primaryAnswer;
    std::optional<Format> primaryKept;
    std::optional<Format> bufferKept;     // of capture
    std::optional<Format> bufferReported; // of playback
    Format primaryFormat;                 // what the primary buffer has before anybody sets one
    DeviceClock clock;
    Nanoseconds lead = 0;
    std::optional<HRESULT> broken;
    // Device time of each; an object knows how many there were before it.
    std::vector<Nanoseconds> unplugTimes, lossTimes;
    DWORD lockSplit = MAXDWORD;
    DWORD lockSurplus = 0;
    Heard heard;
    // Fills whole frames of captured audio, beginning with the given frame; numbered audio unless set.
    std::function<void(std::span<std::byte>, std::uint64_t frame, const Format&)> source;
    std::uint64_t framesCaptured = 0; // that the capture cursor passed over

private:
    Direction m_Direction;
    std::string m_Label;
    GUID m_Guid;
    bool m_HasGuid = true;
    std::optional<std::wstring> m_Name;
    bool m_Present = true;
    std::function<Nanoseconds()> m_Now;
};

} // namespace simulator
