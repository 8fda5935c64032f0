// The layer-2 search of the ACL engine: banks, groups, keys, the merge, and what a hit leaves behind.

#include "base/cmUtl.h"
#include "tae/cmTae.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using Fields = std::vector<std::pair<const char *, uint32_t>>;

// A group word in EGID form.
constexpr uint32_t gidOf(uint32_t egid) {
    return 0x4000 | egid;
}

constexpr uint32_t kDropEgid = 0x111;
constexpr uint32_t kAclDropEgid = 0x222;
constexpr uint32_t kTrapEgid = 0x333;

class TaeL2 : public testing::Test {
protected:
    TaeL2() : tae(0, initTaeRegDefs, initTaeRamDefs, initTaeTcamDefs) {
        EXPECT_EQ(tae.configure(), 0);
        for (const auto &[name, tcam] : tae.TcamCollection)
            tcam->fill(1, 64 * tcam->memSize());
        intf.aclL2Srch = 1;
        intf.isDaLkup = 1;
        intf.igPort = 3;
        intf.frmIdx = 7;
        intf.dropEgid = kDropEgid;
        intf.aclDropEgid = kAclDropEgid;
        intf.trapEgid = kTrapEgid;
        for (uint32_t w = 0; w < 8; w++) {
            intf.l2AclKey[w] = 0x1000 + w;
            intf.l2FcoeAclKey[w] = 0x2000 + w;
            for (uint32_t r = 0; r < 4; r++)
                intf.l2FlexKey[r][w] = 0x3000 + 0x100 * r + w;
        }
        // The trap reason of bank n is n + 1.
        for (uint32_t bank = 0; bank < TAE_BANKS; bank++)
            setBitsOf("TAE_BANK_TRAP_RSN_" + std::to_string(bank / 5) + "_REG", 24 - 6 * (bank % 5), 6, bank + 1);
    }

    ~TaeL2() override {
        for (const auto &[name, reg] : tae.RegCollection) {
            delete reg->pMemRegDef;
            delete reg;
        }
        for (const auto &[name, ram] : tae.RamCollection) {
            delete ram->pMemRegDef;
            delete ram;
        }
        for (const auto &[name, tcam] : tae.TcamCollection)
            delete tcam;
    }

    void setReg(const std::string &name, uint32_t value) { tae.BLK_REG_SET(name.c_str(), value, false, true); }

    void setBitsOf(const std::string &name, uint32_t low, uint32_t width, uint32_t value) {
        setReg(name, setBits(tae.BLK_REG_GET(name.c_str()), low + width - 1, low, value));
    }

    /// Turns a bank on, with its protocol and logical group.
    void enable(uint32_t bank, uint32_t type, uint32_t group) {
        setBitsOf("TAE_BANK_EN_REG", bank, 1, 1);
        setBitsOf("TAE_BANK_PRTCL_SEL_" + std::to_string(4 - bank / 8) + "_REG", 4 * (bank % 8), 4, type);
        setBitsOf("TAE_BANK_GRP_" + std::to_string(bank / 6) + "_REG", 25 - 5 * (bank % 6), 5, group);
    }

    /// Makes entry `idx` of a bank match `key` alone.
    void tcamEntry(uint32_t bank, uint32_t idx, const uint32_t *key) {
        uint32_t offset = 0;
        EmbeddedTcam *tcam = tae.getL2AclTcamPtr(bank, idx, offset);
        ASSERT_NE(tcam, nullptr);
        uint32_t x[8];
        for (int w = 0; w < 8; w++)
            x[w] = ~key[w];
        tcam->writeXYRaw(offset, key, x);
    }

    void result(uint32_t bank, uint32_t idx, const Fields &fields) {
        const RegMemDefinition &def = CmTaeLkup::l2AclRsltFieldDef();
        M_T ln_(def.numFields());
        for (const auto &[name, value] : fields)
            def.setField(name, ln_, value);
        tae.getAclRsltBlockPointer(static_cast<int>(bank))->writeAt(idx, ln_, false, true);
    }

    /// An IP bank in a group of its own number whose entry 5 hits with these result fields.
    void hitBank(uint32_t bank, const Fields &fields) {
        enable(bank, ACLT_L2_IP, bank);
        tcamEntry(bank, 5, intf.l2AclKey);
        result(bank, 5, fields);
    }

    void defaultWord(const Fields &fields) {
        const RegMemDefinition &def = CmTaeLkup::l2AclRsltFieldDef();
        M_T ln_(def.numFields());
        for (const auto &[name, value] : fields)
            def.setField(name, ln_, value);
        uint32_t words[4] = {};
        def.packBinaryKey(ln_, words);
        for (uint32_t w = 0; w < 4; w++)
            setReg("TAE_L2_SRCH_DEF_RSLT_" + std::to_string(w) + "_REG", words[w]);
    }

    bool lookup() { return tae.lookupL2Acl(intf, rslt, trapRsn); }

    uint32_t got(const char *field) { return CmTaeLkup::l2AclRsltFieldDef().getField(field, rslt); }

    /// Every field of the result against `fields`; the others must be 0.
    void expectRslt(const Fields &fields) {
        for (const auto &[name, fld] : CmTaeLkup::l2AclRsltFieldDef().fieldDefinitions) {
            const std::string text = name;
            const auto row = std::find_if(fields.begin(), fields.end(), [&](const auto &f) { return f.first == text; });
            EXPECT_EQ(got(name), row == fields.end() ? 0u : row->second) << text;
        }
    }

    bool activityBit(const char *kind, uint32_t addr) {
        const std::string lower = kind;
        std::string upper = lower;
        std::transform(upper.begin(), upper.end(), upper.begin(), [](char c) { return c >= 'a' ? c - 32 : c; });
        const EmbeddedMemory *ram = tae.RamCollection.at("TAE_L2_" + upper + "_ACTV_MEM");
        return const_cast<EmbeddedMemory *>(ram)->readEntryField(addr / 32, ("u_actv_mem_l2_" + lower).c_str()) >>
                   (addr % 32) &
               1;
    }

    uint32_t activityWords(const char *name) {
        return static_cast<uint32_t>(tae.RamCollection.at(name)->memContent.size());
    }

    static std::string printed(const std::function<void()> &fn) {
        testing::internal::CaptureStdout();
        fn();
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }

    CmTaeLkup tae;
    tL2AclInterface intf = {};
    M_T rslt;
    uint32_t trapRsn = 0;
};
using TaeL2DeathTest = TaeL2;

} // namespace

// The block's objects.

TEST_F(TaeL2, ConstructorFillsNothing) {
    CmTaeLkup fresh(2, initTaeRegDefs, initTaeRamDefs, initTaeTcamDefs);
    EXPECT_EQ(fresh.dbgLvl, 2u);
    EXPECT_EQ(fresh.igPort, 0u);
    EXPECT_EQ(fresh.frmIdx, 0u);
    EXPECT_EQ(fresh.memPtr, &fresh.mem);
    EXPECT_TRUE(fresh.RegCollection.empty());
    EXPECT_TRUE(fresh.RamCollection.empty());
    EXPECT_TRUE(fresh.TcamCollection.empty());
}

