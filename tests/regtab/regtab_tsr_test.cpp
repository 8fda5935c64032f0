// regtab_tsr: its command line, its inputs, and the verbs beside list.

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>

#include "dump_builder.h"
#include "regdump_prog.h"
#include "regtab_run.h"
#include "temp_dir.h"

namespace {

constexpr uint32_t kHdr = 32;

/// The sample switch as a file.
class RegtabTsr : public testing::Test {
protected:
    RegtabTsr() { dump_.file(std::string(TSR_SOURCE_DIR) + "/samples/switch.reg").write(temp_.path("switch.dmp")); }

    std::string sample() const { return temp_.path("switch.dmp"); }
    std::string changed(const std::string &lines) {
        dump_.text(lines).write(temp_.path("changed.dmp"));
        return temp_.path("changed.dmp");
    }
    std::string shell(const std::string &command) {
        const RunResult result =
            runProgram("/bin/bash", {"-c", "PATH=" + programs() + ":$PATH; cd " + temp_.path("") + "; " + command});
        status_ = result.status;
        err_ = result.err;
        return result.out;
    }
    static std::string programs() {
        const std::string program = REGTAB_TSR_PROGRAM;
        return program.substr(0, program.rfind('/'));
    }

    TempDir temp_;
    DumpBuilder dump_;
    int status_ = -1;
    std::string err_;
};

/// Holds that a run ends in trouble with nothing on standard output and this one line on standard error.
void expectTrouble(const std::vector<std::string> &args, const std::string &message) {
    const RunResult result = regtab(args);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "regtab_tsr: " + message + "\n");
}

/// The same, where the line begins with `message`: the names behind the nearest one may be others.
void expectNear(const std::vector<std::string> &args, const std::string &message) {
    const RunResult result = regtab(args);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.find("regtab_tsr: " + message), 0u) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1);
}

} // namespace

// ---- The command line ----------------------------------------------------------------------------------------------

