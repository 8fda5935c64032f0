#pragma once
// The run log: a flat file of everything that passes the model's host interface and its frame entry.

#include "base/cmRte.h"

#include <cstdint>

/// Command word in front of each record of a log.
enum CM_RTE_LOG_CMD : uint32_t {
    CM_RTE_LOG_CMD_END = 0,  // nothing behind it; the end of the file reads as this too
    CM_RTE_LOG_CMD_WR = 1,   // address, data, return value
    CM_RTE_LOG_CMD_RD = 2,   // address, data read, return value
    CM_RTE_LOG_CMD_FRM = 3,  // port, frame length, saved length, the saved bytes
    CM_RTE_LOG_CMD_RSLT = 4, // size of the result record, the record, return value
};

/// Bytes of the longest frame that a log or a frame file gives back.
constexpr uint32_t CM_RTE_FRM_MAX_LEN = 10240;

/// Append one record to the log `rtePtr->logFd`, which must be open, and count its bytes in `logFileSiz`. A frame is
/// saved up to `logFrmMaxLen` bytes, rounded up to whole words: up to three bytes behind it are read. What the file
/// system says is not looked at.
void CmRteLogSaveFrm(CmRte *rtePtr, uint32_t port, uint32_t frmLen, uint32_t logFrmMaxLen, const uint8_t *frm);
void CmRteLogSaveRslt(CmRte *rtePtr, const CmRteRslt *rsltPtr, int ret);
void CmRteLogSaveRd(CmRte *rtePtr, uint32_t addr, uint32_t data, int ret);
void CmRteLogSaveWr(CmRte *rtePtr, uint32_t addr, uint32_t data, int ret);

/// Opens a log: for writing it is created, or emptied, with mode 0744. Returns the descriptor. To log a run, store it
/// in the model's `logFd`. Like all readers below it ends the process with exit status 1 and a message on standard
/// error when the file does not give what it should.
int CmRteLogOpen(int isWrite, const char *path);

/// Reads the next command word; the end of the file reads as CM_RTE_LOG_CMD_END. `name` stands for the log in messages.
uint32_t CmRteLogGetCmd(int fd, const char *name);

/// Read what stands behind the command word of a host access.
void CmRteLogGetWr(int fd, const char *name, uint32_t *addr, uint32_t *data, int *ret);
void CmRteLogGetRd(int fd, const char *name, uint32_t *addr, uint32_t *data, int *ret);

/// Reads what stands behind the command word of a frame. `frm` holds CM_RTE_FRM_MAX_LEN bytes; what was not saved of
/// the frame is cleared. A longer frame counts as a corrupted log. The three MAC words behind the port are not in the
/// logs that CmRteLogSaveFrm writes: such a frame record cannot be read back here.
void CmRteLogGetFrm(int fd, const char *name, uint32_t *port, CmRteMacInf *macInfPtr, uint32_t *frmLen, uint8_t *frm);

/// Reads what stands behind the command word of a result. The size word is not looked at.
void CmRteLogGetRslt(int fd, const char *name, CmRteRslt *rsltPtr, int *ret);

/// Replays a log on the model `cmRtePtr`, which must be as it was when the log began. With `ckRslt` set, the first
/// answer that is not the logged one is reported on standard error, results with their table on standard output, and
/// ends the process with exit status 1. `prtCmd` has no effect.
void CmRteLogRerun(CmRte *cmRtePtr, const char *logFileName, int prtCmd, int ckRslt);

/// Replays a log, unchecked, up to frame `frmIdx` (from 0) of port `portIdx`, and leaves the model before this frame,
/// the frame and its logged result in the files s_pXX_fXX.sdb, f_pXX_fXX.fdb and r_pXX_fXX.rdb of the working folder.
/// `macInfPtr` takes the MAC words of the frames. A log without the frame ends the process with exit status 1.
void CmRteCaptureFrm(CmRte *cmRtePtr, CmRteMacInf *macInfPtr, const char *logFileName, uint32_t portIdx,
                     uint32_t frmIdx);

/// Compares a model's result with one of the chip, and prints all fields of both side by side. Fields that may differ
/// for a good reason are made equal first, in the records themselves; only where the chip trapped before classification
/// (reasons 0, 24, 25) does the second record stay as it was.
void CmRteLogDiffRslt(CmRteRslt *cmRsltPtr, CmRteRslt *rtlRsltPtr);
