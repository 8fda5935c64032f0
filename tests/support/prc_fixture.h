#pragma once
// A port with common type registers in front of the parser, and checks on what the parser records.

#include "model_fixture.h"
#include "prc/cmRtePrc.h"
#include "roc/cmRteRoc.h"

#include <functional>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

inline constexpr uint64_t kDa = 0x020102030405;
inline constexpr uint64_t kSa = 0x021112131415;
inline constexpr uint64_t kAllRbDa = 0x0180c2000040;
inline constexpr uint32_t kCtagEtyp = 0x8100;
inline constexpr uint32_t kStagEtyp = 0x88a8;
inline constexpr uint32_t kOuterVlanEtyp = 0x8200;
inline constexpr uint32_t kTrillEtyp = 0x22f3;
inline constexpr uint32_t kCnEtyp = 0x22e9;
inline constexpr uint32_t kQcnEtyp = 0x22e7;
inline constexpr uint32_t kIpv4Etyp = 0x0800;
inline constexpr uint32_t kIpv6Etyp = 0x86dd;
inline constexpr uint32_t kNoMansLand = 0x05dd; // 1501: above the longest length, below the first type
inline constexpr uint32_t kHdrVioQue = 11;
inline constexpr uint32_t kTtlQue = 6;

/// The verdict of the layer-2 parser, for comparison.
struct L2Verdict {
    uint32_t trap, que, trapRsn, drop, dropRsn;
    bool operator==(const L2Verdict &) const = default;
};
inline std::ostream &operator<<(std::ostream &os, const L2Verdict &v) {
    return os << "trap=" << v.trap << " que=" << v.que << " rsn=" << v.trapRsn << " drop=" << v.drop
              << " rsn=" << v.dropRsn;
}
inline constexpr L2Verdict kNoVerdict{0, 0, 0, 0, 0};
inline constexpr L2Verdict kHdrVioTrap{1, kHdrVioQue, 0, 0, 0};
inline constexpr L2Verdict dropOf(uint32_t rsn) {
    return {0, 0, 0, 1, rsn};
}

/// A stretch of frame lengths with one outcome.
struct CutRow {
    uint32_t from, to;
    L2Verdict verdict;
};

class PrcTest : public ModelTest {
protected:
    PrcTest() {
        com.rte_l2_dix_typ_min = 0x600;
        com.rte_l2_ieee_len_max = 1500;
        com.rte_l2_vlan_etyp = kOuterVlanEtyp;
        com.rte_l2_trill_etyp = kTrillEtyp;
        com.cn_etyp = kCnEtyp;
        com.fip_etyp = 0x8914;
        com.rte_l2_fcoe_etyp = 0x8906;
        com.rte_l2_ipv4_etyp = kIpv4Etyp;
        com.rte_l2_ipv6_etyp = kIpv6Etyp;
        com.rte_l2_qcn_etyp = kQcnEtyp;
        com.rte_l2_trill_all_rb_da_w0 = kAllRbDa >> 32;
        com.rte_l2_trill_all_rb_da_w1 = static_cast<uint32_t>(kAllRbDa);
        com.rte_l2_trill_addr = 0xbeef;
        com.rte_l2_hdr_vio_trap_que = kHdrVioQue;
        com.rte_l2_trill_ttl_trap_que = kTtlQue;
        port.rte_prc_l2_lu_en = 1;
        port.rte_prc_stag_etyp = kStagEtyp;
        port.rte_prc_ctag_etyp = kCtagEtyp;
        begin({});
    }

    /// Puts `bytes` in front of the parser as a frame of `len` bytes (all of them when 0); what is cut off is gone, and
    /// the 28 bytes behind the frame are the last that may be read.
    void begin(const std::vector<uint8_t> &bytes, size_t len = 0) {
        resetStat();
        const size_t frmLen = len ? len : bytes.size();
        frameBuf.assign(frmLen + 28, 0);
        frameBuf.shrink_to_fit();
        std::copy(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(std::min(frmLen, bytes.size())),
                  frameBuf.begin());
        stat.frm = frameBuf.data();
        setFrameLen(static_cast<uint32_t>(frmLen));
        stat.ingPhyPort = 3;
        stat.frmIdx = 17;
    }

    /// Parses `bytes` quietly, or all but what is behind `len`.
    void parse(const std::vector<uint8_t> &bytes, size_t len = 0) {
        begin(bytes, len);
        EXPECT_EQ(printed([&] { PrcL2(&stat); }), "");
    }

    /// `text` without the lines of the type classification and of the flex keys.
    static std::string decisions(const std::string &text) {
        std::istringstream all(text);
        std::string out;
        for (std::string line; std::getline(all, line);)
            if (line.find(">> ClsEtyp ") == std::string::npos && line.find(">> Flex key ") == std::string::npos)
                out += line + "\n";
        return out;
    }

