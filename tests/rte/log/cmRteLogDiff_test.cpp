// Two results of one frame side by side: what may differ, and the table.

#include "log/cmRteLog.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

/// The table's headings with the fields under them, in the order of the record.
const std::vector<std::pair<std::string, std::vector<std::string>>> kTable = {
    {"SHIM0",
     {"ing_vid_12_to_9", "pim_decap", "latency_check", "dont_touch", "rcv_snap_llc", "lossless_timeout", "routed",
      "timed_out", "bypass_eacl", "shim_length", "copy_to_cpu", "fseq_num_14_to_0"}},
    {"SHIM1",
     {"fseq_num_16_to_15", "flow_copy", "mirror_copy", "rcv_cn_tagged", "egid", "ecn_o_mcast_type", "ing_zirkid",
      "tag_checksum", "version"}},
    {"SHIM2",
     {"is_mgid", "rcv_s_tagged", "trill_mc", "mct_sbridge_vld", "ing_port", "q_priority", "drop_prcd",
      "mgid_o_copy_id_o_qcn_control"}},
    {"SHIM3", {"ing_vid_8_to_0", "dscp", "egr_iwqos", "egr_cfi", "egr_internal_vid"}},
    {"SHIM4", {"trill_dbridge_id", "trill_termination", "ipv4_df", "ip_length"}},
    {"SHIM5",
     {"rcv_trill_option", "rcv_trill", "rcv_outer_tagged", "rcv_inner_tagged", "vpn_id", "shim_crc_o_time_stamp"}},
    {"SHIM6", {"reserved", "time_stamp", "shim_crc"}},
    {"HSI SHIM0", {"rsvd", "rslt_typ", "rsvd1", "l2_egr_da_vid_idx", "trap_que", "trap_rsn"}},
    {"HSI SHIM1",
     {"rsvd", "fcoe_sa_idx", "acl_log", "rcv_prio", "sflw", "i_span", "i_span_que", "r_span", "r_span_que"}},
    {"Extra",
     {"dropRsnRslt", "macStsRslt", "l2PselAclStsRslt", "l2PselMctidStsRslt", "l2PselMpidStsRslt", "l2PselLgidStsRslt",
      "l3PselAclStsRslt", "l3PselMpidStsRslt", "saLrnRslt"}},
};

const std::set<std::string> kTakenOfEarlyTrap = {
    "dscp",      "vpn_id",  "egr_internal_vid", "ing_vid_8_to_0",    "ing_vid_12_to_9",
    "egr_iwqos", "egr_cfi", "drop_prcd",        "trill_termination", "q_priority"};
const std::set<std::string> kTakenOfTrap = {
    "egid", "is_mgid", "ip_length", "trill_mc", "egr_internal_vid", "l2_egr_da_vid_idx", "fcoe_sa_idx"};
const std::set<std::string> kTakenWithMgid = {"ecn_o_mcast_type", "mgid_o_copy_id_o_qcn_control"};

std::vector<std::string> allFields() {
    std::vector<std::string> names;
    for (const auto &[title, fields] : kTable)
        names.insert(names.end(), fields.begin(), fields.end());
    return names;
}

/// All fields but those of the sets.
std::vector<std::string> allBut(const std::vector<std::set<std::string>> &sets) {
    std::vector<std::string> names;
    for (const std::string &name : allFields()) {
        if (std::none_of(sets.begin(), sets.end(), [&](const auto &set) { return set.count(name); }))
            names.push_back(name);
    }
    return names;
}

/// Two records that differ in every word, both of a result type that no rule knows, and with both spans on.
class LogDiffTest : public testing::Test {
protected:
    LogDiffTest() {
        fill(cm, 1000);
        fill(rtl, 2000);
        rsltTyp(2, 2);
    }

    static void fill(CmRteRslt &rslt, uint32_t first) {
        uint32_t words[71];
        for (uint32_t &word : words)
            word = first++;
        std::memcpy(&rslt, words, sizeof rslt);
    }

    void rsltTyp(uint32_t ofCm, uint32_t ofRtl) {
        cm.hsiShim0Rslt.rslt_typ = ofCm;
        rtl.hsiShim0Rslt.rslt_typ = ofRtl;
    }
    void trapRsn(uint32_t ofCm, uint32_t ofRtl) {
        cm.hsiShim0Rslt.trap_rsn = ofCm;
        rtl.hsiShim0Rslt.trap_rsn = ofRtl;
    }

