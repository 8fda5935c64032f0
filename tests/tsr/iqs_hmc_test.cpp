// The ingress queue stage and the MAC-side ingress stage.

#include "chip_image.h"
#include "hmc.h"
#include "iqs.h"
#include "random_words.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

// ---- IQS
// -------------------------------------------------------------------------------------------------------------

class Iqs : public testing::Test {
protected:
    Iqs() {
        // Span index k: the VPN word tells which edit was read, the destination word which destination.
        for (uint32_t k = 0; k < 8; k++) {
            chip.set(DMP(iqs_span_edit), 8 * k + 2, (k + 1) << 1);
            chip.set(DMP(iqs_span_dest__reg), k, 0x100 + k);
        }
    }
    hmc_hdr_t &enqueue() {
        shim_t shim{};
        EXPECT_EQ(iqs_ingress_proc(nullptr, 0, &shim, &side, chip.get()), 0);
        return side.iqs_hmc_hdr;
    }
    void expectSpan(uint32_t k) {
        EXPECT_NE(enqueue().span, 0u);
        EXPECT_EQ(side.iqs_hmc_hdr.vpnid, k + 1);
        EXPECT_EQ(side.iqs_hmc_hdr.mgid, 0x100 + k);
    }

    ChipImage chip;
    iqs_side_band_t side{};
};

TEST_F(Iqs, AnElbFrameIsASpanCopyByItsOwnBits) {
    side.tsq_iqs_elb = 1;
    for (uint32_t k = 0; k < 8; k++) {
        side.frm_data[1] = 1u << 11 | k << 4;
        expectSpan(k);
    }
    side.frm_data[1] = ~(1u << 11);
    EXPECT_EQ(enqueue().span, 0u);
}

TEST_F(Iqs, AnElbFrameWithoutSpanGetsNoAddresses) {
    chip.set(DMP(iqs_mac_da_vid_mem), 0, 0xffffffff).set(DMP(iqs_fcoe_sa_mac_tbl), 0, 0xffffffff);
    side.tsq_iqs_elb = 1;
    const hmc_hdr_t &hdr = enqueue();
    EXPECT_EQ(hdr.mac_da1, 0u);
    EXPECT_EQ(hdr.mac_sa1, 0u);
    EXPECT_EQ(hdr.vpnid, 0u);
}

TEST_F(Iqs, TheRteSpanComesBeforeTheIngressSpan) {
    for (uint32_t k = 0; k < 8; k++) {
        side.frm_data[1] = 1u << 12 | k << 13 | 1u << 8 | (7 - k) << 9;
        expectSpan(k);
        side.frm_data[1] = 1u << 8 | k << 9 | (7 - k) << 13;
        expectSpan(k);
    }
}

TEST_F(Iqs, LooksUpTheAddressesOfAnOrdinaryFrame) {
    side.iqs_hmc_hdr.egr_ivid_en = 1;
    side.iqs_hmc_hdr.drop = 1;
    // d = 11: word 64 * 11 + 3 = 707; s = 5: word 4 * 5 + 1 = 21.
    side.frm_data[0] = 11;
    side.frm_data[1] = 5u << 22;
    chip.set(DMP(iqs_mac_da_vid_mem), 707, 0x01234567).set(DMP(iqs_mac_da_vid_mem), 708, 0x89abcdef);
    chip.set(DMP(iqs_fcoe_sa_mac_tbl), 21, 0xaaaa1357).set(DMP(iqs_fcoe_sa_mac_tbl), 22, 0x2468ace0);
    const hmc_hdr_t &hdr = enqueue();
    EXPECT_EQ(hdr.span, 0u);
    EXPECT_EQ(hdr.egr_ivid_en, 0u);
    EXPECT_EQ(hdr.drop, 0u);
    EXPECT_EQ(hdr.egr_ivid, 0x0123u);
    EXPECT_EQ(hdr.mac_da1, 0x4567u);
    EXPECT_EQ(hdr.mac_da, 0x89abcdefu);
    EXPECT_EQ(hdr.mac_sa1, 0x1357u);
    EXPECT_EQ(hdr.mac_sa, 0x2468ace0u);
}

