#include "base/cmRte.h"

CmRte *rte_mem = nullptr;

uint32_t RTE_L2_CHS_MAC_HI[128];
uint32_t RTE_L2_CHS_MAC_LO[128];

/// The one per-frame record: the model runs one frame at a time.
static CmRteStat stat;

CmRteStat *CmRteGetStat(void) {
    return &stat;
}
