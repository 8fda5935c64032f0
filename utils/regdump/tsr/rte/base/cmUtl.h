#pragma once
// Bits, byte lists in network order, the bit-pair swap of hash keys, and checksums.

#include <algorithm>
#include <cstdint>
#include <initializer_list>

/// Bits `hi` to `lo` of `word`, shifted down; 31 >= hi >= lo.
constexpr uint32_t bits(uint32_t word, unsigned hi, unsigned lo) {
    return (word >> lo) & (0xffffffffu >> (31 - (hi - lo)));
}

/// Bit `n` of `word`; 0 for an `n` above 31.
constexpr uint32_t bit(uint32_t word, unsigned n) {
    return n < 32 ? (word >> n) & 1 : 0;
}

/// Bits `hi` to `lo` of the 64-bit `word`, shifted down; 63 >= hi >= lo.
constexpr uint64_t bits64(uint64_t word, unsigned hi, unsigned lo) {
    return (word >> lo) & (~0ull >> (63 - (hi - lo)));
}

/// `word` with bits `hi` to `lo` replaced by the low bits of `value`.
constexpr uint32_t setBits(uint32_t word, unsigned hi, unsigned lo, uint32_t value) {
    const uint32_t mask = 0xffffffffu >> (31 - (hi - lo)) << lo;
    return (word & ~mask) | (value << lo & mask);
}

/// Whether `list` holds `value`.
inline bool isOneOf(uint32_t value, std::initializer_list<uint32_t> list) {
    return std::find(list.begin(), list.end(), value) != list.end();
}

/// Reads `byteNum` bytes, first byte most significant, zero-extended. The caller keeps `byteNum` within 4 or 8.
void CmGetDword(uint32_t byteNum, const uint8_t *byteLst, uint32_t *dwordPtr);
void CmGetQword(uint32_t byteNum, const uint8_t *byteLst, uint64_t *qwordPtr);

/// Write the low `byteNum` bytes of a value, most significant first; `qword0` is the upper half of 128 bits. A
/// `byteNum` of 0, or above 4, 8 and 16, writes nothing.
void CmSetDword(uint32_t dword, uint32_t byteNum, uint8_t *byteLst);
void CmSetQword(uint64_t qword, uint32_t byteNum, uint8_t *byteLst);
void CmSetDqword(uint64_t qword0, uint64_t qword1, uint32_t byteNum, uint8_t *byteLst);

/// Exchange the two bits of each pair (2i, 2i + 1) of the `keyBitSiz`-bit `key` whose control bit i of `swap` is set.
/// Bits above the last pair are 0 in the result.
void CmSwpU32(uint32_t keyBitSiz, uint32_t key, uint32_t swap, uint32_t *swappedKeyPtr);
void CmSwpU64(uint32_t keyBitSiz, uint64_t key, uint64_t swap, uint64_t *swappedKeyPtr);

/// Reverses the order of `wdCnt` words in place.
void reverseKey(uint32_t *key, uint32_t wdCnt);

/// Ethernet's CRC-32 over `len` bytes; the four result bytes stand in `crc` as on the wire. An input shorter than four
/// bytes starts from a shorter value. The tables of the checksums are constant: the functions that once built them do
/// nothing.
void BuildCrcTable(void);
void CalcEnetCrc(int len, const uint8_t *frm, uint8_t *crc);

/// The one-byte checksum of `len` bytes: their XOR, as the chip has it.
void BuildCrc8Table(void);
void CalcEnetCrc8(int len, const uint8_t *frm, uint8_t *crc);

/// Writes the frame check sequence of a frame of `pkt_len` bytes over its last four bytes. Returns 0.
int recalcEnetCrc(uint8_t *pkt, uint32_t pkt_len);

/// The model's copy of the CRC-32: the result has the first wire byte on top.
void CmEnetCrcInit(void);
uint32_t CmEnetCrcCalc(uint32_t len, const uint8_t *frm);
