// IPv4 header parsing: the error rows, the fields, the IHL-6 check, frames that end early.

#include "ipv4_fixture.h"

namespace {

/// One error of the header, the frame that has it and no other, and what it leaves.
struct Row {
    const char *name;
    PortFld ck;
    PortFld trap;
    uint32_t que;
    uint32_t trapRsn;
    uint32_t dropRsn;
    bool inner;   // an inner header can have it
    bool latched; // then it may give way to the IHL-6 error
    uint64_t l2Da;
    std::function<void(std::vector<uint8_t> &, size_t)> damage; // of the header at an offset
};

const Row kRows[] = {
    {"version", &CmRteHsiPortReg::rte_prc_l3_ipv4_ck_ver, &CmRteHsiPortReg::rte_prc_l3_ipv4_trap_ver_err, kQueHdrVio, 4,
     13, true, true, kMacUc, [](auto &b, size_t o) { b[o] = 0x55; }},
    {"ihlLt5", &CmRteHsiPortReg::rte_prc_l3_ipv4_ck_ihl_lt5, &CmRteHsiPortReg::rte_prc_l3_ipv4_trap_ihl_lt5_err,
     kQueHdrVio, 4, 13, true, true, kMacUc, [](auto &b, size_t o) { b[o] = 0x44; }},
    {"ihlGt6", &CmRteHsiPortReg::rte_prc_l3_ipv4_ck_ihl_gt5, &CmRteHsiPortReg::rte_prc_l3_ipv4_trap_ihl_gt5_err,
     kQueIhlGt5, 11, 19, false, false, kMacUc,
     [](auto &b, size_t o) {
         b[o] = 0x47;
         b[o + 3] = 28;
     }},
    {"tlen", &CmRteHsiPortReg::rte_prc_l3_ipv4_ck_tlen, &CmRteHsiPortReg::rte_prc_l3_ipv4_trap_tlen_err, kQueHdrVio, 4,
     13, true, true, kMacUc, [](auto &b, size_t o) { b[o + 3] = 19; }},
    {"pimFrg", &CmRteHsiPortReg::rte_prc_l3_ipv4_ck_pim_frg, &CmRteHsiPortReg::rte_prc_l3_ipv4_trap_pim_frg_err,
     kQuePimHdr, 9, 17, false, false, kMacUc,
     [](auto &b, size_t o) {
         b[o + 6] = 0x20;
         b[o + 9] = kUlpPim;
     }},
    {"saMcast", &CmRteHsiPortReg::rte_prc_l3_ipv4_ck_sa_mcast, &CmRteHsiPortReg::rte_prc_l3_ipv4_trap_sa_mcast_err,
     kQueSaMcast, 8, 16, true, true, kMacUc, [](auto &b, size_t o) { b[o + 12] = 0xe1; }},
    {"daMcast", &CmRteHsiPortReg::rte_prc_l3_ipv4_ck_da_mcast, &CmRteHsiPortReg::rte_prc_l3_ipv4_trap_da_mcast_err,
     kQueDaMcast, 7, 15, false, false, 0x01005e000001, [](auto &b, size_t o) { b[o + 16] = 0x0b; }},
    {"ttl", &CmRteHsiPortReg::rte_prc_l3_ipv4_ck_ttl, &CmRteHsiPortReg::rte_prc_l3_ipv4_trap_ttl_err, kQueTtl, 5, 14,
     true, true, kMacUc, [](auto &b, size_t o) { b[o + 8] = 1; }},
};

TEST_F(PrcL3Ipv4Test, EachErrorOfTheOuterHeaderIsNothingTrapOrDrop) {
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        auto bytes = plain({});
        row.damage(bytes, kL3);
        for (uint32_t trap = 0; trap < 2; trap++) {
            eraseChecks();
            port.*row.trap = trap;
            place(bytes);
            stat.l2Da = row.l2Da;
            parse();
            expectVerdict(0, 0, 0);

            port.*row.ck = 1;
            place(bytes);
            stat.l2Da = row.l2Da;
            parse();
            expectVerdict(trap ? row.que : 0, trap ? row.trapRsn : 0, trap ? 0 : row.dropRsn);
            EXPECT_EQ(stat.l3Ipv4Ihl6ErrCanWin, 0u);
            EXPECT_EQ(stat.l3PrcHdrUnk, 0u) << "parsing goes on behind an error";
        }
    }
}

