#pragma once
// Between the doors through which the stages read and hit rows, and one who observes a model.

#include "model.h"
#include "tbl/tsr_tbl_observe.h"

/// While it lives, the calling thread tells `to` of the rows of `chip`. A null `to` is told nothing.
class RowWatch final : public TblObserver {
public:
    RowWatch(const CmRte &chip, RowObserver *to);
    ~RowWatch();
    RowWatch(const RowWatch &) = delete;
    RowWatch &operator=(const RowWatch &) = delete;

    void read(const uint32_t *words, uint32_t cnt) override;
    void hit(const uint32_t *words, uint32_t cnt, const uint32_t *key, uint32_t keyWords) override;
    void aclHit(uint32_t bank, uint32_t block, uint32_t row, const uint32_t *ones, const uint32_t *zeroes,
                const uint32_t *key) override;
    void aclLine(uint32_t bank, uint32_t row, const uint32_t *words) override;
    void dump(size_t offset, const uint32_t *words, uint32_t cnt) override;

private:
    const CmRte &chip_;
    RowObserver *to_;
    TblObserver *before_;
};
