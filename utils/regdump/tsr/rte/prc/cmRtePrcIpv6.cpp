// IPv6 header parsing: the walk over the extension headers, and the packet inside a PIM register message.

#include "base/cmRteAbort.h"
#include "base/cmRteState.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "prc/cmRtePrc.h"
#include "prc/cmRtePrcL3.h"

namespace {

constexpr uint32_t kIpv6HdrLen = 40;
constexpr uint32_t kIpv6RpAddrCnt = 32;

// The pseudo-header's length and protocol are wired into the chip; the protocol register does not reach it.
constexpr uint32_t kPimPseudoLen = 8;
constexpr uint32_t kPimPseudoUlp = 103;

/// True when `exp` bytes from the frame's start can be read; otherwise the error is recorded.
bool lenOk(CmRteStat *statPtr, uint32_t exp) {
    if (CkIpv6Len(statPtr->frmLen, exp, statPtr))
        return true;
    PrcL3Ipv6EofErr(statPtr);
    return false;
}

/// Whether `nxtHdr` is in the 256-bit set of protocols that end the walk; word 0 holds the highest values.
bool inUlpMsk(const CmRteStat *statPtr, uint32_t nxtHdr) {
    return bit(statPtr->comRegPtr->rte_l3_ipv6_ulp_msk[7 - (nxtHdr >> 5)], nxtHdr & 31);
}

/// Sets `l3IpHbh` by the current next-header value; a hop-by-hop header is trapped, never dropped.
void ckHbh(CmRteStat *statPtr, uint32_t nxtHdr) {
    statPtr->l3IpHbh = nxtHdr == statPtr->comRegPtr->rte_l3_ulp_hbh;
    if (statPtr->l3IpHbh)
        prcL3Ck(statPtr, L3_CK_IPV6_HBH);
}

// The steps of the parse. One that returns a bool returns false when the frame ended on the way and the error is
// recorded.

/// Version, DSCP and ECN.
bool getVerTos(CmRteStat *statPtr, uint32_t isPimInner) {
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    const uint32_t off = statPtr->l3Offset;
    if (!lenOk(statPtr, off + 1))
        return false;
    const uint32_t b0 = prcByte(statPtr, off);
    if (bits(b0, 7, 4) != 6)
        prcL3Ck(statPtr, L3_CK_IPV6_VER, isPimInner);

    const uint32_t tos = bits(b0, 3, 0) << 4 | bits(prcByte(statPtr, off + 1), 7, 4);
    statPtr->l3IpDscp = tos >> 2;
    if (!isPimInner)
        statPtr->l3IpDscpOuter = statPtr->l3IpDscp;
    // Unlike IPv4, the chip does not write `l2PselDscp` here.
    if (portRegPtr->rte_prc_typ_mode > 1 || portRegPtr->rte_prc_typ_alw_l3_dscp)
        statPtr->IpDscpForPsel = statPtr->l3IpDscp;
    statPtr->l3IpEcn = bits(tos, 1, 0);
    CM_TRACE(2, "Ipv6 DSCP = %x, typ_mode=%u, typ_alw_l3_dscp=%u ecn=%d\n", statPtr->l3IpDscp,
             portRegPtr->rte_prc_typ_mode, portRegPtr->rte_prc_typ_alw_l3_dscp, statPtr->l3IpEcn);
    return true;
}

/// Total length, the first next header and the hop limit.
bool getTlenHbhTtl(CmRteStat *statPtr) {
    const uint32_t off = statPtr->l3Offset;
    statPtr->l3IpTlen = (prcHword(statPtr, off + 4) + kIpv6HdrLen) & 0xffff;
    if (!lenOk(statPtr, off + 6))
        return false;
    ckHbh(statPtr, prcByte(statPtr, off + 6));
    statPtr->l3IpTtl = prcByte(statPtr, off + 7);
    return true;
}

bool getSa(CmRteStat *statPtr, uint32_t isPimInner) {
    const uint32_t off = statPtr->l3Offset;
    if (!lenOk(statPtr, off + 24))
        return false;
    statPtr->l3IpSa0 = prcQword(statPtr, off + 8, 8);
    // The outer header's key begins at the EtherType in front of it.
    if (isPimInner)
        detectFlexKey(statPtr, FLEX_KEY_INNER_IPV6, off);
    else
        detectFlexKey(statPtr, FLEX_KEY_OUTER_IPV6, off - 2);
    statPtr->l3IpSa1 = prcQword(statPtr, off + 16, 8);
    if (bits64(statPtr->l3IpSa0, 63, 56) == statPtr->comRegPtr->rte_l3_ipv6_mcast_prefix)
        prcL3Ck(statPtr, L3_CK_IPV6_SA_MCAST, isPimInner);
    return true;
}

bool getDa(CmRteStat *statPtr) {
    const uint32_t off = statPtr->l3Offset;
    if (!lenOk(statPtr, off + 40))
        return false;
    statPtr->l3IpDa0 = prcQword(statPtr, off + 24, 8);
    statPtr->l3IpDa1 = prcQword(statPtr, off + 32, 8);
    return true;
}

/// The multicast class of the DA. At the outer header the MAC address must agree with it.
void ckDaMcast(CmRteStat *statPtr, uint32_t isPimInner) {
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const uint32_t daLo32 = static_cast<uint32_t>(statPtr->l3IpDa1);
    const uint32_t macDaLo32 = static_cast<uint32_t>(statPtr->l2Da);

    uint32_t ipv6DaIsMcast = bits64(statPtr->l3IpDa0, 63, 56) == comRegPtr->rte_l3_ipv6_mcast_prefix;
    uint32_t ipv6MacDaIsMcast = bits64(statPtr->l2Da, 47, 32) == comRegPtr->rte_l3_ipv6_mcast_mac_prefix;
    if (portRegPtr->rte_prc_l3_ipv6_mcast_off) {
        ipv6DaIsMcast = 0;
        ipv6MacDaIsMcast = 0;
    }

    if (isPimInner) {
        statPtr->l3IpDaIsMcast = ipv6DaIsMcast;
        return;
    }
    const bool matchMacDa = ipv6DaIsMcast && ipv6MacDaIsMcast && daLo32 == macDaLo32;
    if ((ipv6DaIsMcast || ipv6MacDaIsMcast) && !matchMacDa && prcL3Ck(statPtr, L3_CK_IPV6_DA_MCAST) != L3_CK_OFF) {
        statPtr->l3IpDaIsMcast = 0;
        CM_TRACE(1, "IPv6 IP mcast DA check ip_da_mcast=%d mac_da_mcast=%d lo_32b=%x_%x trap_rsn=%d drop_rsn=%d\n",
                 ipv6DaIsMcast, ipv6MacDaIsMcast, daLo32, macDaLo32, statPtr->l3PrcTrapRsn, statPtr->l3PrcDropRsn);
        return;
    }
    statPtr->l3IpDaIsMcast = ipv6DaIsMcast;
}

void ckTtl(CmRteStat *statPtr, uint32_t isPimInner) {
    if (!statPtr->l3IpDaIsMcast && statPtr->l3IpTtl <= 1)
        prcL3Ck(statPtr, L3_CK_IPV6_TTL, isPimInner);
}

/// The ICMP message at `hdrOffset`; behind the first fragment stands none.
void getIcmp(CmRteStat *statPtr, uint32_t hdrOffset) {
    if (statPtr->l3Ipv6IsFragment && !statPtr->l3Ipv6FirstFragment)
        return;
    detectFlexKey(statPtr, FLEX_KEY_ICMPV6, hdrOffset);
    statPtr->l3Ipv6IcmpTyp = prcHword(statPtr, hdrOffset);
    // A cut ICMP header is recorded, but the chip ends the walk as if it were whole.
    lenOk(statPtr, hdrOffset + 2);
    CM_TRACE(2, "IPv6 ICMP typ_code = 0x%x offset=%d\n", statPtr->l3Ipv6IcmpTyp, hdrOffset);
}

/// The fragment header at `hdrOffset`.
void getFragHdr(CmRteStat *statPtr, uint32_t hdrOffset) {
    const uint32_t fragB2 = prcByte(statPtr, hdrOffset + 2);
    const uint32_t fragB3 = prcByte(statPtr, hdrOffset + 3);
    const uint32_t flagM = bit(fragB3, 0);
    statPtr->l3Ipv6FragOffset = fragB2 << 5 | fragB3 >> 3;
    statPtr->l3Ipv6FirstFragment = flagM && statPtr->l3Ipv6FragOffset == 0;
    statPtr->l3Ipv6IsFragment = 1;
    statPtr->l3Ipv6FragFlag = flagM;
    CM_TRACE(2, "IPv6 Frag Extn Hdr. frag_offset=0x%x Mflag=%d\n", statPtr->l3Ipv6FragOffset, flagM);
}

/// Walks from the fixed header over the extension headers to the upper-layer protocol, sets `l4Offset` and `l3IpUlp`.
/// Returns false when the frame ended on the way and the error is recorded.
bool walkExtHdrs(CmRteStat *statPtr, uint32_t isPimInner) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const uint32_t frmLen = statPtr->frmLen;
    const uint32_t off = statPtr->l3Offset;

