// TCP and UDP ports, router alert, type extraction and port ranges.

#include "frame_builder.h"
#include "model_fixture.h"
#include "prc/cmRtePrc.h"
#include "reg_name.h"

namespace {

const char kPfx[] = "CM port=0, frameIdx=0>> ";

class L4 : public ModelTest {
protected:
    static constexpr uint32_t kL4Offset = 34; // behind MACs, EtherType and an IPv4 header without options

    L4() {
        com.rte_l3_ulp_tcp = 6;
        com.rte_l3_ulp_udp = 17;
        com.rte_l3_ulp_icmp = 58;
        com.rte_l3_ulp_ipv4_icmp = 1;
        com.rte_l3_ipv4_rtr_alert_trap_que = 9;
        com.rte_l3_ipv4_ihl_gt5_trap_que = 5;
        stat.l3IpVer = 4;
    }
    /// Fills the frame up to layer 4.
    static Frame l3Frame() { return Frame().fill(kL4Offset, 0x5a); }
    /// Hands over `frame` as a frame of `len` bytes with its FCS place, cleared behind.
    void setL4Frame(const Frame &frame) {
        setFrame(frame.bytes);
        stat.l4Offset = kL4Offset;
    }
    /// The frame cut to `len` bytes with its last four cleared, as the driver leaves it.
    void cutFrame(Frame frame, uint32_t len) {
        frame.bytes.resize(len - 4);
        setL4Frame(frame);
    }
};

// ---- TCP

class L4Tcp : public L4 {
protected:
    L4Tcp() {
        stat.l3IpUlp = 6;
        setL4Frame(l3Frame().tcp(0x1234, 0xabcd, 0xd2));
    }
};

TEST_F(L4Tcp, PortsAreRead) {
    PrcL4Tcp(&stat);
    EXPECT_EQ(stat.l4Src, 0x1234u);
    EXPECT_EQ(stat.l4Dst, 0xabcdu);
    EXPECT_EQ(stat.l4TcpFlags, 0u);
    EXPECT_EQ(stat.l4PrcHdrUnk, 0u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_TCP], 1u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_TCP], 34u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_NON_TCP_UDP_AFTER_IP], 0u);
}

TEST_F(L4Tcp, FlagsAreKeptInModeThreeOrOnDemand) {
    for (uint32_t mode = 0; mode < 3; mode++) {
        port.rte_prc_typ_mode = mode;
        PrcL4Tcp(&stat);
        EXPECT_EQ(stat.l4TcpFlags, 0u) << mode;
    }
    port.rte_prc_typ_mode = 3;
    PrcL4Tcp(&stat);
    EXPECT_EQ(stat.l4TcpFlags, 0x12u); // the low six bits of 0xd2
    stat.l4TcpFlags = 0;
    port.rte_prc_typ_mode = 0;
    port.rte_prc_typ_alw_l4_tcp_flg = 1;
    PrcL4Tcp(&stat);
    EXPECT_EQ(stat.l4TcpFlags, 0x12u);
}

TEST_F(L4Tcp, TraceTellsPortsAndFlags) {
    port.rte_prc_typ_mode = 3;
    stat.dbgLvl = 3;
    EXPECT_EQ(printed([&] { PrcL4Tcp(&stat); }), std::string(kPfx) +
                                                     "Flex key TCP (19) detected at offset=34 val=0x12\n" + kPfx +
                                                     "PRC L4 (TCP), l4Src=0x1234, l4Dst=0xabcd, tcpFlags=0x12\n");
    stat.flexKeyDetected[FLEX_KEY_TCP] = 0;
    stat.dbgLvl = 2;
    EXPECT_EQ(printed([&] { PrcL4Tcp(&stat); }),
              std::string(kPfx) + "Flex key TCP (19) detected at offset=34 val=0x12\n");
}

