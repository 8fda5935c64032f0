// The layouts of layer 2: against their positions written down a second time, against the dump map and the model's
// memories, and against the stages that take the words apart.

#include "lue/cmRteLue.h"
#include "prc/cmRtePrc.h"
#include "tbl/tsr_tbl_desc.h"

#include "model_fixture.h"
#include "tcam_image.h"
#include "tsr_reg_dump.h"

#include <algorithm>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace {

// ---- The positions, a second time ----------------------------------------------------------------------------------

/// Bits `hi` to `lo` of a whole entry (of a TCAM's key) as one number, whose lowest word is the entry's last. Several
/// rows of one field give its parts, the highest first.
struct Pos {
    std::string type;
    std::string field;
    unsigned hi;
    unsigned lo;
};

class Positions {
public:
    Positions() {
        halves("VlanXlate", "vid", 12, 0);

        add("TrillMyRb", {{"nickname", 15, 0}});
        halves("TrillRpf", "rpf_drop", 11, 0);

        add("L2CtrlKey", {{"trill_found", 61, 61}, {"vid", 60, 48}, {"da", 47, 0}});
        add("L2CtrlRslt", {{"skip_ivf", 63, 32}, {"vlan_override", 31, 0}});
        add("TypKey", {{"lgc_port", 63, 59},
                       {"l3_frag", 58, 58},
                       {"trill_found", 57, 57},
                       {"llc_det", 56, 56},
                       {"l3_ulp", 55, 48},
                       {"l2_etyp", 47, 32},
                       {"l4_src", 31, 16},
                       {"l4_dst", 15, 0}});
        for (unsigned i = 0; i < 4; i++)
            elem("TypApp", "app_typ", i, 31 - 8 * i, 24 - 8 * i);
        halves("TypVid", "vid", 12, 0);
        add("TypMtu", {{"mtu", 31, 0}});
        for (unsigned i = 0; i < 16; i++) {
            elem("TypAttr", "pol_en", i, 30 - 2 * i, 30 - 2 * i);
            elem("TypAttr", "loc_mac_drp", i, 31 - 2 * i, 31 - 2 * i);
        }

        add("L2MacKey", {{"phy_port", 100, 96}, {"da", 95, 48}, {"l2_etyp", 63, 48}, {"sa", 47, 0}});
        add("L2MacVid", {{"vid", 31, 0}});
        for (unsigned i = 0; i < 4; i++) {
            elem("L2MacPrio", "prio", i, 26 - 8 * i, 24 - 8 * i);
            elem("L2MacPrio", "dp", i, 28 - 8 * i, 27 - 8 * i);
        }

        add("CloudKey", {{"trill_form", 81, 81},
                         {"ctag_nz", 80, 80},
                         {"sa", 79, 32},
                         {"iscvid", 31, 19},
                         {"icvid", 18, 6},
                         {"qinq_en", 5, 5},
                         {"phy_port", 4, 0}});
        add("CloudTrillKey", {{"trill_form", 81, 81},
                              {"trill_mc", 52, 52},
                              {"trill_egr", 51, 51},
                              {"trill_port", 50, 50},
                              {"trill_found", 49, 49},
                              {"ctag_nz", 48, 48},
                              {"vpn_id", 43, 24},
                              {"icvid", 17, 5},
                              {"phy_port", 4, 0}});
        add("CloudVpn", {{"iivid", 32, 20}, {"vpn_id", 19, 0}});
        add("CloudPolicy", {{"policy_id", 11, 0}});
        add("IividVpn", {{"vpn_id", 19, 0}});
        add("VlanMtu", {{"mtu", 31, 0}});

        add("L2Fid", {{"fid", 12, 0}});
        halves("L2ExmIdx", "bkt", 13, 0);
        for (const char *type : {"L2ExmBkt", "L2ExmOvflw"})
            add(type, {{"trill_addr_vld", 77, 77},
                       {"fid", 76, 64},
                       {"trill_addr", 63, 48},
                       {"mac_addr", 47, 0},
                       {"vpn_id", 31, 0}});
        add("L2ExmRslt", {{"trill_da", 43, 28},
                          {"mct_npath", 43, 41},
                          {"mct_id", 40, 28},
                          {"trill_cmd", 27, 26},
                          {"trill_mc", 25, 25},
                          {"trap_en", 24, 24},
                          {"is_mgid", 23, 23},
                          {"lrn_port", 22, 17},
                          {"gid", 16, 0}});
        bitPerIndex("L2DaAct", "act");
        add("L2FloodMgid", {{"mgid", 16, 0}});
        bitPerIndex("VidTrillMc", "trill_mc");
        for (unsigned i = 0; i < 8; i++) {
            elem("L2StpEn", "fwd_en_untag", i, 28 - 4 * i, 28 - 4 * i);
            elem("L2StpEn", "fwd_en_tag", i, 29 - 4 * i, 29 - 4 * i);
            elem("L2StpEn", "sa_lrn_en", i, 30 - 4 * i, 30 - 4 * i);
            elem("L2StpEn", "da_lrn_en", i, 31 - 4 * i, 31 - 4 * i);
        }
        add("MyDaPrefix", {{"prefix", 23, 0}});
        add("MyDaRslt", {{"rslt_idx", 18, 0}, {"myda_id", 25, 19}});

        for (const char *type : {"L2Ipv4UcastEn", "L2Ipv4McastEn", "L2Ipv6UcastEn", "L2Ipv6McastEn"})
            bitPerIndex(type, "rte_en");

        for (const char *type : {"MctidHshTyp", "MpidHshTyp"}) {
            for (unsigned i = 0; i < 8; i++)
                elem(type, "hsh_typ", i, 30 - 4 * i, 28 - 4 * i);
        }
        add("MctidPath", {{"trill_da", 15, 0}, {"trill_da_l3", 31, 0}});
        for (const char *type : {"TrillDest", "MpidPath", "LagPath"})
            add(type, {{"is_mgid", 17, 17}, {"gid", 16, 0}});
        halves("LagHshTyp", "hsh_typ", 2, 0);
        halves("LagHshTyp", "npath", 9, 3);

        bitPerIndex("Egid1q", "is_1q");
        bitPerIndex("Mgid1q", "is_1q");

        bitPerIndex("L2SaLip", "lip");
        bitPerIndex("L2DaLip", "lip");
        // The upper 64-bit word of a request counts from bit 64 on.
        add("L2SaLrnInf", {{"fcoe_code", 64 + 19, 64 + 18},
                           {"trill_rb", 64 + 17, 64 + 2},
                           {"phy_port", 64 + 1, 64 + 0},
                           {"phy_port", 63, 61},
                           {"iivid", 60, 48},
                           {"sa", 47, 0}});
        add("L2DaLrnInf", {{"trill_da", 64 + 31, 64 + 0}, {"phy_port", 63, 60}, {"iivid", 59, 48}, {"da", 47, 0}});
    }

