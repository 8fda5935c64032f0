#include "base/cmRte.h"
#include "tae/cmTae.h"
#include "tfe/cmTfe.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

// The stages, replaced by ones that keep what the driver hands them.

namespace {

std::string order;               // the stages' initials as they ran
CmRteStat seen;                  // the record as the first stage found it
std::vector<uint8_t> frmSeen;    // the frame and the bytes behind it at that time
uint32_t taeLvlSeen, tfeLvlSeen; // the engines' debug levels

} // namespace

void CmRtePrc(CmRteStat *statPtr) {
    order += 'P';
    seen = *statPtr;
    frmSeen.assign(statPtr->frm, statPtr->frm + statPtr->frmLen + 31);
    taeLvlSeen = statPtr->taePtr->dbgLvl;
    tfeLvlSeen = statPtr->tfePtr->dbgLvl;
    statPtr->l2PrcDrop = 1;
}

void CmRteLue(CmRteStat *statPtr) {
    order += statPtr->l2PrcDrop ? 'L' : '?';
}

void CmRteRoc(CmRteStat *statPtr) {
    order += 'R';
    statPtr->rsltPtr->dropRsnRslt = 17;
}

namespace {

class ProcTest : public testing::Test {
protected:
    ProcTest() {
        CmRteInit(rte.get());
        order.clear();
        seen = {};
        for (size_t i = 0; i < frm.size(); i++)
            frm[i] = static_cast<uint8_t>(i + 1);
    }

    int run(uint32_t port, uint32_t frmLen, int verbose = 0) {
        return CmRteProc(port, rte.get(), &macInf, frmLen, frm.data(), &rslt, verbose);
    }

    static std::string printed(const std::function<void()> &fn) {
        testing::internal::CaptureStdout();
        fn();
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }

