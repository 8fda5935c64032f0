#include "tsr_load.h"

#include "base/cmRte.h"
#include "base/cmRteState.h"
#include "be_word.h"
#include "cmPages.h"
#include "hsi/cmRteHsi.h"
#include "hsi/cmRteHsiReg.h"
#include "tae/cmTae.h"
#include "tfe/cmTfe.h"
#include "tsr_reg.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>

namespace {

/// What a part of the load fills.
enum class Part { PORT_REG, COM_REG, TFE_REG, TAE_REG, RTE_MEM, TFE_MEM, TAE_MEM };

/// A run of words that the load writes: from the image's byte `dumpOffset` on to the chip addresses from `addr` on.
struct Step {
    Part part;
    uint32_t addr;
    uint32_t dumpOffset;
    uint32_t byteCnt;
};

/// The dumped rows of a map by rising place in the image: they follow each other without a gap.
using Rows = std::vector<const regdump_map_t *>;

Rows dumpedRows(const regdump_map_t *mapp) {
    Rows rows;
    for (; mapp->name != nullptr; ++mapp) {
        if (!(mapp->flags & REGDUMP_FLAGS_NO_DUMP))
            rows.push_back(mapp);
    }
    return rows;
}

/// The row that starts at the byte `dumpOffset` of the image.
Rows::const_iterator rowAt(const Rows &rows, size_t dumpOffset) {
    return std::lower_bound(rows.begin(), rows.end(), dumpOffset,
                            [](const regdump_map_t *row, size_t offset) { return row->dump_offset < offset; });
}

/// A memory of the image, and how many bytes of it are loaded: 0 for all of it.
struct MemRun {
    size_t dumpOffset;
    uint32_t byteCnt;
};

#define WHOLE(field)                                                                                                   \
    { offsetof(tsr_dmp_t, field), 0 }
#define BYTES(field, byteCnt)                                                                                          \
    { offsetof(tsr_dmp_t, field), byteCnt }

// Some runs end inside their memory, others take the memories behind it along.
constexpr MemRun kRteMemRuns[] = {
    WHOLE(rte_l2_ctrl_cls_tcam),
    WHOLE(rte_l2_ctrl_cls_rslt),
    WHOLE(rte_l2_mac_class),
    WHOLE(rte_l2_mac_vid),
    WHOLE(rte_l2_mac_prio_ra),
    WHOLE(rte_typ_cls_tcam),
    WHOLE(rte_typ_cls_vlan),
    WHOLE(rte_typ_cls_mtu),
    WHOLE(rte_typ_cls_attr),
    WHOLE(rte_vlan_xlate),
    WHOLE(rte_cloud_class_tcam),
    WHOLE(rte_cloud_rslt_vpn),
    WHOLE(rte_cloud_rslt_policy),
    WHOLE(rte_iivid_vpnid),
    WHOLE(rte_l3_vrf),
    WHOLE(rte_l2_filter_id),
    WHOLE(rte_l2_stp_en),
    WHOLE(rte_l2_myda_prfx_tcam),
    WHOLE(rte_l2_myda_rslt),
    WHOLE(rte_l2_flood_mgid),
    WHOLE(rte_l2_exm_idx),
    WHOLE(rte_l2_exm_bkt),
    WHOLE(rte_l2_exm_ovflw_tcam),
    WHOLE(rte_l2_exm_rslt),
    WHOLE(rte_l3_cugid),
    WHOLE(rte_l3_vlan_feat_ctl),
    WHOLE(rte_l3_ipv4_mcuid_idx),
    WHOLE(rte_l3_ipv4_mcuid_rslt),
    WHOLE(rte_l3_ipv4_mcuid_bkt),
    WHOLE(rte_l3_ipv4_mcuid_ovflw_tcam),
    WHOLE(rte_l3_ipv6_mcuid_idx),
    WHOLE(rte_l3_ipv6_mcuid_rslt),
    WHOLE(rte_l3_ipv6_mcuid_bkt),
    WHOLE(rte_l3_ipv6_mcuid_ovflw_tcam),
    WHOLE(rte_trill_rpf),
    WHOLE(rte_trill_myrb_tcam),
    WHOLE(rte_typ_cls_app_type),
    WHOLE(rte_l2_vlan_mtu),
    WHOLE(rte_vlan_pol_en),
    BYTES(rte_l2_ipv4_ucast_en, 2048),
    BYTES(rte_l2_ipv6_ucast_en, 2048),
    WHOLE(rte_vid_trill_mc_ra),
    WHOLE(rte_l2_exm_da_act),
    WHOLE(rte_l2_exm_sa_age_tmr),
    WHOLE(rte_age_info),
    WHOLE(rte_mctid_hash_type),
    WHOLE(rte_mctid_rbridges),
    WHOLE(rte_l2_trill_dest),
    WHOLE(rte_l2_mpid_hash_type),
    WHOLE(rte_l2_psel_mpid),
    WHOLE(rte_lag_hash_type),
    WHOLE(rte_lag_hash_egid),
    WHOLE(rte_l2_sa_lip),
    WHOLE(rte_l2_sa_lip_cons),
    BYTES(rte_l2_sa_lrn_info, 49152),
    WHOLE(rte_l2_da_lip),
    WHOLE(rte_l2_da_lip_cons),
    BYTES(rte_l2_da_lrn_info, 49152),
    WHOLE(rte_l2_mgid_1q_ra),
    WHOLE(rte_l2_egid_1q),
    WHOLE(rte_pol_id_remap),
    WHOLE(rte_l2_mac_sts_frm),
    WHOLE(rte_l2_mac_sts_byte),
    WHOLE(rte_drp_rsn_sts_frm),
    WHOLE(rte_drp_tail_sts_frm),
    WHOLE(rte_sflow_status),
    WHOLE(rte_acl_sts_fcnt),
    WHOLE(rte_acl_sts_bcnt),
    WHOLE(rte_l2_sts_mctid_frm),
    WHOLE(rte_l2_sts_mctid_byte),
    WHOLE(rte_l2_sts_mpid_frm),
    WHOLE(rte_l2_sts_mpid_byte),
    WHOLE(rte_l2_sts_lgid_frm),
    WHOLE(rte_l2_sts_lgid_byte),
    WHOLE(rte_l3_sts_mpid_frm),
    WHOLE(rte_l3_sts_mpid_byte),
    WHOLE(rte_l3_mpath_hash_type),
    WHOLE(rte_l3_next_hop_rslt),
    WHOLE(rte_drp_bpq_sts_frm),
    WHOLE(rte_drp_spanq_sts_frm),
    WHOLE(rte_dma_desc),
    WHOLE(rte_fcoe_ivid_to_vfid),
    WHOLE(rte_fcoe_ivid_filter),
    WHOLE(rte_fcoe_vfid_filter),
    WHOLE(rte_l3_ctrl_cls_tcam),
    BYTES(rte_l3_ctrl_cls_rslt, 262144),
    WHOLE(rte_l3_ctrl_cls_qnum),
    WHOLE(rte_l3_ivid_partn),
};

constexpr MemRun kTfeMemRuns[] = {
    WHOLE(tfe_amap_data),
    WHOLE(tfe_actv_mem_data), // no address of the model takes this and the next one
    WHOLE(tfe_history),
    WHOLE(tfe_tcam),
};

constexpr MemRun kTaeMemRuns[] = {
    WHOLE(tae_tcam),
    WHOLE(tae_rslt),
    WHOLE(tae_l3_ipv4_mc_ovflow_tcam),
    WHOLE(tae_l3_ipv4_mc_idx),
    WHOLE(tae_l3_ipv4_mc_bkt),
    WHOLE(tae_l3_ipv4_mc_rslt),
    WHOLE(tae_l3_ipv6_mc_ovflow_tcam),
    WHOLE(tae_l3_ipv6_mc_idx),
    WHOLE(tae_l3_ipv6_mc_bkt),
    WHOLE(tae_l3_ipv6_mc_rslt),
    BYTES(tae_l2_trap_activity, 32768),
    BYTES(tae_l3_trap_activity, 14336),
    BYTES(tae_l3_fwd_activity, 14336),
    BYTES(tae_l3_span_activity, 14336),
    BYTES(tae_l3_prio_activity, 14336),
    WHOLE(tae_history),
};

#undef WHOLE
#undef BYTES

constexpr uint32_t kPortRegBytes = 52 * 4; // the block's registers up to the first word of the sFlow drop count

/// The steps of the load in their order.
class Steps {
public:
    Steps() : rows_(dumpedRows(tsr_dmp_map)) {
        // Registers come before the memories whose writes they steer.
        portRegs();
        regs(Part::COM_REG, offsetof(tsr_dmp_t, rte_l2_typ_len), 4380);
        regs(Part::COM_REG, offsetof(tsr_dmp_t, rte_ipv4_pim_rp_addr), 2548);
        regs(Part::COM_REG, offsetof(tsr_dmp_t, rte_dma_lfsr), 24);
        for (const MemRun &run : kRteMemRuns)
            mem(Part::RTE_MEM, run);
        for (const MemRun &run : kTfeMemRuns)
            mem(Part::TFE_MEM, run);
        regs(Part::TFE_REG, offsetof(tsr_dmp_t, tfe_ctrl), 544);
        regs(Part::TAE_REG, offsetof(tsr_dmp_t, tae_ctrl), 592);
        for (const MemRun &run : kTaeMemRuns)
            mem(Part::TAE_MEM, run);
    }

