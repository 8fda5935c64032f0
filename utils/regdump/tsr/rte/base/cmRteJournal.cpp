#include "base/cmRteJournal.h"

#include <algorithm>

void CmRteJournal::undoTo(size_t mark) {
    while (words_.size() > mark) {
        *words_.back().at = words_.back().old;
        words_.pop_back();
    }
}

void CmRteJournal::compact() {
    if (words_.size() < compactAt_)
        return;
    std::stable_sort(words_.begin(), words_.end(), [](const Word &a, const Word &b) { return a.at < b.at; });
    words_.erase(std::unique(words_.begin(), words_.end(), [](const Word &a, const Word &b) { return a.at == b.at; }),
                 words_.end());
    compactAt_ = std::max(kCompactMin, 2 * words_.size());
}
