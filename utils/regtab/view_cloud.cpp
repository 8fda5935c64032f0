#include "rt_view.h"

#include "hsi_word.h"

static constexpr RtColumn kColumns[] = {
    {"for"}, {"key"}, {"vlan"}, {"vpn", RtCell::VALUE, TblKind::HEX, 20}, {"policy", RtCell::VALUE, TblKind::NUM, 12},
};
const std::span<const RtColumn> kColumns_cloud = kColumns;

namespace {

struct Cloud {
    const RtRun &run;
    const TblMem &vpns = rtMem("rte_cloud_rslt_vpn");
    const TblMem &policies = rtMem("rte_cloud_rslt_policy");
    uint32_t passThru;

    void putRslt(RtRows &rows, uint32_t vpnIdx, uint32_t policyIdx) const {
        const auto rslt = rtEntry<CloudVpn>(run, vpns, vpnIdx);
        rows.text(rslt.iivid == passThru ? "as it came" : std::to_string(rslt.iivid), rslt.iivid);
        rows.value(rslt.vpn_id).value(rtEntry<CloudPolicy>(run, policies, policyIdx).policy_id);
    }
};

} // namespace

void list_cloud(const RtRun &run, RtRows &rows) {
    const TblMem &tcam = rtMem("rte_cloud_class_tcam");
    const auto special = dmpComReg<comReg::RTE_SPECIAL_IVID_REG>(run.image());
    const Cloud cloud{.run = run, .passThru = special[comReg::RTE_SPECIAL_IVID_REG::res_passthru_ivid]};
    for (uint32_t place = 0; place < tcam.places(); ++place) {
        const TblEntry entry = tcam.entryAt(run.image(), place);
        // A row that leaves its form open is shown as that of an address; it matches keys of both forms.
        const TblDesc &desc = entry.desc != nullptr ? *entry.desc : tcam.forms()[0];
        uint32_t words[TblMem::kMaxWords];
        tcam.read(run.image(), entry, run.opt.isRaw, words);
        if (tblIsNever(desc, words))
            continue;
        constexpr std::string_view kForm[] = {"trill_form"};
        const std::string key = rtFieldsText(desc, words, kForm);
        const bool isTrill = &desc != &tcam.forms()[0];
        rows.text(entry.desc == nullptr ? "both" : isTrill ? "trill ports" : "other ports");
        rows.text(key.empty() ? "anything" : key);
        cloud.putRslt(rows, place, place);
        rows.part(tcam, place).part(cloud.vpns, place).part(cloud.policies, place).end();
    }
    const auto miss = dmpComReg<comReg::RTE_L2_EXM_CLOUD_UNK_RSLT_ADDR>(run.image());
    const uint32_t vpnIdx = miss[comReg::RTE_L2_EXM_CLOUD_UNK_RSLT_ADDR::csc_unk_vpn_rslt_addr];
    const uint32_t policyIdx = miss[comReg::RTE_L2_EXM_CLOUD_UNK_RSLT_ADDR::csc_unk_policy_rslt_addr];
    rows.text("both").text("no row matches");
    cloud.putRslt(rows, vpnIdx, policyIdx);
    rows.part(cloud.vpns, vpnIdx).part(cloud.policies, policyIdx).end();
}
