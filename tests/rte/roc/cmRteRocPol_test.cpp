#include "roc_fixture.h"

#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace {

// The layer-2 filter.

class RocPselFltTest : public RocTest {
protected:
    void fillResult() {
        stat.l2PselQmgPrio = stat.l2PselEgrIpEcn = stat.l2PselTrillDa = stat.l2PselTrillMc = 1;
        stat.l2PselEgidMgid = stat.l2PselAclLog = stat.l2PselSpan = 1;
        stat.l2PselIsL2Mgid = 1;
        stat.l2PselDropRsn = 44;
    }
    /// How many of the seven fields that a cleared result loses are still there.
    uint32_t left() const {
        return stat.l2PselQmgPrio + stat.l2PselEgrIpEcn + stat.l2PselTrillDa + stat.l2PselTrillMc +
               stat.l2PselEgidMgid + stat.l2PselAclLog + stat.l2PselSpan;
    }
};

const std::string kL3Flt = "l3_psel filtering: dropPrcErr=0 trapPrcErr=0 trapRsn=0 dropRsn=0\n";

TEST_F(RocPselFltTest, ForwardKeepsItsResult) {
    fillResult();
    stat.l2PselEgrPort = 6;
    EXPECT_EQ(tracedBy([&] { LuRocPselFlt(&stat); }), line(kL3Flt));
    EXPECT_EQ(left(), 7u);
    EXPECT_EQ(stat.l2PselIsL2Mgid, 1u);
    EXPECT_EQ(stat.l2PselDropRsn, 44u);
    EXPECT_EQ(stat.l2PselEgrPort, 6u);
}

TEST_F(RocPselFltTest, ParserVerdictClearsTheResultAndKeepsReasonAndGroupKind) {
    for (auto field : {&CmRteStat::l2PrcTrap, &CmRteStat::l2PrcDrop}) {
        start();
        fillResult();
        stat.*field = 1;
        stat.l2PselSrcDrop = 1;
        EXPECT_EQ(tracedBy([&] { LuRocPselFlt(&stat); }), line("LuRocPselFlt: l2PselRsltClr=1.\n") + line(kL3Flt));
        EXPECT_EQ(left(), 0u);
        EXPECT_EQ(stat.l2PselIsL2Mgid, 1u);
        EXPECT_EQ(stat.l2PselDropRsn, 44u);
    }
}

TEST_F(RocPselFltTest, LateDropsClearTheResultWithTheirReasons) {
    struct Row {
        uint32_t red, lag, src, rsn;
    };
    for (const Row &row :
         {Row{1, 0, 0, 27}, Row{0, 1, 0, 9}, Row{0, 0, 1, 11}, Row{1, 1, 0, 27}, Row{1, 1, 1, 11}, Row{0, 1, 1, 11}}) {
        start();
        fillResult();
        stat.l2PselRedDrop = row.red;
        stat.l2PselLagDrop = row.lag;
        stat.l2PselSrcDrop = row.src;
        EXPECT_EQ(tracedBy([&] { LuRocPselFlt(&stat); }), line("LuRocPselFlt: l2PselRsltClr=1.\n") + line(kL3Flt));
        EXPECT_EQ(left(), 0u);
        EXPECT_EQ(stat.l2PselIsL2Mgid, 0u);
        EXPECT_EQ(stat.l2PselDropRsn, row.rsn);
    }
}

TEST_F(RocPselFltTest, PriorityOfTheAddressReplacesTheQueuePriorityBeforeAClear) {
    stat.l2PselQmgPrio = 2;
    stat.macPrio = 6;
    LuRocPselFlt(&stat);
    EXPECT_EQ(stat.l2PselQmgPrio, 2u);
    stat.macPrioHit = 1;
    LuRocPselFlt(&stat);
    EXPECT_EQ(stat.l2PselQmgPrio, 6u);
    stat.l2PselRedDrop = 1;
    LuRocPselFlt(&stat);
    EXPECT_EQ(stat.l2PselQmgPrio, 0u);
}

TEST_F(RocPselFltTest, DroppedAndTrappedFramesHaveNoEgressPort) {
    for (uint32_t rsltTyp = 0; rsltTyp < 4; rsltTyp++) {
        start();
        stat.l2PselRsltTyp = rsltTyp;
        stat.l2PselEgrPort = 6;
        LuRocPselFlt(&stat);
        EXPECT_EQ(stat.l2PselEgrPort, rsltTyp < 2 ? 31u : 6u);
    }
}

