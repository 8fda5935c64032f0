#pragma once
// The parser stage (PRC): its sub-parsers and the moves that recur in all of them.

#include "base/cmRte.h"
#include "base/cmRteVerdict.h"

/// The header kinds that a flex key byte can be counted from.
enum FLEX_KEY_ENC_T : uint32_t {
    FLEX_KEY_OUTER_MAC,
    FLEX_KEY_OUTER_VLAN,
    FLEX_KEY_TRILL,
    FLEX_KEY_INNER_MAC,
    FLEX_KEY_SVLAN,
    FLEX_KEY_CVLAN,
    FLEX_KEY_LLC,
    FLEX_KEY_SNAP,
    FLEX_KEY_CN_TAG,
    FLEX_KEY_FIP,
    FLEX_KEY_FCOE,
    FLEX_KEY_VSAN,
    FLEX_KEY_FC,
    FLEX_KEY_OUTER_IPV4,
    FLEX_KEY_OUTER_IPV6,
    FLEX_KEY_PIM,
    FLEX_KEY_INNER_IPV4,
    FLEX_KEY_INNER_IPV6,
    FLEX_KEY_ICMPV4,
    FLEX_KEY_TCP,
    FLEX_KEY_UDP,
    FLEX_KEY_NON_TCP_UDP_AFTER_IP,
    FLEX_KEY_ICMPV6,
};

/// The last result of ClsEtyp, one flag a class; `etypIsStag` alone belongs to PrcL2.
extern constinit thread_local uint32_t etypIsVld;
extern constinit thread_local uint32_t etypIsCtag;
extern constinit thread_local uint32_t etypIsTrillOuterVlan;
extern constinit thread_local uint32_t etypIsTrill;
extern constinit thread_local uint32_t etypIsCnTag;
extern constinit thread_local uint32_t etypIsFip;
extern constinit thread_local uint32_t etypIsFcoe;
extern constinit thread_local uint32_t etypIsIpv4;
extern constinit thread_local uint32_t etypIsIpv6;
extern constinit thread_local uint32_t etypIsQcn;
extern constinit thread_local uint32_t etypIsLen;
extern constinit thread_local uint32_t etypIsMoreStag;
extern constinit thread_local uint32_t etypIsStag;

/// End test for a read of `n` bytes at `offset`: true when it lies inside the frame. Works at the grain of aligned
/// four-byte words, as the chip's parser does; `frmLen` counts the FCS.
inline bool insideFrame(uint32_t offset, uint32_t n, uint32_t frmLen) {
    return ((offset + n) & ~3u) < frmLen;
}

/// Big-endian reads at `offset` of the frame; every byte behind the frame's cleared tail reads 0.
uint32_t prcByte(const CmRteStat *statPtr, uint32_t offset);
uint32_t prcHword(const CmRteStat *statPtr, uint32_t offset);
uint32_t prcDword(const CmRteStat *statPtr, uint32_t offset);
/// The `byteNum` bytes (up to 8) at `offset` as one number.
uint64_t prcQword(const CmRteStat *statPtr, uint32_t offset, uint32_t byteNum);

/// The layer-2 errors that the parser finds; cmRtePrcL2Ck.def has what each does.
enum PRC_L2_CK : uint32_t {
#define L2_CK(name, ...) L2_CK_##name,
#define L2_CK_NO_CK(name, ...) L2_CK_##name,
#include "prc/cmRtePrcL2Ck.def"
};

/// Records the header-violation trap; every layer-2 trap of the parser but that of the TRILL hop count has this form.
void prcL2HdrVioTrap(CmRteStat *statPtr);
/// Records a layer-2 drop with `rsn` (RTE_DRP_RSN).
void prcL2Drop(CmRteStat *statPtr, uint32_t rsn);
/// Treats the error `ck` that was seen in the frame as its row says: returns 1 after the header-violation trap or the
/// drop, with its line; 0, with the line of its excuse, when the check register is 0.
uint32_t prcL2Ck(CmRteStat *statPtr, PRC_L2_CK ck);
/// Whether the port checks for the error `ck`, and whether it traps what has it, for decisions in front of the verdict.
bool prcL2CkOn(const CmRteStat *statPtr, PRC_L2_CK ck);
bool prcL2CkTraps(const CmRteStat *statPtr, PRC_L2_CK ck);
/// How traces call the verdict that was recorded: "TRAP" or "DROP".
const char *prcL2VerdictWord(const CmRteStat *statPtr);

