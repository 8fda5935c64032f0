#include "base/cmRteCnt.h"

#include <gtest/gtest.h>

#include <algorithm>

TEST(CmRteCnt, CarriesIntoTheHighWordAndKeepsTheMask) {
    uint32_t count[2] = {0, 0xffffffff};
    IncrSts(count, 0xffffffffff, 1);
    EXPECT_EQ(count[0], 1u);
    EXPECT_EQ(count[1], 0u);
    count[0] = 0xff, count[1] = 0xfffffffe;
    IncrSts(count, 0xffffffffff, 3);
    EXPECT_EQ(count[0], 0u);
    EXPECT_EQ(count[1], 1u);
    count[0] = 0xffffffff, count[1] = 0x10;
    IncrSts(count, 0xffff00000fff, 0xfff);
    EXPECT_EQ(count[0], 0xffffu);
    EXPECT_EQ(count[1], 0x00fu);
}

TEST(CmRteCnt, FramesWrapAt40BitsAndBytesAt48) {
    uint32_t frames[2] = {0xff, 0xffffffff};
    IncrSts(frames, kFrmCntMsk, 1);
    EXPECT_EQ(frames[0], 0u);
    EXPECT_EQ(frames[1], 0u);
    uint32_t bytes[2] = {0xff, 0xffffffff};
    IncrSts(bytes, kByteCntMsk, 1);
    EXPECT_EQ(bytes[0], 0x100u);
    EXPECT_EQ(bytes[1], 0u);
    bytes[0] = 0xffff, bytes[1] = 0xffffffff;
    IncrSts(bytes, kByteCntMsk, 1);
    EXPECT_EQ(bytes[0], 0u);
    EXPECT_EQ(bytes[1], 0u);
}

TEST(CmRteCnt, CounterFieldsWrapAtTheirWidth) {
    uint32_t mem[6] = {1, 2, 0xff, 0xfffffffe, 3, 4};
    countIn<&AclFrmCnt::frm_cnt>(mem, 1, 1);
    EXPECT_EQ(mem[2], 0xffu);
    EXPECT_EQ(mem[3], 0xffffffffu);
    countIn<&AclFrmCnt::frm_cnt>(mem, 1, 2);
    EXPECT_EQ(mem[2], 0u);
    EXPECT_EQ(mem[3], 1u);
    mem[2] = 0xff, mem[3] = 0xfffffff0;
    countIn<&AclByteCnt::byte_cnt>(mem, 1, 0x40);
    EXPECT_EQ(mem[2], 0x100u);
    EXPECT_EQ(mem[3], 0x30u);
    mem[2] = 0xffff, mem[3] = 0xffffffff;
    countIn<&AclByteCnt::byte_cnt>(mem, 1, 0xffffffff);
    EXPECT_EQ(mem[2], 0u);
    EXPECT_EQ(mem[3], 0xfffffffeu);
    const uint32_t others[] = {mem[0], mem[1], mem[4], mem[5]};
    EXPECT_TRUE(std::equal(std::begin(others), std::end(others), std::begin({1u, 2u, 3u, 4u})));
}

TEST(CmRteCnt, AnEntryBeyondTheMemoryIsNotCounted) {
    uint32_t mem[5] = {};
    for (const uint64_t idx : {uint64_t{2}, uint64_t{3}, uint64_t{1} << 33})
        countIn<&AclFrmCnt::frm_cnt>(mem, idx, 1);
    EXPECT_EQ(std::count(std::begin(mem), std::end(mem), 0u), 5);
}
