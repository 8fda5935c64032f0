// The man pages: what they show is run.

#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "dump_builder.h"
#include "regdump_prog.h"
#include "run_program.h"
#include "temp_dir.h"

namespace {

std::string page(const std::string &name) {
    return readFile(std::string(TSR_SOURCE_DIR) + "/docs/" + name + ".1");
}

/// The blocks of code in the section `section` of a page, as the page prints them.
std::string codeOf(const std::string &text, const std::string &section) {
    std::istringstream lines(text);
    std::string code;
    bool inSection = false;
    bool inCode = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.substr(0, 4) == ".SH ")
            inSection = line == ".SH " + section;
        else if (line == ".nf" || line == ".fi")
            inCode = line == ".nf";
        else if (inSection && inCode)
            code += line + "\n";
    }
    for (size_t at = 0; (at = code.find("\\-", at)) != code.npos;)
        code.erase(at, 1);
    return code;
}

/// Runs the examples of a page in the folder.
RunResult runExamples(const TempDir &temp, const std::string &name) {
    const std::string bin = std::string(REGENC_TSR_PROGRAM);
    return runProgram("/bin/bash", {"-c", "PATH=" + bin.substr(0, bin.rfind('/')) + ":$PATH\ncd " + temp.path("") +
                                              "\n" + codeOf(page(name), "EXAMPLES")});
}

uint32_t wordOf(const TempDir &temp, const std::string &name, const uint32_t &word, const RegencDump &dump) {
    RegencDump loaded;
    std::string error;
    EXPECT_TRUE(loaded.load(temp.path(name), error)) << error;
    const auto *start = reinterpret_cast<const char *>(dump.image());
    return loaded.word(static_cast<uint32_t>(reinterpret_cast<const char *>(&word) - start));
}

} // namespace

TEST(Manual, NamesTheVersion) {
    for (const char *name : {"regenc_tsr", "regcmp_tsr", "regtab_tsr"}) {
        const std::string text = page(name);
        const std::string version = std::string("\"regdec_tsr ") + REGDUMP_VERSION + "\"";
        EXPECT_NE(text.substr(0, text.find('\n')).find(version), text.npos) << name;
    }
}

TEST(Manual, ExamplesOfTheAssemblerRun) {
    const TempDir temp;
    DumpBuilder dump;
    const tsr_dmp_t *image = dump.image();
    dump.set("rte_scratch_pad", 7).write(temp.path("switch.dmp"));
    const RunResult result = runExamples(temp, "regenc_tsr");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(wordOf(temp, "changed.dmp", image->rte_scratch_pad, dump.dump()), 1u);
    EXPECT_NE(result.out.find("0x00050a58:  0x00000007  0x00000001  rte_scratch_pad\n"), result.out.npos) << result.out;
    EXPECT_EQ(wordOf(temp, "switch.dmp", image->rte_scratch_pad, dump.dump()), 7u);
    EXPECT_EQ(wordOf(temp, "switch.dmp", image->ephy_reg[11].rte_prc_l2_ctl, dump.dump()), 0x800u);
}

TEST(Manual, ExampleOfSettingTwiceIsTaken) {
    const std::string code = codeOf(page("regenc_tsr"), "SETTING TWICE");
    DumpBuilder dump;
    dump.text(code);
    EXPECT_EQ(dump.image()->ephy_reg[2].rte_prc_l2_ctl, __builtin_bswap32(5));
    // As its comment says, another value is refused.
    const size_t taken = code.find("0x800 ");
    ASSERT_NE(taken, code.npos);
    EXPECT_THROW(DumpBuilder().text(code.substr(0, taken) + "0\n"), std::invalid_argument);
}

