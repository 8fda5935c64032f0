#pragma once
// The model's shared records: the chip (CmRte), one frame's way through it (CmRteStat) and what comes out (CmRteRslt).

#include "tbl/tsr_tbl_observe.h"
#include "tsr_reg.h"

#include <cstddef>
#include <cstdint>

class CmTaeLkup;
class CmTfeLue;

/// Elements of the register files that are more than one word.
struct CmRtePortRng {
    uint32_t hi;
    uint32_t lo;
};
struct CmRteL2Dbg {
    uint32_t da_en;
    uint32_t sa_en;
    uint32_t idx;
    uint32_t port_msk;
};
struct CmRteFlexKeyByte {
    uint32_t header;
    uint32_t offset;
};
struct CmRtePriMap {
    uint32_t dp;
    uint32_t iwpri;
    uint32_t que_pri;
};

/// Common register file of the RTE: one word a register field, in the order of the chip.
struct CmRteHsiComReg {
#define FLD(name, hi, lo) uint32_t name;
#define REG_ANY(addr, name, access, ...) __VA_ARGS__
#define REG_ARR(addr, name, access, cnt, bytes, inner, per, down, decl, ...) decl
#include "base/cmRteHsiComReg.def"
    // State of the learn FIFOs and their force flags; the chip shows them to the host only inside other registers.
    uint32_t rte_l2_sa_lrn_inf_wr_ptr;
    uint32_t rte_l2_sa_lrn_inf_rd_ptr;
    uint32_t rte_l2_sa_lrn_inf_ful;
    uint32_t rte_l2_sa_lrn_inf_almost_ful;
    uint32_t rte_l2_sa_lrn_inf_not_emp;
    uint32_t rte_l2_da_lrn_inf_wr_ptr;
    uint32_t rte_l2_da_lrn_inf_rd_ptr;
    uint32_t rte_l2_da_lrn_inf_ful;
    uint32_t rte_l2_da_lrn_inf_almost_ful;
    uint32_t rte_l2_da_lrn_inf_not_emp;
    uint32_t rte_frc_l2_sa_lrn_inf_ful;
    uint32_t rte_frc_l2_sa_lrn_inf_almost_ful;
    uint32_t rte_frc_l2_sa_lrn_inf_not_emp;
    uint32_t rte_frc_l2_da_lrn_inf_ful;
    uint32_t rte_frc_l2_da_lrn_inf_almost_ful;
    uint32_t rte_frc_l2_da_lrn_inf_not_emp;
    uint32_t pad[191]; // the chip's register file has 2342 fields in all
};
static_assert(sizeof(CmRteHsiComReg) == 2342 * sizeof(uint32_t));

/// Register file of one port of the RTE, same shape.
struct CmRteHsiPortReg {
#define FLD(name, hi, lo) uint32_t name;
#define REG_ANY(addr, name, access, ...) __VA_ARGS__
#define REG_ARR(addr, name, access, cnt, bytes, inner, per, down, decl, ...) decl
#include "base/cmRteHsiPortReg.def"
};
static_assert(sizeof(CmRteHsiPortReg) == 481 * sizeof(uint32_t));

/// Memories of the RTE: plain words, masked to the bits that exist, an entry's words one behind the other.
struct CmRteHsiMem {
#define MEM(first, last, name, words, ...) uint32_t name[((last) + 1 - (first)) / 4];
#include "base/cmRteHsiMem.def"
};
static_assert(sizeof(CmRteHsiMem) == 5011584 * sizeof(uint32_t));

/// Number of words of an array, such as one memory of CmRteHsiMem: the bound for an index that comes out of the dump.
template <class T, size_t N> constexpr uint32_t wordCnt(const T (&)[N]) {
    return static_cast<uint32_t>(N);
}

/// Word `idx` of a memory or of an array of registers; an index beyond its end reads 0.
template <size_t N> inline uint32_t memWord(const uint32_t (&mem)[N], uint64_t idx) {
    if (idx < N && tblObserver)
        tblObserver->read(mem + idx, 1);
    return idx < N ? mem[idx] : 0;
}

/// Element `idx` of an array of registers; an index beyond its end reads an element of zeroes.
template <class T, size_t N> inline T regElem(const T (&regs)[N], uint64_t idx) {
    return idx < N ? regs[idx] : T{};
}

/// What the blocks round the RTE tell it. No block of this tool writes it: queues are never full, no port is in a LAG.
struct CmRteExtCfg {
    uint32_t spanFul;
    uint32_t mspanFul;
    uint32_t rspanFul;
    uint32_t sflwAclFul;
    uint32_t tailDropLst[TSR_PORTS];
    uint32_t yelDropLst[TSR_PORTS];
    uint32_t redDropLst[TSR_PORTS];
    uint32_t bpDropLst[TSR_PORTS];
    uint32_t bpLossless;
    uint32_t lagIdLst[TSR_PORTS];
    uint32_t mtuLst[8];
    uint32_t rteId;
    uint32_t chipId;
    uint32_t srcFltEn;
};
static_assert(sizeof(CmRteExtCfg) == 76 * sizeof(uint32_t));

