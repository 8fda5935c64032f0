#include "roc_fixture.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

class FinalEgidTest : public RocTest {
protected:
    FinalEgidTest() {
        com.rte_acl_drop_egid = 0x101;
        com.rte_trap_egid = 0x102;
        com.rte_pth_egid = 0x103;
        com.rte_drop_egid = 0x104;
        com.rte_l2_sa_lrn_trapped_en = 2;
        com.rte_l2_da_lrn_trapped_en = 3;
        com.rte_l2_sa_lrn_dropped_en = 4;
        com.rte_l2_da_lrn_dropped_en = 5;
    }

    /// Runs the rule on result `rsltTyp` to group `egid`; returns the trace.
    std::string check(uint32_t egid, uint32_t rsltTyp, uint32_t saLrnEn = 0, uint32_t isMgid = 0) {
        start();
        rslt.shim1Rslt.egid = egid;
        rslt.shim2Rslt.is_mgid = isMgid;
        rslt.hsiShim0Rslt.rslt_typ = rsltTyp;
        stat.l2PselRsltTyp = 7;
        stat.dropRsn = 50;
        stat.l2PselDropRsn = 51;
        stat.l2PselSaLrnEn = saLrnEn;
        stat.l2PselDaLrnEn = 6;
        return tracedBy([&] { checkFinalEgid(&stat, &rslt); });
    }

    void expectUntouched(uint32_t rsltTyp) const {
        EXPECT_EQ(rslt.hsiShim0Rslt.rslt_typ, rsltTyp);
        EXPECT_EQ(stat.l2PselRsltTyp, 7u);
        EXPECT_EQ(stat.dropRsn, 50u);
        EXPECT_EQ(stat.l2PselDropRsn, 51u);
        EXPECT_EQ(stat.l2PselDaLrnEn, 6u);
    }
    void expectChange(uint32_t rsltTyp, bool reasonsCleared) const {
        EXPECT_EQ(rslt.hsiShim0Rslt.rslt_typ, rsltTyp);
        EXPECT_EQ(stat.l2PselRsltTyp, rsltTyp);
        EXPECT_EQ(stat.dropRsn, reasonsCleared ? 0u : 50u);
        EXPECT_EQ(stat.l2PselDropRsn, reasonsCleared ? 0u : 51u);
    }
};

TEST_F(FinalEgidTest, MulticastIsLeftAlone) {
    for (uint32_t egid : {0x4101u, 0x4102u, 0x4103u, 0x4104u, 0x10000u}) {
        EXPECT_EQ(check(egid, 2, 1, 1), "");
        expectUntouched(2);
        EXPECT_EQ(stat.l2PselSaLrnEn, 1u);
    }
}

TEST_F(FinalEgidTest, OrdinaryGroupsAreLeftAlone) {
    for (uint32_t egid : {0u, 0x101u, 0x102u, 0x103u, 0x2104u, 0x3fffu}) {
        EXPECT_EQ(check(egid, 3, 1), "");
        expectUntouched(3);
        EXPECT_EQ(stat.l2PselSaLrnEn, 1u);
    }
}

TEST_F(FinalEgidTest, AclDropGroupDropsEveryResult) {
    for (uint32_t rsltTyp = 0; rsltTyp < 4; rsltTyp++) {
        EXPECT_EQ(check(0x4101, rsltTyp), line("final egid (0x4101) is acl_drop_egid. DROP\n"));
        expectChange(0, true);
    }
}

TEST_F(FinalEgidTest, AclDropGroupWithFurtherBitsIsAnotherSpecialGroup) {
    EXPECT_EQ(check(0x6101, 2), line("final egid (0x6101) has bits [16:14]!=0. DROP\n"));
    EXPECT_EQ(check(0xc101, 2), line("final egid (0xc101) has bits [16:14]!=0. DROP\n"));
    EXPECT_EQ(check(0x14101, 2), line("final egid (0x14101) has bits [16:14]!=0. DROP\n"));
    EXPECT_EQ(check(0x6101, 1), "");
    expectUntouched(1);
}

