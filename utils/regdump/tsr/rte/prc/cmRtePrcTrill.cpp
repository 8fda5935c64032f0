// TRILL parsing: the checks of the outer header, the TRILL header with its options, and the inner Ethernet header.

#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "prc/cmRtePrc.h"

void PrcL2TrillCustIdErr(CmRteStat *statPtr) {
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    if (!prcL2Ck(statPtr, L2_CK_TRILL_CUST_ID))
        return;
    if (statPtr->l2PrcTrap)
        CM_TRACE(1, "PRC L2 Trill Cutomer ID Option err (exp_cust_id=%u). TRAP\n",
                 portRegPtr->rte_prc_l2_trill_exp_cust_id);
    else
        CM_TRACE(1, "PRC L2 Trill Customer ID Option err (exp_cust_id=%u). DROP\n",
                 portRegPtr->rte_prc_l2_trill_exp_cust_id);
}

void PrcL2TrillEofErr(CmRteStat *statPtr) {
    prcL2Ck(statPtr, L2_CK_TRILL_EOF);
}

// A customer-ID error that ends the parse: always 0.
static uint32_t custIdErr(CmRteStat *statPtr) {
    PrcL2TrillCustIdErr(statPtr);
    statPtr->l2TrillRcvCustIdValid = 0;
    return 0;
}

// Frame end inside the TRILL header: always 0.
static uint32_t trillEofErr(CmRteStat *statPtr) {
    PrcL2TrillEofErr(statPtr);
    return 0;
}

// Frame end inside the inner header, where the port's plain register decides: always 0.
static uint32_t innerEofErr(CmRteStat *statPtr) {
    PrcL2EofErr(statPtr, 0);
    return 0;
}

// The verdict on a hop count of 0 or 1, which `name` says.
static void ttlErr(CmRteStat *statPtr, uint32_t trap, const char *name) {
    statPtr->l2PselTrillTtlErr = 1;
    if (trap) {
        statPtr->l2PrcTrap = 1;
        statPtr->l2PselTrapTrillTtlErr = 1;
        statPtr->l2PrcTrapQue = statPtr->comRegPtr->rte_l2_trill_ttl_trap_que;
        statPtr->l2PrcTrapRsn = TRP_TRILL_TTL;
        CM_TRACE(1, "PRC Trill TTL=%s err. TRAP\n", name);
    } else {
        prcL2Drop(statPtr, DRP_TRILL_TTL);
        CM_TRACE(1, "PRC Trill TTL=%s err. DROP\n", name);
    }
}

// The first word of the TRILL header. Returns 1 to go on.
static uint32_t trillGetWord(CmRteStat *statPtr, uint32_t offset) {
    const uint32_t hword = prcHword(statPtr, offset);
    detectFlexKey(statPtr, FLEX_KEY_TRILL, offset - 2);
    statPtr->l2TrillVer = bits(hword, 15, 14);
    statPtr->l2TrillMc = bit(hword, 11);
    statPtr->l2TrillOpt = bits(hword, 10, 6);
    statPtr->l2TrillTtl = bits(hword, 5, 0);
    CM_TRACE(1, "Trill header: TrillVer=%u, TrillMc=%u, TrillOpLen=%u, TrillTtl=%u, (hword=0x%x)\n",
             statPtr->l2TrillVer, statPtr->l2TrillMc, statPtr->l2TrillOpt, statPtr->l2TrillTtl, hword);
    if (!insideFrame(offset, 5, statPtr->frmLen)) {
        PrcL2EofErr(statPtr, 1);
        return 0;
    }
    return 1;
}

static uint32_t trillCkOuterSa(CmRteStat *statPtr) {
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    const uint64_t expSa =
        prcMac(portRegPtr->rte_prc_l2_trill_exp_outer_sa_w0, portRegPtr->rte_prc_l2_trill_exp_outer_sa_w1);
    return !(statPtr->l2OuterSa != expSa && prcL2Ck(statPtr, L2_CK_TRILL_OUTER_SA));
}

