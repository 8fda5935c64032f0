#pragma once
// Names and values of table fields, for every program that takes or shows entries by field:
//
//     const TblRow *row = tblRow("tfe_tcam");
//     TblFieldRef ref = tblChoose(*row, "", "vrf_id", {image, rowOff, 16 * 5}, error); // the form that holds there
//     std::string text = tblShowMatch(*ref.field, tblMatchOf(ref, 0, entryWords));     // "7", "0x10/0xff0", "*"
//
// An entry is given as its words in host order, all `desc.words` of them.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tbl/tsr_tbl_desc.h"

/// A field of one layout. `field` is null when nothing was found.
struct TblFieldRef {
    const TblDesc *desc;
    const TblField *field;
};

/// A row of the dump with its layouts, called forms, and their fields by name.
class TblRow {
public:
    explicit TblRow(std::span<const TblDesc> forms);

    std::span<const TblDesc> forms() const { return forms_; }

    /// The fields `name` of all forms, in the order of the forms.
    std::span<const TblFieldRef> find(std::string_view name) const;

private:
    std::span<const TblDesc> forms_;
    std::unordered_map<std::string_view, std::vector<TblFieldRef>> fields_;
};

/// The row `name` of the dump if it is listed with its layouts, or as one whose layout is not known (a form without
/// fields); else null.
const TblRow *tblRow(std::string_view name);

/// Whether the entries of a row may begin at any word: the queue stage counts them in words. Everywhere else an entry
/// begins at a multiple of its own size.
bool tblBeginsAnywhere(const TblDesc &desc);

// ---- Forms ---------------------------------------------------------------------------------------------------------

/// An entry's place: the dump's image, in the order of the file, the byte of the image where the row begins, and the
/// byte in the row where the entry begins.
struct TblPlace {
    const void *image;
    uint32_t rowOff;
    uint32_t off;
};

/// Whether a form holds for an entry. UNKNOWN: the image alone does not tell, as for a form by the kind of frame, or by
/// a field of a ternary row that leaves it open.
enum class TblHolds { NO, YES, UNKNOWN };

TblHolds tblHolds(const TblDesc &desc, const TblPlace &place);

/// The field `name` of the entry at `place`, in the form `form` (a record's name) or, when that is empty, in the form
/// that has the field; if several have it, in the one that holds there, or in any if it stands at the same bits in all
/// of them. Otherwise a null field, with what is wrong and the nearest right names in `error`.
TblFieldRef tblChoose(const TblRow &row, std::string_view form, std::string_view name, const TblPlace &place,
                      std::string &error);

/// Up to three of `names` that are spelled like `word`, as "; near: a, b"; empty when there are none. `far` takes the
/// three nearest however far they are.
std::string tblNear(std::string_view word, std::span<const std::string_view> names, bool far);

// ---- Entries -------------------------------------------------------------------------------------------------------

/// What a key's field of a ternary row asks for: the bits of `value` where `mask` is 1; the others may be anything.
struct TblMatch {
    TblWide value;
    TblWide mask;
};

/// The bits of a field, whose width is 1 to 128.
TblWide tblAllOnes(unsigned width);

/// Element `elem` of a field in a plain entry, or in one half of a ternary one.
TblWide tblValueOf(const TblField &field, unsigned elem, const uint32_t *words);

/// Puts it there; the words' other bits stay.
void tblPutValue(const TblField &field, unsigned elem, uint32_t *words, const TblWide &value);

/// What a ternary row asks of element `elem` of a field. Bits that can never match, with both halves set, count as
/// asked for as 1.
TblMatch tblMatchOf(const TblFieldRef &ref, unsigned elem, const uint32_t *words);

/// Puts it there: a bit that must be 1 is set in the first half alone, one that must be 0 in the second alone, and one
/// that may be anything in neither.
void tblPutMatch(const TblFieldRef &ref, unsigned elem, uint32_t *words, const TblMatch &match);

/// Whether a ternary row can match no key: some bit that the load keeps is set in both halves.
bool tblIsNever(const TblDesc &desc, const uint32_t *words);

/// What of `words` the load does not bring into the model: "the load drops bits 31 to 12 of word 1", "the load leaves
/// rte_x out", or empty when it brings all bits that are 1.
std::string tblDropped(const TblDesc &desc, const uint32_t *words);

// ---- Values as text ------------------------------------------------------------------------------------------------

enum class TblRead { OK, BAD, TOO_WIDE };

/// Reads a value of `width` bits, which must be all of `text`: a decimal number, a hexadecimal one after 0x of any
/// length, or what people write for the kind: MAC 02:00:00:00:00:a1, IPV4 10.0.1.9, IPV6 2001:db8::1 (also with an IPv4
/// address at its end), FCID 01.02.03 (three hexadecimal bytes).
TblRead tblReadValue(std::string_view text, TblKind kind, unsigned width, TblWide &value);

/// Reads what a key's field shall match: a value, a value and a mask behind '/', or "*" for anything. The mask is
/// written as a value is; behind an IPv4 or IPv6 address that is written as such, a decimal number is the length of a
/// prefix.
TblRead tblReadMatch(std::string_view text, TblKind kind, unsigned width, TblMatch &match);

/// A value as `tblReadValue` takes it: decimal for what is counted, hexadecimal for what is not, an address as people
/// write it.
std::string tblShowValue(const TblField &field, const TblWide &value);

/// A match as `tblReadMatch` takes it: "*", a value, or a value with a mask or prefix.
std::string tblShowMatch(const TblField &field, const TblMatch &match);
