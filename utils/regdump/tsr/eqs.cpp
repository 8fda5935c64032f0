#include "eqs.h"

#include "base/cmOut.h"
#include "base/cmRteState.h"
#include "base/cmRteVerdict.h"
#include "base/cmUtl.h"
#include "cm_glue.h"
#include "dmp_entry.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr uint32_t kDiscardElp = 0xffffffffu;
constexpr uint32_t kVlanGroup = 7; // on top of a group that is the VLAN itself
constexpr uint32_t kIpHdrOffset = 16;
constexpr uint32_t kPimExtra = 112;
constexpr uint32_t kPortsOfChip = 1u << shimFld::ing_port.width();
constexpr uint32_t kNoLag = 0xffffffffu;
constexpr uint32_t kVlans = 1u << shimFld::egr_ivid.width();

/// Prints a line of the stage's trace.
void say(const char *line) {
    if (eqs_verbose())
        cmPuts(line);
}

int dropFrame(eqs_side_band_t *sideband, const char *line) {
    say(line);
    sideband->drop = 1;
    return 1;
}

uint32_t iIVID(const shim_t *shim) {
    return shim->ing_ivid_12_9 << shimFld::ing_ivid_8_0.width() | shim->ing_ivid_8_0;
}

/// A copy of an IP multicast frame, whose VLAN the multicast tables give.
bool isMcastCopy(const shim_t *shim) {
    return shim->is_mgid && shim->w1_15_14 == MCAST_L3;
}

/// One whose group points into the tables.
bool isMcastCopyByTable(const shim_t *shim) {
    return isMcastCopy(shim) && shimMgidTop(*shim) != kVlanGroup;
}

/// The index in eqs_evt_mem of VLAN pair `pair` at port `elp`.
uint64_t evtIdx(uint32_t elp, uint32_t pair) {
    return uint64_t{elp} * (kVlans / 2) + pair;
}

/// What the entry of a pair of VLANs says of one of them. Each field stands at other bits for even and for odd VIDs.
struct EvtVlan {
    uint32_t wired_eivid;
    uint32_t vlan_drop;
    uint32_t egr_sup_dis;
    uint32_t vpn_drop_inner;
    uint32_t vpn_drop_stag;
};

EvtVlan evtVlan(const tsr_dmp_t *tsr_reg, uint32_t elp, uint32_t vid) {
    const EqsEvt evt = dmpEntry<EqsEvt>(tsr_reg, evtIdx(elp, vid >> 1));
    if (vid & 1)
        return {evt.wired_eivid_odd, evt.vlan_drop_odd, evt.egr_sup_dis_odd, evt.vpn_drop_inner_odd,
                evt.vpn_drop_stag_odd};
    return {evt.wired_eivid_even, evt.vlan_drop_even, evt.egr_sup_dis_even, evt.vpn_drop_inner_even,
            evt.vpn_drop_stag_even};
}

/// The VLAN of a multicast copy.
uint32_t copyVlan(const tsr_dmp_t *tsr_reg, const shim_t *shim) {
    return dmpEntry<EqsPit>(tsr_reg, shimCopyId(*shim)).final_eivid;
}

uint32_t mtuOf(const tsr_dmp_t *tsr_reg, uint32_t cls, uint32_t vid) {
    return dmpEntry<EqsMrt>(tsr_reg, cls * kVlans + vid).mtu;
}

/// `n` bytes at `offset` of the IP header, big-endian; bytes behind the frame's end are 0.
uint32_t ipField(const uint8_t *frm, uint32_t pkt_len, uint32_t offset, uint32_t n) {
    uint32_t value = 0;
    for (uint32_t i = offset; i < offset + n; i++)
        value = value << 8 | (kIpHdrOffset + i < pkt_len ? find_ip_hdr_in_frm(frm)[i] : 0u);
    return value;
}

/// Logical port of queue `q`.
uint32_t queueElp(const tsr_dmp_t *tsr_reg, uint32_t q) {
    if (q >> 5 == 8)
        return dmpEntry<EqsPhy2Log>(tsr_reg, q >> 3 & 3).elp[q & 3];
    const uint32_t elp = q >> 3;
    if (elp == 38 && q & 1)
        return kDiscardElp;
    return elp;
}