    const std::vector<Pos> &rows() const { return rows_; }

    std::set<std::string> types() const {
        std::set<std::string> types;
        for (const Pos &pos : rows_)
            types.insert(pos.type);
        return types;
    }

    /// The fields of a type by name, an element of an array as "name[i]", decoded out of `words`.
    std::map<std::string, uint64_t> decode(const std::string &type, const std::vector<uint32_t> &words) const {
        std::map<std::string, uint64_t> fields;
        for (const Pos &pos : rows_) {
            if (pos.type != type)
                continue;
            uint64_t &value = fields[pos.field];
            for (unsigned bitNum = pos.hi + 1; bitNum-- > pos.lo;)
                value = value << 1 | bitAt(words, bitNum);
        }
        return fields;
    }

    /// Fields that are other readings of bits that another field has.
    static std::set<std::string> alts() {
        return {"L2MacKey.l2_etyp",    "L2ExmBkt.vpn_id",  "L2ExmOvflw.vpn_id",
                "L2ExmRslt.mct_npath", "L2ExmRslt.mct_id", "MctidPath.trill_da_l3"};
    }

    /// Whether a field of the type, or another reading, has bit `bitNum` of the entry.
    bool covers(const std::string &type, unsigned bitNum) const {
        return std::any_of(rows_.begin(), rows_.end(),
                           [&](const Pos &pos) { return pos.type == type && pos.lo <= bitNum && bitNum <= pos.hi; });
    }

    static uint32_t bitAt(const std::vector<uint32_t> &words, unsigned bitNum) {
        return words[words.size() - 1 - bitNum / 32] >> bitNum % 32 & 1;
    }

private:
    struct Field {
        const char *name;
        unsigned hi;
        unsigned lo;
    };

    void add(const char *type, std::initializer_list<Field> fields) {
        for (const Field &field : fields)
            rows_.push_back({type, field.name, field.hi, field.lo});
    }
    void elem(const char *type, const std::string &field, unsigned idx, unsigned hi, unsigned lo) {
        rows_.push_back({type, field + "[" + std::to_string(idx) + "]", hi, lo});
    }
    /// The even index has the upper half of the word; `hi` and `lo` count within a half.
    void halves(const char *type, const char *field, unsigned hi, unsigned lo) {
        elem(type, field, 0, 16 + hi, 16 + lo);
        elem(type, field, 1, hi, lo);
    }
    void bitPerIndex(const char *type, const char *field) {
        for (unsigned i = 0; i < 32; i++)
            elem(type, field, i, i, i);
    }

    std::vector<Pos> rows_;
};

// ---- The records, by name ------------------------------------------------------------------------------------------

#define ENTRY(Type, form, row, mem, words, use, text, ...)                                                             \
    template <class Fn> void visit(const Type &entry, Fn fn) {                                                         \
        __VA_ARGS__                                                                                                    \
    }
#define TCAM(Type, form, row, mem, words, use, text, ...) ENTRY(Type, form, row, mem, words, use, text, __VA_ARGS__)
#define OPAQUE(row, mem, words, use, text)
#define FLD(name, word, hi, lo, kind, text) fn(std::string(#name), entry.name);
#define FLDP(name, width, kind, text, ...) FLD(name, 0, 0, 0, kind, text)
#define FLDA(name, count, word, hi, lo, step, kind, text)                                                              \
    for (size_t i = 0; i < entry.name.size(); i++)                                                                     \
        fn(#name "[" + std::to_string(i) + "]", entry.name[i]);
#define ALT(name, word, hi, lo, kind, text) FLD(name, 0, 0, 0, kind, text)
#define ALTP(name, width, kind, text, ...) FLD(name, 0, 0, 0, kind, text)
#include "tbl/tsr_tbl_l2.def"
#undef ENTRY
#undef TCAM
#undef OPAQUE
#undef FLD
#undef FLDP
#undef FLDA
#undef ALT
#undef ALTP

/// One record type: taken apart into named values, and put from one entry's words into another's.
struct RecordCase {
    std::string type;
    uint32_t words;
    std::function<std::map<std::string, uint64_t>(const uint32_t *)> unpackAll;
    std::function<void(const uint32_t *, uint32_t *)> repack;
};

template <class Type> RecordCase recordCase(const char *name) {
    return {name, Type::kWords,
            [](const uint32_t *words) {
                std::map<std::string, uint64_t> fields;
                visit(entryAt<Type>(words), [&](const std::string &field, uint64_t value) {
                    EXPECT_TRUE(fields.emplace(field, value).second) << field;
                });
                return fields;
            },
            [](const uint32_t *from, uint32_t *to) { pack(entryAt<Type>(from), to); }};
}

const std::vector<RecordCase> &recordCases() {
    static const std::vector<RecordCase> cases = {
#define ENTRY(Type, ...) recordCase<Type>(#Type),
#define TCAM(Type, ...) recordCase<Type>(#Type),
#define OPAQUE(...)
#include "tbl/tsr_tbl_l2.def"
#undef ENTRY
#undef TCAM
#undef OPAQUE
    };
    return cases;
}

/// Rows of the dump that the list names, with or without a layout.
std::set<std::string> listedRows() {
    return {
#define ENTRY(Type, form, row, ...) #row,
#define TCAM(Type, form, row, ...) #row,
#define OPAQUE(row, ...) #row,
#include "tbl/tsr_tbl_l2.def"
#undef ENTRY
#undef TCAM
#undef OPAQUE
    };
}

const TblDesc *descOf(const std::string &type) {
    for (const TblDesc &desc : tblDescs())
        if (desc.type != nullptr && desc.type == type)
            return &desc;
    return nullptr;
}

std::map<std::string, uint64_t> decodeByDesc(const TblDesc &desc, const std::vector<uint32_t> &words) {
    std::map<std::string, uint64_t> fields;
    for (const TblField &field : desc.field) {
        for (unsigned idx = 0; idx < field.count; idx++) {
            uint64_t value = 0;
            for (size_t i = 0; i < field.numPieces; i++) {
                const TblPiece piece = field.at(i, idx);
                value |= static_cast<uint64_t>(tblPieceBits(words.data(), piece)) << piece.at;
            }
            fields[field.isArr ? std::string(field.name) + "[" + std::to_string(idx) + "]" : field.name] = value;
        }
    }
    return fields;
}

// ---- Random words --------------------------------------------------------------------------------------------------

constexpr int kRounds = 200;

std::mt19937 &rng() {
    static std::mt19937 gen(20);
    return gen;
}

uint32_t rnd(uint32_t width = 32) {
    return static_cast<uint32_t>(rng()()) & (0xffffffffu >> (32 - width));
}

uint64_t rndMac() {
    return static_cast<uint64_t>(rnd(16)) << 32 | rnd();
}

std::vector<uint32_t> rndWords(size_t count) {
    std::vector<uint32_t> words(count);
    std::generate(words.begin(), words.end(), [] { return rnd(); });
    return words;
}

template <size_t N> void fill(uint32_t (&mem)[N]) {
    std::generate(std::begin(mem), std::end(mem), [] { return rnd(); });
}

/// Makes entry `idx` of the TCAM ask for exactly the named fields of `key`: a set bit of the first half for 1, of the
/// second for 0, none for a bit that no field has.
template <class Key, size_t N> void putKey(uint32_t (&tcam)[N], size_t idx, const Key &key) {
    uint32_t *one = &tcam[idx * 2 * Key::kWords];
    uint32_t *zero = one + Key::kWords;
    std::fill_n(one, 2 * Key::kWords, 0);
    uint32_t ones[Key::kWords];
    std::fill_n(ones, Key::kWords, ~0u);
    pack(entryAt<Key>(ones), zero);
    pack(key, one);
    for (uint32_t i = 0; i < Key::kWords; i++)
        zero[i] &= ~one[i];
}

class TblL2Stage : public ModelTest {
protected:
    TblL2Stage() {
        com.rte_his_en = 0;
        for (uint32_t i = 0; i < 128; i++) {
            macHiAddr[i] = 0x52400 + 4 * i;
            macLoAddr[i] = 0x52600 + 4 * i;
        }
    }

    void newFrame(uint32_t phyPort) {
        resetStat(phyPort);
        stat.list_RTE_MYDA_RANGE_HI_REG = macHiAddr;
        stat.list_RTE_MYDA_RANGE_LO_REG = macLoAddr;
    }

    CmRteHsiPortReg &portReg() { return *stat.portRegPtr; }

    uint32_t macHiAddr[128];
    uint32_t macLoAddr[128];
};

} // namespace

