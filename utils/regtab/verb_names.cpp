// names: the names and addresses that one thing has: in a listing, in the model, on the chip and in the dump's file.

#include <algorithm>
#include <cctype>

#include "hsi/cmRteHsiReg.h"
#include "hsi/cmRteHsiText.h"
#include "regdump_prog.h"
#include "rt_entry.h"

namespace {

std::string lower(std::string_view text) {
    std::string copy(text);
    std::transform(copy.begin(), copy.end(), copy.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return copy;
}

/// What is asked for: a part of a name, or an address.
struct Wanted {
    std::string part;
    bool isNumber = false;
    uint32_t number = 0;

    bool has(std::string_view name) const { return lower(name).find(part) != std::string::npos; }
};

class Names {
public:
    Names(const RtOptions &opt, Wanted wanted) : wanted_(std::move(wanted)) {
        std::vector<CliColumn> columns;
        rtPlaceColumns(columns);
        for (const char *name : {"model", "field", "bits", "meaning"})
            columns.push_back({.name = name, .isSpare = true});
        table_ = CliTable::make(opt.format, std::move(columns));
    }

    void reg(const TblMem &mem, uint32_t place, const std::string &name);
    void memory(const TblMem &mem);
    void finish() { table_->finish(); }
    uint64_t rows() const { return table_->rows(); }

private:
    void put(std::string_view name, uint32_t chipOff, uint32_t imageOff, std::string_view model, std::string_view field,
             const std::string &bits, std::string_view meaning) {
        rtPutPlace(*table_, name, chipOff, imageOff);
        table_->text(model).text(field).text(bits).text(meaning).endRow();
    }

    Wanted wanted_;
    std::unique_ptr<CliTable> table_;
};

/// One word with the fields of its register; those whose names fit, or all if a name of the register does.
void Names::reg(const TblMem &mem, uint32_t place, const std::string &name) {
    const uint32_t chipOff = mem.chipOff(place);
    const std::optional<HsiRegInfo> info = hsiRegInfo(chipOff);
    const std::string model = info ? info->name : "";
    const bool isAll = wanted_.isNumber || wanted_.has(name) || wanted_.has(model);
    bool isPut = false;
    if (info) {
        for (const HsiRegField &field : info->fields) {
            if (!isAll && !wanted_.has(field.name))
                continue;
            const std::string bits = field.hi == field.lo ? std::to_string(field.hi)
                                                          : std::to_string(field.hi) + ":" + std::to_string(field.lo);
            put(name, chipOff, mem.imageOff(place), model, field.name, bits, hsiFieldText(field.pattern));
            isPut = true;
        }
    }
    if (!isPut && isAll)
        put(name, chipOff, mem.imageOff(place), model, "", "", "");
}

/// A memory with the fields of its entries.
void Names::memory(const TblMem &mem) {
    bool isPut = false;
    for (const TblDesc &desc : mem.forms()) {
        const char *model = desc.mem == nullptr ? "" : desc.mem;
        const bool isAll = wanted_.has(mem.name()) || wanted_.has(model);
        for (const TblField &field : desc.field) {
            if (!isAll && !wanted_.has(field.name))
                continue;
            std::string bits;
            constexpr size_t kPieces = 4;
            for (size_t i = 0; i < std::min<size_t>(field.numPieces, kPieces); ++i) {
                const TblPiece p = field.at(i, 0);
                bits.append(i == 0 ? "" : ", ").append(std::to_string(p.word)).append(" ");
                bits.append(std::to_string(p.lo + p.width - 1)).append(":").append(std::to_string(p.lo));
            }
            bits += field.numPieces > kPieces ? ", ..." : "";
            const std::string name = mem.forms().size() > 1 ? std::string(desc.type) + "." + field.name : field.name;
            put(mem.name(), mem.chipOff(0), mem.imageOff(0), model, name, bits, field.text);
            isPut = true;
        }
        if (!isPut && isAll) {
            put(mem.name(), mem.chipOff(0), mem.imageOff(0), model, "", "", desc.text);
            isPut = true;
        }
    }
    if (!isPut && mem.forms().empty() && wanted_.has(mem.name()))
        put(mem.name(), mem.chipOff(0), mem.imageOff(0), "", "", "", "");
}

/// A hexadecimal number, or a long decimal one, is an address.
bool readNumber(const std::string &word, uint32_t &number) {
    TblWide value;
    if (word.empty() || word[0] < '0' || word[0] > '9' || tblReadValue(word, TblKind::NUM, 32, value) != TblRead::OK)
        return false;
    number = value[3];
    return true;
}

/// Whether a word of the dump is at this chip address, or at this byte of the file.
bool isAt(const TblMem &mem, uint32_t place, uint32_t number) {
    const uint32_t size = 4 * mem.words();
    const uint32_t fileOff = kCliImageStart + mem.imageOff(place);
    return (number >= mem.chipOff(place) && number < mem.chipOff(place) + size) ||
           (number >= fileOff && number < fileOff + size);
}

/// The name of a place in the first instance of its group, with a range for all instances.
std::string rangeName(const TblMem &mem, uint32_t place, uint32_t insts) {
    std::string name = mem.nameOf(place);
    const size_t first = name.find("[0].");
    if (insts > 1 && first != name.npos)
        name.replace(first, 3, "[0.." + std::to_string(insts - 1) + "]");
    return name;
}

} // namespace

int rtNames(const RtOptions &opt, RtWords words) {
    if (words.size() > 1)
        throw RtError("names takes one word at most");
    Wanted wanted;
    if (!words.empty()) {
        wanted.part = lower(words[0]);
        wanted.isNumber = readNumber(words[0], wanted.number);
    }
    rtSchema(opt, "names", "");
    Names names(opt, wanted);
    for (const TblMem &mem : tblMems()) {
        if (wanted.isNumber) {
            for (uint32_t place = 0; place < mem.places(); ++place) {
                if (isAt(mem, place, wanted.number))
                    names.reg(mem, place, mem.nameOf(place));
            }
            continue;
        }
        // Registers one by one, memories as a whole.
        const bool isTable = !mem.forms().empty() || mem.words() > 1 || !hsiRegInfo(mem.chipOff(0));
        if (isTable) {
            names.memory(mem);
            continue;
        }
        const uint32_t insts = mem.insts();
        for (uint32_t place = 0; place < mem.places() / insts; ++place)
            names.reg(mem, place, rangeName(mem, place, insts));
    }
    names.finish();
    if (names.rows() != 0 || opt.format != CliFormat::TEXT)
        return names.rows() != 0 ? 0 : 1;
    std::vector<std::string_view> all;
    for (const TblMem &mem : tblMems())
        all.emplace_back(mem.name());
    const std::string near = tblNear(words.empty() ? "" : words[0], all, true);
    std::fprintf(stderr, "regtab_tsr: no name has '%s' in it%s\n", regdump_shown(words[0]).c_str(), near.c_str());
    return 1;
}