/// The frame's VPN at its egress port, translated where the table says so.
uint32_t egressVpn(const shim_t *shim, uint32_t elp, const EqsVpt &vpt, const tsr_dmp_t *tsr_reg) {
    uint32_t vpn = vpt.vpn;
    if (isSwitched(shim->routed))
        vpn = shim->vpn_id;
    for (uint32_t i = 0; i < 4096; i++) {
        const EqsTcm tcm = dmpEntry<EqsTcm>(tsr_reg, i);
        if (tcm.elp != elp || tcm.vpn != vpn)
            continue;
        const EqsTrt trt = dmpEntry<EqsTrt>(tsr_reg, i);
        return trt.vpn_vld ? trt.vpn : 0;
    }
    return vpn;
}

uint32_t finalEivid(const shim_t *shim, const tsr_dmp_t *tsr_reg) {
    if (!isMcastCopy(shim))
        return shim->egr_ivid;
    if (isMcastCopyByTable(shim))
        return copyVlan(tsr_reg, shim);
    return shimMgidVlan(*shim);
}

/// The VPN filter's bit for this frame.
bool vpnFiltered(const shim_t *shim, const eqs_side_band_t *sideband, uint32_t elp, const tsr_dmp_t *tsr_reg) {
    if (!bit(sideband->rte_eqs_trill_en_q, elp)) {
        if (shim->rcv_inner_tagged)
            return evtVlan(tsr_reg, elp, shim->egr_ivid).vpn_drop_inner;
        if (shim->rcv_s_tagged)
            return evtVlan(tsr_reg, elp, shim->egr_ivid).vpn_drop_stag;
        return false;
    }
    if (!shim->trill_mc)
        return false;
    const EqsEvt evt = dmpEntry<EqsEvt>(tsr_reg, evtIdx(elp, shim->vpn_id / 8 % (kVlans / 2)));
    return bit(evt.vpn_drop, shim->vpn_id % 8);
}

/// MTU, fragments and sequence number of a routed IPv4 frame.
void countFragments(const uint8_t *frm, uint32_t pkt_len, const shim_t *shim, eqs_side_band_t *sideband, uint32_t elp,
                    const tsr_dmp_t *tsr_reg) {
    const uint32_t mtu = mtuOf(tsr_reg, 0, shim->egr_ivid);
    sideband->mtu = mtu;
    const uint32_t ihl = ipField(frm, pkt_len, 0, 1) & 0xf;
    const uint32_t extra = pim_encap_required(shim, sideband, tsr_reg) ? kPimExtra : 0;
    const uint32_t tlen = ipField(frm, pkt_len, 2, 2);
    if (pkt_len > mtu) {
        const uint32_t frag = (mtu - 4 * ihl - extra) & ~7u;
        const uint32_t payload = tlen - 4 * ihl + extra;
        sideband->num_frags = frag == 0 ? 0 : payload / frag + (payload % frag != 0);
    } else {
        sideband->num_frags = 1;
    }
    if (sideband->hsq_eqs_phyp_pkt_q == 0 && elp < 32) {
        uint32_t &seq = cmState().eqs_seq[elp];
        sideband->eqs_seq = seq;
        seq += sideband->num_frags;
    }
}

/// Takes a number from the PIM counter of the copy's VLAN and moves the counter on in the image.
void countPim(const shim_t *shim, eqs_side_band_t *sideband, tsr_dmp_t *tsr_reg) {
    const uint32_t vlan = copyVlan(tsr_reg, shim);
    // Counters of VLANs behind the memory are the words that follow it in the image.
    EqsFit fit = dmpEntry<EqsFit>(tsr_reg, vlan);
    sideband->pim_cnt = fit.pim_cnt;
    fit.pim_cnt += sideband->num_frags;
    setDmpEntry(tsr_reg, vlan, fit);
}