// ---- The list against the positions --------------------------------------------------------------------------------

TEST(TblL2, TheTwoListsNameTheSameTypes) {
    std::set<std::string> listed;
    for (const RecordCase &rec : recordCases())
        listed.insert(rec.type);
    EXPECT_EQ(listed, Positions().types());
}

TEST(TblL2, RecordsAndDescriptorsTakeEveryFieldFromItsPlace) {
    const Positions positions;
    for (const RecordCase &rec : recordCases()) {
        const TblDesc *desc = descOf(rec.type);
        ASSERT_NE(desc, nullptr) << rec.type;
        EXPECT_EQ(desc->keyWords(), rec.words) << rec.type;
        for (int round = 0; round < kRounds; round++) {
            const std::vector<uint32_t> words = rndWords(rec.words);
            const auto want = positions.decode(rec.type, words);
            ASSERT_EQ(rec.unpackAll(words.data()), want) << rec.type;
            ASSERT_EQ(decodeByDesc(*desc, words), want) << rec.type;
        }
    }
}

TEST(TblL2, PackSetsTheFieldsAndNothingElse) {
    const Positions positions;
    for (const RecordCase &rec : recordCases()) {
        for (int round = 0; round < kRounds; round++) {
            const std::vector<uint32_t> from = rndWords(rec.words);
            const std::vector<uint32_t> old = rndWords(rec.words);
            std::vector<uint32_t> to = old;
            rec.repack(from.data(), to.data());
            for (unsigned bitNum = 0; bitNum < 32 * rec.words; bitNum++) {
                const std::vector<uint32_t> &source = positions.covers(rec.type, bitNum) ? from : old;
                ASSERT_EQ(Positions::bitAt(to, bitNum), Positions::bitAt(source, bitNum))
                    << rec.type << " bit " << bitNum;
            }
        }
    }
}

TEST(TblL2, FieldWidths) {
    const Positions positions;
    for (const RecordCase &rec : recordCases()) {
        // All ones in an entry read as the width of each field.
        const auto want = positions.decode(rec.type, std::vector<uint32_t>(rec.words, ~0u));
        for (const TblField &field : descOf(rec.type)->field) {
            for (unsigned idx = 0; idx < field.count; idx++) {
                const std::string name =
                    field.isArr ? std::string(field.name) + "[" + std::to_string(idx) + "]" : field.name;
                EXPECT_EQ(want.at(name), (uint64_t{1} << field.width) - 1) << rec.type << "." << name;
            }
        }
    }
}

TEST(TblL2, KeysHaveAllTheirBitsNamed) {
    const std::map<std::string, unsigned> keySiz = {{"TrillMyRb", 16},  {"L2CtrlKey", 62}, {"TypKey", 64},
                                                    {"L2MacKey", 101},  {"CloudKey", 82},  {"L2ExmBkt", 78},
                                                    {"L2ExmOvflw", 78}, {"MyDaPrefix", 24}};
    for (const auto &[type, siz] : keySiz) {
        unsigned sum = 0;
        for (const TblField &field : descOf(type)->field)
            sum += field.isAlt ? 0u : field.width;
        EXPECT_EQ(sum, siz) << type;
    }
}

TEST(TblL2, OverlapsAreThoseMeant) {
    std::set<std::string> alts;
    for (const RecordCase &rec : recordCases())
        for (const TblField &field : descOf(rec.type)->field)
            if (field.isAlt)
                alts.insert(rec.type + "." + field.name);
    EXPECT_EQ(alts, Positions::alts());
}

TEST(TblL2, CloudKeysAreToldApartByTheirForm) {
    for (const auto &[type, value] : {std::pair{"CloudKey", 0u}, {"CloudTrillKey", 1u}}) {
        const TblDesc *desc = descOf(type);
        ASSERT_NE(desc, nullptr);
        EXPECT_EQ(desc->form.kind, TblForm::WHEN);
        EXPECT_STREQ(desc->form.field, "trill_form");
        EXPECT_EQ(desc->form.value, value);
    }
}

// ---- The list against the dump map and the model's memories --------------------------------------------------------