TEST(Manual, ExamplesOfTablesAreTaken) {
    std::istringstream lines(codeOf(page("regenc_tsr"), "TABLES"));
    RegencDump dump;
    RegencAssembler assembler(dump);
    std::vector<std::string> warnings;
    assembler.onWarning([&](const std::string &warning) { warnings.push_back(warning); });
    std::string error;
    std::string told;
    for (std::string line; std::getline(lines, line);) {
        if (line.find("warning: ") == line.npos) {
            ASSERT_TRUE(assembler.line(line, error)) << line << ": " << error;
        } else {
            told = line.substr(line.find("warning: "));
        }
    }
    const tsr_dmp_t *image = dump.image();
    const auto word = [](uint32_t beWord) { return __builtin_bswap32(beWord); };
    EXPECT_EQ(word(image->rte_l3_next_hop_rslt[7][3]), 0x126u << 19);
    EXPECT_EQ(word(image->rte_l2_mpid_hash_type[5]), 0x00020000u);
    EXPECT_EQ(word(image->rte_l2_mpid_hash_type[6]), 0x11111111u);
    EXPECT_EQ(word(image->rte_l2_exm_bkt[3][0][3]), 0x000000a1u);
    EXPECT_EQ(word(image->rte_l2_exm_bkt[3][31][1]), 12u);
    // Row 4 leaves the bit of TRILL frames open; row 10 takes every address.
    EXPECT_EQ(word(image->rte_l2_ctrl_cls_tcam[4].y_val[0]), 0x01200180u);
    EXPECT_EQ(word(image->rte_l2_ctrl_cls_tcam[4].x_val[0]), 0x0ed0fe7fu);
    EXPECT_EQ(word(image->rte_l2_ctrl_cls_tcam[5].x_val[0]), 0xffffffffu);
    for (const uint32_t half : {image->tfe_tcam[10].y_val[0], image->tfe_tcam[10].y_val[1],
                                image->tfe_tcam[10].x_val[0], image->tfe_tcam[10].x_val[1]})
        EXPECT_EQ(half, 0u);
    EXPECT_EQ(word(image->tfe_tcam[32775].x_val[1]), 1u << 31);
    EXPECT_EQ(word(image->tae_tcam[5].y_val[2]), 0xb2u);
    EXPECT_EQ(word(image->tae_rslt[5][1]), 1u);

    // The warning that is shown is the one that its line gives.
    warnings.clear();
    ASSERT_TRUE(assembler.line("rte_l3_vlan_feat_ctl[3].ipv4UcHdrCkEn = 1", error)) << error;
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings[0], told);
}

TEST(Manual, ExamplesOfTheComparisonRun) {
    const TempDir temp;
    DumpBuilder dump;
    const tsr_dmp_t *image = dump.image();
    dump.write(temp.path("good.dmp"));
    dump.set("rte_scratch_pad", 7).write(temp.path("bad.dmp"));
    DumpBuilder().set("ftc_cntl", 3).write(temp.path("third.dmp"));
    ASSERT_EQ(runProgram("/bin/sh", {"-c", "cd " + temp.path("") + " && gzip -1k good.dmp bad.dmp"}).status, 0);
    const RunResult result = runExamples(temp, "regcmp_tsr");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.out.find("0x00050a58:  0x00000000  0x00000007  rte_scratch_pad\n"), result.out.npos) << result.out;
    EXPECT_EQ(wordOf(temp, "patched.dmp", image->rte_scratch_pad, dump.dump()), 7u);
    EXPECT_EQ(wordOf(temp, "patched.dmp", image->ftc_cntl, dump.dump()), 3u);
}

#ifdef REGTAB_TSR_PROGRAM
TEST(Manual, ExamplesOfTheTablesRun) {
    const TempDir temp;
    DumpBuilder dump;
    dump.file(std::string(TSR_SOURCE_DIR) + "/samples/switch.reg").write(temp.path("switch.dmp"));
    dump.text("rte_drp_rsn_sts_frm[11][32].frm_cnt = 17\nrte_l2_exm_bkt[0][1][*] = 0\n").write(temp.path("later.dmp"));
    const RunResult result = runExamples(temp, "regtab_tsr");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
    for (const char *part :
         {"mgid 0x216", "route required (ipv4)", "100.64.1.0/127.255.255.0", "02:00:00:00:00:b2", "rte_prc_l2_lu_en",
          "rte_l2_trill_etyp", "- rte_l2_exm_bkt[0][1]  fid=16", "32 DRP_FWN_EN_ERR", "\n02:00:00:00:00:fe\n"})
        EXPECT_NE(result.out.find(part), result.out.npos) << part << " in " << result.out;
    // The stations of the first dump are in the other again.
    RegencDump other;
    std::string error;
    ASSERT_TRUE(other.load(temp.path("other.dmp"), error)) << error;
    const size_t at = offsetof(tsr_dmp_t, rte_l2_exm_bkt) + 16 + 12;
    EXPECT_EQ(other.word(static_cast<uint32_t>(at)), 0xb2u);
}
#endif
