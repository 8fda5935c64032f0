#pragma once
// The one message function of the model, and the trace macro through which the stages call it.

#include <cstdint>

enum TB_MSG_TYPE {
    TB_MSG_PANIC = 0,
    TB_MSG_ERROR = 1,
    TB_MSG_WARN = 2,
    TB_MSG_DEBUG = 3,
    TB_MSG_INFO = 4,
    TB_MSG_PRINT = 5,
};

/// Prints one message of up to 8191 characters on standard output in the form of its type; an empty `format` does
/// nothing. `func`, `file` and `line` name the caller.
void TbMsg(TB_MSG_TYPE type, const char *func, const char *file, int line, const char *format, ...)
    __attribute__((format(printf, 5, 6)));

/// The form of a result's field on a line of its own: the name, with blanks to 20 columns, and the value.
constexpr char TB_MSG_FIELD[] = "    %-20s= %8x\n";

/// The program's name for a stack trace; null until set, which turns the stack trace off.
void TbMsgSetArgv0(char *argv0_);
char *TbMsgGetArgv0(void);

/// Errors and warnings printed so far.
int TbMsgGetErrCnt(void);
int TbMsgGetWrnCnt(void);

/// A flag that callers keep here; TbMsg itself does not look at it. TbMsgGetMsgEnable is its inverse.
void TbMsgSetSuppressMsg(int ena);
int TbMsgGetSuppressMsg(void);
int TbMsgGetMsgEnable(void);

/// Lets TB_MSG_DEBUG through.
void TbMsgSetDebugEna(int ena);
int TbMsgGetDebugEna(void);

/// Whether Exit_ prints a stack trace.
void TbMsgSetStopOnErr(int ena);
int TbMsgGetStopOnErr(void);
void TbMsgSetExitOnErr(int ena);
int TbMsgGetExitOnErr(void);

/// Prints a stack trace when one is asked for and argv0 is known, and returns: the process goes on.
void Exit_(int ret);

/// Has a debugger print the stack of this process; does nothing while argv0 is null.
void TbStackTrace(void);

/// Prints one named value of a block of the trace.
void Prt(const char *name, uint32_t value);

/// Prints `fmt` (a literal) as it stands when the frame's debug level is above `level`. Needs `statPtr` in scope.
#define CM_TRACE_RAW(level, fmt, ...)                                                                                  \
    do {                                                                                                               \
        if (statPtr->dbgLvl > (level))                                                                                 \
            TbMsg(TB_MSG_PRINT, __func__, __FILE_NAME__, __LINE__, fmt __VA_OPT__(, ) __VA_ARGS__);                    \
    } while (0)

/// The same behind the prefix that names port and frame.
#define CM_TRACE(level, fmt, ...)                                                                                      \
    CM_TRACE_RAW(level, "CM port=%u, frameIdx=%u>> " fmt, statPtr->ingPhyPort,                                         \
                 statPtr->frmIdx __VA_OPT__(, ) __VA_ARGS__)
