// The model as a library: verdicts as records, frames that leave nothing behind, streams, changed words, stops.

#include "model.h"

#include "base/cmRteState.h"
#include "cmStop.h"
#include "random_chip.h"
#include "route_corpus.h"
#include "route_input.h"
#include "run_program.h"
#include "same_model.h"
#include "temp_dir.h"
#include "tsr_cmodel_util.h"
#include "tsr_reg.h"
#include "tsr_route.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

constexpr uint32_t kFabric = 12;

/// A frame and the port where it comes in.
struct Arrival {
    uint32_t port;
    std::vector<uint8_t> frame;
};

/// Frames by chance, some of them from the fabric.
std::vector<Arrival> arrivals(FrameMaker &maker, const DumpBuilder &dump, size_t cnt) {
    std::vector<Arrival> list;
    for (size_t i = 0; i < cnt; i++) {
        if (maker.chance(25))
            list.push_back({kFabric, maker.fabricFrame(dump)});
        else
            list.push_back({maker.below(TSR_PORTS), maker.frame()});
    }
    return list;
}

/// A stored frame that the configured chip routes.
Arrival routedFrame() {
    RouteInput input;
    const auto corpus = routeCorpus();
    const std::vector<uint8_t> &bytes = corpus.at("ipv4_tcp");
    EXPECT_TRUE(input.read(bytes.data(), bytes.size()));
    return {input.port, input.frame};
}

std::vector<Verdict> routeAll(Model &model, const std::vector<Arrival> &list, const RouteOptions &options = {}) {
    std::vector<Verdict> verdicts;
    for (const Arrival &in : list)
        verdicts.push_back(model.route(in.port, in.frame, options));
    return verdicts;
}

TEST(Model, AFrameLeavesNothingBehind) {
    std::map<VerdictKind, size_t> kinds;
    for (uint64_t seed = 1; seed <= 6; seed++) {
        DumpBuilder dump;
        randomChip(dump, seed);
        FrameMaker maker(seed);
        const Model fresh(dump.image());
        Model model(dump.image());
        ASSERT_EQ(modelDifference(model, fresh), "");
        for (const Arrival &in : arrivals(maker, dump, 24)) {
            kinds[model.route(in.port, in.frame).kind]++;
            ASSERT_EQ(modelDifference(model, fresh), "");
        }
    }
    for (const VerdictKind kind : {VerdictKind::DROP, VerdictKind::TRAP, VerdictKind::FORWARD, VerdictKind::UNDECIDED})
        EXPECT_GT(kinds[kind], 1u) << static_cast<int>(kind);
}

TEST(Model, OrderAndRepetitionDoNotMatter) {
    for (uint64_t seed = 11; seed <= 13; seed++) {
        DumpBuilder dump;
        randomChip(dump, seed);
        FrameMaker maker(seed);
        const std::vector<Arrival> list = arrivals(maker, dump, 300);
        Model model(dump.image());
        const std::vector<Verdict> first = routeAll(model, list);
        EXPECT_EQ(routeAll(model, list), first);
        std::vector<Arrival> reversed(list.rbegin(), list.rend());
        std::vector<Verdict> again = routeAll(model, reversed);
        std::reverse(again.begin(), again.end());
        EXPECT_EQ(again, first);
        for (size_t i = 0; i < 3; i++) {
            Model alone(dump.image());
            EXPECT_EQ(alone.route(list[i].port, list[i].frame), first[i]);
        }
    }
}

