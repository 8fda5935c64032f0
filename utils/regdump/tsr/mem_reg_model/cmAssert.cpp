#include "cmAssert.h"

#include "cmStop.h"

#include <cstdio>
#include <cstdlib>
#include <string>

void CmAssertFail(const char *expr, const char *file, int line, const char *func) {
    cmStop(std::string(file) + ":" + std::to_string(line) + ": " + func + ": Assertion `" + expr + "' failed.");
    std::fflush(stdout);
    std::fprintf(stderr, "%s:%d: %s: Assertion `%s' failed.\n", file, line, func, expr);
    std::abort();
}
