// The tests for the egids that mean something other than a way out: drop, trap, pass-through, routing required.

#include "base/cmRteFrm.h"
#include "base/cmUtl.h"
#include "lue/cmRteLue.h"

namespace {

bool matchesRteRqd(const CmRteHsiComReg *comRegPtr, uint32_t egid) {
    return hasRteRqdId(egid, comRegPtr->rte_rte_rqd_egid) && isEgidFormOfRteRqd(egid);
}

/// EGID form, and none of the egids that end a frame's way.
bool mayBeRteRqd(const CmRteHsiComReg *comRegPtr, uint32_t gid) {
    return isEgidForm(gid) && egidOf(gid) != comRegPtr->rte_acl_drop_egid && egidOf(gid) != comRegPtr->rte_trap_egid &&
           egidOf(gid) != comRegPtr->rte_drop_egid;
}

} // namespace

uint32_t CmRteCkAclDropEgid(const CmRteStat *statPtr, uint32_t gid) {
    return isEgidForm(gid) && egidOf(gid) == statPtr->comRegPtr->rte_acl_drop_egid;
}

uint32_t CmRteCkTrapEgid(const CmRteStat *statPtr, uint32_t gid) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    return isEgidForm(gid) && egidOf(gid) != comRegPtr->rte_acl_drop_egid && egidOf(gid) == comRegPtr->rte_trap_egid;
}

uint32_t CmRteCkNorDropEgid(const CmRteStat *statPtr, uint32_t gid) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    return isEgidForm(gid) && egidOf(gid) != comRegPtr->rte_acl_drop_egid && egidOf(gid) != comRegPtr->rte_trap_egid &&
           egidOf(gid) == comRegPtr->rte_drop_egid;
}

uint32_t CmRteCkPthEgid(const CmRteStat *statPtr, uint32_t gid) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    return mayBeRteRqd(comRegPtr, gid) && !hasRteRqdId(gid, comRegPtr->rte_rte_rqd_egid) &&
           egidOf(gid) == comRegPtr->rte_pth_egid;
}

uint32_t CkRteRqdEgidOnly(const CmRteStat *statPtr, uint32_t egid) {
    if (!matchesRteRqd(statPtr->comRegPtr, egid))
        return 0;
    if (statPtr->l2FcoeFound)
        return bits(egid, kRteRqdFcoeVfBit, kRteRqdFcoeVeBit) != 0;
    if (isIpv6(statPtr))
        return bit(egid, kRteRqdIpv6Bit);
    if (isIpv4(statPtr))
        return bit(egid, kRteRqdIpv4Bit);
    return 0;
}

uint32_t CkRteRqdEgidOnlyL2(const CmRteHsiComReg *comRegPtr_, uint32_t egid) {
    return matchesRteRqd(comRegPtr_, egid) && bits(egid, kRteRqdFcoeVfBit, kRteRqdIpv4Bit) != 0;
}

uint32_t CmRteCkRteRqdEgid(const CmRteStat *statPtr, uint32_t gid) {
    return mayBeRteRqd(statPtr->comRegPtr, gid) && CkRteRqdEgidOnly(statPtr, gid);
}

uint32_t CmRteCkRteRqdEgidL2(const CmRteHsiComReg *comRegPtr_, uint32_t gid) {
    return mayBeRteRqd(comRegPtr_, gid) && CkRteRqdEgidOnlyL2(comRegPtr_, gid);
}
