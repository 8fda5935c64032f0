#include "base/cmLu.h"

#include "base/cmRteState.h"
#include "base/cmTcamIdxs.h"
#include "base/cmUtl.h"
#include "cmStop.h"
#include "tbl/tsr_tbl.h"
#include "tbl/tsr_tbl_observe.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr uint32_t kBnkCnt = 32;
constexpr uint32_t kKeyWdCnt = 16;

/// The layer-2 exact match: bits of the hash, and of a place in a bucket.
constexpr unsigned kL2ExmHashBits = 19;
constexpr uint32_t kL2ExmPosBits = 5;

uint32_t bytesOf(uint32_t keySiz) {
    return static_cast<uint32_t>((static_cast<uint64_t>(keySiz) + 7) >> 3);
}

uint32_t luWord(CmLuMem mem, uint64_t idx) {
    if (idx < mem.size() && tblObserver)
        tblObserver->read(&mem[idx], 1);
    return idx < mem.size() ? mem[idx] : 0;
}

/// The key in words of an entry, most significant first.
struct KeyWords {
    uint32_t w[kKeyWdCnt];

    template <size_t N> explicit KeyWords(const uint64_t (&segLst)[N]) : w{} {
        for (size_t i = 0; i < N; i++) {
            w[2 * i] = static_cast<uint32_t>(segLst[i] >> 32);
            w[2 * i + 1] = static_cast<uint32_t>(segLst[i]);
        }
    }
    explicit KeyWords(uint32_t key) : w{key} {}
};

KeyWords tcamKey(const CmTcamTbl *tblPtr) {
    if (bytesOf(tblPtr->keySiz) <= 4)
        return KeyWords(tblPtr->u32Key);
    const uint64_t segLst[] = {tblPtr->u64Key,  tblPtr->u64Key1, tblPtr->u64Key2, tblPtr->u64Key3,
                               tblPtr->u64Key4, tblPtr->u64Key5, tblPtr->u64Key6, tblPtr->u64Key7};
    return KeyWords(segLst);
}

/// The bits of one key word that speak against the entry.
uint32_t wordMiss(uint32_t x, uint32_t y, uint32_t key) {
    return (x & y) | ((x | y) & (x ^ key));
}

/// Whether an entry with W words in X hits. The short ones are tested in one go, without a branch a word; in the long
/// ones the first four words decide on nearly all entries.
template <uint32_t W> bool entryHits(const uint32_t *entry, const uint32_t *key) {
    constexpr uint32_t step = W < 4 ? W : 4;
    for (uint32_t first = 0; first < W; first += step) {
        uint32_t miss = 0;
        for (uint32_t i = first; i < first + step; i++)
            miss |= wordMiss(entry[i], entry[W + i], key[i]);
        if (miss)
            return false;
    }
    return true;
}

/// Calls `onHit(index)` for each matching entry from `first` up to, not including, `last`, until it returns false; then
/// returns false itself. W is the number of words of X.
template <uint32_t W, class OnHit>
bool walkEntries(CmLuMem tcam, const KeyWords &key, uint64_t first, uint64_t last, OnHit onHit) {
    last = std::min<uint64_t>(last, tcam.size() / (2 * W));
    if (first >= last)
        return true;
    const uint32_t *entry = tcam.data() + first * 2 * W;
    for (uint64_t i = first; i < last; i++, entry += 2 * W) {
        if (entryHits<W>(entry, key.w) && !onHit(static_cast<uint32_t>(i)))
            return false;
    }
    return true;
}

/// The same in the width class of a key of `keyBytes` bytes; a key of more than 64 bytes matches nothing.
template <class OnHit>
bool walkClass(uint32_t keyBytes, CmLuMem tcam, const KeyWords &key, uint64_t first, uint64_t last, OnHit onHit) {
    if (keyBytes <= 4)
        return walkEntries<1>(tcam, key, first, last, onHit);
    if (keyBytes <= 8)
        return walkEntries<2>(tcam, key, first, last, onHit);
    if (keyBytes <= 16)
        return walkEntries<4>(tcam, key, first, last, onHit);
    if (keyBytes <= 32)
        return walkEntries<8>(tcam, key, first, last, onHit);
    if (keyBytes <= 64)
        return walkEntries<16>(tcam, key, first, last, onHit);
    return true;
}

