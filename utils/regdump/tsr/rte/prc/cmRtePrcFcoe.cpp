// FIP and FCoE: the FIP header, and the Fibre Channel header behind the FCoE header, plain or behind a VSAN header.

#include "base/cmRteAbort.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "prc/cmRtePrc.h"
#include "prc/cmRtePrcL3.h"

namespace {

/// The fields of an FC header at `offset`.
struct FcHdr {
    uint32_t rctl;
    uint32_t did;
    uint32_t csctl;
    uint32_t sid;
    uint32_t type;
    uint32_t fctl;
    uint32_t oxid;
};

FcHdr fcGetHdr(const CmRteStat *statPtr, uint32_t offset) {
    FcHdr hdr;
    hdr.rctl = prcByte(statPtr, offset);
    hdr.did = static_cast<uint32_t>(prcQword(statPtr, offset + 1, 3));
    hdr.csctl = prcByte(statPtr, offset + 4);
    hdr.sid = static_cast<uint32_t>(prcQword(statPtr, offset + 5, 3));
    hdr.type = prcByte(statPtr, offset + 8);
    hdr.fctl = static_cast<uint32_t>(prcQword(statPtr, offset + 9, 3));
    hdr.oxid = prcHword(statPtr, offset + 16);
    return hdr;
}

/// The byte at `offset` when the frame goes on at `end`, else 0. A comparison of bytes, unlike the end test.
uint32_t fcPldByte(const CmRteStat *statPtr, uint32_t offset, uint32_t end) {
    return end < statPtr->frmLen ? prcByte(statPtr, offset) : 0;
}

/// What stands behind the FCoE header: an FC header, plain or behind a VSAN header, and the payload.
struct FcFrm {
    uint32_t sof;
    FcHdr hdr;
    uint32_t pldOfst;
    uint32_t vfidVld; // behind a VSAN header; the next two are 0 without one
    uint32_t vfid;
    uint32_t vsanTtl;
};

/// Whether a VSAN header stands at `fcOffset`.
bool isVsanHdr(const CmRteStat *statPtr, uint32_t fcOffset) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const uint32_t vsanTyp = bits(prcByte(statPtr, fcOffset + 1), 5, 2);
    return insideFrame(fcOffset, 5, statPtr->frmLen) &&
           prcByte(statPtr, fcOffset) == comRegPtr->rte_l2_fcoe_vsan_rctl &&
           (comRegPtr->rte_l2_fcoe_vsan_typ_ck_en == 0 || vsanTyp == 0);
}

/// Reads the headers at `fcOffset`, whether or not the frame holds all of them.
FcFrm getFcFrm(CmRteStat *statPtr, uint32_t fcOffset) {
    const uint32_t sof = prcByte(statPtr, fcOffset - 1);
    if (!isVsanHdr(statPtr, fcOffset)) {
        detectFlexKey(statPtr, FLEX_KEY_FC, fcOffset);
        const FcHdr hdr = fcGetHdr(statPtr, fcOffset);
        CM_TRACE(1, "Plain FC encapsulated FCoE frame, rctl=%x sof=%x\n", hdr.rctl, sof);
        return {sof, hdr, fcOffset + 24, 0, 0, 0};
    }
    detectFlexKey(statPtr, FLEX_KEY_VSAN, fcOffset);
    detectFlexKey(statPtr, FLEX_KEY_FC, fcOffset + 8);
    statPtr->l2FcoeVfidVld = 1;
    const FcHdr hdr = fcGetHdr(statPtr, fcOffset + 8);
    CM_TRACE(1, "VSAN FC encapsulated FCoE frame, rctl=%x sof=%x\n", hdr.rctl, sof);
    return {sof, hdr, fcOffset + 32, 1, bits(prcHword(statPtr, fcOffset + 2), 12, 1), prcByte(statPtr, fcOffset + 4)};
}

void putFcHdr(CmRteStat *statPtr, const FcFrm &fc) {
    statPtr->l2FcoeFcDid = fc.hdr.did;
    statPtr->l2FcoeFcSid = fc.hdr.sid;
    statPtr->l2FcoeFcVfidVld = fc.vfidVld;
    statPtr->l2FcoeFcVfid = fc.vfid;
    statPtr->l2FcoeFcOxid = fc.hdr.oxid;
    statPtr->l2FcoeFcRctl = fc.hdr.rctl;
    statPtr->l2FcoeFcType = fc.hdr.type;
    statPtr->l2FcoeFcFctl = fc.hdr.fctl;
    statPtr->l2FcoeFcCsctl = fc.hdr.csctl;
    statPtr->l2FcoeFcSof = fc.sof;
    statPtr->l2FcoeVersion = bits(prcByte(statPtr, statPtr->l2FcoeOffset), 7, 4);
}

