// The layouts of the prefix search: against their positions written down a second time, and by rows that are packed
// from fields and met by the scattered keys of the stages.

#include "hsi/cmRteHsiMem.h"
#include "tfe/cmTfe.h"

#include "entry_layout.h"

#include <memory>

namespace {

// ---- The positions, a second time ----------------------------------------------------------------------------------

Positions ipv4() {
    return Positions::byWord("0: ipv4_addr[31] 31, vrf_id[11:1] 30:20\n"
                             "1: vrf_id[0] 31, ipv4_addr[0] 30, ipv4_addr[8:7] 29:28, ipv4_addr[16:15] 27:26, "
                             "ipv4_addr[24:23] 25:24, ipv4_addr[6:1] 23:18, ipv4_addr[14:9] 17:12, "
                             "ipv4_addr[22:17] 11:6, ipv4_addr[30:25] 5:0");
}

Positions ipv6() {
    std::string text = "0: ipv6_addr[127] 31, vrf_id[11:4] 30:23\n";
    for (unsigned group = 0; group < 4; group++) {
        const unsigned lo = 96 - 32 * group;
        const auto bit = [&](unsigned n) { return "ipv6_addr[" + std::to_string(lo + n) + "]"; };
        const auto range = [&](unsigned hi, unsigned low) {
            return "ipv6_addr[" + std::to_string(lo + hi) + ":" + std::to_string(lo + low) + "]";
        };
        if (group > 0)
            text += std::to_string(2 * group) + ": " + bit(31) + " 31\n";
        text += std::to_string(2 * group + 1) + ": vrf_id[" + std::to_string(3 - group) + "] 31, " + bit(0) + " 30, " +
                range(8, 7) + " 29:28, " + range(16, 15) + " 27:26, " + range(24, 23) + " 25:24, " + range(6, 1) +
                " 23:18, " + range(14, 9) + " 17:12, " + range(22, 17) + " 11:6, " + range(30, 25) + " 5:0\n";
    }
    return Positions::byWord(text);
}

Positions fcoe() {
    return Positions::byWord("0: vfid[11:8] 31:28, vfid_typ 27\n"
                             "1: fcid_lu[15:8] 31:24, fcid_lu[7:0] 23:16, fcid_lu[23:16] 15:8, vfid[7:0] 7:0");
}

Positions ipRslt() {
    return Positions::byWord(
               "0: nxt_hop_rslt_idx 31:14, my_ip_da 13, rp_valid 12, grp_id 11, default_vrf 10, trap_en 9")
        .alt("0: force_miss 21");
}

Positions fcoeRslt() {
    return Positions::byWord("0: nxt_hop_rslt_idx 31:14, l3_grp_id 13:10, trap_en 9, appl_zng 8");
}

// The keys as the stages build them, before they are scattered over the cells.

Positions plainIpv4() {
    return Positions::byWord("0: vrf_id 31:20\n1: ipv4_addr 31:0");
}
Positions plainIpv6() {
    return Positions::byWord("0: vrf_id 31:20\n1: ipv6_addr[127:96] 31:0\n2: ipv6_addr[95:64] 31:0\n"
                             "3: ipv6_addr[63:32] 31:0\n4: ipv6_addr[31:0] 31:0");
}
Positions plainFcoe() {
    return Positions::byWord("0: vfid 31:20\n1: fcid_lu 31:8, vfid_typ 7");
}

// ---- The engine ----------------------------------------------------------------------------------------------------

constexpr uint32_t kBank = 9;
constexpr uint32_t kBankBase = 0x120000; // words of the TCAM in front of bank 9

class TblLpm : public testing::Test {
protected:
    TblLpm() : tfe(std::make_unique<CmTfeLue>()) {
        tfe->comReg = {};
        std::fill(std::begin(tfe->mem.TFE_TCAM), std::end(tfe->mem.TFE_TCAM), ~0u);
        tfe->comReg.tfe_bank_en = 1u << kBank;
        input.default_vrf_en = 1;
    }

