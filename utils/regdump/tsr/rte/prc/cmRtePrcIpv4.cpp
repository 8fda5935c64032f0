// IPv4 header parsing, with the packet inside a PIM register message, and the IHL-6 check.

#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "prc/cmRtePrc.h"
#include "prc/cmRtePrcL3.h"

namespace {

constexpr uint32_t kIpv4RpAddrCnt = 128;

/// Adds the 16-bit words of `byteNum` bytes at `offset`; `byteNum` is even.
uint32_t sumHwords(const CmRteStat *statPtr, uint32_t offset, uint32_t byteNum) {
    uint32_t sum = 0;
    for (uint32_t i = 0; i < byteNum; i += 2)
        sum += prcHword(statPtr, offset + i);
    return sum;
}

bool ihl6MayReplaceTrap(const CmRteStat *statPtr) {
    switch (statPtr->l3PrcTrapRsn) {
    case kNoRsn:
        return true;
    case TRP_IP_HDR_VIO:
    case TRP_IP_TTL:
    case TRP_IP_DA_MCAST:
    case TRP_IP_SA_MCAST:
    case TRP_IP_PIM_NULL:
        return statPtr->l3PrcTrapRsn == statPtr->l3Ipv4Ihl6ErrCanWin;
    default:
        return false;
    }
}

bool ihl6MayReplaceDrop(const CmRteStat *statPtr) {
    switch (statPtr->l3PrcDropRsn) {
    case kNoRsn:
        return true;
    case DRP_IP_HDR:
    case DRP_IP_TTL:
    case DRP_IP_DA_MCAST:
    case DRP_IP_SA_MCAST:
    case DRP_IP_PIM_NULL:
        return statPtr->l3PrcDropRsn == statPtr->l3Ipv4Ihl6ErrCanWin;
    default:
        return false;
    }
}

/// The multicast class of the DA. At the outer header the MAC address must agree with it.
void ckDaMcast(CmRteStat *statPtr, uint32_t isPimInner) {
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const uint32_t da = static_cast<uint32_t>(statPtr->l3IpDa0);
    const uint32_t daLo23 = bits(da, 22, 0);
    const uint32_t macDaLo23 = bits(static_cast<uint32_t>(statPtr->l2Da), 22, 0);

    uint32_t ipv4DaIsMcast = bits(da, 31, 28) == comRegPtr->rte_l3_ipv4_mcast_prefix;
    uint32_t ipv4MacDaIsMcast = bits64(statPtr->l2Da, 47, 24) == comRegPtr->rte_l3_ipv4_mcast_mac_prefix;
    if (portRegPtr->rte_prc_l3_ipv4_mcast_off) {
        ipv4DaIsMcast = 0;
        ipv4MacDaIsMcast = 0;
    }

    if (isPimInner) {
        statPtr->l3IpDaIsMcast = ipv4DaIsMcast;
        return;
    }
    const bool matchMacDa = ipv4DaIsMcast && ipv4MacDaIsMcast && daLo23 == macDaLo23;
    if (portRegPtr->rte_prc_l3_ipv4_ck_da_mcast && (ipv4DaIsMcast || ipv4MacDaIsMcast) && !matchMacDa) {
        statPtr->l3IpDaIsMcast = 0;
        prcL3Record(statPtr, {portRegPtr->rte_prc_l3_ipv4_ck_da_mcast, portRegPtr->rte_prc_l3_ipv4_trap_da_mcast_err,
                              comRegPtr->rte_l3_ip_da_mcast_trap_que, TRP_IP_DA_MCAST, DRP_IP_DA_MCAST});
        CM_TRACE(1, "IPv4 IP mcast DA check ip_da_mcast=%d mac_da_mcast=%d lo_23b=%x_%x trap_rsn=%d drop_rsn=%d\n",
                 ipv4DaIsMcast, ipv4MacDaIsMcast, daLo23, macDaLo23, statPtr->l3PrcTrapRsn, statPtr->l3PrcDropRsn);
        return;
    }
    statPtr->l3IpDaIsMcast = ipv4DaIsMcast;
}

} // namespace

