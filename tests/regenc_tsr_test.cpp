#include "regenc_tsr.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "dump_builder.h"
#include "regdump_prog.h"
#include "run_program.h"
#include "temp_dir.h"

namespace {

/// The message of the line that is refused, or "" when all lines are taken.
std::string assemble(RegencDump &dump, const std::vector<std::string> &lines) {
    RegencAssembler assembler(dump);
    std::string error;
    for (const std::string &line : lines) {
        if (!assembler.line(line, error)) {
            EXPECT_NE(error, "");
            return error;
        }
    }
    return "";
}

std::string assemble(const std::vector<std::string> &lines) {
    RegencDump dump;
    return assemble(dump, lines);
}

/// How many of the dump's words are not 0.
size_t numSet(const RegencDump &dump) {
    size_t count = 0;
    for (uint32_t off = 0; off < TSR_DUMP_SIZE; off += 4)
        count += dump.word(off) != 0 ? 1u : 0u;
    return count;
}

const std::string NOT_PART = " is not part of a dump";

} // namespace

// ---------------------------------------------------------------------------------------------------- a new dump

TEST(RegencDump, NewDumpIsATessaraOfRevision2) {
    const RegencDump dump;
    EXPECT_EQ(dump.hdr().ver, 1u);
    EXPECT_EQ(dump.hdr().oid, 0u);
    EXPECT_EQ(dump.hdr().vendor_id, 0x7E51u);
    EXPECT_EQ(dump.hdr().chip_id, 32u);
    EXPECT_EQ(dump.hdr().chip_ver, 2u);
    EXPECT_EQ(dump.hdr().chip_base_addr, 0u);
    EXPECT_EQ(dump.hdr().epoch_sec, 0);
    EXPECT_EQ(dump.hdr().epoch_usec, 0);
    EXPECT_EQ(numSet(dump), 0u);
}

TEST(RegencDump, FileIsHeaderAndImageBigEndian) {
    const TempDir temp;
    RegencDump dump;
    dump.hdr().oid = 0x01020304;
    dump.hdr().epoch_usec = 7;
    dump.setWord(0, 0x11223344);
    dump.setWord(TSR_DUMP_SIZE - 4, 0xaabbccdd);
    std::string error;
    ASSERT_TRUE(dump.write(temp.path("d"), error)) << error;
    const std::string bytes = readFile(temp.path("d"));
    ASSERT_EQ(bytes.size(), 32u + 39752492u);
    EXPECT_EQ(bytes.substr(0, 36), std::string("\0\0\0\1\1\2\3\4\0\0\x7e\x51\0\0\0\x20\0\0\0\2\0\0\0\0\0\0\0\0\0\0\0\7"
                                               "\x11\x22\x33\x44",
                                               36));
    EXPECT_EQ(bytes.substr(bytes.size() - 4), "\xaa\xbb\xcc\xdd");

    RegencDump again;
    ASSERT_TRUE(again.load(temp.path("d"), error)) << error;
    EXPECT_EQ(again.hdr().oid, 0x01020304u);
    EXPECT_EQ(again.hdr().epoch_usec, 7);
    EXPECT_EQ(again.word(0), 0x11223344u);
    EXPECT_EQ(again.word(TSR_DUMP_SIZE - 4), 0xaabbccddu);
}

TEST(RegencDump, BytesBehindTheImageOfABaseAreDropped) {
    const TempDir temp;
    std::string error;
    ASSERT_TRUE(RegencDump().write(temp.path("d"), error));
    ASSERT_EQ(truncate(temp.path("d").c_str(), 32 + 39752492 + 1), 0);
    RegencDump dump;
    EXPECT_TRUE(dump.load(temp.path("d"), error)) << error;
    ASSERT_EQ(truncate(temp.path("d").c_str(), 32 + 39752492 - 1), 0);
    EXPECT_FALSE(dump.load(temp.path("d"), error));
    EXPECT_EQ(error, temp.path("d") + ": too short for a dump: 39752523 bytes of 39752524");
}

// ------------------------------------------------------------------------------------------------ one word by name

// Image offsets: rows follow each other in the order of the map, so the first rows stand 4 bytes apart from 0 on.
TEST(RegencWords, EveryKindOfNameFindsItsWord) {
    struct {
        const char *name;
        uint32_t *word;
    } rows[] = {{"ftc_desc_start_addr", nullptr}, {"ftc_cntl", nullptr}};
    RegencDump dump;
    tsr_dmp_t *image = dump.image();
    rows[0].word = &image->ftc_desc_start_addr;
    rows[1].word = &image->ftc_cntl;
    for (const auto &row : rows) {
        ASSERT_EQ(assemble(dump, {std::string(row.name) + " = 0x01020304"}), "");
        EXPECT_EQ(*row.word, 0x04030201u) << row.name;
    }
    ASSERT_EQ(assemble(dump, {"glb_chip_id[3] = 1", "rte_l2_da_ctl_addr[3][1] = 2", "rte_l2_exm_bkt[12287][31][3] = 3",
                              "rte_drp_tail_sts_frm[2][31][7][1] = 4", "tfe_tcam[360447].w3 = 5",
                              "emc_quad[2].emc_eps_stat_ram[3][127][1] = 6", "emc_quad[0].emc_hss_reg.txA.w63 = 7",
                              "ephy_reg[7].hmc_cfg = 8", "lbphy_reg.txf_port_ctl = 9",
                              "tae_history.l3_key_hist[3][16] = 10", "rte_flex_key_prfl[3].w11 = 11"}),
              "");
    EXPECT_EQ(image->glb_chip_id[3], 1u << 24);
    EXPECT_EQ(image->rte_l2_da_ctl_addr[3][1], 2u << 24);
    EXPECT_EQ(image->rte_l2_exm_bkt[12287][31][3], 3u << 24);
    EXPECT_EQ(image->rte_drp_tail_sts_frm[2][31][7][1], 4u << 24);
    EXPECT_EQ(image->tfe_tcam[360447].x_val[1], 5u << 24);
    EXPECT_EQ(image->emc_quad[2].emc_eps_stat_ram[3][127][1], 6u << 24);
    EXPECT_EQ(image->emc_quad[0].emc_hss_reg.txA[63], 7u << 24);
    EXPECT_EQ(image->ephy_reg[7].hmc_cfg, 8u << 24);
    EXPECT_EQ(image->lbphy_reg.txf_port_ctl, 9u << 24);
    EXPECT_EQ(image->tae_history.l3_key_hist[3][16], 10u << 24);
    EXPECT_EQ(image->rte_flex_key_prfl[3][11], 11u << 24);
    EXPECT_EQ(numSet(dump), 13u);
}

