#pragma once
// Table searches over plain word images of the chip's memories: ternary match, and hash with an overflow TCAM. They
// know nothing of frames.

#include <cstdint>
#include <span>

/// Words of one memory image. A chip memory (an array) converts to it as it stands and brings its size along; a default
/// one stands for "no memory". A search reads nothing beyond it: entries out there do not match, words read 0.
using CmLuMem = std::span<const uint32_t>;

/// Entries that one search lists at most.
inline constexpr uint32_t kHitListSiz = 1024;

/// Parameters and results of a ternary search.
///
/// An entry is an X half followed by a Y half of 1, 2, 4, 8 or 16 words each, for keys of up to 4, 8, 16, 32 and 64
/// bytes; words stand in key order, most significant first. X=1 Y=0 asks for a key bit of 1, X=0 Y=1 for 0, X=Y=0 for
/// nothing; an entry with X=Y=1 in any bit never matches.
struct CmTcamTbl {
    uint32_t keySiz = 0;  // key width in bits
    uint32_t u32Key = 0;  // key of up to 32 bits, right-aligned
    uint64_t u64Key = 0;  // longer key in 64-bit segments, most significant first
    uint64_t u64Key1 = 0; // a key fills as many segments as its width class has words for, right-aligned
    uint64_t u64Key2 = 0;
    uint64_t u64Key3 = 0;
    uint64_t u64Key4 = 0;
    uint64_t u64Key5 = 0;
    uint64_t u64Key6 = 0;
    uint64_t u64Key7 = 0;
    uint32_t tcamSiz = 0; // entries
    CmLuMem tcam;
    uint32_t rsltUnkIdx = 0;       // result index when nothing was hit
    CmLuMem rsltSram;              // result memory, or none
    uint32_t rsltHasQw = 0;        // a result is a 64-bit word, high word first; else a 32-bit one
    uint32_t tcamBnkSiz = 0;       // entries in a bank; 0: no banks
    uint32_t tcamBnkEnMsk = 0;     // enable bit of each bank, bit 0 for bank 0
    uint32_t tcamHit = 0;          // out: something was hit
    uint32_t rsltIdx = 0;          // out: index of the first hit, or rsltUnkIdx
    uint32_t u32Rslt = 0;          // out: the result when rsltHasQw is 0
    uint64_t u64Rslt = 0;          // out: the result when it is not
    uint32_t hitCount = 0;         // out: entries in hitList
    uint32_t hitList[kHitListSiz]; // out: indices of the matching entries, ascending; only hitCount of them are set
};

/// Parameters and results of an exact match. A bucket entry is the plain key in 1, 2, 4, 8 or 16 words; the overflow
/// TCAM has entries as CmTcamTbl describes them.
struct CmExmTbl {
    uint32_t hshKeySiz = 0;  // key width in bits
    uint32_t u32HshSwap = 0; // swap control of a key of up to 32 bits
    uint32_t u32HshKey = 0;  // key of up to 32 bits, right-aligned
    uint64_t u64HshSwap = 0; // swap control of longer keys: high word for the even segment, low word for the odd one
    uint64_t u64HshSwap1 = 0;
    uint64_t u64HshSwap2 = 0;
    uint64_t u64HshSwap3 = 0;
    uint64_t u64HshKey = 0; // longer key in 64-bit segments, most significant first
    uint64_t u64HshKey1 = 0;
    uint64_t u64HshKey2 = 0;
    uint64_t u64HshKey3 = 0;
    uint64_t u64HshKey4 = 0;
    uint64_t u64HshKey5 = 0;
    uint64_t u64HshKey6 = 0;
    uint64_t u64HshKey7 = 0;
    CmLuMem hshIdxSram;       // hash value to bucket number
    uint32_t hshBktTotal = 0; // entries in one bucket, a power of two (the two names are crossed in the chip)
    uint32_t hshBktSiz = 0;   // number of buckets
    CmLuMem hshBktSram;       // the stored keys
    uint32_t tcamSiz = 0;     // entries in the overflow TCAM; their results are the last ones
    CmLuMem tcam;
    uint32_t rsltUnkIdx = 0;       // result index on a miss
    CmLuMem rsltSram;              // result memory, or none
    uint32_t rsltHasQw = 0;        // a result is a 64-bit word, high word first; else a 32-bit one
    uint32_t alwHshHitTcamRng = 0; // a bucket hit at an index of the TCAM's results counts
    uint32_t hshVal = 0;           // out: the masked hash
    uint32_t hshIdx = 0;           // out: the bucket number read
    uint32_t hshHit = 0;           // out: a bucket entry was hit
    uint32_t tcamHit = 0;          // out: the overflow TCAM was hit
    uint32_t rsltIdx = 0;          // out: the chosen result index
    uint32_t u32Rslt = 0;          // out: the result when rsltHasQw is 0
    uint64_t u64Rslt = 0;          // out: the result when it is not
};

/// Lists all matching entries. A key of up to 32 bits reports its hits in `tcamHit` and `hitList` only, `rsltIdx` stays
/// `rsltUnkIdx`. More than 1024 hits end the walk; a key above 128 bits finds nothing.
void CmTcamLu(CmTcamTbl *tblPtr);

/// Finds the first matching entry; `hitCount` and `hitList` are left alone. A key above 512 bits ends the process with
/// status 0.
void CmTcamLu1Hot(CmTcamTbl *tblPtr);

/// Finds the first matching entry of a TCAM with two half-width entries in a row, keys up to 64 bits; a longer key
/// finds nothing.
void CmHalfTcamLu(CmTcamTbl *tblPtr);

/// Exact match with the geometry of the record, keys up to 512 bits; a longer one aborts the process.
void CmExmLu(CmExmTbl *tblPtr);

/// Exact match with the layer-2 index memory: 19-bit hash, two 14-bit bucket numbers a word, buckets of 32 entries. A
/// key above 128 bits leaves all results 0.
void CmL2ExmLu(CmExmTbl *tblPtr);

/// Sets the key: `wordCnt` words in the order of an entry, 1, 2, 4, 8 or 16 of them, which are its width class.
void CmTcamSetKey(CmTcamTbl *tblPtr, const uint32_t *words, uint32_t wordCnt);

/// Sets the key of an exact match likewise; its width in bits stays the caller's.
void CmExmSetKey(CmExmTbl *tblPtr, const uint32_t *words, uint32_t wordCnt);
