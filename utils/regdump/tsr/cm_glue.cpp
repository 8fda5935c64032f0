#include "cm_glue.h"

#include "base/cmRteVerdict.h"
#include "base/cmUtl.h"
#include "dmp_entry.h"
#include "hsi_word.h"
#include "tsr_reg.h"

#include <cstring>

/// The value of a hexadecimal digit, or -1.
static int hexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

void frame_raw(uint8_t *rx_buf, int has_shim, int rx_buf_size, const char *rx_frame_char, int frame_len,
               uint32_t *raw_len, uint8_t *shim, int shim_size) {
    std::memset(rx_buf, 0, static_cast<size_t>(rx_buf_size));
    uint32_t count = 0;
    uint8_t *out = has_shim ? shim : rx_buf;
    int high = -1;

    auto store = [&](int byte) {
        out[count++] = static_cast<uint8_t>(byte);
        if (out == shim && count == static_cast<uint32_t>(shim_size)) {
            out = rx_buf;
            count = 0;
        }
    };
    for (int i = 0; i < frame_len; i++) {
        const int digit = hexDigit(rx_frame_char[i]);
        if (digit < 0)
            continue;
        if (high < 0) {
            high = digit;
            continue;
        }
        store(high << 4 | digit);
        high = -1;
    }
    if (high >= 0)
        store(high << 4);
    *raw_len = count;
}

void shim_fmt(const shim_t *shim, uint32_t *shim_wd) {
    std::memset(shim_wd, 0, kShimBytes);
#define SHIM(word, hi, lo, name, member) shim_wd[word] = setBits(shim_wd[word], hi, lo, shim->name);
#include "tsr_shim.def"
}

void shim_str_2_struct(const uint32_t *shim_wd, shim_t *shim) {
#define SHIM(word, hi, lo, name, member) shim->name = bits(shim_wd[word], hi, lo);
#include "tsr_shim.def"
    shim->shim_len &= ~1u; // the chip does not carry over bit 16 of word 0
}

int shim_chksum(const uint32_t *shim_wd) {
    uint32_t sum = 0;
    for (unsigned lo = 0; lo < 32; lo += 4) {
        sum += bits(shim_wd[0], lo + 3, lo);
        if (lo != shimFld::tag_cksum.lo) // the place of the checksum itself
            sum += bits(shim_wd[1], lo + 3, lo);
    }
    return static_cast<int>(sum & 0xf);
}

int recalcShimCrc(shim_t *shim) {
    if (shim->shim_len != 0)
        return 0;
    uint32_t shim_wd[kShimWords];
    shim_fmt(shim, shim_wd);
    // The chip shifts by bits, not by bytes: the buffer does not hold the words' bytes.
    uint8_t buf[kShimBytes];
    for (uint32_t i = 0; i < kShimBytes; i++)
        buf[i] = static_cast<uint8_t>(shim_wd[i / 4] >> (3 - i % 4));
    buf[7] &= 0xf;
    buf[23] = 0;
    uint8_t crc;
    CalcEnetCrc8(kShimBytes, buf, &crc);
    shim->w5_7_0 = crc;
    return 0;
}

void rte_2_iqs_side(const shim_t *shim, const bp_shim_t *bp_shim, iqs_side_band_t *iqs_side) {
    std::memset(iqs_side, 0, sizeof *iqs_side);
    const uint32_t fseq = shim->w0_14_0 * 4 + shim->w1_31_30;
    iqs_side->tsq_iqs_vld = 1;
    iqs_side->tsq_iqs_drop = 0;

    uint32_t *data = iqs_side->frm_data;
    if (bit(fseq, kFseqElb)) {
        iqs_side->tsq_iqs_elb = 1;
#define RTE_DATA_ELB(word, hi, lo, name, seqHi, seqLo)                                                                 \
    data[word] = setBits(data[word], hi, lo, bits(fseq, seqHi, seqLo));
#include "tsr_iqs_side.def"
        return;
    }
    iqs_side->tsq_iqs_elb = 0;
#define RTE_DATA(word, hi, lo, name, source) data[word] = setBits(data[word], hi, lo, source);
#include "tsr_iqs_side.def"
}

void shim_2_eqs_side(const shim_t *shim, const tsr_dmp_t *tsr_reg, eqs_side_band_t *eqs_side) {
    eqs_side->hsq_eqs_qid_q = 305;
    eqs_side->hsq_eqs_phyp_pkt_q = 0;
    eqs_side->rte_eqs_trill_en_q = 0;
    if (shim->egid == dmpEntry<EsmEgidBp>(tsr_reg).egid) {
        eqs_side->hsq_eqs_qid_q = 36;
        return;
    }
    for (uint32_t i = 0; i < 32; i++) {
        if (shim->egid != dmpEntry<EsmEgid>(tsr_reg, i).egid)
            continue;
        eqs_side->hsq_eqs_qid_q = 8 * i;
        // The enable stays at its place in the register: 0 or 0x80000.
        using Ctl = portReg::RTE_PRC_L2_TRILL_CTL0;
        if (i < TSR_PORTS)
            eqs_side->rte_eqs_trill_en_q = dmpPortReg<Ctl>(tsr_reg, i).inPlace(Ctl::rte_prc_l2_trill_en);
        return;
    }
}