/// A stream gives what the stages give frame by frame on one loaded model, memories and all.
TEST(Model, AStreamKeepsWhatItsFramesWrite) {
    for (uint64_t seed = 21; seed <= 23; seed++) {
        DumpBuilder dump;
        randomChip(dump, seed);
        FrameMaker maker(seed);
        std::vector<Arrival> list = arrivals(maker, dump, 300);
        std::erase_if(list, [](const Arrival &in) { return in.port == kFabric; });

        Model model(dump.image());
        std::vector<Arrival> decided;
        for (const Arrival &in : list) {
            if (model.route(in.port, in.frame).kind != VerdictKind::UNDECIDED)
                decided.push_back(in);
        }
        const std::vector<Verdict> stream = routeAll(model, decided, {.stream = true});

        CmRteState state;
        state.out = {.toStdio = false, .sink = nullptr};
        cmRteState = &state;
        rte_memory_init(dump.image());
        for (size_t i = 0; i < decided.size(); i++) {
            Packet packet;
            packet.pkt = decided[i].frame;
            packet.pkt_len = static_cast<uint32_t>(packet.pkt.size());
            packet.pkt.resize(packet.pkt.size() + Packet::kRoom);
            Verdict verdict;
            routeIngress(packet, decided[i].port, dump.image(), 0, verdict);
            ASSERT_EQ(verdict, stream[i]) << i;
        }
        EXPECT_EQ(std::memcmp(&rte_mem->comReg, &model.chip().comReg, sizeof rte_mem->comReg), 0);
        EXPECT_EQ(std::memcmp(&rte_mem->mem, &model.chip().mem, sizeof rte_mem->mem), 0);
        EXPECT_EQ(std::memcmp(rte_mem->portRegLst, model.chip().portRegLst, sizeof rte_mem->portRegLst), 0);
        rte_memory_free();
        cmRteState = nullptr;

        const Model fresh(dump.image());
        EXPECT_NE(modelDifference(model, fresh), "");
        // A frame outside the stream starts from what the stream left, and leaves that.
        const uint32_t counted = model.chip().frmCntLst[decided[0].port];
        model.route(decided[0].port, decided[0].frame);
        EXPECT_EQ(model.chip().frmCntLst[decided[0].port], counted);
        EXPECT_GT(counted, 0u);
        model.undo();
        EXPECT_EQ(modelDifference(model, fresh), "");
    }
}

TEST(Model, AStreamFromTheFabricCountsOnAndIsTakenBack) {
    DumpBuilder dump;
    randomChip(dump, 31);
    FrameMaker maker(31);
    std::vector<Arrival> list;
    for (size_t i = 0; i < 300; i++)
        list.push_back({kFabric, maker.fabricFrame(dump)});
    Model model(dump.image());
    const std::vector<Verdict> alone = routeAll(model, list);
    routeAll(model, list, {.stream = true});
    EXPECT_NE(modelDifference(model, Model(dump.image())), "");
    model.undo();
    EXPECT_EQ(modelDifference(model, Model(dump.image())), "");
    EXPECT_EQ(routeAll(model, list), alone);
}

TEST(Model, AHostReadIsTakenBack) {
    DumpBuilder dump;
    randomChip(dump, 41);
    Model model(dump.image());
    const Model fresh(dump.image());
    uint32_t value = 0;
    EXPECT_TRUE(model.read(0x3c60000, &value)); // an activity word, which the read clears
    EXPECT_EQ(value, fresh.chip().mem.RTE_L2_EXM_DA_ACT_SRAM[0]);
    EXPECT_EQ(model.chip().mem.RTE_L2_EXM_DA_ACT_SRAM[0], 0u);
    EXPECT_TRUE(model.read(0x5010c, &value));   // the learn FIFO
    EXPECT_TRUE(model.read(0x2f00000, &value)); // a wide entry, which the read latches
    EXPECT_FALSE(model.read(0x60000, &value));
    EXPECT_NE(modelDifference(model, fresh), "");
    model.undo();
    EXPECT_EQ(modelDifference(model, fresh), "");
}

/// Offsets of words of every row of the dump: its first, its last and some by chance.
std::vector<uint32_t> someWords(uint64_t seed) {
    std::mt19937_64 random(seed);
    std::vector<uint32_t> offsets;
    for (const regdump_map_t *row = tsr_dmp_map; row->name; ++row) {
        if (row->flags & REGDUMP_FLAGS_NO_DUMP)
            continue;
        const uint32_t size = regdump_mapp_get_size(row);
        offsets.push_back(static_cast<uint32_t>(row->dump_offset));
        offsets.push_back(static_cast<uint32_t>(row->dump_offset) + size - 4);
        offsets.push_back(static_cast<uint32_t>(row->dump_offset + random() % (size / 4) * 4));
    }
    return offsets;
}