/// Words of a bucket entry, or of half an entry of a TCAM, for a key of `keyBytes` bytes.
uint32_t keyWdCnt(uint32_t keyBytes) {
    return keyBytes <= 4 ? 1 : keyBytes <= 8 ? 2 : keyBytes <= 16 ? 4 : keyBytes <= 32 ? 8 : 16;
}

/// Tells of entry `i` of a TCAM that a key of `keyBytes` bytes hits.
void tellHit(CmLuMem tcam, uint32_t keyBytes, const KeyWords &key, uint32_t i) {
    if (!tblObserver)
        return;
    const uint32_t words = keyWdCnt(keyBytes);
    tblObserver->hit(tcam.data() + size_t{i} * 2 * words, 2 * words, key.w, words);
}

/// The index by which the first `entryCnt` entries of a TCAM are searched, null when they have to be walked: it stands
/// for the whole memory. A search of parts by bank enables walks.
const CmTcamIdx *indexOf(uint32_t keyBytes, CmLuMem tcam, uint64_t entryCnt) {
    CmTcamIdxs *idxs = cmState().idxs;
    if (!idxs || keyBytes > 64)
        return nullptr;
    const uint32_t words = keyWdCnt(keyBytes);
    return tcam.size() == entryCnt * 2 * words ? idxs->find(tcam, words) : nullptr;
}
const CmTcamIdx *indexOf(const CmTcamTbl *tblPtr, uint32_t keyBytes) {
    return tblPtr->tcamBnkSiz == 0 ? indexOf(keyBytes, tblPtr->tcam, tblPtr->tcamSiz) : nullptr;
}

/// Calls `walk(first, last)` for each run of entries that the bank enables leave on, until it returns false.
template <class Walk> void walkBanks(const CmTcamTbl *tblPtr, Walk walk) {
    const uint32_t bnkSiz = tblPtr->tcamBnkSiz;
    if (bnkSiz == 0) {
        walk(0, tblPtr->tcamSiz);
        return;
    }
    if (tblPtr->tcamBnkEnMsk == 0)
        return;
    const uint32_t bnkCnt = tblPtr->tcamSiz / bnkSiz;
    for (uint32_t bnk = 0; bnk < kBnkCnt && static_cast<uint64_t>(bnk) * bnkSiz < tblPtr->tcamSiz; bnk++) {
        // A last bank that is cut short has no enable bit and is on.
        if (bnk < bnkCnt && !bit(tblPtr->tcamBnkEnMsk, bnk))
            continue;
        const uint64_t first = static_cast<uint64_t>(bnk) * bnkSiz;
        if (!walk(first, std::min<uint64_t>(first + bnkSiz, tblPtr->tcamSiz)))
            return;
    }
}

void clearTcamRslt(CmTcamTbl *tblPtr) {
    tblPtr->tcamHit = 0;
    tblPtr->rsltIdx = 0;
    tblPtr->u32Rslt = 0;
    tblPtr->u64Rslt = 0;
}

/// Reads the result at `rsltIdx`, also after a miss.
template <class Tbl> void readRslt(Tbl *tblPtr) {
    if (!tblPtr->rsltSram.data())
        return;
    const uint64_t idx = tblPtr->rsltIdx;
    if (tblPtr->rsltHasQw)
        tblPtr->u64Rslt =
            static_cast<uint64_t>(luWord(tblPtr->rsltSram, 2 * idx)) << 32 | luWord(tblPtr->rsltSram, 2 * idx + 1);
    else
        tblPtr->u32Rslt = luWord(tblPtr->rsltSram, idx);
}

uint32_t topBit(uint32_t word) {
    return word ? static_cast<uint32_t>(std::bit_width(word)) - 1 : 0;
}

KeyWords exmKey(const CmExmTbl *tblPtr) {
    if (bytesOf(tblPtr->hshKeySiz) <= 4)
        return KeyWords(tblPtr->u32HshKey);
    const uint64_t segLst[] = {tblPtr->u64HshKey,  tblPtr->u64HshKey1, tblPtr->u64HshKey2, tblPtr->u64HshKey3,
                               tblPtr->u64HshKey4, tblPtr->u64HshKey5, tblPtr->u64HshKey6, tblPtr->u64HshKey7};
    return KeyWords(segLst);
}

