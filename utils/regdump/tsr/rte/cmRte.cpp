#include "base/cmRte.h"

#include "hsi/cmRteHsiMem.h"
#include "hsi/cmRteHsiReg.h"
#include "tae/cmTae.h"
#include "tfe/cmTfe.h"
#include "tsr_reg.h"

#include <cstring>
#include <iterator>

namespace {

/// What an empty TCAM word holds in all its bytes: X and Y are both set in a bit, so that no key matches.
constexpr uint8_t tcamNoMatchBit = 1;

template <size_t N> void emptyTcam(uint32_t (&tcam)[N]) {
    std::memset(tcam, tcamNoMatchBit, sizeof tcam);
}

void emptyRteTcams(CmRteHsiMem *memPtr) {
    emptyTcam(memPtr->RTE_TRILL_MRB_TCAM);
    emptyTcam(memPtr->RTE_L2_CONTROL_TCAM);
    emptyTcam(memPtr->RTE_L2_MAC_TCAM);
    emptyTcam(memPtr->RTE_TYP_TCAM);
    emptyTcam(memPtr->RTE_CLOUD_TCAM);
    emptyTcam(memPtr->RTE_MYDA_PREFIX_TCAM);
    emptyTcam(memPtr->RTE_L2_EXM_OVERFLOW_TCAM);
    emptyTcam(memPtr->RTE_L3_IPV4_MCUID_OVERFLOW_TCAM);
    emptyTcam(memPtr->RTE_L3_IPV6_MCUID_OVERFLOW_TCAM);
    emptyTcam(memPtr->RTE_L3_CONTROL_TCAM);
}

/// One block of the ACL TCAM and the bytes of it that the reset fills.
struct AclTcamBlock {
    int bank;
    int half;
    uint32_t byteCnt;
};

constexpr uint32_t kLargeBlockBytes = 0x20000;
constexpr uint32_t kSmallBlockBytes = 0x8000;

// Bank 11's second half stands twice in the chip's list.
constexpr AclTcamBlock kAclTcamBlocks[] = {
    {0, 0, kLargeBlockBytes},  {0, 1, kLargeBlockBytes},  {1, 0, kLargeBlockBytes},  {1, 1, kLargeBlockBytes},
    {2, 0, kLargeBlockBytes},  {2, 1, kLargeBlockBytes},  {3, 0, kLargeBlockBytes},  {3, 1, kLargeBlockBytes},
    {4, 0, kLargeBlockBytes},  {4, 1, kLargeBlockBytes},  {5, 0, kLargeBlockBytes},  {5, 1, kLargeBlockBytes},
    {6, 0, kLargeBlockBytes},  {6, 1, kLargeBlockBytes},  {7, 0, kLargeBlockBytes},  {7, 1, kLargeBlockBytes},
    {8, 0, kLargeBlockBytes},  {8, 1, kLargeBlockBytes},  {9, 0, kLargeBlockBytes},  {9, 1, kLargeBlockBytes},
    {10, 0, kLargeBlockBytes}, {10, 1, kLargeBlockBytes}, {11, 0, kLargeBlockBytes}, {11, 1, kLargeBlockBytes},
    {11, 1, kSmallBlockBytes}, {12, 0, kSmallBlockBytes}, {13, 0, kSmallBlockBytes}, {14, 0, kSmallBlockBytes},
    {15, 0, kSmallBlockBytes}, {16, 0, kSmallBlockBytes}, {17, 0, kSmallBlockBytes}, {18, 0, kSmallBlockBytes},
    {19, 0, kSmallBlockBytes}, {20, 0, kSmallBlockBytes}, {21, 0, kSmallBlockBytes}, {22, 0, kSmallBlockBytes},
    {23, 0, kSmallBlockBytes}, {24, 0, kSmallBlockBytes}, {25, 0, kSmallBlockBytes}, {26, 0, kSmallBlockBytes},
    {27, 0, kSmallBlockBytes}, {28, 0, kSmallBlockBytes}, {29, 0, kSmallBlockBytes}};
static_assert(std::size(kAclTcamBlocks) == 24 + 19);

/// Sets `flag` when it is forced, or enabled and set already: nothing clears it here.
void updateFlag(uint32_t &flag, uint32_t force, uint32_t enable) {
    flag |= (force || (enable && flag)) ? 1 : 0;
}

} // namespace

