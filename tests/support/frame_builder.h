#pragma once
// Frames for the tests, built header by header.

#include <cstdint>
#include <string>
#include <vector>

/// A frame that grows at its end; every method returns the frame, so that headers read in their order on the wire.
class Frame {
public:
    std::vector<uint8_t> bytes;

    /// Appends the low `n` bytes of `value`, most significant first.
    Frame &num(uint64_t value, unsigned n) {
        for (unsigned i = n; i-- > 0;)
            bytes.push_back(static_cast<uint8_t>(value >> 8 * i));
        return *this;
    }
    /// Appends hexadecimal digits; blanks are skipped.
    Frame &hex(const std::string &digits) {
        std::string pair;
        for (char c : digits) {
            if (c == ' ')
                continue;
            pair += c;
            if (pair.size() == 2) {
                bytes.push_back(static_cast<uint8_t>(std::stoul(pair, nullptr, 16)));
                pair.clear();
            }
        }
        return *this;
    }
    Frame &fill(size_t n, uint8_t value = 0) {
        bytes.insert(bytes.end(), n, value);
        return *this;
    }
    /// Destination and source address.
    Frame &mac(uint64_t da, uint64_t sa) { return num(da, 6).num(sa, 6); }
    /// A VLAN tag: EtherType `tpid`, priority, CFI and VLAN id.
    Frame &tag(uint32_t tpid, uint32_t vid, uint32_t prio = 0, uint32_t cfi = 0) {
        return num(tpid, 2).num(prio << 13 | cfi << 12 | vid, 2);
    }
    Frame &etyp(uint32_t value) { return num(value, 2); }
    /// A TRILL header without options behind its EtherType.
    Frame &trill(uint32_t da, uint32_t sa, uint32_t hopCnt, uint32_t mc = 0, uint32_t ver = 0, uint32_t optLen = 0) {
        return num(ver << 14 | mc << 11 | optLen << 6 | hopCnt, 2).num(da, 2).num(sa, 2);
    }

    struct Ipv4 {
        uint32_t sa = 0x0a000001, da = 0x0a000002;
        uint32_t ulp = 0, ttl = 64, tos = 0, id = 0, flagsFrag = 0;
        uint32_t tlen = 20; // header and payload
        std::vector<uint8_t> options = {};
        uint32_t ver = 4;
    };
    /// An IPv4 header with a correct checksum; its length covers the options.
    Frame &ipv4(const Ipv4 &h) {
        const size_t start = bytes.size();
        const uint32_t ihl = 5 + static_cast<uint32_t>(h.options.size()) / 4;
        num(h.ver << 4 | ihl, 1).num(h.tos, 1).num(h.tlen, 2).num(h.id, 2).num(h.flagsFrag, 2);
        num(h.ttl, 1).num(h.ulp, 1).num(0, 2).num(h.sa, 4).num(h.da, 4);
        bytes.insert(bytes.end(), h.options.begin(), h.options.end());
        const uint32_t sum = checksum(start, ihl * 4);
        bytes[start + 10] = static_cast<uint8_t>(sum >> 8);
        bytes[start + 11] = static_cast<uint8_t>(sum);
        return *this;
    }

    struct Ipv6 {
        uint64_t saHi = 0x20010db800000000, saLo = 1, daHi = 0x20010db800000000, daLo = 2;
        uint32_t nxtHdr = 59, hopLimit = 64, tclass = 0, flow = 0, plen = 0;
    };
    Frame &ipv6(const Ipv6 &h) {
        num(6u << 28 | h.tclass << 20 | h.flow, 4).num(h.plen, 2).num(h.nxtHdr, 1).num(h.hopLimit, 1);
        return num(h.saHi, 8).num(h.saLo, 8).num(h.daHi, 8).num(h.daLo, 8);
    }

    /// A TCP header of 20 bytes, checksum 0.
    Frame &tcp(uint32_t src, uint32_t dst, uint32_t flags = 0) {
        return num(src, 2).num(dst, 2).num(0, 8).num(0x50, 1).num(flags, 1).fill(6);
    }
    /// A UDP header, checksum 0.
    Frame &udp(uint32_t src, uint32_t dst, uint32_t len = 8) { return num(src, 2).num(dst, 2).num(len, 2).num(0, 2); }

    /// The Internet checksum of `len` bytes from `start`, complemented, as it stands in a header.
    uint32_t checksum(size_t start, size_t len) const {
        uint32_t sum = 0;
        for (size_t i = 0; i < len; i++)
            sum += static_cast<uint32_t>(bytes[start + i]) << (i % 2 ? 0 : 8);
        while (sum >> 16)
            sum = (sum & 0xffff) + (sum >> 16);
        return ~sum & 0xffff;
    }
};