    std::unique_ptr<CmRte> rte = std::make_unique<CmRte>();
    CmRteMacInf macInf{};
    CmRteRslt rslt{};
    std::vector<uint8_t> frm = std::vector<uint8_t>(400);
};

TEST_F(ProcTest, StagesRunInTheirOrderWhateverTheyFind) {
    EXPECT_EQ(run(11, 64), 1);
    EXPECT_EQ(order, "PLR");
    EXPECT_EQ(rslt.dropRsnRslt, 17u);
}

TEST_F(ProcTest, RecordIsClearedAndFilled) {
    CmRteStat *statPtr = CmRteGetStat();
    std::memset(statPtr, 0xff, sizeof *statPtr);
    rte->frmCntLst[5] = 9;
    run(5, 64);
    EXPECT_EQ(seen.frmIdx, 9u);
    EXPECT_EQ(seen.ingPhyPort, 5u);
    EXPECT_EQ(seen.macInfPtr, &macInf);
    EXPECT_EQ(seen.portRegPtr, &rte->portRegLst[5]);
    EXPECT_EQ(seen.comRegPtr, &rte->comReg);
    EXPECT_EQ(seen.memPtr, &rte->mem);
    EXPECT_EQ(seen.extCfgPtr, &rte->extCfg);
    EXPECT_EQ(seen.taePtr, rte->taePtr);
    EXPECT_EQ(seen.tfePtr, rte->tfePtr);
    EXPECT_EQ(seen.frm, frm.data());
    EXPECT_EQ(seen.frmLen, 64u);
    EXPECT_EQ(seen.wireFrmLen, 64u);
    EXPECT_EQ(seen.rsltPtr, &rslt);
    EXPECT_EQ(seen.ingLgcPort, 0u);
    EXPECT_EQ(seen.l2OuterDa, 0u);
    EXPECT_EQ(seen.polQPrio, 0u);
    EXPECT_EQ(rte->frmCntLst[5], 10u);
}

TEST_F(ProcTest, AddressListsOfTheChassisMacs) {
    run(0, 64);
    EXPECT_EQ(seen.list_RTE_MYDA_RANGE_HI_REG, RTE_L2_CHS_MAC_HI);
    EXPECT_EQ(seen.list_RTE_MYDA_RANGE_LO_REG, RTE_L2_CHS_MAC_LO);
    EXPECT_EQ(RTE_L2_CHS_MAC_HI[0], 0x52400u);
    EXPECT_EQ(RTE_L2_CHS_MAC_HI[127], 0x525fcu);
    EXPECT_EQ(RTE_L2_CHS_MAC_LO[0], 0x52600u);
    EXPECT_EQ(RTE_L2_CHS_MAC_LO[127], 0x527fcu);
}

TEST_F(ProcTest, LastByteIsTheMacStatus) {
    run(0, 64);
    EXPECT_EQ(seen.macStat, 64u);
    EXPECT_EQ(frmSeen[62], 63);
    for (size_t i = 63; i < 95; i++)
        EXPECT_EQ(frmSeen[i], 0) << i;
    EXPECT_EQ(frm[95], 96) << "32 bytes are cleared";
}

TEST_F(ProcTest, FrameOfOneByteIsAllStatus) {
    run(0, 1);
    EXPECT_EQ(seen.macStat, 1u);
    EXPECT_EQ(frmSeen[0], 0);
    EXPECT_EQ(frm[31], 0);
    EXPECT_EQ(frm[32], 33);
}

TEST_F(ProcTest, DebugLevelIsFourOrNothing) {
    run(0, 64, 1);
    EXPECT_EQ(seen.dbgLvl, 4u);
    EXPECT_EQ(taeLvlSeen, 4u);
    EXPECT_EQ(tfeLvlSeen, 4u);
    run(0, 64, 0);
    EXPECT_EQ(seen.dbgLvl, 0u);
    EXPECT_EQ(taeLvlSeen, 0u);
    EXPECT_EQ(tfeLvlSeen, 0u);
}

TEST_F(ProcTest, RefusedPortLeavesTheRecord) {
    CmRteGetStat()->frmIdx = 1234;
    EXPECT_EQ(run(12, 64), 0);
    EXPECT_EQ(order, "");
    EXPECT_EQ(CmRteGetStat()->frmIdx, 1234u);
    EXPECT_EQ(frm[63], 64);
    EXPECT_EQ(rte->frmCntLst[12], 1u);
}

TEST_F(ProcTest, PortBeyondTheCountersIsRefusedToo) {
    EXPECT_EQ(run(32, 64), 0);
    EXPECT_EQ(run(~0u, 64), 0);
}

TEST_F(ProcTest, QuietRunTurnsTheHostTraceOff) {
    rte->dbgEn = 4;
    EXPECT_EQ(printed([&] { run(12, 64, 1); }), "");
    EXPECT_EQ(rte->dbgEn, 4u);
    EXPECT_EQ(printed([&] { run(12, 64, 0); }), "");
    EXPECT_EQ(rte->dbgEn, 0u);
}

TEST_F(ProcTest, FrameIsPrintedInRowsOfSixteen) {
    rte->dbgEn = 1;
    rte->frmCntLst[3] = 2;
    EXPECT_EQ(printed([&] { run(3, 18, 1); }), "PORT  3, FRM 2, frmLen =   18 ( 0x012 )\n"
                                               "    0: 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10\n"
                                               "   16: 11 12" +
                                                   std::string(14 * 3, ' ') +
                                                   "\n"
                                                   "\n");
}

TEST_F(ProcTest, LongFrameIsPrintedUpTo256Bytes) {
    rte->dbgEn = 1;
    const std::string text = printed([&] { run(0, 300, 1); });
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1 + 16 + 1);
    EXPECT_NE(text.find("\n  240: f1 "), std::string::npos);
    EXPECT_EQ(text.substr(text.size() - 5), " 00\n\n");
}

TEST_F(ProcTest, FramesAreLoggedRefusedOnesToo) {
    FILE *log = std::tmpfile();
    rte->logFd = fileno(log);
    run(1, 8);
    run(12, 8);
    uint32_t words[256] = {};
    lseek(rte->logFd, 0, SEEK_SET);
    EXPECT_EQ(read(rte->logFd, words, sizeof words), 2 * (16 + 8 + 296));
    EXPECT_EQ(rte->logFileSiz, 640u);
    EXPECT_EQ(words[0], 3u);
    EXPECT_EQ(words[1], 1u);
    EXPECT_EQ(words[2], 8u);
    EXPECT_EQ(words[3], 8u);
    EXPECT_EQ(words[6], 4u);
    EXPECT_EQ(words[7], 284u);
    EXPECT_EQ(words[6 + 73], 1u);
    EXPECT_EQ(words[80], 3u);
    EXPECT_EQ(words[81], 12u);
    EXPECT_EQ(words[80 + 6 + 73], 0u);
    std::fclose(log);
}

} // namespace
