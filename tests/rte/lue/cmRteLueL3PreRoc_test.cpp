#include "roc_fixture.h"

#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace {

class L3PreRocTest : public RocTest {
protected:
    /// A multicast frame that layer 3 is to route.
    void mcast(uint32_t l2RsltTyp = RSLT_FWD) {
        start();
        stat.l2PselRsltTyp = l2RsltTyp;
        stat.l3IpVer = 4;
        stat.l3IpDaIsMcast = 1;
        stat.l2PselRteEn = 1;
    }
    /// A unicast frame that layer 3 is to route.
    void ucast() {
        start();
        stat.l3IpVer = 4;
        stat.l2PselRteRqd = 1;
    }
    void expectRoute(uint32_t l3RteRqd, uint32_t l3McastRteRqd) const {
        EXPECT_EQ(stat.l3RteRqd, l3RteRqd);
        EXPECT_EQ(stat.l3McastRteRqd, l3McastRteRqd);
        EXPECT_EQ(stat.rocL3Rqd, l3RteRqd);
    }
    std::string pre() {
        return tracedBy([&] { L3PreRoc(&stat); });
    }
};

TEST_F(L3PreRocTest, UnicastRoute) {
    for (uint32_t rsltTyp = 0; rsltTyp < 4; rsltTyp++) {
        ucast();
        stat.l2PselRsltTyp = rsltTyp;
        EXPECT_EQ(pre(), "");
        expectRoute(rsltTyp >= 2, 0);
    }
    ucast();
    stat.l2PselL3IpDaIsMcast = 1;
    pre();
    expectRoute(0, 0);
    ucast();
    stat.l2PselRteRqd = 0;
    pre();
    expectRoute(0, 0);
}

TEST_F(L3PreRocTest, MulticastRoute) {
    for (uint32_t rsltTyp = 0; rsltTyp < 4; rsltTyp++) {
        mcast(rsltTyp);
        pre();
        expectRoute(1, 1);
    }
    mcast();
    stat.l3IpDaIsMcast = 0;
    pre();
    expectRoute(0, 0);
    mcast();
    stat.l2PselRteEn = 0;
    pre();
    expectRoute(0, 0);
}

TEST_F(L3PreRocTest, UnicastRouteStandsBeforeMulticast) {
    mcast();
    stat.l2PselRteRqd = 1;
    pre();
    expectRoute(1, 0);
}

TEST_F(L3PreRocTest, MulticastTakesNoRouteOverAnErrorThatItsPortChecks) {
    for (uint32_t ck : {0u, 1u}) {
        portReg.rte_prc_l3_mcast_ck_l3_err = ck;
        mcast();
        stat.l3PrcDropRsn = 15;
        EXPECT_EQ(pre(), ck ? line("(ROC) : Covered: Item 57 is hit.\n") : "");
        expectRoute(!ck, !ck);
        mcast();
        EXPECT_EQ(pre(), "");
        expectRoute(1, 1);
        ucast();
        stat.l3PrcDropRsn = 15;
        EXPECT_EQ(pre(), "");
        expectRoute(1, 0);
    }
}

TEST_F(L3PreRocTest, RegisterEncapsulationNeedsALayer2Route) {
    struct Row {
        uint32_t rteRqd, rsltTyp, rte;
    };
    for (const Row &row : {Row{0, 2, 0}, Row{0, 3, 0}, Row{1, 0, 0}, Row{1, 1, 0}, Row{1, 2, 1}, Row{1, 3, 1}}) {
        mcast(row.rsltTyp);
        stat.l2PselL3IpDaIsMcast = 1; // no unicast route
        stat.l3IpMcastRegEncap = 1;
        stat.l2PselRteRqd = row.rteRqd;
        EXPECT_EQ(pre(), "");
        expectRoute(row.rte, row.rte);
    }
}

TEST_F(L3PreRocTest, MulticastTakesNoRouteWithoutAForwardThatItsPortChecks) {
    portReg.rte_prc_l3_mcast_ck_l2 = 1;
    for (uint32_t rsltTyp = 0; rsltTyp < 4; rsltTyp++) {
        mcast(rsltTyp);
        EXPECT_EQ(pre(), "");
        expectRoute(rsltTyp >= 2, rsltTyp >= 2);
    }
}

TEST_F(L3PreRocTest, ParserVerdictKeepsLayer3Out) {
    portReg.rte_prc_l3_ipv4_acl_en = 1;
    for (auto field : {&CmRteStat::l2PrcTrap, &CmRteStat::l2PrcDrop}) {
        ucast();
        stat.l3IpDaIsMcast = stat.l2PselRteEn = 1;
        stat.*field = 1;
        stat.l3PrcTrapRsn = 4;
        pre();
        expectRoute(0, 0);
        EXPECT_EQ(stat.l3AclEn, 0u);
        EXPECT_EQ(stat.l3AclAppl, 0u);
        EXPECT_EQ(stat.l3PrcErrDetected, 1u);
    }
}