    std::vector<Step> list;

private:
    void portRegs() {
        const regdump_map_t &group = **rowAt(rows_, offsetof(tsr_dmp_t, ephy_reg));
        const size_t firstInGroup = offsetof(tsr_ephy_dmp_t, rte_prc_l2_ctl);
        const regdump_map_t &first = **rowAt(dumpedRows(group.child), firstInGroup);
        for (uint32_t port = 0; port < TSR_PORTS; port++)
            add(Part::PORT_REG, group.asic_offset + group.asic_size * port + first.asic_offset,
                offsetof(tsr_dmp_t, ephy_reg) + sizeof(tsr_ephy_dmp_t) * port + firstInGroup, kPortRegBytes);
    }

    /// The registers from the field at `dumpOffset` on, each word to its own chip address, as far as they lie in `span`
    /// bytes of chip addresses.
    void regs(Part part, size_t dumpOffset, uint32_t span) {
        auto row = rowAt(rows_, dumpOffset);
        const uint32_t end = (*row)->asic_offset + span;
        for (; row != rows_.end() && (*row)->asic_offset < end; ++row) {
            const regdump_map_t &reg = **row;
            add(part, reg.asic_offset, reg.dump_offset, std::min(regdump_mapp_get_size(&reg), end - reg.asic_offset));
        }
    }