TEST_F(PrcL3Ipv4Test, AnEarlierReasonBlocksEachError) {
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        auto bytes = plain({});
        row.damage(bytes, kL3);
        eraseChecks();
        port.*row.ck = 1;
        for (uint32_t trap = 0; trap < 2; trap++) {
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

TEST_F(PrcL3Ipv4Test, AnErrorOfTheInnerHeaderIsLatchedForTheIhl6Check) {
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        auto bytes = pimReg({}, {});
        row.damage(bytes, kL3 + 28);
        for (uint32_t trap = 0; trap < 2; trap++) {
            eraseChecks();
            port.*row.ck = 1;
            port.*row.trap = trap;
            place(bytes);
            parse();
            EXPECT_EQ(stat.l3Offset, kL3 + 28);
            if (row.inner)
                expectVerdict(trap ? row.que : 0, trap ? row.trapRsn : 0, trap ? 0 : row.dropRsn);
            else
                expectVerdict(0, 0, 0);
            EXPECT_EQ(stat.l3Ipv4Ihl6ErrCanWin, row.latched ? (trap ? row.trapRsn : row.dropRsn) : 0);
        }
    }
}

TEST_F(PrcL3Ipv4Test, TheFirstErrorInTheOrderOfTheHeaderWins) {
    // Version, IHL below 5, total length, SA, DA against MAC and TTL are all wrong; the checks are turned off one by
    // one.
    auto bytes = plain({.ttl = 1});
    bytes[kL3] = 0x54;
    bytes[kL3 + 3] = 15;
    bytes[kL3 + 12] = 0xe1;
    port.rte_prc_l3_ipv4_ck_ver = 1;
    port.rte_prc_l3_ipv4_trap_ver_err = 1;
    port.rte_prc_l3_ipv4_ck_ihl_lt5 = 1;
    port.rte_prc_l3_ipv4_ck_tlen = 1;
    port.rte_prc_l3_ipv4_trap_tlen_err = 1;
    port.rte_prc_l3_ipv4_ck_sa_mcast = 1;
    port.rte_prc_l3_ipv4_ck_da_mcast = 1;
    port.rte_prc_l3_ipv4_ck_ttl = 1;
    auto run = [&] {
        place(bytes);
        stat.l2Da = 0x01005e000001;
        parse();
    };
    run();
    expectVerdict(kQueHdrVio, 4, 0);
    port.rte_prc_l3_ipv4_ck_ver = 0;
    run();
    expectVerdict(0, 0, 13);
    port.rte_prc_l3_ipv4_ck_ihl_lt5 = 0;
    run();
    expectVerdict(kQueHdrVio, 4, 0);
    port.rte_prc_l3_ipv4_ck_tlen = 0;
    run();
    expectVerdict(0, 0, 16);
    port.rte_prc_l3_ipv4_ck_sa_mcast = 0;
    run();
    expectVerdict(0, 0, 15);
    port.rte_prc_l3_ipv4_ck_da_mcast = 0;
    run();
    expectVerdict(0, 0, 14);
}

TEST_F(PrcL3Ipv4Test, ReadsEveryField) {
    port.rte_prc_typ_mode = 2;
    place(
        plain({.sa = 0x0a010203, .da = 0xc0a80105, .ulp = 6, .ttl = 33, .tos = 0xbd, .flagsFrag = 0xf234, .tlen = 60}));
    stat.l3IpSa1 = 5;
    EXPECT_EQ(parse(), 0u);
    EXPECT_EQ(stat.l3IpIhl, 5u);
    EXPECT_EQ(stat.l3IpOuterIhl, 5u);
    EXPECT_EQ(stat.l4Offset, 34u);
    EXPECT_EQ(stat.l3Offset, 14u);
    EXPECT_EQ(stat.l3IpDscp, 0x2fu);
    EXPECT_EQ(stat.l3IpDscpOuter, 0x2fu);
    EXPECT_EQ(stat.l3IpEcn, 1u);
    EXPECT_EQ(stat.l3IpTlen, 60u);
    EXPECT_EQ(stat.l3Ipv4DntFrg, 1u);
    EXPECT_EQ(stat.l3Ipv4MorFrg, 1u);
    EXPECT_EQ(stat.l3Ipv4Flag, 7u);
    EXPECT_EQ(stat.l3Ipv4FrgOffset, 0x1234u);
    EXPECT_EQ(stat.l3IpTtl, 33u);
    EXPECT_EQ(stat.l3IpUlp, 6u);
    EXPECT_EQ(stat.l3IpSa0, 0x0a010203u);
    EXPECT_EQ(stat.l3IpDa0, 0xc0a80105u);
    EXPECT_EQ(stat.l3IpSa1, 5u);
    EXPECT_EQ(stat.l3IpDaIsMcast, 0u);
    EXPECT_EQ(stat.l3IpDaIsRpAddr, 0u);
    EXPECT_EQ(stat.l3PrcHdrUnk, 0u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_OUTER_IPV4], 1u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_OUTER_IPV4], 12u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_INNER_IPV4], 0u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_PIM], 0u);
}

