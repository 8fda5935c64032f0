#include "emc.h"

#include "base/cmOut.h"
#include "base/cmRteVerdict.h"
#include "base/cmUtl.h"
#include "dmp_entry.h"
#include "eqs.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

uint32_t compute_cksum(void) {
    return 0;
}
uint32_t pri_remap(void) {
    return 0;
}
uint32_t dp_remap(void) {
    return 0;
}

namespace {

constexpr uint32_t kHeadRoom = 108;
constexpr uint32_t kEcnCe = 3; // congestion experienced
constexpr uint32_t kSeqHdrLen = 8;
constexpr uint32_t kVsanHdrLen = 8;

/// The frame that comes in; bytes behind its end are 0.
class Input {
public:
    Input(const uint8_t *frm_, uint32_t len_) : frm(frm_), len(len_) {}
    uint32_t byte(uint32_t pos) const { return pos < len ? frm[pos] : 0; }
    uint32_t hword(uint32_t pos) const { return byte(pos) << 8 | byte(pos + 1); }
    uint32_t size() const { return len; }

private:
    const uint8_t *frm;
    uint32_t len;
};

/// The frame that is built; bytes that would fall behind the buffer's end are lost.
class Output {
public:
    explicit Output(uint32_t cap) : bytes(cap, 0) {}
    uint32_t get(uint32_t pos) const { return pos < bytes.size() ? bytes[pos] : 0; }
    void set(uint32_t pos, uint32_t value) {
        if (pos < bytes.size())
            bytes[pos] = static_cast<uint8_t>(value);
    }
    /// Writes the low `n` bytes of `value` at `pos`, most significant first.
    void num(uint32_t pos, uint32_t value, uint32_t n) {
        for (uint32_t i = 0; i < n; i++)
            set(pos + i, value >> 8 * (n - 1 - i));
    }
    /// Upper 32 and low 16 bits of an address.
    void mac(uint32_t pos, uint32_t hi, uint32_t lo) {
        num(pos, hi, 4);
        num(pos + 4, lo, 2);
    }
    /// Upper 16 and low 32 bits of an address, as the parser's registers divide it; what `hi` has above is not written.
    void prcMac(uint32_t pos, uint32_t hi, uint32_t lo) {
        num(pos, hi, 2);
        num(pos + 2, lo, 4);
    }
    void copy(uint32_t pos, const Input &in, uint32_t from, uint32_t n) {
        for (uint32_t i = 0; i < n; i++)
            set(pos + i, in.byte(from + i));
    }
    uint32_t cap() const { return static_cast<uint32_t>(bytes.size()); }
    const uint8_t *data() const { return bytes.data(); }

private:
    std::vector<uint8_t> bytes;
};

/// Registers of the frame's port and of its group of four ports.
class Regs {
public:
    Regs(const tsr_dmp_t *tsr_reg_, uint32_t elp_) : tsr_reg(tsr_reg_), elp(elp_) {}
    template <class Entry> Entry port(uint64_t idx = 0) const { return dmpPortEntry<Entry>(tsr_reg, elp, idx); }
    template <class Entry> Entry quad() const { return dmpQuadEntry<Entry>(tsr_reg, elp / 4); }

private:
    const tsr_dmp_t *tsr_reg;
    uint32_t elp;
};

/// One frame's edit: what is read, what is written, and the places of both.
struct Edit {
    Edit(const Input &in_, const shim_t &shim_, const emc_side_band_t &side_, const Regs &regs_)
        : in(in_), shim(shim_), side(side_), regs(regs_), out(in_.size() + kHeadRoom) {
        has_trill_hdr = shim.rcv_trill;
        has_trill_tag = has_trill_hdr && shim.rcv_outer_tagged;
        has_trill_option = has_trill_hdr && shim.rcv_trill_option;
        has_stag = shim.rcv_s_tagged;
        has_ctag = shim.rcv_inner_tagged;
        has_pim_hdr = shim.pim_decap;
        need_trill_hdr = bit(side.rte_trill_en_q, side.eqs_elp);
        need_trill_tag = need_trill_hdr && regs.port<EmcOuterVlan>().need_trill_tag;
        need_trill_option = need_trill_hdr;
        need_ctag = need_trill_hdr || side.transparent_vlan || side.c_tagged;
        need_stag = side.s_tagged;
        need_pim_hdr = side.ipv4_encap || side.ipv6_encap;
    }

