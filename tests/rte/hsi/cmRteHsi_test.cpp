#include "hsi/cmRteHsi.h"

#include "base/cmUtl.h"
#include "hsi/tae_pci_decode.h"
#include "log/cmRteLog.h"
#include "random_words.h"
#include "tae/cmTae.h"
#include "tfe/cmTfe.h"

#include <array>
#include <bit>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

std::string printed(const std::function<void()> &fn) {
    testing::internal::CaptureStdout();
    fn();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

uint32_t be(uint32_t word) {
    return std::endian::native == std::endian::big ? word : __builtin_bswap32(word);
}

using Key = std::array<uint32_t, 8>; // lowest word first

/// A reset chip.
struct Chip {
    std::unique_ptr<CmRte> rte = std::make_unique<CmRte>();

    Chip() { CmRteInit(rte.get()); }

    int wr(uint32_t addr, uint32_t data) { return CmRteHsiWr(rte.get(), addr, data); }
    int rd(uint32_t addr, uint32_t *data) { return CmRteHsiRd(rte.get(), addr, data); }
    uint32_t read(uint32_t addr) {
        uint32_t data = 0;
        EXPECT_EQ(rd(addr, &data), 1) << std::hex << addr;
        return data;
    }

    Key tcamRow(int bank, int half, uint32_t row) const {
        EmbeddedTcam *tcam = rte->taePtr->getAclTcamBlockPointer(bank, half);
        Key key{};
        for (uint32_t w = 0; w < 8; w++)
            key[w] = tcam->pMemXY->word(row, w);
        return key;
    }
    Key y(int bank, int half, uint32_t entry) const { return tcamRow(bank, half, 2 * entry); }
    Key x(int bank, int half, uint32_t entry) const { return tcamRow(bank, half, 2 * entry + 1); }

    std::array<uint32_t, 4> rslt(int bank, uint32_t entry) const {
        EmbeddedMemory *mem = rte->taePtr->getAclRsltBlockPointer(bank);
        M_T line;
        EXPECT_EQ(mem->readEntry(entry, line), 0);
        std::array<uint32_t, 4> key{};
        mem->pMemRegDef->packBinaryKey(line, key.data());
        return key;
    }
};

class HsiTest : public testing::Test {
protected:
    Chip chip;
    CmRte *rte = chip.rte.get();
    CmRteHsiComReg &com = rte->comReg;
    CmRteHsiMem &mem = rte->mem;
};

// Reset.

TEST_F(HsiTest, ResetChip) {
    EXPECT_EQ(rte->logFd, -1);
    EXPECT_EQ(rte->logFrmMaxLen, 10240u);
    EXPECT_EQ(rte->dbgEn, 0u);
    EXPECT_EQ(rte->hsiCnt, 0u);
    EXPECT_EQ(com.rte_l2_ctl_vid, 0x1fffu);
    for (uint32_t port = 0; port < 12; port++)
        EXPECT_EQ(rte->portRegLst[port].rte_prc_ctag_etyp, 0x8100u);
    EXPECT_EQ(rte->portRegLst[12].rte_prc_ctag_etyp, 0u) << "not a port of the chip";
    EXPECT_EQ(rte->tfePtr->dbgLvl, 0u);
    EXPECT_EQ(rte->tfePtr->comRegPtr, &rte->tfePtr->comReg);
    EXPECT_EQ(rte->tfePtr->memPtr, &rte->tfePtr->mem);
}

template <size_t N> bool allAre(const uint32_t (&words)[N], uint32_t value) {
    for (uint32_t word : words) {
        if (word != value)
            return false;
    }
    return true;
}

TEST_F(HsiTest, ResetEmptiesTheTcams) {
    EXPECT_TRUE(allAre(mem.RTE_TRILL_MRB_TCAM, 0x01010101));
    EXPECT_TRUE(allAre(mem.RTE_L2_CONTROL_TCAM, 0x01010101));
    EXPECT_TRUE(allAre(mem.RTE_L2_MAC_TCAM, 0x01010101));
    EXPECT_TRUE(allAre(mem.RTE_TYP_TCAM, 0x01010101));
    EXPECT_TRUE(allAre(mem.RTE_CLOUD_TCAM, 0x01010101));
    EXPECT_TRUE(allAre(mem.RTE_MYDA_PREFIX_TCAM, 0x01010101));
    EXPECT_TRUE(allAre(mem.RTE_L2_EXM_OVERFLOW_TCAM, 0x01010101));
    EXPECT_TRUE(allAre(mem.RTE_L3_IPV4_MCUID_OVERFLOW_TCAM, 0x01010101));
    EXPECT_TRUE(allAre(mem.RTE_L3_IPV6_MCUID_OVERFLOW_TCAM, 0x01010101));
    EXPECT_TRUE(allAre(mem.RTE_L3_CONTROL_TCAM, 0x01010101));
    EXPECT_TRUE(allAre(mem.RTE_L2_EXM_BKT_EDRAM, 0));
    EXPECT_TRUE(allAre(mem.RTE_DRP_BPQ_STS_FCNT_SRAM, 0));
    EXPECT_TRUE(allAre(rte->tfePtr->mem.TFE_TCAM, 0x01010101));
    EXPECT_TRUE(allAre(rte->tfePtr->mem.TFE_AMAP, 0));
    EXPECT_TRUE(allAre(rte->taePtr->mem.TAE_IPV4_EXM_TCAM, 0x01010101));
    EXPECT_TRUE(allAre(rte->taePtr->mem.TAE_IPV6_EXM_TCAM, 0x01010101));
    EXPECT_TRUE(allAre(rte->taePtr->mem.TAE_IPV4_EXM_BKT, 0));
}

TEST_F(HsiTest, ResetEmptiesEachAclTcamBlock) {
    const Key empty = {0x01010101, 0x01010101, 0x01010101, 0x01010101, 0x01010101, 0x01010101, 0x01010101, 0x01010101};
    for (int bank = 0; bank < 30; bank++) {
        for (int half = 0; half < (bank < 12 ? 2 : 1); half++) {
            for (uint32_t entry : {0u, 511u, bank < 12 ? 2047u : 511u}) {
                EXPECT_EQ(chip.y(bank, half, entry), empty) << bank << " " << half << " " << entry;
                EXPECT_EQ(chip.x(bank, half, entry), empty);
            }
        }
    }
}

TEST(CmRteInit, ClearsTheFrameCountOfTheFirstPortOnly) {
    auto rte = std::make_unique<CmRte>();
    rte->frmCntLst[0] = 5;
    rte->frmCntLst[1] = 6;
    CmRteInit(rte.get());
    EXPECT_EQ(rte->frmCntLst[0], 0u);
    EXPECT_EQ(rte->frmCntLst[1], 6u);
}

TEST_F(HsiTest, NoInterruptLines) {
    EXPECT_EQ(CmRteGetIntr(rte), 0u);
    EXPECT_EQ(CmRteGetOutFlag(rte), 0u);
    InitLuHis(&com);
    InitRsltHis(&com);
    EXPECT_EQ(com.rte_l2_ctl_vid, 0x1fffu);
}

// Dispatch.

TEST_F(HsiTest, CommonRegisters) {
    EXPECT_EQ(chip.wr(0x50000, 0xffffffff), 1);
    EXPECT_EQ(com.rte_l2_dix_typ_min, 0x7ffu);
    EXPECT_EQ(chip.read(0x50000), 0x07ff07ffu);
    EXPECT_EQ(chip.wr(0x53014, 1), 1);
    EXPECT_EQ(chip.wr(0x53018, 1), 0);
    EXPECT_EQ(chip.wr(0x58000, 1), 0);
    EXPECT_EQ(chip.wr(0x4fffc, 1), 0);
}

TEST_F(HsiTest, AddressBitsAbove26AreIgnored) {
    EXPECT_EQ(chip.wr(0xf8050000, 0x06000100), 1);
    EXPECT_EQ(com.rte_l2_dix_typ_min, 0x600u);
}

TEST_F(HsiTest, PortRegisters) {
    EXPECT_EQ(chip.wr(0x4b2000, 0x3f), 1);
    EXPECT_EQ(rte->portRegLst[11].rte_prc_l2_lrn_port, 0x3fu);
    EXPECT_EQ(rte->portRegLst[10].rte_prc_l2_lrn_port, 0u);
    EXPECT_EQ(chip.read(0x4b2000), 0x3fu);
    EXPECT_EQ(chip.wr(0x4b1000, 1), 0);
    EXPECT_EQ(chip.wr(0x4b3000, 1), 0);
    EXPECT_EQ(chip.wr(0x8b2000, 1), 0);
    EXPECT_EQ(chip.wr(0x5f2000, 5), 1) << "the chip decodes 32 ports";
    EXPECT_EQ(rte->portRegLst[31].rte_prc_l2_lrn_port, 5u);
    EXPECT_EQ(chip.wr(0x4020e8, 1), 0);
    uint32_t data = 0;
    EXPECT_EQ(chip.rd(0x4b3000, &data), 0);
    EXPECT_EQ(chip.rd(0x4020e8, &data), 0);
}

TEST_F(HsiTest, SflowConfigurationRestartsTheSampleCount) {
    rte->portRegLst[2].rte_prc_port_sflw_cnt = 77;
    rte->portRegLst[3].rte_prc_port_sflw_cnt = 78;
    EXPECT_EQ(chip.wr(0x422054, 0), 1);
    EXPECT_EQ(rte->portRegLst[2].rte_prc_port_sflw_cnt, 77u);
    EXPECT_EQ(chip.wr(0x422058, 0x1234), 1);
    EXPECT_EQ(rte->portRegLst[2].rte_prc_port_sflw_cnt, 0u);
    EXPECT_EQ(rte->portRegLst[3].rte_prc_port_sflw_cnt, 78u);
}

TEST_F(HsiTest, TfeRegistersAndMemories) {
    EXPECT_EQ(chip.wr(0xa0030, 0xffffffff), 1);
    EXPECT_EQ(rte->tfePtr->comReg.bank_prtcl_sel, 0x3ffffffu);
    EXPECT_EQ(chip.read(0xa0030), 0x3ffffffu);
    EXPECT_EQ(chip.wr(0xa004c, 1), 0);
    EXPECT_EQ(chip.wr(0x4c00004, 0xffffffff), 1);
    EXPECT_EQ(rte->tfePtr->mem.TFE_AMAP[1], 0xffffffu);
    EXPECT_EQ(chip.read(0x4c00004), 0xffffffu);
    EXPECT_EQ(chip.wr(0x4e00000, 1), 0) << "activity memory";
    EXPECT_EQ(chip.wr(0x4f00000, 1), 0) << "history";
    for (uint32_t w = 0; w < 4; w++)
        EXPECT_EQ(chip.wr(0x557fff0 + 4 * w, 0xffffffff), 1);
    EXPECT_EQ(rte->tfePtr->mem.TFE_TCAM[1441788], 0xfffu);
    EXPECT_EQ(rte->tfePtr->mem.TFE_TCAM[1441791], 0xffffffffu);
}

TEST_F(HsiTest, TaeExactMatchMemories) {
    EXPECT_EQ(chip.wr(0x4920000, 0xffffffff), 1);
    EXPECT_EQ(rte->taePtr->mem.TAE_IPV4_EXM_IDX[0], 0xfffu);
    EXPECT_EQ(chip.read(0x4920000), 0xfffu);
    EXPECT_EQ(chip.wr(0x4940000, 1), 0);
    EXPECT_EQ(chip.wr(0x4ba0000, 1), 0) << "activity memories have no address";
}

TEST_F(HsiTest, TaeRegistersAreWriteOnlyFromTheHost) {
    EXPECT_EQ(chip.wr(0xf0000, 0x12345678), 1);
    EXPECT_EQ(rte->taePtr->BLK_REG_GET("TAE_CTRL_REG"), 0x12345678u);
    EXPECT_EQ(chip.wr(0xf0008, 9), 1);
    EXPECT_EQ(rte->taePtr->BLK_REG_GET("TAE_INT_EN_CLR_REG"), 9u);
    EXPECT_EQ(chip.wr(0xf0058, 0x3fffffff), 1);
    EXPECT_EQ(rte->taePtr->BLK_REG_GET_FLD("TAE_BANK_TRAP_RSN_0_REG", "bank_trap_rsn_0"), 0x3fffffffu);
    EXPECT_EQ(chip.wr(0xf00b4, 0x15), 1);
    EXPECT_EQ(rte->taePtr->BLK_REG_GET_FLD("TAE_BANK_TRAP_RSN_5_REG", "bank_trap_rsn_5"), 0x15u);
    EXPECT_EQ(chip.wr(0xf03e4, 1), 1);
    EXPECT_EQ(chip.wr(0xf03e8, 1), 0);
    EXPECT_EQ(chip.wr(0xf00b8, 1), 0);
    uint32_t data = 42;
    EXPECT_EQ(chip.rd(0xf0000, &data), 0);
    EXPECT_EQ(chip.rd(0x4400000, &data), 0);
    EXPECT_EQ(chip.rd(0x4800000, &data), 0);
    EXPECT_EQ(data, 42u);
    EXPECT_EQ(CmTaeHsiRd(rte, 0xf0000, &data), 1);
    EXPECT_EQ(data, 0x12345678u);
    EXPECT_EQ(CmTaeHsiRd(rte, 0x4400000, &data), 0);
    EXPECT_EQ(CmTaeHsiWr(rte, 0x4790000, 1), 0);
    EXPECT_EQ(CmTaeHsiRsltMemWr(rte, 0x48e4000, 1), 0);
    EXPECT_EQ(CmTaeHsiRsltMemWr(rte, 0x47ffffc, 1), 0);
}

TEST_F(HsiTest, UnknownAddressKeepsTheReader) {
    uint32_t data = 42;
    for (uint32_t addr : {0x0u, 0x50001u, 0x53018u, 0x3820000u, 0x4e00000u, 0x4ba0000u, 0x6000000u, 0xb0000u}) {
        EXPECT_EQ(chip.rd(addr, &data), 0) << std::hex << addr;
        EXPECT_EQ(data, 42u) << std::hex << addr;
    }
}

TEST_F(HsiTest, EachAccessCounts) {
    uint32_t data = 0;
    chip.wr(0x50000, 1);
    chip.wr(0, 1);
    chip.rd(0x50000, &data);
    chip.rd(0, &data);
    EXPECT_EQ(rte->hsiCnt, 4u);
}

TEST_F(HsiTest, DestinationActivityClearsOnRead) {
    mem.RTE_L2_EXM_DA_ACT_SRAM[12287] = 0x55;
    EXPECT_EQ(chip.read(0x3c6bffc), 0x55u);
    EXPECT_EQ(chip.read(0x3c6bffc), 0u);
    EXPECT_EQ(chip.wr(0x3c60000, 7), 1);
    EXPECT_EQ(mem.RTE_L2_EXM_DA_ACT_SRAM[0], 7u);
}

TEST_F(HsiTest, LearnInProgressWritesClearOnlyWhileSoConfigured) {
    EXPECT_EQ(chip.wr(0x3cf6000, 0xff), 1);
    EXPECT_EQ(mem.RTE_L2_SA_LIP_SRAM[0], 0xffu);
    com.rte_l2_sa_lrn_lip_w1c_en = 1;
    EXPECT_EQ(chip.wr(0x3cf6000, 0x10f), 1);
    EXPECT_EQ(mem.RTE_L2_SA_LIP_SRAM[0], 0xf0u);
    mem.RTE_L2_SA_LIP_SRAM[1023] = 3;
    EXPECT_EQ(chip.wr(0x3cf6fff, 1), 1) << "the last byte belongs to the last word";
    EXPECT_EQ(mem.RTE_L2_SA_LIP_SRAM[1023], 2u);
    EXPECT_EQ(chip.wr(0x3cf7000, 0xf), 1);
    EXPECT_EQ(mem.RTE_L2_SA_LIP_CONS_SRAM[0], 0xfu);

    EXPECT_EQ(chip.wr(0x3cf8000, 0xff), 1);
    EXPECT_EQ(mem.RTE_L2_DA_LIP_SRAM[0], 0xffu) << "each side has its own switch";
    com.rte_l2_da_lrn_lip_w1c_en = 1;
    EXPECT_EQ(chip.wr(0x3cf8000, 0x0f), 1);
    EXPECT_EQ(mem.RTE_L2_DA_LIP_SRAM[0], 0xf0u);
}

// Traces and log.

TEST_F(HsiTest, TraceAtDebugLevelFour) {
    rte->dbgEn = 3;
    EXPECT_EQ(printed([&] { chip.wr(0x50068, 1); }), "");
    rte->dbgEn = 4;
    uint32_t data = 0;
    EXPECT_EQ(printed([&] {
                  chip.wr(0x50068, 0x80);
                  chip.rd(0x50068, &data);
                  chip.wr(0x422010, 1);
                  chip.wr(0x3cf6000, 0xff);
              }),
              "HSI   1, WR, addr=0x00050068, data=0x00000080\n"
              "           RTE_L3_IPV6_CFG                  <= 0x00000080\n"
              "  [11: 0]  rte_l3_ipv6_max_len              <= 0x80\n"
              "\n"
              "HSI   2, RD, addr=0x00050068, data=0x00000080, ret=1\n"
              "HSI   3, WR, addr=0x00422010, data=0x00000001\n"
              "  port=02  RTE_PRC_MAC_CLS_CTL              <= 0x00000001\n"
              "  [    0]  rte_prc_mac_cls_profile          <= 0x1\n"
              "\n"
              "HSI   4, WR, addr=0x03cf6000, data=0x000000ff\n");
}

/// A run log in a file without name.
class LogTest : public HsiTest {
protected:
    LogTest() : file(std::tmpfile()) { rte->logFd = fileno(file); }
    ~LogTest() override { std::fclose(file); }

    std::vector<uint32_t> words() {
        std::vector<uint32_t> out(64);
        lseek(rte->logFd, 0, SEEK_SET);
        const ssize_t got = read(rte->logFd, out.data(), 256);
        EXPECT_EQ(got % 4, 0);
        out.resize(static_cast<size_t>(got) / 4);
        return out;
    }

    FILE *file;
};

TEST_F(LogTest, AccessesAreSavedWithTheirResult) {
    uint32_t data = 0;
    chip.wr(0xf8050000, 0xffffffff);
    chip.wr(0x53018, 7);
    chip.rd(0x50000, &data);
    EXPECT_EQ(words(), (std::vector<uint32_t>{1, 0x50000, 0xffffffff, 1, 1, 0x53018, 7, 0, 2, 0x50000, 0x07ff07ff, 1}));
    EXPECT_EQ(rte->logFileSiz, 48u);
}

TEST_F(LogTest, RunsAreSavedWordByWord) {
    const uint32_t beWords[] = {be(1), be(2)};
    EXPECT_EQ(CmRteHsiWrRun(rte, 0x3cf6000, beWords, 2), 1);
    EXPECT_EQ(words(), (std::vector<uint32_t>{1, 0x3cf6000, 1, 1, 1, 0x3cf6004, 2, 1}));
}

TEST_F(LogTest, FrameIsSavedInWholeWords) {
    uint8_t frame[8] = {1, 2, 3, 4, 5, 0, 0, 0};
    CmRteLogSaveFrm(rte, 3, 5, 10240, frame);
    uint32_t saved[2];
    std::memcpy(saved, frame, 8);
    EXPECT_EQ(words(), (std::vector<uint32_t>{3, 3, 5, 8, saved[0], saved[1]}));
    EXPECT_EQ(rte->logFileSiz, 24u);
}

TEST_F(LogTest, LongFrameIsCut) {
    uint8_t frame[16] = {1, 2, 3, 4};
    CmRteLogSaveFrm(rte, 3, 16, 4, frame);
    uint32_t saved;
    std::memcpy(&saved, frame, 4);
    EXPECT_EQ(words(), (std::vector<uint32_t>{3, 3, 16, 4, saved}));
}

TEST_F(LogTest, ResultIsSavedAsItStands) {
    CmRteRslt rslt{};
    rslt.shim0Rslt.ing_vid_12_to_9 = 0xa;
    rslt.saLrnRslt = 0xb;
    CmRteLogSaveRslt(rte, &rslt, 1);
    EXPECT_EQ(rte->logFileSiz, 296u);
    lseek(rte->logFd, 0, SEEK_SET);
    uint32_t record[75] = {};
    ASSERT_EQ(read(rte->logFd, record, sizeof record), 296);
    EXPECT_EQ(record[0], 4u);
    EXPECT_EQ(record[1], 284u);
    EXPECT_EQ(record[2], 0xau);
    EXPECT_EQ(record[72], 0xbu);
    EXPECT_EQ(record[73], 1u);
}

// Learn FIFOs.

TEST_F(HsiTest, EmptySourceFifoReadsAllOnes) {
    EXPECT_EQ(chip.read(0x5010c), 0xffffu);
    EXPECT_EQ(com.rte_l2_sa_lrn_fifo_rd_1, 0xffffffffu);
    EXPECT_EQ(com.rte_l2_sa_lrn_fifo_rd_2, 0xffffffffu);
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_rd_ptr, 0u);
    // The hash is the CRC-32 of ten bytes 0xff, here bit by bit.
    uint32_t crc = 0xffffffff;
    for (int byte = 0; byte < 10; byte++) {
        crc ^= 0xff;
        for (int step = 0; step < 8; step++)
            crc = crc & 1 ? crc >> 1 ^ 0xedb88320 : crc >> 1;
    }
    EXPECT_EQ(com.rte_l2_sa_lrn_fifo_rd_hsh, __builtin_bswap32(~crc) & 0x3fff);
}