TEST_F(Iqs, ReadsOnBehindTheTablesAndNothingBehindTheImage) {
    // d = 4096: word 64 * 4096 = 262144, the first behind the memory's 262144 words.
    side.frm_data[0] = 4096;
    chip.set(DMP(eqs_evt_mem), 0, 0x00120034);
    ASSERT_EQ(DMP(eqs_evt_mem), DMP(iqs_mac_da_vid_mem) + 262144 * 4);
    EXPECT_EQ(enqueue().mac_da1, 0x34u);
    EXPECT_EQ(side.iqs_hmc_hdr.egr_ivid, 0x12u);

    side.frm_data[0] = 0x7ffff;
    side.frm_data[1] = 0x3ffu << 22;
    EXPECT_EQ(enqueue().mac_da, 0u);
    EXPECT_EQ(side.iqs_hmc_hdr.mac_da1, 0u);
}

TEST_F(Iqs, IndexFieldsLeaveOtherBitsOut) {
    // d is the low 19 bits of the first word, s the upper ten of the second.
    side.frm_data[0] = 0xfff80000;
    side.frm_data[1] = 0x003f0000 | 0xfe | 0x600;
    chip.set(DMP(iqs_mac_da_vid_mem), 1, 0x77).set(DMP(iqs_fcoe_sa_mac_tbl), 1, 0x88);
    EXPECT_EQ(enqueue().mac_da, 0x77u);
    EXPECT_EQ(side.iqs_hmc_hdr.mac_sa, 0x88u);
}

TEST_F(Iqs, OneBitFieldsOfASpanEditKeepTheirPlace) {
    struct Row {
        uint32_t hmc_hdr_t::*field;
        unsigned bit;
    };
    const Row rows[] = {
        {&hmc_hdr_t::rcv_trill, 29},      {&hmc_hdr_t::rcv_trill_en, 28}, {&hmc_hdr_t::trill_mc, 27},
        {&hmc_hdr_t::trill_mc_en, 26},    {&hmc_hdr_t::drop_prcd_en, 23}, {&hmc_hdr_t::mct_sbr_vld, 22},
        {&hmc_hdr_t::mct_sbr_vld_en, 21}, {&hmc_hdr_t::ecn_en, 18},       {&hmc_hdr_t::is_cn_tag, 17},
        {&hmc_hdr_t::is_cn_tag_en, 16},   {&hmc_hdr_t::is_stag, 15},      {&hmc_hdr_t::is_stag_en, 14},
        {&hmc_hdr_t::is_ctag, 13},        {&hmc_hdr_t::is_ctag_en, 12},   {&hmc_hdr_t::byps_eacl, 11},
        {&hmc_hdr_t::byps_eacl_en, 10},   {&hmc_hdr_t::routed_en, 6},     {&hmc_hdr_t::lossless_to, 5},
        {&hmc_hdr_t::lossless_to_en, 4},  {&hmc_hdr_t::pim_decap, 3},     {&hmc_hdr_t::pim_decap_en, 2},
        {&hmc_hdr_t::dont_touch, 1},      {&hmc_hdr_t::dont_touch_en, 0},
    };
    side.frm_data[1] = 1u << 12; // span index 0
    for (const Row &row : rows) {
        chip.set(DMP(iqs_span_edit), 0, 1u << row.bit);
        const hmc_hdr_t &hdr = enqueue();
        for (const Row &other : rows)
            EXPECT_EQ(hdr.*other.field, other.bit == row.bit ? 1u << row.bit : 0) << row.bit << ' ' << other.bit;
        EXPECT_EQ(hdr.drop_prcd | hdr.ecn | hdr.routed, 0u);
    }
}

