#include "tsr_reg_dump.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace {

const regdump_map_t *findRow(const regdump_map_t *map, const std::string &name) {
    for (; map->name != nullptr; ++map)
        if (name == map->name)
            return map;
    return nullptr;
}

uint32_t countRows(const regdump_map_t *map) {
    uint32_t count = 0;
    while (map[count].name != nullptr)
        ++count;
    return count;
}

struct Prefix {
    const char *name;
    uint32_t fields;
    uint32_t bytes;
    uint32_t first_at;
};

// What each block of the chip has in the dump.
const Prefix PREFIXES[] = {
    {"ftc", 5, 20, 0x0},
    {"frc", 5, 20, 0x14},
    {"crc", 5, 20, 0x28},
    {"ior", 5, 20, 0x3c},
    {"iow", 5, 20, 0x50},
    {"ka", 13, 20520, 0x64},
    {"pib", 39, 264, 0x74},
    {"utl", 2, 8, 0xa4},
    {"slv", 1, 4, 0xac},
    {"cp", 1, 4, 0xb0},
    {"pci", 1, 4, 0xc4},
    {"tx", 1, 4, 0xc8},
    {"rx", 1, 4, 0xd0},
    {"glb", 16, 76, 0xdc},
    {"norm", 3, 12, 0xe8},
    {"gbl", 5, 20, 0x138},
    {"led", 1, 4, 0x154},
    {"emc", 1, 23400, 0x220},
    {"rte", 397, 19921240, 0x5d88},
    {"ecb", 21, 168, 0x74e0},
    {"icb", 37, 464, 0x7588},
    {"eqs", 51, 916272, 0x7758},
    {"iqs", 51, 1061228, 0x7e88},
    {"elb", 43, 180, 0x85f4},
    {"hmc", 1, 14304, 0x86a8},
    {"esm", 40, 660, 0xbe88},
    {"ism", 40, 536, 0xc11c},
    {"tfe", 39, 7299500, 0xc334},
    {"tsq", 24, 200, 0xc3c0},
    {"hsq", 18, 132, 0xc488},
    {"eacl", 63, 1742780, 0xc50c},
    {"pol", 2, 2071200, 0xccc8},
    {"tae", 85, 6653164, 0xcf68},
    {"tbuf", 1, 1024, 0xd204},
    {"ephy", 1, 16176, 0x12604},
    {"lgc", 1, 7440, 0x16534},
    {"lbphy", 1, 124, 0x18244},
    {"ebphy", 1, 124, 0x182c0},
    {"hphy", 1, 1024, 0x1833c},
    {"hbphy", 1, 128, 0x1873c},
};

} // namespace

TEST(TsrMap, BlocksHaveTheirFieldsBytesAndPlace) {
    std::map<std::string, Prefix> found;
    uint32_t fields = 0;
    for (const regdump_map_t *mapp = tsr_dmp_map; mapp->name != nullptr; ++mapp) {
        if (mapp->flags & REGDUMP_FLAGS_NO_DUMP)
            continue;
        const std::string name(mapp->name, std::strcspn(mapp->name, "_"));
        auto [it, is_new] = found.insert({name, {nullptr, 0, 0, mapp->dump_offset}});
        ++it->second.fields;
        it->second.bytes += regdump_mapp_get_size(mapp);
        ++fields;
    }
    EXPECT_EQ(fields, 1029u);
    EXPECT_EQ(found.size(), std::size(PREFIXES));
    for (const Prefix &prefix : PREFIXES) {
        SCOPED_TRACE(prefix.name);
        EXPECT_EQ(found[prefix.name].fields, prefix.fields);
        EXPECT_EQ(found[prefix.name].bytes, prefix.bytes);
        EXPECT_EQ(found[prefix.name].first_at, prefix.first_at);
    }
}