TEST_F(RegtabTsr, HelpAndVersionAreAnswers) {
    for (const char *option : {"-h", "--help"}) {
        const RunResult result = regtab({option});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(result.out.find("Usage: regtab_tsr "), 0u);
    }
    const RunResult version = regtab({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out, std::string("regtab_tsr ") + REGDUMP_VERSION + "\n");
}

TEST_F(RegtabTsr, SaysWhatItCannotUnderstand) {
    expectTrouble({}, "needs a dump and a verb, see --help");
    expectTrouble({sample()}, "needs a dump and a verb, see --help");
    expectTrouble({"--bad", sample(), "drops"}, "unknown option '--bad', see --help");
    expectTrouble({"-x", sample(), "drops"}, "unknown option '-x', see --help");
    expectTrouble({"--json=3", sample(), "drops"}, "an option is not understood, see --help");
    expectTrouble({"--json", "--csv", sample(), "drops"}, "--json, --csv and --text exclude each other");
    expectTrouble({"--raw", "--loaded", sample(), "drops"}, "--loaded and --raw exclude each other");
    expectTrouble({"--text", sample(), "drops"}, "drops does not know --text");
    expectTrouble({"-a", sample(), "history"}, "history does not know --all");
    expectNear({sample(), "lsit"}, "unknown verb 'lsit'; near: list,");
    expectTrouble({sample(), "show"}, "show needs the name of a register or a row");
    expectTrouble({sample(), "list"}, "list needs the name of a table, see the verb tables");
    expectTrouble({sample(), "diff"}, "diff needs one other dump behind it");
    expectTrouble({"-", "diff", "-"}, "only one of the dumps can be standard input");
    expectTrouble({sample(), "drops", "x"}, "drops takes nothing behind it");
}

TEST_F(RegtabTsr, WrongNamesComeWithTheNearestRightOnes) {
    expectNear({sample(), "list", "rotes"}, "there is no table 'rotes'; near: routes,");
    expectNear({sample(), "list", "fdb", "mca=1"}, "there is no column mca; near: mac,");
    expectTrouble({sample(), "list", "fdb", "mac=zz"}, "'zz' is no value for mac");
    expectTrouble({sample(), "list", "fdb", "fid=99999"}, "'99999' does not fit fid, which has 13 bits");
    expectTrouble({sample(), "list", "fdb", "16"}, "'16' is no condition: write FIELD=VALUE or FIELD=VALUE/MASK");
    expectTrouble({sample(), "list", "routes", "prefix=a.b"}, "'a.b' is no address for prefix");
    expectNear({sample(), "list", "rte_l2_exm_rslt", "gidd=1"}, "rte_l2_exm_rslt has no field gidd; near: gid,");
    expectTrouble({sample(), "list", "rte_l2_mpid_hash_type", "hsh_typ[9]=1"}, "a subscript of hsh_typ is at most 7");
    expectTrouble({sample(), "list", "rte_age_info", "x=1"},
                  "the layout of rte_age_info is not known: it has no fields");
    expectTrouble({sample(), "show", "rte_scratch_pda"}, "unknown name 'rte_scratch_pda'; near: rte_scratch_pad");
    const RunResult field = regtab({sample(), "show", "ephy_reg[3].rte_prc_l2_ctl.rte_prc_l2_lu"});
    EXPECT_EQ(field.status, 2);
    EXPECT_EQ(field.err.find("regtab_tsr: ephy_reg[3].rte_prc_l2_ctl has no field 'rte_prc_l2_lu'; near: "
                             "rte_prc_l2_lu_en"),
              0u)
        << field.err;
    EXPECT_EQ(regtab({sample(), "show", "rte_l3_next_hop_rslt[5].eived"}).status, 2);
    EXPECT_EQ(regtab({sample(), "show", "tfe_tcam[360448]"}).status, 2);
    EXPECT_EQ(regtab({sample(), "show", "rte_scratch_pad", "no_such"}).out, "");
    EXPECT_EQ(regtab({sample(), "reset", "xyzzy"}).status, 2);
}

TEST_F(RegtabTsr, OptionsStandAnywhereAndEndAtTheDoubleDash) {
    const std::string wanted = regtab({"--csv", sample(), "list", "fdb", "fid=16"}).out;
    EXPECT_EQ(regtab({sample(), "list", "fdb", "--csv", "fid=16"}).out, wanted);
    EXPECT_EQ(regtab({sample(), "list", "fdb", "fid=16", "--csv"}).out, wanted);
    shell("cp switch.dmp -- -d; regtab_tsr --csv -- -d list fdb fid=16 >out");
    EXPECT_EQ(readFile(temp_.path("out")), wanted);
}

// ---- The input -----------------------------------------------------------------------------------------------------

TEST_F(RegtabTsr, TakesPipesAndGzip) {
    const std::string wanted = regtab({"--csv", sample(), "list", "vlan"}).out;
    ASSERT_NE(wanted, "");
    EXPECT_EQ(shell("cat switch.dmp | regtab_tsr --csv - list vlan"), wanted);
    EXPECT_EQ(shell("regtab_tsr --csv <(cat switch.dmp) list vlan"), wanted);
    EXPECT_EQ(shell("gzip -1 -k switch.dmp && regtab_tsr --csv switch.dmp.gz list vlan"), wanted);
    EXPECT_EQ(shell("cat switch.dmp.gz | regtab_tsr --csv - list vlan"), wanted);
    EXPECT_EQ(shell("regtab_tsr switch.dmp.gz diff - <switch.dmp"), "");
    EXPECT_EQ(status_, 0);
    // Bytes behind the image are left, and so is the dump's own end on a pipe.
    EXPECT_EQ(shell("(cat switch.dmp; echo more) | regtab_tsr --csv - list vlan"), wanted);
}

TEST_F(RegtabTsr, RefusesWhatIsNoDump) {
    expectTrouble({temp_.path("none"), "drops"}, temp_.path("none") + ": cannot open (No such file or directory)");
    expectTrouble({temp_.path(""), "drops"}, temp_.path("") + ": cannot read (Is a directory)");
    expectTrouble({temp_.file("empty", ""), "drops"},
                  temp_.path("empty") + ": too short for a dump: 0 bytes of 39752524");
    const std::string whole = readFile(sample());
    expectTrouble({temp_.file("hdr", whole.substr(0, 31)), "drops"},
                  temp_.path("hdr") + ": too short for a dump: 31 bytes of 39752524");
    expectTrouble({temp_.file("cut", whole.substr(0, 5000000)), "drops"},
                  temp_.path("cut") + ": too short for a dump: 5000000 bytes of 39752524");
    expectTrouble({temp_.file("text", std::string(100, 'x')), "drops"},
                  temp_.path("text") + ": no dump of a Tessara of revision 2 or later: vendor_id 0x78787878, chip_id "
                                       "0x78787878, chip_ver 2021161080");
    std::string old = whole;
    old[3] = 7;
    expectTrouble({temp_.file("ver", old), "drops"}, temp_.path("ver") + ": dump header ver (7) not current (1)");
}

TEST_F(RegtabTsr, RefusesDamagedGzip) {
    shell("gzip -1 -k switch.dmp");
    const std::string packed = readFile(temp_.path("switch.dmp.gz"));
    const RunResult cut = regtab({temp_.file("cut.gz", packed.substr(0, packed.size() / 2)), "drops"});
    EXPECT_EQ(cut.status, 2);
    EXPECT_NE(cut.err.find("cut.gz: the compressed data ends early, after "), cut.err.npos) << cut.err;
    std::string bad = packed;
    bad[bad.size() / 2] = static_cast<char>(~bad[bad.size() / 2]);
    EXPECT_EQ(regtab({temp_.file("bad.gz", bad), "drops"}).status, 2);
    // The check sum at the end holds too.
    std::string sum = packed;
    sum[sum.size() - 6] = static_cast<char>(~sum[sum.size() - 6]);
    expectTrouble({temp_.file("sum.gz", sum), "drops"}, temp_.path("sum.gz") + ": the compressed data is damaged");
}

TEST_F(RegtabTsr, SaysWhenOutputCannotBeWritten) {
    RunOptions full;
    full.stdout_path = "/dev/full";
    const RunResult result = regtab({sample(), "list", "ports"}, full);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "standard output: cannot write (No space left on device)\n");
}