// The layer-3 filter.

class L3PselFltTest : public RocTest {
protected:
    L3PselFltTest() {
        com.rte_fcoe_rte_en_trap_que = 13;
        com.rte_l3_ip_rte_en_trap_que = 12;
    }
    void fillResult(uint32_t rsltTyp) {
        stat.l3PselRsltTyp = rsltTyp;
        stat.l3PselIsMgid = 1;
        stat.l3PselMcastTyp = 3;
        stat.l3PselTrapQue = 2;
        stat.l3PselTrapRsn = 6;
        stat.l3PselDropRsn = 33;
    }
    void expectResult(uint32_t rsltTyp, uint32_t isMgid, uint32_t mcastTyp, uint32_t que, uint32_t trapRsn,
                      uint32_t dropRsn) const {
        EXPECT_EQ(stat.l3PselRsltTyp, rsltTyp);
        EXPECT_EQ(stat.l3PselIsMgid, isMgid);
        EXPECT_EQ(stat.l3PselMcastTyp, mcastTyp);
        EXPECT_EQ(stat.l3PselTrapQue, que);
        EXPECT_EQ(stat.l3PselTrapRsn, trapRsn);
        EXPECT_EQ(stat.l3PselDropRsn, dropRsn);
    }
    static std::string text(uint32_t dropErr, uint32_t trapErr, uint32_t trapRsn, uint32_t dropRsn) {
        char buf[128];
        std::snprintf(buf, sizeof buf, "l3_psel filtering: dropPrcErr=%x trapPrcErr=%x trapRsn=%x dropRsn=%x\n",
                      dropErr, trapErr, trapRsn, dropRsn);
        return line(buf);
    }
};

TEST_F(L3PselFltTest, DropOfTheParserByItsReason) {
    for (uint32_t rsn = 0; rsn < 64; rsn++) {
        const bool err = rsn != 0 && rsn != 33 && rsn != 34 && rsn < 36;
        stat.l3PselRsltTyp = RSLT_DROP;
        stat.l3PselDropRsn = rsn;
        EXPECT_EQ(tracedBy([&] { LuL3PselFlt(&stat); }), text(err, 0, 0, rsn));
        stat.l3PselRsltTyp = RSLT_FWD;
        EXPECT_EQ(tracedBy([&] { LuL3PselFlt(&stat); }), text(0, 0, 0, rsn));
    }
}

TEST_F(L3PselFltTest, TrapOfTheParserByItsReason) {
    for (uint32_t rsn = 0; rsn < 64; rsn++) {
        bool err = rsn < 27;
        for (uint32_t other : {6u, 12u, 13u, 14u, 18u, 20u, 21u, 22u, 26u})
            err = err && rsn != other;
        stat.l3PselRsltTyp = RSLT_TRAP;
        stat.l3PselTrapRsn = rsn;
        EXPECT_EQ(tracedBy([&] { LuL3PselFlt(&stat); }), text(0, err, rsn, 0));
        stat.l3PselRsltTyp = RSLT_FWD_A_TRAP;
        EXPECT_EQ(tracedBy([&] { LuL3PselFlt(&stat); }), text(0, 0, rsn, 0));
    }
}

TEST_F(L3PselFltTest, SkippedDropOrTrapClearsTheResult) {
    uint32_t CmRteStat::*const cleared[] = {
        &CmRteStat::l3PselL2EgrPrio, &CmRteStat::l3PselQmgPrio,   &CmRteStat::l3NxtHopTrillDa,
        &CmRteStat::l3NxtHopTrillMc, &CmRteStat::l3PselEgidMgid,  &CmRteStat::l3NxtHopFcoeL2Prio,
        &CmRteStat::l3PselIpTlen,    &CmRteStat::l3NxtHopL2DaIdx, &CmRteStat::l3PselEgrIpEcn,
        &CmRteStat::l3PselAclLog,    &CmRteStat::l3PselSpanEn,    &CmRteStat::l3PselFcEgrVc,
    };
    for (uint32_t skip : {0u, 1u}) {
        start();
        fillResult(RSLT_FWD);
        for (auto field : cleared)
            stat.*field = 1;
        stat.l3PselDropTrapSkip = skip;
        stat.l3PselTrapRteEnErr = skip; // a cleared result is not looked at again
        LuL3PselFlt(&stat);
        for (auto field : cleared)
            EXPECT_EQ(stat.*field, 1 - skip) << skip;
        expectResult(2, 1, 3, 2, 6, 33);
    }
}