TEST_F(FinalEgidTest, TrapGroupTurnsForwardIntoDropAndForwardWithTrapIntoTrap) {
    for (auto [egid, hex] :
         {std::pair{0x4102u, "0x4102"}, std::pair{0x6102u, "0x6102"}, std::pair{0x1e102u, "0x1e102"}}) {
        EXPECT_EQ(check(egid, 3), line("final egid (" + std::string(hex) + ") is trap_egid. FWD_A_TRAP --> TRAP\n"));
        expectChange(1, false);
        EXPECT_EQ(check(egid, 2), line("final egid (" + std::string(hex) + ") is trap_egid. FWD-->DROP\n"));
        expectChange(0, false);
        for (uint32_t rsltTyp : {0u, 1u}) {
            EXPECT_EQ(check(egid, rsltTyp, 1), "");
            expectUntouched(rsltTyp);
            EXPECT_EQ(stat.l2PselSaLrnEn, 1u);
        }
    }
}

TEST_F(FinalEgidTest, PassAndDropGroups) {
    for (auto [egid, hex] :
         {std::pair{0x4103u, "0x4103"}, std::pair{0x4104u, "0x4104"}, std::pair{0x1e104u, "0x1e104"}}) {
        const std::string text = "final egid (" + std::string(hex) + ") is either pass_egid or drop_egid. ";
        EXPECT_EQ(check(egid, 3), line(text + "FWD_TRAP --> TRAP\n"));
        expectChange(1, false);
        EXPECT_EQ(check(egid, 2), line(text + "DROP\n"));
        expectChange(0, true);
        for (uint32_t rsltTyp : {0u, 1u}) {
            EXPECT_EQ(check(egid, rsltTyp, 1), "");
            expectUntouched(rsltTyp);
            EXPECT_EQ(stat.l2PselSaLrnEn, 1u);
        }
    }
}

TEST_F(FinalEgidTest, AnyOtherSpecialGroup) {
    for (auto [egid, hex] : {std::pair{0x4000u, "0x4000"}, std::pair{0x8102u, "0x8102"}, std::pair{0x10104u, "0x10104"},
                             std::pair{0x18103u, "0x18103"}}) {
        const std::string text = "final egid (" + std::string(hex) + ") has bits [16:14]!=0. ";
        EXPECT_EQ(check(egid, 3), line(text + "FWD_A_TRAP --> TRAP\n"));
        expectChange(1, false);
        EXPECT_EQ(check(egid, 2), line(text + "DROP\n"));
        expectChange(0, true);
        for (uint32_t rsltTyp : {0u, 1u}) {
            EXPECT_EQ(check(egid, rsltTyp, 1), "");
            expectUntouched(rsltTyp);
        }
    }
}

TEST_F(FinalEgidTest, FirstRuleDecidesWhenTheRegistersAgree) {
    com.rte_trap_egid = com.rte_pth_egid = 0x101;
    EXPECT_EQ(check(0x4101, 3), line("final egid (0x4101) is acl_drop_egid. DROP\n"));
    EXPECT_EQ(check(0xc101, 2), line("final egid (0xc101) is trap_egid. FWD-->DROP\n"));
    // The trap group's rule holds the pass-through rule back for a trap, too.
    EXPECT_EQ(check(0xc101, 1), "");
}

TEST_F(FinalEgidTest, LearnEnablesFollowTheClass) {
    struct Row {
        uint32_t egid, rsltTyp, sa, da;
        const char *word;
    };
    const Row rows[] = {
        {0x4101, 1, 4, 5, "DROP"}, {0x4101, 2, 4, 5, "DROP"}, {0x4102, 3, 2, 3, "TRAP"}, {0x4102, 2, 2, 3, "TRAP"},
        {0x4103, 3, 4, 5, "DROP"}, {0x4103, 2, 4, 5, "DROP"}, {0x8000, 3, 4, 5, "DROP"}, {0x8000, 2, 4, 5, "DROP"},
    };
    for (const Row &row : rows) {
        const std::string out = check(row.egid, row.rsltTyp, 1);
        EXPECT_EQ(stat.l2PselSaLrnEn, row.sa) << &row - rows;
        EXPECT_EQ(stat.l2PselDaLrnEn, row.da) << &row - rows;
        EXPECT_TRUE(out.ends_with(line("[ROC] final Egid check results in " + std::string(row.word) +
                                       ". l2PselSaLrnEn set to " + std::to_string(row.sa) + "\n")))
            << out;

        EXPECT_EQ(count(check(row.egid, row.rsltTyp, 0), "final Egid check"), 0u);
        EXPECT_EQ(stat.l2PselSaLrnEn, 0u) << &row - rows;
        EXPECT_EQ(stat.l2PselDaLrnEn, 6u) << &row - rows;
    }
}