    uint32_t nxtHdr = prcByte(statPtr, off + 6);
    int32_t extLen = -1;
    uint32_t nxtHdrOffset = kIpv6HdrLen;
    uint32_t inExtHdr = 0;
    uint32_t isUlp = 0;
    CM_TRACE(2, "IPv6 First NextHeader = %x\n", nxtHdr);

    for (;;) {
        // The check reruns on every header, so that a late hop-by-hop header counts too.
        ckHbh(statPtr, nxtHdr);

        if (!isPimInner && nxtHdr == comRegPtr->rte_l3_ulp_pim) {
            if (!inExtHdr) {
                statPtr->l3IpUlpIsPim = 1;
                statPtr->l3IpDaIsRpAddr = CkIpv6RpAddr(statPtr);
                statPtr->l3IpMcastRegEncap = statPtr->l3IpDaIsRpAddr;
                statPtr->l4Offset = off + nxtHdrOffset;
                break;
            }
            if (!CkIpv6Len(frmLen, off + nxtHdrOffset + 3, statPtr))
                CmRteAbort_(__FILE_NAME__, __LINE__,
                            "PIM nxt_hdr detected in IPv6 extension header \n"
                            "and at the cycle may or may not coincide with \n"
                            "EOF or max_len\n");
            prcL3Ck(statPtr, L3_CK_IPV6_PIM_EXT);
        }

        nxtHdrOffset += static_cast<uint32_t>(extLen + 1) * 8;
        if (!lenOk(statPtr, off + nxtHdrOffset))
            return false;
        const uint32_t hdrOffset = off + nxtHdrOffset;

        if (nxtHdr == comRegPtr->rte_l3_ulp_icmp) {
            getIcmp(statPtr, hdrOffset);
            statPtr->l4Offset = hdrOffset;
            break;
        }

        isUlp = nxtHdr == comRegPtr->rte_l3_ulp_tcp || nxtHdr == comRegPtr->rte_l3_ulp_udp ||
                nxtHdr == comRegPtr->rte_l3_ulp_pim || inUlpMsk(statPtr, nxtHdr);
        if (isUlp) {
            statPtr->l4Offset = hdrOffset;
            break;
        }

        const bool isFragHdr = nxtHdr == comRegPtr->rte_l3_ipv6_frag_ext;
        if (isFragHdr)
            getFragHdr(statPtr, hdrOffset);
        // The second byte of the fragment header is reserved. That of any unknown header is taken as a length.
        extLen = isFragHdr ? 0 : static_cast<int32_t>(prcByte(statPtr, hdrOffset + 1));
        nxtHdr = prcByte(statPtr, hdrOffset);
        inExtHdr = 1;
        if (!lenOk(statPtr, hdrOffset + 2))
            return false;
        CM_TRACE(2, "IPv6 NextHeader = 0x%x Len = %d frm offset=%d\n", nxtHdr, extLen, hdrOffset);
    }

