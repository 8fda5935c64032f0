#pragma once
// A frame in front of the result stage.

#include "lue/cmRteLue.h"
#include "model_fixture.h"
#include "roc/cmRteRoc.h"

#include <cstdio>
#include <string>

/// Fixture for the tests of the result stage: frame 7 of port 3, which layer 2 forwards to group 5.
class RocTest : public ModelTest {
protected:
    RocTest() : portReg(rte->portRegLst[3]) { start(); }

    /// Clears the per-frame record and sets up the forwarded frame again.
    void start() {
        resetStat(3);
        stat.frmIdx = 7;
        stat.l2PselRsltTyp = RSLT_FWD;
        stat.l2PselEgidMgid = 5;
        rslt = {};
    }

    /// Makes the frame one that layer 3 routes, with verdict `rsltTyp`.
    void routeIpv4(uint32_t rsltTyp = RSLT_FWD) {
        stat.l3RteRqd = 1;
        stat.l3IpVer = 4;
        stat.l3PselRsltTyp = rsltTyp;
    }

    void run() { CmRteRoc(&stat); }

    /// Runs the stage with its trace on; returns the trace.
    std::string traced() {
        verbose(true);
        return printed([&] { CmRteRoc(&stat); });
    }

    /// Runs `fn` with the trace on; returns the trace.
    std::string tracedBy(const std::function<void()> &fn) {
        verbose(true);
        return printed(fn);
    }

    /// `text` behind the prefix of the fixture's frame.
    static std::string line(const std::string &text) { return "CM port=3, frameIdx=7>> " + text; }

    /// One line of a result block.
    static std::string prt(const std::string &name, uint32_t value) {
        char hex[16];
        std::snprintf(hex, sizeof hex, "%08x", value);
        return name + std::string(30 - name.size(), ' ') + " = 0x" + hex + "\n";
    }

    static size_t count(const std::string &text, const std::string &part) {
        size_t cnt = 0;
        for (size_t pos = text.find(part); pos != std::string::npos; pos = text.find(part, pos + part.size()))
            cnt++;
        return cnt;
    }

    CmRteHsiPortReg &portReg; // port 3
};
