#include "base/cmRteCnt.h"

#include <gtest/gtest.h>

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
