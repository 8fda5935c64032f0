// Times the model on frames: the parser alone, whole frames, and the searches at their worst.
//
// FRAME_BENCH_DUMP names the dump that parser and frames run on; bench/frame.sh assembles it from the sample
// configuration. The worst cases program the chip themselves, on top of it.

#include "base/cmRte.h"
#include "base/cmRteState.h"
#include "base/cmTcamIdxs.h"
#include "cm_rte_wrapper.h"
#include "model.h"
#include "prc/cmRtePrc.h"
#include "regdump_util.h"
#include "tae/cmTae.h"
#include "tfe/cmTfe.h"
#include "tsr_cmodel_util.h"

#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

const uint32_t kPort = 1;

/// The header and the image of the dump that the environment names; the caller frees it.
asic_dump_hdr_t *readDump() {
    char *name = std::getenv("FRAME_BENCH_DUMP");
    int fd = -1;
    asic_dump_hdr_t *hdr = nullptr;
    if (!name || regdec_get_hdr(name, &fd, &hdr) != 0 || regdec_get_data(fd, &hdr, TSR_DUMP_SIZE) != 0) {
        std::fprintf(stderr, "frame_bench: FRAME_BENCH_DUMP must name a dump\n");
        std::exit(1);
    }
    close(fd);
    return hdr;
}

/// Loads the model that the stages use.
void loadModel() {
    asic_dump_hdr_t *hdr = readDump();
    rte_memory_init(reinterpret_cast<tsr_dmp_t *>(hdr + 1));
    std::free(hdr);
}

/// A dump and the model of the library that holds it.
struct Loaded {
    Loaded() : hdr(readDump()), model(reinterpret_cast<const tsr_dmp_t *>(hdr.get() + 1)) {}

    struct Free {
        void operator()(asic_dump_hdr_t *dump) const { std::free(dump); }
    };
    std::unique_ptr<asic_dump_hdr_t, Free> hdr;
    Model model;
};