    const Input &in;
    const shim_t &shim;
    const emc_side_band_t &side;
    const Regs &regs;
    Output out;
    uint32_t pos1 = 0;     // place in the input
    uint32_t pos2 = 0;     // place in the output
    uint32_t ipPos = 0;    // place of the inner IP header in the output
    uint32_t ipHdrLen = 0; // its length, 0 for a frame without one
    bool has_trill_hdr, has_trill_tag, has_trill_option;
    bool has_stag, has_ctag;
    bool has_pim_hdr;
    bool need_trill_hdr, need_trill_tag, need_trill_option;
    bool need_ctag, need_stag;
    bool need_pim_hdr;
    bool need_cn_tag = false;
};

/// The code point of the port's DSCP map in the upper six bits of a traffic class.
uint32_t mappedDscp(const Edit &e) {
    return e.regs.port<EmcDscpRemap>(e.side.eacl_dscp).dscp << 2;
}

/// Copies `n` bytes of the input to the output.
void copyOn(Edit &e, uint32_t n) {
    e.out.copy(e.pos2, e.in, e.pos1, n);
    e.pos1 += n;
    e.pos2 += n;
}

/// Outer addresses, tag and TRILL header of a frame that leaves into the TRILL campus.
void writeTrill(Edit &e) {
    const EmcOuterVlan outerVlan = e.regs.port<EmcOuterVlan>();
    const EmcComReg2 comReg2 = e.regs.quad<EmcComReg2>();

    // The low half of the all-RBridges address comes first in the side band, the high half of the others.
    if (e.shim.trill_mc)
        e.out.prcMac(0, e.side.trill_all_rb_da1, e.side.trill_all_rb_da);
    else
        e.out.prcMac(0, e.side.trill_out_da, e.side.trill_out_da1);
    e.out.prcMac(6, e.side.trill_out_sa, e.side.trill_out_sa1);
    e.pos2 = 12;

    if (e.need_trill_tag) {
        e.out.num(e.pos2, outerVlan.tpid, 2);
        e.out.num(e.pos2 + 2, pri_remap() << 13 | outerVlan.vid, 2);
        e.pos2 += 4;
    }

    e.out.num(e.pos2, e.side.trill_etype, 2);
    uint32_t hopCnt = comReg2.trill_hop_cnt;
    if (e.shim.rcv_trill && !e.shim.trill_term && isSwitched(e.shim.routed)) // transit
        hopCnt = (e.in.byte(e.has_trill_tag ? 19 : 15) - 1) & 0x3f;
    e.out.num(e.pos2 + 2, e.shim.trill_mc << 11 | comReg2.trill_opt_len << 6 | hopCnt, 2);
    if (e.need_pim_hdr) {
        e.out.num(e.pos2 + 4, e.side.eqs_trill_da, 2);
        e.out.num(e.pos2 + 6, e.side.eqs_trill_sa, 2);
    } else {
        e.out.num(e.pos2 + 4, e.shim.trill_da, 2);
        e.out.num(e.pos2 + 6, e.shim.mct_srbridge_vld ? e.side.eqs_trill_sa : e.side.rte_trill_sa, 2);
    }
    e.pos2 += 8;

    if (e.need_trill_option) {
        const uint32_t defOpt = e.regs.port<EmcDefTrillOpt>().def_trill_opt;
        e.out.num(e.pos2, 0, 4);
        e.out.num(e.pos2 + 4, defOpt << 24 | bits(comReg2.trill_opt_len + 3, 6, 0) << 16, 4);
        e.out.num(e.pos2 + 8, bits(e.side.final_vpnid, 19, 0), 4);
        e.pos2 += 12;
    }
}

void writeAddresses(Edit &e) {
    const bool b_trunk = isIpRouted(e.shim.routed) && e.side.egr_routed;
    const bool familyEncap =
        e.shim.routed == ROUTED_IPV4 ? e.side.ipv4_encap : e.shim.routed == ROUTED_IPV6 && e.side.ipv6_encap;
    if (b_trunk && familyEncap)
        e.out.mac(e.pos2, e.side.eqs_mac_da, e.side.eqs_mac_da1);
    else
        e.out.copy(e.pos2, e.in, e.pos1, 6);
    if (b_trunk)
        e.out.mac(e.pos2 + 6, e.regs.port<EmcRouterMacSaHi>().router_mac_sa_hi,
                  e.regs.port<EmcRouterMacSaLo>().router_mac_sa_lo);
    else
        e.out.copy(e.pos2 + 6, e.in, e.pos1 + 6, 6);
    e.pos1 += 12;
    e.pos2 += 12;
}

void writeStag(Edit &e, const EmcPriDpRemap &remap) {
    if (e.need_stag) {
        const uint32_t rcvTci = e.in.hword(e.pos1 + 2);
        uint32_t prio = e.has_stag ? bits(rcvTci, 15, 13) : e.shim.egr_vlan_pri;
        uint32_t dei = e.has_stag ? bit(rcvTci, 12) : 0;
        if (remap.stag_pri_remap)
            prio = pri_remap();
        if (remap.stag_dp_remap)
            dei = dp_remap();
        e.out.num(e.pos2, e.side.rte_cfg_stag_et, 2);
        e.out.num(e.pos2 + 2, prio << 13 | dei << 12 | bits(e.side.final_vpnid, 11, 0), 2);
        e.pos2 += 4;
    }
    if (e.has_stag)
        e.pos1 += 4;
}

void writeCtag(Edit &e, const EmcPriDpRemap &remap) {
    if (e.need_ctag && !(e.side.transparent_vlan && !e.has_ctag)) {
        const uint32_t rcvTci = e.in.hword(e.pos1 + 2);
        const uint32_t vid = e.side.transparent_vlan ? bits(rcvTci, 11, 0) : bits(e.side.eqs_ext_vid, 11, 0);
        uint32_t cfi = isSwitched(e.shim.routed) ? e.shim.egr_cfi : 0;
        uint32_t prio = e.has_ctag ? bits(rcvTci, 15, 13) : e.shim.egr_vlan_pri;
        if (!e.has_ctag || remap.ctag_pri_remap)
            prio = pri_remap();
        if (remap.ctag_dp_remap)
            cfi = dp_remap();
        e.out.num(e.pos2, e.side.rte_cfg_ctag_et, 2);
        e.out.num(e.pos2 + 2, prio << 13 | cfi << 12 | vid, 2);
        e.pos2 += 4;
    }
    if (e.has_ctag)
        e.pos1 += 4;
}

void passCnTag(Edit &e) {
    if (!e.shim.rcv_cn_tagged)
        return;
    if (element(e.regs.port<EmcConfig3>().cn_tag_rmv, e.shim.egr_vlan_pri)) {
        e.pos1 += 4;
        return;
    }
    copyOn(e, 4);
    e.need_cn_tag = true;
}

/// The tunnel's IP header and the PIM register header behind it.
void writePimEncap(Edit &e) {
    if (e.shim.routed == ROUTED_IPV6 && e.side.ipv6_encap) {
        const EmcPimIpv6Cfg cfg = e.regs.quad<EmcPimIpv6Cfg>();
        e.out.num(e.pos2, 6u << 28 | mappedDscp(e) << 20 | bits(e.side.flow_id, 19, 0), 4);
        e.out.num(e.pos2 + 4, 0, 2); // payload length
        e.out.num(e.pos2 + 6, cfg.next_hdr, 1);
        e.out.num(e.pos2 + 7, cfg.hop_limit, 1);
        for (uint32_t i = 0; i < 4; i++) {
            e.out.num(e.pos2 + 8 + 4 * i, e.side.ipv6_sa[i], 4);
            e.out.num(e.pos2 + 24 + 4 * i, e.side.ipv6_da[i], 4);
        }
        e.pos2 += 40;
    }
    if (e.shim.routed == ROUTED_IPV4 && e.side.ipv4_encap) {
        const EmcPimIpv4Cfg cfg = e.regs.quad<EmcPimIpv4Cfg>();
        e.out.num(e.pos2, 0x45, 1);
        e.out.num(e.pos2 + 1, mappedDscp(e), 1);
        e.out.num(e.pos2 + 2, 0, 2); // total length
        e.out.num(e.pos2 + 4, e.side.pim_cnt, 2);
        e.out.num(e.pos2 + 6, 0, 2); // flags and offset
        e.out.num(e.pos2 + 8, cfg.ttl, 1);
        e.out.num(e.pos2 + 9, cfg.protocol, 1);
        e.out.num(e.pos2 + 10, compute_cksum(), 2);
        e.out.num(e.pos2 + 12, e.side.ipv4_sa, 4);
        e.out.num(e.pos2 + 16, e.side.ipv4_da, 4);
        e.pos2 += 24; // the chip leaves four bytes behind the header
    }
    const EmcPimCfg pim = e.regs.quad<EmcPimCfg>();
    e.out.num(e.pos2, pim.pim_ver << 4 | pim.pim_typ, 1);
    e.out.num(e.pos2 + 1, pim.pim_rsvd, 1);
    e.out.num(e.pos2 + 2, compute_cksum(), 2);
    e.out.num(e.pos2 + 4, e.side.b_bit << 31, 4);
    e.pos2 += 8;
}

/// The traffic class for the header that received `rcv`: the mapped code point, and the received ECN or its mark.
uint32_t trafficClass(const Edit &e, uint32_t rcv) {
    const bool markEcn = !e.shim.is_mgid && e.shim.w1_15_14 == kEcnCe;
    return mappedDscp(e) | (markEcn ? kEcnCe : rcv & 3);
}

void editIpHeader(Edit &e) {
    e.ipPos = e.pos2;
    if (carriesIpv6(e.shim.routed)) {
        copyOn(e, 40);
        if (e.shim.routed == ROUTED_IPV6)
            e.out.set(e.ipPos + 7, e.out.get(e.ipPos + 7) - 1);
        const uint32_t b0 = e.out.get(e.ipPos);
        const uint32_t b1 = e.out.get(e.ipPos + 1);
        const uint32_t tclass = trafficClass(e, (b0 & 0xf) << 4 | b1 >> 4);
        e.out.set(e.ipPos, (b0 & 0xf0) | tclass >> 4);
        e.out.set(e.ipPos + 1, (tclass & 0xf) << 4 | (b1 & 0xf));
        e.ipHdrLen = 40;
    } else if (carriesIpv4(e.shim.routed)) {
        copyOn(e, 24);
        if (e.shim.routed == ROUTED_IPV4)
            e.out.set(e.ipPos + 8, e.out.get(e.ipPos + 8) - 1);
        e.out.set(e.ipPos + 1, trafficClass(e, e.out.get(e.ipPos + 1)));
        e.ipHdrLen = 4 * (e.out.get(e.ipPos) & 0xf);
    }
}

/// Takes a received VSAN header out and puts one in, as the shim says.
void editVsanHeader(Edit &e) {
    if (!isFcoeRouted(e.shim.routed))
        return;
    copyOn(e, 14);
    const bool received = shimVsanReceived(e.shim);
    const uint32_t rcvPos = e.pos1;
    if (received)
        e.pos1 += kVsanHdrLen;
    if (!shimVsanWanted(e.shim))
        return;
    const uint32_t vfid = shimVsanVfid(e.shim) << 1;
    if (received) {
        e.out.copy(e.pos2, e.in, rcvPos, kVsanHdrLen);
        e.out.set(e.pos2 + 4, e.in.byte(rcvPos + 4) - 1);
        e.out.num(e.pos2 + 2, (e.in.hword(rcvPos + 2) & 0xe001) | vfid, 2);
    } else {
        e.out.num(e.pos2, 0x50, 1);
        e.out.num(e.pos2 + 1, 0x40, 1);
        e.out.num(e.pos2 + 2, pri_remap() << 13 | vfid, 2);
        e.out.num(e.pos2 + 4, e.regs.quad<EmcComReg0>().vsan_ttl, 1);
        e.out.num(e.pos2 + 5, 0, 3);
    }
    e.pos2 += kVsanHdrLen;
}

/// The sequence header of fragment `idx`.
void writeSeqHeader(uint8_t *frm, const emc_side_band_t &side, uint32_t idx) {
    CmSetDword(((side.eqs_seq + idx) & 0x3ff) << 6 | (side.eqs_seq_val & 1) << 5, 4, frm);
    CmSetDword(1u << 28 | (compute_cksum() & 0xf) << 24, 4, frm + 4);
}

/// `cnt` zeros, for the caller of the stage to free.
template <typename T> T *allocate(uint32_t cnt) {
    T *const items = static_cast<T *>(std::calloc(cnt, sizeof(T)));
    if (items == nullptr)
        throw std::bad_alloc();
    return items;
}

/// The frames that go out, allocated as the caller frees them.
struct Frames {
    explicit Frames(uint32_t cnt) : frm(allocate<uint8_t *>(cnt)), len(allocate<uint32_t>(cnt)) {}

