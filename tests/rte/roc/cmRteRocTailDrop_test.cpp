#include "roc_fixture.h"

#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace {

class TailDropTest : public RocTest {
protected:
    /// A frame with result `rsltTyp`, colour `drop_prcd` and priority `q_priority`; trapped copies go to queue 5.
    void frame(uint32_t rsltTyp, uint32_t drop_prcd = 0, uint32_t q_priority = 2) {
        start();
        rslt.hsiShim0Rslt.rslt_typ = rsltTyp;
        rslt.hsiShim0Rslt.trap_que = 5;
        rslt.hsiShim0Rslt.trap_rsn = 20;
        rslt.shim2Rslt.drop_prcd = drop_prcd;
        rslt.shim2Rslt.q_priority = q_priority;
        rslt.shim2Rslt.is_mgid = 1;
        rslt.hsiShim1Rslt.acl_log = rslt.hsiShim1Rslt.sflw = 1;
        stat.l2PselRsltTyp = stat.l3PselRsltTyp = rsltTyp;
        stat.l2PselIsL2Mgid = 1;
        stat.l2PselTrapQue = 6;
        stat.l2PselTrapRsn = 7;
        stat.l2PselDropRsn = stat.l3PselDropRsn = 50;
        stat.l2PselAclLog = stat.sflw = 1;
    }
    std::string drop() {
        return tracedBy([&] { TailDrop(&stat, &rslt); });
    }
    void expectRslt(uint32_t rsltTyp, uint32_t l2RsltTyp, uint32_t l3RsltTyp) const {
        EXPECT_EQ(rslt.hsiShim0Rslt.rslt_typ, rsltTyp);
        EXPECT_EQ(stat.l2PselRsltTyp, l2RsltTyp);
        EXPECT_EQ(stat.l3PselRsltTyp, l3RsltTyp);
    }
    void expectDropped(uint32_t dropRsn) const {
        expectRslt(0, 0, 0);
        EXPECT_EQ(rslt.hsiShim0Rslt.trap_que, 0u);
        EXPECT_EQ(rslt.hsiShim0Rslt.trap_rsn, 0u);
        EXPECT_EQ(rslt.shim2Rslt.is_mgid, 0u);
        EXPECT_EQ(stat.l2PselTrapQue, 0u);
        EXPECT_EQ(stat.l2PselTrapRsn, 0u);
        EXPECT_EQ(stat.l2PselIsL2Mgid, 0u);
        EXPECT_EQ(stat.l2PselDropRsn, dropRsn);
        EXPECT_EQ(stat.l3PselDropRsn, dropRsn);
        EXPECT_EQ(rslt.hsiShim1Rslt.acl_log, 0u);
        EXPECT_EQ(rslt.hsiShim1Rslt.sflw, 0u);
        EXPECT_EQ(stat.l2PselAclLog, 0u);
        EXPECT_EQ(stat.sflw, 0u);
    }
    void expectUntouched(uint32_t rsltTyp) const {
        expectRslt(rsltTyp, rsltTyp, rsltTyp);
        EXPECT_EQ(rslt.hsiShim0Rslt.trap_que, 5u);
        EXPECT_EQ(rslt.hsiShim0Rslt.trap_rsn, 20u);
        EXPECT_EQ(rslt.shim2Rslt.is_mgid, 1u);
        EXPECT_EQ(stat.l2PselTailDrop, 0u);
        EXPECT_EQ(stat.l2PselDropRsn, 50u);
        EXPECT_EQ(stat.l3PselDropRsn, 50u);
        EXPECT_EQ(rslt.hsiShim1Rslt.acl_log, 1u);
        EXPECT_EQ(stat.sflw, 1u);
    }
    uint32_t &tailCnt(uint32_t drop_prcd, uint32_t q_priority) {
        return mem.RTE_DRP_TAIL_STS_FCNT_SRAM[2 * (drop_prcd * 256 + 3 * 8 + q_priority) + 1];
    }
    uint32_t &bpCnt(uint32_t trap_que) { return mem.RTE_DRP_BPQ_STS_FCNT_SRAM[2 * (3 * 16 + trap_que) + 1]; }

