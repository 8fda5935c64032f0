#include "model.h"

#include "base/cmRteJournal.h"
#include "base/cmRteState.h"
#include "base/cmTcamIdxs.h"
#include "cmStop.h"
#include "dmp_overlay.h"
#include "hsi/cmRteHsi.h"
#include "model_watch.h"
#include "prc/cmRtePrc.h"
#include "tae/cmTae.h"
#include "tfe/cmTfe.h"
#include "tsr_load.h"
#include "tsr_reg.h"
#include "tsr_route.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <type_traits>

namespace {

/// What the ACL engine and the prefix search keep of the frame that ran last.
struct EngineFrame {
    uint32_t taeDbgLvl, tfeDbgLvl;
    uint32_t m_nL2AclLkupsCnt, igPort, frmIdx;
    uint32_t bnkTrapRsnLst[TAE_BANKS];
};

/// What changes in place besides the memories.
struct Regs {
    CmRteHsiComReg com;
    decltype(CmRte::portRegLst) port;
    decltype(CmRte::frmCntLst) frmCntLst;
    uint32_t dbgEn, hsiCnt;
    decltype(CmRteState::sflow_lfsr) sflow_lfsr;
    decltype(CmRteState::eqs_seq) eqs_seq;
    int eqsVerbose;
    CmRtePrcIpv6 prcIpv6;
    uint32_t dropRsn;
    CmRteMsg msg;
    CmRteHsiHold hold;
    EngineFrame engine;
};

template <class T> void copy(T &to, const T &from) {
    static_assert(std::is_trivially_copyable_v<T>);
    std::memcpy(&to, &from, sizeof to);
}

EngineFrame engineFrame(const CmRte &chip) {
    const CmTaeLkup &tae = *chip.taePtr;
    EngineFrame frame{tae.dbgLvl, chip.tfePtr->dbgLvl, tae.m_nL2AclLkupsCnt, tae.igPort, tae.frmIdx, {}};
    std::copy(std::begin(tae.bnkTrapRsnLst), std::end(tae.bnkTrapRsnLst), frame.bnkTrapRsnLst);
    return frame;
}

void setEngineFrame(CmRte &chip, const EngineFrame &frame) {
    CmTaeLkup &tae = *chip.taePtr;
    tae.dbgLvl = frame.taeDbgLvl;
    chip.tfePtr->dbgLvl = frame.tfeDbgLvl;
    tae.m_nL2AclLkupsCnt = frame.m_nL2AclLkupsCnt;
    tae.igPort = frame.igPort;
    tae.frmIdx = frame.frmIdx;
    std::copy(std::begin(frame.bnkTrapRsnLst), std::end(frame.bnkTrapRsnLst), tae.bnkTrapRsnLst);
}

/// The flags that the parser's classification of types leaves behind: no frame sees those of the one before it.
void clearEtypFlags() {
    etypIsVld = etypIsLen = etypIsMoreStag = etypIsStag = 0;
    etypIsCtag = etypIsTrillOuterVlan = etypIsTrill = etypIsCnTag = 0;
    etypIsFip = etypIsFcoe = etypIsIpv4 = etypIsIpv6 = etypIsQcn = 0;
}

} // namespace

struct Model::Impl {
    Impl(const tsr_dmp_t *image_, std::span<const DumpWord> changes);
    ~Impl() { freeChip(chip); }
    Impl(const Impl &) = delete;
    Impl &operator=(const Impl &) = delete;

    // The state of the registers as one record; of a frame from `port` alone, what such a frame changes.
    void saveAll(Regs &to) const;
    void restoreAll(const Regs &from);
    void saveFrame(Regs &to, uint32_t port) const;
    void restoreFrame(const Regs &from, uint32_t port);

    /// Where frames are taken back to: the loaded state, or what a stream has left.
    const Regs &base() const { return streamed ? *stream : *loaded; }
    /// From now on frames are taken back to what stands there now.
    void startStream();

    /// Makes what an edit has left the loaded state.
    void settle();
    void undo();
    /// Loads the words at `offsets` anew.
    void reload(const std::set<uint32_t> &offsets);
    void run(uint32_t port, std::span<const uint8_t> frame, const RouteOptions &options, Verdict &verdict);

    const tsr_dmp_t *image;
    std::map<uint32_t, uint32_t> loadChanges;
    std::set<uint32_t> changed; // since the load
    DmpOverlay overlay;
    CmRteJournal journal;
    std::unique_ptr<CmTcamIdxs> idxs;
    CmRteState state;
    CmRte *chip = nullptr;
    std::unique_ptr<Regs> loaded = std::make_unique<Regs>();
    std::unique_ptr<Regs> stream;
    bool streamed = false; // a frame or a host read of a stream has left something
    bool edited = false;   // someone may write into the chip
    Packet packet;
};

