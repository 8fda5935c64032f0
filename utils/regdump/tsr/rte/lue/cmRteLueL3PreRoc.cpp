// Decides, before the layer-3 path selection, whether layer 3 matters for the frame at all.

#include "base/cmRteFrm.h"
#include "base/tbMsg.h"
#include "lue/cmRteLue.h"

/// Whether the port's layer-3 ACL takes part in a frame that is not routed.
static uint32_t aclEnable(const CmRteStat *statPtr) {
    const CmRteHsiPortReg *portReg = statPtr->portRegPtr;
    uint32_t aclEn = 0;
    if (isIpv4(statPtr))
        aclEn = portReg->rte_prc_l3_ipv4_acl_en;
    else if (isIpv6(statPtr))
        aclEn = portReg->rte_prc_l3_ipv6_acl_en;
    else if (statPtr->l2FcoeFound)
        aclEn = portReg->rte_prc_fcoe_acl_en;

    // A frame in error whose class is not checked keeps out; FCoE has no such check.
    if (statPtr->l3PrcErrDetected && isIp(statPtr)) {
        const bool isMcast = statPtr->l2PselL3IpDaIsMcast;
        const uint32_t hdrCkEn = isIpv4(statPtr) ? (isMcast ? statPtr->ipv4McHdrCkEn : statPtr->ipv4UcHdrCkEn)
                                                 : (isMcast ? statPtr->ipv6McHdrCkEn : statPtr->ipv6UcHdrCkEn);
        if (!hdrCkEn)
            aclEn = 0;
    }
    return aclEn;
}

void L3PreRoc(CmRteStat *statPtr) {
    const CmRteHsiPortReg *portReg = statPtr->portRegPtr;
    const bool l2Fwd = isFwd(statPtr->l2PselRsltTyp);
    const bool l2PrcOk = !prcVerdict(statPtr);
    const bool ucastRqd = l2Fwd && !statPtr->l2PselL3IpDaIsMcast && statPtr->l2PselRteRqd == 1;
    bool mcastRqd = statPtr->l3IpDaIsMcast == 1 && statPtr->l2PselRteEn == 1 && l2PrcOk;

    statPtr->l3PrcErrDetected = !prcL3NoRsn(statPtr) || statPtr->l3IpDropRsn == DRP_NOT_EN;

    if (mcastRqd && statPtr->l3PrcErrDetected && portReg->rte_prc_l3_mcast_ck_l3_err == 1) {
        mcastRqd = false;
        CM_TRACE(1, "(ROC) : Covered: Item 57 is hit.\n");
    }
    if (statPtr->l3IpMcastRegEncap == 1 && !(statPtr->l2PselRteRqd && l2Fwd))
        mcastRqd = false;
    if (portReg->rte_prc_l3_mcast_ck_l2 == 1 && !l2Fwd)
        mcastRqd = false;

    if (!l2PrcOk)
        return;
    statPtr->l3RteRqd = ucastRqd || mcastRqd;
    statPtr->l3McastRteRqd = mcastRqd && !ucastRqd;
    if (!statPtr->l3RteRqd)
        statPtr->l3AclEn = aclEnable(statPtr);
    if (statPtr->l3AclEn) {
        statPtr->l3AclAppl = !statPtr->l3PrcErrDetected;
        if (statPtr->l3PrcErrDetected && portReg->rte_prc_l3_hdr_err_acl_en)
            statPtr->l3ErrWin = 1;
    }
    statPtr->rocL3Rqd = statPtr->l3RteRqd || statPtr->l3AclAppl;
}
