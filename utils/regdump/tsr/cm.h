#pragma once
// What the stages round the RTE share: the shim header, its side bands, and reads of the dump image.

#include "base/cmRteState.h"
#include "be_word.h"
#include "bit_range.h"
#include "dmp_overlay.h"
#include "tsr_reg_dump.h"

#include <cstddef>
#include <cstdint>

inline constexpr uint32_t kShimWords = 6;
inline constexpr uint32_t kShimBytes = 4 * kShimWords;

/// The shim header, one member a field, each within the width that it has on the wire.
struct shim_t {
#define SHIM(word, hi, lo, name, member) uint32_t name;
#include "tsr_shim.def"
};

/// Their places.
namespace shimFld {
#define SHIM(word, hi, lo, name, member) inline constexpr BitRange name{hi, lo};
#include "tsr_shim.def"
} // namespace shimFld

/// The parts of a field that frames of some kinds divide, by their names.
// NOLINTBEGIN(bugprone-macro-parentheses): the arguments are names
#define SHIM_PART(field, hi, lo, part)                                                                                 \
    constexpr uint32_t part(const shim_t &shim) {                                                                      \
        return bits(shim.field, hi, lo);                                                                               \
    }
#include "tsr_shim.def"
// NOLINTEND(bugprone-macro-parentheses)

/// The back-plane shim, which stays inside the ingress side. `rslt_typ` is an RTE_RSLT_TYP, `trap_rsn` an RTE_TRP_RSN
/// or the reason of an ACL bank.
struct bp_shim_t {
#define BP_SHIM(word, width, name, member) uint32_t name;
#include "tsr_shim.def"
};

/// The bit of a frame's sequence number that chooses the form of its data words.
inline constexpr unsigned kFseqElb = 15;

/// The data words of iqs_side_band_t in their two forms, one member a field.
struct rte_data_t {
#define RTE_DATA(word, hi, lo, name, source) uint32_t name;
#include "tsr_iqs_side.def"
};
struct rte_data_elb_t {
#define RTE_DATA_ELB(word, hi, lo, name, seqHi, seqLo) uint32_t name;
#include "tsr_iqs_side.def"
};

/// Edits that the ingress queue stage orders at HMC. A field with an `_en` partner applies when that is not zero.
/// One-bit fields of a span edit keep the bit at its place in the edit word: zero or not zero.
struct hmc_hdr_t {
    uint32_t mac_da, mac_da1;
    uint32_t vpnid, vpnid_en;
    uint32_t seqnum;
    uint32_t egr_ivid;
    uint32_t drop;
    uint32_t mac_sa, mac_sa1;
    uint32_t trill_dbr, trill_dbr_en;
    uint32_t egr_ivid_en;
    uint32_t rcv_trill, rcv_trill_en;
    uint32_t trill_mc, trill_mc_en;
    uint32_t drop_prcd, drop_prcd_en;
    uint32_t mct_sbr_vld, mct_sbr_vld_en;
    uint32_t ecn, ecn_en;
    uint32_t is_cn_tag, is_cn_tag_en;
    uint32_t is_stag, is_stag_en;
    uint32_t is_ctag, is_ctag_en;
    uint32_t byps_eacl, byps_eacl_en;
    uint32_t routed, routed_en;
    uint32_t lossless_to, lossless_to_en;
    uint32_t pim_decap, pim_decap_en;
    uint32_t dont_touch, dont_touch_en;
    uint32_t priority;
    uint32_t mgid;
    uint32_t egid;
    uint32_t mcast;
    uint32_t mcst_de;
    uint32_t span;
};

/// The channel between the ingress queue stage and HMC.
struct iqs_side_band_t {
    uint32_t tsq_iqs_vld;
    uint32_t frm_data[2]; // the frame's data words, in the form that tsq_iqs_elb tells
    uint32_t tsq_iqs_drop;
    uint32_t tsq_iqs_fid;
    uint32_t tsq_iqs_short;
    uint32_t tsq_iqs_elb;
    uint32_t iqs_txf_port;
    uint32_t iqs_txf_qid;
    uint32_t iqs_txf_trunc;
    uint32_t iqs_txf_mcpy;
    uint32_t iqs_txf_short;
    uint32_t iqs_hmc_valid;
    hmc_hdr_t iqs_hmc_hdr;
};

