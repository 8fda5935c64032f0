// Learn requests: when one is made, what it holds, the requests in progress, and the two FIFOs.

#include "lue/cmRteLue.h"

#include "model_fixture.h"
#include "random_words.h"

namespace {

constexpr uint32_t kPort = 10;
constexpr uint64_t kSa = 0x001122334455;
constexpr uint64_t kDa = 0x00aabbccddee;
constexpr uint32_t kIivid = 0x1abc;

class L2LrnTest : public ModelTest {
protected:
    L2LrnTest() {
        com.rte_l2_sa_lrn_inf_threshold = com.rte_l2_da_lrn_inf_threshold = 0xfff;
        com.non_trill_lrn_trill_rb = 0x9abc;
        com.rte_rte_rqd_egid = 0x155;
        com.rte_acl_drop_egid = 0x1f01;
        com.rte_trap_egid = 0x1f02;
        com.rte_drop_egid = 0x1f03;
        newFrame();
    }

    void newFrame() {
        resetStat(kPort);
        stat.frmIdx = 2;
        stat.iivid = kIivid;
        stat.l2OuterSa = kSa;
        stat.l2OuterDa = kDa;
        stat.l2PselSaLrnEn = stat.l2PselDaLrnEn = 1;
        stat.l2ExmSaLrnPort = 32;
    }

    void trill(uint32_t cmd, uint32_t knownSa, uint32_t knownMc) {
        stat.l2TrillFound = 1;
        stat.l2TrillSa = 0x1234;
        stat.l2TrillDa = 0xd00d;
        stat.l2TrillInnerSa = 0x0c0c0c0c0c0c;
        stat.l2TrillInnerDa = 0x0d0d0d0d0d0d;
        stat.l2ExmSaTrillCmd = cmd;
        stat.l2ExmSaTrillDa = knownSa;
        stat.l2ExmSaTrillMc = knownMc;
    }

    std::string sa() {
        verbose(true);
        return printed([&] { L2Lrn(&stat); });
    }
    std::string da() {
        verbose(true);
        return printed([&] { L2DaLrn(&stat); });
    }
    static bool has(const std::string &text, const std::string &part) { return text.find(part) != std::string::npos; }

    /// Hash of the request in stat, for control words 0.
    uint32_t hashOf() const {
        uint8_t buf[11];
        for (int i = 0; i < 3; i++)
            buf[i] = static_cast<uint8_t>(stat.l2LrnInfQw0 >> (16 - 8 * i));
        for (int i = 0; i < 8; i++)
            buf[3 + i] = static_cast<uint8_t>(stat.l2LrnInfQw1 >> (56 - 8 * i));
        return CmEnetCrcCalc(11, buf) & 0x7fff;
    }

    CmRteHsiPortReg &portReg = rte->portRegLst[kPort];
    const std::string pfx = "CM port=10, frameIdx=2>> ";
};

using L2LrnDecision = L2LrnTest;
using L2LrnInf = L2LrnTest;
using L2LrnLip = L2LrnTest;
using L2LrnPush = L2LrnTest;

} // namespace

TEST_F(L2LrnDecision, DisabledFrameAsksNothing) {
    stat.l2PselSaLrnEn = 0;
    stat.l2LrnRqd = 7;
    EXPECT_EQ(sa(), pfx + "[L2 SA Learn] l2PselSaLrnEn=0\n");
    EXPECT_EQ(stat.l2LrnRqd, 7u);
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_wr_ptr, 0u);
}

TEST_F(L2LrnDecision, CondemnedFrameAsksNothing) {
    for (uint32_t CmRteStat::*verdict : {&CmRteStat::l2PrcTrap, &CmRteStat::l2PrcDrop}) {
        newFrame();
        stat.*verdict = 1;
        stat.l2LrnRqd = 7;
        EXPECT_EQ(sa(), pfx + "[L2 SA Learn] lrnRqd=0, l2ExmSaLrnPort=0x20\n");
        EXPECT_EQ(stat.l2LrnRqd, 0u);
        EXPECT_EQ(stat.l2LrnInfWr, 0u);
    }
}

