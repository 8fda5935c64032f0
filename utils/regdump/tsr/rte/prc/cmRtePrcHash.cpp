// The eight hash values by which traffic spreads over multipaths and LAG members.

#include "base/cmRteFrm.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "prc/cmRtePrc.h"

#include <utility>

namespace {

const uint32_t kHshCnt = 8;
const uint32_t kTcpIpKeyLen = 27;
const uint32_t kFcoeKeyLen = 24;
const uint64_t kMacMsk = 0xffffffffffff;

/// The fields of a TCP/IP key, or the swap control or the mask of each.
struct TcpIpFlds {
    uint32_t l2Vid;
    uint64_t l2Da;
    uint64_t l2Sa;
    uint32_t l3Ulp;
    uint32_t l3Sa;
    uint32_t l3Da;
    uint32_t l4Src;
    uint32_t l4Dst;
};

/// Lays the fields out as the 27 bytes of the key.
void packTcpIp(const TcpIpFlds &flds, uint8_t *key) {
    CmSetDword(flds.l2Vid, 2, key);
    CmSetQword(flds.l2Da, 6, key + 2);
    CmSetQword(flds.l2Sa, 6, key + 8);
    CmSetDword(flds.l3Ulp, 1, key + 14);
    CmSetDword(flds.l3Sa, 4, key + 15);
    CmSetDword(flds.l3Da, 4, key + 19);
    CmSetDword(flds.l4Src, 2, key + 23);
    CmSetDword(flds.l4Dst, 2, key + 25);
}

/// The same for the FCoE key of 24 bytes.
struct FcoeFlds {
    uint32_t port;
    uint32_t l2Vid;
    uint32_t fcVfid;
    uint64_t l2Da;
    uint64_t l2Sa;
    uint32_t fcOxid;
    uint32_t fcDid;
    uint32_t fcSid;
};

void packFcoe(const FcoeFlds &flds, uint8_t *key) {
    CmSetDword(flds.port, 1, key);
    CmSetDword(flds.l2Vid << 12 | flds.fcVfid, 3, key + 1);
    CmSetQword(flds.l2Da, 6, key + 4);
    CmSetQword(flds.l2Sa, 6, key + 10);
    CmSetDword(flds.fcOxid, 2, key + 16);
    CmSetDword(flds.fcDid, 3, key + 18);
    CmSetDword(flds.fcSid, 3, key + 21);
}

uint32_t swp32(uint32_t width, uint32_t fld, uint32_t ctl) {
    uint32_t swapped;
    CmSwpU32(width, fld, ctl, &swapped);
    return swapped;
}

uint64_t swp64(uint32_t width, uint64_t fld, uint64_t ctl) {
    uint64_t swapped;
    CmSwpU64(width, fld, ctl, &swapped);
    return swapped;
}

/// `msk` when bit `n` of the field mask keeps the field, else 0.
template <class T> T fldMsk(uint32_t msk_, unsigned n, T msk) {
    return bit(msk_, n) ? msk : 0;
}

/// The half of `crc` that a hash value takes; 0 when the shift leaves the word.
uint32_t crcHalf(uint32_t crc, uint32_t shift) {
    const uint32_t dist = bits(shift, 5, 0);
    return dist < 32 ? crc >> dist & 0xffff : 0;
}

/// Even values take the upper half of the CRC, odd values the lower half.
uint32_t hshShift(uint32_t i) {
    return i % 2 == 0 ? 16 : 0;
}

bool isIpTcpUdp(const CmRteStat *statPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    return isIp(statPtr) &&
           (statPtr->l3IpUlp == comRegPtr->rte_l3_ulp_tcp || statPtr->l3IpUlp == comRegPtr->rte_l3_ulp_udp);
}

TcpIpFlds tcpIpFldsOf(const CmRteStat *statPtr) {
    TcpIpFlds flds{};
    flds.l2Vid = statPtr->ctag;
    flds.l2Da = statPtr->l2Da;
    flds.l2Sa = statPtr->l2Sa;
    if (statPtr->l3PrcHdrUnk)
        return flds;
    if (statPtr->l3IpVer == 4) {
        flds.l3Sa = static_cast<uint32_t>(statPtr->l3IpSa0);
        flds.l3Da = static_cast<uint32_t>(statPtr->l3IpDa0);
        flds.l3Ulp = statPtr->l3IpUlp;
    } else if (statPtr->l3IpVer == 6) {
        flds.l3Sa = static_cast<uint32_t>(statPtr->l3IpSa1);
        flds.l3Da = static_cast<uint32_t>(statPtr->l3IpDa1);
        flds.l3Ulp = statPtr->l3IpUlp;
    }
    // No fragment hashes on its ports, not even the first one, which has them.
    if (!statPtr->l4PrcHdrUnk && isIpTcpUdp(statPtr) && statPtr->l3Ipv4MorFrg == 0 && statPtr->l3Ipv4FrgOffset == 0 &&
        statPtr->l3Ipv6IsFragment == 0) {
        flds.l4Src = statPtr->l4Src;
        flds.l4Dst = statPtr->l4Dst;
    }
    return flds;
}

TcpIpFlds tcpIpSwpCtl(const CmRteHsiComReg *comRegPtr) {
    const uint32_t swp[] = {comRegPtr->rte_tcpip_hsh_swp_ctl_0, comRegPtr->rte_tcpip_hsh_swp_ctl_1,
                            comRegPtr->rte_tcpip_hsh_swp_ctl_2, comRegPtr->rte_tcpip_hsh_swp_ctl_3};
    TcpIpFlds ctl;
    ctl.l2Vid = bits(swp[0], 9, 4);
    ctl.l2Da = bits(swp[0], 3, 0) << 20 | bits(swp[1], 31, 12);
    ctl.l2Sa = bits(swp[1], 11, 0) << 12 | bits(swp[2], 31, 20);
    ctl.l3Ulp = bits(swp[2], 19, 16);
    ctl.l3Sa = bits(swp[2], 15, 0);
    ctl.l3Da = bits(swp[3], 31, 16);
    ctl.l4Src = bits(swp[3], 15, 8);
    ctl.l4Dst = bits(swp[3], 7, 0);
    return ctl;
}

FcoeFlds fcoeFldsOf(const CmRteStat *statPtr) {
    FcoeFlds flds{};
    flds.port = statPtr->portRegPtr->rte_prc_hsh_port;
    flds.l2Vid = statPtr->ctag;
    flds.l2Da = statPtr->l2Da;
    flds.l2Sa = statPtr->l2Sa;
    if (!statPtr->l2FcoePrcHdrUnk) {
        flds.fcOxid = statPtr->l2FcoeFcOxid;
        flds.fcVfid = statPtr->l2FcoeFcVfid;
        flds.fcDid = statPtr->l2FcoeFcDid;
        flds.fcSid = statPtr->l2FcoeFcSid;
    }
    return flds;
}

FcoeFlds fcoeSwpCtl(const CmRteHsiComReg *comRegPtr) {
    const uint32_t swp[] = {comRegPtr->rte_fcoe_hsh_swp_ctl_0, comRegPtr->rte_fcoe_hsh_swp_ctl_1,
                            comRegPtr->rte_fcoe_hsh_swp_ctl_2};
    FcoeFlds ctl;
    ctl.port = bits(swp[0], 29, 28);
    ctl.l2Vid = bits(swp[0], 27, 22);
    ctl.fcVfid = bits(swp[0], 21, 16);
    ctl.l2Da = bits(swp[0], 15, 0) << 8 | bits(swp[1], 31, 24);
    ctl.l2Sa = bits(swp[1], 23, 0);
    ctl.fcOxid = bits(swp[2], 31, 24);
    ctl.fcDid = bits(swp[2], 23, 12);
    ctl.fcSid = bits(swp[2], 11, 0);
    return ctl;
}

/// The fields as a set sort flag places them: the greater MAC address in the destination place, but the greater IP
/// address and port in the source place. The chip sorts layers 3 and 4 the opposite way round from layer 2.
TcpIpFlds sorted(TcpIpFlds flds) {
    const bool l2_da_lt_sa = flds.l2Da < flds.l2Sa;
    const bool l3_da_lt_sa = flds.l3Da < flds.l3Sa;
    const bool l4_da_lt_sa = flds.l4Dst < flds.l4Src;
    if (l2_da_lt_sa)
        std::swap(flds.l2Da, flds.l2Sa);
    if (!l3_da_lt_sa)
        std::swap(flds.l3Sa, flds.l3Da);
    if (!l4_da_lt_sa)
        std::swap(flds.l4Src, flds.l4Dst);
    return flds;
}

/// The same for FCoE: the greater address in the destination place of both layers.
FcoeFlds sorted(FcoeFlds flds) {
    const bool l2_da_lt_sa = flds.l2Da < flds.l2Sa;
    const bool fcoe_da_lt_sa = flds.fcDid < flds.fcSid;
    if (l2_da_lt_sa)
        std::swap(flds.l2Da, flds.l2Sa);
    if (fcoe_da_lt_sa)
        std::swap(flds.fcDid, flds.fcSid);
    return flds;
}

/// Applies the swap controls to the fields and lays them out as the key.
void buildTcpIpKey(const TcpIpFlds &flds, const TcpIpFlds &ctl, uint8_t *key) {
    TcpIpFlds s;
    s.l2Vid = swp32(12, flds.l2Vid, ctl.l2Vid);
    s.l2Da = swp64(48, flds.l2Da, ctl.l2Da);
    s.l2Sa = swp64(48, flds.l2Sa, ctl.l2Sa);
    s.l3Ulp = swp32(32, flds.l3Ulp, ctl.l3Ulp);
    s.l3Sa = swp32(32, flds.l3Sa, ctl.l3Sa);
    s.l3Da = swp32(32, flds.l3Da, ctl.l3Da);
    s.l4Src = swp32(16, flds.l4Src, ctl.l4Src);
    s.l4Dst = swp32(16, flds.l4Dst, ctl.l4Dst);
    packTcpIp(s, key);
}

void buildFcoeKey(const FcoeFlds &flds, const FcoeFlds &ctl, uint8_t *key) {
    FcoeFlds s;
    s.port = swp32(6, flds.port, ctl.port);
    s.l2Vid = swp32(12, flds.l2Vid, ctl.l2Vid);
    s.fcVfid = swp32(12, flds.fcVfid, ctl.fcVfid);
    s.l2Da = swp64(48, flds.l2Da, ctl.l2Da);
    s.l2Sa = swp64(48, flds.l2Sa, ctl.l2Sa);
    s.fcOxid = swp32(16, flds.fcOxid, ctl.fcOxid);
    s.fcDid = swp32(24, flds.fcDid, ctl.fcDid);
    s.fcSid = swp32(24, flds.fcSid, ctl.fcSid);
    packFcoe(s, key);
}

} // namespace