    /// Runs the comparison; returns the names of the fields that the table marks.
    std::vector<std::string> marked() {
        testing::internal::CaptureStdout();
        CmRteLogDiffRslt(&cm, &rtl);
        std::fflush(stdout);
        text = testing::internal::GetCapturedStdout();
        std::vector<std::string> names;
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            if (line.find("<==") == std::string::npos)
                continue;
            std::istringstream fields(line);
            std::string prefix, name;
            fields >> prefix >> name;
            EXPECT_EQ(prefix, "ERR_RTE_RSLT:");
            names.push_back(name);
        }
        return names;
    }

    /// Whether the table marks the field.
    bool marks(const std::string &name) {
        const std::vector<std::string> names = marked();
        return std::find(names.begin(), names.end(), name) != names.end();
    }

    CmRteRslt cm{}, rtl{};
    std::string text;
};

TEST_F(LogDiffTest, EveryFieldOfAnUnknownTypeCounts) {
    EXPECT_EQ(marked(), allBut({{"rslt_typ", "dropRsnRslt"}}));
}

TEST_F(LogDiffTest, TableOfAMatch) {
    rtl = cm;
    std::string expected = "Found match in cmRslt / dutRslt\n";
    uint32_t value = 1000;
    for (const auto &[title, fields] : kTable) {
        expected += "==================== " + title + " ====================\n";
        for (const std::string &name : fields) {
            uint32_t shown = value++;
            if (name == "rslt_typ")
                shown = 2;
            if (name == "dropRsnRslt")
                shown = 0;
            char line[100];
            std::snprintf(line, sizeof line, "%s%s = 0x%08x / 0x%08x \n", name.c_str(),
                          std::string(30 - name.size(), ' ').c_str(), shown, shown);
            expected += line;
        }
    }
    EXPECT_EQ(marked(), std::vector<std::string>{});
    EXPECT_EQ(text, expected);
}

TEST_F(LogDiffTest, TableOfAMismatchHasAPrefixAndMarks) {
    rtl = cm;
    rtl.shim0Rslt.pim_decap = 0xabcd;
    EXPECT_EQ(marked(), std::vector<std::string>{"pim_decap"});
    EXPECT_EQ(text.find("Found mismatch in cmRslt / dutRslt\n"
                        "==================== SHIM0 ====================\n"
                        "ERR_RTE_RSLT: ing_vid_12_to_9                = 0x000003e8 / 0x000003e8 \n"
                        "ERR_RTE_RSLT: pim_decap                      = 0x000003e9 / 0x0000abcd <==\n"
                        "ERR_RTE_RSLT: latency_check                  = 0x000003ea / 0x000003ea \n"),
              0u);
    EXPECT_NE(text.find("==================== Extra ====================\n"
                        "ERR_RTE_RSLT: dropRsnRslt                    = 0x00000000 / 0x00000000 \n"),
              std::string::npos);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1 + 10 + 71);
}

TEST_F(LogDiffTest, EarlyTrapOfTheChipExcusesClassification) {
    for (uint32_t rsn : {0u, 24u, 25u}) {
        fill(cm, 1000);
        fill(rtl, 2000);
        rsltTyp(1, 1);
        trapRsn(24, rsn);
        const CmRteRslt before = rtl;
        std::set<std::string> same = {"rslt_typ", "dropRsnRslt"};
        if (rsn == 24)
            same.insert("trap_rsn");
        EXPECT_EQ(marked(), allBut({kTakenOfEarlyTrap, kTakenOfTrap, kTakenWithMgid, same})) << rsn;
        EXPECT_EQ(std::memcmp(&before, &rtl, sizeof rtl), 0) << "the second record is copied: " << rsn;
    }
}

TEST_F(LogDiffTest, EarlyTrapWithEqualMulticastFlagStillCountsTheMulticastType) {
    rsltTyp(1, 1);
    trapRsn(24, 0);
    cm.shim0Rslt.routed = rtl.shim0Rslt.routed;
    cm.shim2Rslt.is_mgid = rtl.shim2Rslt.is_mgid;
    EXPECT_EQ(marked(), allBut({kTakenOfEarlyTrap, kTakenOfTrap, {"routed", "rslt_typ", "dropRsnRslt"}}));
}

