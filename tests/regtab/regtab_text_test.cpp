// regtab_tsr --text: the lines that it writes make the same words again.

#include <arpa/inet.h>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <random>

#include "dump_builder.h"
#include "regtab_run.h"
#include "tbl/tsr_tbl_mem.h"
#include "temp_dir.h"

namespace {

/// Runs regtab_tsr with its output in a file.
int regtabInto(const std::string &file, const std::vector<std::string> &args) {
    std::ofstream(file).close();
    RunOptions options;
    options.stdout_path = file;
    return regtab(args, options).status;
}

/// Makes three of four rows of each TCAM such that some key matches them, a few of them all keys.
void makeMatchable(tsr_dmp_t *image, std::mt19937_64 &random) {
    auto *bytes = reinterpret_cast<uint8_t *>(image);
    for (const TblMem &mem : tblMems()) {
        if (!mem.isTcam())
            continue;
        for (uint32_t place = 0; place < mem.places(); ++place) {
            const uint64_t chance = random() % 8;
            if (chance < 2)
                continue;
            // Both sizes of an entry: the halves of a wide one are twice as long.
            auto *words = reinterpret_cast<uint32_t *>(bytes + mem.imageOff(place));
            if (chance == 7) {
                std::memset(words, 0, 4 * mem.words());
                continue;
            }
            const uint32_t half = mem.words() / 2;
            for (uint32_t w = 0; w < half; ++w)
                words[half + w] &= ~words[w];
        }
    }
}

} // namespace

TEST(RegtabText, EveryTableOfARandomDumpMakesTheSameWords) {
    const TempDir temp;
    DumpBuilder dump;
    dump.randomise(20261124);
    std::mt19937_64 random(5);
    makeMatchable(dump.image(), random);
    // Long runs of rows that match nothing, as dumps have them.
    dump.fill("tfe_tcam[1000..200000]", 0xffffffff);
    dump.fill("tae_tcam[20000..50000]", 0xffffffff);
    dump.fill("eqs_evt_mem[*]", 0);
    // All kinds of banks.
    dump.set("tfe_bank_prtcl_sel", 2u << 2 | 1u << 4 | 3u << 6 | 2u << 18);
    dump.set("tae_bank_prtcl_sel_0", 1u << 2 | 1u << 10);
    dump.set("tae_bank_prtcl_sel_4", 0x10087610);
    dump.write(temp.path("random.dmp"));

    uint32_t numTables = 0;
    std::vector<std::string> texts;
    std::vector<bool> isListed(TSR_DUMP_SIZE / 4);
    // The types of the banks decide on the layouts, and so come first.
    ASSERT_EQ(regtabInto(temp.path("banks.reg"), {"--text", temp.path("random.dmp"), "show", "tfe_bank_prtcl_sel",
                                                  "tae_bank_prtcl_sel_0", "tae_bank_prtcl_sel_4"}),
              0);
    texts.push_back(temp.path("banks.reg"));
    for (const TblMem &mem : tblMems()) {
        if (mem.forms().empty() || mem.isReg() || ++numTables % kEveryTable != 0)
            continue;
        const std::string file = temp.path(mem.name() + ".reg");
        const int status = regtabInto(file, {"--text", temp.path("random.dmp"), "list", mem.name()});
        ASSERT_EQ(status, mem.name() == "eqs_evt_mem" ? 1 : 0) << mem.name();
        texts.push_back(file);
        // Where entries may begin anywhere, words that belong to none are written too.
        for (uint32_t w = 0; w < mem.wordsOfInst() && tblBeginsAnywhere(mem.forms()[0]); ++w)
            isListed[mem.imageOff(0) / 4 + w] = true;
        for (uint32_t place = 0; place < mem.places(); ++place) {
            // An entry of zeros is not in use, and no line is about it, but a TCAM's row of zeros matches every key.
            bool isInUse = mem.isTcam();
            for (uint32_t w = 0; w < mem.words(); ++w)
                isInUse = isInUse || dump.dump().word(mem.imageOff(place) + 4 * w) != 0;
            for (uint32_t w = 0; w < mem.words() && isInUse; ++w)
                isListed[mem.imageOff(place) / 4 + w] = true;
        }
    }
    EXPECT_GT(texts.size(), 100u / kEveryTable);

    // From a base whose words are all others.
    DumpBuilder base;
    base.randomise(99);
    base.write(temp.path("base.dmp"));
    std::vector<std::string> args{temp.path("made.dmp")};
    args.insert(args.end(), texts.begin(), texts.end());
    args.insert(args.end(), {"from", temp.path("base.dmp")});
    const RunResult made = runProgram(REGENC_TSR_PROGRAM, args);
    ASSERT_EQ(made.status, 0) << made.err.substr(0, 2000);
    RegencDump loaded;
    std::string error;
    ASSERT_TRUE(loaded.load(temp.path("made.dmp"), error)) << error;
    size_t checked = 0;
    for (uint32_t w = 0; w < TSR_DUMP_SIZE / 4; ++w) {
        const uint32_t wanted = dump.dump().word(4 * w);
        if (!isListed[w])
            continue;
        const TblMem *mem = tblMemAt(4 * w);
        ASSERT_EQ(loaded.word(4 * w), wanted) << mem->wordNameOf(mem->placeOf(4 * w), 0);
        ++checked;
    }
    EXPECT_GT(checked, kEveryTable == 1 ? 5000000u : 10000u);
}

