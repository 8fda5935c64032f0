#include "regenc_tsr.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <memory>
#include <new>
#include <span>
#include <sys/stat.h>
#include <unistd.h>

#include "be_word.h"
#include "hsi/cmRteHsiReg.h"
#include "regdump_prog.h"
#include "regdump_util.h"
#include "regenc_tsr_out.h"
#include "regenc_tsr_text.h"
#include "tsr_reg.h"

// ----------------------------------------------------------------------------------------------- the dump in memory

RegencDump::RegencDump() : image_(static_cast<tsr_dmp_t *>(std::calloc(1, sizeof(tsr_dmp_t)))) {
    if (image_ == nullptr)
        throw std::bad_alloc();
    regdump_init_hdr(&hdr_, TSR_VENDOR_ID, TSR_CHIP_ID, TSR_CHIP_VER_MIN, 0, 0);
}

bool RegencDump::load(const std::string &path, std::string &error) {
    RegdumpReader reader(path);
    asic_dump_hdr_t hdr;
    if (!reader.readHdr(hdr, error) || !reader.readImage(image_.get(), error))
        return false;
    hdr_ = hdr;
    return true;
}

bool RegencDump::write(const std::string &path, std::string &error) const {
    uint32_t hdr[sizeof(hdr_) / 4];
    std::memcpy(hdr, &hdr_, sizeof(hdr));
    for (uint32_t &word : hdr)
        word = hostWord(word);
    RegencOutput output;
    return output.open(path, error) && output.write(hdr, sizeof(hdr), error) &&
           output.write(image_.get(), sizeof(tsr_dmp_t), error) && output.finish(error);
}

uint32_t RegencDump::word(uint32_t dumpOff) const {
    return imageWord(image_.get(), dumpOff);
}

void RegencDump::setWord(uint32_t dumpOff, uint32_t value) {
    setImageWord(image_.get(), dumpOff, value);
}

// -------------------------------------------------------------------------------------------------- pieces of a line

static bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