TEST_F(TaeL2, StubsHaveNoEffect) {
    EXPECT_EQ(tae.crossReference(5), -1);
    EXPECT_EQ(tae.CmTaeCkAclDropEgid(1) | tae.CmTaeCkTrapEgid(1) | tae.CmTaeCkNorDropEgid(1) | tae.CkTaeRqdEgidOnly(1) |
                  tae.CmTaeCkPthEgid(1) | tae.L2PselLgid(1) | tae.L2PselMpid(1) | tae.CmTaeCkRteRqdEgid(1),
              0u);
}

TEST_F(TaeL2, RegistersStandAtTheirChipAddresses) {
    const std::pair<const char *, uint32_t> rows[] = {
        {"TAE_CTRL_REG", 0xf0000},
        {"TAE_INT_STATUS_REG", 0xf0004},
        {"TAE_INT_EN_CLR_REG", 0xf0008},
        {"TAE_BANK_EN_REG", 0xf002c},
        {"TAE_BANK_PRTCL_SEL_0_REG", 0xf0030},
        {"TAE_BANK_PRTCL_SEL_4_REG", 0xf0040},
        {"TAE_BANK_GRP_0_REG", 0xf0044},
        {"TAE_BANK_GRP_4_REG", 0xf0054},
        {"TAE_BANK_TRAP_RSN_0_REG", 0xf0058},
        {"TAE_BANK_TRAP_RSN_4_REG", 0xf0068},
        {"TAE_BANK_TRAP_RSN_5_REG", 0xf00b4},
        {"TAE_L2_SRCH_DEF_RSLT_0_REG", 0xf006c},
        {"TAE_L2_SRCH_DEF_RSLT_3_REG", 0xf0078},
        {"TAE_L3_SRCH_DEF_RSLT_0_REG", 0xf007c},
        {"TAE_L3_SRCH_CID_MCUID_SEL_1_REG", 0xf0090},
        {"TAE_L3_SRCH_EXM_CFG_REG", 0xf0094},
        {"TAE_IPV4_EXM_KEY_SWAP_CTRL_1_REG", 0xf009c},
        {"TAE_IPV6_EXM_KEY_SWAP_CTRL_4_REG", 0xf00b0},
        {"TAE_L3_PRIO_ACTV_SRCH_ACS_ERR_ADDR_REG", 0xf024c},
        {"TAE_TCAM_STATS_CTRL_REG", 0xf027c},
        {"TAE_TCAM_DBG_CTR_29_2_REG", 0xf03e4},
    };
    for (const auto &[name, addr] : rows) {
        ASSERT_TRUE(tae.RegCollection.count(name)) << name;
        EXPECT_EQ(tae.RegCollection[name]->pMemRegDef->memBase, addr) << name;
    }
    // Words of the block's register map: 46 rows' words up to 0xb4, 10 of the history, 20 error addresses, the
    // statistics control and 30 counters of three words.
    EXPECT_EQ(tae.RegCollection.size(), 46u + 10 + 20 + 1 + 90);
}

TEST_F(TaeL2, ExactMatchConfigurationFields) {
    setReg("TAE_L3_SRCH_EXM_CFG_REG", 1u << 19 | 5u << 12 | 2u << 10 | 1u << 7 | 9u << 2 | 3u);
    const std::pair<const char *, uint32_t> rows[] = {
        {"ipv4_exm_en", 1},
        {"ipv4_exm_pwrdn", 0},
        {"ipv4_exm_alw_hash_hit_tcam_rng", 0},
        {"ipv4_exm_bank_sel", 5},
        {"ipv4_exm_cid_mcuid_sel", 2},
        {"ipv6_exm_en", 0},
        {"ipv6_exm_pwrdn", 0},
        {"ipv6_exm_bank_sel", 9},
        {"ipv6_exm_alw_hash_hit_tcam_rng", 1},
        {"ipv6_exm_cid_mcuid_sel", 3},
    };
    for (const auto &[field, value] : rows)
        EXPECT_EQ(tae.BLK_REG_GET_FLD("TAE_L3_SRCH_EXM_CFG_REG", field), value) << field;
    setReg("TAE_L3_SRCH_EXM_CFG_REG", 1u << 18 | 1u << 17 | 1u << 9 | 1u << 8);
    for (const char *field : {"ipv4_exm_pwrdn", "ipv4_exm_alw_hash_hit_tcam_rng", "ipv6_exm_en", "ipv6_exm_pwrdn"})
        EXPECT_EQ(tae.BLK_REG_GET_FLD("TAE_L3_SRCH_EXM_CFG_REG", field), 1u) << field;
}

TEST_F(TaeL2, RegistersOfTheSearchesHoldTheirFieldsByName) {
    const std::pair<const char *, const char *> rows[] = {
        {"TAE_L3_SRCH_DEF_RSLT_0_REG", "l3_srch_def_rslt_0"},
        {"TAE_L3_SRCH_DEF_RSLT_3_REG", "l3_srch_def_rslt_3"},
        {"TAE_L3_SRCH_CID_MCUID_SEL_0_REG", "l3_srch_cid_mcuid_sel_0"},
        {"TAE_L3_SRCH_CID_MCUID_SEL_1_REG", "l3_srch_cid_mcuid_sel_1"},
        {"TAE_IPV4_EXM_KEY_SWAP_CTRL_0_REG", "ipv4_exm_swap_ctrl_0"},
        {"TAE_IPV4_EXM_KEY_SWAP_CTRL_1_REG", "ipv4_exm_swap_ctrl_1"},
        {"TAE_IPV6_EXM_KEY_SWAP_CTRL_0_REG", "ipv6_exm_swap_ctrl_0"},
        {"TAE_IPV6_EXM_KEY_SWAP_CTRL_4_REG", "ipv6_exm_swap_ctrl_4"},
        {"TAE_L2_SRCH_DEF_RSLT_0_REG", "l2_srch_def_rslt_0"},
        {"TAE_CTRL_REG", "tae_ctrl_reg"},
    };
    for (const auto &[reg, field] : rows) {
        setReg(reg, 0x0abcdef1);
        EXPECT_EQ(tae.BLK_REG_GET_FLD(reg, field), 0x0abcdef1u) << reg;
    }
}

TEST_F(TaeL2, BanksHaveTheirTcamsAndResultMemories) {
    EXPECT_EQ(tae.TcamCollection.size(), 12u * 2 + 18);
    for (int bank = 0; bank < 30; bank++) {
        const bool big = bank < 12;
        for (int block = 0; block < (big ? 2 : 1); block++) {
            const EmbeddedTcam *tcam = tae.getAclTcamBlockPointer(bank, block);
            ASSERT_NE(tcam, nullptr) << bank;
            EXPECT_EQ(tcam->memSize(), big ? 2048u : 512u);
            EXPECT_EQ(tcam->pMemXY->nwords, 8u);
            const uint32_t tcamBase = static_cast<uint32_t>(big ? 0x4400000 + 0x40000 * bank + 0x20000 * block
                                                                : 0x4700000 + 0x8000 * (bank - 12));
            EXPECT_EQ(tcam->pMemXY->pMemRegDef->memBase, tcamBase);
        }
        const EmbeddedMemory *ram = tae.getAclRsltBlockPointer(bank);
        ASSERT_NE(ram, nullptr);
        EXPECT_EQ(ram->memSize(), big ? 4096u : 512u);
        const uint32_t base =
            static_cast<uint32_t>(big ? 0x4800000 + 0x10000 * bank : 0x48c0000 + 0x2000 * (bank - 12));
        EXPECT_EQ(ram->pMemRegDef->memBase, base);
        EXPECT_EQ(ram->pMemRegDef->totalBitWidth(), 104u);
    }
    EXPECT_EQ(tae.getAclTcamBlockPointer(0, 2), nullptr);
    EXPECT_EQ(tae.getAclTcamBlockPointer(30, 0), nullptr);
    EXPECT_NE(printed([&] { EXPECT_EQ(tae.getAclRsltBlockPointer(30), nullptr); }).find("TAE_RSLT_MEM_30"),
              std::string::npos);
}

