// Fields of tables in the assembler's text: what is set is read back by other means, searched for in the model, and
// what is wrong is told.

#include "regenc_tsr.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "base/cmLu.h"
#include "base/cmRte.h"
#include "be_word.h"
#include "dump_builder.h"
#include "reg_name.h"
#include "run_program.h"
#include "tbl/tsr_tbl.h"
#include "temp_dir.h"
#include "tfe/cmTfe.h"
#include "tsr_cmodel_util.h"

namespace {

// ---- Decoders ------------------------------------------------------------------------------------------------------

TblWide asWide(uint32_t value) {
    return {0, 0, 0, value};
}
TblWide asWide(uint64_t value) {
    return {0, 0, static_cast<uint32_t>(value >> 32), static_cast<uint32_t>(value)};
}
TblWide asWide(const TblWide &value) {
    return value;
}

using Elems = std::vector<TblWide>;
using Fields = std::map<std::string, Elems>;

/// The fields of an entry as its record unpacks them, by the record's name.
const std::map<std::string, Fields (*)(const uint32_t *)> &unpackers() {
#define UNPACK(Type, ...)                                                                                              \
    {#Type, [](const uint32_t *words) {                                                                                \
         [[maybe_unused]] const auto e = entryAt<Type>(words);                                                         \
         return Fields{__VA_ARGS__};                                                                                   \
     }},
#define ENTRY(Type, form, row, mem, words, use, text, ...) UNPACK(Type, __VA_ARGS__)
#define TCAM(Type, form, row, mem, words, use, text, ...) UNPACK(Type, __VA_ARGS__)
#define DMP(Type, form, row, words, use, text, ...) UNPACK(Type, __VA_ARGS__)
#define FLD(name, word, hi, lo, kind, text) {#name, {asWide(e.name)}},
#define FLDP(name, width, kind, text, ...) {#name, {asWide(e.name)}},
#define FLDA(name, count, word, hi, lo, step, kind, text) {#name, elemsOf(e.name)},
#define ALT(name, word, hi, lo, kind, text) {#name, {asWide(e.name)}},
#define ALTP(name, width, kind, text, ...) {#name, {asWide(e.name)}},
    static constexpr auto elemsOf = [](const auto &array) {
        Elems elems;
        for (const uint32_t elem : array)
            elems.push_back(asWide(elem));
        return elems;
    };
    static const std::map<std::string, Fields (*)(const uint32_t *)> all = {
#include "tbl/tsr_tbl.def"
    };
#undef UNPACK
    return all;
}

/// Bit `bit` of the entry's byte string that begins at byte `off` of the image: bit 31 of word 0 is the first one of
/// the first byte.
unsigned bitAt(const RegencDump &dump, uint32_t off, uint32_t word, uint32_t bit) {
    const auto *bytes = reinterpret_cast<const uint8_t *>(dump.image()) + off + 4 * word;
    return uint32_t{bytes[3 - bit / 8]} >> bit % 8 & 1u;
}

/// The element of a field, gathered bit by bit from the bytes of the image.
TblWide byBits(const RegencDump &dump, uint32_t off, const TblField &field, unsigned elem) {
    TblWide value{};
    for (size_t i = 0; i < field.numPieces; i++) {
        const TblPiece &p = field.piece[i];
        for (unsigned b = 0; b < p.width; b++) {
            // Bits counted from the top of the entry on.
            const int place = 32 * p.word + 31 - (p.lo + static_cast<int>(b)) + field.step * static_cast<int>(elem);
            const unsigned at = p.at + b;
            value[3 - at / 32] |=
                bitAt(dump, off, static_cast<uint32_t>(place / 32), static_cast<uint32_t>(31 - place % 32)) << at % 32;
        }
    }
    return value;
}

// ---- Entries by chance ---------------------------------------------------------------------------------------------

struct Leaf {
    std::string prefix; ///< the groups before it
    uint32_t chipOff;
    uint32_t dumpOff;
    const regdump_map_t *row;
};

/// The leaf of the row `name`, in some instance of its groups.
Leaf leafOf(const regdump_map_t *rows, std::string_view name, uint32_t chance) {
    for (; rows->name != nullptr; ++rows) {
        if (rows->child == nullptr && rows->name == name)
            return {"", rows->asic_offset, rows->dump_offset, rows};
        if (rows->child == nullptr)
            continue;
        Leaf leaf = leafOf(rows->child, name, chance);
        if (leaf.row == nullptr)
            continue;
        const bool isSingle = rows->depth[0] == 1;
        const uint32_t inst = isSingle ? 0 : chance % rows->depth[0];
        leaf.prefix = rows->name + (isSingle ? "" : "[" + std::to_string(inst) + "]") + "." + leaf.prefix;
        leaf.chipOff += rows->asic_offset + inst * rows->asic_size;
        leaf.dumpOff += rows->dump_offset + inst * rows->dump_size;
        return leaf;
    }
    return {"", 0, 0, nullptr};
}

struct Entry {
    std::string name;
    uint32_t dumpOff;
};

/// Some entry of a kind, with its name.
Entry someEntry(const TblDesc &desc, std::mt19937 &random) {
    const Leaf leaf = leafOf(tsr_dmp_map, desc.row, static_cast<uint32_t>(random()));
    EXPECT_NE(leaf.row, nullptr) << desc.row;
    const regdump_map_t &row = *leaf.row;
    const uint32_t rowWords = regdump_mapp_get_size(&row) / 4;
    const uint32_t word = static_cast<uint32_t>(random()) % (rowWords / desc.words) * desc.words;
    std::string subs;
    uint32_t stride = rowWords;
    uint32_t rest = word;
    const bool isAnywhere = std::string_view(desc.row).substr(0, 4) == "iqs_" && desc.words == 2;
    const bool isSingle = row.depth[0] == 1 && row.depth[1] == 0;
    for (size_t dim = 0; !isSingle && dim < REGDUMP_MAX_DIMS && row.depth[dim] != 0; dim++) {
        if (stride <= desc.words && !isAnywhere)
            break;
        stride /= row.depth[dim];
        subs += "[" + std::to_string(rest / stride) + "]";
        rest %= stride;
    }
    return {leaf.prefix + row.name + subs, leaf.dumpOff + 4 * word};
}

TblWide randomValue(unsigned width, std::mt19937 &random) {
    TblWide value{};
    for (unsigned bit = 0; bit < width; bit++)
        value[3 - bit / 32] |= static_cast<uint32_t>(random() & 1) << bit % 32;
    return value;
}

std::string hexOf(const TblWide &value) {
    char text[40];
    std::snprintf(text, sizeof(text), "0x%x%08x%08x%08x", value[0], value[1], value[2], value[3]);
    return text;
}