void tunnelParameters(const shim_t *shim, eqs_side_band_t *sideband, const tsr_dmp_t *tsr_reg) {
    const uint32_t idx = shimCopyId(*shim);
    if (shim->routed == ROUTED_IPV4) {
        const EqsPetIpv4 pet = dmpEntry<EqsPetIpv4>(tsr_reg, idx);
        sideband->mac_da = macUpper(pet.mac_da);
        sideband->mac_da1 = macLower(pet.mac_da);
        sideband->dbr_id = pet.dbr_id;
        sideband->ipv4_da = pet.ipv4_da;
        sideband->ipv4_sa = pet.ipv4_sa;
        sideband->m_bit = pet.m_bit;
        sideband->b_bit = pet.b_bit;
        sideband->trill_da = pet.trill_da;
    } else if (shim->routed == ROUTED_IPV6) {
        const EqsPetIpv6 pet = dmpEntry<EqsPetIpv6>(tsr_reg, idx);
        const EqsPetIpv6Next next = dmpEntry<EqsPetIpv6Next>(tsr_reg, idx + 1);
        sideband->mac_da = macUpper(pet.mac_da);
        sideband->mac_da1 = macLower(pet.mac_da);
        sideband->dbr_id = pet.dbr_id;
        sideband->flow_id = pet.flow_id;
        sideband->m_bit = pet.m_bit;
        sideband->b_bit = pet.b_bit;
        // The DA lands in the SA's place, over the SA of the entry, and ipv6_da stays as it is: the chip model's way.
        std::copy(next.ipv6_da.begin(), next.ipv6_da.end(), sideband->ipv6_sa);
        sideband->trill_da = next.trill_da;
    }
}

/// The checks that run before queueing and once more behind it. True when the frame is dropped.
bool suppressedOrFiltered(const shim_t *shim, eqs_side_band_t *sideband, int pre, uint32_t elp,
                          const tsr_dmp_t *tsr_reg) {
    if (l2_3_source_supp(shim, sideband, pre, elp, tsr_reg))
        return dropFrame(sideband, "Frame dropped due to L2/3 LAG suppression check fail");
    if (vlan_filtering(shim, sideband, pre, elp, tsr_reg))
        return dropFrame(sideband, "Frame dropped due to VLAN filtering");
    return false;
}

} // namespace

int eqs_verbose(void) {
    return cmState().eqsVerbose;
}

void eqs_init(void) {
    std::fill(std::begin(cmState().eqs_seq), std::end(cmState().eqs_seq), 0);
}

const uint8_t *find_ip_hdr_in_frm(const uint8_t *frm) {
    return frm + kIpHdrOffset;
}

int pim_encap_required(const shim_t *shim, eqs_side_band_t *sideband, const tsr_dmp_t *) {
    sideband->pim_encap =
        isMcastCopy(shim) && isIpRouted(shim->routed) && sideband->final_eivid != iIVID(shim) && shim->w2_16_0 <= 4095;
    return static_cast<int>(sideband->pim_encap);
}

int l2_3_source_supp(const shim_t *shim, eqs_side_band_t *sideband, int pre, uint32_t elp, const tsr_dmp_t *tsr_reg) {
    bool routed_at_egress = false;
    if (isFcoeRouted(shim->routed)) {
        routed_at_egress = true;
    } else if (isIpRouted(shim->routed) && (!shim->is_mgid || shim->w1_15_14 == MCAST_UCAST_FLOOD)) {
        routed_at_egress = true;
    } else if (pre && isMcastCopyByTable(shim)) {
        return 0;
    } else if (!pre && isIpRouted(shim->routed) && isMcastCopy(shim) && iIVID(shim) != shim->egr_ivid) {
        routed_at_egress = true;
    } else if (!isSwitched(shim->routed) && shim->is_mgid &&
               (shim->w1_15_14 == MCAST_BCAST || shim->w1_15_14 == MCAST_L2)) {
        say(" this is not supposed to happen");
        routed_at_egress = true;
    } else if (shim->pim_decap) {
        say(" this is not supposed to happen");
        routed_at_egress = true;
    }

    const uint32_t ILP = shim->ing_chip * kPortsOfChip | shim->ing_port;
    const uint32_t ELP = dmpEntry<EqsZirkId>(tsr_reg).zirk_id * kPortsOfChip | elp;
    const EqsIngrLag ingr = dmpEntry<EqsIngrLag>(tsr_reg, ILP);
    const EqsEgrLgid egr = dmpEntry<EqsEgrLgid>(tsr_reg, elp);
    const uint32_t ELAG = egr.lgid_vld ? egr.lgid : kNoLag;
    sideband->trill_sa = ingr.trill_sa;

    const EqsSprChkCtrl ctrl = dmpEntry<EqsSprChkCtrl>(tsr_reg);
    const bool suppress =
        (ILP == ELP || ELAG == ingr.lgid) && !routed_at_egress && !shim->pim_decap && !element(ctrl.spr_chk_dis, elp) &&
        (bit(sideband->rte_eqs_trill_en_q, ELP) || !evtVlan(tsr_reg, elp, shim->egr_ivid).egr_sup_dis);
    if (suppress && !shim->dont_touch)
        return 1;
    return isSwitched(shim->routed) && isMcastCopy(shim) && iIVID(shim) != shim->egr_ivid;
}