TEST_F(TaeL2, TcamRowsKeepAll256Bits) {
    uint32_t ones[8];
    std::fill_n(ones, 8, ~0u);
    const uint32_t none[8] = {};
    EmbeddedTcam *tcam = tae.getAclTcamBlockPointer(29, 0);
    tcam->writeXYRaw(511, ones, none);
    M_T y;
    M_T x;
    ASSERT_EQ(tcam->readXY(511, y, x, false, true), 0);
    tcam->writeXYAt(510, y, x, false, true);
    for (uint32_t w = 0; w < 8; w++)
        EXPECT_EQ(tcam->pMemXY->word(2 * 510, w), ~0u);
}

// Field lists.

TEST_F(TaeL2, FieldListsStandAtTheirBits) {
    struct Row {
        const RegMemDefinition &def;
        const char *name;
        uint32_t width;
        uint32_t low;
        uint32_t pos;
    };
    const RegMemDefinition &r = CmTaeLkup::l2AclRsltFieldDef();
    const RegMemDefinition &t = CmTaeLkup::l2AclTcamFieldDef();
    const RegMemDefinition &f = CmTaeLkup::l2FcoeAclTcamFieldDef();
    EXPECT_EQ(r.numFields(), 27u);
    EXPECT_EQ(t.numFields(), 34u);
    EXPECT_EQ(f.numFields(), 18u);
    EXPECT_EQ(r.totalBitWidth(), 104u);
    EXPECT_EQ(t.totalBitWidth(), 253u); // bits 113 to 111 have no field
    EXPECT_EQ(f.totalBitWidth(), 256u);
    const Row rows[] = {
        {r, "sflow_profile", 4, 100, 0}, {r, "mct_srbridge_vld", 1, 99, 1},
        {r, "pol_id", 14, 73, 7},        {r, "mctid_trill_da", 16, 32, 16},
        {r, "ign_fcoe", 1, 22, 22},      {r, "lgid_egid_mgid", 17, 3, 25},
        {r, "l2_ing_prio", 3, 0, 26},    {t, "l2_sa", 48, 208, 0},
        {t, "ethertype", 16, 114, 11},   {t, "l2_policy_id_11_1", 11, 100, 12},
        {t, "l2_policy_id_0", 1, 0, 33}, {t, "vpn_id", 20, 135, 7},
        {f, "l2_da", 48, 160, 1},        {f, "l2_mda_id_6_1", 6, 152, 4},
        {f, "fpma_chk_ok", 1, 19, 14},   {f, "l2_acl_lgc_port", 5, 0, 17},
    };
    for (const Row &row : rows) {
        const MemRegField &fld = row.def.fieldDefinitions.at(row.name);
        EXPECT_EQ(fld.bitWidth, row.width) << row.name;
        EXPECT_EQ(fld.bitPos, row.low) << row.name;
        EXPECT_EQ(fld.pos, row.pos) << row.name;
    }
}

// Settings of the banks.

TEST_F(TaeL2, BankEnableIsItsBitModulo30) {
    setReg("TAE_BANK_EN_REG", 1u << 29 | 1u << 2);
    EXPECT_EQ(tae.bankEnabled(29), 1u);
    EXPECT_EQ(tae.bankEnabled(2), 1u);
    EXPECT_EQ(tae.bankEnabled(3), 0u);
    EXPECT_EQ(tae.bankEnabled(32), 1u);
}

TEST_F(TaeL2, LogicalGroupsStandSixToARegister) {
    setReg("TAE_BANK_GRP_0_REG", 17u << 25 | 3u);
    setReg("TAE_BANK_GRP_4_REG", 29u << 20);
    EXPECT_EQ(tae.getLogicalGroupId(0), 17u);
    EXPECT_EQ(tae.getLogicalGroupId(1), 0u);
    EXPECT_EQ(tae.getLogicalGroupId(5), 3u);
    EXPECT_EQ(tae.getLogicalGroupId(25), 29u);
}

TEST_F(TaeL2, BankTypesComeFromTheirNibbles) {
    setReg("TAE_BANK_PRTCL_SEL_4_REG", 0x80000001);
    setReg("TAE_BANK_PRTCL_SEL_3_REG", 0x70000002);
    setReg("TAE_BANK_PRTCL_SEL_2_REG", 0x60000003);
    setReg("TAE_BANK_PRTCL_SEL_1_REG", 0x00500004);
    EXPECT_EQ(tae.figureBankType(0), ACLT_L2_FCOE);
    EXPECT_EQ(tae.figureBankType(7), ACLT_L3_IP_FLEX0);
    EXPECT_EQ(tae.figureBankType(8), ACLT_L2_FLEX0);
    EXPECT_EQ(tae.figureBankType(15), ACLT_L3_FCOE);
    EXPECT_EQ(tae.figureBankType(16), ACLT_L2_FLEX1);
    EXPECT_EQ(tae.figureBankType(23), ACLT_L3_IPV4);
    EXPECT_EQ(tae.figureBankType(24), ACLT_L2_FLEX2);
    EXPECT_EQ(tae.figureBankType(29), ACLT_L2_FLEX3);
    EXPECT_TRUE(tae.isL2AclProtocol(1));
    EXPECT_FALSE(tae.isL2AclProtocol(0));
    EXPECT_TRUE(tae.isL2FcoeAclProtocol(0));
    EXPECT_FALSE(tae.isL2FcoeAclProtocol(1));
    setReg("TAE_BANK_PRTCL_SEL_0_REG", 1u << 14 | 1u);
    EXPECT_EQ(tae.figureBankType(0), ACLT_L3_IPV6);
    EXPECT_EQ(tae.figureBankType(1), ACLT_L3_IPV6);
    EXPECT_EQ(tae.figureBankType(2), ACLT_L2_IP);
    EXPECT_EQ(tae.figureBankType(28), ACLT_L3_IPV6);
    EXPECT_EQ(tae.figureBankType(29), ACLT_L3_IPV6);
}

TEST_F(TaeL2, TrapReasonsStandFiveToARegister) {
    tae.loadRegisterSettings();
    for (uint32_t bank = 0; bank < TAE_BANKS; bank++)
        EXPECT_EQ(tae.bnkTrapRsnLst[bank], bank + 1);
    setReg("TAE_BANK_TRAP_RSN_5_REG", 0x3f);
    tae.loadRegisterSettings();
    EXPECT_EQ(tae.bnkTrapRsnLst[29], 0x3fu);
    EXPECT_EQ(tae.bnkTrapRsnLst[25], 0u);
}

