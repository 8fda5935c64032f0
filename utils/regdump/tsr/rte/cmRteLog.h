#pragma once
// The run log: a flat file of everything that passes the model's host interface and its frame entry.

#include "cmRte.h"

#include <cstdint>

/// Command word in front of each record of a log.
enum CM_RTE_LOG_CMD : uint32_t {
    CM_RTE_LOG_CMD_END = 0,  // nothing behind it; the end of the file reads as this too
    CM_RTE_LOG_CMD_WR = 1,   // address, data, return value
    CM_RTE_LOG_CMD_RD = 2,   // address, data read, return value
    CM_RTE_LOG_CMD_FRM = 3,  // port, frame length, saved length, the saved bytes
    CM_RTE_LOG_CMD_RSLT = 4, // size of the result record, the record, return value
};

/// Append one record to the log `rtePtr->logFd`, which must be open, and count its bytes in `logFileSiz`. A frame is
/// saved up to `logFrmMaxLen` bytes, rounded up to whole words: up to three bytes behind it are read. What the file
/// system says is not looked at.
void CmRteLogSaveFrm(CmRte *rtePtr, uint32_t port, uint32_t frmLen, uint32_t logFrmMaxLen, const uint8_t *frm);
void CmRteLogSaveRslt(CmRte *rtePtr, const CmRteRslt *rsltPtr, int ret);
void CmRteLogSaveRd(CmRte *rtePtr, uint32_t addr, uint32_t data, int ret);
void CmRteLogSaveWr(CmRte *rtePtr, uint32_t addr, uint32_t data, int ret);
