// The parser stage: its driver, and the result of a port in physical-queue mode.

#include "prc/cmRtePrc.h"

#include <cstring>

void PrcPhyq(CmRteStat *statPtr) {
    CmRteRslt *rsltPtr = statPtr->rsltPtr;
    rsltPtr->shim0Rslt.dont_touch = 1;
    if (statPtr->macInfPtr->isPauseFrm) {
        rsltPtr->hsiShim0Rslt.rslt_typ = RSLT_DROP;
        rsltPtr->shim1Rslt.egid = 0;
    } else {
        rsltPtr->hsiShim0Rslt.rslt_typ = RSLT_FWD;
    }
    statPtr->dropRsn = DRP_PAUSE;
    statPtr->phyqRsltVld = 1;
}

static void prcIpv4(CmRteStat *statPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    uint32_t cksumErr = 0;
    PrcL3Ipv4(statPtr, 0, cksumErr);
    statPtr->l4PrcHdrUnk = statPtr->l3PrcHdrUnk;

    // The UDP parser runs the IHL-6 check itself.
    if (statPtr->l3IpUlp != comRegPtr->rte_l3_ulp_udp)
        ckIpv4Ihl6NotRouterAlrt(statPtr);

    if (statPtr->l3IpUlp == comRegPtr->rte_l3_ulp_tcp)
        PrcL4Tcp(statPtr);
    else if (statPtr->l3IpUlp == comRegPtr->rte_l3_ulp_udp)
        PrcL4Udp(statPtr);
    else if (statPtr->l3IpUlp != comRegPtr->rte_l3_ulp_ipv4_icmp || statPtr->l3Ipv4FrgOffset != 0)
        detectFlexKey(statPtr, FLEX_KEY_NON_TCP_UDP_AFTER_IP, statPtr->l4Offset);
}

static void prcIpv6(CmRteStat *statPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    PrcL3Ipv6(statPtr, 0, 0);
    statPtr->l4PrcHdrUnk = statPtr->l3PrcHdrUnk;

    const bool notFirstFragment = statPtr->l3Ipv6IsFragment && !statPtr->l3Ipv6FirstFragment;
    if (statPtr->l3IpUlp == comRegPtr->rte_l3_ulp_tcp)
        PrcL4Tcp(statPtr);
    else if (statPtr->l3IpUlp == comRegPtr->rte_l3_ulp_udp)
        PrcL4Udp(statPtr);
    else if (statPtr->l3IpUlp != comRegPtr->rte_l3_ulp_icmp || notFirstFragment)
        detectFlexKey(statPtr, FLEX_KEY_NON_TCP_UDP_AFTER_IP, statPtr->l4Offset);
}

void CmRtePrc(CmRteStat *statPtr) {
    const CmRteExtCfg *extCfgPtr = statPtr->extCfgPtr;
    const uint32_t lgcPort = statPtr->portRegPtr->rte_prc_lgc_port;
    statPtr->ingLgcPort = lgcPort;
    statPtr->ingLgcPortFul = lgcPort;
    // A logical port beyond the list is in no LAG.
    statPtr->ingLagId = lgcPort < wordCnt(extCfgPtr->lagIdLst) ? extCfgPtr->lagIdLst[lgcPort] : 0;
    statPtr->l2PselIgid = extCfgPtr->chipId << 5 | statPtr->ingLgcPortFul;
    statPtr->l2PselQcnEgrPort = statPtr->ingLgcPortFul;

    // The chip can run a port in physical-queue mode (1); the model never does.
    const uint32_t portMode = 0;
    if (portMode == 1) {
        PrcPhyq(statPtr);
        return;
    }

    // The FCS goes, and with it whatever stood behind the frame.
    if (statPtr->frmLen > 3)
        std::memset(statPtr->frm + statPtr->frmLen - 4, 0, 32);

    PrcL2(statPtr);
    if (statPtr->l3IpVer == 4)
        prcIpv4(statPtr);
    else if (statPtr->l3IpVer == 6)
        prcIpv6(statPtr);
    else
        statPtr->l3PrcHdrUnk = 1;

    PrcTyp(statPtr);
    PrcL4PortRngCk(statPtr);
    if (statPtr->l2FcoeFound)
        PrcHshFcoe(statPtr);
    else
        PrcHshTcpIp(statPtr);
    ingL2PriMap(statPtr);
    ingDscpPriMap(statPtr);
    extractFlexKey(statPtr);
}
