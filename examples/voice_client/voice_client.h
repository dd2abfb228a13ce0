// Speech on the default voice device, whichever that is at the moment.
//
// When the default changes, the client moves; when its device fails, it closes it and tries again: as soon as the
// devices change, or after a while. Everything happens in tend(), which the program calls every few milliseconds from
// one thread; only the speech itself is asked for on the plug-in's thread.
#pragma once

#include "plugin_library.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

class VoiceClient {
public:
    // Writes whole frames of 16-bit samples. Must be quick.
    using Speech = std::function<void(std::int16_t* samples, int frames, int channels)>;

    // Throws std::runtime_error when there is no usable plug-in.
    explicit VoiceClient(Speech speech);
    // On the thread of the constructor.
    ~VoiceClient();
    VoiceClient(const VoiceClient&) = delete;
    VoiceClient& operator=(const VoiceClient&) = delete;

    void tend();

    // The identifier of the device that plays; empty while none does.
    [[nodiscard]] const std::string& device() const { return m_Device; }
    [[nodiscard]] std::uint64_t blocksPlayed() const { return m_Blocks; }

private:
    static void changed(void* self, std::int32_t event, const char* device, std::int32_t value);
    static std::int32_t play(void* self, const char* device, AudioBlock* block);
    static void capture(void* self, const char* device, AudioBlock* block, AudioBlock* echo);
    static void log(void* self, const char* device, const char* text, std::int32_t level);

    [[nodiscard]] std::string defaultDevice() const;
    bool open(const std::string& device);
    void close();

    PluginLibrary m_Plugin;
    DirectSoundBackend* m_Backend = nullptr;
    Speech m_Speech;
    std::string m_Device;
    int m_Channels = 0; // written while no device runs
    int m_Pause = 0;    // calls of tend() until the next try
    // Written by the plug-in's threads.
    std::atomic<bool> m_DevicesChanged = false;
    std::atomic<bool> m_Failed = false;
    std::atomic<std::uint64_t> m_Blocks = 0;
};
