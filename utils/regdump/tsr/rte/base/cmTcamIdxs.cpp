#include "base/cmTcamIdxs.h"

#include <algorithm>

CmTcamIdxs::Entry *CmTcamIdxs::entryOf(std::span<const uint32_t> tcam, uint32_t words, uint32_t form, uint32_t rows) {
    for (Entry &entry : entries_) {
        if (entry.first != tcam.data() || entry.size != tcam.size() || entry.words != words || entry.form != form)
            continue;
        if (entry.rows != rows) {
            entry.rows = rows;
            entry.searches = 0;
            entry.idx.reset();
        }
        entry.searches = std::min(entry.searches + 1, 2u);
        return &entry;
    }
    const bool isOwned = std::any_of(owned_.begin(), owned_.end(), [&](std::span<const uint32_t> memory) {
        return tcam.data() >= memory.data() && tcam.data() + tcam.size() <= memory.data() + memory.size();
    });
    if (!isOwned)
        return nullptr;
    entries_.push_back({tcam.data(), tcam.size(), words, form, rows, 1, nullptr});
    return &entries_.back();
}

void CmTcamIdxs::written(const uint32_t *at, size_t cnt) {
    std::erase_if(entries_,
                  [&](const Entry &entry) { return at < entry.first + entry.size && at + cnt > entry.first; });
}
