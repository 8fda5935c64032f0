#include "lue/cmRteLueL3.h"

#include "base/cmRteFrm.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "tae/cmTaeL3Key.h"

#include <algorithm>
#include <iterator>

namespace {

/// The bit of a hash value that chooses one of two trees.
constexpr unsigned kTreeHshBit = 15;

/// The hash value that chooses the multicast tree of a frame without TRILL header.
uint32_t treeHsh(const CmRteStat *statPtr) {
    return statPtr->hshVal[statPtr->comRegPtr->rte_l2_exm_mgid_hsh_typ & 7];
}

/// The multicast tree that the ACL keys carry.
uint32_t trillMcastTreeId(const CmRteStat *statPtr) {
    if (statPtr->l2TrillFound)
        return statPtr->l2TrillDa == statPtr->comRegPtr->trill_mcast_rb[0];
    return bit(treeHsh(statPtr), kTreeHshBit);
}

/// Whether the frame is a fragment of a longer packet.
uint32_t isFragment(const CmRteStat *statPtr) {
    if (isIpv6(statPtr))
        return statPtr->l3Ipv6IsFragment;
    return statPtr->l3Ipv4FrgOffset != 0 || statPtr->l3Ipv4MorFrg == 1;
}

/// The six words of the flex key of profile `profile`.
const uint32_t *flexKey(const CmRteStat *statPtr, uint32_t profile) {
    switch (profile & 3) {
    case 0:
        return statPtr->flexKey0;
    case 1:
        return statPtr->flexKey1;
    case 2:
        return statPtr->flexKey2;
    default:
        return statPtr->flexKey3;
    }
}

/// Puts a 128-bit address into four words, high word first.
void putIpv6(uint32_t *key, uint64_t addr0, uint64_t addr1) {
    key[0] = static_cast<uint32_t>(addr0 >> 32);
    key[1] = static_cast<uint32_t>(addr0);
    key[2] = static_cast<uint32_t>(addr1 >> 32);
    key[3] = static_cast<uint32_t>(addr1);
}

/// The fields that both IP keys have.
template <class Key> Key ipKey(const CmRteStat *statPtr) {
    const uint32_t flags = statPtr->l4TcpFlags;
    Key key{};
    key.l3_ip_tos = statPtr->IpDscpForPsel;
    key.l3_mcast_reg_encap = statPtr->l3IpMcastRegEncap;
    key.my_rp_idx = statPtr->l3IpDaRpIdx;
    key.trill_mcast_tree_id = trillMcastTreeId(statPtr);
    key.my_ip_addr = statPtr->l3FwdIsMyIpDa;
    key.l3_sa_gid = statPtr->l3FwdIsSaGrp;
    key.l3_da_gid = statPtr->l3FwdIsDaGrp;
    key.iivid_cugid_mcuid = statPtr->iivid;
    key.tcp_fin = bit(flags, TCP_FIN);
    key.tcp_syn = bit(flags, TCP_SYN);
    key.tcp_rst = bit(flags, TCP_RST);
    key.tcp_ack = bit(flags, TCP_ACK);
    key.tcp_urg = bit(flags, TCP_URG);
    key.tcp_psh = bit(flags, TCP_PSH);
    key.is_fragment = isFragment(statPtr);
    key.iwprio = statPtr->igPriMapIwpri;
    key.l3_acl_lgc_port = statPtr->portRegPtr->rte_prc_l3_psel_port;
    key.policy_id = statPtr->policyId;
    key.vrf_id = statPtr->vrfId;
    key.mda_id = statPtr->myDaId;
    key.ip_protocol = statPtr->l3IpUlp;
    key.l4_dst_port_rng_idx = statPtr->l4DstPortRngIdx;
    key.l4_dst_port_rng_hit = statPtr->l4DstPortRngHit;
    key.l4_src_port_rng_idx = statPtr->l4SrcPortRngIdx;
    key.l4_src_port_rng_hit = statPtr->l4SrcPortRngHit;
    key.vpn_id = statPtr->vpn_id;
    key.l4_dst_port = statPtr->typL4Dst;
    return key;
}

TaeL3Ipv4 ipv4Key(const CmRteStat *statPtr) {
    auto key = ipKey<TaeL3Ipv4>(statPtr);
    key.frag_flags = statPtr->l3Ipv4Flag;
    key.frag_offset = statPtr->l3Ipv4FrgOffset;
    key.first_fragment = statPtr->l3Ipv4FrgOffset == 0 && statPtr->l3Ipv4MorFrg == 1;
    key.ihl_gt5 = statPtr->l3IpIhl >= 6;
    key.l3_ipv4_sa = static_cast<uint32_t>(statPtr->l3IpSa0);
    key.l3_ipv4_da = static_cast<uint32_t>(statPtr->l3IpDa0);
    key.ipv4_ttl = statPtr->l3IpTtl;
    key.ipv4_tlen = statPtr->l3IpTlen;
    key.l4_src_port_o_icmpv4_type = statPtr->typL4Src;
    return key;
}

TaeL3Ipv6 ipv6Key(const CmRteStat *statPtr) {
    auto key = ipKey<TaeL3Ipv6>(statPtr);
    key.frag_flag = statPtr->l3Ipv6FragFlag;
    key.frag_offset = statPtr->l3Ipv6FragOffset;
    key.first_fragment = statPtr->l3Ipv6FirstFragment;
    key.l3_ipv6_sa_0 = static_cast<uint32_t>(statPtr->l3IpSa0 >> 32);
    key.l3_ipv6_sa_1 = static_cast<uint32_t>(statPtr->l3IpSa0);
    key.l3_ipv6_sa_2 = static_cast<uint32_t>(statPtr->l3IpSa1 >> 32);
    key.l3_ipv6_sa_3 = static_cast<uint32_t>(statPtr->l3IpSa1);
    key.l3_ipv6_da_0 = static_cast<uint32_t>(statPtr->l3IpDa0 >> 32);
    key.l3_ipv6_da_1 = static_cast<uint32_t>(statPtr->l3IpDa0);
    key.l3_ipv6_da_2 = static_cast<uint32_t>(statPtr->l3IpDa1 >> 32);
    key.l3_ipv6_da_3 = static_cast<uint32_t>(statPtr->l3IpDa1);
    key.ipv6_ttl = statPtr->l3IpTtl;
    key.ip_tlen = statPtr->l3IpTlen;
    key.l4_src_port_o_icmpv6_type = statPtr->typL4Src;
    return key;
}

TaeL3Fcoe fcoeKey(const CmRteStat *statPtr) {
    TaeL3Fcoe key{};
    key.fc_f_ctl_bits = bit(statPtr->l2FcoeFcFctl, 21) << 1 | bit(statPtr->l2FcoeFcFctl, 19);
    key.fcoe_ve_routed = statPtr->l2FcoeVeRouted;
    key.fcoe_vf_routed = statPtr->l2FcoeVfRouted;
    key.iivid = statPtr->iivid;
    key.fc_payload_0 = statPtr->l2FcoeFcPld0;
    key.fc_payload_35 = statPtr->l2FcoeFcPld35;
    key.fc_payload_36 = statPtr->l2FcoeFcPld36;
    key.fc_payload_41 = statPtr->l2FcoeFcPld41;
    key.fcoe_vfid = statPtr->l2FcoeClsVfid;
    key.fcoe_ver = statPtr->l2FcoeVersion;
    key.fc_r_ctl = statPtr->l2FcoeFcRctl;
    key.fc_cs_ctl = statPtr->l2FcoeFcCsctl;
    key.policy_id = statPtr->policyId;
    key.vpn_id = statPtr->vpn_id;
    key.fc_sid = statPtr->l2FcoeFcSid;
    key.mda_id = statPtr->myDaId;
    key.vfid_typ = statPtr->l2FcoeClsVfidTyp;
    key.fc_did = statPtr->l2FcoeFcDid;
    key.l2_rcv_prio = statPtr->igPriMapIwpri;
    key.l3_acl_lgc_port = statPtr->portRegPtr->rte_prc_l3_psel_port;
    key.fc_sof = statPtr->l2FcoeFcSof;
    key.fc_did_gid = statPtr->l2FcoeLuDaGrpId;
    key.fc_sid_gid = statPtr->l2FcoeLuSaGrpId;
    key.fc_oxid = statPtr->l2FcoeFcOxid;
    return key;
}

/// Writes the key of `fields` to `key` as the TCAM compares it.
template <class KeyR, class Fields> void putReshuffled(uint32_t *key, const Fields &fields) {
    const auto in = plainKey(fields);
    KeyR out;
    ReshuffleKey(&in, &out, 0);
    std::copy(std::begin(out.word), std::end(out.word), key);
}

// The flex keys of the other profiles have the fields of profile 0.

TaeL3IpFlex0 ipFlexKey(const CmRteStat *statPtr) {
    TaeL3IpFlex0 key{};
    key.policy_id = statPtr->policyId;
    key.l3_acl_lgc_port = statPtr->portRegPtr->rte_prc_l3_psel_port;
    key.vrf_id = statPtr->vrfId;
    key.ihl_gt5 = isIpv4(statPtr) && statPtr->l3IpIhl > 5;
    key.is_fragment = isFragment(statPtr);
    key.l3_mcast_reg_encap = statPtr->l3IpMcastRegEncap;
    key.is_ipv6 = isIpv6(statPtr);
    key.trill_mcast_tree_id = trillMcastTreeId(statPtr);
    key.trill_mc = statPtr->l2TrillMc;
    key.my_ip_addr = statPtr->l3FwdIsMyIpDa;
    key.mda_id = statPtr->myDaId;
    key.typ = statPtr->typ;
    key.iivid = statPtr->iivid;
    return key;
}

TaeL3FcoeFlex0 fcoeFlexKey(const CmRteStat *statPtr) {
    TaeL3FcoeFlex0 key{};
    key.mda_id = statPtr->myDaId;
    key.policy_id = statPtr->policyId;
    key.fpma_chk_ok = statPtr->l2FcoeFcSid == static_cast<uint32_t>(bits64(statPtr->l2Sa, 23, 0));
    key.fcoe_vfid = statPtr->l2FcoeClsVfid;
    key.l3_acl_lgc_port = statPtr->portRegPtr->rte_prc_l3_psel_port;
    key.iivid = statPtr->iivid;
    key.fcoe_vf_routed = statPtr->l2FcoeVfRouted;
    key.trill_encap = statPtr->l2TrillFound;
    key.fcoe_ve_routed = statPtr->l2FcoeVeRouted;
    key.fc_sid_gid = statPtr->l2FcoeLuSaGrpId;
    key.fc_did_gid = statPtr->l2FcoeLuDaGrpId;
    return key;
}

/// Writes the flex key of `fields`, with the free bytes of `profile`, to `key`.
template <class Fields> void putFlexKey(const CmRteStat *statPtr, uint32_t *key, uint32_t profile, Fields fields) {
    std::copy_n(flexKey(statPtr, profile), fields.flex_key.size(), fields.flex_key.begin());
    std::fill_n(key, Fields::kWords, 0u);
    pack(fields, key);
}

/// `value` moved to where the field begins. The chip does not cut it to the field's width here: what is too wide falls
/// onto the field above.
template <auto Member> constexpr uint32_t uncut(uint32_t value) {
    return value << tblPlace<Member>[0].lo;
}

/// The first word of an exact-match key; its fields stand in the first word that the entries have of the key.
template <class Entry> uint32_t exmWord0(const CmRteStat *statPtr) {
    // Without a TRILL header the chip ORs the shifted hash in as it is.
    const uint32_t tree = statPtr->l2TrillFound ? trillMcastTreeId(statPtr) : treeHsh(statPtr) >> kTreeHshBit;
    return uncut<&Entry::iivid_cugid_mcuid>(statPtr->iivid) | uncut<&Entry::trill_mcast_tree_id>(tree) |
           uncut<&Entry::my_rp_idx>(statPtr->l3IpDaRpIdx) |
           uncut<&Entry::l3_mcast_reg_encap>(statPtr->l3IpMcastRegEncap);
}

} // namespace