TEST_F(PrcL3Ipv4Test, SingleFlagBits) {
    place(plain({.flagsFrag = 0x4000}));
    parse();
    EXPECT_EQ(stat.l3Ipv4DntFrg, 1u);
    EXPECT_EQ(stat.l3Ipv4MorFrg, 0u);
    EXPECT_EQ(stat.l3Ipv4Flag, 2u);
    place(plain({.flagsFrag = 0x2000}));
    parse();
    EXPECT_EQ(stat.l3Ipv4DntFrg, 0u);
    EXPECT_EQ(stat.l3Ipv4MorFrg, 1u);
    EXPECT_EQ(stat.l3Ipv4Flag, 1u);
    place(plain({.flagsFrag = 0x8000}));
    parse();
    EXPECT_EQ(stat.l3Ipv4DntFrg, 0u);
    EXPECT_EQ(stat.l3Ipv4MorFrg, 0u);
    EXPECT_EQ(stat.l3Ipv4Flag, 4u);
}

TEST_F(PrcL3Ipv4Test, DscpGoesToPathSelectionByTypeModeOrAllowance) {
    const auto bytes = plain({.tos = 0x28});
    auto run = [&](uint32_t mode, uint32_t allow) {
        port.rte_prc_typ_mode = mode;
        port.rte_prc_typ_alw_l3_dscp = allow;
        place(bytes);
        parse();
        EXPECT_EQ(stat.l2PselDscp, stat.IpDscpForPsel);
        return stat.l2PselDscp;
    };
    EXPECT_EQ(run(0, 0), 0u);
    EXPECT_EQ(run(1, 0), 0u);
    EXPECT_EQ(run(2, 0), 10u);
    EXPECT_EQ(run(3, 0), 10u);
    EXPECT_EQ(run(0, 1), 10u);
}

TEST_F(PrcL3Ipv4Test, Ihl4WithItsCheckOffIsParsedAs5AndItsChecksumFails) {
    auto bytes = plain({});
    bytes[kL3] = 0x44;
    fixCksum(bytes, kL3, 20); // would check over 20 bytes, and does not matter
    port.rte_prc_l3_ipv4_ck_cksum = 1;
    place(bytes);
    EXPECT_EQ(parse(), 1u);
    EXPECT_EQ(stat.l3IpIhl, 4u);
    EXPECT_EQ(stat.l4Offset, 34u);
    expectVerdict(0, 0, 18);
}

TEST_F(PrcL3Ipv4Test, TotalLengthIsHeldAgainstTheIhlAsWritten) {
    port.rte_prc_l3_ipv4_ck_tlen = 1;
    auto bytes = plain({});
    bytes[kL3] = 0x44;
    bytes[kL3 + 3] = 16; // 4 times 4: enough, although the header is parsed with 20 bytes
    place(bytes);
    parse();
    expectVerdict(0, 0, 0);
    bytes[kL3 + 3] = 15;
    place(bytes);
    parse();
    expectVerdict(0, 0, 13);
    EXPECT_EQ(stat.l3IpTlen, 15u);
    place(plain({.tlen = 20}));
    parse();
    expectVerdict(0, 0, 0);
}

TEST_F(PrcL3Ipv4Test, IhlAbove6Lines) {
    auto bytes = plain({});
    bytes[kL3] = 0x4f;
    bytes[kL3 + 3] = 60;
    const std::string head = "CM port=3, frameIdx=7>> Ipv4 IHL (15) > 5 detected ";
    const std::string addr = "CM port=3, frameIdx=7>> Ipv4 : TTL = 64, DA=0x0a000002, SA=0x0a000001\n";
    place(bytes);
    EXPECT_EQ(parseLines(3), head + "but ignored, ck_ihl=0 trap_rsn=0 drop_rsn=0\n" + addr);
    port.rte_prc_l3_ipv4_ck_ihl_gt5 = 1;
    place(bytes);
    EXPECT_EQ(parseLines(3), head + "and dropped\n" + addr);
    port.rte_prc_l3_ipv4_trap_ihl_gt5_err = 1;
    place(bytes);
    EXPECT_EQ(parseLines(3), head + "and trapped\n" + addr);
    place(bytes);
    stat.l3PrcTrapRsn = 4;
    EXPECT_EQ(parseLines(3), head + "but ignored, ck_ihl=1 trap_rsn=4 drop_rsn=0\n" + addr);
    place(bytes);
    stat.l3PrcDropRsn = 13;
    EXPECT_EQ(parseLines(3), head + "but ignored, ck_ihl=1 trap_rsn=0 drop_rsn=13\n" + addr);
    place(bytes);
    EXPECT_EQ(parseLines(2), addr);
    place(bytes);
    EXPECT_EQ(parseLines(1), "");
}

