#pragma once
// Layer-3 path selection: what the layer-3 lookups call of it.

#include "cmRte.h"
#include "cmTfe.h"

/// Take the result word of a longest-prefix search for the destination or the source, whether it hit or not.
void L3IpDaRslt(CmRteStat *statPtr, const TFE_LUE_RSLT *rsltPtr);
void L3IpSaRslt(CmRteStat *statPtr, const TFE_LUE_RSLT *rsltPtr);
