#include "tbl/tsr_tbl_mem.h"

#include <algorithm>
#include <charconv>
#include <unordered_map>

#include "be_word.h"
#include "tsr_reg_dump.h"

namespace {

/// Whether `name` fits a pattern in which * stands for any run of characters and ? for one.
bool fits(std::string_view pattern, std::string_view name) {
    while (!pattern.empty() && pattern[0] != '*') {
        if (name.empty() || (pattern[0] != '?' && pattern[0] != name[0]))
            return false;
        pattern.remove_prefix(1);
        name.remove_prefix(1);
    }
    if (pattern.empty())
        return name.empty();
    pattern.remove_prefix(1);
    for (size_t skip = 0; skip <= name.size(); ++skip) {
        if (fits(pattern, name.substr(skip)))
            return true;
    }
    return false;
}

struct StatePattern {
    std::string_view pattern;
    TblUse use;
};

constexpr StatePattern kStates[] = {
#define STATE(pattern, use) {pattern, TblUse::use},
#include "tbl/tsr_tbl_state.def"
};

void addNumber(std::string &text, uint32_t number) {
    char digits[10];
    text.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

bool isSingle(const regdump_map_t &row) {
    return row.depth[0] == 1 && row.depth[1] == 0;
}

size_t dimsOf(const regdump_map_t &row) {
    size_t dims = 0;
    while (!isSingle(row) && dims < REGDUMP_MAX_DIMS && row.depth[dims] != 0)
        ++dims;
    return dims;
}

/// In the queue stage's tables an entry stands at `far` words times its number and its number's remainder by `near`.
struct Spread {
    uint32_t far;
    uint32_t near;
};

Spread spreadOf(std::string_view row) {
    if (row == "iqs_mac_da_vid_mem")
        return {64, 8};
    if (row == "iqs_fcoe_sa_mac_tbl")
        return {4, 2};
    return {0, 0};
}

} // namespace

TblUse tblUseOf(std::string_view row) {
    if (const TblRow *layouts = tblRow(row))
        return layouts->forms()[0].use;
    for (const StatePattern &state : kStates) {
        if (fits(state.pattern, row))
            return state.use;
    }
    return TblUse::CFG;
}

// ---- Places and names ----------------------------------------------------------------------------------------------

/// The word of the row's instance where the entry at a place begins.
uint32_t TblMem::wordOf(uint32_t placeInInst) const {
    const Spread spread = spreadOf(row_->name);
    return spread.far != 0 ? spread.far * placeInInst + placeInInst % spread.near : placeInInst * words_;
}

uint32_t TblMem::imageOff(uint32_t place) const {
    return insts_[place / placesOfInst_].imageOff + 4 * wordOf(place % placesOfInst_);
}

uint32_t TblMem::chipOff(uint32_t place) const {
    return insts_[place / placesOfInst_].chipOff + 4 * wordOf(place % placesOfInst_);
}

uint32_t TblMem::placeOf(uint32_t imageOff) const {
    const auto behind = std::upper_bound(insts_.begin(), insts_.end(), imageOff,
                                         [](uint32_t off, const Inst &inst) { return off < inst.imageOff; });
    const Inst &inst = *(behind - 1);
    const uint32_t word = (imageOff - inst.imageOff) / 4;
    const Spread spread = spreadOf(row_->name);
    const uint32_t placeInInst = spread.far != 0 ? word / spread.far : word / words_;
    return static_cast<uint32_t>(&inst - insts_.data()) * placesOfInst_ + std::min(placeInInst, placesOfInst_ - 1);
}

/// Adds the first `dims` subscripts of the element that holds word `word` of the row.
void TblMem::addSubscripts(std::string &name, uint32_t word, size_t dims) const {
    uint32_t inner[REGDUMP_MAX_DIMS];
    uint32_t rest = 4 * word / row_->dump_size;
    for (size_t dim = dimsOf(*row_); dim-- > 0;) {
        inner[dim] = rest % row_->depth[dim];
        rest /= row_->depth[dim];
    }
    for (size_t dim = 0; dim < dims; ++dim) {
        name += '[';
        addNumber(name, inner[dim]);
        name += ']';
    }
}

std::string TblMem::nameOf(uint32_t place) const {
    std::string name = insts_[place / placesOfInst_].prefix;
    name += row_->name;
    addSubscripts(name, wordOf(place % placesOfInst_), nameDims_);
    return name;
}

std::string TblMem::wordNameOf(uint32_t place, uint32_t word) const {
    std::string name = insts_[place / placesOfInst_].prefix;
    name += row_->name;
    const uint32_t at = wordOf(place % placesOfInst_) + word;
    addSubscripts(name, at, dimsOf(*row_));
    if (row_->dump_size > 4) {
        name += ".w";
        addNumber(name, at % (row_->dump_size / 4));
    }
    return name;
}

std::string TblMem::wholeNameOf(uint32_t place) const {
    std::string name = nameOf(place);
    const size_t dims = dimsOf(*row_);
    if (nameDims_ < dims)
        return name + "[*]";
    if (row_->dump_size == 4)
        return name;
    // A range of one element stands for all its words.
    if (dims == 0)
        return name;
    const size_t last = name.rfind('[') + 1;
    const std::string subscript = name.substr(last, name.size() - 1 - last);
    return name.substr(0, last) + subscript + ".." + subscript + "]";
}

// ---- Entries -------------------------------------------------------------------------------------------------------

TblEntry TblMem::entryAt(const void *image, uint32_t place) const {
    const uint32_t inInst = place % placesOfInst_;
    const uint32_t rowOff = insts_[place / placesOfInst_].imageOff;
    for (const TblDesc &desc : forms()) {
        const uint32_t wide = desc.words / words_;
        const uint32_t start = inInst / wide * wide;
        if (tblHolds(desc, {image, rowOff, 4 * wordOf(start)}) == TblHolds::YES)
            return {place - inInst + start, &desc, desc.words};
    }
    return {place, nullptr, words_};
}

void TblMem::read(const void *image, const TblEntry &entry, bool isRaw, uint32_t *words) const {
    const uint32_t off = imageOff(entry.place);
    const TblDesc *mask = entry.desc != nullptr ? entry.desc : forms().empty() ? nullptr : &forms()[0];
    for (uint32_t w = 0; w < entry.words; ++w) {
        words[w] = imageWord(image, off + 4 * w);
        if (!isRaw && mask != nullptr)
            words[w] &= mask->kept(w);
    }
}

bool TblMem::isInUse(const TblEntry &entry, const uint32_t *words) {
    if (entry.desc != nullptr && entry.desc->isTcam)
        return !tblIsNever(*entry.desc, words);
    return std::any_of(words, words + entry.words, [](uint32_t word) { return word != 0; });
}

// ---- The rows ------------------------------------------------------------------------------------------------------

/// All rows of the dump, by name and by place.
class TblMems {
public:
    TblMems();

