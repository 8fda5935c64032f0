#include "log/cmRteDump.h"

#include "log/cmRteFile.h"
#include "log/cmRteLog.h"

#include <cstddef>
#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr uint32_t kCmRteSiz = 20117860; // bytes of the stored chip
constexpr uint32_t kEngineSlots = 2;     // the engine pointers, 32 bits each in the file
constexpr uint32_t kPlainBytes = kCmRteSiz - kEngineSlots * sizeof(uint32_t);
static_assert(kPlainBytes == offsetof(CmRte, logFileName) + sizeof(CmRte::logFileName));

constexpr uint32_t kRsltSiz = sizeof(CmRteRslt);

int openToRead(const char *fileName, const char *tail = "") {
    const int fd = CmRteFileOpen(false, fileName);
    if (fd < 0)
        CmRteFileFatal("\n\nPANIC: file %s, line %d, failed to open file %s for read%s", __FILE_NAME__, __LINE__,
                       fileName, tail);
    return fd;
}

int openToWrite(const char *fileName) {
    const int fd = CmRteFileOpen(true, fileName);
    if (fd < 0)
        CmRteFileFatal("\n\nPANIC: file %s, line %d, failed to open file %s for write", __FILE_NAME__, __LINE__,
                       fileName);
    return fd;
}

/// Reads a part of a frame file; all parts have one message.
void readFrmPart(int fd, void *bytes, uint32_t byteCnt, const char *fileName) {
    if (!CmRteFileReadAll(fd, bytes, byteCnt))
        CmRteFileFatal("\n\nPANIC: file %s, line %d, failed to read port from file %s, "
                       "could be caused by either file corruption or version mismatch",
                       __FILE_NAME__, __LINE__, fileName);
}

} // namespace

void CmRteDump(CmRte *cmRtePtr, const char *fileName) {
    struct stat fileStat;
    if (lstat(fileName, &fileStat) == 0) {
        std::printf("INF: file %s, function %s, line %d, file %s exists -- delete it\n", __FILE_NAME__, __func__,
                    __LINE__, fileName);
        if (unlink(fileName) != 0)
            CmRteFileFatal("\n\nPANIC, file %s, function %s, line %d, failed to delete file %s", __FILE_NAME__,
                           __func__, __LINE__, fileName);
    }
    const int fd = CmRteFileOpen(true, fileName);
    if (fd < 0)
        CmRteFileFatal("\n\nPANIC, file %s, line %d, failed to open file %s for write", __FILE_NAME__, __LINE__,
                       fileName);

    CmRteFileWrite(fd, &kCmRteSiz, sizeof kCmRteSiz);
    const int logFd = cmRtePtr->logFd;
    cmRtePtr->logFd = 0;
    CmRteFileWrite(fd, cmRtePtr, kPlainBytes);
    const uint32_t engines[kEngineSlots] = {};
    CmRteFileWrite(fd, engines, sizeof engines);
    cmRtePtr->logFd = logFd;
    close(fd);
}

void CmRteLoad(CmRte *cmRtePtr, const char *fileName) {
    const int fd = openToRead(fileName);
    uint32_t cmRteSiz = 0;
    if (!CmRteFileReadAll(fd, &cmRteSiz, sizeof cmRteSiz))
        CmRteFileFatal("\n\nPANIC: file %s, line %d, failed to read cmRteSiz from file %s, "
                       "could be caused by either file corruption or version mismatch",
                       __FILE_NAME__, __LINE__, fileName);
    if (cmRteSiz != kCmRteSiz)
        CmRteFileFatal("\n\nPANIC: file %s, line %d, read from file %s             "
                       "cmRteSiz=%d different from expected value of %d,             "
                       "could be caused by either file corruption or version mismatch",
                       __FILE_NAME__, __LINE__, fileName, static_cast<int>(cmRteSiz), static_cast<int>(kCmRteSiz));

    ssize_t byteCnt = CmRteFileRead(fd, cmRtePtr, kPlainBytes);
    if (byteCnt == kPlainBytes) {
        uint32_t engines[kEngineSlots];
        const ssize_t engineBytes = CmRteFileRead(fd, engines, sizeof engines);
        byteCnt = engineBytes < 0 ? engineBytes : byteCnt + engineBytes;
    }
    if (byteCnt != kCmRteSiz)
        CmRteFileFatal("\n\nPANIC: file %s, line %d, read CmRte from file %s, "
                       "get %d bytes different from sizeof(CmRte)=%d, "
                       "could be caused by either file corruption or version mismatch",
                       __FILE_NAME__, __LINE__, fileName, static_cast<int>(byteCnt), static_cast<int>(kCmRteSiz));
    close(fd);
    std::printf("INF: CmRteLoad %s succeeded\n\n", fileName);
}