TblWide operator&(const TblWide &a, const TblWide &b) {
    return {a[0] & b[0], a[1] & b[1], a[2] & b[2], a[3] & b[3]};
}
TblWide operator~(const TblWide &a) {
    return {~a[0], ~a[1], ~a[2], ~a[3]};
}

std::vector<uint32_t> wordsAt(const RegencDump &dump, uint32_t off, uint32_t count) {
    std::vector<uint32_t> words;
    for (uint32_t w = 0; w < count; w++)
        words.push_back(dump.word(off + 4 * w));
    return words;
}

/// What a test sets a field to.
struct Chosen {
    std::string text;
    TblWide ones;  ///< of a plain field, the value
    TblWide zeros; ///< what the second half of a ternary row gets
};

Chosen choose(const TblDesc &desc, const TblField &field, std::mt19937 &random) {
    const TblWide value = randomValue(field.width, random);
    if (!desc.isTcam)
        return {hexOf(value), value, {}};
    const uint32_t form = static_cast<uint32_t>(random() % 4);
    if (form == 0)
        return {"*", {}, {}};
    const TblWide all = randomValue(field.width, random);
    TblWide mask{};
    for (unsigned bit = 0; bit < field.width; bit++)
        mask[3 - bit / 32] |= 1u << bit % 32;
    if (form == 1)
        return {hexOf(value), value, ~value & mask};
    return {hexOf(value) + "/" + hexOf(all), value & all, ~value & all};
}

/// Holds the element of a field, read in two ways, against what was set.
void checkField(const RegencDump &dump, const TblDesc &desc, uint32_t off, const TblField &field, unsigned elem,
                const Chosen &chosen) {
    const auto words = wordsAt(dump, off, desc.words);
    const std::string who = std::string(desc.type) + "." + field.name + "[" + std::to_string(elem) + "]";
    const auto unpack = unpackers().at(desc.type);
    EXPECT_EQ(unpack(words.data()).at(field.name)[elem], chosen.ones) << who;
    EXPECT_EQ(byBits(dump, off, field, elem), chosen.ones) << who;
    if (desc.isTcam) {
        EXPECT_EQ(unpack(words.data() + desc.words / 2).at(field.name)[elem], chosen.zeros) << who;
        EXPECT_EQ(byBits(dump, off + 2 * desc.words, field, elem), chosen.zeros) << who;
    }
}

/// The message of the line that is refused, or "" when all lines are taken.
std::string assemble(RegencDump &dump, const std::vector<std::string> &lines) {
    RegencAssembler assembler(dump);
    std::string error;
    for (const std::string &line : lines) {
        if (!assembler.line(line, error))
            return error;
    }
    return "";
}

std::string assemble(const std::vector<std::string> &lines) {
    RegencDump dump;
    return assemble(dump, lines);
}

/// The warnings of the lines, all of which must be taken.
std::vector<std::string> warningsOf(const std::vector<std::string> &lines) {
    RegencDump dump;
    RegencAssembler assembler(dump);
    std::vector<std::string> warnings;
    assembler.onWarning([&](const std::string &warning) { warnings.push_back(warning); });
    std::string error;
    for (const std::string &line : lines)
        EXPECT_TRUE(assembler.line(line, error)) << error;
    return warnings;
}

/// The words of the dump that are not 0, as the listing names them, in lines of `name = value`.
std::string wordsSet(const RegencDump &dump) {
    static const char kZeros[4096] = {};
    const char *image = reinterpret_cast<const char *>(dump.image());
    std::string text;
    for (uint32_t off = 0; off < TSR_DUMP_SIZE; off += 4) {
        if (off % sizeof(kZeros) == 0 && off + sizeof(kZeros) <= TSR_DUMP_SIZE &&
            std::memcmp(image + off, kZeros, sizeof(kZeros)) == 0) {
            off += sizeof(kZeros) - 4;
            continue;
        }
        if (dump.word(off) == 0)
            continue;
        char name[REGDUMP_NAME_SIZE];
        regdump_asic_off_to_exact_name(tsr_dmp_map,
                                       static_cast<uint32_t>(regdump_dump_off_to_asic_off(tsr_dmp_map, off)), name);
        char line[REGDUMP_NAME_SIZE + 16];
        std::snprintf(line, sizeof(line), "%s = 0x%08x\n", name, dump.word(off));
        text += line;
    }
    return text;
}

} // namespace

// ---- Round trip ----------------------------------------------------------------------------------------------------

TEST(RegencTables, EveryFieldOfEveryTableIsReadBack) {
    std::mt19937 random(12);
    DumpBuilder builder;
    builder.randomise(12);
    const RegencDump &dump = builder.dump();
    size_t count = 0;
    for (const TblDesc &desc : tblDescs()) {
        for (const TblField &field : desc.field) {
            for (unsigned elem = 0; elem < field.count; elem++) {
                for (int round = 0; round < 2; round++) {
                    const Entry entry = someEntry(desc, random);
                    const Chosen chosen = choose(desc, field, random);
                    const std::string sub = field.isArr ? "[" + std::to_string(elem) + "]" : "";
                    // A ternary row is a key first; by chance it would be one that can never match.
                    if (desc.isTcam) {
                        for (uint32_t w = 0; w < desc.words / 2; w++) {
                            const uint32_t ones = dump.word(entry.dumpOff + 4 * w);
                            const uint32_t zerosOff = entry.dumpOff + 2 * desc.words + 4 * w;
                            builder.dump().setWord(zerosOff, dump.word(zerosOff) & ~ones);
                        }
                    }
                    const auto before = wordsAt(dump, entry.dumpOff, desc.words);
                    builder.set(entry.name + "." + desc.type + "." + field.name + sub, chosen.text);
                    checkField(dump, desc, entry.dumpOff, field, elem, chosen);

                    // Nothing else has changed: with the field put back, the words are what they were.
                    auto after = wordsAt(dump, entry.dumpOff, desc.words);
                    for (size_t i = 0; i < field.numPieces; i++) {
                        const TblPiece piece = field.at(i, elem);
                        const uint32_t mask = (0xffffffffu >> (32 - piece.width)) << piece.lo;
                        for (uint32_t w = piece.word; w < desc.words; w += desc.keyWords())
                            after[w] = (after[w] & ~mask) | (before[w] & mask);
                    }
                    ASSERT_EQ(after, before) << entry.name << "." << field.name;
                    ASSERT_FALSE(HasFailure());
                    count++;
                }
            }
        }
    }
    EXPECT_GT(count, 2000u);
}

