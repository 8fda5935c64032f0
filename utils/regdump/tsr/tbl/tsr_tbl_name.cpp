#include "tbl/tsr_tbl_name.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <optional>

#include "be_word.h"
#include "tae/cmTae.h"
#include "tsr_reg_dump.h"

// ---- Rows ----------------------------------------------------------------------------------------------------------

TblRow::TblRow(std::span<const TblDesc> forms) : forms_(forms) {
    for (const TblDesc &desc : forms) {
        for (const TblField &field : desc.field)
            fields_[field.name].push_back({&desc, &field});
    }
}

std::span<const TblFieldRef> TblRow::find(std::string_view name) const {
    const auto found = fields_.find(name);
    return found == fields_.end() ? std::span<const TblFieldRef>() : found->second;
}

const TblRow *tblRow(std::string_view name) {
    static const auto rows = [] {
        std::unordered_map<std::string_view, TblRow> index;
        const std::span<const TblDesc> descs = tblDescs();
        for (size_t first = 0; first < descs.size();) {
            size_t last = first + 1;
            while (last < descs.size() && std::string_view(descs[last].row) == descs[first].row)
                ++last;
            index.emplace(descs[first].row, TblRow(descs.subspan(first, last - first)));
            first = last;
        }
        return index;
    }();
    const auto found = rows.find(name);
    return found == rows.end() ? nullptr : &found->second;
}

bool tblBeginsAnywhere(const TblDesc &desc) {
    const std::string_view row = desc.row;
    return row == "iqs_mac_da_vid_mem" || row == "iqs_fcoe_sa_mac_tbl";
}

// ---- Forms ---------------------------------------------------------------------------------------------------------

