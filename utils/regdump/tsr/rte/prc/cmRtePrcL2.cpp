// Layer-2 parsing: addresses, tags, the type word, LLC and SNAP, up to the hand-over to the parser of the next header.

#include "base/cmRteAbort.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "prc/cmRtePrc.h"
#include "tbl/tsr_tbl.h"

constinit thread_local uint32_t etypIsVld;
constinit thread_local uint32_t etypIsCtag;
constinit thread_local uint32_t etypIsTrillOuterVlan;
constinit thread_local uint32_t etypIsTrill;
constinit thread_local uint32_t etypIsCnTag;
constinit thread_local uint32_t etypIsFip;
constinit thread_local uint32_t etypIsFcoe;
constinit thread_local uint32_t etypIsIpv4;
constinit thread_local uint32_t etypIsIpv6;
constinit thread_local uint32_t etypIsQcn;
constinit thread_local uint32_t etypIsLen;
constinit thread_local uint32_t etypIsMoreStag;
constinit thread_local uint32_t etypIsStag;

// The first match in the chip's order; the order decides when two registers hold one value.
static void clsEtypMatch(const CmRteStat *statPtr, uint32_t typLen, uint32_t trillOuter) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    if (trillOuter && typLen == comRegPtr->rte_l2_vlan_etyp)
        etypIsTrillOuterVlan = 1;
    else if (!trillOuter && typLen == statPtr->portRegPtr->rte_prc_ctag_etyp)
        etypIsCtag = 1;
    else if (!statPtr->isCnTagged && typLen == comRegPtr->rte_l2_trill_etyp)
        etypIsTrill = 1;
    else if (!trillOuter && typLen == comRegPtr->cn_etyp)
        etypIsCnTag = 1;
    else if (typLen == comRegPtr->fip_etyp)
        etypIsFip = 1;
    else if (typLen == comRegPtr->rte_l2_fcoe_etyp)
        etypIsFcoe = 1;
    else if (typLen == comRegPtr->rte_l2_ipv4_etyp)
        etypIsIpv4 = 1;
    else if (typLen == comRegPtr->rte_l2_ipv6_etyp)
        etypIsIpv6 = 1;
    else if (typLen == comRegPtr->rte_l2_qcn_etyp)
        etypIsQcn = 1;
}

void ClsEtyp(CmRteStat *statPtr, uint32_t typLen, uint32_t trillOuter) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;

    etypIsVld = etypIsLen = etypIsMoreStag = 0;
    etypIsCtag = etypIsTrillOuterVlan = etypIsTrill = etypIsCnTag = 0;
    etypIsFip = etypIsFcoe = etypIsIpv4 = etypIsIpv6 = etypIsQcn = 0;

    if (typLen >= comRegPtr->rte_l2_dix_typ_min) {
        etypIsVld = 1;
        // With one value for both tags the first tag word is a C-tag, and only a word behind a C-tag on an S-port is a
        // further S-tag.
        const bool tagsAlike = portRegPtr->rte_prc_stag_etyp == portRegPtr->rte_prc_ctag_etyp &&
                               !(statPtr->l2QinqEn && statPtr->isCTagged);
        if (!tagsAlike && typLen == portRegPtr->rte_prc_stag_etyp)
            etypIsMoreStag = 1;
        else
            clsEtypMatch(statPtr, typLen, trillOuter);
        statPtr->l2Etyp = typLen;
    } else if (typLen <= comRegPtr->rte_l2_ieee_len_max) {
        etypIsLen = 1;
    }
    CM_TRACE(1,
             "ClsEtyp typLen=0x%x: vld=%u, ctag=%u, trillOuterVlan=%u, trill=%u, cnTag=%u, fip=%u, fcoe=%u, ipv4=%u, "
             "ipv6=%u, qcn=%u, len=%u, moreStag=%u\n",
             typLen, etypIsVld, etypIsCtag, etypIsTrillOuterVlan, etypIsTrill, etypIsCnTag, etypIsFip, etypIsFcoe,
             etypIsIpv4, etypIsIpv6, etypIsQcn, etypIsLen, etypIsMoreStag);
}

uint32_t PrcL2CkDaCtl(uint64_t da, uint32_t daCtlVld, uint32_t prefixW0, uint32_t prefixW1) {
    if ((prefixW0 & 0xffff) != bits64(da, 47, 32))
        return 0;
    if (bits(prefixW1, 31, 4) != bits64(da, 31, 4))
        return 0;
    return bit(daCtlVld, static_cast<unsigned>(da & 15));
}