TEST_F(TaeL2, EntriesAreFoundInTheirBlock) {
    uint32_t offset = 0;
    uint32_t idx = 0x1000 + 2047;
    EXPECT_EQ(tae.getL2AclTcamPtr(11, idx, offset), tae.getAclTcamBlockPointer(11, 0));
    EXPECT_EQ(idx, 2047u);
    EXPECT_EQ(offset, 2047u);
    idx = 2048;
    EXPECT_EQ(tae.getL2AclTcamPtr(11, idx, offset), tae.getAclTcamBlockPointer(11, 1));
    EXPECT_EQ(idx, 2048u);
    EXPECT_EQ(offset, 0u);
    idx = 0x3ff;
    EXPECT_EQ(tae.getL2AclTcamPtr(12, idx, offset), tae.getAclTcamBlockPointer(12, 0));
    EXPECT_EQ(idx, 0x1ffu);
    EXPECT_EQ(offset, 0x1ffu);
}

// Bank search.

TEST_F(TaeL2, BankSearchFindsFirstAndLastEntryOfBothBlocks) {
    const double before = acl_cpu_time;
    for (const uint32_t idx : {4095u, 2048u, 2047u, 0u})
        tcamEntry(3, idx, intf.l2AclKey);
    std::vector<int> hits = {-5};
    tae.bankLookup(intf.l2AclKey, hits, 3);
    EXPECT_EQ(hits, (std::vector<int>{-5, 0, 2047, 2048, 4095})); // appended
    hits.clear();
    for (const uint32_t idx : {511u, 0u})
        tcamEntry(29, idx, intf.l2AclKey);
    tae.bankLookup(intf.l2AclKey, hits, 29);
    EXPECT_EQ(hits, (std::vector<int>{0, 511}));
    EXPECT_GE(acl_cpu_time, before);
}

TEST_F(TaeL2, BankSearchReturnsEveryHitOfAFullBank) {
    for (const int block : {0, 1})
        tae.getAclTcamBlockPointer(0, block)->fill(0, 2048 * 64); // matches anything
    std::vector<int> hits;
    tae.bankLookup(intf.l2AclKey, hits, 0);
    ASSERT_EQ(hits.size(), 4096u);
    EXPECT_EQ(hits.front(), 0);
    EXPECT_EQ(hits.back(), 4095);
}

TEST_F(TaeL2, AnUnknownBlockIsNotSearched) {
    std::vector<int> hits;
    EXPECT_EQ(printed([&] { tae.bankLookup(intf.l2AclKey, hits, 31); }), "");
    EXPECT_TRUE(hits.empty());
}

// The search.

TEST_F(TaeL2, WithoutSearchNothingChanges) {
    hitBank(0, {{"fwd_en", 1}});
    intf.aclL2Srch = 0;
    rslt = M_T(2, tFldVal{9, 9});
    trapRsn = 44;
    tae.dbgLvl = 4;
    EXPECT_EQ(printed([&] { EXPECT_FALSE(lookup()); }), "");
    ASSERT_EQ(rslt.size(), 2u);
    EXPECT_EQ(rslt[1].u32, 9u);
    EXPECT_EQ(trapRsn, 44u);
    EXPECT_EQ(tae.m_nL2AclLkupsCnt, 0u);
    EXPECT_EQ(tae.igPort, 3u); // these two are taken all the same
    EXPECT_EQ(tae.frmIdx, 7u);
}

TEST_F(TaeL2, SearchesAreCounted) {
    lookup();
    lookup();
    EXPECT_EQ(tae.m_nL2AclLkupsCnt, 2u);
}

TEST_F(TaeL2, AnnouncesTheEgidsAboveLevel2) {
    tae.dbgLvl = 2;
    EXPECT_EQ(printed([&] { lookup(); }), "");
    tae.dbgLvl = 3;
    EXPECT_EQ(printed([&] { lookup(); }),
              "CM port=3, frameIdx=7>> [TAE-L2LU] aclDropEgid=222, trapEgid=333, dropEgid=111\n");
}

TEST_F(TaeL2, ADisabledBankIsNotSearched) {
    hitBank(4, {{"pol_en", 1}, {"pol_id", 5}});
    setReg("TAE_BANK_EN_REG", 0);
    EXPECT_FALSE(lookup());
    EXPECT_EQ(got("pol_en"), 0u);
}

TEST_F(TaeL2, EachTypeHasItsKey) {
    const std::pair<uint32_t, const uint32_t *> rows[] = {
        {ACLT_L2_IP, intf.l2AclKey},        {ACLT_L2_FCOE, intf.l2FcoeAclKey},  {ACLT_L2_FLEX0, intf.l2FlexKey[0]},
        {ACLT_L2_FLEX1, intf.l2FlexKey[1]}, {ACLT_L2_FLEX2, intf.l2FlexKey[2]}, {ACLT_L2_FLEX3, intf.l2FlexKey[3]},
    };
    intf.isFcoe = 1;
    for (const auto &[type, key] : rows) {
        enable(13, type, 0);
        tcamEntry(13, 1, key);
        result(13, 1, {{"pol_en", 1}, {"pol_id", 0x100 + type}});
        EXPECT_TRUE(lookup()) << type;
        EXPECT_EQ(got("pol_id"), 0x100 + type);
        for (const auto &[other, otherKey] : rows) {
            if (other == type)
                continue;
            tcamEntry(13, 1, otherKey);
            EXPECT_FALSE(lookup()) << type << " with the key of " << other;
        }
    }
}

TEST_F(TaeL2, AnFcoeBankNeedsAnFcoeFrame) {
    enable(2, ACLT_L2_FCOE, 0);
    tcamEntry(2, 0, intf.l2FcoeAclKey);
    EXPECT_FALSE(lookup());
    intf.isFcoe = 1;
    EXPECT_TRUE(lookup());
}

TEST_F(TaeL2, Layer3BanksArePassedOver) {
    for (uint32_t type = ACLT_L3_IPV4; type <= ACLT_L3_FCOE_FLEX3; type++) {
        enable(2, type, 0);
        for (const int block : {0, 1})
            tae.getAclTcamBlockPointer(2, block)->fill(0, 2048 * 64);
        intf.isFcoe = 1;
        EXPECT_FALSE(lookup()) << type;
    }
    enable(2, ACLT_L2_IP, 0);
    EXPECT_TRUE(lookup());
    setReg("TAE_BANK_PRTCL_SEL_0_REG", 2);
    EXPECT_FALSE(lookup()); // the pair is an IPv6 one
}

TEST_F(TaeL2, TheLowestHitOfABankCounts) {
    enable(1, ACLT_L2_IP, 0);
    for (const uint32_t idx : {4095u, 2050u}) {
        tcamEntry(1, idx, intf.l2AclKey);
        result(1, idx, {{"pol_en", 1}, {"pol_id", idx}});
    }
    EXPECT_TRUE(lookup());
    EXPECT_EQ(got("pol_id"), 2050u);
}