TEST_F(L4Tcp, NonFirstFragmentHasNoPorts) {
    stat.l3Ipv4FrgOffset = 1;
    PrcL4Tcp(&stat);
    EXPECT_EQ(stat.l4Src, 0u);
    EXPECT_EQ(stat.l4Dst, 0u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_TCP], 0u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_NON_TCP_UDP_AFTER_IP], 1u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_NON_TCP_UDP_AFTER_IP], 34u);
}

TEST_F(L4Tcp, Ipv6FragmentHasPortsOnlyWhenItIsTheFirst) {
    stat.l3IpVer = 6;
    stat.l3Ipv6IsFragment = 1;
    PrcL4Tcp(&stat);
    EXPECT_EQ(stat.l4Src, 0u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_NON_TCP_UDP_AFTER_IP], 1u);
    stat.l3Ipv6FirstFragment = 1;
    PrcL4Tcp(&stat);
    EXPECT_EQ(stat.l4Src, 0x1234u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_TCP], 1u);
}

TEST_F(L4Tcp, FirstFragmentOfIpv4HasPorts) {
    stat.l3Ipv4MorFrg = 1;
    PrcL4Tcp(&stat);
    EXPECT_EQ(stat.l4Src, 0x1234u);
}

TEST_F(L4Tcp, ShortHeaderKeepsItsPortsAtEveryLength) {
    port.rte_prc_typ_mode = 3;
    for (uint32_t len = 34; len <= 64; len++) {
        resetStat();
        cutFrame(l3Frame().tcp(0x1234, 0xabcd, 0xd2), len);
        PrcL4Tcp(&stat);
        // 34 + 23 = 57, in words 56: a frame of at least 57 bytes holds the header.
        EXPECT_EQ(stat.l4PrcHdrUnk, len > 56 ? 0u : 1u) << len;
        // The last four bytes are the FCS and read 0.
        EXPECT_EQ(stat.l4Src, len >= 40 ? 0x1234u : len == 39 ? 0x1200u : 0u) << len;
        EXPECT_EQ(stat.l4Dst, len >= 42 ? 0xabcdu : len == 41 ? 0xab00u : 0u) << len;
        EXPECT_EQ(stat.l4TcpFlags, len > 56 ? 0x12u : 0u) << len;
    }
}

TEST_F(L4Tcp, ShortHeaderWritesNoTcpLine) {
    cutFrame(l3Frame().tcp(0x1234, 0xabcd), 56);
    verbose(true);
    EXPECT_EQ(printed([&] { PrcL4Tcp(&stat); }),
              std::string(kPfx) + "Flex key TCP (19) detected at offset=34 val=0x12\n");
}

// ---- UDP

class L4Udp : public L4 {
protected:
    L4Udp() {
        stat.l3IpUlp = 17;
        setL4Frame(l3Frame().udp(0x0014, 0x0208).fill(20));
    }
    /// An IPv4 packet with one option word that carries a router alert by the chip's test.
    void setRouterAlert() {
        stat.l3IpOuterIhl = 6;
        stat.l3IpDa0 = 0x7f000001;
    }
};

TEST_F(L4Udp, PortsAreReadAndTraced) {
    stat.dbgLvl = 3;
    EXPECT_EQ(printed([&] { PrcL4Udp(&stat); }), std::string(kPfx) + "PRC L4 (UDP), l4Src=0x14, l4Dst=0x208\n" + kPfx +
                                                     "Flex key UDP (20) detected at offset=34 val=0x0\n");
    EXPECT_EQ(stat.l4Src, 0x14u);
    EXPECT_EQ(stat.l4Dst, 0x208u);
    EXPECT_EQ(stat.l4PrcHdrUnk, 0u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_UDP], 34u);
    stat.flexKeyDetected[FLEX_KEY_UDP] = 0;
    stat.dbgLvl = 2;
    EXPECT_EQ(printed([&] { PrcL4Udp(&stat); }),
              std::string(kPfx) + "Flex key UDP (20) detected at offset=34 val=0x0\n");
}