/// The channel between the queues, EQS and EMC on the egress side.
struct eqs_side_band_t {
    uint32_t hsq_eqs_qid_q;
    uint32_t hsq_eqs_phyp_pkt_q;
    uint32_t rte_eqs_trill_en_q;
    uint32_t num_frags;
    uint32_t elp; // -1 for the discard queue
    uint32_t pim_cnt;
    uint32_t pim_encap;
    uint32_t mac_da, mac_da1;
    uint32_t dbr_id;
    uint32_t ipv4_da, ipv4_sa;
    uint32_t m_bit, b_bit;
    uint32_t flow_id;
    uint32_t ipv6_sa[4];
    uint32_t ipv6_da[4];
    uint32_t trill_da, trill_sa;
    uint32_t final_eivid;
    uint32_t wired_eivid;
    uint32_t final_vpnid;
    uint32_t eqs_seq;
    uint32_t mtu;
    uint32_t transparent_vlan;
    uint32_t drop;
};

/// What EMC is told of a frame.
struct emc_side_band_t {
    uint32_t rte_trill_en_q;
    uint32_t eqs_elp;
    uint32_t eqs_nfrag;
    uint32_t egr_routed;
    uint32_t pim_encap;
    uint32_t ipv4_encap, ipv6_encap;
    uint32_t pim_cnt;
    uint32_t eqs_mac_da, eqs_mac_da1;
    uint32_t dbr_id;
    uint32_t ipv4_da, ipv4_sa;
    uint32_t m_bit, b_bit;
    uint32_t flow_id;
    uint32_t ipv6_sa[4];
    uint32_t ipv6_da[4];
    uint32_t eqs_trill_da, eqs_trill_sa;
    uint32_t final_eivid;
    uint32_t wired_eivid;
    uint32_t final_vpnid;
    uint32_t eqs_seq;
    uint32_t eqs_seq_val;
    uint32_t mtu;
    uint32_t transparent_vlan;
    uint32_t eqs_ext_vid;
    uint32_t eqs_drop;
    uint32_t trill_out_sa, trill_out_sa1;       // upper 16 bits of the address below other fields, then its low 32
    uint32_t trill_out_da, trill_out_da1;       // the same
    uint32_t trill_all_rb_da, trill_all_rb_da1; // the other way round: low 32 bits, then the upper 16
    uint32_t trill_etype;
    uint32_t rte_trill_sa;
    uint32_t c_tagged;
    uint32_t s_tagged;
    uint32_t rte_cfg_stag_et;
    uint32_t rte_cfg_ctag_et;
    uint32_t eacl_drop; // the four fields of the egress ACL stage stay 0: the tool models none
    uint32_t eacl_iwqos;
    uint32_t eacl_dp;
    uint32_t eacl_dscp;
};

/// Word `idx` of the image, counted flat from byte offset `base` (a field's offset in tsr_dmp_t), in host order; the
/// changed one where the thread's model has changes. An index past the field reads on in the image, as the chip's
/// formulas do; past the image it reads 0.
inline uint32_t dmpWord(const tsr_dmp_t *tsr_reg, size_t base, uint64_t idx) {
    if (base >= sizeof(tsr_dmp_t) || idx >= (sizeof(tsr_dmp_t) - base) / 4)
        return 0;
    const size_t offset = base + idx * 4;
    if (const DmpOverlay *changes = cmState().dmp) {
        if (const uint32_t *word = changes->find(offset))
            return *word;
    }
    return imageWord(tsr_reg, offset);
}

/// Stores `value` as that word; past the image it is lost.
inline void setDmpWord(tsr_dmp_t *tsr_reg, size_t base, uint64_t idx, uint32_t value) {
    if (base >= sizeof(tsr_dmp_t) || idx >= (sizeof(tsr_dmp_t) - base) / 4)
        return;
    const size_t offset = base + idx * 4;
    if (DmpOverlay *changes = cmState().dmp)
        changes->write(offset, value);
    else
        setImageWord(tsr_reg, offset, value);
}

/// The word at byte `fieldOffset` of the registers of port `port`; ports behind the last read on in the image.
inline uint32_t dmpPortWord(const tsr_dmp_t *tsr_reg, uint32_t port, size_t fieldOffset) {
    constexpr uint64_t portWords = sizeof tsr_reg->ephy_reg[0] / 4;
    return dmpWord(tsr_reg, offsetof(tsr_dmp_t, ephy_reg), port * portWords + fieldOffset / 4);
}
