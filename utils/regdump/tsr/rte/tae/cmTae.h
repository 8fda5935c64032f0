#pragma once
// The TAE block: the ACL engine with its 30 TCAM banks and their result and activity memories.

#include "cmPages.h"
#include "mem_reg_class.h"
#include "tae/cmTaeHsi.h"
#include "tae/cmTaeReg.h"
#include "tbl/tsr_tbl.h"

#include <array>
#include <cstdint>
#include <iterator>
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

/// The result of the layer-3 ACL.
using L3PselRslt = TaeL3Rslt;

/// A hit: entry `idx` (-1 for none) of `bank`.
struct tBnkIdxPair {
    int32_t idx;
    uint32_t bank;
};

/// What a bank of the layer-2 search says: the entry that won its group (-1 for none), and its result.
struct TaeL2Hit {
    int32_t idx = -1;
    enumBankType type = ACLT_L2_IP;
    TaeL2Rslt rslt{};
};

/// A trap's CPU queue and reason.
struct TaeTrap {
    uint32_t que = 0;
    uint32_t rsn = 0;
};

struct TaeL2Egids;

/// Banks and groups as a layer-3 search sees them, with the winner of each group. A bank that is off may name a group
/// that no bank in use has; an odd IPv6 bank is in the group of its even one.
struct TaeL3Banks {
    static constexpr uint32_t kGroups = 32;

    uint32_t enabled; // bit n for bank n
    enumBankType type[TAE_BANKS];
    uint32_t group[TAE_BANKS];
    tBnkIdxPair winner[kGroups];
};

/// Hits of an even IPv6 bank, for its odd neighbour.
struct TaeMasterHits {
    std::vector<int> hits;
    uint32_t bank = 0;
};

/// What the searches keep between calls so that a search need not allocate.
struct TaeScratch {
    std::vector<int> hits;
    std::vector<int> blkHits;
    TaeMasterHits master;
};

/// The settings of the banks, read once a search.
struct TaeBankCfg {
    uint32_t enabled; // bit n for bank n
    enumBankType type[TAE_BANKS];
    uint32_t group[TAE_BANKS];
};

/// The four words of an exact match's result, highest first; 0 without a hit.
struct TaeExmHit {
    bool hit = false;
    std::array<uint32_t, 4> words{};
};

/// The activity memories of layer 2, each with its field.
struct TaeActvMem {
    const char *mem;
    const char *field;
};
inline constexpr TaeActvMem kL2ActvMems[] = {
    {"TAE_L2_TRAP_ACTV_MEM", "u_actv_mem_l2_trap"},
    {"TAE_L2_FWD_ACTV_MEM", "u_actv_mem_l2_fwd"},
    {"TAE_L2_SPAN_ACTV_MEM", "u_actv_mem_l2_span"},
    {"TAE_L2_PRIO_ACTV_MEM", "u_actv_mem_l2_prio"},
};

/// Seconds of process time spent in TCAM searches; those of a Model do not count.
extern double acl_cpu_time;

class CmTaeLkup : public CmChipBlock {
public:
    /// Stores the three definition functions; configure() runs them.
    CmTaeLkup(uint32_t dbgLvl_, tInitRegDef regDefs, tInitRamDef ramDefs, tInitTcamDef tcamDefs);

    /// Its memories are filled as a whole.
    static void *operator new(size_t size) { return cmAllocPages(size); }
    static void operator delete(void *memory, size_t size) { cmFreePages(memory, size); }

    /// Fills the three collections as CmChipBlock::configure() does, and binds the searches to their objects: what is
    /// put into the collections later is found by name only.
    int configure();

    /// Field lists of the layer-2 result word (104 bits) and of the two layer-2 keys (256 bits).
    static const RegMemDefinition &l2AclRsltFieldDef();
    static const RegMemDefinition &l2AclTcamFieldDef();
    static const RegMemDefinition &l2FcoeAclTcamFieldDef();

    // Searches.

    /// The layer-2 ACL search. `rslt` becomes the merged result, a line of l2AclRsltFieldDef(); `trapRsn` takes a
    /// reason that is not 0. Returns whether a bank hit. With `aclL2Srch` clear nothing changes.
    bool lookupL2Acl(tL2AclInterface intf, M_T &rslt, uint32_t &trapRsn);
    bool lookupL2Acl(const tL2AclInterface &intf, TaeL2Rslt &rslt, uint32_t &trapRsn);
    /// The layer-3 ACL search; `out` takes the merged result. Returns 0.
    int32_t lookupL3Acl(tL3AclInterface &intf, L3PselRslt *out);

    // What both searches share.

