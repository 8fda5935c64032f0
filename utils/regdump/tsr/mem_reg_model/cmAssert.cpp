#include "cmAssert.h"

#include <cstdio>
#include <cstdlib>

void CmAssertFail(const char *expr, const char *file, int line, const char *func) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s:%d: %s: Assertion `%s' failed.\n", file, line, func, expr);
    std::abort();
}
