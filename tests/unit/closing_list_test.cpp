#include "discovery/closing_list.h"
#include "fake_device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mutex>
#include <thread>

namespace directsound {
namespace {

using testing::ElementsAre;

class ClosingListTest : public testing::Test {
protected:
    ClosingListTest() { list.createEvent(); }

    void append(const std::string& deviceId) {
        ClosingList::Devices entry(1);
        entry.front() = std::make_unique<FakeDevice>(host, journal, deviceId);
        EXPECT_TRUE(entry.front()->startWorker());
        const std::lock_guard guard(lock);
        list.append(entry);
    }
    bool expectClosing() {
        const std::lock_guard guard(lock);
        return list.expectClosing();
    }

    FakeHost host;
    Journal journal;
    CriticalSection lock;
    ClosingList list{lock};
};

TEST_F(ClosingListTest, CloseAll_Devices_EndedThenDestroyedInOrder) {
    append("a");
    append("b");
    list.closeAll();
    EXPECT_THAT(journal.lines(), testing::UnorderedElementsAre("close", "close", "destroy a", "destroy b"));
    const auto lines = journal.lines();
    EXPECT_LT(std::find(lines.begin(), lines.end(), "destroy a"), std::find(lines.begin(), lines.end(), "destroy b"));
    EXPECT_EQ(lines.back(), "destroy b");
}

TEST_F(ClosingListTest, ExpectClosing_Empty_False) {
    EXPECT_FALSE(expectClosing());
}

TEST_F(ClosingListTest, Wait_ClosedMeanwhile_Woken) {
    append("a");
    EXPECT_TRUE(expectClosing());
    std::thread closer([this] { list.closeAll(); });
    list.wait();
    EXPECT_THAT(journal.lines(), ElementsAre("close", "destroy a"));
    closer.join();
    EXPECT_FALSE(expectClosing());
}

TEST_F(ClosingListTest, Wait_ClosedBeforeTheWait_NotMissed) {
    append("a");
    EXPECT_TRUE(expectClosing());
    list.closeAll();
    list.wait(); // must return at once
    EXPECT_FALSE(expectClosing());
}

TEST_F(ClosingListTest, ExpectClosing_OldSignal_Forgotten) {
    list.closeAll(); // signals although there was nothing to close
    append("a");
    EXPECT_TRUE(expectClosing());
    std::thread closer([this] { list.closeAll(); });
    list.wait();
    EXPECT_THAT(journal.lines(), ElementsAre("close", "destroy a"));
    closer.join();
}

} // namespace
} // namespace directsound
