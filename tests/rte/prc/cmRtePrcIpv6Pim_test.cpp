// PIM in IPv6: the packet inside a register message, the rendezvous point table, null registers, checksums.

#include "ipv6_fixture.h"

#include <unistd.h>

namespace {

TEST_F(PrcL3Ipv6Test, PimRegisterToTheRpIsParsedInside) {
    place(pimReg(
        {.hopLimit = 9, .tclass = 0x20},
        {.saHi = 0x20010db800000033, .daHi = 0xff05000000000000, .nxtHdr = kTcp, .hopLimit = 5, .tclass = 0x43}));
    EXPECT_EQ(parseLines(3),
              kPre + "Ipv6 DSCP = 8, typ_mode=0, typ_alw_l3_dscp=0 ecn=0\n" + kPre + "IPv6 First NextHeader = 67\n" +
                  kPre + "IPv6 ULP=67, isUlp=0, l3IpUlpIsPim=1, myRpPim=1\n" + kPre +
                  "Ipv6 DSCP = 10, typ_mode=0, typ_alw_l3_dscp=0 ecn=3\n" + kPre + "IPv6 First NextHeader = 6\n" +
                  kPre + "IPv6 ULP=6, isUlp=1, l3IpUlpIsPim=1, myRpPim=1\n");
    expectVerdict(0, 0, 0);
    EXPECT_EQ(stat.l3IpMcastRegEncap, 1u);
    EXPECT_EQ(stat.l3IpDaIsRpAddr, 1u);
    EXPECT_EQ(stat.l3IpDaRpIdx, 21u);
    EXPECT_EQ(stat.l3IpUlpIsPim, 1u);
    EXPECT_EQ(stat.l3IpDscpOuter, 8u);
    EXPECT_EQ(stat.l3IpDscp, 0x10u);
    EXPECT_EQ(stat.l3IpTtl, 5u);
    EXPECT_EQ(stat.l3IpUlp, kTcp);
    EXPECT_EQ(stat.l3IpSa0, 0x20010db800000033u);
    EXPECT_EQ(stat.l3IpDaIsMcast, 1u) << "the inner DA needs no MAC address to agree with";
    EXPECT_EQ(stat.l3Offset, 62u);
    EXPECT_EQ(stat.l4Offset, 102u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_OUTER_IPV6], 12u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_PIM], 54u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_INNER_IPV6], 62u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_INNER_IPV6], 1u);
}

TEST_F(PrcL3Ipv6Test, PimInTheInnerHeaderEndsTheWalkAsAnUpperLayer) {
    place(pimReg({}, {.nxtHdr = kPim}));
    const std::string out = parseLines(3);
    EXPECT_NE(out.find("IPv6 ULP=67, isUlp=1, l3IpUlpIsPim=1, myRpPim=1\n"), std::string::npos) << out;
    EXPECT_EQ(stat.l3Offset, 62u);
    EXPECT_EQ(stat.l4Offset, 102u);
    EXPECT_EQ(stat.l3IpUlp, kPim);
}

TEST_F(PrcL3Ipv6Test, AMulticastRpAddressKeepsItsMulticastFlag) {
    // Unlike in IPv4.
    com.rte_ipv6_pim_rp_addr[5][0] = 0xff020000;
    auto bytes = plain({.daHi = 0xff02000000000000, .nxtHdr = kPim});
    bytes[54] = 0x20; // no register
    place(bytes);
    parse();
    EXPECT_EQ(stat.l3IpDaIsMcast, 1u);
    EXPECT_EQ(stat.l3IpDaIsRpAddr, 1u);
    EXPECT_EQ(stat.l3IpUlpIsPim, 1u);
    EXPECT_EQ(stat.l3IpMcastRegEncap, 0u);
    EXPECT_EQ(stat.l3Offset, kL3);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_PIM], 1u);
}

TEST_F(PrcL3Ipv6Test, PimBehindAnExtensionHeaderIsNotDecapsulated) {
    auto bytes = ext(kHbh, kPim);
    bytes[62] = 0x21;
    place(bytes);
    parse();
    EXPECT_EQ(stat.l3IpUlpIsPim, 0u);
    EXPECT_EQ(stat.l3IpMcastRegEncap, 0u);
    EXPECT_EQ(stat.l3IpDaIsRpAddr, 0u);
    EXPECT_EQ(stat.l3IpUlp, kPim);
    EXPECT_EQ(stat.l4Offset, 62u);
    EXPECT_EQ(stat.l3Offset, kL3);
    expectVerdict(0, 0, 0);
}