TEST_F(L2LrnDecision, LearnPortOfTheKnownAddress) {
    portReg.rte_prc_l2_lrn_port = 21;
    for (const auto &[known, want] :
         {std::pair{0u, 1u}, {20u, 1u}, {21u, 0u}, {22u, 1u}, {31u, 1u}, {32u, 1u}, {47u, 1u}, {48u, 0u}, {63u, 0u}}) {
        newFrame();
        stat.l2ExmSaLrnPort = known;
        const std::string text = sa();
        EXPECT_EQ(stat.l2LrnRqd, want) << known;
        EXPECT_EQ(stat.l2LrnInfWr, want) << known;
        char line[80];
        std::snprintf(line, sizeof line, "[L2 SA Learn] lrnRqd=%u, l2ExmSaLrnPort=0x%x\n", want, known);
        EXPECT_EQ(text.rfind(pfx + line, 0), 0u) << text;
    }
}

TEST_F(L2LrnDecision, LearnPortAbove31OfThePortItselfIsNotCompared) {
    portReg.rte_prc_l2_lrn_port = 40;
    stat.l2ExmSaLrnPort = 40;
    sa();
    EXPECT_EQ(stat.l2LrnRqd, 1u);
}

TEST_F(L2LrnDecision, TrillTreeId) {
    trill(1, 0xf234, 0); // low 13 bits 0x1234
    std::string text = sa();
    EXPECT_EQ(stat.l2LrnRqd, 0u);
    EXPECT_EQ(text.rfind(pfx + "[L2 SA Learn] TrillMCtId,  lrnRqd=0 (l2TrillSa=0x1234, l2ExmSaTrillDa=0xf234, "
                               "l2ExmTrillMc=0) \n",
                         0),
              0u)
        << text;
    for (int i = 0; i < 3; i++) {
        newFrame();
        trill(1, i == 0 ? 0xf235 : 0xf234, i == 1);
        if (i == 2)
            stat.l2TrillSa = 0x21234;
        text = sa();
        EXPECT_EQ(stat.l2LrnRqd, 1u) << i;
        EXPECT_TRUE(has(text, "[L2 SA Learn] TrillMCtId station move,  lrnRqd=1  (l2TrillSa=0x"));
    }
    newFrame();
    trill(1, 0x4234, 1);
    EXPECT_TRUE(has(sa(), pfx + "[L2 SA Learn] TrillMCtId station move,  lrnRqd=1  (l2TrillSa=0x1234, "
                                "l2ExmSaTrillDa=0x4234, l2ExmTrillMc=1)\n"));
}

TEST_F(L2LrnDecision, TrillDestinationAndNone) {
    trill(0, 0x1234, 0);
    EXPECT_TRUE(has(sa(), pfx + "[L2 SA Learn] Trill pkt with trillCmd=0,  lrnRqd=1, \n"));
    EXPECT_EQ(stat.l2LrnRqd, 1u);
    for (uint32_t cmd : {2u, 3u}) {
        newFrame();
        trill(cmd, 0x1234, 0);
        EXPECT_TRUE(has(sa(), pfx + "[L2 SA Learn] Trill,  lrnRqd=0\n"));
        EXPECT_EQ(stat.l2LrnRqd, 0u);
        newFrame();
        trill(cmd, 0x1234, 1);
        EXPECT_TRUE(has(sa(), pfx + "[L2 SA Learn] Trill station move,  lrnRqd=1, \n"));
        EXPECT_EQ(stat.l2LrnRqd, 1u);
        newFrame();
        trill(cmd, 0xf234, 0);
        sa();
        EXPECT_EQ(stat.l2LrnRqd, 1u) << "all 16 bits count here";
    }
}

TEST_F(L2LrnInf, SourceOfAPlainFrame) {
    sa();
    // Port 10 is 01 010; VLAN 0x1abc.
    EXPECT_EQ(stat.l2LrnInfQw0, 0x9abcu << 2 | 1);
    EXPECT_EQ(stat.l2LrnInfQw1, 0x5abc001122334455u);
}

