#include "base/cmOut.h"
#include "base/cmRte.h"
#include "log/cmRteLog.h"
#include "tae/cmTae.h"
#include "tfe/cmTfe.h"
#include "tsr_reg.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

void printFrame(uint32_t port, uint32_t frmIdx, uint32_t frmLen, const uint8_t *frm) {
    constexpr uint32_t kRow = 16;
    cmPrintf("PORT %2d, FRM %d, frmLen = %4d ( 0x%03x )\n", static_cast<int>(port), static_cast<int>(frmIdx),
             static_cast<int>(frmLen), frmLen);
    const uint32_t shown = std::min(frmLen, 256u);
    for (uint32_t row = 0; row < shown; row += kRow) {
        cmPrintf("  %3d:", static_cast<int>(row));
        for (uint32_t i = row; i < row + kRow; i++) {
            if (i < shown)
                cmPrintf(" %02x", frm[i]);
            else
                cmPrintf("   ");
        }
        cmPrintf("\n");
    }
    cmPrintf("\n");
}

} // namespace

int CmRteProc(uint32_t port, CmRte *cmRtePtr, CmRteMacInf *macInfPtr, uint32_t frmLen, uint8_t *frm, CmRteRslt *rsltPtr,
              int verbose) {
    if (verbose == 0)
        cmRtePtr->dbgEn = 0;

    int ret = 0;
    if (port < TSR_PORTS) {
        CmRteStat *statPtr = CmRteGetStat();
        if (cmRtePtr->dbgEn != 0)
            printFrame(port, cmRtePtr->frmCntLst[port], frmLen, frm);

        std::memset(statPtr, 0, sizeof *statPtr);
        statPtr->frmIdx = cmRtePtr->frmCntLst[port];
        statPtr->ingPhyPort = port;
        statPtr->macInfPtr = macInfPtr;
        statPtr->portRegPtr = &cmRtePtr->portRegLst[port];
        statPtr->comRegPtr = &cmRtePtr->comReg;
        statPtr->memPtr = &cmRtePtr->mem;
        statPtr->extCfgPtr = &cmRtePtr->extCfg;
        statPtr->taePtr = cmRtePtr->taePtr;
        statPtr->tfePtr = cmRtePtr->tfePtr;
        statPtr->frm = frm;
        statPtr->frmLen = frmLen;
        statPtr->wireFrmLen = frmLen;
        statPtr->rsltPtr = rsltPtr;

        const uint32_t dbgLvl = verbose ? 4 : 0;
        statPtr->dbgLvl = dbgLvl;
        cmRtePtr->taePtr->dbgLvl = dbgLvl;
        cmRtePtr->tfePtr->dbgLvl = dbgLvl;

        statPtr->list_RTE_MYDA_RANGE_HI_REG = RTE_L2_CHS_MAC_HI;
        statPtr->list_RTE_MYDA_RANGE_LO_REG = RTE_L2_CHS_MAC_LO;

        // The frame's last byte is the MAC's status; the parser finds zeroes from there on. A frame of no bytes, which
        // only a file can hold, has no status.
        uint8_t *lastByte = frmLen > 0 ? frm + frmLen - 1 : frm;
        statPtr->macStat = frmLen > 0 ? *lastByte : 0;
        std::memset(lastByte, 0, 32);

        CmRtePrc(statPtr);
        CmRteLue(statPtr);
        CmRteRoc(statPtr);
        ret = 1;
    }

    if (cmRtePtr->logFd != -1) {
        CmRteLogSaveFrm(cmRtePtr, port, frmLen, cmRtePtr->logFrmMaxLen, frm);
        CmRteLogSaveRslt(cmRtePtr, rsltPtr, ret);
    }
    if (port < std::size(cmRtePtr->frmCntLst))
        cmRtePtr->frmCntLst[port]++;
    return ret;
}
