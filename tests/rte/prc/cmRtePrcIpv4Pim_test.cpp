// PIM in IPv4: the packet inside a register message, the rendezvous point table, null registers, checksums.

#include "ipv4_fixture.h"

namespace {

TEST_F(PrcL3Ipv4Test, PimRegisterToTheRpIsParsedInside) {
    place(pimReg({.ttl = 9, .tos = 0x20, .options = {0x94, 4, 0, 0}},
                 {.sa = 0x0b000001, .da = 0xe1020304, .ulp = 17, .ttl = 5, .tos = 0x43}));
    EXPECT_EQ(parseLines(2), "CM port=3, frameIdx=7>> Ipv4 : TTL = 9, DA=0x0a636363, SA=0x0a000001\n"
                             "CM port=3, frameIdx=7>> Ipv4 (PIM inner my RP): TTL = 5, DA=0xe1020304, SA=0x0b000001\n");
    expectVerdict(0, 0, 0);
    EXPECT_EQ(stat.l3IpMcastRegEncap, 1u);
    EXPECT_EQ(stat.l3IpDaIsRpAddr, 1u);
    EXPECT_EQ(stat.l3IpDaRpIdx, 77u);
    EXPECT_EQ(stat.l3IpUlpIsPim, 1u);
    EXPECT_EQ(stat.l3IpOuterIhl, 6u);
    EXPECT_EQ(stat.l3IpDscpOuter, 8u);
    EXPECT_EQ(stat.l3IpIhl, 5u);
    EXPECT_EQ(stat.l3IpDscp, 0x10u);
    EXPECT_EQ(stat.l3IpEcn, 3u);
    EXPECT_EQ(stat.l3IpUlp, 17u);
    EXPECT_EQ(stat.l3IpSa0, 0x0b000001u);
    EXPECT_EQ(stat.l3IpDa0, 0xe1020304u);
    EXPECT_EQ(stat.l3IpDaIsMcast, 1u) << "the inner DA needs no MAC address to agree with";
    EXPECT_EQ(stat.l3Offset, 46u); // 14 + 24 + 8
    EXPECT_EQ(stat.l4Offset, 66u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_OUTER_IPV4], 12u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_PIM], 38u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_INNER_IPV4], 46u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_INNER_IPV4], 1u);
}

TEST_F(PrcL3Ipv4Test, InnerLineWithoutRegisterEncapsulation) {
    place(plain({}));
    uint32_t cksumErr = 0;
    EXPECT_EQ(lines([&] { PrcL3Ipv4(&stat, 1, cksumErr); }, 2),
              "CM port=3, frameIdx=7>> Ipv4 (PIM inner): TTL = 64, DA=0x0a000002, SA=0x0a000001\n");
    EXPECT_EQ(stat.l3IpOuterIhl, 0u);
    EXPECT_EQ(stat.l3IpDscpOuter, 0u);
}

TEST_F(PrcL3Ipv4Test, AnInnerPacketInsideTheInnerPacketIsNotParsed) {
    // The inner packet is again PIM to the RP: the parser looks inside only once.
    place(pimReg({}, {.da = kRpAddr, .ulp = kUlpPim}));
    parse();
    EXPECT_EQ(stat.l3Offset, 42u);
    EXPECT_EQ(stat.l3IpUlp, kUlpPim);
}

TEST_F(PrcL3Ipv4Test, AMulticastRpAddressLosesItsMulticastFlag) {
    com.rte_ipv4_pim_rp_addr[9] = 0xe0000005;
    Frame f;
    f.mac(kMacUc, 2).etyp(0x0800).ipv4({.da = 0xe0000005, .ulp = kUlpPim}).num(0x20, 1).fill(40);
    place(f.bytes);
    parse();
    // 0x20 is not the register's type byte: the message is an ordinary one, but the flag does not come back.
    EXPECT_EQ(stat.l3IpMcastRegEncap, 0u);
    EXPECT_EQ(stat.l3IpDaIsRpAddr, 1u);
    EXPECT_EQ(stat.l3IpUlpIsPim, 1u);
    EXPECT_EQ(stat.l3IpDaIsMcast, 0u);
    EXPECT_EQ(stat.l3Offset, kL3);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_PIM], 1u);
}