TEST_F(L2LrnInf, SourceOfATrillFrame) {
    trill(0, 0, 0);
    sa();
    EXPECT_EQ(stat.l2LrnInfQw0, 0x1234u << 2 | 1);
    EXPECT_EQ(stat.l2LrnInfQw1, 0x5abc0c0c0c0c0c0cu);
}

TEST_F(L2LrnInf, FcoeCode) {
    const uint32_t base = 0x4155;
    const struct {
        uint32_t fcoe, egid, isMgid, code;
    } cases[] = {{0, base | 0x1000, 0, 0}, {1, base | 0x1000, 0, 2}, {1, base | 0x800, 0, 3},  {1, base | 0x1800, 0, 2},
                 {1, base | 0x600, 0, 1},  {1, base | 0x1000, 1, 1}, {1, base | 0x1001, 0, 2}, {1, 0x5154, 0, 1}};
    for (const auto &c : cases) {
        newFrame();
        stat.l2FcoeFound = c.fcoe;
        stat.l2ExmDaEgidOrig = c.egid;
        stat.l2ExmDaIsMgidOrig = c.isMgid;
        sa();
        EXPECT_EQ(stat.l2LrnInfQw0 >> 18, c.code) << std::hex << c.egid;
    }
}

TEST_F(L2LrnInf, DestinationOfAPlainFrame) {
    portReg.rte_prc_l2_da_lrn_en = 1;
    EXPECT_EQ(da().rfind(pfx + "[L2 DA Learn]\n", 0), 0u);
    EXPECT_EQ(stat.l2LrnInfQw0, 0u);
    // The VLAN's top bit falls onto the port's lowest one: 0xa0 | 0x1a -> 0xba.
    EXPECT_EQ(stat.l2LrnInfQw1, 0xbabc00aabbccddeeu);
}

TEST_F(L2LrnInf, DestinationOfATrillFrame) {
    portReg.rte_prc_l2_da_lrn_en = 1;
    trill(0, 0, 0);
    stat.iivid = 0x0abc;
    da();
    EXPECT_EQ(stat.l2LrnInfQw0, 0xd00du);
    EXPECT_EQ(stat.l2LrnInfQw1, 0xaabc0d0d0d0d0d0du);
}

TEST_F(L2LrnInf, DestinationNeedsBothEnables) {
    EXPECT_EQ(da(), "");
    portReg.rte_prc_l2_da_lrn_en = 1;
    stat.l2PselDaLrnEn = 0;
    EXPECT_EQ(da(), "");
    EXPECT_EQ(com.rte_l2_da_lrn_inf_wr_ptr, 0u);
    stat.l2PselDaLrnEn = 1;
    stat.l2PrcDrop = 1;
    da();
    EXPECT_EQ(com.rte_l2_da_lrn_inf_wr_ptr, 1u) << "the frame's result does not count";
}

TEST_F(L2LrnLip, SameSourceTwiceIsOneEntry) {
    portReg.rte_prc_l2_sa_lrn_lip_en = 1;
    std::string text = sa();
    const uint32_t hash = hashOf();
    EXPECT_EQ(stat.l2SaLrnLip, 0u);
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_wr_ptr, 1u);
    EXPECT_EQ(mem.RTE_L2_SA_LIP_SRAM[hash >> 5], 1u << (hash & 31));
    char line[100];
    std::snprintf(line, sizeof line, "[L2 SA Learn] LIP addr=0x%x, bitIdx=%u, word=0x0\n", hash >> 5, hash & 31);
    EXPECT_TRUE(has(text, pfx + line)) << text;
    EXPECT_FALSE(has(text, "do nothing"));
    newFrame();
    text = sa();
    EXPECT_EQ(stat.l2SaLrnLip, 1u);
    EXPECT_EQ(stat.l2LrnRqd, 1u);
    EXPECT_EQ(stat.l2LrnInfWr, 0u);
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_wr_ptr, 1u);
    std::snprintf(line, sizeof line, "[L2 SA Learn] LIP addr=0x%x, bitIdx=%u, word=0x%x\n", hash >> 5, hash & 31,
                  1u << (hash & 31));
    EXPECT_TRUE(has(text, pfx + line + pfx + "[L2 SA Learn] LIP is set -- do nothing\n")) << text;
}

