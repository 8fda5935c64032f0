#include "tsr_cmodel_util.h"

#include "asic_err.h"
#include "base/cmRte.h"
#include "reg_name.h"
#include "tae/cmTae.h"
#include "tfe/cmTfe.h"

#include <array>
#include <bit>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

uint32_t be(uint32_t word) {
    return std::endian::native == std::endian::big ? word : __builtin_bswap32(word);
}

/// Bits `hi` to `lo` of a word, worked out bit by bit.
[[gnu::noinline]] uint32_t cut(uint32_t word, unsigned hi, unsigned lo) {
    uint32_t value = 0;
    for (unsigned b = lo; b <= hi; b++)
        value |= (word >> b & 1) << (b - lo);
    return value;
}

/// A full-size image of random words.
std::unique_ptr<tsr_dmp_t> randomImage(uint64_t seed) {
    auto image = std::make_unique<tsr_dmp_t>();
    std::mt19937_64 rng(seed);
    auto *bytes = reinterpret_cast<uint8_t *>(image.get());
    for (size_t i = 0; i + 8 <= sizeof(tsr_dmp_t); i += 8) {
        const uint64_t value = rng();
        std::memcpy(bytes + i, &value, 8);
    }
    return image;
}

/// Masks of a memory's entry by the memory's name.
const std::map<std::string, std::vector<uint32_t>> &masks() {
    static const std::map<std::string, std::vector<uint32_t>> all = {
#define MEM_MASKS(first, last, name, words, ...) {#name, {__VA_ARGS__}},
#define MEM(first, last, name, words, ...) MEM_MASKS(first, last, name, words, __VA_ARGS__)
#include "base/cmRteHsiMem.def"
#define MEM(first, last, name, words, ...) MEM_MASKS(first, last, name, words, __VA_ARGS__)
#include "tae/cmTaeHsiMem.def"
#define MEM(first, last, name, words, ...) MEM_MASKS(first, last, name, words, __VA_ARGS__)
#include "tfe/cmTfeHsiMem.def"
    };
    return all;
}

/// A random image with some words chosen, loaded.
class LoadTest : public testing::Test {
protected:
    LoadTest() : image(randomImage(20)) {}
    ~LoadTest() override {
        if (rte_mem)
            rte_memory_free();
    }

    void load() { rte_memory_init(image.get()); }

    /// Sets or clears bit `n` of an image word.
    static void setBit(uint32_t &beWord, unsigned n, bool on) {
        const uint32_t word = be(beWord);
        beWord = be(on ? word | 1u << n : word & ~(1u << n));
    }

    /// The image word at a chip address, false when the chip has none there.
    bool word(uint32_t addr, uint32_t &value) const {
        const int offset = regdump_asic_off_to_dump_off(tsr_dmp_map, addr);
        if (offset == ASIC_INV_DATA)
            return false;
        std::memcpy(&value, reinterpret_cast<const uint8_t *>(image.get()) + offset, 4);
        value = be(value);
        return true;
    }

    /// The first `loaded` words of a memory are the image's, masked; the others are 0.
    template <size_t N> void expectMem(const char *name, const uint32_t (&mem)[N], const void *beWords, size_t loaded) {
        const std::vector<uint32_t> &mask = masks().at(name);
        const auto *field = static_cast<const uint32_t *>(beWords);
        size_t wrong = 0;
        for (size_t i = 0; i < N; i++)
            wrong += mem[i] != (i < loaded ? be(field[i]) & mask[i % mask.size()] : 0);
        EXPECT_EQ(wrong, 0u) << name;
    }

    using Key = std::array<uint32_t, 8>;
    /// A TCAM row, lowest word first; row 2e is Y of entry e, row 2e + 1 is X.
    static Key tcamRow(int bank, int half, uint32_t row) {
        EmbeddedTcam *tcam = rte_mem->taePtr->getAclTcamBlockPointer(bank, half);
        Key key{};
        for (uint32_t w = 0; w < 8; w++)
            key[w] = tcam->pMemXY->word(row, w);
        return key;
    }
    /// The eight words of one half of an image entry, lowest first.
    static Key keyOf(const uint32_t (&val)[8]) {
        Key key{};
        for (uint32_t w = 0; w < 8; w++)
            key[w] = be(val[7 - w]);
        return key;
    }

