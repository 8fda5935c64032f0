// IPv6 header parsing: the error rows, the fields, the walk over the extension headers, frames that end early.

#include "ipv6_fixture.h"

namespace {

/// One error of the header, the frame that has it and no other, and what it leaves.
struct Row {
    const char *name;
    PortFld ck;
    PortFld trap; // null: always a trap
    uint32_t que;
    uint32_t trapRsn;
    uint32_t dropRsn;
    bool inner; // an inner header can have it
    uint64_t l2Da;
    std::function<void(std::vector<uint8_t> &, size_t)> damage; // of the header at an offset
};

const Row kRows[] = {
    {"version", &CmRteHsiPortReg::rte_prc_l3_ipv6_ck_ver, &CmRteHsiPortReg::rte_prc_l3_ipv6_trap_ver_err, kQueHdrVio, 4,
     13, true, kMacUc, [](auto &b, size_t o) { b[o] = 0x40; }},
    {"hbh", &CmRteHsiPortReg::rte_prc_l3_ipv6_ck_hbh, nullptr, kQueHbh, 12, 0, true, kMacUc,
     [](auto &b, size_t o) {
         b[o + 6] = kHbh;
         b[o + 40] = kNoNext;
     }},
    {"saMcast", &CmRteHsiPortReg::rte_prc_l3_ipv6_ck_sa_mcast, &CmRteHsiPortReg::rte_prc_l3_ipv6_trap_sa_mcast_err,
     kQueSaMcast, 8, 16, true, kMacUc, [](auto &b, size_t o) { b[o + 8] = 0xff; }},
    {"daMcast", &CmRteHsiPortReg::rte_prc_l3_ipv6_ck_da_mcast, &CmRteHsiPortReg::rte_prc_l3_ipv6_trap_da_mcast_err,
     kQueDaMcast, 7, 15, false, 0x333300000002, [](auto &b, size_t o) { b[o + 24] = 0x21; }},
    {"ttl", &CmRteHsiPortReg::rte_prc_l3_ipv6_ck_ttl, &CmRteHsiPortReg::rte_prc_l3_ipv6_trap_ttl_err, kQueTtl, 5, 14,
     true, kMacUc, [](auto &b, size_t o) { b[o + 7] = 1; }},
    {"pimExt", &CmRteHsiPortReg::rte_prc_l3_ipv6_ck_pim_ext, &CmRteHsiPortReg::rte_prc_l3_ipv6_trap_pim_ext_err,
     kQuePimHdr, 9, 17, false, kMacUc,
     [](auto &b, size_t o) {
         b[o + 6] = kDstOpt;
         b[o + 40] = kPim;
     }},
};

TEST_F(PrcL3Ipv6Test, EachErrorOfTheOuterHeaderIsNothingTrapOrDrop) {
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        auto bytes = plain({});
        row.damage(bytes, kL3);
        for (uint32_t trap = 0; trap < 2; trap++) {
            eraseChecks();
            if (row.trap)
                port.*row.trap = trap;
            place(bytes);
            stat.l2Da = row.l2Da;
            parse();
            expectVerdict(0, 0, 0);

            port.*row.ck = 1;
            place(bytes);
            stat.l2Da = row.l2Da;
            parse();
            const bool isTrap = trap || !row.trap;
            expectVerdict(isTrap ? row.que : 0, isTrap ? row.trapRsn : 0, isTrap ? 0 : row.dropRsn);
            EXPECT_EQ(stat.l3Ipv4Ihl6ErrCanWin, 0u);
            EXPECT_EQ(stat.l3PrcHdrUnk, 0u) << "parsing goes on behind an error";
            EXPECT_NE(stat.l4Offset, 0u);
        }
    }
}

TEST_F(PrcL3Ipv6Test, AnEarlierReasonBlocksEachError) {
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        auto bytes = plain({});
        row.damage(bytes, kL3);
        eraseChecks();
        port.*row.ck = 1;
        for (uint32_t trap = 0; trap < 2; trap++) {
            if (row.trap)
                port.*row.trap = trap;
            place(bytes);
            stat.l2Da = row.l2Da;
            stat.l3PrcTrapRsn = 6;
            parse();
            expectVerdict(0, 6, 0);

            place(bytes);
            stat.l2Da = row.l2Da;
            stat.l3PrcDropRsn = 20;
            parse();
            expectVerdict(0, 0, 20);
        }
    }
}