namespace {

// The places of the prefix search, counted in IPv4 entries.
constexpr uint32_t kTfeBigBanks = 9;
constexpr uint32_t kTfeBigBank = 0x8000;
constexpr uint32_t kTfeSmallBank = 0x4000;

// The places of the ACL, counted in entries of one bank.
constexpr uint32_t kTaeBigBank = 4096;
constexpr uint32_t kTaeSmallBank = 512;
constexpr uint32_t kTaeTypeIpv6 = 16;

/// The bank of place `idx` where `bigBanks` banks of `big` places stand before those of `small`.
uint32_t bankOf(uint32_t idx, uint32_t bigBanks, uint32_t big, uint32_t small) {
    return idx < bigBanks * big ? idx / big : bigBanks + (idx - bigBanks * big) / small;
}

/// The type of the prefix search's bank at place `idx`: 0 IPv4, 1 FCoE, 2 IPv6.
uint32_t tfeBankType(const void *image, uint32_t idx) {
    const uint32_t bank = bankOf(idx, kTfeBigBanks, kTfeBigBank, kTfeSmallBank);
    return imageWord(image, offsetof(tsr_dmp_t, tfe_bank_prtcl_sel)) >> 2 * bank & 3;
}

/// The type of the ACL's bank at place `idx`.
uint32_t taeBankType(const void *image, uint32_t idx) {
    const uint32_t bank = bankOf(idx, TAE_FIRST_SMALL_BANK, kTaeBigBank, kTaeSmallBank);
    if (imageWord(image, offsetof(tsr_dmp_t, tae_bank_prtcl_sel_0)) >> bank / 2 & 1)
        return kTaeTypeIpv6;
    // The chip counts these registers downwards.
    static constexpr size_t kSel[] = {
        offsetof(tsr_dmp_t, tae_bank_prtcl_sel_4), offsetof(tsr_dmp_t, tae_bank_prtcl_sel_3),
        offsetof(tsr_dmp_t, tae_bank_prtcl_sel_2), offsetof(tsr_dmp_t, tae_bank_prtcl_sel_1)};
    return imageWord(image, kSel[bank / 8]) >> 4 * (bank % 8) & 0xf;
}

/// Bytes from one place of a bank to the next in the row of `desc`: an entry of the narrow types.
uint32_t placeBytes(const TblDesc &desc) {
    if (!desc.isTcam)
        return 4 * desc.words;
    return desc.form.kind == TblForm::TFE_BANK ? sizeof(tsr_dmp_t::tfe_tcam[0]) : sizeof(tsr_dmp_t::tae_tcam[0]);
}

/// The most words that an entry has.
constexpr uint32_t kMaxWords = 32;

/// Whether the field that decides the form has its value in the entry.
TblHolds holdsByField(const TblDesc &desc, const TblPlace &place) {
    const auto field = std::find_if(desc.field.begin(), desc.field.end(),
                                    [&](const TblField &f) { return std::string_view(f.name) == desc.form.field; });
    if (field == desc.field.end() || desc.words > kMaxWords)
        return TblHolds::UNKNOWN;
    uint32_t words[kMaxWords];
    for (uint32_t w = 0; w < desc.words; ++w)
        words[w] = imageWord(place.image, place.rowOff + place.off + 4 * w);
    const TblWide wanted{0, 0, 0, desc.form.value};
    if (!desc.isTcam)
        return tblValueOf(*field, 0, words) == wanted ? TblHolds::YES : TblHolds::NO;
    const TblMatch match = tblMatchOf({&desc, &*field}, 0, words);
    if (tblIsNever(desc, words) || match.mask != tblAllOnes(field->width))
        return TblHolds::UNKNOWN;
    return match.value == wanted ? TblHolds::YES : TblHolds::NO;
}

/// Whether two fields are the same bits of entries of the same size.
bool isSameBits(const TblFieldRef &a, const TblFieldRef &b) {
    const auto same = [](const TblPiece &p, const TblPiece &q) {
        return p.word == q.word && p.lo == q.lo && p.width == q.width && p.at == q.at;
    };
    return a.desc->words == b.desc->words && a.field->width == b.field->width && a.field->count == b.field->count &&
           a.field->step == b.field->step && a.field->kind == b.field->kind &&
           std::equal(a.field->piece.begin(), a.field->piece.begin() + a.field->numPieces, b.field->piece.begin(),
                      b.field->piece.begin() + b.field->numPieces, same);
}

std::string formNames(std::span<const TblFieldRef> refs) {
    std::string names;
    for (const TblFieldRef &ref : refs)
        names.append(names.empty() ? "" : ", ").append(ref.desc->type);
    return names;
}

/// Why a row has no field of this name, with the nearest names.
std::string noSuchField(const TblRow &row, std::string_view form, std::string_view name) {
    std::vector<std::string_view> names;
    for (const TblDesc &desc : row.forms()) {
        for (const TblField &field : desc.field) {
            if ((form.empty() || form == desc.type) && std::find(names.begin(), names.end(), field.name) == names.end())
                names.emplace_back(field.name);
        }
    }
    const std::string_view who = form.empty() ? std::string_view(row.forms()[0].row) : form;
    if (names.empty())
        return std::string("the layout of ").append(who).append(" is not known");
    return std::string(who).append(" has no field ").append(name).append(tblNear(name, names, true));
}

} // namespace

TblHolds tblHolds(const TblDesc &desc, const TblPlace &place) {
    const auto inTypes = [&](uint32_t type) { return desc.form.value >> type & 1 ? TblHolds::YES : TblHolds::NO; };
    switch (desc.form.kind) {
    case TblForm::ALWAYS:
        return TblHolds::YES;
    case TblForm::TFE_BANK:
        return inTypes(tfeBankType(place.image, place.off / placeBytes(desc)));
    case TblForm::TAE_BANK:
        return inTypes(taeBankType(place.image, place.off / placeBytes(desc)));
    case TblForm::WHEN:
        return holdsByField(desc, place);
    case TblForm::FRAME:
        return TblHolds::UNKNOWN;
    }
    return TblHolds::UNKNOWN;
}