uint32_t PrcL2CkTypLen(CmRteStat *statPtr, const uint32_t &typLen) {
    if (typLen >= statPtr->comRegPtr->rte_l2_dix_typ_min || typLen <= statPtr->comRegPtr->rte_l2_ieee_len_max)
        return 1;
    CM_TRACE_RAW(1, "CM port=%u, frameIdx=%u>>eTypLen is in no man's land: %x\n", statPtr->ingPhyPort, statPtr->frmIdx,
                 typLen);
    if (prcL2Ck(statPtr, L2_CK_NON_TYPLEN))
        return 0;
    statPtr->l2Etyp = 0;
    return 1;
}

void LlcGetHdr(uint8_t *hdr, CmRteStat *statPtr) {
    statPtr->l2LlcDet = 1;
    statPtr->l2LlcDsap = hdr[0];
    statPtr->l2LlcSsap = hdr[1];
    statPtr->l2LlcCtl = hdr[2];
    statPtr->l2LlcPld0 = hdr[3];
    statPtr->l2LlcPld1 = hdr[4];
}

void CpOuterL2Hdr(CmRteStat *statPtr) {
    statPtr->l2Da = statPtr->l2OuterDa;
    statPtr->l2Sa = statPtr->l2OuterSa;
}

void CpInnerL2Hdr(CmRteStat *statPtr) {
    statPtr->l2Da = statPtr->l2TrillInnerDa;
    statPtr->l2Sa = statPtr->l2TrillInnerSa;
}

// The end-of-frame error in the outer header of a TRILL port, or of any other place of layer 2.
static PRC_L2_CK eofCk(uint32_t atTrill) {
    return atTrill ? L2_CK_OUTER_EOF : L2_CK_FRM_EOF;
}

void PrcL2EofErr(CmRteStat *statPtr, uint32_t atTrill) {
    CM_TRACE(1, "PRC L2 EOF err.\n");
    prcL2Ck(statPtr, eofCk(atTrill));
}

uint64_t prcMac(uint32_t w0, uint32_t w1) {
    return static_cast<uint64_t>(w0) << 32 | w1;
}

uint32_t prcMacIsGrp(uint64_t mac) {
    return static_cast<uint32_t>(bits64(mac, 40, 40));
}

uint32_t prcL2OuterDaIsAllRb(const CmRteStat *statPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    return statPtr->l2OuterDa == prcMac(comRegPtr->rte_l2_trill_all_rb_da_w0, comRegPtr->rte_l2_trill_all_rb_da_w1);
}

uint32_t prcL2CkSTagOnCPort(CmRteStat *statPtr, uint32_t applies, const char *excuse) {
    if (applies && prcL2Ck(statPtr, L2_CK_S_TAGGED_ON_C_PORT))
        return 1;
    CM_TRACE(3, "%s", excuse);
    return 0;
}

uint32_t prcL2ReadSTag(CmRteStat *statPtr, uint32_t offset) {
    const uint32_t vlan0 = prcHword(statPtr, offset + 2);
    if (!insideFrame(offset, 7, statPtr->frmLen)) {
        PrcL2EofErr(statPtr, 0);
        return 0;
    }
    statPtr->l2QinqStag = bits(vlan0, 11, 0);
    if (statPtr->l2QinqStag)
        statPtr->stagNz = 1;
    statPtr->stagPrio = bits(vlan0, 15, 13);
    statPtr->stagDei = bit(vlan0, 12);
    return 1;
}

void prcL2ReadCnTag(CmRteStat *statPtr, uint32_t &offset) {
    ClsEtyp(statPtr, prcHword(statPtr, offset), 0);
    if (!etypIsCnTag)
        return;
    detectFlexKey(statPtr, FLEX_KEY_CN_TAG, offset);
    statPtr->cntag = prcHword(statPtr, offset + 2);
    offset += 4;
}

uint32_t vlanTrans(CmRteHsiMem *memPtr, uint32_t igPort, uint32_t igVlan) {
    const uint32_t idx = bits(igPort, 4, 0) * 4096 + bits(igVlan, 11, 0);
    return elem<&VlanXlate::vid>(memPtr->RTE_VLAN_X_EDRAM, idx);
}

