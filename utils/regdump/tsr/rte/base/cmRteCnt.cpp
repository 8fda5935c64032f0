#include "base/cmRteCnt.h"

void IncrSts(uint32_t *dwPtr, uint64_t msk, uint32_t incr) {
    const uint64_t count = ((static_cast<uint64_t>(dwPtr[0]) << 32 | dwPtr[1]) + incr) & msk;
    dwPtr[0] = static_cast<uint32_t>(count >> 32);
    dwPtr[1] = static_cast<uint32_t>(count);
}