    void expectNarrowBank(uint32_t bank, uint32_t firstEntry) const {
        const uint32_t entries = bank < 12 ? 4096 : 512;
        for (uint32_t e = 0; e < entries; e++) {
            const int half = static_cast<int>(e / 2048);
            const tcam256_t &entry = image->tae_tcam[firstEntry + e];
            ASSERT_EQ(tcamRow(static_cast<int>(bank), half, 2 * (e % 2048)), keyOf(entry.y_val)) << bank << " " << e;
            ASSERT_EQ(tcamRow(static_cast<int>(bank), half, 2 * (e % 2048) + 1), keyOf(entry.x_val));
        }
    }
    /// A wide entry takes two entries of the image: Y of both banks, then X of both.
    void expectWidePair(uint32_t bank, uint32_t firstEntry) const {
        const uint32_t entries = bank < 12 ? 4096 : 512;
        const int even = static_cast<int>(bank);
        for (uint32_t e = 0; e < entries; e++) {
            const int half = static_cast<int>(e / 2048);
            const uint32_t row = 2 * (e % 2048);
            const tcam256_t &y = image->tae_tcam[firstEntry + 2 * e];
            const tcam256_t &x = image->tae_tcam[firstEntry + 2 * e + 1];
            ASSERT_EQ(tcamRow(even, half, row), keyOf(y.y_val)) << bank << " " << e;
            ASSERT_EQ(tcamRow(even + 1, half, row), keyOf(y.x_val));
            ASSERT_EQ(tcamRow(even, half, row + 1), keyOf(x.y_val));
            ASSERT_EQ(tcamRow(even + 1, half, row + 1), keyOf(x.x_val));
        }
    }
    void expectTcam(uint32_t joined) const {
        uint32_t first = 0;
        for (uint32_t bank = 0; bank < 30; bank += 2) {
            const uint32_t entries = bank < 12 ? 4096 : 512;
            if (joined >> (bank / 2) & 1) {
                expectWidePair(bank, first);
            } else {
                expectNarrowBank(bank, first);
                expectNarrowBank(bank + 1, first + entries);
            }
            first += 2 * entries;
        }
        EXPECT_EQ(first, 58368u);
    }

    std::unique_ptr<tsr_dmp_t> image;
};

#define WHOLE(field, name) expectMem(#name, mem.name, &image->field, sizeof image->field / 4)
#define BYTES(field, name, bytes) expectMem(#name, mem.name, &image->field, (bytes) / 4)