TEST_F(HsiTest, DestinationFifoLooksAtTheSourceFlag) {
    com.rte_l2_da_lrn_inf_not_emp = 1;
    com.rte_l2_da_lrn_inf_wr_ptr = 1;
    mem.RTE_L2_DA_LRN_INF_SRAM[0] = 0x1234;
    EXPECT_EQ(chip.read(0x50130), 0xffffu);
    EXPECT_EQ(com.rte_l2_da_lrn_fifo_rd_0, 0xffffu);
    EXPECT_EQ(com.rte_l2_da_lrn_inf_rd_ptr, 0u);

    com.rte_l2_sa_lrn_inf_not_emp = 1;
    EXPECT_EQ(chip.read(0x50130), 0x1234u);
    EXPECT_EQ(com.rte_l2_da_lrn_inf_rd_ptr, 1u);
    EXPECT_EQ(com.rte_l2_da_lrn_inf_not_emp, 0u);
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_not_emp, 1u);
}

TEST_F(HsiTest, SourceFifoHandsOutItsEntry) {
    com.rte_l2_sa_lrn_inf_not_emp = 1;
    com.rte_l2_sa_lrn_inf_ful = 1;
    com.rte_l2_sa_lrn_inf_rd_ptr = 3;
    com.rte_l2_sa_lrn_inf_wr_ptr = 9;
    mem.RTE_L2_SA_LRN_INF_SRAM[6] = 0xa1b2c3d4;
    mem.RTE_L2_SA_LRN_INF_SRAM[7] = 0x11223344;
    EXPECT_EQ(chip.read(0x5010c), 0xa1b2c3d4u);
    EXPECT_EQ(com.rte_l2_sa_lrn_fifo_rd_1, 0u);
    EXPECT_EQ(com.rte_l2_sa_lrn_fifo_rd_2, 0x11223344u);
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_rd_ptr, 4u);
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_not_emp, 1u);
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_ful, 0u);
    const uint8_t key[] = {0xc3, 0xd4, 0, 0, 0, 0, 0x11, 0x22, 0x33, 0x44};
    EXPECT_EQ(com.rte_l2_sa_lrn_fifo_rd_hsh, CmEnetCrcCalc(10, key) & 0x3fff);
}