TEST(RegencWords, EveryListedNameLeadsBackToItsOffsets) {
    RegencNames names(tsr_dmp_map);
    regdump_stack_t stack;
    regdump_stack_init(&stack, tsr_dmp_map);
    uint64_t count = 0;
    do {
        const regdump_map_t *row = regdump_stack_get_map(&stack);
        if ((row->flags & REGDUMP_FLAGS_NO_DUMP) != 0)
            continue;
        const uint32_t size = regdump_mapp_get_size(row);
        // All words of a small row, and of a large one those near its ends and some between.
        for (uint32_t k = 0; k < size; k += k < 4096 || k + 4096 > size ? 4 : 4 * 997) {
            char name[REGDUMP_NAME_SIZE];
            regdump_stack_name_str(&stack, name, sizeof(name), k);
            RegencWords words;
            std::string error;
            ASSERT_TRUE(names.find(name, words, error)) << error;
            ASSERT_EQ(words.chipOff, regdump_stack_get_asic_off(&stack) + k) << name;
            ASSERT_EQ(words.dumpOff, regdump_stack_get_dump_off(&stack) + k) << name;
            ASSERT_EQ(words.run, 1u) << name;
            ASSERT_EQ(words.numSteps, 0u) << name;
            ++count;
        }
    } while (regdump_stack_next(&stack) == 0);
    EXPECT_GT(count, 100000u);
}

TEST(RegencWords, UnknownNamesAreRefused) {
    EXPECT_EQ(assemble({"ftc_cntrl = 1"}), "unknown name 'ftc_cntrl'; near: ftc_cntl, frc_cntl");
    EXPECT_EQ(assemble({"ftc_cnt = 1"}), "unknown name 'ftc_cnt'; near: ftc_cntl, frc_cntl");
    EXPECT_EQ(assemble({"ftc_cntl2 = 1"}), "unknown name 'ftc_cntl2'; near: ftc_cntl, frc_cntl");
    EXPECT_EQ(assemble({"ephy_reg[0].no_such = 1"}), "unknown name 'ephy_reg[0].no_such'");
    EXPECT_EQ(assemble({"ephy_reg[0]. = 1"}), "unknown name 'ephy_reg[0].'");
    EXPECT_EQ(assemble({"ftc_cntl. = 1"}), "unknown name 'ftc_cntl.'");
    EXPECT_EQ(assemble({"ftc_cntl x = 1"}), "unknown name 'ftc_cntl x'");
    EXPECT_EQ(assemble({"FTC_CNTL = 1"}), "unknown name 'FTC_CNTL'");
    EXPECT_EQ(assemble({"hmc_cfg = 1"}), "unknown name 'hmc_cfg'");
}

TEST(RegencWords, SubscriptsAreHeldAgainstTheMap) {
    EXPECT_EQ(assemble({"glb_chip_id[4] = 1"}),
              "unknown name 'glb_chip_id[4]': a subscript of glb_chip_id is at most 3");
    EXPECT_EQ(assemble({"rte_l2_da_ctl_addr[1][2] = 1"}),
              "unknown name 'rte_l2_da_ctl_addr[1][2]': a subscript of rte_l2_da_ctl_addr is at most 1");
    EXPECT_EQ(assemble({"glb_chip_id[0][0] = 1"}), "unknown name 'glb_chip_id[0][0]': glb_chip_id has 1 subscript");
    EXPECT_EQ(assemble({"ftc_cntl[0] = 1"}), "unknown name 'ftc_cntl[0]': ftc_cntl has 0 subscripts");
    EXPECT_EQ(assemble({"ephy_reg[12].emc_cfg = 1"}),
              "unknown name 'ephy_reg[12].emc_cfg': a subscript of ephy_reg is at most 11");
    EXPECT_EQ(assemble({"lbphy_reg[0].txf_port_ctl = 1"}),
              "unknown name 'lbphy_reg[0].txf_port_ctl': lbphy_reg has 0 subscripts");
    EXPECT_EQ(assemble({"tfe_tcam[0].w4 = 1"}), "unknown name 'tfe_tcam[0].w4': a word number of tfe_tcam is 0 to 3");
    EXPECT_EQ(assemble({"ftc_cntl.w0 = 1"}), "unknown name 'ftc_cntl.w0': the register at 0x00001008 has no field w0");
    for (const char *bad :
         {"glb_chip_id[]", "glb_chip_id[x]", "glb_chip_id[-1]", "glb_chip_id[1", "glb_chip_id[1..", "glb_chip_id[1..]",
          "glb_chip_id[..1]", "glb_chip_id[1...2]", "glb_chip_id[0x1]", "glb_chip_id[99999999999999999999]"})
        EXPECT_EQ(assemble({std::string(bad) + " = 1"}), "bad subscript in '" + std::string(bad) + "'");
}

TEST(RegencWords, NameOfMoreThanOneWordNeedsARange) {
    EXPECT_EQ(assemble({"glb_chip_id = 1"}), "'glb_chip_id' is 4 words: give all subscripts, or a range");
    EXPECT_EQ(assemble({"rte_l2_exm_bkt[5] = 1"}), "'rte_l2_exm_bkt[5]' is 128 words: give all subscripts, or a range");
    EXPECT_EQ(assemble({"tfe_tcam[5] = 1"}),
              "'tfe_tcam[5]' is 4 words: give all subscripts and the word number, or a range");
    EXPECT_EQ(assemble({"tfe_tcam.w1 = 1"}), "subscripts are missing in 'tfe_tcam.w1'");
    EXPECT_EQ(assemble({"ephy_reg[0] = 1"}), "'ephy_reg[0]' is a group, not a word");
    EXPECT_EQ(assemble({"ephy_reg[0..11] = 1"}), "'ephy_reg[0..11]' is a group, not a word");
    EXPECT_EQ(assemble({"ephy_reg.emc_cfg = 1"}), "'ephy_reg.emc_cfg' is a group, not a word");
}

TEST(RegencWords, RegistersThatAreNotDumpedAreRefused) {
    EXPECT_EQ(assemble({"pib_softmem[0] = 1"}), "'pib_softmem[0]'" + NOT_PART);
    EXPECT_EQ(assemble({"eqs_edt_mem[0] = 1"}), "'eqs_edt_mem[0]'" + NOT_PART);
    EXPECT_EQ(assemble({"ephy_reg[0].emc_gigsts = 1"}), "'ephy_reg[0].emc_gigsts'" + NOT_PART);
}

TEST(RegencWords, RegistersOfTheFirstPortsOnlyAreRefusedBeyondThem) {
    EXPECT_EQ(assemble({"ephy_reg[7].hmc_slow_stat2 = 1"}), "");
    EXPECT_EQ(assemble({"ephy_reg[8].hmc_cfg = 1"}),
              "unknown name 'ephy_reg[8].hmc_cfg': only the instances 0 to 7 have this register");
    EXPECT_EQ(assemble({"ephy_reg[0..7].hmc_cfg = 1"}), "");
    EXPECT_EQ(assemble({"ephy_reg[0..8].hmc_cfg = 1"}),
              "unknown name 'ephy_reg[0..8].hmc_cfg': only the instances 0 to 7 have this register");
}

// ------------------------------------------------------------------------------------------------------------ values

TEST(RegencValues, DecimalAndHexadecimalUpTo32Bits) {
    RegencDump dump;
    for (const auto &[text, value] :
         std::vector<std::pair<std::string, uint32_t>>{{"0", 0},
                                                       {"10", 10},
                                                       {"010", 10},
                                                       {"4294967295", 0xffffffff},
                                                       {"0x10", 16},
                                                       {"0XaBcDeF", 0xabcdef},
                                                       {"0x00000000ffffffff", 0xffffffff}}) {
        ASSERT_EQ(assemble(dump, {"ftc_cntl=" + text}), "");
        EXPECT_EQ(dump.word(8), value) << text;
    }
}

