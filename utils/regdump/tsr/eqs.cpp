#include "eqs.h"

#include "base/cmRteVerdict.h"
#include "base/cmUtl.h"
#include "be_word.h"
#include "cm_glue.h"

#include <cstdio>

static int verbose = 0;

/// Sequence counters, one a logical port.
static uint32_t eqs_seq[32];

namespace {

constexpr uint32_t kDiscardElp = 0xffffffffu;
constexpr uint32_t kIpHdrOffset = 16;
constexpr uint32_t kPimExtra = 112;

/// Prints a line of the stage's trace.
void say(const char *line) {
    if (verbose)
        std::puts(line);
}

int dropFrame(eqs_side_band_t *sideband, const char *line) {
    say(line);
    sideband->drop = 1;
    return 1;
}

uint32_t iIVID(const shim_t *shim) {
    return shim->ing_ivid_12_9 << 9 | shim->ing_ivid_8_0;
}

/// A copy of an IP multicast frame, whose VLAN the multicast tables give.
bool isMcastCopy(const shim_t *shim) {
    return shim->is_mgid && shim->w1_15_14 == MCAST_L3;
}

/// One whose group points into the tables; all ones in the upper bits say that the group is the VLAN itself.
bool isMcastCopyByTable(const shim_t *shim) {
    return isMcastCopy(shim) && bits(shim->w2_16_0, 16, 14) < 7;
}

/// The VLAN and port entry of VLAN pair `evtIdx` of port `elp`.
uint32_t evtWord(const tsr_dmp_t *tsr_reg, uint32_t elp, uint32_t evtIdx) {
    return dmpWord(tsr_reg, offsetof(tsr_dmp_t, eqs_evt_mem), uint64_t{elp} * 4096 + evtIdx);
}

/// A flag of VLAN `vid` at port `elp`, which stands at another bit for even and for odd VIDs.
bool evtFlag(const tsr_dmp_t *tsr_reg, uint32_t elp, uint32_t vid, unsigned evenBit, unsigned oddBit) {
    return bit(evtWord(tsr_reg, elp, vid >> 1), vid & 1 ? oddBit : evenBit);
}
bool evtVlanDrop(const tsr_dmp_t *tsr_reg, uint32_t elp, uint32_t vid) {
    return evtFlag(tsr_reg, elp, vid, 12, 28);
}
bool evtHairpin(const tsr_dmp_t *tsr_reg, uint32_t elp, uint32_t vid) {
    return evtFlag(tsr_reg, elp, vid, 4, 0);
}
bool evtVpnDropInner(const tsr_dmp_t *tsr_reg, uint32_t elp, uint32_t vid) {
    return evtFlag(tsr_reg, elp, vid, 3, 9);
}
bool evtVpnDropStag(const tsr_dmp_t *tsr_reg, uint32_t elp, uint32_t vid) {
    return evtFlag(tsr_reg, elp, vid, 5, 1);
}

/// The VLAN of a multicast copy.
uint32_t copyVlan(const tsr_dmp_t *tsr_reg, const shim_t *shim) {
    return dmpWord(tsr_reg, offsetof(tsr_dmp_t, eqs_pit_mem), shim->w2_16_0 & 0xfff) & 0x1fff;
}

uint32_t mtuWord(const tsr_dmp_t *tsr_reg, uint32_t cls, uint32_t vid) {
    return bits(dmpWord(tsr_reg, offsetof(tsr_dmp_t, eqs_mrt_mem), cls * 8192 + vid), 13, 0);
}

/// `n` bytes at `offset` of the IP header, big-endian; bytes behind the frame's end are 0.
uint32_t ipField(const uint8_t *frm, uint32_t pkt_len, uint32_t offset, uint32_t n) {
    const uint8_t *hdr = find_ip_hdr_in_frm(frm);
    uint32_t value = 0;
    for (uint32_t i = offset; i < offset + n; i++)
        value = value << 8 | (kIpHdrOffset + i < pkt_len ? hdr[i] : 0u);
    return value;
}

/// Logical port of queue `q`.
uint32_t queueElp(const tsr_dmp_t *tsr_reg, uint32_t q) {
    if (q >> 5 == 8) {
        const uint32_t map = dmpWord(tsr_reg, offsetof(tsr_dmp_t, eqs_phy2log_map), q >> 3 & 3);
        return bits(map >> (q & 3) * 8, 4, 0);
    }
    const uint32_t elp = q >> 3;
    if (elp == 38 && q & 1)
        return kDiscardElp;
    return elp;
}

/// The frame's VPN at its egress port, translated where the table says so.
uint32_t egressVpn(const shim_t *shim, uint32_t elp, uint32_t vptWord, const tsr_dmp_t *tsr_reg) {
    uint32_t vpn = bits(vptWord, 19, 0);
    if (isSwitched(shim->routed))
        vpn = shim->vpn_id;
    for (uint32_t i = 0; i < 4096; i++) {
        const uint32_t tcm = dmpWord(tsr_reg, offsetof(tsr_dmp_t, eqs_tcm_mem), 2 * i);
        // The port field and the VPN share bit 19.
        if (bits(tcm, 23, 19) != elp || bits(tcm, 19, 0) != vpn)
            continue;
        const uint32_t trt = dmpWord(tsr_reg, offsetof(tsr_dmp_t, eqs_trt_mem), i);
        return bit(trt, 20) ? bits(trt, 19, 0) : 0;
    }
    return vpn;
}

uint32_t finalEivid(const shim_t *shim, const tsr_dmp_t *tsr_reg) {
    if (!isMcastCopy(shim))
        return shim->egr_ivid;
    if (isMcastCopyByTable(shim))
        return copyVlan(tsr_reg, shim);
    return bits(shim->w2_16_0, 12, 0);
}

/// The VPN filter's bit for this frame.
bool vpnFiltered(const shim_t *shim, const eqs_side_band_t *sideband, uint32_t elp, const tsr_dmp_t *tsr_reg) {
    if (!bit(sideband->rte_eqs_trill_en_q, elp)) {
        if (shim->rcv_inner_tagged)
            return evtVpnDropInner(tsr_reg, elp, shim->egr_ivid);
        if (shim->rcv_s_tagged)
            return evtVpnDropStag(tsr_reg, elp, shim->egr_ivid);
        return false;
    }
    if (!shim->trill_mc)
        return false;
    static const uint32_t vpnBit[8] = {0x20, 0x10, 8, 4, 2, 1, 0x200, 0x100};
    return evtWord(tsr_reg, elp, shim->vpn_id >> 3 & 0xfff) & vpnBit[shim->vpn_id & 7];
}

/// MTU, fragments and sequence number of a routed IPv4 frame.
void countFragments(const uint8_t *frm, uint32_t pkt_len, const shim_t *shim, eqs_side_band_t *sideband, uint32_t elp,
                    const tsr_dmp_t *tsr_reg) {
    const uint32_t mtu = mtuWord(tsr_reg, 0, shim->egr_ivid);
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
        sideband->eqs_seq = eqs_seq[elp];
        eqs_seq[elp] += sideband->num_frags;
    }
}

