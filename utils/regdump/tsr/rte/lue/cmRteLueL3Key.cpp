#include "lue/cmRteLueL3.h"

#include "base/cmRteFrm.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "tae/cmTaeL3Key.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr uint32_t kFlexWords = 6;

/// The hash value that chooses the multicast tree of a frame without TRILL header.
uint32_t treeHsh(const CmRteStat *statPtr) {
    return statPtr->hshVal[statPtr->comRegPtr->rte_l2_exm_mgid_hsh_typ & 7];
}

/// The multicast tree that the ACL keys carry.
uint32_t trillMcastTreeId(const CmRteStat *statPtr) {
    if (statPtr->l2TrillFound)
        return statPtr->l2TrillDa == statPtr->comRegPtr->trill_mcast_rb[0];
    return bit(treeHsh(statPtr), 15);
}

/// The six TCP flags in the order of the ACL keys, FIN at bit 5.
uint32_t aclTcpFlags(const CmRteStat *statPtr) {
    const uint32_t flags = statPtr->l4TcpFlags;
    return bit(flags, TCP_FIN) << 5 | bit(flags, TCP_SYN) << 4 | bit(flags, TCP_RST) << 3 | bit(flags, TCP_ACK) << 2 |
           bit(flags, TCP_URG) << 1 | bit(flags, TCP_PSH);
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

/// Places the low bits of `value` at bits `hi` to `lo` of a word.
constexpr uint32_t fld(unsigned hi, unsigned lo, uint32_t value) {
    return setBits(0, hi, lo, value);
}
constexpr uint32_t fld(unsigned n, uint32_t value) {
    return setBits(0, n, n, value);
}

/// Puts a 128-bit address into four words, high word first.
void putIpv6(uint32_t *key, uint64_t addr0, uint64_t addr1) {
    key[0] = static_cast<uint32_t>(addr0 >> 32);
    key[1] = static_cast<uint32_t>(addr0);
    key[2] = static_cast<uint32_t>(addr1 >> 32);
    key[3] = static_cast<uint32_t>(addr1);
}

/// The word of port ranges and VPN that both IP keys carry.
uint32_t rngWord(const CmRteStat *statPtr) {
    return fld(31, 27, statPtr->l4DstPortRngIdx) | fld(26, statPtr->l4DstPortRngHit) |
           fld(25, 21, statPtr->l4SrcPortRngIdx) | fld(20, statPtr->l4SrcPortRngHit) | fld(19, 0, statPtr->vpn_id);
}

/// The word of the layer-4 ports that both IP keys carry.
uint32_t portWord(const CmRteStat *statPtr) {
    return fld(31, 16, statPtr->typL4Dst) | fld(15, 0, statPtr->typL4Src);
}

L3PselIpv4TcamInKey ipv4Key(const CmRteStat *statPtr) {
    const bool firstFragment = statPtr->l3Ipv4FrgOffset == 0 && statPtr->l3Ipv4MorFrg == 1;
    L3PselIpv4TcamInKey key{};
    key.word[0] = fld(31, 26, statPtr->IpDscpForPsel) | fld(25, statPtr->l3IpMcastRegEncap) |
                  fld(24, 18, statPtr->l3IpDaRpIdx) | fld(17, trillMcastTreeId(statPtr)) |
                  fld(16, statPtr->l3FwdIsMyIpDa) | fld(15, statPtr->l3FwdIsSaGrp) | fld(14, statPtr->l3FwdIsDaGrp) |
                  fld(12, 0, statPtr->iivid);
    key.word[1] = fld(31, 26, aclTcpFlags(statPtr)) | fld(25, 23, statPtr->l3Ipv4Flag) |
                  fld(22, 10, statPtr->l3Ipv4FrgOffset) | fld(9, firstFragment) | fld(8, isFragment(statPtr)) |
                  fld(7, 5, statPtr->igPriMapIwpri) | fld(4, 0, statPtr->portRegPtr->rte_prc_l3_psel_port);
    key.word[2] = fld(31, 20, statPtr->policyId) | fld(19, 8, statPtr->vrfId) | fld(7, 1, statPtr->myDaId) |
                  fld(0, statPtr->l3IpIhl >= 6);
    key.word[3] = static_cast<uint32_t>(statPtr->l3IpSa0);
    key.word[4] = static_cast<uint32_t>(statPtr->l3IpDa0);
    key.word[5] = fld(31, 24, statPtr->l3IpUlp) | fld(23, 16, statPtr->l3IpTtl) | fld(15, 0, statPtr->l3IpTlen);
    key.word[6] = rngWord(statPtr);
    key.word[7] = portWord(statPtr);
    return key;
}

L3PselIpv6TcamInKey ipv6Key(const CmRteStat *statPtr) {
    L3PselIpv6TcamInKey key{};
    key.word[0] = fld(12, 0, statPtr->iivid);
    key.word[2] = fld(31, 26, statPtr->IpDscpForPsel) | fld(25, statPtr->l3IpMcastRegEncap) |
                  fld(24, 20, statPtr->l3IpDaRpIdx) | fld(19, trillMcastTreeId(statPtr)) |
                  fld(18, statPtr->l3FwdIsSaGrp) | fld(17, statPtr->l3FwdIsDaGrp);
    key.word[3] = fld(31, 26, aclTcpFlags(statPtr)) | fld(25, statPtr->l3Ipv6FragFlag) |
                  fld(24, 12, statPtr->l3Ipv6FragOffset) | fld(11, statPtr->l3Ipv6FirstFragment) |
                  fld(10, isFragment(statPtr)) | fld(9, 7, statPtr->igPriMapIwpri) |
                  fld(4, 0, statPtr->portRegPtr->rte_prc_l3_psel_port);
    key.word[4] = fld(31, 20, statPtr->policyId) | fld(19, 8, statPtr->vrfId) | fld(7, 1, statPtr->myDaId) |
                  fld(0, statPtr->l3FwdIsMyIpDa);
    putIpv6(key.word + 5, statPtr->l3IpSa0, statPtr->l3IpSa1);
    putIpv6(key.word + 9, statPtr->l3IpDa0, statPtr->l3IpDa1);
    key.word[13] = fld(31, 24, statPtr->l3IpUlp) | fld(23, 16, statPtr->l3IpTtl) | fld(15, 0, statPtr->l3IpTlen);
    key.word[14] = rngWord(statPtr);
    key.word[15] = portWord(statPtr);
    return key;
}

L3PselFcoeTcamInKey fcoeKey(const CmRteStat *statPtr) {
    L3PselFcoeTcamInKey key{};
    key.word[1] = fld(31, bit(statPtr->l2FcoeFcFctl, 21)) | fld(30, bit(statPtr->l2FcoeFcFctl, 19)) |
                  fld(29, statPtr->l2FcoeVeRouted) | fld(28, statPtr->l2FcoeVfRouted) | fld(27, 15, statPtr->iivid);
    key.word[2] = fld(31, 24, statPtr->l2FcoeFcPld0) | fld(23, 16, statPtr->l2FcoeFcPld35) |
                  fld(15, 8, statPtr->l2FcoeFcPld36) | fld(7, 0, statPtr->l2FcoeFcPld41);
    key.word[3] = fld(31, 20, statPtr->l2FcoeClsVfid) | fld(19, 16, statPtr->l2FcoeVersion) |
                  fld(15, 8, statPtr->l2FcoeFcRctl) | fld(7, 0, statPtr->l2FcoeFcCsctl);
    key.word[4] = fld(31, 20, statPtr->policyId) | fld(19, 0, statPtr->vpn_id);
    key.word[5] = fld(31, 8, statPtr->l2FcoeFcSid) | fld(7, 1, statPtr->myDaId) | fld(0, statPtr->l2FcoeClsVfidTyp);
    key.word[6] = fld(31, 8, statPtr->l2FcoeFcDid) | fld(7, 5, statPtr->igPriMapIwpri) |
                  fld(4, 0, statPtr->portRegPtr->rte_prc_l3_psel_port);
    key.word[7] = fld(31, 24, statPtr->l2FcoeFcSof) | fld(23, 20, statPtr->l2FcoeLuDaGrpId) |
                  fld(19, 16, statPtr->l2FcoeLuSaGrpId) | fld(15, 0, statPtr->l2FcoeFcOxid);
    return key;
}

/// Writes `in` to `key` as the TCAM compares it.
template <class KeyR, class Key> void putReshuffled(uint32_t *key, const Key &in) {
    KeyR out;
    ReshuffleKey(&in, &out, 0);
    std::copy(std::begin(out.word), std::end(out.word), key);
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
    const uint32_t lgcPort = statPtr->portRegPtr->rte_prc_l3_psel_port;
    const uint32_t policyId = statPtr->policyId;
    const uint32_t myDaId = statPtr->myDaId;

    if (isIp(statPtr)) {
        key[0] = fld(31, 21, policyId >> 1) | fld(20, 18, lgcPort >> 2) | fld(17, 6, statPtr->vrfId) |
                 fld(5, isIpv4(statPtr) && statPtr->l3IpIhl > 5) | fld(4, isFragment(statPtr)) |
                 fld(3, statPtr->l3IpMcastRegEncap) | fld(2, isIpv6(statPtr)) | fld(1, trillMcastTreeId(statPtr)) |
                 fld(0, statPtr->l2TrillMc);
        key[7] = fld(31, statPtr->l3FwdIsMyIpDa) | fld(30, myDaId) | fld(29, policyId) | fld(28, statPtr->typ) |
                 fld(27, 26, lgcPort) | fld(25, 13, statPtr->iivid) | fld(12, 7, myDaId >> 1) |
                 fld(6, 0, statPtr->typ >> 1);
    } else if (isFcoe(statPtr)) {
        key[0] = fld(31, 26, myDaId >> 1) | fld(22, 12, policyId >> 1) |
                 fld(11, statPtr->l2FcoeFcSid == static_cast<uint32_t>(bits64(statPtr->l2Sa, 23, 0))) |
                 fld(10, 0, statPtr->l2FcoeClsVfid >> 1);
        key[7] = fld(31, policyId) | fld(30, myDaId) | fld(29, statPtr->l2FcoeClsVfid) | fld(28, 27, lgcPort) |
                 fld(26, 14, statPtr->iivid) | fld(13, 11, lgcPort >> 2) | fld(10, statPtr->l2FcoeVfRouted) |
                 fld(9, statPtr->l2TrillFound) | fld(8, statPtr->l2FcoeVeRouted) | fld(7, 4, statPtr->l2FcoeLuSaGrpId) |
                 fld(3, 0, statPtr->l2FcoeLuDaGrpId);
    } else {
        return;
    }
    for (uint32_t i = 0; i < kFlexWords; i++)
        key[1 + i] = flexKey(statPtr, profile)[i];
}

void buildL3PSelExmKey(CmRteStat *statPtr, uint32_t *key) {
    // Without a TRILL header the chip ORs the shifted hash in as it is.
    const uint32_t tree = statPtr->l2TrillFound ? trillMcastTreeId(statPtr) : treeHsh(statPtr) >> 15;
    const uint32_t rp = statPtr->l3IpDaRpIdx << 1 | statPtr->l3IpMcastRegEncap;
    if (isIpv4(statPtr)) {
        key[0] = statPtr->iivid << 9 | tree << 8 | rp;
        key[1] = static_cast<uint32_t>(statPtr->l3IpDa0);
        key[2] = static_cast<uint32_t>(statPtr->l3IpSa0);
        CM_TRACE_RAW(3, "[lookupL3Acl] doIpv4ExmLu exmKey=0x%08x_%08x_%08x\n", key[0], key[1], key[2]);
    } else if (isIpv6(statPtr)) {
        key[0] = statPtr->iivid << 7 | tree << 6 | rp;
        putIpv6(key + 1, statPtr->l3IpDa0, statPtr->l3IpDa1);
        putIpv6(key + 5, statPtr->l3IpSa0, statPtr->l3IpSa1);
        CM_TRACE_RAW(3, "[lookupL3Acl] doIpv6ExmLu exmKey=0x%08x_%08x_%08x_%08x_%08x_%08x_%08x_%08x_%08x\n", key[0],
                     key[1], key[2], key[3], key[4], key[5], key[6], key[7], key[8]);
    }
}