void CmRteInit(CmRte *cmRtePtr) {
    for (uint32_t port = 0; port < TSR_PORTS; port++)
        CmRteHsiPortRegInit(&cmRtePtr->portRegLst[port]);
    CmRteHsiMemInit(&cmRtePtr->mem);
    CmRteHsiComRegInit(&cmRtePtr->comReg);

    cmRtePtr->tfePtr = new CmTfeLue;
    cmRtePtr->taePtr = new CmTaeLkup(0, initTaeRegDefs, initTaeRamDefs, initTaeTcamDefs);
    cmRtePtr->taePtr->configure();

    CmTfeHsiMemInit(cmRtePtr->tfePtr->memPtr);
    CmTfeHsiComRegInit(cmRtePtr->tfePtr->comRegPtr);

    cmRtePtr->logFd = -1;
    cmRtePtr->logFrmMaxLen = 10240;
    cmRtePtr->logFileSiz = 0;
    std::memset(cmRtePtr->logFileName, 0, sizeof cmRtePtr->logFileName);
    cmRtePtr->dbgEn = 0;
    cmRtePtr->hsiCnt = 0;
    cmRtePtr->frmCntLst[0] = 0; // the other ports keep their counts

    emptyRteTcams(&cmRtePtr->mem);
    emptyTcam(cmRtePtr->tfePtr->memPtr->TFE_TCAM);
    CmTaeHsiMem *taeMemPtr = cmRtePtr->taePtr->memPtr;
    std::memset(taeMemPtr, 0, sizeof *taeMemPtr);
    emptyTcam(taeMemPtr->TAE_IPV4_EXM_TCAM);
    emptyTcam(taeMemPtr->TAE_IPV6_EXM_TCAM);
    for (const AclTcamBlock &block : kAclTcamBlocks)
        cmRtePtr->taePtr->getAclTcamBlockPointer(block.bank, block.half)->fill(tcamNoMatchBit, block.byteCnt);
}

void CmRteFree(CmRte *cmRtePtr) {
    if (cmRtePtr->taePtr)
        freeTaeDefs(*cmRtePtr->taePtr);
    delete cmRtePtr->taePtr;
    delete cmRtePtr->tfePtr;
    cmRtePtr->taePtr = nullptr;
    cmRtePtr->tfePtr = nullptr;
}

void CmRteNorIntr(CmRteHsiComReg *comRegPtr) {
    CmRteHsiComReg &reg = *comRegPtr;
    const uint32_t enable = reg.rte_nor_int_en_set;
    updateFlag(reg.rte_l2_sa_lrn_inf_ful, reg.rte_frc_l2_sa_lrn_inf_ful, enable & 1 << 0);
    updateFlag(reg.rte_l2_sa_lrn_inf_almost_ful, reg.rte_frc_l2_sa_lrn_inf_almost_ful, enable & 1 << 1);
    updateFlag(reg.rte_l2_sa_lrn_inf_not_emp, reg.rte_frc_l2_sa_lrn_inf_not_emp, enable & 1 << 2);
    updateFlag(reg.rte_l2_da_lrn_inf_ful, reg.rte_frc_l2_da_lrn_inf_ful, enable & 1 << 3);
    updateFlag(reg.rte_l2_da_lrn_inf_almost_ful, reg.rte_frc_l2_da_lrn_inf_almost_ful, enable & 1 << 4);
    updateFlag(reg.rte_l2_da_lrn_inf_not_emp, reg.rte_frc_l2_da_lrn_inf_not_emp, enable & 1 << 5);
}

uint32_t CmRteGetIntr(CmRte *) {
    return 0;
}

uint32_t CmRteGetOutFlag(CmRte *) {
    return 0;
}

void InitLuHis(CmRteHsiComReg *) {}

void InitRsltHis(CmRteHsiComReg *) {}
