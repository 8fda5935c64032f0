// show: registers and rows by field.

#include <algorithm>
#include <map>

#include "be_word.h"
#include "hsi/cmRteHsiReg.h"
#include "hsi/cmRteHsiText.h"
#include "regdump_prog.h"
#include "regenc_tsr.h"
#include "rt_entry.h"

namespace {

std::string bitRange(unsigned hi, unsigned lo) {
    return hi == lo ? std::to_string(hi) : std::to_string(hi) + ":" + std::to_string(lo);
}

std::string hexWord(uint32_t word) {
    char text[16];
    std::snprintf(text, sizeof(text), "0x%08x", word);
    return text;
}

/// The bits of an element of a field, as "1 31:15" or, in a register, "31:15".
std::string placeText(const TblField &field, unsigned elem, bool isOneWord) {
    std::string text;
    for (size_t i = 0; i < field.numPieces; ++i) {
        const TblPiece p = field.at(i, elem);
        text.append(i == 0 ? "" : ", ");
        if (!isOneWord)
            text.append(std::to_string(p.word)).append(" ");
        text.append(bitRange(p.lo + p.width - 1u, p.lo));
    }
    return text;
}

/// Shows words and entries, each once, field by field.
class Show {
public:
    explicit Show(const RtRun &run) : run_(run), lines_(run.image()) {
        if (run.opt.isText || run.opt.format == CliFormat::TEXT)
            return;
        std::vector<CliColumn> columns;
        rtPlaceColumns(columns);
        for (const char *name : {"form", "field", "bits", "value", "meaning"})
            columns.push_back({.name = name});
        table_ = CliTable::make(run.opt.format, std::move(columns));
    }

    /// The words that a name stands for.
    void words(const RegencWords &words);

    uint64_t shown() const { return shown_; }
    void finish() {
        if (table_ != nullptr)
            table_->finish();
    }

private:
    /// One line of an answer.
    struct Line {
        std::string form;
        std::string field;
        std::string bits;
        CliItem value;
        std::string meaning;
    };

    void run(const RegencWords &words, uint32_t imageOff);
    void entry(const RegencWords &words, const TblMem &mem, const TblEntry &entry, uint32_t word, uint32_t count);
    void reg(const RegencWords &words, const TblMem &mem, uint32_t place);
    void put(std::string_view name, uint32_t chipOff, uint32_t imageOff, const std::string &head,
             const std::vector<Line> &lines);