// The line that tells how long a frame had to be whose LLC header fails the end test for `n` bytes.
static void traceLlcEof(const CmRteStat *statPtr, uint32_t offset, uint32_t n) {
    CM_TRACE(2, "PrcLen -- EoF Err, exp_len=%u\n", offset + n - 3);
}

// The end test for `n` bytes of an LLC header. Returns 1 to go on.
static uint32_t llcInside(CmRteStat *statPtr, uint32_t offset, uint32_t n) {
    if (insideFrame(offset, n, statPtr->frmLen))
        return 1;
    traceLlcEof(statPtr, offset, n);
    PrcL2EofErr(statPtr, 0);
    return 0;
}

uint32_t PrcL2Len(CmRteStat *statPtr, uint32_t &typLen, uint32_t &offset) {
    const uint32_t frmLen = statPtr->frmLen;

    // All end-of-frame errors of this function go by the plain register, for the inner frame of TRILL too: the chip
    // means it so.
    statPtr->l2Etyp = 0;
    if (!insideFrame(offset, 5, frmLen)) {
        PrcL2EofErr(statPtr, 0);
        return 0;
    }
    detectFlexKey(statPtr, FLEX_KEY_LLC, offset);

    if (statPtr->isCnTagged) {
        CM_TRACE(2, "LLC type_len followin CN tag, considering the packet as LLC but not SNAP -- stop parsing\n");
        statPtr->l2Etyp = 0;
        LlcGetHdr(statPtr->frm + offset, statPtr);
        llcInside(statPtr, offset, 8);
        return 0;
    }

    if (prcHword(statPtr, offset) != 0xaaaa) {
        CM_TRACE(2, "LLC, but not SNAP -- stop parsing\n");
        LlcGetHdr(statPtr->frm + offset, statPtr);
        if (!insideFrame(offset, 8, frmLen)) {
            PrcL2EofErr(statPtr, 0);
            traceLlcEof(statPtr, offset, 8);
        }
        return 0;
    }

    if (!llcInside(statPtr, offset, 7))
        return 0;
    if (prcByte(statPtr, offset + 2) != 3 || prcByte(statPtr, offset + 3) != 0) {
        CM_TRACE(2, "LLC, but not SNAP -- stop parsing\n");
        LlcGetHdr(statPtr->frm + offset, statPtr);
        return 0;
    }

    if (!llcInside(statPtr, offset, 9))
        return 0;
    if (prcHword(statPtr, offset + 4) != 0) {
        CM_TRACE_RAW(2, "CM port=%u, frameIdx=%u>>LLC SNAP, but protocol is not Ethertype  -- stop parsing\n",
                     statPtr->ingPhyPort, statPtr->frmIdx);
        LlcGetHdr(statPtr->frm + offset, statPtr);
        return 0;
    }

    const uint32_t snapTyp = prcHword(statPtr, offset + 6);
    detectFlexKey(statPtr, FLEX_KEY_SNAP, offset + 2);
    statPtr->l2SnapEnc = 1;
    if (!llcInside(statPtr, offset, 11))
        return 0;

    ClsEtyp(statPtr, snapTyp, 0);
    if (!etypIsVld) {
        if (prcL2Ck(statPtr, L2_CK_SNAP_NON_TYP))
            CM_TRACE(2, "LLC SNAP invalid ethertype. %s\n", prcL2VerdictWord(statPtr));
        else
            CM_TRACE(2, "LLC SNAP -- invalid Ethertype (excused but stop parsing)\n");
        return 0;
    }
    if (statPtr->isCTagged && etypIsCtag && prcL2Ck(statPtr, L2_CK_MULTIPLE_C_TAGS))
        return 0;

    typLen = snapTyp;
    offset += 8;
    CM_TRACE(2, "LLC SNAP frame with Ethertype %x\n", typLen);
    return 1;
}

static void macClsOuter(CmRteStat *statPtr) {
    statPtr->l2MacClsEn = 1;
    statPtr->l2MacClsDa = statPtr->l2OuterDa;
    statPtr->l2MacClsSa = statPtr->l2OuterSa;
}

static void outerVlanDefault(CmRteStat *statPtr) {
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    statPtr->l2OuterRcvVid = portRegPtr->rte_prc_def_outer_vlan_id;
    statPtr->l2OuterRcvPrio = portRegPtr->rte_prc_def_outer_vlan_prio;
    statPtr->l2OuterRcvCfi = portRegPtr->rte_prc_def_outer_vlan_cfi;
}