TEST_F(L3PselFltTest, RoutingNotEnabledTraps) {
    for (uint32_t fcoe : {0u, 1u}) {
        start();
        fillResult(RSLT_FWD);
        stat.l2FcoeFound = fcoe;
        stat.l3PselTrapRteEnErr = 1;
        stat.l3PselRteEnErr = 1;
        stat.l3PselRedDrop = 1;
        LuL3PselFlt(&stat);
        expectResult(1, 0, 0, fcoe ? 13 : 12, 17, 0);
    }
}

TEST_F(L3PselFltTest, RoutingNotEnabledDrops) {
    for (uint32_t fcoe : {0u, 1u}) {
        start();
        fillResult(RSLT_FWD_A_TRAP);
        stat.l2FcoeFound = fcoe;
        stat.l3PselRteEnErr = 1;
        stat.l3PselRedDrop = 1;
        LuL3PselFlt(&stat);
        expectResult(0, 0, 0, 0, 0, fcoe ? 24 : 20);
    }
}

TEST_F(L3PselFltTest, AclFrameNeedsNoRoutingEnable) {
    fillResult(RSLT_FWD);
    stat.l3AclAppl = 1;
    stat.l3PselTrapRteEnErr = 1;
    stat.l3PselRteEnErr = 1;
    LuL3PselFlt(&stat);
    expectResult(2, 1, 3, 2, 6, 33);
    stat.l3PselRedDrop = 1;
    LuL3PselFlt(&stat);
    expectResult(0, 0, 0, 0, 0, 27);
}

TEST_F(L3PselFltTest, RedDropsForwardsAndKeepsTheTrappedCopy) {
    stat.l3PselRedDrop = 1;
    fillResult(RSLT_FWD);
    LuL3PselFlt(&stat);
    expectResult(0, 0, 0, 0, 0, 27);
    fillResult(RSLT_FWD_A_TRAP);
    LuL3PselFlt(&stat);
    expectResult(1, 1, 3, 2, 6, 33);
    for (uint32_t rsltTyp : {0u, 1u}) {
        fillResult(rsltTyp);
        LuL3PselFlt(&stat);
        expectResult(rsltTyp, 1, 3, 2, 6, 33);
    }
}

TEST_F(L3PselFltTest, ParserErrorIsFinal) {
    stat.l3PselTrapRteEnErr = stat.l3PselRteEnErr = 1;
    fillResult(RSLT_DROP);
    stat.l3PselDropRsn = 14;
    LuL3PselFlt(&stat);
    expectResult(0, 1, 3, 2, 6, 14);
    fillResult(RSLT_TRAP);
    stat.l3PselTrapRsn = 11;
    LuL3PselFlt(&stat);
    expectResult(1, 1, 3, 2, 11, 33);
    // A drop or trap of a later stage is not.
    fillResult(RSLT_DROP);
    LuL3PselFlt(&stat);
    expectResult(1, 0, 0, 12, 17, 0);
    stat.l3PselTrapRteEnErr = 0;
    fillResult(RSLT_TRAP);
    LuL3PselFlt(&stat);
    expectResult(0, 0, 0, 0, 0, 20);
}

// Policers.

class PolicerTest : public RocTest {
protected:
    PolicerTest() {
        com.l2_pol_en = 1;
        portReg.rte_prc_port_pol_id = 40;
        portReg.rte_prc_port_pol_en = 1;
        mem.RTE_VLAN_POL_SRAM[2 * 0x1fff] = 0xc01e; // policer 30, and two bits that do not count
        for (uint32_t id : {10u, 20u, 30u, 40u})
            mem.RTE_POL_REMAP_TBL_SRAM[id] = 1000 + id;
    }
    std::string params(uint32_t rsltTyp = RSLT_FWD) {
        rslt.hsiShim0Rslt.rslt_typ = rsltTyp;
        return tracedBy([&] { policerParams(&stat, &rslt); });
    }
    void frame() {
        start();
        stat.iivid = 0x1fff;
        stat.typAttrPolEn = 1;
        stat.l3PselPolId = 10;
        stat.l2PselPolId = 20;
    }
    void vlanPolicer(uint32_t ports) { mem.RTE_VLAN_POL_SRAM[2 * 0x1fff + 1] = ports; }
    static std::string remapped(uint32_t id, uint32_t en) {
        return line("[POL] remapped PolicerId=" + std::to_string(id) + ", ploicerEn=" + std::to_string(en) + "\n");
    }
    void expectPolicer(uint32_t id, uint32_t en) const {
        EXPECT_EQ(stat.finalPolId, id);
        EXPECT_EQ(stat.finalPolEn, en);
    }
};