TEST(RegencTables, TheProgramSetsEntriesOfEveryTable) {
    const TempDir temp;
    std::mt19937 random(13);
    struct Set {
        const TblDesc *desc;
        const TblField *field;
        unsigned elem;
        uint32_t off;
        Chosen chosen;
    };
    std::vector<Set> sets;
    std::string text;
    std::map<uint32_t, int> taken;
    for (const TblDesc &desc : tblDescs()) {
        if (desc.field.empty())
            continue;
        Entry entry = someEntry(desc, random);
        bool isFree = false;
        for (int i = 0; i < 100 && !isFree; i++) {
            isFree = taken.emplace(entry.dumpOff, 0).second;
            if (!isFree)
                entry = someEntry(desc, random);
        }
        if (!isFree)
            continue;
        for (const TblField &field : desc.field) {
            if (field.isAlt)
                continue;
            const unsigned elem = static_cast<unsigned>(random() % field.count);
            const Chosen chosen = choose(desc, field, random);
            text += entry.name + "." + desc.type + "." + field.name +
                    (field.isArr ? "[" + std::to_string(elem) + "]" : "") + " = " + chosen.text + " # a comment\n";
            sets.push_back({&desc, &field, elem, entry.dumpOff, chosen});
        }
    }
    EXPECT_GT(sets.size(), 600u);
    const RunResult result = runProgram(REGENC_TSR_PROGRAM, {temp.path("out"), temp.file("text", text)});
    ASSERT_EQ(result.status, 0) << result.err;
    RegencDump dump;
    std::string error;
    ASSERT_TRUE(dump.load(temp.path("out"), error)) << error;
    for (const Set &set : sets)
        checkField(dump, *set.desc, set.off, *set.field, set.elem, set.chosen);
}

TEST(RegencTables, WordsThatAreWorkedOutByHand) {
    const std::pair<std::vector<std::string>, std::string> rows[] = {
        // eivid is bits 31:19 of the last word: 0x126 << 19; mcast_typ its bits 1:0.
        {{"rte_l3_next_hop_rslt[7].eivid = 0x126", "rte_l3_next_hop_rslt[7].mcast_typ = 3"},
         "rte_l3_next_hop_rslt[7][3] = 0x09300003\n"},
        // Bits 31:15 of word 1.
        {{"rte_l3_next_hop_rslt[163839].mpid_lgid_egid_mgid = 0x10012"},
         "rte_l3_next_hop_rslt[163839][1] = 0x80090000\n"},
        // Group 3 of eight: 30:28 less 12.
        {{"rte_l2_mpid_hash_type[5].hsh_typ[3] = 2"}, "rte_l2_mpid_hash_type[5] = 0x00020000\n"},
        // Bit n stands for index n.
        {{"rte_vid_trill_mc_ra[1].trill_mc[0] = 1", "rte_vid_trill_mc_ra[1].trill_mc[31] = 1"},
         "rte_vid_trill_mc_ra[1] = 0x80000001\n"},
        // Received VIDs 6 and 7 of port 2: the even one in the upper half.
        {{"rte_vlan_xlate[2][3].vid[0] = 6", "rte_vlan_xlate[2][3].vid[1] = 0x1fff"},
         "rte_vlan_xlate[2][3] = 0x00061fff\n"},
        {{"rte_l2_exm_bkt[3][0].mac_addr = 02:11:22:33:44:55", "rte_l2_exm_bkt[3][0].fid = 9"},
         "rte_l2_exm_bkt[3][0][1] = 0x00000009\nrte_l2_exm_bkt[3][0][2] = 0x00000211\n"
         "rte_l2_exm_bkt[3][0][3] = 0x22334455\n"},
        // A value of 16 bits over the words: 15:4 in word 0, 3:0 on top of word 1.
        {{"rte_l2_exm_rslt[1].trill_da = 0xabcd", "rte_l2_exm_rslt[1].trill_cmd = 2"},
         "rte_l2_exm_rslt[1][0] = 0x00000abc\nrte_l2_exm_rslt[1][1] = 0xd8000000\n"},
        {{"rte_lag_hash_type[2].npath[1] = 3", "rte_lag_hash_type[2].hsh_typ[0] = 7"},
         "rte_lag_hash_type[2] = 0x00070018\n"},
        {{"rte_fcoe_ivid_to_vfid[5].vfid_typ = 1", "rte_fcoe_ivid_to_vfid[5].vfid = 0x9"},
         "rte_fcoe_ivid_to_vfid[5] = 0x00001009\n"},
        {{"rte_l3_ctrl_cls_rslt[4][7].rsltTyp[0] = 1", "rte_l3_ctrl_cls_rslt[4][7].rsltTyp[31] = 3"},
         "rte_l3_ctrl_cls_rslt[4][7][0] = 0x40000000\nrte_l3_ctrl_cls_rslt[4][7][1] = 0x00000003\n"},
        // 40 bits: the upper eight in word 0.
        {{"rte_drp_rsn_sts_frm[1][2].frm_cnt = 0x8000000001"},
         "rte_drp_rsn_sts_frm[1][2][0] = 0x00000080\nrte_drp_rsn_sts_frm[1][2][1] = 0x00000001\n"},
        {{"rte_l3_ipv6_mcuid_bkt[1][3].l3IpDa = ff02::1:3", "rte_l3_ipv6_mcuid_bkt[1][3].iivid = 5"},
         "rte_l3_ipv6_mcuid_bkt[1][3][3] = 0x00000005\nrte_l3_ipv6_mcuid_bkt[1][3][4] = 0xff020000\n"
         "rte_l3_ipv6_mcuid_bkt[1][3][7] = 0x00010003\n"},
        // The stage finds pair 3 behind 64 * 3 + 3 words.
        {{"iqs_mac_da_vid_mem[24][3].mac_da = 02:33:33:33:00:03", "iqs_mac_da_vid_mem[24][3].egr_ivid = 7"},
         "iqs_mac_da_vid_mem[24][3] = 0x00070003\niqs_mac_da_vid_mem[24][4] = 0x02333333\n"},
        {{"ephy_reg[3].emc_egr_dscp_remap[7].dscp = 63"}, "ephy_reg[3].emc_egr_dscp_remap[7] = 0x0000003f\n"},
        // A key: what must be 1 in the first half, what must be 0 in the second.
        {{"rte_l2_ctrl_cls_tcam[4].da = 02:00:00:00:00:a1"},
         "rte_l2_ctrl_cls_tcam[4].w0 = 0x00000200\nrte_l2_ctrl_cls_tcam[4].w1 = 0x000000a1\n"
         "rte_l2_ctrl_cls_tcam[4].w2 = 0x0000fdff\nrte_l2_ctrl_cls_tcam[4].w3 = 0xffffff5e\n"},
        {{"rte_l2_ctrl_cls_tcam[4].vid = 0x5/0xf"},
         "rte_l2_ctrl_cls_tcam[4].w0 = 0x00050000\nrte_l2_ctrl_cls_tcam[4].w2 = 0x000a0000\n"},
        {{"rte_trill_myrb_tcam[9].nickname = 0xabc0/0xfff0"},
         "rte_trill_myrb_tcam[9].w0 = 0x0000abc0\nrte_trill_myrb_tcam[9].w1 = 0x00005430\n"},
        {{"rte_l3_ctrl_cls_tcam[2].l3IpUlp = 89"},
         "rte_l3_ctrl_cls_tcam[2].w3 = 0x00005900\nrte_l3_ctrl_cls_tcam[2].w19 = 0x0000a600\n"},
        // 100.64.1.0/24, scattered; the bits of the second half's even words are lost in the load.
        {{"tfe_tcam[0].ipv4_addr = 100.64.1.0/24"},
         "tfe_tcam[0].w1 = 0x20000832\ntfe_tcam[0].w2 = 0x80000000\ntfe_tcam[0].w3 = 0x0f03f7cd\n"},
        {{"tae_tcam[5].l2_da = 02:00:00:00:00:b2"},
         "tae_tcam[5].w1 = 0x00000200\ntae_tcam[5].w2 = 0x000000b2\n"
         "tae_tcam[5].w9 = 0x0000fdff\ntae_tcam[5].w10 = 0xffffff4d\n"},
        {{"tae_rslt[5].TaeL2Rslt.lgid_egid_mgid = 0x1f", "tae_rslt[5].fwd_en = 1"},
         "tae_rslt[5][1] = 0x00000001\ntae_rslt[5][3] = 0x000000f8\n"},
        // An entry of a joined pair of banks takes two rows, and its second half is the second row.
        {{"tae_tcam[8].TaeL3Ipv6.policy_id = 0xfff/0xff0"}, "tae_tcam[8].w3 = 0x3fc00000\n"},
        {{"tae_bank_prtcl_sel_1.bank_prtcl_sel_1 = 0xffffff"}, "tae_bank_prtcl_sel_1 = 0x00ffffff\n"},
        {{"tae_bank_grp[2].bank_grp_2 = 3"}, "tae_bank_grp[2] = 0x00000003\n"},
        {{"tfe_bank_en.tfe_bank_en = 0x1fff"}, "tfe_bank_en = 0x00001fff\n"},
        {{"tae_l3_srch_exm_cfg.ipv4_exm_bank_sel = 0x1f"}, "tae_l3_srch_exm_cfg = 0x0001f000\n"},
    };
    for (const auto &[lines, words] : rows) {
        RegencDump dump;
        ASSERT_EQ(assemble(dump, lines), "");
        EXPECT_EQ(wordsSet(dump), words) << lines[0];
    }
}