TEST_F(RegtabTsr, NoColoursAndNoProgressOffATerminal) {
    const RunResult result = regtab({sample(), "diff", changed("rte_scratch_pad = 5\n")});
    EXPECT_EQ(result.out.find('\033'), result.out.npos);
    EXPECT_EQ(result.err, "");
    // On a terminal there are, unless NO_COLOR says otherwise.
    const std::string run = "regtab_tsr switch.dmp diff changed.dmp";
    EXPECT_NE(shell("TERM=xterm script -qec '" + run + "' /dev/null </dev/null").find("\033["), std::string::npos);
    EXPECT_EQ(shell("NO_COLOR=1 TERM=xterm script -qec '" + run + "' /dev/null </dev/null").find("\033["),
              std::string::npos);
}

// ---- show ----------------------------------------------------------------------------------------------------------

TEST_F(RegtabTsr, ShowsARegisterByField) {
    const RunResult result = regtab({sample(), "show", "ephy_reg[3].rte_prc_l2_ctl"});
    EXPECT_EQ(result.status, 0);
    const size_t offset =
        kHdr + offsetof(tsr_dmp_t, ephy_reg) + 3 * sizeof(tsr_ephy_dmp_t) + offsetof(tsr_ephy_dmp_t, rte_prc_l2_ctl);
    EXPECT_EQ(result.out.find("ephy_reg[3].rte_prc_l2_ctl = 0x00000803  (chip 0x00432000, offset " +
                              std::to_string(offset) + ")\n"),
              0u)
        << result.out;
    EXPECT_NE(result.out.find("\n    rte_prc_l2_lu_en          11     1  the frames of the port are looked up\n"),
              result.out.npos)
        << result.out;
    EXPECT_NE(result.out.find("\n    rte_prc_l2_lrn_port       5:0    3  port that sources are learnt at\n"),
              result.out.npos);
    const RunResult words = regtab({"--csv", sample(), "show", "ephy_reg[0..2].rte_prc_cfg_0.rte_prc_lgc_port"});
    const std::vector<RegtabRow> rows = csvRows(words.out);
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[2].at("value"), "2");
    EXPECT_EQ(rows[2].at("bits"), "7:2");
    EXPECT_EQ(rows[2].at("meaning"), "logical port");
}

