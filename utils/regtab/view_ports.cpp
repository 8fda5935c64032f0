#include "rt_view.h"

#include "hsi_word.h"

static constexpr RtColumn kColumns[] = {
    {"port", RtCell::VALUE, TblKind::PORT, 5},
    {"lookup", RtCell::VALUE, TblKind::BOOL, 1},
    {"vlan", RtCell::VALUE, TblKind::VID, 13},
    {"lgc_port", RtCell::VALUE, TblKind::NUM, 6},
    {"lrn_port", RtCell::VALUE, TblKind::NUM, 6},
    {"layer3"},
    {"acl"},
    {"trill", RtCell::VALUE, TblKind::BOOL, 1},
    {"qinq", RtCell::VALUE, TblKind::BOOL, 1},
    {"ctag", RtCell::VALUE, TblKind::ETYP, 16},
    {"stag", RtCell::VALUE, TblKind::ETYP, 16},
    {"trust_dscp", RtCell::VALUE, TblKind::BOOL, 1},
    {"policer", RtCell::VALUE, TblKind::NUM, 14},
    {"span", RtCell::VALUE, TblKind::NUM, 3},
};
const std::span<const RtColumn> kColumns_ports = kColumns;

namespace {

/// The words, with blanks between them, of those flags that are set.
std::string flagsText(std::initializer_list<std::pair<const char *, uint32_t>> flags) {
    std::string text;
    for (const auto &[name, isSet] : flags) {
        if (isSet)
            text.append(text.empty() ? "" : " ").append(name);
    }
    return text;
}

} // namespace

void list_ports(const RtRun &run, RtRows &rows) {
    using namespace portReg;
    const char *const regs[] = {"rte_prc_l2_ctl",    "rte_prc_l3_ctl",       "rte_prc_cfg_0",
                                "rte_prc_cfg_1",     "rte_prc_cfg_4",        "rte_prc_qos_cfg",
                                "rte_prc_vlan_etyp", "rte_prc_l2_trill_ctl", "rte_prc_fcoe_ctl"};
    for (uint32_t port = 0; port < TSR_PORTS; ++port) {
        const tsr_dmp_t *image = run.image();
        const auto l2 = dmpPortReg<RTE_PRC_L2_CTL>(image, port);
        const auto l3 = dmpPortReg<RTE_PRC_L3_CTL>(image, port);
        const auto cfg0 = dmpPortReg<RTE_PRC_CFG_0>(image, port);
        const auto cfg1 = dmpPortReg<RTE_PRC_CFG_1>(image, port);
        const auto cfg4 = dmpPortReg<RTE_PRC_CFG_4>(image, port);
        const auto qos = dmpPortReg<RTE_PRC_QOS_CFG>(image, port);
        const auto etyp = dmpPortReg<RTE_PRC_VLAN_ETYP>(image, port);
        const auto trill = dmpPortReg<RTE_PRC_L2_TRILL_CTL0>(image, port);
        const auto fcoe = dmpPortReg<RTE_PRC_FCOE_CTL>(image, port);
        rows.value(port).value(l2[RTE_PRC_L2_CTL::rte_prc_l2_lu_en]);
        rows.value(cfg1[RTE_PRC_CFG_1::rte_prc_def_inner_vlan_id]).value(cfg0[RTE_PRC_CFG_0::rte_prc_lgc_port]);
        rows.value(l2[RTE_PRC_L2_CTL::rte_prc_l2_lrn_port]);
        rows.text(flagsText({{"ipv4", l3[RTE_PRC_L3_CTL::rte_prc_l3_ipv4_en]},
                             {"ipv6", l3[RTE_PRC_L3_CTL::rte_prc_l3_ipv6_en]},
                             {"fcoe", l3[RTE_PRC_L3_CTL::rte_prc_fcoe_en]}}));
        rows.text(flagsText({{"ipv4", l3[RTE_PRC_L3_CTL::rte_prc_l3_ipv4_acl_en]},
                             {"ipv6", l3[RTE_PRC_L3_CTL::rte_prc_l3_ipv6_acl_en]},
                             {"fcoe", l3[RTE_PRC_L3_CTL::rte_prc_fcoe_acl_en]},
                             {"l2-fcoe", fcoe[RTE_PRC_FCOE_CTL::rte_prc_l2_fcoe_acl_en]}}));
        rows.value(trill[RTE_PRC_L2_TRILL_CTL0::rte_prc_l2_trill_en]);
        rows.value(cfg4[RTE_PRC_CFG_4::rte_prc_vlan_mode]);
        rows.value(etyp[RTE_PRC_VLAN_ETYP::rte_prc_ctag_etyp]).value(etyp[RTE_PRC_VLAN_ETYP::rte_prc_stag_etyp]);
        rows.value(qos[RTE_PRC_QOS_CFG::rte_prc_trust_dscp]);
        if (qos[RTE_PRC_QOS_CFG::rte_prc_port_pol_en])
            rows.value(qos[RTE_PRC_QOS_CFG::rte_prc_port_pol_id]);
        else
            rows.none();
        if (cfg0[RTE_PRC_CFG_0::rte_prc_i_span_en])
            rows.value(cfg0[RTE_PRC_CFG_0::i_span_id]);
        else
            rows.none();
        for (const char *reg : regs)
            rows.part(rtMem(std::string("ephy_reg.") + reg), port);
        rows.end();
    }
}
