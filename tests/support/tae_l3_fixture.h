#pragma once
// The ACL engine in front of a layer-3 search, and the result word field by field.

#include "base/cmUtl.h"
#include "tae/cmTae.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <regex>
#include <string>
#include <utility>
#include <vector>

/// A field of the result word: its word and its highest and lowest bit there.
struct RsltField {
    const char *name;
    uint32_t word, hi, lo;
};
// In the order of the word, without the reserved ones.
inline constexpr RsltField kRsltFields[] = {
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

inline const RsltField &rsltField(const std::string &name) {
    return *std::find_if(std::begin(kRsltFields), std::end(kRsltFields),
                         [&](const RsltField &f) { return name == f.name; });
}

inline Words wordsOf(const Fields &fields) {
    Words words = {};
    for (const auto &[name, value] : fields) {
        const RsltField &f = rsltField(name);
        words[f.word] = setBits(words[f.word], f.hi, f.lo, value);
    }
    return words;
}

/// The words of a result.
inline Words packed(const L3PselRslt &rslt) {
    Words words = {};
    pack(rslt, words.data());
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
        const RsltField &f = rsltField(field);
        return bits(packed(rslt)[f.word], f.hi, f.lo);
    }

    /// Searches, and compares the whole result word: fields that are not named must be 0.
    void expectRslt(const Fields &fields) {
        lookup();
        const Words expected = wordsOf(fields);
        for (const RsltField &f : kRsltFields)
            EXPECT_EQ(got(f.name), bits(expected[f.word], f.hi, f.lo)) << f.name;
        EXPECT_EQ(packed(rslt), expected);
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

inline const char kSkipped[] = "CM port=3, frameIdx=7>> [lookupL3Acl] bank ";
inline std::string skippedLine(const std::string &bank, int type, const char *frame) {
    return kSkipped + bank + " (type=" + std::to_string(type) + ") skipped for " + frame + "\n";
}
inline const char kNoIpv4Exm[] =
    "CM port=3, frameIdx=7>> [L3Acl] IPv4 EXM result=0x00000000_00000000_00000000_00000000\n";
inline const char kNoIpv6Exm[] =
    "CM port=3, frameIdx=7>> [L3Acl] IPv6 EXM result=0x00000000_00000000_00000000_00000000\n";
