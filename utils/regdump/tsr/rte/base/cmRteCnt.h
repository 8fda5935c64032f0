#pragma once
// What frames write into the memories: the chip's frame and byte counters, and flags.

#include "base/cmRteJournal.h"
#include "tbl/tsr_tbl.h"

#include <cstddef>
#include <cstdint>

/// The widths of the counters: frames are counted in 40 bits, bytes in 48.
inline constexpr uint64_t kFrmCntMsk = 0xff'ffffffff;
inline constexpr uint64_t kByteCntMsk = 0xffff'ffffffff;

/// Adds `incr` to the 64-bit counter with its high word at `dwPtr[0]`, and ANDs each word with its half of `msk`.
void IncrSts(uint32_t *dwPtr, uint64_t msk, uint32_t incr);

/// Adds `incr` to the counter `Member` of entry `idx` of a memory; it wraps at the width of its field. An entry beyond
/// the memory is not counted.
template <auto Member, size_t N> void countIn(uint32_t (&mem)[N], uint64_t idx, uint32_t incr) {
    constexpr uint32_t words = TblRecordOf<Member>::kWords;
    if (idx >= N / words)
        return;
    uint32_t *entry = mem + idx * words;
    cmNote(entry, words);
    tblScatter(entry, tblPlace<Member>, fieldAt<Member>(entry) + incr);
}

/// Sets element `idx` of the array field `Member`, counted through all entries of a memory; nothing beyond it.
template <auto Member, size_t N> void setFlagIn(uint32_t (&mem)[N], uint64_t idx, uint32_t value) {
    constexpr uint32_t words = TblRecordOf<Member>::kWords;
    const uint64_t entry = idx / tblPlace<Member>.count;
    if (entry < N / words)
        cmNote(mem + entry * words, words);
    setElem<Member>(mem, idx, value);
}