TEST_F(TaeL2, HitsAtFirstAndLastEntryOfABankReadTheirResult) {
    for (const uint32_t bank : {0u, 29u}) {
        const uint32_t last = bank == 0 ? 4095 : 511;
        for (const uint32_t idx : {last, 0u}) {
            enable(bank, ACLT_L2_IP, bank);
            tcamEntry(bank, idx, intf.l2AclKey);
            result(bank, idx, {{"pol_en", 1}, {"pol_id", 0x2000 + bank + idx}});
            EXPECT_TRUE(lookup());
            EXPECT_EQ(got("pol_id"), 0x2000 + bank + idx);
        }
        setReg("TAE_BANK_EN_REG", 0);
    }
}

TEST_F(TaeL2, InOneGroupTheLowestBankHidesTheOthers) {
    hitBank(8, {{"pol_en", 1}, {"pol_id", 8}});
    hitBank(9, {{"pol_en", 1}, {"pol_id", 9}, {"span_en", 1}, {"span_id", 3}});
    enable(8, ACLT_L2_IP, 20);
    enable(9, ACLT_L2_IP, 20);
    EXPECT_TRUE(lookup());
    EXPECT_EQ(got("pol_id"), 8u);
    EXPECT_EQ(got("span_en"), 0u); // although bank 8 sets fewer enables
    enable(9, ACLT_L2_IP, 19);
    EXPECT_TRUE(lookup());
    EXPECT_EQ(got("pol_id"), 8u);
    EXPECT_EQ(got("span_en"), 1u);
}

TEST_F(TaeL2, Group29IsTheLast) {
    hitBank(6, {{"pol_en", 1}});
    enable(6, ACLT_L2_IP, 29);
    EXPECT_TRUE(lookup());
}

TEST_F(TaeL2DeathTest, AGroupAbove29StopsTheRun) {
    enable(7, ACLT_L2_IP, 30);
    EXPECT_EXIT(
        {
            std::fflush(stdout);
            dup2(STDERR_FILENO, STDOUT_FILENO);
            lookup();
        },
        testing::KilledBySignal(SIGABRT),
        "CM L2 TAE Error>> logical Groups \\(TAE_BANK_GRP_1_REG\\) is 30 \\(>=30\\)\n.*Assertion `logicalGroup<30'");
    // Also for a bank whose type is not searched.
    enable(7, ACLT_L3_IPV4, 31);
    EXPECT_EXIT(
        lookup(), testing::KilledBySignal(SIGABRT),
        "bool CmTaeLkup::lookupL2Acl\\(tL2AclInterface, M_T&, uint32_t&\\): Assertion `logicalGroup<30' failed");
    setReg("TAE_BANK_EN_REG", 0);
    EXPECT_FALSE(lookup());
}

TEST_F(TaeL2, ResultsPrintAboveLevel3) {
    hitBank(12, {{"l2_ing_prio", 5}});
    tae.dbgLvl = 3;
    EXPECT_EQ(printed([&] { lookup(); }).find("L2ACL-RSLT"), std::string::npos);
    tae.dbgLvl = 4;
    const std::string text = printed([&] { lookup(); });
    EXPECT_NE(text.find("p3-f7-L2ACL-RSLT-bank12\n    acl_log             =        0\n"), std::string::npos);
    EXPECT_NE(text.find("    l2_ing_prio         =        5\n"), std::string::npos);
}

TEST_F(TaeL2, PackedResultsReadAsTheLineOfTheirFields) {
    const uint32_t words[4] = {0x89abcdef, 0x01234567, 0xfedcba98, 0xffffff76};
    tae.getAclRsltBlockPointer(14)->writeRaw(300, words);
    M_T ln_;
    EXPECT_EQ(tae.readAclResultBank(300, 14, ln_), 0);
    uint32_t back[4] = {};
    CmTaeLkup::l2AclRsltFieldDef().packBinaryKey(ln_, back);
    EXPECT_EQ(back[0], words[0]);
    EXPECT_EQ(back[1], words[1]);
    EXPECT_EQ(back[2], words[2]);
    EXPECT_EQ(back[3], 0x76u); // the word has 104 bits
}

// The merge, one enable a row: the first bank that sets it gives its fields.

TEST_F(TaeL2, MergeDscp) {
    hitBank(1, {{"dscp", 1}, {"drop_prcd", 1}});
    hitBank(2, {{"dscp_en", 1}, {"dscp", 0x2a}, {"drop_prcd", 2}});
    hitBank(3, {{"dscp_en", 1}, {"dscp", 3}, {"drop_prcd", 3}});
    EXPECT_TRUE(lookup());
    expectRslt({{"dscp_en", 1}, {"dscp", 0x2a}, {"drop_prcd", 2}});
}

TEST_F(TaeL2, MergePolicer) {
    hitBank(1, {{"pol_id", 1}});
    hitBank(2, {{"pol_en", 1}, {"pol_id", 0x2abc}});
    hitBank(3, {{"pol_en", 1}, {"pol_id", 3}});
    EXPECT_TRUE(lookup());
    expectRslt({{"pol_en", 1}, {"pol_id", 0x2abc}});
}

TEST_F(TaeL2, MergeTrap) {
    hitBank(1, {{"trap_que", 1}});
    hitBank(2, {{"trap_en", 1}, {"trap_que", 9}});
    hitBank(3, {{"trap_en", 1}, {"trap_que", 3}});
    EXPECT_TRUE(lookup());
    expectRslt({{"trap_en", 1}, {"trap_que", 9}});
    EXPECT_EQ(trapRsn, 3u); // of bank 2
    EXPECT_TRUE(activityBit("trap", 2 * 4096 + 5));
    EXPECT_EQ(activityWords("TAE_L2_TRAP_ACTV_MEM"), 1u);
    EXPECT_EQ(activityWords("TAE_L2_FWD_ACTV_MEM"), 0u);
}

TEST_F(TaeL2, MergeSpan) {
    hitBank(1, {{"span_id", 1}});
    hitBank(2, {{"span_en", 1}, {"span_id", 6}});
    hitBank(3, {{"span_en", 1}, {"span_id", 3}});
    EXPECT_TRUE(lookup());
    expectRslt({{"span_en", 1}, {"span_id", 6}});
    EXPECT_TRUE(activityBit("span", 2 * 4096 + 5));
    EXPECT_EQ(activityWords("TAE_L2_SPAN_ACTV_MEM"), 1u);
}

TEST_F(TaeL2, MergeForward) {
    tae.dbgLvl = 3;
    hitBank(1, {{"lgid_egid_mgid", 1}, {"trill_cmd", 1}, {"trill_mc", 1}});
    hitBank(2, {{"fwd_en", 1},
                {"is_mgid", 1},
                {"lgid_egid_mgid", 0x1abcd},
                {"trill_cmd", 2},
                {"mctid_trill_da", 0xbeef},
                {"trap_que", 4}});
    hitBank(3, {{"fwd_en", 1}, {"lgid_egid_mgid", 3}, {"trill_mc", 1}});
    const std::string text = printed([&] { EXPECT_TRUE(lookup()); });
    expectRslt({{"fwd_en", 1},
                {"is_mgid", 1},
                {"lgid_egid_mgid", 0x1abcd},
                {"trill_cmd", 2},
                {"mctid_trill_da", 0xbeef}}); // the forward's own trap queue shows only for the trap egid
    EXPECT_EQ(trapRsn, 0u);
    EXPECT_EQ(text, "CM port=3, frameIdx=7>> [TAE-L2LU] aclDropEgid=222, trapEgid=333, dropEgid=111\n"
                    "CM port=3, frameIdx=7>> TAE-L2LU>> merging: fwd_en=1, highest priority gidVal=1abcd\n");
    EXPECT_TRUE(activityBit("fwd", 2 * 4096 + 5));
    EXPECT_EQ(activityWords("TAE_L2_FWD_ACTV_MEM"), 1u);
}

