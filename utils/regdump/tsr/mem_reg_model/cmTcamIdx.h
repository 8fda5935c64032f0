#pragma once
// An index of a ternary memory by the distinct masks of its rows: a search looks once into each mask's table instead of
// walking the rows. It finds what the walk finds, in the same order. It knows nothing of how the rows are stored.

#include <cstddef>
#include <cstdint>
#include <vector>

class CmTcamIdx {
public:
    static constexpr uint32_t kMaxWords = 16;
    static constexpr uint32_t kNone = 0xffffffff;

    /// What a row asks of a key of `words` words: `want` in the bits of `care`, whose other bits in `want` are 0.
    struct Row {
        uint32_t want[kMaxWords];
        uint32_t care[kMaxWords];
    };

    /// Indexes `rowCnt` rows. `rowAt(i, row)` fills row `i`, and returns false when no key matches it.
    template <class RowAt> CmTcamIdx(uint32_t rowCnt, uint32_t words, RowAt rowAt);

    /// Whether a search by the index is faster than a walk: there are few masks for the number of rows.
    bool isWorth() const { return worth_; }

    /// The first row that matches `key`, or kNone.
    uint32_t first(const uint32_t *key) const;

    /// Calls `onHit(row)` for all rows that match `key`, ascending, until it returns false.
    template <class OnHit> void all(const uint32_t *key, OnHit onHit) const {
        gather(key);
        for (const uint32_t row : gathered_) {
            if (!onHit(row))
                return;
        }
    }

private:
    struct CareWord {
        uint32_t word;
        uint32_t care;
    };
    /// The rows of one mask.
    struct Mask {
        std::vector<CareWord> care; // the words in which it is not 0
        uint32_t firstRow;
        uint32_t rowCnt;
        size_t slots;   // its first one
        size_t slotMsk; // their number, a power of two, less one
    };
    /// The rows of one mask that want the same: they are a list from `head` on. kNone: free.
    struct Slot {
        uint32_t head;
        uint32_t tail;
        uint32_t tag;
    };

    static uint64_t mix(uint64_t hash, uint32_t word) {
        hash = (hash ^ word) * 0x9e3779b97f4a7c15u;
        return hash ^ hash >> 29;
    }
    static uint64_t hashOf(const Mask &mask, const uint32_t *key) {
        uint64_t hash = 0;
        for (const CareWord &care : mask.care)
            hash = mix(hash, key[care.word] & care.care);
        return hash;
    }
    bool wants(uint32_t row, const Mask &mask, const uint32_t *key) const {
        const uint32_t *want = &wants_[size_t{row} * words_];
        for (const CareWord &care : mask.care) {
            if (want[care.word] != (key[care.word] & care.care))
                return false;
        }
        return true;
    }
    /// The slot of the rows that want `key`, or the free one for them.
    size_t slotOf(const Mask &mask, const uint32_t *key) const;
    /// The mask of a row, a new one when there is none.
    uint32_t maskOf(const Row &row);
    void addRow(uint32_t row, const Row &bits);
    /// Builds the masks' tables of the rows that were added.
    void finish();
    /// Makes `gathered_` all rows that match, ascending.
    void gather(const uint32_t *key) const;

    uint32_t words_;
    uint32_t maxMasks_;
    bool worth_ = true;
    std::vector<Mask> masks_; // by rising first row
    std::vector<Slot> slots_;
    std::vector<uint32_t> wants_;
    std::vector<uint32_t> next_;             // the next row that wants the same, kNone behind the last
    std::vector<uint32_t> maskNo_;           // of each row while the index is built, kNone for a row that never matches
    std::vector<uint32_t> maskTbl_;          // masks by the hash of their words while the index is built
    mutable std::vector<uint32_t> gathered_; // kept between searches so that a search need not allocate
};

template <class RowAt>
CmTcamIdx::CmTcamIdx(uint32_t rowCnt, uint32_t words, RowAt rowAt)
    : words_(words), maxMasks_(4 + rowCnt / 16), wants_(size_t{rowCnt} * words), next_(rowCnt, kNone),
      maskNo_(rowCnt, kNone) {
    Row row;
    for (uint32_t i = 0; i < rowCnt && worth_; i++) {
        if (rowAt(i, row))
            addRow(i, row);
    }
    finish();
}
