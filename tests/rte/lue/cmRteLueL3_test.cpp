// Layer-3 classification: features, VRF, customer group, prefix searches, routing filter and control classification.

#include "lue/cmRteLueL3.h"

#include "lue/cmRteLue.h"
#include "model_fixture.h"
#include "random_words.h"
#include "tcam_image.h"

#include <csignal>

namespace {

class LueL3 : public ModelTest {
protected:
    LueL3() : tfePtr(std::make_unique<CmTfeLue>()), tfe(*tfePtr) {
        std::memset(&tfe.comReg, 0, sizeof tfe.comReg);
        std::memset(&tfe.mem, 0, sizeof tfe.mem);
        resetStat(2);
        ready();
        com.rte_his_en = 0xffffffff;
        openHistories();
    }

    void ready() {
        stat.tfePtr = &tfe;
        stat.frmIdx = 9;
        verbose(true);
    }
    void openHistories() {
        com.rte_lue_l3_vrf_addr_hi = 0x1fff;
        com.rte_lue_l3_ctl_rslt_addr_hi = 0x1fffff;
        com.rte_lue_l3_ivid_pid_addr_hi = 0x1fff;
        com.rte_lue_l3_ctl_qnum_addr_hi = 0xff;
    }

    template <class Fn> std::string run(Fn fn) {
        return printed([&] { fn(&stat); });
    }

    /// One bank for protocol `prtcl` (0 IPv4, 2 IPv6) whose entry 0 matches exactly `keyR` and gives `found`; entry 1
    /// matches everything and gives `other`.
    void lpmEntry(uint32_t prtcl, const std::vector<uint32_t> &keyR, uint32_t found, uint32_t other) {
        tfe.comReg.tfe_bank_en = 1;
        tfe.comReg.bank_prtcl_sel = prtcl;
        tcamExact(tfe.mem.TFE_TCAM, 0, keyR);
        tfe.mem.TFE_AMAP[0] = found;
        tfe.mem.TFE_AMAP[prtcl == 2 ? 4 : 1] = other;
    }

    std::unique_ptr<CmTfeLue> tfePtr;
    CmTfeLue &tfe;
    CmRteHsiPortReg &port2 = rte->portRegLst[2];
    const std::string prefix = "CM port=2, frameIdx=9>> ";
};

} // namespace

// Features of the VLAN.

TEST_F(LueL3, EachFeatureHasItsOwnBits) {
    struct Row {
        uint32_t bitNo;
        uint32_t CmRteStat::*field;
        uint32_t value;
    };
    const Row rows[] = {
        {10, &CmRteStat::ipv6McHdrCkEn, 1},         {11, &CmRteStat::ipv6UcHdrCkEn, 1},
        {12, &CmRteStat::ipv6IcmpRedirectTrpEn, 1}, {13, &CmRteStat::ipv6IcmpUnreachTrpEn, 1},
        {14, &CmRteStat::ipv6RpfCkMode, 1},         {15, &CmRteStat::ipv6RpfCkMode, 2},
        {26, &CmRteStat::ipv4McHdrCkEn, 1},         {27, &CmRteStat::ipv4UcHdrCkEn, 1},
        {28, &CmRteStat::ipv4IcmpRedirectTrpEn, 1}, {29, &CmRteStat::ipv4IcmpUnreachTrpEn, 1},
        {30, &CmRteStat::ipv4RpfCkMode, 1},         {31, &CmRteStat::ipv4RpfCkMode, 2},
    };
    for (uint32_t n = 0; n < 32; n++) {
        resetStat(2);
        stat.l3IpVer = n & 1 ? 4 : 6;
        stat.iivid = 0x1234;
        mem.RTE_L3_FEATURE_CTL_SRAM[0x1234] = 1u << n;
        L3FeatureCtrl(&stat);
        uint32_t sum = 0;
        for (const Row &row : rows) {
            if (row.bitNo == n) {
                EXPECT_EQ(stat.*row.field, row.value) << n;
                sum = row.value;
            }
        }
        EXPECT_EQ(stat.ipv6McHdrCkEn + stat.ipv6UcHdrCkEn + stat.ipv6IcmpRedirectTrpEn + stat.ipv6IcmpUnreachTrpEn +
                      stat.ipv6RpfCkMode + stat.ipv4McHdrCkEn + stat.ipv4UcHdrCkEn + stat.ipv4IcmpRedirectTrpEn +
                      stat.ipv4IcmpUnreachTrpEn + stat.ipv4RpfCkMode,
                  sum)
            << n;
    }
}

TEST_F(LueL3, FeaturesAreReadByTheLow13BitsOfTheVlanAndTraced) {
    stat.l3IpVer = 4;
    stat.iivid = 0x3fff;
    mem.RTE_L3_FEATURE_CTL_SRAM[0x1fff] = 3u << 30 | 1u << 28 | 1u << 26 | 2u << 14 | 1u << 13 | 1u << 11;
    EXPECT_EQ(run(L3FeatureCtrl), prefix + "L3 feature control cls reslt:\n"
                                           "    ivp6_mc_hdr_ck_en         = 0\n"
                                           "    ivp6_uc_hdr_ck_en         = 1\n"
                                           "    ivp6_icmp_redirect_trp_en = 0\n"
                                           "    ivp6_icmp_unreach_trp_en  = 1\n"
                                           "    ivp6_rpf_ck_en            = 2\n"
                                           "    ivp4_mc_hdr_ck_en         = 1\n"
                                           "    ivp4_uc_hdr_ck_en         = 0\n"
                                           "    ivp4_icmp_redirect_trp_en = 1\n"
                                           "    ivp4_icmp_unreach_trp_en  = 0\n"
                                           "    ivp4_rpf_ck_en            = 3\n");
    stat.dbgLvl = 2;
    EXPECT_EQ(run(L3FeatureCtrl), "");
    stat.dbgLvl = 3;
    EXPECT_NE(run(L3FeatureCtrl), "");
}

TEST_F(LueL3, OnlyIpFramesHaveFeatures) {
    mem.RTE_L3_FEATURE_CTL_SRAM[0] = 0xffffffff;
    for (uint32_t ver : {0u, 5u, 7u}) {
        stat.l3IpVer = ver;
        EXPECT_EQ(run(L3FeatureCtrl), "");
        EXPECT_EQ(stat.ipv4McHdrCkEn, 0u);
        EXPECT_EQ(stat.ipv6RpfCkMode, 0u);
    }
}

// VRF and customer group.

TEST_F(LueL3, VrfAndItsDefaultFlagComeFromTheVlan) {
    stat.iivid = 0x1abc;
    mem.RTE_L3_VRF_SRAM[0x1abc] = 0x1fff;
    L3VrfLu(&stat);
    EXPECT_EQ(stat.vrfId, 0xfffu);
    EXPECT_EQ(stat.deftVrfEn, 1u);
    EXPECT_EQ(com.rte_his_l3_vrf[3], 0x11abcu);

    mem.RTE_L3_VRF_SRAM[0x1abc] = 0x0800;
    L3VrfLu(&stat);
    EXPECT_EQ(stat.vrfId, 0x800u);
    EXPECT_EQ(stat.deftVrfEn, 0u);
    EXPECT_EQ(com.rte_his_l3_vrf[2], 0x11abcu);

    mem.RTE_L3_VRF_SRAM[0x1abc] = 0x1000;
    L3VrfLu(&stat);
    EXPECT_EQ(stat.vrfId, 0u);
    EXPECT_EQ(stat.deftVrfEn, 1u);
}