/// What a change leaves may differ from a load in the host's half-written entries alone.
std::string differenceButHold(Model &model, Model &loaded) {
    const_cast<CmRteState &>(loaded.state()).hold = model.state().hold;
    return modelDifference(model, loaded);
}

TEST(Model, ManyChangesAreWhatALoadMakesOfThem) {
    for (uint64_t seed = 51; seed <= 54; seed++) {
        DumpBuilder dump;
        randomChip(dump, seed);
        std::mt19937_64 random(seed);
        std::vector<DumpWord> words;
        for (const uint32_t offset : someWords(seed))
            words.push_back({offset, static_cast<uint32_t>(random())});
        for (uint32_t i = 0; i < 3000; i++)
            words.push_back(
                {static_cast<uint32_t>(random() % (sizeof(tsr_dmp_t) / 4) * 4), static_cast<uint32_t>(random())});
        const Model before(dump.image());
        Model model(dump.image());
        model.change(words);
        Model loaded(dump.image(), words);
        ASSERT_EQ(differenceButHold(model, loaded), "");
        model.revert();
        ASSERT_EQ(modelDifference(model, before), "");
    }
}

TEST(Model, OneChangeIsWhatALoadMakesOfIt) {
    DumpBuilder dump;
    randomChip(dump, 61);
    std::mt19937_64 random(61);
    const Model before(dump.image());
    Model model(dump.image());
    std::vector<uint32_t> offsets = someWords(61);
    std::shuffle(offsets.begin(), offsets.end(), random);
    offsets.resize(60);
    // Registers that say how other words are taken: joined ACL banks, and memories whose bits a write clears.
    offsets.push_back(offsetof(tsr_dmp_t, tae_bank_prtcl_sel_0));
    offsets.push_back(offsetof(tsr_dmp_t, rte_l2_sa_lrn_cfg));
    for (const uint32_t offset : offsets) {
        const DumpWord word{offset, ~model.word(offset)};
        model.change(word);
        EXPECT_EQ(model.word(offset), word.value);
        Model loaded(dump.image(), std::span(&word, 1));
        ASSERT_EQ(differenceButHold(model, loaded), "") << offset;
        model.revert();
        ASSERT_EQ(modelDifference(model, before), "") << offset;
    }
}

/// Ternary memories of the dump: the first byte, and their number.
constexpr std::pair<size_t, size_t> kTcams[] = {
    {offsetof(tsr_dmp_t, rte_l2_ctrl_cls_tcam), sizeof(tsr_dmp_t::rte_l2_ctrl_cls_tcam)},
    {offsetof(tsr_dmp_t, rte_l2_mac_class), sizeof(tsr_dmp_t::rte_l2_mac_class)},
    {offsetof(tsr_dmp_t, rte_typ_cls_tcam), sizeof(tsr_dmp_t::rte_typ_cls_tcam)},
    {offsetof(tsr_dmp_t, rte_cloud_class_tcam), sizeof(tsr_dmp_t::rte_cloud_class_tcam)},
    {offsetof(tsr_dmp_t, rte_l2_exm_ovflw_tcam), sizeof(tsr_dmp_t::rte_l2_exm_ovflw_tcam)},
    {offsetof(tsr_dmp_t, rte_l3_ctrl_cls_tcam), sizeof(tsr_dmp_t::rte_l3_ctrl_cls_tcam)},
    {offsetof(tsr_dmp_t, tae_tcam), sizeof(tsr_dmp_t::tae_tcam)},
    {offsetof(tsr_dmp_t, tfe_tcam), sizeof(tsr_dmp_t::tfe_tcam)},
};

