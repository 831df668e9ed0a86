// SPDX-License-Identifier: Zlib
#include "frame/lent_memory.h"

#include "support/lent_buffer.h"

#include <numeric>

namespace halvorin {
namespace {

constexpr i64 largest = 1000;
constexpr i64 top = INT64_MAX;
constexpr char allocation[] = "no allocation\n";
constexpr char reallocation[] = "no reallocation\n";

class LentMemoryTest : public testing::Test {
protected:
    lent_memory lent_at(i64 size, i64 pos) {
        lent_memory lent = {nullptr, -1, -1, largest, "no allocation", "no reallocation"};
        lend(lent, size, memory);
        EXPECT_EQ(lent.pos, 0);
        lent.pos = pos;
        return lent;
    }

    alignas(8) u8 memory[4096] = {};
    output_capture output;
};

TEST_F(LentMemoryTest, AllocationTakesTheNextMultipleOf8OrLeavesThePositionThere) {
    const struct {
        i64 size, pos, request, block, pos_after; // block -1: refused
    } cases[] = {
        {100, 5, 0, 8, 8},
        {100, 5, 92, 8, 100},
        {100, 5, 93, -1, 8},
        {100, 97, 0, -1, 104},
        {104, 97, 0, 104, 104},
        {0, 0, 1, -1, 0},
        {100, 5, -1, -1, 8},
        {100, 5, INT64_MIN, -1, 8},
        {100, 5, top, -1, 8},
        {4096, 0, largest, 0, largest},
        {4096, 0, largest + 1, -1, 0},
        {-1, 0, 0, -1, 0},
        {100, -5, 100, 0, 100},
        {100, -8, 4, -1, -8},
        {100, INT64_MIN, 1, -1, INT64_MIN},
        {100, top - 6, 1, -1, top - 6},
        {top, top, 0, -1, top},
        {top, top - 15, 8, top - 15, top - 7},
        {top, top - 7, 8, -1, top - 7},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.request << " at " << c.pos << " of " << c.size);
        lent_memory lent = lent_at(c.size, c.pos);
        void* block = nullptr;
        const auto printed = output.during([&] { block = lent_allocate(lent, c.request); });
        EXPECT_EQ(printed, c.block < 0 ? allocation : "");
        const auto address = reinterpret_cast<u64>(memory) + static_cast<u64>(c.block);
        EXPECT_EQ(reinterpret_cast<u64>(block), c.block < 0 ? 0 : address);
        EXPECT_EQ(lent.pos, c.pos_after);
    }
}

TEST_F(LentMemoryTest, TheLastBlockChangesItsSizeWhereItStands) {
    const struct {
        i64 size, new_size, pos_after; // of a block of 30 at offset 16
        bool granted;
    } cases[] = {
        {100, 0, 16, true},
        {100, 83, 99, true},
        {100, 84, 100, false},
        {100, 900, 916, false},
        {4096, largest, 16 + largest, true},
        {4096, largest + 1, 4096, false},
        {100, -1, 100, false},
        {100, INT64_MIN, top, false},
        {100, top, top, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "to " << c.new_size << " of " << c.size);
        lent_memory lent = lent_at(c.size, 16);
        void* const block = lent_allocate(lent, 30);
        void* resized = nullptr;
        const auto printed =
            output.during([&] { resized = lent_reallocate(lent, block, 30, c.new_size); });
        EXPECT_EQ(printed, c.granted ? "" : reallocation);
        EXPECT_EQ(resized, c.granted ? block : nullptr);
        EXPECT_EQ(lent.pos, c.pos_after);
        void* next = nullptr;
        output.during([&] { next = lent_allocate(lent, 1); });
        EXPECT_TRUE(c.granted || next == nullptr) << "nothing is given out behind a refusal";
    }
}

TEST_F(LentMemoryTest, AnotherBlockMovesBehindEverything) {
    lent_memory lent = lent_at(100, 0);
    u8* const first = static_cast<u8*>(lent_allocate(lent, 10));
    std::iota(first, first + 10, u8{1});
    lent_allocate(lent, 5);
    EXPECT_EQ(lent_reallocate(lent, first, 10, 70), memory + 24);
    EXPECT_TRUE(std::equal(first, first + 10, memory + 24));
    EXPECT_EQ(memory[34], 0);
    EXPECT_EQ(lent.pos, 94);
    EXPECT_EQ(lent_reallocate(lent, first, 10, 4), memory + 96);
    EXPECT_EQ(lent.pos, 100) << "a block that isn't grown in place may end at the end";
    EXPECT_EQ(memory[100], 0) << "a smaller block takes no more of the old bytes than it holds";
}

// Without memory the end of no block is the position.
TEST_F(LentMemoryTest, NoBlockGrowsAsAnOrdinaryAllocation) {
    lent_memory nothing = lent_at(0, 0);
    lend(nothing, 100, nullptr);
    void* block = memory;
    EXPECT_EQ(output.during([&] { block = lent_reallocate(nothing, nullptr, 0, 64); }), allocation);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(nothing.pos, 0);
}

} // namespace
} // namespace halvorin
