// A voice client in the simulation: calls the exports, answers the callbacks, remembers everything.
//
// Playback is numbered audio (see sound/numbered_audio.h) unless the scenario sets something else. The client also
// watches the promises that hold for every scenario: no two audio callbacks at once, none while the client holds the
// DSP lock, none for a device that is gone; no lock of the plug-in but the DSP lock around one, and none around a
// notification; no callback at all without a backend; log levels from 1 to 3.
#pragma once

#include "simulation.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace simulator {

struct LogLine {
    double time;
    std::string thread;
    std::string category;
    std::string text;
    std::int32_t level;
};

struct Notification {
    double time;
    std::int32_t event;
    std::string device;
    std::int32_t value;
};

struct PlaybackRequest {
    double time;
    std::string thread;
    std::string device;
    std::uint32_t contextId;
    std::uint8_t flag;
    std::int32_t frames;
};

struct CapturedBlock {
    double time;
    std::string device;
    std::uint32_t contextId;
    std::uint8_t flag;
    std::int32_t frames;
    std::vector<std::byte> audio;
    bool hasEcho = false;
    std::uint32_t echoContextId = 0;
    std::int32_t echoFrames = 0;
    std::vector<std::byte> echoAudio{}; // read with the channel count of the last association
};

// What open and associate answer; values that were not written keep the marker.
inline constexpr std::uint32_t kUntouched = 0xEEEEEEEE;

struct Opened {
    BackendResult result;
    std::uint32_t channels = kUntouched;
    std::uint32_t bits = kUntouched;
    std::uint32_t rate = kUntouched;
    std::uint32_t mask = kUntouched;
};

struct Associated {
    BackendResult result;
    std::uint32_t mask = kUntouched;
    std::uint32_t bits = kUntouched;
    std::uint32_t rate = kUntouched;
    std::uint32_t counter = kUntouched;
};

struct ListedDevice {
    BackendResult result = 0; // of getDefaultDevice
    std::string id;
    std::string name;
    DeviceInfoRecord record{};
};

class Client {
public:
    explicit Client(Simulation& simulation);
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client() = default;

    // --- before initialize ---
    BackendCallbacks callbacks; // change slots here, e.g. a null logMessage

    // --- exports ---
    BackendResult initialize();
    BackendResult finalize();
    Opened open(const Device& device, std::uint32_t contextId = 7);
    Opened open(int direction, const std::string& id, std::uint32_t contextId = 7);
    BackendResult start(const Device& device, std::uint32_t contextId = 7);
    BackendResult stop(const Device& device, std::uint32_t contextId = 7);
    BackendResult close(const Device& device, std::uint32_t contextId = 7);
    BackendResult waitForClosed();
    Associated associate(const Device& capture, const Device& playback, std::uint32_t contextId = 7);
    BackendResult dissociate(const Device& capture, std::uint32_t contextId = 7);
    std::vector<ListedDevice> list(Direction direction);
    ListedDevice defaultDevice(Direction direction);
    BackendResult lockDsp();
    BackendResult unlockDsp();
    // Closes the devices and waits, as duty demands, then finalizes.
    void closeAndFinalize(const std::vector<const Device*>& devices, std::uint32_t contextId = 7);
    DirectSoundBackend* backend = nullptr;

    // --- answers ---
    // Result of getPlaybackData; unset, the client fills every frame with numbered audio.
    std::function<std::int32_t(const std::string& device, AudioBlock& block)> onPlayback;
    std::function<void(const std::string& device, AudioBlock& captured, AudioBlock* echo)> onCapture;
    std::function<void(const Notification&)> onNotification;
    std::function<void(const LogLine&)> onLog;
    // Fills the block's frames with this device's next numbered frames.
    std::int32_t fillNumberedBlock(const std::string& device, AudioBlock& block);
    // Blocks and requests are counted, but not kept: for long runs.
    bool keepBlocks = true;

    // --- what came ---
    std::vector<LogLine> logs;
    std::vector<Notification> notifications;
    std::vector<PlaybackRequest> requests;
    std::vector<CapturedBlock> captured;
    std::uint64_t requestCount = 0;
    std::uint64_t capturedCount = 0;

    // A thread of ours holds the DSP lock, or an audio callback runs.
    [[nodiscard]] bool insideDspLock() const { return !m_DspHolders.empty() || !m_AudioCallback.empty(); }
    [[nodiscard]] std::vector<std::string> logTexts(std::int32_t level) const;
    // Checks the captured blocks of a device as numbered audio.
    [[nodiscard]] NumberedChecker checkCaptured(const Device& device) const;

private:
    static void notify(void* client, std::int32_t event, const char* device, std::int32_t value);
    static std::int32_t play(void* client, const char* device, AudioBlock* block);
    static void capture(void* client, const char* device, AudioBlock* block, AudioBlock* echo);
    static void log(void* client, const char* device, const char* text, std::int32_t level);

    void enterAudioCallback(Direction direction, const std::string& device, std::uint32_t contextId);
    void leaveAudioCallback();
    void requireBackend(const char* callback);
    void problem(const std::string& text);

    Simulation& m_Sim;
    std::map<std::string, Format> m_Formats;       // by direction and identifier, as open told
    std::map<std::string, std::uint64_t> m_Frames; // next numbered frame to play
    std::uint32_t m_EchoMask = 0;
    std::string m_AudioCallback;                     // the device whose audio callback runs
    std::vector<const ThreadState*> m_DspHolders;    // one per lock that is not unlocked yet
    std::set<std::string> m_Open, m_Closing, m_Gone; // direction, identifier and context
    bool m_BackendGone = false;                      // or never there: initialize failed
};

} // namespace simulator