TEST_F(HsiTest, FifoHashUsesTheSwapControls) {
    com.rte_l2_sa_lrn_inf_not_emp = 1;
    com.rte_l2_sa_lrn_inf_wr_ptr = 9;
    com.rte_l2_sa_lrn_lip_swp_ctl_w0 = 0x1; // bits 1:0 of the first value
    com.rte_l2_sa_lrn_lip_swp_ctl_w1 = 0x2; // bits 3:2 of the second
    mem.RTE_L2_SA_LRN_INF_SRAM[0] = 0x1;
    mem.RTE_L2_SA_LRN_INF_SRAM[1] = 0x4;
    chip.read(0x5010c);
    EXPECT_EQ(com.rte_l2_sa_lrn_fifo_rd_0, 0x1u) << "the data itself is not swapped";
    const uint8_t key[] = {0, 2, 0, 0, 0, 0, 0, 0, 0, 8};
    EXPECT_EQ(com.rte_l2_sa_lrn_fifo_rd_hsh, CmEnetCrcCalc(10, key) & 0x3fff);
}

TEST_F(HsiTest, FifoWrapsAndEmpties) {
    com.rte_l2_sa_lrn_inf_not_emp = 1;
    com.rte_l2_sa_lrn_inf_rd_ptr = 1023;
    com.rte_l2_sa_lrn_inf_wr_ptr = 0;
    chip.read(0x5010c);
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_rd_ptr, 0u);
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_not_emp, 0u);
}

