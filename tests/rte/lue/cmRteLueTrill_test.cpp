#include "lue/cmRteLue.h"

#include "model_fixture.h"
#include "tcam_image.h"

namespace {

class LueTrill : public ModelTest {
protected:
    LueTrill() {
        resetStat(2);
        com.rte_his_en = 0xffffffff;
        stat.frmIdx = 9;
        verbose(true);
    }

    std::string myRb() {
        return printed([&] { TrillMyRbLu(&stat); });
    }
    std::string rpf() {
        return printed([&] { trillRpf(&stat); });
    }
    std::string ttl(uint32_t rsltTyp, uint32_t gid, uint32_t isMgid) {
        return printed([&] { TrillTtlAndLrnEnCheck(&stat, rsltTyp, gid, isMgid); });
    }

    CmRteHsiPortReg &port2 = rte->portRegLst[2];
    const std::string prefix = "CM port=2, frameIdx=9>> ";
};

} // namespace

TEST_F(LueTrill, NicknameOfThisBridgeMakesAnEgressFrame) {
    tcamOff(mem.RTE_TRILL_MRB_TCAM, 2);
    tcamExact(mem.RTE_TRILL_MRB_TCAM, 511, {0x1234});
    stat.l2TrillDa = 0x1234;
    com.rte_l2_trill_addr = 0xabcd;
    EXPECT_EQ(myRb(), prefix + "[TRILL_MY_RB_LU] hit = 1, overal trill_egr=1 (rte_l2_trill_addr=0xabcd)\n");
    EXPECT_EQ(stat.l2TrillEgr, 1u);
    EXPECT_EQ(com.rte_his_trill_mrb_tcam_key[3], 0x11234u);
}

TEST_F(LueTrill, OtherNicknameStaysInterior) {
    tcamOff(mem.RTE_TRILL_MRB_TCAM, 2);
    tcamExact(mem.RTE_TRILL_MRB_TCAM, 0, {0x1234});
    stat.l2TrillDa = 0x1235;
    EXPECT_EQ(myRb(), prefix + "[TRILL_MY_RB_LU] hit = 0, overal trill_egr=0 (rte_l2_trill_addr=0x0)\n");
    EXPECT_EQ(stat.l2TrillEgr, 0u);
    EXPECT_EQ(com.rte_his_trill_mrb_tcam_key[3], 0x11235u);
}

TEST_F(LueTrill, EgressFoundByTheParserStaysOnAMiss) {
    tcamOff(mem.RTE_TRILL_MRB_TCAM, 2);
    stat.l2TrillEgr = 1;
    EXPECT_EQ(myRb(), prefix + "[TRILL_MY_RB_LU] hit = 0, overal trill_egr=1 (rte_l2_trill_addr=0x0)\n");
    EXPECT_EQ(stat.l2TrillEgr, 1u);
}

TEST_F(LueTrill, RpfReadsTheHalfWordOfTreeAndIngressBridge) {
    com.trill_mcast_rb[0] = 0x10;
    com.trill_mcast_rb[1] = 0x20;
    com.trill_mcast_rb[2] = 0x30;
    com.trill_mcast_rb[3] = 0x40;
    com.l2_trill_mcast_rpf_miss_rslt = 0;
    com.rte_lue_l2_trpf_addr_hi = 0x3ffff;
    stat.l2TrillDa = 0x30;
    stat.l2TrillSa = 0x0102;
    port2.rte_prc_trill_rpf_port = 11;
    mem.RTE_TRILL_RPF_EDRAM[0x20102 >> 1] = 0x08000001;
    EXPECT_EQ(rpf(), prefix + "Trill MC RPF. mc_rb0=0x10,  mc_rb1=0x20,  mc_rb2=0x30,  mc_rb3=0x40\n" + prefix +
                         "Trill MC RPF. dbId=2\n" + prefix +
                         "Trill MC RPF. rpfChkAddr=0x20102, trill_rpf_port=11, rpfDropMap=0x800\n" + prefix +
                         "Trill MC RPF. rpfChkBit=1\n");
    EXPECT_EQ(stat.l2TrillMcRpfDrop, 1u);
    EXPECT_EQ(com.rte_his_trill_rpf_rslt[3], 1u << 24 | 2u << 12 | 0x10081u);

    // Odd bridge numbers have the low half.
    stat.l2TrillMcRpfDrop = 0;
    stat.l2TrillSa = 0x0103;
    EXPECT_NE(rpf().find("rpfChkAddr=0x20103, trill_rpf_port=11, rpfDropMap=0x1\n"), std::string::npos);
    EXPECT_EQ(stat.l2TrillMcRpfDrop, 0u);
    port2.rte_prc_trill_rpf_port = 0;
    rpf();
    EXPECT_EQ(stat.l2TrillMcRpfDrop, 1u);
}