TEST_F(LogDiffTest, OtherTrapReasonsOfTheChipExcuseNoClassification) {
    for (uint32_t rsn : {1u, 2u, 3u, 4u, 23u, 26u, 31u}) {
        fill(cm, 1000);
        fill(rtl, 2000);
        rsltTyp(1, 1);
        trapRsn(24, rsn);
        EXPECT_EQ(marked(), allBut({kTakenOfTrap, kTakenWithMgid, {"rslt_typ", "dropRsnRslt"}})) << rsn;
    }
}

TEST_F(LogDiffTest, EarlyTrapNeedsTwoTraps) {
    for (auto [ofCm, ofRtl] : {std::pair{1u, 2u}, {2u, 1u}, {2u, 2u}}) {
        rsltTyp(ofCm, ofRtl);
        trapRsn(24, 0);
        EXPECT_TRUE(marks("vpn_id")) << ofCm << ofRtl;
    }
}

TEST_F(LogDiffTest, TrapReasonsThatExcuseTheEgressFields) {
    const std::set<uint32_t> excused = {4, 5, 7, 8, 9, 10, 11, 12, 15, 16, 19, 22, 23};
    for (uint32_t rsn = 0; rsn < 33; rsn++) {
        fill(cm, 1000);
        fill(rtl, 2000);
        rsltTyp(1, 1);
        trapRsn(rsn, 33);
        rtl.shim0Rslt.routed = cm.shim0Rslt.routed;
        rtl.shim2Rslt.is_mgid = cm.shim2Rslt.is_mgid;
        const CmRteRslt cmBefore = cm, rtlBefore = rtl;
        std::set<std::string> equal = {"rslt_typ", "dropRsnRslt", "routed"};
        if (excused.count(rsn))
            equal.insert({"dscp", "ecn_o_mcast_type"});
        EXPECT_EQ(marked(), allBut({kTakenOfTrap, equal})) << rsn;

        // The values come from the first record here, from the second one in the rule for all traps.
        const CmRteRslt &from = excused.count(rsn) ? cmBefore : rtlBefore;
        EXPECT_EQ(cm.shim3Rslt.egr_internal_vid, from.shim3Rslt.egr_internal_vid);
        EXPECT_EQ(rtl.shim3Rslt.egr_internal_vid, from.shim3Rslt.egr_internal_vid);
        EXPECT_EQ(cm.shim4Rslt.ip_length, from.shim4Rslt.ip_length);
        EXPECT_EQ(cm.shim2Rslt.trill_mc, from.shim2Rslt.trill_mc);
        EXPECT_EQ(cm.hsiShim0Rslt.l2_egr_da_vid_idx, from.hsiShim0Rslt.l2_egr_da_vid_idx);
        EXPECT_EQ(cm.hsiShim1Rslt.fcoe_sa_idx, from.hsiShim1Rslt.fcoe_sa_idx);
        EXPECT_EQ(cm.shim1Rslt.egid, rtlBefore.shim1Rslt.egid);
        EXPECT_EQ(rtl.shim1Rslt.egid, rtlBefore.shim1Rslt.egid);
    }
}

TEST_F(LogDiffTest, TrapReasonsExcuseNothingWhenOneIsRouted) {
    rsltTyp(1, 1);
    trapRsn(4, 33);
    rtl.shim2Rslt.is_mgid = cm.shim2Rslt.is_mgid;
    EXPECT_EQ(marked(), allBut({kTakenOfTrap, {"rslt_typ", "dropRsnRslt"}}));
}

TEST_F(LogDiffTest, TrapReasonsExcuseNothingWhenOneIsNoTrap) {
    for (auto [ofCm, ofRtl] : {std::pair{1u, 2u}, {2u, 1u}}) {
        rsltTyp(ofCm, ofRtl);
        trapRsn(4, 33);
        rtl.shim0Rslt.routed = cm.shim0Rslt.routed;
        EXPECT_TRUE(marks("ecn_o_mcast_type"));
        EXPECT_TRUE(marks("ip_length"));
    }
}

