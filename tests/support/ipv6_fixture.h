#pragma once
// The chip set up for IPv6 parsing, frames for it, and the lines that its parser prints.

#include "frame_builder.h"
#include "model_fixture.h"
#include "prc/cmRtePrc.h"

#include <sstream>

using PortFld = uint32_t CmRteHsiPortReg::*;

inline constexpr uint32_t kHbh = 0;
inline constexpr uint32_t kTcp = 6;
inline constexpr uint32_t kUdp = 17;
inline constexpr uint32_t kRouting = 43;
inline constexpr uint32_t kFrag = 44;
inline constexpr uint32_t kIcmp = 58;
inline constexpr uint32_t kNoNext = 59; // in the set of protocols that end the walk
inline constexpr uint32_t kDstOpt = 60;
inline constexpr uint32_t kPim = 103;
inline constexpr uint64_t kMacUc = 0x020000000001;

// One queue for each kind of trap, all different.
inline constexpr uint32_t kQueHdrVio = 1;
inline constexpr uint32_t kQueHbh = 2;
inline constexpr uint32_t kQuePimHdr = 3;
inline constexpr uint32_t kQueSaMcast = 4;
inline constexpr uint32_t kQueDaMcast = 5;
inline constexpr uint32_t kQueTtl = 6;
inline constexpr uint32_t kQueCksum = 7;
inline constexpr uint32_t kQuePimNull = 8;

inline constexpr uint32_t kL3 = 14; // offset of the IP header behind the addresses and the EtherType

inline const std::string kPre = "CM port=3, frameIdx=7>> ";

class PrcL3Ipv6Test : public ModelTest {
protected:
    PrcL3Ipv6Test() {
        com.rte_l3_ulp_hbh = kHbh;
        com.rte_l3_ulp_tcp = kTcp;
        com.rte_l3_ulp_udp = kUdp;
        com.rte_l3_ulp_icmp = kIcmp;
        com.rte_l3_ulp_pim = kPim;
        com.rte_l3_ipv6_frag_ext = kFrag;
        com.rte_l3_ipv6_ulp_msk[6] = 1u << 27; // 59 = 32 + 27
        com.rte_l3_pim_ver_typ = 0x21;
        com.rte_l3_ipv6_max_len = 0xfff;
        com.rte_l3_ipv6_mcast_prefix = 0xff;
        com.rte_l3_ipv6_mcast_mac_prefix = 0x3333;
        com.rte_l3_ip_hdr_vio_trap_que = kQueHdrVio;
        com.rte_l3_ipv6_hbh_trap_que = kQueHbh;
        com.rte_l3_ip_pim_hdr_trap_que = kQuePimHdr;
        com.rte_l3_ip_sa_mcast_trap_que = kQueSaMcast;
        com.rte_l3_ip_da_mcast_trap_que = kQueDaMcast;
        com.rte_l3_ip_ttl_trap_que = kQueTtl;
        com.rte_l3_ipv4_cksum_trap_que = kQueCksum;
        com.rte_l3_ip_pim_null_reg_trap_que = kQuePimNull;
        // The rendezvous point 2001:db8::2, which is the frame builder's DA.
        com.rte_ipv6_pim_rp_addr[5][0] = 0x20010db8;
        com.rte_ipv6_pim_rp_addr[5][3] = 2;
        com.rte_l3_ipv6_idx[5] = 21;
    }

    static Frame head(Frame::Ipv6 h) { return Frame().mac(kMacUc, 0x020000000002).etyp(0x86dd).ipv6(h); }

    /// A fixed header and `payload` zero bytes.
    static std::vector<uint8_t> plain(Frame::Ipv6 h, size_t payload = 60) { return head(h).fill(payload).bytes; }

    /// A fixed header, an extension header of 8 + 8 * `len` bytes, and `payload` zero bytes.
    static std::vector<uint8_t> ext(uint32_t kind, uint32_t nxtHdr, uint32_t len = 0, size_t payload = 60) {
        return head({.nxtHdr = kind}).num(nxtHdr, 1).num(len, 1).fill(6 + 8 * len).fill(payload).bytes;
    }

    /// A fragment header with its offset and M flag, then an ICMP header.
    static std::vector<uint8_t> frag(uint32_t offset, uint32_t flagM, uint32_t nxtHdr = kIcmp) {
        Frame f = head({.nxtHdr = kFrag});
        f.num(nxtHdr, 1).num(9, 1).num(offset << 3 | flagM, 2).num(0x55555555, 4); // its second byte is no length
        return f.num(0x8001, 2).fill(60).bytes;
    }

    /// A PIM register message from 2001:db8::1 to 2001:db8::2 with the packet `inner`. The checksum's words: twice
    /// 0x2001 + 0x0db8, 1 and 2, 8 and 103, 0x2100: 0x7ce4 together, complement 0x831b. The null-register bit adds
    /// 0x4000: complement 0x431b.
    static std::vector<uint8_t> pimReg(Frame::Ipv6 outer, Frame::Ipv6 inner, bool nullReg = false) {
        outer.nxtHdr = kPim;
        Frame f = head(outer);
        f.num(0x2100, 2).num(nullReg ? 0x431b : 0x831b, 2).num(nullReg ? 0x40000000 : 0, 4);
        return f.ipv6(inner).fill(60).bytes;
    }

    /// Places `bytes` as the parser's driver leaves them: the FCS and 28 bytes behind it zero, nothing more.
    void place(std::vector<uint8_t> bytes, size_t frmLen) {
        bytes.resize(frmLen > 3 ? frmLen - 4 : frmLen);
        bytes.resize(frmLen + 28);
        frameBuf = bytes;
        frameBuf.shrink_to_fit();
        resetStat();
        stat.frm = frameBuf.data();
        setFrameLen(static_cast<uint32_t>(frmLen));
        stat.ingPhyPort = 3;
        stat.frmIdx = 7;
        stat.l3IpVer = 6;
        stat.l3Offset = kL3;
        stat.l2Da = kMacUc;
    }
    void place(const std::vector<uint8_t> &bytes) { place(bytes, bytes.size() + 4); }

    void parse() { PrcL3Ipv6(&stat, 0, 0); }

    /// The parser's own lines at debug level `dbgLvl`; those of the flex keys are left out.
    std::string lines(const std::function<void()> &fn, uint32_t dbgLvl) {
        stat.dbgLvl = dbgLvl;
        std::istringstream all(printed(fn));
        std::string own, line;
        while (std::getline(all, line))
            if (line.find("Flex key") == std::string::npos)
                own += line + '\n';
        return own;
    }
    std::string parseLines(uint32_t dbgLvl = 4) {
        return lines([this] { parse(); }, dbgLvl);
    }

    void expectVerdict(uint32_t que, uint32_t trapRsn, uint32_t dropRsn) {
        EXPECT_EQ(stat.l3PrcTrapQue, que);
        EXPECT_EQ(stat.l3PrcTrapRsn, trapRsn);
        EXPECT_EQ(stat.l3PrcDropRsn, dropRsn);
    }

    void eraseChecks() { port = CmRteHsiPortReg{}; }
};