// ---- Ranges, forms -------------------------------------------------------------------------------------------------

TEST(RegencTables, RangesOfEntriesAndElements) {
    RegencDump dump;
    ASSERT_EQ(assemble(dump, {"rte_l3_vrf[1..3].vrfId = 5", "rte_l2_mpid_hash_type[7].hsh_typ[1..2] = 7",
                              "rte_l2_mpid_hash_type[8].hsh_typ[*] = 1", "ephy_reg[*].emc_cfg.seq_hdr_en = 1"}),
              "");
    const tsr_dmp_t *image = dump.image();
    EXPECT_EQ(image->rte_l3_vrf[0], 0u);
    EXPECT_EQ(image->rte_l3_vrf[1], hostWord(5));
    EXPECT_EQ(image->rte_l3_vrf[3], hostWord(5));
    EXPECT_EQ(image->rte_l3_vrf[4], 0u);
    EXPECT_EQ(image->rte_l2_mpid_hash_type[7], hostWord(0x07700000));
    EXPECT_EQ(image->rte_l2_mpid_hash_type[8], hostWord(0x11111111));
    for (const auto &port : image->ephy_reg)
        EXPECT_EQ(port.emc_cfg, hostWord(1u << 10));
    // The last subscripts of an entry may be left out with a range, as for words.
    ASSERT_EQ(assemble(dump, {"rte_l2_exm_bkt[5..6].fid = 3", "rte_l3_cugid[*] = 9"}), "");
    EXPECT_EQ(image->rte_l2_exm_bkt[5][0][1], hostWord(3));
    EXPECT_EQ(image->rte_l2_exm_bkt[6][31][1], hostWord(3));
    EXPECT_EQ(image->rte_l2_exm_bkt[6][31][2], 0u);
    EXPECT_EQ(image->rte_l3_cugid[8191], hostWord(9));
}

TEST(RegencTables, RangeOverBanksTakesTheFormOfEach) {
    RegencDump dump;
    // Bank 0 is IPv4, bank 1 IPv6: from 0x7fff on one IPv4 row, then entries of four rows.
    ASSERT_EQ(assemble(dump, {"tfe_bank_prtcl_sel.bank_prtcl_sel = 0x8", "tfe_tcam[32767..32775].vrf_id = 0/1"}), "");
    // Bit 0 of the VRF: bit 31 of word 1 in a row of IPv4, of word 7 in an entry of IPv6.
    EXPECT_EQ(dump.image()->tfe_tcam[32767].x_val[1], hostWord(1u << 31));
    for (const uint32_t row : {32768u, 32772u}) {
        EXPECT_EQ(dump.image()->tfe_tcam[row].x_val[1], 0u);
        EXPECT_EQ(dump.image()->tfe_tcam[row + 3].x_val[1], hostWord(1u << 31));
    }
}

TEST(RegencTables, FormsAreFoundByFieldByBankOrByName) {
    // vrf_id stands in two forms of the row; the bank decides, as the lines before have set it.
    RegencDump dump;
    ASSERT_EQ(assemble(dump, {"tfe_tcam[4].vrf_id = 0/1", "tfe_bank_prtcl_sel = 2", "tfe_tcam[8].vrf_id = 0/1",
                              "tfe_tcam[12].TfeIpv4.vrf_id = 0/1", "tfe_tcam[16].ipv6_addr = ::/1"}),
              "");
    EXPECT_EQ(dump.image()->tfe_tcam[4].x_val[1], hostWord(1u << 31));
    EXPECT_EQ(dump.image()->tfe_tcam[8].x_val[1], 0u);
    EXPECT_EQ(dump.image()->tfe_tcam[11].x_val[1], hostWord(1u << 31));
    EXPECT_EQ(dump.image()->tfe_tcam[12].x_val[1], hostWord(1u << 31));
    EXPECT_EQ(dump.image()->tfe_tcam[18].y_val[0], hostWord(1u << 31));

    EXPECT_EQ(assemble({"tfe_bank_prtcl_sel = 3", "tfe_tcam[0].vrf_id = 1"}),
              "unknown name 'tfe_tcam[0].vrf_id': vrf_id stands in the forms TfeIpv4, TfeIpv6, of which none is known "
              "to hold there: put one before it, as in TfeIpv4.vrf_id");
    EXPECT_EQ(assemble({"eqs_pet_mem[3].m_bit = 1"}),
              "unknown name 'eqs_pet_mem[3].m_bit': m_bit stands in the forms EqsPetIpv4, EqsPetIpv6, of which none is "
              "known to hold there: put one before it, as in EqsPetIpv4.m_bit");
    // At the same bits in every form that has it, it needs none.
    EXPECT_EQ(assemble({"eqs_pet_mem[3].mac_da = 02:00:00:00:00:01"}), "");
    EXPECT_EQ(assemble({"tfe_tcam[0].TfeIp4.vrf_id = 1"}),
              "unknown name 'tfe_tcam[0].TfeIp4.vrf_id': tfe_tcam has no form TfeIp4; near: TfeIpv4, TfeIpv6, TfeFcoe");
    EXPECT_EQ(assemble({"tfe_tcam[0].TfeIpv4.ipv6_addr = 1"}),
              "unknown name 'tfe_tcam[0].TfeIpv4.ipv6_addr': TfeIpv4 has no field ipv6_addr; near: ipv4_addr, vrf_id");
    EXPECT_EQ(assemble({"tfe_tcam[5].TfeIpv6.vrf_id = 1"}),
              "'tfe_tcam[5].TfeIpv6.vrf_id' is no entry: one of TfeIpv6 takes 4 of tfe_tcam and begins at a multiple "
              "of 4");
}