TEST_F(LueL3, VrfHistoryKeepsToItsRange) {
    stat.iivid = 0x100;
    com.rte_lue_l3_vrf_addr_lo = 0x101;
    L3VrfLu(&stat);
    EXPECT_EQ(com.rte_his_l3_vrf[3], 0u);
    com.rte_lue_l3_vrf_addr_lo = com.rte_lue_l3_vrf_addr_hi = 0x100;
    L3VrfLu(&stat);
    EXPECT_EQ(com.rte_his_l3_vrf[3], 0x10100u);
}

TEST_F(LueL3, CustomerGroupIsTheWholeWord) {
    stat.iivid = 0x1fff;
    mem.RTE_L2_CID_SRAM[0x1fff] = 0x1a5a;
    L3CugidLu(&stat);
    EXPECT_EQ(stat.l3PselCugid, 0x1a5au);
    // A VLAN beyond the memories reads 0.
    stat.iivid = 0x2000;
    L3CugidLu(&stat);
    L3VrfLu(&stat);
    EXPECT_EQ(stat.l3PselCugid, 0u);
    EXPECT_EQ(stat.vrfId, 0u);
}

TEST_F(LueL3, ResetOfAProtocolThatIsOffTakesBackTheTrap) {
    stat.l3IpMcastRegEncap = stat.l3IpTrapEn = 1;
    stat.l3IpTrapRsn = 18;
    stat.l3IpTrapQue = 7;
    stat.l3IpDropRsn = 5;
    stat.l3IpTrapVld = 1;
    L3IpNotEnRst(&stat);
    EXPECT_EQ(stat.l3IpMcastRegEncap, 0u);
    EXPECT_EQ(stat.l3IpTrapEn, 0u);
    EXPECT_EQ(stat.l3IpTrapRsn, 0u);
    EXPECT_EQ(stat.l3IpTrapQue, 0u);
    EXPECT_EQ(stat.l3IpDropRsn, 5u);
    EXPECT_EQ(stat.l3IpTrapVld, 1u);
}

// Prefix searches.

TEST_F(LueL3, Ipv4OffReadsTheVrfAllTheSameAndDrops) {
    mem.RTE_L3_VRF_SRAM[5] = 0x1123;
    stat.iivid = 5;
    stat.l3IpMcastRegEncap = stat.l3IpTrapEn = stat.l3IpTrapRsn = stat.l3IpTrapQue = 1;
    tfe.dbgLvl = 1;
    EXPECT_EQ(run(L3Ipv4), prefix + "Skip [L3Ipv4] due to PRC Ipv4 not enabled\n");
    EXPECT_EQ(stat.vrfId, 0x123u);
    EXPECT_EQ(stat.deftVrfEn, 1u);
    EXPECT_EQ(stat.l3IpDropRsn, 1u);
    EXPECT_EQ(stat.l3IpMcastRegEncap, 0u);
    EXPECT_EQ(stat.l3IpTrapEn, 0u);
    EXPECT_EQ(stat.l3IpTrapRsn, 0u);
    EXPECT_EQ(stat.l3IpTrapQue, 0u);
    EXPECT_EQ(com.rte_his_l3_vrf[3], 0x10005u);
}

TEST_F(LueL3, Ipv6OffLeavesTheVrfAlone) {
    mem.RTE_L3_VRF_SRAM[5] = 0x1123;
    stat.iivid = 5;
    stat.l3IpMcastRegEncap = stat.l3IpTrapEn = stat.l3IpTrapRsn = stat.l3IpTrapQue = 1;
    port2.rte_prc_l3_ipv4_en = 1; // the other protocol's switch
    EXPECT_EQ(run(L3Ipv6), prefix + "Skip [L3Ipv6] due to PRC Ipv6 not enabled\n");
    EXPECT_EQ(stat.vrfId, 0u);
    EXPECT_EQ(stat.deftVrfEn, 0u);
    EXPECT_EQ(stat.l3IpDropRsn, 1u);
    EXPECT_EQ(stat.l3IpMcastRegEncap, 0u);
    EXPECT_EQ(stat.l3IpTrapEn, 0u);
    EXPECT_EQ(com.rte_his_l3_vrf[3], 0u);
}

// VRF 0x801 and address 0x80000001: of the key as the TCAM holds it, word 0 has address bit 31 on top and VRF bits 11:1
// below it, word 1 has VRF bit 0 and address bit 0 on top.
TEST_F(LueL3, Ipv4SearchesDaAndSaInTheVrfOfTheVlan) {
    port2.rte_prc_l3_ipv4_en = 1;
    mem.RTE_L3_VRF_SRAM[5] = 0x801;
    stat.iivid = 5;
    stat.l3IpDa0 = 0x80000001;
    stat.l3IpSa0 = 0x00000001;
    lpmEntry(0, {0xc0000000, 0xc0000000}, 0x1214c000 | 1u << 13 | 1u << 11 | 1u << 10 | 1u << 9,
             0x5658c000 | 1u << 12 | 1u << 11);
    com.rte_l3_ip_hit_trap_que = 6;
    com.rte_l3_ip_miss_trap_que = 9;
    tfe.dbgLvl = 1;
    EXPECT_EQ(
        run(L3Ipv4),
        "CM-TFE port=2, frameIdx=9: [lookupL3Lpm] input key=0xc0000000_c0000000\n"
        "CM-TFE port=2, frameIdx=9: [lookupL3Lpm] hit found, bank=0 cell=0 rsltIdx=0x0\n"
        "CM-TFE port=2, frameIdx=9: [lookupL3Lpm] result tcam idx=0x0 remapped idx=0x1214ee00 and it is a hit\n" +
            prefix +
            "[L3Ipv4] rsltIdx=0x1214ee00 hit=1\n"
            "CM-TFE port=2, frameIdx=9: [lookupL3Lpm] input key=0x40000000_c0000000\n"
            "CM-TFE port=2, frameIdx=9: [lookupL3Lpm] hit found, bank=0 cell=0 rsltIdx=0x1\n"
            "CM-TFE port=2, frameIdx=9: [lookupL3Lpm] result tcam idx=0x1 remapped idx=0x5658d800 and it is a hit\n" +
            prefix + "[L3Ipv4] rsltIdx=0x5658d800 hit=1\n");
    EXPECT_EQ(stat.l3FwdDaHit, 1u);
    EXPECT_EQ(stat.l3IpTrapEn, 1u);
    EXPECT_EQ(stat.l3IpTrapRsn, 13u);
    EXPECT_EQ(stat.l3IpTrapQue, 6u);
    EXPECT_EQ(stat.l3FwdNextHopRsltIdx, 0x1214c000u >> 14);
    EXPECT_EQ(stat.l3FwdIsMyIpDa, 1u);
    EXPECT_EQ(stat.l3FwdIsDaGrp, 1u);
    EXPECT_EQ(stat.l3FwdIsDefaultVrf, 1u);
    EXPECT_EQ(stat.l3FwdSaHit, 1u);
    EXPECT_EQ(stat.l3FwdSaNextHopRsltIdx, 0x5658c000u >> 14);
    EXPECT_EQ(stat.l3FwdIsSaGrp, 1u);
    EXPECT_EQ(stat.l3FwdIsRpVld, 1u);
    EXPECT_EQ(stat.l3IpDropRsn, 0u);
}