TEST_F(HsiTest, ForcedFlagIsSetAgainWhenTheFifoEmpties) {
    com.rte_l2_sa_lrn_inf_not_emp = 1;
    com.rte_l2_sa_lrn_inf_wr_ptr = 1;
    com.rte_frc_l2_sa_lrn_inf_not_emp = 1;
    chip.read(0x5010c);
    EXPECT_EQ(com.rte_l2_sa_lrn_inf_not_emp, 1u);
}

TEST_F(HsiTest, WildReadPointerReadsZero) {
    com.rte_l2_sa_lrn_inf_not_emp = 1;
    com.rte_l2_sa_lrn_inf_rd_ptr = 0xfffffff0;
    EXPECT_EQ(chip.read(0x5010c), 0u);
}

TEST_F(HsiTest, StatusFlagsAreForcedAndNeverCleared) {
    struct Flag {
        uint32_t CmRteHsiComReg::*flag;
        uint32_t CmRteHsiComReg::*force;
    };
    const Flag flags[] = {
        {&CmRteHsiComReg::rte_l2_sa_lrn_inf_ful, &CmRteHsiComReg::rte_frc_l2_sa_lrn_inf_ful},
        {&CmRteHsiComReg::rte_l2_sa_lrn_inf_almost_ful, &CmRteHsiComReg::rte_frc_l2_sa_lrn_inf_almost_ful},
        {&CmRteHsiComReg::rte_l2_sa_lrn_inf_not_emp, &CmRteHsiComReg::rte_frc_l2_sa_lrn_inf_not_emp},
        {&CmRteHsiComReg::rte_l2_da_lrn_inf_ful, &CmRteHsiComReg::rte_frc_l2_da_lrn_inf_ful},
        {&CmRteHsiComReg::rte_l2_da_lrn_inf_almost_ful, &CmRteHsiComReg::rte_frc_l2_da_lrn_inf_almost_ful},
        {&CmRteHsiComReg::rte_l2_da_lrn_inf_not_emp, &CmRteHsiComReg::rte_frc_l2_da_lrn_inf_not_emp},
    };
    for (const Flag &chosen : flags) {
        CmRteHsiComReg reg{};
        reg.*chosen.force = 1;
        CmRteNorIntr(&reg);
        for (const Flag &flag : flags)
            EXPECT_EQ(reg.*flag.flag, flag.flag == chosen.flag ? 1u : 0u);
        reg.*chosen.force = 0;
        for (uint32_t enable : {0u, 0x3fu}) {
            reg.rte_nor_int_en_set = enable;
            CmRteNorIntr(&reg);
            EXPECT_EQ(reg.*chosen.flag, 1u);
        }
    }
}