void eqs_2_emc_side(const shim_t *shim, const eqs_side_band_t *eqs_side, emc_side_band_t *emc_side) {
    emc_side->rte_trill_en_q = eqs_side->rte_eqs_trill_en_q;
    emc_side->eqs_elp = eqs_side->elp;
    emc_side->pim_encap = eqs_side->num_frags; // a crossing of the chip model, which leaves eqs_nfrag unset
    emc_side->ipv4_encap = eqs_side->pim_encap && shim->routed == ROUTED_IPV4;
    emc_side->ipv6_encap = eqs_side->pim_encap && shim->routed == ROUTED_IPV6;
    emc_side->pim_cnt = eqs_side->pim_cnt;
    emc_side->eqs_mac_da = eqs_side->mac_da;
    emc_side->eqs_mac_da1 = eqs_side->mac_da1;
    emc_side->dbr_id = eqs_side->dbr_id;
    emc_side->ipv4_da = eqs_side->ipv4_da;
    emc_side->ipv4_sa = eqs_side->ipv4_sa;
    emc_side->m_bit = eqs_side->m_bit;
    emc_side->b_bit = eqs_side->b_bit;
    emc_side->flow_id = eqs_side->flow_id;
    std::memcpy(emc_side->ipv6_sa, eqs_side->ipv6_sa, sizeof emc_side->ipv6_sa);
    std::memcpy(emc_side->ipv6_da, eqs_side->ipv6_da, sizeof emc_side->ipv6_da);
    emc_side->eqs_trill_da = eqs_side->trill_da;
    emc_side->eqs_trill_sa = eqs_side->trill_sa;
    emc_side->final_eivid = eqs_side->final_eivid;
    emc_side->wired_eivid = eqs_side->wired_eivid;
    emc_side->final_vpnid = eqs_side->final_vpnid;
    emc_side->eqs_seq = eqs_side->eqs_seq;
    emc_side->eqs_seq_val = eqs_side->eqs_seq != 0;
    emc_side->mtu = eqs_side->mtu;
    emc_side->transparent_vlan = eqs_side->transparent_vlan;
    emc_side->eqs_ext_vid = eqs_side->wired_eivid;
    emc_side->eqs_drop = eqs_side->drop;
}

/// An Ethernet type as the chip passes it on: its top bit fills the upper half of the word.
static uint32_t signExtend16(uint32_t half) {
    return static_cast<uint32_t>(static_cast<int16_t>(half));
}

void rte_2_emc_side(const shim_t *shim, const tsr_dmp_t *tsr_reg, emc_side_band_t *emc_side) {
    using namespace comReg;
    using namespace portReg;
    const uint32_t p = emc_side->eqs_elp;
    // Whole registers: what else stands in the upper half of one comes along.
    emc_side->trill_out_sa = dmpPortReg<RTE_PRC_L2_TRILL_EXP_OUTER_SA_0>(tsr_reg, p).word;
    emc_side->trill_out_sa1 = dmpPortReg<RTE_PRC_L2_TRILL_EXP_OUTER_SA_1>(tsr_reg, p).word;
    emc_side->trill_out_da = dmpPortReg<RTE_PRC_L2_TRILL_EXP_OUTER_DA_0>(tsr_reg, p).word;
    emc_side->trill_out_da1 = dmpPortReg<RTE_PRC_L2_TRILL_EXP_OUTER_DA_1>(tsr_reg, p).word;
    emc_side->trill_all_rb_da = dmpComReg<RTE_L2_TRILL_CFG_2>(tsr_reg).word;
    emc_side->trill_all_rb_da1 = dmpComReg<RTE_L2_TRILL_CFG_1>(tsr_reg).word;
    const auto trillCfg0 = dmpComReg<RTE_L2_TRILL_CFG_0>(tsr_reg);
    emc_side->trill_etype = signExtend16(trillCfg0[RTE_L2_TRILL_CFG_0::rte_l2_trill_etyp]);
    emc_side->rte_trill_sa = trillCfg0[RTE_L2_TRILL_CFG_0::rte_l2_trill_addr];
    emc_side->c_tagged = shim->rcv_inner_tagged;
    emc_side->s_tagged = shim->rcv_s_tagged;
    const auto vlanEtyp = dmpPortReg<RTE_PRC_VLAN_ETYP>(tsr_reg, p);
    emc_side->rte_cfg_stag_et = signExtend16(vlanEtyp[RTE_PRC_VLAN_ETYP::rte_prc_stag_etyp]);
    emc_side->rte_cfg_ctag_et = vlanEtyp[RTE_PRC_VLAN_ETYP::rte_prc_ctag_etyp];
}