// ---- What is refused -----------------------------------------------------------------------------------------------

TEST(RegencTables, WrongNamesAreToldWithTheNearestRightOnes) {
    EXPECT_EQ(assemble({"rte_l3_next_hop_rsl[7].eivid = 1"}),
              "unknown name 'rte_l3_next_hop_rsl[7].eivid'; near: rte_l3_next_hop_rslt");
    EXPECT_EQ(
        assemble({"rte_l3_next_hop_rslt[7].evid = 1"}),
        "unknown name 'rte_l3_next_hop_rslt[7].evid': rte_l3_next_hop_rslt has no field evid; near: eivid, mct_id, "
        "sa_idx");
    EXPECT_EQ(assemble({"rte_age_info[1].x = 1"}),
              "unknown name 'rte_age_info[1].x': the layout of rte_age_info is not known");
    EXPECT_EQ(
        assemble({"rte_l3_next_hop_rslt[7][3].eivid = 1"}),
        "'rte_l3_next_hop_rslt[7][3].eivid' is no entry: one of NxtHop takes 4 of rte_l3_next_hop_rslt and begins "
        "at a multiple of 4");
    EXPECT_EQ(assemble({"rte_l3_next_hop_rslt.eivid = 1"}),
              "'rte_l3_next_hop_rslt.eivid' is 163840 entries: give all subscripts, or a range");
    EXPECT_EQ(
        assemble({"iqs_mac_da_vid_mem[24].egr_ivid = 1"}),
        "subscripts are missing in 'iqs_mac_da_vid_mem[24].egr_ivid': an entry of iqs_mac_da_vid_mem may begin at "
        "any word");
    EXPECT_EQ(assemble({"iqs_mac_da_vid_mem[32767][7].egr_ivid = 1"}),
              "'iqs_mac_da_vid_mem[32767][7].egr_ivid' is no entry: it would end behind iqs_mac_da_vid_mem");
    EXPECT_EQ(assemble({"tfe_tcam[0].w1.vrf_id = 1"}),
              "'tfe_tcam[0].w1.vrf_id' is no entry: one of TfeIpv4 takes 4 of tfe_tcam and begins at a multiple of 4");
}

TEST(RegencTables, SubscriptsOfFieldsAreHeldAgainstTheirElements) {
    EXPECT_EQ(assemble({"rte_l2_mpid_hash_type[5].hsh_typ = 2"}),
              "'rte_l2_mpid_hash_type[5].hsh_typ' is 8 elements: give a subscript, a range or [*]");
    EXPECT_EQ(assemble({"rte_l2_mpid_hash_type[5].hsh_typ[8] = 2"}),
              "unknown name 'rte_l2_mpid_hash_type[5].hsh_typ[8]': a subscript of hsh_typ is at most 7");
    EXPECT_EQ(assemble({"rte_l2_mpid_hash_type[5].hsh_typ[6..8] = 2"}),
              "unknown name 'rte_l2_mpid_hash_type[5].hsh_typ[6..8]': a subscript of hsh_typ is at most 7");
    EXPECT_EQ(assemble({"rte_l2_mpid_hash_type[5].hsh_typ[2..1] = 2"}),
              "bad subscript in 'rte_l2_mpid_hash_type[5].hsh_typ[2..1]': the range is empty");
    EXPECT_EQ(assemble({"rte_l3_vrf[5].vrfId[0] = 2"}),
              "unknown name 'rte_l3_vrf[5].vrfId[0]': vrfId has no subscript");
    EXPECT_EQ(assemble({"rte_l3_vrf[8192].vrfId = 2"}),
              "unknown name 'rte_l3_vrf[8192].vrfId': a subscript of rte_l3_vrf is at most 8191");
    for (const char *bad : {"rte_l2_mpid_hash_type[5].hsh_typ[]", "rte_l2_mpid_hash_type[5].hsh_typ[x]",
                            "rte_l2_mpid_hash_type[5].hsh_typ[1", "rte_l2_mpid_hash_type[5].hsh_typ[**]",
                            "rte_l2_mpid_hash_type[5].hsh_typ[*..1]", "rte_l2_mpid_hash_type[*"})
        EXPECT_EQ(assemble({std::string(bad) + " = 1"}), std::string("bad subscript in '") + bad + "'");
}

