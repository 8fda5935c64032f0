// The layouts of what the stages round the forwarding engine read from the image.

// Before the shorthands of the image, one of which has the name of a row form.
#include "entry_layout.h"

#include "chip_image.h"
#include "cm_glue.h"
#include "emc.h"
#include "eqs.h"
#include "hmc.h"
#include "iqs.h"

#include <gtest/gtest.h>
#include <random>

namespace {

const std::vector<EntryKind> kKinds = {
    KIND(EsmEgid, "esm_cam_egid_table", "", 1),
    KIND(EsmEgidBp, "esm_cam_egid_tablebp", "", 1),
    KIND(IqsMacDa, "iqs_mac_da_vid_mem", "", 2),
    KIND(IqsMacSa, "iqs_fcoe_sa_mac_tbl", "", 2),
    KIND(IqsSpanEdit, "iqs_span_edit", "", 8),
    KIND(IqsSpanDest, "iqs_span_dest__reg", "", 1),
    KIND(EqsPhy2Log, "eqs_phy2log_map", "", 1),
    KIND(EqsZirkId, "eqs_zirk_id", "", 1),
    KIND(EqsSprChkCtrl, "eqs_spr_chk_ctrl", "", 1),
    KIND(EqsEgrLgid, "eqs_egr_lgid", "", 1),
    KIND(EqsEvt, "eqs_evt_mem", "", 1),
    KIND(EqsMrt, "eqs_mrt_mem", "", 1),
    KIND(EqsVpt, "eqs_vpt_mem", "", 1),
    KIND(EqsTcm, "eqs_tcm_mem", "", 2),
    KIND(EqsTrt, "eqs_trt_mem", "", 1),
    KIND(EqsPit, "eqs_pit_mem", "", 1),
    KIND(EqsFit, "eqs_fit_mem", "", 1),
    KIND(EqsPetIpv4, "eqs_pet_mem", "", 8),
    KIND(EqsPetIpv6, "eqs_pet_mem", "", 8),
    KIND(EqsPetIpv6Next, "eqs_pet_mem", "", 8),
    KIND(EqsIngrLag, "eqs_ingr_lag_tbl", "", 1),
    KIND(EmcCfg, "emc_cfg", "", 1),
    KIND(EmcOuterVlan, "emc_outer_vlan", "", 1),
    KIND(EmcPriDpRemap, "emc_egr_pri_dp_remap", "", 1),
    KIND(EmcConfig3, "emc_config3_q", "", 1),
    KIND(EmcRouterMacSaHi, "emc_router_mac_sa_hi_q", "", 1),
    KIND(EmcRouterMacSaLo, "emc_router_mac_sa_lo_q", "", 1),
    KIND(EmcDefTrillOpt, "emc_def_trill_opt_q", "", 1),
    KIND(EmcDscpRemap, "emc_egr_dscp_remap", "", 1),
    KIND(EmcComReg0, "emc_com_reg0", "", 1),
    KIND(EmcComReg2, "emc_com_reg2", "", 1),
    KIND(EmcPimIpv4Cfg, "emc_pim_ipv4_cfg", "", 1),
    KIND(EmcPimIpv6Cfg, "emc_pim_ipv6_cfg0", "", 1),
    KIND(EmcPimCfg, "emc_pim_cfg0", "", 1),
};

std::vector<EntryBits> places() {
    std::vector<EntryBits> list = {
        BITS(EsmEgidBp, egid, 0, 31, 0),
        BITS(EsmEgid, egid, 0, 31, 0),
        BITS(IqsMacDa, egr_ivid, 0, 31, 16),
        PIECE(IqsMacDa, mac_da, 0, 0, 15, 0),
        PIECE(IqsMacDa, mac_da, 16, 1, 31, 0),
        BITS(IqsMacSa, mac_sa1, 0, 15, 0),
        BITS(IqsMacSa, mac_sa, 1, 31, 0),
        BITS(IqsSpanEdit, rcv_trill, 0, 29, 29),
        BITS(IqsSpanEdit, rcv_trill_en, 0, 28, 28),
        BITS(IqsSpanEdit, trill_mc, 0, 27, 27),
        BITS(IqsSpanEdit, trill_mc_en, 0, 26, 26),
        BITS(IqsSpanEdit, drop_prcd, 0, 25, 24),
        BITS(IqsSpanEdit, drop_prcd_en, 0, 23, 23),
        BITS(IqsSpanEdit, mct_sbr_vld, 0, 22, 22),
        BITS(IqsSpanEdit, mct_sbr_vld_en, 0, 21, 21),
        BITS(IqsSpanEdit, ecn, 0, 20, 19),
        BITS(IqsSpanEdit, ecn_en, 0, 18, 18),
        BITS(IqsSpanEdit, is_cn_tag, 0, 17, 17),
        BITS(IqsSpanEdit, is_cn_tag_en, 0, 16, 16),
        BITS(IqsSpanEdit, is_stag, 0, 15, 15),
        BITS(IqsSpanEdit, is_stag_en, 0, 14, 14),
        BITS(IqsSpanEdit, is_ctag, 0, 13, 13),
        BITS(IqsSpanEdit, is_ctag_en, 0, 12, 12),
        BITS(IqsSpanEdit, byps_eacl, 0, 11, 11),
        BITS(IqsSpanEdit, byps_eacl_en, 0, 10, 10),
        BITS(IqsSpanEdit, routed, 0, 9, 7),
        BITS(IqsSpanEdit, routed_en, 0, 6, 6),
        BITS(IqsSpanEdit, lossless_to, 0, 5, 5),
        BITS(IqsSpanEdit, lossless_to_en, 0, 4, 4),
        BITS(IqsSpanEdit, pim_decap, 0, 3, 3),
        BITS(IqsSpanEdit, pim_decap_en, 0, 2, 2),
        BITS(IqsSpanEdit, dont_touch, 0, 1, 1),
        BITS(IqsSpanEdit, dont_touch_en, 0, 0, 0),
        BITS(IqsSpanEdit, egr_ivid, 1, 31, 18),
        BITS(IqsSpanEdit, egr_ivid_en, 1, 0, 0),
        BITS(IqsSpanEdit, vpnid, 2, 31, 1),
        BITS(IqsSpanEdit, vpnid_en, 2, 0, 0),
        BITS(IqsSpanDest, priority, 0, 18, 16),
        BITS(IqsSpanDest, mgid, 0, 15, 0),
        BITS(IqsSpanDest, egid, 0, 15, 0),
        BITS(IqsSpanDest, mcast, 0, 20, 20),
        BITS(EqsZirkId, zirk_id, 0, 31, 0),
        BITS(EqsZirkId, ing_chip, 0, 5, 0),
        ELEM(EqsPhy2Log, elp, 0, 0, 4, 0),
        ELEM(EqsPhy2Log, elp, 1, 0, 12, 8),
        ELEM(EqsPhy2Log, elp, 2, 0, 20, 16),
        ELEM(EqsPhy2Log, elp, 3, 0, 28, 24),
        BITS(EqsVpt, transparent_vlan, 0, 19, 19),
        BITS(EqsVpt, vpn, 0, 19, 0),
        BITS(EqsTcm, elp, 0, 23, 19),
        BITS(EqsTcm, vpn, 0, 19, 0),
        BITS(EqsTrt, vpn_vld, 0, 20, 20),
        BITS(EqsTrt, vpn, 0, 19, 0),
        BITS(EqsPit, final_eivid, 0, 12, 0),
        BITS(EqsMrt, mtu, 0, 13, 0),
        BITS(EqsFit, pim_cnt, 0, 15, 0),
        BITS(EqsEgrLgid, lgid_vld, 0, 10, 10),
        BITS(EqsEgrLgid, lgid, 0, 9, 0),
        BITS(EqsEvt, vlan_drop_even, 0, 12, 12),
        BITS(EqsEvt, vlan_drop_odd, 0, 28, 28),
        BITS(EqsEvt, egr_sup_dis_even, 0, 4, 4),
        BITS(EqsEvt, egr_sup_dis_odd, 0, 0, 0),
        BITS(EqsEvt, vpn_drop_inner_even, 0, 3, 3),
        BITS(EqsEvt, vpn_drop_inner_odd, 0, 9, 9),
        BITS(EqsEvt, vpn_drop_stag_even, 0, 5, 5),
        BITS(EqsEvt, vpn_drop_stag_odd, 0, 1, 1),
        PIECE(EqsEvt, vpn_drop, 0, 0, 5, 5), // 0x20
        PIECE(EqsEvt, vpn_drop, 1, 0, 4, 4),
        PIECE(EqsEvt, vpn_drop, 2, 0, 3, 3),
        PIECE(EqsEvt, vpn_drop, 3, 0, 2, 2),
        PIECE(EqsEvt, vpn_drop, 4, 0, 1, 1),
        PIECE(EqsEvt, vpn_drop, 5, 0, 0, 0),
        PIECE(EqsEvt, vpn_drop, 6, 0, 9, 9), // 0x200
        PIECE(EqsEvt, vpn_drop, 7, 0, 8, 8),
        BITS(EqsEvt, wired_eivid_odd, 0, 30, 15),
        BITS(EqsEvt, wired_eivid_even, 0, 15, 0),
        PIECE(EqsPetIpv4, mac_da, 16, 0, 31, 0),
        PIECE(EqsPetIpv4, mac_da, 0, 1, 15, 0),
        BITS(EqsPetIpv4, dbr_id, 1, 30, 15),
        BITS(EqsPetIpv4, ipv4_da, 2, 31, 0),
        BITS(EqsPetIpv4, ipv4_sa, 3, 31, 0),
        BITS(EqsPetIpv4, m_bit, 4, 1, 1),
        BITS(EqsPetIpv4, b_bit, 4, 0, 0),
        BITS(EqsPetIpv4, trill_da, 5, 31, 0),
        PIECE(EqsPetIpv6, mac_da, 16, 0, 31, 0),
        PIECE(EqsPetIpv6, mac_da, 0, 1, 15, 0),
        BITS(EqsPetIpv6, dbr_id, 1, 30, 15),
        BITS(EqsPetIpv6, flow_id, 2, 19, 0),
        BITS(EqsPetIpv6, m_bit, 2, 30, 30),
        BITS(EqsPetIpv6, b_bit, 2, 31, 31),
        PIECE(EqsPetIpv6, ipv6_sa, 96, 3, 31, 0),
        PIECE(EqsPetIpv6, ipv6_sa, 64, 4, 31, 0),
        PIECE(EqsPetIpv6, ipv6_sa, 32, 5, 31, 0),
        PIECE(EqsPetIpv6, ipv6_sa, 0, 6, 31, 0),
        PIECE(EqsPetIpv6Next, ipv6_da, 96, 0, 31, 0),
        PIECE(EqsPetIpv6Next, ipv6_da, 64, 1, 31, 0),
        PIECE(EqsPetIpv6Next, ipv6_da, 32, 2, 31, 0),
        PIECE(EqsPetIpv6Next, ipv6_da, 0, 3, 31, 0),
        BITS(EqsPetIpv6Next, trill_da, 4, 30, 15),
        BITS(EqsIngrLag, lgid, 0, 24, 15),
        BITS(EqsIngrLag, trill_sa, 0, 15, 0),
        BITS(EmcOuterVlan, need_trill_tag, 0, 28, 28),
        BITS(EmcCfg, seq_hdr_en, 0, 10, 10), // 0x400
        BITS(EmcPriDpRemap, stag_pri_remap, 0, 31, 31),
        BITS(EmcPriDpRemap, stag_dp_remap, 0, 29, 29),
        BITS(EmcPriDpRemap, ctag_pri_remap, 0, 30, 30),
        BITS(EmcPriDpRemap, ctag_dp_remap, 0, 28, 28),
        BITS(EmcPimIpv6Cfg, next_hdr, 0, 15, 8),
        BITS(EmcPimIpv6Cfg, hop_limit, 0, 7, 0),
        BITS(EmcPimIpv4Cfg, ttl, 0, 7, 0),
        BITS(EmcPimIpv4Cfg, protocol, 0, 15, 8),
        BITS(EmcPimCfg, pim_ver, 0, 31, 28),
        BITS(EmcPimCfg, pim_typ, 0, 27, 24),
        BITS(EmcPimCfg, pim_rsvd, 0, 15, 8),
        BITS(EmcComReg0, vsan_ttl, 0, 11, 4),
        BITS(EmcOuterVlan, tpid, 0, 27, 12),
        BITS(EmcOuterVlan, vid, 0, 11, 0),
        BITS(EmcComReg2, trill_opt_len, 0, 9, 6),
        BITS(EmcComReg2, trill_hop_cnt, 0, 5, 0),
        BITS(EmcDefTrillOpt, def_trill_opt, 0, 6, 1),
        BITS(EmcRouterMacSaHi, router_mac_sa_hi, 0, 31, 0),
        BITS(EmcRouterMacSaLo, router_mac_sa_lo, 0, 15, 0),
        BITS(EmcDscpRemap, dscp, 0, 5, 0),
    };
    for (unsigned i = 0; i < 32; i++)
        list.push_back(ELEM(EqsSprChkCtrl, spr_chk_dis, i, 0, i, i));
    for (unsigned i = 0; i < 8; i++)
        list.push_back(ELEM(EmcConfig3, cn_tag_rmv, i, 0, 16 + i, 16 + i));
    return list;
}

TEST(TblEgr, EveryFieldStandsAtItsPlace) {
    checkEntryLayouts(kKinds, places());
}

TEST(TblEgr, RowsAreThoseOfTheDump) {
    checkEntryRows(kKinds);
}

TEST(TblEgr, TheListHasTheseEntries) {
    EXPECT_EQ(typesThatDiffer(TblList::EGR, kKinds), "");
}

TEST(TblEgr, MemoriesWithoutALayoutAreListed) {
    checkOpaqueRow("iqs_txp_stat_mem", "", 2);
    checkOpaqueRow("eqs_lnk_list_mem", "", 1);
    checkOpaqueRow("eqs_tcs_mem", "", 1);
    checkOpaqueRow("emc_eps_stat_ram", "", 2);
    checkOpaqueRow("hmc_eps_stat_ram", "", 1);
}

TEST(TblEgr, TheFrameChoosesTheTunnelsForm) {
    for (const auto &[type, kind] :
         {std::pair{"EqsPetIpv4", "ipv4"}, std::pair{"EqsPetIpv6", "ipv6"}, std::pair{"EqsPetIpv6Next", "ipv6_next"}}) {
        const TblDesc &desc = findEntry(type);
        EXPECT_EQ(desc.form.kind, TblForm::FRAME);
        EXPECT_STREQ(desc.form.field, kind);
    }
}

// ---- As the stages read them ----

class TblEgrStage : public testing::Test {
protected:
    TblEgrStage() { eqs_init(); }

