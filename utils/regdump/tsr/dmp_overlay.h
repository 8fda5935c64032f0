#pragma once
// Changed words on top of a dump image that is never written.

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "tsr_reg_dump.h"

/// Words by their byte offset in the image, in host order. Offsets past the image or between words are ignored.
class DmpOverlay {
public:
    /// The word at `offset` when it is changed.
    const uint32_t *find(size_t offset) const {
        if (offset >= sizeof(tsr_dmp_t) || !pages_[offset / kPage])
            return nullptr;
        const auto word = words_.find(static_cast<uint32_t>(offset));
        return word == words_.end() ? nullptr : &word->second;
    }

    void set(size_t offset, uint32_t value);
    void erase(size_t offset);

    /// The changed words from `offset` on, ascending.
    using Words = std::map<uint32_t, uint32_t>;
    Words::const_iterator from(size_t offset) const { return words_.lower_bound(static_cast<uint32_t>(offset)); }
    Words::const_iterator end() const { return words_.end(); }

    /// What a frame writes: as set(), and noted for undoTo().
    void write(size_t offset, uint32_t value);
    size_t mark() const { return written_.size(); }
    /// Puts back what frames wrote since `mark`.
    void undoTo(size_t mark);
    /// Keeps the first note of each word alone, once there are many. Marks but 0 lose their meaning.
    void compact();

private:
    static constexpr size_t kPage = 4096;

    struct Written {
        uint32_t offset;
        std::optional<uint32_t> old; // none: the image's own word
    };

    Words words_;
    std::bitset<sizeof(tsr_dmp_t) / kPage + 1>
        pages_; // pages with a changed word; one that has none again may stay set
    static constexpr size_t kCompactMin = 1 << 12;

    std::vector<Written> written_;
    size_t compactAt_ = kCompactMin;
};