    CmRteExtCfg &ext = rte->extCfg;
};

TEST_F(TailDropTest, EmptyQueuesTakeEveryFrame) {
    for (uint32_t rsltTyp = 0; rsltTyp < 4; rsltTyp++) {
        frame(rsltTyp);
        const std::string out = drop();
        EXPECT_EQ(out, rsltTyp < 2 ? "" : line("Checking tail drop. color=0, q_prio=2, icb_drop_vector = 0x0\n"));
        expectUntouched(rsltTyp);
    }
}

TEST_F(TailDropTest, ColourJoinsTheVectors) {
    ext.tailDropLst[3] = 0x100;
    ext.yelDropLst[3] = 0x200;
    ext.redDropLst[3] = 0x400;
    ext.tailDropLst[2] = ext.yelDropLst[2] = ext.redDropLst[2] = 0xff; // another port's
    const char *vectors[] = {"0x100", "0x300", "0x700", "0x700"};
    for (uint32_t colour = 0; colour < 4; colour++) {
        frame(RSLT_FWD, colour);
        EXPECT_EQ(drop(), line("Checking tail drop. color=" + std::to_string(colour) +
                               ", q_prio=2, icb_drop_vector = " + vectors[colour] + "\n"));
        expectUntouched(RSLT_FWD);
    }
}

TEST_F(TailDropTest, ForwardIsDroppedAndCountedByColour) {
    ext.tailDropLst[3] = 1u << 2;
    for (uint32_t colour = 0; colour < 5; colour++) {
        frame(RSLT_FWD, colour);
        const std::string col = std::to_string(colour);
        EXPECT_EQ(drop(), line("Checking tail drop. color=" + col + ", q_prio=2, icb_drop_vector = 0x4\n") +
                              line("Tail drop. DROP\n") +
                              line("Increment tail drop stats. drop_prcd=" + col + ", q_prio=2\n"));
        expectDropped(25);
        EXPECT_EQ(stat.l2PselTailDrop, 1u);
    }
    EXPECT_EQ(tailCnt(0, 2), 1u);
    EXPECT_EQ(tailCnt(1, 2), 1u);
    EXPECT_EQ(tailCnt(2, 2), 3u); // every colour above red counts as red
}

TEST_F(TailDropTest, DroppedForwardDoesNotAskForBackPressure) {
    ext.tailDropLst[3] = 1u << 2;
    ext.bpDropLst[3] = 0xff;
    frame(RSLT_FWD);
    EXPECT_EQ(count(drop(), "BP Tail drop"), 0u);
    EXPECT_EQ(bpCnt(5), 0u);
}

TEST_F(TailDropTest, ForwardWithTrapKeepsItsTrap) {
    ext.tailDropLst[3] = 1u << 2;
    frame(RSLT_FWD_A_TRAP);
    EXPECT_EQ(drop(), line("Checking tail drop. color=0, q_prio=2, icb_drop_vector = 0x4\n") +
                          line("Tail drop. packet downgraded from TRAP_A_FWD to TRAP\n"));
    expectRslt(1, 1, 1);
    EXPECT_EQ(rslt.shim2Rslt.is_mgid, 0u);
    EXPECT_EQ(stat.l2PselIsL2Mgid, 0u);
    EXPECT_EQ(stat.l2PselDropRsn, 50u);
    EXPECT_EQ(rslt.hsiShim0Rslt.trap_que, 5u);
    EXPECT_EQ(rslt.hsiShim1Rslt.acl_log, 1u);
    EXPECT_EQ(tailCnt(0, 2), 0u);
}

TEST_F(TailDropTest, ForwardWithTrapThatFindsBothQueuesFullIsATailDrop) {
    ext.tailDropLst[3] = 1u << 2;
    ext.bpDropLst[3] = 1u << 2; // trap queue 5 lies on back-pressure queue 2
    portReg.rte_prc_que_pri_pfc_en = 0x81;
    frame(RSLT_FWD_A_TRAP, 1);
    EXPECT_EQ(drop(), line("Checking tail drop. color=1, q_prio=2, icb_drop_vector = 0x4\n") +
                          line("Tail drop. packet downgraded from TRAP_A_FWD to TRAP\n") +
                          line("BP Tail drop (que_pri_pfc_en = 0x81). DROP\n") +
                          line("Increment tail drop stats. drop_prcd=1, q_prio=2\n"));
    expectDropped(25);
    EXPECT_EQ(stat.l2PselTailDrop, 2u);
    EXPECT_EQ(tailCnt(1, 2), 1u);
    EXPECT_EQ(bpCnt(5), 1u);
}

