#include "hmc.h"

#include "base/cmRteVerdict.h"
#include "base/cmUtl.h"
#include "cm_glue.h"
#include "dmp_entry.h"

namespace {

constexpr uint32_t kSpanIngPort = 33;
constexpr uint32_t kVlanEtyp = 0x8100;
constexpr uint32_t kTrillEtyp = 0x22f3;

uint32_t hword(const uint8_t *frm, uint32_t offset) {
    uint32_t value;
    CmGetDword(2, frm + offset, &value);
    return value;
}

/// Destination and queue of a span copy.
void steerSpanCopy(shim_t *shim, const hmc_hdr_t &hdr) {
    if (hdr.mcast) {
        shim->w2_16_0 = hdr.mgid;
        shim->q_pri = hdr.priority;
        shim->is_mgid = 1;
        shim->w1_15_14 = hdr.ecn_en ? hdr.ecn : 0;
    } else {
        shim->egid = shimFld::egid.fit(hdr.egid);
        shim->q_pri = hdr.priority;
        shim->is_mgid = 0;
        shim->w2_16_0 = 0;
    }
    shim->ing_port = kSpanIngPort;
}

/// The enabled fields of a span edit. Only bit 0 of a one-bit field's stored value reaches the shim, and the field
/// keeps its bit higher up: the chip clears every one-bit field that it edits, `is_mgid` always. `rcv_trill` is not
/// applied.
void applySpanEdit(shim_t *shim, const hmc_hdr_t &hdr) {
    if (hdr.vpnid_en)
        shim->vpn_id = shimFld::vpn_id.fit(hdr.vpnid);
    if (hdr.trill_dbr_en)
        shim->trill_da = shimFld::trill_da.fit(hdr.trill_dbr);
    if (hdr.trill_mc_en)
        shim->trill_mc = shimFld::trill_mc.fit(hdr.trill_mc);
    if (hdr.drop_prcd_en)
        shim->drop_prcd = hdr.drop_prcd;
    if (hdr.mct_sbr_vld_en)
        shim->mct_srbridge_vld = shimFld::mct_srbridge_vld.fit(hdr.mct_sbr_vld);
    if (hdr.ecn_en)
        shim->w1_15_14 = hdr.ecn;
    if (hdr.is_cn_tag_en)
        shim->rcv_cn_tagged = shimFld::rcv_cn_tagged.fit(hdr.is_cn_tag);
    if (hdr.is_stag_en)
        shim->rcv_s_tagged = shimFld::rcv_s_tagged.fit(hdr.is_stag);
    if (hdr.is_ctag_en)
        shim->rcv_inner_tagged = shimFld::rcv_inner_tagged.fit(hdr.is_ctag);
    if (hdr.byps_eacl_en)
        shim->byp_eacl = shimFld::byp_eacl.fit(hdr.byps_eacl);
    if (hdr.routed_en)
        shim->routed = hdr.routed;
    if (hdr.lossless_to_en)
        shim->lossless_to = shimFld::lossless_to.fit(hdr.lossless_to);
    if (hdr.pim_decap_en)
        shim->pim_decap = shimFld::pim_decap.fit(hdr.pim_decap);
    if (hdr.dont_touch_en)
        shim->dont_touch = shimFld::dont_touch.fit(hdr.dont_touch);
    shim->q_pri = hdr.priority;
    shim->w2_16_0 = hdr.mgid;
    shim->egid = shimFld::egid.fit(hdr.egid);
    shim->is_mgid = shimFld::is_mgid.fit(hdr.mcast);
}

/// Offset of the address pair to rewrite: the outer one, or the inner one behind a TRILL header with or without
/// options.
uint32_t addressPlace(const uint8_t *frm) {
    if (hword(frm, 12) == kVlanEtyp && hword(frm, 16) == kTrillEtyp)
        return bits(hword(frm, 18), 10, 6) == 0 ? 24 : 36;
    if (hword(frm, 12) == kTrillEtyp)
        return bits(hword(frm, 14), 10, 6) == 0 ? 20 : 32;
    return 0;
}

} // namespace

int hmc_ingress_proc(uint8_t *frm, uint32_t, shim_t *shim, iqs_side_band_t *sideband, const tsr_dmp_t *tsr_reg) {
    const hmc_hdr_t &hdr = sideband->iqs_hmc_hdr;
    shim->ing_chip = dmpEntry<EqsZirkId>(tsr_reg).ing_chip;
    if (hdr.span)
        steerSpanCopy(shim, hdr);
    if (hdr.egr_ivid_en)
        shim->egr_ivid = shimFld::egr_ivid.fit(hdr.egr_ivid);
    if (hdr.span)
        applySpanEdit(shim, hdr);
    recalcShimCrc(shim);
    if (shim->dont_touch)
        return 0;

    shim->routed = ROUTED_FCOE_VF;
    uint8_t *place = frm + addressPlace(frm);
    CmSetDword(hdr.mac_da, 4, place);
    CmSetDword(hdr.mac_da1, 2, place + 4);
    CmSetDword(hdr.mac_sa, 2, place + 6);
    CmSetDword(hdr.mac_sa1, 4, place + 8);
    return 0;
}
