#include "lue/cmRteLueL3.h"

#include "base/cmRteFrm.h"
#include "base/cmRteHis.h"
#include "base/tbMsg.h"
#include "lue/cmRteLue.h"
#include "tbl/tsr_tbl.h"

namespace {

/// Searches one IPv4 address in the frame's VRF.
void srchIpv4(const CmRteStat *statPtr, uint64_t addr, uint32_t isDa, TFE_LUE_RSLT *rslt) {
    const auto key = plainKey(TfeIpv4{.vrf_id = statPtr->vrfId, .ipv4_addr = static_cast<uint32_t>(addr)});
    L3FwdIpv4InKeyR keyR;
    CmTfeLue::ReshuffleKey(&key, &keyR, 0);
    TFE_LUE_INPUT input = lpmInput(statPtr, keyR.word, isDa);
    input.ipv4_srch = 1;
    statPtr->tfePtr->lookupL3Lpm(&input, rslt);
}

/// Searches one IPv6 address, given by its two halves.
void srchIpv6(const CmRteStat *statPtr, uint64_t addr0, uint64_t addr1, uint32_t isDa, TFE_LUE_RSLT *rslt) {
    const auto key = plainKey(TfeIpv6{.vrf_id = statPtr->vrfId,
                                      .ipv6_addr = {static_cast<uint32_t>(addr0 >> 32), static_cast<uint32_t>(addr0),
                                                    static_cast<uint32_t>(addr1 >> 32), static_cast<uint32_t>(addr1)}});
    L3FwdIpv6InKeyR keyR;
    CmTfeLue::ReshuffleKey(&key, &keyR, 0);
    TFE_LUE_INPUT input = lpmInput(statPtr, keyR.word, isDa);
    input.ipv6_srch = 1;
    statPtr->tfePtr->lookupL3Lpm(&input, rslt);
}

} // namespace

void L3FeatureCtrl(CmRteStat *statPtr) {
    if (!isIp(statPtr))
        return;
    const auto feat = entry<VlanFeatCtl>(statPtr->memPtr->RTE_L3_FEATURE_CTL_SRAM, statPtr->iivid & 0x1fff);
    statPtr->ipv6McHdrCkEn = feat.ipv6McHdrCkEn;
    statPtr->ipv6UcHdrCkEn = feat.ipv6UcHdrCkEn;
    statPtr->ipv6IcmpRedirectTrpEn = feat.ipv6IcmpRedirectTrpEn;
    statPtr->ipv6IcmpUnreachTrpEn = feat.ipv6IcmpUnreachTrpEn;
    statPtr->ipv6RpfCkMode = feat.ipv6RpfCkMode;
    statPtr->ipv4McHdrCkEn = feat.ipv4McHdrCkEn;
    statPtr->ipv4UcHdrCkEn = feat.ipv4UcHdrCkEn;
    statPtr->ipv4IcmpRedirectTrpEn = feat.ipv4IcmpRedirectTrpEn;
    statPtr->ipv4IcmpUnreachTrpEn = feat.ipv4IcmpUnreachTrpEn;
    statPtr->ipv4RpfCkMode = feat.ipv4RpfCkMode;

    CM_TRACE(2, "L3 feature control cls reslt:\n");
    CM_TRACE_RAW(2, "    ivp6_mc_hdr_ck_en         = %x\n", statPtr->ipv6McHdrCkEn);
    CM_TRACE_RAW(2, "    ivp6_uc_hdr_ck_en         = %x\n", statPtr->ipv6UcHdrCkEn);
    CM_TRACE_RAW(2, "    ivp6_icmp_redirect_trp_en = %x\n", statPtr->ipv6IcmpRedirectTrpEn);
    CM_TRACE_RAW(2, "    ivp6_icmp_unreach_trp_en  = %x\n", statPtr->ipv6IcmpUnreachTrpEn);
    CM_TRACE_RAW(2, "    ivp6_rpf_ck_en            = %x\n", statPtr->ipv6RpfCkMode);
    CM_TRACE_RAW(2, "    ivp4_mc_hdr_ck_en         = %x\n", statPtr->ipv4McHdrCkEn);
    CM_TRACE_RAW(2, "    ivp4_uc_hdr_ck_en         = %x\n", statPtr->ipv4UcHdrCkEn);
    CM_TRACE_RAW(2, "    ivp4_icmp_redirect_trp_en = %x\n", statPtr->ipv4IcmpRedirectTrpEn);
    CM_TRACE_RAW(2, "    ivp4_icmp_unreach_trp_en  = %x\n", statPtr->ipv4IcmpUnreachTrpEn);
    CM_TRACE_RAW(2, "    ivp4_rpf_ck_en            = %x\n", statPtr->ipv4RpfCkMode);
}

void L3VrfLu(CmRteStat *statPtr) {
    const auto vrf = entry<Vrf>(statPtr->memPtr->RTE_L3_VRF_SRAM, statPtr->iivid);
    statPtr->vrfId = vrf.vrfId;
    statPtr->deftVrfEn = vrf.deftVrfEn;
    capture(statPtr, his::l3_vrf, statPtr->iivid);
}