namespace {

/// While it lives, the calling thread works on the model with `state` and `chip`, and stops throw.
class Scope {
public:
    Scope(CmRteState &state, CmRte *chip) : state_(cmRteState), mem_(rte_mem), throws_(cmStopThrows) {
        cmRteState = &state;
        rte_mem = chip;
        cmStopThrows = true;
    }
    ~Scope() {
        cmRteState = state_;
        rte_mem = mem_;
        cmStopThrows = throws_;
    }
    Scope(const Scope &) = delete;
    Scope &operator=(const Scope &) = delete;

private:
    CmRteState *state_;
    CmRte *mem_;
    bool throws_;
};

bool isPlace(uint32_t offset) {
    return offset < sizeof(tsr_dmp_t) && offset % 4 == 0;
}

} // namespace

Model::Impl::Impl(const tsr_dmp_t *image_, std::span<const DumpWord> changes) : image(image_) {
    for (const DumpWord &word : changes) {
        if (!isPlace(word.offset))
            continue;
        loadChanges[word.offset] = word.value;
        overlay.set(word.offset, word.value);
    }
    state.out = {.toStdio = false, .sink = nullptr};
    state.dmp = &overlay;
    state.timesAcl = false;
    {
        const Scope scope(state, nullptr);
        chip = loadChip(image, &overlay);
    }
    saveAll(*loaded);
    state.journal = &journal;
    const auto words = [](const auto &memories) {
        return std::span(reinterpret_cast<const uint32_t *>(&memories), sizeof memories / sizeof(uint32_t));
    };
    idxs =
        std::make_unique<CmTcamIdxs>(std::vector{words(chip->mem), words(chip->tfePtr->mem), words(chip->taePtr->mem)});
    state.idxs = idxs.get();
}

void Model::Impl::saveAll(Regs &to) const {
    copy(to.com, chip->comReg);
    copy(to.port, chip->portRegLst);
    copy(to.frmCntLst, chip->frmCntLst);
    to.dbgEn = chip->dbgEn;
    to.hsiCnt = chip->hsiCnt;
    copy(to.sflow_lfsr, state.sflow_lfsr);
    copy(to.eqs_seq, state.eqs_seq);
    to.eqsVerbose = state.eqsVerbose;
    to.prcIpv6 = state.prcIpv6;
    to.dropRsn = state.dropRsn;
    to.msg = state.msg;
    to.hold = state.hold;
    to.engine = engineFrame(*chip);
}

void Model::Impl::restoreAll(const Regs &from) {
    copy(chip->comReg, from.com);
    copy(chip->portRegLst, from.port);
    copy(chip->frmCntLst, from.frmCntLst);
    chip->dbgEn = from.dbgEn;
    chip->hsiCnt = from.hsiCnt;
    copy(state.sflow_lfsr, from.sflow_lfsr);
    copy(state.eqs_seq, from.eqs_seq);
    state.eqsVerbose = from.eqsVerbose;
    state.prcIpv6 = from.prcIpv6;
    state.dropRsn = from.dropRsn;
    state.msg = from.msg;
    state.hold = from.hold;
    setEngineFrame(*chip, from.engine);
}

void Model::Impl::saveFrame(Regs &to, uint32_t port) const {
    to.msg = state.msg;
    if (port >= TSR_PORTS) {
        copy(to.eqs_seq, state.eqs_seq);
        to.eqsVerbose = state.eqsVerbose;
        return;
    }
    copy(to.com, chip->comReg);
    copy(to.port[port], chip->portRegLst[port]);
    to.frmCntLst[port] = chip->frmCntLst[port];
    to.dbgEn = chip->dbgEn;
    to.sflow_lfsr[port] = state.sflow_lfsr[port];
    to.prcIpv6 = state.prcIpv6;
    to.dropRsn = state.dropRsn;
    to.engine = engineFrame(*chip);
}

void Model::Impl::restoreFrame(const Regs &from, uint32_t port) {
    state.msg = from.msg;
    if (port >= TSR_PORTS) {
        copy(state.eqs_seq, from.eqs_seq);
        state.eqsVerbose = from.eqsVerbose;
        return;
    }
    copy(chip->comReg, from.com);
    copy(chip->portRegLst[port], from.port[port]);
    chip->frmCntLst[port] = from.frmCntLst[port];
    chip->dbgEn = from.dbgEn;
    state.sflow_lfsr[port] = from.sflow_lfsr[port];
    state.prcIpv6 = from.prcIpv6;
    state.dropRsn = from.dropRsn;
    setEngineFrame(*chip, from.engine);
}

void Model::Impl::startStream() {
    if (streamed)
        return;
    if (!stream)
        stream = std::make_unique<Regs>();
    *stream = *loaded;
    streamed = true;
}

void Model::Impl::settle() {
    if (!edited)
        return;
    edited = false;
    idxs->writtenAll();
    saveAll(*loaded);
}

void Model::Impl::undo() {
    if (!streamed)
        return;
    journal.undoTo(0);
    chip->taePtr->undoActv(0);
    overlay.undoTo(0);
    restoreAll(*loaded);
    streamed = false;
}

void Model::Impl::reload(const std::set<uint32_t> &offsets) {
    state.journal = nullptr;
    for (const uint32_t offset : offsets)
        reloadWord(chip, image, &overlay, offset);
    state.journal = &journal;
    saveAll(*loaded);
}