static std::string_view trim(std::string_view text) {
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

static bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

static std::string hex(uint32_t value) {
    char text[11];
    std::snprintf(text, sizeof(text), "0x%08x", value);
    return text;
}

namespace {

/// The value of every character as a hexadecimal digit; 255 for those that are none.
struct DigitTable {
    constexpr DigitTable() {
        for (unsigned c = 0; c < 256; ++c)
            value[c] = 255;
        for (unsigned digit = 0; digit < 16; ++digit) {
            value[static_cast<unsigned char>("0123456789abcdef"[digit])] = static_cast<uint8_t>(digit);
            value[static_cast<unsigned char>("0123456789ABCDEF"[digit])] = static_cast<uint8_t>(digit);
        }
    }
    uint8_t value[256] = {};
};

} // namespace

static constexpr DigitTable DIGITS;

/// Reads a decimal or 0x hexadecimal number, which must be all of `text`. Returns false after storing a message in
/// `error` when it is no number or has more than 32 bits.
static bool readValue(std::string_view text, uint32_t &value, std::string &error) {
    const bool isHex = startsWith(text, "0x") || startsWith(text, "0X");
    const std::string_view digits = isHex ? text.substr(2) : text;
    const uint64_t base = isHex ? 16 : 10;
    bool tooWide = false;
    uint64_t sum = 0;
    for (const char c : digits) {
        const uint64_t digit = DIGITS.value[static_cast<unsigned char>(c)];
        if (digit >= base) {
            error = regencText("bad value '", regdump_shown(text), "'");
            return false;
        }
        sum = sum * base + digit;
        if (sum > UINT32_MAX) {
            tooWide = true;
            sum = UINT32_MAX;
        }
    }
    if (digits.empty()) {
        error = regencText("bad value '", regdump_shown(text), "'");
        return false;
    }
    if (tooWide) {
        error = regencText("value ", regdump_shown(text), " does not fit 32 bits");
        return false;
    }
    value = static_cast<uint32_t>(sum);
    return true;
}

// ------------------------------------------------------------------------------------------------------ the assembler

RegencAssembler::RegencAssembler(RegencDump &dump) : dump_(dump), names_(tsr_dmp_map), wordClaims_(TSR_DUMP_SIZE / 4) {}

void RegencAssembler::beginText() {
    wordClaims_.assign(wordClaims_.size(), false);
    fieldClaims_.clear();
    listing_.end();
    hdrClaims_ = 0;
}

/// Calls `visit(chipOff, dumpOff, rowOff)` for each run of words, in rising order, until one call returns false;
/// `rowOff` is where the run's leaf begins in the image. Returns whether all did well.
template <typename Visit> static bool forEachRun(const RegencWords &words, Visit visit) {
    uint32_t done[std::tuple_size_v<decltype(words.steps)>] = {};
    uint32_t chipOff = words.chipOff;
    uint32_t dumpOff = words.dumpOff;
    uint32_t rowOff = words.rowOff;
    for (;;) {
        if (!visit(chipOff, dumpOff, rowOff))
            return false;
        size_t step = words.numSteps;
        for (;;) {
            if (step == 0)
                return true;
            const RegencWords::Step &inner = words.steps[--step];
            chipOff += inner.chipStride;
            dumpOff += inner.dumpStride;
            rowOff += step < words.numGroupSteps ? inner.dumpStride : 0;
            if (++done[step] != inner.count)
                break;
            chipOff -= inner.count * inner.chipStride;
            dumpOff -= inner.count * inner.dumpStride;
            rowOff -= step < words.numGroupSteps ? inner.count * inner.dumpStride : 0;
            done[step] = 0;
        }
    }
}

/// Calls `visit(chipOff, dumpOff)` for each of the words in the same way.
template <typename Visit> static bool forEachWord(const RegencWords &words, Visit visit) {
    return forEachRun(words, [&](uint32_t chipOff, uint32_t dumpOff, uint32_t) {
        for (uint32_t i = 0; i < words.run; ++i) {
            if (!visit(chipOff + 4 * i, dumpOff + 4 * i))
                return false;
        }
        return true;
    });
}

static std::string contradiction(std::string_view name, std::string_view before) {
    return regencText("'", regdump_shown(name), "' is set again with another value (before: ", before, ")");
}

static std::string contradiction(std::string_view name, uint32_t before) {
    return contradiction(name, hex(before));
}

bool RegencAssembler::setWord(uint32_t dumpOff, std::string_view name, uint32_t value, std::string &error) {
    uint32_t claimed = 0;
    if (wordClaims_[dumpOff / 4]) {
        claimed = UINT32_MAX;
    } else if (!fieldClaims_.empty()) {
        const auto fields = fieldClaims_.find(dumpOff);
        claimed = fields == fieldClaims_.end() ? 0 : fields->second;
    }
    const uint32_t before = claimed == 0 ? 0 : dump_.word(dumpOff);
    if (((before ^ value) & claimed) != 0) {
        error = contradiction(name, before);
        return false;
    }
    dump_.setWord(dumpOff, value);
    wordClaims_[dumpOff / 4] = true;
    return true;
}

void RegencAssembler::startAfresh(uint32_t dumpOff) {
    wordClaims_[dumpOff / 4] = false;
    if (!fieldClaims_.empty())
        fieldClaims_.erase(dumpOff);
}

bool RegencAssembler::setWords(const RegencWords &words, uint32_t value) {
    return forEachWord(words, [&](uint32_t, uint32_t dumpOff) {
        dump_.setWord(dumpOff, value);
        startAfresh(dumpOff);
        return true;
    });
}

/// The fields of the register at `chipOff` that are spelled like `field`, for a message.
static std::string nearFields(uint32_t chipOff, std::string_view field) {
    const std::vector<std::string> fields = hsiFieldNames(chipOff);
    return tblNear(field, std::vector<std::string_view>(fields.begin(), fields.end()), true);
}

bool RegencAssembler::setFields(const RegencWords &words, std::string_view name, uint32_t value, std::string &error) {
    return forEachWord(words, [&](uint32_t chipOff, uint32_t dumpOff) {
        const std::optional<HsiFieldDef> field = hsiFindField(chipOff, words.field);
        if (!field) {
            error = regencText("unknown name '", regdump_shown(name), "': the register at ", hex(chipOff),
                               " has no field ", regdump_shown(words.field), nearFields(chipOff, words.field));
            return false;
        }
        const unsigned lo = field->lo;
        const unsigned width = field->hi - lo + 1;
        const uint32_t widest = UINT32_MAX >> (32 - width);
        if (value > widest) {
            error = regencText("value ", hex(value), " does not fit the ", std::to_string(width), " bits of '",
                               regdump_shown(name), "'");
            return false;
        }
        const uint32_t mask = widest << lo;
        const uint32_t bits = value << lo;
        const uint32_t before = dump_.word(dumpOff);
        if (words.ranged) {
            startAfresh(dumpOff);
        } else {
            // A field refines its word: only what fields have set is held against it.
            uint32_t &claimed = fieldClaims_[dumpOff];
            if (((before ^ bits) & claimed & mask) != 0) {
                error = contradiction(name, (before & mask) >> lo);
                return false;
            }
            claimed |= mask;
        }
        dump_.setWord(dumpOff, (before & ~mask) | bits);
        return true;
    });
}

// ------------------------------------------------------------------------------------------------- entries of tables

/// What a line sets in each entry that its name stands for.
struct RegencAssembler::Setting {
    std::string_view name;
    std::string_view text;
    bool ranged;

    // Found with the first entry, and again where another form begins.
    TblFieldRef ref = {};
    TblMatch match = {}; ///< of a plain field, its value
    uint32_t elemLo = 0;
    uint32_t elemHi = 0;
    bool isTold = false; ///< a warning was given
};

/// Why a field does not take the value `text`.
static std::string badValue(const TblFieldRef &ref, std::string_view name, std::string_view text) {
    std::string bad = regencText("bad value '", regdump_shown(text), "'");
    if (!ref.desc->isTcam && (text == "*" || text.find('/') != text.npos))
        return regencText(bad, ": '", regdump_shown(name), "' is no field of a TCAM's key, which alone has a mask");
    switch (ref.field->kind) {
    case TblKind::MAC:
        return regencText(bad, ": a MAC address is a number, or written as 02:00:00:00:00:a1");
    case TblKind::IPV4:
        return regencText(bad, ": an IPv4 address is a number, or written as 10.0.1.9");
    case TblKind::IPV6:
        return regencText(bad, ": an IPv6 address is a number, or written as 2001:db8::1");
    case TblKind::FCID:
        return regencText(bad, ": a Fibre Channel id is a number, or written as 01.02.03");
    default:
        return bad;
    }
}

/// Finds the elements of the field that the name stands for. Returns false after storing a message in `error`.
static bool findElems(const RegencWords &words, const TblField &field, std::string_view name, uint32_t &lo,
                      uint32_t &hi, std::string &error) {
    lo = words.elemLo;
    hi = words.elemRanged && words.elemHi == UINT32_MAX ? field.count - 1u : words.elemHi;
    if (field.isArr && !words.hasElem)
        error = regencText("'", regdump_shown(name), "' is ", std::to_string(field.count),
                           " elements: give a subscript, a range or [*]");
    else if (!field.isArr && words.hasElem)
        error = regencText("unknown name '", regdump_shown(name), "': ", field.name, " has no subscript");
    else if (hi >= field.count)
        error = regencText("unknown name '", regdump_shown(name), "': a subscript of ", field.name, " is at most ",
                           std::to_string(field.count - 1));
    else
        return true;
    return false;
}

/// Holds the entry at byte `at` of the image against the entries of `desc` and against the words of the name, which end
/// at byte `end`. Returns false after storing a message in `error`.
static bool checkEntry(const RegencWords &words, const TblDesc &desc, uint32_t at, uint32_t rowOff, uint32_t end,
                       std::string_view name, std::string &error) {
    const uint32_t bytes = 4 * desc.words;
    if (tblBeginsAnywhere(desc) && words.run != 1) {
        error = regencText("subscripts are missing in '", regdump_shown(name), "': an entry of ", desc.row,
                           " may begin at any word");
        return false;
    }
    if (at - rowOff + bytes > regdump_mapp_get_size(words.row)) {
        error = regencText("'", regdump_shown(name), "' is no entry: it would end behind ", desc.row);
        return false;
    }
    if (!tblBeginsAnywhere(desc) && (at - rowOff) % bytes != 0) {
        error = regencText("'", regdump_shown(name), "' is no entry: one of ", desc.type, " takes ",
                           std::to_string(desc.words / words.run), " of ", desc.row, " and begins at a multiple of ",
                           std::to_string(desc.words / words.run));
        return false;
    }
    if (!words.ranged && at + bytes < end) {
        error = regencText("'", regdump_shown(name), "' is ", std::to_string((end - at) / bytes),
                           " entries: give all subscripts, or a range");
        return false;
    }
    return true;
}

void RegencAssembler::tell(std::string_view name, const std::string &message) {
    const std::string place =
        file_.empty() ? "" : regencText(regdump_shown_file(file_), ":", std::to_string(lineNumber_), ": ");
    warn_(regencText(place, "warning: '", regdump_shown(name), "': ", message));
}

bool RegencAssembler::useField(const RegencWords &words, Setting &setting, const TblFieldRef &ref, std::string &error) {
    if (setting.ref.field == ref.field)
        return true;
    setting.ref = ref;
    const TblField &field = *ref.field;
    const TblRead read = ref.desc->isTcam ? tblReadMatch(setting.text, field.kind, field.width, setting.match)
                                          : tblReadValue(setting.text, field.kind, field.width, setting.match.value);
    if (read == TblRead::BAD) {
        error = badValue(ref, setting.name, setting.text);
        return false;
    }
    if (read == TblRead::TOO_WIDE) {
        error = regencText("value ", regdump_shown(setting.text), " does not fit the ", std::to_string(field.width),
                           " bits of '", regdump_shown(setting.name), "'");
        return false;
    }
    return findElems(words, field, setting.name, setting.elemLo, setting.elemHi, error);
}

bool RegencAssembler::setEntries(const RegencWords &words, std::string_view name, std::string_view text,
                                 std::string &error) {
    Setting setting{name, text, words.ranged || words.elemRanged};
    uint32_t done = 0; // the end of the last entry
    return forEachRun(words, [&](uint32_t, uint32_t dumpOff, uint32_t rowOff) {
        const uint32_t end = dumpOff + 4 * words.run;
        for (uint32_t at = std::max(dumpOff, done); at < end; at = done) {
            std::string why;
            const TblFieldRef ref =
                tblChoose(*words.table, words.form, words.field, {dump_.image(), rowOff, at - rowOff}, why);
            if (ref.field == nullptr) {
                error = regencText("unknown name '", regdump_shown(name), "': ", regdump_shown(why, 240));
                return false;
            }
            if (!useField(words, setting, ref, error) || !checkEntry(words, *ref.desc, at, rowOff, end, name, error) ||
                !setEntry(setting, at, error))
                return false;
            done = at + 4 * ref.desc->words;
        }
        return true;
    });
}

bool RegencAssembler::setEntry(Setting &setting, uint32_t dumpOff, std::string &error) {
    constexpr uint32_t kMaxWords = 32;
    const TblDesc &desc = *setting.ref.desc;
    const TblField &field = *setting.ref.field;
    uint32_t entry[kMaxWords];
    uint32_t claims[kMaxWords];
    for (uint32_t w = 0; w < desc.words; ++w) {
        entry[w] = dump_.word(dumpOff + 4 * w);
        const auto claimed = fieldClaims_.find(dumpOff + 4 * w);
        claims[w] = claimed == fieldClaims_.end() ? 0 : claimed->second;
    }
    uint32_t bits[kMaxWords] = {};
    uint32_t mask[kMaxWords] = {};
    for (uint32_t elem = setting.elemLo; elem <= setting.elemHi; ++elem) {
        tblPutValue(field, elem, mask, tblAllOnes(field.width));
        if (desc.isTcam) {
            tblPutValue(field, elem, mask + desc.keyWords(), tblAllOnes(field.width));
            tblPutMatch(setting.ref, elem, bits, setting.match);
        } else {
            tblPutValue(field, elem, bits, setting.match.value);
        }
    }

    // A field refines its entry: only what fields have set is held against it.
    for (uint32_t w = 0; w < desc.words && !setting.ranged; ++w) {
        if (((entry[w] ^ bits[w]) & claims[w] & mask[w]) == 0)
            continue;
        error = contradiction(setting.name, desc.isTcam
                                                ? tblShowMatch(field, tblMatchOf(setting.ref, setting.elemLo, entry))
                                                : tblShowValue(field, tblValueOf(field, setting.elemLo, entry)));
        return false;
    }
    if (desc.isTcam && tblIsNever(desc, entry)) {
        for (uint32_t w = 0; w < desc.words; ++w)
            entry[w] &= claims[w];
    }
    for (uint32_t w = 0; w < desc.words; ++w) {
        dump_.setWord(dumpOff + 4 * w, (entry[w] & ~mask[w]) | bits[w]);
        if (mask[w] != 0 && setting.ranged)
            startAfresh(dumpOff + 4 * w);
        else if (mask[w] != 0)
            fieldClaims_[dumpOff + 4 * w] |= mask[w];
    }
    if (warn_ && !setting.isTold) {
        const std::string dropped = tblDropped(desc, bits);
        setting.isTold = !dropped.empty();
        if (setting.isTold)
            tell(setting.name, dropped);
    }
    return true;
}

/// The form by which a row's entry at `place` is taken as a whole: the one that holds, or else the one of the fewest
/// words; null when the row is no TCAM's.
static const TblDesc *wholeForm(const TblRow &row, const TblPlace &place) {
    const TblDesc *form = nullptr;
    for (const TblDesc &desc : row.forms()) {
        if (!desc.isTcam)
            return nullptr;
        if (tblHolds(desc, place) == TblHolds::YES)
            return &desc;
        if (form == nullptr || desc.words < form->words)
            form = &desc;
    }
    return form;
}

bool RegencAssembler::setNever(const RegencWords &words, std::string_view name, std::string &error) {
    const TblRow *row = tblRow(words.row->name);
    uint32_t done = 0; // the end of the last entry
    return forEachRun(words, [&](uint32_t, uint32_t dumpOff, uint32_t rowOff) {
        const uint32_t end = dumpOff + 4 * words.run;
        for (uint32_t at = std::max(dumpOff, done); at < end; at = done) {
            const TblDesc *desc = row == nullptr ? nullptr : wholeForm(*row, {dump_.image(), rowOff, at - rowOff});
            if (desc == nullptr || !words.field.empty()) {
                error = regencText("bad value 'never': '", regdump_shown(name), "' is no row of a TCAM");
                return false;
            }
            if (!checkEntry(words, *desc, at, rowOff, end, name, error))
                return false;
            for (done = at; done < at + 4 * desc->words; done += 4) {
                if (words.ranged)
                    startAfresh(done);
                if (!setWord(done, name, UINT32_MAX, error))
                    return false;
                if (words.ranged)
                    startAfresh(done);
            }
        }
        return true;
    });
}

// ------------------------------------------------------------------------------------------------ header, other lines

/// The header's fields, in its order.
static constexpr std::string_view HDR_FIELDS[] = {
    "ver", "oid", "vendor_id", "chip_id", "chip_ver", "chip_base_addr", "epoch_sec", "epoch_usec"};

bool RegencAssembler::setHdr(std::string_view name, uint32_t value, std::string &error) {
    uint32_t words[std::size(HDR_FIELDS)];
    static_assert(sizeof(words) == sizeof(asic_dump_hdr_t));
    std::memcpy(words, &dump_.hdr(), sizeof(words));
    for (size_t i = 0; i < std::size(HDR_FIELDS); ++i) {
        if (HDR_FIELDS[i] != name)
            continue;
        if ((hdrClaims_ >> i & 1) != 0 && words[i] != value) {
            error = contradiction(regencText("header.", name), words[i]);
            return false;
        }
        hdrClaims_ |= 1u << i;
        words[i] = value;
        std::memcpy(&dump_.hdr(), words, sizeof(words));
        return true;
    }
    error = regencText("unknown name 'header.", regdump_shown(name), "'");
    return false;
}

static constexpr std::string_view HDR_PREFIX = "header.";

RegencAssembler::Value RegencAssembler::readText(std::string_view text) {
    Value value{text, true, 0, ""};
    value.isNumber = readValue(text, value.number, value.error);
    return value;
}

bool RegencAssembler::assign(std::string_view name, const Value &value, bool isAfresh, std::string &error) {
    const auto isWord = [&] {
        if (!value.isNumber)
            error = value.error;
        return value.isNumber;
    };
    if (startsWith(name, HDR_PREFIX)) {
        if (isAfresh)
            hdrClaims_ = 0;
        return isWord() && setHdr(name.substr(HDR_PREFIX.size()), value.number, error);
    }
    RegencWords words;
    const bool isNever = value.text == "never";
    if (!names_.find(name, words, error, isNever))
        return false;
    words.ranged |= isAfresh;
    if (isNever)
        return setNever(words, name, error);
    if (words.table != nullptr)
        return setEntries(words, name, value.text, error);
    if (!isWord())
        return false;
    if (!words.field.empty())
        return setFields(words, name, value.number, error);
    if (words.ranged)
        return setWords(words, value.number);
    return setWord(words.dumpOff, name, value.number, error);
}

bool RegencAssembler::set(std::string_view name, uint32_t value, std::string &error) {
    const std::string text = std::to_string(value);
    return assign(name, {text, true, value, ""}, true, error);
}

bool RegencAssembler::setText(std::string_view name, std::string_view value, std::string &error) {
    return assign(name, readText(value), true, error);
}

bool RegencAssembler::listingLine(std::string_view text, std::string &error) {
    const size_t colon = text.find(':');
    const std::string_view rest = trim(text.substr(colon + 1));
    size_t valueEnd = 0;
    while (valueEnd < rest.size() && !isBlank(rest[valueEnd]))
        ++valueEnd;
    const std::string_view name = trim(rest.substr(valueEnd));
    uint32_t chipOff = 0;
    uint32_t value = 0;
    if (!readValue(text.substr(0, colon), chipOff, error) || !readValue(rest.substr(0, valueEnd), value, error))
        return false;
    RegencWords words;
    if (!names_.find(name, words, error))
        return false;
    if (words.ranged || !words.field.empty()) {
        error = regencText("'", regdump_shown(name), "' is no word of a listing");
        return false;
    }
    if (words.chipOff != chipOff) {
        error = regencText("'", regdump_shown(name), "' is at ", hex(words.chipOff), ", not at ", hex(chipOff));
        return false;
    }
    if (!setWord(words.dumpOff, name, value, error))
        return false;
    listing_.begin(text, *words.row, words.chipOff, words.dumpOff);
    return true;
}

/// Takes the line that begins `text` if it is the listing's next one. Returns its size, 0 if it is another line; an
/// error leaves a message in `error`.
size_t RegencAssembler::foretoldLine(std::string_view text, std::string &error) {
    RegencListingRun::Word word;
    if (!listing_.take(text, word))
        return 0;
    setWord(word.dumpOff, word.name, word.value, error);
    return word.lineSize;
}

/// Takes a line of a listing that is not about a word: the header block and the headings. `taken` tells whether it was
/// one.
bool RegencAssembler::hdrBlockLine(std::string_view text, bool &taken, std::string &error) {
    static constexpr struct {
        std::string_view label;
        std::string_view field;
    } BLOCK[] = {{"Header version:", "ver"},
                 {"Chip OID:", "oid"},
                 {"PCI vendor ID:", "vendor_id"},
                 {"PCI device ID:", "chip_id"},
                 {"Chip version:", "chip_ver"}};
    taken = true;
    for (const auto &entry : BLOCK) {
        if (!startsWith(text, entry.label))
            continue;
        uint32_t value = 0;
        return readValue(trim(text.substr(entry.label.size())), value, error) && setHdr(entry.field, value, error);
    }
    taken = startsWith(text, "Dump time:") || startsWith(text, "================ Register Dump") ||
            startsWith(text, "ASIC offset ") || startsWith(text, "----------- ");
    return true;
}

bool RegencAssembler::line(std::string_view text, std::string &error) {
    text = trim(text.substr(0, text.find('#')));
    if (text.empty())
        return true;
    if (startsWith(text, "0x") && text.find(':') != text.npos)
        return listingLine(text, error);
    const size_t equals = text.find('=');
    if (equals == text.npos || equals == 0) {
        bool taken = false;
        if (!hdrBlockLine(text, taken, error))
            return false;
        if (!taken)
            error = regencText("cannot read '", regdump_shown(text), "'");
        return taken;
    }
    return assign(trim(text.substr(0, equals)), readText(trim(text.substr(equals + 1))), false, error);
}

bool RegencAssembler::file(const std::string &path, std::string &error) {
    /// What is read at once; no line may be longer.
    constexpr size_t BLOCK = 1 << 20;

    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        error = regencText(regdump_shown_file(path), ": cannot open", regdump_system_error());
        return false;
    }
    beginText();
    file_ = path;
    const auto buf = std::make_unique<char[]>(BLOCK);
    size_t used = 0;
    uint64_t lineNumber = 0;
    std::string message;
    for (bool atEnd = false; !atEnd && message.empty();) {
        const ssize_t count = regdump_read_all(fd, buf.get() + used, BLOCK - used);
        if (count < 0) {
            close(fd);
            error = regencText(regdump_shown_file(path), ": cannot read", regdump_system_error());
            return false;
        }
        used += static_cast<size_t>(count);
        atEnd = used != BLOCK;
        const char *start = buf.get();
        const char *end = start + used;
        while (start != end && message.empty()) {
            if (const size_t size = foretoldLine({start, static_cast<size_t>(end - start)}, message); size != 0) {
                ++lineNumber;
                start += size + 1;
                continue;
            }
            const char *newline = static_cast<const char *>(std::memchr(start, '\n', static_cast<size_t>(end - start)));
            if (newline == nullptr && !atEnd)
                break;
            const char *lineEnd = newline == nullptr ? end : newline;
            ++lineNumber;
            lineNumber_ = lineNumber;
            line(std::string_view(start, static_cast<size_t>(lineEnd - start)), message);
            start = newline == nullptr ? end : newline + 1;
        }
        if (message.empty() && !atEnd && start == buf.get()) {
            ++lineNumber;
            message = "line too long";
        }
        used = static_cast<size_t>(end - start);
        std::memmove(buf.get(), start, used);
    }
    close(fd);
    file_ = "";
    if (message.empty())
        return true;
    error = regencText(regdump_shown_file(path), ":", std::to_string(lineNumber), ": ", message);
    return false;
}

