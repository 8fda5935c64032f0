// The frames that the fuzz target starts from: they are stored as the source says, and they reach every kind of verdict
// that the search is to go on from.

#include "route_corpus.h"

#include "route_input.h"
#include "temp_dir.h"
#include "tsr_cmodel_util.h"
#include "whole_chip.h"

#include <cstdio>
#include <gtest/gtest.h>

namespace {

TEST(RouteCorpus, IsStoredAsItIsMade) {
    std::map<std::string, std::vector<uint8_t>> stored;
    for (const auto &entry : std::filesystem::directory_iterator(TSR_SOURCE_DIR "/fuzz/corpus")) {
        const std::string bytes = readFile(entry.path().string());
        stored[entry.path().filename().string()] = {bytes.begin(), bytes.end()};
    }
    const auto made = routeCorpus();
    for (const auto &[name, bytes] : made)
        EXPECT_EQ(stored[name], bytes) << name << ": make the corpus anew with tests/make_corpus";
    EXPECT_EQ(stored.size(), made.size());
}

TEST(RouteCorpus, AnInputIsReadAsItWasWritten) {
    const RouteInput input{
        .port = 13, .verbose = true, .chip = 2, .changes = {{7, 0x12345678}, {9, 1}}, .frame = {1, 2}};
    const std::vector<uint8_t> bytes = input.bytes();
    EXPECT_EQ(bytes[0], 0x5d); // chip 2, verbose, port 13
    EXPECT_EQ(bytes[1], 2);
    RouteInput read;
    ASSERT_TRUE(read.read(bytes.data(), bytes.size()));
    EXPECT_EQ(read.port, 13u);
    EXPECT_TRUE(read.verbose);
    EXPECT_EQ(read.chip, 2u);
    ASSERT_EQ(read.changes.size(), 2u);
    EXPECT_EQ(read.changes[0].place, 7u);
    EXPECT_EQ(read.changes[0].value, 0x12345678u);
    EXPECT_EQ(read.frame, input.frame);
    EXPECT_FALSE(read.read(bytes.data(), 2 + 15)); // the second change ends too early
    EXPECT_FALSE(read.read(bytes.data(), 1));
}

/// What the configured chip makes of the stored frames that come in at a front port.
TEST(RouteCorpus, ReachesLayer3TrillAndFcoe) {
    DumpBuilder dump;
    fillRouteChip(dump, kConfiguredChip);
    rte_memory_init(dump.image());
    std::map<std::string, Verdict> verdicts;
    std::map<std::string, CmRteStat> stats;
    for (const auto &[name, bytes] : routeCorpus()) {
        RouteInput input;
        ASSERT_TRUE(input.read(bytes.data(), bytes.size())) << name;
        if (input.chip != kConfiguredChip || input.port >= kFabricPort)
            continue;
        shim_t shim{};
        verdicts[name] = runIngress(input.frame, input.port, 0, dump.image(), &shim);
        stats[name] = *CmRteGetStat();
    }
    rte_memory_free();

    for (const char *name : {"ipv4_tcp", "ipv4_udp", "ipv4_icmp", "ipv4_fragment"}) {
        EXPECT_EQ(verdicts[name], Verdict::forwarded) << name;
        EXPECT_TRUE(stats[name].l3RteRqd && stats[name].l3IpVer == 4) << name;
    }
    for (const char *name : {"ipv6_tcp", "ipv6_udp", "ipv6_icmp", "ipv6_all_extensions"}) {
        EXPECT_EQ(verdicts[name], Verdict::forwarded) << name;
        EXPECT_TRUE(stats[name].l3RteRqd && stats[name].l3IpVer == 6) << name;
    }
    for (const char *name : {"fcoe", "fcoe_vsan_header"}) {
        EXPECT_EQ(verdicts[name], Verdict::forwarded) << name;
        EXPECT_TRUE(stats[name].l3RteRqd && stats[name].l2FcoeFound) << name;
    }
    for (const char *name :
         {"trill_transit", "trill_tagged", "trill_options", "trill_ipv4", "trill_ipv6", "trill_fcoe"}) {
        EXPECT_EQ(verdicts[name], Verdict::forwarded) << name;
        EXPECT_TRUE(stats[name].l2TrillFound) << name;
    }
    EXPECT_EQ(verdicts["broadcast_arp"], Verdict::forwarded);
    EXPECT_EQ(verdicts["fip"], Verdict::dropped); // the router's group is for packets alone
    for (const char *name : {"switched_ipv4", "switched_ipv6", "switched_fcoe", "ethernet", "snap"}) {
        EXPECT_EQ(verdicts[name], Verdict::forwarded) << name;
        EXPECT_FALSE(stats[name].l3RteRqd) << name;
    }
}

} // namespace
