#include "base/cmRteAbort.h"

#include "base/cmRte.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

/// Ends the process as the model does, with its standard output where the test can read it.
[[noreturn]] void abortShown(const char *file, int line, const char *msg) {
    std::fflush(stdout);
    dup2(STDERR_FILENO, STDOUT_FILENO);
    CmRteAbort_(file, line, msg);
}

TEST(CmRteAbort, NamesPlaceAndFrameAndEndsWithStatusOne) {
    CmRteGetStat()->ingPhyPort = 3;
    CmRteGetStat()->frmIdx = 7;
    EXPECT_EXIT(abortShown("stage.cpp", 42, "reason\n"), testing::ExitedWithCode(1),
                "^\n\n============================================================\n"
                "@stage.cpp:42, portIdx = 3, frmIdx = 7\n"
                "reason\n"
                "\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\."
                "\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\\.\n"
                "C MODEL CAN NOT PREDICT RESULT RELIABLY\n"
                "EITHER MODIFY THE TEST TO AVOID THE SCENARIO OR MANUALLY \n"
                "INSPECT THE WAVEDUMP AND INGORE THE FAILURE\n"
                "============================================================\n\n$");
}

TEST(CmRteAbort, EndsAQuietRunToo) {
    CmRteGetStat()->dbgLvl = 0;
    EXPECT_EXIT(abortShown("stage.cpp", 1, ""), testing::ExitedWithCode(1), "C MODEL CAN NOT PREDICT");
}

} // namespace
