// FCoE at layer 3: classification of the fabric, and the two prefix searches.

#include "lue/cmRteLue.h"
#include "tfe/cmTfe.h"

#include "model_fixture.h"
#include "random_words.h"
#include "tcam_image.h"

namespace {

class LueFcoe : public ModelTest {
protected:
    LueFcoe() : tfePtr(std::make_unique<CmTfeLue>()), tfe(*tfePtr) {
        std::memset(&tfe.comReg, 0, sizeof tfe.comReg);
        std::memset(&tfe.mem, 0, sizeof tfe.mem);
        com.rte_his_en = 0xffffffff;
        com.rte_lue_l3_vrf_addr_hi = 0x1fff;
        begin();
    }

    void begin() {
        resetStat(2);
        stat.tfePtr = &tfe;
        stat.frmIdx = 9;
        stat.l2FcoeFound = 1;
        verbose(true);
    }

    std::string cls() {
        return printed([&] { FcoeCls(&stat); });
    }
    std::string lu() {
        return printed([&] { FcoeLu(&stat); });
    }

    /// One FCoE bank whose entry 0 matches exactly the key of two words and gives `found`; entry 1 matches everything
    /// and gives `other`.
    void lpmEntry(uint32_t word0, uint32_t word1, uint32_t found, uint32_t other) {
        tfe.comReg.tfe_bank_en = 1;
        tfe.comReg.bank_prtcl_sel = 1;
        tcamExact(tfe.mem.TFE_TCAM, 0, {word0, word1});
        tfe.mem.TFE_AMAP[0] = found;
        tfe.mem.TFE_AMAP[1] = other;
    }

    /// The key line of the search's own trace for the id `did`.
    std::string daKey(uint32_t did) {
        begin();
        verbose(false);
        port2.rte_prc_fcoe_en = 1;
        tfe.dbgLvl = 1;
        stat.l2FcoeFcDid = did;
        const std::string out = lu();
        const std::string head = "CM-TFE port=2, frameIdx=9: [lookupL3Lpm] input key=";
        EXPECT_EQ(out.substr(0, head.size()), head);
        return out.substr(head.size(), out.find('\n') - head.size());
    }

    std::unique_ptr<CmTfeLue> tfePtr;
    CmTfeLue &tfe;
    CmRteHsiPortReg &port2 = rte->portRegLst[2];
    const std::string prefix = "CM port=2, frameIdx=9>> ";
};

} // namespace

// Classification.

TEST_F(LueFcoe, EgidThatDemandsRoutingTellsVfFromVe) {
    struct Row {
        uint32_t gid, isMgid, vf, ve;
        const char *why;
    };
    const Row rows[] = {
        {0x4000 | 0x1000 | 0x55, 0, 1, 0, "bit 12"},
        {0x4000 | 0x0800 | 0x55, 0, 0, 1, "bit 11"},
        {0x4000 | 0x1800 | 0x55, 0, 1, 0, "bit 12 comes first"},
        {0x4000 | 0x1800 | 0x55, 1, 0, 0, "an MGID"},
        {0x4000 | 0x1800 | 0x56, 0, 0, 0, "another egid"},
        {0x4000 | 0x0600 | 0x55, 0, 0, 0, "no FCoE bit"},
        {0x0000 | 0x1800 | 0x55, 0, 0, 0, "not in EGID form"},
    };
    com.rte_rte_rqd_egid = 0x55;
    for (const Row &row : rows) {
        begin();
        stat.l2ExmDaEgidOrig = row.gid;
        stat.l2ExmDaIsMgidOrig = row.isMgid;
        cls();
        EXPECT_EQ(stat.l2FcoeVfRouted, row.vf) << row.why;
        EXPECT_EQ(stat.l2FcoeVeRouted, row.ve) << row.why;
    }
}

TEST_F(LueFcoe, RoutedFlagsAreOnlyEverSet) {
    stat.l2FcoeVfRouted = stat.l2FcoeVeRouted = 1;
    cls();
    EXPECT_EQ(stat.l2FcoeVfRouted, 1u);
    EXPECT_EQ(stat.l2FcoeVeRouted, 1u);
}

