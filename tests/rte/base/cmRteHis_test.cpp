#include "base/cmRteHis.h"

#include <gtest/gtest.h>
#include <memory>
#include <numeric>
#include <vector>

namespace {

using Words = std::vector<uint32_t>;

/// A history of N words a slot, with a guard word behind it.
template <uint32_t N> struct His {
    uint32_t reg[4 * N + 1] = {};

    Words slot(uint32_t n) const { return Words(reg + n * N, reg + (n + 1) * N); }
};

CmRteHisCtl on(uint32_t mode = 0) {
    return {3, 0, mode, 1u << 3};
}

} // namespace

TEST(CmRteHis, StopFlagStopsCapture) {
    His<1> his;
    CmRteHisCtl ctl = on();
    for (const uint32_t clr : {1u, 2u}) {
        ctl.rte_his_clr = clr;
        CmRteHisU32NoRng(ctl, 5, 16, his.reg);
        EXPECT_EQ(his.slot(3), Words{0}) << clr;
    }
}

TEST(CmRteHis, OnlyPortsThatAreOnAreCaptured) {
    His<1> his;
    CmRteHisU32NoRng({4, 0, 0, ~(1u << 4)}, 5, 16, his.reg);
    EXPECT_EQ(his.slot(3), Words{0});
    CmRteHisU32NoRng({4, 0, 0, 1u << 4}, 5, 16, his.reg);
    EXPECT_EQ(his.slot(3), Words{0x10005});
    CmRteHisU32NoRng({32, 0, 0, 0xffffffff}, 6, 16, his.reg);
    EXPECT_EQ(his.slot(3), Words{0x10005});
    CmRteHisU32NoRng({31, 0, 0, 0x80000000}, 6, 16, his.reg);
    EXPECT_EQ(his.slot(3), Words{0x10006});
}

TEST(CmRteHis, Mode1KeepsTheFirstFourMode0TheLastFour) {
    His<1> first, last;
    for (uint32_t key = 1; key <= 5; key++) {
        CmRteHisU32NoRng(on(1), key, 16, first.reg);
        CmRteHisU32NoRng(on(0), key, 16, last.reg);
    }
    CmRteHisU32NoRng(on(2), 6, 16, first.reg); // every mode but 0 freezes
    for (uint32_t slot = 0; slot < 4; slot++) {
        EXPECT_EQ(first.slot(slot), Words{0x10001 + slot});
        EXPECT_EQ(last.slot(slot), Words{0x10002 + slot});
    }
    EXPECT_EQ(first.reg[4], 0u);
    EXPECT_EQ(last.reg[4], 0u);
}

TEST(CmRteHis, FlagPositionAbove31OfAOneWordSlotIsNeitherSetNorSeen) {
    His<1> his;
    for (uint32_t i = 0; i < 5; i++)
        CmRteHisU32NoRng(on(1), 0xffffffff - i, 32, his.reg);
    EXPECT_EQ(his.slot(3), Words{0xfffffffb}) << "five captures in mode 1, since no flag is seen";
    His<1> low;
    CmRteHisU32NoRng(on(1), 0, 63, low.reg);
    EXPECT_EQ(low.slot(3), Words{0});
    CmRteHisU32NoRng(on(1), 0, 64, low.reg);
    EXPECT_EQ(low.slot(3), Words{1});
    CmRteHisU32NoRng(on(1), 0, 31, low.reg);
    EXPECT_EQ(low.slot(3), Words{0x80000000});
}

TEST(CmRteHis, RangeIsTestedOnTheMaskedKeyBoundsIncluded) {
    struct {
        uint32_t key, captured;
    } const rows[] = {{0xf0f, 0}, {0xf10, 1}, {0xf20, 1}, {0xf21, 0}, {0x10, 1}};
    for (const auto &row : rows) {
        His<1> his;
        CmRteHisU32(on(), row.key, 0x20, 0x10, 0xff, 16, his.reg);
        EXPECT_EQ(his.slot(3), Words{row.captured ? 0x10000 | row.key : 0}) << row.key;
    }
}

TEST(CmRteHis, TwoWordSlots) {
    His<2> his;
    CmRteHisU64NoRng(on(), 0x1122334455667788, 62, his.reg);
    EXPECT_EQ(his.slot(3), (Words{0x51223344, 0x55667788}));
    CmRteHisU64NoRng(on(), 0, 31, his.reg);
    EXPECT_EQ(his.slot(2), (Words{0x51223344, 0x55667788}));
    EXPECT_EQ(his.slot(3), (Words{0, 0x80000000}));
    CmRteHisU64NoRng(on(), 0, 32, his.reg);
    EXPECT_EQ(his.slot(3), (Words{1, 0}));
    EXPECT_EQ(his.reg[8], 0u);
}

