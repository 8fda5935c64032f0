#pragma once
// What frames overwrite in the memories, so that it can be put back.

#include "base/cmRteState.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// The words that were overwritten, in the order of the writes.
class CmRteJournal {
public:
    /// Notes the `cnt` words from `at` on, which are about to be written.
    void note(uint32_t *at, uint32_t cnt) {
        for (uint32_t i = 0; i < cnt; i++)
            words_.push_back({at + i, at[i]});
    }

    /// A point to go back to.
    size_t mark() const { return words_.size(); }

    /// Puts back what was written since `mark`.
    void undoTo(size_t mark);

    /// Forgets everything: what stands in the memories stays there.
    void forget() { words_.clear(); }

    /// Keeps the first note of each word alone, once there are many: a long stream needs no more room than the words
    /// that it writes. Marks but 0 lose their meaning.
    void compact();

private:
    struct Word {
        uint32_t *at;
        uint32_t old;
    };
    static constexpr size_t kCompactMin = 1 << 16;

    std::vector<Word> words_;
    size_t compactAt_ = kCompactMin;
};

/// The door to the memories for writes of a frame: every word that one writes is noted here before.
inline void cmNote(uint32_t *at, uint32_t cnt) {
    if (CmRteJournal *journal = cmState().journal)
        journal->note(at, cnt);
}