TEST_F(LoadTest, RteMemories) {
    setBit(image->rte_l2_sa_lrn_cfg, 13, false);
    setBit(image->rte_l2_da_lrn_cfg, 13, false);
    load();
    const CmRteHsiMem &mem = rte_mem->mem;
    WHOLE(rte_l2_exm_bkt, RTE_L2_EXM_BKT_EDRAM);
    WHOLE(rte_l2_exm_idx, RTE_L2_EXM_IDX_EDRAM);
    BYTES(rte_l3_ctrl_cls_rslt, RTE_L3_CONTROL_RSLT_EDRAM, 262144);
    WHOLE(rte_cloud_class_tcam, RTE_CLOUD_TCAM);
    WHOLE(rte_l2_exm_rslt, RTE_L2_EXM_RSLT_EDRAM);
    WHOLE(rte_trill_rpf, RTE_TRILL_RPF_EDRAM);
    WHOLE(rte_l2_trill_dest, RTE_L2_TRILL_DEST_SRAM);
    WHOLE(rte_l2_psel_mpid, RTE_L2_PSEL_MPID_SRAM);
    WHOLE(rte_l3_next_hop_rslt, RTE_L3_NXT_HOP_RSLT_EDRAM);
    WHOLE(rte_vlan_xlate, RTE_VLAN_X_EDRAM);
    WHOLE(rte_acl_sts_fcnt, RTE_ACL_STS_FCNT_SRAM);
    WHOLE(rte_acl_sts_bcnt, RTE_ACL_STS_BCNT_SRAM);
    WHOLE(rte_mctid_rbridges, RTE_L2_PSEL_MCTID_SRAM);
    WHOLE(rte_l2_stp_en, RTE_L2_STP_EN_EDRAM);
    WHOLE(rte_lag_hash_egid, RTE_L2_PSEL_LGID_SRAM);
    WHOLE(rte_cloud_rslt_vpn, RTE_CLOUD_RSLT_VPN_SRAM);
    WHOLE(rte_l3_ipv4_mcuid_bkt, RTE_L3_IPV4_MCUID_BKT_EDRAM);
    WHOLE(rte_l3_ipv6_mcuid_bkt, RTE_L3_IPV6_MCUID_BKT_EDRAM);
    WHOLE(rte_l2_exm_sa_age_tmr, RTE_L2_EXM_SA_AGE_TIMER_EDRAM);
    WHOLE(rte_typ_cls_vlan, RTE_TYP_VID_EDRAM);
    WHOLE(rte_l2_mac_class, RTE_L2_MAC_TCAM);
    WHOLE(rte_cloud_rslt_policy, RTE_CLOUD_RSLT_POLICY_SRAM);
    BYTES(rte_l2_sa_lrn_info, RTE_L2_SA_LRN_INF_SRAM, 49152);
    WHOLE(rte_l3_mpath_hash_type, RTE_L3_MP_INFO_EDRAM);
    BYTES(rte_l2_sa_lrn_info, RTE_L2_SA_LRN_INF_DMA_SRAM, 0);
    BYTES(rte_l2_da_lrn_info, RTE_L2_DA_LRN_INF_SRAM, 49152);
    BYTES(rte_l2_da_lrn_info, RTE_L2_DA_LRN_INF_DMA_SRAM, 0);
    WHOLE(rte_vlan_pol_en, RTE_VLAN_POL_SRAM);
    WHOLE(rte_pol_id_remap, RTE_POL_REMAP_TBL_SRAM);
    WHOLE(rte_l3_ipv4_mcuid_idx, RTE_L3_IPV4_MCUID_IDX_SRAM);
    WHOLE(rte_l3_ipv4_mcuid_rslt, RTE_L3_IPV4_MCUID_RSLT_SRAM);
    WHOLE(rte_l2_exm_da_act, RTE_L2_EXM_DA_ACT_SRAM);
    WHOLE(rte_l2_flood_mgid[0], RTE_L2_VID_MGID_SRAM0);
    WHOLE(rte_l2_flood_mgid[1], RTE_L2_VID_MGID_SRAM1);
    WHOLE(rte_l2_exm_ovflw_tcam, RTE_L2_EXM_OVERFLOW_TCAM);
    WHOLE(rte_l2_filter_id, RTE_L2_FID_SRAM);
    WHOLE(rte_l3_cugid, RTE_L2_CID_SRAM);
    WHOLE(rte_l2_vlan_mtu, RTE_L2_VLAN_MTU_SRAM);
    WHOLE(rte_l3_ctrl_cls_tcam, RTE_L3_CONTROL_TCAM);
    WHOLE(rte_l3_vlan_feat_ctl, RTE_L3_FEATURE_CTL_SRAM);
    WHOLE(rte_l3_vrf, RTE_L3_VRF_SRAM);
    WHOLE(rte_iivid_vpnid, RTE_IIVID_VPNID_SRAM);
    WHOLE(rte_fcoe_ivid_to_vfid, RTE_FCOE_VFID_SRAM);
    WHOLE(rte_l2_ctrl_cls_tcam, RTE_L2_CONTROL_TCAM);
    WHOLE(rte_typ_cls_tcam, RTE_TYP_TCAM);
    WHOLE(rte_l2_mac_sts_frm, RTE_L2_MAC_STS_FCNT_SRAM);
    WHOLE(rte_l2_mac_sts_byte, RTE_L2_MAC_STS_BCNT_SRAM);
    WHOLE(rte_l3_ipv4_mcuid_ovflw_tcam, RTE_L3_IPV4_MCUID_OVERFLOW_TCAM);
    WHOLE(rte_l3_ipv6_mcuid_idx, RTE_L3_IPV6_MCUID_IDX_SRAM);
    WHOLE(rte_l3_ipv6_mcuid_rslt, RTE_L3_IPV6_MCUID_RSLT_SRAM);
    WHOLE(rte_l3_ipv6_mcuid_ovflw_tcam, RTE_L3_IPV6_MCUID_OVERFLOW_TCAM);
    WHOLE(rte_drp_rsn_sts_frm, RTE_DRP_RSN_STS_FCNT_SRAM);
    WHOLE(rte_l2_mgid_1q_ra, RTE_L2_PSEL_MGID_1Q_RA);
    WHOLE(rte_l2_ctrl_cls_rslt, RTE_L2_CONTROL_RSLT_SRAM);
    WHOLE(rte_l2_mac_vid, RTE_L2_MAC_VID_SRAM);
    WHOLE(rte_drp_tail_sts_frm, RTE_DRP_TAIL_STS_FCNT_SRAM);
    WHOLE(rte_l2_sa_lip, RTE_L2_SA_LIP_SRAM);
    WHOLE(rte_l2_sa_lip_cons, RTE_L2_SA_LIP_CONS_SRAM);
    WHOLE(rte_l2_da_lip, RTE_L2_DA_LIP_SRAM);
    WHOLE(rte_l2_da_lip_cons, RTE_L2_DA_LIP_CONS_SRAM);
    WHOLE(rte_trill_myrb_tcam, RTE_TRILL_MRB_TCAM);
    WHOLE(rte_typ_cls_mtu, RTE_TYP_MTU_SRAM);
    WHOLE(rte_age_info, RTE_AGE_INFO_SRAM);
    BYTES(rte_age_info_dma, RTE_AGE_INFO_DMA_SRAM, 0);
    WHOLE(rte_mctid_hash_type, RTE_L2_MCTID_HASH_TYPE_SRAM);
    WHOLE(rte_l2_mpid_hash_type, RTE_L2_MPID_HASH_TYPE_SRAM);
    WHOLE(rte_l3_ivid_partn, RTE_L3_CONTROL_PID_SRAM);
    WHOLE(rte_sflow_status, RTE_ACL_STS_SFLOW_RA);
    WHOLE(rte_lag_hash_type, RTE_L2_LGID_HASH_TYPE_RA);
    WHOLE(rte_l2_mac_prio_ra, RTE_L2_MAC_PRIO_RA);
    WHOLE(rte_l2_sts_mctid_frm, RTE_L2_PSEL_STS_MCTID_FCNT_SRAM);
    WHOLE(rte_l2_sts_mctid_byte, RTE_L2_PSEL_STS_MCTID_BCNT_SRAM);
    WHOLE(rte_l2_sts_mpid_frm, RTE_L2_PSEL_STS_MPID_FCNT_SRAM);
    WHOLE(rte_l2_sts_mpid_byte, RTE_L2_PSEL_STS_MPID_BCNT_SRAM);
    WHOLE(rte_l2_sts_lgid_frm, RTE_L2_PSEL_STS_LGID_FCNT_SRAM);
    WHOLE(rte_l2_sts_lgid_byte, RTE_L2_PSEL_STS_LGID_BCNT_SRAM);
    WHOLE(rte_l3_sts_mpid_frm, RTE_L3_PSEL_STS_MPID_FCNT_RA);
    WHOLE(rte_l3_sts_mpid_byte, RTE_L3_PSEL_STS_MPID_BCNT_RA);
    BYTES(rte_l2_ipv4_ucast_en, RTE_L2_PSEL_IPV4_RTE_EN_SRAM, 2048); // the multicast enables stand behind
    BYTES(rte_l2_ipv6_ucast_en, RTE_L2_PSEL_IPV6_RTE_EN_SRAM, 2048);
    WHOLE(rte_l3_ctrl_cls_qnum, RTE_L3_CONTROL_QUEUE_NUM_SRAM);
    WHOLE(rte_typ_cls_app_type, RTE_APP_TYP_RA);
    WHOLE(rte_l2_myda_prfx_tcam, RTE_MYDA_PREFIX_TCAM);
    WHOLE(rte_vid_trill_mc_ra, RTE_VID_TRILL_MC_RA);
    WHOLE(rte_fcoe_ivid_filter, RTE_FCOE_VID_FLT_RA);
    WHOLE(rte_l2_myda_rslt, RTE_MYDA_LOOKUP_RSLT_RA);
    WHOLE(rte_fcoe_vfid_filter, RTE_FCOE_VFID_FLT_RA);
    WHOLE(rte_l2_egid_1q, RTE_L2_PSEL_EGID_1Q_RA);
    WHOLE(rte_typ_cls_attr, RTE_TYP_ATTRIBUTE_RA);
    WHOLE(rte_dma_desc, RTE_DMA_DESC_RA);
    WHOLE(rte_drp_spanq_sts_frm, RTE_DRP_SPAN_STS_FCNT_RA);
    WHOLE(rte_drp_bpq_sts_frm, RTE_DRP_BPQ_STS_FCNT_SRAM);
}