void L3CugidLu(CmRteStat *statPtr) {
    statPtr->l3PselCugid = field<&Cugid::cugid>(statPtr->memPtr->RTE_L2_CID_SRAM, statPtr->iivid);
}

TFE_LUE_INPUT lpmInput(const CmRteStat *statPtr, const uint32_t *key, uint32_t isDa) {
    TFE_LUE_INPUT input{};
    input.key = key;
    input.da_lkup = isDa & 1;
    input.port_num = statPtr->ingPhyPort & 31;
    input.default_vrf_en = statPtr->deftVrfEn & 1;
    input.frameIdx = statPtr->frmIdx;
    return input;
}

void L3IpNotEnRst(CmRteStat *statPtr) {
    statPtr->l3IpMcastRegEncap = 0;
    statPtr->l3IpTrapEn = 0;
    statPtr->l3IpTrapRsn = kNoRsn;
    statPtr->l3IpTrapQue = 0;
}

void L3Ipv4(CmRteStat *statPtr) {
    // The chip reads the VRF here also on a port that does not route IPv4.
    L3VrfLu(statPtr);
    if (!statPtr->portRegPtr->rte_prc_l3_ipv4_en) {
        statPtr->l3IpDropRsn = DRP_NOT_EN;
        L3IpNotEnRst(statPtr);
        CM_TRACE(1, "Skip [L3Ipv4] due to PRC Ipv4 not enabled\n");
        return;
    }

    TFE_LUE_RSLT rslt{};
    srchIpv4(statPtr, statPtr->l3IpDa0, 1, &rslt);
    CM_TRACE(1, "[L3Ipv4] rsltIdx=0x%x hit=%d\n", rslt.rslt, rslt.hit);
    L3IpDaRslt(statPtr, &rslt);
    statPtr->l3FwdDaHit = rslt.hit;

    rslt = {};
    srchIpv4(statPtr, statPtr->l3IpSa0, 0, &rslt);
    CM_TRACE(1, "[L3Ipv4] rsltIdx=0x%x hit=%d\n", rslt.rslt, rslt.hit);
    L3IpSaRslt(statPtr, &rslt);
}

void L3Ipv6(CmRteStat *statPtr) {
    if (!statPtr->portRegPtr->rte_prc_l3_ipv6_en) {
        statPtr->l3IpDropRsn = DRP_NOT_EN;
        L3IpNotEnRst(statPtr);
        CM_TRACE(1, "Skip [L3Ipv6] due to PRC Ipv6 not enabled\n");
        return;
    }
    // Unlike for IPv4, the chip reads the VRF only where the port routes IPv6.
    L3VrfLu(statPtr);

    TFE_LUE_RSLT rslt{};
    srchIpv6(statPtr, statPtr->l3IpDa0, statPtr->l3IpDa1, 1, &rslt);
    CM_TRACE(1, "[L3Ipv6] DA rsltIdx=0x%x hit=%d\n", rslt.rslt, rslt.hit);
    L3IpDaRslt(statPtr, &rslt);
    statPtr->l3FwdDaHit = rslt.hit;

    srchIpv6(statPtr, statPtr->l3IpSa0, statPtr->l3IpSa1, 0, &rslt);
    CM_TRACE(1, "[L3Ipv6] SA rsltIdx=0x%x hit=%d\n", rslt.rslt, rslt.hit);
    L3IpSaRslt(statPtr, &rslt);
}

void L3Flt(CmRteStat *statPtr) {
    if (statPtr->l3IpTrapVld || statPtr->l3IpDropRsn != kNoRsn)
        return;
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;

    if (!statPtr->l2FcoeFound) {
        const bool ck = (isIpv4(statPtr) && portRegPtr->rte_prc_l3_ipv4_ck_rte_en) ||
                        (isIpv6(statPtr) && portRegPtr->rte_prc_l3_ipv6_ck_rte_en);
        const bool err = ck && !statPtr->l2PselRteEn;
        const bool trap = isIpv4(statPtr) ? portRegPtr->rte_prc_l3_ipv4_trap_rte_en_err != 0
                                          : portRegPtr->rte_prc_l3_ipv6_trap_rte_en_err != 0;
        statPtr->l3PselRteEnErr = err;
        statPtr->l3PselTrapRteEnErr = err && trap;
        statPtr->l3PselDropRteEnErr = err && !trap;
    } else if (!statPtr->l2FcoeClsRteEn && portRegPtr->rte_prc_fcoe_ck_rte_en) {
        statPtr->l3PselRteEnErr = 1;
        if (portRegPtr->rte_prc_fcoe_trap_rte_en_err)
            statPtr->l3PselTrapRteEnErr = 1;
        else
            statPtr->l3PselDropRteEnErr = 1;
    }

    // The chip's trace calls an IPv6 frame "other".
    CM_TRACE(1, "[L3Flt] rte_en check on %s pkt, err=%d trap=%d drop=%d\n",
             statPtr->l2FcoeFound ? "fcoe"
             : isIpv4(statPtr)    ? "ipv4"
                                  : "other",
             statPtr->l3PselRteEnErr, statPtr->l3PselTrapRteEnErr, statPtr->l3PselDropRteEnErr);
}
