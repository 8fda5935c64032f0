// The parser's driver: port identity, the cleared FCS, and which parsers run behind layer 2.

#include "frame_builder.h"
#include "prc_fixture.h"

namespace {

constexpr uint32_t kTcp = 6;
constexpr uint32_t kUdp = 17;
constexpr uint32_t kIcmp4 = 1;
constexpr uint32_t kIcmp6 = 58;

class CmRtePrcTest : public PrcTest {
protected:
    CmRtePrcTest() {
        com.rte_l3_ulp_tcp = kTcp;
        com.rte_l3_ulp_udp = kUdp;
        com.rte_l3_ulp_ipv4_icmp = kIcmp4;
        com.rte_l3_ulp_icmp = kIcmp6;
        com.rte_l3_ipv6_frag_ext = 44;
        com.rte_l3_ipv6_max_len = 0xfff;
        com.rte_l3_ipv6_ulp_msk[4] = 1u << 3; // 99
        com.rte_l3_ipv6_ulp_msk[7] = 1u << kIcmp4;
        port.rte_prc_lgc_port = 4;
    }

    /// Runs the stage over `bytes`, the last four of which are the FCS.
    void run(const std::vector<uint8_t> &bytes) {
        begin(bytes);
        EXPECT_EQ(printed([&] { CmRtePrc(&stat); }), "");
    }
    static std::vector<uint8_t> ipv4(uint32_t ulp, uint32_t flagsFrag = 0) {
        return Frame()
            .mac(kDa, kSa)
            .etyp(kIpv4Etyp)
            .ipv4({.ulp = ulp, .flagsFrag = flagsFrag, .tlen = 40})
            .tcp(0x1234, 0x5678)
            .fill(14)
            .bytes;
    }
    /// `fragOffset` above 0 puts a fragment header in front of the payload.
    static std::vector<uint8_t> ipv6(uint32_t ulp, int fragOffset = -1) {
        Frame frame;
        frame.mac(kDa, kSa).etyp(kIpv6Etyp);
        frame.ipv6({.nxtHdr = fragOffset < 0 ? ulp : 44, .plen = fragOffset < 0 ? 20u : 28u});
        if (fragOffset >= 0)
            frame.num(ulp, 1).num(0, 1).num(static_cast<uint32_t>(fragOffset) << 3 | 1, 2).num(1, 4);
        return frame.tcp(0x1234, 0x5678).fill(14).bytes;
    }
    uint32_t nonTcpUdp() const { return stat.flexKeyDetected[FLEX_KEY_NON_TCP_UDP_AFTER_IP]; }
};

TEST_F(CmRtePrcTest, PortIdentity) {
    rte->extCfg.chipId = 3;
    rte->extCfg.lagIdLst[4] = 77;
    port.rte_prc_l2_lu_en = 0;
    run(ipv4(kTcp));
    EXPECT_EQ(stat.ingLgcPort, 4u);
    EXPECT_EQ(stat.ingLgcPortFul, 4u);
    EXPECT_EQ(stat.ingLagId, 77u);
    EXPECT_EQ(stat.l2PselIgid, 0x64u);
    EXPECT_EQ(stat.l2PselQcnEgrPort, 4u);
}

TEST_F(CmRtePrcTest, LogicalPortBeyondTheLagListIsInNoLag) {
    for (uint32_t &lagId : rte->extCfg.lagIdLst)
        lagId = 9;
    rte->extCfg.mtuLst[0] = 5; // a word behind the list
    port.rte_prc_lgc_port = 11;
    run(ipv4(kTcp));
    EXPECT_EQ(stat.ingLagId, 9u);
    for (uint32_t lgcPort : {12u, 63u}) {
        port.rte_prc_lgc_port = lgcPort;
        run(ipv4(kTcp));
        EXPECT_EQ(stat.ingLagId, 0u);
        EXPECT_EQ(stat.ingLgcPort, lgcPort);
        EXPECT_EQ(stat.l2PselIgid, lgcPort);
    }
}

TEST_F(CmRtePrcTest, FcsAndTheBytesBehindTheFrameAreCleared) {
    port.rte_prc_l2_lu_en = 0;
    begin(Frame().fill(20, 0xff).bytes);
    frameBuf.assign(60, 0xff);
    stat.frm = frameBuf.data();
    CmRtePrc(&stat);
    for (uint32_t i = 0; i < 60; i++)
        EXPECT_EQ(frameBuf[i], i < 16 || i >= 48 ? 0xff : 0) << i;
    for (uint32_t len : {3u, 4u}) {
        frameBuf.assign(60, 0xff);
        setFrameLen(len);
        CmRtePrc(&stat);
        EXPECT_EQ(frameBuf[0], len == 4 ? 0 : 0xff);
        EXPECT_EQ(frameBuf[31], len == 4 ? 0 : 0xff);
        EXPECT_EQ(frameBuf[32], 0xff);
    }
}

TEST_F(CmRtePrcTest, TypeWordInTheFcsIsNotSeen) {
    // The end test counts the FCS in; the half of the type word that lies in it reads 0.
    run(Frame().mac(kDa, kSa).etyp(kIpv6Etyp).fill(3).bytes);
    EXPECT_EQ(verdict(), kNoVerdict);
    EXPECT_EQ(stat.l2Etyp, kIpv6Etyp & 0xff00);
    EXPECT_EQ(stat.l3IpVer, 0u);
}

TEST_F(CmRtePrcTest, FrameWithoutIpIsUnknownToLayer3AndLeavesLayer4Alone) {
    const auto bytes = Frame().mac(kDa, kSa).etyp(0x9999).fill(50).bytes;
    for (uint32_t before : {0u, 1u}) {
        begin(bytes);
        stat.l4PrcHdrUnk = before;
        CmRtePrc(&stat);
        EXPECT_EQ(stat.l3PrcHdrUnk, 1u);
        EXPECT_EQ(stat.l4PrcHdrUnk, before);
    }
}

TEST_F(CmRtePrcTest, LaterStepsRunBehindADrop) {
    port.rte_prc_l2_lu_en = 0;
    port.rte_prc_def_dp = 2;
    port.rte_prc_def_iwpri = 5;
    port.rte_prc_def_que_pri = 6;
    run(ipv4(kTcp));
    EXPECT_EQ(verdict(), dropOf(DRP_NOT_EN));
    EXPECT_EQ(stat.l3PrcHdrUnk, 1u);
    EXPECT_EQ(stat.igPriMapDrpPrcd, 2u);
    EXPECT_EQ(stat.igPriMapIwpri, 5u);
    EXPECT_EQ(stat.igPriMapQuePri, 6u);
    // The closing step: byte 0 of the first flex key is the frame's sixth.
    port.rte_prc_l2_lu_en = 1;
    port.rte_prc_l2_ck_sa_bmcast = 1;
    com.rte_flex_key[0][0].header = FLEX_KEY_OUTER_MAC;
    com.rte_flex_key[0][0].offset = 5;
    run(Frame().mac(kDa, 0x010000000001).etyp(kIpv4Etyp).fill(50).bytes);
    EXPECT_EQ(verdict(), dropOf(DRP_L2_SA));
    EXPECT_EQ(stat.flexKey0[5] & 0xff, kDa & 0xff);
}

TEST_F(CmRtePrcTest, StepsBehindTheHeadersInTheirOrder) {
    com.rte_flex_key[0][0].header = FLEX_KEY_OUTER_MAC;
    com.rte_flex_key[0][0].offset = 255; // behind the frame: the extraction says so
    begin(ipv4(kTcp));
    stat.dbgLvl = 4;
    const std::string out = printed([&] { CmRtePrc(&stat); });
    size_t at = 0;
    for (const char *step : {"Flex key TCP", "prc_typ_mode = ", "PRC L4 srcRngHit=", "Ingres QoS VLAN priority map",
                             "Skipped IP DSCP QoS map", "Flex key 0 offset 255 is either larger"}) {
        const size_t found = out.find(step);
        ASSERT_NE(found, std::string::npos) << step;
        EXPECT_GT(found, at) << step;
        at = found;
    }
}

TEST_F(CmRtePrcTest, Layer4IsUnknownWhenLayer3Is) {
    for (const auto &bytes : {ipv4(99), ipv6(99)}) {
        begin(bytes);
        stat.l4PrcHdrUnk = 1;
        CmRtePrc(&stat);
        EXPECT_NE(stat.l3IpVer, 0u);
        EXPECT_EQ(stat.l3PrcHdrUnk, 0u);
        EXPECT_EQ(stat.l4PrcHdrUnk, 0u);
    }
    auto bytes = ipv4(99);
    bytes.resize(30); // the header is cut off
    run(bytes);
    EXPECT_EQ(stat.l3PrcHdrUnk, 1u);
    EXPECT_EQ(stat.l4PrcHdrUnk, 1u);
}

TEST_F(CmRtePrcTest, Ipv4Layer4) {
    run(ipv4(kTcp));
    EXPECT_EQ(stat.l3IpVer, 4u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_TCP], 1u);
    EXPECT_EQ(stat.l4Src, 0x1234u);
    EXPECT_EQ(nonTcpUdp(), 0u);
    run(ipv4(kUdp));
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_UDP], 1u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_TCP], 0u);
    EXPECT_EQ(nonTcpUdp(), 0u);
    run(ipv4(99));
    EXPECT_EQ(nonTcpUdp(), 1u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_NON_TCP_UDP_AFTER_IP], stat.l4Offset);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_TCP] + stat.flexKeyDetected[FLEX_KEY_UDP], 0u);
}