using PrcL3Ipv6DeathTest = PrcL3Ipv6Test;

TEST_F(PrcL3Ipv6DeathTest, PimBehindACutExtensionHeaderEndsTheRun) {
    // The extension header stands at 54. Its first two bytes need 57 bytes of frame, the read up to 57 needs 61. In
    // the last four bytes, the place of the FCS, there is no next header any more.
    const auto bytes = ext(kDstOpt, kPim);
    for (size_t len : {59u, 60u}) {
        place(bytes, len);
        EXPECT_EXIT(
            {
                dup2(STDERR_FILENO, STDOUT_FILENO);
                parse();
            },
            testing::ExitedWithCode(1),
            "cmRtePrcIpv6.cpp:[0-9]+, portIdx = 3, frmIdx = 7\n"
            "PIM nxt_hdr detected in IPv6 extension header \n"
            "and at the cycle may or may not coincide with \n"
            "EOF or max_len\n");
    }
    // A byte more: the error, then the end of the frame.
    place(bytes, 61);
    parse();
    expectVerdict(0, 0, 12);
    place(bytes, 58);
    parse();
    expectVerdict(0, 0, 12);

    // With the header at 17 the read goes up to 60, and that is in the word at 60.
    auto moved = bytes;
    moved.insert(moved.begin(), 3, 0);
    place(moved);
    setFrameLen(61);
    stat.l3Offset = 17;
    parse();
    expectVerdict(0, 0, 12);

    // The length limit does it too; 14 words are 56 bytes.
    com.rte_l3_ipv6_max_len = 14;
    place(bytes);
    EXPECT_EXIT(
        {
            dup2(STDERR_FILENO, STDOUT_FILENO);
            parse();
        },
        testing::ExitedWithCode(1), "EOF or max_len\n");
}

TEST_F(PrcL3Ipv6Test, RpAddressTable) {
    for (uint32_t k = 0; k < 32; k++) {
        com.rte_ipv6_pim_rp_addr[k][0] = 0x10 + k / 2;
        com.rte_ipv6_pim_rp_addr[k][1] = 0x20;
        com.rte_ipv6_pim_rp_addr[k][2] = 0x30;
        com.rte_ipv6_pim_rp_addr[k][3] = 0x40;
        com.rte_l3_ipv6_idx[k] = 31 - k;
    }
    EXPECT_EQ(com.rte_ipv6_pim_rp_addr[31][0], 0x1fu);
    EXPECT_EQ(com.rte_ipv6_pim_rp_addr[31][3], 0x40u);
    EXPECT_EQ(com.rte_l3_ipv6_idx[31], 0u);
    place(plain({}));
    auto find = [&](uint64_t hi, uint64_t lo) {
        stat.l3IpDa0 = hi;
        stat.l3IpDa1 = lo;
        stat.l3IpDaRpIdx = 99;
        return CkIpv6RpAddr(&stat);
    };
    EXPECT_EQ(find(0x0000001f00000020, 0x0000003000000040), 1u);
    EXPECT_EQ(stat.l3IpDaRpIdx, 1u) << "the first of the two equal entries";
    com.rte_ipv6_pim_rp_addr[31][0] = 0x50;
    EXPECT_EQ(find(0x0000005000000020, 0x0000003000000040), 1u);
    EXPECT_EQ(stat.l3IpDaRpIdx, 0u);
    EXPECT_EQ(find(0x0000001000000020, 0x0000003000000040), 1u);
    EXPECT_EQ(stat.l3IpDaRpIdx, 31u);
    EXPECT_EQ(find(0x0000005100000020, 0x0000003000000040), 0u);
    EXPECT_EQ(find(0x0000005000000021, 0x0000003000000040), 0u);
    EXPECT_EQ(find(0x0000005000000020, 0x0000003100000040), 0u);
    EXPECT_EQ(find(0x0000005000000020, 0x0000003000000041), 0u);
    EXPECT_EQ(stat.l3IpDaRpIdx, 99u);
    // The four registers behind the table.
    com.rte_l2_chs_mac_hi[0] = 0x77;
    com.rte_l2_chs_mac_hi[1] = 0;
    com.rte_l2_chs_mac_hi[2] = 0;
    com.rte_l2_chs_mac_hi[3] = 0;
    EXPECT_EQ(find(0x0000007700000000, 0), 0u);
    port.rte_prc_l3_ipv6_rp_ck_off = 1;
    EXPECT_EQ(find(0x0000005000000020, 0x0000003000000040), 0u);
    EXPECT_EQ(stat.l3IpDaRpIdx, 99u);
}