// ACL TCAM and results.

/// Writes `cnt` words from `addr` on, word i being `base` + i.
void writeWords(Chip &chip, uint32_t addr, uint32_t cnt, uint32_t base) {
    for (uint32_t i = 0; i < cnt; i++)
        ASSERT_EQ(chip.wr(addr + 4 * i, base + i), 1) << std::hex << addr + 4 * i;
}

/// The key that holds the words `first` to `first` + 7 in the order of their addresses, highest first.
Key keyOf(uint32_t first) {
    Key key;
    for (uint32_t w = 0; w < 8; w++)
        key[w] = first + 7 - w;
    return key;
}

TEST_F(HsiTest, NarrowBanksTakeSixteenWordsAnEntry) {
    chip.wr(0xf0030, 0);
    for (int bank = 0; bank < 30; bank++) {
        for (int half = 0; half < (bank < 12 ? 2 : 1); half++) {
            const uint32_t last = bank < 12 ? 2047 : 511;
            for (uint32_t entry : {0u, last / 2, last}) {
                const uint32_t b = static_cast<uint32_t>(bank), h = static_cast<uint32_t>(half);
                const uint32_t addr =
                    (bank < 12 ? 0x4400000 + (b << 18 | h << 17) : 0x4700000 + ((b - 12) << 15)) + (entry << 6);
                const uint32_t base = 0x10000000 * (h + 1) + (b << 20) + (entry << 8);
                const Key before = chip.y(bank, half, entry);
                writeWords(chip, addr, 15, base);
                EXPECT_EQ(chip.y(bank, half, entry), before) << "the last word stores the entry";
                writeWords(chip, addr + 60, 1, base + 15);
                EXPECT_EQ(chip.y(bank, half, entry), keyOf(base)) << bank << " " << half << " " << entry;
                EXPECT_EQ(chip.x(bank, half, entry), keyOf(base + 8)) << bank << " " << half << " " << entry;
            }
        }
    }
}

