#include "hsi/cmRteHsiReg.h"

#include "base/cmUtl.h"
#include "random_words.h"
#include "reg_name.h"

#include <cstdio>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {

std::string printed(const std::function<void()> &fn) {
    testing::internal::CaptureStdout();
    fn();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

/// Bits `hi` to `lo` of a word, worked out bit by bit.
[[gnu::noinline]] uint32_t cut(uint32_t word, unsigned hi, unsigned lo) {
    uint32_t value = 0;
    for (unsigned b = lo; b <= hi; b++)
        value |= (word >> b & 1) << (b - lo);
    return value;
}

TEST(ComReg, WriteSplitsTheWordIntoItsFields) {
    CmRteHsiComReg reg{};
    EXPECT_EQ(CmRteHsiComRegWr(&reg, 0, 0x06000100, 0), 1);
    EXPECT_EQ(reg.rte_l2_dix_typ_min, 0x600u);
    EXPECT_EQ(reg.rte_l2_ieee_len_max, 0x100u);
}

TEST(ComReg, BitsOutsideTheFieldsReadBackAsZero) {
    CmRteHsiComReg reg{};
    CmRteHsiComRegWr(&reg, 0x50000, 0xffffffff, 0);
    uint32_t data = 0;
    EXPECT_EQ(CmRteHsiComRegRd(&reg, 0x50000, &data), 1);
    EXPECT_EQ(data, 0x07ff07ffu);
}

TEST(ComReg, OffsetsBetweenAndBehindTheRegistersAreUnknown) {
    auto reg = std::make_unique<CmRteHsiComReg>();
    std::memset(reg.get(), 0x5a, sizeof *reg);
    const auto before = std::make_unique<CmRteHsiComReg>(*reg);
    for (uint32_t offset : {0x1u, 0x2u, 0x3bcu, 0x3fcu, 0x3018u, 0x7ffcu}) {
        EXPECT_EQ(CmRteHsiComRegWr(reg.get(), offset, ~0u, 0), 0) << std::hex << offset;
        uint32_t data = 5;
        EXPECT_EQ(CmRteHsiComRegRd(reg.get(), offset, &data), 0);
        EXPECT_EQ(data, 0u) << "an unknown offset clears it";
    }
    EXPECT_EQ(std::memcmp(reg.get(), before.get(), sizeof *reg), 0);
    uint32_t data = 0;
    EXPECT_EQ(CmRteHsiComRegRd(reg.get(), 12308, &data), 1);
}

TEST(ComReg, AddressKeepsItsLowFifteenBits) {
    CmRteHsiComReg reg{};
    EXPECT_EQ(CmRteHsiComRegWr(&reg, 0xff58000, 0x06000100, 0), 1);
    EXPECT_EQ(reg.rte_l2_dix_typ_min, 0x600u);
}

TEST(ComReg, ReadOnlyRegisterKeepsWhatTheStagesWrote) {
    CmRteHsiComReg reg{};
    reg.rte_l2_sa_lrn_fifo_rd_0 = 0x1234;
    EXPECT_EQ(CmRteHsiComRegWr(&reg, 0x5010c, 0xffffffff, 0), 1);
    uint32_t data = 0;
    EXPECT_EQ(CmRteHsiComRegRd(&reg, 0x5010c, &data), 1);
    EXPECT_EQ(data, 0x1234u);
}

struct W1c {
    uint32_t addr;
    uint32_t CmRteHsiComReg::*field;
};

TEST(ComReg, WriteOneToClear) {
    const W1c list[] = {
        {0x50408, &CmRteHsiComReg::rte_lue_perr_int_en_clr_0}, {0x5040c, &CmRteHsiComReg::rte_lue_perr_int_en_clr_1},
        {0x50418, &CmRteHsiComReg::rte_lue_perr_int_status_0}, {0x5041c, &CmRteHsiComReg::rte_lue_perr_int_status_1},
        {0x50434, &CmRteHsiComReg::rte_lue_perr_outflag_0},    {0x50438, &CmRteHsiComReg::rte_lue_perr_outflag_1},
        {0x50440, &CmRteHsiComReg::rte_sts_perr_int_en_clr},   {0x50448, &CmRteHsiComReg::rte_sts_perr_int_status},
        {0x50458, &CmRteHsiComReg::rte_sts_perr_outflag},      {0x50460, &CmRteHsiComReg::rte_lue_eerr_int_en_clr},
        {0x50468, &CmRteHsiComReg::rte_lue_eerr_int_status},   {0x50478, &CmRteHsiComReg::rte_lue_eerr_outflag},
        {0x50484, &CmRteHsiComReg::rte_nor_int_en_clr},        {0x5048c, &CmRteHsiComReg::rte_nor_int_status},
        {0x504b0, &CmRteHsiComReg::rte_mac_err_int_en_clr},    {0x504b8, &CmRteHsiComReg::rte_mac_err_int_status},
        {0x504e0, &CmRteHsiComReg::rte_tcam_perr_int_en_clr},  {0x504e8, &CmRteHsiComReg::rte_tcam_perr_int_status},
        {0x504f8, &CmRteHsiComReg::rte_tcam_perr_outflag}};
    for (const W1c &reg : list) {
        CmRteHsiComReg com{};
        com.*reg.field = 0xff00ff0f;
        EXPECT_EQ(CmRteHsiComRegWr(&com, reg.addr, 0x80f0000f, 0), 1);
        EXPECT_EQ(com.*reg.field, 0x7f00ff00u) << std::hex << reg.addr;
    }
}

TEST(PortReg, WriteOneToClear) {
    for (const auto &[offset, field] : {std::pair{0xdcu, &CmRteHsiPortReg::rte_prc_debug_status},
                                        std::pair{0xe0u, &CmRteHsiPortReg::rte_roc_debug_status_0},
                                        std::pair{0xe4u, &CmRteHsiPortReg::rte_roc_debug_status_1}}) {
        CmRteHsiPortReg reg{};
        reg.*field = 0x0f;
        EXPECT_EQ(CmRteHsiPortRegWr(&reg, offset, 0xf1, 0, 0), 1);
        EXPECT_EQ(reg.*field, 0x0eu);
    }
}

TEST(PortReg, SflowCountTakesNoWrite) {
    CmRteHsiPortReg reg{};
    reg.rte_prc_port_sflw_cnt = 5;
    EXPECT_EQ(CmRteHsiPortRegWr(&reg, 0x5c, 0xffff, 0, 0), 1);
    EXPECT_EQ(reg.rte_prc_port_sflw_cnt, 5u);
}

TEST(PortReg, LastRegisterStandsAt228) {
    CmRteHsiPortReg reg{};
    uint32_t data = 0;
    EXPECT_EQ(CmRteHsiPortRegRd(&reg, 228, &data), 1);
    EXPECT_EQ(CmRteHsiPortRegRd(&reg, 232, &data), 0);
    EXPECT_EQ(CmRteHsiPortRegWr(&reg, 232, 0, 0, 0), 0);
    EXPECT_EQ(CmRteHsiPortRegWr(&reg, 0x402000, 1, 0, 0), 1);
    EXPECT_EQ(reg.rte_prc_l2_lrn_port, 1u);
}

TEST(TfeReg, HostAddressesStandInTheBlock) {
    auto reg = std::make_unique<CmTfeHsiComReg>();
    EXPECT_EQ(CmTfeHsiComRegWr(reg.get(), 0xa0030, 0xffffffff, 0), 1);
    EXPECT_EQ(reg->bank_prtcl_sel, 0x3ffffffu);
    EXPECT_EQ(CmTfeHsiComRegWr(reg.get(), 0xa0048, 0xffffffff, 0), 1);
    EXPECT_EQ(reg->fcoe_sa_srch_def_rslt_addr, 0xffffffu);
    EXPECT_EQ(CmTfeHsiComRegWr(reg.get(), 0xa004c, 0, 0), 0);
    EXPECT_EQ(CmTfeHsiComRegWr(reg.get(), 0xa0220, 0, 0), 0);
    uint32_t data = 7;
    EXPECT_EQ(CmTfeHsiComRegRd(reg.get(), 0xa0220, &data), 0);
    EXPECT_EQ(data, 0u);
}

// Each register of a family takes a random word; each field of it must hold its bits, and the read must give the word
// back with the bits of no field cleared. A read-only register keeps all of its fields and shows them to the host.

template <class Rec> struct FamilyCheck {
    RandomWords rng{4711};
    std::unique_ptr<Rec> rec = std::make_unique<Rec>();
    std::function<int(uint32_t, uint32_t)> wr;
    std::function<int(uint32_t, uint32_t *)> rd;

    void eachField(const std::vector<RegEntry> &regs) {
        for (const RegEntry &reg : regs) {
            SCOPED_TRACE(reg.name);
            if (reg.access == "W1C")
                continue;
            const uint32_t data = static_cast<uint32_t>(rng());
            uint32_t readBack = 0;
            if (reg.access == "RO") {
                for (const RegFld &fld : reg.flds)
                    regWords(*rec)[fld.word] = cut(data, fld.hi, fld.lo);
            }
            EXPECT_EQ(wr(reg.addr, reg.access == "RO" ? ~data : data), 1);
            for (const RegFld &fld : reg.flds) {
                EXPECT_EQ(regWords(*rec)[fld.word], cut(data, fld.hi, fld.lo)) << fld.name;
                readBack |= cut(data, fld.hi, fld.lo) << fld.lo;
            }
            uint32_t value = ~readBack;
            EXPECT_EQ(rd(reg.addr, &value), 1);
            EXPECT_EQ(value, readBack);
        }
    }
};

FamilyCheck<CmRteHsiComReg> comCheck() {
    FamilyCheck<CmRteHsiComReg> check;
    check.wr = [rec = check.rec.get()](uint32_t addr, uint32_t data) { return CmRteHsiComRegWr(rec, addr, data, 0); };
    check.rd = [rec = check.rec.get()](uint32_t addr, uint32_t *data) { return CmRteHsiComRegRd(rec, addr, data); };
    return check;
}
FamilyCheck<CmRteHsiPortReg> portCheck() {
    FamilyCheck<CmRteHsiPortReg> check;
    check.wr = [rec = check.rec.get()](uint32_t addr, uint32_t data) {
        return CmRteHsiPortRegWr(rec, addr, data, 3, 0);
    };
    check.rd = [rec = check.rec.get()](uint32_t addr, uint32_t *data) { return CmRteHsiPortRegRd(rec, addr, data); };
    return check;
}
FamilyCheck<CmTfeHsiComReg> tfeCheck() {
    FamilyCheck<CmTfeHsiComReg> check;
    check.wr = [rec = check.rec.get()](uint32_t addr, uint32_t data) { return CmTfeHsiComRegWr(rec, addr, data, 0); };
    check.rd = [rec = check.rec.get()](uint32_t addr, uint32_t *data) { return CmTfeHsiComRegRd(rec, addr, data); };
    return check;
}

TEST(ComReg, EachFieldOfEachRegister) {
    comCheck().eachField(comRegList());
}
TEST(PortReg, EachFieldOfEachRegister) {
    portCheck().eachField(portRegList());
}
TEST(TfeReg, EachFieldOfEachRegister) {
    tfeCheck().eachField(tfeRegList());
}

/// Fields of `regs`, and whether each word of the record's first fields is one of them, in order.
template <class Rec> size_t countFields(const std::vector<RegEntry> &regs) {
    std::vector<unsigned> owners(sizeof(Rec) / sizeof(uint32_t));
    size_t cnt = 0;
    for (const RegEntry &reg : regs) {
        for (const RegFld &fld : reg.flds) {
            EXPECT_EQ(owners.at(fld.word)++, 0u) << fld.name;
            cnt++;
        }
    }
    for (size_t word = 0; word < cnt; word++)
        EXPECT_EQ(owners[word], 1u) << word;
    return cnt;
}

TEST(RegLists, EachFieldHasItsWord) {
    EXPECT_EQ(comRegList().size(), 1507u);
    EXPECT_EQ(countFields<CmRteHsiComReg>(comRegList()), 2135u);
    EXPECT_EQ(portRegList().size(), 58u);
    EXPECT_EQ(countFields<CmRteHsiPortReg>(portRegList()), 481u);
}

// Elements of each shape of array, worked out by hand: the register's address, its word, and the element that it sets.

TEST(RegArrays, ElementsStandWhereTheChipHasThem) {
    const auto com = std::make_unique<CmRteHsiComReg>();
    const auto set = [&](uint32_t addr, uint32_t data) { EXPECT_EQ(CmRteHsiComRegWr(com.get(), addr, data, 0), 1); };
    set(0x50398, 0x12345678);
    EXPECT_EQ(com->rte_sflow_rate[15], 0x12345678u);
    set(0x523fc, 0x9abcdef0);
    EXPECT_EQ(com->rte_ipv6_pim_rp_addr[31][3], 0x9abcdef0u);
    set(0x52210, 0x11111111);
    EXPECT_EQ(com->rte_ipv6_pim_rp_addr[1][0], 0x11111111u);
    set(0x50080, 0x01020304);
    EXPECT_EQ(com->rte_tcpip_hsh_msk[4], 1u);
    EXPECT_EQ(com->rte_tcpip_hsh_msk[7], 4u);
    set(0x50084, 0x01000001);
    EXPECT_EQ(com->rte_tcpip_hsh_sort_src_dst[0], 0u);
    EXPECT_EQ(com->rte_tcpip_hsh_sort_src_dst[1], 1u);
    EXPECT_EQ(com->rte_tcpip_hsh_sort_src_dst[7], 1u);
    set(0x501c4, 0xaaaabbbb);
    EXPECT_EQ(com->trill_mcast_rb[2], 0xaaaau);
    EXPECT_EQ(com->trill_mcast_rb[3], 0xbbbbu);
    set(0x502b0, 0x77776666);
    EXPECT_EQ(com->l4_src_port_rng[31].hi, 0x7777u);
    EXPECT_EQ(com->l4_src_port_rng[31].lo, 0x6666u);
    set(0x50778, 0x0019abcd);
    set(0x5077c, 0x00fedcba);
    EXPECT_EQ(com->rte_l2_dbg[15].da_en, 1u);
    EXPECT_EQ(com->rte_l2_dbg[15].sa_en, 1u);
    EXPECT_EQ(com->rte_l2_dbg[15].idx, 0x1abcdu);
    EXPECT_EQ(com->rte_l2_dbg[15].port_msk, 0xfedcbau);
    // The second register of profile 1: bytes 2 and 3.
    set(0x528e4, 0x04410842);
    EXPECT_EQ(com->rte_flex_key[1][2].header, 0x11u);
    EXPECT_EQ(com->rte_flex_key[1][2].offset, 1u);
    EXPECT_EQ(com->rte_flex_key[1][3].header, 1u);
    EXPECT_EQ(com->rte_flex_key[1][3].offset, 2u);

    CmRteHsiPortReg port{};
    // The last of the sixteen: DSCP 60 to 63.
    EXPECT_EQ(CmRteHsiPortRegWr(&port, 0xc8, 0x5a0000e7, 0, 0), 1);
    EXPECT_EQ(port.rte_prc_l3_map[60].dp, 1u);
    EXPECT_EQ(port.rte_prc_l3_map[60].iwpri, 3u);
    EXPECT_EQ(port.rte_prc_l3_map[60].que_pri, 2u);
    EXPECT_EQ(port.rte_prc_l3_map[63].dp, 3u);
    EXPECT_EQ(port.rte_prc_l3_map[63].iwpri, 4u);
    EXPECT_EQ(port.rte_prc_l3_map[63].que_pri, 7u);
}

TEST(RegArrays, NamesCarryTheNumbers) {
    const auto at = [](uint32_t addr, const char *name) {
        const std::optional<HsiFieldDef> field = hsiFindField(addr, name);
        return field ? std::pair<int, int>(field->hi, field->lo) : std::pair<int, int>(-1, -1);
    };
    using Bits = std::pair<int, int>;
    EXPECT_EQ(at(0x50398, "rte_sflow_rate_15"), Bits(31, 0));
    EXPECT_EQ(at(0x50398, "rte_sflow_rate_14"), Bits(-1, -1)) << "stands in the register before";
    EXPECT_EQ(at(0x50398, "rte_sflow_rate_{n}"), Bits(-1, -1));
    EXPECT_EQ(at(0x523fc, "rte_ipv6_pim_rp_addr_31_w3"), Bits(31, 0));
    EXPECT_EQ(at(0x50080, "rte_tcpip_hsh_msk_5"), Bits(23, 16));
    EXPECT_EQ(at(0x50084, "rte_tcpip_hsh_sort_src_dst_6"), Bits(4, 4));
    EXPECT_EQ(at(0x502b0, "l4_src_port_rng_lo_31"), Bits(15, 0));
    EXPECT_EQ(at(0x5077c, "rte_l2_dbg_port_msk_15"), Bits(23, 0));
    EXPECT_EQ(at(0x528e4, "rte_flex_key_offset_1_3"), Bits(5, 0));
    EXPECT_EQ(at(0x528e4, "rte_flex_key_header_1_2"), Bits(26, 22));
    EXPECT_EQ(at(0x4020c8, "rte_prc_l3_iwpri_3_15"), Bits(5, 3));
    EXPECT_EQ(at(0x402070, "rte_prc_l2_dp_0_1"), Bits(31, 30));
}

// All other addresses of a block, those behind its last register included, are nobody's.

template <class Rec> void othersAreUnknown(FamilyCheck<Rec> check, const std::vector<RegEntry> &regs, uint32_t size) {
    std::vector<bool> known(size);
    for (const RegEntry &reg : regs)
        known[reg.addr % size] = true;
    std::memset(check.rec.get(), 0x5a, sizeof(Rec));
    const auto before = std::make_unique<Rec>(*check.rec);
    uint32_t unknown = 0;
    for (uint32_t offset = 0; offset < size; offset++) {
        if (known[offset])
            continue;
        unknown++;
        uint32_t value = 5;
        EXPECT_EQ(check.wr(offset, ~0u), 0) << std::hex << offset;
        EXPECT_EQ(check.rd(offset, &value), 0) << std::hex << offset;
        EXPECT_EQ(value, 0u) << std::hex << offset;
    }
    EXPECT_EQ(unknown, size - regs.size());
    EXPECT_EQ(std::memcmp(check.rec.get(), before.get(), sizeof(Rec)), 0);
}

TEST(ComReg, AllOtherAddressesAreUnknown) {
    othersAreUnknown(comCheck(), comRegList(), 0x8000);
}
TEST(PortReg, AllOtherAddressesAreUnknown) {
    othersAreUnknown(portCheck(), portRegList(), 0x1000);
}
TEST(TfeReg, AllOtherAddressesAreUnknown) {
    othersAreUnknown(tfeCheck(), tfeRegList(), 0x8000);
}

TEST(RegTrace, ShowsEachFieldFromTheHighBitsToTheLow) {
    CmRteHsiComReg reg{};
    EXPECT_EQ(printed([&] { CmRteHsiComRegWr(&reg, 0x50000, 0x06000100, 1); }),
              "           RTE_L2_TYP_LEN                   <= 0x06000100\n"
              "  [26:16]  rte_l2_dix_typ_min               <= 0x600\n"
              "  [10: 0]  rte_l2_ieee_len_max              <= 0x100\n"
              "\n");
}

TEST(RegTrace, AnArraysRegistersAndFieldsShowTheirNumbers) {
    const auto com = std::make_unique<CmRteHsiComReg>();
    EXPECT_EQ(printed([&] { CmRteHsiComRegWr(com.get(), 0x528e4, 0x04410842, 1); }),
              "           RTE_FLEX_KEY_PROFILE_1_1         <= 0x04410842\n"
              "  [26:22]  rte_flex_key_header_1_2          <= 0x11\n"
              "  [21:16]  rte_flex_key_offset_1_2          <= 0x1\n"
              "  [10: 6]  rte_flex_key_header_1_3          <= 0x1\n"
              "  [ 5: 0]  rte_flex_key_offset_1_3          <= 0x2\n"
              "\n");
    EXPECT_EQ(printed([&] { CmRteHsiComRegWr(com.get(), 0x52204, 7, 1); }),
              "           RTE_IPV6_PIM_RP_ADDR_0_W1        <= 0x00000007\n"
              "  [31: 0]  rte_ipv6_pim_rp_addr_0_w1        <= 0x7\n"
              "\n");
}

TEST(RegTrace, OneBitFieldShowsOneNumber) {
    CmRteHsiPortReg reg{};
    EXPECT_EQ(printed([&] { CmRteHsiPortRegWr(&reg, 0x10, 1, 7, 1); }),
              "  port=07  RTE_PRC_MAC_CLS_CTL              <= 0x00000001\n"
              "  [    0]  rte_prc_mac_cls_profile          <= 0x1\n"
              "\n");
}

TEST(RegTrace, ReadOnlyRegisterShowsNoField) {
    CmRteHsiComReg reg{};
    EXPECT_EQ(printed([&] { CmRteHsiComRegWr(&reg, 0x5010c, 0xabc, 1); }),
              "           RTE_L2_SA_LRN_FIFO_RD_0          <= 0x00000abc\n"
              "\n");
}

TEST(RegTrace, TfeHasTheSameShape) {
    auto reg = std::make_unique<CmTfeHsiComReg>();
    EXPECT_EQ(printed([&] { CmTfeHsiComRegWr(reg.get(), 0xa0000, 3, 1); }),
              "           TFE_CTRL_REG                     <= 0x00000003\n"
              "  [    0]  tfe_tcam_bgrd_hw_init            <= 0x1\n"
              "\n");
}

TEST(RegTrace, UnknownOffsetAndQuietWritePrintNothing) {
    CmRteHsiComReg reg{};
    EXPECT_EQ(printed([&] {
                  CmRteHsiComRegWr(&reg, 0x50001, 1, 1);
                  CmRteHsiComRegWr(&reg, 0x50000, 1, 0);
              }),
              "");
}

TEST(RegInit, CommonRegistersTakeTheirResetValues) {
    CmRteHsiComReg reg;
    std::memset(&reg, 0xff, sizeof reg);
    CmRteHsiComRegInit(&reg);
    EXPECT_EQ(reg.rte_l2_dix_typ_min, 0u);
    EXPECT_EQ(reg.rte_l2_ieee_len_max, 0x5dcu);
    EXPECT_EQ(reg.rte_l2_ipv4_etyp, 0x800u);
    EXPECT_EQ(reg.rte_l2_ipv6_etyp, 0x86ddu);
    EXPECT_EQ(reg.rte_l2_vlan_etyp, 0x8100u);
    EXPECT_EQ(reg.rte_l2_ctl_vid, 0x1fffu);
    EXPECT_EQ(reg.rte_l3_ipv4_mcast_mac_prefix, 0x1005eu);
    EXPECT_EQ(reg.rte_trap_drop_mru, 0x3fffu);
    EXPECT_EQ(reg.rte_prc_tcpip_hsh_val_0, 0xb352u);
    EXPECT_EQ(reg.rte_prc_tcpip_hsh_val_1, 0x7a1au);
    EXPECT_EQ(reg.rte_l2_lrn_lip_hsh_val, 0xecb1876bu);
    EXPECT_EQ(reg.rte_tae_ipv6_exm_hsh_val, 0x1809u);
    EXPECT_EQ(reg.rte_l2_sa_lrn_inf_not_emp, 0u);
    EXPECT_EQ(reg.rte_l2_da_lrn_inf_wr_ptr, 0u);
    uint32_t notZero = 0;
    for (uint32_t i = 0; i < sizeof reg / 4; i++)
        notZero += reinterpret_cast<const uint32_t *>(&reg)[i] != 0;
    EXPECT_EQ(notZero, 56u);
}

TEST(RegInit, PortRegistersHaveTwoEthertypes) {
    CmRteHsiPortReg reg;
    std::memset(&reg, 0xff, sizeof reg);
    CmRteHsiPortRegInit(&reg);
    CmRteHsiPortReg expected{};
    expected.rte_prc_stag_etyp = 0x88a8;
    expected.rte_prc_ctag_etyp = 0x8100;
    EXPECT_EQ(std::memcmp(&reg, &expected, sizeof reg), 0);
}

TEST(RegInit, TfeRegistersAreZero) {
    CmTfeHsiComReg reg;
    std::memset(&reg, 0xff, sizeof reg);
    CmTfeHsiComRegInit(&reg);
    const CmTfeHsiComReg expected{};
    EXPECT_EQ(std::memcmp(&reg, &expected, sizeof reg), 0);
}

TEST(FindField, ByChipAddressAndName) {
    std::optional<HsiFieldDef> field = hsiFindField(0x50000, "rte_l2_ieee_len_max");
    ASSERT_TRUE(field);
    EXPECT_EQ(field->hi, 10);
    EXPECT_EQ(field->lo, 0);
    field = hsiFindField(0x4b2000, "rte_prc_l2_lu_en");
    ASSERT_TRUE(field);
    EXPECT_EQ(field->hi, 11);
    EXPECT_EQ(field->lo, 11);
    field = hsiFindField(0xa0030, "bank_prtcl_sel");
    ASSERT_TRUE(field);
    EXPECT_EQ(field->hi, 25);
    EXPECT_EQ(field->lo, 0);
}

TEST(FindField, FirstAndLastRegisters) {
    EXPECT_TRUE(hsiFindField(0x50000, "rte_l2_dix_typ_min"));
    EXPECT_TRUE(hsiFindField(0x53014, "rte_dma_stat_1"));
    EXPECT_TRUE(hsiFindField(0x402000, "rte_prc_l2_lu_en"));
    EXPECT_TRUE(hsiFindField(0x4b20e4, "rte_roc_debug_status_1"));
    EXPECT_TRUE(hsiFindField(0xa0000, "tfe_tcam_bgrd_hw_init"));
    EXPECT_TRUE(hsiFindField(0xa021c, "tfe_actv_fcoe_srch_err_addr_reg"));
}

TEST(FindField, OtherRegistersAndNamesAreUnknown) {
    EXPECT_FALSE(hsiFindField(0, "rte_prc_l2_lu_en"));
    EXPECT_FALSE(hsiFindField(0x50000, ""));
    EXPECT_FALSE(hsiFindField(0x50001, "rte_l2_ieee_len_max"));
    EXPECT_FALSE(hsiFindField(0x400000, "rte_prc_l2_lu_en"));
    EXPECT_FALSE(hsiFindField(0x4c2000, "rte_prc_l2_lu_en")) << "behind the last port";
    EXPECT_FALSE(hsiFindField(0x602000, "rte_prc_l2_lu_en"));
    EXPECT_FALSE(hsiFindField(0x50000, "rte_l2_ipv4_etyp")) << "a field of the next register";
    EXPECT_FALSE(hsiFindField(0x50000, "rte_l2_ieee_len"));
    EXPECT_FALSE(hsiFindField(0x503bc, "rte_l2_ieee_len_max"));
    EXPECT_FALSE(hsiFindField(0x2800000, "rte_l2_ieee_len_max"));
    EXPECT_FALSE(hsiFindField(0x403000, "rte_prc_l2_lu_en"));
    EXPECT_FALSE(hsiFindField(0x58000, "rte_l2_ieee_len_max"));
}

} // namespace