TEST(RegencValues, TooWideValuesAreRefused) {
    EXPECT_EQ(assemble({"ftc_cntl = 4294967296"}), "value 4294967296 does not fit 32 bits");
    EXPECT_EQ(assemble({"ftc_cntl = 0x100000000"}), "value 0x100000000 does not fit 32 bits");
    EXPECT_EQ(assemble({"ftc_cntl = 0xfffffffffffffffffffffffff"}),
              "value 0xfffffffffffffffffffffffff does not fit 32 bits");
}

TEST(RegencValues, BadValuesAreRefused) {
    for (const char *bad : {"", "0x", "x", "-1", "1a", "0xg", "1 2", "1.0", "0x12345678 9", "= 1"})
        EXPECT_EQ(assemble({std::string("ftc_cntl = ") + bad}), "bad value '" + std::string(bad) + "'");
}

// ------------------------------------------------------------------------------------------------------------ ranges

TEST(RegencRanges, SetEveryWordOfTheirElements) {
    RegencDump dump;
    ASSERT_EQ(assemble(dump, {"rte_typ_cls_tcam[3..1023] = 0xffffffff"}), "");
    const tcam64_t *tcam = dump.image()->rte_typ_cls_tcam;
    EXPECT_EQ(tcam[2].x_val[1], 0u);
    EXPECT_EQ(tcam[3].y_val[0], 0xffffffffu);
    EXPECT_EQ(tcam[1023].x_val[1], 0xffffffffu);
    EXPECT_EQ(numSet(dump), 1021u * 4);
}

TEST(RegencRanges, StandInAnySubscript) {
    RegencDump dump;
    ASSERT_EQ(assemble(dump, {"rte_drp_tail_sts_frm[1..2][3][0..7][1] = 7"}), "");
    for (uint32_t i = 0; i < 3; ++i) {
        for (uint32_t j = 0; j < 32; ++j) {
            for (uint32_t k = 0; k < 8; ++k) {
                for (uint32_t l = 0; l < 2; ++l)
                    ASSERT_EQ(dump.image()->rte_drp_tail_sts_frm[i][j][k][l],
                              i >= 1 && j == 3 && l == 1 ? 7u << 24 : 0u);
            }
        }
    }
    EXPECT_EQ(numSet(dump), 16u);
}

TEST(RegencRanges, StandInGroups) {
    RegencDump dump;
    ASSERT_EQ(assemble(dump, {"ephy_reg[2..4].rte_prc_pri_map[6..7] = 9"}), "");
    for (uint32_t port = 0; port < 12; ++port) {
        for (uint32_t i = 0; i < 8; ++i)
            ASSERT_EQ(dump.image()->ephy_reg[port].rte_prc_pri_map[i],
                      port >= 2 && port <= 4 && i >= 6 ? 9u << 24 : 0u);
    }
    EXPECT_EQ(numSet(dump), 6u);
}

TEST(RegencRanges, LeaveOutTheLastSubscripts) {
    RegencDump dump;
    ASSERT_EQ(assemble(dump, {"rte_l2_exm_bkt[5..6] = 1", "pol[1..5].pol_cmtd_thres = 2"}), "");
    EXPECT_EQ(dump.image()->rte_l2_exm_bkt[5][0][0], 1u << 24);
    EXPECT_EQ(dump.image()->rte_l2_exm_bkt[6][31][3], 1u << 24);
    EXPECT_EQ(dump.image()->pol[5].pol_cmtd_thres[1], 2u << 24);
    EXPECT_EQ(numSet(dump), 2u * 32 * 4 + 5 * 2);
}

TEST(RegencRanges, OfOneElementAndWithAWordNumber) {
    RegencDump dump;
    ASSERT_EQ(assemble(dump, {"tfe_tcam[9..9] = 1", "tfe_tcam[20..22].w2 = 1"}), "");
    EXPECT_EQ(dump.image()->tfe_tcam[9].y_val[0], 1u << 24);
    EXPECT_EQ(dump.image()->tfe_tcam[21].x_val[0], 1u << 24);
    EXPECT_EQ(numSet(dump), 4u + 3);
}

TEST(RegencRanges, BadRangesAreRefused) {
    EXPECT_EQ(assemble({"glb_chip_id[2..1] = 1"}), "bad subscript in 'glb_chip_id[2..1]': the range is empty");
    EXPECT_EQ(assemble({"glb_chip_id[2..4] = 1"}),
              "unknown name 'glb_chip_id[2..4]': a subscript of glb_chip_id is at most 3");
}

// ------------------------------------------------------------------------------------------------------------ fields

TEST(RegencFields, SetTheirBitsAndLeaveTheOthers) {
    RegencDump dump;
    ASSERT_EQ(
        assemble(dump, {"ephy_reg[3].rte_prc_l2_ctl = 0xf0000000", "ephy_reg[3].rte_prc_l2_ctl.rte_prc_l2_lu_en = 1",
                        "ephy_reg[3].rte_prc_l2_ctl.rte_prc_class_lgc_port = 31",
                        "ephy_reg[3].rte_prc_l2_ctl.rte_prc_l2_psel_port = 3"}),
        "");
    // 31 at bits 26:22, 1 at bit 11, 3 at bits 10:6.
    EXPECT_EQ(dump.image()->ephy_reg[3].rte_prc_l2_ctl, __builtin_bswap32(0xf7c008c0));
    EXPECT_EQ(numSet(dump), 1u);
}

TEST(RegencFields, OfArraysAndWideElements) {
    RegencDump dump;
    ASSERT_EQ(assemble(dump, {"rte_l2_da_ctl_addr[1][1].rte_l2_da_ctl_addr_prefix_1_w1 = 0xfffffff",
                              "rte_l2_trill_cfg_2.rte_l2_trill_all_rb_da_w1 = 0xffffffff"}),
              "");
    EXPECT_EQ(dump.image()->rte_l2_da_ctl_addr[1][1], __builtin_bswap32(0xfffffff0));
    EXPECT_EQ(dump.image()->rte_l2_trill_cfg_2, 0xffffffffu);
}

TEST(RegencFields, RangeSetsTheFieldInEachRegister) {
    RegencDump dump;
    ASSERT_EQ(assemble(dump, {"ephy_reg[0..11].rte_prc_vlan_etyp = 0x11112222",
                              "ephy_reg[0..11].rte_prc_vlan_etyp.rte_prc_ctag_etyp = 0x8100"}),
              "");
    for (const auto &port : dump.image()->ephy_reg)
        EXPECT_EQ(port.rte_prc_vlan_etyp, __builtin_bswap32(0x11118100));
}