/// Searches go by indexes after the first frames; a changed word must not be found where it was.
TEST(Model, ChangedTcamsAreSearchedAnew) {
    size_t others = 0;
    for (uint64_t seed = 111; seed <= 114; seed++) {
        DumpBuilder dump;
        fillRouteChip(dump, kConfiguredChip);
        std::mt19937_64 random(seed);
        std::vector<Arrival> list;
        for (const auto &[name, bytes] : routeCorpus()) {
            RouteInput input;
            if (input.read(bytes.data(), bytes.size()) && input.port < TSR_PORTS && input.changes.empty())
                list.push_back({input.port, input.frame});
        }
        Model model(dump.image());
        routeAll(model, list);
        const std::vector<Verdict> before = routeAll(model, list);

        // Rows that match any key, among the first of each memory and by chance.
        std::vector<DumpWord> words;
        for (const auto &[offset, size] : kTcams) {
            for (uint32_t row :
                 {0u, static_cast<uint32_t>(random() % 64), static_cast<uint32_t>(random() % (size / 128))}) {
                for (uint32_t w = 0; w < 32; w++)
                    words.push_back({static_cast<uint32_t>(offset) + 128 * row + 4 * w, 0});
            }
        }
        model.change(words);
        Model loaded(dump.image(), words);
        for (int again = 0; again < 3; again++) {
            const std::vector<Verdict> after = routeAll(model, list);
            ASSERT_EQ(after, routeAll(loaded, list));
            others += after != before;
        }
        model.revert();
        ASSERT_EQ(routeAll(model, list), before);
    }
    EXPECT_GT(others, 0u);
}

TEST(Model, ChangesOfTheLoadStayWhenLaterOnesGo) {
    DumpBuilder dump;
    randomChip(dump, 71);
    const uint32_t offset = offsetof(tsr_dmp_t, rte_l2_typ_len);
    const DumpWord first[] = {{offset, 0x01230456}, {0xfffffff0, 1}, {3, 1}};
    Model model(dump.image(), first);
    const Model same(dump.image(), first);
    EXPECT_EQ(model.word(offset), 0x01230456u);
    model.change({offset, 0x07770666});
    EXPECT_NE(modelDifference(model, same), "");
    model.revert();
    EXPECT_EQ(model.word(offset), 0x01230456u);
    EXPECT_EQ(modelDifference(model, same), "");
}

TEST(Model, WhatSomeoneWritesIntoTheChipBecomesTheLoadedState) {
    DumpBuilder dump;
    randomChip(dump, 81);
    FrameMaker maker(81);
    Model model(dump.image());
    model.edit().comReg.rte_l2_dix_typ_min = 0x123;
    model.edit().mem.RTE_L2_FID_SRAM[7] = 0x77;
    for (const Arrival &in : arrivals(maker, dump, 20))
        model.route(in.port, in.frame);
    model.undo();
    EXPECT_EQ(model.chip().comReg.rte_l2_dix_typ_min, 0x123u);
    EXPECT_EQ(model.chip().mem.RTE_L2_FID_SRAM[7], 0x77u);
}

TEST(Model, AStopIsAnAnswerAndOnlyInTheLibrary) {
    DumpBuilder dump;
    randomChip(dump, 1);
    FrameMaker maker(1);
    Model model(dump.image());
    size_t stops = 0;
    for (const Arrival &in : arrivals(maker, dump, 400)) {
        const Verdict verdict = model.route(in.port, in.frame);
        EXPECT_EQ(verdict.kind == VerdictKind::UNDECIDED, !verdict.message.empty());
        EXPECT_TRUE(verdict.message.empty() || verdict.message.find(".cpp:") != std::string::npos) << verdict.message;
        stops += verdict.kind == VerdictKind::UNDECIDED;
    }
    EXPECT_GT(stops, 0u);
    EXPECT_FALSE(cmStopThrows);
    EXPECT_EQ(cmRteState, nullptr);
    EXPECT_EQ(rte_mem, nullptr);
}

/// Keeps text.
class Text : public CmSink {
public:
    void text(std::string_view piece) override { all += piece; }
    std::string all;
};