TEST_F(TailDropTest, ForwardWithTrapLosesItsCopyToBackPressure) {
    ext.bpDropLst[3] = 1u << 2;
    portReg.rte_prc_que_pri_pfc_en = 0x81;
    frame(RSLT_FWD_A_TRAP);
    EXPECT_EQ(drop(),
              line("Checking tail drop. color=0, q_prio=2, icb_drop_vector = 0x0\n") +
                  line("BP Tail drop (que_pri_pfc_en = 0x81). packet downgraded from TRAP_A_FWD to FWD (BP copy "
                       "dropped)\n"));
    expectRslt(2, 2, 3);
    EXPECT_EQ(stat.l2PselTailDrop, 0u);
    EXPECT_EQ(stat.l2PselDropRsn, 50u);
    EXPECT_EQ(stat.l3PselDropRsn, 50u);
    EXPECT_EQ(rslt.hsiShim0Rslt.trap_que, 5u);
    EXPECT_EQ(bpCnt(5), 1u);
}

TEST_F(TailDropTest, TrapIsDroppedByBackPressure) {
    ext.bpDropLst[3] = 1u << 2;
    frame(RSLT_TRAP);
    EXPECT_EQ(drop(), line("BP Tail drop (que_pri_pfc_en = 0x0). DROP\n"));
    expectDropped(29);
    EXPECT_EQ(stat.l2PselTailDrop, 2u);
    EXPECT_EQ(bpCnt(5), 1u);
    EXPECT_EQ(tailCnt(0, 2), 0u);
}

TEST_F(TailDropTest, BackPressureActsOnTrapsOnly) {
    ext.bpDropLst[3] = 0xff;
    for (uint32_t rsltTyp : {0u, 2u}) {
        frame(rsltTyp);
        EXPECT_EQ(count(drop(), "BP"), 0u);
        expectUntouched(rsltTyp);
    }
}

TEST_F(TailDropTest, BackPressureQueueIsThreeBitsOfTheTrapQueue) {
    for (uint32_t trap_que = 0; trap_que < 16; trap_que++) {
        for (uint32_t full = 0; full < 8; full++) {
            ext.bpDropLst[3] = 1u << full;
            frame(RSLT_TRAP);
            rslt.hsiShim0Rslt.trap_que = trap_que;
            drop();
            EXPECT_EQ(rslt.hsiShim0Rslt.rslt_typ, trap_que >> 1 == full ? 0u : 1u) << trap_que << ' ' << full;
        }
        EXPECT_EQ(bpCnt(trap_que), 1u);
    }
}

TEST_F(TailDropTest, BackPressureNeverDropsFcClasses) {
    ext.bpDropLst[3] = 0xff;
    ext.bpLossless = 0xff;
    portReg.rte_prc_que_pri_pfc_en = 0xff;
    for (uint32_t rsltTyp : {1u, 3u}) {
        for (auto [classF, class2] : {std::pair{1u, 0u}, std::pair{0u, 1u}, std::pair{1u, 1u}}) {
            frame(rsltTyp);
            stat.l2FcoeFcClassF = classF;
            stat.l2FcoeFcClass2 = class2;
            const std::string out = drop();
            EXPECT_EQ(count(out, line("Fcoe Class F =" + std::to_string(classF) + " Class 2=" + std::to_string(class2) +
                                      ", BP Tail drop is requested by ICB but ignored.\n")),
                      1u);
            EXPECT_EQ(count(out, "Lossless"), 0u);
            expectUntouched(rsltTyp);
        }
    }
    EXPECT_EQ(bpCnt(5), 0u);
}

