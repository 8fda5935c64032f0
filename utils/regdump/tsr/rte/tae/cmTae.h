#pragma once
// The TAE block: the ACL engine with its 30 TCAM banks and their result and activity memories.

#include "mem_reg_class.h"
#include "tae/cmTaeHsi.h"

#include <cstdint>
#include <vector>

constexpr uint32_t TAE_BANKS = 30;
constexpr uint32_t TAE_BLK_ENTRIES = 2048;  // entries of each of the two blocks of a bank below 12
constexpr uint32_t TAE_SMALL_ENTRIES = 512; // entries of a bank from 12 up
constexpr uint32_t TAE_FIRST_SMALL_BANK = 12;

/// The protocol of a bank.
enum enumBankType : uint32_t {
    ACLT_L2_IP = 0,
    ACLT_L2_FCOE = 1,
    ACLT_L2_FLEX0 = 2,
    ACLT_L2_FLEX1 = 3,
    ACLT_L2_FLEX2 = 4,
    ACLT_L2_FLEX3 = 5,
    ACLT_L3_IPV4 = 6,
    ACLT_L3_FCOE = 7,
    ACLT_L3_IP_FLEX0 = 8,
    ACLT_L3_IP_FLEX1 = 9,
    ACLT_L3_IP_FLEX2 = 10,
    ACLT_L3_IP_FLEX3 = 11,
    ACLT_L3_FCOE_FLEX0 = 12,
    ACLT_L3_FCOE_FLEX1 = 13,
    ACLT_L3_FCOE_FLEX2 = 14,
    ACLT_L3_FCOE_FLEX3 = 15,
    ACLT_L3_IPV6 = 16,
};

/// The request of the layer-2 path selection. Keys have their lowest bits in word 0.
struct tL2AclInterface {
    uint32_t frmIdx;
    uint32_t aclL2Srch;
    uint32_t isDaLkup;
    uint32_t igPort;
    uint32_t isFcoe;
    uint32_t l2AclKey[8];
    uint32_t l2FcoeAclKey[8];
    uint32_t l2FlexKey[4][8];
    uint32_t dropEgid;
    uint32_t aclDropEgid;
    uint32_t trapEgid;
};

/// The request of the layer-3 path selection; the last two fields are answers.
struct tL3AclInterface {
    uint32_t *tcamFixedKey; // the reshuffled key
    uint32_t **tcamFlexKey; // four keys
    uint32_t *exmKey;
    uint32_t l3Cugid;
    uint32_t l3Mcuid;
    uint32_t acl_drop_ptr;
    uint32_t drop_ptr;
    uint32_t frameIdx;
    uint32_t isDaLkup : 1;
    uint32_t portNum : 5;
    uint32_t isIpv4 : 1;
    uint32_t isIpv6 : 1;
    uint32_t isFcoe : 1;
    uint32_t ipMcastSpcl : 1;
    uint32_t ipMcastDropOverTurn : 1;
    uint32_t trap_rsn : 6;
};

/// The 128-bit result word of the layer-3 ACL: four words, each given from its lowest bit up.
struct L3PselRslt {
    // word 0
    uint32_t does_not_exist_in_hw : 29;
    uint32_t reserved0 : 3;
    // word 1
    uint32_t reserved1 : 6;
    uint32_t sflow_profile : 4;
    uint32_t l3_trap_en_override : 1;
    uint32_t l3_pol_override : 1;
    uint32_t l3_acl_log_override : 1;
    uint32_t bypass_eacl : 1;
    uint32_t l3_dscp_override : 1;
    uint32_t dscp_en : 1;
    uint32_t dscp : 6;
    uint32_t drop_prcd : 2;
    uint32_t trap_que : 4;
    uint32_t qmg_prio : 3;
    uint32_t prio_pth : 1;
    // word 2
    uint32_t sts_sflow_en : 1;
    uint32_t fwd_en : 1;
    uint32_t pol_id : 14;
    uint32_t pol_en : 1;
    uint32_t sts_sflow_idx : 15;
    // word 3
    uint32_t l2_egr_prio : 3;
    uint32_t sflow_en : 1;
    uint32_t nxt_hop_rslt_idx : 18;
    uint32_t l3_span_override : 1;
    uint32_t l3_prio_override : 1;
    uint32_t l3_fwd_override : 1;
    uint32_t acl_log : 1;
    uint32_t span_en : 1;
    uint32_t span_id : 3;
    uint32_t prio_en : 1;
    uint32_t trap_en : 1;
};
static_assert(sizeof(L3PselRslt) == 16);

/// A hit: entry `idx` (-1 for none) of `bank`.
struct tBnkIdxPair {
    int32_t idx;
    uint32_t bank;
};

/// Seconds of process time spent in TCAM searches.
extern double acl_cpu_time;

class CmTaeLkup : public CmChipBlock {
public:
    /// Stores the three definition functions; configure() runs them.
    CmTaeLkup(uint32_t dbgLvl_, tInitRegDef regDefs, tInitRamDef ramDefs, tInitTcamDef tcamDefs);

    /// Field lists of the layer-2 result word (104 bits) and of the two layer-2 keys (256 bits).
    static const RegMemDefinition &l2AclRsltFieldDef();
    static const RegMemDefinition &l2AclTcamFieldDef();
    static const RegMemDefinition &l2FcoeAclTcamFieldDef();

    // Searches.

