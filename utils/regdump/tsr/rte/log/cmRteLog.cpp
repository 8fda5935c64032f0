#include "log/cmRteLog.h"

#include "log/cmRteFile.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace {

void save(CmRte *rtePtr, const void *bytes, uint32_t byteCnt) {
    CmRteFileWrite(rtePtr->logFd, bytes, byteCnt);
    rtePtr->logFileSiz += byteCnt;
}

/// Reads the address, the data and the return value of a host access.
bool readAccess(int fd, uint32_t *addr, uint32_t *data, int *ret) {
    return CmRteFileReadAll(fd, addr, sizeof *addr) && CmRteFileReadAll(fd, data, sizeof *data) &&
           CmRteFileReadAll(fd, ret, sizeof *ret);
}

/// Reads a frame record; false too for a frame that does not fit the buffer.
bool readFrm(int fd, uint32_t *port, CmRteMacInf *macInfPtr, uint32_t *frmLen, uint8_t *frm) {
    uint32_t savedLen = 0;
    if (!CmRteFileReadAll(fd, port, sizeof *port) ||
        !CmRteFileReadAll(fd, macInfPtr, offsetof(CmRteMacInf, isCrcBadFrm)) ||
        !CmRteFileReadAll(fd, frmLen, sizeof *frmLen) || !CmRteFileReadAll(fd, &savedLen, sizeof savedLen))
        return false;
    if (*frmLen > CM_RTE_FRM_MAX_LEN || savedLen > CM_RTE_FRM_MAX_LEN || !CmRteFileReadAll(fd, frm, savedLen))
        return false;
    if (*frmLen > savedLen)
        std::memset(frm + savedLen, 0, *frmLen - savedLen);
    return true;
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

int CmRteLogOpen(int isWrite, const char *path) {
    const int fd = CmRteFileOpen(isWrite != 0, path);
    if (fd < 0)
        CmRteFileFatal("\n\nPANIC: @%s:%d, failed to open file %s to %s", __FILE_NAME__, __LINE__, path,
                       isWrite ? "write" : "read");
    return fd;
}

uint32_t CmRteLogGetCmd(int fd, const char *name) {
    uint32_t cmd = CM_RTE_LOG_CMD_END;
    const ssize_t byteCnt = CmRteFileRead(fd, &cmd, sizeof cmd);
    if (byteCnt == 0)
        return CM_RTE_LOG_CMD_END;
    if (byteCnt != sizeof cmd)
        CmRteFileFatal("\n\nPANIC: @%s:%d, failed to get log command from %s, log file corrupted", __FILE_NAME__,
                       __LINE__, name);
    return cmd;
}

void CmRteLogGetWr(int fd, const char *name, uint32_t *addr, uint32_t *data, int *ret) {
    if (!readAccess(fd, addr, data, ret))
        CmRteFileFatal("\n\nPANIC: @%s:%d, failed to extract write command, log file %s is corrupted", __FILE_NAME__,
                       __LINE__, name);
}

void CmRteLogGetRd(int fd, const char *name, uint32_t *addr, uint32_t *data, int *ret) {
    if (!readAccess(fd, addr, data, ret))
        CmRteFileFatal("\n\nPANIC: @%s:%d, failed to extract read command, log file %s is corrupted", __FILE_NAME__,
                       __LINE__, name);
}

void CmRteLogGetFrm(int fd, const char *name, uint32_t *port, CmRteMacInf *macInfPtr, uint32_t *frmLen, uint8_t *frm) {
    *port = 0;
    *frmLen = 0;
    *macInfPtr = {};
    if (!readFrm(fd, port, macInfPtr, frmLen, frm))
        CmRteFileFatal("\n\nPANIC: @%s:%d, failed to extract frame command, log file %s is corrupted", __FILE_NAME__,
                       __LINE__, name);
}

void CmRteLogGetRslt(int fd, const char *name, CmRteRslt *rsltPtr, int *ret) {
    uint32_t rsltSiz = 0; // not looked at: the record has one size
    if (!CmRteFileReadAll(fd, &rsltSiz, sizeof rsltSiz) || !CmRteFileReadAll(fd, rsltPtr, sizeof *rsltPtr) ||
        !CmRteFileReadAll(fd, ret, sizeof *ret))
        CmRteFileFatal("\n\nPANIC: @%s:%d, failed to extract result, log file %s is corrupted", __FILE_NAME__, __LINE__,
                       name);
}
