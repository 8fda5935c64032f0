#include "base/tbMsg.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace {

char baseStr[8192];
int debugEna = 1;
int exitOnErr = 1;
int stopOnErr = 0;
int suppressMsg = 0;
char *argv0 = nullptr;
int errCnt = 0;
int wrnCnt = 0;
int exit_on_error = 0;

const char kStackTraceFile[] = ".StackTraceGdbCmd";

} // namespace

void TbMsg(TB_MSG_TYPE type, const char *func, const char *file, int line, const char *format, ...) {
    if (*format == '\0')
        return;
    if (type == TB_MSG_DEBUG && debugEna == 0)
        return;
    va_list args;
    va_start(args, format);
    std::vsnprintf(baseStr, sizeof baseStr, format, args);
    va_end(args);

    // "xx" and "xxx" stand where a date and a time once were.
    switch (type) {
    case TB_MSG_PANIC:
        stopOnErr = 0;
        exitOnErr = 1;
        std::printf("[PANIC@%s:%d, %s; @%s, %s] %s\n", file, line, func, "xx", "xxx", baseStr);
        Exit_(1);
        break;
    case TB_MSG_ERROR:
        errCnt++;
        std::printf("[ERROR%d@%s:%d, %s; @%s, %s] %s\n", errCnt, file, line, func, "xx", "xxx", baseStr);
        if (exit_on_error)
            Exit_(1);
        break;
    case TB_MSG_WARN:
        wrnCnt++;
        std::printf("[WRN@%s:%d, %s; @%s, %s] %s", file, line, func, "xx", "xxx", baseStr);
        break;
    case TB_MSG_DEBUG:
        std::printf("[DBG@%s:%d, %s; @%s, %s] %s", file, line, func, "xx", "xxx", baseStr);
        break;
    case TB_MSG_INFO:
        std::printf("[%s:%d, %s; @%s, %s]: %s", file, line, func, "xx", "xxx", baseStr);
        break;
    case TB_MSG_PRINT:
        std::fputs(baseStr, stdout);
        break;
    }
}

void TbMsgSetArgv0(char *argv0_) {
    argv0 = argv0_;
}
char *TbMsgGetArgv0(void) {
    return argv0;
}

int TbMsgGetErrCnt(void) {
    return errCnt;
}
int TbMsgGetWrnCnt(void) {
    return wrnCnt;
}

void TbMsgSetSuppressMsg(int ena) {
    suppressMsg = ena;
}
int TbMsgGetSuppressMsg(void) {
    return suppressMsg;
}
int TbMsgGetMsgEnable(void) {
    return !suppressMsg;
}

void TbMsgSetDebugEna(int ena) {
    debugEna = ena;
}
int TbMsgGetDebugEna(void) {
    return debugEna;
}

void TbMsgSetStopOnErr(int ena) {
    stopOnErr = ena;
}
int TbMsgGetStopOnErr(void) {
    return stopOnErr;
}

void TbMsgSetExitOnErr(int ena) {
    exitOnErr = ena;
}
int TbMsgGetExitOnErr(void) {
    return exitOnErr;
}

void Prt(const char *name, uint32_t value) {
    std::printf("%-30s = 0x%08x\n", name, value);
}

void Exit_(int ret) {
    // Despite the name the process goes on, and the status is not used.
    (void)ret;
    if ((exitOnErr || stopOnErr) && argv0)
        TbStackTrace();
}

void TbStackTrace(void) {
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