/// Takes a number from the PIM counter of the copy's VLAN and moves the counter on in the image.
void countPim(const shim_t *shim, eqs_side_band_t *sideband, tsr_dmp_t *tsr_reg) {
    const uint32_t idx = copyVlan(tsr_reg, shim);
    constexpr size_t base = offsetof(tsr_dmp_t, eqs_fit_mem);
    const uint32_t counter = dmpWord(tsr_reg, base, idx);
    sideband->pim_cnt = bits(counter, 15, 0);
    // Counters of VLANs behind the memory are the words that follow it in the image.
    setImageWord(tsr_reg, base + size_t{idx} * 4, (counter + sideband->num_frags) & 0xffff);
}
static_assert(offsetof(tsr_dmp_t, eqs_fit_mem) + 4 * 0x2000 <= sizeof(tsr_dmp_t));

void tunnelParameters(const shim_t *shim, eqs_side_band_t *sideband, const tsr_dmp_t *tsr_reg) {
    const uint32_t idx = shim->w2_16_0 & 0xfff;
    auto pet = [&](uint32_t word) { return dmpWord(tsr_reg, offsetof(tsr_dmp_t, eqs_pet_mem), idx * 8 + word); };

    if (shim->routed == ROUTED_IPV4) {
        sideband->mac_da = pet(0);
        sideband->mac_da1 = bits(pet(1), 15, 0);
        sideband->dbr_id = bits(pet(1), 30, 15);
        sideband->ipv4_da = pet(2);
        sideband->ipv4_sa = pet(3);
        sideband->m_bit = bit(pet(4), 1);
        sideband->b_bit = bit(pet(4), 0);
        sideband->trill_da = pet(5);
    } else if (shim->routed == ROUTED_IPV6) {
        sideband->mac_da = pet(0);
        sideband->mac_da1 = bits(pet(1), 15, 0);
        sideband->dbr_id = bits(pet(1), 30, 15);
        sideband->flow_id = bits(pet(2), 19, 0);
        sideband->m_bit = bit(pet(2), 30);
        sideband->b_bit = bit(pet(2), 31);
        for (uint32_t i = 0; i < 4; i++)
            sideband->ipv6_sa[i] = pet(3 + i);
        // The DA of the next entry lands in the SA too and ipv6_da stays as it is: the chip model's way.
        for (uint32_t i = 0; i < 4; i++)
            sideband->ipv6_sa[i] = pet(8 + i);
        sideband->trill_da = bits(pet(12), 30, 15);
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
    return verbose;
}

void eqs_init(void) {
    std::memset(eqs_seq, 0, sizeof eqs_seq);
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

    const uint32_t ILP = shim->ing_chip << 6 | shim->ing_port;
    const uint32_t ELP = dmpWord(tsr_reg, offsetof(tsr_dmp_t, eqs_zirk_id), 0) * 64 | elp;
    const uint32_t ilpEntry = dmpWord(tsr_reg, offsetof(tsr_dmp_t, eqs_ingr_lag_tbl), ILP);
    const uint32_t ILAG = bits(ilpEntry, 24, 15);
    const uint32_t lgid = dmpWord(tsr_reg, offsetof(tsr_dmp_t, eqs_egr_lgid), elp);
    const uint32_t ELAG = bit(lgid, 10) ? bits(lgid, 9, 0) : 0xffffffffu;
    sideband->trill_sa = bits(ilpEntry, 15, 0);

    const uint32_t supprOff = dmpWord(tsr_reg, offsetof(tsr_dmp_t, eqs_spr_chk_ctrl), 0);
    const bool suppress = (ILP == ELP || ELAG == ILAG) && !routed_at_egress && !shim->pim_decap &&
                          !bit(supprOff, elp) &&
                          (bit(sideband->rte_eqs_trill_en_q, ELP) || !evtHairpin(tsr_reg, elp, shim->egr_ivid));
    if (suppress && !shim->dont_touch)
        return 1;
    return isSwitched(shim->routed) && isMcastCopy(shim) && iIVID(shim) != shim->egr_ivid;
}

int vlan_filtering(const shim_t *shim, eqs_side_band_t *sideband, int pre, uint32_t elp, const tsr_dmp_t *tsr_reg) {
    const bool vlan_drop = evtVlanDrop(tsr_reg, elp, shim->egr_ivid);
    if (vlan_drop && verbose) {
        const uint32_t evt_idx = shim->egr_ivid >> 1;
        std::printf(" elp is %d, evt_idx is %x, evt mem: %08x\n", static_cast<int>(elp), evt_idx,
                    evtWord(tsr_reg, elp, evt_idx));
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
    verbose = vb;

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

    const uint32_t vptWord = dmpWord(tsr_reg, offsetof(tsr_dmp_t, eqs_vpt_mem), shim->egr_ivid);
    sideband->transparent_vlan = bit(vptWord, 19);
    sideband->final_vpnid = egressVpn(shim, elp, vptWord, tsr_reg);
    sideband->final_eivid = finalEivid(shim, tsr_reg);

    // A routed IPv4 frame that may be fragmented is not held to the MTU here.
    const bool mayFragment = shim->routed == ROUTED_IPV4 && !(ipField(frm, pkt_len, 6, 2) & 0x4000);
    if (!mayFragment && pkt_len > mtuWord(tsr_reg, shim->routed == ROUTED_IPV6, shim->egr_ivid))
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

    const uint32_t evt = evtWord(tsr_reg, elp, sideband->final_eivid >> 1);
    sideband->wired_eivid = sideband->final_eivid & 1 ? bits(evt, 30, 15) : bits(evt, 15, 0);

    if (sideband->pim_encap)
        countPim(shim, sideband, tsr_reg);

    tunnelParameters(shim, sideband, tsr_reg);
    return 0;
}