    /// Frame `idx` of `n` bytes from `bytes`, behind a sequence header when `side` is given; returns its first byte.
    uint8_t *put(uint32_t idx, const uint8_t *bytes, uint32_t n, const emc_side_band_t *side) {
        const uint32_t head = side ? kSeqHdrLen : 0;
        uint8_t *buf = allocate<uint8_t>(head + n + 1);
        if (side)
            writeSeqHeader(buf, *side, idx);
        std::copy_n(bytes, n, buf + head);
        frm[idx] = buf;
        len[idx] = head + n;
        return buf + head;
    }

    uint8_t **frm;
    uint32_t *len;
};

/// Cuts the built frame of `len` bytes into `eqs_nfrag` frames of the header and `mtu` bytes each; the last one takes
/// the rest, as far as its buffer holds it.
void cutFragments(const Edit &e, uint32_t len, Frames &frames, const emc_side_band_t *seqSide) {
    const uint32_t bufLen = e.side.mtu + kHeadRoom;
    uint32_t from = std::min(e.ipPos + e.ipHdrLen, len);
    const uint32_t hdrLen = std::min(from, bufLen);
    std::vector<uint8_t> fragment;
    for (uint32_t i = 0; i < e.side.eqs_nfrag; i++) {
        const bool last = i + 1 == e.side.eqs_nfrag;
        const uint32_t rest = len - from;
        uint32_t payload = last ? rest : std::min(e.side.mtu, rest);
        payload = std::min(payload, bufLen - hdrLen);
        fragment.assign(e.out.data(), e.out.data() + hdrLen);
        fragment.insert(fragment.end(), e.out.data() + from, e.out.data() + from + payload);
        from += payload;
        uint8_t *frm = frames.put(i, fragment.data(), static_cast<uint32_t>(fragment.size()), seqSide);
        const bool ipv4 = carriesIpv4(e.shim.routed);
        if (ipv4 && e.ipPos + 12 <= hdrLen) {
            if (!last)
                frm[e.ipPos + 6] = static_cast<uint8_t>((frm[e.ipPos + 6] & 0x1f) | 0x20);
            CmSetDword(compute_cksum(), 2, frm + e.ipPos + 10);
        }
    }
}

} // namespace