TEST(TblL2, RowsStandInTheDumpAndInTheirMemory) {
    struct Mem {
        uint32_t first, last, words;
    };
    const std::map<std::string_view, Mem> mems = {
#define MEM(first, last, name, words, ...) {#name, {first, last, words}},
#include "base/cmRteHsiMem.def"
#undef MEM
    };
    // The flood groups fill two memories.
    const auto rowEnd = [&](std::string_view row, uint32_t memLast) {
        return row == "rte_l2_flood_mgid" ? mems.at("RTE_L2_VID_MGID_SRAM1").last : memLast;
    };
    const std::set<std::string> listed = listedRows();
    std::set<std::string> seen;
    for (const TblDesc &desc : tblDescs()) {
        if (!listed.contains(desc.row))
            continue;
        seen.insert(desc.row);

        const regdump_map_t *row = tsr_dmp_map;
        while (row->name != nullptr && std::string_view(row->name) != desc.row)
            row++;
        ASSERT_NE(row->name, nullptr) << desc.row;
        size_t dims = 0;
        while (dims < REGDUMP_MAX_DIMS && row->depth[dims] != 0)
            dims++;
        if (desc.words > 1 && row->dump_size == 4) {
            ASSERT_GT(dims, 0u) << desc.row;
            EXPECT_EQ(row->depth[dims - 1], desc.words) << desc.row;
        } else {
            EXPECT_EQ(row->dump_size, 4 * desc.words) << desc.row;
        }

        if (desc.mem == nullptr)
            continue;
        ASSERT_TRUE(mems.contains(desc.mem)) << desc.row;
        const Mem &mem = mems.at(desc.mem);
        EXPECT_EQ(mem.words, desc.words) << desc.row;
        EXPECT_EQ(desc.loadMsk.size(), desc.words) << desc.row;
        EXPECT_LE(row->asic_offset + regdump_mapp_get_size(row) - 1, rowEnd(desc.row, mem.last)) << desc.row;
        // The multicast enables are the upper halves of their memories; every other row starts its memory.
        const uint32_t start = std::string_view(desc.row).ends_with("_mcast_en") ? 0x400 : 0;
        EXPECT_EQ(row->asic_offset, mem.first + start) << desc.row;
    }
    EXPECT_EQ(seen, listed);
}

TEST(TblL2, TheLoadKeepsEveryFieldButTheKnownTops) {
    // Words that a stage reads whole, and of which the load keeps fewer bits.
    const std::set<std::string> cut = {"TypMtu.mtu", "L2MacVid.vid", "VlanMtu.mtu", "MctidPath.trill_da_l3",
                                       "L2DaLrnInf.trill_da"};
    std::set<std::string> found;
    for (const RecordCase &rec : recordCases()) {
        const TblDesc *desc = descOf(rec.type);
        for (const TblField &field : desc->field)
            for (unsigned idx = 0; idx < field.count; idx++)
                for (size_t i = 0; i < field.numPieces; i++) {
                    const TblPiece piece = field.at(i, idx);
                    const uint32_t msk = 0xffffffffu >> (32 - piece.width) << piece.lo;
                    if ((desc->loadMsk[piece.word] & msk) != msk)
                        found.insert(rec.type + "." + field.name);
                }
    }
    EXPECT_EQ(found, cut);
}

// ---- The list against the stages -----------------------------------------------------------------------------------

TEST_F(TblL2Stage, VlanTranslation) {
    fill(mem.RTE_VLAN_X_EDRAM);
    for (int round = 0; round < kRounds; round++) {
        const uint32_t igPort = rnd(5);
        const uint32_t vid = rnd(12);
        EXPECT_EQ(entry<VlanXlate>(mem.RTE_VLAN_X_EDRAM, igPort * 2048 + vid / 2).vid[vid & 1],
                  vlanTrans(&mem, igPort, vid));
    }
}

TEST_F(TblL2Stage, TrillRpfAndOwnNicknames) {
    fill(mem.RTE_TRILL_RPF_EDRAM);
    for (int round = 0; round < kRounds; round++) {
        newFrame(1);
        stat.l2TrillDa = com.trill_mcast_rb[2] = 0x8000 | rnd(15);
        stat.l2TrillSa = rnd(16);
        const uint32_t rpfPort = portReg().rte_prc_trill_rpf_port = rnd(32) % 12;
        trillRpf(&stat);
        const TrillRpf rpf = entry<TrillRpf>(mem.RTE_TRILL_RPF_EDRAM, 2 * 32768 + stat.l2TrillSa / 2);
        EXPECT_EQ(stat.l2TrillMcRpfDrop, rpf.rpf_drop[stat.l2TrillSa & 1] >> rpfPort & 1);

        tcamOff(mem.RTE_TRILL_MRB_TCAM, 2);
        TrillMyRb key{};
        key.nickname = stat.l2TrillDa;
        putKey(mem.RTE_TRILL_MRB_TCAM, 77, key);
        TrillMyRbLu(&stat);
        EXPECT_EQ(stat.l2TrillEgr, 1u);
        stat.l2TrillDa ^= 1u << rnd(4);
        stat.l2TrillEgr = 0;
        TrillMyRbLu(&stat);
        EXPECT_EQ(stat.l2TrillEgr, 0u);
    }
}

TEST_F(TblL2Stage, ControlClassification) {
    fill(mem.RTE_L2_CONTROL_RSLT_SRAM);
    tcamOff(mem.RTE_L2_CONTROL_TCAM, 4);
    for (int round = 0; round < kRounds; round++) {
        const uint32_t phyPort = rnd(3);
        newFrame(phyPort);
        stat.l2TrillFound = rnd(1);
        stat.l2MacClsDa = rndMac();
        stat.ctagNz = 1;
        stat.ctag = stat.xcvid = rnd(13);
        L2CtrlKey key{};
        key.trill_found = stat.l2TrillFound;
        key.vid = stat.ctag;
        key.da = stat.l2MacClsDa;
        const uint32_t idx = rnd(10);
        putKey(mem.RTE_L2_CONTROL_TCAM, idx, key);
        L2CtrlCls(&stat);
        const L2CtrlRslt rslt2 = entry<L2CtrlRslt>(mem.RTE_L2_CONTROL_RSLT_SRAM, idx);
        EXPECT_EQ(stat.l2CtlSkipIvf, rslt2.skip_ivf >> phyPort & 1);
        EXPECT_EQ(stat.l2CtlVlanOverride, rslt2.vlan_override >> phyPort & 1);
        std::fill_n(&mem.RTE_L2_CONTROL_TCAM[4 * idx], 4, 1);
    }
}