TEST_F(HsiTest, WidePairsSpreadAnEntryOverTwoBanks) {
    chip.wr(0xf0030, 0x7fff);
    for (uint32_t pair = 0; pair < 15; pair++) {
        const bool large = pair < 6;
        for (uint32_t half = 0; half < (large ? 2u : 1u); half++) {
            const uint32_t last = large ? 2047 : 511;
            for (uint32_t entry : {0u, last / 2, last}) {
                const uint32_t addr =
                    (large ? 0x4400000 + (pair << 19 | half << 18) : 0x4700000 + ((pair - 6) << 16)) + (entry << 7);
                const uint32_t base = 0x10000000 * (half + 1) + (pair << 20) + (entry << 8);
                writeWords(chip, addr, 32, base);
                const int even = static_cast<int>(2 * pair), h = static_cast<int>(half);
                EXPECT_EQ(chip.y(even, h, entry), keyOf(base)) << pair << " " << half << " " << entry;
                EXPECT_EQ(chip.y(even + 1, h, entry), keyOf(base + 8));
                EXPECT_EQ(chip.x(even, h, entry), keyOf(base + 16));
                EXPECT_EQ(chip.x(even + 1, h, entry), keyOf(base + 24));
            }
        }
    }
}

TEST_F(HsiTest, ProtocolRegisterIsReadForEachWord) {
    chip.wr(0xf0030, 0);
    writeWords(chip, 0x4400000, 16, 0x100);
    EXPECT_EQ(chip.y(0, 0, 0), keyOf(0x100));
    chip.wr(0xf0030, 1); // joins banks 0 and 1 alone
    writeWords(chip, 0x4400000, 32, 0x200);
    EXPECT_EQ(chip.y(1, 0, 0), keyOf(0x208));
    writeWords(chip, 0x4480000, 16, 0x300);
    EXPECT_EQ(chip.y(2, 0, 0), keyOf(0x300)) << "the next pair is narrow";
}