// The verdict on a frame at a TRILL port that neither is TRILL nor goes to a control address.
static void nonTrillOnTrillPort(CmRteStat *statPtr) {
    macClsOuter(statPtr);
    if (!prcL2Ck(statPtr, L2_CK_TRILL_OUTER_CTL_DA)) {
        CM_TRACE(1, "PRC Trill port, non-Trill ethertype and non-control packet. Excused, but stop parsing L2.\n");
        return;
    }
    statPtr->l2Etyp = 0;
    statPtr->l2MacClsEn = 0;
}

static uint32_t outerDaIsCtl(const CmRteStat *statPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    const uint64_t da = statPtr->l2OuterDa;
    const uint32_t daIsCtl0 =
        PrcL2CkDaCtl(da, portRegPtr->rte_prc_l2_trill_da_ctl_vld_0, comRegPtr->rte_l2_da_ctl_addr_prefix_0_w0,
                     comRegPtr->rte_l2_da_ctl_addr_prefix_0_w1 << 4);
    const uint32_t daIsCtl1 =
        PrcL2CkDaCtl(da, portRegPtr->rte_prc_l2_trill_da_ctl_vld_1, comRegPtr->rte_l2_da_ctl_addr_prefix_1_w0,
                     comRegPtr->rte_l2_da_ctl_addr_prefix_1_w1 << 4);
    const uint32_t daIsCtl2 =
        PrcL2CkDaCtl(da, portRegPtr->rte_prc_l2_trill_da_ctl_vld_2, comRegPtr->rte_l2_da_ctl_addr_prefix_2_w0,
                     comRegPtr->rte_l2_da_ctl_addr_prefix_2_w1 << 4);
    const uint32_t daIsCtl3 =
        PrcL2CkDaCtl(da, portRegPtr->rte_prc_l2_trill_da_ctl_vld_3, comRegPtr->rte_l2_da_ctl_addr_prefix_3_w0,
                     comRegPtr->rte_l2_da_ctl_addr_prefix_3_w1 << 4);
    return daIsCtl0 || daIsCtl1 || daIsCtl2 || daIsCtl3;
}

// The verdict on a PAUSE frame and on one that ends behind its addresses. Returns 1 to go on.
static uint32_t ckPauseShort(CmRteStat *statPtr) {
    const uint32_t trillEn = statPtr->isTrillPort;
    const bool isShort = statPtr->frmLen < 17;
    // A short frame that is to be trapped leaves in front of the PAUSE test, one to be dropped behind it.
    if (isShort && prcL2CkTraps(statPtr, eofCk(trillEn))) {
        PrcL2EofErr(statPtr, trillEn);
        return 0;
    }
    if (statPtr->macInfPtr->isPauseFrm) {
        prcL2Drop(statPtr, DRP_PAUSE);
        CM_TRACE(1, "PAUSE Frame. DROP\n");
        return 0;
    }
    if (isShort) {
        PrcL2EofErr(statPtr, trillEn);
        return 0;
    }
    return 1;
}

// A control frame for the chip: nothing behind the addresses is parsed.
static void trillPortCtl(CmRteStat *statPtr) {
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    macClsOuter(statPtr);
    statPtr->l2CtlVlanOverride = portRegPtr->rte_prc_l2_trill_vlan_override;
    statPtr->l2CtlSkipIvf = portRegPtr->rte_prc_l2_trill_skip_ivf;
    statPtr->l2Etyp = 0;
    statPtr->ctagCfi = 0;
    statPtr->l2OuterRcvCfi = 0;
    CM_TRACE(1, "PRC Trill port, outer DA is control. vlan_ovrd=%u, skip_ivf=%u\n", statPtr->l2CtlVlanOverride,
             statPtr->l2CtlSkipIvf);
}

