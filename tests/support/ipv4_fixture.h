#pragma once
// The chip set up for IPv4 parsing, frames for it, and the lines that its parser prints.

#include "frame_builder.h"
#include "model_fixture.h"
#include "prc/cmRtePrc.h"

#include <sstream>

using PortFld = uint32_t CmRteHsiPortReg::*;

inline constexpr uint32_t kUlpIcmp = 1;
inline constexpr uint32_t kUlpPim = 103;
inline constexpr uint32_t kPimVerTyp = 0x21;
inline constexpr uint32_t kRpAddr = 0x0a636363;
inline constexpr uint64_t kMacUc = 0x020000000001;

// One queue for each kind of trap, all different.
inline constexpr uint32_t kQueHdrVio = 1;
inline constexpr uint32_t kQueIhlGt5 = 2;
inline constexpr uint32_t kQuePimHdr = 3;
inline constexpr uint32_t kQueSaMcast = 4;
inline constexpr uint32_t kQueDaMcast = 5;
inline constexpr uint32_t kQueTtl = 6;
inline constexpr uint32_t kQueCksum = 7;
inline constexpr uint32_t kQuePimNull = 8;

inline constexpr uint32_t kL3 = 14; // offset of the IP header behind the addresses and the EtherType

/// Writes the header checksum of the `len` bytes from `start`.
inline void fixCksum(std::vector<uint8_t> &bytes, size_t start, size_t len) {
    bytes[start + 10] = bytes[start + 11] = 0;
    Frame sum;
    sum.bytes = bytes;
    const uint32_t value = sum.checksum(start, len);
    bytes[start + 10] = static_cast<uint8_t>(value >> 8);
    bytes[start + 11] = static_cast<uint8_t>(value);
}

class PrcL3Ipv4Test : public ModelTest {
protected:
    PrcL3Ipv4Test() {
        com.rte_l3_ulp_ipv4_icmp = kUlpIcmp;
        com.rte_l3_ulp_pim = kUlpPim;
        com.rte_l3_pim_ver_typ = kPimVerTyp;
        com.rte_l3_ipv4_mcast_prefix = 0xe;
        com.rte_l3_ipv4_mcast_mac_prefix = 0x01005e;
        com.rte_l3_ip_hdr_vio_trap_que = kQueHdrVio;
        com.rte_l3_ipv4_ihl_gt5_trap_que = kQueIhlGt5;
        com.rte_l3_ip_pim_hdr_trap_que = kQuePimHdr;
        com.rte_l3_ip_sa_mcast_trap_que = kQueSaMcast;
        com.rte_l3_ip_da_mcast_trap_que = kQueDaMcast;
        com.rte_l3_ip_ttl_trap_que = kQueTtl;
        com.rte_l3_ipv4_cksum_trap_que = kQueCksum;
        com.rte_l3_ip_pim_null_reg_trap_que = kQuePimNull;
        com.rte_ipv4_pim_rp_addr[9] = kRpAddr;
        com.rte_l3_ipv4_idx[9] = 77;
    }

    /// The headers of an Ethernet frame with one IPv4 header and `payload` zero bytes.
    static std::vector<uint8_t> plain(Frame::Ipv4 h, size_t payload = 40) {
        return Frame().mac(kMacUc, 0x020000000002).etyp(0x0800).ipv4(h).fill(payload).bytes;
    }

    /// A PIM register message to the rendezvous point with the packet `inner`. The register header's checksum covers
    /// its eight bytes: 0x2100 and its complement 0xdeff; with the null-register bit 0x2100 + 0x4000 and 0x9eff.
    static std::vector<uint8_t> pimReg(Frame::Ipv4 outer, Frame::Ipv4 inner, bool nullReg = false) {
        outer.ulp = kUlpPim;
        outer.da = kRpAddr;
        outer.tlen = 48 + static_cast<uint32_t>(outer.options.size());
        Frame f;
        f.mac(kMacUc, 0x020000000002).etyp(0x0800).ipv4(outer);
        f.num(0x2100, 2).num(nullReg ? 0x9eff : 0xdeff, 2).num(nullReg ? 0x40000000 : 0, 4);
        return f.ipv4(inner).fill(40).bytes;
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
        stat.l3IpVer = 4;
        stat.l3Offset = kL3;
        stat.l2Da = kMacUc;
    }
    void place(const std::vector<uint8_t> &bytes) { place(bytes, bytes.size() + 4); }

    uint32_t parse() {
        uint32_t cksumErr = 0;
        PrcL3Ipv4(&stat, 0, cksumErr);
        return cksumErr;
    }

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
