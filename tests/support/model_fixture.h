#pragma once
// A chip model with all registers and memories zero, and one frame in front of its stages.

#include "base/cmRte.h"
#include "base/cmUtl.h"

#include <cstdint>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

/// Fixture for the tests of single stages: a zeroed chip, and the per-frame record as the frame driver hands it to the
/// first stage. `verbose(true)` turns the trace on.
class ModelTest : public testing::Test {
protected:
    ModelTest()
        : chip(std::make_unique<CmRte>()), rte(chip.get()), com(rte->comReg), port(rte->portRegLst[0]), mem(rte->mem),
          stat(*CmRteGetStat()) {
        CmEnetCrcInit();
        rte->logFd = -1;
        resetStat();
    }

    /// Clears the per-frame record and points it at the chip; the frame arrives at port `phyPort`.
    void resetStat(uint32_t phyPort = 0) {
        std::memset(&stat, 0, sizeof stat);
        stat.macInfPtr = &macInf;
        stat.portRegPtr = &rte->portRegLst[phyPort];
        stat.comRegPtr = &com;
        stat.memPtr = &mem;
        stat.extCfgPtr = &rte->extCfg;
        stat.ingPhyPort = phyPort;
        stat.rsltPtr = &rslt;
        stat.frm = frameBuf.data();
    }

    /// Hands over `bytes` followed by four bytes of FCS place; the buffer has cleared room behind them, as the frame
    /// driver's has.
    void setFrame(const std::vector<uint8_t> &bytes) {
        frameBuf.assign(bytes.size() + 4 + 64, 0);
        std::copy(bytes.begin(), bytes.end(), frameBuf.begin());
        stat.frm = frameBuf.data();
        stat.frmLen = static_cast<uint32_t>(bytes.size()) + 4;
        stat.wireFrmLen = stat.frmLen;
    }

    /// Cuts the frame to `len` bytes, FCS included.
    void setFrameLen(uint32_t len) {
        stat.frmLen = len;
        stat.wireFrmLen = len;
    }

    void verbose(bool on) { stat.dbgLvl = on ? 4 : 0; }

    /// What `fn` prints on standard output.
    static std::string printed(const std::function<void()> &fn) {
        testing::internal::CaptureStdout();
        fn();
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }

    std::unique_ptr<CmRte> chip;
    CmRte *rte;
    CmRteHsiComReg &com;
    CmRteHsiPortReg &port; // port 0
    CmRteHsiMem &mem;
    CmRteStat &stat;
    CmRteMacInf macInf{};
    CmRteRslt rslt{};
    std::vector<uint8_t> frameBuf = std::vector<uint8_t>(128, 0);
};
