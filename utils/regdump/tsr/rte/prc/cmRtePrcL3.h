#pragma once
// The layer-3 verdict of the parser: the moves that the IPv4 and the IPv6 parser share.

#include "base/cmRteFrm.h"

/// Bytes of a PIM register header: the encapsulated packet begins behind them.
inline constexpr uint32_t kPimRegHdrLen = 8;

/// One layer-3 error as the chip is set up for it: does it exist (`ck`), is it a trap or a drop (`trap`), and what is
/// stored then.
struct PrcL3Err {
    uint32_t ck;
    uint32_t trap;
    uint32_t trapQue;
    uint32_t trapRsn;
    uint32_t dropRsn;
};

/// Records an error that was seen in the frame. Only the first error may set the verdict. Returns true when this one
/// did.
inline bool prcL3Record(CmRteStat *statPtr, const PrcL3Err &err) {
    if (!err.ck || !prcL3NoRsn(statPtr))
        return false;
    if (err.trap) {
        statPtr->l3PrcTrapQue = err.trapQue;
        statPtr->l3PrcTrapRsn = err.trapRsn;
    } else {
        statPtr->l3PrcDropRsn = err.dropRsn;
    }
    return true;
}

/// The same for an error that the IHL-6 check may replace when it lies in the header behind a PIM register header.
inline bool prcL3RecordLatched(CmRteStat *statPtr, uint32_t isPimInner, const PrcL3Err &err) {
    if (!prcL3Record(statPtr, err))
        return false;
    if (isPimInner)
        statPtr->l3Ipv4Ihl6ErrCanWin = err.trap ? err.trapRsn : err.dropRsn;
    return true;
}

/// Stores an error as the verdict in place of whatever stood there; `err.ck` is not looked at.
inline void prcL3Replace(CmRteStat *statPtr, const PrcL3Err &err) {
    statPtr->l3PrcDropRsn = err.trap ? kNoRsn : err.dropRsn;
    statPtr->l3PrcTrapQue = err.trap ? err.trapQue : 0;
    statPtr->l3PrcTrapRsn = err.trap ? err.trapRsn : kNoRsn;
}

/// True when the verdict of a failed header or PIM checksum stands: nothing replaces it.
bool prcL3CksumStands(const CmRteStat *statPtr);

/// The Internet checksum's folding: true when the 16-bit words that were added to `sum` do not check.
inline bool prcCksumBad(uint32_t sum) {
    sum = (sum >> 16) + (sum & 0xffff);
    sum = (sum >> 16) + (sum & 0xffff);
    return sum != 0xffff;
}

/// The chip finds the end of the frame before it has finished a PIM checksum whose result would come at frame offset
/// `l4Offset` + 20: true, with a trace line, for a frame that ends there.
bool prcPimCksumPastEof(const CmRteStat *statPtr);