TEST_F(LueL3, Ipv4MissTakesTheDefaultWordsOfDaAndSa) {
    port2.rte_prc_l3_ipv4_en = 1;
    tfe.comReg.ipv4_da_srch_def_rslt_addr = 0x00004000;
    tfe.comReg.ipv4_sa_srch_def_rslt_addr = 0x00008000;
    com.rte_l3_ip_miss_trap_que = 9;
    stat.l3FwdDaHit = stat.l3FwdSaHit = 1;
    EXPECT_EQ(run(L3Ipv4), prefix + "[L3Ipv4] rsltIdx=0x4000 hit=0\n" + prefix + "[L3Ipv4] rsltIdx=0x8000 hit=0\n");
    EXPECT_EQ(stat.l3FwdDaHit, 0u);
    EXPECT_EQ(stat.l3FwdSaHit, 0u);
    EXPECT_EQ(stat.l3FwdNextHopRsltIdx, 1u);
    EXPECT_EQ(stat.l3FwdSaNextHopRsltIdx, 2u);
    EXPECT_EQ(stat.l3IpTrapRsn, 14u);
    EXPECT_EQ(stat.l3IpTrapQue, 9u);
}

TEST_F(LueL3, DefaultVrfOfTheVlanKeepsAHitThatWouldBeForcedToMiss) {
    port2.rte_prc_l3_ipv4_en = port2.rte_prc_l3_ipv6_en = 1;
    lpmEntry(0, {0, 0}, 1u << 21 | 0x4000, 0);
    L3Ipv4(&stat);
    EXPECT_EQ(stat.l3FwdDaHit, 0u);
    mem.RTE_L3_VRF_SRAM[0] = 0x1000;
    L3Ipv4(&stat);
    EXPECT_EQ(stat.l3FwdDaHit, 1u);

    tfe.comReg.bank_prtcl_sel = 2;
    mem.RTE_L3_VRF_SRAM[0] = 0;
    tcamExact(tfe.mem.TFE_TCAM, 0, {0, 0, 0, 0, 0, 0, 0, 0});
    L3Ipv6(&stat);
    EXPECT_EQ(stat.l3FwdDaHit, 0u);
    mem.RTE_L3_VRF_SRAM[0] = 0x1000;
    L3Ipv6(&stat);
    EXPECT_EQ(stat.l3FwdDaHit, 1u);
}

// VRF 0x801 and an address with bits 127, 64, 32 and 0: see the four groups of address bits, each with one bit of the
// VRF on top and its own lowest bit behind it.
TEST_F(LueL3, Ipv6SearchesDaAndSa) {
    port2.rte_prc_l3_ipv6_en = 1;
    mem.RTE_L3_VRF_SRAM[5] = 0x801;
    stat.iivid = 5;
    stat.l3IpDa0 = 0x8000000000000001;
    stat.l3IpDa1 = 0x0000000100000001;
    stat.l3IpSa0 = 0x0000000100000000;
    stat.l3IpSa1 = 0x8000000000000000;
    lpmEntry(2, {0xc0000000, 0, 0, 0x40000000, 0, 0x40000000, 0, 0xc0000000}, 0xaa8a8000, 0xbb9bc000);
    tfe.dbgLvl = 1;
    EXPECT_EQ(
        run(L3Ipv6),
        "CM-TFE port=2, frameIdx=9: [lookupL3Lpm] input "
        "key=0xc0000000_00000000_00000000_40000000_00000000_40000000\n"
        "CM-TFE port=2, frameIdx=9: [lookupL3Lpm] hit found, bank=0 cell=0 rsltIdx=0x0\n"
        "CM-TFE port=2, frameIdx=9: [lookupL3Lpm] result tcam idx=0x0 remapped idx=0xaa8a8000 and it is a hit\n" +
            prefix +
            "[L3Ipv6] DA rsltIdx=0xaa8a8000 hit=1\n"
            "CM-TFE port=2, frameIdx=9: [lookupL3Lpm] input "
            "key=0x40000000_40000000_00000000_00000000_80000000_00000000\n"
            "CM-TFE port=2, frameIdx=9: [lookupL3Lpm] hit found, bank=0 cell=1 rsltIdx=0x4\n"
            "CM-TFE port=2, frameIdx=9: [lookupL3Lpm] result tcam idx=0x4 remapped idx=0xbb9bc000 and it is a hit\n" +
            prefix + "[L3Ipv6] SA rsltIdx=0xbb9bc000 hit=1\n");
    EXPECT_EQ(stat.l3FwdDaHit, 1u);
    EXPECT_EQ(stat.l3FwdSaHit, 1u);
    EXPECT_EQ(stat.vrfId, 0x801u);
    EXPECT_EQ(com.rte_his_l3_vrf[3], 0x10005u);
    EXPECT_EQ(stat.l3FwdNextHopRsltIdx, 0xaa8a8000u >> 14);
    EXPECT_EQ(stat.l3FwdSaNextHopRsltIdx, 0xbb9bc000u >> 14);
}

TEST_F(LueL3, Ipv6MissTakesTheDefaultWordsOfDaAndSa) {
    port2.rte_prc_l3_ipv6_en = 1;
    tfe.comReg.ipv6_da_srch_def_rslt_addr = 0x0000c000;
    tfe.comReg.ipv6_sa_srch_def_rslt_addr = 0x00010000;
    EXPECT_EQ(run(L3Ipv6),
              prefix + "[L3Ipv6] DA rsltIdx=0xc000 hit=0\n" + prefix + "[L3Ipv6] SA rsltIdx=0x10000 hit=0\n");
    EXPECT_EQ(stat.l3FwdNextHopRsltIdx, 3u);
    EXPECT_EQ(stat.l3FwdSaNextHopRsltIdx, 4u);
}

TEST_F(LueL3, SearchesAreSilentInAQuietRun) {
    verbose(false);
    port2.rte_prc_l3_ipv4_en = port2.rte_prc_l3_ipv6_en = 1;
    EXPECT_EQ(run(L3Ipv4), "");
    EXPECT_EQ(run(L3Ipv6), "");
    port2.rte_prc_l3_ipv4_en = port2.rte_prc_l3_ipv6_en = 0;
    EXPECT_EQ(run(L3Ipv4), "");
    EXPECT_EQ(run(L3Ipv6), "");
}