std::vector<uint8_t> fromHex(const std::string &digits) {
    std::vector<uint8_t> bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes.push_back(static_cast<uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    return bytes;
}

/// A mix of what a port sees: untagged and tagged, IPv4 with TCP and UDP, IPv6, LLC, FCoE, and a type of no meaning.
std::vector<std::vector<uint8_t>> mixedFrames() {
    const std::string macs = "0200000000b20200000000a1";
    const std::string ipv4 = "4500002e000040004006"
                             "26b3"
                             "0a0000010a000102";
    const std::string tcp = "c0010050000000010000000250100100000000000000";
    const std::string udp = "c0020035001a0000000000000000000000000000";
    const std::string ipv6 = "60000000001606402001000000000000000000000000000120010000000000000000000000000002";
    std::vector<std::vector<uint8_t>> frames;
    for (const std::string &text : {
             macs + "0800" + ipv4 + tcp,
             macs + "8100a0200800" + ipv4 + tcp,
             macs +
                 "08004500002e000040004011"
                 "26a8"
                 "0a0000010a000102" +
                 udp,
             macs + "86dd" + ipv6 + tcp,
             macs + "8100202086dd" + ipv6 + tcp,
             macs + "0026424203000000000000000000000000000000000000000000000000000000000000000000",
             macs + "89060000000000000000000000000000002e06010203000102030800000000000000000000000000000000000000",
             macs + "9000000102030405060708090a0b0c0d0e0f",
         }) {
        frames.push_back(fromHex(text));
    }
    return frames;
}

/// A frame in a buffer with the room behind it that the model clears; `len` counts the four bytes of the FCS.
struct Buffer {
    explicit Buffer(const std::vector<uint8_t> &frame) : bytes(frame), len(static_cast<uint32_t>(frame.size()) + 4) {
        bytes.resize(frame.size() + 100);
    }
    std::vector<uint8_t> bytes;
    uint32_t len;
};

std::vector<Buffer> buffers(const std::vector<std::vector<uint8_t>> &frames) {
    return {frames.begin(), frames.end()};
}

/// Puts the frame into the cleared per-frame record, as the frame driver does.
void startFrame(Buffer &frame, CmRteMacInf *macInfPtr) {
    CmRteStat *statPtr = CmRteGetStat();
    std::memset(statPtr, 0, sizeof *statPtr);
    statPtr->ingPhyPort = kPort;
    statPtr->macInfPtr = macInfPtr;
    statPtr->portRegPtr = &rte_mem->portRegLst[kPort];
    statPtr->comRegPtr = &rte_mem->comReg;
    statPtr->memPtr = &rte_mem->mem;
    statPtr->extCfgPtr = &rte_mem->extCfg;
    statPtr->taePtr = rte_mem->taePtr;
    statPtr->tfePtr = rte_mem->tfePtr;
    statPtr->frm = frame.bytes.data();
    statPtr->frmLen = frame.len;
    statPtr->wireFrmLen = frame.len;
}

/// One parser run a step, over the mix in turn.
void BM_Parser(benchmark::State &state) {
    loadModel();
    std::vector<Buffer> frames = buffers(mixedFrames());
    CmRteMacInf macInf{};
    size_t next = 0;
    for (auto _ : state) {
        startFrame(frames[next], &macInf);
        CmRtePrc(CmRteGetStat());
        next = (next + 1) % frames.size();
    }
    rte_memory_free();
}

/// Runs whole frames, quiet, in turn.
void runFrames(benchmark::State &state, std::vector<Buffer> frames) {
    CmRteMacInf macInf{};
    CmRteRslt rslt{};
    size_t next = 0;
    for (auto _ : state) {
        CmRteProc(kPort, rte_mem, &macInf, frames[next].len, frames[next].bytes.data(), &rslt, 0);
        benchmark::DoNotOptimize(rslt);
        next = (next + 1) % frames.size();
    }
}

void BM_Frame(benchmark::State &state) {
    loadModel();
    runFrames(state, buffers(mixedFrames()));
    rte_memory_free();
}

/// Writes `entries` entries of `halfWords` words for each half to the TCAM at a chip address. Each is a key of random
/// bits, all of them compared, so that it is valid and matches no frame.
void fillTcam(uint32_t addr, uint32_t entries, uint32_t halfWords) {
    static std::mt19937 random;
    std::vector<uint32_t> ones(halfWords);
    for (uint32_t i = 0; i < entries; i++) {
        for (uint32_t &word : ones) {
            word = static_cast<uint32_t>(random());
            CmRteHsiWr(rte_mem, addr, word);
            addr += 4;
        }
        for (uint32_t word : ones) {
            CmRteHsiWr(rte_mem, addr, ~word);
            addr += 4;
        }
    }
}

/// Fills every TCAM and has all 30 ACL banks searched.
void fillTcams() {
    fillTcam(0x3cfa000, 512, 1);     // own RBridge nicknames
    fillTcam(0x3cc8000, 1024, 2);    // layer-2 control
    fillTcam(0x3b90000, 2048, 4);    // MAC classes
    fillTcam(0x3ccc000, 1024, 2);    // types
    fillTcam(0x2f80000, 16384, 4);   // cloud
    fillTcam(0x3d08c00, 128, 1);     // own addresses
    fillTcam(0x3c80000, 1024, 4);    // exact-match overflow
    fillTcam(0x3cd8000, 1024, 2);    // IPv4 multicast users
    fillTcam(0x3ce4000, 256, 8);     // IPv6 multicast users
    fillTcam(0x3ca0000, 256, 16);    // layer-3 control
    fillTcam(0x4900000, 256, 4);     // IPv4 ACL exact-match overflow
    fillTcam(0x4a80000, 128, 16);    // IPv6 ACL exact-match overflow
    CmRteHsiWr(rte_mem, 0xf0030, 0); // no bank pair is an IPv6 bank
    fillTcam(0x4400000, 58368, 8);   // ACL
    fillTcam(0x5000000, 360448, 2);  // LPM
    CmRteHsiWr(rte_mem, 0xf002c, 0x3fffffff);
    for (uint32_t addr = 0xf0034; addr <= 0xf0040; addr += 4)
        CmRteHsiWr(rte_mem, addr, 0); // all banks have the layer-2 IP key
}

/// Whole frames with every TCAM full and all 30 ACL banks searched.
void BM_FrameFullTcams(benchmark::State &state) {
    loadModel();
    fillTcams();
    runFrames(state, buffers(mixedFrames()));
    rte_memory_free();
}

/// Runs frames through one load, quiet, in turn.
void routeFrames(benchmark::State &state, Model &model, const std::vector<std::vector<uint8_t>> &frames) {
    Verdict verdict;
    size_t next = 0;
    for (size_t i = 0; i < 4 * frames.size(); i++)
        model.route(kPort, frames[i % frames.size()], {}, verdict); // the second search of a memory builds its index
    for (auto _ : state) {
        model.route(kPort, frames[next], {}, verdict);
        benchmark::DoNotOptimize(verdict);
        next = (next + 1) % frames.size();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}

void BM_ModelFrame(benchmark::State &state) {
    Loaded loaded;
    routeFrames(state, loaded.model, mixedFrames());
}

/// The same with frames of up to `state.range(0)` bytes.
void BM_ModelFrameOfBytes(benchmark::State &state) {
    Loaded loaded;
    std::vector<std::vector<uint8_t>> frames = mixedFrames();
    for (auto &frame : frames)
        frame.resize(static_cast<size_t>(state.range(0)));
    routeFrames(state, loaded.model, frames);
}

void BM_ModelFrameFullTcams(benchmark::State &state) {
    Loaded loaded;
    rte_mem = &loaded.model.edit();
    fillTcams();
    rte_mem = nullptr;
    routeFrames(state, loaded.model, mixedFrames());
}

/// One changed word and its way back, with a frame between: a register, and an entry of a memory.
void BM_ModelChange(benchmark::State &state) {
    Loaded loaded;
    const auto frames = mixedFrames();
    const uint32_t offset = state.range(0) ? offsetof(tsr_dmp_t, rte_l2_exm_rslt) : offsetof(tsr_dmp_t, rte_l2_typ_len);
    Verdict verdict;
    for (auto _ : state) {
        loaded.model.change({offset, 0x12345678});
        loaded.model.route(kPort, frames[0], {}, verdict);
        loaded.model.revert();
    }
}

/// The load of the model, for comparison.
void BM_Load(benchmark::State &state) {
    for (auto _ : state) {
        loadModel();
        rte_memory_free();
    }
}

/// Both LPM searches of a routed frame, all 13 banks of its protocol, in which every entry agrees with the key up to
/// its last word.
void lpmScan(benchmark::State &state, uint32_t prtcl, uint32_t keyWords) {
    loadModel();
    const uint32_t key[8] = {};
    const uint32_t entries = 360448 * 2 / keyWords;
    uint32_t addr = 0x5000000;
    for (uint32_t i = 0; i < entries; i++) {
        for (uint32_t word = 0; word < 2 * keyWords; word++, addr += 4)
            CmRteHsiWr(rte_mem, addr, word == keyWords - 1 ? 1 : 0);
    }
    CmTfeLue *tfePtr = rte_mem->tfePtr;
    tfePtr->comReg.tfe_bank_en = 0x1fff;
    tfePtr->comReg.tfe_bank_pwrdn = 0;
    tfePtr->comReg.bank_prtcl_sel = prtcl * 0x1555555;
    TFE_LUE_INPUT input{};
    input.key = key;
    input.ipv4_srch = prtcl == 0;
    input.ipv6_srch = prtcl == 2;
    TFE_LUE_RSLT rslt{};
    for (auto _ : state) {
        for (uint32_t da_lkup = 0; da_lkup < 2; da_lkup++) {
            input.da_lkup = da_lkup & 1;
            tfePtr->lookupL3Lpm(&input, &rslt);
            if (rslt.hit)
                state.SkipWithError("the scan must not hit");
        }
    }
    rte_memory_free();
}

/// Both LPM searches of a routed frame by the index of a model, over 360,448 entries with `state.range(0)` masks, in
/// which no entry matches.
void BM_LpmByMask(benchmark::State &state) {
    const auto engine = std::make_unique<CmTfeLue>();
    engine->comReg = {};
    engine->comReg.tfe_bank_en = 0x1fff;
    std::mt19937 random;
    const auto masks = static_cast<uint32_t>(state.range(0));
    for (uint32_t i = 0; i < 360448; i++) {
        uint32_t *entry = &engine->mem.TFE_TCAM[size_t{i} * 4];
        const uint32_t care = ~uint32_t{0} << 8 ^ (i % masks) << 12;
        const auto want = static_cast<uint32_t>(random());
        entry[0] = 1; // of the VRF: the key has 0
        entry[1] = want & care;
        entry[2] = 0;
        entry[3] = ~want & care;
    }
    CmTcamIdxs idxs({engine->mem.TFE_TCAM});
    const auto own = std::make_unique<CmRteState>();
    own->idxs = &idxs;
    own->out.toStdio = false;
    cmRteState = own.get();
    TFE_LUE_INPUT input{};
    input.ipv4_srch = 1;
    TFE_LUE_RSLT rslt{};
    uint32_t key[2] = {};
    input.key = key;
    engine->lookupL3Lpm(&input, &rslt);
    engine->lookupL3Lpm(&input, &rslt); // builds the index
    for (auto _ : state) {
        for (uint32_t da_lkup = 0; da_lkup < 2; da_lkup++) {
            key[1] = static_cast<uint32_t>(random());
            input.da_lkup = da_lkup & 1;
            engine->lookupL3Lpm(&input, &rslt);
            if (rslt.hit)
                state.SkipWithError("the search must not hit");
        }
    }
    cmRteState = nullptr;
}

void BM_LpmScanIpv4(benchmark::State &state) {
    lpmScan(state, 0, 2);
}
void BM_LpmScanIpv6(benchmark::State &state) {
    lpmScan(state, 2, 8);
}

BENCHMARK(BM_Parser);
BENCHMARK(BM_Frame)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_FrameFullTcams)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Load)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_LpmScanIpv4)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_LpmScanIpv6)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_LpmByMask)->Arg(1)->Arg(100)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ModelFrame)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ModelFrameOfBytes)->Arg(64)->Arg(512)->Arg(1518)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ModelFrameFullTcams)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ModelChange)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
