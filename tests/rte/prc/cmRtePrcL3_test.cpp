// The layer-3 errors of the parser: for each, the registers that decide on it, what it stores, over which verdicts,
// what it voids and latches, and its line.

#include "model_fixture.h"
#include "prc/cmRtePrcL3.h"

namespace {

using PortFld = uint32_t CmRteHsiPortReg::*;
using ComFld = uint32_t CmRteHsiComReg::*;
using PortReg = CmRteHsiPortReg;
using ComReg = CmRteHsiComReg;

/// A verdict that may stand in front of an error.
struct Prior {
    const char *name;
    uint32_t que, trapRsn, dropRsn, latched;
};
const Prior kPriors[] = {
    {"nothing", 0, 0, 0, 0},
    {"a queue without a trap", 70, 0, 0, 0},
    {"a trap", 70, 12, 0, 0},
    {"a drop", 0, 0, 17, 0},
    {"a checksum's trap", 70, 10, 0, 0},
    {"a checksum's drop", 0, 0, 18, 0},
    {"a latched trap", 70, 5, 0, 5},
    {"a latched drop", 0, 0, 14, 14},
    {"a trap that was not latched", 70, 5, 0, 0},
    {"a latched trap of another kind", 70, 12, 0, 12},
};

// Over which of them, in their order, an error is stored (S).
const std::string kFirst = "SS--------";
const std::string kIhl6 = "SS----SS--";
const std::string kNotCksum = "SSSS--SSSS";
const std::string kAny = "SSSSSSSSSS";

/// What becomes of the other kind of verdict, and when the reason is latched.
enum Voids { KEEPS, VOIDS_RSN, VOIDS_ALL };
enum Latch { NEVER, INNER, ALWAYS };

struct Row {
    const char *name;
    PRC_L3_CK ck;
    PortFld ckFld, trapFld; // null: none
    ComFld queFld;
    uint32_t trapRsn, dropRsn;
    std::string over;
    Voids voids;
    Latch latch;
    std::string trapLine, dropLine;
};

const Row kRows[] = {
    {"ipv4 version", L3_CK_IPV4_VER, &PortReg::rte_prc_l3_ipv4_ck_ver, &PortReg::rte_prc_l3_ipv4_trap_ver_err,
     &ComReg::rte_l3_ip_hdr_vio_trap_que, 4, 13, kFirst, KEEPS, INNER, "", ""},
    {"ipv4 ihl < 5", L3_CK_IPV4_IHL_LT5, &PortReg::rte_prc_l3_ipv4_ck_ihl_lt5,
     &PortReg::rte_prc_l3_ipv4_trap_ihl_lt5_err, &ComReg::rte_l3_ip_hdr_vio_trap_que, 4, 13, kFirst, KEEPS, INNER, "",
     ""},
    {"ipv4 ihl > 6", L3_CK_IPV4_IHL_GT6, &PortReg::rte_prc_l3_ipv4_ck_ihl_gt5,
     &PortReg::rte_prc_l3_ipv4_trap_ihl_gt5_err, &ComReg::rte_l3_ipv4_ihl_gt5_trap_que, 11, 19, kFirst, KEEPS, NEVER,
     "", ""},
    {"ipv4 tlen", L3_CK_IPV4_TLEN, &PortReg::rte_prc_l3_ipv4_ck_tlen, &PortReg::rte_prc_l3_ipv4_trap_tlen_err,
     &ComReg::rte_l3_ip_hdr_vio_trap_que, 4, 13, kFirst, KEEPS, INNER, "", ""},
    {"ipv4 pim fragment", L3_CK_IPV4_PIM_FRG, &PortReg::rte_prc_l3_ipv4_ck_pim_frg,
     &PortReg::rte_prc_l3_ipv4_trap_pim_frg_err, &ComReg::rte_l3_ip_pim_hdr_trap_que, 9, 17, kFirst, KEEPS, NEVER, "",
     ""},
    {"ipv4 sa", L3_CK_IPV4_SA_MCAST, &PortReg::rte_prc_l3_ipv4_ck_sa_mcast, &PortReg::rte_prc_l3_ipv4_trap_sa_mcast_err,
     &ComReg::rte_l3_ip_sa_mcast_trap_que, 8, 16, kFirst, KEEPS, INNER, "", ""},
    {"ipv4 da", L3_CK_IPV4_DA_MCAST, &PortReg::rte_prc_l3_ipv4_ck_da_mcast, &PortReg::rte_prc_l3_ipv4_trap_da_mcast_err,
     &ComReg::rte_l3_ip_da_mcast_trap_que, 7, 15, kFirst, KEEPS, NEVER, "", ""},
    {"ipv4 ttl", L3_CK_IPV4_TTL, &PortReg::rte_prc_l3_ipv4_ck_ttl, &PortReg::rte_prc_l3_ipv4_trap_ttl_err,
     &ComReg::rte_l3_ip_ttl_trap_que, 5, 14, kFirst, KEEPS, INNER, "", ""},
    {"ipv4 checksum", L3_CK_IPV4_CKSUM, &PortReg::rte_prc_l3_ipv4_ck_cksum, &PortReg::rte_prc_l3_ipv4_trap_cksum_err,
     &ComReg::rte_l3_ipv4_cksum_trap_que, 10, 18, kNotCksum, VOIDS_ALL, NEVER, "Ipv4 header checksum Err. L3_TRAP",
     "Ipv4 header checksum Err. L3_DROP"},
    {"ipv4 null register", L3_CK_IPV4_PIM_NULL, &PortReg::rte_prc_l3_ck_pim_null, &PortReg::rte_prc_l3_trap_pim_null,
     &ComReg::rte_l3_ip_pim_null_reg_trap_que, 19, 35, kFirst, VOIDS_ALL, ALWAYS, "Ipv4 PIM NULL TRAP",
     "Ipv4 PIM NULL DROP"},
    {"ipv4 pim checksum", L3_CK_IPV4_PIM_CKSUM, &PortReg::rte_prc_l3_ipv4_ck_pim_cksum,
     &PortReg::rte_prc_l3_ipv4_trap_pim_cksum_err, &ComReg::rte_l3_ipv4_cksum_trap_que, 10, 18, kNotCksum, VOIDS_ALL,
     NEVER, "", ""},
    {"ipv4 eof", L3_CK_IPV4_EOF, nullptr, &PortReg::rte_prc_l3_ipv4_trap_eof_err, &ComReg::rte_l3_ip_hdr_vio_trap_que,
     4, 12, kNotCksum, VOIDS_ALL, NEVER, "", ""},
    {"ipv4 ihl 6", L3_CK_IPV4_IHL_6, &PortReg::rte_prc_l3_ipv4_ck_ihl_gt5, &PortReg::rte_prc_l3_ipv4_trap_ihl_gt5_err,
     &ComReg::rte_l3_ipv4_ihl_gt5_trap_que, 11, 19, kIhl6, VOIDS_RSN, NEVER, "", ""},
    {"ipv4 router alert", L3_CK_IPV4_RTR_ALERT, nullptr, &PortReg::rte_prc_l3_ipv4_trap_ihl_gt5_err,
     &ComReg::rte_l3_ipv4_rtr_alert_trap_que, 22, 19, kFirst, KEEPS, NEVER,
     "IPv4 router alert option detected and trapped", "IPv4 router alert option detected and dropped"},
    {"ipv6 version", L3_CK_IPV6_VER, &PortReg::rte_prc_l3_ipv6_ck_ver, &PortReg::rte_prc_l3_ipv6_trap_ver_err,
     &ComReg::rte_l3_ip_hdr_vio_trap_que, 4, 13, kFirst, KEEPS, INNER, "", ""},
    {"ipv6 hop by hop", L3_CK_IPV6_HBH, &PortReg::rte_prc_l3_ipv6_ck_hbh, nullptr, &ComReg::rte_l3_ipv6_hbh_trap_que,
     12, 0, kFirst, KEEPS, NEVER, "", ""},
    {"ipv6 sa", L3_CK_IPV6_SA_MCAST, &PortReg::rte_prc_l3_ipv6_ck_sa_mcast, &PortReg::rte_prc_l3_ipv6_trap_sa_mcast_err,
     &ComReg::rte_l3_ip_sa_mcast_trap_que, 8, 16, kFirst, KEEPS, NEVER, "", ""},
    {"ipv6 da", L3_CK_IPV6_DA_MCAST, &PortReg::rte_prc_l3_ipv6_ck_da_mcast, &PortReg::rte_prc_l3_ipv6_trap_da_mcast_err,
     &ComReg::rte_l3_ip_da_mcast_trap_que, 7, 15, kFirst, KEEPS, NEVER, "", ""},
    {"ipv6 ttl", L3_CK_IPV6_TTL, &PortReg::rte_prc_l3_ipv6_ck_ttl, &PortReg::rte_prc_l3_ipv6_trap_ttl_err,
     &ComReg::rte_l3_ip_ttl_trap_que, 5, 14, kFirst, KEEPS, NEVER, "", ""},
    {"ipv6 pim extension", L3_CK_IPV6_PIM_EXT, &PortReg::rte_prc_l3_ipv6_ck_pim_ext,
     &PortReg::rte_prc_l3_ipv6_trap_pim_ext_err, &ComReg::rte_l3_ip_pim_hdr_trap_que, 9, 17, kFirst, KEEPS, NEVER, "",
     ""},
    {"ipv6 null register", L3_CK_IPV6_PIM_NULL, &PortReg::rte_prc_l3_ck_pim_null, &PortReg::rte_prc_l3_trap_pim_null,
     &ComReg::rte_l3_ip_pim_null_reg_trap_que, 19, 35, kFirst, VOIDS_ALL, NEVER, "Ipv6 PIM NULL TRAP",
     "Ipv6 PIM NULL DROP"},
    {"ipv6 pim checksum", L3_CK_IPV6_PIM_CKSUM, &PortReg::rte_prc_l3_ipv6_ck_pim_cksum,
     &PortReg::rte_prc_l3_ipv6_trap_pim_cksum_err, &ComReg::rte_l3_ipv4_cksum_trap_que, 10, 18, kNotCksum, VOIDS_ALL,
     NEVER, "", ""},
    {"ipv6 eof", L3_CK_IPV6_EOF, nullptr, &PortReg::rte_prc_l3_ipv6_trap_eof_err, &ComReg::rte_l3_ip_hdr_vio_trap_que,
     4, 12, kNotCksum, VOIDS_ALL, NEVER, "", ""},
    {"ipv6 length limit", L3_CK_IPV6_MAX_LEN, nullptr, &PortReg::rte_prc_l3_ipv6_trap_max_len_err,
     &ComReg::rte_l3_ip_hdr_vio_trap_que, 23, 31, kNotCksum, VOIDS_ALL, NEVER, "", ""},
    {"fcoe eof", L3_CK_FCOE_EOF, nullptr, &PortReg::rte_prc_fcoe_trap_eof_err, &ComReg::rte_fcoe_hdr_vio_trap_que, 15,
     12, kAny, KEEPS, NEVER, "FCOE DRP_EOF. L3_TRAP.", "FCOE DRP_EOF. L3_DROP."},
    {"fcoe ttl", L3_CK_FCOE_TTL, &PortReg::rte_prc_fcoe_ck_ttl, &PortReg::rte_prc_fcoe_trap_ttl_err,
     &ComReg::rte_fcoe_ttl_trap_que, 16, 23, kAny, KEEPS, NEVER, "FCoE TTL err. L3_TRAP", "FCoE TTL err. L3_DROP"},
};

class PrcL3CkTest : public ModelTest {
protected:
    /// A record on which `prior` stands, and registers of which `row` has none set but its queue.
    void begin(const Row &row, const Prior &prior) {
        port = {};
        com = {};
        com.*row.queFld = 33;
        resetStat();
        stat.l3PrcTrapQue = prior.que;
        stat.l3PrcTrapRsn = prior.trapRsn;
        stat.l3PrcDropRsn = prior.dropRsn;
        stat.l3Ipv4Ihl6ErrCanWin = prior.latched;
        stat.dbgLvl = 2;
        stat.frmIdx = 17;
    }

