#pragma once
// The banks of the prefix search and of the ACL engine, as a dump has them.

#include <cstdint>

#include "tsr_reg_dump.h"

constexpr uint32_t kTaeBanks = 30;

/// The bank of a place of `tfe_tcam`, counted in IPv4 entries.
uint32_t tfeBankOf(uint32_t place);

/// The banks that a search of prefixes looks at, one bit each.
uint32_t tfeActiveBanks(const tsr_dmp_t *image);

/// The bank of a place of `tae_tcam` and `tae_rslt`, counted in rows of one bank, and its first place.
uint32_t taeBankOf(uint32_t place);
uint32_t taeFirstPlace(uint32_t bank);

/// What the registers say of a bank of the ACL: whether it is searched, its type, its group, its trap reason.
struct TaeBank {
    bool isOn;
    uint32_t type;
    uint32_t group;
    uint32_t trapRsn;

    bool isLayer2() const;
    bool isWide() const; ///< IPv6: two banks in one
    const char *name() const;
};
TaeBank taeBank(const tsr_dmp_t *image, uint32_t bank);
