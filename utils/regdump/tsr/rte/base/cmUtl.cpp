#include "base/cmUtl.h"

namespace {

/// A checksum table of 256 entries.
template <class Word> struct CrcTable {
    Word value[256] = {};
};

/// Table of the reflected CRC-32 of Ethernet: one byte a step, low bit first.
constexpr CrcTable<uint32_t> kCrcTable = [] {
    CrcTable<uint32_t> table;
    for (uint32_t i = 0; i < 256; i++) {
        uint32_t value = i;
        for (int step = 0; step < 8; step++)
            value = value & 1 ? value >> 1 ^ 0xedb88320u : value >> 1;
        table.value[i] = value;
    }
    return table;
}();

/// CRC of `len` bytes before the complement. A short input has a short start value: 8 bits of ones for each byte.
uint32_t crcOf(uint32_t len, const uint8_t *frm) {
    uint32_t value = 0xffffffffu;
    if (len < 4)
        value = len ? value >> (4 - len) * 8 : 0;
    for (uint32_t i = 0; i < len; i++)
        value = kCrcTable.value[(value ^ frm[i]) & 0xff] ^ value >> 8;
    return value;
}

/// The 32 bits of `control` twice each: bit i becomes bits 2i and 2i + 1.
uint64_t doubled(uint64_t control) {
    control &= 0xffffffff;
    control = (control | control << 16) & 0x0000ffff0000ffff;
    control = (control | control << 8) & 0x00ff00ff00ff00ff;
    control = (control | control << 4) & 0x0f0f0f0f0f0f0f0f;
    control = (control | control << 2) & 0x3333333333333333;
    control = (control | control << 1) & 0x5555555555555555;
    return control * 3;
}

/// Pairs 0 to (keyBitSiz + 1) / 2 - 1 of `key`, those under a set control bit with their two bits exchanged.
uint64_t swapPairs(uint32_t keyBitSiz, uint64_t key, uint64_t swap) {
    const uint32_t pairCnt = (keyBitSiz + 1) / 2;
    const uint64_t pairs = pairCnt >= 32 ? ~0ull : (1ull << 2 * pairCnt) - 1;
    const uint64_t exchanged = doubled(swap);
    const uint64_t other = (key >> 1 & 0x5555555555555555) | (key << 1 & 0xaaaaaaaaaaaaaaaa);
    return ((key & ~exchanged) | (other & exchanged)) & pairs;
}

void setBytes(uint64_t value, uint32_t byteNum, uint8_t *byteLst) {
    for (uint32_t i = 0; i < byteNum; i++)
        byteLst[i] = static_cast<uint8_t>(value >> 8 * (byteNum - 1 - i));
}

} // namespace

void CmGetDword(uint32_t byteNum, const uint8_t *byteLst, uint32_t *dwordPtr) {
    uint32_t value = 0;
    for (uint32_t i = 0; i < byteNum; i++)
        value = value << 8 | byteLst[i];
    *dwordPtr = value;
}

void CmGetQword(uint32_t byteNum, const uint8_t *byteLst, uint64_t *qwordPtr) {
    uint64_t value = 0;
    for (uint32_t i = 0; i < byteNum; i++)
        value = value << 8 | byteLst[i];
    *qwordPtr = value;
}

void CmSetDword(uint32_t dword, uint32_t byteNum, uint8_t *byteLst) {
    if (byteNum <= 4)
        setBytes(dword, byteNum, byteLst);
}

void CmSetQword(uint64_t qword, uint32_t byteNum, uint8_t *byteLst) {
    if (byteNum <= 8)
        setBytes(qword, byteNum, byteLst);
}

void CmSetDqword(uint64_t qword0, uint64_t qword1, uint32_t byteNum, uint8_t *byteLst) {
    if (byteNum > 16)
        return;
    if (byteNum <= 8) {
        setBytes(qword1, byteNum, byteLst);
        return;
    }
    setBytes(qword0, byteNum - 8, byteLst);
    setBytes(qword1, 8, byteLst + byteNum - 8);
}

void CmSwpU32(uint32_t keyBitSiz, uint32_t key, uint32_t swap, uint32_t *swappedKeyPtr) {
    *swappedKeyPtr = static_cast<uint32_t>(swapPairs(keyBitSiz, key, swap));
}

void CmSwpU64(uint32_t keyBitSiz, uint64_t key, uint64_t swap, uint64_t *swappedKeyPtr) {
    *swappedKeyPtr = swapPairs(keyBitSiz, key, swap);
}

void reverseKey(uint32_t *key, uint32_t wdCnt) {
    for (uint32_t i = 0; i < wdCnt / 2; i++) {
        const uint32_t word = key[i];
        key[i] = key[wdCnt - 1 - i];
        key[wdCnt - 1 - i] = word;
    }
}

void BuildCrcTable(void) {}

void CalcEnetCrc(int len, const uint8_t *frm, uint8_t *crc) {
    const uint32_t value = ~crcOf(len > 0 ? static_cast<uint32_t>(len) : 0, frm);
    for (int i = 0; i < 4; i++)
        crc[i] = static_cast<uint8_t>(value >> 8 * i);
}

void BuildCrc8Table(void) {}

void CalcEnetCrc8(int len, const uint8_t *frm, uint8_t *crc) {
    // The chip's table is the identity, so the checksum comes to the XOR of all bytes.
    uint8_t value = 0xff;
    for (int i = 0; i < len; i++)
        value ^= frm[i];
    *crc = static_cast<uint8_t>(~value);
}

int recalcEnetCrc(uint8_t *pkt, uint32_t pkt_len) {
    CalcEnetCrc(static_cast<int>(pkt_len) - 4, pkt, pkt + pkt_len - 4);
    return 0;
}

void CmEnetCrcInit(void) {}

uint32_t CmEnetCrcCalc(uint32_t len, const uint8_t *frm) {
    return __builtin_bswap32(~crcOf(len, frm));
}
