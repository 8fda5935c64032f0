// Replay of a run log.

#include "log/cmRteDump.h"
#include "log/cmRteLog.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>
#include <vector>

namespace {

/// The place of the frame that is replayed, kept from frame to frame; the frame driver clears up to 32 bytes behind it.
uint8_t *frmBuf() {
    static std::vector<uint8_t> buf(CM_RTE_FRM_MAX_LEN + 32);
    return buf.data();
}

/// A frame must be followed by its result.
void ckPending(bool frmPending, uint32_t cmd, const char *logFileName) {
    if (frmPending && cmd != CM_RTE_LOG_CMD_RSLT) {
        std::fprintf(stderr, "PANIC: failed to extract expected CMD_RSLT, log file %s is corrupted\n", logFileName);
        std::exit(1);
    }
}

void rerunWr(CmRte *cmRtePtr, int fd, const char *logFileName, bool ckRslt) {
    uint32_t addr = 0, data = 0;
    int ret = 0;
    CmRteLogGetWr(fd, logFileName, &addr, &data, &ret);
    const int cmWrRet = CmRteHsiWr(cmRtePtr, addr, data);
    if (ckRslt && cmWrRet != ret) {
        std::fprintf(stderr, "ERROR: HSI, WR, addr=0x%x, data=0x%x, ret=%d != cmWrRet=%d, log file %s is corrupted\n",
                     addr, data, ret, cmWrRet, logFileName);
        std::exit(1);
    }
}

void rerunRd(CmRte *cmRtePtr, int fd, const char *logFileName, bool ckRslt) {
    uint32_t addr = 0, data = 0;
    int ret = 0;
    CmRteLogGetRd(fd, logFileName, &addr, &data, &ret);
    uint32_t cmRdData = 0;
    const int cmRdRet = CmRteHsiRd(cmRtePtr, addr, &cmRdData);
    if (ckRslt && (cmRdData != data || cmRdRet != ret)) {
        std::fprintf(stderr,
                     "ERROR: @%s:%d, HSI, RD, addr=0x%x, data=0x%x, ret=%d != cmRdData=0x%x, cmRdRet=%d, "
                     "log file %s is corrupted\n",
                     __FILE_NAME__, __LINE__, addr, data, ret, cmRdData, cmRdRet, logFileName);
        std::exit(1);
    }
}

void ckFrmRslt(CmRteRslt *cmRslt, int cmRsltRet, CmRteRslt *logRslt, int logRsltRet) {
    const bool rsltDiffers = std::memcmp(cmRslt, logRslt, sizeof *cmRslt) != 0;
    if (!rsltDiffers && cmRsltRet == logRsltRet)
        return;
    std::fprintf(stderr, "ERROR: @%s:%d, cmRslt != logRslt; cmRsltRet=%d, logRsltRet=%d\n", __FILE_NAME__, __LINE__,
                 cmRsltRet, logRsltRet);
    if (rsltDiffers)
        CmRteLogDiffRslt(logRslt, cmRslt);
    std::exit(1);
}

} // namespace