TEST_F(LueTrill, FirstEqualTreeCounts) {
    com.trill_mcast_rb[0] = 0x10;
    com.trill_mcast_rb[1] = com.trill_mcast_rb[3] = 0x20;
    com.trill_mcast_rb[2] = 0x30;
    struct {
        uint32_t da, tree;
    } const rows[] = {{0x10, 0}, {0x20, 1}, {0x30, 2}, {0x40, 4}};
    for (const auto &row : rows) {
        stat.l2TrillDa = row.da;
        EXPECT_NE(rpf().find("Trill MC RPF. dbId=" + std::to_string(row.tree) + "\n"), std::string::npos) << row.da;
    }
}

TEST_F(LueTrill, LastTreeReadsTheEndOfTheMemory) {
    com.trill_mcast_rb[3] = 0x77;
    stat.l2TrillDa = 0x77;
    stat.l2TrillSa = 0xffff;
    port2.rte_prc_trill_rpf_port = 3;
    mem.RTE_TRILL_RPF_EDRAM[wordCnt(mem.RTE_TRILL_RPF_EDRAM) - 1] = 0x8;
    rpf();
    EXPECT_EQ(stat.l2TrillMcRpfDrop, 1u);
}

TEST_F(LueTrill, UnknownTreeTakesTheMissResultWithoutHistory) {
    stat.l2TrillDa = 5;
    com.l2_trill_mcast_rpf_miss_rslt = 1;
    com.rte_lue_l2_trpf_addr_hi = 0x3ffff;
    EXPECT_EQ(rpf(), prefix + "Trill MC RPF. mc_rb0=0x0,  mc_rb1=0x0,  mc_rb2=0x0,  mc_rb3=0x0\n" + prefix +
                         "Trill MC RPF. dbId=4\n" + prefix + "Trill MC RPF. rpfChkBit=1\n");
    EXPECT_EQ(stat.l2TrillMcRpfDrop, 1u);
    EXPECT_EQ(com.rte_his_trill_rpf_rslt[3], 0u);

    // A check bit of 0 takes no earlier flag back.
    com.l2_trill_mcast_rpf_miss_rslt = 0;
    rpf();
    EXPECT_EQ(stat.l2TrillMcRpfDrop, 1u);
}

TEST_F(LueTrill, RpfPort12IgnoresTheMapButReadsAndCaptures) {
    com.trill_mcast_rb[0] = 5;
    stat.l2TrillDa = 5;
    com.rte_lue_l2_trpf_addr_hi = 0x3ffff;
    mem.RTE_TRILL_RPF_EDRAM[0] = 0x0fff0000;
    port2.rte_prc_trill_rpf_port = 12;
    EXPECT_NE(
        rpf().find("rpfChkAddr=0x0, trill_rpf_port=12, rpfDropMap=0xfff\n" + prefix + "Trill MC RPF. rpfChkBit=0\n"),
        std::string::npos);
    EXPECT_EQ(stat.l2TrillMcRpfDrop, 0u);
    EXPECT_EQ(com.rte_his_trill_rpf_rslt[3], 1u << 24 | 2u << 12);
    com.l2_trill_mcast_rpf_miss_rslt = 1;
    mem.RTE_TRILL_RPF_EDRAM[0] = 0;
    for (const uint32_t rpfPort : {12u, 15u}) {
        stat.l2TrillMcRpfDrop = 0;
        port2.rte_prc_trill_rpf_port = rpfPort;
        rpf();
        EXPECT_EQ(stat.l2TrillMcRpfDrop, 1u) << rpfPort;
    }
}

TEST_F(LueTrill, RpfHistoryHasARange) {
    com.trill_mcast_rb[0] = 5;
    stat.l2TrillDa = 5;
    com.rte_lue_l2_trpf_addr_lo = 2u << 12 | 1;
    com.rte_lue_l2_trpf_addr_hi = 0x3ffff;
    rpf();
    EXPECT_EQ(com.rte_his_trill_rpf_rslt[3], 0u);
    stat.l2TrillSa = 2;
    rpf();
    EXPECT_EQ(com.rte_his_trill_rpf_rslt[3], 1u << 24 | 2u << 12 | 1);
    com.rte_his_trill_rpf_rslt[3] = 0;
    com.rte_lue_l2_trpf_addr_lo = 0;
    com.rte_lue_l2_trpf_addr_hi = 2u << 12;
    rpf();
    EXPECT_EQ(com.rte_his_trill_rpf_rslt[3], 0u);
}

TEST_F(LueTrill, GroupsHaveTheirOwn1QMemories) {
    stat.l2TrillFound = 1;
    stat.l3RteRqd = 1;
    mem.RTE_L2_PSEL_EGID_1Q_RA[0x3f] = 1u << 5;
    mem.RTE_L2_PSEL_MGID_1Q_RA[0x2ff] = 1u << 6;
    struct {
        uint32_t gid, isMgid, is1Q;
    } const rows[] = {{0x7e5, 0, 1},  {0x7e6, 0, 0},  {0x7e5, 1, 0},   {0x5fe6, 1, 1},
                      {0x5fe5, 1, 0}, {0x1fe5, 0, 1}, {0x1ffe6, 1, 0}, {0x25fe6, 1, 1}};
    for (const auto &row : rows) {
        ttl(RSLT_FWD, row.gid, row.isMgid);
        EXPECT_EQ(stat.l2PselEgr1Q, row.is1Q) << std::hex << row.gid << " " << row.isMgid;
    }
}