    statPtr->l3IpUlp = nxtHdr;
    if (statPtr->l3Ipv6IsFragment && !statPtr->l3Ipv6FirstFragment)
        statPtr->l3Ipv6IcmpTyp = 0;
    CM_TRACE(2, "IPv6 ULP=%x, isUlp=%d, l3IpUlpIsPim=%d, myRpPim=%d\n", nxtHdr, isUlp, statPtr->l3IpUlpIsPim,
             statPtr->l3IpMcastRegEncap);
    return true;
}

/// The PIM register checksum, which IPv6 takes over a pseudo-header too.
bool pimCksumBad(const CmRteStat *statPtr) {
    // The words under the PIM checksum: SA, DA, length, protocol, PIM register header.
    const uint32_t pimDwHdr[] = {
        static_cast<uint32_t>(statPtr->l3IpSa0 >> 32),
        static_cast<uint32_t>(statPtr->l3IpSa0),
        static_cast<uint32_t>(statPtr->l3IpSa1 >> 32),
        static_cast<uint32_t>(statPtr->l3IpSa1),
        static_cast<uint32_t>(statPtr->l3IpDa0 >> 32),
        static_cast<uint32_t>(statPtr->l3IpDa0),
        static_cast<uint32_t>(statPtr->l3IpDa1 >> 32),
        static_cast<uint32_t>(statPtr->l3IpDa1),
        kPimPseudoLen,
        kPimPseudoUlp,
        prcDword(statPtr, statPtr->l4Offset),
        prcDword(statPtr, statPtr->l4Offset + 4),
    };
    uint32_t sum = 0;
    for (uint32_t word : pimDwHdr)
        sum += (word >> 16) + (word & 0xffff);
    return prcCksumBad(sum);
}