TEST_F(L4Udp, NonFirstFragmentGoesThroughTheIhlCheck) {
    stat.l3Ipv4FrgOffset = 100;
    stat.l3IpOuterIhl = 6;
    port.rte_prc_l3_ipv4_ck_ihl_gt5 = 1;
    port.rte_prc_l3_ipv4_trap_ihl_gt5_err = 1;
    PrcL4Udp(&stat);
    EXPECT_EQ(stat.l4Src, 0u);
    EXPECT_EQ(stat.l4PrcHdrUnk, 0u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_UDP], 0u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_NON_TCP_UDP_AFTER_IP], 34u);
    EXPECT_EQ(stat.l3PrcTrapRsn, 11u);
    EXPECT_EQ(stat.l3PrcTrapQue, 5u);
}

TEST_F(L4Udp, Ipv6FragmentHasPortsOnlyWhenItIsTheFirst) {
    stat.l3IpVer = 6;
    stat.l3Ipv6IsFragment = 1;
    PrcL4Udp(&stat);
    EXPECT_EQ(stat.l4Src, 0u);
    EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_NON_TCP_UDP_AFTER_IP], 1u);
    stat.l3Ipv6FirstFragment = 1;
    PrcL4Udp(&stat);
    EXPECT_EQ(stat.l4Src, 0x14u);
}

TEST_F(L4Udp, RouterAlertIsTrapped) {
    setRouterAlert();
    port.rte_prc_l3_ipv4_trap_ihl_gt5_err = 1;
    stat.dbgLvl = 2;
    EXPECT_EQ(printed([&] { PrcL4Udp(&stat); }), std::string(kPfx) +
                                                     "Flex key UDP (20) detected at offset=34 val=0x0\n" + kPfx +
                                                     "IPv4 router alert option detected and trapped\n");
    EXPECT_EQ(stat.l3PrcTrapRsn, 22u);
    EXPECT_EQ(stat.l3PrcTrapQue, 9u);
    EXPECT_EQ(stat.l3PrcDropRsn, 0u);
    EXPECT_EQ(stat.l4Src, 20u);
}

TEST_F(L4Udp, RouterAlertIsDropped) {
    setRouterAlert();
    port.rte_prc_l3_ipv4_ck_ihl_gt5 = 0; // no say in it
    stat.dbgLvl = 2;
    EXPECT_EQ(printed([&] { PrcL4Udp(&stat); }), std::string(kPfx) +
                                                     "Flex key UDP (20) detected at offset=34 val=0x0\n" + kPfx +
                                                     "IPv4 router alert option detected and dropped\n");
    EXPECT_EQ(stat.l3PrcTrapRsn, 0u);
    EXPECT_EQ(stat.l3PrcTrapQue, 0u);
    EXPECT_EQ(stat.l3PrcDropRsn, 19u);
    stat.l3PrcDropRsn = 0;
    stat.dbgLvl = 1;
    EXPECT_EQ(printed([&] { PrcL4Udp(&stat); }), "");
}

TEST_F(L4Udp, IhlOtherThanSixIsNoRouterAlert) {
    setRouterAlert();
    for (uint32_t ihl : {5u, 7u, 15u}) {
        stat.l3IpOuterIhl = ihl;
        port.rte_prc_l3_ipv4_ck_ihl_gt5 = 1;
        PrcL4Udp(&stat);
        EXPECT_EQ(stat.l3PrcDropRsn, 0u) << ihl;
    }
}

/// Each missing sign of a router alert leads to the IHL-6 check, whose trap has a reason of its own.
class L4UdpNoAlert : public L4Udp {
protected:
    L4UdpNoAlert() {
        setRouterAlert();
        port.rte_prc_l3_ipv4_ck_ihl_gt5 = 1;
        port.rte_prc_l3_ipv4_trap_ihl_gt5_err = 1;
    }
};