TEST_F(RegtabTsr, ShowsRangesFormsAndElements) {
    const auto rows = [&](const std::string &name) { return jsonRows(regtab({"--json", sample(), "show", name}).out); };
    EXPECT_EQ(rows("ephy_reg[*].rte_prc_l2_ctl.rte_prc_l2_lu_en").size(), 12u);
    EXPECT_EQ(rows("rte_l2_stp_en[0..11][2].fwd_en_tag[0]").size(), 12u);
    EXPECT_EQ(rows("rte_l2_stp_en[11][2].da_lrn_en[*]").size(), 8u);
    EXPECT_EQ(rows("rte_l2_stp_en[11][2].fwd_en_tag[0]").at(0).at("value"), "0");
    EXPECT_EQ(rows("rte_l2_stp_en[10][2].fwd_en_tag[0]").at(0).at("value"), "1");
    // The bank has IPv4 prefixes; another form can be asked for.
    EXPECT_EQ(rows("tfe_tcam[0].ipv4_addr").at(0).at("value"), "100.64.1.0/127.255.255.0");
    EXPECT_EQ(rows("tfe_tcam[0].vrf_id").at(0).at("form"), "TfeIpv4");
    EXPECT_EQ(rows("tfe_tcam[0].TfeFcoe.vfid").at(0).at("form"), "TfeFcoe");
    EXPECT_EQ(rows("rte_l3_next_hop_rslt[5].eivid").at(0).at("value"), "32");
    EXPECT_EQ(rows("rte_l3_next_hop_rslt[5].eivid").at(0).at("bits"), "3 31:19");
    // A word of an entry is shown with the fields that it has a part of.
    EXPECT_EQ(rows("rte_l3_next_hop_rslt[5][3]").size(), 3u);
    EXPECT_EQ(rows("rte_l3_next_hop_rslt[5][3]").at(0).at("row"), "rte_l3_next_hop_rslt[5][3]");
    // Rows of which nothing is known are shown as words.
    EXPECT_EQ(rows("pib_cntl").at(0).at("value"), "0");
    // A longer form ends where the row ends, and a word may belong to no entry.
    EXPECT_EQ(rows("tfe_tcam[360447].TfeIpv6.vrf_id").size(), 1u);
    EXPECT_EQ(rows("tae_tcam[58367].TaeL3Ipv6.vrf_id").size(), 1u);
    EXPECT_EQ(rows("iqs_mac_da_vid_mem[0][5]").at(0).at("row"), "iqs_mac_da_vid_mem[0][5]");
    EXPECT_EQ(rows("iqs_mac_da_vid_mem[24][3].mac_da").at(0).at("value"), "02:33:33:33:00:03");
    const RunResult never = regtab({sample(), "show", "tfe_tcam[9]"});
    EXPECT_NE(never.out.find(" never  (chip"), never.out.npos) << never.out;
}

TEST_F(RegtabTsr, ShowsEveryNameOfTheMap) {
    const RunResult result = regtab({"--json", sample(), "show", "ephy_reg[0].emc_hss_reg"});
    EXPECT_EQ(result.status, 2); // there is no such name
    // One row of each kind of place.
    for (const char *name : {"emc_quad[2].emc_hss_reg.txA.w5", "emc_quad[1].emc_eps_stat_ram[3][127][1]",
                             "pol_mem[5].pol_cmtd_burst_size[4095][1]", "iqs_mac_da_vid_mem[24][3]", "iqs_span_edit[2]",
                             "eqs_pet_mem[4095]", "tae_tcam[58367]", "rte_flex_key_prfl[3].w11", "rte_l2_dbg[15].w1",
                             "tae_history.l2_key_hist[3][8]", "rte_cloud_class_tcam[3]"}) {
        const RunResult shown = regtab({sample(), "show", name});
        EXPECT_EQ(shown.status, 0) << name << ": " << shown.err;
        EXPECT_NE(shown.out, "") << name;
    }
}

// ---- reset ---------------------------------------------------------------------------------------------------------