TEST_F(PrcL3Ipv4Test, PimToTheRpInAFragmentIsNotDecapsulated) {
    for (uint32_t flagsFrag : {0x2000u, 1u}) {
        place(pimReg({.flagsFrag = flagsFrag}, {}));
        stat.l3IpDaIsRpAddr = 5; // these keep their previous value
        stat.l3IpUlpIsPim = 0;
        parse();
        EXPECT_EQ(stat.l3IpMcastRegEncap, 0u);
        EXPECT_EQ(stat.l3IpDaIsRpAddr, 5u);
        EXPECT_EQ(stat.l3IpUlpIsPim, 0u);
        EXPECT_EQ(stat.l3Offset, kL3);
    }
    place(pimReg({.flagsFrag = 0x4000}, {}));
    parse();
    EXPECT_EQ(stat.l3IpMcastRegEncap, 1u) << "the don't-fragment bit alone makes no fragment";
}

TEST_F(PrcL3Ipv4Test, RpAddressTable) {
    EXPECT_EQ(com.rte_ipv4_pim_rp_addr[9], kRpAddr);
    for (uint32_t k = 0; k < 128; k++) {
        com.rte_ipv4_pim_rp_addr[k] = 0x0a000000 + k / 2 * 2;
        com.rte_l3_ipv4_idx[k] = 127 - k;
    }
    EXPECT_EQ(com.rte_ipv4_pim_rp_addr[127], 0x0a00007eu);
    EXPECT_EQ(com.rte_l3_ipv4_idx[127], 0u);
    place(plain({}));
    stat.l3IpDa0 = 0x0a00007e;
    EXPECT_EQ(CkIpv4RpAddr(&stat), 1u);
    EXPECT_EQ(stat.l3IpDaRpIdx, 1u) << "the first of the two equal entries";
    com.rte_ipv4_pim_rp_addr[127] = 0x0b000000;
    stat.l3IpDa0 = 0x0b000000;
    EXPECT_EQ(CkIpv4RpAddr(&stat), 1u);
    EXPECT_EQ(stat.l3IpDaRpIdx, 0u);
    stat.l3IpDaRpIdx = 99;
    com.rte_ipv6_pim_rp_addr[0][0] = 0x0c000000; // the register behind the table
    stat.l3IpDa0 = 0x0c000000;
    EXPECT_EQ(CkIpv4RpAddr(&stat), 0u);
    EXPECT_EQ(stat.l3IpDaRpIdx, 99u);
    stat.l3IpDa0 = 0x0b000000;
    port.rte_prc_l3_ipv4_rp_ck_off = 1;
    EXPECT_EQ(CkIpv4RpAddr(&stat), 0u);
    EXPECT_EQ(stat.l3IpDaRpIdx, 99u);
}

TEST_F(PrcL3Ipv4Test, AnRpEntryOfZeroMatchesTheZeroAddress) {
    com.rte_l3_ipv4_idx[0] = 6;
    place(plain({.da = 0}));
    parse();
    EXPECT_EQ(stat.l3IpDaIsRpAddr, 1u);
    EXPECT_EQ(stat.l3IpDaRpIdx, 6u);
    EXPECT_EQ(stat.l3IpMcastRegEncap, 0u);
}