    /// The layer-2 ACL search. `rslt` becomes the merged result, a line of l2AclRsltFieldDef(); `trapRsn` takes a
    /// reason that is not 0. Returns whether a bank hit. With `aclL2Srch` clear nothing changes.
    bool lookupL2Acl(tL2AclInterface intf, M_T &rslt, uint32_t &trapRsn);
    /// The layer-3 ACL search; `out` takes the merged result. Returns 0.
    int32_t lookupL3Acl(tL3AclInterface &intf, L3PselRslt *out);

    // What both searches share.

    uint32_t bankEnabled(uint32_t bank) const;
    uint32_t getLogicalGroupId(uint32_t bank) const;
    enumBankType figureBankType(uint32_t bank) const;
    bool isL2AclProtocol(uint32_t bank) const { return figureBankType(bank) == ACLT_L2_IP; }
    bool isL2FcoeAclProtocol(uint32_t bank) const { return figureBankType(bank) == ACLT_L2_FCOE; }
    /// Reads the banks' trap reasons into `bnkTrapRsnLst`.
    void loadRegisterSettings();
    /// Appends the hits of the eight words of `key` (lowest bits first) in `bank`, lowest first.
    void bankLookup(const uint32_t *key, std::vector<int> &hits, int bank) const;
    /// A TCAM block; null if the bank has no such block. From bank 12 up a bank has one block alone, and any `block`
    /// gives it.
    EmbeddedTcam *getAclTcamBlockPointer(int bank, int block) const;
    /// A bank's result memory; null after a message if there is none.
    EmbeddedMemory *getAclRsltBlockPointer(int bank) const;

    // Layer 2.

    /// Makes `out` the result word `idx` of `bank`, a line of l2AclRsltFieldDef(). Returns 0, or -1 without memory.
    int readAclResultBank(int idx, uint32_t bank, M_T &out) const;
    /// The block that holds entry `idx` of `bank`; cuts `idx` to the bank and sets `offset`, the entry in the block.
    EmbeddedTcam *getL2AclTcamPtr(uint32_t bank, uint32_t &idx, uint32_t &offset) const;
    /// Merges the winners, given by bank: `hitIdxByBank` -1 for none, the bank's type, and its result line.
    void mergeL2AclResults(const int *hitIdxByBank, const enumBankType *typeByBank, const M_T *resultsByBank,
                           uint32_t isDaLkup, uint32_t dropEgid, uint32_t aclDropEgid, uint32_t trapEgid, M_T &rslt,
                           uint32_t &trapRsn);
    void setL2AclActivityMemories(tBnkIdxPair trap, tBnkIdxPair fwd, tBnkIdxPair span, tBnkIdxPair prio);
    /// Sets bit `addr` of an activity memory.
    void updateActivityMemory(const char *mem_, const char *field, uint32_t addr);

    // Layer 3.

    /// Puts the customer or multicast user id into `key`. Returns 1 if it wrote, else 0.
    uint32_t replaceIivid(uint32_t *key, uint32_t l3Cugid, uint32_t l3Mcuid, int bank, enumBankType type, int isTcam,
                          int isIpv4, int isIpv6);
    /// Exact-match searches; return the hit flag.
    uint32_t doIpv4ExmLu(uint32_t *key, L3PselRslt *out);
    uint32_t doIpv6ExmLu(uint32_t *key, L3PselRslt *out);
    void readL3AclResultBank(tL3AclInterface intf, int idx, uint32_t bank, L3PselRslt *out);
    /// `hitByBank` is 0 for a bank without result.
    void mergeL3AclResults(tL3AclInterface &intf, int *hitByBank, L3PselRslt *byBank, L3PselRslt *out);

    // Of an older form of the block; without effect.

    int crossReference(int) { return -1; }
    uint32_t CmTaeCkAclDropEgid(uint32_t) { return 0; }
    uint32_t CmTaeCkTrapEgid(uint32_t) { return 0; }
    uint32_t CmTaeCkNorDropEgid(uint32_t) { return 0; }
    uint32_t CkTaeRqdEgidOnly(uint32_t) { return 0; }
    uint32_t CmTaeCkPthEgid(uint32_t) { return 0; }
    uint32_t L2PselLgid(uint32_t) { return 0; }
    uint32_t L2PselMpid(uint32_t) { return 0; }
    uint32_t CmTaeCkRteRqdEgid(uint32_t) { return 0; }

    uint32_t dbgLvl;
    uint32_t m_nL2AclLkupsCnt = 0;
    uint32_t bnkTrapRsnLst[TAE_BANKS] = {};
    uint32_t igPort = 0;
    uint32_t frmIdx = 0;
    CmTaeHsiMem *memPtr;
    CmTaeHsiMem mem = {};
};

// The block's registers, memories and TCAMs. Their objects stay until the process ends.
void initTaeRegDefs(tRegPtrMap &regs);
void initTaeRamDefs(tMemPtrMap &rams);
void initTaeTcamDefs(tTcamPtrMap &tcams);

// The device hooks of the block's objects: there is no device, so each says so and returns -1.
int dpiRegWrPoke(uint32_t addr, uint32_t data, bool isPoke);
int dpiRegRdPeek(uint32_t addr, uint32_t &data, bool isPeek);
int dpiMemWrPoke(uint32_t addr, uint32_t data, bool isPoke);
int dpiMemRdPeek(uint32_t addr, uint32_t &data, bool isPeek);
