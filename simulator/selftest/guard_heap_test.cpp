// Every misuse of the heap is found, and nothing else.
#include "faults/guard_heap.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace simulator;

namespace {

struct Bench {
    Findings findings;
    GuardHeap heap{findings, [] { return std::string("by a test"); }};

    // volatile, so that the compiler keeps accesses that it knows to be wrong
    volatile char* allocate(std::size_t bytes) { return static_cast<volatile char*>(heap.allocate(bytes)); }
    void release(volatile char* block) { heap.release(const_cast<char*>(block)); }
    [[nodiscard]] std::string finding() const { return findings.all().empty() ? "" : findings.all().back(); }
};

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

} // namespace

TEST(GuardHeap, ProperUse_FindsNothing) {
    Bench b;
    for (std::size_t bytes : {0u, 1u, 15u, 16u, 17u, 4095u, 4096u, 4097u, 200000u}) {
        volatile char* block = b.allocate(bytes);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 16, 0u);
        for (std::size_t i = 0; i < bytes; ++i)
            block[i] = 1;
        b.release(block);
    }
    EXPECT_EQ(b.finding(), "");
    EXPECT_EQ(b.heap.liveBlocks(), 0u);
}

TEST(GuardHeap, OverrunOfAWholeUnit_IsFoundAtTheInstruction) {
    Bench b;
    volatile char* block = b.allocate(64);
    block[64] = 1;
    EXPECT_TRUE(contains(b.finding(), "write to heap memory")) << b.finding();
    EXPECT_TRUE(contains(b.finding(), "beyond block 1 of 64 bytes")) << b.finding();
}

TEST(GuardHeap, OverrunByOneByte_IsFoundAtTheFree) {
    Bench b;
    volatile char* block = b.allocate(63);
    block[63] = 1;
    EXPECT_EQ(b.finding(), "");
    b.release(block);
    EXPECT_TRUE(contains(b.finding(), "was overrun")) << b.finding();
}

TEST(GuardHeap, ReadAfterFree_IsFoundAtTheInstruction) {
    Bench b;
    volatile char* block = b.allocate(100);
    b.release(block);
    static_cast<void>(block[10]);
    EXPECT_TRUE(contains(b.finding(), "use after free, 10 bytes into block 1")) << b.finding();
}

TEST(GuardHeap, DoubleFree_IsFound) {
    Bench b;
    volatile char* block = b.allocate(100);
    b.release(block);
    b.release(block);
    EXPECT_TRUE(contains(b.finding(), "double free of heap block 1")) << b.finding();
    EXPECT_EQ(b.heap.liveBlocks(), 0u);
}

TEST(GuardHeap, ForeignPointer_IsNotItsAffair) {
    Bench b;
    int foreign = 0;
    EXPECT_FALSE(b.heap.release(&foreign));
    EXPECT_EQ(b.finding(), "");
}

TEST(GuardHeap, Resize_KeepsTheContent) {
    Bench b;
    void* block = b.heap.allocate(8);
    std::memcpy(block, "content", 8);
    block = b.heap.resize(block, 5000);
    EXPECT_STREQ(static_cast<const char*>(block), "content");
    EXPECT_EQ(b.heap.liveBlocks(), 1u);
    b.heap.release(block);
}

TEST(GuardHeap, LeftBlock_IsDescribed) {
    Bench b;
    void* block = b.heap.allocate(77);
    ASSERT_EQ(b.heap.describeLive().size(), 1u);
    EXPECT_TRUE(contains(b.heap.describeLive().front(), "77 bytes, allocated by a test"));
    b.heap.release(block);
}

TEST(GuardHeap, LeftBlocks_AreDescribedInTheOrderOfTheirAllocation) {
    Bench b;
    b.heap.setMode(GuardHeap::Mode::plain);
    std::vector<void*> blocks;
    for (std::size_t bytes : {3000u, 20u, 500u, 20u, 3000u})
        blocks.push_back(b.heap.allocate(bytes));
    b.heap.release(blocks[1]); // whose place a later one may get
    blocks[1] = b.heap.allocate(20);
    std::string order;
    for (const std::string& line : b.heap.describeLive())
        order += line.substr(0, line.find(" of"));
    EXPECT_EQ(order, "heap block 1heap block 3heap block 4heap block 5heap block 6");
    for (void* block : blocks)
        b.heap.release(block);
}