    static const TblMems &all() {
        static const TblMems mems;
        return mems;
    }

    const TblMem *find(std::string_view name) const {
        const auto found = index_.find(name);
        return found == index_.end() ? nullptr : found->second;
    }

    const TblMem *at(uint32_t imageOff) const {
        const auto behind = std::upper_bound(runs_.begin(), runs_.end(), imageOff,
                                             [](uint32_t off, const Run &run) { return off < run.begin; });
        if (behind == runs_.begin() || imageOff >= (behind - 1)->end)
            return nullptr;
        return (behind - 1)->mem;
    }

    std::span<const TblMem> mems() const { return mems_; }

private:
    struct Run {
        uint32_t begin;
        uint32_t end;
        const TblMem *mem;
    };

    void add(const regdump_stack_t &walk, std::unordered_map<std::string, size_t> &known);
    static void shape(TblMem &mem);

    std::vector<TblMem> mems_;
    std::vector<Run> runs_;
    std::unordered_map<std::string_view, const TblMem *> index_;
};

void TblMems::shape(TblMem &mem) {
    const regdump_map_t &row = *mem.row_;
    mem.layouts_ = tblRow(row.name);
    mem.use_ = tblUseOf(row.name);
    mem.words_ = row.dump_size / 4;
    if (!mem.forms().empty()) {
        mem.words_ = UINT32_MAX;
        for (const TblDesc &desc : mem.forms())
            mem.words_ = std::min(mem.words_, desc.words);
    }
    const Spread spread = spreadOf(row.name);
    const uint32_t rowWords = regdump_mapp_get_size(&row) / 4;
    mem.placesOfInst_ = spread.far != 0 ? rowWords / spread.far : rowWords / mem.words_;
    mem.nameDims_ = dimsOf(row);
    if (spread.far != 0)
        return;
    for (uint32_t covered = row.dump_size / 4; covered < mem.words_ && mem.nameDims_ > 0;)
        covered *= row.depth[--mem.nameDims_];
}

void TblMems::add(const regdump_stack_t &walk, std::unordered_map<std::string, size_t> &known) {
    const regdump_map_t &row = *regdump_stack_get_map(&walk);
    if ((row.flags & REGDUMP_FLAGS_NO_DUMP) != 0)
        return;
    std::string group;
    std::string prefix;
    for (uint32_t level = 0; level + 1 < walk.depth; ++level) {
        const regdump_elem_t &elem = walk.elem[level];
        group.append(elem.mapp->name).append(".");
        prefix += elem.mapp->name;
        if (!isSingle(*elem.mapp)) {
            prefix += '[';
            addNumber(prefix, elem.inst);
            prefix += ']';
        }
        prefix += '.';
    }
    const auto [at, isNew] = known.emplace(group + row.name, mems_.size());
    if (isNew) {
        mems_.emplace_back();
        mems_.back().name_ = at->first;
        mems_.back().row_ = &row;
        shape(mems_.back());
    }
    mems_[at->second].insts_.push_back({regdump_stack_get_dump_off(&walk), regdump_stack_get_asic_off(&walk), prefix});
}

TblMems::TblMems() {
    std::unordered_map<std::string, size_t> known;
    regdump_stack_t walk;
    regdump_stack_init(&walk, tsr_dmp_map);
    do
        add(walk, known);
    while (regdump_stack_next(&walk) == 0);

    for (const TblMem &mem : mems_) {
        index_.emplace(mem.name_, &mem);
        for (const TblMem::Inst &inst : mem.insts_)
            runs_.push_back({inst.imageOff, inst.imageOff + regdump_mapp_get_size(mem.row_), &mem});
    }
    // Without its groups a name stands for the first row that is called so.
    for (const TblMem &mem : mems_)
        index_.emplace(std::string_view(mem.name_).substr(mem.name_.rfind('.') + 1), &mem);
    std::sort(runs_.begin(), runs_.end(), [](const Run &a, const Run &b) { return a.begin < b.begin; });
}

const TblMem *tblMem(std::string_view name) {
    return TblMems::all().find(name);
}

std::span<const TblMem> tblMems() {
    return TblMems::all().mems();
}

const TblMem *tblMemAt(uint32_t imageOff) {
    return TblMems::all().at(imageOff);
}
