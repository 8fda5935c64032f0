// diff: what differs between two dumps, by table and field.

#include <algorithm>
#include <array>
#include <cstring>

#include "be_word.h"
#include "cli_progress.h"
#include "hsi/cmRteHsiReg.h"
#include "rt_entry.h"

namespace {

std::string hexWord(uint32_t word) {
    std::string text = "0x00000000";
    for (size_t at = text.size(); word != 0; word >>= 4)
        text[--at] = "0123456789abcdef"[word & 0xf];
    return text;
}

std::string hexWords(const uint32_t *words, uint32_t count) {
    std::string text;
    for (uint32_t w = 0; w < count; ++w)
        text.append(w == 0 ? "" : " ").append(hexWord(words[w]));
    return text;
}

class Diff {
public:
    Diff(const RtRun &run, const tsr_dmp_t *other) : run_(run), old_(run.image()), new_(other) {
        if (run.opt.format == CliFormat::TEXT)
            return;
        std::vector<CliColumn> columns{{.name = "change"}, {.name = "field"}, {.name = "old"}, {.name = "new"}};
        rtPlaceColumns(columns);
        table_ = CliTable::make(run.opt.format, std::move(columns));
    }

    /// Goes through both images: shows what differs of configuration, or of state.
    void scan(bool isState);

    uint64_t changes() const { return changes_; }
    uint64_t otherWords() const { return otherWords_; }
    uint64_t droppedWords() const { return droppedWords_; }

private:
    uint32_t entryAt(const TblMem &mem, uint32_t imageOff);
    void reg(const TblMem &mem, uint32_t place);
    void fields(const TblMem &mem, const TblEntry &entry, const uint32_t *was, const uint32_t *is);
    void put(char change, const TblMem &mem, uint32_t place, uint32_t word, const std::string &field,
             const std::string &was, const std::string &is);