TblFieldRef tblChoose(const TblRow &row, std::string_view form, std::string_view name, const TblPlace &place,
                      std::string &error) {
    const std::span<const TblFieldRef> refs = row.find(name);
    if (!form.empty()) {
        std::vector<std::string_view> forms;
        for (const TblDesc &desc : row.forms()) {
            if (desc.type != nullptr)
                forms.emplace_back(desc.type);
        }
        if (std::find(forms.begin(), forms.end(), form) == forms.end()) {
            error =
                std::string(row.forms()[0].row).append(" has no form ").append(form).append(tblNear(form, forms, true));
            return {};
        }
        for (const TblFieldRef &ref : refs) {
            if (form == ref.desc->type)
                return ref;
        }
    } else if (refs.size() == 1 || std::all_of(refs.begin(), refs.end(),
                                               [&](const TblFieldRef &ref) { return isSameBits(ref, refs[0]); })) {
        if (!refs.empty())
            return refs[0];
    } else {
        const auto holds = [&](const TblFieldRef &ref) { return tblHolds(*ref.desc, place) == TblHolds::YES; };
        const auto first = std::find_if(refs.begin(), refs.end(), holds);
        if (first != refs.end())
            return *first;
        error = std::string(name)
                    .append(" stands in the forms ")
                    .append(formNames(refs))
                    .append(", of which none is known to hold there: put one before it, as in ")
                    .append(refs[0].desc->type)
                    .append(".")
                    .append(name);
        return {};
    }
    error = noSuchField(row, form, name);
    return {};
}

// ---- Near names ----------------------------------------------------------------------------------------------------

namespace {

/// Letters to change, add, leave out or swap to come from one word to the other.
size_t distance(std::string_view a, std::string_view b) {
    std::vector<size_t> before(b.size() + 1);
    std::vector<size_t> last(b.size() + 1);
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j)
        last[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (a[i - 1] == b[j - 1] ? 0u : 1u)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                row[j] = std::min(row[j], before[j - 2] + 1);
        }
        std::swap(before, last);
        std::swap(last, row);
    }
    return last[b.size()];
}

} // namespace

std::string tblNear(std::string_view word, std::span<const std::string_view> names, bool far) {
    constexpr size_t kMaxWord = 64;
    constexpr size_t kMaxNames = 3;
    if (word.size() > kMaxWord)
        return "";
    struct Near {
        size_t distance;
        std::string_view name;
    };
    std::vector<Near> list;
    for (const std::string_view name : names) {
        const size_t longer = std::max(word.size(), name.size()) - std::min(word.size(), name.size());
        const size_t limit = far ? std::max(word.size(), name.size()) : std::min<size_t>(2, word.size() / 3);
        if (longer > limit)
            continue;
        const bool isPart = word.size() > 2 && name.find(word) != name.npos;
        const size_t steps = distance(word, name);
        if (steps <= limit)
            list.push_back({isPart && far ? 0 : steps, name});
    }
    std::stable_sort(list.begin(), list.end(), [](const Near &a, const Near &b) { return a.distance < b.distance; });
    std::string text;
    for (size_t i = 0; i < std::min(list.size(), kMaxNames); ++i)
        text.append(i == 0 ? "; near: " : ", ").append(list[i].name);
    return text;
}

// ---- Entries -------------------------------------------------------------------------------------------------------

TblWide tblAllOnes(unsigned width) {
    TblWide ones{};
    for (unsigned i = 0; i < 4 && width > 32 * i; ++i)
        ones[3 - i] = width - 32 * i >= 32 ? 0xffffffff : 0xffffffff >> (32 - (width - 32 * i));
    return ones;
}

TblWide tblValueOf(const TblField &field, unsigned elem, const uint32_t *words) {
    TblWide value{};
    for (size_t i = 0; i < field.numPieces; ++i) {
        const TblPiece piece = field.at(i, elem);
        tblAdd(value, tblPieceBits(words, piece), piece.at);
    }
    return value;
}

void tblPutValue(const TblField &field, unsigned elem, uint32_t *words, const TblWide &value) {
    for (size_t i = 0; i < field.numPieces; ++i)
        tblScatter(words, std::array{field.at(i, elem)}, value);
}

TblMatch tblMatchOf(const TblFieldRef &ref, unsigned elem, const uint32_t *words) {
    TblMatch match{tblValueOf(*ref.field, elem, words), tblValueOf(*ref.field, elem, words + ref.desc->keyWords())};
    for (size_t i = 0; i < match.mask.size(); ++i)
        match.mask[i] |= match.value[i];
    return match;
}

void tblPutMatch(const TblFieldRef &ref, unsigned elem, uint32_t *words, const TblMatch &match) {
    TblWide ones{};
    TblWide zeros{};
    for (size_t i = 0; i < match.mask.size(); ++i) {
        ones[i] = match.value[i] & match.mask[i];
        zeros[i] = ~match.value[i] & match.mask[i];
    }
    tblPutValue(*ref.field, elem, words, ones);
    tblPutValue(*ref.field, elem, words + ref.desc->keyWords(), zeros);
}

