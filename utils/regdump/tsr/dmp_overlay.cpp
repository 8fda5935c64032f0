#include "dmp_overlay.h"

#include <algorithm>

void DmpOverlay::set(size_t offset, uint32_t value) {
    if (offset >= sizeof(tsr_dmp_t) || offset % 4 != 0)
        return;
    words_[static_cast<uint32_t>(offset)] = value;
    pages_.set(offset / kPage);
}

void DmpOverlay::erase(size_t offset) {
    words_.erase(static_cast<uint32_t>(offset));
}

void DmpOverlay::write(size_t offset, uint32_t value) {
    const uint32_t *old = find(offset);
    written_.push_back({static_cast<uint32_t>(offset), old ? std::optional(*old) : std::nullopt});
    set(offset, value);
}

void DmpOverlay::undoTo(size_t mark) {
    while (written_.size() > mark) {
        const Written &last = written_.back();
        if (last.old)
            set(last.offset, *last.old);
        else
            erase(last.offset);
        written_.pop_back();
    }
}

void DmpOverlay::compact() {
    if (written_.size() < compactAt_)
        return;
    std::stable_sort(written_.begin(), written_.end(),
                     [](const Written &a, const Written &b) { return a.offset < b.offset; });
    written_.erase(std::unique(written_.begin(), written_.end(),
                               [](const Written &a, const Written &b) { return a.offset == b.offset; }),
                   written_.end());
    compactAt_ = std::max(kCompactMin, 2 * written_.size());
}
