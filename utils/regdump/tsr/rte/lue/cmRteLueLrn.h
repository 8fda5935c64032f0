#pragma once
// What the lookup stage does once the result is known: learning, the TRILL hop count, and the counters of the path that
// the frame takes. The result stage calls these, and nothing else of this stage.

#include "base/cmRte.h"

// cmRteLueL2Lrn
void L2Lrn(CmRteStat *statPtr);
void L2DaLrn(CmRteStat *statPtr);

// cmRteLueTrill
void TrillTtlAndLrnEnCheck(CmRteStat *statPtr, uint32_t rslt_typ, uint32_t egid_mgid, uint32_t is_mgid);

// cmRteLueL2Mp
/// Count the frame at an address of the path memories.
void LagSts(uint32_t lag_addr, CmRteStat *statPtr);
void L2MpidSts(uint32_t mp_addr, CmRteStat *statPtr);
void MctMpSts(uint32_t mct_addr, CmRteStat *statPtr);