TEST_F(CmRtePrcTest, TheIpHeaderBehindLayer2IsAnOuterOne) {
    run(ipv4(kTcp));
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_OUTER_IPV4], 1u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_OUTER_IPV4], 12u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_INNER_IPV4], 0u);
    EXPECT_EQ(stat.l3IpOuterIhl, 5u);
    run(ipv6(kTcp));
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_OUTER_IPV6], 1u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_OUTER_IPV6], 12u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_INNER_IPV6], 0u);
}

TEST_F(CmRtePrcTest, Ipv4IcmpIsDetectedAsOtherOnlyInALaterFragment) {
    run(ipv4(kIcmp4));
    EXPECT_EQ(nonTcpUdp(), 0u);
    run(ipv4(kIcmp4, 5));
    EXPECT_EQ(nonTcpUdp(), 1u);
    run(ipv4(kIcmp6));
    EXPECT_EQ(nonTcpUdp(), 1u) << "IPv6's number means nothing here";
}

TEST_F(CmRtePrcTest, Ipv4HeaderOfSixWordsIsCheckedOnce) {
    port.rte_prc_l3_ipv4_ck_ihl_gt5 = 1;
    for (uint32_t ulp : {kTcp, kUdp, kIcmp4, 99u}) {
        Frame frame = Frame().mac(kDa, kSa).etyp(kIpv4Etyp);
        frame.ipv4({.ulp = ulp, .tlen = 44, .options = {1, 1, 1, 1}}).fill(40);
        begin(frame.bytes);
        stat.dbgLvl = 4;
        const std::string out = printed([&] { CmRtePrc(&stat); });
        const size_t at = out.find("Ipv4 IHL");
        EXPECT_NE(at, std::string::npos) << ulp;
        EXPECT_EQ(out.find("Ipv4 IHL", at + 1), std::string::npos) << ulp;
    }
}