TEST_F(PrcL3Ipv4Test, Ihl6AndAnInnerIhl7AreSilent) {
    port.rte_prc_l3_ipv4_ck_ihl_gt5 = 1;
    place(plain({.tlen = 24, .options = {0x94, 4, 0, 0}}));
    EXPECT_EQ(parseLines(), "CM port=3, frameIdx=7>> Ipv4 : TTL = 64, DA=0x0a000002, SA=0x0a000001\n");
    EXPECT_EQ(stat.l4Offset, 38u);
    expectVerdict(0, 0, 0);

    place(pimReg({}, {.tlen = 28, .options = std::vector<uint8_t>(8)}));
    EXPECT_EQ(parseLines().find("IHL"), std::string::npos);
    EXPECT_EQ(stat.l3IpIhl, 7u);
    EXPECT_EQ(stat.l3IpOuterIhl, 5u);
    expectVerdict(0, 0, 0);
}

TEST_F(PrcL3Ipv4Test, MulticastNeedsPrefixMacPrefixAndTheLow23BitsToAgree) {
    struct Case {
        uint32_t da;
        uint64_t mac;
        bool err;
        uint32_t ipMcast, macMcast;
        const char *lo;
    };
    const Case cases[] = {
        {0xe1812345, 0x01005e012345, false, 1, 1, ""}, // bits above the 23 low ones do not count
        {0xe1812345, 0x01005e812345, false, 1, 1, ""},
        {0xe1812345, 0x01005e012344, true, 1, 1, "12345_12344"},
        {0xe1c12345, 0x01005e012345, true, 1, 1, "412345_12345"},
        {0xe1812345, 0x01005f012345, true, 1, 0, "12345_12345"},
        {0x0a812345, 0x01005e012345, true, 0, 1, "12345_12345"},
        {0x0a812345, 0x020000012345, false, 0, 0, ""},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.da << " " << c.mac);
        const auto bytes = plain({.da = c.da});
        port.rte_prc_l3_ipv4_ck_da_mcast = 1;
        for (uint32_t off = 0; off < 2; off++) {
            port.rte_prc_l3_ipv4_mcast_off = off;
            place(bytes);
            stat.l2Da = c.mac;
            const std::string out = parseLines(2);
            const bool err = c.err && !off;
            expectVerdict(0, 0, err ? 15 : 0);
            EXPECT_EQ(stat.l3IpDaIsMcast, off || c.err ? 0 : c.ipMcast);
            std::ostringstream line;
            line << "CM port=3, frameIdx=7>> IPv4 IP mcast DA check ip_da_mcast=" << c.ipMcast
                 << " mac_da_mcast=" << c.macMcast << " lo_23b=" << c.lo << " trap_rsn=0 drop_rsn=15\n";
            EXPECT_EQ(out.find("mcast DA check") != std::string::npos, err);
            EXPECT_EQ(out.find(line.str()) != std::string::npos, err) << out;
        }
        port.rte_prc_l3_ipv4_mcast_off = 0;
        port.rte_prc_l3_ipv4_ck_da_mcast = 0;
        place(bytes);
        stat.l2Da = c.mac;
        EXPECT_EQ(parseLines(2).find("mcast DA check"), std::string::npos);
        EXPECT_EQ(stat.l3IpDaIsMcast, c.ipMcast);
    }
}

TEST_F(PrcL3Ipv4Test, MulticastFlagIsWrittenWhateverStoodThere) {
    // An IP unicast to a multicast MAC: with the check on the disagreement clears the flag, else the DA does; so does
    // the inner header's DA.
    const auto bytes = plain({.da = 0x0a000001});
    for (uint32_t ck = 0; ck < 2; ck++) {
        port.rte_prc_l3_ipv4_ck_da_mcast = ck;
        place(bytes);
        stat.l2Da = 0x01005e000001;
        stat.l3IpDaIsMcast = 1;
        parse();
        expectVerdict(0, 0, ck ? 15 : 0);
        EXPECT_EQ(stat.l3IpDaIsMcast, 0u);
    }
    place(bytes);
    stat.l3IpDaIsMcast = 1;
    uint32_t cksumErr = 0;
    PrcL3Ipv4(&stat, 1, cksumErr);
    EXPECT_EQ(stat.l3IpDaIsMcast, 0u);
}

TEST_F(PrcL3Ipv4Test, MulticastLineStandsEvenWhenAnEarlierReasonBlocksTheError) {
    port.rte_prc_l3_ipv4_ck_da_mcast = 1;
    port.rte_prc_l3_ipv4_trap_da_mcast_err = 1;
    place(plain({.da = 0xe0000005}));
    stat.l3PrcTrapRsn = 8;
    const std::string line = "IPv4 IP mcast DA check ip_da_mcast=1 mac_da_mcast=0 lo_23b=5_1 trap_rsn=8 drop_rsn=0\n";
    EXPECT_NE(parseLines(2).find("CM port=3, frameIdx=7>> " + line), std::string::npos);
    place(plain({.da = 0xe0000005}));
    EXPECT_EQ(parseLines(1), "");
    place(plain({.da = 0xe0000005}));
    EXPECT_NE(parseLines(2).find("trap_rsn=7 drop_rsn=0\n"), std::string::npos);
}