uint64_t Comb2Dw(const uint32_t *key) {
    return static_cast<uint64_t>(key[0]) << 32 | key[1];
}

void buildL3AclTcamKey(CmRteStat *statPtr, uint32_t *key) {
    if (isIpv4(statPtr))
        putReshuffled<L3PselIpv4TcamInKeyR>(key, ipv4Key(statPtr));
    else if (isIpv6(statPtr))
        putReshuffled<L3PselIpv6TcamInKeyR>(key, ipv6Key(statPtr));
    else if (isFcoe(statPtr))
        putReshuffled<L3PselFcoeTcamInKeyR>(key, fcoeKey(statPtr));
}

void buildL3AclTcamFlexKey(CmRteStat *statPtr, uint32_t *key, uint32_t profile) {
    if (isIp(statPtr))
        putFlexKey(statPtr, key, profile, ipFlexKey(statPtr));
    else if (isFcoe(statPtr))
        putFlexKey(statPtr, key, profile, fcoeFlexKey(statPtr));
}

void buildL3PSelExmKey(CmRteStat *statPtr, uint32_t *key) {
    if (isIpv4(statPtr)) {
        key[0] = exmWord0<TaeIpv4ExmBkt>(statPtr);
        key[1] = static_cast<uint32_t>(statPtr->l3IpDa0);
        key[2] = static_cast<uint32_t>(statPtr->l3IpSa0);
        CM_TRACE_RAW(3, "[lookupL3Acl] doIpv4ExmLu exmKey=0x%08x_%08x_%08x\n", key[0], key[1], key[2]);
    } else if (isIpv6(statPtr)) {
        key[0] = exmWord0<TaeIpv6ExmBkt>(statPtr);
        putIpv6(key + 1, statPtr->l3IpDa0, statPtr->l3IpDa1);
        putIpv6(key + 5, statPtr->l3IpSa0, statPtr->l3IpSa1);
        CM_TRACE_RAW(3, "[lookupL3Acl] doIpv6ExmLu exmKey=0x%08x_%08x_%08x_%08x_%08x_%08x_%08x_%08x_%08x\n", key[0],
                     key[1], key[2], key[3], key[4], key[5], key[6], key[7], key[8]);
    }
}