    const RtRun &run_;
    std::unique_ptr<CliTable> table_;
    RtLines lines_;
    uint64_t shown_ = 0;
};

/// Whether the name asks for element `elem` of a field, which is one of a plain name otherwise.
bool wantsElem(const RegencWords &words, const TblField &field, unsigned elem) {
    if (words.field.empty())
        return true;
    if (words.field != field.name)
        return false;
    return !words.hasElem || (elem >= words.elemLo && elem <= words.elemHi);
}

void Show::put(std::string_view name, uint32_t chipOff, uint32_t imageOff, const std::string &head,
               const std::vector<Line> &lines) {
    ++shown_;
    if (table_ != nullptr) {
        for (const Line &line : lines) {
            rtPutPlace(*table_, name, chipOff, imageOff);
            table_->text(line.form).text(line.field).text(line.bits);
            if (line.value.text.empty())
                table_->number(line.value.number);
            else
                table_->text(line.value.text);
            table_->text(line.meaning).endRow();
        }
        return;
    }
    char place[64];
    std::snprintf(place, sizeof(place), "  (chip 0x%08x, offset %u)\n", chipOff, kCliImageStart + imageOff);
    cliPrint(std::string(name) + head + place);
    size_t field = 0;
    size_t bits = 0;
    size_t value = 0;
    for (const Line &line : lines) {
        field = std::max(field, line.field.size());
        bits = std::max(bits, line.bits.size());
        value = std::max(value, rtItemText(line.value).size());
    }
    constexpr size_t kWidest = 24; // pieces of a scattered field may go on for lines
    bits = std::min(bits, kWidest);
    for (const Line &line : lines) {
        if (line.field.empty())
            continue;
        std::string text = "    ";
        const auto add = [&](const std::string &cell, size_t width) {
            text.append(cell).append(width > cell.size() ? width - cell.size() + 2 : 2, ' ');
        };
        add(line.field, field);
        add(line.bits, bits);
        add(rtItemText(line.value), value);
        text += line.meaning;
        text.erase(text.find_last_not_of(' ') + 1);
        cliPrint(text + "\n");
    }
}

/// The word of a register, or of a memory without a known layout.
void Show::reg(const RegencWords &words, const TblMem &mem, uint32_t place) {
    const uint32_t imageOff = mem.imageOff(place);
    const uint32_t chipOff = mem.chipOff(place);
    const uint32_t word = imageWord(run_.image(), imageOff);
    const std::optional<HsiRegInfo> info = hsiRegInfo(chipOff);
    std::vector<Line> lines;
    if (info) {
        for (const HsiRegField &field : info->fields) {
            if (words.field.empty() || words.field == field.name)
                lines.push_back({"",
                                 field.name,
                                 bitRange(field.hi, field.lo),
                                 {"", field.of(word)},
                                 std::string(hsiFieldText(field.pattern))});
        }
    }
    if (lines.empty() && !words.field.empty()) {
        std::vector<std::string> names = hsiFieldNames(chipOff);
        const std::vector<std::string_view> views(names.begin(), names.end());
        throw RtError(mem.nameOf(place) + " has no field '" + regdump_shown(words.field) + "'" +
                      tblNear(words.field, views, true));
    }
    if (lines.empty())
        lines.push_back({"", "", "31:0", {"", word}, ""});
    put(mem.nameOf(place), chipOff, imageOff, " = " + hexWord(word), lines);
}

/// `count` words of an entry from word `word` on.
void Show::entry(const RegencWords &words, const TblMem &mem, const TblEntry &entry, uint32_t word, uint32_t count) {
    uint32_t read[TblMem::kMaxWords];
    mem.read(run_.image(), entry, run_.opt.isRaw, read);
    std::vector<const TblDesc *> descs;
    for (const TblDesc &desc : mem.forms()) {
        const bool isWanted = words.form.empty() ? &desc == entry.desc : words.form == desc.type;
        // A field that stands in one form alone needs no other word.
        const bool hasField = !words.field.empty() && mem.layouts()->find(words.field).size() == 1 &&
                              mem.layouts()->find(words.field)[0].desc == &desc;
        if (isWanted || (words.form.empty() && (entry.desc == nullptr || hasField)))
            descs.push_back(&desc);
    }
    const bool isWhole = word == 0 && count >= entry.words;
    std::vector<Line> lines;
    for (const TblDesc *desc : descs) {
        // Another form may be longer, and then begins where its own size has a multiple.
        if (desc->words > entry.words) {
            const uint32_t wide = desc->words / mem.words();
            mem.read(run_.image(), {entry.place / wide * wide, desc, desc->words}, run_.opt.isRaw, read);
        }
        for (const TblField &field : desc->field) {
            for (unsigned elem = 0; elem < field.count; ++elem) {
                if (!wantsElem(words, field, elem))
                    continue;
                bool isInWords = isWhole || !words.field.empty();
                for (size_t i = 0; i < field.numPieces && !isInWords; ++i) {
                    const uint32_t at = field.at(i, elem).word;
                    isInWords = (at >= word && at < word + count) ||
                                (desc->isTcam && at + desc->keyWords() >= word && at + desc->keyWords() < word + count);
                }
                if (!isInWords)
                    continue;
                const TblFieldRef ref{desc, &field};
                lines.push_back({mem.forms().size() > 1 ? desc->type : "", rtFieldName(field, elem),
                                 placeText(field, elem, desc->words == 1), rtItem(ref, elem, read), field.text});
            }
        }
    }
    if (!words.field.empty() && lines.empty()) {
        std::vector<std::string_view> names;
        for (const TblDesc &desc : mem.forms()) {
            for (const TblField &field : desc.field)
                names.emplace_back(field.name);
        }
        const std::string_view missing = words.field;
        std::string error = mem.nameOf(entry.place) + " has no field '" + regdump_shown(missing) + "'";
        if (!words.form.empty())
            error.append(" in the form ").append(words.form);
        throw RtError(error + tblNear(missing, names, true));
    }
    std::string head = " =";
    for (uint32_t w = word; w < std::min(word + count, entry.words); ++w)
        head.append(" ").append(hexWord(read[w]));
    if (mem.isTcam() && entry.desc != nullptr && tblIsNever(*entry.desc, read))
        head += " never";
    const std::string name = isWhole || count != 1 ? mem.nameOf(entry.place) : mem.wordNameOf(entry.place, word);
    if (lines.empty()) {
        for (uint32_t w = word; w < std::min(word + count, entry.words); ++w)
            lines.push_back({"", "", std::to_string(w) + " 31:0", {"", read[w]}, ""});
    }
    const uint32_t skip = isWhole || count != 1 ? 0 : 4 * word;
    put(name, mem.chipOff(entry.place) + skip, mem.imageOff(entry.place) + skip, head, lines);
}

void Show::run(const RegencWords &words, uint32_t imageOff) {
    const TblMem *mem = tblMemAt(imageOff);
    const uint32_t end = imageOff + 4 * words.run;
    while (mem != nullptr && imageOff < end) {
        const uint32_t place = mem->placeOf(imageOff);
        const TblEntry found = mem->entryAt(run_.image(), place);
        const uint32_t begin = mem->imageOff(found.place);
        if (run_.opt.isText) {
            lines_.put(*mem, found.place);
            ++shown_;
        } else if (mem->forms().empty() || mem->forms()[0].field.empty()) {
            reg(words, *mem, place);
            imageOff += 4 * mem->words();
            continue;
        } else if (imageOff < begin || imageOff >= begin + 4 * found.words) {
            // A word between the entries of a row in which they may begin anywhere.
            const uint32_t word = imageWord(run_.image(), imageOff);
            const uint32_t inRow = imageOff - mem->imageOff(0);
            put(mem->wordNameOf(0, inRow / 4), mem->chipOff(0) + inRow, imageOff, " = " + hexWord(word),
                {{"", "", "31:0", {"", word}, ""}});
            imageOff += 4;
            continue;
        } else {
            const uint32_t word = (imageOff - begin) / 4;
            entry(words, *mem, found, word, (std::min(end, begin + 4 * found.words) - imageOff) / 4);
        }
        imageOff = begin + 4 * std::max(found.words, 1u);
    }
}

void Show::words(const RegencWords &words) {
    std::vector<uint32_t> offs{words.dumpOff};
    for (size_t i = 0; i < words.numSteps; ++i) {
        std::vector<uint32_t> next;
        for (const uint32_t off : offs) {
            for (uint32_t n = 0; n < words.steps[i].count; ++n)
                next.push_back(off + n * words.steps[i].dumpStride);
        }
        offs = std::move(next);
    }
    for (const uint32_t off : offs)
        run(words, off);
}

/// A name of one word may leave out the number of the word, and * stands for every subscript that is left out.
bool findName(RegencNames &names, const std::string &name, RegencWords &words, std::string &error) {
    if (names.find(name, words, error))
        return true;
    std::string other;
    return names.find(name, words, other, true);
}

} // namespace

int rtShow(const RtRun &run, RtWords names) {
    if (names.empty())
        throw RtError("show needs the name of a register or a row");
    RegencNames index(tsr_dmp_map);
    std::vector<RegencWords> found(names.size());
    for (size_t i = 0; i < names.size(); ++i) {
        std::string error;
        if (!findName(index, names[i], found[i], error))
            throw RtError(error);
    }
    if (!run.opt.isText) {
        const std::pair<std::string, std::string> more[] = {{"words", run.opt.isRaw ? "raw" : "loaded"}};
        rtSchema(run.opt, "show", run.dump.path, more);
    }
    Show show(run);
    for (const RegencWords &words : found)
        show.words(words);
    show.finish();
    return show.shown() != 0 ? 0 : 1;
}