TEST_F(PrcL3Ipv4Test, TtlAppliesToWhatDoesNotCountAsMulticast) {
    port.rte_prc_l3_ipv4_ck_ttl = 1;
    // An IP multicast to a unicast MAC: with the check on the flag falls and so TTL counts.
    const auto bytes = plain({.da = 0xe0000005, .ttl = 1});
    place(bytes);
    parse();
    EXPECT_EQ(stat.l3IpDaIsMcast, 1u);
    expectVerdict(0, 0, 0);
    port.rte_prc_l3_ipv4_ck_da_mcast = 1;
    place(bytes);
    stat.l3PrcTrapRsn = 0;
    parse();
    EXPECT_EQ(stat.l3IpDaIsMcast, 0u);
    expectVerdict(0, 0, 15); // the multicast error came first ...
    port.rte_prc_l3_ipv4_ck_da_mcast = 0;
    port.rte_prc_l3_ipv4_mcast_off = 1;
    place(bytes);
    parse();
    expectVerdict(0, 0, 14); // ... and with multicast off the TTL error stands alone

    port.rte_prc_l3_ipv4_mcast_off = 0;
    place(plain({.ttl = 0}));
    parse();
    expectVerdict(0, 0, 14);
    place(plain({.ttl = 2}));
    parse();
    expectVerdict(0, 0, 0);
}

TEST_F(PrcL3Ipv4Test, HeaderChecksumReplacesAnyOtherVerdictButItself) {
    auto bytes = plain({.ttl = 1});
    bytes[kL3 + 11] ^= 1;
    port.rte_prc_l3_ipv4_ck_ttl = 1;
    port.rte_prc_l3_ipv4_trap_ttl_err = 1;
    place(bytes);
    EXPECT_EQ(parse(), 1u);
    expectVerdict(kQueTtl, 5, 0); // check off: the error is only handed back

    const std::string head = "CM port=3, frameIdx=7>> Ipv4 header checksum Err. ";
    port.rte_prc_l3_ipv4_ck_cksum = 1;
    place(bytes);
    EXPECT_NE(parseLines(2).find(head + "L3_DROP\n"), std::string::npos);
    expectVerdict(0, 0, 18);
    port.rte_prc_l3_ipv4_trap_cksum_err = 1;
    place(bytes);
    EXPECT_NE(parseLines(2).find(head + "L3_TRAP\n"), std::string::npos);
    expectVerdict(kQueCksum, 10, 0);
    port.rte_prc_l3_ipv4_trap_ttl_err = 0;
    place(bytes);
    EXPECT_EQ(parseLines(1), "");
    expectVerdict(kQueCksum, 10, 0);

    place(bytes);
    stat.l3PrcDropRsn = 18;
    EXPECT_EQ(parseLines(2).find("checksum"), std::string::npos);
    expectVerdict(0, 0, 18);
    port.rte_prc_l3_ipv4_trap_cksum_err = 0;
    place(bytes);
    stat.l3PrcTrapRsn = 10;
    EXPECT_EQ(parseLines(2).find("checksum"), std::string::npos);
    expectVerdict(0, 10, 0);
}

TEST_F(PrcL3Ipv4Test, HeaderChecksumCoversTheOptions) {
    port.rte_prc_l3_ipv4_ck_cksum = 1;
    auto bytes = plain({.tlen = 60, .options = std::vector<uint8_t>(40, 0xff)});
    place(bytes);
    EXPECT_EQ(parse(), 0u);
    expectVerdict(0, 0, 0);
    bytes[kL3 + 59] = 0;
    place(bytes);
    EXPECT_EQ(parse(), 1u);
    expectVerdict(0, 0, 18);
}

