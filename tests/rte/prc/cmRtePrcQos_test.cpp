// Ingress QoS maps.

#include "model_fixture.h"
#include "prc/cmRtePrc.h"
#include "reg_name.h"

namespace {

class PrcQos : public ModelTest {
protected:
    PrcQos() {
        // Entry i: values that tell all entries and all three tables apart.
        for (uint32_t i = 0; i < 32; i++)
            setEntry("l2", i, 0x100 + i, 0x200 + i, 0x300 + i);
        for (uint32_t i = 0; i < 64; i++)
            setEntry("l3", i, 0x400 + i, 0x500 + i, 0x600 + i);
        port.rte_prc_def_dp = 0xa;
        port.rte_prc_def_iwpri = 0xb;
        port.rte_prc_def_que_pri = 0xc;
    }
    void setEntry(const std::string &layer, uint32_t i, uint32_t dp, uint32_t iwpri, uint32_t quePri) {
        const std::string place = std::to_string(i & 3) + "_" + std::to_string(i >> 2);
        portFld(port, "rte_prc_" + layer + "_dp_" + place) = dp;
        portFld(port, "rte_prc_" + layer + "_iwpri_" + place) = iwpri;
        portFld(port, "rte_prc_" + layer + "_que_pri_" + place) = quePri;
    }
    void expectMap(uint32_t dp, uint32_t iwpri, uint32_t quePri) {
        EXPECT_EQ(stat.igPriMapDrpPrcd, dp);
        EXPECT_EQ(stat.igPriMapIwpri, iwpri);
        EXPECT_EQ(stat.igPriMapQuePri, quePri);
    }
    void expectL2Entry(uint32_t i) {
        ingL2PriMap(&stat);
        expectMap(0x100 + i, 0x200 + i, 0x300 + i);
    }
    void expectDefault() {
        ingL2PriMap(&stat);
        expectMap(0xa, 0xb, 0xc);
    }
};

TEST_F(PrcQos, MapReadersReadEveryEntry) {
    for (uint32_t i = 0; i < 32; i++) {
        EXPECT_EQ(ingL2MapDp(&port, i), 0x100 + i);
        EXPECT_EQ(ingL2MapIwpri(&port, i), 0x200 + i);
        EXPECT_EQ(ingL2MapQuePri(&port, i), 0x300 + i);
    }
    for (uint32_t i = 0; i < 64; i++) {
        EXPECT_EQ(ingDscpMapDp(&port, i), 0x400 + i);
        EXPECT_EQ(ingDscpMapIwpri(&port, i), 0x500 + i);
        EXPECT_EQ(ingDscpMapQuePri(&port, i), 0x600 + i);
    }
}

TEST_F(PrcQos, MapReadersGiveZeroBeyondTheMap) {
    EXPECT_EQ(ingL2MapDp(&port, 32), 0u);
    EXPECT_EQ(ingL2MapIwpri(&port, 0xffffffff), 0u);
    EXPECT_EQ(ingL2MapQuePri(&port, 32), 0u);
    EXPECT_EQ(ingDscpMapDp(&port, 64), 0u);
    EXPECT_EQ(ingDscpMapIwpri(&port, 0xffffffff), 0u);
    EXPECT_EQ(ingDscpMapQuePri(&port, 64), 0u);
}

TEST_F(PrcQos, UntaggedFrameTakesTheDefaults) {
    stat.ingPhyPort = 4;
    stat.frmIdx = 2;
    stat.dbgLvl = 2;
    EXPECT_EQ(printed([&] { expectDefault(); }),
              "CM port=4, frameIdx=2>> Ingres QoS VLAN priority map: untagged. default dp=0xa, iwpri=0xb, "
              "quePri=0xc\n");
    stat.dbgLvl = 1;
    EXPECT_EQ(printed([&] { expectDefault(); }), "");
}

TEST_F(PrcQos, TaggedFrameTellsItsEntry) {
    stat.isCTagged = 1;
    stat.ctagPrio = 5;
    stat.dbgLvl = 2;
    EXPECT_EQ(printed([&] { expectL2Entry(21); }),
              "CM port=0, frameIdx=0>> Ingres QoS VLAN priority map: idx=0x15, dp=0x115, iwpri=0x215, quePri=0x315\n");
    stat.dbgLvl = 1;
    EXPECT_EQ(printed([&] { expectL2Entry(21); }), "");
}

TEST_F(PrcQos, CTagAtAPlainPortReadsTheUpperHalf) {
    stat.isCTagged = 1;
    for (uint32_t cfi = 0; cfi < 2; cfi++)
        for (uint32_t prio = 0; prio < 8; prio++) {
            stat.ctagPrio = prio;
            stat.ctagCfi = cfi;
            expectL2Entry(16 + 8 * cfi + prio);
        }
}

TEST_F(PrcQos, STagDoesNotCountAtAPlainPort) {
    stat.isSTagged = 1;
    stat.stagPrio = 5;
    expectDefault();
    stat.isCTagged = 1;
    stat.ctagPrio = 2;
    expectL2Entry(18);
}

TEST_F(PrcQos, STagWithDeiReadsTheLowerHalf) {
    stat.l2QinqEn = 1;
    stat.isSTagged = 1;
    stat.isCTagged = 1;
    stat.ctagPrio = 7;
    stat.ctagCfi = 1;
    for (uint32_t dei = 0; dei < 2; dei++)
        for (uint32_t prio = 0; prio < 8; prio++) {
            stat.stagPrio = prio;
            stat.stagDei = dei;
            expectL2Entry(8 * dei + prio);
        }
    stat.stagPrio = 5;
    stat.stagDei = 1;
    expectL2Entry(13);
}

TEST_F(PrcQos, CTagAtAnSPortReadsTheUpperHalf) {
    stat.l2QinqEn = 1;
    expectDefault();
    stat.isCTagged = 1;
    stat.ctagPrio = 3;
    stat.ctagCfi = 1;
    stat.stagPrio = 6;
    expectL2Entry(27);
}

TEST_F(PrcQos, OnlyTheOuterTagCountsAtATrillPort) {
    stat.isTrillPort = 1;
    stat.l2QinqEn = 1;
    stat.isCTagged = 1;
    stat.isSTagged = 1;
    expectDefault();
}

TEST_F(PrcQos, TrillFrameIsMappedByItsOuterTag) {
    stat.isTrillPort = 1;
    stat.l2TrillFound = 1;
    stat.l2QinqEn = 1;
    stat.isSTagged = 1;
    stat.stagPrio = 1;
    stat.ctagPrio = 2;
    stat.l2OuterVlanTagged = 1;
    stat.l2OuterRcvPrio = 6;
    expectL2Entry(22);
    stat.l2OuterRcvCfi = 1;
    expectL2Entry(30);
}

TEST_F(PrcQos, OuterTagWithoutTrillIsNotUsed) {
    stat.isTrillPort = 1;
    stat.l2OuterVlanTagged = 1;
    stat.l2OuterRcvPrio = 6;
    stat.l2OuterRcvCfi = 1;
    stat.ctagPrio = 3;
    expectL2Entry(19); // the C-tag's fields, tagged or not
    stat.l2QinqEn = 1;
    expectL2Entry(16); // neither tag: priority and CFI 0
    stat.isCTagged = 1;
    expectL2Entry(19);
    stat.isSTagged = 1;
    stat.stagPrio = 4;
    expectL2Entry(4);
}

TEST_F(PrcQos, PriorityAndCfiAreCutToTheirWidths) {
    stat.isCTagged = 1;
    stat.ctagPrio = 0xfffffff2;
    stat.ctagCfi = 0xfffffffe;
    expectL2Entry(18);
}

class PrcQosDscp : public PrcQos {
protected:
    PrcQosDscp() {
        port.rte_prc_trust_dscp = 1;
        stat.l3IpVer = 4;
        stat.l3IpDscpOuter = 46;
        stat.l3IpDscp = 10; // that of a decapsulated packet
        stat.igPriMapDrpPrcd = 1;
        stat.igPriMapIwpri = 2;
        stat.igPriMapQuePri = 3;
    }
    void expectKept(const std::string &line) {
        stat.dbgLvl = 4;
        EXPECT_EQ(printed([&] { ingDscpPriMap(&stat); }), line);
        expectMap(1, 2, 3);
        stat.dbgLvl = 3;
        EXPECT_EQ(printed([&] { ingDscpPriMap(&stat); }), "");
    }
};

TEST_F(PrcQosDscp, TrustedIpFrameIsMappedByItsOuterDscp) {
    stat.dbgLvl = 3;
    EXPECT_EQ(printed([&] { ingDscpPriMap(&stat); }),
              "CM port=0, frameIdx=0>> Ingres QoS from IP DSCP map: dscp=0x2e, dp=0x42e, iwpri=0x52e, quePri=0x62e\n");
    expectMap(0x42e, 0x52e, 0x62e);
    stat.dbgLvl = 2;
    EXPECT_EQ(printed([&] { ingDscpPriMap(&stat); }), "");
}

TEST_F(PrcQosDscp, EveryDscpOfIpv6IsMapped) {
    stat.l3IpVer = 6;
    for (uint32_t dscp = 0; dscp < 64; dscp++) {
        stat.l3IpDscpOuter = dscp;
        ingDscpPriMap(&stat);
        expectMap(0x400 + dscp, 0x500 + dscp, 0x600 + dscp);
    }
}

TEST_F(PrcQosDscp, UntrustedPortKeepsTheVlanMap) {
    port.rte_prc_trust_dscp = 0;
    expectKept("CM port=0, frameIdx=0>> Skipped IP DSCP QoS map: IpVer=4, trust_dscp=0, prcTrap=0x0, prcDrop=0x0\n");
}

TEST_F(PrcQosDscp, OtherVersionsKeepTheVlanMap) {
    stat.l3IpVer = 0;
    expectKept("CM port=0, frameIdx=0>> Skipped IP DSCP QoS map: IpVer=0, trust_dscp=1, prcTrap=0x0, prcDrop=0x0\n");
    stat.l3IpVer = 5;
    expectKept("CM port=0, frameIdx=0>> Skipped IP DSCP QoS map: IpVer=5, trust_dscp=1, prcTrap=0x0, prcDrop=0x0\n");
}

TEST_F(PrcQosDscp, TrappedPacketKeepsTheVlanMap) {
    stat.l3PrcTrapRsn = 11;
    expectKept("CM port=0, frameIdx=0>> Skipped IP DSCP QoS map: IpVer=4, trust_dscp=1, prcTrap=0xb, prcDrop=0x0\n");
}

TEST_F(PrcQosDscp, DroppedPacketKeepsTheVlanMap) {
    stat.l3PrcDropRsn = 19;
    expectKept("CM port=0, frameIdx=0>> Skipped IP DSCP QoS map: IpVer=4, trust_dscp=1, prcTrap=0x0, prcDrop=0x13\n");
}

} // namespace
