/**
 * @file
 * Streams that are there for their callbacks: one plays a sound over and over, one drops what is captured, and both
 * write down how they were called.
 *
 * Thread: `fill` and `take` on the audio thread; `events` on the client's.
 */
#pragma once

#include "audio/level_meter.h"
#include "client/device.h"
#include "streams/block_events.h"
#include "streams/block_streams.h"
#include "streams/repeating_source.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace soundcheck {

class NotingStream {
public:
    BlockEvents& events() { return m_events; }

protected:
    void note(const AudioBlock& block, const DeviceFormat& format, bool reference) {
        const std::size_t bytes = static_cast<std::size_t>(block.frameCount) * format.bytesPerFrame();
        m_meter.add(std::span(reinterpret_cast<const std::byte*>(block.samples), bytes), format.bitsPerSample);
        m_events.put({std::chrono::steady_clock::now(), m_meter.takePeak(), reference});
    }

private:
    LevelMeter m_meter;
    BlockEvents m_events;
};

class NotingSource final : public BlockSource, public NotingStream {
public:
    /** @param sound one channel */
    NotingSource(std::vector<std::int16_t> sound, const DeviceFormat& format)
        : m_sound(std::move(sound), format.channels), m_format(format) {}

    std::int32_t fill(const AudioBlock& block) override {
        const std::int32_t frames = m_sound.fill(block);
        note(block, m_format, false);
        return frames;
    }

private:
    RepeatingSource m_sound;
    DeviceFormat m_format;
};

class NotingSink final : public BlockSink, public NotingStream {
public:
    explicit NotingSink(const DeviceFormat& format) : m_format(format) {}

    void take(const AudioBlock& captured, const AudioBlock* reference) override {
        note(captured, m_format, reference != nullptr);
    }

private:
    DeviceFormat m_format;
};

} // namespace soundcheck
