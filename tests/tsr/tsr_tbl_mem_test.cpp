// The rows of the dump as lists of entries: places, names, words, and what is state.

#include "tbl/tsr_tbl_mem.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <random>
#include <set>

#include "chip_image.h"
#include "hsi/cmRteHsiReg.h"
#include "regenc_tsr.h"

namespace {

/// A few places of a row, its first and its last among them.
std::vector<uint32_t> somePlaces(const TblMem &mem, std::mt19937 &random) {
    std::set<uint32_t> places{0, mem.places() - 1};
    for (int i = 0; i < 5; ++i)
        places.insert(static_cast<uint32_t>(random()) % mem.places());
    return {places.begin(), places.end()};
}

} // namespace

TEST(TblMem, NamesAreThoseOfTheAssembler) {
    RegencNames names(tsr_dmp_map);
    std::mt19937 random(1);
    size_t checked = 0;
    for (const TblMem &mem : tblMems()) {
        for (const uint32_t place : somePlaces(mem, random)) {
            for (uint32_t word = 0; word < mem.words(); ++word) {
                RegencWords words{};
                std::string error;
                ASSERT_TRUE(names.find(mem.wordNameOf(place, word), words, error)) << error;
                ASSERT_EQ(words.run, 1u) << mem.wordNameOf(place, word);
                ASSERT_EQ(words.dumpOff, mem.imageOff(place) + 4 * word) << mem.wordNameOf(place, word);
                ASSERT_EQ(words.chipOff, mem.chipOff(place) + 4 * word) << mem.wordNameOf(place, word);
                ++checked;
            }
            if (mem.forms().empty() || tblBeginsAnywhere(mem.forms()[0]))
                continue;
            RegencWords entry{};
            std::string error;
            ASSERT_TRUE(names.find(mem.nameOf(place), entry, error, true)) << error;
            ASSERT_EQ(entry.dumpOff, mem.imageOff(place));
            ASSERT_EQ(entry.run, mem.words()) << mem.nameOf(place);
            ASSERT_TRUE(names.find(mem.wholeNameOf(place), entry, error)) << error;
            uint32_t count = entry.run;
            for (size_t i = 0; i < entry.numSteps; ++i)
                count *= entry.steps[i].count;
            ASSERT_EQ(count, mem.words()) << mem.wholeNameOf(place);
        }
    }
    EXPECT_GT(checked, 10000u);
}

TEST(TblMem, EveryDumpedWordIsOfOneRow) {
    uint64_t words = 0;
    for (const TblMem &mem : tblMems()) {
        if (mem.forms().empty() || !tblBeginsAnywhere(mem.forms()[0]))
            words += uint64_t{mem.places()} * mem.words();
    }
    // The two tables of the queue stage, and the room that ports 8 to 11 leave, whose 19 registers they lack.
    words += sizeof(tsr_dmp_t::iqs_mac_da_vid_mem) / 4 + sizeof(tsr_dmp_t::iqs_fcoe_sa_mac_tbl) / 4 + 4 * 19;
    EXPECT_EQ(4 * words, uint64_t{TSR_DUMP_SIZE});

    std::mt19937 random(2);
    for (const TblMem &mem : tblMems()) {
        for (const uint32_t place : somePlaces(mem, random)) {
            ASSERT_EQ(tblMemAt(mem.imageOff(place)), &mem) << mem.name();
            ASSERT_EQ(mem.placeOf(mem.imageOff(place)), place) << mem.name();
        }
    }
    const size_t room = offsetof(tsr_dmp_t, ephy_reg) + 8 * sizeof(tsr_ephy_dmp_t) + offsetof(tsr_ephy_dmp_t, hmc_cfg);
    EXPECT_EQ(tblMemAt(static_cast<uint32_t>(room)), nullptr);
    EXPECT_EQ(tblMemAt(TSR_DUMP_SIZE), nullptr);
}

