#include "iqs.h"

#include "base/cmUtl.h"

/// The edit of a span copy with index `k`. Multi-bit fields are shifted down, one-bit fields keep their place.
static void fillSpanEdit(hmc_hdr_t &hdr, uint32_t k, const tsr_dmp_t *tsr_reg) {
    constexpr size_t edit = offsetof(tsr_dmp_t, iqs_span_edit);
    const uint32_t w0 = dmpWord(tsr_reg, edit, 8 * k);
    const uint32_t w1 = dmpWord(tsr_reg, edit, 8 * k + 1);
    const uint32_t w2 = dmpWord(tsr_reg, edit, 8 * k + 2);
    const uint32_t dest = dmpWord(tsr_reg, offsetof(tsr_dmp_t, iqs_span_dest__reg), k);

    hdr.rcv_trill = w0 & 1u << 29;
    hdr.rcv_trill_en = w0 & 1u << 28;
    hdr.trill_mc = w0 & 1u << 27;
    hdr.trill_mc_en = w0 & 1u << 26;
    hdr.drop_prcd = bits(w0, 25, 24);
    hdr.drop_prcd_en = w0 & 1u << 23;
    hdr.mct_sbr_vld = w0 & 1u << 22;
    hdr.mct_sbr_vld_en = w0 & 1u << 21;
    hdr.ecn = bits(w0, 20, 19);
    hdr.ecn_en = w0 & 1u << 18;
    hdr.is_cn_tag = w0 & 1u << 17;
    hdr.is_cn_tag_en = w0 & 1u << 16;
    hdr.is_stag = w0 & 1u << 15;
    hdr.is_stag_en = w0 & 1u << 14;
    hdr.is_ctag = w0 & 1u << 13;
    hdr.is_ctag_en = w0 & 1u << 12;
    hdr.byps_eacl = w0 & 1u << 11;
    hdr.byps_eacl_en = w0 & 1u << 10;
    hdr.routed = bits(w0, 9, 7);
    hdr.routed_en = w0 & 1u << 6;
    hdr.lossless_to = w0 & 1u << 5;
    hdr.lossless_to_en = w0 & 1u << 4;
    hdr.pim_decap = w0 & 1u << 3;
    hdr.pim_decap_en = w0 & 1u << 2;
    hdr.dont_touch = w0 & 1u << 1;
    hdr.dont_touch_en = w0 & 1u << 0;
    hdr.egr_ivid = bits(w1, 31, 18);
    hdr.egr_ivid_en = w1 & 1;
    hdr.vpnid = bits(w2, 31, 1);
    hdr.vpnid_en = w2 & 1;
    hdr.priority = bits(dest, 18, 16);
    hdr.mgid = bits(dest, 15, 0);
    hdr.egid = bits(dest, 15, 0);
    hdr.mcast = dest & 1u << 20;
}

int iqs_ingress_proc(uint8_t *, uint32_t, shim_t *, iqs_side_band_t *sideband, const tsr_dmp_t *tsr_reg) {
    hmc_hdr_t &hdr = sideband->iqs_hmc_hdr;
    const uint32_t data0 = sideband->frm_data[0];
    const uint32_t data1 = sideband->frm_data[1];
    uint32_t spanIdx = 0;

    if (sideband->tsq_iqs_elb) {
        hdr.span = bit(data1, 11);
        spanIdx = bits(data1, 6, 4);
    } else if (bit(data1, 12)) { // rte_span
        hdr.span = 1;
        spanIdx = bits(data1, 15, 13);
    } else if (bit(data1, 8)) { // i_span
        hdr.span = 1;
        spanIdx = bits(data1, 11, 9);
    } else {
        hdr.span = 0;
        hdr.egr_ivid_en = 0;
        // Both position formulas are the chip's; large indices read on behind the tables.
        const uint64_t d = bits(data0, 18, 0);
        const uint64_t daPos = 64 * d + d % 8;
        const uint32_t daWord = dmpWord(tsr_reg, offsetof(tsr_dmp_t, iqs_mac_da_vid_mem), daPos);
        hdr.egr_ivid = bits(daWord, 31, 16);
        hdr.mac_da1 = bits(daWord, 15, 0);
        hdr.mac_da = dmpWord(tsr_reg, offsetof(tsr_dmp_t, iqs_mac_da_vid_mem), daPos + 1);
        const uint64_t s = bits(data1, 31, 22);
        const uint64_t saPos = 4 * s + s % 2;
        hdr.mac_sa1 = bits(dmpWord(tsr_reg, offsetof(tsr_dmp_t, iqs_fcoe_sa_mac_tbl), saPos), 15, 0);
        hdr.mac_sa = dmpWord(tsr_reg, offsetof(tsr_dmp_t, iqs_fcoe_sa_mac_tbl), saPos + 1);
    }
    hdr.drop = 0;
    if (hdr.span == 0)
        return 0;
    fillSpanEdit(hdr, spanIdx, tsr_reg);
    return 0;
}