TEST_F(LoadTest, TfeMemories) {
    load();
    const CmTfeHsiMem &mem = rte_mem->tfePtr->mem;
    WHOLE(tfe_tcam, TFE_TCAM);
    WHOLE(tfe_amap_data, TFE_AMAP);
}

TEST_F(LoadTest, TaeExactMatchMemories) {
    load();
    const CmTaeHsiMem &mem = rte_mem->taePtr->mem;
    WHOLE(tae_l3_ipv4_mc_ovflow_tcam, TAE_IPV4_EXM_TCAM);
    WHOLE(tae_l3_ipv4_mc_idx, TAE_IPV4_EXM_IDX);
    WHOLE(tae_l3_ipv4_mc_bkt, TAE_IPV4_EXM_BKT);
    WHOLE(tae_l3_ipv4_mc_rslt, TAE_IPV4_EXM_RSLT);
    WHOLE(tae_l3_ipv6_mc_ovflow_tcam, TAE_IPV6_EXM_TCAM);
    WHOLE(tae_l3_ipv6_mc_idx, TAE_IPV6_EXM_IDX);
    WHOLE(tae_l3_ipv6_mc_bkt, TAE_IPV6_EXM_BKT);
    WHOLE(tae_l3_ipv6_mc_rslt, TAE_IPV6_EXM_RSLT);
}