/// CRC of the key with its bit pairs swapped, as a big-endian number of whole bytes; keys of up to 64 bytes.
uint32_t hashKey(const CmExmTbl *tblPtr) {
    const uint32_t keySiz = tblPtr->hshKeySiz;
    const uint32_t keyBytes = bytesOf(keySiz);
    uint8_t buffer[64] = {};
    if (keyBytes <= 4) {
        uint32_t swapped = 0;
        CmSwpU32(keySiz, tblPtr->u32HshKey, tblPtr->u32HshSwap, &swapped);
        CmSetDword(swapped, keyBytes, buffer);
    } else if (keyBytes <= 8) {
        uint64_t swapped = 0;
        CmSwpU64(keySiz, tblPtr->u64HshKey, tblPtr->u64HshSwap, &swapped);
        CmSetQword(swapped, keyBytes, buffer);
    } else {
        const uint64_t keyLst[] = {tblPtr->u64HshKey,  tblPtr->u64HshKey1, tblPtr->u64HshKey2, tblPtr->u64HshKey3,
                                   tblPtr->u64HshKey4, tblPtr->u64HshKey5, tblPtr->u64HshKey6, tblPtr->u64HshKey7};
        const uint64_t swapLst[] = {tblPtr->u64HshSwap, tblPtr->u64HshSwap1, tblPtr->u64HshSwap2, tblPtr->u64HshSwap3};
        const uint32_t segCnt = keyBytes <= 16 ? 2 : keyBytes <= 32 ? 4 : 8;
        uint64_t swapped[8] = {};
        for (uint32_t i = 0; i < segCnt; i++) {
            const uint32_t below = 64 * (segCnt - 1 - i);
            const uint32_t width = keySiz > below ? std::min<uint32_t>(keySiz - below, 64) : 0;
            const uint64_t control = i & 1 ? swapLst[i / 2] & 0xffffffff : swapLst[i / 2] >> 32;
            CmSwpU64(width, keyLst[i], control, &swapped[i]);
        }
        uint32_t left = keyBytes;
        for (uint32_t pair = segCnt / 2; pair-- > 0 && left > 0;) {
            const uint32_t byteNum = std::min<uint32_t>(left, 16);
            left -= byteNum;
            CmSetDqword(swapped[2 * pair], swapped[2 * pair + 1], byteNum, buffer + left);
        }
    }
    return CmEnetCrcCalc(keyBytes, buffer);
}

/// Puts the words of a key into its 64-bit segments.
void setSegments(uint64_t *const (&segLst)[kKeyWdCnt / 2], const uint32_t *words, uint32_t wordCnt) {
    for (uint32_t i = 0; i + 1 < wordCnt; i += 2)
        *segLst[i / 2] = uint64_t{words[i]} << 32 | words[i + 1];
}

void clearExmRslt(CmExmTbl *tblPtr) {
    tblPtr->hshVal = 0;
    tblPtr->hshIdx = 0;
    tblPtr->hshHit = 0;
    tblPtr->tcamHit = 0;
    tblPtr->rsltIdx = 0;
    tblPtr->u32Rslt = 0;
    tblPtr->u64Rslt = 0;
}