TEST(RegencFields, UnknownFieldsAndWideValuesAreRefused) {
    EXPECT_EQ(assemble({"ephy_reg[0].rte_prc_l2_ctl.rte_prc_stag_etyp = 1"}),
              "unknown name 'ephy_reg[0].rte_prc_l2_ctl.rte_prc_stag_etyp': the register at 0x00402000 has no field "
              "rte_prc_stag_etyp; near: rte_prc_l2_lu_en, rte_prc_l2_keep_cfi, rte_prc_l2_sts_mac_en");
    EXPECT_EQ(assemble({"ftc_cntl.x = 1"}), "unknown name 'ftc_cntl.x': the register at 0x00001008 has no field x");
    EXPECT_EQ(assemble({"ephy_reg[0].rte_prc_l2_ctl.rte_prc_l2_lu_en = 2"}),
              "value 0x00000002 does not fit the 1 bits of 'ephy_reg[0].rte_prc_l2_ctl.rte_prc_l2_lu_en'");
    EXPECT_EQ(assemble({"ephy_reg[0].rte_prc_l2_ctl.rte_prc_l2_psel_port = 32"}),
              "value 0x00000020 does not fit the 5 bits of 'ephy_reg[0].rte_prc_l2_ctl.rte_prc_l2_psel_port'");
    EXPECT_EQ(assemble({"rte_l2_da_ctl_addr[0..3][1].rte_l2_da_ctl_addr_prefix_0_w1 = 1"}),
              "unknown name 'rte_l2_da_ctl_addr[0..3][1].rte_l2_da_ctl_addr_prefix_0_w1': the register at 0x00050018 "
              "has no field rte_l2_da_ctl_addr_prefix_0_w1; near: rte_l2_da_ctl_addr_prefix_1_w1");
}

// ------------------------------------------------------------------------------------------------- header, other lines

TEST(RegencHeader, EveryFieldHasItsLine) {
    RegencDump dump;
    ASSERT_EQ(assemble(dump, {"header.ver = 2", "header.oid = 3", "header.vendor_id = 4", "header.chip_id = 5",
                              "header.chip_ver = 6", "header.chip_base_addr = 7", "header.epoch_sec = 8",
                              "header.epoch_usec = 0xffffffff"}),
              "");
    EXPECT_EQ(dump.hdr().ver, 2u);
    EXPECT_EQ(dump.hdr().oid, 3u);
    EXPECT_EQ(dump.hdr().vendor_id, 4u);
    EXPECT_EQ(dump.hdr().chip_id, 5u);
    EXPECT_EQ(dump.hdr().chip_ver, 6u);
    EXPECT_EQ(dump.hdr().chip_base_addr, 7u);
    EXPECT_EQ(dump.hdr().epoch_sec, 8);
    EXPECT_EQ(dump.hdr().epoch_usec, -1);
    EXPECT_EQ(assemble({"header.version = 1"}), "unknown name 'header.version'");
    EXPECT_EQ(assemble({"header. = 1"}), "unknown name 'header.'");
    EXPECT_EQ(assemble({"header = 1"}), "unknown name 'header'");
}

TEST(RegencHeader, BlockOfAListingIsTaken) {
    RegencDump dump;
    ASSERT_EQ(
        assemble(dump, {"================ Register Dump Header ================", "", "\tHeader version:   1",
                        "\tChip OID:         0x0000abcd", "\tPCI vendor ID:    0x7e52", "\tPCI device ID:    0x0021",
                        "\tChip version:     0x12", "\tDump time:        2023-11-14 22:13:20.000042 UTC", "",
                        "================ Register Dump Data ================", "",
                        "ASIC offset  Data        Name      ", "-----------  ----------  ----------"}),
        "");
    EXPECT_EQ(dump.hdr().ver, 1u);
    EXPECT_EQ(dump.hdr().oid, 0xabcdu);
    EXPECT_EQ(dump.hdr().vendor_id, 0x7e52u);
    EXPECT_EQ(dump.hdr().chip_id, 0x21u);
    EXPECT_EQ(dump.hdr().chip_ver, 0x12u);
    EXPECT_EQ(dump.hdr().epoch_sec, 0);
    EXPECT_EQ(assemble({"\tHeader version:   one"}), "bad value 'one'");
}

TEST(RegencLines, CommentsAndBlanksAreNothing) {
    RegencDump dump;
    ASSERT_EQ(
        assemble(dump, {"", "   ", "\t\r", "# ftc_cntl = 1", "  ## x", "ftc_cntl = 2 # = 3", "\tftc_status\t=\t4\r"}),
        "");
    EXPECT_EQ(dump.word(8), 2u);
    EXPECT_EQ(dump.word(12), 4u);
    EXPECT_EQ(numSet(dump), 2u);
}

TEST(RegencLines, OtherTextIsRefused) {
    EXPECT_EQ(assemble({"ftc_cntl"}), "cannot read 'ftc_cntl'");
    EXPECT_EQ(assemble({"ftc_cntl 1"}), "cannot read 'ftc_cntl 1'");
    EXPECT_EQ(assemble({"= 1"}), "cannot read '= 1'");
    EXPECT_EQ(assemble({"0x00001008"}), "cannot read '0x00001008'");
}

TEST(RegencLines, AreShownInMessagesAsTheyAreMeant) {
    EXPECT_EQ(assemble({"\x1b[1mftc = 1"}), "unknown name '\\x1b[1mftc'");
    EXPECT_EQ(assemble({std::string("ftc_cntl = 1\0", 13)}), "bad value '1\\x00'");
    EXPECT_EQ(assemble({"gr\u00fc\u00df = 1"}), "unknown name 'gr\u00fc\u00df'");
    EXPECT_EQ(assemble({std::string(100, 'a') + std::string(100, 'b') + " = 1"}),
              "unknown name '" + std::string(60, 'a') + "..." + std::string(60, 'b') + "'");
}

TEST(RegencLines, OfAListing) {
    RegencDump dump;
    ASSERT_EQ(assemble(dump, {"0x00001008:  0x0000002a  ftc_cntl", "0x0557fffc:  0x89abcdef  tfe_tcam[360447].w3"}),
              "");
    EXPECT_EQ(dump.word(8), 42u);
    EXPECT_EQ(dump.word(TSR_DUMP_SIZE - 4), 0x89abcdefu);
    EXPECT_EQ(assemble({"0x0000100c:  0x0000002a  ftc_cntl"}), "'ftc_cntl' is at 0x00001008, not at 0x0000100c");
    EXPECT_EQ(assemble({"0x00001008:  0x0000002a  ftc_cntrl"}), "unknown name 'ftc_cntrl'; near: ftc_cntl, frc_cntl");
    EXPECT_EQ(assemble({"0x00001008:  0x0000002a  "}), "unknown name ''");
    EXPECT_EQ(assemble({"0x00001008:  2a  ftc_cntl"}), "bad value '2a'");
    EXPECT_EQ(assemble({"0x1zz:  0x0000002a  ftc_cntl"}), "bad value '0x1zz'");
    EXPECT_EQ(assemble({"0x00001008:  0x10000002a  ftc_cntl"}), "value 0x10000002a does not fit 32 bits");
    EXPECT_EQ(assemble({"0x000084c0:  0x0000002a  glb_chip_id[0..1]"}), "'glb_chip_id[0..1]' is no word of a listing");
    EXPECT_EQ(assemble({"0x00402000:  0x00000001  ephy_reg[0].rte_prc_l2_ctl.rte_prc_l2_lu_en"}),
              "'ephy_reg[0].rte_prc_l2_ctl.rte_prc_l2_lu_en' is no word of a listing");
}