TEST_F(L2LrnLip, WithoutItSameSourceTwiceIsTwoEntries) {
    sa();
    newFrame();
    sa();
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_wr_ptr, 2u);
    EXPECT_EQ(stat.l2SaLrnLip, 0u);
}

TEST_F(L2LrnLip, SwapControlsChangeTheHash) {
    portReg.rte_prc_l2_sa_lrn_lip_en = 1;
    com.rte_l2_sa_lrn_lip_swp_ctl_w0 = 1; // bits 0 and 1 of the first word
    com.rte_l2_sa_lrn_lip_swp_ctl_w1 = 1; // and of the second
    sa();
    stat.l2LrnInfQw0 ^= 3; // 01 becomes 10 in both
    stat.l2LrnInfQw1 ^= 3;
    const uint32_t hash = hashOf();
    EXPECT_EQ(mem.RTE_L2_SA_LIP_SRAM[hash >> 5], 1u << (hash & 31));
    EXPECT_EQ(mem.RTE_L2_SA_LRN_INF_SRAM[3], 0x22334455u) << "the request itself is not swapped";
}

TEST_F(L2LrnLip, FullFifoAndRequestInProgress) {
    portReg.rte_prc_l2_sa_lrn_lip_en = portReg.rte_prc_l2_da_lrn_lip_en = portReg.rte_prc_l2_da_lrn_en = 1;
    std::memset(mem.RTE_L2_SA_LIP_SRAM, 0xff, sizeof mem.RTE_L2_SA_LIP_SRAM);
    std::memset(mem.RTE_L2_DA_LIP_SRAM, 0xff, sizeof mem.RTE_L2_DA_LIP_SRAM);
    com.rte_l2_sa_lrn_inf_ful = com.rte_l2_da_lrn_inf_ful = 1;
    const std::string dropped = pfx + "[L2 SA Learn] INF FIFO is full -- do not learn, increment drop count\n";
    EXPECT_TRUE(has(sa(), dropped));
    EXPECT_EQ(stat.l2SaLrnDrpInf, 1u);
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_drp_cnt, 0u) << "not counted here";
    EXPECT_TRUE(has(da(), dropped));
    EXPECT_EQ(stat.l2DaLrnDrpInf, 1u);
    EXPECT_EQ(stat.l2DaLrnLip, 1u);
    EXPECT_EQ(com.rte_l2_da_lrn_inf_drp_cnt, 1u);
}

TEST_F(L2LrnLip, FullFifoAndNewRequestSetsTheBitAndCounts) {
    portReg.rte_prc_l2_sa_lrn_lip_en = portReg.rte_prc_l2_da_lrn_lip_en = portReg.rte_prc_l2_da_lrn_en = 1;
    com.rte_l2_sa_lrn_inf_ful = com.rte_l2_da_lrn_inf_ful = 1;
    sa();
    uint32_t hash = hashOf();
    EXPECT_EQ(mem.RTE_L2_SA_LIP_SRAM[hash >> 5], 1u << (hash & 31));
    EXPECT_EQ(stat.l2SaLrnDrpInf, 1u);
    EXPECT_EQ(stat.l2LrnInfWr, 0u);
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_drp_cnt, 1u);
    const std::string text = da();
    hash = hashOf();
    EXPECT_EQ(mem.RTE_L2_DA_LIP_SRAM[hash >> 5], 1u << (hash & 31));
    EXPECT_EQ(com.rte_l2_da_lrn_inf_drp_cnt, 1u);
    EXPECT_FALSE(has(text, "push"));
}