// The addresses, and all verdicts in front of the first type word. Returns 1 to go on.
static uint32_t prcL2Addr(CmRteStat *statPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const uint32_t trillEn = statPtr->isTrillPort;

    statPtr->l2OuterDa = prcQword(statPtr, 0, 6);
    detectFlexKey(statPtr, FLEX_KEY_OUTER_MAC, 0);
    if (statPtr->frmLen <= 8) {
        PrcL2EofErr(statPtr, trillEn);
        return 0;
    }
    if (!trillEn && prcL2OuterDaIsAllRb(statPtr) && prcL2Ck(statPtr, L2_CK_DA_ALL_RB))
        return 0;
    statPtr->l2OuterDaIsCtl = trillEn ? outerDaIsCtl(statPtr) : 0;

    statPtr->l2OuterSa = prcQword(statPtr, 6, 6);
    if (statPtr->frmLen <= 12) {
        PrcL2EofErr(statPtr, trillEn);
        return 0;
    }
    CM_TRACE(1, "PRC L2 OuterDA=0x%llx, OuterSA=0x%llx, OuterDaIsCtl=%u\n",
             static_cast<unsigned long long>(statPtr->l2OuterDa), static_cast<unsigned long long>(statPtr->l2OuterSa),
             statPtr->l2OuterDaIsCtl);

    if (prcMacIsGrp(statPtr->l2OuterSa) && prcL2Ck(statPtr, L2_CK_SA_BMCAST)) {
        if (statPtr->l2PrcTrap)
            CM_TRACE(1, "PRC L2 SA mcast err. TRAP -- que=%u\n", comRegPtr->rte_l2_hdr_vio_trap_que);
        else
            CM_TRACE(1, "PRC L2 SA mcast err. DROP\n");
        return 0;
    }

    if (!trillEn) {
        macClsOuter(statPtr);
        if (statPtr->l2OuterSa == statPtr->l2OuterDa && prcL2CkOn(statPtr, L2_CK_ADDR_LPBK)) {
            if (statPtr->macInfPtr->isPauseFrm)
                CmRteAbort_(__FILE_NAME__, __LINE__,
                            "l2_da==l2_sa loopback error potentially coincides\nwith PAUSE at same cycle\n");
            prcL2Ck(statPtr, L2_CK_ADDR_LPBK);
            // The chip model's log has a comma here where its other lines have >>.
            if (statPtr->l2PrcTrap)
                CM_TRACE_RAW(1, "CM port=%u, frameIdx=%u, PRC L2 loop SA==DA. TRAP, que=%u\n", statPtr->ingPhyPort,
                             statPtr->frmIdx, comRegPtr->rte_l2_hdr_vio_trap_que);
            else
                CM_TRACE_RAW(1, "CM port=%u, frameIdx=%u, PRC L2 loop SA==DA. DROP\n", statPtr->ingPhyPort,
                             statPtr->frmIdx);
            return 0;
        }
    }
    if (!ckPauseShort(statPtr))
        return 0;

    statPtr->ctagCfi = 0;
    statPtr->l2CtlVlanOverride = 0;
    statPtr->l2CtlSkipIvf = 0;
    CpOuterL2Hdr(statPtr);
    if (trillEn && statPtr->l2OuterDaIsCtl) {
        trillPortCtl(statPtr);
        return 0;
    }
    return 1;
}

// The first tag place: an S-tag, or the classification of the word that stands there. Returns 1 to go on.
static uint32_t prcL2STag(CmRteStat *statPtr, uint32_t &offset, uint32_t &vlanLocHword) {
    const uint32_t trillEn = statPtr->isTrillPort;

    vlanLocHword = prcHword(statPtr, offset);
    if (!insideFrame(offset, 5, statPtr->frmLen)) {
        PrcL2EofErr(statPtr, 0);
        return 0;
    }
    etypIsStag = 0;
    if (trillEn || !statPtr->l2QinqEn || vlanLocHword != statPtr->portRegPtr->rte_prc_stag_etyp) {
        ClsEtyp(statPtr, vlanLocHword, trillEn && !statPtr->l2OuterDaIsCtl);
        return 1;
    }

    etypIsStag = 1;
    statPtr->isSTagged = 1;
    detectFlexKey(statPtr, FLEX_KEY_SVLAN, offset);
    if (!prcL2ReadSTag(statPtr, offset))
        return 0;
    CM_TRACE(1, "Packet is QinQ tagged. S-TAG=0x%x\n", statPtr->l2QinqStag);
    offset += 4;
    vlanLocHword = prcHword(statPtr, offset);
    ClsEtyp(statPtr, vlanLocHword, 0);
    if (!insideFrame(offset, 5, statPtr->frmLen)) {
        PrcL2EofErr(statPtr, 0);
        return 0;
    }
    return !(etypIsMoreStag && prcL2Ck(statPtr, L2_CK_MULTIPLE_S_TAGS));
}