TEST_F(TaeL2, MergePriority) {
    hitBank(1, {{"qmg_prio", 1}});
    hitBank(2, {{"prio_en", 1}, {"prio_pth", 1}, {"qmg_prio", 6}, {"l2_ing_prio", 5}});
    hitBank(3, {{"prio_en", 1}, {"qmg_prio", 3}, {"l2_ing_prio", 3}});
    EXPECT_TRUE(lookup());
    expectRslt({{"prio_en", 1}, {"prio_pth", 1}, {"qmg_prio", 6}, {"l2_ing_prio", 5}});
    EXPECT_TRUE(activityBit("prio", 2 * 4096 + 5));
    EXPECT_EQ(activityWords("TAE_L2_PRIO_ACTV_MEM"), 1u);
}

TEST_F(TaeL2, MergeStatistics) {
    hitBank(1, {{"sflow_en", 1}, {"sts_sflow_idx", 1}, {"sflow_profile", 7}});
    hitBank(2, {{"sts_sflow_en", 1}, {"sts_sflow_idx", 0x5555}, {"sflow_profile", 9}});
    hitBank(3, {{"sts_sflow_en", 1}, {"sts_sflow_idx", 3}, {"sflow_en", 1}});
    EXPECT_TRUE(lookup());
    expectRslt({{"sts_sflow_en", 1}, {"sts_sflow_idx", 0x5555}}); // the profile is never handed on
    result(2, 5, {{"sts_sflow_en", 1}, {"sts_sflow_idx", 2}, {"sflow_en", 1}});
    lookup();
    expectRslt({{"sts_sflow_en", 1}, {"sts_sflow_idx", 2}, {"sflow_en", 1}});
}

TEST_F(TaeL2, MergeOrsThreeFlags) {
    hitBank(1, {{"acl_log", 1}});
    hitBank(5, {{"mct_srbridge_vld", 1}});
    hitBank(20, {{"bypass_eacl", 1}});
    EXPECT_TRUE(lookup());
    expectRslt({{"acl_log", 1}, {"mct_srbridge_vld", 1}, {"bypass_eacl", 1}});
}

TEST_F(TaeL2, EnablesMayComeFromDifferentBanks) {
    hitBank(0, {{"trap_en", 1}, {"trap_que", 1}});
    hitBank(12, {{"span_en", 1}, {"span_id", 2}});
    hitBank(29, {{"fwd_en", 1}, {"lgid_egid_mgid", 0x8001}});
    EXPECT_TRUE(lookup());
    expectRslt(
        {{"trap_en", 1}, {"trap_que", 1}, {"span_en", 1}, {"span_id", 2}, {"fwd_en", 1}, {"lgid_egid_mgid", 0x8001}});
    EXPECT_TRUE(activityBit("trap", 5));
    EXPECT_TRUE(activityBit("span", 12 * 4096 + 5));
    EXPECT_TRUE(activityBit("fwd", 12 * 4096 + 17 * 512 + 5));
}

// FCoE banks.

TEST_F(TaeL2, IgnFcoeHidesFcoeBanksOnBothSides) {
    intf.isFcoe = 1;
    tae.dbgLvl = 2;
    for (const uint32_t bank : {2u, 6u}) {
        enable(bank, ACLT_L2_FCOE, bank);
        tcamEntry(bank, 5, intf.l2FcoeAclKey);
        result(bank, 5, {{"pol_en", 1}, {"pol_id", bank}, {"acl_log", 1}});
    }
    hitBank(4, {{"span_en", 1}, {"ign_fcoe", 1}});
    const std::string text = printed([&] { EXPECT_TRUE(lookup()); });
    EXPECT_EQ(got("span_en"), 1u);
    EXPECT_EQ(got("pol_en"), 0u);
    EXPECT_EQ(got("acl_log"), 0u);
    EXPECT_EQ(got("ign_fcoe"), 1u); // the result says so
    EXPECT_EQ(text, "CM port=3, frameIdx=7>> TAE-L2LU>> bank 2 ignored because ign_fcoe=1\n"
                    "CM port=3, frameIdx=7>> TAE-L2LU>> bank 6 ignored because ign_fcoe=1\n");
    result(4, 5, {{"span_en", 1}});
    EXPECT_EQ(printed([&] { EXPECT_TRUE(lookup()); }), "");
    EXPECT_EQ(got("pol_id"), 2u);
    EXPECT_EQ(got("ign_fcoe"), 0u);
}

TEST_F(TaeL2, AnFcoeBankMayHideItself) {
    intf.isFcoe = 1;
    enable(2, ACLT_L2_FCOE, 2);
    tcamEntry(2, 5, intf.l2FcoeAclKey);
    result(2, 5, {{"pol_en", 1}, {"ign_fcoe", 1}, {"fwd_en", 1}, {"lgid_egid_mgid", gidOf(kAclDropEgid)}});
    defaultWord({{"bypass_eacl", 1}});
    EXPECT_TRUE(lookup()); // a bank did hit
    EXPECT_EQ(got("pol_en"), 0u);
    EXPECT_EQ(got("bypass_eacl"), 1u); // but none was considered
    EXPECT_EQ(got("lgid_egid_mgid"), 0u);
}

// Special egids.

TEST_F(TaeL2, ALaterBanksAclDropEgidStillDrops) {
    tae.dbgLvl = 2;
    hitBank(1, {{"fwd_en", 1}, {"is_mgid", 1}, {"lgid_egid_mgid", 0x10001}, {"trap_en", 1}, {"trap_que", 3}});
    hitBank(2, {{"fwd_en", 1}, {"lgid_egid_mgid", gidOf(kAclDropEgid)}, {"trap_que", 9}});
    trapRsn = 55;
    const std::string text = printed([&] { EXPECT_TRUE(lookup()); });
    expectRslt({{"fwd_en", 1}, {"lgid_egid_mgid", gidOf(kAclDropEgid)}}); // the trap is off, too
    EXPECT_EQ(trapRsn, 55u);                                              // a reason of 0 leaves it
    EXPECT_EQ(text, "CM port=3, frameIdx=7>> TAE-L2LU>> merging: fwd_en=1, highest priority gidVal=10001\n"
                    "CM port=3, frameIdx=7>> [TAE-L2LU] merging: gid (0x4222) = acl_drop_gid\n");
    EXPECT_TRUE(activityBit("trap", 1 * 4096 + 5)); // the activity stays
}