TEST(Model, OnlyATraceIsPrintedAndOnlyToItsSink) {
    DumpBuilder dump;
    randomChip(dump, 91);
    FrameMaker maker(91);
    Model model(dump.image());
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Text text;
    for (const Arrival &in : arrivals(maker, dump, 50)) {
        model.route(in.port, in.frame);
        const size_t before = text.all.size();
        model.route(in.port, in.frame, {.trace = &text});
        EXPECT_GT(text.all.size(), before);
    }
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

/// Keeps the rows.
class Rows : public RowObserver {
public:
    struct Row {
        std::string memory;
        uint64_t row;
        uint32_t dumpOffset;
        std::vector<uint32_t> words, key;

        bool operator==(const Row &) const = default;
    };
    void row(const ObservedRow &seen) override {
        rows.push_back({std::string(seen.memory),
                        seen.row,
                        seen.dumpOffset,
                        {seen.words.begin(), seen.words.end()},
                        {seen.key.begin(), seen.key.end()}});
    }
    std::vector<Row> of(const std::string &memory) const {
        std::vector<Row> found;
        std::copy_if(rows.begin(), rows.end(), std::back_inserter(found),
                     [&](const Row &row) { return row.memory == memory; });
        return found;
    }
    std::vector<Row> rows;
};

/// A routed frame tells of the station, the prefix and the next hop that the configuration has for it.
TEST(Model, TheRowsOfAFrameAreTold) {
    DumpBuilder dump;
    fillRouteChip(dump, kConfiguredChip);
    Model model(dump.image());
    Rows seen;
    const Arrival in = routedFrame();
    const Verdict verdict = model.route(in.port, in.frame, {.observer = &seen});
    ASSERT_EQ(verdict.kind, VerdictKind::FORWARD);
    const CmRteStat &stat = model.stat();
    ASSERT_TRUE(stat.l3RteRqd);

    // The result of the station: a read of the row that the record names, with the words of the dump.
    const auto stations = seen.of("RTE_L2_EXM_RSLT_EDRAM");
    ASSERT_FALSE(stations.empty());
    EXPECT_EQ(stations[0].row, stat.l2ExmDaIdx);
    EXPECT_EQ(stations[0].dumpOffset, offsetof(tsr_dmp_t, rte_l2_exm_rslt) + 8 * stat.l2ExmDaIdx);
    ASSERT_EQ(stations[0].words.size(), 2u);
    EXPECT_EQ(stations[0].words[1], model.word(stations[0].dumpOffset + 4));
    EXPECT_TRUE(stations[0].key.empty());

    // The prefix: a hit, by a key that agrees with the row in all bits that it asks for.
    const auto prefixes = seen.of("TFE_TCAM");
    ASSERT_FALSE(prefixes.empty());
    for (const Rows::Row &row : prefixes) {
        ASSERT_EQ(row.words.size(), 2 * row.key.size());
        EXPECT_EQ(row.dumpOffset, offsetof(tsr_dmp_t, tfe_tcam) + 16 * row.row);
        for (size_t w = 0; w < row.key.size(); w++) {
            EXPECT_EQ(row.words[w] & ~row.key[w], 0u);
            EXPECT_EQ(row.words[row.key.size() + w] & row.key[w], 0u);
        }
    }
    EXPECT_FALSE(seen.of("RTE_L3_NXT_HOP_RSLT_EDRAM").empty());
    EXPECT_FALSE(seen.of("iqs_mac_da_vid_mem").empty());

    // By an index or not, the same rows; and without an observer none.
    Rows again;
    for (int i = 0; i < 3; i++) {
        again.rows.clear();
        model.route(in.port, in.frame, {.observer = &again});
    }
    EXPECT_EQ(again.rows, seen.rows);
    model.route(in.port, in.frame);
    EXPECT_EQ(again.rows, seen.rows);
}

/// ACL rows and lines: every observed row is the dump's, also where banks are joined.
TEST(Model, AclRowsComeFromTheirPlacesInTheDump) {
    size_t hits = 0, joined = 0, lines = 0;
    for (uint64_t seed = 1; seed <= 12; seed++) {
        DumpBuilder dump;
        randomChip(dump, seed);
        FrameMaker maker(seed);
        Model model(dump.image());
        Rows seen;
        for (int i = 0; i < 60; i++)
            model.route(maker.below(TSR_PORTS), maker.frame(), {.observer = &seen});
        const uint32_t pairs = model.word(offsetof(tsr_dmp_t, tae_bank_prtcl_sel_0));
        for (const Rows::Row &row : seen.rows) {
            if (row.memory.starts_with("TAE_TCAM_")) {
                const bool wide = pairs >> std::stoul(row.memory.substr(9)) / 2 & 1;
                hits++;
                joined += wide;
                // Highest word first in the dump; the words for zeroes stand behind those for ones, of both banks.
                for (uint32_t w = 0; w < 8; w++) {
                    ASSERT_EQ(row.words[7 - w], model.word(row.dumpOffset + 4 * w));
                    ASSERT_EQ(row.words[15 - w], model.word(row.dumpOffset + (wide ? 64 : 32) + 4 * w));
                }
            } else if (row.memory.starts_with("TAE_RSLT_MEM_")) {
                lines++;
                ASSERT_EQ(row.words[3], model.word(row.dumpOffset + 12));
            }
        }
    }
    EXPECT_GT(hits, 100u);
    EXPECT_GT(joined, 0u);
    EXPECT_GT(lines, 20u);
}

TEST(Model, TwoModelsInTwoThreadsDoNotMeet) {
    DumpBuilder dumps[2];
    std::vector<Arrival> lists[2];
    std::vector<Verdict> wanted[2], got[2];
    for (size_t i = 0; i < 2; i++) {
        randomChip(dumps[i], 101 + i);
        FrameMaker maker(101 + i);
        lists[i] = arrivals(maker, dumps[i], 400);
        Model model(dumps[i].image());
        wanted[i] = routeAll(model, lists[i]);
    }
    const auto run = [&](size_t i) {
        Model model(dumps[i].image());
        got[i] = routeAll(model, lists[i]);
    };
    std::thread other(run, 1);
    run(0);
    other.join();
    for (size_t i = 0; i < 2; i++)
        EXPECT_EQ(got[i], wanted[i]);

    // And frame by frame in one thread.
    Model first(dumps[0].image()), second(dumps[1].image());
    for (size_t i = 0; i < lists[0].size(); i++) {
        EXPECT_EQ(first.route(lists[0][i].port, lists[0][i].frame), wanted[0][i]);
        EXPECT_EQ(second.route(lists[1][i].port, lists[1][i].frame), wanted[1][i]);
    }
}

TEST(Model, AnImageOfAnotherSizeIsNone) {
    const std::vector<uint8_t> bytes(1000);
    EXPECT_EQ(Model::load(bytes), nullptr);
    DumpBuilder dump;
    const std::span image(reinterpret_cast<const uint8_t *>(dump.image()), sizeof(tsr_dmp_t));
    EXPECT_EQ(Model::load(image.first(image.size() - 4)), nullptr);
    EXPECT_EQ(Model::load(image.subspan(1)), nullptr);
    EXPECT_NE(Model::load(image), nullptr);
}

/// What regdec_tsr makes of the frame, in the example's words.
std::string kindByRegdec(const std::string &dump, uint32_t port, const std::string &digits) {
    const RunResult run =
        runProgram(REGDEC_TSR_PROGRAM, {dump, "route", "port", std::to_string(port), "frame", digits});
    return run.out.starts_with("Physical_TXport") ? "forward" : run.out.empty() ? "trap" : "drop";
}

TEST(Model, TheExampleSaysWhatRegdecSays) {
    const TempDir temp;
    DumpBuilder dump;
    fillRouteChip(dump, kConfiguredChip);
    dump.write(temp.path("dump"));
    const std::string digits = "0200000000b20200000000a108004500002e00004000400626b30a0000010a000102"
                               "c0010050000000010000000250100100000000000000";
    const RunResult run = runProgram(MODEL_EXAMPLE_PROGRAM, {temp.path("dump"), digits});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    std::istringstream lines(run.out);
    std::string line, first;
    for (uint32_t port = 0; port < TSR_PORTS; port++) {
        std::getline(lines, line);
        const std::string kind = kindByRegdec(temp.path("dump"), port, digits);
        EXPECT_TRUE(line.starts_with("port " + std::to_string(port) + ": " + kind + ",")) << line << kind;
        if (port == 0)
            first = kind;
    }
    // Types from 0xf9ff on are none of the frame's: its word is a length then, which no header follows.
    dump.set("rte_l2_typ_len", ~dump.dump().word(static_cast<uint32_t>(offsetof(tsr_dmp_t, rte_l2_typ_len))));
    dump.write(temp.path("changed"));
    std::getline(lines, line);
    EXPECT_EQ(line, "changed: " + kindByRegdec(temp.path("changed"), 0, digits));
    std::getline(lines, line);
    EXPECT_EQ(line, "again: " + first);
}

} // namespace