TEST_F(HsiTest, ResultsOfAllBanks) {
    for (uint32_t bank = 0; bank < 30; bank++) {
        const uint32_t start = bank < 12 ? 0x4800000 + 0x10000 * bank : 0x48c0000 + 0x2000 * (bank - 12);
        const uint32_t last = bank < 12 ? 4095 : 511;
        const int b = static_cast<int>(bank);
        for (uint32_t entry : {0u, last / 2, last}) {
            const uint32_t base = 0xabcd0000 + (bank << 8) + (entry & 0xf0);
            writeWords(chip, start + 16 * entry, 3, base);
            EXPECT_EQ(chip.rslt(b, entry), (std::array<uint32_t, 4>{})) << "the last word stores the entry";
            writeWords(chip, start + 16 * entry + 12, 1, base + 3);
            // 104 bits: the highest word keeps eight of them.
            EXPECT_EQ(chip.rslt(b, entry), (std::array<uint32_t, 4>{base + 3, base + 2, base + 1, base & 0xff}))
                << bank << " " << entry;
        }
    }
    EXPECT_EQ(chip.wr(0x48e3ffc, 1), 1);
    EXPECT_EQ(chip.wr(0x48e4000, 1), 0);
}

TEST_F(HsiTest, ResultFieldsReadByName) {
    chip.wr(0x4800000, 0x01);       // bits 103:96: dscp_en
    chip.wr(0x4800004, 0x00000080); // bits 95:64: trap_en is bit 71
    chip.wr(0x4800008, 0x00010002); // bits 63:32: sts_sflow_idx 1, mctid_trill_da 2
    chip.wr(0x480000c, 0x80000007); // bits 31:0: span_en, l2_ing_prio 7
    EmbeddedMemory *rslt = rte->taePtr->getAclRsltBlockPointer(0);
    EXPECT_EQ(rslt->readEntryField(0, "dscp_en"), 1u);
    EXPECT_EQ(rslt->readEntryField(0, "trap_en"), 1u);
    EXPECT_EQ(rslt->readEntryField(0, "sts_sflow_idx"), 1u);
    EXPECT_EQ(rslt->readEntryField(0, "mctid_trill_da"), 2u);
    EXPECT_EQ(rslt->readEntryField(0, "span_en"), 1u);
    EXPECT_EQ(rslt->readEntryField(0, "l2_ing_prio"), 7u);
    EXPECT_EQ(rslt->readEntryField(0, "prio_en"), 0u);
}

// Runs.

/// Every word of both chips that an access could have changed.
void expectSameChip(const Chip &a, const Chip &b) {
    EXPECT_EQ(a.rte->hsiCnt, b.rte->hsiCnt);
    EXPECT_EQ(std::memcmp(a.rte->portRegLst, b.rte->portRegLst, sizeof a.rte->portRegLst), 0);
    EXPECT_EQ(std::memcmp(&a.rte->comReg, &b.rte->comReg, sizeof a.rte->comReg), 0);
    EXPECT_EQ(std::memcmp(&a.rte->mem, &b.rte->mem, sizeof a.rte->mem), 0);
    EXPECT_EQ(std::memcmp(&a.rte->tfePtr->mem, &b.rte->tfePtr->mem, sizeof a.rte->tfePtr->mem), 0);
    EXPECT_EQ(std::memcmp(&a.rte->tfePtr->comReg, &b.rte->tfePtr->comReg, sizeof a.rte->tfePtr->comReg), 0);
    EXPECT_EQ(std::memcmp(&a.rte->taePtr->mem, &b.rte->taePtr->mem, sizeof a.rte->taePtr->mem), 0);
    for (const auto &[name, reg] : a.rte->taePtr->RegCollection)
        EXPECT_EQ(reg->getWord(), b.rte->taePtr->BLK_REG_GET(name.c_str())) << name;
    for (int bank = 0; bank < 30; bank++) {
        for (int half = 0; half < (bank < 12 ? 2 : 1); half++) {
            const EmbeddedMemoryArray &rowsA = *a.rte->taePtr->getAclTcamBlockPointer(bank, half)->pMemXY;
            const EmbeddedMemoryArray &rowsB = *b.rte->taePtr->getAclTcamBlockPointer(bank, half)->pMemXY;
            for (uint32_t w = 0; w < 8; w++)
                EXPECT_EQ(std::memcmp(rowsA.plane(w), rowsB.plane(w), 4 * size_t{rowsA.memSize}), 0) << bank;
        }
        for (uint32_t entry = 0; entry < (bank < 12 ? 4096u : 512u); entry += entry < 16 ? 1 : 37)
            ASSERT_EQ(a.rslt(bank, entry), b.rslt(bank, entry)) << bank << " " << entry;
    }
}