TEST_F(RegtabTsr, TellsWhatIsNotAtReset) {
    // Every field of a dump of zeros with a reset value other than 0 differs; of port registers these are two a port.
    DumpBuilder().write(temp_.path("zero.dmp"));
    const std::vector<RegtabRow> ports = jsonRows(regtab({"--json", temp_.path("zero.dmp"), "reset", "ephy_reg"}).out);
    ASSERT_EQ(ports.size(), 2 * 12 + 1u);
    EXPECT_EQ(ports[0].at("field"), "rte_prc_stag_etyp");
    EXPECT_EQ(ports[0].at("value"), "0");
    EXPECT_EQ(ports[0].at("reset"), std::to_string(0x88a8));
    EXPECT_EQ(ports[1].at("row"), "ephy_reg[0].rte_prc_vlan_etyp");
    EXPECT_GT(std::stoul(ports[24].at("no_reset_value_known")), 1000u);

    // What is put to its reset value is gone from the answer, and what is moved away is there.
    const std::string dump = changed("ephy_reg[3].rte_prc_vlan_etyp.rte_prc_stag_etyp = 0x88a8\n"
                                     "ephy_reg[3].rte_prc_l2_ctl = 0\nrte_scratch_pad = 5\n");
    const std::vector<RegtabRow> port3 = jsonRows(regtab({"--json", dump, "reset", "ephy_reg[3]"}).out);
    for (const RegtabRow &row : port3)
        EXPECT_TRUE(row.count("row") == 0 || row.at("row") != "ephy_reg[3].rte_prc_l2_ctl");
    EXPECT_EQ(jsonRows(regtab({"--json", dump, "reset", "rte_scratch_pad"}).out).at(0).at("value"), "5");

    // Nothing is assumed of blocks whose reset values are not known.
    const RunResult pib = regtab({sample(), "reset", "pib"});
    EXPECT_EQ(pib.status, 1);
    EXPECT_EQ(pib.out.find("No reset value is known of "), 0u) << pib.out;
    EXPECT_EQ(regtab({sample(), "reset", "tae_bank_en"}).out,
              "No reset value is known of 1 words: registers of tae.\n");
}

// ---- drops ---------------------------------------------------------------------------------------------------------

TEST_F(RegtabTsr, DropsAreToldByPortAndReason) {
    tsr_dmp_t *image = dump_.image();
    image->rte_drp_rsn_sts_frm[3][32][0] = htonl(0x12); // 40 bits
    image->rte_drp_rsn_sts_frm[3][32][1] = htonl(0x3456789a);
    image->rte_drp_rsn_sts_frm[31][63][1] = htonl(1);
    image->rte_drp_tail_sts_frm[2][4][6][1] = htonl(900);
    image->rte_drp_bpq_sts_frm[5][15][1] = htonl(800);
    image->rte_drp_spanq_sts_frm[7][2][1] = htonl(700);
    image->ephy_reg[9].rte_prc_acl_log_drp_cnt[0] = htonl(1);
    image->ephy_reg[9].rte_prc_acl_log_drp_cnt[1] = htonl(2);
    image->rte_l2_sa_lrn_inf_drp_cnt = htonl(600);
    image->hsq_pkt_drop_cntr[2] = htonl(500);
    dump_.write(temp_.path("drops.dmp"));
    expectRows(
        {temp_.path("drops.dmp"), "drops"}, {"count", "kind", "port", "what", "text", "row"},
        {{{"count", std::to_string(0x123456789aull)},
          {"kind", "reason"},
          {"port", "3"},
          {"what", "32 DRP_FWN_EN_ERR"},
          {"text", "DRP_FWN_EN_ERR:"},
          {"row", "rte_drp_rsn_sts_frm[3][32]"}},
         {{"count", std::to_string((uint64_t{1} << 32) + 2)},
          {"kind", "register"},
          {"port", "9"},
          {"what", "rte_prc_acl_log_drp_cnt"},
          {"text", "copies for the ACL's log lost"},
          {"row", "ephy_reg[9].rte_prc_acl_log_drp_cnt[0]"}},
         {{"count", "900"},
          {"kind", "tail"},
          {"port", "4"},
          {"what", "priority 6 red"},
          {"text", "frames lost to a full queue"},
          {"row", "rte_drp_tail_sts_frm[2][4][6]"}},
         {{"count", "800"},
          {"kind", "cpu queue"},
          {"port", "5"},
          {"what", "queue 15"},
          {"text", "frames and copies for the CPU lost to back-pressure"},
          {"row", "rte_drp_bpq_sts_frm[5][15]"}},
         {{"count", "700"},
          {"kind", "span queue"},
          {"port", "7"},
          {"what", "queue 2"},
          {"text", "copies of received frames lost to a full span queue"},
          {"row", "rte_drp_spanq_sts_frm[7][2]"}},
         {{"count", "600"},
          {"kind", "register"},
          {"what", "rte_l2_sa_lrn_inf_drp_cnt"},
          {"text", "requests to learn a source lost"},
          {"row", "rte_l2_sa_lrn_inf_drp_cnt"}},
         {{"count", "500"}, {"kind", "register"}, {"what", "hsq_pkt_drop_cntr"}, {"row", "hsq_pkt_drop_cntr[2]"}},
         {{"count", "1"}, {"kind", "reason"}, {"port", "31"}, {"what", "63"}, {"row", "rte_drp_rsn_sts_frm[31][63]"}}});
    EXPECT_EQ(regtab({sample(), "drops"}).status, 1);
}