TEST_F(FinalEgidTest, ClosingLineStandsAlsoWhenTheEnableIsTakenAway) {
    com.rte_l2_sa_lrn_dropped_en = 0;
    EXPECT_EQ(count(check(0x8000, 2, 1), line("[ROC] final Egid check results in DROP. l2PselSaLrnEn set to 0\n")), 1u);
}

// The hop count rule.

class TrillTtlFltTest : public RocTest {
protected:
    void filter(uint32_t rsltTyp, uint32_t trapErr, uint32_t dropErr) {
        rslt.hsiShim0Rslt.rslt_typ = rsltTyp;
        rslt.hsiShim0Rslt.trap_que = 3;
        rslt.hsiShim0Rslt.trap_rsn = 4;
        stat.l2PselRsltTyp = rsltTyp;
        stat.l2PselTrapQue = 5;
        stat.l2PselTrapRsn = 6;
        stat.l2PselDropRsn = 7;
        stat.l3PselDropRsn = 8;
        stat.l2PselIsL2Mgid = 1;
        stat.l2PselTrapTrillTtlErr = trapErr;
        stat.l2PselDropTrillTtlErr = dropErr;
        com.rte_l2_trill_ttl_trap_que = 12;
        L2TrillTtlFlt(&stat, &rslt);
    }
    void expectState(uint32_t rsltTyp, uint32_t que, uint32_t rsn, uint32_t l2Que, uint32_t l2Rsn, uint32_t l2DropRsn,
                     uint32_t l3DropRsn, uint32_t isMgid) const {
        EXPECT_EQ(rslt.hsiShim0Rslt.rslt_typ, rsltTyp);
        EXPECT_EQ(stat.l2PselRsltTyp, rsltTyp);
        EXPECT_EQ(rslt.hsiShim0Rslt.trap_que, que);
        EXPECT_EQ(rslt.hsiShim0Rslt.trap_rsn, rsn);
        EXPECT_EQ(stat.l2PselTrapQue, l2Que);
        EXPECT_EQ(stat.l2PselTrapRsn, l2Rsn);
        EXPECT_EQ(stat.l2PselDropRsn, l2DropRsn);
        EXPECT_EQ(stat.l3PselDropRsn, l3DropRsn);
        EXPECT_EQ(stat.l2PselIsL2Mgid, isMgid);
    }
};

TEST_F(TrillTtlFltTest, TrapsBeforeItDrops) {
    for (uint32_t rsltTyp : {2u, 3u}) {
        stat.l2PselTrillTtlErr = 1;
        filter(rsltTyp, 1, 1);
        expectState(1, 12, 24, 5, 6, 7, 8, 0);
    }
}

TEST_F(TrillTtlFltTest, DropLeavesItsReasonAsTheTrapReasonToo) {
    for (uint32_t rsltTyp : {2u, 3u}) {
        stat.l2PselTrillTtlErr = 1;
        filter(rsltTyp, 0, 1);
        expectState(0, 0, 9, 0, 0, 9, 9, 0);
    }
}

TEST_F(TrillTtlFltTest, ErrorWithoutAVerdictChangesNothing) {
    stat.l2PselTrillTtlErr = 1;
    filter(2, 0, 0);
    expectState(2, 3, 4, 5, 6, 7, 8, 1);
}

TEST_F(TrillTtlFltTest, NeedsTheErrorAForwardAndAnIntactFrame) {
    filter(2, 1, 1);
    expectState(2, 3, 4, 5, 6, 7, 8, 1);
    stat.l2PselTrillTtlErr = 1;
    for (uint32_t rsltTyp : {0u, 1u}) {
        filter(rsltTyp, 1, 1);
        expectState(rsltTyp, 3, 4, 5, 6, 7, 8, 1);
    }
    stat.l2PrcTrap = 1;
    filter(2, 1, 1);
    expectState(2, 3, 4, 5, 6, 7, 8, 1);
    stat.l2PrcTrap = 0;
    stat.l2PrcDrop = 1;
    filter(3, 1, 1);
    expectState(3, 3, 4, 5, 6, 7, 8, 1);
}

} // namespace
