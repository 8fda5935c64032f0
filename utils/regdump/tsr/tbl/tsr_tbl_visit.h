#pragma once
// The fields of a record one by one, with their names.

#include "tbl/tsr_tbl.h"

// forEachField calls `f(name, value, width, lowest piece)` for each field of `entry` in the order of the list. An array
// gives each of its elements under its name; other readings of a field's bits are left out.
#define TBL_VISIT(Type, ...)                                                                                           \
    template <class F> constexpr void forEachField(const Type &entry, F &&f) {                                         \
        __VA_ARGS__                                                                                                    \
    }
#define ENTRY(Type, form, row, mem, words, use, text, ...) TBL_VISIT(Type, __VA_ARGS__)
#define TCAM(Type, form, row, mem, words, use, text, ...) TBL_VISIT(Type, __VA_ARGS__)
#define DMP(Type, form, row, words, use, text, ...) TBL_VISIT(Type, __VA_ARGS__)
#define PC(hi, lo, word, top) tblPiece(hi, lo, word, top),
#define FLD(name, word, hi, lo, kind, text) f(#name, entry.name, (hi) - (lo) + 1u, tblPiece((hi) - (lo), 0, word, hi));
#define FLDP(name, width, kind, text, ...)                                                                             \
    f(#name, entry.name, unsigned{width}, std::to_array<TblPiece>({__VA_ARGS__}).back());
#define FLDA(name, count, word, hi, lo, step, kind, text)                                                              \
    for (unsigned i = 0; i < (count); i++)                                                                             \
        f(#name, entry.name[i], (hi) - (lo) + 1u, tblElem(word, hi, lo, step, i));
#include "tbl/tsr_tbl.def"
#undef TBL_VISIT
