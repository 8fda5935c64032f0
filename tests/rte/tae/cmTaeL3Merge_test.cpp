// The merge of what the banks of the layer-3 ACL say.

#include "tae_l3_fixture.h"

using TaeL3Merge = TaeL3;

// Merge.

/// The rows of the merge: an enable and the fields that go with it.
struct MergeRow {
    const char *enable;
    std::vector<const char *> fields;
};
static const MergeRow kMergeRows[] = {
    {"dscp_en", {"dscp", "drop_prcd", "l3_dscp_override"}},
    {"pol_en", {"pol_id", "l3_pol_override"}},
    {"acl_log", {"l3_acl_log_override"}},
    {"trap_en", {"trap_que", "l3_trap_en_override"}},
    {"span_en", {"span_id", "l3_span_override"}},
    {"fwd_en", {"l3_fwd_override", "nxt_hop_rslt_idx"}},
    {"prio_en", {"l3_prio_override", "prio_pth", "qmg_prio", "l2_egr_prio"}},
    {"sts_sflow_en", {"sts_sflow_idx", "sflow_en", "sflow_profile"}},
};

/// All fields of a row set to ones, in a bank that is told by the index field where it has one.
static Fields ones(const MergeRow &row) {
    Fields fields = {{row.enable, 1}};
    for (const char *field : row.fields)
        fields.push_back({field, 0xffffffff});
    return fields;
}

TEST_F(TaeL3Merge, FirstBankThatSetsAnEnableGivesItsFields) {
    for (const MergeRow &row : kMergeRows) {
        hitBank(3, ones(row));
        hitBank(5, {{row.enable, 1}});
        expectRslt(ones(row));
        // And the other way round: the first bank's zeroes stand.
        hitBank(3, {{row.enable, 1}});
        hitBank(5, ones(row));
        expectRslt({{row.enable, 1}});
        // Without the enable the fields are not looked at.
        Fields fields = ones(row);
        fields[0].second = 0;
        hitBank(3, fields);
        hitBank(5, {{row.enable, 1}});
        expectRslt({{row.enable, 1}});
        hitBank(5, {});
        expectRslt({});
    }
}

TEST_F(TaeL3Merge, RowsDoNotMix) {
    uint32_t bank = 20;
    Fields all;
    for (const MergeRow &row : kMergeRows) {
        hitBank(bank++, ones(row));
        for (const auto &field : ones(row))
            all.push_back(field);
    }
    expectRslt(all);
}

TEST_F(TaeL3Merge, TrapReasonIsOfTheBankThatTraps) {
    for (uint32_t bank = 0; bank < 30; bank++) {
        hitBank(bank, {{"trap_en", 1}, {"trap_que", bank & 15}});
        lookup();
        EXPECT_EQ(intf.trap_rsn, bank + 1) << bank;
        EXPECT_EQ(got("trap_que"), bank & 15);
        setReg("TAE_BANK_EN_REG", 0);
    }
    lookup();
    EXPECT_EQ(intf.trap_rsn, 0u); // an old reason does not stay
}

TEST_F(TaeL3Merge, BypassIsOredOverAllBanks) {
    hitBank(3, {});
    hitBank(8, {{"bypass_eacl", 1}});
    hitBank(9, {});
    expectRslt({{"bypass_eacl", 1}});
}

TEST_F(TaeL3Merge, DefaultsWithoutAnyHit) {
    for (const MergeRow &row : kMergeRows) {
        Fields fields = ones(row);
        defaultWord(fields);
        if (std::string(row.enable) == "fwd_en")
            fields[0].second = 0; // a default does not forward by itself
        expectRslt(fields);
        EXPECT_EQ(intf.trap_rsn, 0u);
        // Fields come with their row also when the default's enable is clear, but the trap queue.
        fields = ones(row);
        fields[0].second = 0;
        defaultWord(fields);
        if (std::string(row.enable) == "trap_en")
            fields[1].second = 0;
        expectRslt(fields);
    }
    defaultWord({{"bypass_eacl", 1}});
    expectRslt({{"bypass_eacl", 1}});
}

