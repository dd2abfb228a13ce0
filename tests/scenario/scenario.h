// The frame of a scenario test: one simulation with one client, run against the shipped DLL.
//
//     SCENARIO(RenderOpen, EmulatedDevice_WarnsAndTakesTenBlocks, "An emulated driver is warned of ...") {
//         Device& speaker = sim.playback("Speaker").emulated();
//         client.initialize();
//         EXPECT_EQ(client.open(speaker).result, 0);
//         expectLog(2, speaker, "Opening emulated ...");
//         client.closeAndFinalize({&speaker});
//     }
//
// The description is what the list of behaviours says. A scenario fails, too, when the simulator found misuse of the
// platform or something that was not given back.
#pragma once

#include "client.h"
#include "simulation.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace scenario {

using namespace simulator; // the vocabulary of the scenarios

class Scenario {
public:
    Scenario() = default;
    virtual ~Scenario() = default;
    Scenario(const Scenario&) = delete;
    Scenario& operator=(const Scenario&) = delete;

    void runAndJudge(const char* description);

protected:
    virtual void play() = 0;

    // --- expectations about what the client was told so far ---
    // At least one such line; with the device's identifier as category.
    void expectLog(std::int32_t level, const Device& device, const std::string& text);
    // Exactly these lines of level 1 and 2, in order.
    void expectTrouble(const std::vector<std::string>& texts);
    void expectNotifications(const std::vector<std::string>& texts); // as describe() writes them
    void expectErrorLines(const std::vector<std::string>& lines);
    void expectOutputLines(const std::vector<std::string>& lines);
    // "2 Headset 1": event, label of the device, value.
    std::string describe(const Notification& notification);

    // Runs what must not come back; true when it has not after so many virtual seconds.
    bool hangs(std::function<void()> body, unsigned seconds = 100);

    Simulation sim;
    Client client{sim};
    // Set before the end when the scenario itself shows a hang or deadlock: then the run must end so, or what must not
    // come back must not have. What is not given back because of that is forgiven, and nothing else.
    bool endsStuck = false;

private:
    void judgeProblems(const Report& report) const;
    [[nodiscard]] bool isStuck(const Report& report) const;

    bool m_Played = false;
    std::vector<ClientThread> m_Patient;
};

} // namespace scenario

#define SCENARIO(area, name, description)                                                                            \
    namespace scenario {                                                                                             \
    class area##_##name : public Scenario {                                                                          \
        void play() override;                                                                                        \
    };                                                                                                               \
    }                                                                                                                \
    TEST(area, name) { /* NOLINT(modernize-use-trailing-return-type) */                                              \
        scenario::area##_##name scenario;                                                                            \
        scenario.runAndJudge(description);                                                                           \
    }                                                                                                                \
    void scenario::area##_##name::play()
