// The layer-3 verdict of the parser: what the IPv4 and the IPv6 parser share.

#include "prc/cmRtePrcL3.h"

#include "base/tbMsg.h"
#include "prc/cmRtePrc.h"

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
