#include "tsr_cmodel_util.h"

#include "base/cmRte.h"
#include "hsi/cmRteHsi.h"
#include "tae/cmTae.h"
#include "tfe/cmTfe.h"
#include "tsr_reg.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

namespace {

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

/// The image with its map, and the model that takes its words.
struct Load {
    const uint8_t *image;
    Rows rows;
    CmRte *rtePtr;

    /// Writes `byteCnt` bytes of the image from `dumpOffset` on to the chip addresses from `addr` on.
    void write(uint32_t addr, size_t dumpOffset, uint32_t byteCnt) const {
        CmRteHsiWrRun(rtePtr, addr, reinterpret_cast<const uint32_t *>(image + dumpOffset), byteCnt / 4);
    }

    /// Writes the registers from the field at `dumpOffset` on, each word to its own chip address, as far as they lie
    /// in `span` bytes of chip addresses.
    void writeRegs(size_t dumpOffset, uint32_t span) const {
        auto row = rowAt(rows, dumpOffset);
        const uint32_t end = (*row)->asic_offset + span;
        for (; row != rows.end() && (*row)->asic_offset < end; ++row) {
            const regdump_map_t &reg = **row;
            write(reg.asic_offset, reg.dump_offset, std::min(regdump_mapp_get_size(&reg), end - reg.asic_offset));
        }
    }

    /// Writes `byteCnt` bytes of the image from the field at `dumpOffset` on, each field to its own chip addresses;
    /// 0 stands for the whole field.
    void writeMem(size_t dumpOffset, uint32_t byteCnt) const {
        auto row = rowAt(rows, dumpOffset);
        if (byteCnt == 0)
            byteCnt = regdump_mapp_get_size(*row);
        for (; byteCnt > 0; ++row) {
            const uint32_t part = std::min(regdump_mapp_get_size(*row), byteCnt);
            write((*row)->asic_offset, (*row)->dump_offset, part);
            byteCnt -= part;
        }
    }
};

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

void loadPortRegs(const Load &load) {
    const regdump_map_t &group = **rowAt(load.rows, offsetof(tsr_dmp_t, ephy_reg));
    const size_t firstInGroup = offsetof(tsr_ephy_dmp_t, rte_prc_l2_ctl);
    const regdump_map_t &first = **rowAt(dumpedRows(group.child), firstInGroup);
    for (uint32_t port = 0; port < TSR_PORTS; port++) {
        load.write(group.asic_offset + group.asic_size * port + first.asic_offset,
                   offsetof(tsr_dmp_t, ephy_reg) + sizeof(tsr_ephy_dmp_t) * port + firstInGroup, kPortRegBytes);
    }
}

} // namespace

void rte_memory_init(const tsr_dmp_t *tsr_reg) {
    rte_mem = nullptr;
    const auto chip = static_cast<CmRte *>(std::calloc(1, sizeof(CmRte)));
    if (chip == nullptr)
        throw std::bad_alloc();
    CmRteInit(chip);

    // Registers come before the memories whose writes they steer.
    const Load load{reinterpret_cast<const uint8_t *>(tsr_reg), dumpedRows(tsr_dmp_map), chip};
    loadPortRegs(load);
    load.writeRegs(offsetof(tsr_dmp_t, rte_l2_typ_len), 4380);
    load.writeRegs(offsetof(tsr_dmp_t, rte_ipv4_pim_rp_addr), 2548);
    load.writeRegs(offsetof(tsr_dmp_t, rte_dma_lfsr), 24);
    for (const MemRun &run : kRteMemRuns)
        load.writeMem(run.dumpOffset, run.byteCnt);
    for (const MemRun &run : kTfeMemRuns)
        load.writeMem(run.dumpOffset, run.byteCnt);
    load.writeRegs(offsetof(tsr_dmp_t, tfe_ctrl), 544);
    load.writeRegs(offsetof(tsr_dmp_t, tae_ctrl), 592);
    for (const MemRun &run : kTaeMemRuns)
        load.writeMem(run.dumpOffset, run.byteCnt);
    rte_mem = chip;
}

void rte_memory_free(void) {
    // The block's named objects stay until the process ends; no destructor runs.
    static auto *kept = new std::vector<CmChipBlock>;
    kept->push_back(std::move(*rte_mem->taePtr));
    ::operator delete(rte_mem->taePtr);
    ::operator delete(rte_mem->tfePtr);
    std::free(rte_mem);
    rte_mem = nullptr;
}