TEST(TblMem, RowsAreFoundWithAndWithoutTheirGroups) {
    EXPECT_EQ(tblMem("emc_cfg"), tblMem("ephy_reg.emc_cfg"));
    EXPECT_EQ(tblMem("emc_cfg")->nameOf(3), "ephy_reg[3].emc_cfg");
    EXPECT_EQ(tblMem("emc_cfg")->insts(), 12u);
    EXPECT_EQ(tblMem("rte_l2_exm_bkt")->nameOf(32 * 5 + 7), "rte_l2_exm_bkt[5][7]");
    EXPECT_EQ(tblMem("rte_l2_exm_bkt")->wordNameOf(32 * 5 + 7, 2), "rte_l2_exm_bkt[5][7][2]");
    EXPECT_EQ(tblMem("tfe_tcam")->wholeNameOf(9), "tfe_tcam[9..9]");
    EXPECT_EQ(tblMem("rte_l3_next_hop_rslt")->wholeNameOf(9), "rte_l3_next_hop_rslt[9][*]");
    // The queue stage finds entry 3 at word 64 * 3 + 3, which is the fourth of row 24.
    EXPECT_EQ(tblMem("iqs_mac_da_vid_mem")->nameOf(3), "iqs_mac_da_vid_mem[24][3]");
    EXPECT_EQ(tblMem("no_such_row"), nullptr);
}

TEST(TblMem, EntriesHaveTheFormThatHolds) {
    ChipImage image;
    // Bank 1 of the prefix search has IPv6 prefixes, bank 2 FCoE ones.
    image.set(DMP(tfe_bank_prtcl_sel), 0, 2u << 2 | 1u << 4);
    const TblMem &tcam = *tblMem("tfe_tcam");
    EXPECT_STREQ(tcam.entryAt(image.get(), 7).desc->type, "TfeIpv4");
    const TblEntry wide = tcam.entryAt(image.get(), 0x8000 + 6);
    EXPECT_STREQ(wide.desc->type, "TfeIpv6");
    EXPECT_EQ(wide.place, 0x8004u);
    EXPECT_EQ(wide.words, 16u);
    EXPECT_STREQ(tcam.entryAt(image.get(), 0x10000).desc->type, "TfeFcoe");
    uint32_t entries = 0;
    tcam.forEachEntry(image.get(), [&](const TblEntry &) { ++entries; });
    EXPECT_EQ(entries, 360448u - 0x8000 + 0x8000 / 4);

    // The second form of a cloud row is that of TRILL ports, by a bit of its key; a row may leave it open.
    const TblMem &cloud = *tblMem("rte_cloud_class_tcam");
    image.set(DMP(rte_cloud_class_tcam), 8 * 1 + 1, 1u << 17);
    image.set(DMP(rte_cloud_class_tcam), 8 * 2 + 5, 1u << 17);
    EXPECT_STREQ(cloud.entryAt(image.get(), 1).desc->type, "CloudTrillKey");
    EXPECT_STREQ(cloud.entryAt(image.get(), 2).desc->type, "CloudKey");
    EXPECT_EQ(cloud.entryAt(image.get(), 3).desc, nullptr);
}

TEST(TblMem, WordsAreThoseOfTheLoadOrOfTheImage) {
    ChipImage image;
    const TblMem &hops = *tblMem("rte_l3_next_hop_rslt");
    for (size_t w = 0; w < 4; ++w)
        image.set(DMP(rte_l3_next_hop_rslt), 4 * 5 + w, 0xffffffff);
    uint32_t words[4];
    const TblEntry entry = hops.entryAt(image.get(), 5);
    hops.read(image.get(), entry, true, words);
    EXPECT_EQ(words[0], 0xffffffffu);
    hops.read(image.get(), entry, false, words);
    // The load keeps nothing of word 0, and 20 bits of word 1.
    EXPECT_EQ(words[0], 0u);
    EXPECT_EQ(words[1], 0xfffffu);
    EXPECT_EQ(words[3], 0xffffffffu);
    EXPECT_TRUE(TblMem::isInUse(entry, words));
    const uint32_t zeros[4] = {};
    EXPECT_FALSE(TblMem::isInUse(entry, zeros));
    const TblMem &tcam = *tblMem("rte_l2_ctrl_cls_tcam");
    EXPECT_TRUE(TblMem::isInUse(tcam.entryAt(image.get(), 0), zeros)) << "a row of zeros matches every key";
    const uint32_t never[4] = {1, 0, 1, 0};
    EXPECT_FALSE(TblMem::isInUse(tcam.entryAt(image.get(), 0), never));
}

