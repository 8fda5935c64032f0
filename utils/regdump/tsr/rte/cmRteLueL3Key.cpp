#include "cmRteLueL3.h"

#include "cmUtl.h"
#include "tbMsg.h"

namespace {

constexpr uint32_t kFlexWords = 6;

bool isIpv4(const CmRteStat *statPtr) {
    return statPtr->l3IpVer == 4;
}
bool isIpv6(const CmRteStat *statPtr) {
    return statPtr->l3IpVer == 6;
}
/// An FCoE frame; IP comes first.
bool isFcoe(const CmRteStat *statPtr) {
    return !isIpv4(statPtr) && !isIpv6(statPtr) && statPtr->l2FcoeFound;
}

/// The hash value that chooses the multicast tree of a frame without TRILL header.
uint32_t treeHsh(const CmRteStat *statPtr) {
    return statPtr->hshVal[statPtr->comRegPtr->rte_l2_exm_mgid_hsh_typ & 7];
}

/// The multicast tree that the ACL keys carry.
uint32_t trillMcastTreeId(const CmRteStat *statPtr) {
    if (statPtr->l2TrillFound)
        return statPtr->l2TrillDa == statPtr->comRegPtr->trill_mcast_rb_0;
    return bit(treeHsh(statPtr), 15);
}

/// Whether the frame is a fragment of a longer packet.
uint32_t isFragment(const CmRteStat *statPtr) {
    if (isIpv6(statPtr))
        return statPtr->l3Ipv6IsFragment;
    return statPtr->l3Ipv4FrgOffset != 0 || statPtr->l3Ipv4MorFrg == 1;
}

/// Fields of the six flex words of profile `profile`.
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

} // namespace

uint64_t Comb2Dw(const uint32_t *key) {
    return static_cast<uint64_t>(key[0]) << 32 | key[1];
}

void buildL3AclTcamFlexKey(CmRteStat *statPtr, uint32_t *key, uint32_t profile) {
    const uint32_t lgcPort = statPtr->portRegPtr->rte_prc_l3_psel_port;
    const uint32_t policyId = statPtr->policyId;
    const uint32_t myDaId = statPtr->myDaId;

    if (isIpv4(statPtr) || isIpv6(statPtr)) {
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
