#include "roc_fixture.h"

#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace {

/// Copies of the frame: ACL log, sFlow samples and spans.
class CmRteRocCopyTest : public RocTest {
protected:
    /// The low word of the loss counter of span queue `que`, of port 3.
    uint32_t &spanLoss(uint32_t que) { return mem.RTE_DRP_SPAN_STS_FCNT_RA[2 * (3 * 8 + que) + 1]; }

    void spans(uint32_t iEn, uint32_t iQue, uint32_t rEn, uint32_t rQue) {
        start();
        portReg.rte_prc_i_span_en = iEn;
        portReg.i_span_id = iQue;
        stat.l2PselSpan = rEn;
        stat.l2PselSpanId = rQue;
        std::memset(mem.RTE_DRP_SPAN_STS_FCNT_RA, 0, sizeof mem.RTE_DRP_SPAN_STS_FCNT_RA);
        run();
    }
    void expectSpans(uint32_t iSpan, uint32_t rSpan) const {
        EXPECT_EQ(rslt.hsiShim1Rslt.i_span, iSpan);
        EXPECT_EQ(rslt.hsiShim1Rslt.r_span, rSpan);
    }
};

TEST_F(CmRteRocCopyTest, AclLogOfTheDecidingSide) {
    for (uint32_t win : {0u, 1u}) {
        start();
        stat.l3AclEn = 1;
        stat.l3PselAclLogL3Ovrd = win;
        stat.l2PselAclLog = 1;
        run();
        EXPECT_EQ(rslt.hsiShim1Rslt.acl_log, 1 - win);
        stat.l2PselAclLog = 0;
        stat.l3PselAclLog = 1;
        run();
        EXPECT_EQ(rslt.hsiShim1Rslt.acl_log, win);
    }
}

TEST_F(CmRteRocCopyTest, AclLogNeedsAForward) {
    rte->extCfg.mspanFul = 1;
    for (uint32_t rsltTyp : {0u, 1u}) {
        start();
        stat.l2PselRsltTyp = rsltTyp;
        stat.l2PselAclLog = 1;
        const std::string out = traced();
        EXPECT_EQ(rslt.hsiShim1Rslt.acl_log, 0u);
        EXPECT_EQ(
            count(out, line("[ROC] turning off acl_log since result is not forward " + std::to_string(rsltTyp) + "\n")),
            1u);
        EXPECT_EQ(count(out, "mspanFul"), 0u);
        EXPECT_EQ(portReg.rte_prc_acl_log_drp_cnt_1, 0u);
    }
}

TEST_F(CmRteRocCopyTest, AclLogIsLostAndCountedWhenItsQueueIsFull) {
    rte->extCfg.mspanFul = 1;
    portReg.rte_prc_acl_log_drp_cnt_0 = 0xfe;
    portReg.rte_prc_acl_log_drp_cnt_1 = 0xffffffff;
    for (uint32_t rsltTyp : {2u, 3u}) {
        start();
        stat.l2PselRsltTyp = rsltTyp;
        stat.l2PselAclLog = 1;
        const std::string out = traced();
        EXPECT_EQ(rslt.hsiShim1Rslt.acl_log, 0u);
        EXPECT_EQ(count(out, line("[ROC] mspanFul=1 ==> acl_log set to 0\n")), 1u);
        EXPECT_EQ(count(out, "turning off"), 0u);
    }
    EXPECT_EQ(portReg.rte_prc_acl_log_drp_cnt_0, 0xffu);
    EXPECT_EQ(portReg.rte_prc_acl_log_drp_cnt_1, 1u);

    start();
    EXPECT_EQ(count(traced(), "mspanFul"), 0u);
    EXPECT_EQ(portReg.rte_prc_acl_log_drp_cnt_1, 1u);
}

TEST_F(CmRteRocCopyTest, AclLogCounterIsFortyBitsWide) {
    rte->extCfg.mspanFul = 1;
    portReg.rte_prc_acl_log_drp_cnt_0 = 0xff;
    portReg.rte_prc_acl_log_drp_cnt_1 = 0xffffffff;
    stat.l2PselAclLog = 1;
    run();
    EXPECT_EQ(portReg.rte_prc_acl_log_drp_cnt_0, 0u);
    EXPECT_EQ(portReg.rte_prc_acl_log_drp_cnt_1, 0u);
}