static uint32_t trillCkOuterDa(CmRteStat *statPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    const uint32_t outerDaIsAllRbDa = prcL2OuterDaIsAllRb(statPtr);
    const uint32_t trillUcastExpOuterDa =
        statPtr->l2OuterDa ==
        prcMac(portRegPtr->rte_prc_l2_trill_exp_outer_ucast_da_w0, portRegPtr->rte_prc_l2_trill_exp_outer_ucast_da_w1);
    CM_TRACE(1, "PRC Trill, trillUcastExpOuterDa=%u, outerDaIsAllRbDa=%u\n", trillUcastExpOuterDa, outerDaIsAllRbDa);

    if (!statPtr->l2TrillMc && !outerDaIsAllRbDa && !trillUcastExpOuterDa &&
        bit(portRegPtr->rte_prc_l2_trill_ck_outer_ucast_da, 0)) {
        prcL2Ck(statPtr, L2_CK_TRILL_OUTER_UCAST_DA);
        CM_TRACE(1, "PRC Trill, unexpected outer DA err. exp_outer_ucast_da = %8.8x-%8.8x. all_rb_da=%8.8x-%8.8x. %s\n",
                 portRegPtr->rte_prc_l2_trill_exp_outer_ucast_da_w0, portRegPtr->rte_prc_l2_trill_exp_outer_ucast_da_w1,
                 comRegPtr->rte_l2_trill_all_rb_da_w0, comRegPtr->rte_l2_trill_all_rb_da_w1, prcL2VerdictWord(statPtr));
        return 0;
    }
    return 1;
}

static uint32_t trillCkOuterVid(CmRteStat *statPtr) {
    // A multicast TRILL frame may come on any outer VLAN.
    if (!statPtr->l2TrillMc && prcL2CkOn(statPtr, L2_CK_TRILL_OUTER_VID) &&
        bits(statPtr->l2OuterRcvVid, 11, 0) != statPtr->portRegPtr->rte_prc_l2_trill_exp_outer_vid) {
        CM_TRACE(1, "PRC Trill outer VID (0x%x) mismatch.\n", statPtr->l2OuterRcvVid);
        prcL2Ck(statPtr, L2_CK_TRILL_OUTER_VID);
        return 0;
    }
    return 1;
}

static uint32_t trillCkVerMc(CmRteStat *statPtr) {
    const uint32_t expVer = statPtr->comRegPtr->rte_l2_trill_exp_ver;
    if (statPtr->l2TrillVer > expVer && prcL2Ck(statPtr, L2_CK_TRILL_VER)) {
        if (statPtr->l2PrcTrap)
            CM_TRACE(1, "PRC Trill version (v=%u, exp=%u) err. TRAP\n", statPtr->l2TrillVer, expVer);
        else
            CM_TRACE(1, "PRC Trill version (%u, exp=%u) err. DROP\n", statPtr->l2TrillVer, expVer);
        statPtr->l2Etyp = 0;
        return 0;
    }
    // The flag with a unicast outer DA is no error.
    if (prcL2OuterDaIsAllRb(statPtr) && !statPtr->l2TrillMc && prcL2Ck(statPtr, L2_CK_TRILL_MC)) {
        statPtr->l2Etyp = 0;
        return 0;
    }
    return 1;
}

static uint32_t trillCkTtl(CmRteStat *statPtr) {
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    if (statPtr->l2TrillTtl == 0) {
        if (portRegPtr->rte_prc_l2_trill_ck_ttl0) {
            ttlErr(statPtr, portRegPtr->rte_prc_l2_trill_trap_ttl0_err, "0");
            return 0;
        }
        CM_TRACE(1, "PRC Trill TTL==0 but prc_l2_trill_ck_ttl0==0\n");
    }
    if (statPtr->l2TrillTtl == 1) {
        if (portRegPtr->rte_prc_l2_trill_ck_ttl1) {
            ttlErr(statPtr, portRegPtr->rte_prc_l2_trill_trap_ttl1_err, "1 (trace route)");
            return 0;
        }
        CM_TRACE(1, "PRC Trill TTL==1 but prc_l2_trill_ck_ttl1==0\n");
    }
    return 1;
}

// The outer header and the first word of the TRILL header against what the port expects. Returns 1 to go on.
static uint32_t trillCkOuter(CmRteStat *statPtr, uint32_t offset) {
    return trillCkOuterSa(statPtr) && trillGetWord(statPtr, offset) && trillCkOuterDa(statPtr) &&
           trillCkOuterVid(statPtr) && trillCkVerMc(statPtr) && trillCkTtl(statPtr);
}