    void bankType(uint32_t type) {
        tfe->comReg.bank_prtcl_sel = type << 2 * kBank;
        input.ipv4_srch = type == 0;
        input.fcoe_srch = type == 1;
        input.ipv6_srch = type == 2;
    }

    /// Puts a row into the cells as it is.
    void setRow(uint32_t idx, const std::vector<uint32_t> &row) {
        std::copy(row.begin(), row.end(), tfe->mem.TFE_TCAM + kBankBase + row.size() * idx);
    }
    /// Writes a row through the host interface, which drops bits.
    void loadRow(uint32_t idx, const std::vector<uint32_t> &row) {
        for (uint32_t w = 0; w < row.size(); w++) {
            const auto word = static_cast<uint32_t>(kBankBase + row.size() * idx + w);
            ASSERT_EQ(CmTfeHsiMemWr(&tfe->mem, 0x5000000 + 4 * word, row[w]), 1);
        }
    }

    bool hits() {
        TFE_LUE_RSLT rslt{};
        tfe->lookupL3Lpm(&input, &rslt);
        return rslt.hit;
    }

    /// Each field of random keys alone: a row of its value is met, a row with one bit turned is not. Through the host
    /// interface a bit that the load drops makes no difference.
    template <class Plain, class Cells, class Row>
    void expectKeyMeetsRows(const char *type, const Positions &plain, const Positions &row, uint32_t idx) {
        const TblDesc &desc = findEntry(type);
        for (int round = 0; round < 5; round++) {
            Plain key;
            for (uint32_t &word : key.word)
                word = rnd();
            key.word[0] &= 0xfff00000;
            Cells cells;
            CmTfeLue::ReshuffleKey(&key, &cells, 0);
            input.key = cells.word;
            const Fields fields = plain.decode(key.word);
            for (const auto &[name, value] : fields) {
                setRow(idx, rowAsking<Row>({{name, value}}));
                EXPECT_TRUE(hits()) << type << "." << name;
                for (unsigned n = 0; n < row.widthOf(name); n++) {
                    TblWide other = value;
                    setBitOf(other, n, 1 - bitOf(value, n));
                    const std::vector<uint32_t> asking = rowAsking<Row>({{name, other}});
                    setRow(idx, asking);
                    EXPECT_FALSE(hits()) << type << "." << name << " bit " << n;
                    loadRow(idx, asking);
                    TblWide turned{};
                    setBitOf(turned, n, 1);
                    uint32_t words[Row::kWords] = {};
                    pack(recordOf<Row>({{name, turned}}), words);
                    bool kept = false;
                    for (uint32_t w = 0; w < Row::kWords; w++)
                        kept = kept || (words[w] & desc.kept(w)) != 0;
                    EXPECT_EQ(hits(), !kept) << type << "." << name << " bit " << n << " as loaded";
                }
            }
            setRow(idx, rowAsking<Row>(fields));
            EXPECT_TRUE(hits()) << type;
        }
    }

    std::unique_ptr<CmTfeLue> tfe;
    RandomWords rnd{53};
    TFE_LUE_INPUT input = {};
};

} // namespace

TEST(TblLpmLayout, FieldsStandAtTheirPlaces) {
    expectLayout<TfeIpv4>("TfeIpv4", ipv4());
    expectLayout<TfeIpv6>("TfeIpv6", ipv6());
    expectLayout<TfeFcoe>("TfeFcoe", fcoe());
    expectLayout<TfeIpRslt>("TfeIpRslt", ipRslt());
    expectLayout<TfeFcoeRslt>("TfeFcoeRslt", fcoeRslt());
}