    const RtRun &run_;
    const tsr_dmp_t *old_;
    const tsr_dmp_t *new_;
    std::unique_ptr<CliTable> table_;
    std::string name_; ///< the name that was told last: of this row, place and word
    const TblMem *nameMem_ = nullptr;
    uint32_t namePlace_ = 0;
    uint32_t nameWord_ = 0;
    std::string line_; ///< room for a line
    uint64_t changes_ = 0;
    uint64_t otherWords_ = 0;   ///< words of the other kind that differ
    uint64_t droppedWords_ = 0; ///< words that differ in nothing that the load keeps
};

/// One line: `word` is the number of a word of the entry that is told by itself, or UINT32_MAX.
void Diff::put(char change, const TblMem &mem, uint32_t place, uint32_t word, const std::string &field,
               const std::string &was, const std::string &is) {
    ++changes_;
    const bool isEntry = word == UINT32_MAX;
    // The lines of one entry follow each other.
    if (&mem != nameMem_ || place != namePlace_ || word != nameWord_) {
        name_ = isEntry ? mem.nameOf(place) : mem.wordNameOf(place, word);
        nameMem_ = &mem;
        namePlace_ = place;
        nameWord_ = word;
    }
    const uint32_t skip = isEntry ? 0 : 4 * word;
    if (table_ != nullptr) {
        table_->text(change == '+' ? "added" : change == '-' ? "removed" : "changed").text(field).text(was).text(is);
        rtPutPlace(*table_, name_, mem.chipOff(place) + skip, mem.imageOff(place) + skip);
        table_->endRow();
        return;
    }
    static const bool hasColor = cliHasColor();
    std::string &line = line_;
    line.clear();
    if (hasColor)
        line += change == '+' ? "\033[32m" : change == '-' ? "\033[31m" : "";
    line += change;
    line.append(" ").append(name_).append(field.empty() ? "" : ".").append(field).append("  ");
    if (change == '~')
        line.append(was).append(" -> ").append(is);
    else
        line += change == '+' ? is : was;
    if (hasColor)
        line += "\033[0m";
    line += '\n';
    cliPrint(line);
}

void Diff::reg(const TblMem &mem, uint32_t place) {
    const uint32_t was = imageWord(old_, mem.imageOff(place));
    const uint32_t is = imageWord(new_, mem.imageOff(place));
    uint32_t rest = was ^ is;
    if (const std::optional<HsiRegInfo> info = hsiRegInfo(mem.chipOff(place))) {
        for (const HsiRegField &field : info->fields) {
            if (field.of(was ^ is) == 0)
                continue;
            put('~', mem, place, 0, field.name, std::to_string(field.of(was)), std::to_string(field.of(is)));
            rest &= ~((0xffffffffu >> (32 - field.width())) << field.lo);
        }
    }
    if (rest != 0)
        put('~', mem, place, 0, "", hexWord(was), hexWord(is));
}

/// The fields of an entry that differ, and each word that differs in bits without a field.
void Diff::fields(const TblMem &mem, const TblEntry &entry, const uint32_t *was, const uint32_t *is) {
    std::array<uint32_t, TblMem::kMaxWords> rest{};
    for (uint32_t w = 0; w < entry.words; ++w)
        rest[w] = was[w] ^ is[w];
    if (entry.desc != nullptr) {
        const TblDesc &desc = *entry.desc;
        for (const TblField &field : desc.field) {
            if (field.isAlt)
                continue;
            const TblFieldRef ref{&desc, &field};
            for (unsigned elem = 0; elem < field.count; ++elem) {
                bool differs = false;
                for (size_t i = 0; i < field.numPieces; ++i) {
                    const TblPiece p = field.at(i, elem);
                    const uint32_t bits = (0xffffffffu >> (32 - p.width)) << p.lo;
                    const auto clear = [&](uint32_t w) {
                        differs = differs || ((was[w] ^ is[w]) & bits) != 0;
                        rest[w] &= ~bits;
                    };
                    clear(p.word);
                    if (desc.isTcam)
                        clear(p.word + desc.keyWords());
                }
                if (!differs)
                    continue;
                put('~', mem, entry.place, UINT32_MAX, rtFieldName(field, elem), rtItemText(rtItem(ref, elem, was)),
                    rtItemText(rtItem(ref, elem, is)));
            }
        }
    }
    for (uint32_t w = 0; w < entry.words; ++w) {
        if (rest[w] != 0)
            put('~', mem, entry.place, w, "", hexWord(was[w]), hexWord(is[w]));
    }
}

/// Tells what differs in the entry that holds the byte `imageOff`. Returns where the entry ends.
uint32_t Diff::entryAt(const TblMem &mem, uint32_t imageOff) {
    const uint32_t place = mem.placeOf(imageOff);
    if (mem.forms().empty() || mem.forms()[0].field.empty()) {
        for (uint32_t w = 0; w < mem.words() && mem.words() > 1; ++w) {
            const uint32_t off = mem.imageOff(place) + 4 * w;
            const uint32_t was = imageWord(old_, off);
            const uint32_t is = imageWord(new_, off);
            if (was != is)
                put('~', mem, place, w, "", hexWord(was), hexWord(is));
        }
        if (mem.words() == 1)
            reg(mem, place);
        return mem.imageOff(place) + 4 * mem.words();
    }
    const TblEntry was = mem.entryAt(old_, place);
    const TblEntry is = mem.entryAt(new_, place);
    const uint32_t begin = mem.imageOff(is.place);
    if (imageOff < begin || imageOff >= begin + 4 * is.words) {
        // Between the entries of a row in which they may begin anywhere: a word is counted from the row's first.
        const uint32_t word = (imageOff - mem.imageOff(0)) / 4;
        put('~', mem, 0, word, "", hexWord(imageWord(old_, imageOff)), hexWord(imageWord(new_, imageOff)));
        return imageOff + 4;
    }
    uint32_t oldWords[TblMem::kMaxWords];
    uint32_t newWords[TblMem::kMaxWords];
    mem.read(old_, is, run_.opt.isRaw, oldWords);
    mem.read(new_, is, run_.opt.isRaw, newWords);
    const uint32_t end = begin + 4 * is.words;
    if (std::memcmp(oldWords, newWords, 4 * is.words) == 0) {
        ++droppedWords_;
        return end;
    }
    if (was.desc != is.desc || was.words != is.words || is.desc == nullptr) {
        fields(mem, {is.place, nullptr, is.words}, oldWords, newWords);
        return end;
    }
    const bool wasInUse = TblMem::isInUse(was, oldWords);
    const bool isInUse = TblMem::isInUse(is, newWords);
    const auto said = [&](const uint32_t *words) {
        const std::string text = rtFieldsText(*is.desc, words);
        return text.empty() ? (is.desc->isTcam ? std::string("anything") : hexWords(words, is.words)) : text;
    };
    if (wasInUse && isInUse)
        fields(mem, is, oldWords, newWords);
    else if (isInUse)
        put('+', mem, is.place, UINT32_MAX, "", "", said(newWords));
    else if (wasInUse)
        put('-', mem, is.place, UINT32_MAX, "", said(oldWords), "");
    else
        ++droppedWords_; // rows that no key matches, before and after
    return end;
}

void Diff::scan(bool isState) {
    otherWords_ = 0;
    droppedWords_ = 0;
    constexpr uint32_t kBlock = 4096;
    const auto *a = reinterpret_cast<const char *>(old_);
    const auto *b = reinterpret_cast<const char *>(new_);
    uint32_t off = 0;
    while (off < TSR_DUMP_SIZE) {
        const uint32_t block = std::min(kBlock, TSR_DUMP_SIZE - off);
        if (off % kBlock == 0)
            cliProgress("comparing", off, TSR_DUMP_SIZE);
        if (std::memcmp(a + off, b + off, block) == 0) {
            off += block;
            continue;
        }
        const uint32_t end = off + block;
        while (off < end) {
            if (std::memcmp(a + off, b + off, 4) == 0) {
                off += 4;
                continue;
            }
            const TblMem *mem = tblMemAt(off);
            if (mem == nullptr) {
                off += 4; // no register stands there
            } else if (tblIsState(mem->use()) != isState) {
                ++otherWords_;
                off += 4;
            } else {
                off = entryAt(*mem, off);
            }
        }
    }
    cliProgress("comparing", TSR_DUMP_SIZE, TSR_DUMP_SIZE);
}

/// Tells in one line what is not shown.
void tell(const RtRun &run, const char *key, uint64_t words, const char *text) {
    if (words == 0)
        return;
    if (run.opt.format == CliFormat::JSON) {
        const std::pair<std::string, CliItem> members[] = {{key, {"", words}}};
        cliJsonLine(members);
    } else if (run.opt.format == CliFormat::TEXT) {
        cliPrint(std::to_string(words) + text);
    }
}

} // namespace

int rtDiff(const RtRun &run, const CliDump &other) {
    const std::pair<std::string, std::string> more[] = {{"dump2", other.path},
                                                        {"words", run.opt.isRaw ? "raw" : "loaded"}};
    rtSchema(run.opt, "diff", run.dump.path, more);
    Diff diff(run, other.image.get());
    diff.scan(false);
    tell(run, "dropped_entries", diff.droppedWords(),
         " entries differ only in bits that the load drops, or match no key in either dump.\n");
    if (run.opt.isAll)
        diff.scan(true);
    else
        tell(run, "state_words", diff.otherWords(),
             " words of state differ: counters, activity, captures. See them with -a.\n");
    return diff.changes() == 0 ? 0 : 1;
}
