// State files and the whole model: what was saved routes frames as the model did that saved it.

#include "frame_builder.h"
#include "log/cmRteDump.h"
#include "log/cmRteLog.h"
#include "random_words.h"
#include "temp_dir.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr size_t kPlainBytes = offsetof(CmRte, taePtr) - 4; // the chip without its engines, as a state file has it

std::unique_ptr<CmRte> freshModel() {
    auto rte = std::make_unique<CmRte>();
    CmRteInit(rte.get());
    return rte;
}

/// Writes random words to all registers and memories of the RTE, as a host would.
void configure(CmRte *rte, uint32_t seed) {
    RandomWords random(seed);
    for (uint32_t addr = 0x50000; addr < 0x58000; addr += 4)
        CmRteHsiWr(rte, addr, static_cast<uint32_t>(random()));
    for (uint32_t port = 0; port < 12; port++) {
        for (uint32_t addr = 0x402000; addr < 0x403000; addr += 4)
            CmRteHsiWr(rte, addr + port * 0x10000, static_cast<uint32_t>(random()));
    }
    for (uint32_t addr = 0x2800000; addr < 0x4000000; addr += 4)
        CmRteHsiWr(rte, addr, static_cast<uint32_t>(random()));
}

std::vector<std::vector<uint8_t>> someFrames() {
    std::vector<std::vector<uint8_t>> frames;
    Frame frame;
    frame.mac(0x020000000001, 0x020000000002).etyp(0x0800).ipv4({.ulp = 17, .tlen = 40}).udp(1000, 2000).fill(30);
    frames.push_back(frame.bytes);
    frame = {};
    frame.mac(0x01005e000001, 0x020000000002).tag(0x8100, 100, 3).etyp(0x86dd).ipv6({.nxtHdr = 6, .plen = 40});
    frame.tcp(80, 1234).fill(30);
    frames.push_back(frame.bytes);
    frame = {};
    frame.mac(0x0efc00000001, 0x0efc00000002).etyp(0x8906).fill(60, 0x35);
    frames.push_back(frame.bytes);
    frame = {};
    frame.mac(0x020000000001, 0x020000000002).etyp(0x22f3).trill(0x1234, 0x2345, 20);
    frame.mac(0x020000000003, 0x020000000004).tag(0x8100, 7).etyp(0x0800).ipv4({}).fill(30);
    frames.push_back(frame.bytes);
    return frames;
}

/// Routes a frame with four bytes of FCS place from port 3.
CmRteRslt route(CmRte *rte, std::vector<uint8_t> frm) {
    CmRteMacInf macInf{};
    CmRteRslt rslt{};
    const uint32_t frmLen = static_cast<uint32_t>(frm.size()) + 4;
    frm.resize(frmLen + 64);
    EXPECT_EQ(CmRteProc(3, rte, &macInf, frmLen, frm.data(), &rslt, 0), 1);
    return rslt;
}

bool same(const CmRteRslt &a, const CmRteRslt &b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

TEST(DumpRoute, LoadedModelRoutesAsTheSavedOne) {
    const TempDir dir;
    const std::string name = dir.path("state");
    for (uint32_t seed : {1u, 2u}) {
        for (const std::vector<uint8_t> &frm : someFrames()) {
            auto model = freshModel();
            configure(model.get(), seed);
            testing::internal::CaptureStdout();
            CmRteDump(model.get(), name.c_str());
            const CmRteRslt rslt = route(model.get(), frm);

            auto loaded = freshModel();
            EXPECT_FALSE(same(rslt, route(freshModel().get(), frm))) << "the configuration matters";
            CmRteLoad(loaded.get(), name.c_str());
            loaded->logFd = -1;
            EXPECT_TRUE(same(rslt, route(loaded.get(), frm)));
            EXPECT_EQ(std::memcmp(model.get(), loaded.get(), kPlainBytes), 0) << "counters and learning included";
            testing::internal::GetCapturedStdout();
        }
    }
}

TEST(DumpRoute, CapturedFrameRunsAgainWithoutItsHistory) {
    const TempDir dir;
    const std::vector<std::vector<uint8_t>> frames = someFrames();
    auto model = freshModel();
    configure(model.get(), 1);
    CmRteDump(model.get(), dir.path("start").c_str());

    std::string log;
    const auto words = [&](const std::vector<uint32_t> &values) {
        log.append(reinterpret_cast<const char *>(values.data()), values.size() * sizeof(uint32_t));
    };
    for (std::vector<uint8_t> frm : frames) {
        const CmRteRslt rslt = route(model.get(), frm);
        const uint32_t frmLen = static_cast<uint32_t>(frm.size()) + 4;
        frm.resize((frmLen + 3) & ~3u);
        words({3, 3, 0, 0, 0, frmLen, static_cast<uint32_t>(frm.size())});
        log.append(frm.begin(), frm.end());
        words({4, 284});
        log.append(reinterpret_cast<const char *>(&rslt), sizeof rslt);
        words({1});
    }
    const std::string name = dir.file("log", log);

    testing::internal::CaptureStdout();
    auto replayed = freshModel();
    CmRteLoad(replayed.get(), dir.path("start").c_str());
    replayed->logFd = -1;
    CmRteLogRerun(replayed.get(), name.c_str(), 0, 1);
    EXPECT_EQ(std::memcmp(model.get(), replayed.get(), kPlainBytes), 0);

    auto captured = freshModel();
    CmRteLoad(captured.get(), dir.path("start").c_str());
    captured->logFd = -1;
    CmRteMacInf macInf{};
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(dir.path(""));
    CmRteCaptureFrm(captured.get(), &macInf, name.c_str(), 3, 2);
    std::filesystem::current_path(before);

    auto alone = freshModel();
    CmRteLoad(alone.get(), dir.path("s_p03_f02.sdb").c_str());
    alone->logFd = -1;
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(alone->frmCntLst[3], 2u);
    const std::string frmFile = readFile(dir.path("f_p03_f02.fdb"));
    const std::vector<uint8_t> frm(frmFile.begin() + 20, frmFile.end() - 4);
    EXPECT_EQ(frm, frames[2]);
    CmRteRslt logged{};
    CmRteRsltLoad(&logged, dir.path("r_p03_f02.rdb").c_str());
    EXPECT_TRUE(same(logged, route(alone.get(), frm)));
}

} // namespace