TEST_F(PolicerTest, SideThatDecidesNamesThePolicer) {
    vlanPolicer(~0u);
    for (uint32_t win : {0u, 1u}) {
        for (uint32_t l3En : {0u, 1u}) {
            for (uint32_t l2En : {0u, 1u}) {
                frame();
                stat.typAttrPolEn = 0;
                stat.l3PolWin = win;
                stat.l3PselPolEn = l3En;
                stat.l2PselPolEn = l2En;
                const std::string out = params();
                if (win && l3En) {
                    EXPECT_EQ(out, line("[POL] pol_id from L3Psel: 10\n") + remapped(1010, 1));
                    expectPolicer(1010, 1);
                } else if (!win && l2En) {
                    EXPECT_EQ(out, line("[POL] pol_id from L2Psel: 20\n") + remapped(1020, 1));
                    expectPolicer(1020, 1);
                } else {
                    EXPECT_EQ(out, line("[POL] pol_id from VID table: 30\n") + remapped(1030, 0));
                    expectPolicer(1030, 0);
                }
            }
        }
    }
}

TEST_F(PolicerTest, VlanNamesThePolicerOfItsPorts) {
    for (uint32_t ports : {1u << 3, 0xffffffffu}) {
        frame();
        vlanPolicer(ports);
        portReg.rte_prc_port_pol_en = 0;
        EXPECT_EQ(params(), line("[POL] pol_id from VID table: 30\n") + remapped(1030, 1));
        expectPolicer(1030, 1);
    }
    for (uint32_t ports : {0u, ~(1u << 3), 1u << 28}) {
        frame();
        vlanPolicer(ports);
        EXPECT_EQ(count(params(), "VID table"), 0u);
    }
}

TEST_F(PolicerTest, PortIsTheDefault) {
    for (auto [typEn, portEn] : {std::pair{0u, 0u}, std::pair{0u, 1u}, std::pair{1u, 0u}, std::pair{1u, 1u}}) {
        frame();
        stat.typAttrPolEn = typEn;
        portReg.rte_prc_port_pol_en = portEn;
        EXPECT_EQ(params(), line("[POL] pol_id from port default: 40\n") + remapped(1040, typEn & portEn));
        expectPolicer(1040, typEn & portEn);
    }
}

TEST_F(PolicerTest, OnlyForwardsArePoliced) {
    for (uint32_t rsltTyp = 0; rsltTyp < 4; rsltTyp++) {
        frame();
        params(rsltTyp);
        expectPolicer(1040, rsltTyp >= 2);
    }
    com.l2_pol_en = 0;
    frame();
    params();
    expectPolicer(1040, 0);
}

TEST_F(PolicerTest, NumbersBeyondATableGive0) {
    mem.RTE_POL_REMAP_TBL_SRAM[16383] = 77;
    frame();
    stat.l2PselPolEn = 1;
    stat.l2PselPolId = 16383;
    params();
    expectPolicer(77, 1);
    stat.l2PselPolId = 16384;
    params();
    expectPolicer(0, 1);
    stat.l2PselPolEn = 0;
    stat.iivid = 0xffffffff;
    EXPECT_EQ(count(params(), "port default"), 1u);
}

TEST_F(PolicerTest, FixedRule) {
    struct Row {
        uint32_t id, dp, dscp, iwqos, outDp, prio, prioEn, outDscp, outIwqos;
    };
    const Row rows[] = {
        {0, 0, 0, 0, 1, 1, 1, 37, 3},      // 13 % 3, 17 & 7, 11 & 1, 37, 11 & 7
        {1, 2, 63, 7, 1, 2, 0, 37, 3},     // 16 % 3, 18 & 7, 12 & 1, 101 & 63, 19 & 7
        {5, 1, 10, 4, 1, 6, 0, 52, 4},     // 19 % 3, 22 & 7, 16 & 1, 52, 20 & 7
        {0xfff, 1, 0, 0, 2, 0, 0, 36, 2},  // 4109 % 3, 4112 & 7, 4106 & 1, 4132 & 63, 4106 & 7
        {0x3000, 7, 0, 0, 2, 1, 1, 37, 3}, // the low 12 bits count: 20 % 3
    };
    for (const Row &row : rows) {
        frame();
        mem.RTE_POL_REMAP_TBL_SRAM[40] = row.id;
        rslt.hsiShim0Rslt.rslt_typ = RSLT_FWD_A_TRAP;
        PolicerRun(&stat, &rslt, row.dp, row.dscp, row.iwqos);
        EXPECT_EQ(stat.finalDrpPrcd, row.outDp) << row.id;
        EXPECT_EQ(stat.polQPrio, row.prio) << row.id;
        EXPECT_EQ(stat.polQPrioEn, row.prioEn) << row.id;
        EXPECT_EQ(stat.finalDscp, row.outDscp) << row.id;
        EXPECT_EQ(stat.finalIwqos, row.outIwqos) << row.id;
    }
}

