// Flex keys: four slices of the frame, 24 bytes each, that the ACL engines match on.

#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "prc/cmRtePrc.h"

namespace {

const uint32_t kFlexKeyByteCnt = 24;
/// The chip keeps this much of a frame for the flex keys.
const uint32_t kFlexKeyFrmWindow = 256;

const char *const flex_key_enc_str[] = {
    "OUTER_MAC",  "OUTER_VLAN",
    "TRILL",      "INNER_MAC",
    "SVLAN",      "CVLAN",
    "LLC",        "SNAP",
    "CN_TAG",     "FIP",
    "FCOE",       "VSAN",
    "FC",         "OUTER_IPV4",
    "OUTER_IPV6", "PIM",
    "INNER_IPV4", "INNER_IPV6",
    "ICMPV4",     "TCP",
    "UDP",        "NON_TCP_UDP_AFTER_IP",
    "ICMPV6",
};

/// Byte `b` of key `k`: the frame byte that its profile names, 0 when there is none.
uint32_t flexKeyByte(CmRteStat *statPtr, uint32_t k, uint32_t b) {
    const auto &[hdr, hdrOffset] = statPtr->comRegPtr->rte_flex_key[k][b];
    if (hdr >= wordCnt(statPtr->flexKeyDetected) || !statPtr->flexKeyDetected[hdr])
        return 0;

    uint32_t off = statPtr->flexKeyOffset[hdr] + hdrOffset;
    // The registers count from two bytes before these headers; the outer IP headers are recorded that way already.
    if (hdr > FLEX_KEY_OUTER_IPV6 || hdr == FLEX_KEY_LLC)
        off -= 2;

    if (off < statPtr->frmLen && off < kFlexKeyFrmWindow)
        return prcByte(statPtr, off);
    CM_TRACE_RAW(0, "Flex key %d offset %d is either larger than frame length (%d) or max length (%d).\n", hdr, off,
                 statPtr->frmLen, kFlexKeyFrmWindow);
    return 0;
}

} // namespace

void detectFlexKey(CmRteStat *statPtr, FLEX_KEY_ENC_T key, uint32_t offset) {
    if (statPtr->flexKeyDetected[key])
        CM_TRACE(1, "Flex key %s (%d) %s offset=%d, new offset=%d\n", flex_key_enc_str[key], key,
                 "was previously detected at", statPtr->flexKeyOffset[key], offset);
    statPtr->flexKeyDetected[key] = 1;
    statPtr->flexKeyOffset[key] = offset;
    CM_TRACE(1, "Flex key %s (%d) detected at offset=%d val=0x%x\n", flex_key_enc_str[key], key, offset,
             prcByte(statPtr, offset));
}

void extractFlexKey(CmRteStat *statPtr) {
    uint32_t *const keys[] = {statPtr->flexKey0, statPtr->flexKey1, statPtr->flexKey2, statPtr->flexKey3};
    for (uint32_t k = 0; k < 4; k++) {
        uint32_t bytes[kFlexKeyByteCnt];
        for (uint32_t b = 0; b < kFlexKeyByteCnt; b++)
            bytes[b] = flexKeyByte(statPtr, k, b);
        for (uint32_t w = 0; w < 6; w++)
            keys[k][5 - w] = bytes[4 * w + 3] << 24 | bytes[4 * w + 2] << 16 | bytes[4 * w + 1] << 8 | bytes[4 * w];
    }
}
