#include "tbl/tsr_tbl_desc.h"

#include <iterator>
#include <string_view>

namespace {

// ---- The bits that the load keeps ----------------------------------------------------------------------------------

/// One memory of the model and the masks of an entry's words.
struct LoadMsk {
    std::string_view mem;
    std::array<uint32_t, 32> msk;
    uint32_t words;
};

constexpr LoadMsk kLoadMsks[] = {
// Each list undefines its macro.
#define MEM(first, last, name, words, ...) {#name, {__VA_ARGS__}, words},
#include "base/cmRteHsiMem.def"
#define MEM(first, last, name, words, ...) {#name, {__VA_ARGS__}, words},
#include "tae/cmTaeHsiMem.def"
#define MEM(first, last, name, words, ...) {#name, {__VA_ARGS__}, words},
#include "tfe/cmTfeHsiMem.def"
    {"TAE_RSLT_MEM", {0xff, 0xffffffff, 0xffffffff, 0xffffffff}, 4}, // a named object of 104 bits
};

consteval std::span<const uint32_t> loadMsk(std::string_view mem) {
    for (const LoadMsk &m : kLoadMsks)
        if (m.mem == mem)
            return std::span(m.msk).first(m.words);
    return {};
}
static_assert(!loadMsk("RTE_L3_VRF_SRAM").empty() && !loadMsk("TAE_IPV4_EXM_BKT").empty() &&
              !loadMsk("TFE_TCAM").empty());

// ---- The fields ----------------------------------------------------------------------------------------------------

template <size_t N> consteval TblField pieces(TblField field, const std::array<TblPiece, N> &list) {
    static_assert(N <= TblField::kMaxPieces);
    std::copy(list.begin(), list.end(), field.piece.begin());
    field.numPieces = N;
    return field;
}

#define FIELD(name, width, count, step, isArr, isAlt, kind, text, ...)                                                 \
    pieces({#name, width, count, step, isArr, isAlt, TblKind::kind, text, 0, {}},                                      \
           std::to_array<TblPiece>({__VA_ARGS__})),

#define ENTRY(Type, form, row, mem, words, use, text, ...) constexpr TblField kFields##Type[] = {__VA_ARGS__};
#define TCAM(Type, form, row, mem, words, use, text, ...) constexpr TblField kFields##Type[] = {__VA_ARGS__};
#define DMP(Type, form, row, words, use, text, ...) constexpr TblField kFields##Type[] = {__VA_ARGS__};
#define PC(hi, lo, word, top) tblPiece(hi, lo, word, top),
#define FLD(name, word, hi, lo, kind, text)                                                                            \
    FIELD(name, (hi) - (lo) + 1, 1, 0, false, false, kind, text, tblPiece((hi) - (lo), 0, word, hi))
#define FLDP(name, width, kind, text, ...) FIELD(name, width, 1, 0, false, false, kind, text, __VA_ARGS__)
#define FLDA(name, count, word, hi, lo, step, kind, text)                                                              \
    FIELD(name, (hi) - (lo) + 1, count, step, true, false, kind, text, tblPiece((hi) - (lo), 0, word, hi))
#define ALT(name, word, hi, lo, kind, text)                                                                            \
    FIELD(name, (hi) - (lo) + 1, 1, 0, false, true, kind, text, tblPiece((hi) - (lo), 0, word, hi))
#define ALTP(name, width, kind, text, ...) FIELD(name, width, 1, 0, false, true, kind, text, __VA_ARGS__)
#include "tbl/tsr_tbl.def"
#undef FIELD

// ---- The entries ---------------------------------------------------------------------------------------------------

constexpr const char *memName(const char *mem) {
    return std::string_view(mem) == "NONE" ? nullptr : mem;
}

#define ALWAYS                                                                                                         \
    TblForm {                                                                                                          \
        TblForm::ALWAYS, nullptr, 0                                                                                    \
    }
#define TFE_BANK(type)                                                                                                 \
    TblForm {                                                                                                          \
        TblForm::TFE_BANK, nullptr, type                                                                               \
    }
#define TAE_BANK(type)                                                                                                 \
    TblForm {                                                                                                          \
        TblForm::TAE_BANK, nullptr, type                                                                               \
    }
#define WHEN(name, val)                                                                                                \
    TblForm {                                                                                                          \
        TblForm::WHEN, #name, val                                                                                      \
    }
#define FRAME(frame)                                                                                                   \
    TblForm {                                                                                                          \
        TblForm::FRAME, #frame, 0                                                                                      \
    }
constexpr TblDesc kDescs[] = {
#define ENTRY(Type, form, row, mem, words, use, text, ...)                                                             \
    {#Type, form, #row, memName(#mem), words, false, TblUse::use, text, kFields##Type, loadMsk(#mem)},
#define TCAM(Type, form, row, mem, words, use, text, ...)                                                              \
    {#Type, form, #row, #mem, words, true, TblUse::use, text, kFields##Type, loadMsk(#mem)},
#define DMP(Type, form, row, words, use, text, ...)                                                                    \
    {#Type, form, #row, nullptr, words, false, TblUse::use, text, kFields##Type, {}, true},
#define OPAQUE(row, mem, words, use, text)                                                                             \
    {nullptr, ALWAYS, #row, memName(#mem), words, false, TblUse::use, text, {}, loadMsk(#mem)},
#include "tbl/tsr_tbl.def"
};
#undef ALWAYS
#undef TFE_BANK
#undef TAE_BANK
#undef WHEN
#undef FRAME

// ---- The lists prove themselves ------------------------------------------------------------------------------------

/// Whether the pieces of a field give each of its bits once.
constexpr bool isWhole(const TblField &field) {
    std::array<bool, 128> given{};
    for (size_t i = 0; i < field.numPieces; i++) {
        const TblPiece &p = field.piece[i];
        if (p.width == 0 || p.lo + p.width > 32 || p.at + p.width > field.width)
            return false;
        for (unsigned bit = p.at; bit < p.at + p.width + 0u; bit++) {
            if (given[bit])
                return false;
            given[bit] = true;
        }
    }
    for (unsigned bit = 0; bit < field.width; bit++)
        if (!given[bit])
            return false;
    return field.width > 0 && field.count > 0;
}

/// Whether an entry's fields lie in its words, no two of them share a bit (unless one is another reading), and no two
/// have one name.
constexpr bool isSound(const TblDesc &desc) {
    std::array<uint32_t, 32> taken{};
    for (size_t f = 0; f < desc.field.size(); f++) {
        const TblField &field = desc.field[f];
        if (!isWhole(field))
            return false;
        for (size_t other = 0; other < f; other++)
            if (std::string_view(desc.field[other].name) == field.name)
                return false;
        for (unsigned idx = 0; idx < field.count; idx++) {
            for (size_t i = 0; i < field.numPieces; i++) {
                const TblPiece p = field.at(i, idx);
                if (p.word >= desc.keyWords() || p.lo + p.width > 32)
                    return false;
                const uint32_t bits = 0xffffffffu >> (32 - p.width) << p.lo;
                if (!field.isAlt && (taken[p.word] & bits) != 0)
                    return false;
                taken[p.word] |= bits;
            }
        }
    }
    return desc.loadMsk.empty() || desc.words % desc.loadMsk.size() == 0;
}

/// The place in the lists of the first entry that is not sound, or -1.
constexpr int firstUnsound() {
    for (size_t i = 0; i < std::size(kDescs); i++)
        if (!isSound(kDescs[i]))
            return static_cast<int>(i);
    return -1;
}
static_assert(firstUnsound() == -1);

} // namespace

std::span<const TblDesc> tblDescs() {
    return kDescs;
}