/// True when the outer header is followed by a PIM register message to this rendezvous point.
bool getPimReg(CmRteStat *statPtr) {
    const uint32_t l4Offset = statPtr->l4Offset;
    if (!statPtr->l3IpMcastRegEncap) {
        if (statPtr->l3IpUlpIsPim)
            lenOk(statPtr, l4Offset + kPimRegHdrLen);
        return false;
    }
    if (!lenOk(statPtr, l4Offset + kPimRegHdrLen))
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
        prcL3Ck(statPtr, L3_CK_IPV6_PIM_NULL);
}

void ckPimCksum(CmRteStat *statPtr, uint32_t &cksumErr) {
    if (!pimCksumBad(statPtr) || prcPimCksumPastEof(statPtr))
        return;
    // Told even where the verdict of an earlier checksum stands, and by that one's kind.
    if (prcL3Ck(statPtr, L3_CK_IPV6_PIM_CKSUM) != L3_CK_OFF)
        CM_TRACE(1, "IPv6 PIM cksum err detected and %s\n",
                 statPtr->l3PrcTrapRsn == TRP_IPV4_CKSUM ? "trapped" : "dropped");
    cksumErr = 1;
}

} // namespace

uint32_t CkIpv6Len(uint32_t frmLen, uint32_t exp, CmRteStat *statPtr) {
    auto &[detIpv6EofErr, detIpv6MlenErr] = cmState().prcIpv6;
    detIpv6EofErr = 0;
    detIpv6MlenErr = 0;
    const uint32_t maxByteLen = statPtr->comRegPtr->rte_l3_ipv6_max_len * 4;
    uint32_t ret = 1;
    if (exp > maxByteLen) {
        detIpv6MlenErr = 1;
        ret = 0;
    }
    if (((exp + 3) & ~3u) >= frmLen) {
        detIpv6EofErr = 1;
        ret = 0;
    }
    // Which of the two ends comes first decides. One word apart, the chip sees both.
    if (detIpv6EofErr && detIpv6MlenErr) {
        const uint32_t frmWdLen = (frmLen + 3) >> 2;
        const uint32_t maxWdLen = (maxByteLen + 3) >> 2;
        if (frmWdLen <= maxWdLen)
            detIpv6MlenErr = 0;
        else if (maxWdLen + 1 != frmWdLen)
            detIpv6EofErr = 0;
    }
    if (detIpv6EofErr || detIpv6MlenErr)
        CM_TRACE(1, "IPv6 %s err detected, expected byte=%d frm len=%d ipv6_max_len=%d\n",
                 detIpv6EofErr && detIpv6MlenErr ? "EOF/MAXLEN"
                 : detIpv6EofErr                 ? "EOF"
                                                 : "MAXLEN",
                 exp, frmLen, statPtr->comRegPtr->rte_l3_ipv6_max_len);
    return ret;
}