TEST(TblLpmLayout, RowsMemoriesAndFormsAreThoseOfTheEngine) {
    const struct {
        const char *type, *row, *mem;
        uint32_t words, banks;
    } rows[] = {
        {"TfeIpv4", "tfe_tcam", "TFE_TCAM", 4, 1u << 0},          {"TfeFcoe", "tfe_tcam", "TFE_TCAM", 4, 1u << 1},
        {"TfeIpv6", "tfe_tcam", "TFE_TCAM", 16, 1u << 2},         {"TfeIpRslt", "tfe_amap_data", "TFE_AMAP", 1, 5},
        {"TfeFcoeRslt", "tfe_amap_data", "TFE_AMAP", 1, 1u << 1},
    };
    for (const auto &row : rows) {
        const TblDesc &desc = findEntry(row.type);
        EXPECT_STREQ(desc.row, row.row) << row.type;
        EXPECT_STREQ(desc.mem, row.mem) << row.type;
        EXPECT_EQ(desc.words, row.words) << row.type;
        EXPECT_EQ(desc.isTcam, row.words > 1) << row.type;
        EXPECT_EQ(desc.form.kind, TblForm::TFE_BANK) << row.type;
        EXPECT_EQ(desc.form.value, row.banks) << row.type;
    }
    // The load cuts every other word of a row, and the upper byte of the address map.
    for (uint32_t w = 0; w < 16; w++)
        EXPECT_EQ(findEntry("TfeIpv6").kept(w), w % 2 == 0 ? 0xfffu : ~0u) << w;
    EXPECT_EQ(findEntry("TfeIpRslt").kept(0), 0xffffffu);
}

TEST_F(TblLpm, Ipv4KeysMeetTheRowsOfTheirFields) {
    bankType(0);
    expectKeyMeetsRows<L3FwdIpv4InKey, L3FwdIpv4InKeyR, TfeIpv4>("TfeIpv4", plainIpv4(), ipv4(), 16383);
}

TEST_F(TblLpm, Ipv6KeysMeetTheRowsOfTheirFields) {
    bankType(2);
    expectKeyMeetsRows<L3FwdIpv6InKey, L3FwdIpv6InKeyR, TfeIpv6>("TfeIpv6", plainIpv6(), ipv6(), 4095);
}

TEST_F(TblLpm, FcoeKeysMeetTheRowsOfTheirFields) {
    bankType(1);
    expectKeyMeetsRows<L3FwdFcoeInKey, L3FwdFcoeInKeyR, TfeFcoe>("TfeFcoe", plainFcoe(), fcoe(), 0);
}

// An IPv6 row takes four words of the address map; the flag of the forced miss is not the one of the default router.
TEST_F(TblLpm, ResultsAreTheWordsOfTheAddressMap) {
    bankType(2);
    const uint32_t key[8] = {};
    input.key = key;
    setRow(3, std::vector<uint32_t>(16));
    TfeIpRslt rslt{};
    rslt.nxt_hop_rslt_idx = 0x5a;
    rslt.default_vrf = 1;
    pack(rslt, &tfe->mem.TFE_AMAP[kBankBase / 4 + 4 * 3]);
    input.default_vrf_en = 0;
    TFE_LUE_RSLT out{};
    tfe->lookupL3Lpm(&input, &out);
    EXPECT_EQ(out.hit, 1u);
    EXPECT_EQ(entryAt<TfeIpRslt>(&out.rslt).nxt_hop_rslt_idx, 0x5au);
    rslt.nxt_hop_rslt_idx = 1u << (21 - 14); // the forced miss is a bit of this field
    pack(rslt, &tfe->mem.TFE_AMAP[kBankBase / 4 + 4 * 3]);
    EXPECT_EQ(entryAt<TfeIpRslt>(&tfe->mem.TFE_AMAP[kBankBase / 4 + 4 * 3]).force_miss, 1u);
    tfe->lookupL3Lpm(&input, &out);
    EXPECT_EQ(out.hit, 0u);
    input.default_vrf_en = 1;
    tfe->lookupL3Lpm(&input, &out);
    EXPECT_EQ(out.hit, 1u);
}