TEST_F(L2LrnPush, WritesTheFourWords) {
    com.rte_l2_sa_lrn_inf_wr_ptr = com.rte_l2_sa_lrn_inf_rd_ptr = 0x7ff;
    const std::string text = sa();
    const uint32_t *entry = &mem.RTE_L2_SA_LRN_INF_SRAM[4 * 0x7ff];
    EXPECT_EQ(entry[0], 0u);
    EXPECT_EQ(entry[1], 0x26af1u);
    EXPECT_EQ(entry[2], 0x5abc0011u);
    EXPECT_EQ(entry[3], 0x22334455u);
    EXPECT_EQ(stat.l2LrnInfWr, 1u);
    EXPECT_EQ(stat.l2LrnInfWrPtr, 0x7ffu);
    EXPECT_TRUE(has(text, pfx + "[L2 SA Learn] push learning info to l2_lrn_inf SRAM, wrPtr=0x7ff -- LernInf: 0x "
                                "00000000_00026af1_5abc0011_22334455\n"))
        << text;
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_wr_ptr, 0x800u);
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_not_emp, 1u);
    EXPECT_EQ(stat.l2LrnInfNotEmpIntr, 1u);
    EXPECT_EQ(stat.l2LrnInfAlmostFulIntr, 0u);
    EXPECT_EQ(stat.l2LrnInfFulIntr, 0u);
    newFrame();
    sa();
    EXPECT_EQ(stat.l2LrnInfNotEmpIntr, 0u) << "only when it was empty";
}

TEST_F(L2LrnPush, DestinationSaysSaToo) {
    portReg.rte_prc_l2_da_lrn_en = 1;
    EXPECT_TRUE(has(da(), pfx + "[L2 SA Learn] push learning info to l2_lrn_inf SRAM, wrPtr=0x0 -- LernInf: 0x "
                                "00000000_00000000_babc00aa_bbccddee\n"));
    EXPECT_EQ(mem.RTE_L2_DA_LRN_INF_SRAM[2], 0xbabc00aau);
    EXPECT_EQ(mem.RTE_L2_SA_LRN_INF_SRAM[2], 0u);
}

TEST_F(L2LrnPush, AlmostFullAboveTheThreshold) {
    com.rte_l2_sa_lrn_inf_threshold = 3;
    com.rte_l2_sa_lrn_inf_wr_ptr = com.rte_l2_sa_lrn_inf_rd_ptr = 0xffe; // the fill counts across the wrap
    for (uint32_t fill = 1; fill <= 4; fill++) {
        newFrame();
        sa();
        EXPECT_EQ(stat.l2LrnInfAlmostFulIntr, fill > 3);
        EXPECT_EQ(com.rte_l2_sa_lrn_inf_almost_ful, fill > 3);
    }
}

TEST_F(L2LrnPush, SourceFifoIsFullAfter4096) {
    for (uint32_t i = 1; i <= 4096; i++) {
        newFrame();
        L2Lrn(&stat);
        ASSERT_EQ(com.rte_l2_sa_lrn_inf_ful, i == 4096) << i;
    }
    EXPECT_EQ(stat.l2LrnInfFulIntr, 1u);
    EXPECT_EQ(stat.l2LrnInfAlmostFulIntr, 1u);
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_almost_ful, 1u);
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_wr_ptr, 0u);
    newFrame();
    sa();
    EXPECT_EQ(stat.l2LrnInfWr, 0u);
    EXPECT_EQ(stat.l2SaLrnDrpInf, 1u);
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_drp_cnt, 1u);
}

TEST_F(L2LrnPush, DestinationFifoIsFullAfter1024) {
    portReg.rte_prc_l2_da_lrn_en = 1;
    for (uint32_t i = 1; i <= 1024; i++) {
        newFrame();
        L2DaLrn(&stat);
        ASSERT_EQ(com.rte_l2_da_lrn_inf_ful, i == 1024) << i;
    }
    newFrame();
    da();
    EXPECT_EQ(stat.l2DaLrnDrpInf, 1u);
    EXPECT_EQ(com.rte_l2_da_lrn_inf_drp_cnt, 1u);
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_ful, 0u);
}