TEST_F(PrcL3Ipv6Test, OfTheInnerErrorsOnlyTheVersionIsLatched) {
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        auto bytes = pimReg({}, {});
        row.damage(bytes, kL3 + 48);
        for (uint32_t trap = 0; trap < 2; trap++) {
            eraseChecks();
            port.*row.ck = 1;
            if (row.trap)
                port.*row.trap = trap;
            place(bytes);
            parse();
            EXPECT_EQ(stat.l3Offset, kL3 + 48);
            const bool isTrap = trap || !row.trap;
            if (row.inner)
                expectVerdict(isTrap ? row.que : 0, isTrap ? row.trapRsn : 0, isTrap ? 0 : row.dropRsn);
            else
                expectVerdict(0, 0, 0);
            const bool latched = row.name == std::string("version");
            EXPECT_EQ(stat.l3Ipv4Ihl6ErrCanWin, latched ? (trap ? 4 : 13) : 0);
        }
    }
}

TEST_F(PrcL3Ipv6Test, TheFirstErrorInTheOrderOfTheHeaderWins) {
    auto bytes = plain({.hopLimit = 1});
    bytes[kL3] = 0x50;
    bytes[kL3 + 6] = kHbh;
    bytes[kL3 + 40] = kPim;
    bytes[kL3 + 8] = 0xff;
    port.rte_prc_l3_ipv6_ck_ver = 1;
    port.rte_prc_l3_ipv6_ck_hbh = 1;
    port.rte_prc_l3_ipv6_ck_sa_mcast = 1;
    port.rte_prc_l3_ipv6_ck_da_mcast = 1;
    port.rte_prc_l3_ipv6_ck_ttl = 1;
    port.rte_prc_l3_ipv6_ck_pim_ext = 1;
    auto run = [&] {
        place(bytes);
        stat.l2Da = 0x333300000002;
        parse();
    };
    run();
    expectVerdict(0, 0, 13);
    port.rte_prc_l3_ipv6_ck_ver = 0;
    run();
    expectVerdict(kQueHbh, 12, 0);
    port.rte_prc_l3_ipv6_ck_hbh = 0;
    run();
    expectVerdict(0, 0, 16);
    port.rte_prc_l3_ipv6_ck_sa_mcast = 0;
    run();
    expectVerdict(0, 0, 15);
    port.rte_prc_l3_ipv6_ck_da_mcast = 0;
    run();
    expectVerdict(0, 0, 14);
    port.rte_prc_l3_ipv6_ck_ttl = 0;
    run();
    expectVerdict(0, 0, 17);
}

TEST_F(PrcL3Ipv6Test, ReadsEveryField) {
    port.rte_prc_typ_mode = 2;
    place(plain({.saHi = 0x20010db8aaaa0001,
                 .saLo = 0x1111222233334444,
                 .daHi = 0x20010db8bbbb0002,
                 .daLo = 0x5555666677778888,
                 .nxtHdr = kTcp,
                 .hopLimit = 33,
                 .tclass = 0xbd,
                 .flow = 0xfffff,
                 .plen = 100}));
    stat.l2PselDscp = 0x55;
    parse();
    EXPECT_EQ(stat.l3IpDscp, 0x2fu);
    EXPECT_EQ(stat.l3IpDscpOuter, 0x2fu);
    EXPECT_EQ(stat.IpDscpForPsel, 0x2fu);
    EXPECT_EQ(stat.l2PselDscp, 0x55u) << "not written for IPv6";
    EXPECT_EQ(stat.l3IpEcn, 1u);
    EXPECT_EQ(stat.l3IpTlen, 140u);
    EXPECT_EQ(stat.l3IpHbh, 0u);
    EXPECT_EQ(stat.l3IpTtl, 33u);
    EXPECT_EQ(stat.l3IpSa0, 0x20010db8aaaa0001u);
    EXPECT_EQ(stat.l3IpSa1, 0x1111222233334444u);
    EXPECT_EQ(stat.l3IpDa0, 0x20010db8bbbb0002u);
    EXPECT_EQ(stat.l3IpDa1, 0x5555666677778888u);
    EXPECT_EQ(stat.l3IpDaIsMcast, 0u);
    EXPECT_EQ(stat.l3IpUlp, kTcp);
    EXPECT_EQ(stat.l4Offset, 54u);
    EXPECT_EQ(stat.l3Offset, 14u);
    EXPECT_EQ(stat.l3IpUlpIsPim, 0u);
    EXPECT_EQ(stat.l3Ipv6IsFragment, 0u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_OUTER_IPV6], 1u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_OUTER_IPV6], 12u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_INNER_IPV6], 0u);
}