TEST(TblState, TellsStateFromConfiguration) {
    const std::pair<const char *, TblUse> rows[] = {
        {"rte_l2_exm_bkt", TblUse::CFG},
        {"rte_drp_rsn_sts_frm", TblUse::CNT},
        {"rte_l2_exm_sa_age_tmr", TblUse::ACT},
        {"rte_l2_sa_lrn_info", TblUse::LRN},
        {"rte_his_l2_fid", TblUse::HIS},
        {"rte_his_en", TblUse::CFG},
        {"rte_his_ctl", TblUse::CFG},
        {"l2_key_hist", TblUse::HIS},
        {"rxf_port_runt_cnt", TblUse::CNT},
        {"emc_comm_int_status", TblUse::TMP},
        {"emc_comm_err_int_en_set", TblUse::CFG},
        {"rte_prc_l2_ctl", TblUse::CFG},
        {"icb_logp_bpq_depth", TblUse::TMP},
        {"icb_logp_bpq_depth_th", TblUse::CFG},
        {"ecb_logp_qdepth_qprio_hi_th", TblUse::CFG},
        {"eqs_err_cnt", TblUse::CNT},
        {"pol_green_stats", TblUse::CNT},
        {"pol_cmtd_info_rate", TblUse::CFG},
        {"rte_scratch_pad", TblUse::CFG},
    };
    for (const auto &[row, use] : rows)
        EXPECT_EQ(tblUseOf(row), use) << row;
}

// What the model's blocks fill themselves is no configuration.
TEST(TblState, ReadOnlyRegistersAreState) {
    const std::set<std::string> enables = {
        "rte_lue_perr_int_en_set", "rte_sts_perr_int_en_set",  "rte_lue_eerr_int_en_set", "rte_nor_intr_en_set",
        "rte_mac_err_intr_en_set", "rte_tcam_perr_int_en_set", "tfe_int_en_clr",          "tfe_int_en_set"};
    const std::set<std::string> forces = {"rte_lue_frc_perr",  "rte_sts_frc_perr", "rte_lue_frc_eerr",
                                          "rte_frc_nor_intr",  "rte_mac_frc_err",  "rte_tcam_frc_perr",
                                          "tfe_int_status_set"};
    for (const TblMem &mem : tblMems()) {
        const auto info = hsiRegInfo(mem.chipOff(0));
        const std::string own = mem.name().substr(mem.name().rfind('.') + 1);
        if (mem.words() != 1 || !info || info->access != HsiAccess::RO || enables.count(own) || forces.count(own))
            continue;
        EXPECT_TRUE(tblIsState(mem.use())) << mem.name();
    }
}

TEST(HsiRegInfo, GivesFieldsWithTheirResetValues) {
    const auto port = hsiRegInfo(0x432008);
    ASSERT_TRUE(port);
    EXPECT_EQ(port->name, "RTE_PRC_VLAN_ETYP");
    ASSERT_EQ(port->fields.size(), 2u);
    EXPECT_EQ(port->fields[0].name, "rte_prc_stag_etyp");
    EXPECT_EQ(port->fields[0].reset, 0x88a8u);
    EXPECT_EQ(port->fields[1].reset, 0x8100u);
    EXPECT_EQ(port->fields[1].of(0x12345678), 0x5678u);
    const auto typLen = hsiRegInfo(0x50000);
    ASSERT_TRUE(typLen);
    EXPECT_EQ(typLen->fields[1].reset, 1500u);
    EXPECT_EQ(typLen->fields[0].reset, 0u);
    // The ACL engine's registers have fields, but no known reset value.
    const auto acl = hsiRegInfo(0xf002c);
    ASSERT_TRUE(acl);
    EXPECT_EQ(acl->fields[0].name, "tae_bank_en");
    EXPECT_FALSE(acl->fields[0].reset);
    EXPECT_FALSE(hsiRegInfo(0x8000));
}