TEST_F(LueL3, DecisionsAreTracedAboveLevel1) {
    using Stage = void (*)(CmRteStat *);
    tcamOff(mem.RTE_L3_CONTROL_TCAM, 32);
    for (Stage stage : {Stage(L3Ipv4), Stage(L3Ipv6), Stage(L3Flt), Stage(L3CtrlCls)}) {
        for (uint32_t en = 0; en < 2; en++) {
            resetStat(2);
            ready();
            stat.l3IpVer = 4;
            port2.rte_prc_l3_ipv4_en = port2.rte_prc_l3_ipv6_en = en;
            const CmRteStat start = stat;
            stat.dbgLvl = 1;
            EXPECT_EQ(run(stage), "");
            stat = start;
            stat.dbgLvl = 2;
            EXPECT_EQ(run(stage).substr(0, prefix.size()), prefix);
        }
    }
}

// Routing filter.

TEST_F(LueL3, FilterChecksEachVersionByItsOwnRegisters) {
    struct Row {
        uint32_t ver, rteEn, ck4, trap4, ck6, trap6; // in
        uint32_t err, trap, drop;                    // out
        const char *name;
    };
    const Row rows[] = {
        {4, 0, 0, 0, 0, 0, 0, 0, 0, "ipv4"},  {4, 0, 1, 0, 0, 0, 1, 0, 1, "ipv4"},
        {4, 0, 1, 1, 0, 0, 1, 1, 0, "ipv4"},  {4, 1, 1, 1, 1, 1, 0, 0, 0, "ipv4"},
        {4, 0, 0, 1, 1, 1, 0, 0, 0, "ipv4"},  {4, 0, 1, 0, 1, 1, 1, 0, 1, "ipv4"},
        {6, 0, 0, 0, 0, 0, 0, 0, 0, "other"}, {6, 0, 0, 0, 1, 0, 1, 0, 1, "other"},
        {6, 0, 0, 0, 1, 1, 1, 1, 0, "other"}, {6, 1, 1, 1, 1, 1, 0, 0, 0, "other"},
        {6, 0, 1, 1, 0, 1, 0, 0, 0, "other"}, {6, 0, 1, 1, 1, 0, 1, 0, 1, "other"},
        {0, 0, 1, 1, 1, 1, 0, 0, 0, "other"},
    };
    for (const Row &row : rows) {
        resetStat(2);
        ready();
        stat.l3IpVer = row.ver;
        stat.l2PselRteEn = row.rteEn;
        port2.rte_prc_l3_ipv4_ck_rte_en = row.ck4;
        port2.rte_prc_l3_ipv4_trap_rte_en_err = row.trap4;
        port2.rte_prc_l3_ipv6_ck_rte_en = row.ck6;
        port2.rte_prc_l3_ipv6_trap_rte_en_err = row.trap6;
        port2.rte_prc_fcoe_ck_rte_en = port2.rte_prc_fcoe_trap_rte_en_err = 1;
        // All three are written, whatever stood there.
        stat.l3PselRteEnErr = stat.l3PselTrapRteEnErr = stat.l3PselDropRteEnErr = 1;
        EXPECT_EQ(run(L3Flt), prefix + "[L3Flt] rte_en check on " + row.name + " pkt, err=" + std::to_string(row.err) +
                                  " trap=" + std::to_string(row.trap) + " drop=" + std::to_string(row.drop) + "\n");
        EXPECT_EQ(stat.l3PselRteEnErr, row.err);
        EXPECT_EQ(stat.l3PselTrapRteEnErr, row.trap);
        EXPECT_EQ(stat.l3PselDropRteEnErr, row.drop);
    }
}

TEST_F(LueL3, FilterChecksFcoeByTheFabricAndLeavesAGoodFrameAlone) {
    struct Row {
        uint32_t rteEn, ck, trapEn; // in
        uint32_t err, trap, drop;   // out, from 0
    };
    const Row rows[] = {{0, 1, 1, 1, 1, 0}, {0, 1, 0, 1, 0, 1}, {1, 1, 1, 0, 0, 0}, {0, 0, 1, 0, 0, 0}};
    for (const Row &row : rows) {
        resetStat(2);
        ready();
        stat.l2FcoeFound = 1;
        stat.l2FcoeClsRteEn = row.rteEn;
        port2.rte_prc_fcoe_ck_rte_en = row.ck;
        port2.rte_prc_fcoe_trap_rte_en_err = row.trapEn;
        EXPECT_EQ(run(L3Flt), prefix + "[L3Flt] rte_en check on fcoe pkt, err=" + std::to_string(row.err) +
                                  " trap=" + std::to_string(row.trap) + " drop=" + std::to_string(row.drop) + "\n");
        EXPECT_EQ(stat.l3PselRteEnErr, row.err);
        EXPECT_EQ(stat.l3PselTrapRteEnErr, row.trap);
        EXPECT_EQ(stat.l3PselDropRteEnErr, row.drop);
    }
    resetStat(2);
    ready();
    stat.l2FcoeFound = stat.l2FcoeClsRteEn = 1;
    stat.l3PselRteEnErr = stat.l3PselTrapRteEnErr = 1;
    EXPECT_EQ(run(L3Flt), prefix + "[L3Flt] rte_en check on fcoe pkt, err=1 trap=1 drop=0\n");
}

TEST_F(LueL3, FilterPassesOverFramesWithALayer3Verdict) {
    stat.l3IpVer = 4;
    port2.rte_prc_l3_ipv4_ck_rte_en = 1;
    stat.l3IpTrapVld = 1;
    EXPECT_EQ(run(L3Flt), "");
    stat.l3IpTrapVld = 0;
    stat.l3IpDropRsn = 1;
    EXPECT_EQ(run(L3Flt), "");
    EXPECT_EQ(stat.l3PselRteEnErr, 0u);
    stat.l3IpDropRsn = 0;
    EXPECT_NE(run(L3Flt), "");
    EXPECT_EQ(stat.l3PselRteEnErr, 1u);
}

// Control classification.

namespace {

constexpr uint32_t kCtlWords = 14;
constexpr uint32_t kDropTyp = 0, kTrapTyp = 1, kFwdTyp = 2, kTrapFwdTyp = 3;

class LueL3Ctrl : public LueL3 {
protected:
    LueL3Ctrl() {
        // Nothing hits, and the index of a miss is 0x5d.
        tcamOff(mem.RTE_L3_CONTROL_TCAM, 32);
        com.l3_ctl_unk_rslt = kUnk;
        begin();
    }

    void begin() {
        resetStat(2);
        ready();
        stat.l3IpVer = 4;
        stat.iivid = kVid;
    }

    /// Gives the frame's VLAN result `typ` at index `idx`, with queue 11 and the override flag `ovrd`.
    void result(uint32_t typ, uint32_t ovrd = 0, uint32_t idx = kUnk) {
        const uint32_t row = kVid << 8 | idx;
        uint32_t &word = mem.RTE_L3_CONTROL_RSLT_EDRAM[row >> 4];
        const uint32_t lo = 30 - 2 * (idx & 15);
        word = setBits(word, lo + 1, lo, typ);
        mem.RTE_L3_CONTROL_PID_SRAM[kVid >> 3] = 0x50000000u >> 4 * (kVid & 7);
        mem.RTE_L3_CONTROL_QUEUE_NUM_SRAM[2 * idx] = ovrd;
        mem.RTE_L3_CONTROL_QUEUE_NUM_SRAM[2 * idx + 1] = 11u << 4 * (7 - 5);
    }