TEST_F(LoadTest, ControlResultsEndInTheMiddle) {
    load();
    const uint32_t *rslt = rte_mem->mem.RTE_L3_CONTROL_RSLT_EDRAM;
    const auto *field = reinterpret_cast<const uint32_t *>(&image->rte_l3_ctrl_cls_rslt);
    EXPECT_EQ(rslt[65534], be(field[65534]));
    EXPECT_EQ(rslt[65535], be(field[65535]));
    EXPECT_EQ(rslt[65536], 0u);
}

TEST_F(LoadTest, LearnInProgressStaysClearWhenWritesClear) {
    setBit(image->rte_l2_sa_lrn_cfg, 13, true);
    setBit(image->rte_l2_da_lrn_cfg, 13, true);
    load();
    const CmRteHsiMem &mem = rte_mem->mem;
    EXPECT_EQ(rte_mem->comReg.rte_l2_sa_lrn_lip_w1c_en, 1u);
    BYTES(rte_l2_sa_lip, RTE_L2_SA_LIP_SRAM, 0);
    BYTES(rte_l2_da_lip, RTE_L2_DA_LIP_SRAM, 0);
    WHOLE(rte_l2_sa_lip_cons, RTE_L2_SA_LIP_CONS_SRAM);
    WHOLE(rte_l2_da_lip_cons, RTE_L2_DA_LIP_CONS_SRAM);
}

TEST_F(LoadTest, TcamOfNarrowBanks) {
    image->tae_bank_prtcl_sel_0 = be(0);
    load();
    expectTcam(0);
}

TEST_F(LoadTest, TcamOfWidePairs) {
    image->tae_bank_prtcl_sel_0 = be(0x7fff);
    load();
    expectTcam(0x7fff);
}

TEST_F(LoadTest, TcamOfMixedPairs) {
    image->tae_bank_prtcl_sel_0 = be(0x5a93);
    load();
    expectTcam(0x5a93);
}

TEST_F(LoadTest, AclResults) {
    load();
    uint32_t first = 0;
    for (uint32_t bank = 0; bank < 30; bank++) {
        EmbeddedMemory *rslt = rte_mem->taePtr->getAclRsltBlockPointer(static_cast<int>(bank));
        const uint32_t entries = bank < 12 ? 4096 : 512;
        for (uint32_t e = 0; e < entries; e += e < 4 || e + 8 > entries ? 1 : 61) {
            M_T line;
            ASSERT_EQ(rslt->readEntry(e, line), 0);
            std::array<uint32_t, 4> key{};
            rslt->pMemRegDef->packBinaryKey(line, key.data());
            const uint32_t(&words)[4] = image->tae_rslt[first + e];
            ASSERT_EQ(key, (std::array<uint32_t, 4>{be(words[3]), be(words[2]), be(words[1]), be(words[0]) & 0xff}))
                << bank << " " << e;
        }
        first += entries;
    }
}

