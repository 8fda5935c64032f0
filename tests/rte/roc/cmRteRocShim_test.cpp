#include "roc_fixture.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <utility>
#include <vector>

namespace {

class CmRteRocShimTest : public RocTest {
protected:
    /// One block of the result's print.
    static std::string block(const std::string &title,
                             std::initializer_list<std::pair<const char *, uint32_t>> fields) {
        std::string text = "==================== " + title + " ====================\n";
        for (auto [name, value] : fields)
            text += prt(name, value);
        return text + "\n";
    }
};

TEST_F(CmRteRocShimTest, ForwardedFrameTracesEveryDecisionAndField) {
    stat.l2Mtu = 1500;
    stat.iivid = 0x1234;
    stat.ingLgcPort = 9;
    stat.vpn_id = 0x55;
    stat.l2PselQmgPrio = 4;
    stat.IpDscpForPsel = 11;
    com.rte_shim_ver = 2;
    portReg.rte_prc_igid = 0xabc;
    EXPECT_EQ(
        traced(),
        line("l3_psel filtering: dropPrcErr=0 trapPrcErr=0 trapRsn=0 dropRsn=0\n") +
            line("L2/L3 result resolution:\n") + prt("l3SpanWin", 0) + prt("l3PrioWin", 0) + prt("l3PolWin", 0) +
            prt("l3GidWin", 0) + prt("l3TrapEnWin", 0) + prt("l3DscpWin", 0) + prt("l3AclLogWin", 0) +
            prt("l3BypassEaclWin", 0) + prt("l3AclSflowWin", 0) + line("[POL] pol_id from port default: 0\n") +
            line("[POL] remapped PolicerId=0, ploicerEn=0\n") + line("[L2 SA Learn] l2PselSaLrnEn=0\n") +
            line("Checking tail drop. color=0, q_prio=4, icb_drop_vector = 0x0\n") + line("ROC final results:\n") +
            block("SHIM0", {{"ing_vid_12_to_9", 9},
                            {"pim_decap", 0},
                            {"latency_check", 0},
                            {"dont_touch", 0},
                            {"rcv_snap_llc", 0},
                            {"lossless_timeout", 0},
                            {"routed", 7},
                            {"timed_out", 0},
                            {"bypass_eacl", 0},
                            {"shim_length", 0},
                            {"copy_to_cpu", 0},
                            {"fseq_num_14_to_0", 1500}}) +
            block("SHIM1", {{"fseq_num_16_to_15", 0},
                            {"flow_copy", 0},
                            {"mirror_copy", 0},
                            {"rcv_cn_tagged", 0},
                            {"egid", 5},
                            {"ecn_o_mcast_type", 0},
                            {"ing_zirkid", 0},
                            {"tag_checksum", 0},
                            {"version", 2}}) +
            block("SHIM2", {{"is_mgid", 0},
                            {"rcv_s_tagged", 0},
                            {"trill_mc", 0},
                            {"mct_sbridge_vld", 0},
                            {"ing_port", 9},
                            {"q_priority", 4},
                            {"drop_prcd", 0},
                            {"mgid_o_copy_id_o_qcn_control", 0x10abc}}) +
            block("SHIM3", {{"ing_vid_8_to_0", 0x34},
                            {"dscp", 11},
                            {"egr_iwqos", 0},
                            {"egr_cfi", 0},
                            {"egr_internal_vid", 0x1234}}) +
            block("SHIM4", {{"trill_dbridge_id", 0}, {"trill_termination", 0}, {"ipv4_df", 0}, {"ip_length", 0}}) +
            block("SHIM5", {{"rcv_trill_option", 0},
                            {"rcv_trill", 0},
                            {"rcv_outer_tagged", 0},
                            {"rcv_inner_tagged", 0},
                            {"vpn_id", 0x55},
                            {"shim_crc_o_time_stamp", 0}}) +
            block("SHIM6", {{"reserved", 0}, {"time_stamp", 0}, {"shim_crc", 0}}) +
            block("HSI SHIM0", {{"rsvd", 0},
                                {"rslt_typ", 2},
                                {"rsvd1", 0},
                                {"l2_egr_da_vid_idx", 0},
                                {"trap_que", 0},
                                {"trap_rsn", 0}}) +
            block("HSI SHIM1", {{"rsvd", 0},
                                {"fcoe_sa_idx", 0},
                                {"acl_log", 0},
                                {"rcv_prio", 4},
                                {"sflw", 0},
                                {"i_span", 0},
                                {"i_span_que", 0},
                                {"r_span", 0},
                                {"r_span_que", 0}}));
}

TEST_F(CmRteRocShimTest, PlainCopies) {
    stat.l2SnapEnc = 1;
    stat.isSTagged = 1;
    stat.isCTagged = 1;
    stat.l2PselMctSrbVld = 1;
    stat.l2TrillEgr = 1;
    stat.l2TrillRcvCustIdValid = 1;
    stat.ctagCfi = 1;
    run();
    EXPECT_EQ(rslt.shim0Rslt.rcv_snap_llc, 1u);
    EXPECT_EQ(rslt.shim2Rslt.rcv_s_tagged, 1u);
    EXPECT_EQ(rslt.shim5Rslt.rcv_inner_tagged, 1u);
    EXPECT_EQ(rslt.shim2Rslt.mct_sbridge_vld, 1u);
    EXPECT_EQ(rslt.shim4Rslt.trill_termination, 1u);
    EXPECT_EQ(rslt.shim5Rslt.rcv_trill_option, 1u);
    EXPECT_EQ(rslt.shim5Rslt.rcv_trill, 0u);
    EXPECT_EQ(rslt.shim3Rslt.egr_cfi, 1u);
}

TEST_F(CmRteRocShimTest, RoutedFrameHasNoCfi) {
    routeIpv4();
    stat.ctagCfi = 1;
    run();
    EXPECT_EQ(rslt.shim3Rslt.egr_cfi, 0u);
}

TEST_F(CmRteRocShimTest, VlanIsSplitOverTwoWords) {
    stat.iivid = 0x1fff;
    run();
    EXPECT_EQ(rslt.shim0Rslt.ing_vid_12_to_9, 0xfu);
    EXPECT_EQ(rslt.shim3Rslt.ing_vid_8_to_0, 0x1ffu);
    start();
    stat.iivid = 0x0e00;
    run();
    EXPECT_EQ(rslt.shim0Rslt.ing_vid_12_to_9, 7u);
    EXPECT_EQ(rslt.shim3Rslt.ing_vid_8_to_0, 0u);
}

TEST_F(CmRteRocShimTest, OuterTagCountsAtTrillPortsOnly) {
    stat.l2TrillFound = 1;
    stat.l2OuterVlanTagged = 1;
    run();
    EXPECT_EQ(rslt.shim5Rslt.rcv_trill, 1u);
    EXPECT_EQ(rslt.shim5Rslt.rcv_outer_tagged, 0u);
    stat.isTrillPort = 1;
    run();
    EXPECT_EQ(rslt.shim5Rslt.rcv_outer_tagged, 1u);
    stat.l2OuterVlanTagged = 0;
    run();
    EXPECT_EQ(rslt.shim5Rslt.rcv_outer_tagged, 0u);
}

TEST_F(CmRteRocShimTest, TagChecksumOfCongestionTaggedFramesToOrdinaryAddresses) {
    for (auto [tagged, ctl] : {std::pair{0u, 0u}, std::pair{1u, 0u}, std::pair{0u, 1u}, std::pair{1u, 1u}}) {
        start();
        stat.isCnTagged = tagged;
        stat.l2OuterDaIsCtl = ctl;
        run();
        EXPECT_EQ(rslt.shim1Rslt.tag_checksum, tagged && !ctl ? 1u : 0u);
    }
}

TEST_F(CmRteRocShimTest, PimDecapsulationOfRoutedGroups) {
    routeIpv4();
    stat.l3IpMcastRegEncap = 1;
    run();
    EXPECT_EQ(rslt.shim0Rslt.pim_decap, 1u);
    stat.l3AclAppl = 1;
    run();
    EXPECT_EQ(rslt.shim0Rslt.pim_decap, 0u);
    stat.l3AclAppl = 0;
    stat.l3PselEgidPth = 1;
    run();
    EXPECT_EQ(rslt.shim0Rslt.pim_decap, 0u);
}

TEST_F(CmRteRocShimTest, BypassOfTheEgressAclIsLayer3sUnlessTheHeaderIsBroken) {
    stat.l3AclEn = 1;
    stat.l3PselBypassEacl = 1;
    run();
    EXPECT_EQ(rslt.shim0Rslt.bypass_eacl, 1u);
    stat.l3PrcErrDetected = 1;
    run();
    EXPECT_EQ(rslt.shim0Rslt.bypass_eacl, 0u);
    stat.l2PselBypassEacl = 1;
    stat.l3PselBypassEacl = 0;
    run();
    EXPECT_EQ(rslt.shim0Rslt.bypass_eacl, 1u);
}

TEST_F(CmRteRocShimTest, GroupIsOfTheDecidingSideAndCutToElevenBits) {
    stat.l2PselEgidMgid = 0x3fff;
    stat.l3PselEgidMgid = 0x2123;
    run();
    EXPECT_EQ(rslt.shim1Rslt.egid, 0x7ffu);
    routeIpv4();
    run();
    EXPECT_EQ(rslt.shim1Rslt.egid, 0x123u);
}

TEST_F(CmRteRocShimTest, NextHopFieldsOfTheDecidingSide) {
    for (uint32_t route : {0u, 1u, 2u}) { // layer 2, routed, decided by an ACL that applies
        start();
        stat.iivid = 0x111;
        stat.l3EividDa = 0x222;
        stat.l2PselTrillDa = 0x333;
        stat.l3NxtHopTrillDa = 0x444;
        stat.l3Ipv4DntFrg = 1;
        stat.l2PselTrillMc = 2;
        stat.l3NxtHopTrillMc = 3;
        stat.l3NxtHopL2DaIdx = 0x55;
        stat.l3NxtHopFcoeL2SaIdx = 0x66;
        if (route == 1)
            routeIpv4();
        stat.l3AclEn = stat.l3AclAppl = stat.l3PselGidL3Ovrd = route == 2;
        stat.l3PselRsltTyp = RSLT_FWD;
        run();
        EXPECT_EQ(rslt.shim3Rslt.egr_internal_vid, route == 1 ? 0x222u : 0x111u) << route;
        EXPECT_EQ(rslt.shim4Rslt.trill_dbridge_id, route ? 0x444u : 0x333u) << route;
        EXPECT_EQ(rslt.shim4Rslt.ipv4_df, route ? 1u : 0u) << route;
        EXPECT_EQ(rslt.shim2Rslt.trill_mc, route ? 3u : 2u) << route;
        EXPECT_EQ(rslt.hsiShim0Rslt.l2_egr_da_vid_idx, route == 1 ? 0x55u : 0u) << route;
        EXPECT_EQ(rslt.hsiShim1Rslt.fcoe_sa_idx, route == 1 ? 0x66u : 0u) << route;
    }
}

TEST_F(CmRteRocShimTest, QueuePriorityComesFromPolicerThenWinner) {
    for (uint32_t prioWin : {0u, 1u}) {
        start();
        stat.l3AclEn = 1;
        stat.l3PselPrioL3Ovrd = prioWin;
        stat.l2PselQmgPrio = 3;
        stat.l3PselQmgPrio = 4;
        run();
        EXPECT_EQ(rslt.shim2Rslt.q_priority, 3 + prioWin);
        EXPECT_EQ(rslt.hsiShim1Rslt.rcv_prio, 3 + prioWin);
    }
    start();
    com.l2_pol_en = 1;
    stat.l2PselPolEn = 1;
    stat.l2PselPolId = 8;
    mem.RTE_POL_REMAP_TBL_SRAM[8] = 0x2004; // policer 4 of the low 12 bits: priority (4 + 17) & 7, enabled by 4 + 11
    stat.l2PselQmgPrio = 3;
    run();
    EXPECT_EQ(rslt.shim2Rslt.q_priority, 5u);
    EXPECT_EQ(rslt.shim2Rslt.drop_prcd, 2u); // (0 + 4 + 13) % 3
    EXPECT_EQ(rslt.shim3Rslt.dscp, 41u);     // 0 + 4 + 37
    EXPECT_EQ(rslt.shim3Rslt.egr_iwqos, 7u); // (0 + 4 + 11) & 7
}

TEST_F(CmRteRocShimTest, ParserVerdictTakesThePriorities) {
    for (auto [trap, drop] : {std::pair{1u, 0u}, std::pair{0u, 1u}}) {
        start();
        stat.l2PselRsltTyp = RSLT_TRAP;
        stat.l2PrcTrap = trap;
        stat.l2PrcDrop = drop;
        stat.l3AclEn = 1;
        stat.l3ErrWin = 1;
        stat.l3PselRsltTyp = RSLT_TRAP;
        stat.l3PselQmgPrio = 4;
        stat.l3PselL2EgrPrio = 6;
        run();
        EXPECT_EQ(rslt.shim2Rslt.q_priority, drop ? 0u : 4u);
        EXPECT_EQ(rslt.shim3Rslt.egr_iwqos, 0u);
        EXPECT_EQ(stat.finalIwqos, 6u);
    }
}

// Code point and group side band.

TEST_F(CmRteRocShimTest, UnicastCarriesItsCongestionBits) {
    stat.l3IpVer = 4;
    stat.l2PselEgrIpEcn = 1;
    stat.l3PselEgrIpEcn = 2;
    run();
    EXPECT_EQ(rslt.shim1Rslt.ecn_o_mcast_type, 1u);
    start();
    stat.l2PselEgrIpEcn = 1; // of kind "other"
    run();
    EXPECT_EQ(rslt.shim1Rslt.ecn_o_mcast_type, 0u);
    start();
    routeIpv4();
    stat.l3PselEgrIpEcn = 2;
    run();
    EXPECT_EQ(rslt.shim1Rslt.ecn_o_mcast_type, 2u);
}

TEST_F(CmRteRocShimTest, MulticastCarriesItsKind) {
    struct Row {
        uint32_t trill;
        uint64_t outer, inner;
        uint32_t flooded, kind;
    };
    const uint64_t bcast = 0xffffffffffff, mcast = 0x010000000000, ucast = 0xfe0000000001;
    const Row rows[] = {
        {0, bcast, ucast, 1, 1}, {0, bcast, ucast, 0, 1},      {0, ucast, bcast, 0, 2}, {0, ucast, bcast, 1, 0},
        {0, mcast, ucast, 1, 2}, {1, ucast, bcast, 1, 1},      {1, bcast, ucast, 0, 2}, {1, bcast, ucast, 1, 0},
        {1, bcast, mcast, 1, 2}, {0, 0xfffffffffffe, 0, 1, 2},
    };
    for (const Row &row : rows) {
        start();
        stat.l2PselIsL2Mgid = 1;
        stat.l2TrillFound = row.trill;
        stat.l2TrillTtl = 9;
        stat.l2OuterDa = row.outer;
        stat.l2TrillInnerDa = row.inner;
        stat.l2PselUcastFlooded = row.flooded;
        run();
        EXPECT_EQ(rslt.shim2Rslt.is_mgid, 1u);
        EXPECT_EQ(rslt.shim1Rslt.ecn_o_mcast_type, row.kind) << &row - rows;
    }
    start();
    routeIpv4();
    stat.l3PselIsMgid = 1;
    stat.l3PselMcastTyp = 3;
    stat.l2OuterDa = bcast;
    run();
    EXPECT_EQ(rslt.shim1Rslt.ecn_o_mcast_type, 3u);
}

TEST_F(CmRteRocShimTest, MulticastGroupIsCarriedUncut) {
    stat.l2PselIsL2Mgid = 1;
    stat.l2PselEgidMgid = 0x1fedc;
    stat.l3PselEgidMgid = 0x12345;
    run();
    EXPECT_EQ(rslt.shim1Rslt.egid, 0x6dcu);
    EXPECT_EQ(rslt.shim2Rslt.mgid_o_copy_id_o_qcn_control, 0x1fedcu);
    start();
    routeIpv4();
    stat.l3PselIsMgid = 1;
    stat.l3PselEgidMgid = 0x12345;
    run();
    EXPECT_EQ(rslt.shim2Rslt.mgid_o_copy_id_o_qcn_control, 0x12345u);
}

TEST_F(CmRteRocShimTest, UnicastCarriesTheIngressGroupOfItsPort) {
    struct Row {
        uint32_t rsltTyp, qcn, trill, trillMc, saRsltTyp, vld;
    };
    const Row rows[] = {
        {2, 0, 0, 0, 0, 1}, {3, 0, 0, 0, 0, 1}, {0, 0, 0, 0, 0, 0}, {1, 0, 0, 0, 0, 0}, {2, 1, 0, 0, 0, 0},
        {2, 0, 0, 1, 0, 1}, {2, 0, 1, 0, 2, 1}, {2, 0, 1, 0, 3, 1}, {2, 0, 1, 0, 1, 0}, {2, 0, 1, 0, 0, 0},
        {2, 0, 1, 1, 2, 0}, {2, 1, 1, 0, 2, 0}, {1, 0, 1, 0, 2, 0},
    };
    portReg.rte_prc_igid = 0xfff;
    for (const Row &row : rows) {
        start();
        stat.l2PselRsltTyp = row.rsltTyp;
        stat.l2RcvQcn = row.qcn;
        stat.l2TrillFound = row.trill;
        stat.l2TrillTtl = 9;
        stat.l2TrillMc = row.trillMc;
        stat.l2ExmSaRsltTyp = row.saRsltTyp;
        run();
        EXPECT_EQ(rslt.shim2Rslt.mgid_o_copy_id_o_qcn_control, row.vld ? 0x10fffu : 0u) << &row - rows;
    }
}

// IP length.

TEST_F(CmRteRocShimTest, Ipv4LengthIsLimitedTo14Bits) {
    for (uint32_t routed : {0u, 1u}) {
        for (auto [tlen, length] : {std::pair{0u, 0u}, std::pair{0x3fffu, 0x3fffu}, std::pair{0x4000u, 16383u},
                                    std::pair{0x8000u, 16383u}, std::pair{0xffffu, 16383u}}) {
            start();
            if (routed)
                routeIpv4();
            stat.l3IpVer = 4;
            stat.l3IpTlen = tlen;
            run();
            EXPECT_EQ(rslt.shim4Rslt.ip_length, length) << tlen;
        }
    }
}

TEST_F(CmRteRocShimTest, Ipv6LengthIsCutWhenItFitsWithoutItsHeader) {
    for (uint32_t routed : {0u, 1u}) {
        for (auto [tlen, length] :
             {std::pair{10u, 10u}, std::pair{0x3fffu, 0x3fffu}, std::pair{0x4000u, 0u}, std::pair{0x4027u, 0x27u},
              std::pair{0x4028u, 16383u}, std::pair{0xffffu, 16383u}, std::pair{0x10005u, 5u}}) {
            start();
            if (routed)
                routeIpv4();
            stat.l3IpVer = 6;
            stat.l3IpTlen = tlen;
            run();
            EXPECT_EQ(rslt.shim4Rslt.ip_length, length) << tlen;
        }
    }
}

TEST_F(CmRteRocShimTest, FcoeFramesCarryTheirFabricInstead) {
    struct Row {
        uint32_t rteRqd, ve, vfidVld, vsanTagged, length;
    };
    const Row rows[] = {{0, 0, 1, 0, 0x3abc}, {0, 0, 0, 1, 0x0abc}, {1, 0, 1, 0, 0x2abc},
                        {1, 0, 0, 1, 0x1abc}, {1, 1, 1, 1, 0x3abc}, {1, 1, 0, 0, 0x0abc}};
    for (const Row &row : rows) {
        start();
        stat.l3IpTlen = 0xffff;
        stat.l2FcoeFound = 1;
        stat.l3RteRqd = row.rteRqd;
        stat.l2PselFcoeVfRouted = !row.ve;
        stat.l2PselFcoeVeRouted = row.ve;
        stat.l3PselRsltTyp = RSLT_FWD;
        stat.l2FcoeFcVfidVld = row.vfidVld;
        stat.l3NxtHopFcoeVsanTagged = row.vsanTagged;
        stat.l2FcoeClsVfid = 0xfabc;
        run();
        EXPECT_EQ(rslt.shim4Rslt.ip_length, row.length) << &row - rows;
    }
}

TEST_F(CmRteRocShimTest, OtherFramesHaveNoLength) {
    stat.l3IpTlen = 100;
    stat.l2FcoeFcVfidVld = 1;
    run();
    EXPECT_EQ(rslt.shim4Rslt.ip_length, 0u);
}

// Path statistics.

TEST_F(CmRteRocShimTest, PathsOfTheDecidingSideAreCounted) {
    com.rte_l2_psel_sts_mctid[1] = 0x10;
    com.rte_l2_psel_sts_mpid[2] = 0x20;
    com.rte_l2_psel_sts_lgid[3] = 0x30;
    for (uint32_t l3 : {0u, 1u}) {
        for (uint32_t en : {0u, 1u, 2u, 4u, 7u}) {
            start();
            if (l3)
                routeIpv4();
            stat.frmLen = 100;
            (l3 ? stat.l3PselMctIdStsEn : stat.l2PselMctIdStsEn) = en & 1;
            (l3 ? stat.l3PselMpIdStsEn : stat.l2PselMpIdStsEn) = en >> 1 & 1;
            (l3 ? stat.l3PselLgIdStsEn : stat.l2PselLgIdStsEn) = en >> 2;
            (l3 ? stat.l3PselMctIdSts : stat.l2PselMctIdSts) = 0x10 << 3 | 5;
            (l3 ? stat.l3PselMpIdSts : stat.l2PselMpIdSts) = 0x20 << 3 | 6;
            (l3 ? stat.l3PselLgIdSts : stat.l2PselLgIdSts) = 0x30 << 5 | 7;
            // The other side's enables do not count.
            (l3 ? stat.l2PselMctIdStsEn : stat.l3PselMctIdStsEn) = 1;
            (l3 ? stat.l2PselMpIdStsEn : stat.l3PselMpIdStsEn) = 1;
            (l3 ? stat.l2PselLgIdStsEn : stat.l3PselLgIdStsEn) = 1;
            run();
            EXPECT_EQ(rslt.l2PselMctidStsRslt, en & 1) << l3 << en;
            EXPECT_EQ(rslt.l2PselMpidStsRslt, en >> 1 & 1) << l3 << en;
            EXPECT_EQ(rslt.l2PselLgidStsRslt, en >> 2) << l3 << en;
        }
    }
    // Two enables of five on each side.
    EXPECT_EQ(mem.RTE_L2_PSEL_STS_MCTID_FCNT_SRAM[2 * (1 << 3 | 5) + 1], 4u);
    EXPECT_EQ(mem.RTE_L2_PSEL_STS_MPID_FCNT_SRAM[2 * (2 << 3 | 6) + 1], 4u);
    EXPECT_EQ(mem.RTE_L2_PSEL_STS_LGID_FCNT_SRAM[2 * (3 << 5 | 7) + 1], 4u);
    EXPECT_EQ(mem.RTE_L2_PSEL_STS_LGID_BCNT_SRAM[2 * (3 << 5 | 7) + 1], 400u);
}

} // namespace