TEST(RegtabText, ListedRowsMakeThemselvesAgain) {
    const TempDir temp;
    DumpBuilder dump;
    dump.file(std::string(TSR_SOURCE_DIR) + "/samples/switch.reg").write(temp.path("switch.dmp"));
    // From a dump of zeros, of which no row of a TCAM is taken out.
    for (const char *table : {"vlan", "fdb", "routes", "nexthop", "acl", "ports", "egid", "rbridges", "cloud"}) {
        const std::string text = temp.path(std::string(table) + ".reg");
        ASSERT_EQ(regtabInto(text, {"--text", temp.path("switch.dmp"), "list", table}), 0) << table;
        const std::string made = temp.path(std::string(table) + ".dmp");
        const RunResult result = runProgram(REGENC_TSR_PROGRAM, {made, text});
        ASSERT_EQ(result.status, 0) << table << ": " << result.err;
        RegencDump loaded;
        std::string error;
        ASSERT_TRUE(loaded.load(made, error)) << error;
        size_t made_words = 0;
        for (uint32_t w = 0; w < TSR_DUMP_SIZE / 4; ++w) {
            if (loaded.word(4 * w) == 0)
                continue;
            ++made_words;
            ASSERT_EQ(loaded.word(4 * w), dump.dump().word(4 * w)) << table << " " << w;
        }
        EXPECT_GT(made_words, 0u) << table;
    }
}

TEST(RegtabText, AShownRegisterAndARowAreLines) {
    const TempDir temp;
    DumpBuilder dump;
    dump.set("ephy_reg[3].rte_prc_l2_ctl", 0x803);
    dump.set("rte_l3_next_hop_rslt[7].eivid", 0x126);
    dump.text("rte_l2_ctrl_cls_tcam[*] = never\nrte_l2_ctrl_cls_tcam[4].vid = 0x120/0xff0\n").write(temp.path("dump"));
    EXPECT_EQ(regtab({"--text", temp.path("dump"), "show", "ephy_reg[3].rte_prc_l2_ctl"}).out,
              "ephy_reg[3].rte_prc_l2_ctl = 0x00000803\n");
    EXPECT_EQ(regtab({"--text", temp.path("dump"), "show", "rte_l3_next_hop_rslt[7]"}).out,
              "rte_l3_next_hop_rslt[7][*] = 0\nrte_l3_next_hop_rslt[7].eivid = 294\n");
    EXPECT_EQ(regtab({"--text", temp.path("dump"), "list", "rte_l2_ctrl_cls_tcam"}).out,
              "rte_l2_ctrl_cls_tcam[0..3] = never\n"
              "rte_l2_ctrl_cls_tcam[4..4] = 0\n"
              "rte_l2_ctrl_cls_tcam[4].vid = 0x120/0xff0\n"
              "rte_l2_ctrl_cls_tcam[5..1023] = never\n");
    // A row of zeros matches every key.
    EXPECT_EQ(regtab({"--text", temp.path("dump"), "list", "rte_l2_mac_class"}).out, "rte_l2_mac_class[0..2047] = 0\n");
}
