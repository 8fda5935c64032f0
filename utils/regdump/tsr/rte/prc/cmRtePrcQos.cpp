// Ingress QoS: the VLAN priority map and the DSCP map.

#include "base/cmRteFrm.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "prc/cmRtePrc.h"

namespace {

/// Whether the priority map treats the frame as untagged. Only the tag that counts at the port's kind is looked at.
bool isUntagged(const CmRteStat *statPtr) {
    if (statPtr->isTrillPort)
        return !statPtr->l2OuterVlanTagged;
    if (statPtr->l2QinqEn)
        return !statPtr->isSTagged && !statPtr->isCTagged;
    return !statPtr->isCTagged;
}

} // namespace

uint32_t ingL2MapDp(CmRteHsiPortReg *portRegPtr, uint32_t index) {
    return regElem(portRegPtr->rte_prc_l2_map, index).dp;
}
uint32_t ingL2MapIwpri(CmRteHsiPortReg *portRegPtr, uint32_t index) {
    return regElem(portRegPtr->rte_prc_l2_map, index).iwpri;
}
uint32_t ingL2MapQuePri(CmRteHsiPortReg *portRegPtr, uint32_t index) {
    return regElem(portRegPtr->rte_prc_l2_map, index).que_pri;
}

uint32_t ingDscpMapDp(CmRteHsiPortReg *portRegPtr, uint32_t index) {
    return regElem(portRegPtr->rte_prc_l3_map, index).dp;
}
uint32_t ingDscpMapIwpri(CmRteHsiPortReg *portRegPtr, uint32_t index) {
    return regElem(portRegPtr->rte_prc_l3_map, index).iwpri;
}
uint32_t ingDscpMapQuePri(CmRteHsiPortReg *portRegPtr, uint32_t index) {
    return regElem(portRegPtr->rte_prc_l3_map, index).que_pri;
}

void ingL2PriMap(CmRteStat *statPtr) {
    CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    if (isUntagged(statPtr)) {
        statPtr->igPriMapDrpPrcd = portRegPtr->rte_prc_def_dp;
        statPtr->igPriMapIwpri = portRegPtr->rte_prc_def_iwpri;
        statPtr->igPriMapQuePri = portRegPtr->rte_prc_def_que_pri;
        CM_TRACE(1, "Ingres QoS VLAN priority map: untagged. default dp=0x%x, iwpri=0x%x, quePri=0x%x\n",
                 statPtr->igPriMapDrpPrcd, statPtr->igPriMapIwpri, statPtr->igPriMapQuePri);
        return;
    }

    uint32_t ctagged = 1;
    uint32_t vlan_prio = 0;
    uint32_t vlan_dei = 0;
    if (statPtr->l2TrillFound) {
        vlan_prio = statPtr->l2OuterRcvPrio;
        vlan_dei = statPtr->l2OuterRcvCfi;
    } else if (statPtr->l2QinqEn) {
        if (statPtr->isSTagged) {
            ctagged = 0;
            vlan_prio = statPtr->stagPrio;
            vlan_dei = statPtr->stagDei;
        } else if (statPtr->isCTagged) {
            vlan_prio = statPtr->ctagPrio;
            vlan_dei = statPtr->ctagCfi;
        }
    } else {
        vlan_prio = statPtr->ctagPrio;
        vlan_dei = statPtr->ctagCfi;
    }

    const uint32_t pri_map_idx = ctagged * 16 + bits(vlan_dei, 0, 0) * 8 + bits(vlan_prio, 2, 0);
    statPtr->igPriMapDrpPrcd = ingL2MapDp(portRegPtr, pri_map_idx);
    statPtr->igPriMapIwpri = ingL2MapIwpri(portRegPtr, pri_map_idx);
    statPtr->igPriMapQuePri = ingL2MapQuePri(portRegPtr, pri_map_idx);
    CM_TRACE(1, "Ingres QoS VLAN priority map: idx=0x%x, dp=0x%x, iwpri=0x%x, quePri=0x%x\n", pri_map_idx,
             statPtr->igPriMapDrpPrcd, statPtr->igPriMapIwpri, statPtr->igPriMapQuePri);
}

void ingDscpPriMap(CmRteStat *statPtr) {
    CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    if (isIp(statPtr) && portRegPtr->rte_prc_trust_dscp && prcL3NoRsn(statPtr)) {
        const uint32_t dscp = statPtr->l3IpDscpOuter;
        statPtr->igPriMapDrpPrcd = ingDscpMapDp(portRegPtr, dscp);
        statPtr->igPriMapIwpri = ingDscpMapIwpri(portRegPtr, dscp);
        statPtr->igPriMapQuePri = ingDscpMapQuePri(portRegPtr, dscp);
        CM_TRACE(2, "Ingres QoS from IP DSCP map: dscp=0x%x, dp=0x%x, iwpri=0x%x, quePri=0x%x\n", dscp,
                 statPtr->igPriMapDrpPrcd, statPtr->igPriMapIwpri, statPtr->igPriMapQuePri);
    } else {
        CM_TRACE(3, "Skipped IP DSCP QoS map: IpVer=%u, trust_dscp=%u, prcTrap=0x%x, prcDrop=0x%x\n", statPtr->l3IpVer,
                 portRegPtr->rte_prc_trust_dscp, statPtr->l3PrcTrapRsn, statPtr->l3PrcDropRsn);
    }
}