TEST(CmRteHis, TwoWordSlotsFreezeByTheFlagOfSlot0) {
    His<2> his;
    his.reg[0] = 1u << 30;
    CmRteHisU64NoRng(on(1), 7, 62, his.reg);
    EXPECT_EQ(his.slot(3), (Words{0, 0}));
    CmRteHisU64NoRng(on(1), 7, 30, his.reg); // the flag would be in W1
    EXPECT_EQ(his.slot(3), (Words{0, 0x40000007}));
    His<2> low;
    low.reg[1] = 1u << 30;
    CmRteHisU64NoRng(on(1), 7, 30, low.reg);
    EXPECT_EQ(low.slot(3), (Words{0, 0}));
}

TEST(CmRteHis, TwoWordRange) {
    const uint64_t mask = 0xff000000ff;
    struct {
        uint64_t key;
        bool captured;
    } const rows[] = {{0x0f000000ff, false}, {0x1000000007, false}, {0x1000000008, true}, {0xab10cccccc08, true},
                      {0x20ffffff04, true},  {0x2000000005, false}, {0x1fffffffff, true}};
    for (const auto &row : rows) {
        His<2> his;
        CmRteHisU64(on(), row.key, 63, 0x20, 4, 0x10, 8, &mask, his.reg);
        EXPECT_EQ(his.slot(3)[1], row.captured ? static_cast<uint32_t>(row.key) : 0) << std::hex << row.key;
        EXPECT_EQ(his.slot(3)[0] >> 31, row.captured) << std::hex << row.key;
    }
}

TEST(CmRteHis, ThreeWordSlotsDropTheHighWordOfTheFirstKey) {
    His<3> his;
    CmRteHisU96NoRng(on(), 0xdead000000000012, 0x1122334455667788, 88, his.reg);
    EXPECT_EQ(his.slot(3), (Words{0x01000012, 0x11223344, 0x55667788}));
    CmRteHisU96NoRng(on(), 0, 1, 64, his.reg);
    EXPECT_EQ(his.slot(3), (Words{1, 0, 1}));
    CmRteHisU96NoRng(on(), 0, 1, 96 + 5, his.reg); // 101 % 64 is 37: no flag
    EXPECT_EQ(his.slot(3), (Words{0, 0, 1}));
}

TEST(CmRteHis, ThreeWordSlotsLookForTheFlagByPositionButSetItInW0) {
    struct {
        uint32_t vldPos, word;
    } const rows[] = {{5, 2}, {37, 1}, {69, 0}};
    for (const auto &row : rows)
        for (uint32_t word = 0; word < 3; word++) {
            His<3> his;
            his.reg[word] = 1u << 5;
            CmRteHisU96NoRng(on(1), 0, 0x100, row.vldPos, his.reg);
            EXPECT_EQ(his.slot(3)[2], word == row.word ? 0u : 0x100u) << row.vldPos << " " << word;
        }
    // A position below 64: the flag goes into W0, where nobody looks for it, and mode 1 never freezes.
    His<3> his;
    for (uint32_t key = 1; key <= 5; key++)
        CmRteHisU96NoRng(on(1), 0, key << 8, 5, his.reg);
    EXPECT_EQ(his.slot(0), (Words{32, 0, 0x200}));
    EXPECT_EQ(his.slot(3), (Words{32, 0, 0x500}));
}

TEST(CmRteHis, ThreeWordRangeIsUnmasked) {
    const uint32_t hi[3] = {2, 0, 5}, lo[3] = {1, 7, 0};
    struct {
        uint64_t key0, key1;
        bool captured;
    } const rows[] = {{1, 0x6ffffffff, false}, {1, 0x700000000, true},  {2, 5, true},
                      {2, 6, false},           {2, 0x100000000, false}, {3, 0, false}};
    for (const auto &row : rows) {
        His<3> his;
        CmRteHisU96(on(), row.key0, row.key1, 80, hi, lo, his.reg);
        EXPECT_EQ(his.slot(3)[0], row.captured ? 0x10000 | row.key0 : 0) << row.key0 << " " << row.key1;
    }
}