TEST_F(L4UdpNoAlert, OtherSourcePort) {
    for (uint32_t src : {19u, 21u}) {
        stat.l3PrcTrapRsn = 0;
        setL4Frame(l3Frame().udp(src, 0x208).fill(20));
        PrcL4Udp(&stat);
        EXPECT_EQ(stat.l3PrcTrapRsn, 11u);
        EXPECT_EQ(stat.l3PrcTrapQue, 5u);
    }
}

TEST_F(L4UdpNoAlert, OtherDestinationNet) {
    for (uint32_t da : {0x7e000001u, 0x80000001u, 0xff000001u, 0x0000007fu}) {
        stat.l3PrcTrapRsn = 0;
        stat.l3IpDa0 = da;
        PrcL4Udp(&stat);
        EXPECT_EQ(stat.l3PrcTrapRsn, 11u);
    }
    stat.l3PrcTrapRsn = 0;
    stat.l3IpDa0 = 0x7fffffff;
    PrcL4Udp(&stat);
    EXPECT_EQ(stat.l3PrcTrapRsn, 22u);
}

TEST_F(L4UdpNoAlert, Ipv6) {
    stat.l3IpVer = 6;
    PrcL4Udp(&stat);
    EXPECT_EQ(stat.l3PrcTrapRsn, 0u); // and the IHL-6 check is IPv4's
}

TEST_F(L4UdpNoAlert, StandingTrap) {
    stat.l3PrcTrapRsn = 9;
    stat.l3PrcTrapQue = 3;
    PrcL4Udp(&stat);
    EXPECT_EQ(stat.l3PrcTrapRsn, 9u);
    EXPECT_EQ(stat.l3PrcTrapQue, 3u);
}

TEST_F(L4UdpNoAlert, StandingDrop) {
    stat.l3PrcDropRsn = 14;
    PrcL4Udp(&stat);
    EXPECT_EQ(stat.l3PrcDropRsn, 14u);
    EXPECT_EQ(stat.l3PrcTrapRsn, 0u);
}

TEST_F(L4Udp, ShortHeaderLosesItsPortsAtEveryLength) {
    for (uint32_t len = 34; len <= 60; len++) {
        resetStat();
        stat.l3IpVer = 4;
        stat.l3IpDa0 = 0x7f000001;
        stat.l3IpOuterIhl = 6;
        port.rte_prc_l3_ipv4_ck_ihl_gt5 = 1;
        port.rte_prc_l3_ipv4_trap_ihl_gt5_err = 1;
        cutFrame(l3Frame().udp(20, 0x208).fill(20), len);
        PrcL4Udp(&stat);
        // 34 + 7 = 41, in words 40; 34 + 11 = 45, in words 44.
        const bool alertSeen = len > 40;
        const bool whole = len > 44;
        EXPECT_EQ(stat.l4PrcHdrUnk, whole ? 0u : 1u) << len;
        EXPECT_EQ(stat.l4Src, whole ? 20u : 0u) << len;
        EXPECT_EQ(stat.l4Dst, whole ? 0x208u : 0u) << len;
        // Behind the first end test the alert wins, and the second run of the IHL-6 check finds its reason set.
        EXPECT_EQ(stat.l3PrcTrapRsn, alertSeen ? 22u : 11u) << len;
    }
}

// ---- type extraction

