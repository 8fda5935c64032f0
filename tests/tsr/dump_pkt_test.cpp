#include "dump_pkt.h"

#include <gtest/gtest.h>

TEST(DumpPkt, PacketWithItsLength) {
    const uint8_t pkt[] = {0x00, 0x9a, 0xff};
    testing::internal::CaptureStdout();
    dump_pkt(pkt, 3, 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), " Length: 3\n009aff\n\n");
    testing::internal::CaptureStdout();
    dump_pkt(pkt, 0, 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), " Length: 0\n\n\n");
}

TEST(DumpPkt, PacketsContentsOnly) {
    const uint8_t pkt[] = {0x00, 0x9a, 0xff};
    testing::internal::CaptureStdout();
    dump_pkt(pkt, 3, 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "009aff");
    testing::internal::CaptureStdout();
    dump_pkt(pkt, 0, 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(DumpPkt, ShimEndsInADash) {
    const uint32_t shim_wd[6] = {1, 0xdeadbeef, 0, 0x12345678, 0xffffffff, 6};
    testing::internal::CaptureStdout();
    dump_shim(shim_wd);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "00000001-deadbeef-00000000-12345678-ffffffff-00000006-");
}
