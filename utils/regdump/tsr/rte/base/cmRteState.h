#pragma once
// What a model has beside its registers and memories, and which model the calling thread works on.

#include "base/cmOut.h"
#include "base/cmRte.h"
#include "tsr_reg.h"

#include <cstdint>

class CmRteJournal;
class CmTcamIdxs;
class DmpOverlay;

/// The hold registers of the host interface: each memory access keeps its half-written or latched entry here.
struct CmRteHsiHold {
    static constexpr uint32_t kWords = 32; // of the widest entry

    uint32_t rteWr[kWords], rteRd[kWords];
    uint32_t tfeWr[kWords], tfeRd[kWords];
    uint32_t taeWr[kWords], taeRd[kWords];
    uint32_t taeTcam[kWords];
    uint32_t taeRslt[4];
};

/// The result of the last CkIpv6Len, for PrcL3Ipv6EofErr.
struct CmRtePrcIpv6 {
    uint32_t detIpv6EofErr, detIpv6MlenErr;
};

/// The settings and counts of TbMsg.
struct CmRteMsg {
    int debugEna = 1;
    int exitOnErr = 1;
    int stopOnErr = 0;
    int suppressMsg = 0;
    char *argv0 = nullptr;
    int errCnt = 0;
    int wrnCnt = 0;
};

/// Where the text goes: to the standard streams, else to the sink, else nowhere.
struct CmRteOut {
    bool toStdio = true;
    CmSink *sink = nullptr;
};

/// The state of one model. A program that uses the stages without a model has one for each thread.
struct CmRteState {
    CmRteStat stat{}; // the frame that runs or ran last
    CmRteHsiHold hold{};
    int32_t sflow_lfsr[TSR_PORTS] = {}; // the port sFlow sequence, one word an ingress port
    uint32_t eqs_seq[32] = {};          // the sequence counters of EQS, one a logical port
    int eqsVerbose = 0;
    CmRtePrcIpv6 prcIpv6{};
    CmRteMsg msg;
    CmRteOut out;
    uint32_t dropRsn = 0;            // the reason for which the model dropped the last frame, kNoRsn for none
    bool timesAcl = true;            // acl_cpu_time is kept: two system calls a bank
    CmRteJournal *journal = nullptr; // notes what a frame overwrites; null: nothing is noted
    DmpOverlay *dmp = nullptr;       // changed words of the image that the stages read; null: none
    CmTcamIdxs *idxs = nullptr;      // the indexes of the model's ternary memories; null: searches walk
};

/// The model that the calling thread works on, null for none.
extern constinit thread_local CmRteState *cmRteState;

/// The state of the thread without a model.
CmRteState &cmOwnState();

/// The state that the stages of the calling thread use.
inline CmRteState &cmState() {
    return cmRteState ? *cmRteState : cmOwnState();
}
