#include "iqs.h"

#include "base/cmUtl.h"
#include "dmp_entry.h"

/// The data words of a frame, in each of their forms.
static rte_data_t rteData(const uint32_t *words) {
    rte_data_t data;
#define RTE_DATA(word, hi, lo, name, source) data.name = bits(words[word], hi, lo);
#include "tsr_iqs_side.def"
    return data;
}
static rte_data_elb_t rteDataElb(const uint32_t *words) {
    rte_data_elb_t data;
#define RTE_DATA_ELB(word, hi, lo, name, seqHi, seqLo) data.name = bits(words[word], hi, lo);
#include "tsr_iqs_side.def"
    return data;
}

/// The edit of a span copy with index `k`. Multi-bit fields are shifted down, one-bit fields keep their place.
static void fillSpanEdit(hmc_hdr_t &hdr, uint32_t k, const tsr_dmp_t *tsr_reg) {
    const EntryWords<IqsSpanEdit> words = dmpEntryWords<IqsSpanEdit>(tsr_reg, k);
    const IqsSpanEdit edit = entryAt<IqsSpanEdit>(words.data());
    const IqsSpanDest dest = dmpEntry<IqsSpanDest>(tsr_reg, k);

    hdr.rcv_trill = inPlace<&IqsSpanEdit::rcv_trill>(words);
    hdr.rcv_trill_en = inPlace<&IqsSpanEdit::rcv_trill_en>(words);
    hdr.trill_mc = inPlace<&IqsSpanEdit::trill_mc>(words);
    hdr.trill_mc_en = inPlace<&IqsSpanEdit::trill_mc_en>(words);
    hdr.drop_prcd = edit.drop_prcd;
    hdr.drop_prcd_en = inPlace<&IqsSpanEdit::drop_prcd_en>(words);
    hdr.mct_sbr_vld = inPlace<&IqsSpanEdit::mct_sbr_vld>(words);
    hdr.mct_sbr_vld_en = inPlace<&IqsSpanEdit::mct_sbr_vld_en>(words);
    hdr.ecn = edit.ecn;
    hdr.ecn_en = inPlace<&IqsSpanEdit::ecn_en>(words);
    hdr.is_cn_tag = inPlace<&IqsSpanEdit::is_cn_tag>(words);
    hdr.is_cn_tag_en = inPlace<&IqsSpanEdit::is_cn_tag_en>(words);
    hdr.is_stag = inPlace<&IqsSpanEdit::is_stag>(words);
    hdr.is_stag_en = inPlace<&IqsSpanEdit::is_stag_en>(words);
    hdr.is_ctag = inPlace<&IqsSpanEdit::is_ctag>(words);
    hdr.is_ctag_en = inPlace<&IqsSpanEdit::is_ctag_en>(words);
    hdr.byps_eacl = inPlace<&IqsSpanEdit::byps_eacl>(words);
    hdr.byps_eacl_en = inPlace<&IqsSpanEdit::byps_eacl_en>(words);
    hdr.routed = edit.routed;
    hdr.routed_en = inPlace<&IqsSpanEdit::routed_en>(words);
    hdr.lossless_to = inPlace<&IqsSpanEdit::lossless_to>(words);
    hdr.lossless_to_en = inPlace<&IqsSpanEdit::lossless_to_en>(words);
    hdr.pim_decap = inPlace<&IqsSpanEdit::pim_decap>(words);
    hdr.pim_decap_en = inPlace<&IqsSpanEdit::pim_decap_en>(words);
    hdr.dont_touch = inPlace<&IqsSpanEdit::dont_touch>(words);
    hdr.dont_touch_en = inPlace<&IqsSpanEdit::dont_touch_en>(words);
    hdr.egr_ivid = edit.egr_ivid;
    hdr.egr_ivid_en = edit.egr_ivid_en;
    hdr.vpnid = edit.vpnid;
    hdr.vpnid_en = edit.vpnid_en;
    hdr.priority = dest.priority;
    hdr.mgid = dest.mgid;
    hdr.egid = dest.egid;
    hdr.mcast = inPlace<&IqsSpanDest::mcast>(dmpEntryWords<IqsSpanDest>(tsr_reg, k));
}

/// New VLAN and addresses of a frame that is no span copy. Both position formulas are the chip's; large indices read on
/// behind the tables.
static void fillAddresses(hmc_hdr_t &hdr, const rte_data_t &data, const tsr_dmp_t *tsr_reg) {
    const uint64_t d = data.da_vid_idx;
    const IqsMacDa da = dmpEntryAtWord<IqsMacDa>(tsr_reg, 64 * d + d % 8);
    hdr.egr_ivid = da.egr_ivid;
    hdr.mac_da1 = macLower(da.mac_da);
    hdr.mac_da = macUpper(da.mac_da);
    const uint64_t s = data.sa_idx;
    const IqsMacSa sa = dmpEntryAtWord<IqsMacSa>(tsr_reg, 4 * s + s % 2);
    hdr.mac_sa1 = sa.mac_sa1;
    hdr.mac_sa = sa.mac_sa;
}

int iqs_ingress_proc(uint8_t *, uint32_t, shim_t *, iqs_side_band_t *sideband, const tsr_dmp_t *tsr_reg) {
    hmc_hdr_t &hdr = sideband->iqs_hmc_hdr;
    uint32_t spanIdx = 0;

    const rte_data_t data = rteData(sideband->frm_data);
    if (sideband->tsq_iqs_elb) {
        const rte_data_elb_t elb = rteDataElb(sideband->frm_data);
        hdr.span = elb.span;
        spanIdx = elb.span_id;
    } else if (data.rte_span) {
        hdr.span = 1;
        spanIdx = data.rte_span_id;
    } else if (data.i_span) {
        hdr.span = 1;
        spanIdx = data.i_span_id;
    } else {
        hdr.span = 0;
        hdr.egr_ivid_en = 0;
        fillAddresses(hdr, data, tsr_reg);
    }
    hdr.drop = 0;
    if (hdr.span == 0)
        return 0;
    fillSpanEdit(hdr, spanIdx, tsr_reg);
    return 0;
}