TEST_F(TaeL2, TrapEgidTrapsWithItsOwnQueueAndReason) {
    tae.dbgLvl = 2;
    hitBank(1, {{"fwd_en", 1}, {"lgid_egid_mgid", 0x8001}, {"trap_que", 1}});
    hitBank(2, {{"trap_en", 1}, {"trap_que", 2}});
    hitBank(3, {{"fwd_en", 1}, {"lgid_egid_mgid", gidOf(kTrapEgid)}, {"trap_que", 3}});
    const std::string text = printed([&] { EXPECT_TRUE(lookup()); });
    expectRslt({{"fwd_en", 1}, {"lgid_egid_mgid", gidOf(kTrapEgid)}, {"trap_en", 1}, {"trap_que", 3}});
    EXPECT_EQ(trapRsn, 4u); // of bank 3
    EXPECT_EQ(text, "CM port=3, frameIdx=7>> TAE-L2LU>> merging: fwd_en=1, highest priority gidVal=8001\n"
                    "CM port=3, frameIdx=7>> [TAE-L2LU] merging: gid (0x4333)  = trap_gid\n");
}

TEST_F(TaeL2, OfTwoTrapEgidBanksTheLaterOnesQueueIsKept) {
    hitBank(3, {{"fwd_en", 1}, {"lgid_egid_mgid", gidOf(kTrapEgid)}, {"trap_que", 3}});
    hitBank(4, {{"fwd_en", 1}, {"lgid_egid_mgid", gidOf(kTrapEgid)}, {"trap_que", 4}});
    lookup();
    EXPECT_EQ(got("trap_que"), 4u);
    EXPECT_EQ(got("trap_en"), 0u);
    EXPECT_EQ(trapRsn, 5u);
}

TEST_F(TaeL2, DropEgidKeepsTheTrapOfATrapBank) {
    tae.dbgLvl = 2;
    hitBank(1, {{"fwd_en", 1}, {"lgid_egid_mgid", gidOf(kDropEgid)}, {"trap_que", 7}});
    const std::string text = printed([&] { EXPECT_TRUE(lookup()); });
    expectRslt({{"fwd_en", 1}, {"lgid_egid_mgid", gidOf(kDropEgid)}});
    EXPECT_EQ(trapRsn, 0u);
    EXPECT_EQ(text, "CM port=3, frameIdx=7>> TAE-L2LU>> merging: fwd_en=1, highest priority gidVal=4111\n"
                    "CM port=3, frameIdx=7>> [TAE-L2LU] merging: gid (0x4111) = drop_gid\n");
    hitBank(2, {{"trap_en", 1}, {"trap_que", 6}});
    lookup();
    expectRslt({{"fwd_en", 1}, {"lgid_egid_mgid", gidOf(kDropEgid)}, {"trap_en", 1}, {"trap_que", 6}});
    EXPECT_EQ(trapRsn, 3u);
}

TEST_F(TaeL2, AnEarlierSpecialEgidBlocksTheLesserOnes) {
    hitBank(1, {{"fwd_en", 1}, {"lgid_egid_mgid", gidOf(kAclDropEgid)}});
    hitBank(2, {{"fwd_en", 1}, {"lgid_egid_mgid", gidOf(kTrapEgid)}, {"trap_que", 2}});
    hitBank(3, {{"fwd_en", 1}, {"lgid_egid_mgid", gidOf(kDropEgid)}});
    lookup();
    EXPECT_EQ(got("lgid_egid_mgid"), gidOf(kAclDropEgid));
    EXPECT_EQ(got("trap_que"), 0u);
    setBitsOf("TAE_BANK_EN_REG", 1, 1, 0);
    lookup();
    EXPECT_EQ(got("lgid_egid_mgid"), gidOf(kTrapEgid));
    EXPECT_EQ(got("trap_que"), 2u);
}

TEST_F(TaeL2, AStrongerSpecialEgidOfALaterBankWins) {
    hitBank(1, {{"fwd_en", 1}, {"lgid_egid_mgid", gidOf(kDropEgid)}});
    hitBank(2, {{"fwd_en", 1}, {"lgid_egid_mgid", gidOf(kTrapEgid)}, {"trap_que", 2}});
    lookup();
    EXPECT_EQ(got("lgid_egid_mgid"), gidOf(kTrapEgid));
    EXPECT_EQ(got("trap_que"), 2u);
    hitBank(3, {{"fwd_en", 1}, {"lgid_egid_mgid", gidOf(kAclDropEgid)}});
    lookup();
    EXPECT_EQ(got("lgid_egid_mgid"), gidOf(kAclDropEgid));
    EXPECT_EQ(got("trap_que"), 0u);
}

TEST_F(TaeL2, SpecialEgidsNeedTheirFormAndTheForwardEnable) {
    hitBank(1, {{"fwd_en", 1}, {"lgid_egid_mgid", 0x8005}});
    const Fields others[] = {
        {{"lgid_egid_mgid", gidOf(kAclDropEgid)}},                                // no forward enable
        {{"fwd_en", 1}, {"is_mgid", 1}, {"lgid_egid_mgid", gidOf(kAclDropEgid)}}, // a multicast group
        {{"fwd_en", 1}, {"lgid_egid_mgid", kAclDropEgid}},                        // bits 16:14 are 0
        {{"fwd_en", 1}, {"lgid_egid_mgid", 0xc000 | kAclDropEgid}},               // 3
        {{"fwd_en", 1}, {"lgid_egid_mgid", 0x14000 | kAclDropEgid}},              // 5
        {{"fwd_en", 1}, {"lgid_egid_mgid", gidOf(kAclDropEgid) ^ 0x1000}},        // another egid
    };
    for (const Fields &fields : others) {
        hitBank(2, fields);
        EXPECT_TRUE(lookup());
        EXPECT_EQ(got("lgid_egid_mgid"), 0x8005u);
    }
    hitBank(2, {{"fwd_en", 1}, {"lgid_egid_mgid", 0x2000 | gidOf(kAclDropEgid)}}); // bit 13 is not looked at
    lookup();
    EXPECT_EQ(got("lgid_egid_mgid"), gidOf(kAclDropEgid));
}

// Defaults.

TEST_F(TaeL2, WithoutAHitTheDefaultWordDecides) {
    defaultWord({{"sflow_profile", 5},
                 {"mct_srbridge_vld", 1},
                 {"trill_cmd", 2},
                 {"dscp_en", 1},
                 {"dscp", 0x15},
                 {"drop_prcd", 2},
                 {"pol_en", 1},
                 {"pol_id", 99},
                 {"acl_log", 1},
                 {"trap_en", 1},
                 {"trap_que", 9},
                 {"sflow_en", 1},
                 {"trill_mc", 1},
                 {"fwd_en", 1},
                 {"sts_sflow_en", 1},
                 {"sts_sflow_idx", 0x1234},
                 {"mctid_trill_da", 0xcafe},
                 {"span_en", 1},
                 {"span_id", 5},
                 {"prio_en", 1},
                 {"qmg_prio", 6},
                 {"prio_pth", 1},
                 {"ign_fcoe", 1},
                 {"bypass_eacl", 1},
                 {"is_mgid", 1},
                 {"lgid_egid_mgid", 0x1c0de},
                 {"l2_ing_prio", 3}});
    trapRsn = 21;
    EXPECT_FALSE(lookup());
    expectRslt({{"trill_cmd", 2},
                {"dscp_en", 1},
                {"dscp", 0x15},
                {"drop_prcd", 2},
                {"trill_mc", 1},
                {"sts_sflow_idx", 0x1234},
                {"mctid_trill_da", 0xcafe},
                {"span_id", 5},
                {"qmg_prio", 6},
                {"prio_pth", 1},
                {"bypass_eacl", 1},
                {"is_mgid", 1},
                {"lgid_egid_mgid", 0x1c0de},
                {"l2_ing_prio", 3}});
    EXPECT_EQ(trapRsn, 21u);
}

