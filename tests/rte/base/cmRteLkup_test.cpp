#include "base/cmRteLkup.h"

#include "tbl/tsr_tbl.h"

#include "model_fixture.h"

#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace {

using CtrlLkup = CmTcamLkup<&CmRteHsiMem::RTE_L2_CONTROL_TCAM, L2CtrlKey>;
using MacLkup = CmTcamLkup<&CmRteHsiMem::RTE_L2_MAC_TCAM, L2MacKey>;
using McuidLkup =
    CmExmLkup<Ipv4McuidBkt, 45, &CmRteHsiMem::RTE_L3_IPV4_MCUID_IDX_SRAM, &CmRteHsiMem::RTE_L3_IPV4_MCUID_BKT_EDRAM, 16,
              &CmRteHsiMem::RTE_L3_IPV4_MCUID_OVERFLOW_TCAM, &CmExmLu>;

static_assert(CtrlLkup::kEntries == 1024 && CtrlLkup::kEntryWords == 4);
static_assert(MacLkup::kEntries == 64 * 32);
static_assert(McuidLkup::kBkts == 1024 && McuidLkup::kOvflwEntries == 1024);

class CmRteLkup : public ModelTest {
protected:
    /// Makes entry `idx` of the control TCAM match the VLAN `vid` alone.
    void matchVid(uint32_t idx, uint32_t vid) {
        uint32_t *entry = mem.RTE_L2_CONTROL_TCAM + 4 * idx;
        entry[0] = vid << 16;
        entry[2] = ~vid << 16 & 0x1fff0000;
    }
};

} // namespace

TEST_F(CmRteLkup, TernarySearchListsItsHits) {
    // An entry that nothing was written to asks for nothing: shut them all but three.
    for (uint32_t i = 0; i < CtrlLkup::kEntries; i++)
        mem.RTE_L2_CONTROL_TCAM[4 * i] = mem.RTE_L2_CONTROL_TCAM[4 * i + 2] = 1;
    matchVid(7, 0x123);
    matchVid(8, 0x124);
    matchVid(1023, 0x123);

    CtrlLkup lkup;
    lkup.search(&mem, L2CtrlKey{.trill_found = 1, .vid = 0x123, .da = 0x0180c2000001});
    EXPECT_EQ(lkup.hit(), 1u);
    EXPECT_EQ(lkup.idx(), 7u);
    EXPECT_EQ(std::vector<uint32_t>(lkup.hits().begin(), lkup.hits().end()), (std::vector<uint32_t>{7, 1023}));
    EXPECT_EQ(lkup.key().qword(0), 0x21230180c2000001ull);

    lkup.search(&mem, L2CtrlKey{.trill_found = 0, .vid = 0x125, .da = 0});
    EXPECT_EQ(lkup.hit(), 0u);
    EXPECT_EQ(lkup.idx(), 0u);
    EXPECT_TRUE(lkup.hits().empty());

    lkup.searchFirst(&mem, L2CtrlKey{.trill_found = 0, .vid = 0x124, .da = 0});
    EXPECT_EQ(lkup.hit(), 1u);
    EXPECT_EQ(lkup.idx(), 8u);
}

TEST_F(CmRteLkup, PartOfAMemoryCountsFromItsFirstEntry) {
    uint32_t *words = mem.RTE_L2_MAC_TCAM;
    for (uint32_t i = 0; i < MacLkup::kEntries; i++)
        words[8 * i] = words[8 * i + 4] = 1;
    words[8 * 37] = words[8 * 37 + 4] = 0;

    MacLkup lkup;
    lkup.setKey(L2MacKey{.phy_port = 3, .da = 1, .l2_etyp = 0, .sa = 2});
    lkup.searchIn(&mem, 0, 32);
    EXPECT_EQ(lkup.hit(), 0u);
    lkup.searchIn(&mem, 32, 32);
    EXPECT_EQ(lkup.hit(), 1u);
    EXPECT_EQ(lkup.idx(), 5u);
}

TEST_F(CmRteLkup, ExactMatchFindsAKeyInItsBucketAndInTheOverflowTcam) {
    for (uint32_t &word : mem.RTE_L3_IPV4_MCUID_OVERFLOW_TCAM)
        word = 0xffffffff; // matches nothing
    for (uint32_t &word : mem.RTE_L3_IPV4_MCUID_IDX_SRAM)
        word = 2;

    const Ipv4McuidBkt key{.iivid = 0x123, .l3IpDa = 0xe0000005};
    const CmExmCtl ctl = {{}, 99, 1};
    McuidLkup lkup;
    lkup.search(&mem, key, ctl);
    EXPECT_FALSE(lkup.hit());
    EXPECT_EQ(lkup.idx(), 99u);

    pack(key, mem.RTE_L3_IPV4_MCUID_BKT_EDRAM + 2 * (2 * 16 + 5)); // bucket 2, place 5
    lkup.search(&mem, key, ctl);
    EXPECT_TRUE(lkup.hit());
    EXPECT_EQ(lkup.bktHit(), 1u);
    EXPECT_EQ(lkup.ovflwHit(), 0u);
    EXPECT_EQ(lkup.idx(), 2u * 16 + 5);

    mem.RTE_L3_IPV4_MCUID_BKT_EDRAM[2 * (2 * 16 + 5)] = 0;
    uint32_t *entry = mem.RTE_L3_IPV4_MCUID_OVERFLOW_TCAM + 4 * 3;
    entry[0] = entry[1] = 0;
    pack(key, entry);
    entry[2] = ~entry[0];
    entry[3] = ~entry[1];
    lkup.search(&mem, key, ctl);
    EXPECT_EQ(lkup.ovflwHit(), 1u);
    EXPECT_EQ(lkup.idx(), 1024u * 16 - 1024 + 3);
}

TEST_F(CmRteLkup, ExactMatchKeepsItsFourHistories) {
    CmRteHsiComReg *reg = &com;
    reg->rte_his_clr = 0;
    reg->rte_his_mode = 0;
    reg->rte_his_en = 1u << stat.ingPhyPort;
    reg->rte_lue_ipv4_mcuid_idx_addr_hi = 0x3fff;
    reg->rte_lue_ipv4_mcuid_bkt_addr_hi = 0x3ff;
    reg->rte_lue_ipv4_mcuid_rslt_addr_hi = 0x3fff;
    for (uint32_t &word : mem.RTE_L3_IPV4_MCUID_IDX_SRAM)
        word = 2;
    for (uint32_t &word : mem.RTE_L3_IPV4_MCUID_OVERFLOW_TCAM)
        word = 0xffffffff;

    McuidLkup lkup;
    lkup.search(&mem, Ipv4McuidBkt{.iivid = 0x123, .l3IpDa = 0xe0000005}, {{}, 99, 1});
    lkup.captureAll(
        &stat, {his::l3_ipv4_mcuid_tcam_key, his::l3_ipv4_mcuid_idx, his::l3_ipv4_mcuid_bkt, his::l3_ipv4_mcuid_rslt},
        2);
    EXPECT_EQ(reg->rte_his_l3_ipv4_mcuid_tcam_key[3][0], 0x10123u);
    EXPECT_EQ(reg->rte_his_l3_ipv4_mcuid_tcam_key[3][1], 0xe0000005u);
    EXPECT_NE(reg->rte_his_l3_ipv4_mcuid_idx[3], 0u);
    EXPECT_EQ(reg->rte_his_l3_ipv4_mcuid_bkt[3], 1u << 10 | 2);
    EXPECT_EQ(reg->rte_his_l3_ipv4_mcuid_rslt[3], 2u << 14 | 1u << 14 | 99);
}