TEST_F(CmRteRocCopyTest, SampleOfThePortOrElseOfTheDecidingAcl) {
    struct Row {
        uint32_t sflw, l3AclEn, l3Err, l2Hit, l3Hit, sample;
    };
    const Row rows[] = {{0, 0, 0, 1, 0, 1}, {0, 0, 0, 0, 1, 0}, {0, 1, 0, 0, 1, 1}, {0, 1, 0, 1, 0, 0},
                        {0, 1, 1, 1, 0, 1}, {0, 1, 1, 0, 1, 0}, {1, 0, 0, 0, 0, 1}, {1, 1, 0, 1, 0, 1}};
    for (const Row &row : rows) {
        start();
        stat.sflw = row.sflw;
        stat.l3AclEn = row.l3AclEn;
        stat.l3PrcErrDetected = row.l3Err;
        stat.l2AclSflwHit = row.l2Hit;
        stat.l3AclSflwHit = row.l3Hit;
        EXPECT_EQ(count(traced(), "Sflow killed"), 0u);
        EXPECT_EQ(rslt.hsiShim1Rslt.sflw, row.sample) << &row - rows;
    }
}

TEST_F(CmRteRocCopyTest, SampleNeedsAForward) {
    for (uint32_t rsltTyp : {0u, 1u}) {
        for (uint32_t sflw : {0u, 1u}) {
            start();
            stat.l2PselRsltTyp = rsltTyp;
            stat.sflw = sflw;
            EXPECT_EQ(count(traced(), line("Sflow killed due to non forwarding result\n")), 1u);
            EXPECT_EQ(rslt.hsiShim1Rslt.sflw, 0u);
        }
    }
}

TEST_F(CmRteRocCopyTest, HitFlagsAreCountedFromTheTopAndSetBeatsClear) {
    struct Row {
        uint32_t hit, set, before, after;
    };
    const uint32_t f = 1u << 30; // flag 1 of the word
    const Row rows[] = {{0, 0, 0, 0}, {0, 0, f, f}, {1, 0, f, 0},    {0, 1, 0, f},
                        {1, 1, f, f}, {1, 1, 0, f}, {1, 0, ~0u, ~f}, {0, 1, ~f, ~0u}};
    for (uint32_t l3 : {0u, 1u}) {
        for (const Row &row : rows) {
            start();
            (l3 ? stat.l3PselStsSflowHitIdx : stat.l2PselStsSflowHitIdx) = 33;
            (l3 ? stat.l2PselStsSflowHitIdx : stat.l3PselStsSflowHitIdx) = 64;
            (l3 ? stat.l3AclSflwHit : stat.l2AclSflwHit) = row.hit;
            (l3 ? stat.l3PselSflowFlagSet : stat.l2PselSflowFlagSet) = row.set;
            mem.RTE_ACL_STS_SFLOW_RA[1] = row.before;
            run();
            EXPECT_EQ(mem.RTE_ACL_STS_SFLOW_RA[1], row.after) << l3 << ' ' << &row - rows;
        }
    }
    EXPECT_EQ(mem.RTE_ACL_STS_SFLOW_RA[0], 0u);
    EXPECT_EQ(mem.RTE_ACL_STS_SFLOW_RA[2], 0u);
}

TEST_F(CmRteRocCopyTest, Layer2sHitFlagComesLast) {
    stat.l2PselStsSflowHitIdx = stat.l3PselStsSflowHitIdx = 31;
    stat.l3PselSflowFlagSet = 1;
    stat.l2AclSflwHit = 1;
    run();
    EXPECT_EQ(mem.RTE_ACL_STS_SFLOW_RA[0], 0u);
}

TEST_F(CmRteRocCopyTest, HitFlagsEndWithTheMemory) {
    constexpr uint32_t kWords = 1024;
    stat.l2PselStsSflowHitIdx = kWords * 32 - 1;
    stat.l2PselSflowFlagSet = 1;
    run();
    EXPECT_EQ(mem.RTE_ACL_STS_SFLOW_RA[kWords - 1], 1u);
    stat.l2PselStsSflowHitIdx = kWords * 32; // beyond: nothing is written
    run();
    stat.l2PselStsSflowHitIdx = 0xffffffff;
    run();
    EXPECT_EQ(mem.RTE_ACL_STS_SFLOW_RA[0], 0u);
    EXPECT_EQ(mem.RTE_ACL_STS_SFLOW_RA[kWords - 1], 1u);
}

TEST_F(CmRteRocCopyTest, SampleIsLostAndCountedWhenItsQueueIsFull) {
    portReg.rte_prc_sflw_drp_cnt_0 = 0xff;
    portReg.rte_prc_sflw_drp_cnt_1 = 0xfffffffe;
    for (auto [sflw, ful, sample] :
         {std::tuple{1u, 1u, 0u}, std::tuple{1u, 2u, 1u}, std::tuple{0u, 1u, 0u}, std::tuple{1u, 3u, 0u}}) {
        start();
        stat.sflw = sflw;
        rte->extCfg.sflwAclFul = ful;
        run();
        EXPECT_EQ(rslt.hsiShim1Rslt.sflw, sample) << sflw << ful;
    }
    // Two losses wrap the 40 bits.
    EXPECT_EQ(portReg.rte_prc_sflw_drp_cnt_0, 0u);
    EXPECT_EQ(portReg.rte_prc_sflw_drp_cnt_1, 0u);
}