TEST_F(L2LrnPush, StatusFlagsAreRecomputedWhenOneChanged) {
    com.rte_frc_l2_da_lrn_inf_ful = 1; // shows that the flags were recomputed
    sa();
    EXPECT_EQ(com.rte_l2_da_lrn_inf_ful, 1u) << "the FIFO was empty";
    com.rte_l2_da_lrn_inf_ful = 0;
    newFrame();
    sa();
    EXPECT_EQ(com.rte_l2_da_lrn_inf_ful, 0u) << "nothing changed";
    com.rte_l2_sa_lrn_inf_threshold = 2;
    newFrame();
    sa();
    EXPECT_EQ(com.rte_l2_da_lrn_inf_ful, 1u) << "above the threshold";
    com.rte_l2_da_lrn_inf_ful = 0;
    com.rte_l2_sa_lrn_inf_threshold = 0xfff;
    com.rte_l2_sa_lrn_inf_rd_ptr = 4;
    newFrame();
    sa();
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_ful, 1u);
    EXPECT_EQ(com.rte_l2_da_lrn_inf_ful, 1u) << "full";
}

TEST_F(L2LrnPush, Histories) {
    com.rte_his_en = 1u << kPort;
    portReg.rte_prc_l2_sa_lrn_lip_en = portReg.rte_prc_l2_da_lrn_lip_en = portReg.rte_prc_l2_da_lrn_en = 1;
    com.rte_lue_l2_sa_lrn_lip_addr_hi = com.rte_lue_l2_da_lrn_lip_addr_hi = 0x7fff;
    com.rte_lue_l2_sa_lrn_inf_addr_hi = com.rte_lue_l2_da_lrn_inf_addr_hi = 0xfff;
    com.rte_l2_sa_lrn_inf_wr_ptr = 0x123;
    com.rte_l2_da_lrn_inf_wr_ptr = 0x2bc;
    sa();
    EXPECT_EQ(com.rte_his_l2_sa_lrn_lip[3], 0x10000u | hashOf());
    EXPECT_EQ(com.rte_his_l2_sa_lrn_inf[3], 0x10123u);
    da();
    EXPECT_EQ(com.rte_his_l2_da_lrn_lip[3], 0x10000u | hashOf());
    EXPECT_EQ(com.rte_his_l2_da_lrn_inf[3], 0x102bcu);
}

TEST_F(L2LrnPush, HistoryRangesOfSourceAndDestinationAreTheirOwn) {
    com.rte_his_en = 1u << kPort;
    portReg.rte_prc_l2_sa_lrn_lip_en = portReg.rte_prc_l2_da_lrn_lip_en = portReg.rte_prc_l2_da_lrn_en = 1;
    com.rte_l2_sa_lrn_inf_wr_ptr = com.rte_l2_sa_lrn_inf_rd_ptr = 0xc00;
    com.rte_lue_l2_sa_lrn_inf_addr_hi = com.rte_lue_l2_sa_lrn_inf_addr_lo = 0xc00;
    com.rte_lue_l2_sa_lrn_lip_addr_hi = 0x7fff;
    com.rte_lue_l2_da_lrn_inf_addr_lo = com.rte_lue_l2_da_lrn_lip_addr_lo = 0x7fff;
    sa();
    EXPECT_EQ(com.rte_his_l2_sa_lrn_lip[3], 0x10000u | hashOf());
    EXPECT_EQ(com.rte_his_l2_sa_lrn_inf[3], 0x10c00u) << "all 12 bits count";
    da();
    EXPECT_EQ(com.rte_his_l2_da_lrn_lip[3], 0u) << "out of range";
    EXPECT_EQ(com.rte_his_l2_da_lrn_inf[3], 0u);
    std::memset(mem.RTE_L2_DA_LIP_SRAM, 0, sizeof mem.RTE_L2_DA_LIP_SRAM);
    com.rte_lue_l2_sa_lrn_inf_addr_lo = com.rte_lue_l2_sa_lrn_lip_addr_lo = 0x7fff;
    com.rte_lue_l2_sa_lrn_inf_addr_hi = com.rte_lue_l2_sa_lrn_lip_addr_hi = 0;
    com.rte_lue_l2_da_lrn_inf_addr_lo = com.rte_lue_l2_da_lrn_inf_addr_hi = 1;
    com.rte_lue_l2_da_lrn_lip_addr_lo = com.rte_lue_l2_da_lrn_lip_addr_hi = hashOf();
    da();
    EXPECT_EQ(com.rte_his_l2_da_lrn_lip[3], 0x10000u | hashOf());
    EXPECT_EQ(com.rte_his_l2_da_lrn_inf[3], 0x10001u);
}