TEST_F(PrcL3Ipv4Test, NullRegister) {
    const auto bytes = pimReg({}, {}, true);
    place(bytes);
    EXPECT_EQ(parseLines().find("NULL"), std::string::npos);
    expectVerdict(0, 0, 0);
    port.rte_prc_l3_ck_pim_null = 1;
    place(bytes);
    stat.l3PrcTrapQue = 9; // a drop clears it
    EXPECT_NE(parseLines(2).find("CM port=3, frameIdx=7>> Ipv4 PIM NULL DROP\n"), std::string::npos);
    expectVerdict(0, 0, 35);
    EXPECT_EQ(stat.l3Ipv4Ihl6ErrCanWin, 35u);
    port.rte_prc_l3_trap_pim_null = 1;
    place(bytes);
    EXPECT_NE(parseLines(2).find("CM port=3, frameIdx=7>> Ipv4 PIM NULL TRAP\n"), std::string::npos);
    expectVerdict(kQuePimNull, 19, 0);
    EXPECT_EQ(stat.l3Ipv4Ihl6ErrCanWin, 19u);
    place(bytes);
    EXPECT_EQ(parseLines(1), "");

    place(bytes);
    stat.l3PrcTrapRsn = 5;
    EXPECT_EQ(parseLines(2).find("NULL"), std::string::npos);
    expectVerdict(0, 5, 0);
    EXPECT_EQ(stat.l3Ipv4Ihl6ErrCanWin, 0u);
    place(bytes);
    stat.l3PrcDropRsn = 14;
    parse();
    expectVerdict(0, 0, 14);
    place(pimReg({}, {}));
    parse();
    expectVerdict(0, 0, 0);
}

TEST_F(PrcL3Ipv4Test, PimChecksumCoversTheEightBytesOfTheRegisterHeader) {
    auto bytes = pimReg({}, {});
    port.rte_prc_l3_ipv4_ck_pim_cksum = 1;
    place(bytes);
    EXPECT_EQ(parse(), 0u);
    expectVerdict(0, 0, 0);
    const size_t pim = kL3 + 20;
    for (size_t i = 1; i < 8; i++) {
        auto bad = bytes;
        bad[pim + i] ^= 1;
        place(bad);
        EXPECT_EQ(parse(), 1u) << i;
        expectVerdict(0, 0, 18);
    }
    bytes[pim + 3] ^= 1;
    const std::string head = "CM port=3, frameIdx=7>> IPv4 PIM cksum err detected and ";
    place(bytes);
    EXPECT_NE(parseLines(2).find(head + "L3_DROP\n"), std::string::npos);
    port.rte_prc_l3_ipv4_trap_pim_cksum_err = 1;
    place(bytes);
    stat.l3PrcDropRsn = 13; // replaced
    EXPECT_NE(parseLines(2).find(head + "L3_TRAP\n"), std::string::npos);
    expectVerdict(kQueCksum, 10, 0);
    place(bytes);
    EXPECT_EQ(parseLines(1), "");

    // A standing checksum verdict stays, and the line still tells of the error by the verdict that stands.
    place(bytes);
    stat.l3PrcDropRsn = 18;
    EXPECT_NE(parseLines(2).find(head + "L3_DROP\n"), std::string::npos);
    expectVerdict(0, 0, 18);
    port.rte_prc_l3_ipv4_trap_pim_cksum_err = 0;
    place(bytes);
    stat.l3PrcTrapRsn = 10;
    EXPECT_NE(parseLines(2).find(head + "L3_TRAP\n"), std::string::npos);
    expectVerdict(0, 10, 0);

    port.rte_prc_l3_ipv4_ck_pim_cksum = 0;
    place(bytes);
    EXPECT_EQ(parseLines(2).find("cksum"), std::string::npos);
    expectVerdict(0, 0, 0);
    place(bytes);
    EXPECT_EQ(parse(), 1u) << "the error is handed back with the check off, too";
}

TEST_F(PrcL3Ipv4Test, InnerChecksumErrorReplacesAndIsCollected) {
    auto bytes = pimReg({}, {});
    bytes[kL3 + 28 + 10] ^= 1;
    port.rte_prc_l3_ipv4_ck_cksum = 1;
    place(bytes);
    stat.l3PrcDropRsn = 35;
    EXPECT_EQ(parse(), 1u);
    expectVerdict(0, 0, 18);
    EXPECT_EQ(stat.l3Ipv4Ihl6ErrCanWin, 0u);
}