TEST(RegencTables, ValuesAreHeldAgainstTheirFields) {
    EXPECT_EQ(assemble({"rte_fcoe_ivid_to_vfid[3].vfid = 4096"}),
              "value 4096 does not fit the 12 bits of 'rte_fcoe_ivid_to_vfid[3].vfid'");
    EXPECT_EQ(assemble({"tfe_tcam[3].ipv4_addr = 10.0.1.0/33"}),
              "value 10.0.1.0/33 does not fit the 32 bits of 'tfe_tcam[3].ipv4_addr'");
    EXPECT_EQ(assemble({"rte_l2_exm_bkt[3][0].mac_addr = 02:00:00:00:00"}),
              "bad value '02:00:00:00:00': a MAC address is a number, or written as 02:00:00:00:00:a1");
    EXPECT_EQ(assemble({"rte_l3_ipv4_mcuid_bkt[3][0].l3IpDa = 10.0.1"}),
              "bad value '10.0.1': an IPv4 address is a number, or written as 10.0.1.9");
    EXPECT_EQ(assemble({"rte_l3_ipv6_mcuid_bkt[3][0].l3IpDa = 1:2"}),
              "bad value '1:2': an IPv6 address is a number, or written as 2001:db8::1");
    EXPECT_EQ(assemble({"tfe_tcam[3].fcid_lu = 01.02"}),
              "bad value '01.02': a Fibre Channel id is a number, or written as 01.02.03");
    EXPECT_EQ(assemble({"rte_l3_vrf[3].vrfId = five"}), "bad value 'five'");
    EXPECT_EQ(assemble({"rte_l3_vrf[3].vrfId = 5/7"}),
              "bad value '5/7': 'rte_l3_vrf[3].vrfId' is no field of a TCAM's key, which alone has a mask");
    EXPECT_EQ(assemble({"rte_l3_vrf[3].vrfId = *"}),
              "bad value '*': 'rte_l3_vrf[3].vrfId' is no field of a TCAM's key, which alone has a mask");
    for (const char *name : {"rte_l3_vrf[3]", "rte_l3_vrf[3].vrfId", "tfe_tcam[3].vrf_id", "ftc_cntl"})
        EXPECT_EQ(assemble({std::string(name) + " = never"}),
                  std::string("bad value 'never': '") + name + "' is no row of a TCAM");
    EXPECT_EQ(assemble({"tfe_tcam[3].w0 = never"}), "'tfe_tcam[3].w0' is a word, not an entry");
    EXPECT_EQ(assemble({"tfe_bank_prtcl_sel = 2", "tfe_tcam[3] = never"}),
              "'tfe_tcam[3]' is no entry: one of TfeIpv6 takes 4 of tfe_tcam and begins at a multiple of 4");
}

TEST(RegencTables, LinesThatContradictEachOtherAreRefused) {
    EXPECT_EQ(assemble({"rte_l3_vrf[3].vrfId = 5", "rte_l3_vrf[3].vrfId = 5", "rte_l3_vrf[3].deftVrfEn = 1"}), "");
    EXPECT_EQ(assemble({"rte_l3_vrf[3].vrfId = 5", "rte_l3_vrf[3].vrfId = 6"}),
              "'rte_l3_vrf[3].vrfId' is set again with another value (before: 5)");
    EXPECT_EQ(assemble({"rte_l3_vrf[3].vrfId = 5", "rte_l3_vrf[3] = 6"}),
              "'rte_l3_vrf[3]' is set again with another value (before: 0x00000005)");
    // A field refines its word, and a range starts afresh.
    EXPECT_EQ(assemble({"rte_l3_vrf[3] = 6", "rte_l3_vrf[3].vrfId = 5", "rte_l3_vrf[3..3].vrfId = 4",
                        "rte_l3_vrf[3].vrfId = 3"}),
              "");
    // Another reading of the same bits: word 3 of a bucket.
    EXPECT_EQ(assemble({"rte_l2_exm_bkt[3][0].mac_addr = 02:00:00:00:00:a1", "rte_l2_exm_bkt[3][0].vpn_id = 0xa1"}),
              "");
    EXPECT_EQ(assemble({"rte_l2_exm_bkt[3][0].mac_addr = 02:00:00:00:00:a1", "rte_l2_exm_bkt[3][0].vpn_id = 7"}),
              "'rte_l2_exm_bkt[3][0].vpn_id' is set again with another value (before: 0xa1)");
    EXPECT_EQ(assemble({"tfe_tcam[3].ipv4_addr = 10.0.1.0/24", "tfe_tcam[3].ipv4_addr = 10.0.1.0/23"}),
              "'tfe_tcam[3].ipv4_addr' is set again with another value (before: 10.0.1.0/24)");
    EXPECT_EQ(assemble({"tfe_tcam[3].ipv4_addr = *", "tfe_tcam[3].ipv4_addr = 10.0.1.9"}),
              "'tfe_tcam[3].ipv4_addr' is set again with another value (before: *)");
    EXPECT_EQ(assemble({"tfe_tcam[3].vrf_id = 5", "tfe_tcam[3] = never"}),
              "'tfe_tcam[3]' is set again with another value (before: 0x00200000)");
}

TEST(RegencTables, NoTextOfTheirKindsDoesHarm) {
    std::mt19937 random(14);
    const std::string seeds[] = {"tfe_tcam[5].TfeIpv6.ipv6_addr = 2001:db8::1/64",
                                 "tae_tcam[*].l2_da = 02:00::/ff:", "rte_l2_mpid_hash_type[5].hsh_typ[1..3] = 0x2",
                                 "tae_tcam[57344..58367] = never",
                                 "rte_l2_exm_bkt[12287][31].mac_addr = 02:00:00:00:00:a1"};
    const std::string letters = "[]..*/:=0189xaf_ .#TfeIpv6\x80\xff";
    RegencDump dump;
    RegencAssembler assembler(dump);
    size_t refused = 0;
    for (int i = 0; i < 6000; i++) {
        std::string line = seeds[random() % std::size(seeds)];
        for (size_t n = 1 + random() % 3; n > 0; n--) {
            const size_t at = random() % line.size();
            switch (random() % 3) {
            case 0:
                line.erase(at, 1 + random() % 4);
                break;
            case 1:
                line.insert(at, 1, letters[random() % letters.size()]);
                break;
            default:
                line[at] = letters[random() % letters.size()];
            }
            if (line.empty())
                line = " ";
        }
        std::string error;
        if (!assembler.line(line, error)) {
            EXPECT_NE(error, "") << line;
            EXPECT_LT(error.size(), 1000u) << line;
            refused++;
        }
    }
    EXPECT_GT(refused, 2000u);
}

// ---- Warnings ------------------------------------------------------------------------------------------------------

TEST(RegencTables, BitsThatTheLoadDropsAreToldOnce) {
    EXPECT_EQ(warningsOf({"rte_l3_vlan_feat_ctl[3].ipv4UcHdrCkEn = 1", "rte_l3_vlan_feat_ctl[4].ipv4UcHdrCkEn = 0"}),
              (std::vector<std::string>{"warning: 'rte_l3_vlan_feat_ctl[3].ipv4UcHdrCkEn': the load drops bit 27 of "
                                        "word 0"}));
    EXPECT_EQ(warningsOf({"tfe_tcam[0..9].vrf_id = 5"}),
              (std::vector<std::string>{"warning: 'tfe_tcam[0..9].vrf_id': the load drops bit 21 of word 0, bits 30 to "
                                        "22 of word 2, bit 20 of word 2"}));
    EXPECT_EQ(warningsOf({"tae_l2_trap_activity[1].actv[3] = 1"}),
              (std::vector<std::string>{"warning: 'tae_l2_trap_activity[1].actv[3]': the load leaves "
                                        "tae_l2_trap_activity out"}));
    EXPECT_TRUE(warningsOf({"rte_l3_next_hop_rslt[7].eivid = 0x126", "tfe_tcam[0].vrf_id = *", "tfe_tcam[1] = never",
                            "rte_l3_next_hop_rslt[7][0] = 1", "ephy_reg[0].emc_cfg.seq_hdr_en = 1"})
                    .empty());
}

