#include "doc_pages.h"

#include "base/cmRte.h"
#include "hsi/cmRteHsiReg.h"
#include "hsi/cmRteHsiText.h"
#include "tbl/tsr_tbl_desc.h"
#include "tsr_reg_dump.h"

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <string_view>

namespace {

constexpr const char *kGenerated =
    "This page is made from the sources by `make_docs`; `docs_test` holds that it is current.\n\n";

[[gnu::format(printf, 1, 2)]] std::string print(const char *format, ...) {
    char text[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    return text;
}

std::string code(std::string_view name) {
    return '`' + std::string(name) + '`';
}

std::string bitRange(unsigned hi, unsigned lo) {
    return hi == lo ? std::to_string(hi) : print("%u:%u", hi, lo);
}

// ---- The record ----------------------------------------------------------------------------------------------------

struct StatRow {
    const char *name;
    const char *shape; ///< pointer, record, or empty for a number
    unsigned elements;
    unsigned bits;
    const char *stage;
    const char *meaning;
};

constexpr StatRow kStatRows[] = {
#define STAT(type, name, bits, stage, meaning) {#name, "", 1, bits, #stage, meaning},
#define STAT_ARR(type, name, elements, bits, stage, meaning) {#name, "", elements, bits, #stage, meaning},
#define STAT_REC(type, name, stage, meaning) {#name, #type, 1, 0, #stage, meaning},
#include "base/cmRteStat.def"
};

std::string statLine(const StatRow &row) {
    std::string name = row.name;
    if (row.elements > 1)
        name += print("[%u]", row.elements);
    const std::string bits = *row.shape ? code(row.shape) : row.bits == 0 ? "" : std::to_string(row.bits);
    return "| " + code(name) + " | " + bits + " | " + row.meaning + " |\n";
}

// ---- The tables ----------------------------------------------------------------------------------------------------

const char *kindName(TblKind kind) {
    constexpr const char *names[] = {"number", "hex",        "yes or no", "MAC",       "IPv4",     "IPv6",
                                     "FC id",  "group word", "VLAN",      "Ethertype", "protocol", "port"};
    return names[static_cast<size_t>(kind)];
}

const char *useName(TblUse use) {
    constexpr const char *names[] = {"configuration", "counters", "activity", "learned", "capture", "scratch"};
    return names[static_cast<size_t>(use)];
}

std::string formText(const TblForm &form) {
    switch (form.kind) {
    case TblForm::ALWAYS:
        return "";
    case TblForm::WHEN:
        return print("when `%s` is %u", form.field, form.value);
    case TblForm::FRAME:
        return print("for %s frames", form.field);
    case TblForm::TFE_BANK:
    case TblForm::TAE_BANK:
        break;
    }
    std::string types;
    for (unsigned type = 0; type < 32; type++) {
        if (form.value >> type & 1)
            types += (types.empty() ? "" : ", ") + std::to_string(type);
    }
    return "in banks of type " + types;
}

std::string fieldPlace(const TblField &field) {
    std::string place;
    for (size_t i = 0; i < field.numPieces; i++) {
        const TblPiece p = field.at(i, 0);
        place += (i == 0 ? "" : ", ") + print("%u ", p.word) + bitRange(p.lo + p.width - 1u, p.lo);
    }
    if (field.isArr)
        place += print("; %u of them, %d bits on", field.count, field.step);
    return place;
}

std::string fieldLine(const TblField &field) {
    const std::string name = std::string(field.name) + (field.isArr ? print("[%u]", field.count) : "");
    return "| " + code(name) + " | " + fieldPlace(field) + " | " + kindName(field.kind) + " | " + field.text +
           (field.isAlt ? " (another reading)" : "") + " |\n";
}

/// The bits of the fields' words that the load does not keep, as a sentence; empty when it keeps all.
std::string droppedText(const TblDesc &desc) {
    std::string dropped;
    for (uint32_t w = 0; w < desc.keyWords(); w++) {
        if (desc.kept(w) != 0xffffffff)
            dropped += (dropped.empty() ? "" : ", ") + print("0x%08x of word %u", ~desc.kept(w), w);
    }
    return dropped.empty() ? "" : "The load drops the bits " + dropped + ".\n\n";
}

/// A list's text at the start of a sentence.
std::string sentence(std::string text) {
    text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    return text;
}

std::string tableText(const TblDesc &desc, bool firstOfRow) {
    std::string text;
    if (firstOfRow)
        text += "## " + code(desc.row) + "\n\n";
    const std::string form = formText(desc.form);
    if (!form.empty())
        text += "### " + sentence(desc.text) + ", " + form + "\n\n";
    else
        text += sentence(desc.text) + ".\n\n";
    if (!firstOfRow && form.empty())
        text += "(Another layout of the same row.)\n\n";
    text += print("%u %s an entry%s; %s; %s.\n\n", desc.words, desc.words == 1 ? "word" : "words",
                  desc.isTcam ? ", value and mask, the fields in each" : "", useName(desc.use),
                  desc.mem ? print("memory `%s` of the model", desc.mem).c_str() : "not in the model's memories");
    if (desc.mem)
        text += droppedText(desc);
    if (desc.field.empty())
        return text + "The layout is not known.\n\n";
    text += "| Field | Word and bits | Kind | Meaning |\n| --- | --- | --- | --- |\n";
    for (const TblField &field : desc.field)
        text += fieldLine(field);
    return text + "\n";
}

// ---- The names -----------------------------------------------------------------------------------------------------

/// Walks that stand on the leaves of the dump map, by chip address; of a group, those of the first instance count.
using Leaves = std::map<uint32_t, regdump_stack_t>;

Leaves leavesByAddress() {
    Leaves leaves;
    regdump_stack_t walk;
    regdump_stack_init(&walk, tsr_dmp_map);
    do
        leaves.emplace(regdump_stack_get_asic_off(&walk), walk);
    while (regdump_stack_next(&walk) == 0);
    return leaves;
}

/// The listing's name of the word at chip address `addr`; empty when the dump has it not.
std::string listingName(const Leaves &leaves, uint32_t addr) {
    auto leaf = leaves.upper_bound(addr);
    if (leaf == leaves.begin())
        return "";
    --leaf;
    const regdump_map_t &row = *regdump_stack_get_map(&leaf->second);
    uint32_t size = row.asic_size;
    for (size_t dim = 0; dim < REGDUMP_MAX_DIMS && row.depth[dim] != 0; dim++)
        size *= row.depth[dim];
    if (addr - leaf->first >= size || (row.flags & REGDUMP_FLAGS_NO_DUMP))
        return "";
    char name[REGDUMP_NAME_SIZE];
    return code(regdump_stack_name_str(&leaf->second, name, sizeof name, addr - leaf->first));
}

/// The names of the first and of the last of `cnt` words from `addr` on, `bytes` apart; a dash when they have none.
std::string listingNames(const Leaves &leaves, uint32_t addr, uint32_t cnt, uint32_t bytes) {
    const std::string first = listingName(leaves, addr);
    if (first.empty())
        return "-";
    const std::string last = listingName(leaves, addr + (cnt - 1) * bytes);
    return cnt == 1 || last.empty() ? first : first + " to " + last;
}

std::string fieldBits(const HsiRegRow &row, const HsiFieldRow &field) {
    std::string bits;
    for (uint32_t j = 0; j < row.per && j < 4; j++) {
        const HsiFieldDef def = row.field(field, 0, j);
        bits += (j == 0 ? "" : ", ") + bitRange(def.hi, def.lo);
    }
    return row.per > 4 ? bits + ", ..." : bits;
}

std::string regText(const Leaves &leaves, const HsiRegRow &row, uint32_t base) {
    const uint32_t addr = base + row.offset;
    const std::string where =
        row.cnt == 1 ? print("0x%x", addr) : print("0x%x to 0x%x", addr, addr + (row.cnt - 1u) * row.bytes);
    std::string text;
    for (const HsiFieldRow &field : row.fields) {
        const bool first = &field == &row.fields.front();
        const std::string reg = first ? "| " + listingNames(leaves, addr, row.cnt, row.bytes) + " | " + where + " | " +
                                            code(row.name) +
                                            (row.access == HsiAccess::RW   ? ""
                                             : row.access == HsiAccess::RO ? " (read only)"
                                                                           : " (write 1 to clear)")
                                      : "| | |";
        text += reg + " | " + code(field.name) + " | " + fieldBits(row, field) + " | " +
                std::string(hsiFieldText(field.name)) + " |\n";
    }
    return text;
}

std::string familyText(const char *title, std::span<const HsiRegRow> rows, uint32_t base, const Leaves &leaves) {
    std::string text = print("## %s\n\n", title);
    text += "| Listing | Chip address | Trace | Field | Bits | Meaning |\n| --- | --- | --- | --- | --- | --- |\n";
    for (const HsiRegRow &row : rows)
        text += regText(leaves, row, base);
    return text + "\n";
}

std::string taeText(const Leaves &leaves) {
    constexpr uint32_t kTaeRegs = 0xf0000;
    std::string text =
        "## The ACL engine\n\n"
        "Those that the model reads, by the names of its blocks.\n\n"
        "| Listing | Chip address | Register | Field | Bits | Meaning |\n| --- | --- | --- | --- | --- | --- |\n";
    uint32_t addr = 0;
    const char *reg = nullptr;
    const auto add = [&](const char *field, unsigned hi, unsigned lo) {
        const std::string meaning(hsiFieldText(field));
        if (!meaning.empty())
            text += "| " + listingNames(leaves, addr, 1, 4) + " | " + print("0x%x", addr) + " | " + code(reg) + " | " +
                    code(field) + " | " + bitRange(hi, lo) + " | " + meaning + " |\n";
    };
#define FLD(name, hi, lo) add(#name, hi, lo);
#define REG(offset, name, ...)                                                                                         \
    addr = kTaeRegs + (offset);                                                                                        \
    reg = #name;                                                                                                       \
    __VA_ARGS__
#include "tae/cmTaeHsiReg.def"
    return text + "\n";
}

} // namespace

std::string recordPage() {
    std::string text = "# The record of a frame\n\n";
    text += kGenerated;
    text += "`CmRteStat` is the record through which the stages of the forwarding engine talk to each other; it is\n"
            "cleared before each frame. Its fields stand here by the stage that is the first to write them, in the\n"
            "record's order. `base/cmRteStat.def` is the list.\n\n";
    const std::pair<const char *, const char *> stages[] = {
        {"DRIVER", "The frame driver"},
        {"PRC", "PRC, the parser"},
        {"LUE", "LUE, the lookups"},
        {"ROC", "ROC, the result"},
        {"NONE", "Fields that nothing writes"},
    };
    for (const auto &[stage, title] : stages) {
        text += print("## %s\n\n", title);
        text += "| Field | Bits | Meaning |\n| --- | --- | --- |\n";
        for (const StatRow &row : kStatRows) {
            if (std::string_view(row.stage) == stage)
                text += statLine(row);
        }
        text += "\n";
    }
    return text;
}

std::string tablesPage() {
    std::string text = "# The chip's tables\n\n";
    text += kGenerated;
    text +=
        "The entries of each row of the dump that holds a table. Words count from 0, bits from the lowest; a field in\n"
        "several pieces has its upper bits first. `tbl/tsr_tbl.def` and the lists beside it are the source.\n\n";
    std::string_view row;
    for (const TblDesc &desc : tblDescs()) {
        text += tableText(desc, desc.row != row);
        row = desc.row;
    }
    return text;
}

std::string namesPage() {
    const Leaves leaves = leavesByAddress();
    std::string text = "# The names of registers\n\n";
    text += kGenerated;
    text +=
        R"(A register has three names: the one of the dump map, which the listing and the assembler use; the one that the
model's trace shows; and those of its fields, which the assembler takes behind the dot and which are the members of the
record. Equal registers stand in one line: {n} counts them, or the elements of their fields, from 0, and {a} and {b}
count the outer and the inner of two dimensions. Such a field is an element of an array in the record.

A field without a meaning is one that the model does not read. A register without a listing name is not in the dump.
Registers named `his` keep the last four of what their meaning says, the oldest first. The tables stand in
[tables.md](tables.md), with the memories of the model beside the rows of the dump.

)";
    text += familyText("Common registers", hsiComRegRows(), 0x50000, leaves);
    text += familyText("Registers of a port", hsiPortRegRows(), 0x402000, leaves);
    text += familyText("The prefix search", hsiTfeRegRows(), 0xa0000, leaves);
    return text + taeText(leaves);
}

std::vector<DocPage> docPages() {
    std::vector<DocPage> pages = {{"record.md", recordPage()}, {"tables.md", tablesPage()}, {"names.md", namesPage()}};
    for (DocPage &page : pages)
        page.text.pop_back(); // one line end is enough
    return pages;
}