TEST(TsrMap, TopLevelRisesInBothSpacesAndEndsWithTheImage) {
    uint32_t asic_off = 0;
    uint32_t dump_end = 0;
    for (const regdump_map_t *mapp = tsr_dmp_map; mapp->name != nullptr; ++mapp) {
        EXPECT_GT(mapp->asic_offset, asic_off) << mapp->name;
        asic_off = mapp->asic_offset;
        if (mapp->flags & REGDUMP_FLAGS_NO_DUMP) {
            EXPECT_EQ(mapp->dump_offset, 0u) << mapp->name;
            continue;
        }
        EXPECT_EQ(mapp->dump_offset, dump_end) << mapp->name;
        dump_end += regdump_mapp_get_size(mapp);
    }
    EXPECT_EQ(dump_end, 39752492u);
}

TEST(TsrMap, Groups) {
    struct Group {
        const regdump_map_t *map;
        const char *name;
        uint32_t instances, asic_size, dump_size;
        const regdump_map_t *child;
        uint32_t rows;
    };
    const Group groups[] = {
        {tsr_dmp_map, "emc_quad", 3, 0x8000, 0x1e78, tsr_emc_quad_dmp_map, 34},
        {tsr_dmp_map, "hmc_quad", 2, 0x8000, 0x1bf0, tsr_hmc_quad_dmp_map, 22},
        {tsr_dmp_map, "pol", 6, 0x8000, 0x70, tsr_pol_dmp_map, 22},
        {tsr_dmp_map, "ephy_reg", 12, 0x10000, 0x544, tsr_ephy_dmp_map, 175},
        {tsr_dmp_map, "lgc_phy_reg", 20, 0x10000, 0x174, tsr_lgc_phy_dmp_map, 23},
        {tsr_dmp_map, "lbphy_reg", 1, 0x10000, 0x7c, tsr_lbphy_dmp_map, 27},
        {tsr_dmp_map, "ebphy_reg", 1, 0x10000, 0x7c, tsr_ebphy_dmp_map, 27},
        {tsr_dmp_map, "hphy_swm_reg", 8, 0x10000, 0x80, tsr_hphy_swm_dmp_map, 28},
        {tsr_dmp_map, "hbphy_reg", 1, 0x10000, 0x80, tsr_hbphy_dmp_map, 28},
        {tsr_dmp_map, "pol_mem", 6, 0x80000, 0x54400, tsr_pol_mem_dmp_map, 15},
        {tsr_dmp_map, "tae_history", 1, 0x400, 0x250, tsr_tae_history_mem_dmp_map, 12},
        {tsr_dmp_map, "tfe_history", 1, 0x400, 0x120, tsr_tfe_history_mem_dmp_map, 9},
        {tsr_emc_quad_dmp_map, "emc_hss_reg", 1, 0, 0xe00, emc_hss_dmp_map, 14},
        {tsr_hmc_quad_dmp_map, "hmc_hss_reg", 1, 0, 0x1600, hmc_hss_dmp_map, 22},
    };
    EXPECT_EQ(countRows(tsr_dmp_map), 1043u);
    std::set<std::string> names;
    uint32_t child_rows = 0;
    for (const Group &group : groups) {
        SCOPED_TRACE(group.name);
        const regdump_map_t *mapp = findRow(group.map, group.name);
        ASSERT_NE(mapp, nullptr);
        EXPECT_EQ(mapp->depth[0], group.instances);
        EXPECT_EQ(mapp->depth[1], 0u);
        EXPECT_EQ(mapp->asic_size, group.asic_size);
        EXPECT_EQ(mapp->dump_size, group.dump_size);
        EXPECT_EQ(mapp->child, group.child);
        EXPECT_EQ(countRows(mapp->child), group.rows);
        child_rows += group.rows;
        names.insert(group.name);
    }
    EXPECT_EQ(child_rows, 458u);
    for (const regdump_map_t *mapp = tsr_dmp_map; mapp->name != nullptr; ++mapp)
        EXPECT_EQ(mapp->child != nullptr, names.count(mapp->name) != 0) << mapp->name;
}