// ------------------------------------------------------------------------------------- setting the same thing twice

TEST(RegencTwice, SingleWordsMustAgree) {
    EXPECT_EQ(assemble({"ftc_cntl = 5", "ftc_cntl = 0x5", "0x00001008:  0x00000005  ftc_cntl"}), "");
    EXPECT_EQ(assemble({"ftc_cntl = 5", "ftc_cntl = 6"}),
              "'ftc_cntl' is set again with another value (before: 0x00000005)");
    EXPECT_EQ(assemble({"ftc_cntl = 0", "0x00001008:  0x00000005  ftc_cntl"}),
              "'ftc_cntl' is set again with another value (before: 0x00000000)");
}

TEST(RegencTwice, RangesStartAfresh) {
    RegencDump dump;
    ASSERT_EQ(assemble(dump, {"glb_chip_id[0..3] = 1", "glb_chip_id[2] = 2"}), "");
    EXPECT_EQ(dump.image()->glb_chip_id[2], 2u << 24);
    EXPECT_EQ(dump.image()->glb_chip_id[3], 1u << 24);
    ASSERT_EQ(assemble(dump, {"glb_chip_id[2] = 2", "glb_chip_id[2..2] = 3", "glb_chip_id[2] = 4"}), "");
    EXPECT_EQ(dump.image()->glb_chip_id[2], 4u << 24);
    ASSERT_EQ(assemble(dump, {"glb_chip_id[0..3] = 1", "glb_chip_id[0..3] = 2"}), "");
    EXPECT_EQ(dump.image()->glb_chip_id[2], 2u << 24);
}

TEST(RegencTwice, FieldsMustAgree) {
    const std::string reg = "ephy_reg[0].rte_prc_l2_ctl";
    const std::string port = reg + ".rte_prc_l2_psel_port";
    EXPECT_EQ(assemble({port + " = 5", port + " = 5", reg + ".rte_prc_l2_lu_en = 1"}), "");
    EXPECT_EQ(assemble({port + " = 5", port + " = 6"}),
              "'" + port + "' is set again with another value (before: 0x00000005)");
    EXPECT_EQ(assemble({port + " = 5", "ephy_reg[0..11].rte_prc_l2_ctl.rte_prc_l2_psel_port = 6", port + " = 7"}), "");
    EXPECT_EQ(assemble({port + " = 5", "ephy_reg[0..11].rte_prc_l2_ctl = 6", port + " = 7"}), "");
}

TEST(RegencTwice, FieldRefinesItsWord) {
    const std::string reg = "ephy_reg[0].rte_prc_l2_ctl";
    const std::string port = reg + ".rte_prc_l2_psel_port";
    const auto value = [](const std::vector<std::string> &lines) {
        RegencDump dump;
        EXPECT_EQ(assemble(dump, lines), "");
        return __builtin_bswap32(dump.image()->ephy_reg[0].rte_prc_l2_ctl);
    };
    const auto again = [&](const std::string &before) {
        return "'" + reg + "' is set again with another value (before: " + before + ")";
    };
    // Bits 10:6 are the field's.
    EXPECT_EQ(value({reg + " = 0xffffffff", port + " = 0"}), 0xfffff83fu);
    EXPECT_EQ(value({reg + " = 0xffffffff", port + " = 0", reg + " = 0xfffff83f"}), 0xfffff83fu);
    EXPECT_EQ(assemble({reg + " = 0xffffffff", port + " = 0", reg + " = 0xffffffff"}), again("0xfffff83f"));
    EXPECT_EQ(value({port + " = 1", reg + " = 0x40"}), 0x40u);
    EXPECT_EQ(value({port + " = 1", reg + " = 0xfffff87f"}), 0xfffff87fu);
    EXPECT_EQ(assemble({port + " = 1", reg + " = 0x80"}), again("0x00000040"));
    const std::string range = "ephy_reg[0..1].rte_prc_l2_ctl.rte_prc_l2_psel_port";
    EXPECT_EQ(value({reg + " = 0xffffffff", range + " = 1", port + " = 2"}), 0xfffff8bfu);
    EXPECT_EQ(value({reg + " = 0xffffffff", range + " = 1", port + " = 2", reg + " = 0x80"}), 0x80u);
    EXPECT_EQ(assemble({reg + " = 0xffffffff", range + " = 1", port + " = 2", reg + " = 0xffffffff"}),
              again("0xfffff8bf"));
}

namespace {

/// One line for the register of port 2 that follows its classification, alone or with a range about it.
struct Setting {
    enum Kind { WORD, LU_EN, PSEL_PORT, WORDS, LU_ENS, PSEL_PORTS };

    Kind kind;
    uint32_t value;

    bool isRange() const { return kind >= WORDS; }
    bool isWord() const { return kind == WORD || kind == WORDS; }
    /// The lowest bit and the bits of what is set.
    unsigned lo() const { return isWord() ? 0 : kind == LU_EN || kind == LU_ENS ? 11 : 6; }
    uint32_t bits() const { return isWord() ? 0xffffffff : kind == LU_EN || kind == LU_ENS ? 0x800 : 0x7c0; }

    std::string line() const {
        std::string text = isRange() ? "ephy_reg[0..3].rte_prc_l2_ctl" : "ephy_reg[2].rte_prc_l2_ctl";
        if (!isWord())
            text += lo() == 11 ? ".rte_prc_l2_lu_en" : ".rte_prc_l2_psel_port";
        return text + " = " + std::to_string(value);
    }
};

constexpr uint64_t REFUSED = 1ull << 32;

/// The word that the lines make, or `REFUSED` when the last one is refused.
uint64_t wordOf(const std::vector<Setting> &settings) {
    static RegencDump dump;
    static RegencAssembler assembler(dump);
    std::string error;
    EXPECT_TRUE(assembler.set("ephy_reg[0..3].rte_prc_l2_ctl", 0, error)) << error;
    assembler.beginText();
    for (size_t i = 0; i < settings.size(); ++i) {
        if (assembler.line(settings[i].line(), error))
            continue;
        EXPECT_EQ(i + 1, settings.size()) << error;
        EXPECT_NE(error.find("is set again with another value"), error.npos) << error;
        return REFUSED;
    }
    return __builtin_bswap32(dump.image()->ephy_reg[2].rte_prc_l2_ctl);
}

/// The same by the rule's own words, from the lines since the last range. All but the last line are good.
uint64_t wordByRule(const std::vector<Setting> &settings) {
    uint32_t word = 0;
    std::vector<Setting> since;
    for (const Setting &setting : settings) {
        for (unsigned bit = 0; bit < 32 && !setting.isRange(); ++bit) {
            const uint32_t mask = 1u << bit;
            const bool changes = (setting.bits() & mask) != 0 && ((word ^ setting.value << setting.lo()) & mask) != 0;
            for (const Setting &earlier : since) {
                if (changes && (earlier.bits() & mask) != 0 && (setting.isWord() || !earlier.isWord()))
                    return REFUSED;
            }
        }
        if (setting.isRange())
            since.clear();
        else
            since.push_back(setting);
        word = (word & ~setting.bits()) | setting.value << setting.lo();
    }
    return word;
}

std::string text(const std::vector<Setting> &settings) {
    std::string lines;
    for (const Setting &setting : settings)
        lines += setting.line() + "\n";
    return lines;
}

} // namespace