    std::string ctrl() { return run(L3CtrlCls); }
    /// The trace behind the line of the search.
    std::string ctrlRest() {
        const std::string out = ctrl();
        return out.substr(out.find('\n') + 1);
    }
    uint32_t flags() const {
        return stat.l3CtrlDrop << 3 | stat.l3CtrlTrap << 2 | stat.l3CtrlFwd << 1 | stat.l3CtrlTrapFwd;
    }
    const uint32_t *keyHis() const { return &com.rte_his_l3_ctl_tcam_key[3][0]; }

    static constexpr uint32_t kVid = 0x0b35;
    static constexpr uint32_t kUnk = 0x5d;
    static constexpr uint32_t kDropFlag = 8, kTrapFlag = 4, kFwdFlag = 2, kTrapFwdFlag = 1;
};

} // namespace

TEST_F(LueL3Ctrl, FrameThatIsNotIpIsForwarded) {
    for (uint32_t ver : {0u, 5u}) {
        begin();
        stat.l3IpVer = ver;
        com.l3_ctl_flx_key_sel = 3; // not looked at
        EXPECT_EQ(ctrl(), prefix + "SKIP L3 Control Cls. NON-IP\n");
        EXPECT_EQ(flags(), kFwdFlag);
        EXPECT_EQ(keyHis()[0], 0u);
    }
}

// Each field of the key, one bit at a time: the history shows that it stands where it belongs and nothing else is set,
// and an entry for exactly this key hits.
TEST_F(LueL3Ctrl, EachKeyBitHasItsPlace) {
    struct Fld {
        uint32_t word, lo, width;
        void (*set)(CmRteStat &, uint32_t n);
        uint32_t ver = 4;
    };
    const Fld flds[] = {
        {0, 0, 32, [](CmRteStat &s, uint32_t n) { s.typ = 1u << n; }},
        {1, 16, 16, [](CmRteStat &s, uint32_t n) { s.l2Da = 1ull << (32 + n); }},
        {1, 8, 8, [](CmRteStat &s, uint32_t n) { s.l3IpUlp = 1u << n; }},
        {1, 7, 1, [](CmRteStat &s, uint32_t) { s.l4TcpFlags = 0x01; }},
        {1, 6, 1, [](CmRteStat &s, uint32_t) { s.l4TcpFlags = 0x02; }},
        {1, 5, 1, [](CmRteStat &s, uint32_t) { s.l4TcpFlags = 0x04; }},
        {1, 4, 1, [](CmRteStat &s, uint32_t) { s.l4TcpFlags = 0x10; }},
        {1, 3, 1, [](CmRteStat &s, uint32_t) { s.l4TcpFlags = 0x08; }},
        {1, 2, 1, [](CmRteStat &s, uint32_t) { s.l4TcpFlags = 0x20; }},
        {1, 0, 1, [](CmRteStat &s, uint32_t) { s.l3FwdIsMyIpDa = 1; }},
        {2, 0, 32, [](CmRteStat &s, uint32_t n) { s.l2Da = 1ull << n; }},
        {3, 16, 16, [](CmRteStat &s, uint32_t n) { s.typL4Src = 1u << n; }},
        {3, 0, 16, [](CmRteStat &s, uint32_t n) { s.typL4Dst = 1u << n; }},
        {7, 0, 32, [](CmRteStat &s, uint32_t n) { s.l3IpDa0 = 1ull << n; }},
        {4, 0, 32, [](CmRteStat &s, uint32_t n) { s.l3IpDa0 = 1ull << (32 + n); }, 6},
        {5, 0, 32, [](CmRteStat &s, uint32_t n) { s.l3IpDa0 = 1ull << n; }, 6},
        {6, 0, 32, [](CmRteStat &s, uint32_t n) { s.l3IpDa1 = 1ull << (32 + n); }, 6},
        {7, 0, 32, [](CmRteStat &s, uint32_t n) { s.l3IpDa1 = 1ull << n; }, 6},
        {8, 0, 32, [](CmRteStat &s, uint32_t n) { s.flexKey0[0] = 1u << n; }},
        {9, 0, 32, [](CmRteStat &s, uint32_t n) { s.flexKey0[1] = 1u << n; }},
        {10, 0, 32, [](CmRteStat &s, uint32_t n) { s.flexKey0[2] = 1u << n; }},
        {11, 0, 32, [](CmRteStat &s, uint32_t n) { s.flexKey0[3] = 1u << n; }},
        {12, 0, 32, [](CmRteStat &s, uint32_t n) { s.flexKey0[4] = 1u << n; }},
        {13, 0, 32, [](CmRteStat &s, uint32_t n) { s.flexKey0[5] = 1u << n; }},
    };
    result(kFwdTyp);
    for (const Fld &fld : flds) {
        for (uint32_t n = 0; n < fld.width; n++) {
            begin();
            verbose(false);
            stat.l3IpVer = fld.ver;
            fld.set(stat, n);
            std::vector<uint32_t> want(16, 0);
            want[2 + fld.word] = 1u << (fld.lo + n);
            if (fld.ver == 6)
                want[3] |= 2; // the version bit of key word 1
            tcamExact(mem.RTE_L3_CONTROL_TCAM, 77, want);
            L3CtrlCls(&stat);
            EXPECT_EQ(stat.l3CtrlHit, 1u) << fld.word << ' ' << fld.lo + n;
            EXPECT_EQ(stat.l3CtrlHitIdx, 77u);
            for (uint32_t w = 0; w < kCtlWords; w++)
                EXPECT_EQ(keyHis()[w], want[2 + w] | (w == 0 ? 0x10000u : 0))
                    << fld.word << ' ' << fld.lo + n << ' ' << w;
        }
    }
}

TEST_F(LueL3Ctrl, KeyFieldsAreCutToTheirWidth) {
    stat.l3IpUlp = 0xffffff00;
    stat.typL4Dst = 0xffff0000;
    stat.l2Da = 0xffff000000000000;
    stat.l3FwdIsMyIpDa = 0xfffffffe;
    stat.l4TcpFlags = 0xffffffc0;
    result(kFwdTyp);
    L3CtrlCls(&stat);
    for (uint32_t w = 0; w < kCtlWords; w++)
        EXPECT_EQ(keyHis()[w], w == 0 ? 0x10000u : 0u) << w;
}

TEST_F(LueL3Ctrl, FlexKeySelectionTakesTheSecondProfile) {
    for (uint32_t i = 0; i < 6; i++) {
        stat.flexKey0[i] = 0x10 + i;
        stat.flexKey1[i] = 0x20 + i;
    }
    com.l3_ctl_flx_key_sel = 1;
    result(kFwdTyp);
    L3CtrlCls(&stat);
    for (uint32_t i = 0; i < 6; i++)
        EXPECT_EQ(keyHis()[8 + i], 0x20 + i);
}

