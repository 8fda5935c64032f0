#include "cmRteLog.h"

#include <algorithm>
#include <unistd.h>

namespace {

void save(CmRte *rtePtr, const void *bytes, uint32_t byteCnt) {
    if (write(rtePtr->logFd, bytes, byteCnt) < 0) {
        // A log that cannot grow does not stop the model.
    }
    rtePtr->logFileSiz += byteCnt;
}

} // namespace

void CmRteLogSaveFrm(CmRte *rtePtr, uint32_t port, uint32_t frmLen, uint32_t logFrmMaxLen, const uint8_t *frm) {
    const uint32_t savedLen = (std::min(frmLen, logFrmMaxLen) + 3) & ~3u;
    const uint32_t head[] = {CM_RTE_LOG_CMD_FRM, port, frmLen, savedLen};
    save(rtePtr, head, sizeof head);
    save(rtePtr, frm, savedLen);
}

void CmRteLogSaveRslt(CmRte *rtePtr, const CmRteRslt *rsltPtr, int ret) {
    const uint32_t head[] = {CM_RTE_LOG_CMD_RSLT, sizeof *rsltPtr};
    save(rtePtr, head, sizeof head);
    save(rtePtr, rsltPtr, sizeof *rsltPtr);
    save(rtePtr, &ret, sizeof ret);
}

void CmRteLogSaveRd(CmRte *rtePtr, uint32_t addr, uint32_t data, int ret) {
    const uint32_t record[] = {CM_RTE_LOG_CMD_RD, addr, data, static_cast<uint32_t>(ret)};
    save(rtePtr, record, sizeof record);
}

void CmRteLogSaveWr(CmRte *rtePtr, uint32_t addr, uint32_t data, int ret) {
    const uint32_t record[] = {CM_RTE_LOG_CMD_WR, addr, data, static_cast<uint32_t>(ret)};
    save(rtePtr, record, sizeof record);
}