    /// The banks' settings, as the registers have them now.
    TaeBankCfg bankCfg() const;
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

    /// Makes `out` the result word `idx` of `bank`, as a record or as a line of l2AclRsltFieldDef(). Returns 0, or -1
    /// without memory.
    int readAclResultBank(int idx, uint32_t bank, M_T &out) const;
    int readAclResultBank(int idx, uint32_t bank, TaeL2Rslt &out) const;
    /// The block that holds entry `idx` of `bank`; cuts `idx` to the bank and sets `offset`, the entry in the block.
    EmbeddedTcam *getL2AclTcamPtr(uint32_t bank, uint32_t &idx, uint32_t &offset) const;
    /// Merges the winners, given by bank. `trapRsn` takes a reason that is not 0.
    void mergeL2AclResults(const TaeL2Hit (&byBank)[TAE_BANKS], const tL2AclInterface &intf, TaeL2Rslt &rslt,
                           uint32_t &trapRsn);
    void setL2AclActivityMemories(tBnkIdxPair trap, tBnkIdxPair fwd, tBnkIdxPair span, tBnkIdxPair prio);
    /// A point to go back to, and the way back: the activity bits that were set since `mark` while the thread's model
    /// notes what frames write.
    size_t actvMark() const { return actvNotes.size(); }
    void undoActv(size_t mark);
    void forgetActvNotes() { actvNotes.clear(); }
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
    TaeRegs regs; // bound by configure()

private:
    /// Searches the layer-2 banks; the winner of each group gives its result to its bank. Returns whether a bank hit.
    bool searchL2Banks(const tL2AclInterface &intf, TaeL2Hit (&byBank)[TAE_BANKS]);
    /// Lets the special egid that the banks named take the place of the group; `fwdTrap` is the forward's own trap.
    void overrideL2Egid(const TaeL2Egids &egids, const tL2AclInterface &intf, TaeL2Rslt &merged,
                        TaeTrap &fwdTrap) const;
    TaeL3Banks l3Banks() const;
    /// Searches a layer-3 bank with `key` and makes its hit the group's winner, unless the group has one.
    void searchL3Bank(const tL3AclInterface &intf, uint32_t bank, const uint32_t *key, TaeL3Banks &banks);
    TaeExmHit searchIpv4Exm(const uint32_t *key);
    TaeExmHit searchIpv6Exm(const uint32_t *key);
    /// Searches the exact-match tables of the frame's protocol with its key.
    TaeExmHit ipv4Exm(const tL3AclInterface &intf);
    TaeExmHit ipv6Exm(const tL3AclInterface &intf);
    /// Which user id a bank (of a TCAM) or an exact match puts in place of the VLAN: 0 none, 1 customer, 2 multicast.
    uint32_t iividSel(int bank, enumBankType type, int isTcam, int isIpv4, int isIpv6);
    /// Reads the four words of result `idx` of `bank`, the highest first. Returns false without memory.
    bool readRsltWords(int idx, uint32_t bank, uint32_t (&words)[4]) const;

    /// Sets bit `addr` of an activity memory, whose entries are of one word.
    void setActvBit(EmbeddedMemory &actvMem, uint32_t addr);

    /// An entry of an activity memory as it stood before a frame.
    struct ActvNote {
        EmbeddedMemory *mem;
        uint32_t entry;
        EmbeddedMemory::Kept kept;
        uint32_t word;
    };
    std::vector<ActvNote> actvNotes;

    EmbeddedTcam *tcamBlk[TAE_BANKS][2] = {}; // of a bank with one block both are the same
    EmbeddedMemory *rsltMem[TAE_BANKS] = {};
    EmbeddedMemory *l2ActvMem[std::size(kL2ActvMems)] = {};
    mutable TaeScratch scratch;
};

// The block's registers, memories and TCAMs, for freeTaeDefs to free.
void initTaeRegDefs(tRegPtrMap &regs);
void initTaeRamDefs(tMemPtrMap &rams);
void initTaeTcamDefs(tTcamPtrMap &tcams);

/// Frees all objects of a block that the three functions filled, with their definitions, and empties its collections.
void freeTaeDefs(CmChipBlock &block);

// The device hooks of the block's objects: there is no device, so each says so and returns -1.
int dpiRegWrPoke(uint32_t addr, uint32_t data, bool isPoke);
int dpiRegRdPeek(uint32_t addr, uint32_t &data, bool isPeek);
int dpiMemWrPoke(uint32_t addr, uint32_t data, bool isPoke);
int dpiMemRdPeek(uint32_t addr, uint32_t &data, bool isPeek);