TEST(RegencTwice, EveryOrderOfWordsFieldsAndRanges) {
    constexpr auto WORD = Setting::WORD;
    constexpr auto LU_EN = Setting::LU_EN;
    constexpr auto PORT = Setting::PSEL_PORT;
    constexpr auto WORDS = Setting::WORDS;
    constexpr auto LU_ENS = Setting::LU_ENS;
    constexpr auto PORTS = Setting::PSEL_PORTS;
    const struct {
        std::vector<Setting> settings;
        uint64_t word;
    } rows[] = {
        // Behind a word.
        {{{WORD, 7}, {WORD, 7}}, 7},
        {{{WORD, 7}, {WORD, 9}}, REFUSED},
        {{{WORD, 7}, {LU_EN, 0}}, 7},
        {{{WORD, 7}, {LU_EN, 1}}, 0x807},
        {{{WORD, 7}, {WORDS, 7}}, 7},
        {{{WORD, 7}, {WORDS, 9}}, 9},
        {{{WORD, 7}, {LU_ENS, 0}}, 7},
        {{{WORD, 7}, {LU_ENS, 1}}, 0x807},
        // Behind a field.
        {{{LU_EN, 1}, {WORD, 0x807}}, 0x807},
        {{{LU_EN, 1}, {WORD, 7}}, REFUSED},
        {{{LU_EN, 1}, {LU_EN, 1}}, 0x800},
        {{{LU_EN, 1}, {LU_EN, 0}}, REFUSED},
        {{{LU_EN, 1}, {PORT, 3}}, 0x8c0},
        {{{LU_EN, 1}, {WORDS, 0x800}}, 0x800},
        {{{LU_EN, 1}, {WORDS, 9}}, 9},
        {{{LU_EN, 1}, {LU_ENS, 1}}, 0x800},
        {{{LU_EN, 1}, {LU_ENS, 0}}, 0},
        {{{LU_EN, 1}, {PORTS, 3}}, 0x8c0},
        // Behind a range of words.
        {{{WORDS, 7}, {WORD, 7}}, 7},
        {{{WORDS, 7}, {WORD, 9}}, 9},
        {{{WORDS, 7}, {LU_EN, 0}}, 7},
        {{{WORDS, 7}, {LU_EN, 1}}, 0x807},
        {{{WORDS, 7}, {WORDS, 9}}, 9},
        {{{WORDS, 7}, {LU_ENS, 1}}, 0x807},
        // Behind a range of fields.
        {{{LU_ENS, 1}, {WORD, 0x800}}, 0x800},
        {{{LU_ENS, 1}, {WORD, 0}}, 0},
        {{{LU_ENS, 1}, {LU_EN, 1}}, 0x800},
        {{{LU_ENS, 1}, {LU_EN, 0}}, 0},
        {{{LU_ENS, 1}, {PORT, 3}}, 0x8c0},
        {{{LU_ENS, 1}, {WORDS, 9}}, 9},
        {{{LU_ENS, 1}, {LU_ENS, 0}}, 0},
        {{{LU_ENS, 1}, {PORTS, 3}}, 0x8c0},
        // A range of fields between two words or fields frees all of the word.
        {{{WORD, 0}, {LU_ENS, 1}, {WORD, 0}}, 0},
        {{{WORD, 0}, {LU_ENS, 1}, {WORD, 5}}, 5},
        {{{WORD, 0}, {LU_ENS, 1}, {WORD, 0x800}}, 0x800},
        {{{LU_EN, 0}, {LU_ENS, 1}, {LU_EN, 0}}, 0},
        {{{PORT, 3}, {LU_ENS, 1}, {PORT, 4}}, 0x900},
        {{{PORT, 3}, {LU_ENS, 1}, {WORD, 0}}, 0},
        {{{WORD, 7}, {LU_EN, 1}, {PORTS, 3}, {LU_EN, 0}}, 0xc7},
        {{{WORD, 7}, {LU_EN, 1}, {PORTS, 3}, {WORD, 7}}, 7},
        // So does a range of words.
        {{{WORD, 7}, {WORDS, 9}, {WORD, 7}}, 7},
        {{{LU_EN, 1}, {WORDS, 0}, {LU_EN, 0}}, 0},
        {{{LU_EN, 1}, {WORDS, 0}, {WORD, 5}}, 5},
        // But behind it lines must agree again.
        {{{WORD, 0}, {LU_ENS, 1}, {WORD, 5}, {WORD, 6}}, REFUSED},
        {{{WORDS, 0}, {LU_EN, 1}, {LU_EN, 0}}, REFUSED},
        {{{LU_ENS, 1}, {LU_EN, 0}, {LU_EN, 1}}, REFUSED},
        {{{LU_ENS, 1}, {LU_EN, 0}, {WORD, 0x800}}, REFUSED},
        // A word behind its fields is what they have made of it.
        {{{WORD, 0}, {LU_EN, 1}, {WORD, 0}}, REFUSED},
        {{{WORD, 0}, {LU_EN, 1}, {WORD, 5}}, REFUSED},
        {{{WORD, 0}, {LU_EN, 1}, {WORD, 0x800}}, 0x800},
        {{{WORD, 0}, {LU_EN, 0}, {WORD, 0}}, 0},
        {{{LU_EN, 1}, {WORD, 0x807}, {WORD, 0x807}}, 0x807},
        // A word does not free the fields in front of it, nor let a field change twice.
        {{{LU_EN, 1}, {WORD, 0x807}, {LU_EN, 0}}, REFUSED},
        {{{LU_EN, 1}, {WORD, 0x807}, {PORT, 3}}, 0x8c7},
        {{{WORD, 0}, {LU_EN, 1}, {LU_EN, 0}}, REFUSED},
        {{{WORD, 0}, {LU_EN, 1}, {PORT, 3}, {WORD, 0x8c0}}, 0x8c0},
        {{{WORD, 0}, {LU_EN, 1}, {PORT, 3}, {WORD, 0x800}}, REFUSED},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(wordOf(row.settings), row.word) << text(row.settings);
        EXPECT_EQ(wordByRule(row.settings), row.word) << text(row.settings);
    }
}

TEST(RegencTwice, ARangeReachesItsWordsOnly) {
    RegencDump dump;
    const std::string lu_en = "ephy_reg[4].rte_prc_l2_ctl.rte_prc_l2_lu_en";
    EXPECT_EQ(assemble(dump, {lu_en + " = 1", "ephy_reg[0..3].rte_prc_l2_ctl.rte_prc_l2_lu_en = 1", lu_en + " = 0"}),
              "'" + lu_en + "' is set again with another value (before: 0x00000001)");
    EXPECT_EQ(dump.image()->ephy_reg[3].rte_prc_l2_ctl, __builtin_bswap32(0x800));
    EXPECT_EQ(dump.image()->ephy_reg[4].rte_prc_l2_ctl, __builtin_bswap32(0x800));
    EXPECT_EQ(dump.image()->ephy_reg[5].rte_prc_l2_ctl, 0u);
}