TEST_F(CmRtePrcTest, Ipv6Layer4) {
    run(ipv6(kTcp));
    EXPECT_EQ(stat.l3IpVer, 6u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_TCP], 1u);
    EXPECT_EQ(nonTcpUdp(), 0u);
    run(ipv6(kUdp));
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_UDP], 1u);
    run(ipv6(99));
    EXPECT_EQ(nonTcpUdp(), 1u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_NON_TCP_UDP_AFTER_IP], stat.l4Offset);
}

TEST_F(CmRtePrcTest, Ipv6IcmpIsDetectedAsOtherOnlyInALaterFragment) {
    run(ipv6(kIcmp6));
    EXPECT_EQ(nonTcpUdp(), 0u);
    run(ipv6(kIcmp6, 0));
    EXPECT_EQ(stat.l3Ipv6IsFragment, 1u);
    EXPECT_EQ(stat.l3Ipv6FirstFragment, 1u);
    EXPECT_EQ(nonTcpUdp(), 0u);
    run(ipv6(kIcmp6, 5));
    EXPECT_EQ(stat.l3Ipv6FirstFragment, 0u);
    EXPECT_EQ(nonTcpUdp(), 1u);
    run(ipv6(kIcmp4));
    EXPECT_EQ(nonTcpUdp(), 1u) << "IPv4's number means nothing here";
}

TEST_F(CmRtePrcTest, FcoeFramesHashTheirOwnKey) {
    // Only the FCoE key holds the port's number.
    com.rte_fcoe_hsh_msk[0] = com.rte_tcpip_hsh_msk[0] = 0xff;
    const auto fcoe = Frame().mac(kDa, kSa).etyp(0x8906).fill(100).bytes;
    for (const auto &bytes : {fcoe, ipv4(kTcp)}) {
        port.rte_prc_hsh_port = 1;
        run(bytes);
        const uint32_t first = stat.hshVal[0];
        port.rte_prc_hsh_port = 2;
        run(bytes);
        EXPECT_EQ(first != stat.hshVal[0], bytes == fcoe);
    }
}

TEST_F(CmRtePrcTest, PhysicalQueuePort) {
    for (uint32_t pause : {0u, 1u}) {
        begin({});
        macInf.isPauseFrm = pause;
        rslt = {};
        rslt.hsiShim0Rslt.rslt_typ = 3;
        rslt.shim1Rslt.egid = 55;
        PrcPhyq(&stat);
        EXPECT_EQ(rslt.shim0Rslt.dont_touch, 1u);
        EXPECT_EQ(rslt.hsiShim0Rslt.rslt_typ, pause ? 0u : 2u);
        EXPECT_EQ(rslt.shim1Rslt.egid, pause ? 0u : 55u);
        EXPECT_EQ(stat.dropRsn, 2u);
        EXPECT_EQ(stat.phyqRsltVld, 1u);
    }
}

} // namespace