TEST_F(TaeL3Merge, DefaultsGiveOnlyTheRowsThatNoBankSet) {
    Fields all;
    for (const MergeRow &row : kMergeRows) {
        for (const auto &field : ones(row))
            all.push_back(field);
    }
    all.push_back({"bypass_eacl", 1});
    defaultWord(all);
    for (const MergeRow &row : kMergeRows) {
        hitBank(6, {{row.enable, 1}});
        Fields expected;
        for (const MergeRow &other : kMergeRows) {
            Fields fields = ones(other);
            if (std::string(other.enable) == "fwd_en")
                fields[0].second = 0;
            if (&other == &row)
                fields = {{row.enable, 1}};
            expected.insert(expected.end(), fields.begin(), fields.end());
        }
        expectRslt(expected); // a hit keeps the default's bypass out
    }
}

TEST_F(TaeL3Merge, DefaultWordsStandInTheirOrder) {
    setReg("TAE_L3_SRCH_DEF_RSLT_0_REG", 0xffffffff); // holds nothing that is merged
    expectRslt({});
    setReg("TAE_L3_SRCH_DEF_RSLT_1_REG", 0xffffffff & ~(1u << 13) & ~(15u << 24));
    setReg("TAE_L3_SRCH_DEF_RSLT_2_REG", 0x00000004);
    setReg("TAE_L3_SRCH_DEF_RSLT_3_REG", 0x00000001);
    lookup();
    EXPECT_EQ(got("dscp"), 0x3fu);
    EXPECT_EQ(got("pol_id"), 1u);
    EXPECT_EQ(got("l2_egr_prio"), 1u);
    EXPECT_EQ(got("qmg_prio"), 7u);
    EXPECT_EQ(got("trap_que"), 0u);
}