TEST_F(TblL2Stage, TypeClassification) {
    fill(mem.RTE_APP_TYP_RA);
    fill(mem.RTE_TYP_VID_EDRAM);
    fill(mem.RTE_TYP_MTU_SRAM);
    fill(mem.RTE_TYP_ATTRIBUTE_RA);
    tcamOff(mem.RTE_TYP_TCAM, 4);
    com.rte_app_typ_en = com.rte_typ_vid_en = com.rte_typ_mtu_en = com.rte_typ_attrb_en = ~0u;
    for (int round = 0; round < kRounds; round++) {
        const uint32_t phyPort = rnd(3);
        newFrame(phyPort);
        TypKey key{};
        key.lgc_port = portReg().rte_prc_class_lgc_port = rnd(5);
        key.l3_frag = stat.typL3Frag = rnd(1);
        key.trill_found = stat.typL2TrillFound = rnd(1);
        key.llc_det = stat.typL2LlcDet = rnd(1);
        key.l3_ulp = stat.typL3Ulp = rnd(8);
        key.l2_etyp = stat.typL2Etyp = rnd(16);
        key.l4_src = stat.typL4Src = rnd(16);
        key.l4_dst = stat.typL4Dst = rnd(16);
        const uint32_t idx = rnd(10);
        putKey(mem.RTE_TYP_TCAM, idx, key);
        TypLu(&stat);
        EXPECT_EQ(stat.typVidHit, 1u);
        EXPECT_EQ(stat.typ, entry<TypApp>(mem.RTE_APP_TYP_RA, idx / 4).app_typ[idx % 4]);
        EXPECT_EQ(stat.typVid, entry<TypVid>(mem.RTE_TYP_VID_EDRAM, phyPort * 512 + idx / 2).vid[idx % 2]);
        EXPECT_EQ(stat.typMtu, entry<TypMtu>(mem.RTE_TYP_MTU_SRAM, idx).mtu);
        const TypAttr attr = entry<TypAttr>(mem.RTE_TYP_ATTRIBUTE_RA, idx / 16);
        EXPECT_EQ(stat.typAttrPolEn, attr.pol_en[idx % 16]);
        EXPECT_EQ(stat.typAttrLocMacDrp, attr.loc_mac_drp[idx % 16]);
        std::fill_n(&mem.RTE_TYP_TCAM[4 * idx], 4, 1);
    }
}

TEST_F(TblL2Stage, MacClassification) {
    fill(mem.RTE_L2_MAC_VID_SRAM);
    fill(mem.RTE_L2_MAC_PRIO_RA);
    tcamOff(mem.RTE_L2_MAC_TCAM, 8);
    com.rte_l2_mac_vid_en_0 = com.rte_l2_mac_vid_en_1 = ~0u;
    com.rte_l2_mac_prio_en_0 = com.rte_l2_mac_prio_en_1 = ~0u;
    for (int round = 0; round < kRounds; round++) {
        newFrame(rnd(3));
        portReg().rte_prc_l2_mac_vid_en = portReg().rte_prc_l2_mac_prio_en = 1;
        const uint32_t profile = portReg().rte_prc_mac_cls_profile = rnd(1);
        stat.l2MacClsDa = rndMac();
        stat.l2MacClsSa = rndMac();
        stat.l2Etyp = rnd(16);
        L2MacKey key{};
        key.phy_port = stat.ingPhyPort;
        key.sa = stat.l2MacClsSa;
        key.da = profile != 0 ? stat.l2Etyp : stat.l2MacClsDa;
        const uint32_t idx = rnd(11);
        putKey(mem.RTE_L2_MAC_TCAM, idx, key);
        if (profile != 0) {
            EXPECT_EQ(entryAt<L2MacKey>(&mem.RTE_L2_MAC_TCAM[8 * idx]).l2_etyp, stat.l2Etyp);
        }
        MacCls(&stat);
        EXPECT_EQ(stat.macVidHit, 1u);
        EXPECT_EQ(stat.macVid, entry<L2MacVid>(mem.RTE_L2_MAC_VID_SRAM, idx).vid);
        const L2MacPrio prio = entry<L2MacPrio>(mem.RTE_L2_MAC_PRIO_RA, idx / 4);
        EXPECT_EQ(stat.macPrio, prio.prio[idx % 4]);
        EXPECT_EQ(stat.macDp, prio.dp[idx % 4]);
        std::fill_n(&mem.RTE_L2_MAC_TCAM[8 * idx], 8, 1);
    }
}

TEST_F(TblL2Stage, CloudClassification) {
    fill(mem.RTE_CLOUD_RSLT_VPN_SRAM);
    fill(mem.RTE_CLOUD_RSLT_POLICY_SRAM);
    fill(mem.RTE_IIVID_VPNID_SRAM);
    fill(mem.RTE_L2_VLAN_MTU_SRAM);
    tcamOff(mem.RTE_CLOUD_TCAM, 8);
    com.csc_vpn_mask_0 = com.csc_vpn_mask_1 = com.csc_vpn_mask_2 = com.csc_vpn_mask_3 = ~0u;
    com.csc_policy_mask[0] = com.csc_policy_mask[1] = com.csc_policy_mask[2] = com.csc_policy_mask[3] = ~0u;
    com.res_passthru_ivid = com.res_s_passthru_ivid = ~0u;
    for (int round = 0; round < kRounds; round++) {
        newFrame(rnd(3));
        stat.isTrillPort = rnd(1);
        stat.l2QinqEn = rnd(1);
        stat.stagNz = 1;
        stat.xsvid = rnd(13);
        stat.ctagNz = rnd(1);
        stat.icvid = rnd(13);
        stat.l2Sa = rndMac();
        stat.l2TrillMc = rnd(1);
        stat.l2TrillEgr = rnd(1);
        stat.l2TrillFound = rnd(1);
        stat.l2TrillRcvVpnId = rnd(20);
        const uint32_t idx = rnd(14);
        if (stat.isTrillPort && !stat.l2QinqEn) {
            CloudTrillKey key{};
            key.trill_form = 1;
            key.trill_mc = stat.l2TrillMc;
            key.trill_egr = stat.l2TrillEgr;
            key.trill_port = 1;
            key.trill_found = stat.l2TrillFound;
            key.ctag_nz = stat.ctagNz;
            key.vpn_id = stat.l2TrillRcvVpnId;
            key.icvid = stat.icvid;
            key.phy_port = stat.ingPhyPort;
            putKey(mem.RTE_CLOUD_TCAM, idx, key);
        } else {
            CloudKey key{};
            key.ctag_nz = stat.ctagNz;
            key.sa = stat.l2Sa;
            key.iscvid = stat.l2QinqEn ? stat.xsvid : 0;
            key.icvid = stat.icvid;
            key.qinq_en = stat.l2QinqEn;
            key.phy_port = stat.ingPhyPort;
            putKey(mem.RTE_CLOUD_TCAM, idx, key);
        }
        const CloudVpn vpn = entry<CloudVpn>(mem.RTE_CLOUD_RSLT_VPN_SRAM, idx);
        const uint32_t own = entry<IividVpn>(mem.RTE_IIVID_VPNID_SRAM, vpn.iivid).vpn_id;
        // Every other frame finds its VLAN's own row passing the choice on.
        com.rte_res_passthru_vpn_id = round % 2 == 0 ? own : ~0u;
        CloudCls(&stat);
        EXPECT_EQ(stat.iivid, vpn.iivid);
        EXPECT_EQ(stat.vpn_id, round % 2 == 0 ? vpn.vpn_id : own);
        EXPECT_EQ(stat.policyId, entry<CloudPolicy>(mem.RTE_CLOUD_RSLT_POLICY_SRAM, idx).policy_id);
        EXPECT_EQ(stat.vlanMtu, entry<VlanMtu>(mem.RTE_L2_VLAN_MTU_SRAM, stat.iivid).mtu);
        std::fill_n(&mem.RTE_CLOUD_TCAM[8 * idx], 8, 1);
    }
}

