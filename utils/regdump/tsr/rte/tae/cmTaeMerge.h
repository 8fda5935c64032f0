#pragma once
// The merge of what the ACL banks say: fields go in groups by an enable, and each group has a winner of its own.

#include "tbl/tsr_tbl.h"

#include <array>
#include <cstdint>

/// The groups of fields, by the name of their enable.
enum TaeGrp : uint32_t {
#define GRP(enable, ...) GRP_##enable,
#include "tae/cmTaeRsltGrp.def"
    TAE_GRPS
};

/// What the default result gives to a group that no bank won.
enum class TaeGrpDef { NONE, FIELDS, ALL };

/// One group of a result's fields.
template <class Rslt> struct TaeGrpRow {
    struct Field {
        uint32_t Rslt::*member; // null behind the last field
        bool hasDef;            // the default may give it
    };
    uint32_t Rslt::*enable;
    TaeGrpDef byDef;
    std::array<Field, 5> field;
};
template <class Rslt> using TaeGrpRows = std::array<TaeGrpRow<Rslt>, TAE_GRPS>;

inline constexpr TaeGrpRows<TaeL2Rslt> kTaeL2Grps{{
#define BOTH(name) {&TaeL2Rslt::name, true},
#define L2(name) {&TaeL2Rslt::name, true},
#define L2_BANK(name) {&TaeL2Rslt::name, false},
#define GRP(enable, l2Def, l3Def, ...) {&TaeL2Rslt::enable, TaeGrpDef::l2Def, {{__VA_ARGS__}}},
#include "tae/cmTaeRsltGrp.def"
}};

inline constexpr TaeGrpRows<TaeL3Rslt> kTaeL3Grps{{
#define BOTH(name) {&TaeL3Rslt::name, true},
#define L3(name) {&TaeL3Rslt::name, true},
#define GRP(enable, l2Def, l3Def, ...) {&TaeL3Rslt::enable, TaeGrpDef::l3Def, {{__VA_ARGS__}}},
#include "tae/cmTaeRsltGrp.def"
}};

/// The merge of one layer's results.
template <class Rslt> class TaeMerge {
public:
    static constexpr uint32_t kNoBank = 0xffffffff;

    explicit TaeMerge(const TaeGrpRows<Rslt> &rows) : grps(rows) { winners.fill(kNoBank); }

    /// Adds the result of `bank`; banks come in rising order.
    void take(uint32_t bank, const Rslt &from) {
        banks++;
        for (uint32_t g = 0; g < TAE_GRPS; g++) {
            if (!(from.*grps[g].enable) || winners[g] != kNoBank)
                continue;
            winners[g] = bank;
            rslt.*grps[g].enable = 1;
            for (const auto &field : grps[g].field)
                if (field.member)
                    rslt.*field.member = from.*field.member;
        }
        rslt.bypass_eacl |= from.bypass_eacl;
    }

    /// Fills what no bank gave.
    void takeDefault(const Rslt &def) {
        for (uint32_t g = 0; g < TAE_GRPS; g++) {
            if (winners[g] != kNoBank || grps[g].byDef == TaeGrpDef::NONE)
                continue;
            if (grps[g].byDef == TaeGrpDef::ALL)
                rslt.*grps[g].enable = def.*grps[g].enable;
            for (const auto &field : grps[g].field)
                if (field.member && field.hasDef)
                    rslt.*field.member = def.*field.member;
        }
        if (banks == 0)
            rslt.bypass_eacl = def.bypass_eacl;
    }

    /// The bank that gave a group, or kNoBank.
    uint32_t winner(TaeGrp grp) const { return winners[grp]; }
    /// The number of results that were added.
    uint32_t bankCnt() const { return banks; }

    Rslt rslt{};

private:
    const TaeGrpRows<Rslt> &grps;
    std::array<uint32_t, TAE_GRPS> winners;
    uint32_t banks = 0;
};
