#include "base/cmRte.h"

#include "base/cmRteState.h"

constinit thread_local CmRte *rte_mem = nullptr;

namespace {

/// The chip addresses of `N` words from `first` on.
template <uint32_t N> struct ChipAddrs {
    uint32_t word[N] = {};

    explicit constexpr ChipAddrs(uint32_t first) {
        for (uint32_t i = 0; i < N; i++)
            word[i] = first + 4 * i;
    }
};
constexpr ChipAddrs<128> kMyDaMacHi(0x52400);
constexpr ChipAddrs<128> kMyDaMacLo(0x52600);

} // namespace

const uint32_t (&RTE_L2_CHS_MAC_HI)[128] = kMyDaMacHi.word;
const uint32_t (&RTE_L2_CHS_MAC_LO)[128] = kMyDaMacLo.word;

constinit thread_local CmRteState *cmRteState = nullptr;

CmRteState &cmOwnState() {
    static thread_local CmRteState state;
    return state;
}

CmRteStat *CmRteGetStat(void) {
    return &cmState().stat;
}