TEST_F(PrcL3Ipv6Test, AWrongVersionLeavesTheTrafficClass) {
    auto bytes = plain({.tclass = 0x04});
    bytes[kL3] = 0xf0;
    place(bytes);
    parse();
    EXPECT_EQ(stat.l3IpDscp, 1u);
}

TEST_F(PrcL3Ipv6Test, TheTotalLengthWrapsAt16Bits) {
    place(plain({.plen = 65500}));
    parse();
    EXPECT_EQ(stat.l3IpTlen, 4u); // 65540 - 65536
}

TEST_F(PrcL3Ipv6Test, DscpGoesToPathSelectionByTypeModeOrAllowance) {
    const auto bytes = plain({.tclass = 0x28});
    auto run = [&](uint32_t mode, uint32_t allow) {
        port.rte_prc_typ_mode = mode;
        port.rte_prc_typ_alw_l3_dscp = allow;
        place(bytes);
        parse();
        EXPECT_EQ(stat.l2PselDscp, 0u);
        return stat.IpDscpForPsel;
    };
    EXPECT_EQ(run(0, 0), 0u);
    EXPECT_EQ(run(1, 0), 0u);
    EXPECT_EQ(run(2, 0), 10u);
    EXPECT_EQ(run(0, 1), 10u);
}

TEST_F(PrcL3Ipv6Test, LinesOfAPlainHeader) {
    port.rte_prc_typ_mode = 3;
    port.rte_prc_typ_alw_l3_dscp = 1;
    place(plain({.nxtHdr = kNoNext, .tclass = 0xb9}));
    EXPECT_EQ(parseLines(3), kPre + "Ipv6 DSCP = 2e, typ_mode=3, typ_alw_l3_dscp=1 ecn=1\n" + kPre +
                                 "IPv6 First NextHeader = 3b\n" + kPre +
                                 "IPv6 ULP=3b, isUlp=1, l3IpUlpIsPim=0, myRpPim=0\n");
    place(plain({}));
    EXPECT_EQ(parseLines(2), "");
}

TEST_F(PrcL3Ipv6Test, MulticastNeedsPrefixMacPrefixAndTheLow32BitsToAgree) {
    struct Case {
        uint64_t daHi, daLo;
        uint64_t mac;
        bool err;
        uint32_t ipMcast, macMcast;
        const char *lo;
    };
    const Case cases[] = {
        {0xff02000000000000, 0x0000000012345678, 0x333312345678, false, 1, 1, ""},
        {0xff02000000000000, 0x0000000012345678, 0x333302345678, true, 1, 1, "12345678_2345678"},
        {0xff02000000000000, 0x0000000012345678, 0x333212345678, true, 1, 0, "12345678_12345678"},
        {0xfe02000000000000, 0x0000000012345678, 0x333312345678, true, 0, 1, "12345678_12345678"},
        {0x2001000000000000, 0x0000000012345678, 0x020012345678, false, 0, 0, ""},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.daHi << " " << c.mac);
        const auto bytes = plain({.daHi = c.daHi, .daLo = c.daLo});
        port.rte_prc_l3_ipv6_ck_da_mcast = 1;
        for (uint32_t off = 0; off < 2; off++) {
            port.rte_prc_l3_ipv6_mcast_off = off;
            place(bytes);
            stat.l2Da = c.mac;
            const std::string out = parseLines(2);
            const bool err = c.err && !off;
            expectVerdict(0, 0, err ? 15 : 0);
            EXPECT_EQ(stat.l3IpDaIsMcast, off || c.err ? 0 : c.ipMcast);
            std::ostringstream line;
            line << kPre << "IPv6 IP mcast DA check ip_da_mcast=" << c.ipMcast << " mac_da_mcast=" << c.macMcast
                 << " lo_32b=" << c.lo << " trap_rsn=0 drop_rsn=15\n";
            EXPECT_EQ(out, err ? line.str() : "");
        }
        port.rte_prc_l3_ipv6_mcast_off = 0;
        port.rte_prc_l3_ipv6_ck_da_mcast = 0;
        place(bytes);
        stat.l2Da = c.mac;
        EXPECT_EQ(parseLines(2), "");
        EXPECT_EQ(stat.l3IpDaIsMcast, c.ipMcast);
    }
    // The line stands even when an earlier reason blocks the error, and not at level 1.
    port.rte_prc_l3_ipv6_ck_da_mcast = 1;
    place(plain({.daHi = 0xff02000000000000}));
    stat.l3PrcTrapRsn = 8;
    EXPECT_EQ(parseLines(2),
              kPre + "IPv6 IP mcast DA check ip_da_mcast=1 mac_da_mcast=0 lo_32b=2_1 trap_rsn=8 drop_rsn=0\n");
    expectVerdict(0, 8, 0);
    place(plain({.daHi = 0xff02000000000000}));
    EXPECT_EQ(parseLines(1), "");
}