// ---- history -------------------------------------------------------------------------------------------------------

TEST_F(RegtabTsr, CapturesAreShownByFieldAndEntry) {
    tsr_dmp_t *image = dump_.image();
    // The key of a destination: VLAN 16, 02:00:00:00:00:b2, in the newest slot; its valid flag is bit 80.
    image->rte_his_l2_exm_tcam_key_da[3][0] = htonl(1u << 16 | 16);
    image->rte_his_l2_exm_tcam_key_da[3][1] = htonl(0x0200);
    image->rte_his_l2_exm_tcam_key_da[3][2] = htonl(0xb2);
    // A slot without the flag is empty.
    image->rte_his_l2_exm_tcam_key_da[2][2] = htonl(0xb3);
    // Result 1, found in a bucket: the flags stand above the 19 bits of the address, the valid flag is bit 24.
    image->rte_his_l2_exm_rslt_da[3] = htonl(1u << 24 | 1u << 19 | 1);
    image->rte_his_l2_fid[0] = htonl(1u << 16 | 16);
    // Bit 17 of word 1 of a cloud key says that it is one of a TRILL port; the flag is bit 88.
    image->rte_his_csc_tcam_key[1][0] = htonl(1u << 24 | 1u << 17);
    image->rte_his_csc_tcam_key[1][2] = htonl(100u << 5 | 7);
    image->tae_history.l2_bank_hit_hist[2] = htonl(5);
    dump_.write(temp_.path("his.dmp"));
    expectRows({temp_.path("his.dmp"), "history"}, {"history", "slot", "captured", "meaning", "row"},
               {{{"history", "csc_tcam_key"},
                 {"slot", "1"},
                 {"captured", "trill_form=1 icvid=100 phy_port=7"},
                 {"meaning", "keys of the customer classification"},
                 {"row", "rte_his_csc_tcam_key[1][0]"}},
                {{"history", "l2_fid"},
                 {"slot", "0"},
                 {"captured", "rte_l2_filter_id[16]"},
                 {"meaning", "filter ids"},
                 {"row", "rte_his_l2_fid[0]"}},
                {{"history", "l2_exm_tcam_key_da"},
                 {"slot", "3"},
                 {"captured", "fid=16 mac_addr=02:00:00:00:00:b2"},
                 {"meaning", "keys of destinations"},
                 {"row", "rte_his_l2_exm_tcam_key_da[3][0]"}},
                {{"history", "l2_exm_rslt_da"},
                 {"slot", "3"},
                 {"captured", "rte_l2_exm_rslt[1] hit=0x1"},
                 {"meaning", "results of destinations"},
                 {"row", "rte_his_l2_exm_rslt_da[3]"}},
                {{"history", "l2_bank_hit_hist"},
                 {"slot", "2"},
                 {"captured", "0x00000005"},
                 {"row", "tae_history.l2_bank_hit_hist[2]"}}});
    EXPECT_EQ(regtab({sample(), "history"}).status, 1);
}

// ---- diff ----------------------------------------------------------------------------------------------------------

