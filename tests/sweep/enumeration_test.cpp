// That no fault is forgotten, and that its words replay it.
#include "enumeration.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

using namespace sweep;

namespace {

Calls callsOf(const std::vector<std::pair<std::string, std::string>>& names) {
    Calls calls;
    for (const auto& [name, subject] : names) {
        calls.records.push_back({0, "client", name, subject, "", 0});
        ++calls.counts[name];
    }
    return calls;
}

std::vector<std::string> wordsOf(const std::vector<Fault>& faults) {
    std::vector<std::string> texts;
    texts.reserve(faults.size());
    for (const Fault& fault : faults)
        texts.push_back(words(fault));
    return texts;
}

} // namespace

TEST(SweepEnumeration, EveryCall_FailsOnceAndLastinglyWithEveryAnswer) {
    const Calls calls = callsOf({{"CreateEventW", ""}, {"CreateEventW", ""}});
    EXPECT_EQ(wordsOf(allFaults("s", calls)),
              (std::vector<std::string>{"s/CreateEventW/1/once/error-8", "s/CreateEventW/1/once/error-1450",
                                        "s/CreateEventW/1/lasting/error-8", "s/CreateEventW/1/lasting/error-1450",
                                        "s/CreateEventW/2/once/error-8", "s/CreateEventW/2/once/error-1450",
                                        "s/CreateEventW/2/lasting/error-8", "s/CreateEventW/2/lasting/error-1450"}));
}

TEST(SweepEnumeration, Subjects_AreCountedApart) {
    const Calls calls = callsOf({{"SetEvent", "E1"}, {"SetEvent", "E2"}, {"SetEvent", "E1"}});
    EXPECT_EQ(wordsOf(allFaults("s", calls)),
              (std::vector<std::string>{"s/SetEvent@E1/1/once/error-6", "s/SetEvent@E1/1/lasting/error-6",
                                        "s/SetEvent@E1/2/once/error-6", "s/SetEvent@E1/2/lasting/error-6",
                                        "s/SetEvent@E2/1/once/error-6", "s/SetEvent@E2/1/lasting/error-6"}));
    const Fault second{"s", "SetEvent", "E1", 2, false, {}};
    EXPECT_EQ(calls.hitBy(second), &calls.records[2]);
}

TEST(SweepEnumeration, CallsWithoutSubject_AreCountedApartFromThoseWithOne) {
    const Calls calls = callsOf({{"SetEvent", "E1"}, {"SetEvent", ""}, {"SetEvent", "E1"}, {"SetEvent", ""}});
    EXPECT_EQ(calls.hitBy({"s", "SetEvent", "", 1, false, {}}), &calls.records[1]);
    EXPECT_EQ(calls.allHitBy({"s", "SetEvent", "", 1, true, {}}),
              (std::vector<const simulator::CallRecord*>{&calls.records[1], &calls.records[3]}));
    EXPECT_EQ(calls.hitBy({"s", "SetEvent", "", 3, false, {}}), nullptr);
}

TEST(SweepEnumeration, Tally_CountsTheCallsThatFail) {
    Calls calls = callsOf({{"CreateEventW", ""}, {"CreateEventW", ""}, {"SetEvent", "E1"}, {"Sleep", ""}});
    calls.counts["malloc"] = 2;
    EXPECT_EQ(callsHitBy(allFaults("s", calls)), 5u);
}

TEST(SweepEnumeration, Allocations_FailOnceOnly) {
    Calls calls;
    calls.counts["malloc"] = 2;
    EXPECT_EQ(wordsOf(allFaults("s", calls)),
              (std::vector<std::string>{"s/malloc/1/once/null", "s/malloc/2/once/null"}));
}

TEST(SweepEnumeration, CallsThatCannotFail_AreLeftOut) {
    const Calls calls = callsOf(
        {{"EnterCriticalSection", "S1"}, {"Primary.Release", "A"}, {"Sleep", ""}, {"WaitForSingleObject", "T4"}});
    EXPECT_TRUE(allFaults("s", calls).empty());
    EXPECT_TRUE(unknownCalls(calls).empty());
}

TEST(SweepEnumeration, Words_ReplayTheFault) {
    for (const char* text : {"playback/Secondary.Lock@Speaker/3/once/0x88780096", "a-b/malloc/12/once/null",
                             "echo/WaitForMultipleObjects@E1 E2/1/lasting/error-6"}) {
        const auto fault = parseFault(text);
        ASSERT_TRUE(fault) << text;
        EXPECT_EQ(words(*fault), text);
    }
    EXPECT_EQ(parseFault("s/c/1/once/0x88780096")->code.result, -2005401450); // as an HRESULT
    for (const char* text :
         {"", "s", "s/c/0/once/null", "s/c/1/twice/null", "s/c/1/once/", "s/c/x/once/null", "s/c/1/once/error-"})
        EXPECT_FALSE(parseFault(text)) << text;
}

TEST(SweepEnumeration, Sample_HasEveryFunctionAndIsTheSameEachTime) {
    std::vector<std::pair<std::string, std::string>> names(200, {"Secondary.Lock", "Speaker"});
    names.emplace_back("DestroyWindow", "");
    const std::vector<Fault> all = allFaults("s", callsOf(names));
    const std::vector<Fault> sample = sampleOf(all, 100);
    EXPECT_NEAR(static_cast<double>(sample.size()), 100, 5);
    EXPECT_EQ(wordsOf(sample), wordsOf(sampleOf(all, 100)));
    std::set<std::string> functions;
    for (const Fault& fault : sample)
        functions.insert(fault.call + (fault.lasting ? " lasting" : " once"));
    EXPECT_EQ(functions.size(), 4u);
    EXPECT_EQ(sampleOf(all, all.size()).size(), all.size());
}
