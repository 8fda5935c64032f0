#pragma once
// The lookups of the chip as objects: which memories a lookup reads and what its key is stands in its type, which is
// written down once; an object is one search and what it found. The keys are records of tbl/tsr_tbl.h.

#include "base/cmLu.h"
#include "base/cmRte.h"
#include "base/cmRteHis.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

/// Words of the memory of the model that a member pointer names.
template <size_t N> constexpr uint32_t memWordCnt(uint32_t (CmRteHsiMem::*)[N]) {
    return static_cast<uint32_t>(N);
}

/// The two words of entry `idx` of a memory, as a trace shows them; an entry beyond the memory reads 0.
template <size_t N> unsigned long long memQword(const uint32_t (&mem)[N], uint64_t idx) {
    return uint64_t{memWord(mem, 2 * idx)} << 32 | memWord(mem, 2 * idx + 1);
}

/// A key in the words of an entry.
template <uint32_t Words> struct CmKeyWords {
    uint32_t word[Words] = {};

    /// Its words 2 * `i` and 2 * `i` + 1, as a trace shows them.
    unsigned long long qword(uint32_t i) const { return uint64_t{word[2 * i]} << 32 | word[2 * i + 1]; }
};

/// A ternary lookup in the memory `Mem`, whose key has the record `Key`, or one of several for the forms of a key.
template <auto Mem, class Key, class... OtherKeys> class CmTcamLkup {
    static_assert(((OtherKeys::kWords == Key::kWords) && ...), "all forms of a key fill the same entry");

public:
    static constexpr uint32_t kKeyWords = Key::kWords;
    static constexpr uint32_t kEntryWords = 2 * kKeyWords;
    static constexpr uint32_t kEntries = memWordCnt(Mem) / kEntryWords;

    /// Lists all entries that match `key`, a record or the words themselves.
    template <class AnyKey> void search(const CmRteHsiMem *memPtr, const AnyKey &key) {
        setKey(key);
        searchIn(memPtr, 0, kEntries);
    }

    /// Finds the first entry that matches `key`; hits() says nothing then.
    template <class AnyKey> void searchFirst(const CmRteHsiMem *memPtr, const AnyKey &key) {
        setKey(key);
        range(memPtr, 0, kEntries);
        CmTcamLu1Hot(&tbl);
    }

    /// search() in two steps, for a memory that is searched part by part. Entries count from `first` then.
    template <class AnyKey> void setKey(const AnyKey &in) {
        static_assert(AnyKey::kWords == kKeyWords);
        pack(in, keyWords.word);
        CmTcamSetKey(&tbl, keyWords.word, kKeyWords);
    }
    void setKey(const CmKeyWords<kKeyWords> &in) {
        keyWords = in;
        CmTcamSetKey(&tbl, keyWords.word, kKeyWords);
    }
    void searchIn(const CmRteHsiMem *memPtr, uint32_t first, uint32_t entryCnt) {
        range(memPtr, first, entryCnt);
        CmTcamLu(&tbl);
    }

    uint32_t hit() const { return tbl.tcamHit; }
    /// The first entry that was hit, else 0. A search for all entries by a key of one word leaves it 0.
    uint32_t idx() const { return tbl.rsltIdx; }
    /// The entries that were hit, in their order.
    std::span<const uint32_t> hits() const { return {tbl.hitList, tbl.hitCount}; }
    const CmKeyWords<kKeyWords> &key() const { return keyWords; }

    /// Keeps the key in its history.
    void captureKey(const CmRteStat *statPtr, const CmRteHisKey &his) const {
        capture(statPtr, his, keyWords.word, kKeyWords);
    }

private:
    void range(const CmRteHsiMem *memPtr, uint32_t first, uint32_t entryCnt) {
        tbl.tcam = CmLuMem(memPtr->*Mem).subspan(first * kEntryWords, entryCnt * kEntryWords);
        tbl.tcamSiz = entryCnt;
    }

    CmKeyWords<kKeyWords> keyWords;
    CmTcamTbl tbl;
};

/// What registers set of an exact match.
struct CmExmCtl {
    std::array<uint64_t, 4> swap; // as CmExmTbl has it
    uint32_t rsltUnkIdx;          // result index on a miss
    uint32_t alwHshHitTcamRng;
};

/// The histories of an exact match: its key, hash, bucket and result index.
struct CmExmHis {
    const CmRteHisKey &key;
    const CmRteHisAddr &idx;
    const CmRteHisAddr &bkt;
    const CmRteHisAddr &rslt;
};

/// An exact match for keys of `KeyBits` bits with the record `Key`: the memories of bucket numbers, of buckets of
/// `BktEntries` entries and of the overflow TCAM, and the search itself, CmExmLu or CmL2ExmLu.
template <class Key, uint32_t KeyBits, auto IdxMem, auto BktMem, uint32_t BktEntries, auto OvflwMem, auto Search>
class CmExmLkup {
public:
    static constexpr uint32_t kKeyWords = Key::kWords;
    static constexpr uint32_t kBkts = memWordCnt(BktMem) / (kKeyWords * BktEntries);
    static constexpr uint32_t kOvflwEntries = memWordCnt(OvflwMem) / (2 * kKeyWords);
    static_assert(memWordCnt(BktMem) == kBkts * BktEntries * kKeyWords);

    /// Searches `key`.
    void search(const CmRteHsiMem *memPtr, const Key &key, const CmExmCtl &ctl) {
        pack(key, keyWords.word);
        CmExmSetKey(&tbl, keyWords.word, kKeyWords);
        tbl.hshKeySiz = KeyBits;
        if constexpr (kKeyWords == 1)
            tbl.u32HshSwap = static_cast<uint32_t>(ctl.swap[0]);
        tbl.u64HshSwap = ctl.swap[0];
        tbl.u64HshSwap1 = ctl.swap[1];
        tbl.u64HshSwap2 = ctl.swap[2];
        tbl.u64HshSwap3 = ctl.swap[3];
        tbl.hshIdxSram = memPtr->*IdxMem;
        tbl.hshBktTotal = BktEntries;
        tbl.hshBktSiz = kBkts;
        tbl.hshBktSram = memPtr->*BktMem;
        tbl.tcamSiz = kOvflwEntries;
        tbl.tcam = memPtr->*OvflwMem;
        tbl.rsltUnkIdx = ctl.rsltUnkIdx;
        tbl.alwHshHitTcamRng = ctl.alwHshHitTcamRng;
        Search(&tbl);
    }

    bool hit() const { return tbl.hshHit || tbl.tcamHit; }
    uint32_t bktHit() const { return tbl.hshHit; }
    uint32_t ovflwHit() const { return tbl.tcamHit; }
    /// Index of the result, that of a miss too.
    uint32_t idx() const { return tbl.rsltIdx; }
    const CmKeyWords<kKeyWords> &key() const { return keyWords; }

    /// Keeps key, hash, bucket and result index; `flags` go above the result index.
    void captureAll(const CmRteStat *statPtr, const CmExmHis &his, uint32_t flags = 0) const {
        capture(statPtr, his.key, keyWords.word, kKeyWords);
        capture(statPtr, his.idx, tbl.hshVal);
        capture(statPtr, his.bkt, tbl.hshIdx);
        capture(statPtr, his.rslt, tbl.rsltIdx, flags);
    }

private:
    CmKeyWords<kKeyWords> keyWords;
    CmExmTbl tbl;
};
