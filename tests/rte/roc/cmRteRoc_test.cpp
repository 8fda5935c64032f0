#include "roc_fixture.h"

#include <csignal>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vector>

namespace {

class CmRteRocTest : public RocTest {
protected:
    /// The nine win flags as the trace names them: span, priority, policer, group, trap, code point, ACL log, bypass,
    /// sFlow.
    std::string wins() {
        const std::string out = traced();
        const size_t start = out.find(line("L2/L3 result resolution:\n"));
        if (start == std::string::npos)
            return "no block";
        size_t pos = start + line("L2/L3 result resolution:\n").size();
        std::string flags;
        for (const char *name : {"l3SpanWin", "l3PrioWin", "l3PolWin", "l3GidWin", "l3TrapEnWin", "l3DscpWin",
                                 "l3AclLogWin", "l3BypassEaclWin", "l3AclSflowWin"}) {
            for (uint32_t value : {0u, 1u}) {
                if (out.compare(pos, prt(name, value).size(), prt(name, value)) == 0)
                    flags += static_cast<char>('0' + value);
            }
            pos += prt(name, 0).size();
        }
        return flags;
    }
};

// The stage round the composition.

TEST_F(CmRteRocTest, PauseFrameDroppedHasNoIngressSpan) {
    portReg.rte_prc_i_span_en = 1;
    portReg.i_span_id = 6;
    stat.l2PselRsltTyp = RSLT_DROP;
    stat.l2PselDropRsn = 2;
    stat.ispan = 1;
    stat.ispan_que = 3;
    run();
    EXPECT_EQ(stat.ispan, 0u);
    EXPECT_EQ(stat.ispan_que, 0u);
    EXPECT_EQ(rslt.hsiShim1Rslt.i_span, 0u);
    EXPECT_EQ(rslt.hsiShim1Rslt.i_span_que, 0u);
}

TEST_F(CmRteRocTest, OtherFramesKeepThePortsIngressSpan) {
    portReg.rte_prc_i_span_en = 1;
    portReg.i_span_id = 6;
    for (auto [rsltTyp, dropRsn] : {std::pair{0u, 1u}, std::pair{0u, 3u}, std::pair{1u, 2u}, std::pair{2u, 2u}}) {
        start();
        stat.l2PselRsltTyp = rsltTyp;
        stat.l2PselDropRsn = dropRsn;
        run();
        EXPECT_EQ(rslt.hsiShim1Rslt.i_span, 1u) << rsltTyp << ' ' << dropRsn;
        EXPECT_EQ(rslt.hsiShim1Rslt.i_span_que, 6u) << rsltTyp << ' ' << dropRsn;
    }
}

TEST_F(CmRteRocTest, PortSflowIsOffWithoutACount) {
    portReg.rte_prc_port_sflw_cnt = 1;
    const std::string out = traced();
    EXPECT_EQ(portReg.rte_prc_port_sflw_cnt, 1u);
    EXPECT_EQ(stat.sflw, 0u);
    EXPECT_EQ(count(out, "PORT_SFLOW"), 0u);
}

TEST_F(CmRteRocTest, PortSflowSamplesWhenTheCountReachesOne) {
    portReg.rte_prc_port_sflw_tcnt = 1000;
    stat.frmIdx = 0;
    run(); // the sequence now stands at 512

    start();
    portReg.rte_prc_port_sflw_cnt = 2;
    EXPECT_EQ(traced().find(line("PORT_SFLOW:BEFORE: tcnt=0x3e8 cnt=0x2 lfsr=0x200\n") +
                            line("PORT_SFLOW:AFTER: tcnt=0x3e8 cnt=0x1 lfsr=0x200\n")),
              0u);
    EXPECT_EQ(rslt.hsiShim1Rslt.sflw, 0u);

    start();
    // 512 has no low bits: the count is loaded with its mean. The trace keeps the value before the step.
    EXPECT_EQ(traced().find(line("PORT_SFLOW:BEFORE: tcnt=0x3e8 cnt=0x1 lfsr=0x200\n") +
                            line("PORT_SFLOW:AFTER: tcnt=0x3e8 cnt=0x3e8 lfsr=0x200\n")),
              0u);
    EXPECT_EQ(rslt.hsiShim1Rslt.sflw, 1u);

    start();
    portReg.rte_prc_port_sflw_cnt = 1; // the sequence went on to 256
    EXPECT_EQ(traced().find(line("PORT_SFLOW:BEFORE: tcnt=0x3e8 cnt=0x1 lfsr=0x100\n") +
                            line("PORT_SFLOW:AFTER: tcnt=0x3e8 cnt=0x4e8 lfsr=0x100\n")),
              0u);
}

TEST_F(CmRteRocTest, FirstFrameSeedsItsCountFromTheOldSequenceAndResetsIt) {
    portReg.rte_prc_port_sflw_tcnt = 1000;
    stat.frmIdx = 0;
    run();
    start();
    portReg.rte_prc_port_sflw_cnt = 1;
    run(); // the sequence now stands at 256

    start();
    stat.frmIdx = 0;
    portReg.rte_prc_port_sflw_cnt = 77;
    const std::string out = traced();
    // 1000 + 256, less this frame.
    EXPECT_EQ(out.find("CM port=3, frameIdx=0>> PORT_SFLOW:BEFORE: tcnt=0x3e8 cnt=0x4d lfsr=0x100\n"
                       "CM port=3, frameIdx=0>> PORT_SFLOW:AFTER: tcnt=0x3e8 cnt=0x4e7 lfsr=0x200\n"),
              0u);
    EXPECT_EQ(portReg.rte_prc_port_sflw_cnt, 1255u);

    start();
    EXPECT_EQ(traced().find(line("PORT_SFLOW:BEFORE: tcnt=0x3e8 cnt=0x4e7 lfsr=0x200\n")), 0u);
}

TEST_F(CmRteRocTest, FirstFrameOfARateOfOneIsSampledAtOnce) {
    portReg.rte_prc_port_sflw_tcnt = 1;
    stat.frmIdx = 0;
    run();
    start();
    stat.frmIdx = 0; // seeded from 512 or 256: with a mean of one the low bits add nothing
    run();
    EXPECT_EQ(rslt.hsiShim1Rslt.sflw, 1u);
    EXPECT_EQ(portReg.rte_prc_port_sflw_cnt, 1u);
}

TEST_F(CmRteRocTest, PortSflowSequenceCanBeHeld) {
    portReg.rte_prc_port_sflw_tcnt = 1000;
    portReg.rte_prc_port_sflw_lfsr_dis = 1;
    stat.frmIdx = 0;
    run();
    for (int i = 0; i < 2; i++) {
        start();
        portReg.rte_prc_port_sflw_cnt = 1;
        run();
        EXPECT_EQ(portReg.rte_prc_port_sflw_cnt, 1000u);
    }
}

TEST_F(CmRteRocTest, PortSflowCountOfZeroWraps) {
    portReg.rte_prc_port_sflw_tcnt = 4;
    run();
    EXPECT_EQ(portReg.rte_prc_port_sflw_cnt, 0xffffffffu);
    EXPECT_EQ(stat.sflw, 0u);
}

TEST_F(CmRteRocTest, ResultStartsClear) {
    std::memset(&rslt, 0xff, sizeof rslt);
    run();
    EXPECT_EQ(rslt.shim0Rslt.latency_check, 0u);
    EXPECT_EQ(rslt.shim0Rslt.dont_touch, 0u);
    EXPECT_EQ(rslt.shim0Rslt.timed_out, 0u);
    EXPECT_EQ(rslt.shim0Rslt.shim_length, 0u);
    EXPECT_EQ(rslt.shim0Rslt.copy_to_cpu, 0u);
    EXPECT_EQ(rslt.shim1Rslt.fseq_num_16_to_15, 0u);
    EXPECT_EQ(rslt.shim1Rslt.flow_copy, 0u);
    EXPECT_EQ(rslt.shim1Rslt.mirror_copy, 0u);
    EXPECT_EQ(rslt.shim1Rslt.rcv_cn_tagged, 0u);
    EXPECT_EQ(rslt.shim1Rslt.ing_zirkid, 0u);
    EXPECT_EQ(rslt.shim5Rslt.shim_crc_o_time_stamp, 0u);
    EXPECT_EQ(rslt.shim6Rslt.shim_crc, 0u);
    EXPECT_EQ(rslt.hsiShim0Rslt.rsvd, 0u);
}

TEST_F(CmRteRocTest, CopiesTheStatistics) {
    stat.dropRsn = 21; // stays what the parser left when the frame is not dropped
    stat.mac_sts_hit = 1;
    stat.l2psel_acl_sts_hit = 2;
    stat.l2psel_mctid_sts_hit = 3;
    stat.l2psel_mpid_sts_hit = 4;
    stat.l2psel_lgid_sts_hit = 5;
    stat.l3psel_acl_sts_hit = 6;
    stat.l3psel_mpid_sts_hit = 7;
    stat.l2LrnRqd = 8;
    run();
    EXPECT_EQ(rslt.dropRsnRslt, 21u);
    EXPECT_EQ(rslt.macStsRslt, 1u);
    EXPECT_EQ(rslt.l2PselAclStsRslt, 2u);
    EXPECT_EQ(rslt.l2PselMctidStsRslt, 3u);
    EXPECT_EQ(rslt.l2PselMpidStsRslt, 4u);
    EXPECT_EQ(rslt.l2PselLgidStsRslt, 5u);
    EXPECT_EQ(rslt.l3PselAclStsRslt, 6u);
    EXPECT_EQ(rslt.l3PselMpidStsRslt, 7u);
    EXPECT_EQ(rslt.saLrnRslt, 8u);
}

TEST_F(CmRteRocTest, DroppedAndTrappedFramesCarryTheirOwnLimit) {
    com.rte_trap_drop_mru = 9000;
    const uint32_t limits[] = {9000, 9000, 1500, 1500};
    for (uint32_t rsltTyp = 0; rsltTyp < 4; rsltTyp++) {
        start();
        stat.l2Mtu = 1500;
        stat.l2PselRsltTyp = rsltTyp;
        run();
        EXPECT_EQ(rslt.shim0Rslt.fseq_num_14_to_0, limits[rsltTyp]) << rsltTyp;
    }
}

TEST_F(CmRteRocTest, DroppedFramesAreCounted) {
    stat.l2PselRsltTyp = RSLT_DROP;
    stat.l2PselDropRsn = 11;
    const std::string out = traced();
    EXPECT_EQ(mem.RTE_DRP_RSN_STS_FCNT_SRAM[2 * (3 * 64 + 11) + 1], 1u);
    EXPECT_TRUE(out.ends_with(line("(ROC IncrDropSts) DROP: reason=0b DRP_RSN_STS[cb]=0x0_1\n")));
}

TEST_F(CmRteRocTest, DropReasonComesFromTheSideThatDecides) {
    stat.l2PselRsltTyp = RSLT_DROP;
    stat.l2PselDropRsn = 11;
    stat.l3PselDropRsn = 14;
    run();
    EXPECT_EQ(rslt.dropRsnRslt, 11u);

    start();
    routeIpv4(RSLT_DROP);
    stat.l2PselDropRsn = 11;
    stat.l3PselDropRsn = 14;
    run();
    EXPECT_EQ(rslt.dropRsnRslt, 14u);
}

// Who decides.

TEST_F(CmRteRocTest, RoutedFrameIsDecidedByLayer3) {
    routeIpv4();
    EXPECT_EQ(wins(), "111111111");
    EXPECT_EQ(stat.l3SpanWin & stat.l3PrioWin & stat.l3GidWin & stat.l3PolWin & stat.l3DscpWin, 1u);
}

TEST_F(CmRteRocTest, RoutedFrameWithPassThroughGroupKeepsTheLayer2Group) {
    routeIpv4();
    stat.l3AclEn = 1;
    stat.l3PselEgidPth = 1;
    EXPECT_EQ(wins(), "111011111");
    EXPECT_EQ(stat.l3GidWin, 0u);
}

TEST_F(CmRteRocTest, WithoutRoutingOrAclLayer2Decides) {
    stat.l3ErrWin = 1;
    stat.l3PselSpanL3Ovrd = stat.l3PselPrioL3Ovrd = stat.l3PselPolL3Ovrd = stat.l3PselGidL3Ovrd = 1;
    stat.l3PselTrapL3Ovrd = stat.l3PselDscpL3Ovrd = stat.l3PselAclLogL3Ovrd = 1;
    stat.l3SpanWin = stat.l3PrioWin = stat.l3GidWin = stat.l3PolWin = stat.l3DscpWin = 1;
    EXPECT_EQ(wins(), "000000000");
    EXPECT_EQ(stat.l3SpanWin | stat.l3PrioWin | stat.l3GidWin | stat.l3PolWin | stat.l3DscpWin, 0u);
}

TEST_F(CmRteRocTest, AclFrameIsDecidedGroupByGroup) {
    struct Row {
        std::vector<uint32_t CmRteStat::*> set;
        const char *wins;
    };
    const Row rows[] = {
        {{}, "000000011"},
        {{&CmRteStat::l3PrcErrDetected}, "000000000"},
        {{&CmRteStat::l3PselSpanL3Ovrd}, "100000011"},
        {{&CmRteStat::l3PselPrioL3Ovrd}, "010000011"},
        {{&CmRteStat::l3PselPrioL3Ovrd, &CmRteStat::l3PselRsltPthPrio}, "000000011"},
        {{&CmRteStat::l3PselPolL3Ovrd}, "001000011"},
        {{&CmRteStat::l3PselGidL3Ovrd}, "000100011"},
        {{&CmRteStat::l3PselGidL3Ovrd, &CmRteStat::l3PselAclEgidPth}, "000000011"},
        {{&CmRteStat::l3PselGidL3Ovrd, &CmRteStat::l3PselEgidPth}, "000100011"},
        {{&CmRteStat::l3PselTrapL3Ovrd}, "000010011"},
        {{&CmRteStat::l3PselDscpL3Ovrd}, "000001011"},
        {{&CmRteStat::l3PselAclLogL3Ovrd}, "000000111"},
        {{&CmRteStat::l3ErrWin, &CmRteStat::l3PrcErrDetected}, "111111111"},
        {{&CmRteStat::l3ErrWin, &CmRteStat::l3PselRsltPthPrio, &CmRteStat::l3PselAclEgidPth,
          &CmRteStat::l3PrcErrDetected},
         "111111111"},
    };
    for (const Row &row : rows) {
        start();
        stat.l3AclEn = 1;
        for (auto field : row.set)
            stat.*field = 1;
        EXPECT_EQ(wins(), row.wins) << &row - rows;
    }
}

TEST_F(CmRteRocTest, QuietRunPrintsNothing) {
    stat.l2PselRsltTyp = RSLT_DROP;
    EXPECT_EQ(printed([&] { run(); }), "");
}

TEST_F(CmRteRocTest, DecisionsAreShownAboveLevelOneAndThePortSampleAboveTwo) {
    portReg.rte_prc_port_sflw_tcnt = 5;
    portReg.rte_prc_port_sflw_cnt = 5;
    stat.dbgLvl = 1;
    EXPECT_EQ(printed([&] { run(); }), "");
    start();
    stat.dbgLvl = 2;
    const std::string out = printed([&] { run(); });
    EXPECT_EQ(count(out, "PORT_SFLOW"), 0u);
    EXPECT_EQ(count(out, "ROC final results"), 1u);
    EXPECT_EQ(count(out, prt("l3GidWin", 0)), 1u);
    start();
    stat.dbgLvl = 3;
    EXPECT_EQ(count(printed([&] { run(); }), "PORT_SFLOW"), 2u);
}

// What goes into the policer.

TEST_F(CmRteRocTest, PolicerInputsComeFromTheSideThatDecides) {
    struct Row {
        uint32_t dscpWin, prioWin, l2DscpEn, l3DscpEn, dp, dscp, iwqos;
    };
    const Row rows[] = {
        {0, 0, 0, 0, 1, 30, 5}, {0, 0, 1, 0, 1, 10, 5}, {0, 0, 0, 1, 1, 30, 5}, {1, 0, 0, 0, 2, 30, 5},
        {1, 0, 1, 0, 2, 30, 5}, {1, 0, 1, 1, 2, 20, 5}, {0, 1, 0, 0, 1, 30, 6},
    };
    for (const Row &row : rows) {
        start();
        stat.l3AclEn = 1;
        stat.l3PselDscpL3Ovrd = row.dscpWin;
        stat.l3PselPrioL3Ovrd = row.prioWin;
        stat.l2PselDropPrcd = 1;
        stat.l3PselDropPrcd = 2;
        stat.l2PselDscp = 10;
        stat.l2PselDscpEn = row.l2DscpEn;
        stat.l3PselDscp = 20;
        stat.l3PselDscpEn = row.l3DscpEn;
        stat.IpDscpForPsel = 30;
        stat.l2PselIngPrio = 5;
        stat.l3PselL2EgrPrio = 6;
        run();
        EXPECT_EQ(rslt.shim2Rslt.drop_prcd, row.dp) << &row - rows;
        EXPECT_EQ(rslt.shim3Rslt.dscp, row.dscp) << &row - rows;
        EXPECT_EQ(rslt.shim3Rslt.egr_iwqos, row.iwqos) << &row - rows;
    }
}

TEST_F(CmRteRocTest, FcHopsFallWithADroppedOrTrappedLayer3Result) {
    for (uint32_t rsltTyp = 0; rsltTyp < 4; rsltTyp++) {
        start();
        stat.l3PselRsltTyp = rsltTyp;
        stat.l3PselEgrLclFc = stat.l3PselEgrFnlFc = stat.l3PselEgrMhop = 1;
        run();
        const uint32_t kept = rsltTyp >= 2;
        EXPECT_EQ(stat.l3PselEgrLclFc, kept) << rsltTyp;
        EXPECT_EQ(stat.l3PselEgrFnlFc, kept) << rsltTyp;
        EXPECT_EQ(stat.l3PselEgrMhop, kept) << rsltTyp;
    }
}

// The kind of route.

TEST_F(CmRteRocTest, KindOfARoutedFrame) {
    struct Row {
        uint32_t ipVer, vf, ve, routed;
    };
    for (const Row &row : {Row{4, 1, 1, 0}, Row{6, 1, 1, 1}, Row{0, 1, 1, 2}, Row{0, 0, 1, 3}}) {
        start();
        stat.l3RteRqd = 1;
        stat.l3IpVer = row.ipVer;
        stat.l2PselFcoeVfRouted = row.vf;
        stat.l2PselFcoeVeRouted = row.ve;
        stat.l3PrcTrapRsn = 4; // only a switched frame is downgraded
        run();
        EXPECT_EQ(rslt.shim0Rslt.routed, row.routed);
    }
}

[[noreturn]] void roc(CmRteStat *statPtr) {
    std::fflush(stdout);
    dup2(STDERR_FILENO, STDOUT_FILENO);
    CmRteRoc(statPtr);
    std::exit(0);
}

TEST_F(CmRteRocTest, RoutedFrameOfNoKindIsFatal) {
    stat.l3RteRqd = 1;
    EXPECT_EXIT(roc(&stat), testing::KilledBySignal(SIGABRT),
                "^FATAL ERROR: L3RteRqd=1 but packet does not fall into any of IPv4, IPv6, FCoE VF, or FCoE VE routed "
                "categories\\.cmRteRoc\\.cpp:");
}

TEST_F(CmRteRocTest, KindOfASwitchedFrame) {
    struct Row {
        uint32_t ipVer, fcoe, routed;
    };
    for (const Row &row : {Row{4, 1, 4}, Row{6, 1, 5}, Row{0, 1, 6}, Row{0, 0, 7}}) {
        start();
        stat.l3IpVer = row.ipVer;
        stat.l2FcoeFound = row.fcoe;
        EXPECT_EQ(count(traced(), "downgraded"), 0u);
        EXPECT_EQ(rslt.shim0Rslt.routed, row.routed);
    }
}

TEST_F(CmRteRocTest, BrokenSwitchedFrameIsOfTheOtherKind) {
    struct Row {
        uint32_t CmRteStat::*field;
        uint32_t value, routed;
    };
    const Row rows[] = {
        {&CmRteStat::l2PrcDrop, 1, 7},     {&CmRteStat::l2PrcTrap, 1, 7},     {&CmRteStat::l3PrcTrapRsn, 4, 7},
        {&CmRteStat::l3PrcTrapRsn, 15, 7}, {&CmRteStat::l3PrcTrapRsn, 5, 4},  {&CmRteStat::l3PrcTrapRsn, 14, 4},
        {&CmRteStat::l3PrcDropRsn, 12, 7}, {&CmRteStat::l3PrcDropRsn, 13, 7}, {&CmRteStat::l3PrcDropRsn, 11, 4},
        {&CmRteStat::l3PrcDropRsn, 14, 4},
    };
    for (const Row &row : rows) {
        start();
        stat.l3IpVer = 4;
        stat.*row.field = row.value;
        const std::string out = traced();
        EXPECT_EQ(rslt.shim0Rslt.routed, row.routed) << &row - rows;
        // The text has no line end: the next one follows at once.
        EXPECT_EQ(count(out, line("[ROC] Switched packet downgraded to \"other\" route type,CM port=3")),
                  row.routed == 7 ? 1u : 0u)
            << &row - rows;
    }
}

TEST_F(CmRteRocTest, MulticastWhoseDropIsOverriddenFallsBackToSwitching) {
    for (uint32_t ipVer : {4u, 6u}) {
        start();
        routeIpv4();
        stat.l3IpVer = ipVer;
        stat.l3IpDaIsMcast = 1;
        stat.l3IpMcastDropOvrd = 1;
        stat.iivid = 0x77;
        stat.l3EividDa = 0x99;
        stat.l3NxtHopL2DaIdx = 1;
        stat.l3NxtHopFcoeL2SaIdx = 1;
        EXPECT_EQ(count(traced(), "IP MCast routed"), 0u);
        EXPECT_EQ(rslt.shim0Rslt.routed, ipVer == 4 ? 4u : 5u);
        EXPECT_EQ(stat.l3EividDa, 0x77u);
        EXPECT_EQ(rslt.hsiShim0Rslt.l2_egr_da_vid_idx, 0u);
        EXPECT_EQ(rslt.hsiShim1Rslt.fcoe_sa_idx, 0u);
    }
}

TEST_F(CmRteRocTest, OverrideNeedsAMulticastAddress) {
    for (auto [mcast, ovrd] : {std::pair{0u, 1u}, std::pair{1u, 0u}}) {
        start();
        routeIpv4();
        stat.l3IpDaIsMcast = mcast;
        stat.l3IpMcastDropOvrd = ovrd;
        stat.l3EividDa = 0x99;
        stat.l3NxtHopL2DaIdx = 0x12;
        stat.l3NxtHopFcoeL2SaIdx = 0x34;
        run();
        EXPECT_EQ(rslt.shim0Rslt.routed, 0u);
        EXPECT_EQ(rslt.shim3Rslt.egr_internal_vid, 0x99u);
        EXPECT_EQ(rslt.hsiShim0Rslt.l2_egr_da_vid_idx, 0x12u);
        EXPECT_EQ(rslt.hsiShim1Rslt.fcoe_sa_idx, 0x34u);
    }
}

TEST_F(CmRteRocTest, FallBackClearsTheNextHopWhateverTheKind) {
    stat.l3RteRqd = 1;
    stat.l2PselFcoeVfRouted = 1;
    stat.l3PselRsltTyp = RSLT_FWD;
    stat.l3IpDaIsMcast = 1;
    stat.l3IpMcastDropOvrd = 1;
    stat.iivid = 0x77;
    stat.l3NxtHopL2DaIdx = 1;
    run();
    EXPECT_EQ(rslt.shim0Rslt.routed, 2u);
    EXPECT_EQ(stat.l3EividDa, 0x77u);
    EXPECT_EQ(stat.l3NxtHopL2DaIdx, 0u);
}

TEST_F(CmRteRocTest, RoutedMulticastNeedsAMulticastGroupOfKindThree) {
    struct Row {
        uint32_t isMgid, mcastTyp, routed;
    };
    for (const Row &row : {Row{0, 3, 4}, Row{1, 2, 4}, Row{0, 0, 4}, Row{1, 3, 0}}) {
        start();
        routeIpv4();
        stat.l3McastRteRqd = 1;
        stat.l3PselIsMgid = row.isMgid;
        stat.l3PselMcastTyp = row.mcastTyp;
        stat.iivid = 0x77;
        stat.l3EividDa = 0x99;
        stat.l3NxtHopL2DaIdx = 5;
        stat.l3NxtHopFcoeL2SaIdx = 6;
        const std::string out = traced();
        const bool back = row.routed == 4;
        EXPECT_EQ(rslt.shim0Rslt.routed, row.routed);
        EXPECT_EQ(stat.l3EividDa, back ? 0x77u : 0x99u);
        EXPECT_EQ(stat.l3NxtHopL2DaIdx, back ? 0u : 5u);
        EXPECT_EQ(stat.l3NxtHopFcoeL2SaIdx, back ? 0u : 6u);
        EXPECT_EQ(count(out, line("[ROC] IP MCast routed but l3_mgid not set. Routed type changed from routed to "
                                  "switched. l3RteRqd=1, l3McastRteRqd=1\n")),
                  back ? 1u : 0u);
    }
}

} // namespace