TEST_F(LoadTest, ActivityMemoriesOfTheTaeStayUnwritten) {
    load();
    for (const char *name : {"TAE_L2_TRAP_ACTV_MEM", "TAE_L3_PRIO_ACTV_MEM"}) {
        EmbeddedMemory *actv = rte_mem->taePtr->RamCollection.at(name);
        for (uint32_t i = 0; i < 2048; i++)
            ASSERT_FALSE(actv->isWritten(i)) << name << " " << i;
    }
}

// Registers: a field is loaded when the chip's dump has its register and a run of the load covers it.

bool inComRuns(uint32_t addr) {
    return (addr >= 0x50000 && addr < 0x50000 + 4380) || (addr >= 0x52000 && addr < 0x52000 + 2548) ||
           (addr >= 0x53000 && addr < 0x53000 + 24);
}

TEST_F(LoadTest, EachCommonRegister) {
    load();
    const CmRteHsiComReg &reg = rte_mem->comReg;
    auto reset = std::make_unique<CmRteHsiComReg>();
#define RESET(field, value) reset->field = value;
#include "hsi/cmRteHsiComRegReset.def"
    uint32_t loadedCnt = 0;
    for (const RegEntry &entry : comRegList()) {
        uint32_t value = 0;
        const bool loaded = entry.access == "RW" && inComRuns(entry.addr) && word(entry.addr, value);
        loadedCnt += loaded;
        for (const RegFld &fld : entry.flds)
            EXPECT_EQ(regWords(reg)[fld.word], loaded ? cut(value, fld.hi, fld.lo) : regWords(*reset)[fld.word])
                << fld.name;
    }
    EXPECT_GT(loadedCnt, 800u);
}

TEST_F(LoadTest, RunsEndInsideTheLastRegisterArrays) {
    load();
    const CmRteHsiComReg &reg = rte_mem->comReg;
    // 0x529f0 is the first of the eight indexes, 0x529f4 the second.
    EXPECT_EQ(reg.rte_l3_ipv6_idx[3], cut(be(image->rte_l3_ipv6_rp_idx[0]), 4, 0));
    EXPECT_EQ(reg.rte_l3_ipv6_idx[7], 0u) << "behind the run";
}

TEST_F(LoadTest, EachPortRegister) {
    load();
    for (uint32_t port = 0; port < 12; port++) {
        const CmRteHsiPortReg &reg = rte_mem->portRegLst[port];
        const uint32_t *words = &image->ephy_reg[port].rte_prc_l2_ctl;
        for (const RegEntry &entry : portRegList()) {
            const bool loaded = entry.access == "RW" && entry.addr < 52 * 4;
            const uint32_t value = loaded ? be(words[entry.addr / 4]) : 0;
            for (const RegFld &fld : entry.flds)
                EXPECT_EQ(regWords(reg)[fld.word], cut(value, fld.hi, fld.lo)) << fld.name;
        }
    }
}

TEST_F(LoadTest, LastPortComesFromItsOwnRegisters) {
    image->ephy_reg[11].rte_prc_l2_ctl = be(0x3f);
    load();
    EXPECT_EQ(rte_mem->portRegLst[11].rte_prc_l2_lrn_port, 0x3fu);
    uint32_t data = 0;
    EXPECT_EQ(CmRteHsiRd(rte_mem, 0x4b2000, &data), 1);
    EXPECT_EQ(data, 0x3fu);
    EXPECT_EQ(rte_mem->portRegLst[11].rte_prc_port_sflw_cnt, 0u);
}

TEST_F(LoadTest, LengthTypeReadsBackWithoutTheBitsOutsideItsFields) {
    load();
    uint32_t data = 0;
    EXPECT_EQ(CmRteHsiRd(rte_mem, 0x50000, &data), 1);
    EXPECT_EQ(data, be(image->rte_l2_typ_len) & 0x07ff07ff);
}

TEST_F(LoadTest, EachTfeRegister) {
    load();
    const CmTfeHsiComReg &reg = rte_mem->tfePtr->comReg;
    for (const RegEntry &entry : tfeRegList()) {
        uint32_t value = 0;
        if (entry.access == "RW") {
            ASSERT_TRUE(word(entry.addr, value)) << entry.name;
        }
        for (const RegFld &fld : entry.flds)
            EXPECT_EQ(regWords(reg)[fld.word], cut(value, fld.hi, fld.lo)) << fld.name;
    }
#define FLD(name, hi, lo) EXPECT_EQ(reg.name, 0u);
#define REG_NO_HOST(name, ...) __VA_ARGS__
#include "tfe/cmTfeHsiComReg.def"
    EXPECT_EQ(reg.ipv4_da_srch_def_rslt_addr, be(image->tfe_ipv4_da_miss_addr) & 0xffffff);
}