TEST_F(LogDiffTest, BothTrapRulesTogetherWorkOnTheCopy) {
    rsltTyp(1, 1);
    trapRsn(4, 0);
    rtl.shim0Rslt.routed = cm.shim0Rslt.routed;
    rtl.shim2Rslt.is_mgid = cm.shim2Rslt.is_mgid;
    const CmRteRslt before = rtl;
    EXPECT_EQ(marked(),
              allBut({kTakenOfEarlyTrap, kTakenOfTrap, {"ecn_o_mcast_type", "routed", "rslt_typ", "dropRsnRslt"}}));
    EXPECT_EQ(std::memcmp(&before, &rtl, sizeof rtl), 0);
}

TEST_F(LogDiffTest, MulticastFlagThatDiffersExcusesWhatItSelects) {
    rsltTyp(1, 1);
    trapRsn(1, 2);
    EXPECT_FALSE(marks("mgid_o_copy_id_o_qcn_control"));
    fill(cm, 1000);
    fill(rtl, 2000);
    rsltTyp(1, 1);
    trapRsn(1, 2);
    rtl.shim2Rslt.is_mgid = cm.shim2Rslt.is_mgid;
    EXPECT_TRUE(marks("mgid_o_copy_id_o_qcn_control"));
}

TEST_F(LogDiffTest, DropReasonCountsOnlyInADrop) {
    rsltTyp(0, 2);
    cm.dropRsnRslt = 5;
    rtl.dropRsnRslt = 5;
    EXPECT_TRUE(marks("dropRsnRslt"));
    EXPECT_EQ(cm.dropRsnRslt, 5u);
    EXPECT_EQ(rtl.dropRsnRslt, 0u);

    rsltTyp(2, 0);
    cm.dropRsnRslt = 5;
    rtl.dropRsnRslt = 5;
    EXPECT_TRUE(marks("dropRsnRslt"));
    EXPECT_EQ(cm.dropRsnRslt, 0u);
    EXPECT_EQ(rtl.dropRsnRslt, 5u);

    rsltTyp(1, 3);
    cm.dropRsnRslt = 5;
    rtl.dropRsnRslt = 6;
    EXPECT_FALSE(marks("dropRsnRslt"));
}

TEST_F(LogDiffTest, TwoDropsCompareOnlyInWhatADropLeaves) {
    rsltTyp(0, 0);
    const std::vector<std::string> counting = {"routed",
                                               "fseq_num_14_to_0",
                                               "q_priority",
                                               "i_span",
                                               "i_span_que",
                                               "r_span",
                                               "r_span_que",
                                               "dropRsnRslt",
                                               "macStsRslt",
                                               "l2PselAclStsRslt",
                                               "l2PselMctidStsRslt",
                                               "l2PselMpidStsRslt",
                                               "l2PselLgidStsRslt",
                                               "l3PselAclStsRslt",
                                               "l3PselMpidStsRslt",
                                               "saLrnRslt"};
    EXPECT_EQ(marked(), counting);
    EXPECT_EQ(cm.shim1Rslt.egid, rtl.shim1Rslt.egid);
    EXPECT_EQ(rtl.shim1Rslt.egid, 2016u);
    EXPECT_EQ(cm.dropRsnRslt, 1062u);
}

TEST_F(LogDiffTest, DropAgainstForwardComparesInFull) {
    rsltTyp(0, 2);
    EXPECT_EQ(marked(), allFields());
}

TEST_F(LogDiffTest, SpanQueueCountsOnlyWithItsSpan) {
    struct Case {
        uint32_t ofCm, ofRtl;
        bool counts;
    };
    for (const Case &c : {Case{0, 0, false}, {1, 0, true}, {0, 1, true}, {1, 1, true}}) {
        fill(cm, 1000);
        fill(rtl, 2000);
        cm.hsiShim1Rslt.r_span = c.ofCm;
        rtl.hsiShim1Rslt.r_span = c.ofRtl;
        EXPECT_EQ(marks("r_span_que"), c.counts);
        EXPECT_TRUE(marks("i_span_que"));

        fill(cm, 1000);
        fill(rtl, 2000);
        cm.hsiShim1Rslt.i_span = c.ofCm;
        rtl.hsiShim1Rslt.i_span = c.ofRtl;
        EXPECT_EQ(marks("i_span_que"), c.counts);
        EXPECT_TRUE(marks("r_span_que"));
    }
}

} // namespace