TEST_F(LueFcoe, VfTagBeatsTheTables) {
    stat.l2FcoeFcVfidVld = 1;
    stat.l2FcoeFcVfid = 0xabc;
    stat.l2FcoeClsVfidTyp = 1;
    stat.iivid = 0x123;
    mem.RTE_FCOE_VFID_SRAM[0x123] = 0x1fff;
    port2.rte_prc_l2_fcoe_def_vid = 0x123;
    port2.rte_prc_l2_fcoe_def_vfid = 0x777;
    port2.rte_prc_l2_fcoe_def_vfid_typ = 1;
    cls();
    EXPECT_EQ(stat.l2FcoeClsVfid, 0xabcu);
    EXPECT_EQ(stat.l2FcoeClsVfidTyp, 0u);
}

TEST_F(LueFcoe, FabricOfTheVlanComesFromItsTable) {
    stat.iivid = 0x1fff;
    stat.l2FcoeFcVfid = 0xabc;
    mem.RTE_FCOE_VFID_SRAM[0x1fff] = 0x1000;
    port2.rte_prc_l2_fcoe_def_vfid = 0x777;
    cls();
    EXPECT_EQ(stat.l2FcoeClsVfid, 0u);
    EXPECT_EQ(stat.l2FcoeClsVfidTyp, 1u);
    mem.RTE_FCOE_VFID_SRAM[0x1fff] = 0x0fff;
    cls();
    EXPECT_EQ(stat.l2FcoeClsVfid, 0xfffu);
    EXPECT_EQ(stat.l2FcoeClsVfidTyp, 0u);
}

TEST_F(LueFcoe, DefaultVlanTakesThePortsFabricWhateverTheTableHolds) {
    for (uint32_t typ = 0; typ < 2; typ++) {
        begin();
        stat.iivid = 0x123;
        mem.RTE_FCOE_VFID_SRAM[0x123] = 0x1456;
        port2.rte_prc_l2_fcoe_def_vid = 0x123;
        port2.rte_prc_l2_fcoe_def_vfid = 0x777;
        port2.rte_prc_l2_fcoe_def_vfid_typ = typ;
        cls();
        EXPECT_EQ(stat.l2FcoeClsVfid, 0x777u);
        EXPECT_EQ(stat.l2FcoeClsVfidTyp, typ);
    }
}

TEST_F(LueFcoe, RoutingNeedsBothBitTables) {
    for (uint32_t both = 0; both < 4; both++) {
        for (uint32_t n : {0u, 31u, 32u, 0xfffu}) {
            begin();
            stat.iivid = 0x1000 + n;
            stat.l2FcoeFcVfidVld = 1;
            stat.l2FcoeFcVfid = n;
            const bool vid = both & 1;
            const bool vfid = both & 2;
            // The neighbours' bits are the other way round.
            mem.RTE_FCOE_VID_FLT_RA[(0x1000 + n) / 32] = vid ? 1u << n % 32 : ~(1u << n % 32);
            mem.RTE_FCOE_VFID_FLT_RA[n / 32] = vfid ? 1u << n % 32 : ~(1u << n % 32);
            cls();
            EXPECT_EQ(stat.l2FcoeClsRteEn, vid && vfid ? 1u : 0u) << both << ' ' << n;
        }
    }
}

TEST_F(LueFcoe, ClassificationIsTraced) {
    com.rte_rte_rqd_egid = 0x55;
    stat.l2ExmDaEgidOrig = 0x4000 | 0x0800 | 0x55;
    stat.iivid = 0xa5;
    mem.RTE_FCOE_VFID_SRAM[0xa5] = 0x1c1e;
    mem.RTE_FCOE_VID_FLT_RA[0xa5 / 32] = 1u << 5;
    mem.RTE_FCOE_VFID_FLT_RA[0xc1e / 32] = 1u << 30;
    EXPECT_EQ(cls(), prefix + "L3 FCoE Cls:\n"
                              "    vid        = a5\n"
                              "    vfid       = c1e\n"
                              "    vfid_typ   = 1\n"
                              "    vf_routed  = 0\n"
                              "    ve_routed  = 1\n"
                              "    rte_en     = 1\n");
    stat.dbgLvl = 2;
    EXPECT_EQ(cls(), "");
}

// Searches.