/// The chip. The one that the calling thread works on is reached through `rte_mem`.
struct CmRte {
    CmRteHsiPortReg portRegLst[32]; // only ports 0 to 11 are used
    CmRteHsiComReg comReg;
    CmRteHsiMem mem;
    CmRteExtCfg extCfg;
    uint32_t dbgEn;
    uint32_t hsiCnt;
    uint32_t frmCntLst[32];
    int logFd; // run log, -1 when none
    uint32_t logFrmMaxLen;
    uint32_t logFileSiz;
    char logFileName[128];
    CmTaeLkup *taePtr;
    CmTfeLue *tfePtr;
};
static_assert(offsetof(CmRte, taePtr) == 20117860 - 2 * 4 + 4, "the pointers are aligned to 8 bytes on this host");

/// What the MAC knows of a frame.
struct CmRteMacInf {
    uint32_t seqNumVld;
    uint32_t seqNum;
    uint32_t isPauseFrm;
    uint32_t isCrcBadFrm;
};

/// The records of the shim as ROC fills them, one field a value.
#define FLD(name) uint32_t name;
#define RSLT_WORD(type, member, title, ...)                                                                            \
    struct type {                                                                                                      \
        __VA_ARGS__                                                                                                    \
    };
#include "base/cmRteRslt.def"

/// One frame's result: 71 words.
struct CmRteRslt {
#define RSLT_WORD(type, member, title, ...) type member;
#include "base/cmRteRslt.def"
    uint32_t dropRsnRslt;
    uint32_t macStsRslt;
    uint32_t l2PselAclStsRslt;
    uint32_t l2PselMctidStsRslt;
    uint32_t l2PselMpidStsRslt;
    uint32_t l2PselLgidStsRslt;
    uint32_t l3PselAclStsRslt;
    uint32_t l3PselMpidStsRslt;
    uint32_t saLrnRslt;
};
static_assert(sizeof(CmRteRslt) == 71 * sizeof(uint32_t));

/// One frame on its way through the stages; cleared before every frame.
struct CmRteStat {
#define STAT(type, name, bits, stage, meaning) type name;
#define STAT_ARR(type, name, elements, bits, stage, meaning) type name[elements];
#define STAT_REC(type, name, stage, meaning) type name;
#include "base/cmRteStat.def"
};

extern constinit thread_local CmRte *rte_mem;

/// Chip addresses of the entries of `rte_l2_myda_mac_hi` and `rte_l2_myda_mac_lo`.
extern const uint32_t (&RTE_L2_CHS_MAC_HI)[128];
extern const uint32_t (&RTE_L2_CHS_MAC_LO)[128];

/// Builds a reset chip in the zeroed `cmRtePtr`, with its TAE and TFE blocks.
void CmRteInit(CmRte *cmRtePtr);

/// Frees both blocks with all that CmRteInit made for them; the chip itself stays the caller's.
void CmRteFree(CmRte *cmRtePtr);

/// Runs one frame of `frmLen` bytes (FCS included) from `port` through PRC, LUE and ROC; `frm` has 32 writable bytes
/// behind its last byte. `verbose` turns the stages' trace on. Returns 1 when the frame was run, 0 for a port above 11.
int CmRteProc(uint32_t port, CmRte *cmRtePtr, CmRteMacInf *macInfPtr, uint32_t frmLen, uint8_t *frm, CmRteRslt *rsltPtr,
              int verbose);

/// Host read of the word at chip address `addr`. Returns 1, or 0 when the address names nothing; `*dataPtr` then stays.
int CmRteHsiRd(CmRte *cmRtePtr, uint32_t addr, uint32_t *dataPtr);

/// Host write of `data` to chip address `addr`. Returns 1, or 0 when the address names nothing.
int CmRteHsiWr(CmRte *cmRtePtr, uint32_t addr, uint32_t data);

/// Recomputes the six status flags of the learn FIFOs from their force registers and enables.
void CmRteNorIntr(CmRteHsiComReg *comRegPtr);

/// The model raises no interrupt line: always 0.
uint32_t CmRteGetIntr(CmRte *cmRtePtr);
uint32_t CmRteGetOutFlag(CmRte *cmRtePtr);

/// The record of the frame that runs or ran last in the calling thread's model.
CmRteStat *CmRteGetStat(void);

/// Marks where the history registers would be reset; the model keeps them.
void InitLuHis(CmRteHsiComReg *comRegPtr);
void InitRsltHis(CmRteHsiComReg *comRegPtr);

/// The three stages, in the order in which a frame passes them.
void CmRtePrc(CmRteStat *statPtr);
void CmRteLue(CmRteStat *statPtr);
void CmRteRoc(CmRteStat *statPtr);
