#include "roc_fixture.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

class CmRteRocVerdictTest : public RocTest {
protected:
    void expectVerdict(uint32_t rsltTyp, uint32_t trapQue, uint32_t trapRsn) const {
        EXPECT_EQ(rslt.hsiShim0Rslt.rslt_typ, rsltTyp);
        EXPECT_EQ(rslt.hsiShim0Rslt.trap_que, trapQue);
        EXPECT_EQ(rslt.hsiShim0Rslt.trap_rsn, trapRsn);
    }

    /// Gives both sides a trap queue and reason of their own.
    void bothTraps() {
        stat.l2PselTrapQue = 2;
        stat.l2PselTrapRsn = 102;
        stat.l3PselTrapQue = 3;
        stat.l3PselTrapRsn = 18;
        stat.l3AclTrapQue = 4;
        stat.l3AclTrapRsn = 104;
    }
};

TEST_F(CmRteRocVerdictTest, Layer2VerdictWithoutLayer3) {
    for (uint32_t rsltTyp = 0; rsltTyp < 4; rsltTyp++) {
        start();
        bothTraps();
        stat.l2PselRsltTyp = rsltTyp;
        stat.l3PselRsltTyp = RSLT_FWD;
        run();
        expectVerdict(rsltTyp, 2, 102);
    }
}

TEST_F(CmRteRocVerdictTest, Layer3VerdictOfARoutedFrame) {
    for (uint32_t rsltTyp = 0; rsltTyp < 4; rsltTyp++) {
        start();
        bothTraps();
        routeIpv4(rsltTyp);
        stat.l2PselRsltTyp = RSLT_FWD_A_TRAP;
        run();
        expectVerdict(rsltTyp, 3, 18);
    }
}

TEST_F(CmRteRocVerdictTest, Layer2TrapJoinsALayer3ForwardWhenTrapsStayWithLayer2) {
    struct Row {
        uint32_t l2, l3, trapOvrd, result;
    };
    const Row rows[] = {
        {1, 2, 0, 3}, {3, 2, 0, 3}, {2, 2, 0, 2}, {0, 2, 0, 2}, {1, 2, 1, 2},
        {3, 2, 1, 2}, {1, 1, 0, 1}, {1, 0, 0, 0}, {3, 3, 0, 3},
    };
    for (const Row &row : rows) {
        start();
        bothTraps();
        stat.l3AclEn = 1;
        stat.l3PselGidL3Ovrd = 1;
        stat.l3PselTrapL3Ovrd = row.trapOvrd;
        stat.l2PselRsltTyp = row.l2;
        stat.l3PselRsltTyp = row.l3;
        const std::string out = traced();
        const bool picked = row.l3 == 2 && row.result == 3;
        SCOPED_TRACE(&row - rows);
        expectVerdict(row.result, picked ? 2 : 3, picked ? 102 : 18);
        EXPECT_EQ(count(out, line("[ROC] l3TrapEnWin=0 l3GidWin=1 is picking trap from L2, trap_rsn=102\n")),
                  picked ? 1u : 0u);
    }
}

TEST_F(CmRteRocVerdictTest, Layer3TrapJoinsALayer2ForwardWhenTrapsGoToLayer3) {
    struct Row {
        uint32_t l2, trapOvrd, ctrlFwd, aclTrapEn, ctrlTrap, ctrlTrapFwd, result, que, rsn;
    };
    const Row rows[] = {
        {2, 1, 1, 1, 0, 0, 3, 4, 104}, {2, 1, 1, 0, 0, 0, 2, 2, 102}, {2, 1, 0, 1, 0, 0, 2, 2, 102},
        {2, 1, 0, 0, 1, 0, 3, 3, 18},  {2, 1, 0, 0, 0, 1, 3, 3, 18},  {2, 1, 1, 1, 1, 0, 3, 3, 18},
        {2, 1, 1, 1, 0, 1, 3, 3, 18},  {2, 0, 1, 1, 1, 1, 2, 2, 102}, {3, 1, 1, 1, 1, 1, 3, 2, 102},
        {1, 1, 1, 1, 1, 1, 1, 2, 102}, {0, 1, 1, 1, 1, 1, 0, 2, 102},
    };
    for (const Row &row : rows) {
        start();
        bothTraps();
        stat.l3AclEn = 1;
        stat.l3PselTrapL3Ovrd = row.trapOvrd;
        stat.l2PselRsltTyp = row.l2;
        stat.l3CtrlFwd = row.ctrlFwd;
        stat.l3AclTrapEn = row.aclTrapEn;
        stat.l3CtrlTrap = row.ctrlTrap;
        stat.l3CtrlTrapFwd = row.ctrlTrapFwd;
        const std::string out = traced();
        SCOPED_TRACE(&row - rows);
        expectVerdict(row.result, row.que, row.rsn);
        EXPECT_EQ(count(out, "picking trap"), row.l2 == 2 && row.result == 3 ? 1u : 0u);
        if (row.l2 == 2 && row.result == 3) {
            const std::string rsn = std::to_string(row.rsn);
            EXPECT_EQ(
                count(out, line("[ROC] l3TrapEnWin=1 l3GidWin=0 is picking trap from L3, trap_rsn=" + rsn + "\n")), 1u);
        }
    }
}