TEST_F(LueFcoe, PortWithFcoeOffDropsAFrameWithoutVerdict) {
    struct Row {
        uint32_t dropRsn, trapRsn, want;
    };
    for (const Row &row : {Row{0, 0, 1}, Row{22, 0, 22}, Row{0, 3, 0}, Row{22, 3, 22}}) {
        begin();
        stat.l3PrcDropRsn = row.dropRsn;
        stat.l3PrcTrapRsn = row.trapRsn;
        stat.iivid = 7;
        mem.RTE_L3_VRF_SRAM[7] = 0x1123;
        tfe.dbgLvl = 1;
        EXPECT_EQ(lu(), prefix + "FCoE PRC not enabled, L3 DROP\n");
        EXPECT_EQ(stat.l3PrcDropRsn, row.want);
        EXPECT_EQ(stat.l3PrcTrapRsn, row.trapRsn);
        EXPECT_EQ(stat.vrfId, 0u);
        EXPECT_EQ(stat.l2FcoeTrapRsn, 0u);
    }
}

// As the TCAM holds the key, word 0 has bits 11:8 of the fabric on top and its type below them; word 1 has bytes 1, 0
// and 2 of the address and then the low byte of the fabric.
TEST_F(LueFcoe, DomainControllerIsSearchedUnderItsDomain) {
    EXPECT_EQ(daKey(0xfffc05), "0x00000000_fffc0500");
    EXPECT_EQ(daKey(0xfffb05), "0x00000000_fb05ff00");
    EXPECT_EQ(daKey(0xfffd05), "0x00000000_fd05ff00");
    EXPECT_EQ(daKey(0x7ffc05), "0x00000000_fc057f00");
    EXPECT_EQ(daKey(0xfffcff), "0x00000000_fffcff00");
    EXPECT_EQ(daKey(0x123456), "0x00000000_34561200");
}

TEST_F(LueFcoe, SearchesBothIdsInTheFabric) {
    port2.rte_prc_fcoe_en = 1;
    stat.iivid = 7;
    mem.RTE_L3_VRF_SRAM[7] = 0x1123;
    stat.l2FcoeClsVfid = 0xabc;
    stat.l2FcoeClsVfidTyp = 1;
    stat.l2FcoeFcDid = 0x123456;
    stat.l2FcoeFcSid = 0xfffc78;
    com.rte_fcoe_hit_trap_que = 5;
    com.rte_fcoe_miss_trap_que = 6;
    lpmEntry(0xa8000000, 0x345612bc, 0x12344000 | 0xb << 10 | 1 << 9 | 0 << 8, 0x56784000 | 0x6 << 10 | 3 << 8);
    tfe.dbgLvl = 1;
    EXPECT_EQ(
        lu(),
        "CM-TFE port=2, frameIdx=9: [lookupL3Lpm] input key=0xa8000000_345612bc\n"
        "CM-TFE port=2, frameIdx=9: [lookupL3Lpm] hit found, bank=0 cell=0 rsltIdx=0x0\n"
        "CM-TFE port=2, frameIdx=9: [lookupL3Lpm] result tcam idx=0x0 remapped idx=0x12346e00 and it is a hit\n" +
            prefix +
            "L3 LPM DA result:\n"
            "CM-TFE port=2, frameIdx=9: [lookupL3Lpm] input key=0xa8000000_fffc78bc\n"
            "CM-TFE port=2, frameIdx=9: [lookupL3Lpm] hit found, bank=0 cell=0 rsltIdx=0x1\n"
            "CM-TFE port=2, frameIdx=9: [lookupL3Lpm] result tcam idx=0x1 remapped idx=0x56785b00 and it is a hit\n" +
            prefix + "L3 LPM SA result:\n");
    EXPECT_EQ(stat.vrfId, 0x123u);
    EXPECT_EQ(stat.deftVrfEn, 1u);
    EXPECT_EQ(com.rte_his_l3_vrf[3], 0x10007u);
    EXPECT_EQ(stat.l2FcoeLuDidHit, 1u);
    EXPECT_EQ(stat.l2FcoeTrapQue, 5u);
    EXPECT_EQ(stat.l2FcoeTrapRsn, 13u);
    EXPECT_EQ(stat.l2FcoeLuTrapEn, 1u);
    EXPECT_EQ(stat.l3FwdFcoeApplZng, 0u);
    EXPECT_EQ(stat.l2FcoeLuDaGrpId, 0xbu);
    EXPECT_EQ(stat.l3FwdNextHopRsltIdx, 0x12344000u >> 14);
    EXPECT_EQ(stat.l2FcoeLuSidHit, 1u);
    EXPECT_EQ(stat.l2FcoeLuSaGrpId, 0x6u);
    EXPECT_EQ(stat.l3FwdSaNextHopRsltIdx, 0x56784000u >> 14);
    EXPECT_EQ(stat.l3PrcDropRsn, 0u);
}