struct RunCase {
    uint32_t addr;
    uint32_t cnt;
};

/// The runs through one chip, the same words one by one through another.
void checkRuns(const std::vector<RunCase> &runs, uint32_t joinedPairs, uint32_t w1c) {
    Chip byRun, bySingle;
    RandomWords rng(99);
    std::vector<std::vector<uint32_t>> beWords;
    for (const RunCase &run : runs) {
        beWords.emplace_back(run.cnt);
        for (uint32_t &word : beWords.back())
            word = static_cast<uint32_t>(rng());
    }
    // Both start from the same hold registers.
    const auto prime = [&](Chip &chip) {
        chip.wr(0xf0030, joinedPairs);
        chip.rte->comReg.rte_l2_sa_lrn_lip_w1c_en = w1c;
        chip.rte->comReg.rte_l2_da_lrn_lip_w1c_en = w1c;
        for (uint32_t w = 0; w < 32; w++) {
            chip.wr(0x3ca0000 + 4 * w, w);
            chip.wr(0x5000000 + 4 * w, w);
            chip.wr(0x4a80000 + 4 * w, w);
            chip.wr(0x4400000 + 4 * w, w);
            chip.wr(0x4800000 + 4 * w, w);
        }
    };
    prime(byRun);
    std::vector<int> rets;
    for (size_t i = 0; i < runs.size(); i++)
        rets.push_back(CmRteHsiWrRun(byRun.rte.get(), runs[i].addr, beWords[i].data(), runs[i].cnt));
    prime(bySingle);
    for (size_t i = 0; i < runs.size(); i++) {
        int ret = 1;
        for (uint32_t w = 0; w < runs[i].cnt; w++)
            ret &= bySingle.wr(runs[i].addr + 4 * w, be(beWords[i][w]));
        EXPECT_EQ(rets[i], ret) << std::hex << runs[i].addr;
    }
    expectSameChip(byRun, bySingle);
}

const std::vector<RunCase> kRuns = {
    {0x50000, 12309 / 4 + 8}, // common registers with their holes
    {0x402000, 60},           // a port's registers and what follows
    {0xa0000, 140},           // TFE registers
    {0x2dffff8, 6},           // over the end of a memory into the next one
    {0x2800004, 37},          // from the middle of an entry
    {0x3c6bff8, 8},           // into a hole
    {0x3cf5ff8, 3000},        // over the learn-in-progress memories
    {0x3ca0004, 200},         // entries of 32 words
    {0xf8000000 + 0x3d09f00, 700},
    {0x4c00000, 100},
    {0x4d5fff8, 4},
    {0x557fff4, 6},
    {0x4901ff4, 8},
    {0x4a80010, 70},
    {0x4400004, 100}, // ACL TCAM from the middle of an entry
    {0x447ffc0, 64},  // from one pair of banks into the next
    {0x46fff80, 200}, // from the large banks into the small ones
    {0x478ff80, 64},  // over the end
    {0x4800008, 30},  // results from the middle of an entry
    {0x480fff4, 10},  // from one bank into the next
    {0x48bfff4, 10},
    {0x48e3ff0, 8},   // over the end
    {0xf0000, 0x100}, // TAE registers and what follows; it changes the pairs
    {0x4400000, 256},
};

TEST(HsiRun, LeavesWhatSingleWritesLeaveInNarrowBanks) {
    checkRuns(kRuns, 0, 0);
}

TEST(HsiRun, LeavesWhatSingleWritesLeaveInWidePairs) {
    checkRuns(kRuns, 0x7fff, 1);
}

TEST(HsiRun, LeavesWhatSingleWritesLeaveInMixedPairs) {
    checkRuns({kRuns.begin() + 4, kRuns.end()}, 0x2a55, 0);
}

TEST_F(HsiTest, RunOfNothingChangesNothing) {
    EXPECT_EQ(CmRteHsiWrRun(rte, 0x50000, nullptr, 0), 1);
    EXPECT_EQ(rte->hsiCnt, 0u);
}

TEST_F(HsiTest, TracedRunShowsEachWord) {
    rte->dbgEn = 4;
    const uint32_t beWords[] = {be(1), be(2)};
    EXPECT_EQ(printed([&] { CmRteHsiWrRun(rte, 0x3cf6000, beWords, 2); }),
              "HSI   0, WR, addr=0x03cf6000, data=0x00000001\n"
              "HSI   1, WR, addr=0x03cf6004, data=0x00000002\n");
}

} // namespace