TEST_F(LueL3Ctrl, FlexKeySelectionAbove1EndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (uint32_t sel : {2u, 3u}) {
        com.l3_ctl_flx_key_sel = sel;
        EXPECT_EXIT(L3CtrlCls(&stat), testing::KilledBySignal(SIGABRT),
                    "Flex key has only 2 profiles in tessara, requested profile: " + std::to_string(sel) + "\n");
    }
}

TEST_F(LueL3Ctrl, MissTakesTheUnknownIndexInAllThreeResultMemories) {
    result(kTrapTyp, 1);
    stat.l3CtrlHit = stat.l3CtrlHitIdx = 99;
    EXPECT_EQ(ctrl(), prefix + "[L3CtrlCls] tcam rsltIdx=0x5d ,unk_rslt_reg=0x5d, tcamHit=0\n");
    EXPECT_EQ(stat.l3CtrlHit, 0u);
    EXPECT_EQ(stat.l3CtrlHitIdx, 0u);
    EXPECT_EQ(flags(), kTrapFlag);
    EXPECT_EQ(stat.l3CtrlTrapQue, 11u);
    EXPECT_EQ(stat.l3CtrlOvrd, 1u);
    EXPECT_EQ(com.rte_his_l3_ctl_rslt[3], 1u << 24 | kVid << 8 | 0x5d);
    EXPECT_EQ(com.rte_his_l3_pid[3], 0x10000u | kVid);
    EXPECT_EQ(com.rte_his_l3_ctl_qnum[3], 0x1005du);
}

TEST_F(LueL3Ctrl, HitTakesItsOwnIndexAndTheFirstOneWins) {
    tcamAny(mem.RTE_L3_CONTROL_TCAM, 0xc3, 32);
    tcamAny(mem.RTE_L3_CONTROL_TCAM, 0xff, 32);
    result(kTrapTyp, 0);
    result(kTrapFwdTyp, 1, 0xc3);
    EXPECT_EQ(ctrl(), prefix + "[L3CtrlCls] tcam rsltIdx=0xc3 ,unk_rslt_reg=0x5d, tcamHit=1\n");
    EXPECT_EQ(stat.l3CtrlHit, 1u);
    EXPECT_EQ(stat.l3CtrlHitIdx, 0xc3u);
    EXPECT_EQ(flags(), kTrapFwdFlag);
    EXPECT_EQ(stat.l3CtrlOvrd, 1u);
    EXPECT_EQ(com.rte_his_l3_ctl_rslt[3], 1u << 24 | 1u << 21 | kVid << 8 | 0xc3);
    EXPECT_EQ(com.rte_his_l3_ctl_qnum[3], 0x101c3u);
}

TEST_F(LueL3Ctrl, LastEntryOfTheTcamIs255) {
    tcamAny(mem.RTE_L3_CONTROL_TCAM, 0xff, 32);
    result(kFwdTyp, 0, 0xff);
    ctrl();
    EXPECT_EQ(stat.l3CtrlHitIdx, 0xffu);
}

TEST_F(LueL3Ctrl, HistoriesKeepToTheirRanges) {
    result(kFwdTyp);
    // The hit flag lies above the compared bits.
    com.rte_lue_l3_ctl_rslt_addr_lo = (kVid << 8 | kUnk) + 1;
    com.rte_lue_l3_ivid_pid_addr_lo = kVid + 1;
    com.rte_lue_l3_ctl_qnum_addr_lo = kUnk + 1;
    ctrl();
    EXPECT_EQ(com.rte_his_l3_ctl_rslt[3], 0u);
    EXPECT_EQ(com.rte_his_l3_pid[3], 0u);
    EXPECT_EQ(com.rte_his_l3_ctl_qnum[3], 0u);
    com.rte_lue_l3_ctl_rslt_addr_lo = com.rte_lue_l3_ctl_rslt_addr_hi = kVid << 8 | kUnk;
    com.rte_lue_l3_ivid_pid_addr_lo = com.rte_lue_l3_ivid_pid_addr_hi = kVid;
    com.rte_lue_l3_ctl_qnum_addr_lo = com.rte_lue_l3_ctl_qnum_addr_hi = kUnk;
    tcamAny(mem.RTE_L3_CONTROL_TCAM, kUnk, 32);
    begin();
    ctrl();
    EXPECT_EQ(com.rte_his_l3_ctl_rslt[3], 1u << 24 | 1u << 21 | kVid << 8 | kUnk);
    EXPECT_EQ(com.rte_his_l3_pid[3], 0x10000u | kVid);
    EXPECT_EQ(com.rte_his_l3_ctl_qnum[3], 0x10100u | kUnk);
}

TEST_F(LueL3Ctrl, ResultTypeHasTwoBitsFromTheTopOfTheWord) {
    const uint32_t want[4] = {kDropFlag, kTrapFlag, kFwdFlag, kTrapFwdFlag};
    for (uint32_t idx = 0; idx < 256; idx += 5) {
        for (uint32_t typ = 0; typ < 4; typ++) {
            begin();
            verbose(false);
            com.l3_ctl_unk_rslt = idx;
            // All other results of the word are of another type.
            mem.RTE_L3_CONTROL_RSLT_EDRAM[(kVid << 8 | idx) / 16] = 0x55555555u * (3 - typ);
            result(typ, 0, idx);
            L3CtrlCls(&stat);
            EXPECT_EQ(flags(), want[typ]) << idx;
        }
    }
}

TEST_F(LueL3Ctrl, QueueIsChosenByTheProfileOfTheVlan) {
    for (uint32_t vid = 0x7f8; vid < 0x800; vid++) {
        for (uint32_t pid = 0; pid < 8; pid++) {
            begin();
            verbose(false);
            stat.iivid = vid;
            // The fourth bit of a profile does not count.
            mem.RTE_L3_CONTROL_PID_SRAM[0xff] = (8 | pid) << 4 * (7 - (vid & 7));
            mem.RTE_L3_CONTROL_QUEUE_NUM_SRAM[2 * kUnk] = 0xfffffffe;
            mem.RTE_L3_CONTROL_QUEUE_NUM_SRAM[2 * kUnk + 1] = 0x89abcdef;
            L3CtrlCls(&stat);
            EXPECT_EQ(stat.l3CtrlTrapQue, 8 + pid) << vid;
            EXPECT_EQ(stat.l3CtrlOvrd, 0u);
        }
    }
}

TEST_F(LueL3Ctrl, TwoResultsAtOnceEndTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    result(kFwdTyp);
    stat.l3CtrlTrap = 1;
    EXPECT_EXIT(L3CtrlCls(&stat), testing::KilledBySignal(SIGABRT),
                "\\(statPtr->l3CtrlFwd \\+ statPtr->l3CtrlTrap \\+ statPtr->l3CtrlDrop \\+ statPtr->l3CtrlTrapFwd\\) "
                "== 1");
}