TEST_F(Iqs, OtherFieldsOfASpanEditAreShiftedDown) {
    side.frm_data[1] = 1u << 12;
    chip.set(DMP(iqs_span_edit), 0, 3u << 24);
    EXPECT_EQ(enqueue().drop_prcd, 3u);
    chip.set(DMP(iqs_span_edit), 0, 3u << 19);
    EXPECT_EQ(enqueue().ecn, 3u);
    chip.set(DMP(iqs_span_edit), 0, 7u << 7);
    EXPECT_EQ(enqueue().routed, 7u);
    chip.set(DMP(iqs_span_edit), 1, 0xfffc0000);
    EXPECT_EQ(enqueue().egr_ivid, 0x3fffu);
    EXPECT_EQ(side.iqs_hmc_hdr.egr_ivid_en, 0u);
    chip.set(DMP(iqs_span_edit), 1, 0x0003ffff);
    EXPECT_EQ(enqueue().egr_ivid, 0u);
    EXPECT_EQ(side.iqs_hmc_hdr.egr_ivid_en, 1u);
    chip.set(DMP(iqs_span_edit), 2, 0xfffffffe);
    EXPECT_EQ(enqueue().vpnid, 0x7fffffffu);
    EXPECT_EQ(side.iqs_hmc_hdr.vpnid_en, 0u);
    chip.set(DMP(iqs_span_edit), 2, 1);
    EXPECT_EQ(enqueue().vpnid, 0u);
    EXPECT_EQ(side.iqs_hmc_hdr.vpnid_en, 1u);
}

TEST_F(Iqs, TheSpanDestinationGivesGroupPriorityAndMulticast) {
    side.frm_data[1] = 1u << 12;
    chip.set(DMP(iqs_span_dest__reg), 0, 0xffe8ffff);
    EXPECT_EQ(enqueue().mgid, 0xffffu);
    EXPECT_EQ(side.iqs_hmc_hdr.egid, 0xffffu);
    EXPECT_EQ(side.iqs_hmc_hdr.priority, 0u);
    EXPECT_EQ(side.iqs_hmc_hdr.mcast, 0u);
    chip.set(DMP(iqs_span_dest__reg), 0, 0x00170000);
    EXPECT_EQ(enqueue().mgid, 0u);
    EXPECT_EQ(side.iqs_hmc_hdr.egid, 0u);
    EXPECT_EQ(side.iqs_hmc_hdr.priority, 7u);
    EXPECT_NE(side.iqs_hmc_hdr.mcast, 0u);
}

TEST_F(Iqs, TheEditOfAHighIndexIsReadBehindTheTable) {
    side.frm_data[1] = 1u << 12 | 3u << 13;
    chip.set(DMP(iqs_tmo_mode_pri), 0, 1u << 1); // word 24 of the 24-word edit table
    ASSERT_EQ(DMP(iqs_tmo_mode_pri), DMP(iqs_span_edit) + 96);
    EXPECT_EQ(enqueue().dont_touch, 2u);
}

// ---- HMC
// -------------------------------------------------------------------------------------------------------------

class Hmc : public testing::Test {
protected:
    Hmc() : frm(160, 0x55), hdr(side.iqs_hmc_hdr) {
        hdr.mac_da = 0x01020304;
        hdr.mac_da1 = 0xffff0506;
        hdr.mac_sa = 0xffff0708;
        hdr.mac_sa1 = 0x090a0b0c;
    }
    void run() { EXPECT_EQ(hmc_ingress_proc(frm.data(), 64, &shim, &side, chip.get()), 0); }
    /// The frame is the old one but for the twelve bytes at `place`.
    void expectRewritten(size_t place, std::vector<uint8_t> before) {
        for (uint8_t i = 0; i < 12; i++)
            before[place + i] = static_cast<uint8_t>(i + 1);
        EXPECT_EQ(frm, before);
    }