TEST_F(PrcL3Ipv6Test, NullRegister) {
    const auto bytes = pimReg({}, {}, true);
    port.rte_prc_l3_ipv6_ck_pim_cksum = 1;
    place(bytes);
    EXPECT_EQ(parseLines(2), "");
    expectVerdict(0, 0, 0);
    port.rte_prc_l3_ck_pim_null = 1;
    place(bytes);
    stat.l3PrcTrapQue = 9; // a drop clears it
    EXPECT_EQ(parseLines(2), kPre + "Ipv6 PIM NULL DROP\n");
    expectVerdict(0, 0, 35);
    EXPECT_EQ(stat.l3Ipv4Ihl6ErrCanWin, 0u);
    port.rte_prc_l3_trap_pim_null = 1;
    place(bytes);
    EXPECT_EQ(parseLines(2), kPre + "Ipv6 PIM NULL TRAP\n");
    expectVerdict(kQuePimNull, 19, 0);
    EXPECT_EQ(stat.l3Ipv4Ihl6ErrCanWin, 0u);
    place(bytes);
    EXPECT_EQ(parseLines(1), "");

    place(bytes);
    stat.l3PrcTrapRsn = 5;
    EXPECT_EQ(parseLines(2), "");
    expectVerdict(0, 5, 0);
    place(bytes);
    stat.l3PrcDropRsn = 14;
    EXPECT_EQ(parseLines(2), "");
    expectVerdict(0, 0, 14);
    place(pimReg({}, {}));
    EXPECT_EQ(parseLines(2), "");
    expectVerdict(0, 0, 0);
}

TEST_F(PrcL3Ipv6Test, PimChecksumCoversThePseudoHeaderAndTheRegisterHeader) {
    const auto bytes = pimReg({}, {});
    port.rte_prc_l3_ipv6_ck_pim_cksum = 1;
    place(bytes);
    parse();
    expectVerdict(0, 0, 0);
    // SA at 22 to 37, register header at 55 to 61. Its type byte and the DA decide whether it is a register to the RP.
    for (size_t i = 22; i < 62; i++) {
        if (i >= 38 && i < 55)
            continue;
        auto bad = bytes;
        bad[i] ^= 1;
        place(bad);
        parse();
        expectVerdict(0, 0, 18);
    }
    // The DA counts: ::4 in place of ::2 wants a checksum that is less by 2.
    com.rte_ipv6_pim_rp_addr[5][3] = 4;
    auto moved = bytes;
    moved[53] = 4;
    place(moved);
    parse();
    expectVerdict(0, 0, 18);
    moved[57] = 0x19;
    place(moved);
    parse();
    expectVerdict(0, 0, 0);
    com.rte_ipv6_pim_rp_addr[5][2] = 0x00020000; // ::2:0:4 wants 2 less again
    moved[47] = 2;
    place(moved);
    parse();
    expectVerdict(0, 0, 18);
    moved[57] = 0x17;
    place(moved);
    parse();
    expectVerdict(0, 0, 0);
    // The protocol in the pseudo-header is 103, whatever the register says.
    com.rte_l3_ulp_pim = 104;
    moved[20] = 104;
    place(moved);
    parse();
    EXPECT_EQ(stat.l3IpMcastRegEncap, 1u);
    expectVerdict(0, 0, 0);
}