TEST(RegencTables, TheProgramWarnsAndGoesOn) {
    const TempDir temp;
    const std::string text =
        temp.file("text", "# one\nrte_l3_next_hop_rslt[7].eivid = 1\nrte_l3_vlan_feat_ctl[3].ipv4UcHdrCkEn = 1\n");
    const RunResult result = runProgram(REGENC_TSR_PROGRAM, {temp.path("out"), text});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              text + ":3: warning: 'rte_l3_vlan_feat_ctl[3].ipv4UcHdrCkEn': the load drops bit 27 of word 0\n");
    RegencDump dump;
    std::string error;
    ASSERT_TRUE(dump.load(temp.path("out"), error)) << error;
    EXPECT_EQ(dump.image()->rte_l3_vlan_feat_ctl[3], hostWord(1u << 27));
}

// ---- Rows that can never match -------------------------------------------------------------------------------------

TEST(RegencTables, AFieldMakesARowThatNeverMatchesOneThatAlwaysDoes) {
    RegencDump dump;
    const auto &row = dump.image()->rte_l2_ctrl_cls_tcam[4];
    const auto is = [&](uint32_t w0, uint32_t w1, uint32_t w2, uint32_t w3) {
        EXPECT_EQ(hostWord(row.y_val[0]), w0);
        EXPECT_EQ(hostWord(row.y_val[1]), w1);
        EXPECT_EQ(hostWord(row.x_val[0]), w2);
        EXPECT_EQ(hostWord(row.x_val[1]), w3);
    };
    // In one text, from a base, and word by word.
    ASSERT_EQ(assemble(dump, {"rte_l2_ctrl_cls_tcam[*] = never", "rte_l2_ctrl_cls_tcam[4].vid = 5"}), "");
    is(0x00050000, 0, 0x1ffa0000, 0);
    ASSERT_EQ(assemble(dump, {"rte_l2_ctrl_cls_tcam[4] = never"}), "");
    is(0xffffffff, 0xffffffff, 0xffffffff, 0xffffffff);
    ASSERT_EQ(assemble(dump, {"rte_l2_ctrl_cls_tcam[4].trill_found = 1"}), "");
    is(0x20000000, 0, 0, 0);
    // A row that can match keeps what it has.
    ASSERT_EQ(assemble(dump, {"rte_l2_ctrl_cls_tcam[4].vid = 7/7"}), "");
    is(0x20070000, 0, 0, 0);
    // A field of the text itself stays, whatever makes the row one that never matches.
    ASSERT_EQ(assemble(dump, {"rte_l2_ctrl_cls_tcam[4].vid = 1", "rte_l2_ctrl_cls_tcam[4].w1 = 1",
                              "rte_l2_ctrl_cls_tcam[4].w3 = 1", "rte_l2_ctrl_cls_tcam[4].trill_found = 0"}),
              "");
    is(0x00010000, 0, 0x3ffe0000, 0);
    EXPECT_EQ(assemble({"rte_l2_ctrl_cls_tcam[4].w1 = 1", "rte_l2_ctrl_cls_tcam[4] = never"}),
              "'rte_l2_ctrl_cls_tcam[4]' is set again with another value (before: 0x00000001)");
}

// ---- What the model finds ------------------------------------------------------------------------------------------

class RegencTablesModel : public testing::Test {
protected:
    void TearDown() override {
        if (rte_mem != nullptr)
            rte_memory_free();
    }

    void load() {
        rte_mem = nullptr;
        rte_memory_init(builder.image());
    }

    DumpBuilder builder;
};

TEST_F(RegencTablesModel, ControlRowsMatchByValueMaskAnyAndNever) {
    struct Key {
        uint64_t vid, da;
    };
    builder.set("rte_l2_ctrl_cls_tcam[0..1023]", "never");
    builder.text("rte_l2_ctrl_cls_tcam[3].vid = 0x120/0xff0\n"
                 "rte_l2_ctrl_cls_tcam[3].da = 01:80:c2:00:00:00/ff:ff:ff:ff:ff:f0\n"
                 "rte_l2_ctrl_cls_tcam[3].trill_found = 0\n"
                 "rte_l2_ctrl_cls_tcam[9].vid = *\n"
                 "rte_l2_ctrl_cls_tcam[9].da = 01:80:c2:00:00:0e\n"
                 "rte_l2_ctrl_cls_tcam[10].da = *\n"
                 "rte_l2_ctrl_cls_tcam[10..10] = never\n");
    load();
    const auto hits = [&](uint64_t trill, uint64_t vid, uint64_t da) {
        CmTcamTbl tbl;
        tbl.keySiz = 62;
        tbl.u64Key = trill << 61 | vid << 48 | da;
        tbl.tcamSiz = 1024;
        tbl.tcam = rte_mem->mem.RTE_L2_CONTROL_TCAM;
        CmTcamLu(&tbl);
        return std::vector<uint32_t>(tbl.hitList, tbl.hitList + tbl.hitCount);
    };
    using List = std::vector<uint32_t>;
    EXPECT_EQ(hits(0, 0x123, 0x0180c2000007), List{3});
    EXPECT_EQ(hits(0, 0x12f, 0x0180c200000e), (List{3, 9}));
    EXPECT_EQ(hits(1, 0x123, 0x0180c2000007), List{});
    EXPECT_EQ(hits(0, 0x133, 0x0180c2000007), List{});
    EXPECT_EQ(hits(0, 0x123, 0x0180c2000017), List{});
    EXPECT_EQ(hits(1, 0x1fff, 0x0180c200000e), List{9});
    EXPECT_EQ(hits(0, 0, 0), List{});
}

