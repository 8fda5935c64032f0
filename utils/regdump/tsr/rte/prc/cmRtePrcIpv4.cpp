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

/// True when the `n` bytes at `offset` lie inside the frame; otherwise the error is recorded.
bool lenOk(CmRteStat *statPtr, uint32_t offset, uint32_t n) {
    if (insideFrame(offset, n, statPtr->frmLen))
        return true;
    PrcL3Ipv4EofErr(statPtr);
    return false;
}

/// The header length that the chip goes by, in words: never less than the fixed fields.
uint32_t minIhl(const CmRteStat *statPtr) {
    return statPtr->l3IpIhl < 5 ? 5 : statPtr->l3IpIhl;
}

/// What the verdict on a header with options, just stored, does with the frame.
const char *ihlErrWord(const CmRteStat *statPtr) {
    return statPtr->l3PrcTrapRsn == TRP_IPV4_IHL_GT5 ? "trapped" : "dropped";
}

/// Whether the outer header has PIM in a fragment.
bool isPimInFrg(const CmRteStat *statPtr, uint32_t isPimInner) {
    return !isPimInner && statPtr->l3IpUlp == statPtr->comRegPtr->rte_l3_ulp_pim &&
           (statPtr->l3Ipv4MorFrg || statPtr->l3Ipv4FrgOffset);
}

// The steps of the parse. One that returns a bool returns false when the frame ended on the way and the error is
// recorded.

/// Version and header length, which gives the place of layer 4.
bool getVerIhl(CmRteStat *statPtr, uint32_t isPimInner) {
    const uint32_t offset = statPtr->l3Offset;
    if (!lenOk(statPtr, offset, 4))
        return false;
    const uint32_t verIhl = prcByte(statPtr, offset);
    if (bits(verIhl, 7, 4) != 4)
        prcL3Ck(statPtr, L3_CK_IPV4_VER, isPimInner);

    const uint32_t ihl = bits(verIhl, 3, 0);
    statPtr->l3IpIhl = ihl;
    if (!isPimInner)
        statPtr->l3IpOuterIhl = ihl;
    if (ihl < 5)
        prcL3Ck(statPtr, L3_CK_IPV4_IHL_LT5, isPimInner);
    // An IHL of 6 is what a router alert has; it is judged when the layer-4 ports are known.
    if (ihl > 6 && !isPimInner) {
        if (prcL3Ck(statPtr, L3_CK_IPV4_IHL_GT6) == L3_CK_STORED)
            CM_TRACE(2, "Ipv4 IHL (%d) > 5 detected and %s\n", ihl, ihlErrWord(statPtr));
        else
            CM_TRACE(2, "Ipv4 IHL (%d) > 5 detected but ignored, ck_ihl=%d trap_rsn=%d drop_rsn=%d\n", ihl,
                     statPtr->portRegPtr->rte_prc_l3_ipv4_ck_ihl_gt5, statPtr->l3PrcTrapRsn, statPtr->l3PrcDropRsn);
    }
    statPtr->l4Offset = offset + 4 * minIhl(statPtr);
    return true;
}

/// DSCP and ECN.
bool getTos(CmRteStat *statPtr, uint32_t isPimInner) {
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    const uint32_t offset = statPtr->l3Offset;
    if (!lenOk(statPtr, offset, 5))
        return false;
    const uint32_t tos = prcByte(statPtr, offset + 1);
    statPtr->l3IpDscp = tos >> 2;
    if (!isPimInner)
        statPtr->l3IpDscpOuter = statPtr->l3IpDscp;
    if (portRegPtr->rte_prc_typ_mode >= 2 || portRegPtr->rte_prc_typ_alw_l3_dscp) {
        statPtr->l2PselDscp = statPtr->l3IpDscp;
        statPtr->IpDscpForPsel = statPtr->l3IpDscp;
    }
    statPtr->l3IpEcn = bits(tos, 1, 0);
    return true;
}

/// Total length and flags.
bool getTlenFlags(CmRteStat *statPtr, uint32_t isPimInner) {
    const uint32_t offset = statPtr->l3Offset;
    const uint32_t tLen = prcHword(statPtr, offset + 2);
    if (!lenOk(statPtr, offset, 7))
        return false;
    if (4 * statPtr->l3IpIhl > tLen)
        prcL3Ck(statPtr, L3_CK_IPV4_TLEN, isPimInner);
    statPtr->l3IpTlen = tLen;
    const uint32_t flags = prcByte(statPtr, offset + 6);
    statPtr->l3Ipv4DntFrg = bit(flags, 6);
    statPtr->l3Ipv4MorFrg = bit(flags, 5);
    statPtr->l3Ipv4Flag = bits(flags, 7, 5);
    return true;
}

