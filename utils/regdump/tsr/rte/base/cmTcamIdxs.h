#pragma once
// The indexes of a model's ternary memories. A memory is indexed at the second search of its words as they are, and the
// index goes when one of them is written.

#include "cmTcamIdx.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

class CmTcamIdxs {
public:
    /// Memories outside of `owned` are never indexed: their writes are not seen.
    explicit CmTcamIdxs(std::vector<std::span<const uint32_t>> owned) : owned_(std::move(owned)) {}

    /// The index of the rows of `words` wanted and as many cared-for words in `tcam`, an X half and a Y half a row.
    /// Null when a walk shall do. Of several forms of a memory each has its own number; `rowIsOn` is asked for each row
    /// of the index and must depend on `form` and `rows` alone.
    template <class RowIsOn>
    const CmTcamIdx *find(std::span<const uint32_t> tcam, uint32_t words, uint32_t form, uint32_t rows,
                          RowIsOn rowIsOn) {
        Entry *entry = entryOf(tcam, words, form, rows);
        if (!entry || entry->searches < 2)
            return nullptr;
        if (!entry->idx) {
            const uint32_t *const first = tcam.data();
            entry->idx = std::make_unique<CmTcamIdx>(static_cast<uint32_t>(tcam.size() / (2 * words)), words,
                                                     [&](uint32_t i, CmTcamIdx::Row &row) {
                                                         const uint32_t *x = first + size_t{i} * 2 * words;
                                                         const uint32_t *y = x + words;
                                                         uint32_t never = !rowIsOn(i);
                                                         for (uint32_t w = 0; w < words; w++) {
                                                             row.want[w] = x[w];
                                                             row.care[w] = x[w] | y[w];
                                                             never |= x[w] & y[w];
                                                         }
                                                         return never == 0;
                                                     });
        }
        return entry->idx->isWorth() ? entry->idx.get() : nullptr;
    }
    const CmTcamIdx *find(std::span<const uint32_t> tcam, uint32_t words) {
        return find(tcam, words, 0, 0, [](uint32_t) { return true; });
    }

    /// The `cnt` words from `at` on are written.
    void written(const uint32_t *at, size_t cnt);
    /// Any word may have been written.
    void writtenAll() { entries_.clear(); }

private:
    struct Entry {
        const uint32_t *first;
        size_t size;
        uint32_t words;
        uint32_t form;
        uint32_t rows;
        uint32_t searches;
        std::unique_ptr<CmTcamIdx> idx;
    };

    /// The entry of a memory with one search more; null for a memory that is not owned.
    Entry *entryOf(std::span<const uint32_t> tcam, uint32_t words, uint32_t form, uint32_t rows);

    std::vector<std::span<const uint32_t>> owned_;
    std::vector<Entry> entries_;
};
