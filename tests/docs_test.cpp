// The generated pages of docs/ are those that the lists give today, and the lists name nothing that is not there.

#include "doc_pages.h"
#include "hsi/cmRteHsiReg.h"
#include "hsi/cmRteHsiText.h"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace {

// The lists as data: a compiler works for minutes at a function with a statement for each of their lines.
constexpr std::string_view kTaeFields[] = {
#define FLD(name, hi, lo) #name,
#define REG(offset, name, ...) __VA_ARGS__
#include "tae/cmTaeHsiReg.def"
};
constexpr std::pair<std::string_view, std::string_view> kMeanings[] = {
#define TEXT(name, text) {name, text},
#include "hsi/cmRteHsiText.def"
};

TEST(Docs, GeneratedPagesAreCurrent) {
    for (const DocPage &page : docPages()) {
        std::ifstream in(std::string(TSR_SOURCE_DIR) + "/docs/" + page.file, std::ios::binary);
        const std::string stored{std::istreambuf_iterator<char>(in), {}};
        EXPECT_TRUE(stored == page.text) << page.file << " is old: run build/<preset>/tests/make_docs docs";
    }
}

TEST(Docs, PagesTellWhatAPersonWouldLookUp) {
    const std::string record = recordPage();
    EXPECT_NE(record.find("| `l2TrillTtl` | 6 | hop count of the TRILL header |"), std::string::npos);
    EXPECT_NE(record.find("| `flexKey0[6]` | 32 | "), std::string::npos);
    const std::string names = namesPage();
    EXPECT_NE(names.find("| `rte_sflow_rate[0]` to `rte_sflow_rate[15]` | 0x5035c to 0x50398 | `RTE_SFLOW_RATE_{n}` | "
                         "`rte_sflow_rate_{n}` |"),
              std::string::npos);
    EXPECT_NE(names.find("| `rte_l2_typ_len` | 0x50000 | `RTE_L2_TYP_LEN` | `rte_l2_dix_typ_min` | 26:16 |"),
              std::string::npos);
    EXPECT_NE(names.find("| 0xf002c | `TAE_BANK_EN_REG` | `tae_bank_en` | 29:0 |"), std::string::npos);
    const std::string tables = tablesPage();
    EXPECT_NE(tables.find("## `rte_vlan_xlate`"), std::string::npos);
    EXPECT_NE(tables.find("| `vid[2]` | 0 28:16; 2 of them, 16 bits on | VLAN |"), std::string::npos);
    EXPECT_NE(tables.find("The load drops the bits 0xe000e000 of word 0."), std::string::npos);
    // What the stages make of a word, where its name says less or something else.
    EXPECT_NE(tables.find("| `ip_tlen` | 10 18:3 | number | bytes of the packet, header included |"),
              std::string::npos);
    EXPECT_NE(tables.find("| `fc_payload_35` | 1 23:16 | hex | payload byte 11, byte 35 from the FC header |"),
              std::string::npos);
    EXPECT_NE(tables.find("| `egid` | 0 31:0 | hex | egress group whose frames take queue 36 |"), std::string::npos);
    EXPECT_NE(tables.find("| `rp_valid` | 0 12 | yes or no | valid as a source, for the reverse-path checks"),
              std::string::npos);
}

TEST(Docs, EachMeaningBelongsToAField) {
    std::multiset<std::string_view> fields(std::begin(kTaeFields), std::end(kTaeFields));
    for (const auto &rows : {hsiComRegRows(), hsiPortRegRows(), hsiTfeRegRows()}) {
        for (const HsiRegRow &row : rows) {
            for (const HsiFieldRow &field : row.fields)
                fields.insert(field.name);
        }
    }

    std::set<std::string_view> seen;
    for (const auto &[name, text] : kMeanings) {
        EXPECT_EQ(fields.count(name), 1u) << name;
        EXPECT_TRUE(seen.insert(name).second) << name << " stands twice";
        EXPECT_EQ(hsiFieldText(name), text);
    }
    EXPECT_GT(seen.size(), 450u);
    EXPECT_EQ(hsiFieldText("rte_scratch_pad"), "");
}

} // namespace
