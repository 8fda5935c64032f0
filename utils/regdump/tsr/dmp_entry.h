#pragma once
// Entries of the image by the names of their fields, for the stages that read the image itself.

#include "cm.h"
#include "tbl/tsr_tbl.h"

#include <array>

/// Where an entry stands: kOffset is the byte offset of its row in `Dmp`, the record of the image or of a group.
template <class Entry> struct DmpRow;
#define DMP(Type, form, rowName, words, use, text, ...)                                                                \
    template <> struct DmpRow<Type> { template <class Dmp> static constexpr size_t kOffset = offsetof(Dmp, rowName); };
#include "tbl/tsr_tbl.def"

template <class Entry> using EntryWords = std::array<uint32_t, Entry::kWords>;

/// The words of an entry that starts at word `idx` of the image, counted flat from byte offset `base`. As the chip's
/// formulas do, it reads on behind the row; words past the image are 0.
template <class Entry> EntryWords<Entry> dmpWords(const tsr_dmp_t *tsr_reg, size_t base, uint64_t idx) {
    EntryWords<Entry> words;
    for (uint32_t i = 0; i < Entry::kWords; i++)
        words[i] = dmpWord(tsr_reg, base, idx + i);
    if (tblObserver)
        tblObserver->dump(base + idx * 4, words.data(), Entry::kWords);
    return words;
}

/// The words of entry `idx` of its row, beyond the row and the image as above.
template <class Entry> EntryWords<Entry> dmpEntryWords(const tsr_dmp_t *tsr_reg, uint64_t idx = 0) {
    return dmpWords<Entry>(tsr_reg, DmpRow<Entry>::template kOffset<tsr_dmp_t>, idx * Entry::kWords);
}

/// Entry `idx` of its row, or the one that starts at word `word` of it; beyond the row and the image as above.
template <class Entry> Entry dmpEntry(const tsr_dmp_t *tsr_reg, uint64_t idx = 0) {
    return entryAt<Entry>(dmpEntryWords<Entry>(tsr_reg, idx).data());
}
template <class Entry> Entry dmpEntryAtWord(const tsr_dmp_t *tsr_reg, uint64_t word) {
    return entryAt<Entry>(dmpWords<Entry>(tsr_reg, DmpRow<Entry>::template kOffset<tsr_dmp_t>, word).data());
}

/// Entry `idx` of a row of the registers of port `port`, or of the group of four ports `quad`.
template <class Entry> Entry dmpPortEntry(const tsr_dmp_t *tsr_reg, uint32_t port, uint64_t idx = 0) {
    constexpr uint64_t portWords = sizeof tsr_reg->ephy_reg[0] / 4;
    constexpr uint64_t row = DmpRow<Entry>::template kOffset<tsr_ephy_dmp_t> / 4;
    const uint64_t word = port * portWords + row + idx * Entry::kWords;
    return entryAt<Entry>(dmpWords<Entry>(tsr_reg, offsetof(tsr_dmp_t, ephy_reg), word).data());
}
template <class Entry> Entry dmpQuadEntry(const tsr_dmp_t *tsr_reg, uint32_t quad, uint64_t idx = 0) {
    constexpr uint64_t quadWords = sizeof tsr_reg->emc_quad[0] / 4;
    constexpr uint64_t row = DmpRow<Entry>::template kOffset<tsr_emc_quad_dmp_t> / 4;
    const uint64_t word = quad * quadWords + row + idx * Entry::kWords;
    return entryAt<Entry>(dmpWords<Entry>(tsr_reg, offsetof(tsr_dmp_t, emc_quad), word).data());
}

/// Writes entry `idx` of its row into the image, bits without a field as 0. Words past the image are lost.
template <class Entry> void setDmpEntry(tsr_dmp_t *tsr_reg, uint64_t idx, const Entry &entry) {
    EntryWords<Entry> words{};
    pack(entry, words.data());
    for (uint32_t i = 0; i < Entry::kWords; i++)
        setDmpWord(tsr_reg, DmpRow<Entry>::template kOffset<tsr_dmp_t>, idx * Entry::kWords + i, words[i]);
}

/// The field `Member` of an entry, which must stand in one piece, where it stands in its word; the other bits are 0.
template <auto Member> constexpr uint32_t inPlace(const EntryWords<TblRecordOf<Member>> &words) {
    static_assert(tblPlace<Member>.size() == 1);
    constexpr TblPiece piece = tblPlace<Member>[0];
    return tblPieceBits(words.data(), piece) << piece.lo;
}

/// Element `idx` of an array of fields; 0 behind the last.
template <size_t N> constexpr uint32_t element(const std::array<uint32_t, N> &fields, uint64_t idx) {
    return idx < N ? fields[idx] : 0;
}

/// The halves in which the side bands hold a MAC address: its upper 32 and its lower 16 bits.
constexpr uint32_t macUpper(uint64_t mac) {
    return static_cast<uint32_t>(mac >> 16);
}
constexpr uint32_t macLower(uint64_t mac) {
    return static_cast<uint32_t>(mac & 0xffff);
}