    ChipImage chip;
    shim_t shim{};
    std::vector<uint8_t> frm;
    iqs_side_band_t side{};
    hmc_hdr_t &hdr;
};

TEST_F(Hmc, StampsTheChipAndRewritesTheAddresses) {
    chip.set(DMP(eqs_zirk_id), 0, 0xffffffc5); // six bits reach the shim
    const std::vector<uint8_t> before = frm;
    run();
    EXPECT_EQ(shim.ing_chip, 5u);
    EXPECT_EQ(shim.routed, 2u);
    expectRewritten(0, before);
}

TEST_F(Hmc, LeavesAFrameThatMustNotBeTouched) {
    shim.dont_touch = 1;
    shim.routed = 5;
    const std::vector<uint8_t> before = frm;
    run();
    EXPECT_EQ(shim.routed, 5u);
    EXPECT_EQ(frm, before);
}

TEST_F(Hmc, FindsTheInnerAddressesOfATrillFrame) {
    struct Row {
        std::vector<uint8_t> etyp; // from offset 12
        size_t place;
    };
    const Row rows[] = {
        {{0x81, 0x00, 0x00, 0x01, 0x22, 0xf3, 0xf8, 0x3f}, 24}, // all but the options' length
        {{0x81, 0x00, 0x00, 0x01, 0x22, 0xf3, 0x00, 0x40}, 36},
        {{0x81, 0x00, 0x00, 0x01, 0x22, 0xf3, 0x04, 0x00}, 36},
        {{0x81, 0x00, 0x00, 0x01, 0x08, 0x00, 0x04, 0x00}, 0},
        {{0x22, 0xf3, 0xf8, 0x3f}, 20},
        {{0x22, 0xf3, 0x00, 0x40}, 32},
        {{0x22, 0xf3, 0x04, 0x00}, 32},
        {{0x08, 0x00, 0x00, 0x00, 0x22, 0xf3}, 0},
    };
    for (const Row &row : rows) {
        std::fill(frm.begin(), frm.end(), 0x55);
        std::copy(row.etyp.begin(), row.etyp.end(), frm.begin() + 12);
        const std::vector<uint8_t> before = frm;
        run();
        expectRewritten(row.place, before);
    }
}

TEST_F(Hmc, SteersAMulticastSpanCopy) {
    hdr.span = 1;
    hdr.mcast = 1u << 20;
    hdr.mgid = 0xabcd;
    hdr.egid = 0xabcd;
    hdr.priority = 6;
    hdr.ecn = 2;
    shim.w1_15_14 = 3;
    shim.is_mgid = 1;
    run();
    EXPECT_EQ(shim.ing_port, 33u);
    EXPECT_EQ(shim.q_pri, 6u);
    EXPECT_EQ(shim.w2_16_0, 0xabcdu);
    EXPECT_EQ(shim.w1_15_14, 0u); // the edit is not enabled
    EXPECT_EQ(shim.egid, 0x3cdu); // eleven bits
    EXPECT_EQ(shim.is_mgid, 0u);  // only bit 0 of the stored flag
    hdr.ecn_en = 1u << 18;
    run();
    EXPECT_EQ(shim.w1_15_14, 2u);
}

TEST_F(Hmc, SteersAUnicastSpanCopy) {
    hdr.span = 1;
    hdr.mgid = hdr.egid = 0x123;
    hdr.priority = 5;
    shim.w1_15_14 = 3;
    shim.is_mgid = 1;
    shim.w2_16_0 = 0x1ffff;
    run();
    EXPECT_EQ(shim.ing_port, 33u);
    EXPECT_EQ(shim.q_pri, 5u);
    EXPECT_EQ(shim.egid, 0x123u);
    EXPECT_EQ(shim.w2_16_0, 0x123u);
    EXPECT_EQ(shim.is_mgid, 0u);
    EXPECT_EQ(shim.w1_15_14, 3u);
}