void PrcL3Ipv6(CmRteStat *statPtr, uint32_t isPimInner, uint32_t cksumErr) {
    if (!getVerTos(statPtr, isPimInner))
        return;
    if (!getTlenHbhTtl(statPtr))
        return;
    if (!getSa(statPtr, isPimInner))
        return;
    if (!getDa(statPtr))
        return;
    ckDaMcast(statPtr, isPimInner);
    ckTtl(statPtr, isPimInner);
    if (!walkExtHdrs(statPtr, isPimInner))
        return;

    if (isPimInner || !getPimReg(statPtr))
        return;
    ckPimNull(statPtr);
    ckPimCksum(statPtr, cksumErr);
    statPtr->l3Offset = statPtr->l4Offset + kPimRegHdrLen;
    PrcL3Ipv6(statPtr, 1, cksumErr);
}

void PrcL3Ipv6EofErr(CmRteStat *statPtr) {
    const auto &[detIpv6EofErr, detIpv6MlenErr] = cmState().prcIpv6;
    PrcL3RstHdr(statPtr);
    if (prcL3CksumStands(statPtr))
        CM_TRACE(1, "IPv6 EOF or MaxLen err ignored due to earlier chksum %s\n",
                 statPtr->l3PrcTrapRsn == TRP_IPV4_CKSUM ? "trap" : "drop");
    else if (detIpv6EofErr)
        prcL3Ck(statPtr, L3_CK_IPV6_EOF);
    else if (detIpv6MlenErr)
        prcL3Ck(statPtr, L3_CK_IPV6_MAX_LEN);
    CM_TRACE(1, "IPv6 EOF or MaxLen err detected, trap_rsn=%d drp_rsn=%d\n", statPtr->l3PrcTrapRsn,
             statPtr->l3PrcDropRsn);
}

uint32_t CkIpv6RpAddr(CmRteStat *statPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    if (statPtr->portRegPtr->rte_prc_l3_ipv6_rp_ck_off)
        return 0;
    const uint32_t da[] = {
        static_cast<uint32_t>(statPtr->l3IpDa0 >> 32),
        static_cast<uint32_t>(statPtr->l3IpDa0),
        static_cast<uint32_t>(statPtr->l3IpDa1 >> 32),
        static_cast<uint32_t>(statPtr->l3IpDa1),
    };
    for (uint32_t k = 0; k < kIpv6RpAddrCnt; k++) {
        if (da[0] == comRegPtr->rte_ipv6_pim_rp_addr[k][0] && da[1] == comRegPtr->rte_ipv6_pim_rp_addr[k][1] &&
            da[2] == comRegPtr->rte_ipv6_pim_rp_addr[k][2] && da[3] == comRegPtr->rte_ipv6_pim_rp_addr[k][3]) {
            statPtr->l3IpDaRpIdx = comRegPtr->rte_l3_ipv6_idx[k];
            return 1;
        }
    }
    return 0;
}