TEST_F(LueFcoe, MissReadsTheDefaultWordsAllTheSame) {
    port2.rte_prc_fcoe_en = 1;
    com.rte_fcoe_hit_trap_que = 5;
    com.rte_fcoe_miss_trap_que = 6;
    tfe.comReg.fcoe_da_srch_def_rslt_addr = 0xffffc000 | 0x5 << 10 | 1 << 8;
    tfe.comReg.fcoe_sa_srch_def_rslt_addr = 0x00004000 | 0xa << 10;
    stat.l2FcoeLuDidHit = stat.l2FcoeLuSidHit = stat.l2FcoeLuTrapEn = 1;
    EXPECT_EQ(lu(), prefix + "L3 LPM DA result:\n" + prefix + "L3 LPM SA result:\n");
    EXPECT_EQ(stat.l2FcoeLuDidHit, 0u);
    EXPECT_EQ(stat.l2FcoeTrapQue, 6u);
    EXPECT_EQ(stat.l2FcoeTrapRsn, 14u);
    EXPECT_EQ(stat.l2FcoeLuTrapEn, 0u);
    EXPECT_EQ(stat.l3FwdFcoeApplZng, 1u);
    EXPECT_EQ(stat.l2FcoeLuDaGrpId, 5u);
    EXPECT_EQ(stat.l3FwdNextHopRsltIdx, 0x3ffffu);
    EXPECT_EQ(stat.l2FcoeLuSidHit, 0u);
    EXPECT_EQ(stat.l2FcoeLuSaGrpId, 0xau);
    EXPECT_EQ(stat.l3FwdSaNextHopRsltIdx, 1u);
}

TEST_F(LueFcoe, EachBitOfTheResultWordHasItsField) {
    port2.rte_prc_fcoe_en = 1;
    for (uint32_t n = 0; n < 32; n++) {
        begin();
        verbose(false);
        tfe.comReg.fcoe_da_srch_def_rslt_addr = tfe.comReg.fcoe_sa_srch_def_rslt_addr = 1u << n;
        FcoeLu(&stat);
        EXPECT_EQ(stat.l3FwdFcoeApplZng, n == 8 ? 1u : 0u) << n;
        EXPECT_EQ(stat.l2FcoeLuTrapEn, n == 9 ? 1u : 0u) << n;
        EXPECT_EQ(stat.l2FcoeLuDaGrpId, n >= 10 && n < 14 ? 1u << (n - 10) : 0u) << n;
        EXPECT_EQ(stat.l2FcoeLuSaGrpId, n >= 10 && n < 14 ? 1u << (n - 10) : 0u) << n;
        EXPECT_EQ(stat.l3FwdNextHopRsltIdx, n >= 14 ? 1u << (n - 14) : 0u) << n;
        EXPECT_EQ(stat.l3FwdSaNextHopRsltIdx, n >= 14 ? 1u << (n - 14) : 0u) << n;
    }
}

TEST_F(LueFcoe, SearchLinesNeedMoreThanLevel2) {
    port2.rte_prc_fcoe_en = 1;
    stat.dbgLvl = 2;
    EXPECT_EQ(lu(), "");
    port2.rte_prc_fcoe_en = 0;
    EXPECT_NE(lu(), "");
    stat.dbgLvl = 1;
    EXPECT_EQ(lu(), "");
}

// Robustness.

TEST_F(LueFcoe, AnyRegistersAndAnyFrameStayInsideTheMemories) {
    RandomWords rng(2);
    for (uint32_t round = 0; round < 200; round++) {
        begin();
        verbose(false);
        com.rte_rte_rqd_egid = rng();
        port2.rte_prc_fcoe_en = round & 1;
        port2.rte_prc_l2_fcoe_def_vid = round & 2 ? 0x1fff : rng();
        port2.rte_prc_l2_fcoe_def_vfid = rng();
        stat.iivid = round & 2 ? 0x1fff : rng();
        stat.l2FcoeFcVfidVld = round >> 2 & 1;
        stat.l2FcoeFcVfid = rng();
        stat.l2FcoeFcDid = rng();
        stat.l2FcoeFcSid = rng();
        stat.l2ExmDaEgidOrig = rng();
        cls();
        FcoeLu(&stat);
        EXPECT_LT(stat.l2FcoeClsRteEn, 2u);
        EXPECT_LT(stat.l3FwdNextHopRsltIdx, 1u << 18);
    }
}