TEST_F(RegencTablesModel, RandomKeysOfTheTypeClassificationHitWhatTheirFieldsAskFor) {
    // Where the fields of the key stand in its 64 bits.
    struct Part {
        const char *name;
        unsigned lo, width;
    };
    static constexpr Part kParts[] = {{"lgc_port", 59, 5}, {"l3_frag", 58, 1}, {"trill_found", 57, 1},
                                      {"llc_det", 56, 1},  {"l3_ulp", 48, 8},  {"l2_etyp", 32, 16},
                                      {"l4_src", 16, 16},  {"l4_dst", 0, 16}};
    std::mt19937_64 random(15);
    constexpr uint32_t kRows = 64;
    uint64_t value[kRows] = {};
    uint64_t mask[kRows] = {};
    bool never[kRows] = {};
    builder.set("rte_typ_cls_tcam[*]", "never");
    for (uint32_t row = 0; row < kRows; row++) {
        const std::string name = "rte_typ_cls_tcam[" + std::to_string(row) + "]";
        never[row] = true;
        for (const Part &part : kParts) {
            if (random() % 3 != 0)
                continue;
            const uint64_t ones = (uint64_t{1} << part.width) - 1;
            const uint64_t v = random() & ones;
            const uint64_t m = random() & random() & random() & ones;
            builder.set(name + "." + part.name, std::to_string(v) + "/" + std::to_string(m));
            value[row] |= (v & m) << part.lo;
            mask[row] |= m << part.lo;
            never[row] = false;
        }
    }
    load();
    uint64_t numHits = 0;
    for (int i = 0; i < 20000; i++) {
        // Keys near a row, so that many hit.
        const uint32_t near = static_cast<uint32_t>(random() % kRows);
        const uint64_t key = (random() & ~mask[near]) | (value[near] ^ (random() % 2 == 0 ? 0 : random() & mask[near]));
        CmTcamTbl tbl;
        tbl.keySiz = 64;
        tbl.u64Key = key;
        tbl.tcamSiz = 1024;
        tbl.tcam = rte_mem->mem.RTE_TYP_TCAM;
        CmTcamLu(&tbl);
        std::vector<uint32_t> expected;
        for (uint32_t row = 0; row < kRows; row++) {
            if (!never[row] && ((key ^ value[row]) & mask[row]) == 0)
                expected.push_back(row);
        }
        ASSERT_EQ(std::vector<uint32_t>(tbl.hitList, tbl.hitList + tbl.hitCount), expected);
        numHits += tbl.hitCount;
    }
    EXPECT_GT(numHits, 5000u);
}

namespace {

/// The result word of a search, or 0 for a miss.
uint32_t searchIpv4(uint32_t vrf, uint32_t addr) {
    const L3FwdIpv4InKey key{{vrf << 20, addr}};
    L3FwdIpv4InKeyR places{};
    CmTfeLue::ReshuffleKey(&key, &places, 0);
    TFE_LUE_INPUT input{};
    input.key = places.word;
    input.ipv4_srch = 1;
    input.da_lkup = 1;
    input.default_vrf_en = 1;
    TFE_LUE_RSLT rslt{};
    rte_mem->tfePtr->lookupL3Lpm(&input, &rslt);
    return rslt.hit ? rslt.rslt : 0;
}

uint32_t searchIpv6(uint32_t vrf, const TblWide &addr) {
    const L3FwdIpv6InKey key{{vrf << 20, addr[0], addr[1], addr[2], addr[3]}};
    L3FwdIpv6InKeyR places{};
    CmTfeLue::ReshuffleKey(&key, &places, 0);
    TFE_LUE_INPUT input{};
    input.key = places.word;
    input.ipv6_srch = 1;
    input.da_lkup = 1;
    input.default_vrf_en = 1;
    TFE_LUE_RSLT rslt{};
    rte_mem->tfePtr->lookupL3Lpm(&input, &rslt);
    return rslt.hit ? rslt.rslt : 0;
}

} // namespace

TEST_F(RegencTablesModel, PrefixesAreFoundByTheirAddresses) {
    builder.set("tfe_bank_en.tfe_bank_en", 3).set("tfe_bank_prtcl_sel.bank_prtcl_sel", 2u << 2);
    builder.set("tfe_tcam[0..65535]", "never");
    builder.text("tfe_tcam[7].ipv4_addr = 10.0.1.0/24\n"
                 "tfe_tcam[7].vrf_id = 0/1\n" // the load keeps the lowest bit alone
                 "tfe_tcam[9].ipv4_addr = 10.0.0.0/255.255.0.255\n"
                 "tfe_tcam[12].ipv4_addr = 127.0.0.0/8\n"
                 "tfe_tcam[12..12] = never\n"
                 "tfe_tcam[32772].ipv6_addr = 2001:db8:0:1::/64\n"
                 "tfe_amap_data[7].nxt_hop_rslt_idx = 0x107\n"
                 "tfe_amap_data[9].nxt_hop_rslt_idx = 0x109\n"
                 "tfe_amap_data[32772].nxt_hop_rslt_idx = 0x144\n");
    load();
    EXPECT_EQ(searchIpv4(0, 0x0a000105), 0x107u << 14);
    EXPECT_EQ(searchIpv4(2, 0x0a0001ff), 0x107u << 14);
    EXPECT_EQ(searchIpv4(1, 0x0a000105), 0u);
    EXPECT_EQ(searchIpv4(0, 0x0a000205), 0u);
    EXPECT_EQ(searchIpv4(1, 0x0a004200), 0x109u << 14);
    EXPECT_EQ(searchIpv4(1, 0x0a014200), 0u);
    EXPECT_EQ(searchIpv4(0, 0x7f000001), 0u);
    EXPECT_EQ(searchIpv6(5, {0x20010db8, 0x00000001, 0x12345678, 0x9}), 0x144u << 14);
    EXPECT_EQ(searchIpv6(5, {0x20010db8, 0x00000003, 0x12345678, 0x9}), 0u);
    EXPECT_EQ(searchIpv6(5, {0x20010db9, 0x00000001, 0x12345678, 0x9}), 0u);
}

TEST_F(RegencTablesModel, RandomPrefixesAreFoundAndTheirNeighboursAreNot) {
    std::mt19937 random(16);
    builder.set("tfe_bank_en.tfe_bank_en", 1);
    for (int i = 0; i < 8; i++) {
        const uint32_t addr = static_cast<uint32_t>(random()) & 0x7fffffff; // the load drops the top bit
        const unsigned length = 2 + static_cast<unsigned>(random() % 31);
        const uint32_t row = static_cast<uint32_t>(random() % 0x8000);
        const uint32_t hop = 1 + static_cast<uint32_t>(random() % 1000);
        const std::string name = "[" + std::to_string(row) + "]";
        builder.set("tfe_tcam[0..32767]", "never");
        builder.set("tfe_tcam" + name + ".ipv4_addr", std::to_string(addr >> 24) + "." +
                                                          std::to_string(addr >> 16 & 255) + "." +
                                                          std::to_string(addr >> 8 & 255) + "." +
                                                          std::to_string(addr & 255) + "/" + std::to_string(length));
        builder.set("tfe_amap_data" + name + ".nxt_hop_rslt_idx", hop);
        load();
        const uint32_t host = length == 32 ? 0 : 0xffffffffu >> length;
        for (unsigned bit = 0; bit < 31; bit++)
            EXPECT_EQ(searchIpv4(static_cast<uint32_t>(random() & 0xfff), addr ^ 1u << bit),
                      (1u << bit & ~host) != 0 ? 0 : hop << 14)
                << addr << "/" << length << " bit " << bit;
        rte_memory_free();
    }
}
