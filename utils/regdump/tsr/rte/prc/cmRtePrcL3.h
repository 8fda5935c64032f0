#pragma once
// The layer-3 verdict of the parser: the moves that the IPv4, the IPv6 and the FCoE parser share.

#include "base/cmRteFrm.h"

/// Bytes of a PIM register header: the encapsulated packet begins behind them.
inline constexpr uint32_t kPimRegHdrLen = 8;

/// The layer-3 errors that the parser finds; cmRtePrcL3Ck.def has what each does.
enum PRC_L3_CK : uint32_t {
#define L3_CK(name, ...) L3_CK_##name,
#define L3_CK_NO_CK(name, ...) L3_CK_##name,
#define L3_CK_NO_DROP(name, ...) L3_CK_##name,
#include "prc/cmRtePrcL3Ck.def"
};

/// What became of an error that was seen in the frame.
enum PRC_L3_CK_RSLT {
    L3_CK_OFF,    // the check register is 0: no error
    L3_CK_STANDS, // another verdict stands that this one may not replace
    L3_CK_STORED, // it is the verdict now
};

/// Treats the error `ck` that was seen in the frame as its row says: stores the verdict, latches it, writes its line.
/// `isPimInner` tells a row that latches there whether the error lies behind a PIM register header.
PRC_L3_CK_RSLT prcL3Ck(CmRteStat *statPtr, PRC_L3_CK ck, uint32_t isPimInner = 0);

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