TEST_F(LueTrill, TransitToATrillLinkTeachesNothing) {
    stat.l2TrillFound = 1;
    stat.l2TrillTtl = 5;
    for (const uint32_t egr : {0u, 1u})
        for (const uint32_t oneQ : {0u, 1u}) {
            stat.l2TrillEgr = egr;
            mem.RTE_L2_PSEL_EGID_1Q_RA[0] = oneQ << 3;
            stat.l2PselSaLrnEn = stat.l2PselDaLrnEn = 1;
            ttl(RSLT_FWD, 3, 0);
            EXPECT_EQ(stat.l2PselSaLrnEn, egr | oneQ);
            EXPECT_EQ(stat.l2PselDaLrnEn, egr | oneQ);
        }
}

TEST_F(LueTrill, HopCountErrors) {
    stat.l2TrillFound = 1;
    port2.rte_prc_l2_trill_ck_ttl = 1;
    struct {
        uint32_t hopCnt, oneQ, routed, err;
    } const rows[] = {{0, 0, 0, 1}, {0, 1, 0, 1}, {1, 0, 0, 1}, {1, 1, 0, 0}, {2, 0, 0, 0},
                      {2, 1, 0, 0}, {0, 0, 1, 0}, {0, 1, 1, 0}, {1, 0, 1, 0}};
    for (const auto &row : rows) {
        mem.RTE_L2_PSEL_EGID_1Q_RA[0] = row.oneQ << 3;
        stat.l2TrillTtl = row.hopCnt;
        stat.l3RteRqd = row.routed;
        stat.l2PselTrillTtlErr = stat.l2PselDropTrillTtlErr = stat.l2PselTrapTrillTtlErr = 0;
        ttl(RSLT_FWD, 3, 0);
        EXPECT_EQ(stat.l2PselTrillTtlErr, row.err) << row.hopCnt << row.oneQ << row.routed;
        EXPECT_EQ(stat.l2PselDropTrillTtlErr, row.err);
        EXPECT_EQ(stat.l2PselTrapTrillTtlErr, 0u);
    }
}

TEST_F(LueTrill, HopCountErrorDropsTrapsOrPasses) {
    stat.l2TrillFound = 1;
    const std::string check = prefix + "Post-PSel Trill TTL check. l2PselEgr1Q=0, l2_trill_ck_ttl=";
    EXPECT_EQ(ttl(RSLT_FWD, 0x1c, 0), check + "0, gid=1c\n");
    EXPECT_EQ(stat.l2PselTrillTtlErr, 0u);

    port2.rte_prc_l2_trill_ck_ttl = 1;
    stat.l2TrillTtl = 1;
    EXPECT_EQ(ttl(RSLT_FWD_A_TRAP, 0x1c, 0), check + "1, gid=1c\n" + prefix + "Trill TTL=1 & 1Q=0 err, DROP\n");
    EXPECT_EQ(stat.l2PselTrillTtlErr, 1u);
    EXPECT_EQ(stat.l2PselDropTrillTtlErr, 1u);
    EXPECT_EQ(stat.l2PselTrapTrillTtlErr, 0u);

    stat.l2PselTrillTtlErr = stat.l2PselDropTrillTtlErr = 0;
    port2.rte_prc_l2_trill_trap_ttl_err = 1;
    EXPECT_EQ(ttl(RSLT_FWD, 0x1c, 0), check + "1, gid=1c\n" + prefix + "Trill TTL=1 & 1Q=0 err, TRAP\n");
    EXPECT_EQ(stat.l2PselTrillTtlErr, 1u);
    EXPECT_EQ(stat.l2PselDropTrillTtlErr, 0u);
    EXPECT_EQ(stat.l2PselTrapTrillTtlErr, 1u);
}

TEST_F(LueTrill, DropTrapAndOtherFramesAreLeftAlone) {
    mem.RTE_L2_PSEL_EGID_1Q_RA[0] = 0;
    port2.rte_prc_l2_trill_ck_ttl = 1;
    for (const uint32_t found : {0u, 1u})
        for (const uint32_t rsltTyp : {0u, 1u, 2u, 3u}) {
            stat.l2TrillFound = found;
            stat.l2PselEgr1Q = 1;
            stat.l2PselSaLrnEn = 1;
            const bool acts = found && rsltTyp >= 2;
            EXPECT_EQ(ttl(rsltTyp, 0, 0).empty(), !acts);
            EXPECT_EQ(stat.l2PselEgr1Q, acts ? 0u : 1u) << found << rsltTyp;
            EXPECT_EQ(stat.l2PselSaLrnEn, acts ? 0u : 1u) << found << rsltTyp;
        }
}

TEST_F(LueTrill, QuietFramesPrintNothing) {
    verbose(false);
    stat.l2TrillFound = 1;
    EXPECT_EQ(myRb() + rpf() + ttl(RSLT_FWD, 0, 0), "");
}