TEST_F(LueL3Ctrl, AclThatAppliesCancelsAResultWithoutOverride) {
    for (uint32_t typ = 0; typ < 4; typ++) {
        begin();
        result(typ, 0);
        stat.l3AclAppl = 1;
        stat.l3PselEgidPth = stat.l3PselAclEgidPth = 1;
        EXPECT_EQ(ctrlRest(), prefix + "L3 control bypassed due to l3_acl_app=1 and l3_ctl_ovrd=0\n");
        EXPECT_EQ(flags(), kFwdFlag);
        EXPECT_EQ(stat.l3PselTrapEn, 0u);
        EXPECT_EQ(stat.l3PselAclDrop, 0u);
        EXPECT_EQ(stat.l3PselNoFwd, 0u);
        EXPECT_EQ(stat.l3PselTrapRsn, 0u);
        EXPECT_EQ(stat.l3PselEgidPth, 1u);
        EXPECT_EQ(stat.l3PselAclEgidPth, 1u);
    }
}

TEST_F(LueL3Ctrl, OverrideBeatsTheAcl) {
    const uint32_t want[4] = {kDropFlag, kTrapFlag, kFwdFlag, kTrapFwdFlag};
    for (uint32_t typ = 0; typ < 4; typ++) {
        begin();
        result(typ, 1);
        stat.l3AclAppl = 1;
        EXPECT_EQ(ctrlRest(), "");
        EXPECT_EQ(flags(), want[typ]);
        EXPECT_EQ(stat.l3PselTrapEn, typ == kTrapTyp || typ == kTrapFwdTyp ? 1u : 0u);
        EXPECT_EQ(stat.l3PselAclDrop, typ == kDropTyp ? 1u : 0u);
        EXPECT_EQ(stat.l3PselTrapL3Ovrd, typ == kTrapTyp || typ == kTrapFwdTyp ? 1u : 0u);
        EXPECT_EQ(stat.l3PselGidL3Ovrd, typ == kTrapTyp || typ == kDropTyp ? 1u : 0u);
    }
}

TEST_F(LueL3Ctrl, ForwardChangesNothing) {
    result(kFwdTyp, 1);
    stat.l3PselDropEn = 1;
    EXPECT_EQ(ctrlRest(), "");
    EXPECT_EQ(stat.l3PselDropEn, 1u);
    EXPECT_EQ(stat.l3PselTrapEn, 0u);
    EXPECT_EQ(stat.l3PselNoFwd, 0u);
    EXPECT_EQ(stat.l3PselTrapL3Ovrd, 0u);
    EXPECT_EQ(stat.l3PselGidL3Ovrd, 0u);
}

TEST_F(LueL3Ctrl, TrapAndForwardOfMulticastPassthroughStaysAForward) {
    struct Row {
        uint32_t rteRqd, isMcast, pselIdx, fwdIdx, ovrd;
        bool forced;
    };
    const Row rows[] = {{1, 1, 0x77, 0x77, 0, true},  {0, 1, 0x77, 0x77, 0, false}, {1, 0, 0x77, 0x77, 0, false},
                        {1, 1, 0x78, 0x77, 0, false}, {1, 1, 0x77, 0x78, 0, false}, {1, 1, 0x77, 0x77, 1, false}};
    com.rte_l3_passthru = 0x77;
    for (const Row &row : rows) {
        begin();
        result(kTrapFwdTyp, row.ovrd);
        stat.l3RteRqd = row.rteRqd;
        stat.l3IpDaIsMcast = row.isMcast;
        stat.l3PselNextHopRsltIdx = row.pselIdx;
        stat.l3FwdNextHopRsltIdx = row.fwdIdx;
        EXPECT_EQ(ctrlRest(),
                  row.forced ? prefix + "L3 control trap+fwd forced to l3 fwd in case of IP mcast pth\n" : "");
        EXPECT_EQ(flags(), row.forced ? kFwdFlag : kTrapFwdFlag);
        EXPECT_EQ(stat.l3PselTrapEn, row.forced ? 0u : 1u);
        EXPECT_EQ(stat.l3PselTrapRsn, row.forced ? 0u : 26u);
        EXPECT_EQ(stat.l3PselTrapL3Ovrd, row.ovrd);
    }
}

TEST_F(LueL3Ctrl, TrapAndForwardJoinsTheVerdictSoFar) {
    struct Row {
        uint32_t aclDrop, dropEn, trapEn, prioDis;
        uint32_t wantDrop, wantTrap, wantNoFwd, wantQue, wantRsn;
    };
    const Row rows[] = {
        {0, 0, 0, 0, 0, 1, 0, 11, 26}, {0, 0, 0, 1, 0, 1, 0, 3, 9},   {0, 1, 0, 0, 0, 1, 1, 11, 26},
        {0, 1, 1, 1, 0, 1, 1, 3, 9},   {0, 0, 1, 0, 0, 1, 0, 11, 26}, {0, 0, 1, 1, 0, 1, 0, 3, 9},
        {1, 1, 0, 0, 1, 0, 0, 3, 9},   {1, 0, 1, 0, 0, 1, 0, 3, 9},
    };
    for (uint32_t ovrd = 0; ovrd < 2; ovrd++) {
        for (const Row &row : rows) {
            begin();
            result(kTrapFwdTyp, ovrd);
            stat.l3PselAclDrop = row.aclDrop;
            stat.l3PselDropEn = row.dropEn;
            stat.l3PselTrapEn = row.trapEn;
            stat.l3PselTrapQue = 3;
            stat.l3PselTrapRsn = 9;
            stat.l3PselEgidPth = stat.l3PselAclEgidPth = 1;
            com.l3_ctl_trap_prio_dis = row.prioDis;
            EXPECT_EQ(ctrlRest(), "");
            EXPECT_EQ(stat.l3PselAclDrop, row.aclDrop);
            EXPECT_EQ(stat.l3PselDropEn, row.wantDrop);
            EXPECT_EQ(stat.l3PselTrapEn, row.wantTrap);
            EXPECT_EQ(stat.l3PselNoFwd, row.wantNoFwd);
            EXPECT_EQ(stat.l3PselTrapQue, row.wantQue);
            EXPECT_EQ(stat.l3PselTrapRsn, row.wantRsn);
            EXPECT_EQ(stat.l3PselTrapL3Ovrd, ovrd);
            EXPECT_EQ(stat.l3PselGidL3Ovrd, 0u);
            EXPECT_EQ(stat.l3PselEgidPth, 1u);
            EXPECT_EQ(stat.l3PselAclEgidPth, 1u);
        }
    }
}