TEST_F(L3PreRocTest, ErrorOfTheParserOrTheFirstIpDrop) {
    struct Row {
        uint32_t trapRsn, dropRsn, ipDropRsn, err;
    };
    for (const Row &row : {Row{0, 0, 0, 0}, Row{4, 0, 0, 1}, Row{0, 14, 0, 1}, Row{0, 0, 1, 1}, Row{0, 0, 2, 0}}) {
        start();
        stat.l3PrcTrapRsn = row.trapRsn;
        stat.l3PrcDropRsn = row.dropRsn;
        stat.l3IpDropRsn = row.ipDropRsn;
        pre();
        EXPECT_EQ(stat.l3PrcErrDetected, row.err);
    }
}

TEST_F(L3PreRocTest, AclOfTheFramesProtocol) {
    for (uint32_t regs = 0; regs < 8; regs++) {
        portReg.rte_prc_l3_ipv4_acl_en = regs & 1;
        portReg.rte_prc_l3_ipv6_acl_en = regs >> 1 & 1;
        portReg.rte_prc_fcoe_acl_en = regs >> 2;
        for (uint32_t fcoe : {0u, 1u}) {
            for (uint32_t ver : {0u, 4u, 6u}) {
                start();
                stat.l3IpVer = ver;
                stat.l2FcoeFound = fcoe;
                pre();
                const uint32_t en = ver == 4 ? regs & 1 : ver == 6 ? regs >> 1 & 1 : fcoe ? regs >> 2 : 0;
                EXPECT_EQ(stat.l3AclEn, en) << regs << ver << fcoe;
                EXPECT_EQ(stat.l3AclAppl, en) << regs << ver << fcoe;
                EXPECT_EQ(stat.rocL3Rqd, en) << regs << ver << fcoe;
                EXPECT_EQ(stat.l3ErrWin, 0u);
            }
        }
    }
}

TEST_F(L3PreRocTest, RoutedFrameNeedsNoAcl) {
    portReg.rte_prc_l3_ipv4_acl_en = 1;
    ucast();
    pre();
    expectRoute(1, 0);
    EXPECT_EQ(stat.l3AclEn, 0u);
    EXPECT_EQ(stat.l3AclAppl, 0u);
}

TEST_F(L3PreRocTest, BrokenFrameKeepsItsAclWhenItsClassIsChecked) {
    portReg.rte_prc_l3_ipv4_acl_en = portReg.rte_prc_l3_ipv6_acl_en = 1;
    uint32_t CmRteStat::*const checks[] = {&CmRteStat::ipv4UcHdrCkEn, &CmRteStat::ipv4McHdrCkEn,
                                           &CmRteStat::ipv6UcHdrCkEn, &CmRteStat::ipv6McHdrCkEn};
    for (uint32_t own = 0; own < 4; own++) {
        for (uint32_t set = 0; set < 4; set++) {
            for (uint32_t errAcl : {0u, 1u}) {
                start();
                portReg.rte_prc_l3_hdr_err_acl_en = errAcl;
                stat.l3IpVer = own < 2 ? 4 : 6;
                stat.l2PselL3IpDaIsMcast = own & 1;
                stat.l3PrcDropRsn = 14;
                stat.*checks[set] = 1;
                pre();
                EXPECT_EQ(stat.l3AclEn, own == set) << own << set;
                EXPECT_EQ(stat.l3AclAppl, 0u);
                EXPECT_EQ(stat.l3ErrWin, own == set && errAcl) << own << set;
                EXPECT_EQ(stat.rocL3Rqd, 0u);
            }
        }
    }
}

TEST_F(L3PreRocTest, BrokenFcoeFrameKeepsItsAcl) {
    portReg.rte_prc_fcoe_acl_en = 1;
    portReg.rte_prc_l3_hdr_err_acl_en = 1;
    stat.l2FcoeFound = 1;
    stat.l3PrcDropRsn = 22;
    pre();
    EXPECT_EQ(stat.l3AclEn, 1u);
    EXPECT_EQ(stat.l3AclAppl, 0u);
    EXPECT_EQ(stat.l3ErrWin, 1u);
    EXPECT_EQ(stat.rocL3Rqd, 0u);
}

TEST_F(L3PreRocTest, IntactFrameWinsNothingByError) {
    portReg.rte_prc_l3_ipv4_acl_en = 1;
    portReg.rte_prc_l3_hdr_err_acl_en = 1;
    stat.l3IpVer = 4;
    pre();
    EXPECT_EQ(stat.l3AclAppl, 1u);
    EXPECT_EQ(stat.l3ErrWin, 0u);
}

} // namespace