void CmRteLogRerun(CmRte *cmRtePtr, const char *logFileName, int /*prtCmd*/, int ckRslt) {
    const int fd = CmRteLogOpen(0, logFileName);
    CmRteRslt cmRslt{};
    int cmRsltRet = 0;
    bool end = false;
    bool frmPending = false;
    for (;;) {
        const uint32_t cmd = CmRteLogGetCmd(fd, logFileName);
        ckPending(frmPending, cmd, logFileName);
        if (end) {
            std::printf("INF: rerun log dump %s succeeded\n\n", logFileName);
            close(fd);
            return;
        }
        switch (cmd) {
        case CM_RTE_LOG_CMD_END:
            end = true; // takes effect behind the next command word
            break;
        case CM_RTE_LOG_CMD_WR:
            rerunWr(cmRtePtr, fd, logFileName, ckRslt != 0);
            break;
        case CM_RTE_LOG_CMD_RD:
            rerunRd(cmRtePtr, fd, logFileName, ckRslt != 0);
            break;
        case CM_RTE_LOG_CMD_FRM: {
            uint32_t port = 0, frmLen = 0;
            CmRteMacInf macInf{};
            CmRteLogGetFrm(fd, logFileName, &port, &macInf, &frmLen, frmBuf());
            cmRsltRet = CmRteProc(port, cmRtePtr, &macInf, frmLen, frmBuf(), &cmRslt, 0);
            frmPending = true;
            break;
        }
        case CM_RTE_LOG_CMD_RSLT: {
            CmRteRslt logRslt{};
            int logRsltRet = 0;
            CmRteLogGetRslt(fd, logFileName, &logRslt, &logRsltRet);
            if (ckRslt)
                ckFrmRslt(&cmRslt, cmRsltRet, &logRslt, logRsltRet);
            frmPending = false;
            break;
        }
        default: // an unknown command is this word alone
            break;
        }
    }
}

void CmRteCaptureFrm(CmRte *cmRtePtr, CmRteMacInf *macInfPtr, const char *logFileName, uint32_t portIdx,
                     uint32_t frmIdx) {
    // Room for any two numbers.
    char fileName[40];
    const auto nameOf = [&](char kind, const char *suffix) {
        std::snprintf(fileName, sizeof fileName, "%c_p%02d_f%02d.%s", kind, static_cast<int>(portIdx),
                      static_cast<int>(frmIdx), suffix);
        return fileName;
    };

    const int fd = CmRteLogOpen(0, logFileName);
    uint32_t frmCnt = 0; // frames of the port that ran
    CmRteRslt cmRslt{};
    CmRteRslt logRslt{};
    bool frmPending = false;
    bool found = false;
    bool done = false;
    while (!done) {
        const uint32_t cmd = CmRteLogGetCmd(fd, logFileName);
        ckPending(frmPending, cmd, logFileName);
        switch (cmd) {
        case CM_RTE_LOG_CMD_END:
            if (!found) {
                std::fprintf(stderr, "ERROR: @%s:%d, couldn't extract frame with portIdx=%d, frmIdx=%d\n\n",
                             __FILE_NAME__, __LINE__, static_cast<int>(portIdx), static_cast<int>(frmIdx));
                std::exit(1);
            }
            break;
        case CM_RTE_LOG_CMD_WR:
            rerunWr(cmRtePtr, fd, logFileName, false);
            break;
        case CM_RTE_LOG_CMD_RD:
            rerunRd(cmRtePtr, fd, logFileName, false);
            break;
        case CM_RTE_LOG_CMD_FRM: {
            uint32_t port = 0, frmLen = 0;
            CmRteLogGetFrm(fd, logFileName, &port, macInfPtr, &frmLen, frmBuf());
            if (port == portIdx && frmCnt == frmIdx) {
                CmRteDump(cmRtePtr, nameOf('s', "sdb"));
                CmRteFrmDump(port, macInfPtr, frmLen, frmBuf(), nameOf('f', "fdb"));
                found = true;
            }
            CmRteProc(port, cmRtePtr, macInfPtr, frmLen, frmBuf(), &cmRslt, 0);
            if (port == portIdx)
                frmCnt++;
            frmPending = true;
            break;
        }
        case CM_RTE_LOG_CMD_RSLT: {
            int logRsltRet = 0;
            CmRteLogGetRslt(fd, logFileName, &logRslt, &logRsltRet);
            frmPending = false;
            done = found;
            break;
        }
        default:
            break;
        }
    }
    close(fd);
    CmRteRsltDump(&logRslt, nameOf('r', "rdb"));
    std::printf("INF: portIdx=%d, frmIdx=%d, frame extraction succeeded\n\n", static_cast<int>(portIdx),
                static_cast<int>(frmIdx));
}