/// Fragment offset, TTL and protocol; the chip takes each as it comes.
bool getFrgTtlUlp(CmRteStat *statPtr) {
    const uint32_t offset = statPtr->l3Offset;
    if (!lenOk(statPtr, offset, 10))
        return false;
    statPtr->l3Ipv4FrgOffset = bits(prcHword(statPtr, offset + 6), 12, 0);
    if (!lenOk(statPtr, offset, 11))
        return false;
    statPtr->l3IpTtl = prcByte(statPtr, offset + 8);
    if (!lenOk(statPtr, offset, 12))
        return false;
    statPtr->l3IpUlp = prcByte(statPtr, offset + 9);
    return true;
}

bool ckPimFrg(CmRteStat *statPtr, uint32_t isPimInner) {
    if (!lenOk(statPtr, statPtr->l3Offset, 13))
        return false;
    if (isPimInFrg(statPtr, isPimInner))
        prcL3Ck(statPtr, L3_CK_IPV4_PIM_FRG);
    return true;
}

bool getSa(CmRteStat *statPtr, uint32_t isPimInner) {
    const uint32_t offset = statPtr->l3Offset;
    statPtr->l3IpSa0 = prcDword(statPtr, offset + 12);
    // The outer header's key begins at the EtherType in front of it.
    if (isPimInner)
        detectFlexKey(statPtr, FLEX_KEY_INNER_IPV4, offset);
    else
        detectFlexKey(statPtr, FLEX_KEY_OUTER_IPV4, offset - 2);

    if (!lenOk(statPtr, offset, 19))
        return false;
    if (bits64(statPtr->l3IpSa0, 31, 28) == statPtr->comRegPtr->rte_l3_ipv4_mcast_prefix)
        prcL3Ck(statPtr, L3_CK_IPV4_SA_MCAST, isPimInner);
    return true;
}

bool getDa(CmRteStat *statPtr, uint32_t isPimInner) {
    const uint32_t offset = statPtr->l3Offset;
    if (!lenOk(statPtr, offset, 23))
        return false;
    statPtr->l3IpDa0 = prcDword(statPtr, offset + 16);
    CM_TRACE(1, "Ipv4 %s: TTL = %u, DA=0x%08x, SA=0x%08x\n",
             !isPimInner                  ? ""
             : statPtr->l3IpMcastRegEncap ? "(PIM inner my RP)"
                                          : "(PIM inner)",
             statPtr->l3IpTtl, static_cast<uint32_t>(statPtr->l3IpDa0), static_cast<uint32_t>(statPtr->l3IpSa0));
    return true;
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
    if ((ipv4DaIsMcast || ipv4MacDaIsMcast) && !matchMacDa && prcL3Ck(statPtr, L3_CK_IPV4_DA_MCAST) != L3_CK_OFF) {
        statPtr->l3IpDaIsMcast = 0;
        CM_TRACE(1, "IPv4 IP mcast DA check ip_da_mcast=%d mac_da_mcast=%d lo_23b=%x_%x trap_rsn=%d drop_rsn=%d\n",
                 ipv4DaIsMcast, ipv4MacDaIsMcast, daLo23, macDaLo23, statPtr->l3PrcTrapRsn, statPtr->l3PrcDropRsn);
        return;
    }
    statPtr->l3IpDaIsMcast = ipv4DaIsMcast;
}

void ckTtl(CmRteStat *statPtr, uint32_t isPimInner) {
    if (!statPtr->l3IpDaIsMcast && statPtr->l3IpTtl < 2)
        prcL3Ck(statPtr, L3_CK_IPV4_TTL, isPimInner);
}

/// Whether the outer header may open a PIM register message to this rendezvous point.
void ckRp(CmRteStat *statPtr, uint32_t isPimInner) {
    // A fragmented PIM frame leaves these flags as they were.
    if (isPimInner || isPimInFrg(statPtr, isPimInner))
        return;
    statPtr->l3IpDaIsRpAddr = CkIpv4RpAddr(statPtr);
    statPtr->l3IpUlpIsPim = statPtr->l3IpUlp == statPtr->comRegPtr->rte_l3_ulp_pim;
    statPtr->l3IpMcastRegEncap = statPtr->l3IpDaIsRpAddr && statPtr->l3IpUlpIsPim;
    if (statPtr->l3IpMcastRegEncap)
        statPtr->l3IpDaIsMcast = 0;
}

bool ckHdrCksum(CmRteStat *statPtr, uint32_t &cksumErr) {
    const uint32_t offset = statPtr->l3Offset;
    const uint32_t hdrLen = 4 * minIhl(statPtr);
    if (!lenOk(statPtr, offset, hdrLen + 3))
        return false;
    // The chip never sums a header that is too short for its own fields: its checksum counts as failed.
    const bool hdrCksumErr = statPtr->l3IpIhl <= 4 || prcCksumBad(sumHwords(statPtr, offset, hdrLen));
    if (hdrCksumErr)
        prcL3Ck(statPtr, L3_CK_IPV4_CKSUM);
    cksumErr = cksumErr || hdrCksumErr;
    return true;
}