int vlan_filtering(const shim_t *shim, eqs_side_band_t *sideband, int pre, uint32_t elp, const tsr_dmp_t *tsr_reg) {
    const bool vlan_drop = evtVlan(tsr_reg, elp, shim->egr_ivid).vlan_drop;
    if (vlan_drop && eqs_verbose()) {
        const uint32_t pair = shim->egr_ivid >> 1;
        const uint32_t word = dmpEntryWords<EqsEvt>(tsr_reg, evtIdx(elp, pair))[0];
        cmPrintf(" elp is %d, evt_idx is %x, evt mem: %08x\n", static_cast<int>(elp), pair, word);
    }
    if (!vlan_drop || shim->dont_touch)
        return 0;
    if (pre && isMcastCopyByTable(shim))
        return 0;
    return !bit(sideband->rte_eqs_trill_en_q, elp);
}

int eqs_egress_proc(const uint8_t *frm, uint32_t pkt_len, const shim_t *shim, eqs_side_band_t *sideband,
                    tsr_dmp_t *tsr_reg, int vb) {
    const uint32_t elp = queueElp(tsr_reg, sideband->hsq_eqs_qid_q);
    sideband->elp = elp;
    cmState().eqsVerbose = vb;

    if (elp == 36 || elp == 37) {
        say("Frame goes to CPU ");
        return 1;
    }
    if (elp == 38)
        return dropFrame(sideband, "Frame goes to CPU timeout lossless queue ");
    if (elp == kDiscardElp)
        return dropFrame(sideband, "Frame came in discarded queue, discarded");

    if (suppressedOrFiltered(shim, sideband, 1, elp, tsr_reg))
        return 1;

    const EqsVpt vpt = dmpEntry<EqsVpt>(tsr_reg, shim->egr_ivid);
    sideband->transparent_vlan = vpt.transparent_vlan;
    sideband->final_vpnid = egressVpn(shim, elp, vpt, tsr_reg);
    sideband->final_eivid = finalEivid(shim, tsr_reg);

    // A routed IPv4 frame that may be fragmented is not held to the MTU here.
    const bool mayFragment = shim->routed == ROUTED_IPV4 && !(ipField(frm, pkt_len, 6, 2) & 0x4000);
    if (!mayFragment && pkt_len > mtuOf(tsr_reg, shim->routed == ROUTED_IPV6, shim->egr_ivid))
        return dropFrame(sideband, "Frame dropped due to MTU violation");

    if (suppressedOrFiltered(shim, sideband, 0, elp, tsr_reg))
        return 1;

    if (vpnFiltered(shim, sideband, elp, tsr_reg) && !shim->dont_touch)
        return dropFrame(sideband, "Frame dropped due to VPN ID filtering ");

    sideband->elp = elp;
    if (shim->routed == ROUTED_IPV4)
        countFragments(frm, pkt_len, shim, sideband, elp, tsr_reg);
    else if (shim->routed == ROUTED_IPV6)
        pim_encap_required(shim, sideband, tsr_reg);

    sideband->wired_eivid = evtVlan(tsr_reg, elp, sideband->final_eivid).wired_eivid;

    if (sideband->pim_encap)
        countPim(shim, sideband, tsr_reg);

    tunnelParameters(shim, sideband, tsr_reg);
    return 0;
}