    /// Parses `bytes` at debug level `level` and returns the parser's decisions.
    std::string parseTrace(const std::vector<uint8_t> &bytes, uint32_t level = 4, size_t len = 0) {
        begin(bytes, len);
        stat.dbgLvl = level;
        return decisions(printed([&] { PrcL2(&stat); }));
    }

    /// `text` as a trace line of the frame.
    static std::string line(const std::string &text) { return "CM port=3, frameIdx=17>> " + text + "\n"; }

    /// Cuts `bytes` at every length of `rows`, which follow one another from 1 on.
    void expectCuts(const std::vector<uint8_t> &bytes, const std::vector<CutRow> &rows) {
        uint32_t next = 1;
        for (const CutRow &row : rows) {
            ASSERT_EQ(row.from, next);
            for (uint32_t len = row.from; len <= row.to; len++) {
                parse(bytes, len);
                EXPECT_EQ(verdict(), row.verdict) << "length " << len;
            }
            next = row.to + 1;
        }
    }

    L2Verdict verdict() const {
        return {stat.l2PrcTrap, stat.l2PrcTrapQue, stat.l2PrcTrapRsn, stat.l2PrcDrop, stat.l2PrcDropRsn};
    }

    static bool endsWith(const std::string &s, const std::string &end) {
        return s.size() >= end.size() && s.compare(s.size() - end.size(), end.size(), end) == 0;
    }

    /// The lookup of VLAN `vid` at logical port 0 gives `xvid`.
    void setVlanTrans(uint32_t vid, uint32_t xvid) {
        uint32_t &word = mem.RTE_VLAN_X_EDRAM[vid >> 1];
        word = vid & 1 ? setBits(word, 12, 0, xvid) : setBits(word, 28, 16, xvid);
    }
};

/// One error of the layer-2 parser: what brings it about, and what it says.
struct L2Err {
    const char *name;
    uint32_t CmRteHsiPortReg::*ck; // null: always checked
    uint32_t CmRteHsiPortReg::*trap;
    uint32_t rsn;
    std::function<std::vector<uint8_t>(CmRteHsiComReg &, CmRteHsiPortReg &)> frame; // sets the port up too
    std::string trapLine, dropLine; // behind the prefix when they do not begin with "CM"
    std::string excuse;             // line of the excused case, empty for none
    uint32_t excuseLvl = 3;
    uint32_t errLvl = 1;
    L2Verdict trapVerdict = kHdrVioTrap;
};
inline std::ostream &operator<<(std::ostream &os, const L2Err &e) {
    return os << e.name;
}

/// Runs one error with its check off, and with trap and drop, at the debug levels that show its lines and below.
class L2ErrTest : public PrcTest, public testing::WithParamInterface<L2Err> {
protected:
    std::string text(const std::string &l) const { return l.rfind("CM", 0) == 0 ? l + "\n" : line(l); }

    void checkOff() {
        const L2Err &e = GetParam();
        if (!e.ck)
            return;
        const std::vector<uint8_t> bytes = e.frame(com, port);
        for (uint32_t trap : {0u, 1u}) {
            port.*e.ck = 0;
            port.*e.trap = trap;
            parse(bytes);
            EXPECT_EQ(verdict(), kNoVerdict);
            const std::string all = parseTrace(bytes);
            EXPECT_EQ(all.find(text(e.trapLine)), std::string::npos) << all;
            EXPECT_EQ(all.find(text(e.dropLine)), std::string::npos) << all;
            if (e.excuse.empty())
                continue;
            EXPECT_NE(all.find(text(e.excuse)), std::string::npos) << all;
            EXPECT_NE(parseTrace(bytes, e.excuseLvl + 1).find(text(e.excuse)), std::string::npos);
            EXPECT_EQ(parseTrace(bytes, e.excuseLvl).find(text(e.excuse)), std::string::npos);
        }
    }

    void checkOn(uint32_t trap) {
        const L2Err &e = GetParam();
        const std::vector<uint8_t> bytes = e.frame(com, port);
        if (e.ck)
            port.*e.ck = 1;
        port.*e.trap = trap;
        parse(bytes);
        EXPECT_EQ(verdict(), trap ? e.trapVerdict : dropOf(e.rsn));
        EXPECT_EQ(stat.l3IpVer, 0u);
        const std::string want = text(trap ? e.trapLine : e.dropLine);
        const std::string all = parseTrace(bytes);
        EXPECT_TRUE(endsWith(all, want)) << all;
        if (!e.excuse.empty()) {
            EXPECT_EQ(all.find(text(e.excuse)), std::string::npos) << all;
        }
        EXPECT_TRUE(endsWith(parseTrace(bytes, e.errLvl + 1), want));
        EXPECT_FALSE(endsWith(parseTrace(bytes, e.errLvl), want));
    }
};