TEST_F(TblL2Stage, StationsInBucketAndTcam) {
    fill(mem.RTE_L2_EXM_RSLT_EDRAM);
    fill(mem.RTE_L2_FID_SRAM);
    fill(mem.RTE_L2_STP_EN_EDRAM);
    fill(mem.RTE_L2_EXM_IDX_EDRAM);
    tcamOff(mem.RTE_L2_EXM_OVERFLOW_TCAM, 8);
    tcamOff(mem.RTE_MYDA_PREFIX_TCAM, 2);
    com.rte_pth_egid = com.rte_drop_egid = com.rte_trap_egid = com.rte_acl_drop_egid = ~0u;
    com.rte_l2_exm_alw_hsh_hit_tcam_rng = 1;
    com.dont_change_ivid = 0x77;
    for (int round = 0; round < kRounds; round++) {
        newFrame(rnd(3));
        // A station, a TRILL tree with a station, and a tree with a virtual network.
        const uint32_t keyType = static_cast<uint32_t>(round) % 3;
        stat.l2TrillFound = stat.l2TrillMc = keyType != 0;
        stat.iivid = keyType == 2 ? com.dont_change_ivid : 0x100 + rnd(8);
        stat.l2OuterDa = stat.l2TrillInnerDa = rndMac();
        stat.l2OuterSa = stat.l2TrillInnerSa = rndMac();
        stat.l2TrillDa = rnd(16);
        stat.vpn_id = rnd(20);
        stat.ctagNz = rnd(1);

        const uint32_t fid = entry<L2Fid>(mem.RTE_L2_FID_SRAM, stat.iivid).fid;
        L2ExmOvflw sa{};
        sa.fid = fid;
        sa.mac_addr = stat.l2OuterSa;
        const uint32_t tcamIdx = rnd(10);
        putKey(mem.RTE_L2_EXM_OVERFLOW_TCAM, tcamIdx, sa);

        L2ExmBkt da{};
        da.trill_addr_vld = stat.l2TrillFound;
        da.fid = fid;
        da.trill_addr = keyType != 0 ? stat.l2TrillDa : 0;
        da.mac_addr = keyType == 2 ? stat.vpn_id : stat.l2OuterDa;
        uint32_t key[4] = {};
        pack(da, key);
        if (keyType == 2) {
            EXPECT_EQ(entryAt<L2ExmBkt>(key).vpn_id, stat.vpn_id);
        }
        uint8_t bytes[10] = {static_cast<uint8_t>(key[1] >> 8), static_cast<uint8_t>(key[1])};
        CmSetQword(static_cast<uint64_t>(key[2]) << 32 | key[3], 8, bytes + 2);
        const uint32_t hsh = CmEnetCrcCalc(10, bytes) & 0x7ffff;
        uint32_t &pair = mem.RTE_L2_EXM_IDX_EDRAM[hsh / 2];
        L2ExmIdx idx = entryAt<L2ExmIdx>(&pair);
        idx.bkt[hsh & 1] = rnd(13);
        pack(idx, &pair);
        const uint32_t place = 32 * idx.bkt[hsh & 1] + rnd(5);
        std::copy_n(key, 4, &mem.RTE_L2_EXM_BKT_EDRAM[4 * place]);

        std::fill(std::begin(mem.RTE_L2_EXM_DA_ACT_SRAM), std::end(mem.RTE_L2_EXM_DA_ACT_SRAM), 0);
        L2Exm(&stat);

        EXPECT_EQ(stat.l2ExmDaHit, 1u);
        EXPECT_EQ(stat.l2ExmDaIdx, place);
        EXPECT_EQ(entry<L2DaAct>(mem.RTE_L2_EXM_DA_ACT_SRAM, place / 32).act[place % 32], 1u);
        const L2ExmRslt daRslt = entry<L2ExmRslt>(mem.RTE_L2_EXM_RSLT_EDRAM, place);
        EXPECT_EQ(stat.l2ExmDaTrillCmd, daRslt.trill_cmd);
        EXPECT_EQ(stat.l2ExmDaTrapEn, daRslt.trap_en);
        EXPECT_EQ(stat.l2ExmDaIsMgid, daRslt.is_mgid);
        EXPECT_EQ(stat.l2ExmDaLgidEgidMgid, daRslt.gid);
        if (keyType == 0) {
            EXPECT_EQ(stat.l2ExmDaTrillDa, daRslt.trill_da);
            EXPECT_EQ(stat.l2ExmDaTrillMc, daRslt.trill_mc);
            EXPECT_EQ(stat.l2ExmDaMctId, daRslt.trill_cmd == 1 ? daRslt.mct_id : 0);
            EXPECT_EQ(stat.l2ExmDaMctNpath, daRslt.trill_cmd == 1 ? daRslt.mct_npath : 0);
        }

        EXPECT_EQ(stat.l2ExmSaHit, 1u);
        EXPECT_EQ(stat.l2ExmSaIdx, 393216u - 1024 + tcamIdx);
        const L2ExmRslt saRslt = entry<L2ExmRslt>(mem.RTE_L2_EXM_RSLT_EDRAM, stat.l2ExmSaIdx);
        EXPECT_EQ(stat.l2ExmSaLrnPort, saRslt.lrn_port);
        EXPECT_EQ(stat.l2ExmSaTrillDa, saRslt.trill_da);
        EXPECT_EQ(stat.l2ExmSaTrillMc, saRslt.trill_mc);
        EXPECT_EQ(stat.l2ExmSaIsMgid, saRslt.is_mgid);

        const L2StpEn stp = entry<L2StpEn>(mem.RTE_L2_STP_EN_EDRAM, stat.ingPhyPort * 1024 + stat.iivid / 8);
        EXPECT_EQ(stat.l2SaLrnEn, stp.sa_lrn_en[stat.iivid % 8]);
        EXPECT_EQ(stat.l2DaLrnEn, stp.da_lrn_en[stat.iivid % 8]);
        EXPECT_EQ(stat.l2FwdEn, (stat.ctagNz ? stp.fwd_en_tag : stp.fwd_en_untag)[stat.iivid % 8]);
        std::fill_n(&mem.RTE_L2_EXM_OVERFLOW_TCAM[8 * tcamIdx], 8, 1);
        std::fill_n(&mem.RTE_L2_EXM_BKT_EDRAM[4 * place], 4, 0);
    }
}