TEST_F(TaeL2, TheDefaultsFieldsCountWhateverItsEnables) {
    defaultWord({{"dscp", 0x15}, {"span_id", 5}, {"sts_sflow_idx", 7}, {"qmg_prio", 6}, {"lgid_egid_mgid", 0x8123}});
    lookup();
    expectRslt({{"dscp", 0x15}, {"span_id", 5}, {"sts_sflow_idx", 7}, {"qmg_prio", 6}, {"lgid_egid_mgid", 0x8123}});
}

TEST_F(TaeL2, DefaultWord0HoldsTheLowestBits) {
    setReg("TAE_L2_SRCH_DEF_RSLT_0_REG", 5);          // l2_ing_prio
    setReg("TAE_L2_SRCH_DEF_RSLT_1_REG", 0xabcd);     // mctid_trill_da
    setReg("TAE_L2_SRCH_DEF_RSLT_2_REG", 0x3u << 26); // dscp, from bit 90
    setReg("TAE_L2_SRCH_DEF_RSLT_3_REG", 1);          // dscp_en, bit 96
    lookup();
    expectRslt({{"l2_ing_prio", 5}, {"mctid_trill_da", 0xabcd}, {"dscp", 3}, {"dscp_en", 1}});
}

TEST_F(TaeL2, AWinnerKeepsTheDefaultOut) {
    defaultWord({{"dscp_en", 1},
                 {"dscp", 1},
                 {"drop_prcd", 1},
                 {"span_id", 1},
                 {"is_mgid", 1},
                 {"trill_cmd", 1},
                 {"lgid_egid_mgid", 1},
                 {"sts_sflow_idx", 1},
                 {"prio_pth", 1},
                 {"qmg_prio", 1},
                 {"l2_ing_prio", 1},
                 {"bypass_eacl", 1},
                 {"mctid_trill_da", 1},
                 {"trill_mc", 1}});
    hitBank(1, {{"dscp_en", 1}, {"span_en", 1}, {"fwd_en", 1}, {"sts_sflow_en", 1}, {"prio_en", 1}});
    lookup();
    expectRslt({{"dscp_en", 1}, {"span_en", 1}, {"fwd_en", 1}, {"sts_sflow_en", 1}, {"prio_en", 1}});
}

TEST_F(TaeL2, ADefaultTrapEgidTakesTheDefaultsQueueWithoutReason) {
    defaultWord({{"trap_que", 0xb}, {"lgid_egid_mgid", gidOf(kTrapEgid)}});
    trapRsn = 17;
    EXPECT_FALSE(lookup());
    EXPECT_EQ(got("trap_que"), 0xbu);
    EXPECT_EQ(got("trap_en"), 0u);
    EXPECT_EQ(trapRsn, 17u); // the reason is 0
    // Also when a bank traps: the forward's queue and reason count.
    hitBank(2, {{"trap_en", 1}, {"trap_que", 2}});
    EXPECT_TRUE(lookup());
    EXPECT_EQ(got("trap_que"), 0xbu);
    EXPECT_EQ(got("trap_en"), 1u);
    EXPECT_EQ(trapRsn, 17u);
}

TEST_F(TaeL2, DefaultDropEgids) {
    hitBank(2, {{"trap_en", 1}, {"trap_que", 2}});
    defaultWord({{"trap_que", 0xb}, {"lgid_egid_mgid", gidOf(kAclDropEgid)}});
    EXPECT_TRUE(lookup());
    expectRslt({{"trap_en", 1}, {"lgid_egid_mgid", gidOf(kAclDropEgid)}}); // only an ACL bank's drop clears trap_en
    EXPECT_EQ(trapRsn, 0u);
    defaultWord({{"trap_que", 0xb}, {"lgid_egid_mgid", gidOf(kDropEgid)}});
    lookup();
    expectRslt({{"trap_en", 1}, {"trap_que", 2}, {"lgid_egid_mgid", gidOf(kDropEgid)}});
    EXPECT_EQ(trapRsn, 3u);
}

TEST_F(TaeL2, TheFinalComparisonNeedsBits16To13AtTwo) {
    for (const uint32_t gid : {kTrapEgid, 0x6000 | kTrapEgid, 0xc000 | kTrapEgid}) {
        defaultWord({{"trap_que", 0xb}, {"lgid_egid_mgid", gid}});
        lookup();
        EXPECT_EQ(got("trap_que"), 0u) << gid;
        EXPECT_EQ(got("lgid_egid_mgid"), gid);
    }
    defaultWord({{"trap_que", 0xb}, {"is_mgid", 1}, {"lgid_egid_mgid", gidOf(kTrapEgid)}});
    lookup();
    EXPECT_EQ(got("trap_que"), 0u);
    EXPECT_EQ(got("is_mgid"), 1u);
}

// Activity.

TEST_F(TaeL2, ActivityBitsCountFromTheLowEnd) {
    tae.updateActivityMemory("TAE_L2_FWD_ACTV_MEM", "u_actv_mem_l2_fwd", 33);
    tae.updateActivityMemory("TAE_L2_FWD_ACTV_MEM", "u_actv_mem_l2_fwd", 63);
    EmbeddedMemory *ram = tae.RamCollection["TAE_L2_FWD_ACTV_MEM"];
    EXPECT_EQ(ram->readEntryField(1, "u_actv_mem_l2_fwd"), 0x80000002u);
    EXPECT_EQ(ram->memContent.size(), 1u);
}

TEST_F(TaeL2, ActivityAddressesRunOnOverTheBanks) {
    const tBnkIdxPair none = {-1, 4};
    tae.setL2AclActivityMemories({4095, 11}, none, none, {0, 0});
    tae.setL2AclActivityMemories({0, 12}, {511, 29}, {1, 13}, none);
    EXPECT_TRUE(activityBit("trap", 12 * 4096 - 1));
    EXPECT_TRUE(activityBit("trap", 12 * 4096));
    EXPECT_TRUE(activityBit("fwd", 58367));
    EXPECT_TRUE(activityBit("span", 12 * 4096 + 512 + 1));
    EXPECT_TRUE(activityBit("prio", 0));
    EXPECT_EQ(activityWords("TAE_L2_FWD_ACTV_MEM"), 1u);
}

TEST_F(TaeL2, AnUnknownActivityMemoryIsReported) {
    EXPECT_NE(printed([&] {
                  tae.updateActivityMemory("TAE_NO_MEM", "f", 0);
              }).find("] CM L2 TAE error>> pointer to activity memory TAE_NO_MEM not found!!!\n"),
              std::string::npos);
}

TEST_F(TaeL2, NoHitLeavesNoActivity) {
    hitBank(2, {});
    EXPECT_TRUE(lookup());
    for (const char *name :
         {"TAE_L2_TRAP_ACTV_MEM", "TAE_L2_FWD_ACTV_MEM", "TAE_L2_SPAN_ACTV_MEM", "TAE_L2_PRIO_ACTV_MEM"})
        EXPECT_EQ(activityWords(name), 0u);
}