TEST(CmRteHis, CmpU96ComparesFromTheFirstWordDown) {
    const uint32_t a[3] = {1, 2, 3};
    const uint32_t rows[][3] = {{1, 2, 3}, {1, 2, 2}, {1, 2, 4}, {1, 1, 9}, {1, 3, 0}, {0, 9, 9}, {2, 0, 0}};
    const int result[] = {0, 1, -1, 1, -1, 1, -1};
    for (size_t i = 0; i < 7; i++)
        EXPECT_EQ(CmpU96(a, rows[i]), result[i]) << i;
}

TEST(CmRteHis, FourWordSlots) {
    His<4> his;
    CmRteHisU128NoRng(on(), 0x0000000111111111, 0x2222222233333333, 112, his.reg);
    EXPECT_EQ(his.slot(3), (Words{0x00010001, 0x11111111, 0x22222222, 0x33333333}));
    struct {
        uint32_t vldPos, word;
    } const rows[] = {{16, 3}, {48, 2}, {80, 1}, {112, 0}, {144, 0}};
    for (const auto &row : rows)
        for (uint32_t word = 0; word < 4; word++) {
            His<4> frozen;
            frozen.reg[word] = 1u << 16;
            CmRteHisU128NoRng(on(1), 0, 0x100, row.vldPos, frozen.reg);
            EXPECT_EQ(frozen.slot(3)[3], word == row.word ? 0u : 0x100u) << row.vldPos << " " << word;
        }
    EXPECT_EQ(his.reg[16], 0u);
}

TEST(CmRteHis, FiveWordSlotsDropTheLowWordOfTheFirstKey) {
    His<5> his;
    CmRteHisU160NoRng(on(), 0x00000001deaddead, 0x2222222233333333, 0x4444444455555555, 157, his.reg);
    EXPECT_EQ(his.slot(3), (Words{0x20000001, 0x22222222, 0x33333333, 0x44444444, 0x55555555}));
    for (uint32_t word = 0; word < 5; word++) {
        His<5> frozen;
        frozen.reg[word] = 1u << 29;
        CmRteHisU160NoRng(on(1), 0, 0, 0x100, 157 - 32 * word, frozen.reg);
        EXPECT_EQ(frozen.slot(3)[4], 0u) << word;
        CmRteHisU160NoRng(on(1), 0, 0, 0x100, 156 - 32 * word, frozen.reg);
        EXPECT_EQ(frozen.slot(3)[4], 0x100u) << word;
    }
}

TEST(CmRteHis, FourteenWordSlots) {
    His<14> his;
    uint32_t key[14];
    std::iota(key, key + 14, 0x100u);
    RteHisUL3CtlMacTcam(on(), key, 13 * 32 + 4, his.reg);
    Words expected(key, key + 14);
    expected[0] |= 1u << 4;
    EXPECT_EQ(his.slot(3), expected);
    EXPECT_EQ(his.reg[56], 0u);
    for (uint32_t word = 0; word < 14; word++) {
        His<14> frozen;
        frozen.reg[word] = 1u << 4;
        RteHisUL3CtlMacTcam(on(1), key, (13 - word) * 32 + 5, frozen.reg);
        EXPECT_EQ(frozen.slot(3)[13], 0x10du) << word;
        His<14> again;
        again.reg[word] = 1u << 4;
        RteHisUL3CtlMacTcam(on(1), key, (13 - word) * 32 + 4, again.reg);
        EXPECT_EQ(again.slot(3)[13], 0u) << word;
    }
}

TEST(CmRteHis, ControlOfAFrame) {
    auto com = std::make_unique<CmRteHsiComReg>();
    com->rte_his_clr = 1;
    com->rte_his_mode = 2;
    com->rte_his_en = 3;
    auto stat = std::make_unique<CmRteStat>();
    stat->comRegPtr = com.get();
    stat->ingPhyPort = 4;
    const CmRteHisCtl ctl = hisCtl(stat.get());
    EXPECT_EQ(ctl.phyPort, 4u);
    EXPECT_EQ(ctl.rte_his_clr, 1u);
    EXPECT_EQ(ctl.rte_his_mode, 2u);
    EXPECT_EQ(ctl.rte_his_en, 3u);
}

TEST(CmRteHis, SlotsOfTheRegisterFileStandBehindOneAnother) {
    auto com = std::make_unique<CmRteHsiComReg>();
    EXPECT_EQ(&com->rte_his_l2_ctl_rslt[3], &com->rte_his_l2_ctl_rslt[0] + 3);
    EXPECT_EQ(&com->rte_his_l2_ctl_tcam_key[3][1], &com->rte_his_l2_ctl_tcam_key[0][0] + 7);
    EXPECT_EQ(&com->rte_his_csc_tcam_key[1][0], &com->rte_his_csc_tcam_key[0][0] + 3);
    EXPECT_EQ(&com->rte_his_l2_mac_tcam_key[3][3], &com->rte_his_l2_mac_tcam_key[0][0] + 15);
    EXPECT_EQ(&com->rte_his_l3_ipv6_mcuid_tcam_key[3][4], &com->rte_his_l3_ipv6_mcuid_tcam_key[0][0] + 19);
    EXPECT_EQ(&com->rte_his_l3_ctl_tcam_key[3][13], &com->rte_his_l3_ctl_tcam_key[0][0] + 55);
}