TEST_F(TaeL3Merge, AclDropOverridesTheForwardAndTheTrap) {
    hitBank(3, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", 0x99}, {"trap_en", 1}, {"trap_que", 9}});
    hitBank(5, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", kAclDropPtr}, {"l3_fwd_override", 1}});
    expectRslt({{"fwd_en", 1}, {"nxt_hop_rslt_idx", kAclDropPtr}});
    EXPECT_EQ(intf.trap_rsn, 0u);
    hitBank(5, {{"fwd_en", 0}, {"nxt_hop_rslt_idx", kAclDropPtr}});
    expectRslt({{"fwd_en", 1}, {"nxt_hop_rslt_idx", 0x99}, {"trap_en", 1}, {"trap_que", 9}});
    EXPECT_EQ(intf.trap_rsn, 4u);
}

TEST_F(TaeL3Merge, DropOverridesTheForwardAndKeepsTheTrap) {
    hitBank(3, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", 0x99}, {"trap_en", 1}, {"trap_que", 9}});
    hitBank(5, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", kDropPtr}});
    expectRslt({{"fwd_en", 1}, {"nxt_hop_rslt_idx", kDropPtr}, {"trap_en", 1}, {"trap_que", 9}});
    EXPECT_EQ(intf.trap_rsn, 4u);
    EXPECT_EQ(intf.ipMcastDropOverTurn, 0u);
}

TEST_F(TaeL3Merge, DropBeforeAclDropYields) {
    hitBank(3, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", kDropPtr}});
    hitBank(5, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", kAclDropPtr}});
    expectRslt({{"fwd_en", 1}, {"nxt_hop_rslt_idx", kAclDropPtr}});
}

TEST_F(TaeL3Merge, DropAfterAclDropChangesNothing) {
    hitBank(3, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", kAclDropPtr}});
    hitBank(5, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", kDropPtr}});
    expectRslt({{"fwd_en", 1}, {"nxt_hop_rslt_idx", kAclDropPtr}});
    // Nor does it overturn a multicast drop.
    intf.ipMcastSpcl = 1;
    lookup();
    EXPECT_EQ(intf.ipMcastDropOverTurn, 0u);
}

TEST_F(TaeL3Merge, OnePointerForBothIsTheAclDrop) {
    intf.drop_ptr = kAclDropPtr;
    intf.ipMcastSpcl = 1;
    hitBank(3, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", kAclDropPtr}, {"trap_en", 1}});
    expectRslt({{"fwd_en", 1}, {"nxt_hop_rslt_idx", kAclDropPtr}});
    EXPECT_EQ(intf.ipMcastDropOverTurn, 0u);
}

TEST_F(TaeL3Merge, MulticastDropIsOverturnedUnlessTheBankOverrides) {
    hitBank(3, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", 0x99}});
    hitBank(5, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", kDropPtr}});
    intf.ipMcastSpcl = 1;
    expectRslt({{"fwd_en", 1}, {"nxt_hop_rslt_idx", 0x99}});
    EXPECT_EQ(intf.ipMcastDropOverTurn, 1u);
    intf.ipMcastSpcl = 0;
    expectRslt({{"fwd_en", 1}, {"nxt_hop_rslt_idx", kDropPtr}});
    EXPECT_EQ(intf.ipMcastDropOverTurn, 0u);
    intf.ipMcastSpcl = 1;
    hitBank(5, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", kDropPtr}, {"l3_fwd_override", 1}});
    expectRslt({{"fwd_en", 1}, {"nxt_hop_rslt_idx", kDropPtr}});
    EXPECT_EQ(intf.ipMcastDropOverTurn, 0u);
}

TEST_F(TaeL3Merge, PlainDropOfAnotherBankTakesTheOverturnBack) {
    intf.ipMcastSpcl = 1;
    for (const uint32_t plain : {3u, 5u}) {
        hitBank(plain, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", kDropPtr}, {"l3_fwd_override", 1}});
        hitBank(8 - plain, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", kDropPtr}});
        lookup();
        EXPECT_EQ(intf.ipMcastDropOverTurn, 0u);
        EXPECT_EQ(got("nxt_hop_rslt_idx"), kDropPtr);
        EXPECT_EQ(got("l3_fwd_override"), plain == 3);
    }
}

TEST_F(TaeL3Merge, OverturnIsKeptBesideALaterAclDrop) {
    intf.ipMcastSpcl = 1;
    hitBank(3, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", kDropPtr}});
    hitBank(5, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", kAclDropPtr}});
    expectRslt({{"fwd_en", 1}, {"nxt_hop_rslt_idx", kAclDropPtr}});
    EXPECT_EQ(intf.ipMcastDropOverTurn, 1u);
}

TEST_F(TaeL3Merge, DefaultPointerIsNotCompared) {
    defaultWord({{"nxt_hop_rslt_idx", kAclDropPtr}, {"trap_en", 1}, {"trap_que", 5}});
    expectRslt({{"nxt_hop_rslt_idx", kAclDropPtr}, {"trap_en", 1}, {"trap_que", 5}});
}

TEST_F(TaeL3Merge, MergedResultIsPrintedFieldByField) {
    uint32_t value = 1;
    Fields fields;
    for (const RsltField &f : kRsltFields) {
        const bool flag = f.hi == f.lo;
        fields.push_back({f.name, flag ? 1u : value++ & (f.hi - f.lo == 1 ? 3u : 7u)});
    }
    hitBank(0, fields);
    hitBank(7, {});
    tae.dbgLvl = 2;
    const std::string text = printed([&] { lookup(); });
    std::string expected =
        std::string(kNoIpv4Exm) + "CM port=3, frameIdx=7>> [mergeL3AclResults] 2 bank hit(s), merged result is:\n";
    for (const auto &[name, val] : fields)
        expected += "    " + (name + std::string(20, ' ')).substr(0, 20) + "=        " + std::to_string(val) + "\n";
    EXPECT_EQ(text, expected);
    tae.dbgLvl = 1;
    EXPECT_EQ(printed([&] { lookup(); }), "");
}

TEST_F(TaeL3Merge, MergedFieldsPrintInTwentyColumnsAndEightHexPlaces) {
    hitBank(0, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", 0x3abcd}});
    tae.dbgLvl = 2;
    const std::string text = printed([&] { lookup(); });
    EXPECT_NE(text.find("    nxt_hop_rslt_idx    =    3abcd\n"), std::string::npos);
    EXPECT_NE(text.find("    l3_trap_en_override =        0\n"), std::string::npos);
}