void CmRteRsltDump(const CmRteRslt *cmRteRsltPtr, const char *fileName) {
    const int fd = openToWrite(fileName);
    CmRteFileWrite(fd, &kRsltSiz, sizeof kRsltSiz);
    CmRteFileWrite(fd, cmRteRsltPtr, sizeof *cmRteRsltPtr);
    close(fd);
}

void CmRteRsltLoad(CmRteRslt *cmRteRsltPtr, const char *fileName) {
    const int fd = openToRead(fileName, "\n\n");
    uint32_t cmRteRsltSiz = 0;
    if (!CmRteFileReadAll(fd, &cmRteRsltSiz, sizeof cmRteRsltSiz))
        CmRteFileFatal("\n\nPANIC: file %s, line %d, failed to read cmRteRsltSiz from file %s, "
                       "could be caused by either file corruption or version mismatch",
                       __FILE_NAME__, __LINE__, fileName);
    if (cmRteRsltSiz != kRsltSiz)
        CmRteFileFatal("\n\nPANIC: file %s, line %d, read from file %s "
                       "cmRteRsltSiz=%d different from expected value of %d, "
                       "could be caused by either file corruption or version mismatch",
                       __FILE_NAME__, __LINE__, fileName, static_cast<int>(cmRteRsltSiz), static_cast<int>(kRsltSiz));
    const ssize_t byteCnt = CmRteFileRead(fd, cmRteRsltPtr, sizeof *cmRteRsltPtr);
    if (byteCnt != sizeof *cmRteRsltPtr)
        CmRteFileFatal("\n\nPANIC: file %s, line %d, read CmRteRslt from file %s, "
                       "get %d bytes different from sizeof(CmRteRslt)=%d, "
                       "could be caused by either file corruption or version mismatch",
                       __FILE_NAME__, __LINE__, fileName, static_cast<int>(byteCnt), static_cast<int>(kRsltSiz));
    close(fd);
}

void CmRteFrmDump(uint32_t port, const CmRteMacInf *macInfPtr, uint32_t frmLen, const uint8_t *frm,
                  const char *fileName) {
    const int fd = openToWrite(fileName);
    const uint32_t head[] = {port, macInfPtr->seqNumVld, macInfPtr->seqNum, macInfPtr->isPauseFrm, frmLen};
    CmRteFileWrite(fd, head, sizeof head);
    CmRteFileWrite(fd, frm, frmLen);
    close(fd);
}

void CmRteFrmLoad(const char *fileName, uint32_t *portPtr, uint32_t *frmLenPtr, uint8_t *frm) {
    const int fd = openToRead(fileName);
    readFrmPart(fd, portPtr, sizeof *portPtr, fileName);
    readFrmPart(fd, frmLenPtr, sizeof *frmLenPtr, fileName);
    if (*frmLenPtr > CM_RTE_FRM_MAX_LEN)
        CmRteFileFatal("\n\nPANIC: file %s, line %d, read from file %s frmLen=%d is out of range, "
                       "could be caused by either file corruption or version mismatch",
                       __FILE_NAME__, __LINE__, fileName, static_cast<int>(*frmLenPtr));
    readFrmPart(fd, frm, *frmLenPtr, fileName);
    close(fd);
}
