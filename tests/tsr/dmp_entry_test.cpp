// Entries and registers of the image by name, within its bounds.

// Before the shorthands of the image, one of which has the name of a row form.
#include "dmp_entry.h"
#include "hsi_word.h"

#include "chip_image.h"

#include <gtest/gtest.h>

namespace {

constexpr size_t kImageWords = sizeof(tsr_dmp_t) / 4;

/// The word of the image at which the row at byte `base` starts.
constexpr size_t wordOf(size_t base) {
    return base / 4;
}

TEST(DmpEntry, CountsEntriesByTheirWords) {
    ChipImage chip;
    chip.set(DMP(iqs_span_edit), 2 * 8 + 0, 5u << 7);
    chip.set(DMP(iqs_span_edit), 2 * 8 + 1, 0x1234u << 18);
    chip.set(DMP(iqs_span_edit), 2 * 8 + 2, 0x7654321u << 1 | 1);
    const auto edit = dmpEntry<IqsSpanEdit>(chip.get(), 2);
    EXPECT_EQ(edit.routed, 5u);
    EXPECT_EQ(edit.egr_ivid, 0x1234u);
    EXPECT_EQ(edit.vpnid, 0x7654321u);
    EXPECT_EQ(edit.vpnid_en, 1u);
}

TEST(DmpEntry, StartsAtAnyWordOfItsRow) {
    ChipImage chip;
    chip.set(DMP(iqs_mac_da_vid_mem), 65, 0x0123'aabb);
    chip.set(DMP(iqs_mac_da_vid_mem), 66, 0x0200'5e10);
    const auto da = dmpEntryAtWord<IqsMacDa>(chip.get(), 65);
    EXPECT_EQ(da.egr_ivid, 0x123u);
    EXPECT_EQ(da.mac_da, 0x0200'5e10'aabbu);
    EXPECT_EQ(macUpper(da.mac_da), 0x0200'5e10u);
    EXPECT_EQ(macLower(da.mac_da), 0xaabbu);
}

TEST(DmpEntry, ReadsOnBehindItsRow) {
    ChipImage chip;
    constexpr size_t rowWords = sizeof(tsr_dmp_t::eqs_egr_lgid) / 4;
    chip.set(DMP(eqs_egr_lgid), rowWords + 3, 0x5a5);
    const auto lgid = dmpEntry<EqsEgrLgid>(chip.get(), rowWords + 3);
    EXPECT_EQ(lgid.lgid_vld, 1u);
    EXPECT_EQ(lgid.lgid, 0x1a5u);
}

TEST(DmpEntry, WordsPastTheImageAreZero) {
    ChipImage chip;
    chip.set(0, kImageWords - 1, 0xabcd'ffff);
    const size_t row = wordOf(DMP(iqs_mac_da_vid_mem));
    const auto last = dmpEntryAtWord<IqsMacDa>(chip.get(), kImageWords - 1 - row);
    EXPECT_EQ(last.egr_ivid, 0xabcdu);
    EXPECT_EQ(last.mac_da, 0xffffu);
    const auto past = dmpEntryAtWord<IqsMacDa>(chip.get(), kImageWords - row);
    EXPECT_EQ(past.egr_ivid, 0u);
    EXPECT_EQ(past.mac_da, 0u);
}

TEST(DmpEntry, IsWrittenWithNothingBetweenItsFields) {
    ChipImage chip;
    chip.set(DMP(eqs_fit_mem), 6, 0x1111'1111).set(DMP(eqs_fit_mem), 7, 0xffff'ffff).set(DMP(eqs_fit_mem), 8, 0x2222);
    setDmpEntry(chip.get(), 7, EqsFit{0x1'8001});
    EXPECT_EQ(chip.get(DMP(eqs_fit_mem), 6), 0x1111'1111u);
    EXPECT_EQ(chip.get(DMP(eqs_fit_mem), 7), 0x8001u);
    EXPECT_EQ(chip.get(DMP(eqs_fit_mem), 8), 0x2222u);
}

TEST(DmpEntry, IsNotWrittenPastTheImage) {
    ChipImage chip;
    chip.set(0, kImageWords - 1, 7);
    const size_t row = wordOf(DMP(eqs_fit_mem));
    setDmpEntry(chip.get(), kImageWords - row, EqsFit{9});
    setDmpEntry(chip.get(), ~0ull / 4, EqsFit{9});
    EXPECT_EQ(chip.get(0, kImageWords - 1), 7u);
    setDmpEntry(chip.get(), kImageWords - row - 1, EqsFit{9});
    EXPECT_EQ(chip.get(0, kImageWords - 1), 9u);
}

TEST(DmpEntry, RegistersOfPortsAndOfFourPorts) {
    ChipImage chip;
    chip.setPort(5, PORT(emc_outer_vlan), 1u << 28 | 0x88a8u << 12 | 0x321);
    chip.setPort(5, PORT(emc_egr_dscp_remap) + 4 * 9, 0x2a);
    chip.setQuad(2, QUAD(emc_pim_ipv4_cfg), 103u << 8 | 64);
    const auto vlan = dmpPortEntry<EmcOuterVlan>(chip.get(), 5);
    EXPECT_EQ(vlan.need_trill_tag, 1u);
    EXPECT_EQ(vlan.tpid, 0x88a8u);
    EXPECT_EQ(vlan.vid, 0x321u);
    EXPECT_EQ(dmpPortEntry<EmcDscpRemap>(chip.get(), 5, 9).dscp, 0x2au);
    const auto pim = dmpQuadEntry<EmcPimIpv4Cfg>(chip.get(), 2);
    EXPECT_EQ(pim.protocol, 103u);
    EXPECT_EQ(pim.ttl, 64u);
    EXPECT_EQ(dmpPortEntry<EmcOuterVlan>(chip.get(), 0xffff'ffff).tpid, 0u);
    EXPECT_EQ(dmpQuadEntry<EmcPimIpv4Cfg>(chip.get(), 0x3fff'ffff).ttl, 0u);
}

TEST(DmpEntry, RegistersOfPortsBehindTheLastReadOn) {
    ChipImage chip;
    chip.setPort(31, PORT(emc_cfg), 0x400);
    EXPECT_EQ(dmpPortEntry<EmcCfg>(chip.get(), 31).seq_hdr_en, 1u);
    EXPECT_EQ(dmpPortEntry<EmcCfg>(chip.get(), 30).seq_hdr_en, 0u);
}

TEST(DmpEntry, AFieldMayKeepItsPlace) {
    ChipImage chip;
    chip.set(DMP(iqs_span_edit), 0, 0xffff'ffff);
    const auto words = dmpEntryWords<IqsSpanEdit>(chip.get());
    EXPECT_EQ(inPlace<&IqsSpanEdit::rcv_trill>(words), 0x2000'0000u);
    EXPECT_EQ(inPlace<&IqsSpanEdit::dont_touch_en>(words), 1u);
    EXPECT_EQ(inPlace<&IqsSpanEdit::routed>(words), 7u << 7);
    EXPECT_EQ(inPlace<&IqsSpanEdit::vpnid_en>(words), 0u);
}

TEST(DmpEntry, NoElementBehindTheLast) {
    constexpr std::array<uint32_t, 3> fields{1, 2, 3};
    EXPECT_EQ(element(fields, 2), 3u);
    EXPECT_EQ(element(fields, 3), 0u);
    EXPECT_EQ(element(fields, ~0ull), 0u);
}

TEST(HsiWord, CommonAndPortRegistersByName) {
    ChipImage chip;
    chip.set(DMP(rte_l2_trill_cfg_0), 0, 0x22f3'1234);
    chip.setPort(3, PORT(rte_prc_l2_trill_ctl), 0xffff'ffff);
    chip.setPort(3, PORT(rte_prc_trill_exp_out_sa) + 4, 0xcafe'0001);
    using Cfg = comReg::RTE_L2_TRILL_CFG_0;
    const auto cfg = dmpComReg<Cfg>(chip.get());
    EXPECT_EQ(cfg.word, 0x22f3'1234u);
    EXPECT_EQ(cfg[Cfg::rte_l2_trill_etyp], 0x22f3u);
    EXPECT_EQ(cfg[Cfg::rte_l2_trill_addr], 0x1234u);
    using Ctl = portReg::RTE_PRC_L2_TRILL_CTL0;
    EXPECT_EQ(dmpPortReg<Ctl>(chip.get(), 3).inPlace(Ctl::rte_prc_l2_trill_en), 0x80000u);
    EXPECT_EQ(dmpPortReg<portReg::RTE_PRC_L2_TRILL_EXP_OUTER_SA_1>(chip.get(), 3).word, 0xcafe'0001u);
}

/// Whether the word of register `Reg` has the field of `Other` at `field`.
template <class Reg, class Field> constexpr bool kHasField = requires(RegWord<Reg> word, Field field) {
    word[field];
};

static_assert(kHasField<comReg::RTE_L2_TRILL_CFG_0, decltype(comReg::RTE_L2_TRILL_CFG_0::rte_l2_trill_etyp)>);
static_assert(!kHasField<comReg::RTE_L2_TRILL_CFG_0, decltype(portReg::RTE_PRC_VLAN_ETYP::rte_prc_stag_etyp)>,
              "a field of another register does not compile");

// A register's word is found by its chip address: of a register, of an element of an array, and none in a gap.
constexpr size_t portOffsetOf(uint32_t addr) {
    return dmpOffsetOf(addr, static_cast<const tsr_ephy_dmp_t *>(nullptr));
}
static_assert(portOffsetOf(0x2c) == PORT(emc_outer_vlan));
static_assert(portOffsetOf(0x300 + 4 * 63) == PORT(emc_egr_dscp_remap) + 4 * 63);
static_assert(portOffsetOf(0x28) == kNoDmpOffset);

TEST(BitRange, TakesKeepsAndFits) {
    constexpr BitRange field{11, 8};
    EXPECT_EQ(field.width(), 4u);
    EXPECT_EQ(field.of(0xfffff5ff), 5u);
    EXPECT_EQ(field.inPlace(0xfffff5ff), 0x500u);
    EXPECT_EQ(field.fit(0x1234), 4u);
    constexpr BitRange word{31, 0};
    EXPECT_EQ(word.fit(0xdeadbeef), 0xdeadbeefu);
}

} // namespace