TEST(GuardHeap, WriteAfterFree_IsFoundAtTheInstruction) {
    Bench b;
    volatile char* block = b.allocate(100);
    b.release(block);
    block[99] = 1;
    EXPECT_TRUE(contains(b.finding(), "write to heap memory by a test: use after free, 99 bytes into block 1"))
        << b.finding();
    EXPECT_TRUE(contains(b.finding(), "(simulator_selftest.exe+0x")) << b.finding();
}

TEST(GuardHeap, WriteBeforeTheBegin_IsFoundAtTheFree) {
    Bench b;
    volatile char* block = b.allocate(100);
    *(block - 1) = 1;
    EXPECT_EQ(b.finding(), "");
    b.release(block);
    EXPECT_TRUE(contains(b.finding(), "was written before its begin")) << b.finding();
}

TEST(GuardHeap, ManyFaults_AreOpenedButNotAllListed) {
    Bench b;
    for (int i = 0; i < 100; ++i)
        b.findings.add("something else"); // no reason to be silent about the heap
    for (int i = 0; i < 30; ++i) {
        volatile char* block = b.allocate(64);
        b.release(block);
        block[0] = 1;
    }
    EXPECT_EQ(b.findings.all().size(), 100u + 20u + 1u);
    EXPECT_TRUE(contains(b.finding(), "more bad accesses")) << b.finding();
}

TEST(GuardHeap, UsedUp_IsFoundOnceAndGoesOnPlain) {
    Findings findings;
    GuardHeap heap(
        findings, [] { return std::string("by a test"); }, 10 * 4096);
    std::vector<void*> blocks;
    for (int i = 0; i < 8; ++i) {
        blocks.push_back(heap.allocate(16));
        ASSERT_NE(blocks.back(), nullptr);
    }
    ASSERT_EQ(findings.all().size(), 1u);
    EXPECT_TRUE(contains(findings.all().front(), "heap is used up")) << findings.all().front();
    EXPECT_EQ(heap.liveBlocks(), 8u);
    for (void* block : blocks)
        EXPECT_TRUE(heap.release(block));
    EXPECT_EQ(heap.liveBlocks(), 0u);
}

TEST(GuardHeap, MoreThanThereCanBe_IsNull) {
    Bench b;
    EXPECT_EQ(b.heap.allocateZeroed(SIZE_MAX / 4 + 2, 4), nullptr) << "four bytes, if the product may overflow";
    EXPECT_EQ(b.heap.allocate(SIZE_MAX - 8), nullptr);
    EXPECT_EQ(b.finding(), "");
    void* block = b.heap.allocateZeroed(3, 5);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::memcmp(block, "\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 15), 0);
    b.heap.release(block);
}

TEST(GuardHeap, PlainHeap_KeepsItsBook) {
    Bench b;
    b.heap.setMode(GuardHeap::Mode::plain);
    void* block = b.heap.allocate(10);
    EXPECT_TRUE(b.heap.owns(block));
    std::memcpy(block, "content", 8);
    block = b.heap.resize(block, 1000);
    EXPECT_STREQ(static_cast<const char*>(block), "content");
    EXPECT_EQ(b.heap.liveBlocks(), 1u);
    b.heap.startBook();
    EXPECT_EQ(b.heap.liveBlocks(), 0u) << "what was there before does not count";
    EXPECT_TRUE(b.heap.release(block));
    EXPECT_FALSE(b.heap.owns(block));
    EXPECT_EQ(b.heap.liveBlocks(), 0u);
    EXPECT_EQ(b.finding(), "");
}

TEST(GuardHeap, KeptArena_OutlivesItsHeap) {
    Findings findings;
    void* block = nullptr;
    {
        GuardHeap heap(
            findings, [] { return std::string("by a test"); }, 16 * 4096);
        block = heap.allocate(100);
        std::memcpy(block, "content", 8);
        EXPECT_EQ(GuardHeap::readableOfKept(block), 0u) << "it belongs to a heap that lives";
        heap.keepArena();
    }
    EXPECT_STREQ(static_cast<const char*>(block), "content");
    EXPECT_EQ(GuardHeap::readableOfKept(block), 112u) << "to the end of the block's page";
    EXPECT_EQ(GuardHeap::readableOfKept(&findings), 0u);
}