namespace {

/// A frame at port 3, which is on, and the registers.
struct Named {
    std::unique_ptr<CmRteHsiComReg> reg = std::make_unique<CmRteHsiComReg>();
    std::unique_ptr<CmRteStat> stat = std::make_unique<CmRteStat>();

    Named() {
        reg->rte_his_en = 1u << 3;
        stat->comRegPtr = reg.get();
        stat->ingPhyPort = 3;
    }
};

} // namespace

TEST(CmRteHisNamed, AddressIsKeptInItsRangeWithTheFlagsAboveIt) {
    Named n;
    n.reg->rte_lue_l2_ctl_rslt_addr_lo = 5;
    n.reg->rte_lue_l2_ctl_rslt_addr_hi = 6;
    capture(n.stat.get(), his::l2_ctl_rslt, 4);
    capture(n.stat.get(), his::l2_ctl_rslt, 7);
    EXPECT_EQ(n.reg->rte_his_l2_ctl_rslt[3], 0u);
    capture(n.stat.get(), his::l2_ctl_rslt, 5);
    capture(n.stat.get(), his::l2_ctl_rslt, 6, 1); // the flag does not count for the range
    EXPECT_EQ(n.reg->rte_his_l2_ctl_rslt[2], 0x10005u);
    EXPECT_EQ(n.reg->rte_his_l2_ctl_rslt[3], 0x10406u);

    n.reg->rte_his_en = ~(1u << 3);
    capture(n.stat.get(), his::l2_ctl_rslt, 5);
    EXPECT_EQ(n.reg->rte_his_l2_ctl_rslt[3], 0x10406u);
}

TEST(CmRteHisNamed, KeysStandAtTheLowEndOfTheirSlots) {
    Named n;
    const uint32_t key[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    capture(n.stat.get(), his::trill_mrb_tcam_key, key + 4, 1);
    EXPECT_EQ(n.reg->rte_his_trill_mrb_tcam_key[3], 0x10005u);
    capture(n.stat.get(), his::l2_ctl_tcam_key, key, 2);
    EXPECT_EQ(n.reg->rte_his_l2_ctl_tcam_key[3][0], 0x40000001u);
    EXPECT_EQ(n.reg->rte_his_l2_ctl_tcam_key[3][1], 2u);
    capture(n.stat.get(), his::typ_tcam_key, key, 2); // shorter than its slot
    EXPECT_EQ(n.reg->rte_his_typ_tcam_key[3][0], 1u);
    EXPECT_EQ(n.reg->rte_his_typ_tcam_key[3][1], 1u);
    EXPECT_EQ(n.reg->rte_his_typ_tcam_key[3][2], 2u);
    capture(n.stat.get(), his::csc_tcam_key, key, 4); // longer than its slot
    EXPECT_EQ(n.reg->rte_his_csc_tcam_key[3][0], 0x1000002u);
    EXPECT_EQ(n.reg->rte_his_csc_tcam_key[3][2], 4u);
    capture(n.stat.get(), his::l2_mac_tcam_key, key, 4);
    EXPECT_EQ(n.reg->rte_his_l2_mac_tcam_key[3][0], 0x10001u);
    EXPECT_EQ(n.reg->rte_his_l2_mac_tcam_key[3][3], 4u);
    capture(n.stat.get(), his::l3_ipv6_mcuid_tcam_key, key, 8);
    EXPECT_EQ(n.reg->rte_his_l3_ipv6_mcuid_tcam_key[3][0], 0x10004u);
    EXPECT_EQ(n.reg->rte_his_l3_ipv6_mcuid_tcam_key[3][1], 5u);
    EXPECT_EQ(n.reg->rte_his_l3_ipv6_mcuid_tcam_key[3][4], 8u);
    capture(n.stat.get(), his::l3_ctl_tcam_key, key, 16);
    EXPECT_EQ(n.reg->rte_his_l3_ctl_tcam_key[3][0], 0x10003u);
    EXPECT_EQ(n.reg->rte_his_l3_ctl_tcam_key[3][13], 16u);
}