TEST_F(PrcL3Ipv6Test, MulticastFlagIsWrittenWhateverStoodThere) {
    // An IP unicast to a multicast MAC: with the check on the disagreement clears the flag, else the DA does; so does
    // the inner header's DA.
    const auto bytes = plain({.daHi = 0x2001000000000000});
    for (uint32_t ck = 0; ck < 2; ck++) {
        port.rte_prc_l3_ipv6_ck_da_mcast = ck;
        place(bytes);
        stat.l2Da = 0x333300000002;
        stat.l3IpDaIsMcast = 1;
        parse();
        expectVerdict(0, 0, ck ? 15 : 0);
        EXPECT_EQ(stat.l3IpDaIsMcast, 0u);
    }
    place(bytes);
    stat.l3IpDaIsMcast = 1;
    PrcL3Ipv6(&stat, 1, 0);
    EXPECT_EQ(stat.l3IpDaIsMcast, 0u);
}

TEST_F(PrcL3Ipv6Test, TtlAppliesToWhatDoesNotCountAsMulticast) {
    port.rte_prc_l3_ipv6_ck_ttl = 1;
    for (uint32_t hopLimit = 0; hopLimit < 3; hopLimit++) {
        place(plain({.hopLimit = hopLimit}));
        parse();
        expectVerdict(0, 0, hopLimit < 2 ? 14 : 0);
        place(plain({.daHi = 0xff02000000000000, .hopLimit = hopLimit}));
        parse();
        expectVerdict(0, 0, 0);
    }
}

TEST_F(PrcL3Ipv6Test, LengthTest) {
    struct Case {
        uint32_t frmLen, exp, maxLen, ret;
        const char *kind; // null: no line
        uint32_t dropRsn;
    };
    const Case cases[] = {
        // The read must end before the frame's last word begins: (exp + 3) without its low bits below the length.
        {65, 64, 100, 1, nullptr, 0},
        {64, 64, 100, 0, "EOF", 12},
        {64, 60, 100, 1, nullptr, 0},
        {64, 61, 100, 0, "EOF", 12}, // 61 + 3 = 64
        {1, 0, 0, 1, nullptr, 0},
        // The limit counts words: 16 of them are 64 bytes.
        {100, 64, 16, 1, nullptr, 0},
        {100, 65, 16, 0, "MAXLEN", 31},
        // Both: the shorter one stands.
        {100, 200, 25, 0, "EOF", 12},        // 25 words of frame, limit 25
        {100, 200, 24, 0, "EOF/MAXLEN", 12}, // the frame ends one word behind the limit
        {97, 200, 24, 0, "EOF/MAXLEN", 12},  // 25 words, too
        {100, 200, 23, 0, "MAXLEN", 31},
        {96, 200, 24, 0, "EOF", 12},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << c.frmLen << " " << c.exp << " " << c.maxLen);
        com.rte_l3_ipv6_max_len = c.maxLen;
        place(plain({}));
        uint32_t ret = 9;
        std::ostringstream line;
        if (c.kind)
            line << kPre << "IPv6 " << c.kind << " err detected, expected byte=" << c.exp << " frm len=" << c.frmLen
                 << " ipv6_max_len=" << c.maxLen << "\n";
        EXPECT_EQ(lines([&] { ret = CkIpv6Len(c.frmLen, c.exp, &stat); }, 2), line.str());
        EXPECT_EQ(ret, c.ret);
        EXPECT_EQ(lines([&] { CkIpv6Len(c.frmLen, c.exp, &stat); }, 1), "");
        if (c.kind) {
            PrcL3Ipv6EofErr(&stat);
            expectVerdict(0, 0, c.dropRsn);
        }
    }
}