    uint32_t random() { return static_cast<uint32_t>(engine()); }

    /// A random entry, put into the image at flat word `idx` behind `base`.
    template <class Entry> Entry put(size_t base, size_t idx) {
        uint32_t words[Entry::kWords];
        for (size_t i = 0; i < Entry::kWords; i++) {
            words[i] = random();
            chip.set(base, idx + i, words[i]);
        }
        return entryAt<Entry>(words);
    }
    /// The same for an entry of one word in the registers of a port, or of four ports.
    template <class Entry> Entry putPort(uint32_t port, size_t field) {
        const uint32_t word = random();
        chip.setPort(port, field, word);
        return entryAt<Entry>(&word);
    }
    template <class Entry> Entry putQuad(uint32_t quad, size_t field) {
        const uint32_t word = random();
        chip.setQuad(quad, field, word);
        return entryAt<Entry>(&word);
    }
    template <class Entry> void putEntry(size_t base, size_t idx, const Entry &entry) {
        uint32_t words[Entry::kWords] = {};
        pack(entry, words);
        for (size_t i = 0; i < Entry::kWords; i++)
            chip.set(base, idx + i, words[i]);
    }
    int runEqs() {
        return eqs_egress_proc(frm.data(), static_cast<uint32_t>(frm.size()), &shim, &eqsSide, chip.get(), 0);
    }
    std::vector<uint8_t> runEmc(const std::vector<uint8_t> &in) {
        uint8_t **out = nullptr;
        uint32_t *len = nullptr;
        EXPECT_EQ(emc_egress_proc(in.data(), static_cast<uint32_t>(in.size()), &shim, &emcSide, &out, &len, chip.get()),
                  0);
        std::vector<uint8_t> frame(out[0], out[0] + len[0]);
        emc_free_frames(out, len, 1);
        return frame;
    }
    static uint64_t num(const std::vector<uint8_t> &bytes, size_t pos, size_t n) {
        uint64_t value = 0;
        for (size_t i = 0; i < n; i++)
            value = value << 8 | bytes.at(pos + i);
        return value;
    }

