#include "cmTcamIdx.h"

#include <algorithm>
#include <bit>

uint32_t CmTcamIdx::maskOf(const Row &row) {
    const auto isMask = [&](const Mask &mask) {
        uint32_t n = 0;
        for (uint32_t w = 0; w < words_; w++) {
            if (row.care[w] == 0)
                continue;
            if (n == mask.care.size() || mask.care[n].word != w || mask.care[n].care != row.care[w])
                return false;
            n++;
        }
        return n == mask.care.size();
    };
    uint64_t hash = 0;
    for (uint32_t w = 0; w < words_; w++)
        hash = mix(hash, row.care[w]);

    if (maskTbl_.size() < 2 * masks_.size() + 2) {
        // Twice the room; the masks' hashes are not kept, so they are worked out again.
        maskTbl_.assign(std::max<size_t>(64, 4 * std::bit_ceil(masks_.size() + 1)), kNone);
        for (uint32_t no = 0; no < masks_.size(); no++) {
            uint64_t other = 0;
            uint32_t n = 0;
            for (uint32_t w = 0; w < words_; w++) {
                const bool has = n < masks_[no].care.size() && masks_[no].care[n].word == w;
                other = mix(other, has ? masks_[no].care[n++].care : 0);
            }
            size_t at = other & (maskTbl_.size() - 1);
            while (maskTbl_[at] != kNone)
                at = (at + 1) & (maskTbl_.size() - 1);
            maskTbl_[at] = no;
        }
    }
    size_t at = hash & (maskTbl_.size() - 1);
    for (; maskTbl_[at] != kNone; at = (at + 1) & (maskTbl_.size() - 1)) {
        if (isMask(masks_[maskTbl_[at]]))
            return maskTbl_[at];
    }
    const auto no = static_cast<uint32_t>(masks_.size());
    maskTbl_[at] = no;
    Mask &mask = masks_.emplace_back();
    for (uint32_t w = 0; w < words_; w++) {
        if (row.care[w] != 0)
            mask.care.push_back({w, row.care[w]});
    }
    return no;
}

void CmTcamIdx::addRow(uint32_t row, const Row &bits) {
    const uint32_t no = maskOf(bits);
    Mask &mask = masks_[no];
    if (mask.rowCnt == 0)
        mask.firstRow = row;
    mask.rowCnt++;
    maskNo_[row] = no;
    std::copy_n(bits.want, words_, &wants_[size_t{row} * words_]);
    worth_ = masks_.size() <= maxMasks_;
}

size_t CmTcamIdx::slotOf(const Mask &mask, const uint32_t *key) const {
    const uint64_t hash = hashOf(mask, key);
    const auto tag = static_cast<uint32_t>(hash >> 32);
    for (size_t i = hash & mask.slotMsk;; i = (i + 1) & mask.slotMsk) {
        const Slot &slot = slots_[mask.slots + i];
        if (slot.head == kNone || (slot.tag == tag && wants(slot.head, mask, key)))
            return mask.slots + i;
    }
}

void CmTcamIdx::finish() {
    maskTbl_ = {};
    if (!worth_) {
        masks_ = {};
        wants_ = {};
        next_ = {};
        maskNo_ = {};
        return;
    }
    size_t slotCnt = 0;
    for (Mask &mask : masks_) {
        const size_t size = std::bit_ceil(size_t{mask.rowCnt} * 3 / 2 + 2);
        mask.slots = slotCnt;
        mask.slotMsk = size - 1;
        slotCnt += size;
    }
    slots_.assign(slotCnt, Slot{kNone, kNone, 0});
    for (uint32_t row = 0; row < maskNo_.size(); row++) {
        if (maskNo_[row] == kNone)
            continue;
        const Mask &mask = masks_[maskNo_[row]];
        const uint32_t *want = &wants_[size_t{row} * words_];
        Slot &slot = slots_[slotOf(mask, want)];
        if (slot.head == kNone)
            slot = {row, row, static_cast<uint32_t>(hashOf(mask, want) >> 32)};
        else
            next_[slot.tail] = row;
        slot.tail = row;
    }
    maskNo_ = {};
    // Rows that come first are mostly wanted first.
    std::sort(masks_.begin(), masks_.end(), [](const Mask &a, const Mask &b) { return a.firstRow < b.firstRow; });
}

uint32_t CmTcamIdx::first(const uint32_t *key) const {
    uint32_t best = kNone;
    for (const Mask &mask : masks_) {
        if (mask.firstRow >= best)
            break;
        best = std::min(best, slots_[slotOf(mask, key)].head);
    }
    return best;
}

void CmTcamIdx::gather(const uint32_t *key) const {
    std::vector<uint32_t> &hits = gathered_;
    hits.clear();
    uint32_t lists = 0;
    for (const Mask &mask : masks_) {
        uint32_t row = slots_[slotOf(mask, key)].head;
        lists += row != kNone;
        for (; row != kNone; row = next_[row])
            hits.push_back(row);
    }
    if (lists > 1)
        std::sort(hits.begin(), hits.end());
}