    /// A memory's run, each field to its own chip addresses.
    void mem(Part part, const MemRun &run) {
        auto row = rowAt(rows_, run.dumpOffset);
        uint32_t byteCnt = run.byteCnt == 0 ? regdump_mapp_get_size(*row) : run.byteCnt;
        for (; byteCnt > 0; ++row) {
            const uint32_t bytes = std::min(regdump_mapp_get_size(*row), byteCnt);
            add(part, (*row)->asic_offset, (*row)->dump_offset, bytes);
            byteCnt -= bytes;
        }
    }

    void add(Part part, uint32_t addr, size_t dumpOffset, uint32_t byteCnt) {
        list.push_back({part, addr, static_cast<uint32_t>(dumpOffset), byteCnt});
    }

    Rows rows_;
};

const std::vector<Step> &steps() {
    static const std::vector<Step> list = Steps().list;
    return list;
}

/// The source of a load, and the chip that takes it.
struct Load {
    const uint8_t *image;
    const DmpOverlay *changes; // null for none
    CmRte *chip;

    /// Writes `byteCnt` bytes of the dump from `dumpOffset` on to the chip addresses from `addr` on.
    void write(uint32_t addr, uint32_t dumpOffset, uint32_t byteCnt) const {
        const uint32_t end = dumpOffset + byteCnt;
        const auto run = [&](uint32_t upTo) {
            CmRteHsiWrRun(chip, addr, reinterpret_cast<const uint32_t *>(image + dumpOffset), (upTo - dumpOffset) / 4);
            addr += upTo - dumpOffset;
            dumpOffset = upTo;
        };
        if (changes) {
            for (auto word = changes->from(dumpOffset); word != changes->end() && word->first < end; ++word) {
                run(word->first);
                const uint32_t beWord = hostWord(word->second);
                CmRteHsiWrRun(chip, addr, &beWord, 1);
                addr += 4;
                dumpOffset += 4;
            }
        }
        run(end);
    }
    void write(const Step &step) const { write(step.addr, step.dumpOffset, step.byteCnt); }

    /// Writes all steps that `is` takes.
    template <class Is> void writeAll(Is is) const {
        for (const Step &step : steps()) {
            if (is(step))
                write(step);
        }
    }
};

} // namespace

CmRte *loadChip(const tsr_dmp_t *tsr_reg, const DmpOverlay *changes) {
    const auto chip = static_cast<CmRte *>(cmAllocPages(sizeof(CmRte)));
    try {
        CmRteInit(chip);
        Load{reinterpret_cast<const uint8_t *>(tsr_reg), changes, chip}.writeAll([](const Step &) { return true; });
    } catch (...) {
        freeChip(chip);
        throw;
    }
    return chip;
}

uint32_t loadedFrom(uint32_t addr) {
    for (const Step &step : steps()) {
        if (addr - step.addr < step.byteCnt)
            return step.dumpOffset + (addr - step.addr);
    }
    return 0xffffffff;
}