TEST_F(PrcL3Ipv4Test, IcmpTypeIsReadOnlyInAnUnfragmentedIcmpPacket) {
    auto icmp = [](Frame::Ipv4 h) { return Frame().mac(kMacUc, 2).etyp(0x0800).ipv4(h).num(0x0b01, 2).fill(6).bytes; };
    place(icmp({.ulp = kUlpIcmp}));
    parse();
    EXPECT_EQ(stat.l3Ipv4IcmpTyp, 0x0b01u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_ICMPV4], 1u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_ICMPV4], 34u);

    place(icmp({.ulp = kUlpIcmp, .flagsFrag = 0x2000}));
    parse();
    EXPECT_EQ(stat.l3Ipv4IcmpTyp, 0x0b01u) << "the first fragment has it";
    place(icmp({.ulp = kUlpIcmp, .flagsFrag = 1}));
    parse();
    EXPECT_EQ(stat.l3Ipv4IcmpTyp, 0u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_ICMPV4], 0u);
    place(icmp({.ulp = 2}));
    parse();
    EXPECT_EQ(stat.l3Ipv4IcmpTyp, 0u);

    // (14 + 27) without its low bits is 40: the type is read from 41 bytes on, and its lack is no error.
    port.rte_prc_l3_ipv4_trap_eof_err = 1;
    place(icmp({.ulp = kUlpIcmp}), 40);
    parse();
    EXPECT_EQ(stat.l3Ipv4IcmpTyp, 0u);
    expectVerdict(0, 0, 0);
    place(icmp({.ulp = kUlpIcmp}), 41);
    parse();
    EXPECT_EQ(stat.l3Ipv4IcmpTyp, 0x0b01u);
    expectVerdict(0, 0, 0);
}

TEST_F(PrcL3Ipv4Test, EndOfFrameReplacesEveryVerdictButAChecksum) {
    auto bytes = plain({.ttl = 1});
    port.rte_prc_l3_ipv4_ck_ttl = 1;
    port.rte_prc_l3_ipv4_trap_ttl_err = 1;
    // 36 bytes: all fields are there, the header itself is not.
    place(bytes, 36);
    EXPECT_EQ(parseLines(2), "CM port=3, frameIdx=7>> IPv4 EOF detected, trap_rsn=0 drp_rsn=12\n");
    expectVerdict(0, 0, 12);
    EXPECT_EQ(stat.l3PrcHdrUnk, 1u);
    port.rte_prc_l3_ipv4_trap_eof_err = 1;
    place(bytes, 36);
    stat.l3PrcDropRsn = 13;
    EXPECT_EQ(parseLines(2), "CM port=3, frameIdx=7>> IPv4 EOF detected, trap_rsn=4 drp_rsn=0\n");
    expectVerdict(kQueHdrVio, 4, 0);
    place(bytes, 36);
    EXPECT_EQ(parseLines(1), "");

    for (uint32_t trap = 0; trap < 2; trap++) {
        port.rte_prc_l3_ipv4_trap_eof_err = trap;
        place(bytes, 36);
        stat.l3PrcDropRsn = 18;
        stat.l3Ipv4Ihl6ErrCanWin = 13;
        EXPECT_EQ(parseLines(2), "CM port=3, frameIdx=7>> IPv4 EOF detected, trap_rsn=0 drp_rsn=18\n");
        expectVerdict(0, 0, 18);
        EXPECT_EQ(stat.l3Ipv4Ihl6ErrCanWin, 0u);
        place(bytes, 36);
        stat.l3PrcTrapRsn = 10;
        parse();
        expectVerdict(0, 10, 0);
    }
}

TEST_F(PrcL3Ipv4Test, ResetVoidsTheHeaderAndKeepsTheRest) {
    std::memset(
        static_cast<void *>(&stat.l3IpVer), 0xff,
        static_cast<size_t>(reinterpret_cast<char *>(&stat.l4Offset) - reinterpret_cast<char *>(&stat.l3IpVer)));
    stat.l2PselDscp = stat.IpDscpForPsel = stat.l3IpEcn = 7;
    PrcL3RstHdr(&stat);
    EXPECT_EQ(stat.l3PrcHdrUnk, 1u);
    for (uint32_t value : {stat.l3Ipv4DntFrg, stat.l3Ipv4MorFrg, stat.l3Ipv4FrgOffset, stat.l3IpEcn, stat.l3IpDscp,
                           stat.l3IpDscpOuter, stat.l2PselDscp, stat.IpDscpForPsel, stat.l3IpMcastRegEncap,
                           stat.l3IpUlp, stat.l3IpDaIsMcast, stat.l3IpTlen, stat.l3Ipv6IcmpTyp})
        EXPECT_EQ(value, 0u);
    for (uint64_t value : {stat.l3IpDa0, stat.l3IpDa1, stat.l3IpSa0, stat.l3IpSa1})
        EXPECT_EQ(value, 0u);
    for (uint32_t value : {stat.l3IpTtl, stat.l3Ipv4IcmpTyp, stat.l3PrcTrapQue, stat.l3PrcTrapRsn, stat.l3PrcDropRsn,
                           stat.l3Ipv4Flag, stat.l3IpIhl, stat.l3IpOuterIhl, stat.l3IpUlpIsPim, stat.l3IpDaIsRpAddr,
                           stat.l3IpDaRpIdx, stat.l3Offset, stat.l3IpVer, stat.l3Ipv4Ihl6ErrCanWin})
        EXPECT_EQ(value, 0xffffffffu);
}