bool tblIsNever(const TblDesc &desc, const uint32_t *words) {
    const uint32_t half = desc.keyWords();
    for (uint32_t w = 0; w < half; ++w) {
        if ((words[w] & desc.kept(w) & words[half + w] & desc.kept(half + w)) != 0)
            return true;
    }
    return false;
}

std::string tblDropped(const TblDesc &desc, const uint32_t *words) {
    const bool leftOut = desc.mem == nullptr && !desc.fromImage;
    std::string text;
    for (uint32_t w = 0; w < desc.words; ++w) {
        const uint32_t lost = leftOut ? words[w] : words[w] & ~desc.kept(w);
        if (lost == 0)
            continue;
        if (leftOut)
            return std::string("the load leaves ").append(desc.row).append(" out");
        for (unsigned hi = 32; hi-- > 0;) {
            if ((lost >> hi & 1) == 0)
                continue;
            unsigned lo = hi;
            while (lo > 0 && (lost >> (lo - 1) & 1) != 0)
                --lo;
            text.append(text.empty() ? "the load drops " : ", ");
            text.append(hi == lo ? "bit " + std::to_string(hi)
                                 : "bits " + std::to_string(hi) + " to " + std::to_string(lo));
            text.append(" of word ").append(std::to_string(w));
            hi = lo;
        }
    }
    return text;
}

// ---- Values as text ------------------------------------------------------------------------------------------------

