#pragma once
// Assertions that stand in every build: a failed one is a stop (cmStop.h), and as such ends the process by abort.

/// Stops with the failed `expr` and its place. Where stops end the process, it flushes what was printed so far, says
/// them on standard error, and aborts.
[[noreturn]] void CmAssertFail(const char *expr, const char *file, int line, const char *func);

#define CM_ASSERT_TXT(cond, txt)                                                                                       \
    do {                                                                                                               \
        if (!(cond))                                                                                                   \
            CmAssertFail(txt, __FILE_NAME__, __LINE__, __PRETTY_FUNCTION__);                                           \
    } while (0)
#define CM_ASSERT(cond) CM_ASSERT_TXT(cond, #cond)
