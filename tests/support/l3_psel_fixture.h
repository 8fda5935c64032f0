#pragma once
// The layer-3 path selection alone: what it calls in other sources is replaced here by functions that record the call
// and hand back what the test prepared. They are definitions, so one source of a program includes this header.

#include "lue/cmRteLue.h"
#include "lue/cmRteLueL3.h"
#include "model_fixture.h"
#include "tae/cmTae.h"

#include <algorithm>
#include <array>

inline constexpr uint32_t kPassThru = 0x3fff1;
inline constexpr uint32_t kDrop = 0x3fff2;
inline constexpr uint32_t kAclDrop = 0x3fff3;

/// What the stage called and what it is to get back.
struct Callees {
    std::vector<std::string> calls;
    tL3AclInterface intf{};
    std::array<uint32_t, 16> fixedKey{};
    std::array<uint32_t, 9> exmKey{};
    std::array<std::array<uint32_t, 8>, 4> flexKeys{};
    L3PselRslt aclRslt{};
    uint32_t trapRsn = 0;
    uint32_t overTurn = 0;
    std::function<void(CmRteStat *)> ctrl;
    std::function<void(CmRteStat *)> da;
};
inline Callees callees;

void L3CugidLu(CmRteStat *statPtr) {
    callees.calls.emplace_back("L3CugidLu");
    statPtr->l3PselCugid = 0x123;
}

void L3McuidLu(CmRteStat *statPtr) {
    callees.calls.emplace_back("L3McuidLu");
    statPtr->l3PselMcuid = 0x456;
}

void buildL3AclTcamKey(CmRteStat *, uint32_t *key) {
    callees.calls.emplace_back("buildL3AclTcamKey");
    for (uint32_t i = 0; i < 16; i++)
        key[i] = 0x1000 + i;
}

void buildL3PSelExmKey(CmRteStat *, uint32_t *key) {
    callees.calls.emplace_back("buildL3PSelExmKey");
    for (uint32_t i = 0; i < 9; i++)
        key[i] = 0x2000 + i;
}

void buildL3AclTcamFlexKey(CmRteStat *, uint32_t *key, uint32_t profile) {
    callees.calls.push_back("buildL3AclTcamFlexKey " + std::to_string(profile));
    for (uint32_t i = 0; i < 8; i++)
        key[i] = 0x3000 + 0x100 * profile + i;
}

int32_t CmTaeLkup::lookupL3Acl(tL3AclInterface &intf, L3PselRslt *out) {
    callees.calls.emplace_back("lookupL3Acl");
    callees.intf = intf;
    std::copy_n(intf.tcamFixedKey, 16, callees.fixedKey.begin());
    std::copy_n(intf.exmKey, 9, callees.exmKey.begin());
    for (uint32_t i = 0; i < 4; i++)
        std::copy_n(intf.tcamFlexKey[i], 8, callees.flexKeys[i].begin());
    *out = callees.aclRslt;
    intf.trap_rsn = callees.trapRsn & 0x3f;
    intf.ipMcastDropOverTurn = callees.overTurn & 1;
    return 0;
}

void L3CtrlCls(CmRteStat *statPtr) {
    callees.calls.emplace_back("L3CtrlCls");
    if (callees.ctrl)
        callees.ctrl(statPtr);
}

void L3NextHopLu(CmRteStat *statPtr, uint32_t isDa) {
    callees.calls.push_back("L3NextHopLu " + std::to_string(isDa));
    if (isDa && callees.da)
        callees.da(statPtr);
}

/// Fixture of the layer-3 path selection with the stand-ins above.
class LueL3Psel : public ModelTest {
protected:
    LueL3Psel() : tae(std::make_unique<CmTaeLkup>(0, nullptr, nullptr, nullptr)) { ready(4); }

    /// A fresh frame of IP version `ver` (0: none) at port 2.
    void ready(uint32_t ver) {
        callees = {};
        resetStat(2);
        stat.taePtr = tae.get();
        stat.frmIdx = 9;
        stat.l3IpVer = ver;
        com.rte_l3_passthru = kPassThru;
        com.rte_l3_drop = kDrop;
        com.rte_l3_acl_drop = kAclDrop;
        verbose(true);
    }
    void readyFcoe() {
        ready(0);
        stat.l2FcoeFound = 1;
    }

    std::string run() {
        return printed([&] { L3Psel(&stat); });
    }
    bool called(const std::string &name) const {
        return std::count(callees.calls.begin(), callees.calls.end(), name) != 0;
    }
    std::string line(const std::string &text) const { return "CM port=2, frameIdx=9>> " + text + "\n"; }
    /// Whether the line is printed, once.
    bool prints(const std::string &out, const std::string &text) const {
        const size_t at = out.find(line(text));
        return at != std::string::npos && out.find(line(text), at + 1) == std::string::npos;
    }

    std::unique_ptr<CmTaeLkup> tae;
    const std::string start = line("START L3_PSEL PROCESSING ");
    const std::string idleSkip =
        line("Skip [L3NextHopLu], l3Rqd=0 aclDrop=0 drop=0 rteEnErr=0 trap=0 l3_ctl_trap=0 noFwd=0");
    const std::string wipe = "wipe out trap from LPM due to L3 ACL or passthrouogh";
};