    void expect(uint32_t que, uint32_t trapRsn, uint32_t dropRsn, uint32_t latched) const {
        EXPECT_EQ(stat.l3PrcTrapQue, que);
        EXPECT_EQ(stat.l3PrcTrapRsn, trapRsn);
        EXPECT_EQ(stat.l3PrcDropRsn, dropRsn);
        EXPECT_EQ(stat.l3Ipv4Ihl6ErrCanWin, latched);
    }
};

TEST_F(PrcL3CkTest, AnErrorThatThePortDoesNotCheckChangesNothing) {
    for (const Row &row : kRows) {
        if (!row.ckFld)
            continue;
        SCOPED_TRACE(row.name);
        for (const Prior &prior : kPriors) {
            begin(row, prior);
            EXPECT_EQ(printed([&] { EXPECT_EQ(prcL3Ck(&stat, row.ck, 1), L3_CK_OFF); }), "");
            expect(prior.que, prior.trapRsn, prior.dropRsn, prior.latched);
        }
    }
}

TEST_F(PrcL3CkTest, AnErrorThatMayNotReplaceTheVerdictChangesNothing) {
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        for (size_t i = 0; i < std::size(kPriors); i++) {
            if (row.over[i] == 'S')
                continue;
            SCOPED_TRACE(kPriors[i].name);
            begin(row, kPriors[i]);
            if (row.ckFld)
                port.*row.ckFld = 1;
            EXPECT_EQ(printed([&] { EXPECT_EQ(prcL3Ck(&stat, row.ck, 1), L3_CK_STANDS); }), "");
            expect(kPriors[i].que, kPriors[i].trapRsn, kPriors[i].dropRsn, kPriors[i].latched);
        }
    }
}