// Spans.

TEST_F(CmRteRocCopyTest, ResultSpanOfTheDecidingSide) {
    for (uint32_t win : {0u, 1u}) {
        start();
        stat.l3AclEn = 1;
        stat.l3PselSpanL3Ovrd = win;
        stat.l2PselSpan = 1 - win;
        stat.l2PselSpanId = 2;
        stat.l3PselSpanEn = win;
        stat.l3PselSpanId = 3;
        run();
        EXPECT_EQ(rslt.hsiShim1Rslt.r_span, 1u);
        EXPECT_EQ(rslt.hsiShim1Rslt.r_span_que, 2 + win);
    }
}

TEST_F(CmRteRocCopyTest, SpansToTwoQueuesAreBothMade) {
    spans(1, 4, 1, 5);
    expectSpans(1, 1);
    EXPECT_EQ(rslt.hsiShim1Rslt.i_span_que, 4u);
    EXPECT_EQ(rslt.hsiShim1Rslt.r_span_que, 5u);
}

TEST_F(CmRteRocCopyTest, SpansToOneQueueMakeOneCopy) {
    spans(1, 4, 1, 4);
    expectSpans(1, 0);
    EXPECT_EQ(spanLoss(4), 0u);
}

TEST_F(CmRteRocCopyTest, ResultSpanToTheQueueOfAnUnusedIngressSpanStays) {
    spans(0, 4, 1, 4);
    expectSpans(0, 1);
}

TEST_F(CmRteRocCopyTest, SpansToOneFullQueueAreCountedOnce) {
    rte->extCfg.spanFul = 1u << 4;
    spans(1, 4, 1, 4);
    expectSpans(0, 0);
    EXPECT_EQ(spanLoss(4), 1u);
}

TEST_F(CmRteRocCopyTest, SpansToTwoFullQueuesAreCountedEach) {
    rte->extCfg.spanFul = 1u << 4 | 1u << 7;
    spans(1, 4, 1, 7);
    expectSpans(0, 0);
    EXPECT_EQ(spanLoss(4), 1u);
    EXPECT_EQ(spanLoss(7), 1u);
}

TEST_F(CmRteRocCopyTest, FullQueueTakesOnlyItsOwnSpan) {
    rte->extCfg.spanFul = 1u << 4;
    spans(1, 4, 1, 5);
    expectSpans(0, 1);
    EXPECT_EQ(spanLoss(4), 1u);
    spans(1, 5, 1, 4);
    expectSpans(1, 0);
    EXPECT_EQ(spanLoss(4), 1u);
    EXPECT_EQ(spanLoss(5), 0u);
    spans(0, 4, 1, 4);
    expectSpans(0, 0);
    EXPECT_EQ(spanLoss(4), 1u);
    spans(0, 4, 0, 4);
    EXPECT_EQ(spanLoss(4), 0u);
}

TEST_F(CmRteRocCopyTest, QueueNumbersAreTakenModulo64AndEndAt31) {
    rte->extCfg.spanFul = 0xffffffff;
    for (auto [que, full] : {std::pair{31u, true}, std::pair{32u, false}, std::pair{63u, false}, std::pair{64u, true},
                             std::pair{95u, true}, std::pair{96u, false}}) {
        spans(0, 0, 1, que);
        EXPECT_EQ(rslt.hsiShim1Rslt.r_span, full ? 0u : 1u) << que;
    }
}

TEST_F(CmRteRocCopyTest, SpanLossCounterIsFortyBitsWideAndEndsWithItsMemory) {
    rte->extCfg.spanFul = 0xffffffff;
    mem.RTE_DRP_SPAN_STS_FCNT_RA[2 * (3 * 8 + 6)] = 0xff;
    spanLoss(6) = 0xffffffff;
    stat.l2PselSpan = 1;
    stat.l2PselSpanId = 6;
    run();
    EXPECT_EQ(mem.RTE_DRP_SPAN_STS_FCNT_RA[2 * (3 * 8 + 6)], 0u);
    EXPECT_EQ(spanLoss(6), 0u);

    // Entry 24 + 256 lies beyond the last one; the next memory's words are not touched.
    stat.l2PselSpan = 1;
    stat.l2PselSpanId = 256;
    run();
    EXPECT_EQ(rslt.hsiShim1Rslt.r_span, 0u);
    EXPECT_EQ(mem.RTE_DRP_BPQ_STS_FCNT_SRAM[2 * (24 + 256) - 512 + 1], 0u);
}

} // namespace