/// The part behind the hash: bucket `hshIdx`, overflow TCAM, choice and result. A position in a bucket stands below the
/// bucket number shifted by `posBits` in the result index.
void searchKey(CmExmTbl *tblPtr, uint32_t posBits) {
    const uint32_t keyBytes = bytesOf(tblPtr->hshKeySiz);
    const uint32_t wdCnt = keyWdCnt(keyBytes);
    const KeyWords key = exmKey(tblPtr);

    const uint32_t total = tblPtr->hshBktTotal * tblPtr->hshBktSiz;
    uint32_t bucketIdx = 0;
    const uint64_t bktFirst = static_cast<uint64_t>(tblPtr->hshIdx) * tblPtr->hshBktTotal;
    const uint64_t bktLast = std::min<uint64_t>(bktFirst + tblPtr->hshBktTotal, tblPtr->hshBktSram.size() / wdCnt);
    for (uint64_t i = bktFirst; i < bktLast; i++) {
        const uint32_t *entry = tblPtr->hshBktSram.data() + i * wdCnt;
        if (!std::equal(entry, entry + wdCnt, key.w))
            continue;
        if (tblObserver)
            tblObserver->hit(entry, wdCnt, key.w, wdCnt);
        bucketIdx = (tblPtr->hshIdx << posBits) | static_cast<uint32_t>(i - bktFirst);
        tblPtr->hshHit = bucketIdx < total - tblPtr->tcamSiz || tblPtr->alwHshHitTcamRng;
        break;
    }

    uint32_t tcamIdx = 0;
    const auto onHit = [&](uint32_t i) {
        tellHit(tblPtr->tcam, keyBytes, key, i);
        tblPtr->tcamHit = 1;
        tcamIdx = total - tblPtr->tcamSiz + i;
        return false;
    };
    if (const CmTcamIdx *idx = indexOf(keyBytes, tblPtr->tcam, tblPtr->tcamSiz)) {
        const uint32_t i = idx->first(key.w);
        if (i != CmTcamIdx::kNone)
            onHit(i);
    } else {
        walkClass(keyBytes, tblPtr->tcam, key, 0, tblPtr->tcamSiz, onHit);
    }

    if (tblPtr->hshHit)
        tblPtr->rsltIdx = bucketIdx;
    else if (tblPtr->tcamHit)
        tblPtr->rsltIdx = tcamIdx;
    else
        tblPtr->rsltIdx = tblPtr->rsltUnkIdx;
    readRslt(tblPtr);
}

} // namespace

void CmTcamLu(CmTcamTbl *tblPtr) {
    clearTcamRslt(tblPtr);
    tblPtr->hitCount = 0;

    const uint32_t keyBytes = bytesOf(tblPtr->keySiz);
    const KeyWords key = tcamKey(tblPtr);
    bool firstNoted = false;
    const auto onHit = [&](uint32_t i) {
        if (tblPtr->hitCount == kHitListSiz)
            return false;
        tellHit(tblPtr->tcam, keyBytes, key, i);
        // The chip flags a hit of a short key before it asks for the first one, so it notes none.
        if (keyBytes > 4 && !tblPtr->tcamHit) {
            tblPtr->rsltIdx = i;
            firstNoted = true;
        }
        tblPtr->tcamHit = 1;
        tblPtr->hitList[tblPtr->hitCount++] = i;
        return true;
    };
    if (keyBytes <= 16) {
        if (const CmTcamIdx *idx = indexOf(tblPtr, keyBytes))
            idx->all(key.w, onHit);
        else
            walkBanks(tblPtr, [&](uint64_t first, uint64_t last) {
                return walkClass(keyBytes, tblPtr->tcam, key, first, last, onHit);
            });
    }
    if (!firstNoted)
        tblPtr->rsltIdx = tblPtr->rsltUnkIdx;
    readRslt(tblPtr);
}

void CmTcamLu1Hot(CmTcamTbl *tblPtr) {
    clearTcamRslt(tblPtr);

    const uint32_t keyBytes = bytesOf(tblPtr->keySiz);
    if (keyBytes > 64) {
        cmStop("CmTcamLu1Hot: no search for a key of " + std::to_string(tblPtr->keySiz) + " bits");
        std::printf("CmTcamLu1Hot: Key width (%d) > 512 is not yet supported\n", static_cast<int>(tblPtr->keySiz));
        std::exit(0);
    }
    const KeyWords key = tcamKey(tblPtr);
    const auto onHit = [&](uint32_t i) {
        tellHit(tblPtr->tcam, keyBytes, key, i);
        tblPtr->tcamHit = 1;
        tblPtr->rsltIdx = i;
        return false;
    };
    if (const CmTcamIdx *idx = indexOf(tblPtr, keyBytes)) {
        const uint32_t i = idx->first(key.w);
        if (i != CmTcamIdx::kNone)
            onHit(i);
    } else {
        walkBanks(tblPtr, [&](uint64_t first, uint64_t last) {
            return walkClass(keyBytes, tblPtr->tcam, key, first, last, onHit);
        });
    }
    if (!tblPtr->tcamHit)
        tblPtr->rsltIdx = tblPtr->rsltUnkIdx;
    readRslt(tblPtr);
}