class Typ : public L4 {
protected:
    Typ() {
        port.rte_prc_typ_mode = 3;
        stat.l2Etyp = 0x0800;
        stat.l2TrillFound = 1;
        stat.l3IpUlp = 6;
        stat.l4Src = 0x1111;
        stat.l4Dst = 0x2222;
        stat.l3Ipv4IcmpTyp = 0x0800;
        stat.l3Ipv6IcmpTyp = 0x8000;
    }
    void expectTyp(uint32_t etyp, uint32_t trill, uint32_t llc, uint32_t ulp, uint32_t frag, uint32_t src,
                   uint32_t dst) {
        EXPECT_EQ(stat.typL2Etyp, etyp);
        EXPECT_EQ(stat.typL2TrillFound, trill);
        EXPECT_EQ(stat.typL2LlcDet, llc);
        EXPECT_EQ(stat.typL3Ulp, ulp);
        EXPECT_EQ(stat.typL3Frag, frag);
        EXPECT_EQ(stat.typL4Src, src);
        EXPECT_EQ(stat.typL4Dst, dst);
    }
    void expectPorts(uint32_t src, uint32_t dst, uint32_t typSrc, uint32_t typDst) {
        stat.l4Src = src;
        stat.l4Dst = dst;
        PrcTyp(&stat);
        EXPECT_EQ(stat.typL4Src, typSrc);
        EXPECT_EQ(stat.typL4Dst, typDst);
    }
    std::string headTraces(uint32_t mode, const std::string &ver, const std::string &ulp) {
        return std::string(kPfx) + "prc_typ_mode = " + std::to_string(mode) + "\n" + kPfx +
               "check if PRC L4 is processed : Ip_ver=0x" + ver + " , L3 IP ULP=0x" + ulp +
               " , REG_RTE_l3_ulp_tcp=0x6 ,  REG_RTE_l3_ulp_udp=0x11 \n";
    }
};

TEST_F(Typ, ModeZeroFoldsNothingButTraces) {
    port.rte_prc_typ_mode = 0;
    stat.l2LlcDet = 1;
    stat.l2FcoeFound = 1;
    stat.dbgLvl = 4;
    EXPECT_EQ(printed([&] { PrcTyp(&stat); }), headTraces(0, "4", "6"));
    expectTyp(0, 0, 0, 0, 0, 0, 0);
    stat.dbgLvl = 3;
    EXPECT_EQ(printed([&] { PrcTyp(&stat); }), std::string(kPfx) + "prc_typ_mode = 0\n");
    stat.dbgLvl = 2;
    EXPECT_EQ(printed([&] { PrcTyp(&stat); }), "");
}

TEST_F(Typ, ModeOneFoldsLayerTwo) {
    port.rte_prc_typ_mode = 1;
    verbose(true);
    EXPECT_EQ(printed([&] { PrcTyp(&stat); }), headTraces(1, "4", "6"));
    expectTyp(0x800, 1, 0, 0, 0, 0, 0);
}

TEST_F(Typ, ModeTwoFoldsLayerThree) {
    port.rte_prc_typ_mode = 2;
    stat.l3Ipv4MorFrg = 1;
    verbose(true);
    EXPECT_EQ(printed([&] { PrcTyp(&stat); }), headTraces(2, "4", "6"));
    expectTyp(0x800, 1, 0, 6, 1, 0, 0);
}

TEST_F(Typ, ModeThreeFoldsLayerFour) {
    verbose(true);
    EXPECT_EQ(printed([&] { PrcTyp(&stat); }),
              headTraces(3, "4", "6") + kPfx +
                  "PRC Type Extraction: l3_frag: 0, l2_hash_inner_typ: 1, l2_has_non_snap_llc: 0\n" + kPfx +
                  "PRC Type Extraction: TCP/UDP:1, l3_ulp: 0x6, l2_etype: 0x800, l4_srvr_port: 0x1111, "
                  "l4_clnt_port: 0x2222\n");
    expectTyp(0x800, 1, 0, 6, 0, 0x1111, 0x2222);
    stat.dbgLvl = 2;
    EXPECT_EQ(printed([&] { PrcTyp(&stat); }), "");
}

TEST_F(Typ, ModeAboveThreeIsModeThree) {
    port.rte_prc_typ_mode = 4;
    PrcTyp(&stat);
    expectTyp(0x800, 1, 0, 6, 0, 0x1111, 0x2222);
}