TEST_F(RegtabTsr, DiffTellsFieldsAndRows) {
    const std::string dump = changed("ephy_reg[3].rte_prc_l2_ctl.rte_prc_l2_lu_en = 0\n"
                                     "rte_l2_exm_bkt[0][7].fid = 16\n"
                                     "rte_l2_exm_bkt[0][7].mac_addr = 02:00:00:00:00:c7\n"
                                     "rte_l2_exm_bkt[0][2][*] = 0\n"
                                     "rte_l3_next_hop_rslt[5].eivid = 33\n"
                                     "tfe_tcam[0] = never\n"
                                     "pib_cntl = 7\n"
                                     "iqs_mac_da_vid_mem[24][3].mac_da = 02:33:33:33:00:04\n"
                                     "iqs_mac_da_vid_mem[24][0] = 3\n"
                                     "rte_drp_rsn_sts_frm[3][1].frm_cnt = 0x1234567890\n"
                                     "rte_his_l2_fid[0] = 5\n");
    const RunResult result = regtab({sample(), "diff", dump});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "~ pib_cntl  0x00000000 -> 0x00000007\n"
                          "~ ephy_reg[3].rte_prc_l2_ctl.rte_prc_l2_lu_en  1 -> 0\n"
                          "~ iqs_mac_da_vid_mem[24][0]  0x00000000 -> 0x00000003\n"
                          "~ iqs_mac_da_vid_mem[24][3].mac_da  02:33:33:33:00:03 -> 02:33:33:33:00:04\n"
                          "- rte_l2_exm_bkt[0][2]  fid=32 mac_addr=02:00:00:00:00:b3\n"
                          "+ rte_l2_exm_bkt[0][7]  fid=16 mac_addr=02:00:00:00:00:c7\n"
                          "~ rte_l3_next_hop_rslt[5].eivid  32 -> 33\n"
                          "- tfe_tcam[0]  ipv4_addr=100.64.1.0/127.255.255.0\n"
                          "3 words of state differ: counters, activity, captures. See them with -a.\n");
    const RunResult all = regtab({"-a", sample(), "diff", dump});
    EXPECT_EQ(all.status, 1);
    EXPECT_NE(all.out.find("\n+ rte_drp_rsn_sts_frm[3][1]  frm_cnt=78187493520\n"), all.out.npos) << all.out;
    EXPECT_LT(all.out.find("tfe_tcam[0]"), all.out.find("rte_his_l2_fid")) << "configuration comes first";

    const std::vector<RegtabRow> rows = jsonRows(regtab({"--json", sample(), "diff", dump}).out);
    ASSERT_EQ(rows.size(), 9u);
    EXPECT_EQ(rows[1].at("change"), "changed");
    EXPECT_EQ(rows[1].at("field"), "rte_prc_l2_lu_en");
    EXPECT_EQ(rows[1].at("old"), "1");
    EXPECT_EQ(rows[1].at("new"), "0");
    EXPECT_EQ(rows[1].at("chip"), std::to_string(0x432000));
    EXPECT_EQ(rows[4].at("change"), "removed");
    EXPECT_EQ(rows[5].at("change"), "added");
    EXPECT_EQ(rows[8].at("state_words"), "3");
    EXPECT_EQ(csvRows(regtab({"--csv", sample(), "diff", dump}).out).size(), 8u);
}

TEST_F(RegtabTsr, DiffOfStateAloneOrOfNothingEndsWithNothing) {
    EXPECT_EQ(regtab({sample(), "diff", sample()}).status, 0);
    EXPECT_EQ(regtab({sample(), "diff", sample()}).out, "");
    const std::string counted = changed("rte_drp_rsn_sts_frm[3][1].frm_cnt = 1\n");
    const RunResult result = regtab({sample(), "diff", counted});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "1 words of state differ: counters, activity, captures. See them with -a.\n");
    EXPECT_EQ(regtab({"-a", sample(), "diff", counted}).status, 1);
}

TEST_F(RegtabTsr, DiffTellsBitsThatTheLoadDrops) {
    const std::string dump = changed("rte_l3_next_hop_rslt[5][0] = 5\n");
    const RunResult loaded = regtab({sample(), "diff", dump});
    EXPECT_EQ(loaded.status, 0);
    EXPECT_EQ(loaded.out, "1 entries differ only in bits that the load drops, or match no key in either dump.\n");
    const RunResult raw = regtab({"--raw", sample(), "diff", dump});
    EXPECT_EQ(raw.status, 1);
    EXPECT_EQ(raw.out, "~ rte_l3_next_hop_rslt[5][0]  0x00000000 -> 0x00000005\n");
}

// Of two dumps whose words are all by chance, no word that differs is lost: the words under the changed fields and
// rows, and those that are counted, are all words that differ.
TEST_F(RegtabTsr, DiffOfRandomDumpsEnds) {
    DumpBuilder().randomise(1).write(temp_.path("a"));
    DumpBuilder().randomise(2).write(temp_.path("b"));
    size_t size = 0;
    RunOptions options;
    options.on_output = [&](const char *, size_t count) { size += count; };
    const RunResult result = regtab({"-a", "--raw", temp_.path("a"), "diff", temp_.path("b")}, options);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "");
    EXPECT_GT(size, size_t{100} << 20);
}