// The customer-ID option of three words at `offset`. Returns 1 to go on behind it.
static uint32_t trillCustIdOpt(CmRteStat *statPtr, uint32_t &offset) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    const uint32_t frmLen = statPtr->frmLen;

    statPtr->l2TrillRcvCustIdValid = 0;
    const uint32_t word0 = prcDword(statPtr, offset);
    if (!insideFrame(offset, 7, frmLen))
        return trillEofErr(statPtr);
    const uint32_t word1 = prcDword(statPtr, offset + 4);
    if (!insideFrame(offset, 9, frmLen))
        return trillEofErr(statPtr);

    const bool match = word0 == comRegPtr->trill_cust_id_option_word0 << 30 &&
                       bits(word1, 31, 16) == (bits(comRegPtr->trill_cust_id_option_word1 << 7, 15, 0) | 6);
    if (!match) {
        if (portRegPtr->rte_prc_l2_trill_exp_cust_id == 1 && portRegPtr->rte_prc_l2_trill_ck_cust_id_cfg)
            return custIdErr(statPtr);
        // The chip stops at an option that it does not know even when it is told not to mind it.
        if (prcL2Ck(statPtr, L2_CK_TRILL_OPT_WORD))
            statPtr->l2Etyp = 0;
        return 0;
    }

    if (portRegPtr->rte_prc_l2_trill_exp_cust_id == 0 && portRegPtr->rte_prc_l2_trill_ck_cust_id_cfg)
        return custIdErr(statPtr);
    const uint32_t word2 = prcDword(statPtr, offset + 8);
    if (!insideFrame(offset, 15, frmLen))
        return trillEofErr(statPtr);
    if (!statPtr->l2QinqEn) {
        statPtr->l2TrillRcvVpnId = bits(word2, 19, 0);
        CM_TRACE(1, "PRC Trill option: VPN_ID = 0x%x\n", statPtr->l2TrillRcvVpnId);
    }
    statPtr->l2TrillRcvCustIdValid = 1;
    offset += 12;
    return 1;
}

// The nicknames and the options. Returns 1 to go on with `offset` at the inner header.
static uint32_t trillHdr(CmRteStat *statPtr, uint32_t &offset) {
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    const uint32_t opt = statPtr->l2TrillOpt;
    const bool custIdExpected =
        portRegPtr->rte_prc_l2_trill_exp_cust_id == 1 && portRegPtr->rte_prc_l2_trill_ck_cust_id_cfg;

    if (opt == 0 && custIdExpected)
        return custIdErr(statPtr);

    statPtr->l2TrillDa = prcHword(statPtr, offset + 2);
    statPtr->l2TrillSa = prcHword(statPtr, offset + 4);
    if (!insideFrame(offset, 7, statPtr->frmLen))
        return trillEofErr(statPtr);
    offset += 6;

    if (opt != 0) {
        const uint32_t word = prcDword(statPtr, offset);
        if (!insideFrame(offset, 7, statPtr->frmLen))
            return trillEofErr(statPtr);
        statPtr->l2TrillRcvChbhOption = bit(word, 31) && portRegPtr->rte_prc_l2_trill_trap_chbh_opt;
    }
    if (!statPtr->l2TrillRcvChbhOption && opt != 0 && opt != 3 && custIdExpected)
        return custIdErr(statPtr);

    if (statPtr->l2TrillSa == statPtr->comRegPtr->rte_l2_trill_addr && prcL2Ck(statPtr, L2_CK_TRILL_LOOP))
        return 0;
    if (statPtr->l2TrillRcvChbhOption == 1) {
        prcL2HdrVioTrap(statPtr);
        CM_TRACE(1, "PRC Trill CHBH option. TRAP\n");
        return 0;
    }
    // With the check off, the inner header is read from the start of the options.
    if (!statPtr->l2TrillRcvChbhOption && opt != 0 && opt != 3 && prcL2Ck(statPtr, L2_CK_TRILL_OPT)) {
        statPtr->l2Etyp = 0;
        return 0;
    }
    if (opt == 3)
        return trillCustIdOpt(statPtr, offset);
    return 1;
}