TEST_F(Typ, LlcWordsTakeTheUpperLayersInAnyMode) {
    stat.l2LlcDet = 1;
    stat.l2LlcDsap = 0x42;
    stat.l2LlcSsap = 0x43;
    stat.l2LlcCtl = 0x03;
    stat.l2LlcPld0 = 0x12;
    stat.l2LlcPld1 = 0x34;
    stat.l2FcoeFound = 1; // not looked at behind LLC
    stat.l2FcoeFcPld0 = 0x99;
    for (uint32_t mode = 1; mode <= 3; mode++) {
        port.rte_prc_typ_mode = mode;
        verbose(true);
        EXPECT_EQ(printed([&] { PrcTyp(&stat); }), headTraces(mode, "4", "6"));
        expectTyp(0x4243, 1, 1, 3, 0, 0x1234, 0);
    }
}

TEST_F(Typ, FcoeWordsTakeLayerFourInAnyMode) {
    stat.l3IpVer = 0;
    stat.l2Etyp = 0x8906;
    stat.l2FcoeFound = 1;
    stat.l2FcoeFcRctl = 0x22;
    stat.l2FcoeFcType = 0x01;
    stat.l2FcoeFcPld0 = 0x04;
    for (uint32_t mode = 1; mode <= 3; mode++) {
        port.rte_prc_typ_mode = mode;
        PrcTyp(&stat);
        expectTyp(0x8906, 1, 0, 0, 0, 0x2201, 0x04);
    }
}

TEST_F(Typ, UnknownLayerThreeFoldsNoneOfIt) {
    stat.l3PrcHdrUnk = 1;
    stat.l3Ipv4MorFrg = 1;
    verbose(true);
    EXPECT_NE(printed([&] { PrcTyp(&stat); }).find("TCP/UDP:0, l3_ulp: 0x0"), std::string::npos);
    expectTyp(0x800, 1, 0, 0, 0, 0, 0);
}

TEST_F(Typ, NoIpFoldsNoneOfIt) {
    stat.l3IpVer = 0;
    stat.l3Ipv4FrgOffset = 1;
    PrcTyp(&stat);
    expectTyp(0x800, 1, 0, 0, 0, 0, 0);
}

TEST_F(Typ, FirstFragmentOfIpv4UsesItsPorts) {
    stat.l3Ipv4MorFrg = 1;
    PrcTyp(&stat);
    expectTyp(0x800, 1, 0, 6, 1, 0x1111, 0x2222);
}

TEST_F(Typ, LaterFragmentOfIpv4HasNoPorts) {
    stat.l3Ipv4FrgOffset = 1;
    PrcTyp(&stat);
    expectTyp(0x800, 1, 0, 6, 1, 0, 0);
}

TEST_F(Typ, OnlyTheFirstFragmentOfIpv6UsesItsPorts) {
    stat.l3IpVer = 6;
    PrcTyp(&stat);
    expectTyp(0x800, 1, 0, 6, 0, 0x1111, 0x2222);
    stat.typL4Src = stat.typL4Dst = 0;
    stat.l3Ipv6IsFragment = 1;
    PrcTyp(&stat);
    expectTyp(0x800, 1, 0, 6, 1, 0, 0);
    stat.l3Ipv6FirstFragment = 1;
    PrcTyp(&stat);
    expectTyp(0x800, 1, 0, 6, 1, 0x1111, 0x2222);
}

TEST_F(Typ, IcmpTypeStandsForTheServerPort) {
    stat.l3IpUlp = 1;
    verbose(true);
    EXPECT_EQ(printed([&] { PrcTyp(&stat); }), headTraces(3, "4", "1"));
    expectTyp(0x800, 1, 0, 1, 0, 0x800, 0);
    stat.typL4Src = 0;
    stat.l3Ipv4FrgOffset = 3;
    PrcTyp(&stat);
    expectTyp(0x800, 1, 0, 1, 1, 0, 0);
}