TEST_F(LueL3Ctrl, DropTakesTheVerdictSoFarAndBothPassthroughs) {
    for (uint32_t aclDrop = 0; aclDrop < 2; aclDrop++) {
        for (uint32_t ovrd = 0; ovrd < 2; ovrd++) {
            begin();
            result(kDropTyp, ovrd);
            stat.l3PselAclDrop = aclDrop;
            stat.l3PselDropEn = stat.l3PselTrapEn = 1;
            stat.l3PselTrapRsn = stat.l3PselTrapQue = stat.l3PselDropRsn = 5;
            stat.l3PselEgidPth = stat.l3PselAclEgidPth = 1;
            EXPECT_EQ(ctrlRest(), prefix + "L3 Gid passthrough overruled by L3 control drop\n" + prefix +
                                      "L3 ACL Gid passthrough overruled by L3 control drop\n");
            EXPECT_EQ(stat.l3PselAclDrop, 1u);
            EXPECT_EQ(stat.l3PselDropEn, aclDrop);
            EXPECT_EQ(stat.l3PselTrapEn, aclDrop);
            EXPECT_EQ(stat.l3PselTrapRsn, 5 * aclDrop);
            EXPECT_EQ(stat.l3PselTrapQue, 5 * aclDrop);
            EXPECT_EQ(stat.l3PselDropRsn, 5 * aclDrop);
            EXPECT_EQ(stat.l3PselEgidPth, 0u);
            EXPECT_EQ(stat.l3PselAclEgidPth, 0u);
            EXPECT_EQ(stat.l3PselGidL3Ovrd, ovrd);
            EXPECT_EQ(stat.l3PselTrapL3Ovrd, 0u);
            EXPECT_EQ(stat.l3PselNoFwd, 0u);
        }
    }
}

TEST_F(LueL3Ctrl, DropTracesOnlyThePassthroughThatStood) {
    result(kDropTyp);
    EXPECT_EQ(ctrlRest(), "");
    begin();
    stat.l3PselEgidPth = 1;
    EXPECT_EQ(ctrlRest(), prefix + "L3 Gid passthrough overruled by L3 control drop\n");
    begin();
    stat.l3PselAclEgidPth = 1;
    EXPECT_EQ(ctrlRest(), prefix + "L3 ACL Gid passthrough overruled by L3 control drop\n");
}

TEST_F(LueL3Ctrl, TrapJoinsTheVerdictSoFarAndStopsForwarding) {
    struct Row {
        uint32_t aclDrop, dropEn, trapEn, prioDis;
        uint32_t wantDrop, wantTrap, wantQue, wantRsn;
    };
    const Row rows[] = {
        {0, 0, 0, 0, 0, 1, 11, 26}, {0, 0, 0, 1, 0, 1, 3, 9},   {0, 1, 0, 0, 0, 1, 11, 26},
        {0, 1, 0, 1, 0, 1, 3, 9},   {0, 1, 1, 0, 0, 1, 11, 26}, {0, 0, 1, 0, 0, 1, 11, 26},
        {0, 0, 1, 1, 0, 1, 3, 9},   {1, 1, 0, 0, 1, 0, 3, 9},   {1, 0, 1, 0, 0, 1, 3, 9},
    };
    for (uint32_t ovrd = 0; ovrd < 2; ovrd++) {
        for (const Row &row : rows) {
            begin();
            result(kTrapTyp, ovrd);
            stat.l3PselAclDrop = row.aclDrop;
            stat.l3PselDropEn = row.dropEn;
            stat.l3PselTrapEn = row.trapEn;
            stat.l3PselTrapQue = 3;
            stat.l3PselTrapRsn = 9;
            com.l3_ctl_trap_prio_dis = row.prioDis;
            EXPECT_EQ(ctrlRest(), "");
            EXPECT_EQ(stat.l3PselAclDrop, row.aclDrop);
            EXPECT_EQ(stat.l3PselDropEn, row.wantDrop);
            EXPECT_EQ(stat.l3PselTrapEn, row.wantTrap);
            EXPECT_EQ(stat.l3PselNoFwd, 1u);
            EXPECT_EQ(stat.l3PselTrapQue, row.wantQue);
            EXPECT_EQ(stat.l3PselTrapRsn, row.wantRsn);
            EXPECT_EQ(stat.l3PselTrapL3Ovrd, ovrd);
            EXPECT_EQ(stat.l3PselGidL3Ovrd, ovrd);
        }
    }
}

TEST_F(LueL3Ctrl, TrapOverrulesThePassthroughs) {
    result(kTrapTyp);
    stat.l3PselEgidPth = 1;
    EXPECT_EQ(ctrlRest(), prefix + "L3 Gid passthrough overruled by L3 control trap\n");
    EXPECT_EQ(stat.l3PselEgidPth, 0u);
    begin();
    stat.l3PselAclEgidPth = 1;
    EXPECT_EQ(ctrlRest(), prefix + "L3 ACL Gid passthrough overruled by L3 control trap\n");
    EXPECT_EQ(stat.l3PselAclEgidPth, 0u);
    begin();
    stat.l3PselEgidPth = stat.l3PselAclEgidPth = 1;
    EXPECT_EQ(ctrlRest(), prefix + "L3 Gid passthrough overruled by L3 control trap\n" + prefix +
                              "L3 ACL Gid passthrough overruled by L3 control trap\n");
}

TEST_F(LueL3Ctrl, QuietRunPrintsNothing) {
    for (uint32_t typ = 0; typ < 4; typ++) {
        begin();
        verbose(false);
        result(typ);
        stat.l3PselEgidPth = stat.l3PselAclEgidPth = 1;
        EXPECT_EQ(ctrl(), "");
    }
}

// Robustness.

TEST_F(LueL3Ctrl, AnyRegistersAndAnyFrameStayInsideTheMemories) {
    RandomWords rng(1);
    const auto scramble = [&rng](auto &record) {
        uint32_t *words = reinterpret_cast<uint32_t *>(&record);
        for (size_t i = 0; i < sizeof record / sizeof(uint32_t); i++)
            words[i] = rng();
    };
    scramble(com);
    scramble(port2);
    scramble(tfe.comReg);
    scramble(mem.RTE_L3_VRF_SRAM);
    scramble(mem.RTE_L3_FEATURE_CTL_SRAM);
    scramble(mem.RTE_L3_CONTROL_RSLT_EDRAM);
    scramble(mem.RTE_L3_CONTROL_QUEUE_NUM_SRAM);
    scramble(mem.RTE_L3_CONTROL_PID_SRAM);
    tfe.comReg.bank_prtcl_sel &= 0x2aaaaaa; // no bank of the invalid protocol, which would be printed
    port2.rte_prc_l3_ipv4_en = port2.rte_prc_l3_ipv6_en = 1;
    for (uint32_t round = 0; round < 200; round++) {
        begin();
        verbose(false);
        com.l3_ctl_flx_key_sel = round & 1;
        com.l3_ctl_unk_rslt = rng();
        stat.iivid = rng();
        stat.l3IpVer = round & 2 ? 4 : 6;
        stat.l3IpDa0 = rng();
        stat.l4TcpFlags = rng();
        L3FeatureCtrl(&stat);
        if (stat.l3IpVer == 4)
            L3Ipv4(&stat);
        else
            L3Ipv6(&stat);
        L3Flt(&stat);
        L3CugidLu(&stat);
        L3CtrlCls(&stat);
        EXPECT_EQ(stat.l3CtrlFwd + stat.l3CtrlTrap + stat.l3CtrlDrop + stat.l3CtrlTrapFwd, 1u);
        EXPECT_LT(stat.l3CtrlTrapQue, 16u);
        EXPECT_LT(stat.vrfId, 0x1000u);
    }
}
