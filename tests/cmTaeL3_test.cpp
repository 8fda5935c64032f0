// The layer-3 search of the ACL engine: bank types and keys, IPv6 pairs, the user id in the key, exact match, selection
// and merge.

#include "cmTae.h"
#include "cmUtl.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <regex>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

/// A field of the result word: its word and its highest and lowest bit there.
struct RsltField {
    const char *name;
    uint32_t word, hi, lo;
};
// In the order of the word, without the reserved ones.
constexpr RsltField kRsltFields[] = {
    {"prio_pth", 1, 31, 31},
    {"qmg_prio", 1, 30, 28},
    {"trap_que", 1, 27, 24},
    {"drop_prcd", 1, 23, 22},
    {"dscp", 1, 21, 16},
    {"dscp_en", 1, 15, 15},
    {"l3_dscp_override", 1, 14, 14},
    {"bypass_eacl", 1, 13, 13},
    {"l3_acl_log_override", 1, 12, 12},
    {"l3_pol_override", 1, 11, 11},
    {"l3_trap_en_override", 1, 10, 10},
    {"sflow_profile", 1, 9, 6},
    {"sts_sflow_idx", 2, 31, 17},
    {"pol_en", 2, 16, 16},
    {"pol_id", 2, 15, 2},
    {"fwd_en", 2, 1, 1},
    {"sts_sflow_en", 2, 0, 0},
    {"trap_en", 3, 31, 31},
    {"prio_en", 3, 30, 30},
    {"span_id", 3, 29, 27},
    {"span_en", 3, 26, 26},
    {"acl_log", 3, 25, 25},
    {"l3_fwd_override", 3, 24, 24},
    {"l3_prio_override", 3, 23, 23},
    {"l3_span_override", 3, 22, 22},
    {"nxt_hop_rslt_idx", 3, 21, 4},
    {"sflow_en", 3, 3, 3},
    {"l2_egr_prio", 3, 2, 0},
};

using Fields = std::vector<std::pair<const char *, uint32_t>>;
using Words = std::array<uint32_t, 4>;

const RsltField &rsltField(const std::string &name) {
    return *std::find_if(std::begin(kRsltFields), std::end(kRsltFields),
                         [&](const RsltField &f) { return name == f.name; });
}

Words wordsOf(const Fields &fields) {
    Words words = {};
    for (const auto &[name, value] : fields) {
        const RsltField &f = rsltField(name);
        words[f.word] = setBits(words[f.word], f.hi, f.lo, value);
    }
    return words;
}

constexpr uint32_t kAclDropPtr = 0x11111;
constexpr uint32_t kDropPtr = 0x22222;
constexpr uint32_t kIpv4Sel = 1;
constexpr uint32_t kIpv6Sel = 2;
constexpr uint32_t kFcoeSel = 3;

class TaeL3 : public testing::Test {
protected:
    TaeL3() : taePtr(std::make_unique<CmTaeLkup>(0, initTaeRegDefs, initTaeRamDefs, initTaeTcamDefs)), tae(*taePtr) {
        EXPECT_EQ(tae.configure(), 0);
        CmEnetCrcInit();
        for (const auto &[name, tcam] : tae.TcamCollection)
            tcam->fill(1, 64 * tcam->memSize()); // no entry matches
        for (uint32_t w = 0; w < 16; w++)
            fixedKey[w] = 0xa1000000 + w;
        for (uint32_t p = 0; p < 4; p++) {
            for (uint32_t w = 0; w < 8; w++)
                flexKey[p][w] = 0xb2000000 + 0x100 * p + w;
            flexKeyPtr[p] = flexKey[p];
        }
        for (uint32_t w = 0; w < 9; w++)
            exmKey[w] = 0xc3000000 + w;
        exmKey[0] = 0;
        intf.tcamFixedKey = fixedKey;
        intf.tcamFlexKey = flexKeyPtr;
        intf.exmKey = exmKey;
        intf.acl_drop_ptr = kAclDropPtr;
        intf.drop_ptr = kDropPtr;
        intf.frameIdx = 7;
        intf.portNum = 3;
        frameIs(kIpv4Sel);
        // The trap reason of bank n is n + 1.
        for (uint32_t bank = 0; bank < TAE_BANKS; bank++)
            setBitsOf("TAE_BANK_TRAP_RSN_" + std::to_string(bank / 5) + "_REG", 24 - 6 * (bank % 5), 6, bank + 1);
    }