void freeChip(CmRte *chip) {
    CmRteFree(chip);
    cmFreePages(chip, sizeof(CmRte));
}

namespace {

// The widest entry of the host interface; an entry's address is a multiple of its size.
constexpr uint32_t kEntryBytes = 4 * CmRteHsiHold::kWords;

constexpr uint32_t kSaLip = 0x3cf6000, kDaLip = 0x3cf8000, kLipBytes = 0x1000;

bool inLip(uint32_t addr, uint32_t lip) {
    return addr - lip < kLipBytes;
}

/// A part of the load that is done anew when a word of it changes.
class Reload {
public:
    Reload(const tsr_dmp_t *tsr_reg, const DmpOverlay *changes, CmRte *chip)
        : load_{reinterpret_cast<const uint8_t *>(tsr_reg), changes, chip}, chip_(chip) {}

    void word(uint32_t dumpOffset) {
        for (const Step &step : steps()) {
            if (dumpOffset - step.dumpOffset < step.byteCnt)
                wordOf(step, dumpOffset - step.dumpOffset);
        }
    }

private:
    /// Does anew what depends on the word at byte `at` of `step`.
    void wordOf(const Step &step, uint32_t at) {
        switch (step.part) {
        case Part::PORT_REG:
            CmRteHsiPortRegInit(&chip_->portRegLst[(step.addr >> 16) & 31]);
            return load_.write(step);
        case Part::COM_REG:
            return comRegs();
        case Part::TFE_REG:
            CmTfeHsiComRegInit(chip_->tfePtr->comRegPtr);
            return load_.writeAll([](const Step &other) { return other.part == Part::TFE_REG; });
        case Part::TAE_REG:
            return taeRegs(step);
        case Part::RTE_MEM:
            if (inLip(step.addr + at, kSaLip) || inLip(step.addr + at, kDaLip))
                return lips();
            return entry(step, at);
        case Part::TFE_MEM:
        case Part::TAE_MEM:
            return entry(step, at);
        }
    }

    /// The entry at byte `at` of a step: the words round it that it may have.
    void entry(const Step &step, uint32_t at) {
        const uint32_t addr = step.addr + at;
        const uint32_t first = std::max(addr - addr % kEntryBytes, step.addr);
        const uint32_t end = std::min(addr - addr % kEntryBytes + kEntryBytes, step.addr + step.byteCnt);
        load_.write(first, step.dumpOffset + (first - step.addr), end - first);
    }

    void comRegs() {
        const CmRteHsiComReg &reg = chip_->comReg;
        const bool saW1c = reg.rte_l2_sa_lrn_lip_w1c_en != 0, daW1c = reg.rte_l2_da_lrn_lip_w1c_en != 0;
        CmRteHsiComRegInit(&chip_->comReg);
        load_.writeAll([](const Step &step) { return step.part == Part::COM_REG; });
        if (saW1c != (reg.rte_l2_sa_lrn_lip_w1c_en != 0) || daW1c != (reg.rte_l2_da_lrn_lip_w1c_en != 0))
            lips();
    }

    /// The memories of requests in progress: a register may have writes clear their bits.
    void lips() {
        CmRteHsiMem &mem = chip_->mem;
        std::memset(mem.RTE_L2_SA_LIP_SRAM, 0, sizeof mem.RTE_L2_SA_LIP_SRAM);
        std::memset(mem.RTE_L2_DA_LIP_SRAM, 0, sizeof mem.RTE_L2_DA_LIP_SRAM);
        load_.writeAll([](const Step &step) { return inLip(step.addr, kSaLip) || inLip(step.addr, kDaLip); });
    }

    void taeRegs(const Step &step) {
        const TaeRegs &regs = chip_->taePtr->regs;
        const uint32_t joined = regs.bank_prtcl_sel_0();
        load_.write(step);
        if (regs.bank_prtcl_sel_0() == joined)
            return;
        // Joined banks have another layout in the image.
        load_.writeAll([](const Step &other) {
            return other.part == Part::TAE_MEM && other.dumpOffset == offsetof(tsr_dmp_t, tae_tcam);
        });
    }

    Load load_;
    CmRte *chip_;
};

} // namespace

void reloadWord(CmRte *chip, const tsr_dmp_t *tsr_reg, const DmpOverlay *changes, uint32_t dumpOffset) {
    const uint32_t hsiCnt = chip->hsiCnt;
    const CmRteHsiHold hold = cmState().hold;
    Reload(tsr_reg, changes, chip).word(dumpOffset);
    chip->hsiCnt = hsiCnt;
    cmState().hold = hold;
}