TEST_F(TailDropTest, LosslessQueueOfAPausedPriorityIsNotDropped) {
    struct Row {
        uint32_t lossless, pfc, q_priority, ignored;
    };
    const Row rows[] = {{1u << 2, 1u << 2, 2, 1}, {1u << 2, 0xfb, 2, 0}, {0xfb, 1u << 2, 2, 0},
                        {1u << 2, 0x80, 7, 1},    {0xff, 0xff, 32, 0},   {0xff, 0xff, 0, 1}};
    ext.bpDropLst[3] = 0xff;
    for (const Row &row : rows) {
        ext.bpLossless = row.lossless;
        portReg.rte_prc_que_pri_pfc_en = row.pfc;
        frame(RSLT_TRAP, 0, row.q_priority);
        const std::string out = drop();
        char text[160];
        std::snprintf(text, sizeof text,
                      "Lossless que on a PFC enabled (que_pri_pfc_en = 0x%x) port: BP Tail drop is requested by ICB "
                      "but ignored.\n",
                      row.pfc);
        EXPECT_EQ(out == line(text), row.ignored) << &row - rows;
        if (row.ignored)
            expectUntouched(RSLT_TRAP);
        else
            expectDropped(29);
    }
}

TEST_F(TailDropTest, PrioritiesEndAt31) {
    ext.tailDropLst[3] = 0xffffffff;
    for (auto [prio, dropped] : {std::pair{31u, true}, std::pair{32u, false}, std::pair{64u, false}}) {
        frame(RSLT_FWD, 0, prio);
        drop();
        EXPECT_EQ(stat.l2PselTailDrop, dropped ? 1u : 0u) << prio;
    }
}

TEST_F(TailDropTest, DropFoundEarlierIsCarriedOut) {
    for (auto [tailDrop, dropRsn, counted] : {std::tuple{1u, 25u, 1u}, std::tuple{2u, 29u, 0u}}) {
        tailCnt(0, 2) = 0;
        frame(RSLT_TRAP);
        ext.bpDropLst[3] = 0xff;
        stat.l2PselTailDrop = tailDrop;
        EXPECT_EQ(drop(), counted ? line("Increment tail drop stats. drop_prcd=0, q_prio=2\n") : "");
        expectDropped(dropRsn);
        EXPECT_EQ(tailCnt(0, 2), counted);
        EXPECT_EQ(bpCnt(5), 0u);
    }
}

TEST_F(TailDropTest, CountersAreFortyBitsWide) {
    ext.tailDropLst[3] = 1u << 2;
    uint32_t *cnt = &tailCnt(0, 2) - 1;
    cnt[0] = 0xff;
    cnt[1] = 0xffffffff;
    frame(RSLT_FWD);
    drop();
    EXPECT_EQ(cnt[0], 0u);
    EXPECT_EQ(cnt[1], 0u);

    ext.bpDropLst[3] = 0xff;
    cnt = &bpCnt(5) - 1;
    cnt[0] = 0xfe;
    cnt[1] = 0xffffffff;
    frame(RSLT_TRAP);
    drop();
    EXPECT_EQ(cnt[0], 0xffu);
    EXPECT_EQ(cnt[1], 0u);
}

TEST_F(TailDropTest, BackPressureCounterEndsWithItsMemory) {
    ext.bpDropLst[3] = 0xff;
    frame(RSLT_TRAP);
    rslt.hsiShim0Rslt.trap_que = 511 - 48;
    drop();
    EXPECT_EQ(mem.RTE_DRP_BPQ_STS_FCNT_SRAM[1023], 1u);
    const std::vector<uint32_t> before(std::begin(mem.RTE_DRP_BPQ_STS_FCNT_SRAM),
                                       std::end(mem.RTE_DRP_BPQ_STS_FCNT_SRAM));
    for (uint32_t trap_que : {512u - 48, 0x10000000u}) {
        frame(RSLT_TRAP);
        rslt.hsiShim0Rslt.trap_que = trap_que;
        drop();
        expectDropped(29);
    }
    EXPECT_TRUE(std::equal(before.begin(), before.end(), std::begin(mem.RTE_DRP_BPQ_STS_FCNT_SRAM)));
}

} // namespace
