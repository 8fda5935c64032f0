// What all sub-parsers share: reads from the frame, and the layer-2 verdicts.

#include "base/tbMsg.h"
#include "prc/cmRtePrc.h"

namespace {

// The driver clears this many bytes behind the frame; the chip's parser sees nothing further on.
constexpr uint32_t kClearedTail = 28;

using PortReg = uint32_t CmRteHsiPortReg::*;

struct CkRow {
    PortReg ck; // null: nothing excuses the error
    PortReg trap;
    uint32_t dropRsn;
    const char *text;
    const char *excuse;
};

constexpr CkRow kCkRows[] = {
#define L2_CK(name, ck, trap, dropRsn, text, excuse)                                                                   \
    {&CmRteHsiPortReg::ck, &CmRteHsiPortReg::trap, dropRsn, text, excuse},
#define L2_CK_NO_CK(name, trap, dropRsn, text) {nullptr, &CmRteHsiPortReg::trap, dropRsn, text, ""},
#include "prc/cmRtePrcL2Ck.def"
};

} // namespace

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

uint32_t prcL2Ck(CmRteStat *statPtr, PRC_L2_CK ck) {
    const CkRow &row = kCkRows[ck];
    if (!prcL2CkOn(statPtr, ck)) {
        if (*row.excuse)
            CM_TRACE(3, "%s\n", row.excuse);
        return 0;
    }
    if (prcL2CkTraps(statPtr, ck))
        prcL2HdrVioTrap(statPtr);
    else
        prcL2Drop(statPtr, row.dropRsn);
    if (*row.text)
        CM_TRACE(1, "%s%s\n", row.text, prcL2VerdictWord(statPtr));
    return 1;
}

bool prcL2CkOn(const CmRteStat *statPtr, PRC_L2_CK ck) {
    const PortReg reg = kCkRows[ck].ck;
    return !reg || statPtr->portRegPtr->*reg;
}

bool prcL2CkTraps(const CmRteStat *statPtr, PRC_L2_CK ck) {
    return statPtr->portRegPtr->*kCkRows[ck].trap;
}

const char *prcL2VerdictWord(const CmRteStat *statPtr) {
    return statPtr->l2PrcTrap ? "TRAP" : "DROP";
}
