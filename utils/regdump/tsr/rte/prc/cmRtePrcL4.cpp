// Layer 4: TCP and UDP ports, the fields of the type lookup, and the port ranges.

#include "base/cmRteFrm.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "prc/cmRtePrc.h"
#include "prc/cmRtePrcL3.h"

namespace {

const uint32_t kRouterAlertIhl = 6;
const uint32_t kRouterAlertSrcPort = 20;
const uint32_t kLoopbackNet = 0x7f; // 127.0.0.0/8
const uint32_t kWellKnownPortEnd = 1024;

/// True behind the first fragment of an IP packet, where no layer-4 header stands.
bool isNonFirstFragment(const CmRteStat *statPtr) {
    return statPtr->l3Ipv4FrgOffset != 0 || (statPtr->l3Ipv6IsFragment && !statPtr->l3Ipv6FirstFragment);
}

/// The chip tells a router alert by these values alone; it looks at no IP option.
bool hasRouterAlert(const CmRteStat *statPtr) {
    return isIpv4(statPtr) && statPtr->l4Src == kRouterAlertSrcPort &&
           bits64(statPtr->l3IpDa0, 31, 24) == kLoopbackNet && prcL3NoRsn(statPtr);
}

void ckRouterAlert(CmRteStat *statPtr) {
    if (!hasRouterAlert(statPtr)) {
        ckIpv4Ihl6NotRouterAlrt(statPtr);
        return;
    }
    prcL3Ck(statPtr, L3_CK_IPV4_RTR_ALERT);
}

/// Takes the first range that holds `port`, with its index of `idxs`; without one, `hit` and `idx` stay as they are.
template <size_t N>
void portRngLu(const CmRtePortRng (&rngs)[N], const uint32_t (&idxs)[N], uint32_t port, uint32_t &hit, uint32_t &idx) {
    for (uint32_t k = 0; k < N; k++) {
        if (rngs[k].lo <= port && rngs[k].hi >= port) {
            hit = 1;
            idx = idxs[k];
            return;
        }
    }
}

} // namespace

void PrcL4Tcp(CmRteStat *statPtr) {
    const uint32_t l4Offset = statPtr->l4Offset;
    if (isNonFirstFragment(statPtr)) {
        detectFlexKey(statPtr, FLEX_KEY_NON_TCP_UDP_AFTER_IP, l4Offset);
        return;
    }
    statPtr->l4Src = prcHword(statPtr, l4Offset);
    statPtr->l4Dst = prcHword(statPtr, l4Offset + 2);
    detectFlexKey(statPtr, FLEX_KEY_TCP, l4Offset);
    // A short TCP header keeps its ports, unlike a short UDP header.
    if (!insideFrame(l4Offset, 7, statPtr->frmLen) || !insideFrame(l4Offset, 23, statPtr->frmLen)) {
        statPtr->l4PrcHdrUnk = 1;
        return;
    }
    if (statPtr->portRegPtr->rte_prc_typ_mode == 3 || statPtr->portRegPtr->rte_prc_typ_alw_l4_tcp_flg)
        statPtr->l4TcpFlags = bits(prcByte(statPtr, l4Offset + 13), 5, 0);
    CM_TRACE(2, "PRC L4 (TCP), l4Src=0x%x, l4Dst=0x%x, tcpFlags=0x%x\n", statPtr->l4Src, statPtr->l4Dst,
             statPtr->l4TcpFlags);
}

void PrcL4Udp(CmRteStat *statPtr) {
    const uint32_t l4Offset = statPtr->l4Offset;
    if (isNonFirstFragment(statPtr)) {
        detectFlexKey(statPtr, FLEX_KEY_NON_TCP_UDP_AFTER_IP, l4Offset);
        ckIpv4Ihl6NotRouterAlrt(statPtr);
        return;
    }
    statPtr->l4Src = prcHword(statPtr, l4Offset);
    statPtr->l4Dst = prcHword(statPtr, l4Offset + 2);
    CM_TRACE(2, "PRC L4 (UDP), l4Src=0x%x, l4Dst=0x%x\n", statPtr->l4Src, statPtr->l4Dst);
    detectFlexKey(statPtr, FLEX_KEY_UDP, l4Offset);
    if (insideFrame(l4Offset, 7, statPtr->frmLen)) {
        if (statPtr->l3IpOuterIhl == kRouterAlertIhl)
            ckRouterAlert(statPtr);
        if (insideFrame(l4Offset, 11, statPtr->frmLen))
            return;
    }
    statPtr->l4PrcHdrUnk = 1;
    statPtr->l4Src = 0;
    statPtr->l4Dst = 0;
    ckIpv4Ihl6NotRouterAlrt(statPtr);
}