/// Returns false when the frame ended in front of the payload and the error is recorded.
bool ckFcEof(CmRteStat *statPtr, uint32_t fcOffset, const FcFrm &fc) {
    const uint32_t frmLen = statPtr->frmLen;
    if (insideFrame(fc.pldOfst, 3, frmLen))
        return true;
    prcL3Ck(statPtr, L3_CK_FCOE_EOF);
    CM_TRACE(1, "FCOE EOF err (frameLen=%u, FcoeOffset=%u , fcOffset=%u, estLen=%u). stop parsing.\n", frmLen,
             statPtr->l2FcoeOffset, fcOffset, fc.pldOfst);
    // The R_CTL of the inner header was never reached: the chip still holds that of the VSAN header.
    if (statPtr->l2FcoeFcVfidVld && !insideFrame(fcOffset, 11, frmLen))
        statPtr->l2FcoeFcRctl = statPtr->comRegPtr->rte_l2_fcoe_vsan_rctl;
    return false;
}

void putFcClass(CmRteStat *statPtr, uint32_t sof) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    statPtr->l2FcoeFcClassF = portRegPtr->rte_prc_l2_fcoe_ck_class_f && sof == comRegPtr->fc_class_f_sof;
    statPtr->l2FcoeFcClass2 = (portRegPtr->rte_prc_l2_fcoe_ck_class_2 && sof == comRegPtr->fc_class_2_sof) ||
                              (portRegPtr->rte_prc_l2_fcoe_ck_class_2i && sof == comRegPtr->fc_class_2i_sof);
}

void putFcPld(CmRteStat *statPtr, uint32_t pldOfst) {
    statPtr->l2FcoeFcPld0 = fcPldByte(statPtr, pldOfst, pldOfst + 4);
    statPtr->l2FcoeFcPld35 = fcPldByte(statPtr, pldOfst + 11, pldOfst + 12);
    statPtr->l2FcoeFcPld36 = fcPldByte(statPtr, pldOfst + 12, pldOfst + 16);
    statPtr->l2FcoeFcPld41 = fcPldByte(statPtr, pldOfst + 17, pldOfst + 20);
}

} // namespace

int PrcFip(CmRteStat *statPtr) {
    const uint32_t fipOffset = statPtr->l2FipOffset;
    const uint32_t frmLen = statPtr->frmLen;

    if (!insideFrame(fipOffset, 5, frmLen)) {
        PrcL2EofErr(statPtr, 0);
        return 0;
    }
    const uint32_t ver = bits(prcByte(statPtr, fipOffset), 7, 4);

    if (!insideFrame(fipOffset, 9, frmLen)) {
        PrcL2EofErr(statPtr, 0);
        return 0;
    }
    const uint32_t protocol = prcHword(statPtr, fipOffset + 2);
    const uint32_t subcode = prcByte(statPtr, fipOffset + 5);

    if (!insideFrame(fipOffset, 13, frmLen)) {
        PrcL2EofErr(statPtr, 0);
        return 0;
    }
    const uint32_t flagsHi = prcByte(statPtr, fipOffset + 8);
    const uint32_t flagsLo = prcByte(statPtr, fipOffset + 9);

    statPtr->l2FipVer = ver;
    statPtr->l2FipProtocol = protocol;
    statPtr->l2FipSubcode = subcode;
    statPtr->l2FipBitFP = bit(flagsHi, 7);
    statPtr->l2FipBitSP = bit(flagsHi, 6);
    statPtr->l2FipBitA = bit(flagsLo, 2);
    statPtr->l2FipBitS = bit(flagsLo, 1);
    statPtr->l2FipBitF = bit(flagsLo, 0);
    CM_TRACE(1, "FIP frame, ver=%d prot=%x subcode=%x fp=%x sp=%x a=%x s=%x f=%x\n", statPtr->l2FipVer,
             statPtr->l2FipProtocol, statPtr->l2FipSubcode, statPtr->l2FipBitFP, statPtr->l2FipBitSP,
             statPtr->l2FipBitA, statPtr->l2FipBitS, statPtr->l2FipBitF);
    return 1;
}

void PrcFcoe(CmRteStat *statPtr) {
    if (!insideFrame(statPtr->l2FcoeOffset, 7, statPtr->frmLen))
        CmRteAbort_(__FILE_NAME__, __LINE__, "FCoE header ends prematurely\nRTL may or may not consider it error\n");

    detectFlexKey(statPtr, FLEX_KEY_FCOE, statPtr->l2FcoeOffset - 2);
    const uint32_t fcOffset = statPtr->l2FcoeOffset + statPtr->comRegPtr->rte_l2_fcoe_hdr_len + 8;
    CM_TRACE(1, "FCoE offset = %u, FC offset = %u\n", statPtr->l2FcoeOffset, fcOffset);

    const FcFrm fc = getFcFrm(statPtr, fcOffset);
    putFcHdr(statPtr, fc);
    if (!ckFcEof(statPtr, fcOffset, fc))
        return;
    putFcClass(statPtr, fc.sof);
    putFcPld(statPtr, fc.pldOfst);
    // Checked for any source address; whether it is one that a fabric provided is for the reader to judge.
    statPtr->fpmaChkOk = statPtr->l2FcoeFcSid == bits64(statPtr->l2Sa, 23, 0);
    // The chip drops at 1 only.
    if (fc.vsanTtl == 1)
        prcL3Ck(statPtr, L3_CK_FCOE_TTL);
}