TEST_F(Typ, Icmpv6TypeStandsForTheServerPort) {
    stat.l3IpVer = 6;
    stat.l3IpUlp = 58;
    verbose(true);
    EXPECT_EQ(printed([&] { PrcTyp(&stat); }), headTraces(3, "6", "3a"));
    expectTyp(0x800, 1, 0, 58, 0, 0x8000, 0);
    stat.typL4Src = 0;
    stat.l3Ipv6IsFragment = 1;
    PrcTyp(&stat);
    expectTyp(0x800, 1, 0, 58, 1, 0, 0);
    stat.l3Ipv6FirstFragment = 1;
    PrcTyp(&stat);
    expectTyp(0x800, 1, 0, 58, 1, 0x8000, 0);
}

TEST_F(Typ, EachVersionKnowsItsOwnIcmpOnly) {
    stat.l3IpUlp = 58;
    PrcTyp(&stat);
    expectTyp(0x800, 1, 0, 58, 0, 0, 0);
    stat.l3IpVer = 6;
    stat.l3IpUlp = 1;
    PrcTyp(&stat);
    expectTyp(0x800, 1, 0, 1, 0, 0, 0);
}

TEST_F(Typ, UdpPortsAreUsedLikeTcpPorts) {
    stat.l3IpUlp = 17;
    PrcTyp(&stat);
    expectTyp(0x800, 1, 0, 17, 0, 0x1111, 0x2222);
}

TEST_F(Typ, OtherProtocolsHaveNoPorts) {
    stat.l3IpUlp = 47;
    verbose(true);
    EXPECT_EQ(printed([&] { PrcTyp(&stat); }),
              headTraces(3, "4", "2f") + kPfx +
                  "PRC Type Extraction: l3_frag: 0, l2_hash_inner_typ: 1, l2_has_non_snap_llc: 0\n" + kPfx +
                  "PRC Type Extraction: TCP/UDP:0, l3_ulp: 0x2f, l2_etype: 0x800, l4_srvr_port: 0x0, "
                  "l4_clnt_port: 0x0\n");
    expectTyp(0x800, 1, 0, 47, 0, 0, 0);
}

TEST_F(Typ, UnknownLayerFourHasNoPorts) {
    stat.l4PrcHdrUnk = 1;
    PrcTyp(&stat);
    expectTyp(0x800, 1, 0, 6, 0, 0, 0);
}

TEST_F(Typ, WellKnownPortStandsFirst) {
    expectPorts(80, 50000, 80, 0);
    expectPorts(50000, 80, 80, 1);
}

TEST_F(Typ, WellKnownPortsEndBelow1024) {
    expectPorts(1023, 1024, 1023, 0);
    expectPorts(1024, 1023, 1023, 1);
    expectPorts(1023, 1022, 1023, 1022);
    expectPorts(1024, 1025, 1024, 1025);
    expectPorts(1024, 1024, 1024, 1024);
    expectPorts(0, 65535, 0, 0);
    expectPorts(65535, 0, 0, 1);
}

TEST_F(Typ, WithoutDirectionThePortsStayRaw) {
    port.rte_prc_typ_no_dir = 1;
    expectPorts(80, 50000, 80, 50000);
    expectPorts(50000, 80, 50000, 80);
}

// ---- port ranges

class PortRng : public ModelTest {
protected:
    PortRng() {
        // No range holds anything: low end above high end.
        for (uint32_t k = 0; k < 32; k++) {
            setRange("src", k, 1, 0, 0);
            setRange("dst", k, 1, 0, 0);
        }
        stat.typL4Src = 1000;
        stat.typL4Dst = 2000;
        stat.l4Src = 5;
        stat.l4Dst = 6;
    }
    void setRange(const std::string &side, uint32_t k, uint32_t lo, uint32_t hi, uint32_t idx) {
        const std::string num = std::to_string(k);
        comFld(com, "l4_" + side + "_port_rng_lo_" + num) = lo;
        comFld(com, "l4_" + side + "_port_rng_hi_" + num) = hi;
        comFld(com, "l4_" + side + "_port_rng_idx_" + num) = idx;
    }
    void expectRng(uint32_t srcHit, uint32_t srcIdx, uint32_t dstHit, uint32_t dstIdx) {
        PrcL4PortRngCk(&stat);
        EXPECT_EQ(stat.l4SrcPortRngHit, srcHit);
        EXPECT_EQ(stat.l4SrcPortRngIdx, srcIdx);
        EXPECT_EQ(stat.l4DstPortRngHit, dstHit);
        EXPECT_EQ(stat.l4DstPortRngIdx, dstIdx);
    }
};