void PrcL3Ipv4(CmRteStat *statPtr, uint32_t isPimInner, uint32_t &cksumErr) {
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const uint32_t frmLen = statPtr->frmLen;
    const uint32_t offset = statPtr->l3Offset;

    if (!insideFrame(offset, 4, frmLen))
        return PrcL3Ipv4EofErr(statPtr);
    const uint32_t verIhl = prcByte(statPtr, offset);
    if (bits(verIhl, 7, 4) != 4)
        prcL3RecordLatched(statPtr, isPimInner,
                           {portRegPtr->rte_prc_l3_ipv4_ck_ver, portRegPtr->rte_prc_l3_ipv4_trap_ver_err,
                            comRegPtr->rte_l3_ip_hdr_vio_trap_que, TRP_IP_HDR_VIO, DRP_IP_HDR});

    const uint32_t ihl = bits(verIhl, 3, 0);
    statPtr->l3IpIhl = ihl;
    if (!isPimInner)
        statPtr->l3IpOuterIhl = ihl;
    if (ihl < 5)
        prcL3RecordLatched(statPtr, isPimInner,
                           {portRegPtr->rte_prc_l3_ipv4_ck_ihl_lt5, portRegPtr->rte_prc_l3_ipv4_trap_ihl_lt5_err,
                            comRegPtr->rte_l3_ip_hdr_vio_trap_que, TRP_IP_HDR_VIO, DRP_IP_HDR});
    // An IHL of 6 is what a router alert has; it is judged when the layer-4 ports are known.
    if (ihl > 6 && !isPimInner) {
        if (prcL3Record(statPtr, {portRegPtr->rte_prc_l3_ipv4_ck_ihl_gt5, portRegPtr->rte_prc_l3_ipv4_trap_ihl_gt5_err,
                                  comRegPtr->rte_l3_ipv4_ihl_gt5_trap_que, TRP_IPV4_IHL_GT5, DRP_IPV4_IHL_GT5}))
            CM_TRACE(2, "Ipv4 IHL (%d) > 5 detected and %s\n", ihl,
                     portRegPtr->rte_prc_l3_ipv4_trap_ihl_gt5_err ? "trapped" : "dropped");
        else
            CM_TRACE(2, "Ipv4 IHL (%d) > 5 detected but ignored, ck_ihl=%d trap_rsn=%d drop_rsn=%d\n", ihl,
                     portRegPtr->rte_prc_l3_ipv4_ck_ihl_gt5, statPtr->l3PrcTrapRsn, statPtr->l3PrcDropRsn);
    }
    const uint32_t minIhl = ihl < 5 ? 5 : ihl;
    statPtr->l4Offset = offset + 4 * minIhl;

    if (!insideFrame(offset, 5, frmLen))
        return PrcL3Ipv4EofErr(statPtr);
    const uint32_t tos = prcByte(statPtr, offset + 1);
    statPtr->l3IpDscp = tos >> 2;
    if (!isPimInner)
        statPtr->l3IpDscpOuter = statPtr->l3IpDscp;
    if (portRegPtr->rte_prc_typ_mode >= 2 || portRegPtr->rte_prc_typ_alw_l3_dscp) {
        statPtr->l2PselDscp = statPtr->l3IpDscp;
        statPtr->IpDscpForPsel = statPtr->l3IpDscp;
    }
    statPtr->l3IpEcn = bits(tos, 1, 0);

    const uint32_t tLen = prcHword(statPtr, offset + 2);
    if (!insideFrame(offset, 7, frmLen))
        return PrcL3Ipv4EofErr(statPtr);
    if (4 * ihl > tLen)
        prcL3RecordLatched(statPtr, isPimInner,
                           {portRegPtr->rte_prc_l3_ipv4_ck_tlen, portRegPtr->rte_prc_l3_ipv4_trap_tlen_err,
                            comRegPtr->rte_l3_ip_hdr_vio_trap_que, TRP_IP_HDR_VIO, DRP_IP_HDR});
    statPtr->l3IpTlen = tLen;
    const uint32_t flags = prcByte(statPtr, offset + 6);
    statPtr->l3Ipv4DntFrg = bit(flags, 6);
    statPtr->l3Ipv4MorFrg = bit(flags, 5);
    statPtr->l3Ipv4Flag = bits(flags, 7, 5);

    if (!insideFrame(offset, 10, frmLen))
        return PrcL3Ipv4EofErr(statPtr);
    statPtr->l3Ipv4FrgOffset = bits(prcHword(statPtr, offset + 6), 12, 0);

    if (!insideFrame(offset, 11, frmLen))
        return PrcL3Ipv4EofErr(statPtr);
    statPtr->l3IpTtl = prcByte(statPtr, offset + 8);

    if (!insideFrame(offset, 12, frmLen))
        return PrcL3Ipv4EofErr(statPtr);
    statPtr->l3IpUlp = prcByte(statPtr, offset + 9);

    if (!insideFrame(offset, 13, frmLen))
        return PrcL3Ipv4EofErr(statPtr);
    const bool pimInFrg = !isPimInner && statPtr->l3IpUlp == comRegPtr->rte_l3_ulp_pim &&
                          (statPtr->l3Ipv4MorFrg || statPtr->l3Ipv4FrgOffset);
    if (pimInFrg)
        prcL3Record(statPtr, {portRegPtr->rte_prc_l3_ipv4_ck_pim_frg, portRegPtr->rte_prc_l3_ipv4_trap_pim_frg_err,
                              comRegPtr->rte_l3_ip_pim_hdr_trap_que, TRP_IP_PIM_HDR, DRP_IP_PIM_HDR});

    statPtr->l3IpSa0 = prcDword(statPtr, offset + 12);
    // The outer header's key begins at the EtherType in front of it.
    if (isPimInner)
        detectFlexKey(statPtr, FLEX_KEY_INNER_IPV4, offset);
    else
        detectFlexKey(statPtr, FLEX_KEY_OUTER_IPV4, offset - 2);

    if (!insideFrame(offset, 19, frmLen))
        return PrcL3Ipv4EofErr(statPtr);
    if (bits64(statPtr->l3IpSa0, 31, 28) == comRegPtr->rte_l3_ipv4_mcast_prefix)
        prcL3RecordLatched(statPtr, isPimInner,
                           {portRegPtr->rte_prc_l3_ipv4_ck_sa_mcast, portRegPtr->rte_prc_l3_ipv4_trap_sa_mcast_err,
                            comRegPtr->rte_l3_ip_sa_mcast_trap_que, TRP_IP_SA_MCAST, DRP_IP_SA_MCAST});

    if (!insideFrame(offset, 23, frmLen))
        return PrcL3Ipv4EofErr(statPtr);
    statPtr->l3IpDa0 = prcDword(statPtr, offset + 16);
    CM_TRACE(1, "Ipv4 %s: TTL = %u, DA=0x%08x, SA=0x%08x\n",
             !isPimInner                  ? ""
             : statPtr->l3IpMcastRegEncap ? "(PIM inner my RP)"
                                          : "(PIM inner)",
             statPtr->l3IpTtl, static_cast<uint32_t>(statPtr->l3IpDa0), static_cast<uint32_t>(statPtr->l3IpSa0));
    ckDaMcast(statPtr, isPimInner);

    if (!statPtr->l3IpDaIsMcast && statPtr->l3IpTtl < 2)
        prcL3RecordLatched(statPtr, isPimInner,
                           {portRegPtr->rte_prc_l3_ipv4_ck_ttl, portRegPtr->rte_prc_l3_ipv4_trap_ttl_err,
                            comRegPtr->rte_l3_ip_ttl_trap_que, TRP_IP_TTL, DRP_IP_TTL});

    // A fragmented PIM frame leaves these flags as they were.
    if (!isPimInner && !pimInFrg) {
        statPtr->l3IpDaIsRpAddr = CkIpv4RpAddr(statPtr);
        statPtr->l3IpUlpIsPim = statPtr->l3IpUlp == comRegPtr->rte_l3_ulp_pim;
        statPtr->l3IpMcastRegEncap = statPtr->l3IpDaIsRpAddr && statPtr->l3IpUlpIsPim;
        if (statPtr->l3IpMcastRegEncap)
            statPtr->l3IpDaIsMcast = 0;
    }

    if (!insideFrame(offset, 4 * minIhl + 3, frmLen))
        return PrcL3Ipv4EofErr(statPtr);
    // The chip never sums a header that is too short for its own fields: its checksum counts as failed.
    const bool hdrCksumErr = ihl <= 4 || prcCksumBad(sumHwords(statPtr, offset, 4 * minIhl));
    if (portRegPtr->rte_prc_l3_ipv4_ck_cksum && hdrCksumErr && !prcL3CksumStands(statPtr)) {
        prcL3Replace(statPtr, {portRegPtr->rte_prc_l3_ipv4_ck_cksum, portRegPtr->rte_prc_l3_ipv4_trap_cksum_err,
                               comRegPtr->rte_l3_ipv4_cksum_trap_que, TRP_IPV4_CKSUM, DRP_IPV4_CKSUM});
        CM_TRACE(1, "Ipv4 header checksum Err. %s\n",
                 portRegPtr->rte_prc_l3_ipv4_trap_cksum_err ? "L3_TRAP" : "L3_DROP");
    }
    cksumErr = cksumErr || hdrCksumErr;

    if (insideFrame(offset, 4 * minIhl + 7, frmLen) && statPtr->l3IpUlp == comRegPtr->rte_l3_ulp_ipv4_icmp &&
        !statPtr->l3Ipv4FrgOffset) {
        detectFlexKey(statPtr, FLEX_KEY_ICMPV4, statPtr->l4Offset);
        statPtr->l3Ipv4IcmpTyp = prcHword(statPtr, statPtr->l4Offset);
    }

    if (isPimInner)
        return;
    const uint32_t l4Offset = statPtr->l4Offset;
    if (!statPtr->l3IpMcastRegEncap) {
        if (statPtr->l3IpUlpIsPim && !insideFrame(l4Offset, 11, frmLen))
            PrcL3Ipv4EofErr(statPtr);
        return;
    }

    // PIM register to this rendezvous point.
    if (!insideFrame(l4Offset, 11, frmLen))
        return PrcL3Ipv4EofErr(statPtr);
    detectFlexKey(statPtr, FLEX_KEY_PIM, l4Offset);
    const uint32_t pimB0 = prcByte(statPtr, l4Offset);
    if (pimB0 != comRegPtr->rte_l3_pim_ver_typ) {
        statPtr->l3IpMcastRegEncap = 0;
        return;
    }

    const uint32_t pimBitN = bit(prcByte(statPtr, l4Offset + 4), 6);
    const PrcL3Err pimNull = {portRegPtr->rte_prc_l3_ck_pim_null, portRegPtr->rte_prc_l3_trap_pim_null,
                              comRegPtr->rte_l3_ip_pim_null_reg_trap_que, TRP_IP_PIM_NULL, DRP_IP_PIM_NULL};
    if (pimBitN && pimNull.ck && prcL3NoRsn(statPtr)) {
        prcL3Replace(statPtr, pimNull);
        // Latched although it is no error of the inner header.
        statPtr->l3Ipv4Ihl6ErrCanWin = pimNull.trap ? pimNull.trapRsn : pimNull.dropRsn;
        CM_TRACE(1, "Ipv4 PIM NULL %s\n", pimNull.trap ? "TRAP" : "DROP");
    }

    bool pimCksumErr = prcCksumBad(sumHwords(statPtr, l4Offset, kPimRegHdrLen));
    if (pimCksumErr && prcPimCksumPastEof(statPtr))
        pimCksumErr = false;
    if (pimCksumErr && portRegPtr->rte_prc_l3_ipv4_ck_pim_cksum) {
        if (!prcL3CksumStands(statPtr))
            prcL3Replace(statPtr,
                         {portRegPtr->rte_prc_l3_ipv4_ck_pim_cksum, portRegPtr->rte_prc_l3_ipv4_trap_pim_cksum_err,
                          comRegPtr->rte_l3_ipv4_cksum_trap_que, TRP_IPV4_CKSUM, DRP_IPV4_CKSUM});
        CM_TRACE(1, "IPv4 PIM cksum err detected and %s\n",
                 statPtr->l3PrcTrapRsn == TRP_IPV4_CKSUM ? "L3_TRAP" : "L3_DROP");
    }
    cksumErr = cksumErr || pimCksumErr;

    statPtr->l3Offset = l4Offset + kPimRegHdrLen;
    PrcL3Ipv4(statPtr, 1, cksumErr);
}

