#pragma once
// The layouts of tsr_tbl.def as data: for programs that show, name, set or search an entry by its fields.

#include <array>
#include <cstdint>
#include <span>

#include "tbl/tsr_tbl.h"

/// How a person reads a field's value.
enum class TblKind { NUM, HEX, BOOL, MAC, IPV4, IPV6, FCID, GID, VID, ETYP, PROT, PORT };

/// What the words of a memory are: configuration, counters, activity and age, what the chip learned, captured keys and
/// results, or the scratch of a block.
enum class TblUse { CFG, CNT, ACT, LRN, HIS, TMP };

/// When a layout holds: always, in banks of some types, when a field of the entry has one value, or for frames of one
/// kind.
struct TblForm {
    enum Kind { ALWAYS, TFE_BANK, TAE_BANK, WHEN, FRAME } kind;
    const char *field; ///< the field, for WHEN; the kind of frame, for FRAME
    uint32_t value;    ///< a bit for each type of bank, or the field's value
};

/// One field, or an array of equal ones.
struct TblField {
    static constexpr size_t kMaxPieces = 36;

    const char *name;
    uint16_t width; ///< bits of one element
    uint16_t count; ///< elements; 1 for a plain field
    int16_t step;   ///< bits from one element to the next, downwards in the words
    bool isArr;     ///< named with a subscript
    bool isAlt;     ///< another reading of bits that an earlier field has
    TblKind kind;
    const char *text;
    uint16_t numPieces;
    std::array<TblPiece, kMaxPieces> piece; ///< of element 0, as many as numPieces says

    /// Piece `i` of element `idx`.
    constexpr TblPiece at(size_t i, unsigned idx) const {
        const TblPiece &p = piece[i];
        return idx == 0 ? p : tblElem(p.word, p.lo + p.width - 1u, p.lo, step, idx);
    }
};

/// The layout of one kind of entry.
struct TblDesc {
    const char *type; ///< the record's name
    TblForm form;
    const char *row; ///< the dump's row
    const char *mem; ///< the model's memory; null when the load leaves the row out
    uint32_t words;  ///< of a whole entry
    bool isTcam;     ///< two halves, each as the fields say
    TblUse use;
    const char *text;
    std::span<const TblField> field;   ///< empty when the layout is not known
    std::span<const uint32_t> loadMsk; ///< the bits of each word that the load keeps, again from the first word on in
                                       ///< a longer entry; empty when it keeps all
    bool fromImage = false;            ///< a stage reads the entry from the image itself, not from the model

    /// The bits of word `w` of an entry that the load keeps.
    constexpr uint32_t kept(uint32_t w) const { return loadMsk.empty() ? 0xffffffff : loadMsk[w % loadMsk.size()]; }

    /// Words of the part that the fields describe.
    constexpr uint32_t keyWords() const { return isTcam ? words / 2 : words; }
};

/// All layouts, in the order of the lists; forms of one row stand one behind the other.
std::span<const TblDesc> tblDescs();