// The tag control word behind the classified word.
static void prcL2Tag(CmRteStat *statPtr, uint32_t &offset) {
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;

    statPtr->l2OuterVlanTagged = etypIsTrillOuterVlan;
    const uint32_t vlan1 = prcHword(statPtr, offset + 2);
    if (etypIsTrillOuterVlan) {
        statPtr->l2OuterRcvVid = bits(vlan1, 11, 0);
        if (statPtr->l2OuterRcvVid == 0)
            statPtr->l2OuterRcvVid = portRegPtr->rte_prc_def_outer_vlan_id;
        statPtr->l2OuterRcvPrio = bits(vlan1, 15, 13);
        statPtr->l2OuterRcvCfi = portRegPtr->rte_prc_l2_keep_cfi ? bit(vlan1, 12) : 0;
        offset += 4;
    } else if (etypIsCtag) {
        // An S-port reads a C-tag that has no S-tag in front too, though it does not count as a VLAN tag there.
        statPtr->ctag = bits(vlan1, 11, 0);
        statPtr->ctagPrio = bits(vlan1, 15, 13);
        statPtr->ctagCfi = bit(vlan1, 12);
        offset += 4;
    } else if (etypIsCnTag) {
        statPtr->cntag = vlan1;
        detectFlexKey(statPtr, FLEX_KEY_CN_TAG, offset);
        offset += 4;
    } else if (statPtr->isTrillPort) {
        outerVlanDefault(statPtr);
    } else {
        statPtr->l2OuterRcvVid = portRegPtr->rte_prc_def_inner_vlan_id;
        statPtr->l2OuterRcvPrio = portRegPtr->rte_prc_def_inner_vlan_prio;
        statPtr->l2OuterRcvCfi = portRegPtr->rte_prc_def_inner_vlan_cfi;
    }

    statPtr->isCTagged = etypIsCtag;
    statPtr->ctagNz = etypIsCtag && statPtr->ctag;

    statPtr->xsvid = 0;
    statPtr->xcvid = 0;
    if (statPtr->stagNz)
        statPtr->xsvid = vlanTrans(statPtr->memPtr, statPtr->ingLgcPort, statPtr->l2QinqStag);
    else if (!statPtr->l2QinqEn && etypIsCtag && statPtr->ctag)
        statPtr->xcvid = vlanTrans(statPtr->memPtr, statPtr->ingLgcPort, statPtr->ctag);

    const uint32_t tagged = statPtr->isTrillPort ? statPtr->l2OuterVlanTagged : statPtr->isCTagged;
    if (tagged && !etypIsCnTag)
        prcL2ReadCnTag(statPtr, offset);
}

// All tags, from the word behind the addresses to the final type word, which comes back in `typLen`. Returns 1 to go
// on.
static uint32_t prcL2Tags(CmRteStat *statPtr, uint32_t &offset, uint32_t &typLen) {
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    const uint32_t trillEn = statPtr->isTrillPort;
    uint32_t vlanLocHword = 0;

    if (!prcL2STag(statPtr, offset, vlanLocHword))
        return 0;
    // A C-tag straight behind the addresses of an S-port does not count.
    const uint32_t etypIsVlan = etypIsStag || (!statPtr->l2QinqEn && etypIsCtag) || etypIsTrillOuterVlan;
    if (etypIsTrillOuterVlan || etypIsCtag)
        detectFlexKey(statPtr, FLEX_KEY_OUTER_VLAN, offset);

    if (!PrcL2CkTypLen(statPtr, vlanLocHword)) {
        if (trillEn) {
            outerVlanDefault(statPtr);
        } else {
            statPtr->ctag = portRegPtr->rte_prc_def_inner_vlan_id;
            statPtr->ctagPrio = portRegPtr->rte_prc_def_inner_vlan_prio;
            statPtr->ctagCfi = portRegPtr->rte_prc_def_inner_vlan_cfi;
        }
        statPtr->l2Etyp = 0;
        return 0;
    }
    if (etypIsVlan) {
        statPtr->l2Etyp = 0;
    } else if (trillEn && !etypIsTrill) {
        nonTrillOnTrillPort(statPtr);
        return 0;
    }

    prcL2Tag(statPtr, offset);

    if (!trillEn) {
        const uint32_t cfi = statPtr->ctagCfi;
        if (!portRegPtr->rte_prc_l2_keep_cfi)
            statPtr->ctagCfi = 0;
        if (portRegPtr->rte_prc_l2_legacy_cfi_en && cfi) {
            CM_TRACE(1, "CFI=1 taken as token ring or alike, stop parsing further (keep_cfi=%x).\n",
                     portRegPtr->rte_prc_l2_keep_cfi);
            statPtr->l2Etyp = 0;
            CpOuterL2Hdr(statPtr);
            return 0;
        }
        if (!statPtr->isCTagged)
            statPtr->ctagCfi = portRegPtr->rte_prc_def_inner_vlan_cfi;
    }
    statPtr->isCnTagged = etypIsCnTag;

    typLen = prcHword(statPtr, offset);
    ClsEtyp(statPtr, typLen, 0);
    if (!insideFrame(offset, 5, statPtr->frmLen)) {
        PrcL2EofErr(statPtr, trillEn);
        return 0;
    }
    if (statPtr->isCTagged && etypIsCtag && prcL2Ck(statPtr, L2_CK_MULTIPLE_C_TAGS))
        return 0;
    if (!PrcL2CkTypLen(statPtr, typLen)) {
        statPtr->l2Etyp = 0;
        CpOuterL2Hdr(statPtr);
        return 0;
    }
    if (trillEn && !etypIsTrill) {
        nonTrillOnTrillPort(statPtr);
        return 0;
    }
    return 1;
}

