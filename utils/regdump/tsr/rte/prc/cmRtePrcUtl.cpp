// What all sub-parsers share: reads from the frame, and the layer-2 verdicts.

#include "base/tbMsg.h"
#include "prc/cmRtePrc.h"

// The driver clears this many bytes behind the frame; the chip's parser sees nothing further on.
static constexpr uint32_t kClearedTail = 28;

uint32_t prcByte(const CmRteStat *statPtr, uint32_t offset) {
    return offset < static_cast<uint64_t>(statPtr->frmLen) + kClearedTail ? statPtr->frm[offset] : 0;
}

uint64_t prcQword(const CmRteStat *statPtr, uint32_t offset, uint32_t byteNum) {
    uint64_t value = 0;
    for (uint32_t i = 0; i < byteNum; i++)
        value = value << 8 | prcByte(statPtr, offset + i);
    return value;
}

uint32_t prcHword(const CmRteStat *statPtr, uint32_t offset) {
    return static_cast<uint32_t>(prcQword(statPtr, offset, 2));
}

uint32_t prcDword(const CmRteStat *statPtr, uint32_t offset) {
    return static_cast<uint32_t>(prcQword(statPtr, offset, 4));
}

void prcL2HdrVioTrap(CmRteStat *statPtr) {
    statPtr->l2PrcTrap = 1;
    statPtr->l2PrcTrapQue = statPtr->comRegPtr->rte_l2_hdr_vio_trap_que;
    statPtr->l2PrcTrapRsn = TRP_L2_HDR_VIO;
}

void prcL2Drop(CmRteStat *statPtr, uint32_t rsn) {
    statPtr->l2PrcDrop = 1;
    statPtr->l2PrcDropRsn = rsn;
}

void prcL2TrapOrDrop(CmRteStat *statPtr, uint32_t trap, uint32_t rsn) {
    if (trap)
        prcL2HdrVioTrap(statPtr);
    else
        prcL2Drop(statPtr, rsn);
}

void prcL2Err(CmRteStat *statPtr, uint32_t trap, uint32_t rsn, const char *text) {
    prcL2TrapOrDrop(statPtr, trap, rsn);
    CM_TRACE(1, "%s%s\n", text, trap ? "TRAP" : "DROP");
}

uint32_t prcL2CkErr(CmRteStat *statPtr, uint32_t ck, uint32_t trap, uint32_t rsn, const char *text,
                    const char *excuse) {
    if (!ck) {
        CM_TRACE(3, "%s", excuse);
        return 0;
    }
    prcL2Err(statPtr, trap, rsn, text);
    return 1;
}
