// The layouts of policers, counters and activity.

#include "entry_layout.h"
#include "lue/cmRteLue.h"
#include "roc_fixture.h"
#include "tae/cmTae.h"

namespace {

const std::vector<EntryKind> kKinds = {
    KIND(VlanPol, "rte_vlan_pol_en", "RTE_VLAN_POL_SRAM", 2),
    KIND(PolRemap, "rte_pol_id_remap", "RTE_POL_REMAP_TBL_SRAM", 1),
    KIND(DrpRsnFrmCnt, "rte_drp_rsn_sts_frm", "RTE_DRP_RSN_STS_FCNT_SRAM", 2),
    KIND(DrpTailFrmCnt, "rte_drp_tail_sts_frm", "RTE_DRP_TAIL_STS_FCNT_SRAM", 2),
    KIND(DrpBpqFrmCnt, "rte_drp_bpq_sts_frm", "RTE_DRP_BPQ_STS_FCNT_SRAM", 2),
    KIND(DrpSpanqFrmCnt, "rte_drp_spanq_sts_frm", "RTE_DRP_SPAN_STS_FCNT_RA", 2),
    KIND(L2MacFrmCnt, "rte_l2_mac_sts_frm", "RTE_L2_MAC_STS_FCNT_SRAM", 2),
    KIND(L2MacByteCnt, "rte_l2_mac_sts_byte", "RTE_L2_MAC_STS_BCNT_SRAM", 2),
    KIND(AclFrmCnt, "rte_acl_sts_fcnt", "RTE_ACL_STS_FCNT_SRAM", 2),
    KIND(AclByteCnt, "rte_acl_sts_bcnt", "RTE_ACL_STS_BCNT_SRAM", 2),
    KIND(L2MctidFrmCnt, "rte_l2_sts_mctid_frm", "RTE_L2_PSEL_STS_MCTID_FCNT_SRAM", 2),
    KIND(L2MctidByteCnt, "rte_l2_sts_mctid_byte", "RTE_L2_PSEL_STS_MCTID_BCNT_SRAM", 2),
    KIND(L2MpidFrmCnt, "rte_l2_sts_mpid_frm", "RTE_L2_PSEL_STS_MPID_FCNT_SRAM", 2),
    KIND(L2MpidByteCnt, "rte_l2_sts_mpid_byte", "RTE_L2_PSEL_STS_MPID_BCNT_SRAM", 2),
    KIND(L2LgidFrmCnt, "rte_l2_sts_lgid_frm", "RTE_L2_PSEL_STS_LGID_FCNT_SRAM", 2),
    KIND(L2LgidByteCnt, "rte_l2_sts_lgid_byte", "RTE_L2_PSEL_STS_LGID_BCNT_SRAM", 2),
    KIND(L3MpidFrmCnt, "rte_l3_sts_mpid_frm", "RTE_L3_PSEL_STS_MPID_FCNT_RA", 2),
    KIND(L3MpidByteCnt, "rte_l3_sts_mpid_byte", "RTE_L3_PSEL_STS_MPID_BCNT_RA", 2),
    KIND(SflowSts, "rte_sflow_status", "RTE_ACL_STS_SFLOW_RA", 1),
    KIND(TaeL2TrapActv, "tae_l2_trap_activity", "", 1),
    KIND(TaeL2FwdActv, "tae_l2_fwd_activity", "", 1),
    KIND(TaeL2SpanActv, "tae_l2_span_activity", "", 1),
    KIND(TaeL2PrioActv, "tae_l2_prio_activity", "", 1),
};

/// A frame counter has 8 bits in its first word, a byte counter 16; both have 32 in the second.
#define FRM_CNT(Type) PIECE(Type, frm_cnt, 32, 0, 7, 0), PIECE(Type, frm_cnt, 0, 1, 31, 0)
#define BYTE_CNT(Type) PIECE(Type, byte_cnt, 32, 0, 15, 0), PIECE(Type, byte_cnt, 0, 1, 31, 0)

std::vector<EntryBits> places() {
    std::vector<EntryBits> list = {
        BITS(VlanPol, pol_id, 0, 13, 0),
        BITS(PolRemap, finalPolId, 0, 31, 0),
        FRM_CNT(DrpRsnFrmCnt),
        FRM_CNT(DrpTailFrmCnt),
        FRM_CNT(DrpBpqFrmCnt),
        FRM_CNT(DrpSpanqFrmCnt),
        FRM_CNT(L2MacFrmCnt),
        BYTE_CNT(L2MacByteCnt),
        FRM_CNT(AclFrmCnt),
        BYTE_CNT(AclByteCnt),
        FRM_CNT(L2MctidFrmCnt),
        BYTE_CNT(L2MctidByteCnt),
        FRM_CNT(L2MpidFrmCnt),
        BYTE_CNT(L2MpidByteCnt),
        FRM_CNT(L2LgidFrmCnt),
        BYTE_CNT(L2LgidByteCnt),
        FRM_CNT(L3MpidFrmCnt),
        BYTE_CNT(L3MpidByteCnt),
    };
    // Ports and activity count from the low end of a word, sFlow flags from its top.
    for (unsigned i = 0; i < 32; i++) {
        list.push_back(ELEM(VlanPol, pol_en, i, 1, i, i));
        list.push_back(ELEM(SflowSts, flag, i, 0, 31 - i, 31 - i));
        list.push_back(ELEM(TaeL2TrapActv, actv, i, 0, i, i));
        list.push_back(ELEM(TaeL2FwdActv, actv, i, 0, i, i));
        list.push_back(ELEM(TaeL2SpanActv, actv, i, 0, i, i));
        list.push_back(ELEM(TaeL2PrioActv, actv, i, 0, i, i));
    }
    return list;
}

TEST(TblCnt, EveryFieldStandsAtItsPlace) {
    checkEntryLayouts(kKinds, places());
}

TEST(TblCnt, RowsAndMemoriesAreThoseOfTheChip) {
    checkEntryRows(kKinds);
}

TEST(TblCnt, TheListHasTheseEntries) {
    EXPECT_EQ(typesThatDiffer(TblList::CNT, kKinds), "");
}

TEST(TblCnt, MemoriesWithoutALayoutAreListed) {
    checkOpaqueRow("rte_dma_desc", "RTE_DMA_DESC_RA", 2);
    checkOpaqueRow("tfe_actv_mem_data", "", 1);
    for (const char *group : {"trap", "fwd", "span", "prio"}) {
        checkOpaqueRow(std::string("tae_l3_") + group + "_activity", "", 1);
        checkOpaqueRow(std::string("tae_l3_ipv4_mc_exm_") + group + "_activity", "", 1);
        checkOpaqueRow(std::string("tae_l3_ipv6_mc_exm_") + group + "_activity", "", 1);
    }
}

// ---- As the stages read and count them ----

class TblCntStage : public RocTest {
protected:
    /// A counter that the next frame carries over into its upper word.
    template <class Cnt> static void putFull(uint32_t *words) {
        const uint32_t full[2] = {4, 0xffffffff};
        pack(entryAt<Cnt>(full), words);
    }
};

TEST_F(TblCntStage, PolicerOfTheVlanAndItsMapping) {
    for (uint32_t ingPort : {0u, 3u, 11u, 31u}) {
        VlanPol pol{};
        pol.pol_id = 0x2a00 + ingPort;
        pol.pol_en[ingPort] = 1;
        pack(pol, &mem.RTE_VLAN_POL_SRAM[2 * 0x111]);
        pack(PolRemap{0x1230 + ingPort}, &mem.RTE_POL_REMAP_TBL_SRAM[0x2a00 + ingPort]);
        stat.iivid = 0x111;
        stat.ingPhyPort = ingPort;
        policerParams(&stat, &rslt);
        EXPECT_EQ(stat.finalPolId, 0x1230 + ingPort);
        stat.ingPhyPort = ingPort ^ 1;
        policerParams(&stat, &rslt);
        EXPECT_EQ(stat.finalPolId, 0u); // the port's own policer, number 0
    }
}

TEST_F(TblCntStage, DropsByReason) {
    uint32_t *words = &mem.RTE_DRP_RSN_STS_FCNT_SRAM[2 * (3 * 64 + 11)];
    putFull<DrpRsnFrmCnt>(words);
    stat.dropRsn = 11;
    rslt.hsiShim0Rslt.rslt_typ = RSLT_DROP;
    IncrDrpSts(&stat);
    EXPECT_EQ(entryAt<DrpRsnFrmCnt>(words).frm_cnt, 0x500000000u);
    pack(DrpRsnFrmCnt{0xffffffffff}, words);
    IncrDrpSts(&stat);
    EXPECT_EQ(entryAt<DrpRsnFrmCnt>(words).frm_cnt, 0u);
}

TEST_F(TblCntStage, TailDropsByPrecedencePortAndPriority) {
    uint32_t *words = &mem.RTE_DRP_TAIL_STS_FCNT_SRAM[2 * (2 * 256 + 3 * 8 + 5)];
    putFull<DrpTailFrmCnt>(words);
    rte->extCfg.redDropLst[3] = 1u << 5;
    rslt.hsiShim0Rslt.rslt_typ = RSLT_FWD;
    rslt.shim2Rslt.drop_prcd = 2;
    rslt.shim2Rslt.q_priority = 5;
    TailDrop(&stat, &rslt);
    EXPECT_EQ(entryAt<DrpTailFrmCnt>(words).frm_cnt, 0x500000000u);
}

TEST_F(TblCntStage, BackPressureLossesByPortAndQueue) {
    uint32_t *words = &mem.RTE_DRP_BPQ_STS_FCNT_SRAM[2 * (3 * 16 + 9)];
    putFull<DrpBpqFrmCnt>(words);
    rte->extCfg.bpDropLst[3] = 1u << 4; // queue 9 is in pair 4
    rslt.hsiShim0Rslt.rslt_typ = RSLT_FWD_A_TRAP;
    rslt.hsiShim0Rslt.trap_que = 9;
    BpTailDrop(&stat, &rslt);
    EXPECT_EQ(entryAt<DrpBpqFrmCnt>(words).frm_cnt, 0x500000000u);
}

TEST_F(TblCntStage, Layer3PathsByNextHopAndPath) {
    uint32_t *frames = &mem.RTE_L3_PSEL_STS_MPID_FCNT_RA[2 * (6 * 32 + 7)];
    uint32_t *bytes = &mem.RTE_L3_PSEL_STS_MPID_BCNT_RA[2 * (6 * 32 + 7)];
    putFull<L3MpidFrmCnt>(frames);
    pack(L3MpidByteCnt{0xffffffffffff}, bytes);
    com.rte_l3_psel_sts_mpid[6] = 0x4321;
    stat.l3PselNextHopRsltIdx = 0x4321;
    stat.l3NxtHopMpOffset = 7;
    stat.l3psel_mpid_sts_en = stat.l3GidWin = 1;
    stat.frmLen = 100;
    IncrL3MpSts(&stat);
    EXPECT_EQ(entryAt<L3MpidFrmCnt>(frames).frm_cnt, 0x500000000u);
    EXPECT_EQ(entryAt<L3MpidByteCnt>(bytes).byte_cnt, 99u); // 48 bits, then round
}

TEST_F(TblCntStage, Layer2PathsByGroupAndPath) {
    stat.frmLen = 100;
    com.rte_l2_psel_sts_mctid[9] = 0x155;
    putFull<L2MctidFrmCnt>(&mem.RTE_L2_PSEL_STS_MCTID_FCNT_SRAM[2 * (9 * 8 + 6)]);
    putFull<L2MctidByteCnt>(&mem.RTE_L2_PSEL_STS_MCTID_BCNT_SRAM[2 * (9 * 8 + 6)]);
    MctMpSts(0x155 << 3 | 6, &stat);
    EXPECT_EQ(entry<L2MctidFrmCnt>(mem.RTE_L2_PSEL_STS_MCTID_FCNT_SRAM, 9 * 8 + 6).frm_cnt, 0x500000000u);
    EXPECT_EQ(entry<L2MctidByteCnt>(mem.RTE_L2_PSEL_STS_MCTID_BCNT_SRAM, 9 * 8 + 6).byte_cnt, 0x500000063u);

    com.rte_l2_psel_sts_mpid[31] = 0x1aaa;
    putFull<L2MpidFrmCnt>(&mem.RTE_L2_PSEL_STS_MPID_FCNT_SRAM[2 * (31 * 8 + 1)]);
    putFull<L2MpidByteCnt>(&mem.RTE_L2_PSEL_STS_MPID_BCNT_SRAM[2 * (31 * 8 + 1)]);
    L2MpidSts(0x1aaa << 3 | 1, &stat);
    EXPECT_EQ(entry<L2MpidFrmCnt>(mem.RTE_L2_PSEL_STS_MPID_FCNT_SRAM, 31 * 8 + 1).frm_cnt, 0x500000000u);
    EXPECT_EQ(entry<L2MpidByteCnt>(mem.RTE_L2_PSEL_STS_MPID_BCNT_SRAM, 31 * 8 + 1).byte_cnt, 0x500000063u);

    com.rte_l2_psel_sts_lgid[5] = 0x2aa;
    putFull<L2LgidFrmCnt>(&mem.RTE_L2_PSEL_STS_LGID_FCNT_SRAM[2 * (5 * 32 + 30)]);
    putFull<L2LgidByteCnt>(&mem.RTE_L2_PSEL_STS_LGID_BCNT_SRAM[2 * (5 * 32 + 30)]);
    LagSts(0x2aa << 5 | 30, &stat);
    EXPECT_EQ(entry<L2LgidFrmCnt>(mem.RTE_L2_PSEL_STS_LGID_FCNT_SRAM, 5 * 32 + 30).frm_cnt, 0x500000000u);
    EXPECT_EQ(entry<L2LgidByteCnt>(mem.RTE_L2_PSEL_STS_LGID_BCNT_SRAM, 5 * 32 + 30).byte_cnt, 0x500000063u);
}

TEST_F(TblCntStage, AclCountersAndTheirSflowFlag) {
    constexpr uint32_t kIdx = 0x3456; // bank 3
    com.acl_sts_bank0_sel = com.acl_sts_bank1_sel = com.acl_sts_bank2_sel = 1;
    com.acl_sts_bank3_id = 5;
    stat.l2PselStsEn = stat.l2PselSflowEn = 1;
    stat.l2PselStsIdx = 0x5456;
    stat.frmLen = 64;
    SflowSts flags{};
    flags.flag[kIdx % 32] = 1;
    pack(flags, &mem.RTE_ACL_STS_SFLOW_RA[kIdx / 32]);
    pack(AclFrmCnt{0x12ffffffff}, &mem.RTE_ACL_STS_FCNT_SRAM[2 * kIdx]);
    pack(AclByteCnt{0x1234fffffff0}, &mem.RTE_ACL_STS_BCNT_SRAM[2 * kIdx]);
    IncL2AclSts(&stat);
    EXPECT_EQ(stat.l2AclSflwHit, 1u);
    EXPECT_EQ(entry<AclFrmCnt>(mem.RTE_ACL_STS_FCNT_SRAM, kIdx).frm_cnt, 0x1300000000u);
    EXPECT_EQ(entry<AclByteCnt>(mem.RTE_ACL_STS_BCNT_SRAM, kIdx).byte_cnt, 0x123500000030u);

    stat.l2AclSflwHit = 0;
    flags.flag.fill(1);
    flags.flag[kIdx % 32] = 0;
    pack(flags, &mem.RTE_ACL_STS_SFLOW_RA[kIdx / 32]);
    IncL2AclSts(&stat);
    EXPECT_EQ(stat.l2AclSflwHit, 0u);
}

TEST_F(TblCntStage, ActivityOfAResultOfTheAcl) {
    CmTaeLkup tae(0, initTaeRegDefs, initTaeRamDefs, initTaeTcamDefs);
    ASSERT_EQ(tae.configure(), 0);
    tae.updateActivityMemory("TAE_L2_SPAN_ACTV_MEM", "u_actv_mem_l2_span", 32 * 7 + 5);
    const uint32_t word = tae.RamCollection.at("TAE_L2_SPAN_ACTV_MEM")->readEntryField(7, "u_actv_mem_l2_span");
    TaeL2SpanActv expected{};
    expected.actv[5] = 1;
    EXPECT_EQ(entryAt<TaeL2SpanActv>(&word).actv, expected.actv);
}

} // namespace