// The overrides.

TEST_F(CmRteRocVerdictTest, UnreachableTurnsADropOrTrapIntoItsTrap) {
    com.rte_l3_ip_icmp_unrech_trap_que = 9;
    for (uint32_t rsltTyp = 0; rsltTyp < 4; rsltTyp++) {
        start();
        routeIpv4(rsltTyp);
        stat.l3IcmpUnreach = 1;
        stat.l3PselDropRsn = 33;
        run();
        if (rsltTyp < 2)
            expectVerdict(1, 9, 21);
        else
            expectVerdict(rsltTyp, 0, 0);
        EXPECT_EQ(stat.l3PselDropRsn, rsltTyp < 2 ? 0u : 33u);
    }
}

TEST_F(CmRteRocVerdictTest, DropWithoutUnreachableIsFinal) {
    routeIpv4(RSLT_DROP);
    stat.l3IpRpfErr = 1;
    stat.l3IcmpRedirect = 1;
    stat.l2PselSaLrnEn = 1;
    stat.l3PselDropRsn = 33;
    run();
    expectVerdict(0, 0, 0);
    EXPECT_EQ(rslt.dropRsnRslt, 33u);
    EXPECT_EQ(stat.l2PselSaLrnEn, 1u);
}

TEST_F(CmRteRocVerdictTest, AclDropGroupDropsAheadOfTheRpfCheck) {
    com.rte_acl_drop_egid = 0x1abc;
    com.rte_l2_sa_lrn_dropped_en = 1;
    portReg.rte_prc_trap_l3_rpf_err = 1;
    stat.l2PselEgidMgid = 0x5abc;
    stat.l3IpRpfErr = 1;
    stat.l2PselDropRsn = 7;
    run();
    expectVerdict(0, 0, 0);
    EXPECT_EQ(rslt.dropRsnRslt, 0u);
}

TEST_F(CmRteRocVerdictTest, AclDropGroupNeedsItsExactForm) {
    com.rte_acl_drop_egid = 0xabc;
    com.rte_l3_ip_rpf_err_trap_que = 11;
    portReg.rte_prc_trap_l3_rpf_err = 1;
    for (auto [egid, isMgid] :
         {std::pair{0x0abcu, 0u}, std::pair{0xcabcu, 0u}, std::pair{0x4abdu, 0u}, std::pair{0x4abcu, 1u}}) {
        start();
        stat.l2PselEgidMgid = egid;
        stat.l2PselIsL2Mgid = isMgid;
        stat.l3IpRpfErr = 1;
        run();
        expectVerdict(1, 11, 6);
    }
}

TEST_F(CmRteRocVerdictTest, RpfErrorTrapsOrDrops) {
    com.rte_l3_ip_rpf_err_trap_que = 11;
    for (uint32_t rsltTyp : {2u, 3u}) {
        for (uint32_t trap : {0u, 1u}) {
            start();
            routeIpv4(rsltTyp);
            portReg.rte_prc_trap_l3_rpf_err = trap;
            stat.l3IpRpfErr = 1;
            stat.l3IcmpRedirect = 1;
            run();
            if (trap) {
                expectVerdict(1, 11, 6);
                EXPECT_EQ(stat.l3PselDropRsn, 0u);
            } else {
                expectVerdict(0, 0, 0);
                EXPECT_EQ(rslt.dropRsnRslt, 34u);
            }
        }
    }
}

TEST_F(CmRteRocVerdictTest, RpfErrorReplacesASetSourceLearnEnable) {
    for (uint32_t trap : {0u, 1u}) {
        portReg.rte_prc_trap_l3_rpf_err = trap;
        for (auto [was, reg, becomes] : {std::tuple{0u, 1u, 0u}, std::tuple{1u, 0u, 0u}, std::tuple{1u, 1u, 1u}}) {
            start();
            routeIpv4();
            stat.l3IpRpfErr = 1;
            stat.l2PselSaLrnEn = was;
            portReg.rte_prc_l3_rpf_err_lrn_en = reg;
            run();
            EXPECT_EQ(stat.l2PselSaLrnEn, becomes) << was << reg;
        }
    }
}