void ckIpv4Ihl6NotRouterAlrt(CmRteStat *statPtr) {
    if (statPtr->l3IpVer != 4 || statPtr->l3IpOuterIhl != 6)
        return;
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    if (portRegPtr->rte_prc_l3_ipv4_ck_ihl_gt5 && ihl6MayReplaceTrap(statPtr) && ihl6MayReplaceDrop(statPtr)) {
        if (portRegPtr->rte_prc_l3_ipv4_trap_ihl_gt5_err) {
            statPtr->l3PrcTrapQue = comRegPtr->rte_l3_ipv4_ihl_gt5_trap_que;
            statPtr->l3PrcTrapRsn = TRP_IPV4_IHL_GT5;
            statPtr->l3PrcDropRsn = kNoRsn;
        } else {
            // The chip leaves the queue of a trap that it turns into a drop.
            statPtr->l3PrcDropRsn = DRP_IPV4_IHL_GT5;
            statPtr->l3PrcTrapRsn = kNoRsn;
        }
        CM_TRACE(2, "Ipv4 IHL = 6 detected and %s\n",
                 portRegPtr->rte_prc_l3_ipv4_trap_ihl_gt5_err ? "trapped" : "dropped");
    } else {
        CM_TRACE(2, "Ipv4 IHL == 6 detected but ignored, ck_ihl=%d trap_rsn=%d drop_rsn=%d\n",
                 portRegPtr->rte_prc_l3_ipv4_ck_ihl_gt5, statPtr->l3PrcTrapRsn, statPtr->l3PrcDropRsn);
    }
}

void PrcL3Ipv4EofErr(CmRteStat *statPtr) {
    PrcL3RstHdr(statPtr);
    if (!prcL3CksumStands(statPtr))
        prcL3Replace(statPtr, {1, statPtr->portRegPtr->rte_prc_l3_ipv4_trap_eof_err,
                               statPtr->comRegPtr->rte_l3_ip_hdr_vio_trap_que, TRP_IP_HDR_VIO, DRP_EOF});
    CM_TRACE(1, "IPv4 EOF detected, trap_rsn=%d drp_rsn=%d\n", statPtr->l3PrcTrapRsn, statPtr->l3PrcDropRsn);
    statPtr->l3Ipv4Ihl6ErrCanWin = 0;
}

uint32_t CkIpv4RpAddr(CmRteStat *statPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    if (statPtr->portRegPtr->rte_prc_l3_ipv4_rp_ck_off)
        return 0;
    for (uint32_t k = 0; k < kIpv4RpAddrCnt; k++) {
        if (statPtr->l3IpDa0 == comRegPtr->rte_ipv4_pim_rp_addr[k]) {
            statPtr->l3IpDaRpIdx = comRegPtr->rte_l3_ipv4_idx[k];
            return 1;
        }
    }
    return 0;
}