// The inner addresses. Returns 1 to go on with `offset` behind them.
static uint32_t innerAddr(CmRteStat *statPtr, uint32_t &offset) {
    statPtr->l2TrillInnerDa = prcQword(statPtr, offset, 6);
    detectFlexKey(statPtr, FLEX_KEY_INNER_MAC, offset);
    if (!insideFrame(offset, 9, statPtr->frmLen))
        return innerEofErr(statPtr);
    statPtr->l2TrillInnerDaIsCtl = 0;
    statPtr->l2TrillInnerSa = prcQword(statPtr, offset + 6, 6);
    if (!insideFrame(offset, 15, statPtr->frmLen))
        return innerEofErr(statPtr);
    const auto innerDa = static_cast<unsigned long long>(statPtr->l2TrillInnerDa);
    const auto innerSa = static_cast<unsigned long long>(statPtr->l2TrillInnerSa);
    CM_TRACE(1, "PRC Trill, DbId=%x, SbId=%x, innerDa = %llx, innerSa = %llx\n", statPtr->l2TrillDa, statPtr->l2TrillSa,
             innerDa, innerSa);

    statPtr->l2MacClsEn = 1;
    statPtr->l2MacClsDa = statPtr->l2TrillInnerDa;
    statPtr->l2MacClsSa = statPtr->l2TrillInnerSa;

    if (prcMacIsGrp(statPtr->l2TrillInnerSa) && prcL2Ck(statPtr, L2_CK_SA_BMCAST)) {
        CM_TRACE(1, "PRC Trill inner SA is mcast err. innerSA=%llx. %s\n", innerSa, prcL2VerdictWord(statPtr));
        statPtr->l2Etyp = 0;
        statPtr->l2MacClsEn = 0;
        return 0;
    }
    if (statPtr->l2TrillInnerSa == statPtr->l2TrillInnerDa && prcL2Ck(statPtr, L2_CK_ADDR_LPBK)) {
        if (statPtr->l2PrcTrap)
            CM_TRACE(1, "PRC Trill inner MacSA==MacDA err. TRAP que=%u\n", statPtr->comRegPtr->rte_l2_hdr_vio_trap_que);
        else
            CM_TRACE(1, "PRC Trill inner MacSA==MacDA err. DROP\n");
        statPtr->l2Etyp = 0;
        return 0;
    }
    offset += 12;
    return 1;
}

// The inner S-tag, or the classification of the word at its place. Returns 1 to go on.
static uint32_t innerSTag(CmRteStat *statPtr, uint32_t &offset) {
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;

    uint32_t vlanLocHword = prcHword(statPtr, offset);
    if (!insideFrame(offset, 5, statPtr->frmLen))
        return innerEofErr(statPtr);
    etypIsStag = 0;
    if (!statPtr->l2QinqEn || vlanLocHword != portRegPtr->rte_prc_stag_etyp) {
        ClsEtyp(statPtr, vlanLocHword, 0);
        // On a C-port the S-tag is excused here; the verdict comes with the final type word.
        return !(etypIsMoreStag && prcL2CkSTagOnCPort(statPtr, statPtr->l2QinqEn, "PRC S-TAG on a C-PORT excused\n"));
    }

    etypIsStag = 1;
    statPtr->isSTagged = 1;
    detectFlexKey(statPtr, FLEX_KEY_SVLAN, offset);
    CM_TRACE(1, "eTypLen (0x%x) is STag\n", vlanLocHword);
    if (!prcL2ReadSTag(statPtr, offset))
        return 0;
    offset += 4;
    vlanLocHword = prcHword(statPtr, offset);
    if (!insideFrame(offset, 5, statPtr->frmLen))
        return innerEofErr(statPtr);
    ClsEtyp(statPtr, vlanLocHword, 0);
    return !(etypIsMoreStag && prcL2Ck(statPtr, L2_CK_MULTIPLE_S_TAGS));
}

