// The layer-3 verdict of the parser: what the IPv4, the IPv6 and the FCoE parser share.

#include "prc/cmRtePrcL3.h"

#include "base/tbMsg.h"
#include "prc/cmRtePrc.h"

#include <algorithm>

namespace {

/// In place of what a verdict may be stored, what it voids of that, and when it is latched.
enum L3_OVER { OVER_NONE, OVER_LATCHED, OVER_NOT_CKSUM, OVER_ANY };
enum L3_VOID { VOID_NONE, VOID_RSN, VOID_ALL };
enum L3_LATCH { LATCH_NEVER, LATCH_INNER, LATCH_ALWAYS };

using PortReg = uint32_t CmRteHsiPortReg::*;
using ComReg = uint32_t CmRteHsiComReg::*;

struct CkRow {
    L3_OVER over;
    L3_VOID voids;
    L3_LATCH latch;
    PortReg ck;   // null: nothing excuses the error
    PortReg trap; // null: always a trap
    ComReg que;
    uint32_t trapRsn;
    uint32_t dropRsn;
    const char *trapText;
    const char *dropText;
};

constexpr CkRow kCkRows[] = {
#define L3_CK(name, over, voids, latch, ck, trap, que, trapRsn, dropRsn, trapText, dropText)                           \
    {over,    voids,    latch,   &CmRteHsiPortReg::ck, &CmRteHsiPortReg::trap, &CmRteHsiComReg::que, trapRsn,          \
     dropRsn, trapText, dropText},
#define L3_CK_NO_CK(name, over, voids, latch, trap, que, trapRsn, dropRsn, trapText, dropText)                         \
    {over, voids, latch, nullptr, &CmRteHsiPortReg::trap, &CmRteHsiComReg::que, trapRsn, dropRsn, trapText, dropText},
#define L3_CK_NO_DROP(name, over, voids, latch, ck, que, trapRsn)                                                      \
    {over, voids, latch, &CmRteHsiPortReg::ck, nullptr, &CmRteHsiComReg::que, trapRsn, kNoRsn, "", ""},
#include "prc/cmRtePrcL3Ck.def"
};

/// The trap reasons, and the drop reasons, that the IHL-6 check may replace when they were latched.
constexpr bool isLatchTrapRsn(uint32_t rsn) {
    return rsn == TRP_IP_HDR_VIO || rsn == TRP_IP_TTL || rsn == TRP_IP_DA_MCAST || rsn == TRP_IP_SA_MCAST ||
           rsn == TRP_IP_PIM_NULL;
}
constexpr bool isLatchDropRsn(uint32_t rsn) {
    return rsn == DRP_IP_HDR || rsn == DRP_IP_TTL || rsn == DRP_IP_DA_MCAST || rsn == DRP_IP_SA_MCAST ||
           rsn == DRP_IP_PIM_NULL;
}

// A verdict without a reason would be none, and a latch of another reason would have no effect.
static_assert(std::ranges::all_of(kCkRows, [](const CkRow &row) {
    return row.trapRsn != kNoRsn && (!row.trap || row.dropRsn != kNoRsn);
}));
static_assert(std::ranges::all_of(kCkRows, [](const CkRow &row) {
    return row.latch == LATCH_NEVER || (isLatchTrapRsn(row.trapRsn) && isLatchDropRsn(row.dropRsn));
}));

/// Whether nothing stands, or only the error that was latched last.
bool latchedAtMost(const CmRteStat *statPtr) {
    const uint32_t trapRsn = statPtr->l3PrcTrapRsn;
    const uint32_t dropRsn = statPtr->l3PrcDropRsn;
    const uint32_t latched = statPtr->l3Ipv4Ihl6ErrCanWin;
    return (trapRsn == kNoRsn || (isLatchTrapRsn(trapRsn) && trapRsn == latched)) &&
           (dropRsn == kNoRsn || (isLatchDropRsn(dropRsn) && dropRsn == latched));
}

bool mayStore(const CmRteStat *statPtr, L3_OVER over) {
    switch (over) {
    case OVER_NONE:
        return prcL3NoRsn(statPtr);
    case OVER_LATCHED:
        return latchedAtMost(statPtr);
    case OVER_NOT_CKSUM:
        return !prcL3CksumStands(statPtr);
    case OVER_ANY:
        break;
    }
    return true;
}

void storeTrap(CmRteStat *statPtr, const CkRow &row) {
    statPtr->l3PrcTrapQue = statPtr->comRegPtr->*row.que;
    statPtr->l3PrcTrapRsn = row.trapRsn;
    if (row.voids != VOID_NONE)
        statPtr->l3PrcDropRsn = kNoRsn;
}

void storeDrop(CmRteStat *statPtr, const CkRow &row) {
    statPtr->l3PrcDropRsn = row.dropRsn;
    if (row.voids != VOID_NONE)
        statPtr->l3PrcTrapRsn = kNoRsn;
    if (row.voids == VOID_ALL)
        statPtr->l3PrcTrapQue = 0;
}

} // namespace

PRC_L3_CK_RSLT prcL3Ck(CmRteStat *statPtr, PRC_L3_CK ck, uint32_t isPimInner) {
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    const CkRow &row = kCkRows[ck];
    if (row.ck && !(portRegPtr->*row.ck))
        return L3_CK_OFF;
    if (!mayStore(statPtr, row.over))
        return L3_CK_STANDS;

    const bool trap = !row.trap || portRegPtr->*row.trap;
    if (trap)
        storeTrap(statPtr, row);
    else
        storeDrop(statPtr, row);
    if (row.latch == LATCH_ALWAYS || (row.latch == LATCH_INNER && isPimInner))
        statPtr->l3Ipv4Ihl6ErrCanWin = trap ? row.trapRsn : row.dropRsn;

    const char *text = trap ? row.trapText : row.dropText;
    if (*text)
        CM_TRACE(1, "%s\n", text);
    return L3_CK_STORED;
}

bool prcL3CksumStands(const CmRteStat *statPtr) {
    return statPtr->l3PrcTrapRsn == TRP_IPV4_CKSUM || statPtr->l3PrcDropRsn == DRP_IPV4_CKSUM;
}

bool prcPimCksumPastEof(const CmRteStat *statPtr) {
    const uint32_t cksumOffset = statPtr->l4Offset + 20;
    const uint32_t frmLenWrapped = (statPtr->frmLen + 3) & ~3u;
    if (cksumOffset < frmLenWrapped)
        return false;
    CM_TRACE(1, "%s, estimated cksum available offset=%d frm len (wrapped)=%d\n",
             "C-model guessed EOF will be detected before PIM cksum err", cksumOffset, frmLenWrapped);
    return true;
}

void PrcL3RstHdr(CmRteStat *statPtr) {
    statPtr->l3PrcHdrUnk = 1;
    statPtr->l3Ipv4DntFrg = 0;
    statPtr->l3Ipv4MorFrg = 0;
    statPtr->l3Ipv4FrgOffset = 0;
    statPtr->l3IpEcn = 0;
    statPtr->l3IpDscp = 0;
    statPtr->l3IpDscpOuter = 0;
    statPtr->l2PselDscp = 0;
    statPtr->IpDscpForPsel = 0;
    statPtr->l3IpMcastRegEncap = 0;
    statPtr->l3IpUlp = 0;
    statPtr->l3IpDaIsMcast = 0;
    statPtr->l3IpTlen = 0;
    statPtr->l3Ipv6IcmpTyp = 0;
    statPtr->l3IpDa0 = 0;
    statPtr->l3IpDa1 = 0;
    statPtr->l3IpSa0 = 0;
    statPtr->l3IpSa1 = 0;
}
