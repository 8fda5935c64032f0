// The named objects of the TAE block, built from its tables.

#include "base/cmOut.h"
#include "tae/cmTae.h"

#include <string>

namespace {

constexpr uint32_t kTaeRegBase = 0xf0000;
constexpr uint32_t kTaeTcamBase = 0x4400000;
constexpr uint32_t kTaeRsltBase = 0x4800000;

struct RegFieldRow {
    const char *name;
    unsigned hi;
    unsigned lo;
};

struct RegRow {
    uint32_t offset;
    const char *name;
    RegFieldRow fields[10]; // unused ones have no name
};

constexpr RegRow kTaeRegs[] = {
#define FLD(name, hi, lo) {#name, hi, lo},
#define REG(offset, name, ...) {offset, #name, {__VA_ARGS__}},
#include "tae/cmTaeHsiReg.def"
};

struct ActvMemRow {
    const char *name;
    uint32_t addr;
    const char *field;
};

// One bit a result entry; 32 entries a word.
constexpr ActvMemRow kActvMems[] = {
    {"TAE_L2_TRAP_ACTV_MEM", 0x4ba0000, "u_actv_mem_l2_trap"},
    {"TAE_L2_FWD_ACTV_MEM", 0x4ba2000, "u_actv_mem_l2_fwd"},
    {"TAE_L2_SPAN_ACTV_MEM", 0x4ba4000, "u_actv_mem_l2_span"},
    {"TAE_L2_PRIO_ACTV_MEM", 0x4ba6000, "u_actv_mem_l2_prio"},
    {"TAE_L3_TRAP_ACTV_MEM", 0x4bb0000, "u_actv_mem_l3_trap"},
    {"TAE_L3_FWD_ACTV_MEM", 0x4bb4000, "u_actv_mem_l3_fwd"},
    {"TAE_L3_SPAN_ACTV_MEM", 0x4bb8000, "u_actv_mem_l3_span"},
    {"TAE_L3_PRIO_ACTV_MEM", 0x4bbc000, "u_actv_mem_l3_prio"},
};
constexpr uint32_t kActvMemWords = 2048;

// A row holds the keys of every protocol, so its fields are the eight words of a key, word 0 lowest.
constexpr const char *kTcamKeyWords[] = {"key_0", "key_1", "key_2", "key_3", "key_4", "key_5", "key_6", "key_7"};

uint32_t bankEntries(uint32_t bank) {
    return bank < TAE_FIRST_SMALL_BANK ? 2 * TAE_BLK_ENTRIES : TAE_SMALL_ENTRIES;
}

/// Entries of all banks below `bank`.
uint32_t firstEntry(uint32_t bank) {
    uint32_t entries = 0;
    for (uint32_t b = 0; b < bank; b++)
        entries += bankEntries(b);
    return entries;
}

void addTcam(tTcamPtrMap &tcams, const std::string &name, uint32_t addr, uint32_t entries) {
    MemoryDefinition def;
    def.name = name;
    def.memBase = addr;
    def.memSize = entries;
    for (unsigned w = 0; w < 8; w++)
        def.addField(kTcamKeyWords[w], 32, 32 * w, w);
    tcams[name] = new EmbeddedTcam(&def, dpiMemWrPoke, dpiMemRdPeek);
}

} // namespace

void initTaeRegDefs(tRegPtrMap &regs) {
    for (const RegRow &row : kTaeRegs) {
        auto *def = new RegisterDefinition;
        def->name = row.name;
        def->memBase = kTaeRegBase + row.offset;
        for (const RegFieldRow &fld : row.fields) {
            if (fld.name)
                def->addField(fld.name, fld.hi - fld.lo + 1, fld.lo, def->numFields());
        }
        regs[row.name] = new Register(def, dpiRegWrPoke, dpiRegRdPeek);
    }
}

void initTaeRamDefs(tMemPtrMap &rams) {
    for (uint32_t bank = 0; bank < TAE_BANKS; bank++) {
        auto *def = new MemoryDefinition;
        static_cast<RegMemDefinition &>(*def) = CmTaeLkup::l2AclRsltFieldDef();
        def->name = "TAE_RSLT_MEM_" + std::to_string(bank);
        def->memBase = kTaeRsltBase + 16 * firstEntry(bank);
        def->memSize = bankEntries(bank);
        rams[def->name] = new EmbeddedMemory(def, dpiMemWrPoke, dpiMemRdPeek);
    }
    for (const ActvMemRow &row : kActvMems) {
        auto *def = new MemoryDefinition;
        def->name = row.name;
        def->memBase = row.addr;
        def->memSize = kActvMemWords;
        def->addField(row.field, 32, 0, 0);
        rams[row.name] = new EmbeddedMemory(def, dpiMemWrPoke, dpiMemRdPeek);
    }
}

void initTaeTcamDefs(tTcamPtrMap &tcams) {
    for (uint32_t bank = 0; bank < TAE_BANKS; bank++) {
        const std::string name = "TAE_TCAM_" + std::to_string(bank);
        const uint32_t addr = kTaeTcamBase + 64 * firstEntry(bank);
        if (bank < TAE_FIRST_SMALL_BANK) {
            addTcam(tcams, name + "_0", addr, TAE_BLK_ENTRIES);
            addTcam(tcams, name + "_1", addr + 64 * TAE_BLK_ENTRIES, TAE_BLK_ENTRIES);
        } else {
            addTcam(tcams, name, addr, TAE_SMALL_ENTRIES);
        }
    }
}

/// Frees the objects of one collection, and their definitions.
template <class Map> static void freeAll(Map &objects) {
    for (const auto &[name, object] : objects) {
        delete object->pMemRegDef;
        delete object;
    }
    objects.clear();
}

void freeTaeDefs(CmChipBlock &block) {
    freeAll(block.RegCollection);
    freeAll(block.RamCollection);
    for (const auto &[name, tcam] : block.TcamCollection)
        delete tcam; // it has a definition of its own
    block.TcamCollection.clear();
}

static int refuseWrite() {
    cmPrintf("USAGE ERROR: No DUT write allowed in Ref Model\n");
    return -1;
}

static int refuseRead() {
    cmPrintf("USAGE ERROR: No DUT read allowed in Ref Model\n");
    return -1;
}

int dpiRegWrPoke(uint32_t, uint32_t, bool) {
    return refuseWrite();
}
int dpiRegRdPeek(uint32_t, uint32_t &, bool) {
    return refuseRead();
}
int dpiMemWrPoke(uint32_t, uint32_t, bool) {
    return refuseWrite();
}
int dpiMemRdPeek(uint32_t, uint32_t &, bool) {
    return refuseRead();
}