// The header stands at 14. The end tests fall on words, so that 16 (14 + 4 = 18) must lie inside the frame for the
// first byte, 20 (14 + 7 = 21) for the length, 24 (14 + 10 to 13 = 24 to 27) for offset, TTL and protocol, 32
// (14 + 19 = 33) for the SA and 36 (14 + 23 = 37) for the DA and the whole header.
TEST_F(PrcL3Ipv4Test, PlainHeaderCutAtEveryLength) {
    const auto bytes = plain({.sa = 0x0a000001, .ulp = 6, .tos = 4, .flagsFrag = 0x4000, .tlen = 20});
    for (size_t len = 1; len <= bytes.size() + 4; len++) {
        SCOPED_TRACE(len);
        place(bytes, len);
        parse();
        const bool whole = len > 36;
        expectVerdict(0, 0, whole ? 0 : 12);
        EXPECT_EQ(stat.l3PrcHdrUnk, whole ? 0 : 1);
        EXPECT_EQ(stat.l4Offset, len > 16 ? 34 : 0);
        // What lies in the last four bytes, the place of the FCS, is read as 0: IHL at 14, flags at 20, TTL at 22.
        EXPECT_EQ(stat.l3IpOuterIhl, len > 18 ? 5 : 0);
        EXPECT_EQ(stat.l3Ipv4Flag, len > 24 ? 2 : 0);
        EXPECT_EQ(stat.l3IpTtl, len > 26 ? 64 : 0);
        EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_OUTER_IPV4], len > 24 ? 1 : 0);
        EXPECT_EQ(stat.l3IpUlp, whole ? 6 : 0);
        EXPECT_EQ(stat.l3IpSa0, whole ? 0x0a000001u : 0u);
        EXPECT_EQ(stat.l3IpDscp, whole ? 1 : 0);
    }
}

TEST_F(PrcL3Ipv4Test, HeaderWithOptionsCutAtEveryLength) {
    const auto bytes = plain({.tlen = 60, .options = std::vector<uint8_t>(40, 1)});
    for (size_t len = 1; len <= bytes.size() + 4; len++) {
        SCOPED_TRACE(len);
        place(bytes, len);
        parse();
        // 14 + 4 * 15 + 3 = 77: the word at 76 must lie inside.
        expectVerdict(0, 0, len > 76 ? 0 : 12);
    }
}

// Wherever the header stands, each field has its own end test, with its own number of bytes, at the grain of words.
TEST_F(PrcL3Ipv4Test, EndTestsFollowTheHeaderToAnyOffset) {
    for (uint32_t start = 14; start < 18; start++) {
        const auto bytes =
            Frame().fill(start).ipv4({.ulp = kUlpIcmp, .flagsFrag = 0x4000, .tlen = 20}).num(0x0b01, 2).fill(40).bytes;
        for (uint32_t len = 1; len <= bytes.size(); len++) {
            SCOPED_TRACE(testing::Message() << start << " " << len);
            place(bytes);
            setFrameLen(len);
            stat.l3Offset = start;
            auto reached = [&](uint32_t n) { return (start + n) / 4 * 4 < len; };
            const bool hasLine = parseLines(2).find("Ipv4 : TTL = 64, ") != std::string::npos;
            EXPECT_EQ(stat.l4Offset, reached(4) ? start + 20 : 0);
            EXPECT_EQ(stat.l3Ipv4Flag, reached(7) ? 2 : 0);
            EXPECT_EQ(stat.l3IpTtl, reached(11) ? 64 : 0);
            EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_OUTER_IPV4], reached(13) ? 1 : 0);
            EXPECT_EQ(hasLine, reached(23));
            expectVerdict(0, 0, reached(23) ? 0 : 12);
            EXPECT_EQ(stat.l3Ipv4IcmpTyp, reached(27) ? 0x0b01 : 0);
        }
    }
}

class Ihl6Test : public PrcL3Ipv4Test {
protected:
    Ihl6Test() {
        port.rte_prc_l3_ipv4_ck_ihl_gt5 = 1;
        reset();
    }
    void reset() {
        place(plain({}));
        stat.l3IpOuterIhl = 6;
        stat.l3PrcTrapQue = 14;
    }
    std::string check(uint32_t dbgLvl) {
        return lines([this] { ckIpv4Ihl6NotRouterAlrt(&stat); }, dbgLvl);
    }
};