TEST_F(PrcL3Ipv6Test, EndOfFrameAndLengthLimitVerdicts) {
    struct Case {
        uint32_t frmLen, maxLen;
        PortFld trap;
        uint32_t trapRsn, dropRsn;
    };
    const Case cases[] = {
        {50, 0xfff, &CmRteHsiPortReg::rte_prc_l3_ipv6_trap_eof_err, 4, 12},
        {100, 16, &CmRteHsiPortReg::rte_prc_l3_ipv6_trap_max_len_err, 23, 31},
    };
    for (const Case &c : cases) {
        com.rte_l3_ipv6_max_len = c.maxLen;
        for (uint32_t trap = 0; trap < 2; trap++) {
            eraseChecks();
            port.*c.trap = trap;
            place(plain({}));
            CkIpv6Len(c.frmLen, 65, &stat);
            stat.l3PrcTrapQue = 9;
            stat.l3PrcTrapRsn = trap ? 5 : 6;
            stat.l3PrcDropRsn = 14;
            stat.l3Ipv4Ihl6ErrCanWin = 3;
            std::ostringstream line;
            line << kPre << "IPv6 EOF or MaxLen err detected, trap_rsn=" << (trap ? c.trapRsn : 0)
                 << " drp_rsn=" << (trap ? 0 : c.dropRsn) << "\n";
            EXPECT_EQ(lines([&] { PrcL3Ipv6EofErr(&stat); }, 2), line.str());
            expectVerdict(trap ? kQueHdrVio : 0, trap ? c.trapRsn : 0, trap ? 0 : c.dropRsn);
            EXPECT_EQ(stat.l3PrcHdrUnk, 1u);
            EXPECT_EQ(stat.l3Ipv4Ihl6ErrCanWin, 3u) << "IPv6 leaves it";
            EXPECT_EQ(lines([&] { PrcL3Ipv6EofErr(&stat); }, 1), "");
        }
    }
}

TEST_F(PrcL3Ipv6Test, AStandingChecksumVerdictOutlivesTheEndOfTheFrame) {
    place(plain({}));
    CkIpv6Len(50, 65, &stat);
    stat.l3PrcTrapRsn = 10;
    stat.l3PrcTrapQue = 9;
    stat.l3IpUlp = 6;
    EXPECT_EQ(lines([&] { PrcL3Ipv6EofErr(&stat); }, 2),
              kPre + "IPv6 EOF or MaxLen err ignored due to earlier chksum trap\n" + kPre +
                  "IPv6 EOF or MaxLen err detected, trap_rsn=10 drp_rsn=0\n");
    expectVerdict(9, 10, 0);
    EXPECT_EQ(stat.l3IpUlp, 0u);
    EXPECT_EQ(lines([&] { PrcL3Ipv6EofErr(&stat); }, 1), "");
    stat.l3PrcTrapRsn = 0;
    stat.l3PrcDropRsn = 18;
    EXPECT_EQ(lines([&] { PrcL3Ipv6EofErr(&stat); }, 2),
              kPre + "IPv6 EOF or MaxLen err ignored due to earlier chksum drop\n" + kPre +
                  "IPv6 EOF or MaxLen err detected, trap_rsn=0 drp_rsn=18\n");
    expectVerdict(9, 0, 18);
}

TEST_F(PrcL3Ipv6Test, HeadersBehindTheLengthLimit) {
    // The limit of 16 words is byte 64. The extension header at 54 has 8 bytes, and the read of the next one at 62
    // wants two bytes: 64 lies on the limit. One more header at 70 lies behind it.
    com.rte_l3_ipv6_max_len = 16;
    auto bytes = ext(kDstOpt, kDstOpt);
    bytes[62] = kNoNext;
    bytes.resize(96);
    place(bytes);
    EXPECT_EQ(parseLines(2), kPre + "IPv6 MAXLEN err detected, expected byte=70 frm len=100 ipv6_max_len=16\n" + kPre +
                                 "IPv6 EOF or MaxLen err detected, trap_rsn=0 drp_rsn=31\n");
    expectVerdict(0, 0, 31);
    EXPECT_EQ(stat.l3PrcHdrUnk, 1u);
    port.rte_prc_l3_ipv6_trap_max_len_err = 1;
    place(bytes);
    parse();
    expectVerdict(kQueHdrVio, 23, 0);

    // A frame that ends one word behind the limit, with a read past both, counts as ended.
    place(bytes, 68);
    EXPECT_EQ(parseLines(2), kPre + "IPv6 EOF/MAXLEN err detected, expected byte=70 frm len=68 ipv6_max_len=16\n" +
                                 kPre + "IPv6 EOF or MaxLen err detected, trap_rsn=0 drp_rsn=12\n");
    expectVerdict(0, 0, 12);
}