TEST_F(PrcL3Ipv6Test, PimChecksumReplacesAnyOtherVerdictButAChecksum) {
    auto bytes = pimReg({.hopLimit = 1}, {});
    bytes[57] ^= 1;
    port.rte_prc_l3_ipv6_ck_ttl = 1;
    port.rte_prc_l3_ipv6_trap_ttl_err = 1;
    place(bytes);
    EXPECT_EQ(parseLines(2), "");
    expectVerdict(kQueTtl, 5, 0);
    port.rte_prc_l3_ipv6_ck_pim_cksum = 1;
    place(bytes);
    EXPECT_EQ(parseLines(2), kPre + "IPv6 PIM cksum err detected and dropped\n");
    expectVerdict(0, 0, 18);
    port.rte_prc_l3_ipv6_trap_pim_cksum_err = 1;
    port.rte_prc_l3_ipv6_trap_ttl_err = 0;
    place(bytes);
    EXPECT_EQ(parseLines(2), kPre + "IPv6 PIM cksum err detected and trapped\n");
    expectVerdict(kQueCksum, 10, 0);
    place(bytes);
    EXPECT_EQ(parseLines(1), "");

    // A standing checksum verdict stays, and the line tells of the error by the verdict that stands.
    place(bytes);
    stat.l3PrcDropRsn = 18;
    EXPECT_EQ(parseLines(2), kPre + "IPv6 PIM cksum err detected and dropped\n");
    expectVerdict(0, 0, 18);
    port.rte_prc_l3_ipv6_trap_pim_cksum_err = 0;
    place(bytes);
    stat.l3PrcTrapRsn = 10;
    EXPECT_EQ(parseLines(2), kPre + "IPv6 PIM cksum err detected and trapped\n");
    expectVerdict(0, 10, 0);
}

TEST_F(PrcL3Ipv6Test, PimChecksumErrorIsLostWhenTheFrameEndsWithinTwelveBytesBehindIt) {
    auto bytes = pimReg({}, {});
    bytes[57] ^= 1;
    port.rte_prc_l3_ipv6_ck_pim_cksum = 1;
    // The register header lies at 54, so the checksum would be there at 74. 72 bytes of frame end before, 73 count as
    // 76. Both end inside the inner header, behind the word of its next header.
    place(bytes, 72);
    EXPECT_EQ(parseLines(2),
              kPre +
                  "C-model guessed EOF will be detected before PIM cksum err, estimated cksum available offset=74 frm "
                  "len (wrapped)=72\n" +
                  kPre + "IPv6 EOF err detected, expected byte=86 frm len=72 ipv6_max_len=4095\n" + kPre +
                  "IPv6 EOF or MaxLen err detected, trap_rsn=0 drp_rsn=12\n");
    expectVerdict(0, 0, 12);
    place(bytes, 73);
    EXPECT_EQ(parseLines(2), kPre + "IPv6 PIM cksum err detected and dropped\n" + kPre +
                                 "IPv6 EOF err detected, expected byte=86 frm len=73 ipv6_max_len=4095\n" + kPre +
                                 "IPv6 EOF or MaxLen err ignored due to earlier chksum drop\n" + kPre +
                                 "IPv6 EOF or MaxLen err detected, trap_rsn=0 drp_rsn=18\n");
    expectVerdict(0, 0, 18);
}

TEST_F(PrcL3Ipv6Test, PimRegisterCutAtEveryLength) {
    const auto bytes = pimReg({}, {});
    for (size_t len = 1; len <= bytes.size() + 4; len++) {
        SCOPED_TRACE(len);
        place(bytes, len);
        parse();
        // The register header at 54 needs the word at 64, the inner header at 62 that at 104 (62 + 40 = 102).
        expectVerdict(0, 0, len > 104 ? 0 : 12);
        EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_PIM], len > 64 ? 1 : 0);
        EXPECT_EQ(stat.l3Offset, len > 64 ? 62 : 14);
        EXPECT_EQ(stat.l3IpMcastRegEncap, len > 104 ? 1 : 0);
        EXPECT_EQ(stat.l3IpUlpIsPim, len > 56 ? 1 : 0);
    }
}

TEST_F(PrcL3Ipv6Test, PimToSomeoneElseMustHoldItsFirstEightBytes) {
    const auto bytes = plain({.daLo = 3, .nxtHdr = kPim});
    for (size_t len = 57; len <= bytes.size() + 4; len++) {
        SCOPED_TRACE(len);
        place(bytes, len);
        parse();
        expectVerdict(0, 0, len > 64 ? 0 : 12);
        EXPECT_EQ(stat.l3IpUlpIsPim, 1u);
        EXPECT_EQ(stat.l3IpDaIsRpAddr, 0u);
        EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_PIM], 0u);
    }
}

} // namespace
