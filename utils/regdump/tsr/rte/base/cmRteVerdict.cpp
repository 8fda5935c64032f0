#include "base/cmRteVerdict.h"

#include <iterator>

namespace {

// The lists stand in the order of the numbers, so that a number is an index.
constexpr uint32_t kDrpNumbers[] = {
#define DRP_RSN(number, name, text) number,
#define DRP_RSN_UNNAMED(number, text) number,
#define DRP_RSN_NO_TEXT(number, name) number,
#include "base/cmRteDrpRsn.def"
};
constexpr uint32_t kTrpNumbers[] = {
#define TRP_RSN(number, name, use) number,
#include "base/cmRteTrpRsn.def"
};

template <size_t N> constexpr bool countsUp(const uint32_t (&numbers)[N]) {
    for (uint32_t i = 0; i < N; i++) {
        if (numbers[i] != i)
            return false;
    }
    return true;
}
static_assert(countsUp(kDrpNumbers) && std::size(kDrpNumbers) == kDrpRsnCnt);
static_assert(countsUp(kTrpNumbers) && std::size(kTrpNumbers) == kTrpRsnCnt);

} // namespace

const char *const rte_rsn_str[kRteRsnCnt] = {
#define DRP_RSN(number, name, text) text,
#define DRP_RSN_UNNAMED(number, text) text,
#include "base/cmRteDrpRsn.def"
};