TEST_F(PrcL3Ipv6Test, EachProtocolOfTheSetEndsTheWalk) {
    for (uint32_t h = 0; h < 256; h++) {
        SCOPED_TRACE(h);
        for (uint32_t k = 0; k < 8; k++)
            com.rte_l3_ipv6_ulp_msk[k] = 0;
        // The word of the highest values comes first.
        com.rte_l3_ipv6_ulp_msk[(255 - h) / 32] = 1u << h % 32;
        if (h == kIcmp || h == kPim || h == kFrag)
            continue;
        place(plain({.nxtHdr = h}));
        parse();
        EXPECT_EQ(stat.l4Offset, 54u);
        EXPECT_EQ(stat.l3IpUlp, h);
        EXPECT_EQ(stat.l3PrcHdrUnk, 0u);

        // Without the bit an unknown protocol is an extension header.
        if (h == kTcp || h == kUdp)
            continue;
        for (uint32_t k = 0; k < 8; k++)
            com.rte_l3_ipv6_ulp_msk[k] ^= 0xffffffff;
        auto bytes = ext(h, h ^ 1, 1);
        place(bytes);
        parse();
        EXPECT_EQ(stat.l3IpUlp, h ^ 1);
        EXPECT_EQ(stat.l4Offset, 70u);
    }
}

TEST_F(PrcL3Ipv6Test, TheWalkPassesAChainOfHeaders) {
    Frame f = head({.nxtHdr = kHbh});
    f.num(kRouting, 1).num(1, 1).fill(14);                // at 54, 16 bytes
    f.num(kFrag, 1).num(0, 1).fill(6);                    // at 70, 8 bytes
    f.num(kDstOpt, 1).num(0xff, 1).num(1, 2).num(0, 4);   // at 78, 8 bytes: the length byte is reserved
    f.num(kUdp, 1).num(2, 1).fill(22).udp(1, 2).fill(20); // at 86, 24 bytes; UDP at 110
    place(f.bytes);
    EXPECT_EQ(
        parseLines(3),
        kPre + "Ipv6 DSCP = 0, typ_mode=0, typ_alw_l3_dscp=0 ecn=0\n" + kPre + "IPv6 First NextHeader = 0\n" + kPre +
            "IPv6 NextHeader = 0x2b Len = 1 frm offset=54\n" + kPre + "IPv6 NextHeader = 0x2c Len = 0 frm offset=70\n" +
            kPre + "IPv6 Frag Extn Hdr. frag_offset=0x0 Mflag=1\n" + kPre +
            "IPv6 NextHeader = 0x3c Len = 0 frm offset=78\n" + kPre + "IPv6 NextHeader = 0x11 Len = 2 frm offset=86\n" +
            kPre + "IPv6 ULP=11, isUlp=1, l3IpUlpIsPim=0, myRpPim=0\n");
    EXPECT_EQ(stat.l4Offset, 110u);
    EXPECT_EQ(stat.l3IpUlp, kUdp);
    EXPECT_EQ(stat.l3IpHbh, 0u) << "the flag is that of the last header";
    expectVerdict(0, 0, 0);
}

TEST_F(PrcL3Ipv6Test, AHopByHopHeaderCountsWhereverItStands) {
    port.rte_prc_l3_ipv6_ck_hbh = 1;
    place(ext(kDstOpt, kHbh));
    auto *b = frameBuf.data();
    b[62] = kNoNext;
    parse();
    expectVerdict(kQueHbh, 12, 0);
    EXPECT_EQ(stat.l3IpHbh, 0u);

    // Hop-by-hop as the protocol that ends the walk leaves the flag set.
    com.rte_l3_ipv6_ulp_msk[7] = 1;
    place(ext(kDstOpt, kHbh));
    parse();
    EXPECT_EQ(stat.l3IpHbh, 1u);
    EXPECT_EQ(stat.l3IpUlp, kHbh);
    com.rte_l3_ipv6_ulp_msk[7] = 0;
    place(ext(kDstOpt, kNoNext));
    parse();
    expectVerdict(0, 0, 0);
}

