#include "rt_entry.h"

#include <algorithm>
#include <cstdio>

#include "be_word.h"
#include "regdump_prog.h"

// ---- Places --------------------------------------------------------------------------------------------------------

void rtPlaceColumns(std::vector<CliColumn> &columns) {
    columns.push_back({.name = "row"});
    columns.push_back({.name = "chip"});
    columns.push_back({.name = "offset", .isRight = true});
}

void rtPutPlace(CliTable &table, std::string_view name, uint32_t chipOff, uint32_t imageOff) {
    table.text(name).hex(chipOff, 8).number(kCliImageStart + imageOff);
}

void rtPutPlace(CliTable &table, const TblMem &mem, uint32_t place) {
    rtPutPlace(table, mem.nameOf(place), mem.chipOff(place), mem.imageOff(place));
}

// ---- Fields --------------------------------------------------------------------------------------------------------

/// Whether the kind is written as an address.
static bool isAddress(TblKind kind) {
    return kind == TblKind::MAC || kind == TblKind::IPV4 || kind == TblKind::IPV6 || kind == TblKind::FCID;
}

CliItem rtItem(const TblFieldRef &ref, unsigned elem, const uint32_t *words) {
    const TblField &field = *ref.field;
    TblMatch match;
    if (ref.desc->isTcam) {
        match = tblMatchOf(ref, elem, words);
        if (match.mask != tblAllOnes(field.width))
            return {tblShowMatch(field, match), 0};
    } else {
        match.value = tblValueOf(field, elem, words);
    }
    const std::string text = tblShowValue(field, match.value);
    const bool isNumber = !isAddress(field.kind) && field.width <= 64 && text.compare(0, 2, "0x") != 0;
    return {isNumber ? "" : text, uint64_t{match.value[2]} << 32 | match.value[3]};
}

bool rtSays(const TblFieldRef &ref, unsigned elem, const uint32_t *words) {
    if (ref.desc->isTcam)
        return tblMatchOf(ref, elem, words).mask != TblWide{};
    return tblValueOf(*ref.field, elem, words) != TblWide{};
}

std::string rtItemText(const CliItem &item) {
    return item.text.empty() ? std::to_string(item.number) : item.text;
}

std::string rtFieldName(const TblField &field, unsigned elem) {
    std::string name = field.name;
    if (field.isArr)
        name.append("[").append(std::to_string(elem)).append("]");
    return name;
}

std::string rtFieldsText(const TblDesc &desc, const uint32_t *words, std::span<const std::string_view> skip) {
    std::string text;
    for (const TblField &field : desc.field) {
        if (field.isAlt || std::find(skip.begin(), skip.end(), field.name) != skip.end())
            continue;
        const TblFieldRef ref{&desc, &field};
        for (unsigned elem = 0; elem < field.count; ++elem) {
            if (!rtSays(ref, elem, words))
                continue;
            text += text.empty() ? "" : " ";
            text += rtFieldName(field, elem) + "=" + rtItemText(rtItem(ref, elem, words));
        }
    }
    return text;
}

// ---- Conditions ----------------------------------------------------------------------------------------------------

RtCond RtCond::of(const std::string &word) {
    const size_t equal = word.find('=');
    if (equal == word.npos || equal == 0)
        throw RtError("'" + regdump_shown(word) + "' is no condition: write FIELD=VALUE or FIELD=VALUE/MASK");
    RtCond cond{word.substr(0, equal), std::nullopt, word.substr(equal + 1)};
    const size_t open = cond.field.find('[');
    if (open == cond.field.npos)
        return cond;
    const std::string digits = cond.field.substr(open + 1, cond.field.size() - open - 2);
    if (cond.field.back() != ']' || digits.empty() || digits.size() > 6 ||
        digits.find_first_not_of("0123456789") != digits.npos)
        throw RtError("bad subscript in '" + regdump_shown(cond.field) + "'");
    cond.elem = static_cast<uint32_t>(std::stoul(digits));
    cond.field.resize(open);
    return cond;
}

TblMatch RtCond::match(TblKind kind, unsigned width) const {
    TblMatch match;
    switch (tblReadMatch(value, kind, width, match)) {
    case TblRead::OK:
        return match;
    case TblRead::TOO_WIDE:
        throw RtError("'" + regdump_shown(value) + "' does not fit " + field + ", which has " + std::to_string(width) +
                      (width == 1 ? " bit" : " bits"));
    case TblRead::BAD:
        break;
    }
    throw RtError("'" + regdump_shown(value) + "' is no value for " + field);
}

bool rtMeet(const TblMatch &a, const TblMatch &b) {
    for (size_t i = 0; i < a.value.size(); ++i) {
        if (((a.value[i] ^ b.value[i]) & a.mask[i] & b.mask[i]) != 0)
            return false;
    }
    return true;
}

// ---- Lines of the assembler ----------------------------------------------------------------------------------------

void RtLines::line(std::string_view name, std::string_view value) {
    cliPrint(std::string(name).append(" = ").append(value).append("\n"));
    ++lines_;
}

static std::string hexWord(uint32_t word) {
    char text[16];
    std::snprintf(text, sizeof(text), "0x%08x", word);
    return text;
}