TEST_F(Hmc, AnOrdinaryFrameKeepsItsShim) {
    std::memset(&hdr, 0xff, sizeof hdr); // every edit enabled
    hdr.span = 0;
    hdr.egr_ivid_en = 0;
    shim.egr_ivid = 0x77;
    shim.vpn_id = 0x66;
    shim.is_mgid = 1;
    shim.ing_port = 4;
    shim.w2_16_0 = 0x99;
    shim.trill_mc = 1;
    run();
    EXPECT_EQ(shim.egr_ivid, 0x77u);
    EXPECT_EQ(shim.vpn_id, 0x66u);
    EXPECT_EQ(shim.is_mgid, 1u);
    EXPECT_EQ(shim.ing_port, 4u);
    EXPECT_EQ(shim.w2_16_0, 0x99u);
    EXPECT_EQ(shim.trill_mc, 1u);
    hdr.egr_ivid_en = 1;
    run();
    EXPECT_EQ(shim.egr_ivid, 0x1fffu); // 13 bits, and no span needed
}

struct EditRow {
    const char *name;
    uint32_t hmc_hdr_t::*value;
    uint32_t hmc_hdr_t::*enable;
    uint32_t shim_t::*field;
    uint32_t stored, expected, fieldOnes;
};

TEST_F(Hmc, AppliesEnabledEditsAndClearsOneBitFields) {
    const EditRow rows[] = {
        {"vpnid", &hmc_hdr_t::vpnid, &hmc_hdr_t::vpnid_en, &shim_t::vpn_id, 0x7ff12345, 0x12345, 0xfffff},
        {"trill_dbr", &hmc_hdr_t::trill_dbr, &hmc_hdr_t::trill_dbr_en, &shim_t::trill_da, 0x71234, 0x1234, 0xffff},
        {"trill_mc", &hmc_hdr_t::trill_mc, &hmc_hdr_t::trill_mc_en, &shim_t::trill_mc, 1u << 27, 0, 1},
        {"drop_prcd", &hmc_hdr_t::drop_prcd, &hmc_hdr_t::drop_prcd_en, &shim_t::drop_prcd, 2, 2, 3},
        {"mct_sbr_vld", &hmc_hdr_t::mct_sbr_vld, &hmc_hdr_t::mct_sbr_vld_en, &shim_t::mct_srbridge_vld, 1u << 22, 0, 1},
        {"ecn", &hmc_hdr_t::ecn, &hmc_hdr_t::ecn_en, &shim_t::w1_15_14, 2, 2, 3},
        {"is_cn_tag", &hmc_hdr_t::is_cn_tag, &hmc_hdr_t::is_cn_tag_en, &shim_t::rcv_cn_tagged, 1u << 17, 0, 1},
        {"is_stag", &hmc_hdr_t::is_stag, &hmc_hdr_t::is_stag_en, &shim_t::rcv_s_tagged, 1u << 15, 0, 1},
        {"is_ctag", &hmc_hdr_t::is_ctag, &hmc_hdr_t::is_ctag_en, &shim_t::rcv_inner_tagged, 1u << 13, 0, 1},
        {"byps_eacl", &hmc_hdr_t::byps_eacl, &hmc_hdr_t::byps_eacl_en, &shim_t::byp_eacl, 1u << 11, 0, 1},
        {"routed", &hmc_hdr_t::routed, &hmc_hdr_t::routed_en, &shim_t::routed, 5, 5, 7},
        {"lossless_to", &hmc_hdr_t::lossless_to, &hmc_hdr_t::lossless_to_en, &shim_t::lossless_to, 1u << 5, 0, 1},
        {"pim_decap", &hmc_hdr_t::pim_decap, &hmc_hdr_t::pim_decap_en, &shim_t::pim_decap, 1u << 3, 0, 1},
    };
    for (const EditRow &row : rows) {
        for (const uint32_t enable : {0u, 1u << 18}) {
            shim = {};
            shim.dont_touch = 1; // keeps `routed` as the edit leaves it
            shim.*row.field = row.fieldOnes;
            hdr = {};
            hdr.span = 1;
            hdr.*row.value = row.stored;
            hdr.*row.enable = enable;
            run();
            EXPECT_EQ(shim.*row.field, enable ? row.expected : row.fieldOnes) << row.name;
        }
    }
}