void emc_free_frames(uint8_t **frm_out, uint32_t *out_frm_len, uint32_t frm_cnt) {
    for (uint32_t i = 0; i < frm_cnt; i++)
        std::free(frm_out[i]);
    std::free(frm_out);
    std::free(out_frm_len);
}

int emc_egress_proc(const uint8_t *frm_in, uint32_t pkt_len, const shim_t *shim, const emc_side_band_t *sideband,
                    uint8_t ***frm_out, uint32_t **out_frm_len, const tsr_dmp_t *tsr_reg) {
    if (sideband->eqs_drop || sideband->eacl_drop) {
        if (eqs_verbose())
            cmPuts("Frame dropped by EMC");
        return 1;
    }

    const Regs regs(tsr_reg, sideband->eqs_elp);
    const bool seqHeader = regs.port<EmcCfg>().seq_hdr_en;
    const emc_side_band_t *seqSide = seqHeader ? sideband : nullptr;
    Frames frames(std::max(sideband->eqs_nfrag, 1u));
    *frm_out = frames.frm;
    *out_frm_len = frames.len;

    if (shim->dont_touch) {
        // One copy leaves, whatever the number of fragments.
        frames.put(0, frm_in, pkt_len, seqSide);
        if (eqs_verbose())
            cmPuts("EMC proc done.");
        return 0;
    }

    const Input in(frm_in, pkt_len);
    Edit e(in, *shim, *sideband, regs);
    const auto remap = regs.port<EmcPriDpRemap>();
    e.pos1 = (e.has_trill_option ? 20u : 0) + (e.has_trill_hdr ? (e.has_trill_tag ? 24u : 20u) : 0);
    if (e.need_trill_hdr)
        writeTrill(e);
    writeAddresses(e);
    writeStag(e, remap);
    writeCtag(e, remap);
    passCnTag(e);
    copyOn(e, 2); // EtherType
    if (e.has_pim_hdr)
        e.pos1 += shim->routed == ROUTED_IPV4 ? 32 : 48;
    if (e.need_pim_hdr)
        writePimEncap(e);
    editIpHeader(e);
    editVsanHeader(e);

    const uint32_t rest = e.pos1 < pkt_len ? pkt_len - e.pos1 : 0;
    copyOn(e, rest);
    const uint32_t len = std::min(e.pos2, e.out.cap());
    if (sideband->eqs_nfrag < 2)
        frames.put(0, e.out.data(), len, seqSide);
    else
        cutFragments(e, len, frames, seqSide);
    return 0;
}