// What stands behind the final type word.
static void prcL2Upper(CmRteStat *statPtr, uint32_t offset) {
    if (etypIsFip) {
        statPtr->l2FipFound = 1;
        statPtr->l2FipOffset = offset;
        detectFlexKey(statPtr, FLEX_KEY_FIP, offset);
        PrcFip(statPtr);
    } else if (etypIsFcoe) {
        statPtr->l2FcoeFound = 1;
        statPtr->l2FcoeOffset = offset;
        PrcFcoe(statPtr);
    } else if (etypIsIpv4) {
        statPtr->l3IpVer = 4;
        statPtr->l3Offset = offset;
    } else if (etypIsIpv6) {
        statPtr->l3IpVer = 6;
        statPtr->l3Offset = offset;
    } else if (etypIsQcn) {
        statPtr->l2RcvQcn = 1;
    }
}

void PrcL2(CmRteStat *statPtr) {
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    const uint32_t trillEn = portRegPtr->rte_prc_l2_trill_en;

    statPtr->isTrillPort = trillEn;
    statPtr->l2TrillFound = 0;
    statPtr->l2TrillRcvVpnId = portRegPtr->rte_prc_def_vpn_id;
    statPtr->l2TrillRcvCustIdValid = 0;
    statPtr->l2SnapEnc = 0;
    statPtr->l2QinqEn = bit(portRegPtr->rte_prc_vlan_mode, 0);
    CM_TRACE(1, "PRC L2, TRILL-PORT: %u, S-PORT:%u\n", statPtr->isTrillPort, statPtr->l2QinqEn);
    if (!portRegPtr->rte_prc_l2_lu_en) {
        prcL2Drop(statPtr, DRP_NOT_EN);
        CM_TRACE(1, "PRC L2 Lookup Not Enabled. DROP\n");
        return;
    }

    if (!prcL2Addr(statPtr))
        return;
    uint32_t offset = 12;
    uint32_t typLen = 0;
    if (!prcL2Tags(statPtr, offset, typLen))
        return;
    offset += 2;
    CpOuterL2Hdr(statPtr);

    if (trillEn) {
        statPtr->l2TrillFound = 1;
        CM_TRACE(1, "PRC Trill port, Ethertype is TRILL. Start PrcTrill().\n");
        if (!PrcTrill(statPtr, offset, typLen))
            return;
    }
    if (etypIsMoreStag) {
        if (statPtr->l2QinqEn && statPtr->isSTagged && prcL2Ck(statPtr, L2_CK_MULTIPLE_S_TAGS))
            return;
        if (!statPtr->l2QinqEn &&
            prcL2CkSTagOnCPort(statPtr, 1, "S-TAG at the worng location. Treated as unknown ULP and excused\n"))
            return;
    }
    if (typLen <= statPtr->comRegPtr->rte_l2_ieee_len_max && !PrcL2Len(statPtr, typLen, offset))
        return;
    if (!etypIsVld)
        return;
    prcL2Upper(statPtr, offset);
}
