#pragma once
// What several stages ask of a frame's record.

#include "base/cmRte.h"
#include "base/cmRteVerdict.h"

/// Flags of the TCP header as bit numbers of `l4TcpFlags`.
enum TcpFlag : unsigned { TCP_FIN = 0, TCP_SYN = 1, TCP_RST = 2, TCP_PSH = 3, TCP_ACK = 4, TCP_URG = 5 };

inline bool isIpv4(const CmRteStat *statPtr) {
    return statPtr->l3IpVer == 4;
}
inline bool isIpv6(const CmRteStat *statPtr) {
    return statPtr->l3IpVer == 6;
}
inline bool isIp(const CmRteStat *statPtr) {
    return isIpv4(statPtr) || isIpv6(statPtr);
}
/// Whether layer 3 treats the frame as FCoE; IP comes first.
inline bool isFcoe(const CmRteStat *statPtr) {
    return !isIp(statPtr) && statPtr->l2FcoeFound;
}

/// Whether the parser, or a check behind it, has condemned the frame at layer 2.
inline bool prcVerdict(const CmRteStat *statPtr) {
    return statPtr->l2PrcTrap || statPtr->l2PrcDrop;
}
/// Whether the parser has neither a trap nor a drop reason for layer 3.
inline bool prcL3NoRsn(const CmRteStat *statPtr) {
    return statPtr->l3PrcTrapRsn == kNoRsn && statPtr->l3PrcDropRsn == kNoRsn;
}
