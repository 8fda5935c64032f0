#pragma once
// The rows of the dump as lists of entries: where each entry stands, what it is called, and its words.
//
//     const TblMem *mem = tblMem("rte_l2_exm_bkt");
//     mem->forEachEntry(image, [&](const TblEntry &entry) { ... mem->nameOf(entry.place) ... });
//
// A row of a group of registers counts as one list, instance behind instance.

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "asic_reg_dump.h"
#include "tbl/tsr_tbl_name.h"

/// One entry of a row. `place` counts the row's smallest entries; a larger one, as an IPv6 prefix, takes several
/// places.
struct TblEntry {
    uint32_t place;
    const TblDesc *desc; ///< the layout that holds there; null when none is known or the image does not tell which
    uint32_t words;      ///< its size
};

class TblMem {
public:
    /// The words of the longest entry.
    static constexpr uint32_t kMaxWords = 64;

    /// What the row is called, without subscripts: "tfe_tcam", "ephy_reg.emc_cfg".
    const std::string &name() const { return name_; }

    /// The row's layouts, or null.
    const TblRow *layouts() const { return layouts_; }
    std::span<const TblDesc> forms() const { return layouts_ ? layouts_->forms() : std::span<const TblDesc>(); }

    /// What the row's words are.
    TblUse use() const { return use_; }

    /// What the row is for; empty when no list says it.
    std::string_view text() const { return forms().empty() ? std::string_view() : forms()[0].text; }

    bool isTcam() const { return !forms().empty() && forms()[0].isTcam; }

    /// Whether the row is one word, or one in each instance of its group: a register.
    bool isReg() const { return placesOfInst_ == 1 && words_ == 1; }

    /// Instances of the row's group; 1 outside groups.
    uint32_t insts() const { return static_cast<uint32_t>(insts_.size()); }

    /// Entries of the smallest size, and their words.
    uint32_t places() const { return placesOfInst_ * static_cast<uint32_t>(insts_.size()); }
    uint32_t words() const { return words_; }

    /// All words of the row in one instance; where entries may begin anywhere, some belong to none.
    uint32_t wordsOfInst() const { return regdump_mapp_get_size(row_) / 4; }

    /// Byte of the image and of the chip's address space where the entry at `place` begins.
    uint32_t imageOff(uint32_t place) const;
    uint32_t chipOff(uint32_t place) const;

    /// The place that holds the byte `imageOff` of the image, which must lie in the row.
    uint32_t placeOf(uint32_t imageOff) const;

    /// The name of the entry at `place`: "rte_l2_exm_bkt[3][0]", "ephy_reg[3].emc_cfg".
    std::string nameOf(uint32_t place) const;

    /// The name of word `word` of that entry, as a listing has it.
    std::string wordNameOf(uint32_t place, uint32_t word) const;

    /// The name under which an assembler sets all words of the entry at once; of a row without subscripts, that of
    /// its one word.
    std::string wholeNameOf(uint32_t place) const;

    /// Calls `f(entry)` for each entry of the row, in its order.
    template <class F> void forEachEntry(const void *image, F &&f) const {
        for (uint32_t place = 0; place < places();) {
            const TblEntry entry = entryAt(image, place);
            f(entry);
            place += placesOf(entry);
        }
    }

    /// How many entries of the smallest size an entry takes.
    uint32_t placesOf(const TblEntry &entry) const { return std::max(1u, entry.words / std::max(1u, words_)); }

    /// The entry that begins at `place`. A larger one begins at a multiple of its own size: a place within is told as
    /// the whole entry if the layout that holds is such.
    TblEntry entryAt(const void *image, uint32_t place) const;

    /// Copies the words of an entry to `words`, in host order: as the load leaves them in the model, or as they are.
    void read(const void *image, const TblEntry &entry, bool isRaw, uint32_t *words) const;

    /// Whether an entry says something: a row of a TCAM when some key may match it, any other when it is not 0.
    static bool isInUse(const TblEntry &entry, const uint32_t *words);

private:
    friend class TblMems;

    struct Inst {
        uint32_t imageOff;
        uint32_t chipOff;
        std::string prefix; ///< what stands before the row's name: "ephy_reg[3]."
    };

    uint32_t wordOf(uint32_t placeInInst) const;
    void addSubscripts(std::string &name, uint32_t word, size_t dims) const;

    std::string name_;
    const regdump_map_t *row_ = nullptr;
    const TblRow *layouts_ = nullptr;
    TblUse use_ = TblUse::CFG;
    uint32_t words_ = 1;
    uint32_t placesOfInst_ = 1;
    size_t nameDims_ = 0; ///< how many subscripts the name of an entry has
    std::vector<Inst> insts_;
};

/// The row that is called so, with or without its groups' names; without them, of several rows the first. Null when
/// there is none.
const TblMem *tblMem(std::string_view name);

/// All rows of the dump, in the order of the image.
std::span<const TblMem> tblMems();

/// The row that holds the byte `imageOff` of the image; null for a byte of none, as ports without a register leave.
const TblMem *tblMemAt(uint32_t imageOff);

/// What a row's words are: by its layout, or by the list of the rows that are state.
TblUse tblUseOf(std::string_view row);

/// Whether words of this kind are the chip's own doing, and not its configuration.
constexpr bool tblIsState(TblUse use) {
    return use != TblUse::CFG;
}
