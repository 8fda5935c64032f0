#pragma once
// The door through which one who wants to know sees which rows a frame reads and hits.

#include <cstddef>
#include <cstdint>

/// Is told of rows in the order in which a frame meets them. Words and keys last for the call alone.
class TblObserver {
public:
    /// The `cnt` words at `words`, where they stand in a memory of the model, are read.
    virtual void read(const uint32_t *words, uint32_t cnt) = 0;
    /// The `cnt` words at `words`, where they stand in a memory of the model, are hit by the `keyWords` words of `key`.
    virtual void hit(const uint32_t *words, uint32_t cnt, const uint32_t *key, uint32_t keyWords) = 0;
    /// Row `row` of block `block` of an ACL bank is hit: eight words that ask for ones, eight that ask for zeroes and
    /// the eight of the key, lowest bits first.
    virtual void aclHit(uint32_t bank, uint32_t block, uint32_t row, const uint32_t *ones, const uint32_t *zeroes,
                        const uint32_t *key) = 0;
    /// The four words of line `row` of an ACL bank's result memory are read, highest bits first.
    virtual void aclLine(uint32_t bank, uint32_t row, const uint32_t *words) = 0;
    /// The `cnt` words from byte `offset` of the dump image on are read.
    virtual void dump(size_t offset, const uint32_t *words, uint32_t cnt) = 0;

protected:
    ~TblObserver() = default;
};

/// The observer of the calling thread; null for none.
extern constinit thread_local TblObserver *tblObserver;