TEST_F(TblL2Stage, FloodGroups) {
    fill(mem.RTE_L2_VID_MGID_SRAM0);
    fill(mem.RTE_L2_VID_MGID_SRAM1);
    fill(mem.RTE_VID_TRILL_MC_RA);
    for (int round = 0; round < kRounds; round++) {
        newFrame(0);
        stat.iivid = rnd(13);
        stat.l2ExmDaIsPthEgid = 1;
        const uint32_t tbl = rnd(1);
        L2Flood(&stat, tbl, 0);
        EXPECT_EQ(stat.l2ExmDaLgidEgidMgid,
                  entry<L2FloodMgid>(tbl ? mem.RTE_L2_VID_MGID_SRAM1 : mem.RTE_L2_VID_MGID_SRAM0, stat.iivid).mgid);
        EXPECT_EQ(stat.l2ExmVidTrillMc,
                  entry<VidTrillMc>(mem.RTE_VID_TRILL_MC_RA, stat.iivid / 32).trill_mc[stat.iivid % 32]);
    }
}

TEST_F(TblL2Stage, OwnAddresses) {
    fill(mem.RTE_MYDA_LOOKUP_RSLT_RA);
    tcamOff(mem.RTE_MYDA_PREFIX_TCAM, 2);
    for (int round = 0; round < kRounds; round++) {
        newFrame(0);
        stat.l2OuterDa = rndMac();
        const uint32_t idx = rnd(7);
        MyDaPrefix key{};
        key.prefix = static_cast<uint32_t>(stat.l2OuterDa >> 24);
        putKey(mem.RTE_MYDA_PREFIX_TCAM, idx, key);
        com.rte_l2_chs_mac_hi[idx] = 0xffffff;
        ChassisAddressParser(&stat, 0);
        EXPECT_EQ(stat.l2DaIsChsAddr, 1u);
        EXPECT_EQ(stat.l2DaIsChsAddrIdx, idx);
        const MyDaRslt own = entry<MyDaRslt>(mem.RTE_MYDA_LOOKUP_RSLT_RA, idx);
        EXPECT_EQ(stat.myDaId, own.myda_id);
        EXPECT_EQ(stat.l2DaChsRsltIdx, own.rslt_idx);
        std::fill_n(&mem.RTE_MYDA_PREFIX_TCAM[2 * idx], 2, 1);
    }
}

TEST_F(TblL2Stage, RoutingEnables) {
    fill(mem.RTE_L2_PSEL_IPV4_RTE_EN_SRAM);
    fill(mem.RTE_L2_PSEL_IPV6_RTE_EN_SRAM);
    for (int round = 0; round < kRounds; round++) {
        newFrame(0);
        stat.iivid = rnd(13);
        const size_t word = stat.iivid / 32;
        const uint32_t bitNum = stat.iivid % 32;
        const auto routed = [&](uint32_t ver, uint32_t mcast) {
            stat.l3IpVer = ver;
            stat.l2PselL3IpDaIsMcast = mcast;
            RteEnCk(&stat);
            return stat.l2PselRteEn;
        };
        EXPECT_EQ(entry<L2Ipv4UcastEn>(mem.RTE_L2_PSEL_IPV4_RTE_EN_SRAM, word).rte_en[bitNum], routed(4, 0));
        EXPECT_EQ(entry<L2Ipv4McastEn>(mem.RTE_L2_PSEL_IPV4_RTE_EN_SRAM, 256 + word).rte_en[bitNum], routed(4, 1));
        EXPECT_EQ(entry<L2Ipv6UcastEn>(mem.RTE_L2_PSEL_IPV6_RTE_EN_SRAM, word).rte_en[bitNum], routed(6, 0));
        EXPECT_EQ(entry<L2Ipv6McastEn>(mem.RTE_L2_PSEL_IPV6_RTE_EN_SRAM, 256 + word).rte_en[bitNum], routed(6, 1));
    }
}

TEST_F(TblL2Stage, Paths) {
    fill(mem.RTE_L2_MCTID_HASH_TYPE_SRAM);
    fill(mem.RTE_L2_PSEL_MCTID_SRAM);
    fill(mem.RTE_L2_TRILL_DEST_SRAM);
    fill(mem.RTE_L2_MPID_HASH_TYPE_SRAM);
    fill(mem.RTE_L2_PSEL_MPID_SRAM);
    fill(mem.RTE_L2_LGID_HASH_TYPE_RA);
    fill(mem.RTE_L2_PSEL_LGID_SRAM);
    for (int round = 0; round < kRounds; round++) {
        newFrame(0);
        for (uint32_t &hsh : stat.hshVal)
            hsh = rnd(20);
        const auto hash = [&](uint32_t typ) { return stat.hshVal[typ] & 0xfff; };

        const uint32_t id = rnd(13);
        const uint32_t nPath = 1 + rnd(2);
        const uint32_t treeTyp = entry<MctidHshTyp>(mem.RTE_L2_MCTID_HASH_TYPE_SRAM, id / 8).hsh_typ[id % 8];
        const uint32_t tree = id * 8 + hash(treeTyp) % (nPath + 1);
        EXPECT_EQ(MctMpid(id, nPath, &stat), tree);
        const uint32_t groupTyp = entry<MpidHshTyp>(mem.RTE_L2_MPID_HASH_TYPE_SRAM, id / 8).hsh_typ[id % 8];
        const uint32_t group = id * 8 + hash(groupTyp) % (nPath + 1);
        EXPECT_EQ(L2PselMpid(nPath << 13 | id, &stat), group);
        const uint32_t lgid = id & 0x3ff;
        const LagHshTyp lagTyp = entry<LagHshTyp>(mem.RTE_L2_LGID_HASH_TYPE_RA, lgid / 2);
        const uint32_t ports = lagTyp.npath[lgid & 1];
        const uint32_t lag = (lgid * 32 + (ports ? hash(lagTyp.hsh_typ[lgid & 1]) % (ports + 1) : 0)) & 0x7fff;
        EXPECT_EQ(L2PselLgid(lgid, &stat), lag);

        // A tree without paths of its own, and what its destination's group leads to.
        stat.l2PselRsltTyp = RSLT_FWD;
        stat.l2PselDoTrillMP = stat.l2PselIsMctid = 1;
        stat.l2PselMctId = id;
        stat.l2PselMctNpath = nPath;
        l2MultipathProcess(&stat, 1);
        const MctidPath path = entry<MctidPath>(mem.RTE_L2_PSEL_MCTID_SRAM, tree);
        EXPECT_EQ(stat.l2PselTrillDa, path.trill_da);
        const TrillDest dest = entry<TrillDest>(mem.RTE_L2_TRILL_DEST_SRAM, path.trill_da);
        uint32_t isMgid = dest.is_mgid;
        uint32_t gid = dest.gid;
        if (!isMgid && gid >> 16) {
            const MpidPath next = entry<MpidPath>(mem.RTE_L2_PSEL_MPID_SRAM, L2PselMpid(gid, &stat));
            isMgid = next.is_mgid;
            gid = next.gid;
        }
        if (!isMgid && gid >> 15 == 1) {
            const LagPath next = entry<LagPath>(mem.RTE_L2_PSEL_LGID_SRAM, L2PselLgid(gid, &stat));
            isMgid = next.is_mgid;
            gid = next.gid;
        }
        EXPECT_EQ(stat.l2PselIsL2Mgid, isMgid);
        EXPECT_EQ(stat.l2PselEgidMgid, gid);
    }
}