uint32_t PrcHshTcpIpCrc(uint8_t *key_, uint32_t msk_, uint32_t shift) {
    TcpIpFlds msk;
    msk.l2Vid = fldMsk(msk_, 0, 0xfffu);
    msk.l2Da = fldMsk(msk_, 1, kMacMsk);
    msk.l2Sa = fldMsk(msk_, 2, kMacMsk);
    msk.l3Ulp = fldMsk(msk_, 3, 0xffu);
    msk.l3Sa = fldMsk(msk_, 4, 0xffffffffu);
    msk.l3Da = fldMsk(msk_, 5, 0xffffffffu);
    msk.l4Src = fldMsk(msk_, 6, 0xffffu);
    msk.l4Dst = fldMsk(msk_, 7, 0xffffu);
    uint8_t image[kTcpIpKeyLen];
    packTcpIp(msk, image);

    uint8_t key[kTcpIpKeyLen];
    for (uint32_t i = 0; i < kTcpIpKeyLen; i++)
        key[i] = key_[i] & image[i];
    return crcHalf(CmEnetCrcCalc(kTcpIpKeyLen, key), shift);
}

void PrcHshTcpIp(CmRteStat *statPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const TcpIpFlds flds = tcpIpFldsOf(statPtr);
    const TcpIpFlds ctl = tcpIpSwpCtl(comRegPtr);

    // The swaps do not depend on the value, so there are two keys in all: as the fields stand, and sorted.
    uint8_t keys[2][kTcpIpKeyLen];
    buildTcpIpKey(flds, ctl, keys[0]);
    buildTcpIpKey(sorted(flds), ctl, keys[1]);
    for (uint32_t i = 0; i < kHshCnt; i++) {
        const uint32_t sort_ctl = comRegPtr->rte_tcpip_hsh_sort_src_dst[i];
        statPtr->hshVal[i] = PrcHshTcpIpCrc(keys[sort_ctl != 0], comRegPtr->rte_tcpip_hsh_msk[i], hshShift(i));
    }
    CM_TRACE(1,
             "TCP/IP hash values: hsh0=0x%x,  hsh1=0x%x,  hsh2=0x%x,  hsh3=0x%x,  hsh4=0x%x,  hsh5=0x%x,  "
             "hsh6=0x%x,  hsh7=0x%x\n",
             statPtr->hshVal[0], statPtr->hshVal[1], statPtr->hshVal[2], statPtr->hshVal[3], statPtr->hshVal[4],
             statPtr->hshVal[5], statPtr->hshVal[6], statPtr->hshVal[7]);
}