TEST(RegencTwice, RandomLinesFollowTheRule) {
    std::mt19937 random(11);
    size_t num_refused = 0;
    size_t num_taken = 0;
    for (int i = 0; i < 5000; ++i) {
        std::vector<Setting> settings;
        for (bool good = true; good && settings.size() < 8;) {
            // Few values, so that lines agree by chance.
            const auto kind = static_cast<Setting::Kind>(random() % 6);
            const bool isWord = kind == Setting::WORD || kind == Setting::WORDS;
            const uint32_t lu_en = random() % 2;
            const uint32_t port = 5 * (random() % 2);
            settings.push_back({kind, isWord                                              ? lu_en << 11 | port << 6
                                      : kind == Setting::LU_EN || kind == Setting::LU_ENS ? lu_en
                                                                                          : port});
            const uint64_t expected = wordByRule(settings);
            ASSERT_EQ(wordOf(settings), expected) << text(settings);
            good = expected != REFUSED;
            ++(good ? num_taken : num_refused);
        }
    }
    EXPECT_GT(num_refused, 2000u);
    EXPECT_GT(num_taken, 10000u);
}

TEST(RegencTwice, HeaderFieldsMustAgree) {
    EXPECT_EQ(assemble({"header.chip_ver = 2", "\tChip version:     0x02"}), "");
    EXPECT_EQ(assemble({"header.chip_ver = 3", "\tChip version:     0x02"}),
              "'header.chip_ver' is set again with another value (before: 0x00000003)");
}

TEST(RegencTwice, AnotherTextMaySetAnotherValue) {
    RegencDump dump;
    RegencAssembler assembler(dump);
    std::string error;
    for (const char *value : {"1", "2"}) {
        assembler.beginText();
        ASSERT_TRUE(assembler.line(std::string("ftc_cntl = ") + value, error)) << error;
        ASSERT_TRUE(assembler.line(std::string("header.oid = ") + value, error)) << error;
        ASSERT_TRUE(assembler.line(std::string("ephy_reg[0].rte_prc_l2_ctl.rte_prc_l2_psel_port = ") + value, error));
    }
    EXPECT_EQ(dump.word(8), 2u);
    EXPECT_EQ(dump.hdr().oid, 2u);
    EXPECT_EQ(dump.image()->ephy_reg[0].rte_prc_l2_ctl, __builtin_bswap32(2u << 6));
}

// --------------------------------------------------------------------------------------------------- the dump builder

TEST(DumpBuilder, SetsWordsFieldsAndRanges) {
    DumpBuilder builder;
    builder.set("ftc_cntl", 1).set("ftc_cntl", 2).set("header.oid", 9).set("header.oid", 10);
    builder.set("ephy_reg[1].rte_prc_l2_ctl", "rte_prc_l2_psel_port", 1);
    builder.set("ephy_reg[1].rte_prc_l2_ctl", "rte_prc_l2_psel_port", 2);
    builder.fill("glb_chip_id[1..2]", 3).fill("glb_chip_id[1..2]", 4);
    builder.text("ftc_status = 5 # five\n\nftc_cur_pci_addr = 6");
    EXPECT_EQ(builder.image()->ftc_cntl, 2u << 24);
    EXPECT_EQ(builder.hdr().oid, 10u);
    EXPECT_EQ(builder.image()->ephy_reg[1].rte_prc_l2_ctl, __builtin_bswap32(2u << 6));
    EXPECT_EQ(builder.image()->glb_chip_id[2], 4u << 24);
    EXPECT_EQ(builder.image()->ftc_status, 5u << 24);
    EXPECT_EQ(builder.image()->ftc_cur_pci_addr, 6u << 24);
    EXPECT_THROW(builder.set("glb_chip_id[1..2]", 1), std::invalid_argument);
    EXPECT_THROW(builder.set("no_such", 1), std::invalid_argument);
    EXPECT_THROW(builder.set("ftc_cntl", "no_such", 1), std::invalid_argument);
    EXPECT_THROW(builder.text("no_such = 1"), std::invalid_argument);
    EXPECT_THROW(builder.file("/no/such/file"), std::invalid_argument);
}

// -------------------------------------------------------------------------------------------------------- the program

static RunResult regenc(const std::vector<std::string> &args) {
    return runProgram(REGENC_TSR_PROGRAM, args);
}

TEST(RegencProgram, UsageWithoutFiles) {
    const TempDir temp;
    const std::string usage =
        std::string("Usage: ") + REGENC_TSR_PROGRAM + " <out_dump> <text_file>... [from <base_dump>]\n";
    for (const auto &args : std::vector<std::vector<std::string>>{{}, {temp.path("out")}}) {
        const RunResult result = regenc(args);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, usage);
    }
    EXPECT_EQ(temp.numFiles(), 0u);
}

TEST(RegencProgram, HelpAndVersion) {
    const TempDir temp;
    const std::string usage =
        std::string("Usage: ") + REGENC_TSR_PROGRAM + " <out_dump> <text_file>... [from <base_dump>]\n\n";
    for (const auto &args : std::vector<std::vector<std::string>>{
             {"-h"}, {"--help"}, {temp.path("out"), "--help"}, {temp.path("out"), temp.path("a"), "from", "-h"}}) {
        const RunResult result = regenc(args);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.out.substr(0, usage.size()), usage);
        for (const char *word : {"--help", "--version", "from <base_dump>", "exit status"})
            EXPECT_NE(result.out.find(word, usage.size()), result.out.npos) << word;
        EXPECT_EQ(result.err, "");
    }
    const RunResult result = regenc({"--version"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, std::string("regenc_tsr ") + REGDUMP_VERSION + "\n");
    EXPECT_EQ(result.err, "");
    RunOptions full;
    full.stdout_path = "/dev/full";
    for (const char *option : {"-h", "--version"}) {
        const RunResult lost = runProgram(REGENC_TSR_PROGRAM, {option}, full);
        EXPECT_EQ(lost.status, 1);
        EXPECT_EQ(lost.err, "standard output: cannot write (No space left on device)\n");
    }
    EXPECT_EQ(temp.numFiles(), 0u);
}

TEST(RegencProgram, UnknownOptionsAreRefusedAndFilesMayHaveAnyName) {
    const TempDir temp;
    temp.file("--help", "ftc_cntl = 1\n");
    temp.file("-x", "ftc_cntl = 2\n");
    temp.file("-", "ftc_cntl = 3\n");
    const auto inTemp = [&](const std::string &args) {
        return runProgram("/bin/sh", {"-c", "cd " + temp.path("") + " && exec " REGENC_TSR_PROGRAM " " + args});
    };
    RunResult result = inTemp("out -x");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "regenc_tsr: unknown option '-x', see --help\n");
    result = inTemp("--out ./-x");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "regenc_tsr: unknown option '--out', see --help\n");
    EXPECT_EQ(temp.numFiles(), 3u);
    const std::pair<std::string, uint32_t> good[] = {
        {"out ./--help", 1}, {"out ./-x", 2}, {"out -", 3}, {"-- out -x", 2}, {"out -- --help", 1}};
    for (const auto &[args, value] : good) {
        EXPECT_EQ(inTemp(args).err, "");
        RegencDump dump;
        std::string error;
        ASSERT_TRUE(dump.load(temp.path("out"), error)) << error;
        EXPECT_EQ(dump.word(8), value) << args;
    }
}