void CmHalfTcamLu(CmTcamTbl *tblPtr) {
    clearTcamRslt(tblPtr);

    const uint32_t keyBytes = bytesOf(tblPtr->keySiz);
    const uint32_t wdCnt = keyBytes <= 4 ? 1 : 2;
    const KeyWords key = tcamKey(tblPtr);
    if (keyBytes <= 8)
        walkBanks(tblPtr, [&](uint64_t first, uint64_t last) {
            for (uint64_t i = first; i < last; i++) {
                // The chip takes the half from the row's number, which is even: an odd entry reads its neighbour's
                // words.
                const uint64_t x = 2 * (i & ~1ull) * wdCnt;
                const uint64_t y = x + 2 * wdCnt;
                if (y + wdCnt > tblPtr->tcam.size())
                    return false;
                uint32_t word = 0;
                while (word < wdCnt && !wordMiss(tblPtr->tcam[x + word], tblPtr->tcam[y + word], key.w[word]))
                    word++;
                if (word == wdCnt) {
                    tblPtr->tcamHit = 1;
                    tblPtr->rsltIdx = static_cast<uint32_t>(i);
                    return false;
                }
            }
            return true;
        });
    if (!tblPtr->tcamHit)
        tblPtr->rsltIdx = tblPtr->rsltUnkIdx;
    readRslt(tblPtr);
}

void CmExmLu(CmExmTbl *tblPtr) {
    clearExmRslt(tblPtr);
    if (bytesOf(tblPtr->hshKeySiz) > 64) {
        cmStop("CmExmLu: no hash for a key of " + std::to_string(tblPtr->hshKeySiz) + " bits");
        std::fprintf(stderr, "CmExmLu: no hash for a key of %u bits\n", tblPtr->hshKeySiz);
        std::abort();
    }

    const uint32_t posBits = topBit(tblPtr->hshBktTotal);
    const uint32_t hshBits = posBits + topBit(tblPtr->hshBktSiz);
    // A hash as wide as the CRC, or wider, takes the CRC as it is; one of no bits is 0.
    const uint32_t mask = hshBits == 0 ? 0 : hshBits < 32 ? 0xffffffffu >> (32 - hshBits) : 0xffffffffu;
    tblPtr->hshVal = hashKey(tblPtr) & mask;
    tblPtr->hshIdx = luWord(tblPtr->hshIdxSram, tblPtr->hshVal);
    searchKey(tblPtr, posBits);
}

void CmL2ExmLu(CmExmTbl *tblPtr) {
    clearExmRslt(tblPtr);
    if (bytesOf(tblPtr->hshKeySiz) > 16)
        return;

    const uint32_t crc = hashKey(tblPtr);
    tblPtr->hshVal = bits(crc, kL2ExmHashBits - 1, 0);
    constexpr TblElems bkts = tblPlace<&L2ExmIdx::bkt>;
    const uint32_t pair = luWord(tblPtr->hshIdxSram, elemEntry<&L2ExmIdx::bkt>(tblPtr->hshVal));
    tblPtr->hshIdx = tblPieceBits(&pair, bkts.piece(tblPtr->hshVal % bkts.count));
    searchKey(tblPtr, kL2ExmPosBits);
}

void CmTcamSetKey(CmTcamTbl *tblPtr, const uint32_t *words, uint32_t wordCnt) {
    tblPtr->keySiz = wordCnt * 32;
    if (wordCnt == 1)
        tblPtr->u32Key = words[0];
    uint64_t *const segLst[] = {&tblPtr->u64Key,  &tblPtr->u64Key1, &tblPtr->u64Key2, &tblPtr->u64Key3,
                                &tblPtr->u64Key4, &tblPtr->u64Key5, &tblPtr->u64Key6, &tblPtr->u64Key7};
    setSegments(segLst, words, wordCnt);
}

void CmExmSetKey(CmExmTbl *tblPtr, const uint32_t *words, uint32_t wordCnt) {
    if (wordCnt == 1)
        tblPtr->u32HshKey = words[0];
    uint64_t *const segLst[] = {&tblPtr->u64HshKey,  &tblPtr->u64HshKey1, &tblPtr->u64HshKey2, &tblPtr->u64HshKey3,
                                &tblPtr->u64HshKey4, &tblPtr->u64HshKey5, &tblPtr->u64HshKey6, &tblPtr->u64HshKey7};
    setSegments(segLst, words, wordCnt);
}