void PrcTyp(CmRteStat *statPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    const uint32_t mode = portRegPtr->rte_prc_typ_mode;
    CM_TRACE(2, "prc_typ_mode = %u\n", mode);
    CM_TRACE(3,
             "check if PRC L4 is processed : Ip_ver=0x%x , L3 IP ULP=0x%x , REG_RTE_l3_ulp_tcp=0x%x ,  "
             "REG_RTE_l3_ulp_udp=0x%x \n",
             statPtr->l3IpVer, statPtr->l3IpUlp, comRegPtr->rte_l3_ulp_tcp, comRegPtr->rte_l3_ulp_udp);
    if (mode == 0)
        return;

    statPtr->typL2Etyp = statPtr->l2Etyp;
    statPtr->typL2TrillFound = statPtr->l2TrillFound;
    statPtr->typL2LlcDet = statPtr->l2LlcDet;
    // The LLC words take the places of layers 3 and 4, whatever the mode.
    if (statPtr->l2LlcDet) {
        statPtr->typL2Etyp = statPtr->l2LlcDsap << 8 | statPtr->l2LlcSsap;
        statPtr->typL3Ulp = statPtr->l2LlcCtl;
        statPtr->typL4Src = statPtr->l2LlcPld0 << 8 | statPtr->l2LlcPld1;
        return;
    }
    if (statPtr->l2FcoeFound) {
        statPtr->typL4Src = statPtr->l2FcoeFcRctl << 8 | statPtr->l2FcoeFcType;
        statPtr->typL4Dst = statPtr->l2FcoeFcPld0;
    }
    if (mode == 1)
        return;

    bool ipv4First = false;
    bool ipv6First = false;
    if (!statPtr->l3PrcHdrUnk) {
        if (statPtr->l3IpVer == 4) {
            statPtr->typL3Ulp = statPtr->l3IpUlp;
            statPtr->typL3Frag = statPtr->l3Ipv4MorFrg == 1 || statPtr->l3Ipv4FrgOffset != 0;
            ipv4First = statPtr->l3Ipv4FrgOffset == 0;
        } else if (statPtr->l3IpVer == 6) {
            statPtr->typL3Ulp = statPtr->l3IpUlp;
            statPtr->typL3Frag = statPtr->l3Ipv6IsFragment;
            ipv6First = statPtr->l3Ipv6IsFragment == 0 || statPtr->l3Ipv6FirstFragment;
        }
    }
    if (mode == 2)
        return;

    if (ipv6First && statPtr->typL3Ulp == comRegPtr->rte_l3_ulp_icmp) {
        statPtr->typL4Src = statPtr->l3Ipv6IcmpTyp;
        return;
    }
    if (ipv4First && statPtr->typL3Ulp == comRegPtr->rte_l3_ulp_ipv4_icmp) {
        statPtr->typL4Src = statPtr->l3Ipv4IcmpTyp;
        return;
    }
    const bool isTcpUdp =
        (ipv4First || ipv6First) && !statPtr->l4PrcHdrUnk &&
        (statPtr->typL3Ulp == comRegPtr->rte_l3_ulp_tcp || statPtr->typL3Ulp == comRegPtr->rte_l3_ulp_udp);
    if (isTcpUdp) {
        const bool srcIsWellKnown = statPtr->l4Src < kWellKnownPortEnd;
        const bool dstIsWellKnown = statPtr->l4Dst < kWellKnownPortEnd;
        statPtr->typL4Src = statPtr->l4Src;
        statPtr->typL4Dst = statPtr->l4Dst;
        // Server port first; the client's port gives way to the direction: 1 towards the server, 0 from it.
        if (!portRegPtr->rte_prc_typ_no_dir) {
            if (!srcIsWellKnown && dstIsWellKnown) {
                statPtr->typL4Src = statPtr->l4Dst;
                statPtr->typL4Dst = 1;
            } else if (srcIsWellKnown && !dstIsWellKnown) {
                statPtr->typL4Src = statPtr->l4Src;
                statPtr->typL4Dst = 0;
            }
        }
    }
    CM_TRACE(2, "PRC Type Extraction: l3_frag: %x, l2_hash_inner_typ: %x, l2_has_non_snap_llc: %x\n",
             statPtr->typL3Frag, statPtr->typL2TrillFound, statPtr->typL2LlcDet);
    CM_TRACE(2,
             "PRC Type Extraction: TCP/UDP:%d, l3_ulp: 0x%x, l2_etype: 0x%x, l4_srvr_port: 0x%x, "
             "l4_clnt_port: 0x%x\n",
             isTcpUdp, statPtr->typL3Ulp, statPtr->typL2Etyp, statPtr->typL4Src, statPtr->typL4Dst);
}

void PrcL4PortRngCk(CmRteStat *statPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    portRngLu(comRegPtr->l4_src_port_rng, comRegPtr->l4_src_port_rng_idx, statPtr->typL4Src, statPtr->l4SrcPortRngHit,
              statPtr->l4SrcPortRngIdx);
    portRngLu(comRegPtr->l4_dst_port_rng, comRegPtr->l4_dst_port_rng_idx, statPtr->typL4Dst, statPtr->l4DstPortRngHit,
              statPtr->l4DstPortRngIdx);
    CM_TRACE(2, "PRC L4 srcRngHit=%d srcRngIdx=%d dstRngHit=%d dstRngIdx=%d\n", statPtr->l4SrcPortRngHit,
             statPtr->l4SrcPortRngIdx, statPtr->l4DstPortRngHit, statPtr->l4DstPortRngIdx);
}