TEST_F(PolicerTest, DropPrecedenceStaysBelowThree) {
    for (uint32_t dp = 0; dp < 8; dp++) {
        for (uint32_t id = 0; id < 6; id++) {
            frame();
            mem.RTE_POL_REMAP_TBL_SRAM[40] = id;
            rslt.hsiShim0Rslt.rslt_typ = RSLT_FWD;
            PolicerRun(&stat, &rslt, dp, 0, 0);
            EXPECT_LT(stat.finalDrpPrcd, 3u);
        }
    }
}

TEST_F(PolicerTest, UnpolicedFramePasses) {
    for (uint32_t rsltTyp : {0u, 1u, 2u}) {
        frame();
        portReg.rte_prc_port_pol_en = rsltTyp != 2;
        stat.polQPrio = stat.polQPrioEn = 1;
        rslt.hsiShim0Rslt.rslt_typ = rsltTyp;
        PolicerRun(&stat, &rslt, 7, 50, 6);
        EXPECT_EQ(stat.finalDrpPrcd, 7u);
        EXPECT_EQ(stat.finalDscp, 50u);
        EXPECT_EQ(stat.finalIwqos, 6u);
        EXPECT_EQ(stat.polQPrio, 0u);
        EXPECT_EQ(stat.polQPrioEn, 0u);
    }
}

// Counters and small helpers.

TEST_F(RocTest, DropCounterByPortAndReason) {
    stat.dropRsn = 0x45; // the reason is shown whole, and counts by its low six bits
    uint32_t *cnt = &mem.RTE_DRP_RSN_STS_FCNT_SRAM[2 * (3 * 64 + 5)];
    EXPECT_EQ(tracedBy([&] { IncrDrpSts(&stat); }), line("(ROC IncrDropSts) DROP: reason=45 DRP_RSN_STS[c5]=0x0_1\n"));
    EXPECT_EQ(cnt[0], 0u);
    EXPECT_EQ(cnt[1], 1u);
    stat.dropRsn = 5;
    cnt[0] = 0x12;
    cnt[1] = 0xffffffff;
    EXPECT_EQ(tracedBy([&] { IncrDrpSts(&stat); }), line("(ROC IncrDropSts) DROP: reason=05 DRP_RSN_STS[c5]=0x13_0\n"));
    cnt[0] = 0xff;
    cnt[1] = 0xffffffff;
    verbose(false);
    IncrDrpSts(&stat);
    EXPECT_EQ(cnt[0], 0u);
    EXPECT_EQ(cnt[1], 0u);
}

TEST_F(RocTest, OnlyDropsAreCountedAsDrops) {
    for (uint32_t rsltTyp = 1; rsltTyp < 4; rsltTyp++) {
        rslt.hsiShim0Rslt.rslt_typ = rsltTyp;
        EXPECT_EQ(tracedBy([&] { IncrDrpSts(&stat); }), "");
    }
    EXPECT_EQ(mem.RTE_DRP_RSN_STS_FCNT_SRAM[2 * 3 * 64 + 1], 0u);
}