    ~TaeL3() override {
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

    void frameIs(uint32_t sel) {
        intf.isIpv4 = sel == kIpv4Sel;
        intf.isIpv6 = sel == kIpv6Sel;
        intf.isFcoe = sel == kFcoeSel;
    }

    void setReg(const std::string &name, uint32_t value) { tae.BLK_REG_SET(name.c_str(), value, false, true); }
    void setBitsOf(const std::string &name, uint32_t low, uint32_t width, uint32_t value) {
        setReg(name, setBits(tae.BLK_REG_GET(name.c_str()), low + width - 1, low, value));
    }

    /// Gives a bank a protocol and a logical group. An IPv6 bank makes its neighbour one too.
    void configure(uint32_t bank, uint32_t type, uint32_t group) {
        if (type == ACLT_L3_IPV6)
            setBitsOf("TAE_BANK_PRTCL_SEL_0_REG", bank / 2, 1, 1);
        else
            setBitsOf("TAE_BANK_PRTCL_SEL_" + std::to_string(4 - bank / 8) + "_REG", 4 * (bank % 8), 4, type);
        setBitsOf("TAE_BANK_GRP_" + std::to_string(bank / 6) + "_REG", 25 - 5 * (bank % 6), 5, group);
    }
    void enable(uint32_t bank, uint32_t type, uint32_t group) {
        setBitsOf("TAE_BANK_EN_REG", bank, 1, 1);
        configure(bank, type, group);
    }

    /// Makes entry `idx` of a bank match the eight words of `key` alone: word 0 of the key is the highest of the entry.
    void tcamEntry(uint32_t bank, uint32_t idx, const uint32_t *key) {
        uint32_t offset = 0;
        EmbeddedTcam *tcam = tae.getL2AclTcamPtr(bank, idx, offset);
        ASSERT_NE(tcam, nullptr);
        uint32_t y[8];
        uint32_t x[8];
        for (int w = 0; w < 8; w++) {
            y[w] = key[7 - w];
            x[w] = ~y[w];
        }
        tcam->writeXYRaw(offset, y, x);
    }

    /// The result words as the RTE reads them: word 0 is the highest of the memory's.
    void result(uint32_t bank, uint32_t idx, const Fields &fields) {
        Words words = wordsOf(fields);
        std::reverse(words.begin(), words.end());
        tae.getAclRsltBlockPointer(static_cast<int>(bank))->writeRaw(idx, words.data());
    }

    /// An IPv4 bank in a group of its own number whose entry 5 hits with these result fields.
    void hitBank(uint32_t bank, const Fields &fields) {
        enable(bank, ACLT_L3_IPV4, bank);
        tcamEntry(bank, 5, fixedKey);
        result(bank, 5, fields);
    }

    void defaultWord(const Fields &fields) {
        const Words words = wordsOf(fields);
        for (uint32_t w = 0; w < 4; w++)
            setReg("TAE_L3_SRCH_DEF_RSLT_" + std::to_string(w) + "_REG", words[w]);
    }

    void lookup() {
        std::memset(&rslt, 0xff, sizeof rslt);
        EXPECT_EQ(tae.lookupL3Acl(intf, &rslt), 0);
    }

    uint32_t got(const std::string &field) {
        Words words;
        std::memcpy(words.data(), &rslt, sizeof words);
        const RsltField &f = rsltField(field);
        return bits(words[f.word], f.hi, f.lo);
    }

    /// Searches, and compares the whole result word: fields that are not named must be 0.
    void expectRslt(const Fields &fields) {
        lookup();
        const Words expected = wordsOf(fields);
        for (const RsltField &f : kRsltFields)
            EXPECT_EQ(got(f.name), bits(expected[f.word], f.hi, f.lo)) << f.name;
        Words words;
        std::memcpy(words.data(), &rslt, sizeof words);
        EXPECT_EQ(words, expected);
    }

    static std::string printed(const std::function<void()> &fn) {
        testing::internal::CaptureStdout();
        fn();
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }

    /// The lines of a verbose search up to the merged result; counts and places of error messages are cut off.
    std::string trace() {
        tae.dbgLvl = 4;
        std::string text = printed([&] { lookup(); });
        text.erase(text.find("CM port=3, frameIdx=7>> [mergeL3AclResults]"));
        return withoutPlace(text);
    }
    static std::string withoutPlace(const std::string &text) {
        return std::regex_replace(text, std::regex(R"(\[ERROR\d+@[^\]]*\])"), "[ERROR]");
    }

    // Exact match.

    static constexpr uint32_t kExmCfg4 = 1u << 19;
    static constexpr uint32_t kExmCfg6 = 1u << 9;
    void exmCfg(uint32_t value) { setReg("TAE_L3_SRCH_EXM_CFG_REG", value); }

    /// Makes the one overflow entry `idx` of the IPv4 table match `key` and give these fields.
    void ipv4ExmEntry(uint32_t idx, const uint32_t *key, const Fields &fields) {
        uint32_t *entry = tae.mem.TAE_IPV4_EXM_TCAM + 8 * idx;
        const uint32_t padded[4] = {0, key[0], key[1], key[2]};
        for (uint32_t w = 0; w < 4; w++) {
            entry[w] = padded[w];
            entry[4 + w] = ~padded[w];
        }
        const Words words = wordsOf(fields);
        std::copy(words.begin(), words.end(), tae.mem.TAE_IPV4_EXM_RSLT + 4 * (32768 - 256 + idx));
    }
    void ipv6ExmEntry(uint32_t idx, const uint32_t *key, const Fields &fields) {
        uint32_t *entry = tae.mem.TAE_IPV6_EXM_TCAM + 32 * idx;
        for (uint32_t w = 0; w < 16; w++) {
            entry[w] = w < 7 ? 0 : key[w - 7];
            entry[16 + w] = ~entry[w];
        }
        const Words words = wordsOf(fields);
        std::copy(words.begin(), words.end(), tae.mem.TAE_IPV6_EXM_RSLT + 4 * (8192 - 128 + idx));
    }
    /// No overflow entry matches, and no bucket holds the key.
    void clearExm() {
        std::fill(std::begin(tae.mem.TAE_IPV4_EXM_TCAM), std::end(tae.mem.TAE_IPV4_EXM_TCAM), 0xffffffffu);
        std::fill(std::begin(tae.mem.TAE_IPV6_EXM_TCAM), std::end(tae.mem.TAE_IPV6_EXM_TCAM), 0xffffffffu);
    }

    std::unique_ptr<CmTaeLkup> taePtr;
    CmTaeLkup &tae;
    uint32_t fixedKey[16];
    uint32_t flexKey[4][8];
    uint32_t *flexKeyPtr[4];
    uint32_t exmKey[9];
    tL3AclInterface intf = {};
    L3PselRslt rslt = {};
};
using TaeL3DeathTest = TaeL3;

const char kSkipped[] = "CM port=3, frameIdx=7>> [lookupL3Acl] bank ";
std::string skippedLine(const std::string &bank, int type, const char *frame) {
    return kSkipped + bank + " (type=" + std::to_string(type) + ") skipped for " + frame + "\n";
}
const char kNoIpv4Exm[] = "CM port=3, frameIdx=7>> [L3Acl] IPv4 EXM result=0x00000000_00000000_00000000_00000000\n";
const char kNoIpv6Exm[] = "CM port=3, frameIdx=7>> [L3Acl] IPv6 EXM result=0x00000000_00000000_00000000_00000000\n";

} // namespace

// The result word.