TEST_F(PortRng, EveryRangeIsSearched) {
    for (uint32_t k = 0; k < 32; k++) {
        setRange("src", k, 1000, 1000, 31 - k);
        expectRng(1, 31 - k, 0, 0);
        setRange("src", k, 1, 0, 0);
        stat.l4SrcPortRngHit = stat.l4SrcPortRngIdx = 0;

        setRange("dst", k, 2000, 2000, (k + 7) % 32);
        expectRng(0, 0, 1, (k + 7) % 32);
        setRange("dst", k, 1, 0, 0);
        stat.l4DstPortRngHit = stat.l4DstPortRngIdx = 0;
    }
}

TEST_F(PortRng, BothEndsBelongToTheRange) {
    setRange("src", 3, 1000, 1010, 8);
    setRange("dst", 4, 1990, 2000, 9);
    expectRng(1, 8, 1, 9);
    stat.l4SrcPortRngHit = stat.l4SrcPortRngIdx = stat.l4DstPortRngHit = stat.l4DstPortRngIdx = 0;
    stat.typL4Src = 1010;
    stat.typL4Dst = 1990;
    expectRng(1, 8, 1, 9);
    stat.l4SrcPortRngHit = stat.l4SrcPortRngIdx = stat.l4DstPortRngHit = stat.l4DstPortRngIdx = 0;
    stat.typL4Src = 999;
    stat.typL4Dst = 1989;
    expectRng(0, 0, 0, 0);
    stat.typL4Src = 1011;
    stat.typL4Dst = 2001;
    expectRng(0, 0, 0, 0);
}

TEST_F(PortRng, LowerOfTwoOverlappingRangesWins) {
    setRange("src", 5, 900, 1100, 10);
    setRange("src", 6, 1000, 1000, 11);
    setRange("dst", 0, 0, 65535, 12);
    setRange("dst", 31, 2000, 2000, 13);
    expectRng(1, 10, 1, 12);
}

TEST_F(PortRng, MissLeavesTheFieldsAlone) {
    stat.l4SrcPortRngHit = 1;
    stat.l4SrcPortRngIdx = 21;
    stat.l4DstPortRngHit = 1;
    stat.l4DstPortRngIdx = 22;
    expectRng(1, 21, 1, 22);
}

TEST_F(PortRng, FrameWithoutPortsMatchesARangeThatHoldsZero) {
    stat.typL4Src = stat.typL4Dst = 0;
    setRange("src", 9, 0, 0, 3);
    setRange("dst", 10, 0, 5, 4);
    expectRng(1, 3, 1, 4);
}

TEST_F(PortRng, FoldedPortsAreWhatCounts) {
    setRange("src", 0, 5, 5, 1); // the raw port
    setRange("dst", 0, 6, 6, 1);
    expectRng(0, 0, 0, 0);
}

TEST_F(PortRng, ResultIsTraced) {
    setRange("src", 1, 1000, 1000, 17);
    stat.dbgLvl = 3;
    EXPECT_EQ(printed([&] { PrcL4PortRngCk(&stat); }),
              std::string(kPfx) + "PRC L4 srcRngHit=1 srcRngIdx=17 dstRngHit=0 dstRngIdx=0\n");
    stat.dbgLvl = 2;
    EXPECT_EQ(printed([&] { PrcL4PortRngCk(&stat); }), "");
}

} // namespace
