#include "rt_view.h"

#include "be_word.h"
#include "hsi_word.h"

static constexpr RtColumn kColumns[] = {
    {"what"},
    {"vlan", RtCell::VALUE, TblKind::VID, 13},
    {"ports", RtCell::BITS},
    {"policer", RtCell::VALUE, TblKind::NUM, 14},
    {"mapped", RtCell::VALUE, TblKind::NUM, 14},
    {"unit", RtCell::VALUE, TblKind::NUM, 3},
    {"rate", RtCell::VALUE, TblKind::HEX, 32},
    {"excess_rate", RtCell::VALUE, TblKind::HEX, 32},
    {"burst", RtCell::VALUE, TblKind::HEX, 64},
    {"excess_burst", RtCell::VALUE, TblKind::HEX, 64},
};
const std::span<const RtColumn> kColumns_policers = kColumns;

namespace {

void putMapped(const RtRun &run, RtRows &rows, uint32_t policer) {
    const TblMem &remap = rtMem("rte_pol_id_remap");
    rows.value(policer).value(rtEntry<PolRemap>(run, remap, policer).finalPolId).part(remap, policer);
}

void listVlans(const RtRun &run, RtRows &rows) {
    const TblMem &vlans = rtMem("rte_vlan_pol_en");
    for (uint32_t vlan = 0; vlan < vlans.places(); ++vlan) {
        const auto entry = rtEntry<VlanPol>(run, vlans, vlan);
        uint64_t ports = 0;
        for (unsigned port = 0; port < 32; ++port)
            ports |= uint64_t{entry.pol_en[port]} << port;
        if (ports == 0)
            continue;
        rows.part(vlans, vlan).text("vlan").value(vlan).bits(ports);
        putMapped(run, rows, entry.pol_id);
        rows.end();
    }
}

void listPorts(const RtRun &run, RtRows &rows) {
    using portReg::RTE_PRC_QOS_CFG;
    for (uint32_t port = 0; port < TSR_PORTS; ++port) {
        const auto qos = dmpPortReg<RTE_PRC_QOS_CFG>(run.image(), port);
        if (!qos[RTE_PRC_QOS_CFG::rte_prc_port_pol_en])
            continue;
        rows.part(rtMem("ephy_reg.rte_prc_qos_cfg"), port).text("port").none().bits(uint64_t{1} << port);
        putMapped(run, rows, qos[RTE_PRC_QOS_CFG::rte_prc_port_pol_id]);
        rows.end();
    }
}

/// The meters have words, whose layout is not known, of a few rows: rates of one word and bursts of two.
void listMeters(const RtRun &run, RtRows &rows) {
    const TblMem &rates = rtMem("pol_mem.pol_cmtd_info_rate");
    const TblMem &excRates = rtMem("pol_mem.pol_exc_info_rate");
    const TblMem &bursts = rtMem("pol_mem.pol_cmtd_burst_size");
    const TblMem &excBursts = rtMem("pol_mem.pol_exc_burst_size");
    constexpr uint32_t kMeters = 4096;
    const auto word = [&](const TblMem &mem, uint32_t place) { return imageWord(run.image(), mem.imageOff(place)); };
    const auto pair = [&](const TblMem &mem, uint32_t place) {
        return uint64_t{word(mem, 2 * place)} << 32 | word(mem, 2 * place + 1);
    };
    for (uint32_t place = 0; place < rates.places(); ++place) {
        if (word(rates, place) == 0 && word(excRates, place) == 0 && pair(bursts, place) == 0 &&
            pair(excBursts, place) == 0)
            continue;
        rows.text("meter").none().none().none().value(place % kMeters).value(place / kMeters);
        rows.value(word(rates, place)).value(word(excRates, place));
        rows.value(pair(bursts, place)).value(pair(excBursts, place));
        rows.part(rates, place).part(excRates, place).part(bursts, 2 * place).part(bursts, 2 * place + 1);
        rows.part(excBursts, 2 * place).part(excBursts, 2 * place + 1).end();
    }
}

} // namespace

void list_policers(const RtRun &run, RtRows &rows) {
    listVlans(run, rows);
    listPorts(run, rows);
    listMeters(run, rows);
}
