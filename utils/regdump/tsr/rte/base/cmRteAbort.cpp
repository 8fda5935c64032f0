#include "base/cmRteAbort.h"

#include "base/cmRte.h"
#include "cmStop.h"

#include <cstdio>
#include <cstdlib>
#include <string>

void CmRteAbort_(const char *file, int line, const char *msg) {
    cmStop(std::string(file) + ":" + std::to_string(line) + ": " + msg);
    const CmRteStat *statPtr = CmRteGetStat();
    std::printf("\n\n============================================================\n"
                "@%s:%d, portIdx = %d, frmIdx = %d\n%s"
                "............................................................\n"
                "C MODEL CAN NOT PREDICT RESULT RELIABLY\n"
                "EITHER MODIFY THE TEST TO AVOID THE SCENARIO OR MANUALLY \n"
                "INSPECT THE WAVEDUMP AND INGORE THE FAILURE\n"
                "============================================================\n\n",
                file, line, static_cast<int>(statPtr->ingPhyPort), static_cast<int>(statPtr->frmIdx), msg);
    std::exit(1);
}