/// Type and code of an ICMP message. A frame that ends in front of them is no error.
void getIcmp(CmRteStat *statPtr) {
    if (insideFrame(statPtr->l3Offset, 4 * minIhl(statPtr) + 7, statPtr->frmLen) &&
        statPtr->l3IpUlp == statPtr->comRegPtr->rte_l3_ulp_ipv4_icmp && !statPtr->l3Ipv4FrgOffset) {
        detectFlexKey(statPtr, FLEX_KEY_ICMPV4, statPtr->l4Offset);
        statPtr->l3Ipv4IcmpTyp = prcHword(statPtr, statPtr->l4Offset);
    }
}

/// True when the outer header is followed by a PIM register message to this rendezvous point.
bool getPimReg(CmRteStat *statPtr) {
    const uint32_t l4Offset = statPtr->l4Offset;
    if (!statPtr->l3IpMcastRegEncap) {
        if (statPtr->l3IpUlpIsPim)
            lenOk(statPtr, l4Offset, 11);
        return false;
    }
    if (!lenOk(statPtr, l4Offset, 11))
        return false;
    detectFlexKey(statPtr, FLEX_KEY_PIM, l4Offset);
    if (prcByte(statPtr, l4Offset) != statPtr->comRegPtr->rte_l3_pim_ver_typ) {
        statPtr->l3IpMcastRegEncap = 0;
        return false;
    }
    return true;
}

void ckPimNull(CmRteStat *statPtr) {
    if (bit(prcByte(statPtr, statPtr->l4Offset + 4), 6))
        prcL3Ck(statPtr, L3_CK_IPV4_PIM_NULL);
}

void ckPimCksum(CmRteStat *statPtr, uint32_t &cksumErr) {
    if (!prcCksumBad(sumHwords(statPtr, statPtr->l4Offset, kPimRegHdrLen)) || prcPimCksumPastEof(statPtr))
        return;
    // Told even where the verdict of the header checksum stands, and by that one's kind.
    if (prcL3Ck(statPtr, L3_CK_IPV4_PIM_CKSUM) != L3_CK_OFF)
        CM_TRACE(1, "IPv4 PIM cksum err detected and %s\n",
                 statPtr->l3PrcTrapRsn == TRP_IPV4_CKSUM ? "L3_TRAP" : "L3_DROP");
    cksumErr = 1;
}

} // namespace

void PrcL3Ipv4(CmRteStat *statPtr, uint32_t isPimInner, uint32_t &cksumErr) {
    if (!getVerIhl(statPtr, isPimInner))
        return;
    if (!getTos(statPtr, isPimInner))
        return;
    if (!getTlenFlags(statPtr, isPimInner))
        return;
    if (!getFrgTtlUlp(statPtr))
        return;
    if (!ckPimFrg(statPtr, isPimInner))
        return;
    if (!getSa(statPtr, isPimInner))
        return;
    if (!getDa(statPtr, isPimInner))
        return;
    ckDaMcast(statPtr, isPimInner);
    ckTtl(statPtr, isPimInner);
    ckRp(statPtr, isPimInner);
    if (!ckHdrCksum(statPtr, cksumErr))
        return;
    getIcmp(statPtr);

    if (isPimInner || !getPimReg(statPtr))
        return;
    ckPimNull(statPtr);
    ckPimCksum(statPtr, cksumErr);
    statPtr->l3Offset = statPtr->l4Offset + kPimRegHdrLen;
    PrcL3Ipv4(statPtr, 1, cksumErr);
}

void ckIpv4Ihl6NotRouterAlrt(CmRteStat *statPtr) {
    if (statPtr->l3IpVer != 4 || statPtr->l3IpOuterIhl != 6)
        return;
    if (prcL3Ck(statPtr, L3_CK_IPV4_IHL_6) == L3_CK_STORED)
        CM_TRACE(2, "Ipv4 IHL = 6 detected and %s\n", ihlErrWord(statPtr));
    else
        CM_TRACE(2, "Ipv4 IHL == 6 detected but ignored, ck_ihl=%d trap_rsn=%d drop_rsn=%d\n",
                 statPtr->portRegPtr->rte_prc_l3_ipv4_ck_ihl_gt5, statPtr->l3PrcTrapRsn, statPtr->l3PrcDropRsn);
}

void PrcL3Ipv4EofErr(CmRteStat *statPtr) {
    PrcL3RstHdr(statPtr);
    prcL3Ck(statPtr, L3_CK_IPV4_EOF);
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
