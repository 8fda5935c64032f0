#include "dump_pkt.h"

#include "base/cmOut.h"

void dump_pkt(const uint8_t *pkt, int len, int contents_only) {
    if (!contents_only)
        cmPrintf(" Length: %d\n", len);
    for (int i = 0; i < len; ++i)
        cmPrintf("%02x", pkt[i]);
    if (!contents_only)
        cmPuts("\n");
}

void dump_shim(const uint32_t *shim_wd) {
    cmPrintf("%08x-%08x-%08x-%08x-%08x-%08x-", shim_wd[0], shim_wd[1], shim_wd[2], shim_wd[3], shim_wd[4], shim_wd[5]);
}