/// Fills one field of the result word with ones and expects them at the field's bits alone.
#define EXPECT_PLACE(field)                                                                                            \
    do {                                                                                                               \
        L3PselRslt r = {};                                                                                             \
        r.field--;                                                                                                     \
        Words words;                                                                                                   \
        std::memcpy(words.data(), &r, sizeof words);                                                                   \
        EXPECT_EQ(words, wordsOf({{#field, 0xffffffff}})) << #field;                                                   \
    } while (0)

TEST_F(TaeL3, ResultFieldsStandAtTheirBits) {
    EXPECT_PLACE(prio_pth);
    EXPECT_PLACE(qmg_prio);
    EXPECT_PLACE(trap_que);
    EXPECT_PLACE(drop_prcd);
    EXPECT_PLACE(dscp);
    EXPECT_PLACE(dscp_en);
    EXPECT_PLACE(l3_dscp_override);
    EXPECT_PLACE(bypass_eacl);
    EXPECT_PLACE(l3_acl_log_override);
    EXPECT_PLACE(l3_pol_override);
    EXPECT_PLACE(l3_trap_en_override);
    EXPECT_PLACE(sflow_profile);
    EXPECT_PLACE(sts_sflow_idx);
    EXPECT_PLACE(pol_en);
    EXPECT_PLACE(pol_id);
    EXPECT_PLACE(fwd_en);
    EXPECT_PLACE(sts_sflow_en);
    EXPECT_PLACE(trap_en);
    EXPECT_PLACE(prio_en);
    EXPECT_PLACE(span_id);
    EXPECT_PLACE(span_en);
    EXPECT_PLACE(acl_log);
    EXPECT_PLACE(l3_fwd_override);
    EXPECT_PLACE(l3_prio_override);
    EXPECT_PLACE(l3_span_override);
    EXPECT_PLACE(nxt_hop_rslt_idx);
    EXPECT_PLACE(sflow_en);
    EXPECT_PLACE(l2_egr_prio);
}

TEST_F(TaeL3, BankResultIsReversedIntoTheFourWords) {
    const uint32_t lowestFirst[4] = {0x44444444, 0x33333333, 0x22222222, 0x000000a5};
    for (const uint32_t bank : {0u, 11u, 12u, 29u}) {
        const uint32_t idx = bank < 12 ? 4095 : 511;
        tae.getAclRsltBlockPointer(static_cast<int>(bank))->writeRaw(idx, lowestFirst);
        L3PselRslt out;
        std::memset(&out, 0xff, sizeof out);
        tae.readL3AclResultBank(intf, static_cast<int>(idx), bank, &out);
        Words words;
        std::memcpy(words.data(), &out, sizeof words);
        EXPECT_EQ(words, (Words{0x000000a5, 0x22222222, 0x33333333, 0x44444444})) << bank;
    }
}

TEST_F(TaeL3, ResultOfAnUnknownBankIsZeroAfterAMessage) {
    L3PselRslt out;
    std::memset(&out, 0xff, sizeof out);
    EXPECT_EQ(withoutPlace(printed([&] { tae.readL3AclResultBank(intf, 0, 30, &out); })),
              "[ERROR] CM TAE error>> pointer to result memory TAE_RSLT_MEM_30 not found!!!\n");
    Words words;
    std::memcpy(words.data(), &out, sizeof words);
    EXPECT_EQ(words, Words{});
}

// Bank types and keys.

TEST_F(TaeL3, SearchTakesThePort) {
    lookup();
    EXPECT_EQ(tae.igPort, 3u);
}

TEST_F(TaeL3, EachTypeIsSearchedForItsFramesWithItsKey) {
    // Frames for which a type is searched: bit 1 IPv4, bit 2 IPv6, bit 3 FCoE.
    const struct {
        uint32_t type;
        uint32_t frames;
        const uint32_t *key;
    } rows[] = {
        {ACLT_L2_IP, 0, fixedKey},
        {ACLT_L2_FCOE, 0, fixedKey},
        {ACLT_L2_FLEX0, 0, flexKey[0]},
        {ACLT_L2_FLEX1, 0, flexKey[1]},
        {ACLT_L2_FLEX2, 0, flexKey[2]},
        {ACLT_L2_FLEX3, 0, flexKey[3]},
        {ACLT_L3_IPV4, 1 << kIpv4Sel, fixedKey},
        {ACLT_L3_FCOE, 1 << kFcoeSel, fixedKey},
        {ACLT_L3_IP_FLEX0, 1 << kIpv4Sel | 1 << kIpv6Sel, flexKey[0]},
        {ACLT_L3_IP_FLEX1, 0, flexKey[1]},
        {ACLT_L3_IP_FLEX2, 0, flexKey[2]},
        {ACLT_L3_IP_FLEX3, 0, flexKey[3]},
        {ACLT_L3_FCOE_FLEX0, 1 << kFcoeSel, flexKey[0]},
        {ACLT_L3_FCOE_FLEX1, 0, flexKey[1]},
        {ACLT_L3_FCOE_FLEX2, 0, flexKey[2]},
        {ACLT_L3_FCOE_FLEX3, 0, flexKey[3]},
    };
    for (const uint32_t bank : {1u, 14u}) {
        for (const auto &row : rows) {
            enable(bank, row.type, 4);
            tcamEntry(bank, 9, row.key);
            result(bank, 9, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", 0x1234}});
            for (const uint32_t sel : {kIpv4Sel, kIpv6Sel, kFcoeSel}) {
                frameIs(sel);
                printed([&] { lookup(); }); // the types without a search report
                EXPECT_EQ(got("fwd_en"), row.frames >> sel & 1) << "type " << row.type << " frame " << sel;
            }
        }
        setReg("TAE_BANK_EN_REG", 0);
    }
}

TEST_F(TaeL3, BankThatIsOffIsNotSearched) {
    hitBank(2, {{"fwd_en", 1}});
    lookup();
    EXPECT_EQ(got("fwd_en"), 1u);
    setReg("TAE_BANK_EN_REG", ~(1u << 2) & 0x3fffffff);
    lookup();
    EXPECT_EQ(got("fwd_en"), 0u);
}

TEST_F(TaeL3, SecondBlockOfABankCounts) {
    enable(3, ACLT_L3_IPV4, 0);
    tcamEntry(3, 4095, fixedKey);
    result(3, 4095, {{"dscp_en", 1}, {"dscp", 0x2a}});
    expectRslt({{"dscp_en", 1}, {"dscp", 0x2a}});
}

TEST_F(TaeL3, LowestEntryAndLowestBankOfAGroupWin) {
    for (const uint32_t bank : {4u, 7u}) {
        enable(bank, ACLT_L3_IPV4, 6);
        tcamEntry(bank, 9, fixedKey);
        tcamEntry(bank, 8, fixedKey);
        result(bank, 8, {{"pol_en", bank == 7}, {"span_en", 1}, {"span_id", bank}});
        result(bank, 9, {{"span_en", 1}});
    }
    expectRslt({{"span_en", 1}, {"span_id", 4}});
}

TEST_F(TaeL3, LayerTwoBanksStaySilentAndTheOthersSaySkipped) {
    enable(0, ACLT_L2_IP, 0);
    enable(1, ACLT_L2_FCOE, 0);
    enable(2, ACLT_L2_FLEX0, 0);
    enable(3, ACLT_L3_FCOE, 0);
    enable(12, ACLT_L3_FCOE_FLEX0, 0);
    enable(14, ACLT_L3_IPV6, 0);
    EXPECT_EQ(trace(), skippedLine(" 3", 7, "ipv4=1 ipv6=0 fcoe=0") + skippedLine("12", 12, "ipv4=1 ipv6=0 fcoe=0") +
                           skippedLine("14", 16, "ipv4=1 ipv6=0 fcoe=0") + kNoIpv4Exm);
    frameIs(kFcoeSel);
    setReg("TAE_BANK_EN_REG", 0);
    enable(4, ACLT_L3_IPV4, 0);
    enable(5, ACLT_L3_IP_FLEX0, 0);
    EXPECT_EQ(trace(), skippedLine(" 4", 6, "ipv4=0 ipv6=0 fcoe=1") + skippedLine(" 5", 8, "ipv4=0 ipv6=0 fcoe=1"));
}

TEST_F(TaeL3, RemovedFlexProfilesReportAlsoInAQuietRun) {
    const std::pair<uint32_t, int> rows[] = {
        {ACLT_L2_FLEX1, 1},      {ACLT_L2_FLEX2, 2},      {ACLT_L2_FLEX3, 3},
        {ACLT_L3_IP_FLEX1, 1},   {ACLT_L3_IP_FLEX2, 2},   {ACLT_L3_IP_FLEX3, 3},
        {ACLT_L3_FCOE_FLEX1, 1}, {ACLT_L3_FCOE_FLEX2, 2}, {ACLT_L3_FCOE_FLEX3, 3},
    };
    for (const auto &[type, profile] : rows) {
        enable(17, type, 0);
        const std::string error = "[ERROR] TAE bank 17 is selecting flex key profile " + std::to_string(profile) +
                                  " that has been removed from RTL\n\n";
        tae.dbgLvl = 0;
        EXPECT_EQ(withoutPlace(printed([&] { lookup(); })), error) << type;
        EXPECT_EQ(trace(), error + skippedLine("17", static_cast<int>(type), "ipv4=1 ipv6=0 fcoe=0") + kNoIpv4Exm);
    }
}

TEST_F(TaeL3, TraceNeedsALevelAboveOne) {
    enable(3, ACLT_L3_FCOE, 0);
    tae.dbgLvl = 1;
    EXPECT_EQ(printed([&] { lookup(); }), "");
    tae.dbgLvl = 2;
    EXPECT_NE(printed([&] { lookup(); }), "");
}

TEST_F(TaeL3DeathTest, GroupAbove29Aborts) {
    enable(3, ACLT_L3_IPV4, 29);
    lookup();
    configure(3, ACLT_L3_IPV4, 30);
    EXPECT_EXIT(lookup(), testing::KilledBySignal(SIGABRT), "logicalGrpId < 30");
    configure(3, ACLT_L2_IP, 31); // also of a bank that would not be searched
    EXPECT_EXIT(lookup(), testing::KilledBySignal(SIGABRT), "logicalGrpId < 30");
    setReg("TAE_BANK_EN_REG", 0); // a bank that is off may name any
    lookup();
}

TEST_F(TaeL3DeathTest, GroupAbove29OfAnEvenBankThatIsOffAborts) {
    enable(5, ACLT_L3_IPV6, 3);
    configure(4, ACLT_L3_IPV6, 31);
    EXPECT_EXIT(lookup(), testing::KilledBySignal(SIGABRT), "logicalGrpId < 30");
}

// IPv6 pairs.

TEST_F(TaeL3, Ipv6HitsWhereBothBanksOfAPairHitTheSameIndex) {
    frameIs(kIpv6Sel);
    for (const uint32_t even : {0u, 10u, 12u, 28u}) {
        enable(even, ACLT_L3_IPV6, 2);
        enable(even + 1, ACLT_L3_IPV6, 9); // its own group does not count
        tcamEntry(even, 7, fixedKey);
        result(even, 7, {{"dscp_en", 1}, {"dscp", 7}});
        result(even + 1, 7, {{"dscp_en", 1}, {"dscp", 0x3f}});
        lookup();
        EXPECT_EQ(got("dscp_en"), 0u) << "the master alone";
        tcamEntry(even + 1, 8, fixedKey + 8);
        lookup();
        EXPECT_EQ(got("dscp_en"), 0u) << "another index";
        tcamEntry(even + 1, 7, fixedKey + 8);
        expectRslt({{"dscp_en", 1}, {"dscp", 7}});
        setReg("TAE_BANK_EN_REG", 0);
    }
}

TEST_F(TaeL3, Ipv6FirstCommonIndexWins) {
    frameIs(kIpv6Sel);
    enable(0, ACLT_L3_IPV6, 0);
    enable(1, ACLT_L3_IPV6, 0);
    for (const uint32_t idx : {2u, 5u, 6u, 3000u})
        tcamEntry(0, idx, fixedKey);
    for (const uint32_t idx : {1u, 3u, 6u, 3000u, 4000u})
        tcamEntry(1, idx, fixedKey + 8);
    result(0, 6, {{"span_en", 1}, {"span_id", 6}});
    expectRslt({{"span_en", 1}, {"span_id", 6}});
    EXPECT_EQ(trace(), "CM port=3, frameIdx=7>> [lookupL3Acl] ipv6 master bank 0 hits at index 0x2 logicalGrpId=0\n" +
                           std::string(kNoIpv6Exm));
}

TEST_F(TaeL3, Ipv6OddBankNeedsTheMasterJustBelow) {
    frameIs(kIpv6Sel);
    for (const uint32_t bank : {0u, 3u})
        enable(bank, ACLT_L3_IPV6, 0);
    configure(2, ACLT_L3_IPV6, 0);
    tcamEntry(0, 4, fixedKey);
    tcamEntry(2, 4, fixedKey);
    tcamEntry(3, 4, fixedKey + 8);
    result(0, 4, {{"dscp_en", 1}});
    result(2, 4, {{"dscp_en", 1}});
    lookup();
    EXPECT_EQ(got("dscp_en"), 0u);
    setBitsOf("TAE_BANK_EN_REG", 2, 1, 1);
    lookup();
    EXPECT_EQ(got("dscp_en"), 1u);
}

TEST_F(TaeL3, Ipv6HalvesAreNotExchanged) {
    frameIs(kIpv6Sel);
    enable(0, ACLT_L3_IPV6, 0);
    enable(1, ACLT_L3_IPV6, 0);
    tcamEntry(0, 4, fixedKey + 8);
    tcamEntry(1, 4, fixedKey);
    result(0, 4, {{"dscp_en", 1}});
    lookup();
    EXPECT_EQ(got("dscp_en"), 0u);
}

TEST_F(TaeL3, Ipv6PairYieldsToAWinnerOfItsGroup) {
    frameIs(kIpv6Sel);
    enable(0, ACLT_L3_IP_FLEX0, 5);
    tcamEntry(0, 1, flexKey[0]);
    result(0, 1, {{"span_en", 1}, {"span_id", 1}});
    enable(2, ACLT_L3_IPV6, 5);
    enable(3, ACLT_L3_IPV6, 6);
    tcamEntry(2, 1, fixedKey);
    tcamEntry(3, 1, fixedKey + 8);
    result(2, 1, {{"span_en", 1}, {"span_id", 2}, {"pol_en", 1}});
    expectRslt({{"span_en", 1}, {"span_id", 1}});
    EXPECT_EQ(trace(), kNoIpv6Exm); // and names no master
}

// The user id in the key.

TEST_F(TaeL3, UserIdSelectOfEachTcamBank) {
    for (uint32_t bank = 0; bank < 30; bank++) {
        const std::string reg = bank < 16 ? "TAE_L3_SRCH_CID_MCUID_SEL_0_REG" : "TAE_L3_SRCH_CID_MCUID_SEL_1_REG";
        setReg("TAE_L3_SRCH_CID_MCUID_SEL_0_REG", 0);
        setReg("TAE_L3_SRCH_CID_MCUID_SEL_1_REG", 0);
        const auto word3 = [&](int isIpv6, uint32_t &ret) {
            uint32_t key[8] = {};
            ret = tae.replaceIivid(key, 0x111, 0x222, static_cast<int>(bank), ACLT_L3_IPV4, 1, !isIpv6, isIpv6);
            return key[3];
        };
        uint32_t ret = 9;
        EXPECT_EQ(word3(0, ret), 0u);
        EXPECT_EQ(ret, 0u);
        setReg(reg, 1u << 2 * (bank % 16));
        EXPECT_EQ(word3(0, ret), 0x111u << 7) << bank;
        EXPECT_EQ(ret, 1u);
        setReg(reg, 2u << 2 * (bank % 16));
        EXPECT_EQ(word3(0, ret), 0x222u << 7) << bank;
        EXPECT_EQ(ret, 1u);
        // An IPv6 search looks at the even bank's select.
        EXPECT_EQ(word3(1, ret), bank % 2 ? 0u : 0x222u << 7) << bank;
        EXPECT_EQ(ret, bank % 2 ? 0u : 1u);
    }
}

TEST_F(TaeL3, UserIdGoesToTheChipsPlaces) {
    setReg("TAE_L3_SRCH_CID_MCUID_SEL_0_REG", 0x55555555);
    const auto replaced = [&](uint32_t id, uint32_t old, int bank, enumBankType type) {
        std::array<uint32_t, 8> key;
        key.fill(old);
        EXPECT_EQ(tae.replaceIivid(key.data(), id, 0, bank, type, 1, type != ACLT_L3_IPV6, type == ACLT_L3_IPV6), 1u);
        return key;
    };
    for (const uint32_t old : {0u, 0xffffffffu}) {
        for (uint32_t b = 0; b <= 13; b++) {
            // Bit 13 and above of the id are cut.
            const uint32_t id = b == 13 ? 0xffffe000 : 1u << b;
            const uint32_t id13 = id & 0x1fff;
            std::array<uint32_t, 8> expected;
            expected.fill(old);
            expected[3] = (old & ~(0x1fffu << 7)) | id13 << 7;
            EXPECT_EQ(replaced(id, old, 4, ACLT_L3_IPV4), expected);
            expected.fill(old);
            expected[7] = (old & ~(0x1fffu << 6)) | id13 << 6;
            for (const enumBankType type : {ACLT_L3_IP_FLEX0, ACLT_L3_IP_FLEX1, ACLT_L3_IP_FLEX2, ACLT_L3_IP_FLEX3})
                EXPECT_EQ(replaced(id, old, 4, type), expected);
            expected.fill(old);
            expected[3] = (old & ~3u) | (id13 >> 2 & 3);
            expected[7] = (old & ~3u) | (id13 & 3);
            EXPECT_EQ(replaced(id, old, 5, ACLT_L3_IPV6), expected);
            expected.fill(old);
            expected[3] = (old & ~(3u | 0x1fu << 14)) | (id13 >> 6 & 3) | (id13 >> 8) << 14;
            expected[7] = (old & ~3u) | (id13 >> 4 & 3);
            EXPECT_EQ(replaced(id, old, 4, ACLT_L3_IPV6), expected);
        }
    }
}

TEST_F(TaeL3, UserIdOfTheExactMatch) {
    uint32_t key[9];
    const auto replaced = [&](uint32_t old, int isIpv4, int isIpv6) {
        std::fill_n(key, 9, old);
        return tae.replaceIivid(key, 0x1fff, 0x1001, 0, ACLT_L2_IP, 0, isIpv4, isIpv6);
    };
    exmCfg(1u << 10); // IPv4 takes the customer
    EXPECT_EQ(replaced(0, 1, 0), 1u);
    EXPECT_EQ(key[0], 0x1fffu << 9);
    EXPECT_EQ(key[1], 0u);
    EXPECT_EQ(replaced(0, 0, 1), 0u);
    EXPECT_EQ(key[0], 0u);
    exmCfg(2u); // IPv6 takes the multicast user
    EXPECT_EQ(replaced(0xffffffff, 0, 1), 1u);
    EXPECT_EQ(key[0], 0xfff8007fu | 0x1001u << 7);
    EXPECT_EQ(replaced(0xffffffff, 1, 0), 0u);
    exmCfg(2u << 10);
    EXPECT_EQ(replaced(0xffffffff, 1, 0), 1u);
    EXPECT_EQ(key[0], 0xffc001ffu | 0x1001u << 9);
    exmCfg(1u);
    EXPECT_EQ(replaced(0, 0, 1), 1u);
    EXPECT_EQ(key[0], 0x1fffu << 7);
}

TEST_F(TaeL3, BadUserIdSelectReportsAndWritesNothing) {
    setReg("TAE_L3_SRCH_CID_MCUID_SEL_1_REG", 3u << 2);
    uint32_t key[9] = {};
    uint32_t ret = 9;
    EXPECT_EQ(withoutPlace(printed([&] { ret = tae.replaceIivid(key, 1, 2, 17, ACLT_L3_IPV4, 1, 1, 0); })),
              "[ERROR] Bad TAE_L3_SRCH_CID_MCUID_SEL register for bank 17, value=3\n\n");
    EXPECT_EQ(ret, 0u);
    EXPECT_EQ(key[3], 0u);
    exmCfg(3);
    EXPECT_EQ(withoutPlace(printed([&] { ret = tae.replaceIivid(key, 1, 2, 0, ACLT_L2_IP, 0, 0, 1); })),
              "[ERROR] Bad TAE_L3_SRCH_CID_MCUID_SEL register for bank 0, value=3\n\n");
    EXPECT_EQ(ret, 0u);
    EXPECT_EQ(key[0], 0u);
}

TEST_F(TaeL3, UserIdNeverGoesIntoAnFcoeKey) {
    for (const uint32_t sel : {1u, 2u, 3u}) {
        setReg("TAE_L3_SRCH_CID_MCUID_SEL_0_REG", sel << 8);
        for (const enumBankType type :
             {ACLT_L3_FCOE, ACLT_L3_FCOE_FLEX0, ACLT_L3_FCOE_FLEX1, ACLT_L3_FCOE_FLEX2, ACLT_L3_FCOE_FLEX3}) {
            uint32_t key[8] = {};
            tae.dbgLvl = 3;
            EXPECT_EQ(printed([&] { EXPECT_EQ(tae.replaceIivid(key, 0xff, 0xff, 4, type, 1, 0, 0), 0u); }), "");
            EXPECT_EQ(std::count(key, key + 8, 0u), 8);
            tae.dbgLvl = 4;
            EXPECT_NE(printed([&] { tae.replaceIivid(key, 0xff, 0xff, 4, type, 1, 0, 0); }), "");
        }
    }
    // A search of such a bank goes with the key as it came.
    frameIs(kFcoeSel);
    tae.dbgLvl = 0;
    setReg("TAE_L3_SRCH_CID_MCUID_SEL_0_REG", 2u << 8);
    intf.l3Mcuid = 0x1fff;
    enable(4, ACLT_L3_FCOE, 0);
    tcamEntry(4, 0, fixedKey);
    result(4, 0, {{"dscp_en", 1}});
    lookup();
    EXPECT_EQ(got("dscp_en"), 1u);
}

TEST_F(TaeL3, UserIdSelectOfALayerTwoBankIsAnError) {
    setReg("TAE_L3_SRCH_CID_MCUID_SEL_0_REG", 1u << 8);
    for (uint32_t type = ACLT_L2_IP; type <= ACLT_L2_FLEX3; type++) {
        uint32_t key[8] = {};
        const std::string text = printed(
            [&] { EXPECT_EQ(tae.replaceIivid(key, 0xff, 0, 4, static_cast<enumBankType>(type), 1, 1, 0), 0u); });
        EXPECT_EQ(text.rfind("[ERROR", 0), 0u) << type;
        EXPECT_EQ(std::count(key, key + 8, 0u), 8);
    }
}

TEST_F(TaeL3, SearchUsesTheReplacedKeyAndKeepsTheCallersKey) {
    setReg("TAE_L3_SRCH_CID_MCUID_SEL_0_REG", 1u << 4 | 2u << 6);
    intf.l3Cugid = 0x123;
    intf.l3Mcuid = 0x456;
    enable(2, ACLT_L3_IPV4, 0);
    enable(3, ACLT_L3_IP_FLEX0, 1);
    uint32_t key[8];
    std::copy_n(fixedKey, 8, key);
    key[3] = setBits(key[3], 19, 7, 0x123);
    tcamEntry(2, 0, key);
    std::copy_n(flexKey[0], 8, key);
    key[7] = setBits(key[7], 18, 6, 0x456);
    tcamEntry(3, 0, key);
    result(2, 0, {{"dscp_en", 1}});
    result(3, 0, {{"pol_en", 1}});
    expectRslt({{"dscp_en", 1}, {"pol_en", 1}});
    EXPECT_EQ(fixedKey[3], 0xa1000003u);
    EXPECT_EQ(flexKey[0][7], 0xb2000007u);
}

TEST_F(TaeL3, Ipv6PairTakesBothHalvesOfTheUserId) {
    frameIs(kIpv6Sel);
    setReg("TAE_L3_SRCH_CID_MCUID_SEL_0_REG", 1u << 4 | 2u << 6); // bank 3 goes by bank 2
    intf.l3Cugid = 0x15a6;                                        // 10101 10 10 01 10
    intf.l3Mcuid = 0;
    enable(2, ACLT_L3_IPV6, 0);
    enable(3, ACLT_L3_IPV6, 0);
    uint32_t key[16];
    std::copy_n(fixedKey, 16, key);
    key[3] = setBits(setBits(key[3], 1, 0, 2), 18, 14, 0x15);
    key[7] = setBits(key[7], 1, 0, 2);
    key[11] = setBits(key[11], 1, 0, 1);
    key[15] = setBits(key[15], 1, 0, 2);
    tcamEntry(2, 0, key);
    tcamEntry(3, 0, key + 8);
    result(2, 0, {{"dscp_en", 1}});
    expectRslt({{"dscp_en", 1}});
}

// Exact match.

TEST_F(TaeL3, Ipv4ExactMatchInTheOverflowTcam) {
    clearExm();
    exmKey[0] = 0x3abcde;
    for (const uint32_t idx : {0u, 255u}) {
        ipv4ExmEntry(idx, exmKey, {{"nxt_hop_rslt_idx", idx + 1}});
        L3PselRslt out = {};
        exmCfg(kExmCfg4);
        EXPECT_EQ(tae.doIpv4ExmLu(exmKey, &out), 1u);
        EXPECT_EQ(out.nxt_hop_rslt_idx, idx + 1);
        exmKey[2] ^= 1;
        EXPECT_EQ(tae.doIpv4ExmLu(exmKey, &out), 0u);
        exmKey[2] ^= 1;
        exmCfg(0);
        EXPECT_EQ(tae.doIpv4ExmLu(exmKey, &out), 0u);
        exmCfg(kExmCfg4 | 1u << 18);
        EXPECT_EQ(tae.doIpv4ExmLu(exmKey, &out), 0u);
        clearExm();
    }
}

TEST_F(TaeL3, Ipv6ExactMatchInTheOverflowTcam) {
    clearExm();
    exmKey[0] = 0xfabcd;
    for (const uint32_t idx : {0u, 127u}) {
        ipv6ExmEntry(idx, exmKey, {{"nxt_hop_rslt_idx", idx + 1}});
        L3PselRslt out = {};
        exmCfg(kExmCfg6);
        EXPECT_EQ(tae.doIpv6ExmLu(exmKey, &out), 1u);
        EXPECT_EQ(out.nxt_hop_rslt_idx, idx + 1);
        for (uint32_t w = 0; w < 9; w++) {
            exmKey[w] ^= 1;
            EXPECT_EQ(tae.doIpv6ExmLu(exmKey, &out), 0u) << w;
            exmKey[w] ^= 1;
        }
        exmCfg(0);
        EXPECT_EQ(tae.doIpv6ExmLu(exmKey, &out), 0u);
        exmCfg(kExmCfg6 | 1u << 8);
        EXPECT_EQ(tae.doIpv6ExmLu(exmKey, &out), 0u);
        clearExm();
    }
}

TEST_F(TaeL3, MissLeavesTheExactMatchResultAlone) {
    clearExm();
    exmCfg(kExmCfg4 | kExmCfg6);
    L3PselRslt out = {};
    out.nxt_hop_rslt_idx = 0x777;
    EXPECT_EQ(tae.doIpv4ExmLu(exmKey, &out), 0u);
    EXPECT_EQ(tae.doIpv6ExmLu(exmKey, &out), 0u);
    EXPECT_EQ(out.nxt_hop_rslt_idx, 0x777u);
}

// Every index word names the same bucket, so the bucket holds the key whatever its hash.
TEST_F(TaeL3, Ipv4ExactMatchInABucket) {
    clearExm();
    exmCfg(kExmCfg4);
    exmKey[0] = 0x2abcde;
    const uint32_t bucket = 4000;
    const uint32_t pos = 7;
    std::fill(std::begin(tae.mem.TAE_IPV4_EXM_IDX), std::end(tae.mem.TAE_IPV4_EXM_IDX), bucket);
    uint32_t *entry = tae.mem.TAE_IPV4_EXM_BKT + 4 * (8 * bucket + pos);
    std::copy_n(exmKey, 3, entry + 1);
    const Words words = {0x01020304, 0x05060708, 0x090a0b0c, 0x0d0e0f10};
    std::copy(words.begin(), words.end(), tae.mem.TAE_IPV4_EXM_RSLT + 4 * (8 * bucket + pos));
    L3PselRslt out = {};
    EXPECT_EQ(tae.doIpv4ExmLu(exmKey, &out), 1u);
    Words gotWords;
    std::memcpy(gotWords.data(), &out, sizeof gotWords);
    EXPECT_EQ(gotWords, words);
}

TEST_F(TaeL3, Ipv6ExactMatchInABucket) {
    clearExm();
    exmCfg(kExmCfg6);
    const uint32_t bucket = 1000;
    const uint32_t pos = 3;
    std::fill(std::begin(tae.mem.TAE_IPV6_EXM_IDX), std::end(tae.mem.TAE_IPV6_EXM_IDX), bucket);
    uint32_t *entry = tae.mem.TAE_IPV6_EXM_BKT + 16 * (8 * bucket + pos);
    std::copy_n(exmKey, 9, entry + 7);
    const Words words = {0x01020304, 0x05060708, 0x090a0b0c, 0x0d0e0f10};
    std::copy(words.begin(), words.end(), tae.mem.TAE_IPV6_EXM_RSLT + 4 * (8 * bucket + pos));
    L3PselRslt out = {};
    EXPECT_EQ(tae.doIpv6ExmLu(exmKey, &out), 1u);
    Words gotWords;
    std::memcpy(gotWords.data(), &out, sizeof gotWords);
    EXPECT_EQ(gotWords, words);
}

// The results of the last 256 and 128 entries belong to the overflow TCAM.
TEST_F(TaeL3, BucketHitInTheOverflowRangeCountsOnlyWhenAllowed) {
    clearExm();
    std::fill(std::begin(tae.mem.TAE_IPV4_EXM_IDX), std::end(tae.mem.TAE_IPV4_EXM_IDX), 4064u);
    std::copy_n(exmKey, 3, tae.mem.TAE_IPV4_EXM_BKT + 4 * 8 * 4064 + 1);
    std::fill(std::begin(tae.mem.TAE_IPV6_EXM_IDX), std::end(tae.mem.TAE_IPV6_EXM_IDX), 1008u);
    std::copy_n(exmKey, 9, tae.mem.TAE_IPV6_EXM_BKT + 16 * 8 * 1008 + 7);
    L3PselRslt out = {};
    exmCfg(kExmCfg4 | kExmCfg6 | 1u << 7);
    EXPECT_EQ(tae.doIpv4ExmLu(exmKey, &out), 0u);
    EXPECT_EQ(tae.doIpv6ExmLu(exmKey, &out), 1u);
    exmCfg(kExmCfg4 | kExmCfg6 | 1u << 17);
    EXPECT_EQ(tae.doIpv4ExmLu(exmKey, &out), 1u);
    EXPECT_EQ(tae.doIpv6ExmLu(exmKey, &out), 0u);
    // One bucket lower is below the range.
    exmCfg(kExmCfg4 | kExmCfg6);
    std::fill(std::begin(tae.mem.TAE_IPV4_EXM_IDX), std::end(tae.mem.TAE_IPV4_EXM_IDX), 4063u);
    std::copy_n(exmKey, 3, tae.mem.TAE_IPV4_EXM_BKT + 4 * (8 * 4063 + 7) + 1);
    std::fill(std::begin(tae.mem.TAE_IPV6_EXM_IDX), std::end(tae.mem.TAE_IPV6_EXM_IDX), 1007u);
    std::copy_n(exmKey, 9, tae.mem.TAE_IPV6_EXM_BKT + 16 * (8 * 1007 + 7) + 7);
    EXPECT_EQ(tae.doIpv4ExmLu(exmKey, &out), 1u);
    EXPECT_EQ(tae.doIpv6ExmLu(exmKey, &out), 1u);
}

// A swap exchanges bits 2n and 2n + 1 of a segment, so a key with the one bit 2n under a swap hashes as the key with
// bit 2n + 1 without one. The bucket that each hash finds is told from the result.
TEST_F(TaeL3, SwapRegistersSteerTheSegmentsFromTheTop) {
    clearExm();
    exmCfg(kExmCfg4 | kExmCfg6);
    const auto hash4 = [&](std::array<uint32_t, 3> key) {
        for (uint32_t i = 0; i < std::size(tae.mem.TAE_IPV4_EXM_IDX); i++)
            tae.mem.TAE_IPV4_EXM_IDX[i] = i >> 3 & 0xfff;
        std::fill(std::begin(tae.mem.TAE_IPV4_EXM_BKT), std::end(tae.mem.TAE_IPV4_EXM_BKT), 0u);
        for (uint32_t bucket = 0; bucket < 4064; bucket++) {
            std::copy(key.begin(), key.end(), tae.mem.TAE_IPV4_EXM_BKT + 32 * bucket + 1);
            tae.mem.TAE_IPV4_EXM_RSLT[32 * bucket] = bucket;
        }
        L3PselRslt out = {};
        const uint32_t hit = tae.doIpv4ExmLu(key.data(), &out);
        return std::pair(hit, static_cast<uint32_t>(out.does_not_exist_in_hw));
    };
    const std::pair<std::array<uint32_t, 3>, std::array<uint32_t, 3>> rows4[] = {
        {{0x10, 0, 0}, {0x20, 0, 0}},
        {{0, 0x10, 0}, {0, 0x20, 0}},
    };
    for (uint32_t reg = 0; reg < 2; reg++) {
        const std::string name = "TAE_IPV4_EXM_KEY_SWAP_CTRL_" + std::to_string(reg) + "_REG";
        const auto plain = hash4(rows4[reg].second);
        EXPECT_NE(hash4(rows4[reg].first), plain);
        setReg(name, reg == 0 ? 1u << 2 : 1u << 18); // bit pair 2 of segment 0; pair 18 is bits 36 and 37
        EXPECT_EQ(hash4(rows4[reg].first), plain);
        setReg(name, 0);
    }

    const auto hash6 = [&](std::array<uint32_t, 9> key) {
        for (uint32_t i = 0; i < std::size(tae.mem.TAE_IPV6_EXM_IDX); i++)
            tae.mem.TAE_IPV6_EXM_IDX[i] = i >> 3 & 0x3ff;
        std::fill(std::begin(tae.mem.TAE_IPV6_EXM_BKT), std::end(tae.mem.TAE_IPV6_EXM_BKT), 0u);
        for (uint32_t bucket = 0; bucket < 1008; bucket++) {
            std::copy(key.begin(), key.end(), tae.mem.TAE_IPV6_EXM_BKT + 128 * bucket + 7);
            tae.mem.TAE_IPV6_EXM_RSLT[32 * bucket] = bucket;
        }
        L3PselRslt out = {};
        const uint32_t hit = tae.doIpv6ExmLu(key.data(), &out);
        return std::pair(hit, static_cast<uint32_t>(out.does_not_exist_in_hw));
    };
    for (uint32_t reg = 0; reg < 5; reg++) {
        const std::string name = "TAE_IPV6_EXM_KEY_SWAP_CTRL_" + std::to_string(reg) + "_REG";
        std::array<uint32_t, 9> even = {};
        std::array<uint32_t, 9> odd = {};
        even[2 * reg] = 0x10; // the low word of the segment
        odd[2 * reg] = 0x20;
        const auto plain = hash6(odd);
        EXPECT_NE(hash6(even), plain) << reg;
        setReg(name, 1u << 2);
        EXPECT_EQ(hash6(even), plain) << reg;
        setReg(name, 0);
    }
}

TEST_F(TaeL3, ExactMatchTraceIsPrintedInEachCase) {
    clearExm();
    EXPECT_EQ(trace(), kNoIpv4Exm); // off
    exmCfg(kExmCfg4 | 31u << 12);
    EXPECT_EQ(trace(), kNoIpv4Exm); // miss
    ipv4ExmEntry(0, exmKey, {{"trap_que", 5}, {"pol_id", 0x3fff}, {"l2_egr_prio", 6}});
    EXPECT_EQ(trace(), "CM port=3, frameIdx=7>> [L3Acl] IPv4 EXM result=0x00000000_05000000_0000fffc_00000006\n");
    frameIs(kIpv6Sel);
    EXPECT_EQ(trace(), kNoIpv6Exm);
    exmCfg(kExmCfg6 | 31u << 2);
    ipv6ExmEntry(0, exmKey, {{"prio_pth", 1}, {"trap_en", 1}});
    EXPECT_EQ(trace(), "CM port=3, frameIdx=7>> [L3Acl] IPv6 EXM result=0x00000000_80000000_00000000_80000000\n");
    frameIs(kFcoeSel);
    EXPECT_EQ(trace(), "");
}

TEST_F(TaeL3, ExactMatchKeyTakesTheUserId) {
    clearExm();
    intf.l3Cugid = 0x1abc;
    exmCfg(kExmCfg4 | 1u << 10);
    uint32_t key[9];
    std::copy_n(exmKey, 9, key);
    key[0] = 0x1abc << 9;
    ipv4ExmEntry(3, key, {{"dscp_en", 1}});
    lookup();
    EXPECT_EQ(got("dscp_en"), 1u);
    EXPECT_EQ(exmKey[0], 0u);
    frameIs(kIpv6Sel);
    exmCfg(kExmCfg6 | 1u);
    key[0] = 0x1abc << 7;
    ipv6ExmEntry(3, key, {{"pol_en", 1}});
    lookup();
    EXPECT_EQ(got("pol_en"), 1u);
    EXPECT_EQ(exmKey[0], 0u);
}

// Selection.

TEST_F(TaeL3, ExactMatchTakesThePlaceOfItsBank) {
    clearExm();
    hitBank(4, {{"span_en", 1}, {"span_id", 4}});
    ipv4ExmEntry(0, exmKey, {{"span_en", 1}, {"span_id", 7}});
    exmCfg(kExmCfg4 | 4u << 12);
    expectRslt({{"span_en", 1}, {"span_id", 7}});
    EXPECT_EQ(trace(), "CM port=3, frameIdx=7>> [L3Acl] IPv4 EXM result=0x00000000_00000000_00000000_3c000000\n"
                       "CM port=3, frameIdx=7>> [lookupL3Acl] ipv4 EXM result replaced TCAM bank 4\n");
}

TEST_F(TaeL3, ExactMatchWorksInABankThatIsOff) {
    clearExm();
    ipv4ExmEntry(0, exmKey, {{"span_en", 1}, {"span_id", 7}});
    for (const uint32_t bank : {0u, 29u}) {
        exmCfg(kExmCfg4 | bank << 12);
        configure(bank, ACLT_L2_IP, 31);
        expectRslt({{"span_en", 1}, {"span_id", 7}});
    }
    for (const uint32_t bank : {30u, 31u}) {
        exmCfg(kExmCfg4 | bank << 12);
        expectRslt({});
    }
}

TEST_F(TaeL3, ExactMatchLosesToAWinnerOfItsGroupInALowerBank) {
    clearExm();
    enable(4, ACLT_L3_IPV4, 2);
    tcamEntry(4, 0, fixedKey);
    result(4, 0, {{"span_en", 1}, {"span_id", 4}});
    ipv4ExmEntry(0, exmKey, {{"span_en", 1}, {"span_id", 7}});
    for (const uint32_t bank : {3u, 5u}) {
        configure(bank, ACLT_L3_IPV4, 2);
        exmCfg(kExmCfg4 | bank << 12);
        expectRslt({{"span_en", 1}, {"span_id", bank < 4 ? 7u : 4u}});
    }
    // In another group both count.
    configure(5, ACLT_L3_IPV4, 3);
    ipv4ExmEntry(0, exmKey, {{"span_en", 1}, {"span_id", 7}, {"pol_en", 1}});
    expectRslt({{"span_en", 1}, {"span_id", 4}, {"pol_en", 1}});
}

TEST_F(TaeL3, Ipv6ExactMatchTakesThePlaceOfItsBank) {
    clearExm();
    frameIs(kIpv6Sel);
    enable(2, ACLT_L3_IPV6, 0);
    enable(3, ACLT_L3_IPV6, 0);
    tcamEntry(2, 1, fixedKey);
    tcamEntry(3, 1, fixedKey + 8);
    result(2, 1, {{"span_en", 1}, {"span_id", 2}});
    ipv6ExmEntry(0, exmKey, {{"span_en", 1}, {"span_id", 6}});
    exmCfg(kExmCfg6 | 2u << 2 | kExmCfg4 | 2u << 12);
    expectRslt({{"span_en", 1}, {"span_id", 6}});
    EXPECT_EQ(trace(), "CM port=3, frameIdx=7>> [lookupL3Acl] ipv6 master bank 2 hits at index 0x1 logicalGrpId=0\n"
                       "CM port=3, frameIdx=7>> [L3Acl] IPv6 EXM result=0x00000000_00000000_00000000_34000000\n"
                       "CM port=3, frameIdx=7>> [lookupL3Acl] ipv6 EXM result replaced TCAM bank 2\n");
    tae.dbgLvl = 0;
    exmCfg(kExmCfg6 | 3u << 2); // the pair's winner stands in the even bank
    expectRslt({{"span_en", 1}, {"span_id", 2}});
}

TEST_F(TaeL3, Ipv4ExactMatchComesBeforeIpv6InTheSameBank) {
    clearExm();
    intf.isIpv6 = 1; // both
    ipv4ExmEntry(0, exmKey, {{"span_en", 1}, {"span_id", 4}});
    ipv6ExmEntry(0, exmKey, {{"span_en", 1}, {"span_id", 6}});
    exmCfg(kExmCfg4 | 9u << 12 | kExmCfg6 | 9u << 2);
    expectRslt({{"span_en", 1}, {"span_id", 4}});
}

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

TEST_F(TaeL3, FirstBankThatSetsAnEnableGivesItsFields) {
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

TEST_F(TaeL3, RowsDoNotMix) {
    uint32_t bank = 20;
    Fields all;
    for (const MergeRow &row : kMergeRows) {
        hitBank(bank++, ones(row));
        for (const auto &field : ones(row))
            all.push_back(field);
    }
    expectRslt(all);
}

TEST_F(TaeL3, TrapReasonIsOfTheBankThatTraps) {
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

TEST_F(TaeL3, BypassIsOredOverAllBanks) {
    hitBank(3, {});
    hitBank(8, {{"bypass_eacl", 1}});
    hitBank(9, {});
    expectRslt({{"bypass_eacl", 1}});
}

TEST_F(TaeL3, DefaultsWithoutAnyHit) {
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

TEST_F(TaeL3, DefaultsGiveOnlyTheRowsThatNoBankSet) {
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

TEST_F(TaeL3, DefaultWordsStandInTheirOrder) {
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

TEST_F(TaeL3, AclDropOverridesTheForwardAndTheTrap) {
    hitBank(3, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", 0x99}, {"trap_en", 1}, {"trap_que", 9}});
    hitBank(5, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", kAclDropPtr}, {"l3_fwd_override", 1}});
    expectRslt({{"fwd_en", 1}, {"nxt_hop_rslt_idx", kAclDropPtr}});
    EXPECT_EQ(intf.trap_rsn, 0u);
    hitBank(5, {{"fwd_en", 0}, {"nxt_hop_rslt_idx", kAclDropPtr}});
    expectRslt({{"fwd_en", 1}, {"nxt_hop_rslt_idx", 0x99}, {"trap_en", 1}, {"trap_que", 9}});
    EXPECT_EQ(intf.trap_rsn, 4u);
}

TEST_F(TaeL3, DropOverridesTheForwardAndKeepsTheTrap) {
    hitBank(3, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", 0x99}, {"trap_en", 1}, {"trap_que", 9}});
    hitBank(5, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", kDropPtr}});
    expectRslt({{"fwd_en", 1}, {"nxt_hop_rslt_idx", kDropPtr}, {"trap_en", 1}, {"trap_que", 9}});
    EXPECT_EQ(intf.trap_rsn, 4u);
    EXPECT_EQ(intf.ipMcastDropOverTurn, 0u);
}

TEST_F(TaeL3, DropBeforeAclDropYields) {
    hitBank(3, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", kDropPtr}});
    hitBank(5, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", kAclDropPtr}});
    expectRslt({{"fwd_en", 1}, {"nxt_hop_rslt_idx", kAclDropPtr}});
}

TEST_F(TaeL3, DropAfterAclDropChangesNothing) {
    hitBank(3, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", kAclDropPtr}});
    hitBank(5, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", kDropPtr}});
    expectRslt({{"fwd_en", 1}, {"nxt_hop_rslt_idx", kAclDropPtr}});
    // Nor does it overturn a multicast drop.
    intf.ipMcastSpcl = 1;
    lookup();
    EXPECT_EQ(intf.ipMcastDropOverTurn, 0u);
}

TEST_F(TaeL3, OnePointerForBothIsTheAclDrop) {
    intf.drop_ptr = kAclDropPtr;
    intf.ipMcastSpcl = 1;
    hitBank(3, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", kAclDropPtr}, {"trap_en", 1}});
    expectRslt({{"fwd_en", 1}, {"nxt_hop_rslt_idx", kAclDropPtr}});
    EXPECT_EQ(intf.ipMcastDropOverTurn, 0u);
}

TEST_F(TaeL3, MulticastDropIsOverturnedUnlessTheBankOverrides) {
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

TEST_F(TaeL3, PlainDropOfAnotherBankTakesTheOverturnBack) {
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

TEST_F(TaeL3, OverturnIsKeptBesideALaterAclDrop) {
    intf.ipMcastSpcl = 1;
    hitBank(3, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", kDropPtr}});
    hitBank(5, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", kAclDropPtr}});
    expectRslt({{"fwd_en", 1}, {"nxt_hop_rslt_idx", kAclDropPtr}});
    EXPECT_EQ(intf.ipMcastDropOverTurn, 1u);
}

TEST_F(TaeL3, DefaultPointerIsNotCompared) {
    defaultWord({{"nxt_hop_rslt_idx", kAclDropPtr}, {"trap_en", 1}, {"trap_que", 5}});
    expectRslt({{"nxt_hop_rslt_idx", kAclDropPtr}, {"trap_en", 1}, {"trap_que", 5}});
}

TEST_F(TaeL3, MergedResultIsPrintedFieldByField) {
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
        expected += std::string("    ") + name + " =        " + std::to_string(val) + "\n";
    EXPECT_EQ(text, expected);
    tae.dbgLvl = 1;
    EXPECT_EQ(printed([&] { lookup(); }), "");
}

TEST_F(TaeL3, MergedFieldsPrintInEightHexPlaces) {
    hitBank(0, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", 0x3abcd}});
    tae.dbgLvl = 2;
    const std::string text = printed([&] { lookup(); });
    EXPECT_NE(text.find("    nxt_hop_rslt_idx =    3abcd\n"), std::string::npos);
    EXPECT_NE(text.find("    l3_trap_en_override =        0\n"), std::string::npos);
}