uint32_t PrcHshFcoeCrc(uint8_t *key_, uint32_t msk_, uint32_t shift, CmRteStat *statPtr) {
    FcoeFlds msk;
    msk.port = fldMsk(msk_, 0, 0x1fu); // the chip drops the sixth bit of the port
    msk.l2Vid = fldMsk(msk_, 1, 0xfffu);
    msk.fcVfid = fldMsk(msk_, 2, 0xfffu);
    msk.l2Da = fldMsk(msk_, 3, kMacMsk);
    msk.l2Sa = fldMsk(msk_, 4, kMacMsk);
    msk.fcOxid = fldMsk(msk_, 5, 0xffffu);
    msk.fcDid = fldMsk(msk_, 6, 0xffffffu);
    msk.fcSid = fldMsk(msk_, 7, 0xffffffu);
    uint8_t image[kFcoeKeyLen];
    packFcoe(msk, image);

    CM_TRACE_RAW(3, "CM key-mask: ");
    uint8_t key[kFcoeKeyLen];
    for (uint32_t i = 0; i < kFcoeKeyLen; i++) {
        CM_TRACE_RAW(3, "%x-%x ", key_[i], image[i]);
        key[i] = key_[i] & image[i];
    }
    CM_TRACE_RAW(3, "\n");
    return crcHalf(CmEnetCrcCalc(kFcoeKeyLen, key), shift);
}

