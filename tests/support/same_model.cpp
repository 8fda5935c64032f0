#include "same_model.h"

#include "base/cmRteState.h"
#include "dmp_overlay.h"
#include "tae/cmTae.h"
#include "tfe/cmTfe.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

/// Compares two pieces of plain words.
template <class T> std::string words(const char *name, const T &a, const T &b) {
    if (std::memcmp(&a, &b, sizeof a) == 0)
        return "";
    const auto *x = reinterpret_cast<const uint32_t *>(&a);
    const auto *y = reinterpret_cast<const uint32_t *>(&b);
    size_t i = 0;
    while (i < sizeof a / 4 && x[i] == y[i])
        i++;
    return std::string(name) + ": word " + std::to_string(i) + " is " + std::to_string(x[i]) + " and " +
           std::to_string(y[i]);
}

std::string taeObjects(const CmTaeLkup &a, const CmTaeLkup &b) {
    for (const auto &[name, reg] : a.RegCollection) {
        if (reg->getWord() != b.RegCollection.find(name)->second->getWord())
            return name;
    }
    for (const auto &[name, ram] : a.RamCollection) {
        const EmbeddedMemory &other = *b.RamCollection.find(name)->second;
        for (uint32_t addr = 0; addr < ram->memSize(); addr++) {
            uint32_t x[4] = {}, y[4] = {};
            ram->readRaw(addr, x);
            other.readRaw(addr, y);
            if (std::memcmp(x, y, sizeof x) != 0 || ram->kept(addr) != other.kept(addr))
                return name + ": entry " + std::to_string(addr);
        }
    }
    for (const auto &[name, tcam] : a.TcamCollection) {
        const EmbeddedMemoryArray &x = *tcam->pMemXY, &y = *b.TcamCollection.find(name)->second->pMemXY;
        for (uint32_t w = 0; w < x.nwords; w++) {
            if (std::memcmp(x.plane(w), y.plane(w), x.memSize * sizeof(uint32_t)) != 0)
                return name + ": plane " + std::to_string(w);
        }
    }
    return "";
}

std::string tae(const CmTaeLkup &a, const CmTaeLkup &b) {
    if (std::string found = words("TAE memories", a.mem, b.mem); !found.empty())
        return found;
    if (a.dbgLvl != b.dbgLvl || a.m_nL2AclLkupsCnt != b.m_nL2AclLkupsCnt || a.igPort != b.igPort ||
        a.frmIdx != b.frmIdx)
        return "TAE frame";
    if (std::string found = words("bnkTrapRsnLst", a.bnkTrapRsnLst, b.bnkTrapRsnLst); !found.empty())
        return found;
    return taeObjects(a, b);
}

/// What TbMsg counts and is set to.
std::string messages(const CmRteMsg &a, const CmRteMsg &b) {
    const bool same = a.debugEna == b.debugEna && a.exitOnErr == b.exitOnErr && a.stopOnErr == b.stopOnErr &&
                      a.suppressMsg == b.suppressMsg && a.errCnt == b.errCnt && a.wrnCnt == b.wrnCnt;
    return same ? "" : "TbMsg";
}

/// The changed words of the image, changes of frames among them.
std::string dumpWords(const DmpOverlay &a, const DmpOverlay &b) {
    return std::equal(a.from(0), a.end(), b.from(0), b.end()) ? "" : "changed words of the dump";
}

} // namespace

std::string modelDifference(const Model &a, const Model &b) {
    const CmRte &x = a.chip(), &y = b.chip();
    const CmRteState &s = a.state(), &t = b.state();
    for (const std::string &found : {
             words("common registers", x.comReg, y.comReg),
             words("port registers", x.portRegLst, y.portRegLst),
             words("RTE memories", x.mem, y.mem),
             words("extCfg", x.extCfg, y.extCfg),
             words("dbgEn", x.dbgEn, y.dbgEn),
             words("hsiCnt", x.hsiCnt, y.hsiCnt),
             words("frmCntLst", x.frmCntLst, y.frmCntLst),
             words("TFE registers", x.tfePtr->comReg, y.tfePtr->comReg),
             words("TFE memories", x.tfePtr->mem, y.tfePtr->mem),
             words("TFE level", x.tfePtr->dbgLvl, y.tfePtr->dbgLvl),
             tae(*x.taePtr, *y.taePtr),
             words("hold registers", s.hold, t.hold),
             words("sflow_lfsr", s.sflow_lfsr, t.sflow_lfsr),
             words("eqs_seq", s.eqs_seq, t.eqs_seq),
             words("eqsVerbose", s.eqsVerbose, t.eqsVerbose),
             words("dropRsn", s.dropRsn, t.dropRsn),
             words("prcIpv6", s.prcIpv6, t.prcIpv6),
             messages(s.msg, t.msg),
             dumpWords(*s.dmp, *t.dmp),
         }) {
        if (!found.empty())
            return found;
    }
    return "";
}