// cmRtePrcL2
void PrcL2(CmRteStat *statPtr);
/// Classifies `typLen` into the `etypIs*` flags and sets `l2Etyp` when it is an EtherType; `trillOuter` is 1 in front
/// of a TRILL header.
void ClsEtyp(CmRteStat *statPtr, uint32_t typLen, uint32_t trillOuter);
/// Returns 1 to go on, 0 when a trap or drop was recorded.
uint32_t PrcL2CkTypLen(CmRteStat *statPtr, const uint32_t &typLen);
/// Treats an IEEE length word: LLC and SNAP. Returns 1 when a SNAP EtherType was found and `typLen` and `offset` moved
/// on, 0 when the caller must stop.
uint32_t PrcL2Len(CmRteStat *statPtr, uint32_t &typLen, uint32_t &offset);
/// One control-DA test against a prefix of the upper 16 and lower 32 bits.
uint32_t PrcL2CkDaCtl(uint64_t da, uint32_t daCtlVld, uint32_t prefixW0, uint32_t prefixW1);
void LlcGetHdr(uint8_t *hdr, CmRteStat *statPtr);
/// Take the outer or the inner addresses for the lookups.
void CpOuterL2Hdr(CmRteStat *statPtr);
void CpInnerL2Hdr(CmRteStat *statPtr);
/// Records the end-of-frame error.
void PrcL2EofErr(CmRteStat *statPtr, uint32_t atTrill);
/// The S-tag that a C-port may not have, where `applies` is 1. Returns 1 after a trap or drop; 0, with the line
/// `excuse`, when excused.
uint32_t prcL2CkSTagOnCPort(CmRteStat *statPtr, uint32_t applies, const char *excuse);
/// Reads the control word of the S-tag at `offset` into the record. Returns 0 after an end-of-frame error.
uint32_t prcL2ReadSTag(CmRteStat *statPtr, uint32_t offset);
/// Classifies the word at `offset`, which stands behind a tag; moves `offset` behind it when it opens a CN tag.
void prcL2ReadCnTag(CmRteStat *statPtr, uint32_t &offset);
/// The translation of VLAN `igVlan` at port `igPort`.
uint32_t vlanTrans(CmRteHsiMem *memPtr, uint32_t igPort, uint32_t igVlan);
/// Whether the outer DA is the all-RBridges address.
uint32_t prcL2OuterDaIsAllRb(const CmRteStat *statPtr);
/// Whether the group bit of the 48-bit address `mac` is set.
uint32_t prcMacIsGrp(uint64_t mac);
/// The 48-bit address of a register pair: upper 16 and lower 32 bits.
uint64_t prcMac(uint32_t w0, uint32_t w1);
/// Result of a port in physical-queue mode.
void PrcPhyq(CmRteStat *statPtr);

// cmRtePrcTrill
/// Returns 1 with `offset` behind the inner EtherType and `typLen` and the `etypIs*` flags describing the inner frame,
/// 0 to tell PrcL2 to stop.
uint32_t PrcTrill(CmRteStat *statPtr, uint32_t &offset, uint32_t &typLen);
void PrcL2TrillCustIdErr(CmRteStat *statPtr);
void PrcL2TrillEofErr(CmRteStat *statPtr);

// cmRtePrcIpv4, cmRtePrcIpv6
void PrcL3Ipv4(CmRteStat *statPtr, uint32_t isPimInner, uint32_t &cksumErr);
/// The IHL-6 check.
void ckIpv4Ihl6NotRouterAlrt(CmRteStat *statPtr);
void PrcL3Ipv4EofErr(CmRteStat *statPtr);
/// Returns 1 when the DA is a configured RP address.
uint32_t CkIpv4RpAddr(CmRteStat *statPtr);
void PrcL3Ipv6(CmRteStat *statPtr, uint32_t isPimInner, uint32_t cksumErr);
/// Returns 1 when `exp` bytes from the frame's start can be read.
uint32_t CkIpv6Len(uint32_t frmLen, uint32_t exp, CmRteStat *statPtr);
void PrcL3Ipv6EofErr(CmRteStat *statPtr);
uint32_t CkIpv6RpAddr(CmRteStat *statPtr);

// cmRtePrcL3
/// Voids the layer-3 fields.
void PrcL3RstHdr(CmRteStat *statPtr);

// cmRtePrcFcoe
/// Returns 1 when the header was read, 0 after an end-of-frame error.
int PrcFip(CmRteStat *statPtr);
void PrcFcoe(CmRteStat *statPtr);

// cmRtePrcL4
void PrcL4Tcp(CmRteStat *statPtr);
void PrcL4Udp(CmRteStat *statPtr);
void PrcTyp(CmRteStat *statPtr);
void PrcL4PortRngCk(CmRteStat *statPtr);

// cmRtePrcQos
void ingL2PriMap(CmRteStat *statPtr);
void ingDscpPriMap(CmRteStat *statPtr);
/// One entry of the VLAN priority map (`index` 0 to 31).
uint32_t ingL2MapDp(CmRteHsiPortReg *portRegPtr, uint32_t index);
uint32_t ingL2MapIwpri(CmRteHsiPortReg *portRegPtr, uint32_t index);
uint32_t ingL2MapQuePri(CmRteHsiPortReg *portRegPtr, uint32_t index);
/// One entry of the DSCP map (`index` 0 to 63).
uint32_t ingDscpMapDp(CmRteHsiPortReg *portRegPtr, uint32_t index);
uint32_t ingDscpMapIwpri(CmRteHsiPortReg *portRegPtr, uint32_t index);
uint32_t ingDscpMapQuePri(CmRteHsiPortReg *portRegPtr, uint32_t index);

// cmRtePrcHash
void PrcHshTcpIp(CmRteStat *statPtr);
void PrcHshFcoe(CmRteStat *statPtr);
uint32_t PrcHshTcpIpCrc(uint8_t *key_, uint32_t msk_, uint32_t shift);
uint32_t PrcHshFcoeCrc(uint8_t *key_, uint32_t msk_, uint32_t shift, CmRteStat *statPtr);

// cmRtePrcFlexKey
/// Records that the header `key` starts at `offset`; the last detection wins.
void detectFlexKey(CmRteStat *statPtr, FLEX_KEY_ENC_T key, uint32_t offset);
/// Picks the bytes of the four flex keys out of the frame.
void extractFlexKey(CmRteStat *statPtr);
