#include "client.h"

namespace {

using namespace live;

TEST(Lifecycle, SystemWithDirectSound_IsSupported) {
    EXPECT_EQ(PluginLibrary().orvosoundbackend_isSupported(), 0);
}

TEST(Lifecycle, InitializeAndFinalizeManyTimes_SucceedsAndFinalizeIsQuick) {
    for (int i = 0; i < 10; ++i) {
        Client client;
        ASSERT_EQ(client.initialize(), 0);
        ASSERT_NE(client.backend, nullptr);
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(client.finalize(), 0);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, Milliseconds(500))
            << "it waited out the monitor's second";
        EXPECT_TRUE(client.events().empty());
    }
}

TEST(Lifecycle, TwoBackendsAtOnce_BothPlayTheirDevices) {
    Client clients[2];
    Device* devices[2];
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(clients[i].initialize(), 0);
        devices[i] = &clients[i].device(ORVO_PLAYBACK, "Speaker");
        ASSERT_EQ(devices[i]->open(), 0);
        ASSERT_EQ(devices[i]->start(), 0);
    }
    EXPECT_TRUE(devices[0]->waitForBlocks(25, Milliseconds(3000)));
    EXPECT_TRUE(devices[1]->waitForBlocks(25, Milliseconds(3000)));
    EXPECT_EQ(clients[0].finalize(), 0);
    EXPECT_TRUE(devices[1]->waitForBlocks(25, Milliseconds(3000))) << "one backend's end stopped the other";
    EXPECT_EQ(clients[1].finalize(), 0);
}

} // namespace