TEST_F(LoadTest, EachTaeRegister) {
    load();
    uint32_t value = 0;
    uint32_t addr = 0;
    const char *reg = nullptr;
#define FLD(name, hi, lo) EXPECT_EQ(rte_mem->taePtr->BLK_REG_GET_FLD(reg, #name), cut(value, hi, lo)) << #name;
#define REG(offset, name, ...)                                                                                         \
    addr = 0xf0000 + (offset);                                                                                         \
    reg = #name;                                                                                                       \
    if (addr >= 0xf0000 + 592 || !word(addr, value))                                                                   \
        value = 0;                                                                                                     \
    __VA_ARGS__
#include "tae/cmTaeHsiReg.def"
    EXPECT_EQ(rte_mem->taePtr->BLK_REG_GET("TAE_TCAM_STATS_CTRL_REG"), 0u);
    EXPECT_EQ(rte_mem->taePtr->BLK_REG_GET_FLD("TAE_BANK_TRAP_RSN_5_REG", "bank_trap_rsn_5"),
              be(image->tae_bank_trap_rsn_1) & 0x3fffffff);
}

TEST_F(LoadTest, EachWordIsWrittenOnce) {
    load();
    // The ports' registers, and the registers and memories of the image by their chip addresses.
    uint32_t words = 12 * 52;
    for (const regdump_map_t *row = tsr_dmp_map; row->name != nullptr; ++row) {
        if (row->flags & REGDUMP_FLAGS_NO_DUMP)
            continue;
        for (uint32_t i = 0; i < regdump_mapp_get_size(row) / 4; i++) {
            const uint32_t addr = row->asic_offset + 4 * i;
            words += inComRuns(addr) || (addr >= 0xa0000 && addr < 0xa0000 + 544) ||
                     (addr >= 0xf0000 && addr < 0xf0000 + 592) || (addr >= 0x2800000 && addr < 0x5580000);
        }
    }
    // Without the parts of memories that stay behind: ageing information on its way to the host, the ends of the two
    // learn FIFOs, and the second half of the control results.
    words -= 1024 + 2 * 4096 + 65536;
    EXPECT_EQ(rte_mem->hsiCnt, words);
}

TEST_F(LoadTest, SurroundingsStayZero) {
    load();
    const CmRteExtCfg zero{};
    EXPECT_EQ(std::memcmp(&rte_mem->extCfg, &zero, sizeof zero), 0);
    for (uint32_t count : rte_mem->frmCntLst)
        EXPECT_EQ(count, 0u);
    EXPECT_EQ(rte_mem->logFd, -1);
    EXPECT_EQ(rte_mem->dbgEn, 0u);
}

TEST_F(LoadTest, PortsAboveElevenStayZero) {
    load();
    const CmRteHsiPortReg zero{};
    for (uint32_t port = 12; port < 32; port++)
        EXPECT_EQ(std::memcmp(&rte_mem->portRegLst[port], &zero, sizeof zero), 0);
}

TEST_F(LoadTest, ImageStaysAsItWas) {
    load();
    const auto again = randomImage(20);
    EXPECT_EQ(std::memcmp(image.get(), again.get(), sizeof(tsr_dmp_t)), 0);
}

TEST_F(LoadTest, SecondLoadStartsFromAResetChip) {
    load();
    rte_memory_free();
    EXPECT_EQ(rte_mem, nullptr);
    std::memset(image.get(), 0, sizeof(tsr_dmp_t));
    load();
    EXPECT_EQ(rte_mem->mem.RTE_L2_EXM_RSLT_EDRAM[0], 0u);
    EXPECT_EQ(rte_mem->mem.RTE_L2_MAC_TCAM[0], 0u) << "the image's zeroes, not the empty entries of the reset";
    EXPECT_EQ(rte_mem->comReg.rte_trap_drop_mru, 0x3fffu) << "not in a dump: the reset value";
}

} // namespace