namespace {

constexpr int kNoDigit = 16;

/// The value of a hexadecimal digit, or `kNoDigit`.
int digitOf(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return kNoDigit;
}

/// value = value * base + digit. Returns false when that has more than 128 bits.
bool shiftIn(TblWide &value, uint32_t base, uint32_t digit) {
    uint64_t carry = digit;
    for (size_t i = value.size(); i-- > 0;) {
        carry += uint64_t{value[i]} * base;
        value[i] = static_cast<uint32_t>(carry);
        carry >>= 32;
    }
    return carry == 0;
}

bool fits(const TblWide &value, unsigned width) {
    const TblWide ones = tblAllOnes(width);
    for (size_t i = 0; i < value.size(); ++i) {
        if ((value[i] & ~ones[i]) != 0)
            return false;
    }
    return true;
}

/// Digits of `base`, one or more and nothing else.
TblRead readDigits(std::string_view digits, int base, TblWide &value) {
    value = {};
    if (digits.empty())
        return TblRead::BAD;
    bool wide = false;
    for (const char c : digits) {
        const int digit = digitOf(c);
        if (digit >= base)
            return TblRead::BAD;
        wide |= !shiftIn(value, static_cast<uint32_t>(base), static_cast<uint32_t>(digit));
    }
    return wide ? TblRead::TOO_WIDE : TblRead::OK;
}

TblRead readNumber(std::string_view text, TblWide &value) {
    if (text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X")
        return readDigits(text.substr(2), 16, value);
    return readDigits(text, 10, value);
}

/// `count` groups of at most `maxDigits` digits of `base`, with `sep` between them, each below 2 to the `bits`.
bool readGroups(std::string_view text, size_t count, char sep, int base, size_t maxDigits, unsigned bits,
                TblWide &value) {
    value = {};
    for (size_t i = 0; i < count; ++i) {
        const size_t end = i + 1 == count ? text.size() : text.find(sep);
        if (end == text.npos || end == 0 || end > maxDigits)
            return false;
        TblWide group;
        if (readDigits(text.substr(0, end), base, group) != TblRead::OK || !fits(group, bits))
            return false;
        shiftIn(value, 1u << bits, group[3]);
        text.remove_prefix(i + 1 == count ? end : end + 1);
    }
    return true;
}

/// The 16-bit groups of a part of an IPv6 address, which may end with an IPv4 address if `isTail`. Returns false when
/// they cannot be read or are more than eight.
bool readIpv6Part(std::string_view text, bool isTail, std::vector<uint32_t> &groups) {
    while (!text.empty()) {
        const size_t end = std::min(text.find(':'), text.size());
        const std::string_view group = text.substr(0, end);
        TblWide value;
        if (isTail && end == text.size() && group.find('.') != group.npos) {
            if (!readGroups(group, 4, '.', 10, 3, 8, value))
                return false;
            groups.push_back(value[3] >> 16);
            groups.push_back(value[3] & 0xffff);
        } else {
            if (end == 0 || end > 4 || readDigits(group, 16, value) != TblRead::OK)
                return false;
            groups.push_back(value[3]);
        }
        if (end + 1 == text.size() || groups.size() > 8)
            return false;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return groups.size() <= 8;
}

bool readIpv6(std::string_view text, TblWide &value) {
    const size_t gap = text.find("::");
    std::vector<uint32_t> groups;
    std::vector<uint32_t> tail;
    if (gap == text.npos) {
        if (!readIpv6Part(text, true, groups) || groups.size() != 8)
            return false;
    } else {
        if (!readIpv6Part(text.substr(0, gap), false, groups) || !readIpv6Part(text.substr(gap + 2), true, tail) ||
            groups.size() + tail.size() > 7)
            return false;
        groups.resize(8 - tail.size());
        groups.insert(groups.end(), tail.begin(), tail.end());
    }
    for (size_t i = 0; i < value.size(); ++i)
        value[i] = groups[2 * i] << 16 | groups[2 * i + 1];
    return true;
}

/// Whether `text` is written as an address of the kind, and not as a number.
bool isWritten(std::string_view text, TblKind kind) {
    switch (kind) {
    case TblKind::MAC:
    case TblKind::IPV6:
        return text.find(':') != text.npos;
    case TblKind::IPV4:
    case TblKind::FCID:
        return text.find('.') != text.npos;
    default:
        return false;
    }
}

bool readWritten(std::string_view text, TblKind kind, TblWide &value) {
    switch (kind) {
    case TblKind::MAC:
        return readGroups(text, 6, ':', 16, 2, 8, value);
    case TblKind::IPV4:
        return readGroups(text, 4, '.', 10, 3, 8, value);
    case TblKind::FCID:
        return readGroups(text, 3, '.', 16, 2, 8, value);
    default:
        return readIpv6(text, value);
    }
}

/// The mask of a prefix of `length` bits of `width`.
TblWide prefixMask(unsigned length, unsigned width) {
    TblWide mask = tblAllOnes(width);
    const TblWide rest = tblAllOnes(width - length);
    for (size_t i = 0; i < mask.size(); ++i)
        mask[i] &= ~rest[i];
    return mask;
}

/// The length of the prefix that the mask is, or nothing when it is none.
std::optional<unsigned> prefixLength(const TblWide &mask, unsigned width) {
    for (unsigned length = 0; length <= width; ++length) {
        if (prefixMask(length, width) == mask)
            return length;
    }
    return std::nullopt;
}

/// The low half of a value.
uint64_t lowHalf(const TblWide &value) {
    return uint64_t{value[2]} << 32 | value[3];
}

std::string hexText(const TblWide &value) {
    if (value[0] == 0 && value[1] == 0) {
        char digits[18] = "0x";
        return {digits, std::to_chars(digits + 2, digits + sizeof(digits), lowHalf(value), 16).ptr};
    }
    size_t first = 0;
    while (first < 3 && value[first] == 0)
        ++first;
    char text[48];
    int used = std::snprintf(text, sizeof(text), "0x%x", value[first]);
    for (size_t i = first + 1; i < value.size(); ++i)
        used += std::snprintf(text + used, sizeof(text) - static_cast<size_t>(used), "%08x", value[i]);
    return text;
}

std::string decimalText(TblWide value) {
    if (value[0] == 0 && value[1] == 0) {
        char digits[20];
        return {digits, std::to_chars(digits, digits + sizeof(digits), lowHalf(value)).ptr};
    }
    std::string text;
    do {
        uint64_t rest = 0;
        for (uint32_t &word : value) {
            rest = rest << 32 | word;
            word = static_cast<uint32_t>(rest / 10);
            rest %= 10;
        }
        text.insert(text.begin(), static_cast<char>('0' + rest));
    } while (value != TblWide{});
    return text;
}

std::string ipv6Text(const TblWide &value) {
    uint32_t groups[8];
    for (size_t i = 0; i < 8; ++i)
        groups[i] = value[i / 2] >> (i % 2 == 0 ? 16 : 0) & 0xffff;
    // The longest run of zeros, of two at least, is left out.
    size_t gap = 8;
    size_t gapSize = 1;
    for (size_t i = 0; i < 8; ++i) {
        size_t end = i;
        while (end < 8 && groups[end] == 0)
            ++end;
        if (end - i > gapSize) {
            gap = i;
            gapSize = end - i;
        }
    }
    std::string text;
    for (size_t i = 0; i < 8;) {
        if (i == gap) {
            text += "::";
            i += gapSize;
            continue;
        }
        char group[8];
        std::snprintf(group, sizeof(group), "%s%x", text.empty() || text.back() == ':' ? "" : ":", groups[i]);
        text += group;
        ++i;
    }
    return text;
}

/// The value as an address of the kind.
std::string writtenText(TblKind kind, const TblWide &value) {
    const auto byte = [&](unsigned at) { return tblTake(value, at, 8); };
    char text[24];
    switch (kind) {
    case TblKind::MAC:
        std::snprintf(text, sizeof(text), "%02x:%02x:%02x:%02x:%02x:%02x", byte(40), byte(32), byte(24), byte(16),
                      byte(8), byte(0));
        return text;
    case TblKind::IPV4:
        std::snprintf(text, sizeof(text), "%u.%u.%u.%u", byte(24), byte(16), byte(8), byte(0));
        return text;
    case TblKind::FCID:
        std::snprintf(text, sizeof(text), "%02x.%02x.%02x", byte(16), byte(8), byte(0));
        return text;
    default:
        return ipv6Text(value);
    }
}

bool isAddress(TblKind kind) {
    return kind == TblKind::MAC || kind == TblKind::IPV4 || kind == TblKind::IPV6 || kind == TblKind::FCID;
}

} // namespace

TblRead tblReadValue(std::string_view text, TblKind kind, unsigned width, TblWide &value) {
    if (isWritten(text, kind)) {
        if (!readWritten(text, kind, value))
            return TblRead::BAD;
    } else if (const TblRead read = readNumber(text, value); read != TblRead::OK) {
        return read;
    }
    return fits(value, width) ? TblRead::OK : TblRead::TOO_WIDE;
}

TblRead tblReadMatch(std::string_view text, TblKind kind, unsigned width, TblMatch &match) {
    if (text == "*") {
        match = {};
        return TblRead::OK;
    }
    const size_t slash = text.find('/');
    const std::string_view value = text.substr(0, slash);
    match.mask = tblAllOnes(width);
    if (const TblRead read = tblReadValue(value, kind, width, match.value); read != TblRead::OK)
        return read;
    if (slash == text.npos)
        return TblRead::OK;
    const std::string_view mask = text.substr(slash + 1);
    const bool isIp = kind == TblKind::IPV4 || kind == TblKind::IPV6;
    TblWide length;
    if (isIp && isWritten(value, kind) && readDigits(mask, 10, length) == TblRead::OK) {
        if (length > TblWide{0, 0, 0, width})
            return TblRead::TOO_WIDE;
        match.mask = prefixMask(length[3], width);
        return TblRead::OK;
    }
    return tblReadValue(mask, kind, width, match.mask);
}

std::string tblShowValue(const TblField &field, const TblWide &value) {
    if (isAddress(field.kind))
        return writtenText(field.kind, value);
    if (field.kind == TblKind::HEX || field.kind == TblKind::GID || field.kind == TblKind::ETYP)
        return hexText(value);
    return decimalText(value);
}

std::string tblShowMatch(const TblField &field, const TblMatch &match) {
    if (match.mask == TblWide{})
        return "*";
    if (match.mask == tblAllOnes(field.width))
        return tblShowValue(field, match.value);
    if (field.kind == TblKind::IPV4 || field.kind == TblKind::IPV6) {
        if (const auto length = prefixLength(match.mask, field.width))
            return tblShowValue(field, match.value) + "/" + std::to_string(*length);
    }
    if (isAddress(field.kind))
        return tblShowValue(field, match.value) + "/" + tblShowValue(field, match.mask);
    return hexText(match.value) + "/" + hexText(match.mask);
}