TEST_F(Ihl6Test, TrapDropAndIgnoreWithTheirLines) {
    EXPECT_EQ(check(3), "CM port=3, frameIdx=7>> Ipv4 IHL = 6 detected and dropped\n");
    expectVerdict(14, 0, 19); // the queue stays
    reset();
    port.rte_prc_l3_ipv4_trap_ihl_gt5_err = 1;
    EXPECT_EQ(check(3), "CM port=3, frameIdx=7>> Ipv4 IHL = 6 detected and trapped\n");
    expectVerdict(kQueIhlGt5, 11, 0);
    reset();
    EXPECT_EQ(check(2), "");
    expectVerdict(kQueIhlGt5, 11, 0);
    reset();
    port.rte_prc_l3_ipv4_ck_ihl_gt5 = 0;
    EXPECT_EQ(check(3), "CM port=3, frameIdx=7>> Ipv4 IHL == 6 detected but ignored, ck_ihl=0 trap_rsn=0 drop_rsn=0\n");
    expectVerdict(14, 0, 0);
    EXPECT_EQ(check(2), "");
}

TEST_F(Ihl6Test, OnlyAnIpv4FrameWithAnOuterIhlOf6IsJudged) {
    stat.l3IpVer = 6;
    EXPECT_EQ(check(4), "");
    expectVerdict(14, 0, 0);
    for (uint32_t ihl : {0u, 5u, 7u}) {
        reset();
        stat.l3IpOuterIhl = ihl;
        stat.l3IpIhl = 6;
        EXPECT_EQ(check(4), "");
        expectVerdict(14, 0, 0);
    }
}

TEST_F(Ihl6Test, ReplacesOnlyLatchedReasonsOfItsTwoLists) {
    auto inList = [](uint32_t rsn, std::initializer_list<uint32_t> list) {
        for (uint32_t entry : list)
            if (entry == rsn)
                return true;
        return false;
    };
    for (uint32_t trap = 0; trap < 2; trap++) {
        port.rte_prc_l3_ipv4_trap_ihl_gt5_err = trap;
        for (uint32_t rsn = 1; rsn < 40; rsn++) {
            SCOPED_TRACE(rsn);
            for (bool latched : {false, true}) {
                reset();
                stat.l3PrcTrapRsn = rsn;
                stat.l3Ipv4Ihl6ErrCanWin = latched ? rsn : 0;
                check(0);
                if (latched && inList(rsn, {4, 5, 7, 8, 19}))
                    expectVerdict(trap ? kQueIhlGt5 : 14, trap ? 11 : 0, trap ? 0 : 19);
                else
                    expectVerdict(14, rsn, 0);

                reset();
                stat.l3PrcDropRsn = rsn;
                stat.l3Ipv4Ihl6ErrCanWin = latched ? rsn : 0;
                const std::string out = check(3);
                if (latched && inList(rsn, {13, 14, 15, 16, 35})) {
                    expectVerdict(trap ? kQueIhlGt5 : 14, trap ? 11 : 0, trap ? 0 : 19);
                } else {
                    expectVerdict(14, 0, rsn);
                    EXPECT_EQ(out, "CM port=3, frameIdx=7>> Ipv4 IHL == 6 detected but ignored, ck_ihl=1 trap_rsn=0 "
                                   "drop_rsn=" +
                                       std::to_string(rsn) + "\n");
                }
            }
        }
    }
    // Both reasons must allow it.
    reset();
    stat.l3PrcTrapRsn = 4;
    stat.l3PrcDropRsn = 13;
    stat.l3Ipv4Ihl6ErrCanWin = 13;
    check(0);
    expectVerdict(14, 4, 13);
}

TEST_F(Ihl6Test, BeatsInnerErrorsAndTheNullRegisterButNotOuterErrors) {
    port.rte_prc_l3_ipv4_ck_ttl = 1;
    port.rte_prc_l3_ck_pim_null = 1;
    const std::vector<uint8_t> options = {1, 1, 1, 1};
    place(pimReg({.options = options}, {.ttl = 1}));
    parse();
    expectVerdict(0, 0, 14);
    check(0);
    expectVerdict(0, 0, 19);

    place(pimReg({.options = options}, {}, true));
    parse();
    expectVerdict(0, 0, 35);
    check(0);
    expectVerdict(0, 0, 19);

    place(pimReg({.ttl = 1, .options = options}, {}));
    parse();
    check(0);
    expectVerdict(0, 0, 14);

    // A frame that ends in the inner header behind an inner error: the end of the frame stays.
    auto bytes = pimReg({.options = options}, {});
    bytes[kL3 + 24 + 8] = 0x55;
    port.rte_prc_l3_ipv4_ck_ver = 1;
    place(bytes, 60);
    parse();
    expectVerdict(0, 0, 12);
    EXPECT_EQ(stat.l3Ipv4Ihl6ErrCanWin, 0u);
    check(0);
    expectVerdict(0, 0, 12);
}

} // namespace