// ------------------------------------------------------------------------------------------------------------ the run

static constexpr RegdumpProgram PROGRAM = {
    "regenc_tsr", "<out_dump> <text_file>... [from <base_dump>]",
    "Assembles a register dump of a Tessara from text, a line for each word, field, entry or range.\n\n"
    "  from <base_dump>  start from this dump instead of one whose words are all 0\n"
    "  -h, --help        print this help\n"
    "  --version         print the version\n\n"
    "The exit status is 0 when the dump is written, otherwise 1.\n",
    1};

/// Tells whether the two names lead to one regular file.
static bool isSameFile(const std::string &path1, const std::string &path2) {
    struct stat file1;
    struct stat file2;
    return stat(path1.c_str(), &file1) == 0 && stat(path2.c_str(), &file2) == 0 && S_ISREG(file1.st_mode) &&
           file1.st_dev == file2.st_dev && file1.st_ino == file2.st_ino;
}

/// Assembles the dump `out`, from the dump `base` if it is not null. Returns false after storing a message in `error`.
static bool assembleFiles(const std::string &out, std::span<const std::string> texts, const std::string *base,
                          std::string &error) {
    for (const std::string &text : texts) {
        if (isSameFile(out, text)) {
            error = regencText(regdump_shown_file(out), ": the output is the text file ", regdump_shown_file(text));
            return false;
        }
    }
    RegencDump dump;
    if (base != nullptr && !dump.load(*base, error))
        return false;
    RegencAssembler assembler(dump);
    assembler.onWarning([](const std::string &message) { std::fprintf(stderr, "%s\n", message.c_str()); });
    for (const std::string &text : texts) {
        if (!assembler.file(text, error))
            return false;
    }
    return dump.write(out, error);
}

int regenc_tsr_main(int argc, char **argv) {
    std::vector<std::string> files;
    std::string error;
    try {
        if (const auto answered = regdump_take_options(PROGRAM, argc, argv, files))
            return *answered;
        const bool hasBase = files.size() >= 4 && files[files.size() - 2] == "from";
        const size_t numFiles = files.size() - (hasBase ? 2 : 0);
        if (numFiles < 2)
            return regdump_bad_usage(PROGRAM, argc, argv);
        if (assembleFiles(files[0], std::span(files).subspan(1, numFiles - 1), hasBase ? &files.back() : nullptr,
                          error))
            return 0;
    } catch (const std::bad_alloc &) {
        error = files.empty() ? "not enough memory" : regdump_shown_file(files[0]) + ": not enough memory";
    }
    std::fprintf(stderr, "%s\n", error.c_str());
    return PROGRAM.trouble;
}