TEST_F(PrcL3Ipv6Test, FragmentHeader) {
    place(frag(0x1234, 1, kUdp));
    EXPECT_NE(parseLines(3).find(kPre + "IPv6 Frag Extn Hdr. frag_offset=0x1234 Mflag=1\n"), std::string::npos);
    EXPECT_EQ(stat.l3Ipv6IsFragment, 1u);
    EXPECT_EQ(stat.l3Ipv6FirstFragment, 0u);
    EXPECT_EQ(stat.l3Ipv6FragFlag, 1u);
    EXPECT_EQ(stat.l3Ipv6FragOffset, 0x1234u);
    EXPECT_EQ(stat.l4Offset, 62u);
    EXPECT_EQ(stat.l3IpUlp, kUdp);

    place(frag(0, 1, kUdp));
    parse();
    EXPECT_EQ(stat.l3Ipv6FirstFragment, 1u);
    place(frag(0, 0, kUdp)); // a whole packet with a fragment header is no first fragment
    parse();
    EXPECT_EQ(stat.l3Ipv6IsFragment, 1u);
    EXPECT_EQ(stat.l3Ipv6FirstFragment, 0u);
    EXPECT_EQ(stat.l3Ipv6FragFlag, 0u);
    place(frag(0x1fff, 0, kUdp));
    parse();
    EXPECT_EQ(stat.l3Ipv6FragOffset, 0x1fffu);
    place(frag(0, 1, kUdp));
    EXPECT_EQ(parseLines(2), "");
}

TEST_F(PrcL3Ipv6Test, Icmp) {
    const auto bytes = head({.nxtHdr = kIcmp}).num(0x8702, 2).fill(60).bytes;
    place(bytes);
    EXPECT_EQ(parseLines(3), kPre + "Ipv6 DSCP = 0, typ_mode=0, typ_alw_l3_dscp=0 ecn=0\n" + kPre +
                                 "IPv6 First NextHeader = 3a\n" + kPre + "IPv6 ICMP typ_code = 0x8702 offset=54\n" +
                                 kPre + "IPv6 ULP=3a, isUlp=0, l3IpUlpIsPim=0, myRpPim=0\n");
    EXPECT_EQ(stat.l3Ipv6IcmpTyp, 0x8702u);
    EXPECT_EQ(stat.l4Offset, 54u);
    EXPECT_EQ(stat.l3IpUlp, kIcmp);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_ICMPV6], 1u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_ICMPV6], 54u);
}

TEST_F(PrcL3Ipv6Test, IcmpInFragments) {
    place(frag(0, 1));
    parse();
    EXPECT_EQ(stat.l3Ipv6IcmpTyp, 0x8001u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_ICMPV6], 62u);
    for (uint32_t offset : {0u, 4u}) {
        place(frag(offset, 0));
        stat.l3Ipv6IcmpTyp = 0x1111;
        EXPECT_EQ(parseLines(3).find("ICMP"), std::string::npos);
        EXPECT_EQ(stat.l3Ipv6IcmpTyp, 0u);
        EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_ICMPV6], 0u);
        EXPECT_EQ(stat.l4Offset, 62u);
        EXPECT_EQ(stat.l3IpUlp, kIcmp);
    }
}

TEST_F(PrcL3Ipv6Test, ACutIcmpHeaderIsRecordedAndTheWalkEndsAsIfItWereWhole) {
    // With the IP header at 16 the ICMP header stands at 56, and its two bytes need the word at 60 inside the frame
    // or a length limit of 60 bytes.
    const auto bytes =
        Frame().fill(2).mac(kMacUc, 2).etyp(0x86dd).ipv6({.nxtHdr = kIcmp}).num(0x8702, 2).fill(60).bytes;
    com.rte_l3_ipv6_max_len = 14; // 56 bytes: the fixed header and nothing else
    place(bytes);
    stat.l3Offset = 16;
    EXPECT_EQ(parseLines(3),
              kPre + "Ipv6 DSCP = 0, typ_mode=0, typ_alw_l3_dscp=0 ecn=0\n" + kPre + "IPv6 First NextHeader = 3a\n" +
                  kPre + "IPv6 MAXLEN err detected, expected byte=58 frm len=122 ipv6_max_len=14\n" + kPre +
                  "IPv6 EOF or MaxLen err detected, trap_rsn=0 drp_rsn=31\n" + kPre +
                  "IPv6 ICMP typ_code = 0x0 offset=56\n" + kPre + "IPv6 ULP=3a, isUlp=0, l3IpUlpIsPim=0, myRpPim=0\n");
    expectVerdict(0, 0, 31);
    EXPECT_EQ(stat.l3PrcHdrUnk, 1u);
    EXPECT_EQ(stat.l4Offset, 56u);
    EXPECT_EQ(stat.l3IpUlp, kIcmp);
    EXPECT_EQ(stat.l3IpDa0, 0u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_ICMPV6], 1u);

    com.rte_l3_ipv6_max_len = 15;
    for (size_t len : {57u, 60u, 61u}) {
        place(bytes, len);
        stat.l3Offset = 16;
        parse();
        expectVerdict(0, 0, len > 60 ? 0 : 12);
        EXPECT_EQ(stat.l3PrcHdrUnk, len > 60 ? 0 : 1);
        EXPECT_EQ(stat.l3IpUlp, kIcmp);
        EXPECT_EQ(stat.l4Offset, 56u);
    }
}

