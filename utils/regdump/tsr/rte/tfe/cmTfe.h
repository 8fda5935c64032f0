#pragma once
// The TFE block: the longest-prefix-match engine with its registers and memories.

#include "cmPages.h"
#include "tbl/tsr_tbl.h"
#include "tfe/cmTfeHsi.h"

#include <cstdint>

/// Keys of the three searches as the stages build them, word 0 first; cmTfeKey.def has their fields. The low bits of
/// word 0 do not exist in hardware.
struct L3FwdIpv4InKey {
    uint32_t word[2];
};
struct L3FwdIpv6InKey {
    uint32_t word[5];
};
struct L3FwdFcoeInKey {
    uint32_t word[2];
};

/// The key of the fields, each cut to its width; bits without a field are 0.
L3FwdIpv4InKey plainKey(const TfeIpv4 &fields);
L3FwdIpv6InKey plainKey(const TfeIpv6 &fields);
L3FwdFcoeInKey plainKey(const TfeFcoe &fields);

/// The same keys as the TCAM compares them.
struct L3FwdIpv4InKeyR {
    uint32_t word[2];
};
struct L3FwdIpv6InKeyR {
    uint32_t word[8];
};
struct L3FwdFcoeInKeyR {
    uint32_t word[2];
};

/// A search request. Exactly one of the three search bits is set.
struct TFE_LUE_INPUT {
    const uint32_t *key; // the reshuffled key: two words, eight for IPv6
    uint32_t not_used : 22;
    uint32_t port_num : 5;
    uint32_t default_vrf_en : 1;
    uint32_t da_lkup : 1;
    uint32_t fcoe_srch : 1;
    uint32_t ipv6_srch : 1;
    uint32_t ipv4_srch : 1;
    uint32_t frameIdx;
};

/// Its answer: the result word, of the hit entry or the default one.
struct TFE_LUE_RSLT {
    uint32_t rslt;
    uint32_t hit;
};

class CmTfeLue {
public:
    CmTfeLue() : comRegPtr(&comReg), memPtr(&mem), dbgLvl(0) {}

    /// Its memories are filled as a whole.
    static void *operator new(size_t size) { return cmAllocPages(size); }
    static void operator delete(void *memory, size_t size) { cmFreePages(memory, size); }

    /// Scatter a key to its places in the TCAM; `dbg` prints both forms.
    static void ReshuffleKey(const L3FwdIpv4InKey *in, L3FwdIpv4InKeyR *out, int dbg);
    static void ReshuffleKey(const L3FwdIpv6InKey *in, L3FwdIpv6InKeyR *out, int dbg);
    static void ReshuffleKey(const L3FwdFcoeInKey *in, L3FwdFcoeInKeyR *out, int dbg);

    /// Searches the active banks of the request's protocol in order; the first match wins, so software loads entries by
    /// falling prefix length. A miss gives the protocol's default word. Returns 0.
    int lookupL3Lpm(const TFE_LUE_INPUT *input, TFE_LUE_RSLT *rslt) const;

    /// The model keeps no statistics: says so and returns 0.
    int tfeCkStats();

    CmTfeHsiComReg *comRegPtr;
    CmTfeHsiMem *memPtr;
    uint32_t dbgLvl; // not 0: print the search trace
    CmTfeHsiComReg comReg;
    CmTfeHsiMem mem;

private:
    /// Searches the banks of protocol `prtcl` by an index. Returns false when there is none, and the banks are to be
    /// walked.
    bool searchByIndex(const TFE_LUE_INPUT &input, uint32_t prtcl, bool &found, uint32_t &rsltIdx) const;
};