void RtLines::putWords(const TblMem &mem, const TblEntry &entry, const uint32_t *words) {
    for (uint32_t w = 0; w < entry.words; ++w)
        line(mem.wordNameOf(entry.place, w), hexWord(words[w]));
}

/// The entry's words as its fields alone make them, from 0 on.
static std::vector<uint32_t> wordsOfFields(const TblDesc &desc, const uint32_t *words) {
    std::vector<uint32_t> made(desc.words);
    for (const TblField &field : desc.field) {
        if (field.isAlt)
            continue;
        const TblFieldRef ref{&desc, &field};
        for (unsigned elem = 0; elem < field.count; ++elem) {
            if (desc.isTcam)
                tblPutMatch(ref, elem, made.data(), tblMatchOf(ref, elem, words));
            else
                tblPutValue(field, elem, made.data(), tblValueOf(field, elem, words));
        }
    }
    return made;
}

void RtLines::putFields(const TblMem &mem, const TblEntry &entry, const uint32_t *words) {
    const TblDesc &desc = *entry.desc;
    const std::vector<uint32_t> made = wordsOfFields(desc, words);
    // A line for all the words starts the entry afresh, whatever the base has there. Bits without a field come with
    // their whole word.
    const uint32_t last = entry.place + desc.words / mem.words() - 1;
    const bool isOneWord = desc.words == 1;
    for (uint32_t place = entry.place; place <= last; ++place)
        line(mem.wholeNameOf(place), isOneWord && made[0] != words[0] ? hexWord(words[0]) : "0");
    for (uint32_t w = 0; w < desc.words && !isOneWord; ++w) {
        if (made[w] != words[w])
            line(mem.wordNameOf(entry.place, w), hexWord(words[w]));
    }
    std::string name = mem.nameOf(entry.place) + ".";
    if (mem.forms().size() > 1)
        name.append(desc.type).append(".");
    const size_t before = name.size();
    for (const TblField &field : desc.field) {
        if (field.isAlt)
            continue;
        const TblFieldRef ref{&desc, &field};
        for (unsigned elem = 0; elem < field.count; ++elem) {
            if (!rtSays(ref, elem, words))
                continue;
            name.resize(before);
            name += rtFieldName(field, elem);
            line(name, rtItemText(rtItem(ref, elem, words)));
        }
    }
}

void RtLines::put(const TblMem &mem, uint32_t place) {
    const TblEntry entry = mem.entryAt(image_, place);
    if (!done_.insert(mem.imageOff(entry.place)).second)
        return;
    uint32_t words[TblMem::kMaxWords];
    mem.read(image_, entry, true, words);
    // A field's line would empty a row that no key matches, and an entry that may begin at any word has no line for all
    // of its words.
    const bool isPlain = entry.desc == nullptr || entry.desc->field.empty() || tblBeginsAnywhere(*entry.desc);
    if (isPlain || (entry.desc->isTcam && tblIsNever(*entry.desc, words))) {
        const bool isAllOnes = std::all_of(words, words + entry.words, [](uint32_t w) { return w == UINT32_MAX; });
        if (mem.isTcam() && isAllOnes && entry.words == mem.words())
            line(mem.nameOf(entry.place), "never");
        else
            putWords(mem, entry, words);
        return;
    }
    putFields(mem, entry, words);
}

void RtLines::putAll(const TblMem &mem) {
    if (!mem.forms().empty() && tblBeginsAnywhere(mem.forms()[0])) {
        // Not every word belongs to an entry.
        for (uint32_t w = 0; w < mem.wordsOfInst(); ++w) {
            if (const uint32_t word = imageWord(image_, mem.imageOff(0) + 4 * w); word != 0)
                line(mem.wordNameOf(0, w), hexWord(word));
        }
        return;
    }
    const auto hasAll = [&](uint32_t place, uint32_t value) {
        for (uint32_t w = 0; w < mem.words(); ++w) {
            if (imageWord(image_, mem.imageOff(place) + 4 * w) != value)
                return false;
        }
        return true;
    };
    const auto runEnd = [&](uint32_t place, uint32_t value) {
        while (place < mem.places() && hasAll(place, value))
            ++place;
        return place;
    };
    for (uint32_t place = 0; place < mem.places();) {
        if (mem.isTcam()) {
            // A row of zeros matches every key: it is as much a row as one that matches none.
            const bool isNever = hasAll(place, UINT32_MAX);
            if (const uint32_t end = runEnd(place, isNever ? UINT32_MAX : 0); end != place) {
                const std::string name = mem.nameOf(place);
                line(name.substr(0, name.size() - 1) + ".." + std::to_string(end - 1) + "]", isNever ? "never" : "0");
                place = end;
                continue;
            }
        }
        const TblEntry entry = mem.entryAt(image_, place);
        bool isZero = true;
        for (uint32_t at = entry.place; at < entry.place + mem.placesOf(entry); ++at)
            isZero = isZero && hasAll(at, 0);
        if (!isZero)
            put(mem, place);
        place = entry.place + mem.placesOf(entry);
    }
}