void PrcHshFcoe(CmRteStat *statPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const FcoeFlds flds = fcoeFldsOf(statPtr);
    const FcoeFlds ctl = fcoeSwpCtl(comRegPtr);
    CM_TRACE(3, "FCoE hash key: l2Vid=0x%x, l2Da=0x%llx, l2Sa=0x%llx, Oxid=0x%x, Vfid=0x%x, Did=0x%x, Sid=0x%x\n",
             flds.l2Vid, static_cast<unsigned long long>(flds.l2Da), static_cast<unsigned long long>(flds.l2Sa),
             flds.fcOxid, flds.fcVfid, flds.fcDid, flds.fcSid);

    uint8_t keys[2][kFcoeKeyLen];
    buildFcoeKey(flds, ctl, keys[0]);
    buildFcoeKey(sorted(flds), ctl, keys[1]);
    for (uint32_t i = 0; i < kHshCnt; i++) {
        const uint32_t sort_ctl = comRegPtr->rte_fcoe_hsh_sort_src_dst[i];
        statPtr->hshVal[i] = PrcHshFcoeCrc(keys[sort_ctl != 0], comRegPtr->rte_fcoe_hsh_msk[i], hshShift(i), statPtr);
    }
    CM_TRACE(1,
             "FCoE hash values: hsh0=0x%x,  hsh1=0x%x,  hsh2=0x%x,  hsh3=0x%x,  hsh4=0x%x,  hsh5=0x%x,  "
             "hsh6=0x%x,  hsh7=0x%x\n",
             statPtr->hshVal[0], statPtr->hshVal[1], statPtr->hshVal[2], statPtr->hshVal[3], statPtr->hshVal[4],
             statPtr->hshVal[5], statPtr->hshVal[6], statPtr->hshVal[7]);
}