TEST_F(L2LrnPush, DestinationFifoHasItsOwnRegisters) {
    portReg.rte_prc_l2_da_lrn_en = portReg.rte_prc_l2_da_lrn_lip_en = 1;
    com.rte_l2_sa_lrn_lip_swp_ctl_w0 = com.rte_l2_sa_lrn_lip_swp_ctl_w1 = 0xffffffff;
    com.rte_l2_da_lrn_lip_swp_ctl_w0 = com.rte_l2_da_lrn_lip_swp_ctl_w1 = 2; // bits 2 and 3 of each word
    com.rte_l2_sa_lrn_inf_threshold = 0;
    com.rte_l2_da_lrn_inf_threshold = 2;
    com.rte_l2_da_lrn_inf_wr_ptr = 0x3ff;
    com.rte_l2_da_lrn_inf_rd_ptr = 0x3fe;
    trill(0, 0, 0);
    stat.l2TrillDa = 0xd004;
    stat.l2TrillInnerDa = 0x0d0d0d0d0d08;
    da();
    EXPECT_EQ(com.rte_l2_da_lrn_inf_wr_ptr, 0u);
    EXPECT_EQ(com.rte_l2_da_lrn_inf_not_emp, 1u);
    EXPECT_EQ(com.rte_l2_da_lrn_inf_almost_ful, 0u);
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_not_emp, 0u);
    stat.l2LrnInfQw0 ^= 0xc;
    stat.l2LrnInfQw1 ^= 0xc;
    EXPECT_EQ(mem.RTE_L2_DA_LIP_SRAM[hashOf() >> 5], 1u << (hashOf() & 31));
    newFrame();
    da();
    EXPECT_EQ(com.rte_l2_da_lrn_inf_almost_ful, 1u);
    EXPECT_EQ(com.rte_l2_da_lrn_inf_ful, 0u);
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_almost_ful, 0u);
    EXPECT_EQ(mem.RTE_L2_SA_LIP_SRAM[hashOf() >> 5], 0u);
}

TEST_F(L2LrnPush, WritePointerBeyondTheMemoryWritesNothing) {
    com.rte_l2_sa_lrn_inf_wr_ptr = 0xfffffff0;
    sa();
    for (uint32_t word : mem.RTE_L2_SA_LRN_INF_SRAM)
        ASSERT_EQ(word, 0u);
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_wr_ptr, 0xff1u);
}

TEST_F(L2LrnTest, RandomChipAndFrame) {
    RandomWords rng(1);
    const auto fill = [&](void *to, size_t bytes) {
        uint32_t *words = static_cast<uint32_t *>(to);
        for (size_t i = 0; i < bytes / 4; i++)
            words[i] = rng();
    };
    fill(&mem.RTE_L2_SA_LIP_SRAM, sizeof mem.RTE_L2_SA_LIP_SRAM);
    for (uint32_t i = 0; i < 200; i++) {
        fill(&com, sizeof com);
        fill(&portReg, sizeof portReg);
        fill(&stat.l2HdrLenAdj, offsetof(CmRteStat, dbgLvl) - offsetof(CmRteStat, l2HdrLenAdj));
        stat.dbgLvl = 0;
        L2Lrn(&stat);
        L2DaLrn(&stat);
        stat.l2PselSaLrnEn = 1;
        L2Lrn(&stat);
        EXPECT_LT(stat.l2LrnRqd, 2u);
    }
}