    std::mt19937 engine{11};
    ChipImage chip;
    std::vector<uint8_t> frm = std::vector<uint8_t>(64);
    shim_t shim{};
    iqs_side_band_t iqsSide{};
    eqs_side_band_t eqsSide{};
    emc_side_band_t emcSide{};
};

TEST_F(TblEgrStage, NewAddressesOfARoutedFrame) {
    // Index 16 stands at word 1024, source index 8 at word 32.
    const IqsMacDa da = put<IqsMacDa>(DMP(iqs_mac_da_vid_mem), 1024);
    const IqsMacSa sa = put<IqsMacSa>(DMP(iqs_fcoe_sa_mac_tbl), 32);
    iqsSide.frm_data[0] = 16;
    iqsSide.frm_data[1] = 8u << 22;
    iqs_ingress_proc(nullptr, 0, &shim, &iqsSide, chip.get());
    EXPECT_EQ(iqsSide.iqs_hmc_hdr.egr_ivid, da.egr_ivid);
    const EqsZirkId zirk = put<EqsZirkId>(DMP(eqs_zirk_id), 0);
    hmc_ingress_proc(frm.data(), 64, &shim, &iqsSide, chip.get());
    EXPECT_EQ(shim.ing_chip, zirk.ing_chip);
    EXPECT_EQ(num(frm, 0, 6), da.mac_da);
    EXPECT_EQ(num(frm, 6, 2), sa.mac_sa & 0xffff);
    EXPECT_EQ(num(frm, 8, 4), sa.mac_sa1);
}

TEST_F(TblEgrStage, SpanEdits) {
    for (uint32_t round = 0; round < 50; round++) {
        const uint32_t span = round % 8;
        const IqsSpanEdit edit = put<IqsSpanEdit>(DMP(iqs_span_edit), 8 * span);
        const IqsSpanDest dest = put<IqsSpanDest>(DMP(iqs_span_dest__reg), span);
        iqsSide.frm_data[1] = 1u << 8 | span << 9;
        iqs_ingress_proc(nullptr, 0, &shim, &iqsSide, chip.get());
        const hmc_hdr_t &hdr = iqsSide.iqs_hmc_hdr;
        EXPECT_EQ(hdr.rcv_trill != 0, edit.rcv_trill != 0);
        EXPECT_EQ(hdr.rcv_trill_en != 0, edit.rcv_trill_en != 0);
        EXPECT_EQ(hdr.trill_mc != 0, edit.trill_mc != 0);
        EXPECT_EQ(hdr.trill_mc_en != 0, edit.trill_mc_en != 0);
        EXPECT_EQ(hdr.drop_prcd, edit.drop_prcd);
        EXPECT_EQ(hdr.drop_prcd_en != 0, edit.drop_prcd_en != 0);
        EXPECT_EQ(hdr.mct_sbr_vld != 0, edit.mct_sbr_vld != 0);
        EXPECT_EQ(hdr.mct_sbr_vld_en != 0, edit.mct_sbr_vld_en != 0);
        EXPECT_EQ(hdr.ecn, edit.ecn);
        EXPECT_EQ(hdr.ecn_en != 0, edit.ecn_en != 0);
        EXPECT_EQ(hdr.is_cn_tag != 0, edit.is_cn_tag != 0);
        EXPECT_EQ(hdr.is_cn_tag_en != 0, edit.is_cn_tag_en != 0);
        EXPECT_EQ(hdr.is_stag != 0, edit.is_stag != 0);
        EXPECT_EQ(hdr.is_stag_en != 0, edit.is_stag_en != 0);
        EXPECT_EQ(hdr.is_ctag != 0, edit.is_ctag != 0);
        EXPECT_EQ(hdr.is_ctag_en != 0, edit.is_ctag_en != 0);
        EXPECT_EQ(hdr.byps_eacl != 0, edit.byps_eacl != 0);
        EXPECT_EQ(hdr.byps_eacl_en != 0, edit.byps_eacl_en != 0);
        EXPECT_EQ(hdr.routed, edit.routed);
        EXPECT_EQ(hdr.routed_en != 0, edit.routed_en != 0);
        EXPECT_EQ(hdr.lossless_to != 0, edit.lossless_to != 0);
        EXPECT_EQ(hdr.lossless_to_en != 0, edit.lossless_to_en != 0);
        EXPECT_EQ(hdr.pim_decap != 0, edit.pim_decap != 0);
        EXPECT_EQ(hdr.pim_decap_en != 0, edit.pim_decap_en != 0);
        EXPECT_EQ(hdr.dont_touch != 0, edit.dont_touch != 0);
        EXPECT_EQ(hdr.dont_touch_en != 0, edit.dont_touch_en != 0);
        EXPECT_EQ(hdr.egr_ivid, edit.egr_ivid);
        EXPECT_EQ(hdr.egr_ivid_en, edit.egr_ivid_en);
        EXPECT_EQ(hdr.vpnid, edit.vpnid);
        EXPECT_EQ(hdr.vpnid_en, edit.vpnid_en);
        EXPECT_EQ(hdr.priority, dest.priority);
        EXPECT_EQ(hdr.mgid, dest.mgid);
        EXPECT_EQ(hdr.egid, dest.egid);
        EXPECT_EQ(hdr.mcast != 0, dest.mcast != 0);
    }
}

TEST_F(TblEgrStage, QueueOfAnEgressGroup) {
    putEntry(DMP(esm_cam_egid_tablebp), 0, EsmEgidBp{0x701});
    putEntry(DMP(esm_cam_egid_table), 9, EsmEgid{0x702});
    shim.egid = 0x702;
    shim_2_eqs_side(&shim, chip.get(), &eqsSide);
    EXPECT_EQ(eqsSide.hsq_eqs_qid_q, 72u);
    shim.egid = 0x701;
    shim_2_eqs_side(&shim, chip.get(), &eqsSide);
    EXPECT_EQ(eqsSide.hsq_eqs_qid_q, 36u);
}

/// The port, and the internal VLAN that the frames of the next tests leave in.
constexpr uint32_t kPort = 3;

TEST_F(TblEgrStage, PortVpnMtuAndVlanOfAFrame) {
    shim.routed = 4;
    for (uint32_t vid : {0x10u, 0x11u}) {
        for (uint32_t round = 0; round < 40; round++) {
            // Queues 256 to 287 have their port in the map; kPort is one of them.
            EqsPhy2Log map = put<EqsPhy2Log>(DMP(eqs_phy2log_map), 1);
            map.elp[2] = kPort;
            putEntry(DMP(eqs_phy2log_map), 1, map);
            eqsSide = {};
            eqsSide.hsq_eqs_qid_q = 8 << 5 | 1 << 3 | 2;
            eqsSide.rte_eqs_trill_en_q = 1u << kPort; // neither the VLAN filter nor the VPN filter is asked
            shim.ing_port = 20;
            shim.egr_ivid = vid;
            shim.ing_ivid_8_0 = vid;
            putEntry(DMP(eqs_spr_chk_ctrl), 0, [] {
                EqsSprChkCtrl ctrl{};
                ctrl.spr_chk_dis[kPort] = 1;
                return ctrl;
            }());
            putEntry(DMP(eqs_mrt_mem), vid, EqsMrt{64});
            const EqsVpt vpt = put<EqsVpt>(DMP(eqs_vpt_mem), vid);
            const EqsEvt evt = put<EqsEvt>(DMP(eqs_evt_mem), kPort * 4096 + vid / 2);
            const EqsIngrLag lag = put<EqsIngrLag>(DMP(eqs_ingr_lag_tbl), 20);
            shim.vpn_id = random() & 0xfffff;
            EXPECT_EQ(runEqs(), 0);
            EXPECT_EQ(eqsSide.elp, kPort);
            EXPECT_EQ(eqsSide.transparent_vlan, vpt.transparent_vlan);
            EXPECT_EQ(eqsSide.wired_eivid, vid & 1 ? evt.wired_eivid_odd : evt.wired_eivid_even);
            EXPECT_EQ(eqsSide.trill_sa, lag.trill_sa);

            putEntry(DMP(eqs_mrt_mem), vid, EqsMrt{63});
            EXPECT_EQ(runEqs(), 1);
        }
    }
}

TEST_F(TblEgrStage, VlanAndVpnFilters) {
    shim.routed = 4;
    shim.ing_port = 20;
    eqsSide.hsq_eqs_qid_q = 8 * kPort;
    putEntry(DMP(eqs_mrt_mem), 0x10, EqsMrt{1500});
    putEntry(DMP(eqs_mrt_mem), 0x11, EqsMrt{1500});
    for (uint32_t round = 0; round < 400; round++) {
        const EqsEvt evt = put<EqsEvt>(DMP(eqs_evt_mem), kPort * 4096 + 8);
        const bool odd = round % 2;
        shim.egr_ivid = shim.ing_ivid_8_0 = odd ? 0x11 : 0x10;
        shim.rcv_inner_tagged = random() & 1;
        shim.rcv_s_tagged = random() & 1;
        const uint32_t vlanDrop = odd ? evt.vlan_drop_odd : evt.vlan_drop_even;
        const uint32_t inner = odd ? evt.vpn_drop_inner_odd : evt.vpn_drop_inner_even;
        const uint32_t stag = odd ? evt.vpn_drop_stag_odd : evt.vpn_drop_stag_even;
        const uint32_t vpnDrop = shim.rcv_inner_tagged ? inner : shim.rcv_s_tagged ? stag : 0;
        eqsSide.rte_eqs_trill_en_q = 0;
        EXPECT_EQ(runEqs(), vlanDrop || vpnDrop ? 1 : 0);

        // The same word on a TRILL port, for the VPNs 0x40 to 0x47.
        shim.trill_mc = 1;
        shim.vpn_id = 0x40 + random() % 8;
        eqsSide.rte_eqs_trill_en_q = 1u << kPort;
        EXPECT_EQ(runEqs(), static_cast<int>(evt.vpn_drop >> shim.vpn_id % 8 & 1));
    }
}

TEST_F(TblEgrStage, SuppressionByPortAndLag) {
    shim.routed = 4;
    shim.egr_ivid = shim.ing_ivid_8_0 = 0x10;
    for (uint32_t round = 0; round < 200; round++) {
        const EqsEvt evt = put<EqsEvt>(DMP(eqs_evt_mem), kPort * 4096 + 8);
        const EqsSprChkCtrl ctrl = put<EqsSprChkCtrl>(DMP(eqs_spr_chk_ctrl), 0);
        EqsEgrLgid egr = put<EqsEgrLgid>(DMP(eqs_egr_lgid), kPort);
        EqsIngrLag in{};
        in.lgid = random() & 1 ? egr.lgid : egr.lgid ^ 1;
        in.trill_sa = (in.lgid & 1) << 15;
        putEntry(DMP(eqs_ingr_lag_tbl), 2 << 6 | 20, in);
        shim.ing_chip = 2;
        shim.ing_port = 20;
        const bool suppressed =
            egr.lgid_vld && egr.lgid == in.lgid && !ctrl.spr_chk_dis[kPort] && !evt.egr_sup_dis_even;
        EXPECT_EQ(l2_3_source_supp(&shim, &eqsSide, 0, kPort, chip.get()), suppressed ? 1 : 0);
    }
    // Its own port of its own chip.
    putEntry(DMP(eqs_spr_chk_ctrl), 0, EqsSprChkCtrl{});
    putEntry(DMP(eqs_egr_lgid), kPort, EqsEgrLgid{});
    putEntry(DMP(eqs_evt_mem), kPort * 4096 + 8, EqsEvt{});
    EqsZirkId zirk{};
    zirk.zirk_id = zirk.ing_chip = 2;
    putEntry(DMP(eqs_zirk_id), 0, zirk);
    shim.ing_port = kPort;
    EXPECT_EQ(l2_3_source_supp(&shim, &eqsSide, 0, kPort, chip.get()), 1);
    shim.ing_chip = 3;
    EXPECT_EQ(l2_3_source_supp(&shim, &eqsSide, 0, kPort, chip.get()), 0);
}

TEST_F(TblEgrStage, VpnTranslation) {
    // Port 3 is odd, so the VPN that fits has its top bit set.
    EqsTcm tcm{};
    tcm.elp = kPort;
    tcm.vpn = 0x8abcd;
    shim.routed = 4;
    shim.ing_port = 20;
    shim.vpn_id = 0x8abcd;
    eqsSide.hsq_eqs_qid_q = 8 * kPort;
    putEntry(DMP(eqs_mrt_mem), 0, EqsMrt{1500});
    for (uint32_t at = 0; at < 4096; at++)
        chip.set(DMP(eqs_tcm_mem), 2 * at, 0xffffffff);
    putEntry(DMP(eqs_tcm_mem), 2 * 77, tcm);
    for (uint32_t round = 0; round < 20; round++) {
        const EqsTrt trt = put<EqsTrt>(DMP(eqs_trt_mem), 77);
        EXPECT_EQ(runEqs(), 0);
        EXPECT_EQ(eqsSide.final_vpnid, trt.vpn_vld ? trt.vpn : 0);
    }
}

TEST_F(TblEgrStage, TunnelsAndPimCountersOfMulticastCopies) {
    const auto halves = [](uint32_t hi, uint32_t lo) { return uint64_t{hi} << 16 | lo; };
    const auto words = [](const uint32_t *addr) { return TblWide{addr[0], addr[1], addr[2], addr[3]}; };
    shim.is_mgid = 1;
    shim.w1_15_14 = 3;
    shim.w2_16_0 = 0x123;
    shim.ing_port = 20;
    putEntry(DMP(eqs_mrt_mem), 0, EqsMrt{1500});
    putEntry(DMP(eqs_mrt_mem), 8192, EqsMrt{1500});
    for (uint32_t round = 0; round < 20; round++) {
        EqsPit pit = put<EqsPit>(DMP(eqs_pit_mem), 0x123);
        pit.final_eivid = (pit.final_eivid & 0xffe) | 1; // not the frame's VLAN, which is 0; its counter is in the row
        putEntry(DMP(eqs_pit_mem), 0x123, pit);
        const EqsFit fit = put<EqsFit>(DMP(eqs_fit_mem), pit.final_eivid);
        eqsSide = {};
        eqsSide.hsq_eqs_qid_q = 8 * kPort;
        eqsSide.rte_eqs_trill_en_q = 1u << kPort;
        shim.routed = round % 2;
        const EqsPetIpv4 ipv4 = put<EqsPetIpv4>(DMP(eqs_pet_mem), 8 * 0x123);
        uint32_t raw[8];
        for (uint32_t i = 0; i < 8; i++)
            raw[i] = chip.get(DMP(eqs_pet_mem), 8 * 0x123 + i);
        const EqsPetIpv6 ipv6 = entryAt<EqsPetIpv6>(raw);
        const EqsPetIpv6Next next = put<EqsPetIpv6Next>(DMP(eqs_pet_mem), 8 * 0x124);
        ASSERT_EQ(runEqs(), 0);
        EXPECT_EQ(eqsSide.final_eivid, pit.final_eivid);
        EXPECT_EQ(eqsSide.pim_cnt, fit.pim_cnt);
        EXPECT_EQ(halves(eqsSide.mac_da, eqsSide.mac_da1), ipv4.mac_da);
        EXPECT_EQ(ipv6.mac_da, ipv4.mac_da);
        EXPECT_EQ(eqsSide.dbr_id, shim.routed ? ipv6.dbr_id : ipv4.dbr_id);
        EXPECT_EQ(eqsSide.m_bit, shim.routed ? ipv6.m_bit : ipv4.m_bit);
        EXPECT_EQ(eqsSide.b_bit, shim.routed ? ipv6.b_bit : ipv4.b_bit);
        EXPECT_EQ(eqsSide.trill_da, shim.routed ? next.trill_da : ipv4.trill_da);
        if (shim.routed) {
            EXPECT_EQ(eqsSide.flow_id, ipv6.flow_id);
            EXPECT_EQ(words(eqsSide.ipv6_sa), next.ipv6_da);
        } else {
            EXPECT_EQ(eqsSide.ipv4_da, ipv4.ipv4_da);
            EXPECT_EQ(eqsSide.ipv4_sa, ipv4.ipv4_sa);
        }
    }
}

TEST_F(TblEgrStage, TrillHeaderOfAFrame) {
    for (uint32_t round = 0; round < 40; round++) {
        emcSide = {};
        emcSide.eqs_elp = kPort;
        emcSide.rte_trill_en_q = 1u << kPort;
        const EmcOuterVlan vlan = putPort<EmcOuterVlan>(kPort, PORT(emc_outer_vlan));
        const EmcDefTrillOpt opt = putPort<EmcDefTrillOpt>(kPort, PORT(emc_def_trill_opt_q));
        const EmcComReg2 trill = putQuad<EmcComReg2>(0, QUAD(emc_com_reg2));
        shim.routed = 7;
        const std::vector<uint8_t> out = runEmc(frm);
        const size_t hdr = vlan.need_trill_tag ? 16 : 12;
        if (vlan.need_trill_tag) {
            EXPECT_EQ(num(out, 12, 2), vlan.tpid);
            EXPECT_EQ(num(out, 14, 2), vlan.vid);
        }
        EXPECT_EQ(num(out, hdr + 2, 2), trill.trill_opt_len << 6 | trill.trill_hop_cnt);
        EXPECT_EQ(num(out, hdr + 12, 1), opt.def_trill_opt);
    }
}

TEST_F(TblEgrStage, PimEncapsulation) {
    for (uint32_t round = 0; round < 40; round++) {
        const bool ipv6 = round % 2;
        emcSide = {};
        emcSide.eqs_elp = kPort;
        emcSide.egr_routed = 1;
        emcSide.ipv4_encap = !ipv6;
        emcSide.ipv6_encap = ipv6;
        emcSide.eacl_dscp = round;
        shim = {};
        shim.routed = ipv6;
        const EmcDscpRemap dscp = putPort<EmcDscpRemap>(kPort, PORT(emc_egr_dscp_remap) + 4 * round);
        const EmcRouterMacSaHi hi = putPort<EmcRouterMacSaHi>(kPort, PORT(emc_router_mac_sa_hi_q));
        const EmcRouterMacSaLo lo = putPort<EmcRouterMacSaLo>(kPort, PORT(emc_router_mac_sa_lo_q));
        const EmcPimIpv4Cfg cfg4 = putQuad<EmcPimIpv4Cfg>(0, QUAD(emc_pim_ipv4_cfg));
        const EmcPimIpv6Cfg cfg6 = putQuad<EmcPimIpv6Cfg>(0, QUAD(emc_pim_ipv6_cfg0));
        const EmcPimCfg pim = putQuad<EmcPimCfg>(0, QUAD(emc_pim_cfg0));
        const std::vector<uint8_t> out = runEmc(frm);
        EXPECT_EQ(num(out, 6, 4), hi.router_mac_sa_hi);
        EXPECT_EQ(num(out, 10, 2), lo.router_mac_sa_lo);
        const size_t ip = 14;
        if (ipv6) {
            EXPECT_EQ(num(out, ip, 2), 0x6000u | dscp.dscp << 6);
            EXPECT_EQ(num(out, ip + 6, 1), cfg6.next_hdr);
            EXPECT_EQ(num(out, ip + 7, 1), cfg6.hop_limit);
        } else {
            EXPECT_EQ(num(out, ip + 1, 1), dscp.dscp << 2);
            EXPECT_EQ(num(out, ip + 8, 1), cfg4.ttl);
            EXPECT_EQ(num(out, ip + 9, 1), cfg4.protocol);
        }
        const size_t hdr = ip + (ipv6 ? 40 : 24);
        EXPECT_EQ(num(out, hdr, 1), pim.pim_ver << 4 | pim.pim_typ);
        EXPECT_EQ(num(out, hdr + 1, 1), pim.pim_rsvd);
    }
}

TEST_F(TblEgrStage, TagsAndHeadersOfThePort) {
    // A frame with S-tag, C-tag and CN tag, priorities and DEI all set.
    std::vector<uint8_t> tagged = {0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0x88,
                                   0xa8, 0xf1, 0x23, 0x81, 0x00, 0xf2, 0x34, 0x22, 0xe9, 0xab, 0xcd, 0x90, 0x00};
    tagged.resize(80, 0x5a);
    for (uint32_t round = 0; round < 60; round++) {
        shim = {};
        shim.routed = 7;
        shim.egr_cfi = 1;
        shim.rcv_s_tagged = shim.rcv_inner_tagged = shim.rcv_cn_tagged = 1;
        shim.egr_vlan_pri = round % 8;
        emcSide = {};
        emcSide.eqs_elp = kPort;
        emcSide.s_tagged = emcSide.c_tagged = 1;
        const EmcCfg cfg = putPort<EmcCfg>(kPort, PORT(emc_cfg));
        const EmcPriDpRemap remap = putPort<EmcPriDpRemap>(kPort, PORT(emc_egr_pri_dp_remap));
        const EmcConfig3 cn = putPort<EmcConfig3>(kPort, PORT(emc_config3_q));
        const std::vector<uint8_t> out = runEmc(tagged);
        const size_t at = cfg.seq_hdr_en ? 8 : 0;
        EXPECT_EQ(num(out, at + 14, 2) >> 13, remap.stag_pri_remap ? 0u : 7u);
        EXPECT_EQ(num(out, at + 14, 2) >> 12 & 1, remap.stag_dp_remap ? 0u : 1u);
        EXPECT_EQ(num(out, at + 18, 2) >> 13, remap.ctag_pri_remap ? 0u : 7u);
        EXPECT_EQ(num(out, at + 18, 2) >> 12 & 1, remap.ctag_dp_remap ? 0u : 1u);
        EXPECT_EQ(num(out, at + 20, 2), cn.cn_tag_rmv[round % 8] ? 0x9000u : 0x22e9u);
    }
}

TEST_F(TblEgrStage, VsanHeaderOfAFrameWithoutOne) {
    for (uint32_t round = 0; round < 8; round++) {
        shim = {};
        shim.routed = 2;
        shim.w4_13_0 = 1u << 12;
        emcSide = {};
        emcSide.eqs_elp = kPort;
        const EmcComReg0 reg = putQuad<EmcComReg0>(0, QUAD(emc_com_reg0));
        EXPECT_EQ(num(runEmc(frm), 14 + 14 + 4, 1), reg.vsan_ttl);
    }
}

} // namespace