// The inner tags, up to the place of the final type word. Returns 1 to go on.
static uint32_t innerTags(CmRteStat *statPtr, uint32_t &offset) {
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;

    if (!innerSTag(statPtr, offset))
        return 0;
    const uint32_t etypIsVlan = etypIsStag || (!statPtr->l2QinqEn && etypIsCtag);
    statPtr->isCTagged = etypIsCtag;
    if (etypIsVlan)
        statPtr->l2Etyp = 0;
    if (etypIsCtag)
        detectFlexKey(statPtr, FLEX_KEY_CVLAN, offset);

    const uint32_t vlan1 = prcHword(statPtr, offset + 2);
    if (statPtr->isCTagged) {
        statPtr->ctag = bits(vlan1, 11, 0);
        statPtr->ctagPrio = bits(vlan1, 15, 13);
        statPtr->ctagCfi = bit(vlan1, 12);
        offset += 4;
    } else if (etypIsCnTag) {
        detectFlexKey(statPtr, FLEX_KEY_CN_TAG, offset);
        statPtr->cntag = vlan1;
        offset += 4;
    }
    statPtr->ctagNz = etypIsCtag && statPtr->ctag;
    // The inner C-tag is not translated.
    statPtr->xsvid = 0;
    statPtr->xcvid = 0;
    if (statPtr->stagNz)
        statPtr->xsvid = vlanTrans(statPtr->memPtr, statPtr->ingLgcPort, statPtr->l2QinqStag);
    if (statPtr->isCTagged && !etypIsCnTag)
        prcL2ReadCnTag(statPtr, offset);

    const uint32_t cfi = statPtr->ctagCfi;
    if (!portRegPtr->rte_prc_l2_keep_cfi)
        statPtr->ctagCfi = 0;
    if (cfi && portRegPtr->rte_prc_l2_legacy_cfi_en) {
        CM_TRACE(1, "CFI=1 taken as token ring or alike, stop parsing further.\n");
        statPtr->l2Etyp = 0;
        statPtr->l2TrillInnerCfiDone = 1;
        CpInnerL2Hdr(statPtr);
        return 0;
    }
    if (!statPtr->isCTagged)
        statPtr->ctagCfi = portRegPtr->rte_prc_def_inner_vlan_cfi;
    statPtr->isCnTagged = etypIsCnTag;
    CpInnerL2Hdr(statPtr);
    return 1;
}

// The final type word of the inner frame. Returns 1 to go on.
static uint32_t innerTypLen(CmRteStat *statPtr, uint32_t offset, uint32_t &typLen) {
    typLen = prcHword(statPtr, offset);
    ClsEtyp(statPtr, typLen, 0);
    if (!insideFrame(offset, 5, statPtr->frmLen))
        return innerEofErr(statPtr);
    if (statPtr->isCTagged && etypIsCtag && prcL2Ck(statPtr, L2_CK_MULTIPLE_C_TAGS))
        return 0;
    if (etypIsMoreStag) {
        if (statPtr->l2QinqEn && statPtr->isSTagged && prcL2Ck(statPtr, L2_CK_MULTIPLE_S_TAGS))
            return 0;
        if (!statPtr->l2QinqEn && prcL2CkSTagOnCPort(statPtr, 1, "S-TAG at the worng location. excused\n"))
            return 0;
    }
    if (!PrcL2CkTypLen(statPtr, typLen)) {
        statPtr->l2Etyp = 0;
        return 0;
    }
    return 1;
}

uint32_t PrcTrill(CmRteStat *statPtr, uint32_t &offset, uint32_t &typLen) {
    statPtr->l2Etyp = 0;
    statPtr->l2TrillInnerVlanTagged = 0;
    if (!trillCkOuter(statPtr, offset))
        return 0;
    if (!trillHdr(statPtr, offset))
        return 0;

    statPtr->l2TrillDone = 1;
    statPtr->l2TrillEgr =
        statPtr->l2TrillFound && statPtr->l2TrillDa == statPtr->comRegPtr->rte_l2_trill_addr && !statPtr->l2TrillMc;
    statPtr->l2HdrLenAdj = offset;

    if (!innerAddr(statPtr, offset))
        return 0;
    if (!innerTags(statPtr, offset))
        return 0;
    if (!innerTypLen(statPtr, offset, typLen))
        return 0;
    offset += 2;
    return 1;
}