TEST_F(Hmc, AnEnabledDontTouchClearsItAndTheFrameIsEdited) {
    hdr.span = 1;
    hdr.dont_touch = 2;
    shim.dont_touch = 1;
    const std::vector<uint8_t> before = frm;
    run();
    EXPECT_EQ(shim.dont_touch, 1u);
    EXPECT_EQ(frm, before);
    hdr.dont_touch_en = 1;
    run();
    EXPECT_EQ(shim.dont_touch, 0u);
    expectRewritten(0, before);
}

TEST_F(Hmc, DoesNotApplyRcvTrill) {
    hdr.span = 1;
    hdr.rcv_trill = 0;
    hdr.rcv_trill_en = 1u << 28;
    shim.rcv_trill = 1;
    run();
    EXPECT_EQ(shim.rcv_trill, 1u);
}

TEST_F(Hmc, ChecksumsTheShimBeforeItIsMarkedRouted) {
    // Word 0 is 0 when the checksum is taken; `routed` 2 would add bit 21.
    shim.w5_7_0 = 0;
    shim.routed = 0;
    chip.set(DMP(eqs_zirk_id), 0, 0); // word 1 too
    shim.egr_ivid = 8;                // word 3: 1, 2, 4, 8
    run();
    EXPECT_EQ(shim.w5_7_0, 0x0fu);
    EXPECT_EQ(shim.routed, 2u);
}

TEST_F(Hmc, AnIngressSpanCopyGoesThroughBothStages) {
    side.frm_data[1] = 1u << 8 | 2u << 9; // i_span, index 2
    chip.set(DMP(iqs_span_dest__reg), 2, 0x00030044);
    chip.set(DMP(iqs_span_edit), 16, 5u << 7 | 1u << 6); // routed 5
    iqs_ingress_proc(frm.data(), 64, &shim, &side, chip.get());
    shim.dont_touch = 1;
    run();
    EXPECT_EQ(shim.ing_port, 33u);
    EXPECT_EQ(shim.egid, 0x44u);
    EXPECT_EQ(shim.q_pri, 3u);
    EXPECT_EQ(shim.routed, 5u);
}

TEST(HmcRobustness, AnyFrameAndAnyImageStayWithinTheBuffer) {
    ChipImage chip;
    chip.randomise(7);
    RandomWords random(11);
    for (uint32_t len = 0; len <= 250; len++) {
        std::vector<uint8_t> frm(len + 100);
        for (uint32_t i = 0; i < len; i++)
            frm[i] = static_cast<uint8_t>(random());
        if (len > 13 && len % 2) {
            frm[12] = 0x22;
            frm[13] = 0xf3;
        }
        iqs_side_band_t side{};
        side.frm_data[0] = random();
        side.frm_data[1] = len % 3 ? static_cast<uint32_t>(random()) : random() & 0xffffeeff;
        side.tsq_iqs_elb = len % 5 == 0;
        shim_t shim{};
        const std::vector<uint8_t> before = frm;
        iqs_ingress_proc(frm.data(), len, &shim, &side, chip.get());
        hmc_ingress_proc(frm.data(), len, &shim, &side, chip.get());
        EXPECT_TRUE(std::equal(before.begin() + 48, before.end(), frm.begin() + 48));
        EXPECT_EQ(shim.routed, 2u); // nothing that a span edit stores can keep the frame from being edited
    }
}

} // namespace
