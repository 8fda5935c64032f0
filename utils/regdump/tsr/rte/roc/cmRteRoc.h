#pragma once
// The result stage (ROC): what its sources call of each other.

#include "base/cmRte.h"
#include "base/cmRteVerdict.h"

/// Runs the layer-2 filters of the result, then those of layer 3.
void LuRocPselFlt(CmRteStat *statPtr);
void LuL3PselFlt(CmRteStat *statPtr);

/// Chooses the frame's policer: `finalPolId` and `finalPolEn`.
void policerParams(CmRteStat *statPtr, CmRteRslt *rsltPtr);
/// Polices the frame by the model's fixed rule: drop precedence, code point and priority before the policer go in, the
/// final ones stand in the record.
void PolicerRun(CmRteStat *statPtr, CmRteRslt *rsltPtr, uint32_t dp, uint32_t dscp, uint32_t iwqos);

/// Tail drop by the ingress queues, and by the back-plane queues for a trapped copy.
void TailDrop(CmRteStat *statPtr, CmRteRslt *rsltPtr);
void BpTailDrop(CmRteStat *statPtr, CmRteRslt *rsltPtr);

/// Count the frame by its drop reason, and by its layer-3 multipath group.
void IncrDrpSts(CmRteStat *statPtr);
void IncrL3MpSts(CmRteStat *statPtr);

/// The final rule for special egids, on the composed result.
void checkFinalEgid(CmRteStat *statPtr, CmRteRslt *rsltPtr);
/// The TRILL hop count rule on the composed result.
void L2TrillTtlFlt(CmRteStat *statPtr, CmRteRslt *rsltPtr);

/// Frames until the next sFlow sample, about `tcnt`, and the next state of the pseudo-random sequence.
uint32_t CmGetSflwCntInit(uint32_t tcnt, uint32_t lfsr);
uint32_t CmRteLfsr(uint32_t v);