// The length tests round the wanted end up to a word that must lie inside the frame. The fixed header stands at 14:
// 16 for the first byte, 20 for the first eight, 40 for the SA, 56 for the DA and the start of the next header.
TEST_F(PrcL3Ipv6Test, FixedHeaderCutAtEveryLength) {
    const auto bytes = plain({.nxtHdr = kUdp, .tclass = 4, .plen = 24});
    for (size_t len = 1; len <= bytes.size() + 4; len++) {
        SCOPED_TRACE(len);
        place(bytes, len);
        parse();
        const bool whole = len > 56;
        expectVerdict(0, 0, whole ? 0 : 12);
        EXPECT_EQ(stat.l3PrcHdrUnk, whole ? 0 : 1);
        // What lies in the last four bytes, the place of the FCS, is read as 0: the TTL stands at 21.
        EXPECT_EQ(stat.l3IpTtl, len > 25 ? 64 : 0);
        EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_OUTER_IPV6], len > 40 ? 1 : 0);
        EXPECT_EQ(stat.l4Offset, whole ? 54 : 0);
        EXPECT_EQ(stat.l3IpUlp, whole ? kUdp : 0);
        EXPECT_EQ(stat.l3IpSa1, whole ? 1 : 0);
        EXPECT_EQ(stat.l3IpTlen, whole ? 64 : 0);
    }
}

// An extension header at 54 with 8 bytes: the word at 64 must lie inside for what follows at 62.
TEST_F(PrcL3Ipv6Test, EachExtensionHeaderCutAtEveryLength) {
    for (uint32_t kind : {kHbh, kRouting, kFrag, kDstOpt}) {
        const auto bytes = ext(kind, kUdp);
        for (size_t len = 1; len <= bytes.size() + 4; len++) {
            SCOPED_TRACE(testing::Message() << kind << " " << len);
            place(bytes, len);
            parse();
            expectVerdict(0, 0, len > 64 ? 0 : 12);
            EXPECT_EQ(stat.l4Offset, len > 64 ? 62 : 0);
            EXPECT_EQ(stat.l3Ipv6IsFragment, kind == kFrag && len > 56 ? 1 : 0);
        }
    }
}

TEST_F(PrcL3Ipv6Test, IcmpCutAtEveryLength) {
    const auto bytes = head({.nxtHdr = kIcmp}).num(0x8702, 2).fill(40).bytes;
    for (size_t len = 1; len <= bytes.size() + 4; len++) {
        SCOPED_TRACE(len);
        place(bytes, len);
        parse();
        expectVerdict(0, 0, len > 56 ? 0 : 12);
        // The type at 54 and the code at 55 come out of the FCS's place one after the other.
        EXPECT_EQ(stat.l3Ipv6IcmpTyp, len > 59 ? 0x8702 : len > 58 ? 0x8700 : 0);
    }
}

// Wherever the header stands, each field has its own length test, rounded up to a word.
TEST_F(PrcL3Ipv6Test, LengthTestsFollowTheHeaderToAnyOffset) {
    port.rte_prc_typ_mode = 2;
    for (uint32_t start = 14; start < 18; start++) {
        const auto bytes = Frame().fill(start).ipv6({.nxtHdr = kUdp}).fill(40).bytes;
        for (uint32_t len = 1; len <= bytes.size(); len++) {
            SCOPED_TRACE(testing::Message() << start << " " << len);
            place(bytes);
            setFrameLen(len);
            stat.l3Offset = start;
            auto reached = [&](uint32_t n) { return (start + n + 3) / 4 * 4 < len; };
            const std::string out = parseLines(3);
            EXPECT_EQ(out.find("Ipv6 DSCP") != std::string::npos, reached(1));
            EXPECT_EQ(stat.l3IpTtl, reached(6) ? 64 : 0);
            EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_OUTER_IPV6], reached(24) ? 1 : 0);
            EXPECT_EQ(out.find("First NextHeader") != std::string::npos, reached(40));
            expectVerdict(0, 0, reached(40) ? 0 : 12);
        }
    }
}

} // namespace