TEST_F(RocTest, Layer3MultipathGroupIsCounted) {
    stat.l3psel_mpid_sts_en = 1;
    stat.l3GidWin = 1;
    stat.l3PselNextHopRsltIdx = 0x3fff1;
    stat.l3NxtHopMpOffset = 9;
    stat.frmLen = 200;
    com.rte_l3_psel_sts_mpid[2] = 0x3fff1;
    com.rte_l3_psel_sts_mpid[7] = 0x3fff1; // the first one counts
    IncrL3MpSts(&stat);
    EXPECT_EQ(stat.l3psel_mpid_sts_hit, 1u);
    const uint32_t word = 2 * (2 << 5 | 9);
    EXPECT_EQ(mem.RTE_L3_PSEL_STS_MPID_FCNT_RA[word + 1], 1u);
    EXPECT_EQ(mem.RTE_L3_PSEL_STS_MPID_BCNT_RA[word + 1], 200u);

    mem.RTE_L3_PSEL_STS_MPID_FCNT_RA[word] = 0xff;
    mem.RTE_L3_PSEL_STS_MPID_FCNT_RA[word + 1] = 0xffffffff;
    mem.RTE_L3_PSEL_STS_MPID_BCNT_RA[word] = 0xffff;
    mem.RTE_L3_PSEL_STS_MPID_BCNT_RA[word + 1] = 0xffffffff;
    IncrL3MpSts(&stat);
    EXPECT_EQ(mem.RTE_L3_PSEL_STS_MPID_FCNT_RA[word], 0u);
    EXPECT_EQ(mem.RTE_L3_PSEL_STS_MPID_FCNT_RA[word + 1], 0u);
    EXPECT_EQ(mem.RTE_L3_PSEL_STS_MPID_BCNT_RA[word], 0u);
    EXPECT_EQ(mem.RTE_L3_PSEL_STS_MPID_BCNT_RA[word + 1], 199u);
}

TEST_F(RocTest, Layer3MultipathOffsetIsJoinedNotAdded) {
    stat.l3psel_mpid_sts_en = stat.l3GidWin = 1;
    stat.l3PselNextHopRsltIdx = 8;
    com.rte_l3_psel_sts_mpid[1] = 8;
    stat.l3NxtHopMpOffset = 0x21;
    IncrL3MpSts(&stat);
    EXPECT_EQ(mem.RTE_L3_PSEL_STS_MPID_FCNT_RA[2 * 0x21 + 1], 1u);
    EXPECT_EQ(mem.RTE_L3_PSEL_STS_MPID_FCNT_RA[2 * 0x41 + 1], 0u);
    // The counters end with their memory; the frame counts as a hit all the same.
    stat.l3psel_mpid_sts_hit = 0;
    stat.l3NxtHopMpOffset = 0x100;
    IncrL3MpSts(&stat);
    EXPECT_EQ(stat.l3psel_mpid_sts_hit, 1u);
    EXPECT_EQ(mem.RTE_L3_PSEL_STS_MPID_BCNT_RA[2 * 0x20 + 1], 0u);
}

TEST_F(RocTest, Layer3MultipathCountNeedsItsEnableTheGroupAndARegister) {
    for (auto [en, win, idx] : {std::tuple{0u, 1u, 8u}, std::tuple{1u, 0u, 8u}, std::tuple{1u, 1u, 9u}}) {
        start();
        com.rte_l3_psel_sts_mpid[0] = 8;
        stat.l3psel_mpid_sts_en = en;
        stat.l3GidWin = win;
        stat.l3PselNextHopRsltIdx = idx;
        IncrL3MpSts(&stat);
        EXPECT_EQ(stat.l3psel_mpid_sts_hit, 0u);
        EXPECT_EQ(mem.RTE_L3_PSEL_STS_MPID_FCNT_RA[1], 0u);
    }
}

TEST(RocSflow, CountStartsRoundItsMean) {
    EXPECT_EQ(CmGetSflwCntInit(100, 99), 199u);
    EXPECT_EQ(CmGetSflwCntInit(100, 100), 100u);
    EXPECT_EQ(CmGetSflwCntInit(100, 101), 100u);
    EXPECT_EQ(CmGetSflwCntInit(100, 0x400 | 99), 1u);
    EXPECT_EQ(CmGetSflwCntInit(100, 0x400 | 100), 100u);
    EXPECT_EQ(CmGetSflwCntInit(100, 0x200 | 5), 105u); // bit 9 is neither step nor sign
    EXPECT_EQ(CmGetSflwCntInit(100, 0x800 | 5), 105u);
    EXPECT_EQ(CmGetSflwCntInit(0xffffff, 0x1ff), 0x10001feu);
}

TEST(RocSflow, Sequence) {
    EXPECT_EQ(CmRteLfsr(512), 256u);
    EXPECT_EQ(CmRteLfsr(1), 0x360u);
    EXPECT_EQ(CmRteLfsr(0x361), 0x1b0u ^ 0x360u);
    EXPECT_EQ(CmRteLfsr(0x360), 0x1b0u);
    EXPECT_EQ(CmRteLfsr(0), 0u);
}

} // namespace
