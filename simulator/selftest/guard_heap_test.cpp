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
