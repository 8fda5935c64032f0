#include "base/tbMsg.h"

#include "base/cmOut.h"
#include "base/cmRteState.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace {

const char kStackTraceFile[] = ".StackTraceGdbCmd";

} // namespace

void TbMsg(TB_MSG_TYPE type, const char *func, const char *file, int line, const char *format, ...) {
    if (*format == '\0')
        return;
    CmRteMsg &msg = cmState().msg;
    if (type == TB_MSG_DEBUG && msg.debugEna == 0)
        return;
    char baseStr[8192] = "";
    if (!cmSilent()) {
        va_list args;
        va_start(args, format);
        std::vsnprintf(baseStr, sizeof baseStr, format, args);
        va_end(args);
    }

    // "xx" and "xxx" stand where a date and a time once were.
    switch (type) {
    case TB_MSG_PANIC:
        msg.stopOnErr = 0;
        msg.exitOnErr = 1;
        cmPrintf("[PANIC@%s:%d, %s; @%s, %s] %s\n", file, line, func, "xx", "xxx", baseStr);
        Exit_(1);
        break;
    case TB_MSG_ERROR:
        msg.errCnt++;
        cmPrintf("[ERROR%d@%s:%d, %s; @%s, %s] %s\n", msg.errCnt, file, line, func, "xx", "xxx", baseStr);
        break;
    case TB_MSG_WARN:
        msg.wrnCnt++;
        cmPrintf("[WRN@%s:%d, %s; @%s, %s] %s", file, line, func, "xx", "xxx", baseStr);
        break;
    case TB_MSG_DEBUG:
        cmPrintf("[DBG@%s:%d, %s; @%s, %s] %s", file, line, func, "xx", "xxx", baseStr);
        break;
    case TB_MSG_INFO:
        cmPrintf("[%s:%d, %s; @%s, %s]: %s", file, line, func, "xx", "xxx", baseStr);
        break;
    case TB_MSG_PRINT:
        cmPrintf("%s", baseStr);
        break;
    }
}

void TbMsgSetArgv0(char *argv0_) {
    cmState().msg.argv0 = argv0_;
}
char *TbMsgGetArgv0(void) {
    return cmState().msg.argv0;
}

int TbMsgGetErrCnt(void) {
    return cmState().msg.errCnt;
}
int TbMsgGetWrnCnt(void) {
    return cmState().msg.wrnCnt;
}

void TbMsgSetSuppressMsg(int ena) {
    cmState().msg.suppressMsg = ena;
}
int TbMsgGetSuppressMsg(void) {
    return cmState().msg.suppressMsg;
}
int TbMsgGetMsgEnable(void) {
    return !cmState().msg.suppressMsg;
}

void TbMsgSetDebugEna(int ena) {
    cmState().msg.debugEna = ena;
}
int TbMsgGetDebugEna(void) {
    return cmState().msg.debugEna;
}

void TbMsgSetStopOnErr(int ena) {
    cmState().msg.stopOnErr = ena;
}
int TbMsgGetStopOnErr(void) {
    return cmState().msg.stopOnErr;
}

void TbMsgSetExitOnErr(int ena) {
    cmState().msg.exitOnErr = ena;
}
int TbMsgGetExitOnErr(void) {
    return cmState().msg.exitOnErr;
}

void Prt(const char *name, uint32_t value) {
    cmPrintf("%-30s = 0x%08x\n", name, value);
}

void Exit_(int ret) {
    // Despite the name the process goes on, and the status is not used.
    (void)ret;
    const CmRteMsg &msg = cmState().msg;
    if ((msg.exitOnErr || msg.stopOnErr) && msg.argv0)
        TbStackTrace();
}

void TbStackTrace(void) {
    const char *argv0 = cmState().msg.argv0;
    if (!argv0)
        return;
    std::fflush(stdout);
    std::fflush(stderr);
    if (FILE *script = std::fopen(kStackTraceFile, "w")) {
        std::fputs("backtrace\ndetach\n", script);
        std::fclose(script);
    }
    const std::string command = std::string("`which gdb` -batch -n -x ") + kStackTraceFile + " `which " + argv0 +
                                "` --pid=" + std::to_string(getpid());
    if (std::system(command.c_str()) != 0) {
        // A failure of the debugger is ignored.
    }
    std::remove(kStackTraceFile);
}