TEST_F(TblL2Stage, GroupsOffTrill) {
    fill(mem.RTE_L2_PSEL_EGID_1Q_RA);
    fill(mem.RTE_L2_PSEL_MGID_1Q_RA);
    for (int round = 0; round < kRounds; round++) {
        newFrame(0);
        stat.l2TrillFound = 1;
        const uint32_t egid = rnd(11);
        TrillTtlAndLrnEnCheck(&stat, RSLT_FWD, egid, 0);
        EXPECT_EQ(stat.l2PselEgr1Q, entry<Egid1q>(mem.RTE_L2_PSEL_EGID_1Q_RA, egid / 32).is_1q[egid % 32]);
        const uint32_t mgid = rnd(16);
        TrillTtlAndLrnEnCheck(&stat, RSLT_FWD, mgid, 1);
        EXPECT_EQ(stat.l2PselEgr1Q, entry<Mgid1q>(mem.RTE_L2_PSEL_MGID_1Q_RA, mgid / 32).is_1q[mgid % 32]);
    }
}

TEST_F(TblL2Stage, LearnRequests) {
    com.rte_l2_sa_lrn_inf_threshold = com.rte_l2_da_lrn_inf_threshold = 0xfff;
    com.non_trill_lrn_trill_rb = 0x9abc;
    com.rte_rte_rqd_egid = 0x155;
    com.rte_acl_drop_egid = com.rte_trap_egid = com.rte_drop_egid = ~0u;
    for (int round = 0; round < kRounds; round++) {
        newFrame(rnd(3));
        stat.ingPhyPort = rnd(5);
        stat.l2PselSaLrnEn = stat.l2PselDaLrnEn = 1;
        portReg().rte_prc_l2_da_lrn_en = 1;
        portReg().rte_prc_l2_sa_lrn_lip_en = portReg().rte_prc_l2_da_lrn_lip_en = 1;
        stat.l2ExmSaLrnPort = 32;
        stat.iivid = rnd(13);
        stat.l2TrillFound = rnd(1);
        stat.l2TrillSa = rnd(16);
        stat.l2TrillDa = rnd(16);
        stat.l2OuterSa = stat.l2TrillInnerSa = rndMac();
        stat.l2OuterDa = stat.l2TrillInnerDa = rndMac();
        stat.l2FcoeFound = rnd(1);
        stat.l2ExmDaEgidOrig = 0x4155 | rnd(2) << 11;
        std::fill(std::begin(mem.RTE_L2_SA_LIP_SRAM), std::end(mem.RTE_L2_SA_LIP_SRAM), 0);
        std::fill(std::begin(mem.RTE_L2_DA_LIP_SRAM), std::end(mem.RTE_L2_DA_LIP_SRAM), 0);
        com.rte_l2_sa_lrn_inf_wr_ptr = com.rte_l2_da_lrn_inf_wr_ptr = 5;
        com.rte_l2_sa_lrn_inf_rd_ptr = com.rte_l2_da_lrn_inf_rd_ptr = 0;
        // The histories tell the hash.
        com.rte_his_en = ~0u;
        com.rte_lue_l2_sa_lrn_lip_addr_hi = com.rte_lue_l2_da_lrn_lip_addr_hi = 0x7fff;

        L2Lrn(&stat);
        const L2SaLrnInf sa = entry<L2SaLrnInf>(mem.RTE_L2_SA_LRN_INF_SRAM, 5);
        const bool vf = stat.l2ExmDaEgidOrig & 0x1000;
        const bool ve = stat.l2ExmDaEgidOrig & 0x800;
        EXPECT_EQ(sa.fcoe_code, !stat.l2FcoeFound ? 0u : vf ? 2u : ve ? 3u : 1u);
        EXPECT_EQ(sa.trill_rb, stat.l2TrillFound ? stat.l2TrillSa : 0x9abc);
        EXPECT_EQ(sa.phy_port, stat.ingPhyPort);
        EXPECT_EQ(sa.iivid, stat.iivid);
        EXPECT_EQ(sa.sa, stat.l2OuterSa);
        const uint32_t saHsh = com.rte_his_l2_sa_lrn_lip[3] & 0x7fff;
        EXPECT_EQ(entry<L2SaLip>(mem.RTE_L2_SA_LIP_SRAM, saHsh / 32).lip[saHsh % 32], 1u);

        L2DaLrn(&stat);
        const L2DaLrnInf da = entry<L2DaLrnInf>(mem.RTE_L2_DA_LRN_INF_SRAM, 5);
        EXPECT_EQ(da.trill_da, stat.l2TrillFound ? stat.l2TrillDa : 0);
        // The thirteenth bit of the VLAN falls onto the port.
        EXPECT_EQ(da.phy_port, (stat.ingPhyPort & 15) | stat.iivid >> 12);
        EXPECT_EQ(da.iivid, stat.iivid & 0xfff);
        EXPECT_EQ(da.da, stat.l2OuterDa);
        const uint32_t daHsh = com.rte_his_l2_da_lrn_lip[3] & 0x7fff;
        EXPECT_EQ(entry<L2DaLip>(mem.RTE_L2_DA_LIP_SRAM, daHsh / 32).lip[daHsh % 32], 1u);
    }
}