TEST(TsrMap, WalkVisitsAllRowsAndWords) {
    uint32_t dumped = 0;
    uint32_t hidden = 0;
    uint32_t words = 0;
    regdump_stack_t stack;
    regdump_stack_init(&stack, tsr_dmp_map);
    uint32_t deepest = 0;
    do {
        const regdump_map_t *mapp = regdump_stack_get_map(&stack);
        EXPECT_EQ(mapp->asic_size, mapp->dump_size);
        deepest = std::max(deepest, stack.depth);
        if (mapp->flags & REGDUMP_FLAGS_NO_DUMP) {
            ++hidden;
        } else {
            ++dumped;
            words += regdump_mapp_get_size(mapp) / 4;
        }
    } while (regdump_stack_next(&stack) == 0);
    EXPECT_EQ(dumped, 4211u);
    EXPECT_EQ(hidden, 80u);
    EXPECT_EQ(words, 9938047u);
    EXPECT_EQ(deepest, 3u);
}

TEST(TsrMap, HostPortRegistersExistInEightPorts) {
    uint32_t limited = 0;
    for (const regdump_map_t *mapp = tsr_ephy_dmp_map; mapp->name != nullptr; ++mapp) {
        if (mapp->parent_depth == 0)
            continue;
        EXPECT_EQ(mapp->parent_depth, 8u) << mapp->name;
        EXPECT_EQ(std::string(mapp->name).substr(0, 4), "hmc_");
        ++limited;
    }
    EXPECT_EQ(limited, 19u);
    EXPECT_EQ(findRow(tsr_ephy_dmp_map, "hmc_cfg")->parent_depth, 8u);
    EXPECT_EQ(findRow(tsr_ephy_dmp_map, "hmc_scratchpad")->parent_depth, 8u);
    EXPECT_EQ(findRow(tsr_ephy_dmp_map, "hmc_xfi_mdio")->parent_depth, 0u);
}

TEST(TsrMap, RowsThatAreNotDumped) {
    const std::vector<std::string> expected = {
        "glb_mbist_status",    "pib_rcbus_data",    "pib_softmem",      "eqs_seqnum_data", "tsq_map_reg_cntl",
        "tsq_map_reg_din",     "tsq_map_reg_dop",   "hsq_map_reg_cntl", "hsq_map_reg_din", "hsq_map_reg_dop",
        "eacl_ipv6_frag_prot", "iqs_main_link_mem", "iqs_bp_link_mem",  "eqs_edt_mem",
    };
    std::vector<std::string> found;
    for (const regdump_map_t *mapp = tsr_dmp_map; mapp->name != nullptr; ++mapp)
        if (mapp->flags & REGDUMP_FLAGS_NO_DUMP)
            found.push_back(mapp->name);
    EXPECT_EQ(found, expected);
}

TEST(TsrMap, RecordHasTheShapesOfTheRows) {
    EXPECT_EQ(sizeof(tsr_dmp_t), 39752492u);
    EXPECT_EQ(sizeof(tsr_dmp_t::rte_l2_exm_bkt), 6291456u);
    EXPECT_EQ(sizeof(tsr_dmp_t::tfe_tcam), 5767168u);
    EXPECT_EQ(sizeof(tsr_dmp_t::tae_tcam), 3735552u);
    EXPECT_EQ(sizeof(tsr_dmp_t::rte_l2_exm_rslt), 3145728u);
    EXPECT_EQ(sizeof(tsr_dmp_t::rte_l3_next_hop_rslt), 2621440u);
    EXPECT_EQ(sizeof(tsr_dmp_t::pol_mem), 2070528u);
    EXPECT_EQ(sizeof(tsr_ephy_dmp_t), 4u * 337);
    EXPECT_EQ(sizeof(tcam64_t), 16u);
    EXPECT_EQ(sizeof(tcam128_t), 32u);
    EXPECT_EQ(sizeof(tcam256_t), 64u);
    EXPECT_EQ(sizeof(tcam512_t), 128u);
    EXPECT_EQ(offsetof(tcam512_t, x_val), 64u);
    const regdump_map_t *ephy = findRow(tsr_dmp_map, "ephy_reg");
    EXPECT_EQ(offsetof(tsr_dmp_t, ephy_reg), ephy->dump_offset);
    EXPECT_EQ(offsetof(tsr_ephy_dmp_t, rte_prc_l2_ctl), findRow(tsr_ephy_dmp_map, "rte_prc_l2_ctl")->dump_offset);
    EXPECT_EQ(offsetof(tsr_dmp_t, rte_l2_typ_len), 0x5d88u);
}