TEST(RegencProgram, LaterFilesOverrideEarlierOnes) {
    const TempDir temp;
    const std::string out = temp.path("out");
    const RunResult result =
        regenc({out, temp.file("a", "ftc_cntl = 1\nftc_status = 2\n"), temp.file("b", "ftc_cntl = 3")});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out + result.err, "");
    RegencDump dump;
    std::string error;
    ASSERT_TRUE(dump.load(out, error)) << error;
    EXPECT_EQ(dump.word(8), 3u);
    EXPECT_EQ(dump.word(12), 2u);
    EXPECT_EQ(numSet(dump), 2u);
}

TEST(RegencProgram, BaseGivesWhatTheTextLeaves) {
    const TempDir temp;
    DumpBuilder base;
    base.randomise(1).set("header.oid", 77).write(temp.path("base"));
    const std::string text = temp.file("a", "ftc_cntl = 1\n");
    ASSERT_EQ(regenc({temp.path("out"), text, "from", temp.path("base")}).status, 0);
    base.set("ftc_cntl", 1).write(temp.path("expected"));
    EXPECT_TRUE(readFile(temp.path("out")) == readFile(temp.path("expected")));
    // The base may be the output.
    ASSERT_EQ(regenc({temp.path("base"), text, "from", temp.path("base")}).status, 0);
    EXPECT_TRUE(readFile(temp.path("base")) == readFile(temp.path("expected")));
}

TEST(RegencProgram, RefusedLineIsNamedAndLeavesNoFile) {
    const TempDir temp;
    const std::string good = temp.file("good", "ftc_cntl = 1\n");
    const std::string bad = temp.file("bad", "# one\nftc_cntl = 2\n\nno_such = 1\nftc_status = 2\n");
    const RunResult result = regenc({temp.path("out"), good, bad});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, bad + ":4: unknown name 'no_such'\n");
    EXPECT_EQ(temp.numFiles(), 2u);
}

TEST(RegencProgram, FailureKeepsAnOlderFile) {
    const TempDir temp;
    const std::string out = temp.file("out", "older");
    EXPECT_EQ(regenc({out, temp.file("bad", "ftc_cntl = 0x1ffffffff")}).status, 1);
    EXPECT_EQ(readFile(out), "older");
    EXPECT_EQ(temp.numFiles(), 2u);
}

TEST(RegencProgram, FilesThatCannotBeUsed) {
    const TempDir temp;
    const std::string out = temp.path("out");
    const std::string good = temp.file("good", "ftc_cntl = 1\n");
    const std::string none = temp.path("none");
    EXPECT_EQ(regenc({out, good, none}).err, none + ": cannot open (No such file or directory)\n");
    EXPECT_EQ(regenc({out, temp.path("")}).err, temp.path("") + ": cannot read (Is a directory)\n");
    EXPECT_EQ(regenc({out, good, "from", none}).err, none + ": cannot open (No such file or directory)\n");
    EXPECT_EQ(regenc({out, good, "from", good}).err, good + ": too short for a dump: 13 bytes of 39752524\n");
    EXPECT_EQ(regenc({temp.path("no/out"), good}).err,
              temp.path("no/out") + ": cannot create (No such file or directory)\n");
    EXPECT_EQ(regenc({out, temp.file("binary", std::string(2000, '\0'))}).status, 1);
    EXPECT_EQ(regenc({out, temp.file("long", std::string(3 << 20, ' ') + "ftc_cntl = 1")}).err,
              temp.path("long") + ":1: line too long\n");
    EXPECT_FALSE(std::ifstream(out).is_open());
}

TEST(RegencProgram, FailedWriteLeavesNoFile) {
    const TempDir temp;
    const std::string good = temp.file("good", "ftc_cntl = 1\n");
    struct rlimit before;
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    struct rlimit small = before;
    small.rlim_cur = 1 << 20;
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const RunResult result = regenc({temp.path("out"), good});
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, temp.path("out") + ": cannot write (File too large)\n");
    EXPECT_EQ(temp.numFiles(), 1u);
}

TEST(RegencProgram, OutputHasTheUsualMode) {
    const TempDir temp;
    const mode_t mask = umask(027);
    const int status = regenc({temp.path("out"), temp.file("a", "")}).status;
    umask(mask);
    ASSERT_EQ(status, 0);
    struct stat info;
    ASSERT_EQ(stat(temp.path("out").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0640u);
}

TEST(RegencProgram, ListingOfAnyDumpGivesItBack) {
    const TempDir temp;
    DumpBuilder builder;
    builder.randomise(2).set("header.oid", 0x89abcdef).set("header.chip_ver", 0x21).write(temp.path("dump"));
    {
        RunOptions toFile;
        toFile.stdout_path = temp.file("listing", "");
        ASSERT_EQ(runProgram(REGDEC_TSR_PROGRAM, {temp.path("dump")}, toFile).status, 0);
    }
    const std::string dump = readFile(temp.path("dump"));

    // The registers that ports 8 to 11 do not have are not listed, so they come from the base, or are 0.
    ASSERT_EQ(regenc({temp.path("out"), temp.path("listing"), "from", temp.path("dump")}).err, "");
    EXPECT_TRUE(readFile(temp.path("out")) == dump);
    ASSERT_EQ(regenc({temp.path("out"), temp.path("listing")}).err, "");
    for (uint32_t port = 8; port < 12; ++port) {
        auto *hole = &builder.image()->ephy_reg[port].hmc_cfg;
        std::fill(hole, hole + 19, 0);
    }
    builder.write(temp.path("dump"));
    EXPECT_TRUE(readFile(temp.path("out")) == readFile(temp.path("dump")));
    EXPECT_FALSE(readFile(temp.path("out")) == dump);
}

TEST(RegencSamples, FillEveryTcamWithEntriesThatNeverMatch) {
    for (const char *path : {"/samples/switch.reg", "/tests/golden/base.reg"}) {
        DumpBuilder builder;
        builder.file(std::string(TSR_SOURCE_DIR) + path);
        size_t numTcams = 0;
        for (const regdump_map_t *row = tsr_dmp_map; row->name != nullptr; ++row) {
            const std::string name = row->name;
            // The lookup memories, not the registers about them: wide elements under a TCAM's name.
            if (row->dump_size == 4 || (name.find("_tcam") == name.npos && name != "rte_l2_mac_class") ||
                name.find("_dbg") != name.npos)
                continue;
            ++numTcams;
            // The sample's first prefix is a route, and the first entry of its ACL is in use.
            const bool hasEntry =
                std::string(path) == "/samples/switch.reg" && (name == "tfe_tcam" || name == "tae_tcam");
            for (uint32_t off = hasEntry ? row->dump_size : 0; off < regdump_mapp_get_size(row); off += 4)
                ASSERT_EQ(builder.dump().word(row->dump_offset + off), 0xffffffffu) << path << " " << name;
        }
        EXPECT_EQ(numTcams, 15u);
    }
}
