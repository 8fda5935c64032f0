#pragma once
// What the layer-3 stages share: the classifications and key builders that the path selection calls, and the two
// operations by which it takes the results of the prefix search.

#include "base/cmRte.h"
#include "tfe/cmTfe.h"

// Classification.

/// Reads the VRF of the frame's VLAN.
void L3VrfLu(CmRteStat *statPtr);
/// Reads the customer group of the frame's VLAN.
void L3CugidLu(CmRteStat *statPtr);
/// A prefix search for the frame, on the reshuffled `key`, for its DA (`isDa` 1) or SA (0). The caller sets the
/// protocol.
TFE_LUE_INPUT lpmInput(const CmRteStat *statPtr, const uint32_t *key, uint32_t isDa);
/// Takes back the trap of an IP frame whose port does not route its protocol.
void L3IpNotEnRst(CmRteStat *statPtr);
/// The control classification: drop, trap, forward, or trap and forward by VLAN and control TCAM, merged into the path
/// result. A flex key selection above 1 aborts the process.
void L3CtrlCls(CmRteStat *statPtr);

// Keys of the layer-3 ACL. A frame that is neither IP nor FCoE leaves `key` as it is.

/// Writes the fixed key as the TCAM compares it: 16 words for IPv6, else 8.
void buildL3AclTcamKey(CmRteStat *statPtr, uint32_t *key);
/// Writes the 8 words of the flex key `profile` (0 to 3), in plain order.
void buildL3AclTcamFlexKey(CmRteStat *statPtr, uint32_t *key, uint32_t profile);
/// Writes the exact-match key: 3 words for IPv4, 9 for IPv6, none for others.
void buildL3PSelExmKey(CmRteStat *statPtr, uint32_t *key);
/// The two words at `key` as one value, the first one high.
uint64_t Comb2Dw(const uint32_t *key);

// Results of the prefix search, of a hit or the default word, taken over by the path selection.

void L3IpDaRslt(CmRteStat *statPtr, const TFE_LUE_RSLT *rslt);
void L3IpSaRslt(CmRteStat *statPtr, const TFE_LUE_RSLT *rslt);