TEST_F(PrcL3CkTest, AnErrorIsStoredAsATrap) {
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        for (size_t i = 0; i < std::size(kPriors); i++) {
            const Prior &prior = kPriors[i];
            if (row.over[i] != 'S')
                continue;
            for (uint32_t inner = 0; inner < 2; inner++) {
                SCOPED_TRACE(std::string(prior.name) + (inner ? ", inner" : ", outer"));
                begin(row, prior);
                if (row.ckFld)
                    port.*row.ckFld = 1;
                if (row.trapFld)
                    port.*row.trapFld = 1;
                const std::string line = row.trapLine.empty() ? "" : "CM port=0, frameIdx=17>> " + row.trapLine + "\n";
                EXPECT_EQ(printed([&] { EXPECT_EQ(prcL3Ck(&stat, row.ck, inner), L3_CK_STORED); }), line);
                const bool latches = row.latch == ALWAYS || (row.latch == INNER && inner);
                expect(33, row.trapRsn, row.voids == KEEPS ? prior.dropRsn : 0, latches ? row.trapRsn : prior.latched);
            }
        }
    }
}

TEST_F(PrcL3CkTest, AnErrorIsStoredAsADrop) {
    for (const Row &row : kRows) {
        if (!row.trapFld)
            continue;
        SCOPED_TRACE(row.name);
        for (size_t i = 0; i < std::size(kPriors); i++) {
            const Prior &prior = kPriors[i];
            if (row.over[i] != 'S')
                continue;
            for (uint32_t inner = 0; inner < 2; inner++) {
                SCOPED_TRACE(std::string(prior.name) + (inner ? ", inner" : ", outer"));
                begin(row, prior);
                if (row.ckFld)
                    port.*row.ckFld = 1;
                const std::string line = row.dropLine.empty() ? "" : "CM port=0, frameIdx=17>> " + row.dropLine + "\n";
                EXPECT_EQ(printed([&] { EXPECT_EQ(prcL3Ck(&stat, row.ck, inner), L3_CK_STORED); }), line);
                const bool latches = row.latch == ALWAYS || (row.latch == INNER && inner);
                expect(row.voids == VOIDS_ALL ? 0 : prior.que, row.voids == KEEPS ? prior.trapRsn : 0, row.dropRsn,
                       latches ? row.dropRsn : prior.latched);
            }
        }
    }
}

TEST_F(PrcL3CkTest, LinesNeedALevelAboveOne) {
    begin(kRows[8], kPriors[0]);
    port.rte_prc_l3_ipv4_ck_cksum = 1;
    stat.dbgLvl = 1;
    EXPECT_EQ(printed([&] { EXPECT_EQ(prcL3Ck(&stat, L3_CK_IPV4_CKSUM), L3_CK_STORED); }), "");
}

} // namespace