TEST_F(PrcL3Ipv4Test, PimChecksumErrorIsLostWhenTheFrameEndsWithinTwelveBytesBehindIt) {
    auto bytes = pimReg({}, {});
    bytes[kL3 + 23] ^= 1; // the register's checksum
    port.rte_prc_l3_ipv4_ck_pim_cksum = 1;
    // The register header lies at 34, so the checksum would be there at 54. 52 bytes of frame end before, 53 count as
    // 56. Both end inside the inner header.
    place(bytes, 52);
    EXPECT_EQ(parseLines(2),
              "CM port=3, frameIdx=7>> Ipv4 : TTL = 64, DA=0x0a636363, SA=0x0a000001\n"
              "CM port=3, frameIdx=7>> C-model guessed EOF will be detected before PIM cksum err, estimated cksum "
              "available offset=54 frm len (wrapped)=52\n"
              "CM port=3, frameIdx=7>> IPv4 EOF detected, trap_rsn=0 drp_rsn=12\n");
    expectVerdict(0, 0, 12);
    place(bytes, 52);
    EXPECT_EQ(parse(), 0u);
    place(bytes, 53);
    EXPECT_EQ(parseLines(2), "CM port=3, frameIdx=7>> Ipv4 : TTL = 64, DA=0x0a636363, SA=0x0a000001\n"
                             "CM port=3, frameIdx=7>> IPv4 PIM cksum err detected and L3_DROP\n"
                             "CM port=3, frameIdx=7>> IPv4 EOF detected, trap_rsn=0 drp_rsn=18\n");
    expectVerdict(0, 0, 18);
}

TEST_F(PrcL3Ipv4Test, PimRegisterCutAtEveryLength) {
    const auto bytes = pimReg({}, {});
    for (size_t len = 1; len <= bytes.size() + 4; len++) {
        SCOPED_TRACE(len);
        place(bytes, len);
        parse();
        // The register header at 34: 34 + 11 = 45, word 44. The inner header at 42: 42 + 23 = 65, word 64.
        expectVerdict(0, 0, len > 64 ? 0 : 12);
        EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_PIM], len > 44 ? 1 : 0);
        EXPECT_EQ(stat.l3Offset, len > 44 ? 42 : 14);
        EXPECT_EQ(stat.l3IpMcastRegEncap, len > 64 ? 1 : 0);
        EXPECT_EQ(stat.l3IpUlpIsPim, len > 36 ? 1 : 0);
    }
}

TEST_F(PrcL3Ipv4Test, EndTestsOfThePimHeaderFollowItToAnyOffset) {
    for (uint32_t start = 14; start < 18; start++) {
        for (bool toRp : {false, true}) {
            Frame f;
            f.fill(start).ipv4({.da = toRp ? kRpAddr : 5, .ulp = kUlpPim, .tlen = 20}).num(0x2200, 2).fill(40);
            for (uint32_t len = start + 24; len <= f.bytes.size(); len++) {
                SCOPED_TRACE(testing::Message() << start << " " << len);
                place(f.bytes);
                setFrameLen(len);
                stat.l3Offset = start;
                parse();
                const bool whole = (start + 20 + 11) / 4 * 4 < len;
                expectVerdict(0, 0, whole ? 0 : 12);
                EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_PIM], whole && toRp ? 1 : 0);
            }
        }
    }
}

TEST_F(PrcL3Ipv4Test, PimChecksumErrorIsLostUpToTheVeryWord) {
    auto bytes = pimReg({}, {});
    bytes[kL3 + 23] ^= 1;
    bytes.insert(bytes.begin(), 2, 0);
    port.rte_prc_l3_ipv4_ck_pim_cksum = 1;
    // The register header lies at 36, so the checksum would be there at 56.
    for (uint32_t len : {56u, 57u}) {
        place(bytes, len);
        stat.l3Offset = kL3 + 2;
        parse();
        expectVerdict(0, 0, len == 56 ? 12 : 18);
    }
}

TEST_F(PrcL3Ipv4Test, PimToSomeoneElseMustHoldItsFirstTwelveBytes) {
    const auto bytes = plain({.ulp = kUlpPim});
    for (size_t len = 37; len <= 60; len++) {
        SCOPED_TRACE(len);
        place(bytes, len);
        parse();
        expectVerdict(0, 0, len > 44 ? 0 : 12);
        EXPECT_EQ(stat.l3PrcHdrUnk, len > 44 ? 0 : 1);
        EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_PIM], 0u);
    }
}

} // namespace