TEST_F(CmRteRocVerdictTest, RedirectAddsItsTrap) {
    com.rte_l3_ip_icmp_redirect_trap_que = 10;
    for (uint32_t rsltTyp : {2u, 3u}) {
        start();
        routeIpv4(rsltTyp);
        stat.l3IcmpRedirect = 1;
        stat.l3PselDropRsn = 33;
        stat.l3PselEgidMgid = 0x2005; // bit 13 is no mark of a special group
        EXPECT_EQ(count(traced(), "special egid check"), 0u);
        expectVerdict(3, 10, 20);
        EXPECT_EQ(stat.l3PselDropRsn, 0u);
    }
}

TEST_F(CmRteRocVerdictTest, RedirectToASpecialGroupOnlyTraps) {
    com.rte_l3_ip_icmp_redirect_trap_que = 10;
    for (uint32_t egid : {0x4005u, 0x8005u, 0x10005u}) {
        start();
        routeIpv4();
        stat.l3IcmpRedirect = 1;
        stat.l3PselEgidMgid = egid;
        char hex[16];
        std::snprintf(hex, sizeof hex, "%x", egid);
        EXPECT_EQ(
            count(traced(), line("[ROC] special egid check. rslt_typ made TRAP egid=0x" + std::string(hex) + "\n")),
            1u);
        expectVerdict(1, 10, 20);
    }
    start();
    routeIpv4();
    stat.l3IcmpRedirect = 1;
    stat.l3PselIsMgid = 1;
    stat.l3PselEgidMgid = 0x10005;
    EXPECT_EQ(count(traced(), "special egid check"), 0u);
    expectVerdict(3, 10, 20);
}

// Hop count and learning.

TEST_F(CmRteRocVerdictTest, HopCountCheckOfOrdinaryGroupsAndMulticast) {
    struct Row {
        uint32_t egid, isMgid, prcTrap, prcDrop, runs;
    };
    const Row rows[] = {{0x25, 0, 0, 0, 1},   {0x2025, 0, 0, 0, 1}, {0x4025, 0, 0, 0, 0}, {0x10025, 0, 0, 0, 0},
                        {0x4025, 1, 0, 0, 1}, {0x25, 0, 1, 0, 0},   {0x25, 0, 0, 1, 0}};
    for (const Row &row : rows) {
        start();
        routeIpv4(); // so that the parser's verdict leaves the group alone
        stat.l2TrillFound = 1;
        stat.l3PselEgidMgid = row.egid;
        stat.l3PselIsMgid = row.isMgid;
        stat.l2PrcTrap = row.prcTrap;
        stat.l2PrcDrop = row.prcDrop;
        EXPECT_EQ(count(traced(), line("Post-PSel Trill TTL check. ")), row.runs) << &row - rows;
    }
}

TEST_F(CmRteRocVerdictTest, HopCountCheckLooksAtTheResultSoFar) {
    mem.RTE_L2_PSEL_EGID_1Q_RA[1] = 1u << 5;  // unicast group 0x25
    mem.RTE_L2_PSEL_MGID_1Q_RA[9] = 1u << 10; // multicast group 0x12a
    struct Row {
        uint32_t isMgid, egid, egr1Q;
        const char *gid;
    };
    for (const Row &row : {Row{0, 0x25, 1, "25"}, Row{1, 0x25, 0, "25"}, Row{0, 0x12a, 0, "12a"},
                           Row{1, 0x12a, 1, "12a"}, Row{0, 0x3825, 1, "3825"}, Row{1, 0x412a, 0, "412a"}}) {
        start();
        routeIpv4();
        stat.l2PselRsltTyp = RSLT_DROP; // layer 3 decides
        stat.l2TrillFound = 1;
        stat.l3PselIsMgid = row.isMgid;
        stat.l3PselEgidMgid = row.egid;
        EXPECT_EQ(count(traced(), line("Post-PSel Trill TTL check. l2PselEgr1Q=" + std::to_string(row.egr1Q) +
                                       ", l2_trill_ck_ttl=0, gid=" + row.gid + "\n")),
                  1u)
            << row.gid << row.isMgid;
    }
}

TEST_F(CmRteRocVerdictTest, FrameIsPolicedBeforeItsVerdictIsOverridden) {
    com.l2_pol_en = 1;
    stat.l2PselPolEn = 1;
    stat.l2PselPolId = 1;
    mem.RTE_POL_REMAP_TBL_SRAM[1] = 3;
    stat.l3IpRpfErr = 1;
    const std::string out = traced();
    EXPECT_EQ(count(out, line("[POL] remapped PolicerId=3, ploicerEn=1\n")), 1u);
    expectVerdict(0, 0, 0);
    EXPECT_EQ(rslt.shim3Rslt.dscp, 40u); // 0 + 3 + 37
}

