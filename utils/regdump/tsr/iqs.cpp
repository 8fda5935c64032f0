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

    hdr.rcv_trill = inPlace(words, IqsSpanEditAt::rcv_trill);
    hdr.rcv_trill_en = inPlace(words, IqsSpanEditAt::rcv_trill_en);
    hdr.trill_mc = inPlace(words, IqsSpanEditAt::trill_mc);
    hdr.trill_mc_en = inPlace(words, IqsSpanEditAt::trill_mc_en);
    hdr.drop_prcd = edit.drop_prcd;
    hdr.drop_prcd_en = inPlace(words, IqsSpanEditAt::drop_prcd_en);
    hdr.mct_sbr_vld = inPlace(words, IqsSpanEditAt::mct_sbr_vld);
    hdr.mct_sbr_vld_en = inPlace(words, IqsSpanEditAt::mct_sbr_vld_en);
    hdr.ecn = edit.ecn;
    hdr.ecn_en = inPlace(words, IqsSpanEditAt::ecn_en);
    hdr.is_cn_tag = inPlace(words, IqsSpanEditAt::is_cn_tag);
    hdr.is_cn_tag_en = inPlace(words, IqsSpanEditAt::is_cn_tag_en);
    hdr.is_stag = inPlace(words, IqsSpanEditAt::is_stag);
    hdr.is_stag_en = inPlace(words, IqsSpanEditAt::is_stag_en);
    hdr.is_ctag = inPlace(words, IqsSpanEditAt::is_ctag);
    hdr.is_ctag_en = inPlace(words, IqsSpanEditAt::is_ctag_en);
    hdr.byps_eacl = inPlace(words, IqsSpanEditAt::byps_eacl);
    hdr.byps_eacl_en = inPlace(words, IqsSpanEditAt::byps_eacl_en);
    hdr.routed = edit.routed;
    hdr.routed_en = inPlace(words, IqsSpanEditAt::routed_en);
    hdr.lossless_to = inPlace(words, IqsSpanEditAt::lossless_to);
    hdr.lossless_to_en = inPlace(words, IqsSpanEditAt::lossless_to_en);
    hdr.pim_decap = inPlace(words, IqsSpanEditAt::pim_decap);
    hdr.pim_decap_en = inPlace(words, IqsSpanEditAt::pim_decap_en);
    hdr.dont_touch = inPlace(words, IqsSpanEditAt::dont_touch);
    hdr.dont_touch_en = inPlace(words, IqsSpanEditAt::dont_touch_en);
    hdr.egr_ivid = edit.egr_ivid;
    hdr.egr_ivid_en = edit.egr_ivid_en;
    hdr.vpnid = edit.vpnid;
    hdr.vpnid_en = edit.vpnid_en;
    hdr.priority = dest.priority;
    hdr.mgid = dest.mgid;
    hdr.egid = dest.egid;
    hdr.mcast = inPlace(dmpEntryWords<IqsSpanDest>(tsr_reg, k), IqsSpanDestAt::mcast);
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
