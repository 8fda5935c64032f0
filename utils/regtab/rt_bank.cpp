#include "rt_bank.h"

#include "be_word.h"
#include "tae/cmTae.h"

namespace {

constexpr uint32_t kTfeBigBanks = 9;
constexpr uint32_t kTfeBigBank = 0x8000;
constexpr uint32_t kTfeSmallBank = 0x4000;
constexpr uint32_t kTfeBankMask = 0x1fff;
constexpr uint32_t kTaeBigBank = 2 * TAE_BLK_ENTRIES;
constexpr uint32_t kTaeSmallStart = TAE_FIRST_SMALL_BANK * kTaeBigBank;

static_assert(kTaeBanks == TAE_BANKS);

#define WORD(member) imageWord(image, offsetof(tsr_dmp_t, member))

} // namespace

uint32_t tfeBankOf(uint32_t place) {
    return place < kTfeBigBanks * kTfeBigBank ? place / kTfeBigBank
                                              : kTfeBigBanks + (place - kTfeBigBanks * kTfeBigBank) / kTfeSmallBank;
}

uint32_t tfeActiveBanks(const tsr_dmp_t *image) {
    return WORD(tfe_bank_en) & ~WORD(tfe_bank_pwrdn) & kTfeBankMask;
}

uint32_t taeBankOf(uint32_t place) {
    return place < kTaeSmallStart ? place / kTaeBigBank
                                  : TAE_FIRST_SMALL_BANK + (place - kTaeSmallStart) / TAE_SMALL_ENTRIES;
}

uint32_t taeFirstPlace(uint32_t bank) {
    return bank < TAE_FIRST_SMALL_BANK ? bank * kTaeBigBank
                                       : kTaeSmallStart + (bank - TAE_FIRST_SMALL_BANK) * TAE_SMALL_ENTRIES;
}

bool TaeBank::isLayer2() const {
    return type <= ACLT_L2_FLEX3;
}
bool TaeBank::isWide() const {
    return type == ACLT_L3_IPV6;
}

const char *TaeBank::name() const {
    constexpr const char *names[] = {"l2",       "l2 fcoe",  "l2 flex0", "l2 flex1", "l2 flex2", "l2 flex3",
                                     "ipv4",     "fcoe",     "ip flex0", "ip flex1", "ip flex2", "ip flex3",
                                     "fc flex0", "fc flex1", "fc flex2", "fc flex3", "ipv6"};
    return names[type];
}

TaeBank taeBank(const tsr_dmp_t *image, uint32_t bank) {
    // The chip counts the registers of types downwards.
    const uint32_t types[] = {WORD(tae_bank_prtcl_sel_4), WORD(tae_bank_prtcl_sel_3), WORD(tae_bank_prtcl_sel_2),
                              WORD(tae_bank_prtcl_sel_1)};
    constexpr uint32_t kGrpsOfWord = 6;
    constexpr uint32_t kRsnsOfWord = 5;
    const bool isWide = (WORD(tae_bank_prtcl_sel_0) >> bank / 2 & 1) != 0;
    const uint32_t grps = imageWord(image, offsetof(tsr_dmp_t, tae_bank_grp) + 4 * (bank / kGrpsOfWord));
    // The last register of trap reasons stands apart.
    const uint32_t rsns = bank / kRsnsOfWord < 5
                              ? imageWord(image, offsetof(tsr_dmp_t, tae_bank_trap_rsn) + 4 * (bank / kRsnsOfWord))
                              : WORD(tae_bank_trap_rsn_1);
    return {(WORD(tae_bank_en) >> bank & 1) != 0,
            isWide ? uint32_t{ACLT_L3_IPV6} : types[bank / 8] >> 4 * (bank % 8) & 0xf,
            grps >> (25 - 5 * (bank % kGrpsOfWord)) & 0x1f, rsns >> (24 - 6 * (bank % kRsnsOfWord)) & 0x3f};
}