TEST_F(CmRteRocVerdictTest, HopCountErrorFoundLateChangesTheVerdict) {
    portReg.rte_prc_l2_trill_ck_ttl = 1;
    com.rte_l2_trill_ttl_trap_que = 12;
    for (uint32_t trap : {0u, 1u}) {
        start();
        portReg.rte_prc_l2_trill_trap_ttl_err = trap;
        stat.l2TrillFound = 1;
        stat.l2TrillTtl = 0;
        run();
        if (trap) {
            expectVerdict(1, 12, 24);
        } else {
            expectVerdict(0, 0, 9);
            EXPECT_EQ(rslt.dropRsnRslt, 9u);
        }
    }
}

TEST_F(CmRteRocVerdictTest, HopCountErrorOfASpecialGroupStillCounts) {
    com.rte_l2_trill_ttl_trap_que = 12;
    stat.l2PselEgidMgid = 0x8025;
    stat.l2PselTrillTtlErr = 1;
    stat.l2PselTrapTrillTtlErr = 1;
    run();
    expectVerdict(1, 12, 24);
}

TEST_F(CmRteRocVerdictTest, LearnsUnlessTheParserDecided) {
    for (auto [trap, drop] : {std::pair{0u, 0u}, std::pair{1u, 0u}, std::pair{0u, 1u}}) {
        start();
        stat.l2PrcTrap = trap;
        stat.l2PrcDrop = drop;
        stat.l2PselDaLrnEn = 1;
        portReg.rte_prc_l2_da_lrn_en = 1;
        const std::string out = traced();
        const size_t runs = trap || drop ? 0 : 1;
        EXPECT_EQ(count(out, line("[L2 SA Learn] l2PselSaLrnEn=0\n") + line("[L2 DA Learn]\n")), runs);
        EXPECT_EQ(count(out, "Learn]") != 0, runs != 0);
    }
}

TEST_F(CmRteRocVerdictTest, LearnsByTheEnablesOfTheFinalGroup) {
    stat.l2PselEgidMgid = 0x8000;
    stat.l2PselSaLrnEn = 1;
    com.rte_l2_sa_lrn_dropped_en = 0;
    const std::string out = traced();
    EXPECT_EQ(count(out, line("final egid (0x8000) has bits [16:14]!=0. DROP\n") +
                             line("[ROC] final Egid check results in DROP. l2PselSaLrnEn set to 0\n") +
                             line("[L2 SA Learn] l2PselSaLrnEn=0\n")),
              1u);
}

// Tail drop in the composition.

TEST_F(CmRteRocVerdictTest, TailDropSeesThePolicedColourAndTheFinalPriority) {
    rte->extCfg.yelDropLst[3] = 1u << 6;
    stat.l2PselDropPrcd = 1;
    stat.l2PselQmgPrio = 6;
    const std::string out = traced();
    EXPECT_EQ(count(out, line("Checking tail drop. color=1, q_prio=6, icb_drop_vector = 0x40\n") +
                             line("Tail drop. DROP\n") + line("Increment tail drop stats. drop_prcd=1, q_prio=6\n")),
              1u);
    expectVerdict(0, 0, 0);
    EXPECT_EQ(rslt.dropRsnRslt, 25u);
}

TEST_F(CmRteRocVerdictTest, TailDroppedMulticastIsComposedAsUnicast) {
    rte->extCfg.tailDropLst[3] = 1;
    stat.l2PselIsL2Mgid = 1;
    stat.l3IpVer = 4;
    stat.l2PselEgrIpEcn = 3;
    run();
    EXPECT_EQ(rslt.shim2Rslt.is_mgid, 0u);
    EXPECT_EQ(rslt.shim1Rslt.ecn_o_mcast_type, 3u);
    EXPECT_EQ(rslt.shim2Rslt.mgid_o_copy_id_o_qcn_control, 0u);
}

TEST_F(CmRteRocVerdictTest, FcClassTrapsGoToQueue14) {
    for (uint32_t rsltTyp = 0; rsltTyp < 4; rsltTyp++) {
        for (auto [classF, class2] : {std::pair{0u, 0u}, std::pair{1u, 0u}, std::pair{0u, 1u}}) {
            start();
            stat.l2PselRsltTyp = rsltTyp;
            stat.l2PselTrapQue = 5;
            stat.l2FcoeFcClassF = classF;
            stat.l2FcoeFcClass2 = class2;
            run();
            EXPECT_EQ(rslt.hsiShim0Rslt.trap_que, (rsltTyp & 1) && (classF || class2) ? 14u : 5u) << rsltTyp;
            EXPECT_EQ(rslt.shim0Rslt.lossless_timeout, classF | class2);
        }
    }
}

} // namespace