// ---- names and tables ----------------------------------------------------------------------------------------------

TEST_F(RegtabTsr, NamesLeadFromOneToTheOther) {
    const auto names = [&](const std::string &word) { return jsonRows(regtab({"names", word, "--json"}).out); };
    const std::vector<RegtabRow> field = names("rte_prc_l2_lu_en");
    ASSERT_EQ(field.size(), 1u);
    EXPECT_EQ(field[0].at("row"), "ephy_reg[0..11].rte_prc_l2_ctl");
    EXPECT_EQ(field[0].at("model"), "RTE_PRC_L2_CTL");
    EXPECT_EQ(field[0].at("bits"), "11");
    // By chip address and by the byte of the file, also one within the word.
    EXPECT_EQ(names("0x432000").at(0).at("row"), "ephy_reg[3].rte_prc_l2_ctl");
    const size_t offset = kHdr + offsetof(tsr_dmp_t, rte_scratch_pad) + 3;
    EXPECT_EQ(names(std::to_string(offset)).at(0).at("row"), "rte_scratch_pad");
    EXPECT_EQ(names("RTE_L3_NXT_HOP_RSLT_EDRAM").at(0).at("row"), "rte_l3_next_hop_rslt");
    EXPECT_EQ(names("eivid").empty(), false);
    EXPECT_GT(names("rte_").size(), 1000u);
    const RunResult none = regtab({"names", "rte_scratch_pda"});
    EXPECT_EQ(none.status, 1);
    EXPECT_NE(none.err.find("near: rte_scratch_pad"), none.err.npos) << none.err;
}

TEST_F(RegtabTsr, TablesAreCounted) {
    const std::vector<RegtabRow> rows = jsonRows(regtab({"--json", sample(), "tables"}).out);
    const auto inUse = [&](const std::string &table) {
        const auto row =
            std::find_if(rows.begin(), rows.end(), [&](const RegtabRow &r) { return r.at("table") == table; });
        return row == rows.end() ? std::string("none") : row->at("in_use");
    };
    EXPECT_EQ(inUse("vlan"), "2");
    EXPECT_EQ(inUse("fdb"), "5");
    EXPECT_EQ(inUse("routes"), "1");
    EXPECT_EQ(inUse("rte_l2_exm_bkt"), "5");
    EXPECT_EQ(inUse("tfe_tcam"), "1");
    EXPECT_EQ(inUse("tae_tcam"), "1");
    // Every table that is named can be listed.
    for (size_t i = 0; i < rows.size(); i += kEveryTable) {
        const RegtabRow &row = rows[i];
        const RunResult listed = regtab({"--csv", sample(), "list", row.at("table")});
        EXPECT_EQ(listed.status, row.at("in_use") == "0" ? 1 : 0) << row.at("table") << listed.err;
    }
}

TEST_F(RegtabTsr, AnyMemoryIsListedByField) {
    expectRows({sample(), "list", "rte_l3_next_hop_rslt"}, {}, {{}});
    const std::vector<RegtabRow> rows =
        jsonRows(regtab({"--json", sample(), "list", "rte_l2_exm_rslt", "trap_en=1"}).out);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].at("row"), "rte_l2_exm_rslt[4]");
    EXPECT_EQ(rows[0].at("gid"), std::to_string(0x47f0));
    EXPECT_EQ(jsonRows(regtab({"--json", sample(), "list", "rte_l2_stp_en", "fwd_en_tag[0]=1"}).out).size(), 2 * 11u);
    const RunResult text = regtab({sample(), "list", "rte_l2_exm_rslt", "gid=0x12"});
    EXPECT_NE(text.out.find("lrn_port=2 gid=0x12\n"), text.out.npos) << text.out;
    const std::vector<RegtabRow> csv = csvRows(regtab({"--csv", sample(), "list", "tfe_tcam"}).out);
    ASSERT_EQ(csv.size(), 1u);
    EXPECT_EQ(csv[0].at("form"), "TfeIpv4");
    EXPECT_EQ(csv[0].at("ipv4_addr"), "100.64.1.0/127.255.255.0");
    EXPECT_EQ(csv[0].at("vrf_id"), "*");
}