void Model::Impl::run(uint32_t port, std::span<const uint8_t> frame, const RouteOptions &options, Verdict &verdict) {
    const int verbose = options.trace != nullptr;
    const bool fromFabric = port >= TSR_PORTS;
    size_t head = 0;
    if (fromFabric) {
        head = std::min<size_t>(frame.size(), kShimBytes);
        std::fill(std::begin(packet.wireShim), std::end(packet.wireShim), 0);
        std::copy_n(frame.begin(), head, packet.wireShim);
    }
    packet.pkt.assign(frame.begin() + static_cast<std::ptrdiff_t>(head), frame.end());
    // A shim that is cut short leaves its length to the frame, as in a frame from the command line.
    packet.pkt_len = static_cast<uint32_t>(fromFabric && head < kShimBytes ? head : packet.pkt.size());
    packet.pkt.resize(packet.pkt_len + Packet::kRoom);
    if (fromFabric) {
        // The overlay takes the words that the stages write: the image stays as it is.
        routeEgress(packet, const_cast<tsr_dmp_t *>(image), verbose, verdict);
    } else {
        clearEtypFlags();
        routeIngress(packet, port, image, verbose, verdict);
    }
}

Model::Model(const tsr_dmp_t *image, std::span<const DumpWord> changes)
    : impl_(std::make_unique<Impl>(image, changes)) {}

Model::~Model() = default;

std::unique_ptr<Model> Model::load(std::span<const uint8_t> image, std::span<const DumpWord> changes) {
    if (image.size() != sizeof(tsr_dmp_t) || reinterpret_cast<uintptr_t>(image.data()) % alignof(tsr_dmp_t) != 0)
        return nullptr;
    return std::make_unique<Model>(reinterpret_cast<const tsr_dmp_t *>(image.data()), changes);
}

Verdict Model::route(uint32_t port, std::span<const uint8_t> frame, const RouteOptions &options) {
    Verdict verdict;
    route(port, frame, options, verdict);
    return verdict;
}

void Model::route(uint32_t port, std::span<const uint8_t> frame, const RouteOptions &options, Verdict &verdict) {
    Impl &m = *impl_;
    m.settle();
    const Scope scope(m.state, m.chip);
    const RowWatch watch(*m.chip, options.observer);
    m.state.out.sink = options.trace;
    if (options.stream)
        m.startStream();
    const size_t journalMark = m.journal.mark(), actvMark = m.chip->taePtr->actvMark(), dmpMark = m.overlay.mark();
    const auto takeBack = [&] {
        m.journal.undoTo(journalMark);
        m.chip->taePtr->undoActv(actvMark);
        m.overlay.undoTo(dmpMark);
        m.restoreFrame(m.base(), port);
    };
    try {
        m.run(port, frame, options, verdict);
    } catch (const CmStopped &stop) {
        verdict = {};
        verdict.kind = VerdictKind::UNDECIDED;
        verdict.fromFabric = port >= TSR_PORTS;
        verdict.message = stop.message;
        return takeBack();
    } catch (...) {
        takeBack();
        throw;
    }
    if (!options.stream)
        return takeBack();
    m.saveFrame(*m.stream, port);
    m.journal.compact();
    m.overlay.compact();
}

void Model::undo() {
    impl_->settle();
    impl_->undo();
}

void Model::change(std::span<const DumpWord> words) {
    Impl &m = *impl_;
    m.settle();
    m.undo();
    const Scope scope(m.state, m.chip);
    std::set<uint32_t> offsets;
    for (const DumpWord &word : words) {
        if (!isPlace(word.offset))
            continue;
        m.overlay.set(word.offset, word.value);
        offsets.insert(word.offset);
    }
    m.changed.insert(offsets.begin(), offsets.end());
    m.reload(offsets);
}

void Model::revert() {
    Impl &m = *impl_;
    m.settle();
    m.undo();
    const Scope scope(m.state, m.chip);
    for (const uint32_t offset : m.changed) {
        const auto before = m.loadChanges.find(offset);
        if (before != m.loadChanges.end())
            m.overlay.set(offset, before->second);
        else
            m.overlay.erase(offset);
    }
    m.reload(m.changed);
    m.changed.clear();
}

bool Model::read(uint32_t addr, uint32_t *value) {
    Impl &m = *impl_;
    m.settle();
    const Scope scope(m.state, m.chip);
    m.startStream();
    const bool known = CmRteHsiRd(m.chip, addr, value) != 0;
    m.saveAll(*m.stream);
    return known;
}

uint32_t Model::word(uint32_t offset) const {
    if (!isPlace(offset))
        return 0;
    const uint32_t *changed = impl_->overlay.find(offset);
    return changed ? *changed : imageWord(impl_->image, offset);
}

const CmRte &Model::chip() const {
    return *impl_->chip;
}

const CmRteStat &Model::stat() const {
    return impl_->state.stat;
}

const CmRteState &Model::state() const {
    return impl_->state;
}

CmRte &Model::edit() {
    impl_->settle();
    impl_->undo();
    impl_->edited = true;
    return *impl_->chip;
}
