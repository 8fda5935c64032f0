// The layouts of the layer-3 entries.

#include "entry_layout.h"
#include "lue/cmRteLue.h"
#include "lue/cmRteLueL3.h"
#include "model_fixture.h"
#include "tcam_image.h"

#include <random>

namespace {

const std::vector<EntryKind> kKinds = {
    KIND(VlanFeatCtl, "rte_l3_vlan_feat_ctl", "RTE_L3_FEATURE_CTL_SRAM", 1),
    KIND(Vrf, "rte_l3_vrf", "RTE_L3_VRF_SRAM", 1),
    KIND(Cugid, "rte_l3_cugid", "RTE_L2_CID_SRAM", 1),
    TCAM_KIND(L3CtrlKey, "rte_l3_ctrl_cls_tcam", "RTE_L3_CONTROL_TCAM", 32),
    KIND(L3CtrlRslt, "rte_l3_ctrl_cls_rslt", "RTE_L3_CONTROL_RSLT_EDRAM", 2),
    KIND(L3CtrlQnum, "rte_l3_ctrl_cls_qnum", "RTE_L3_CONTROL_QUEUE_NUM_SRAM", 2),
    KIND(IvidPartn, "rte_l3_ivid_partn", "RTE_L3_CONTROL_PID_SRAM", 1),
    KIND(FcoeVfid, "rte_fcoe_ivid_to_vfid", "RTE_FCOE_VFID_SRAM", 1),
    KIND(FcoeIvidFlt, "rte_fcoe_ivid_filter", "RTE_FCOE_VID_FLT_RA", 1),
    KIND(FcoeVfidFlt, "rte_fcoe_vfid_filter", "RTE_FCOE_VFID_FLT_RA", 1),
    KIND(MpathHash, "rte_l3_mpath_hash_type", "RTE_L3_MP_INFO_EDRAM", 1),
    KIND(NxtHop, "rte_l3_next_hop_rslt", "RTE_L3_NXT_HOP_RSLT_EDRAM", 4),
    KIND(Ipv4McuidIdx, "rte_l3_ipv4_mcuid_idx", "RTE_L3_IPV4_MCUID_IDX_SRAM", 1),
    KIND(Ipv4McuidBkt, "rte_l3_ipv4_mcuid_bkt", "RTE_L3_IPV4_MCUID_BKT_EDRAM", 2),
    TCAM_KIND(Ipv4McuidKey, "rte_l3_ipv4_mcuid_ovflw_tcam", "RTE_L3_IPV4_MCUID_OVERFLOW_TCAM", 4),
    KIND(Ipv4McuidRslt, "rte_l3_ipv4_mcuid_rslt", "RTE_L3_IPV4_MCUID_RSLT_SRAM", 1),
    KIND(Ipv6McuidIdx, "rte_l3_ipv6_mcuid_idx", "RTE_L3_IPV6_MCUID_IDX_SRAM", 1),
    KIND(Ipv6McuidBkt, "rte_l3_ipv6_mcuid_bkt", "RTE_L3_IPV6_MCUID_BKT_EDRAM", 8),
    TCAM_KIND(Ipv6McuidKey, "rte_l3_ipv6_mcuid_ovflw_tcam", "RTE_L3_IPV6_MCUID_OVERFLOW_TCAM", 16),
    KIND(Ipv6McuidRslt, "rte_l3_ipv6_mcuid_rslt", "RTE_L3_IPV6_MCUID_RSLT_SRAM", 1),
};

std::vector<EntryBits> places() {
    std::vector<EntryBits> list = {
        BITS(VlanFeatCtl, ipv6McHdrCkEn, 0, 10, 10),
        BITS(VlanFeatCtl, ipv6UcHdrCkEn, 0, 11, 11),
        BITS(VlanFeatCtl, ipv6IcmpRedirectTrpEn, 0, 12, 12),
        BITS(VlanFeatCtl, ipv6IcmpUnreachTrpEn, 0, 13, 13),
        BITS(VlanFeatCtl, ipv6RpfCkMode, 0, 15, 14),
        BITS(VlanFeatCtl, ipv4McHdrCkEn, 0, 26, 26),
        BITS(VlanFeatCtl, ipv4UcHdrCkEn, 0, 27, 27),
        BITS(VlanFeatCtl, ipv4IcmpRedirectTrpEn, 0, 28, 28),
        BITS(VlanFeatCtl, ipv4IcmpUnreachTrpEn, 0, 29, 29),
        BITS(VlanFeatCtl, ipv4RpfCkMode, 0, 31, 30),
        BITS(Vrf, vrfId, 0, 11, 0),
        BITS(Vrf, deftVrfEn, 0, 12, 12),
        BITS(Cugid, cugid, 0, 31, 0),
        // Two words of the half stand before the key's 14.
        BITS(L3CtrlKey, typ, 2, 31, 0),
        PIECE(L3CtrlKey, l2Da, 32, 3, 31, 16),
        BITS(L3CtrlKey, l3IpUlp, 3, 15, 8),
        BITS(L3CtrlKey, tcp_fin, 3, 7, 7),
        BITS(L3CtrlKey, tcp_syn, 3, 6, 6),
        BITS(L3CtrlKey, tcp_rst, 3, 5, 5),
        BITS(L3CtrlKey, tcp_ack, 3, 4, 4),
        BITS(L3CtrlKey, tcp_psh, 3, 3, 3),
        BITS(L3CtrlKey, tcp_urg, 3, 2, 2),
        BITS(L3CtrlKey, isIpv6, 3, 1, 1),
        BITS(L3CtrlKey, l3FwdIsMyIpDa, 3, 0, 0),
        PIECE(L3CtrlKey, l2Da, 0, 4, 31, 0),
        BITS(L3CtrlKey, typL4Src, 5, 31, 16),
        BITS(L3CtrlKey, typL4Dst, 5, 15, 0),
        PIECE(L3CtrlKey, l3IpDa, 96, 6, 31, 0),
        PIECE(L3CtrlKey, l3IpDa, 64, 7, 31, 0),
        PIECE(L3CtrlKey, l3IpDa, 32, 8, 31, 0),
        PIECE(L3CtrlKey, l3IpDa, 0, 9, 31, 0),
        BITS(L3CtrlKey, l3Ipv4Da, 9, 31, 0),
        ELEM(L3CtrlKey, flexKey, 0, 10, 31, 0),
        ELEM(L3CtrlKey, flexKey, 1, 11, 31, 0),
        ELEM(L3CtrlKey, flexKey, 2, 12, 31, 0),
        ELEM(L3CtrlKey, flexKey, 3, 13, 31, 0),
        ELEM(L3CtrlKey, flexKey, 4, 14, 31, 0),
        ELEM(L3CtrlKey, flexKey, 5, 15, 31, 0),
        BITS(L3CtrlQnum, l3CtrlOvrd, 0, 0, 0),
        ELEM(L3CtrlQnum, l3CtrlTrapQue, 7, 1, 3, 0),
        ELEM(L3CtrlQnum, l3CtrlTrapQue, 6, 1, 7, 4),
        ELEM(L3CtrlQnum, l3CtrlTrapQue, 5, 1, 11, 8),
        ELEM(L3CtrlQnum, l3CtrlTrapQue, 4, 1, 15, 12),
        ELEM(L3CtrlQnum, l3CtrlTrapQue, 3, 1, 19, 16),
        ELEM(L3CtrlQnum, l3CtrlTrapQue, 2, 1, 23, 20),
        ELEM(L3CtrlQnum, l3CtrlTrapQue, 1, 1, 27, 24),
        ELEM(L3CtrlQnum, l3CtrlTrapQue, 0, 1, 31, 28),
        ELEM(IvidPartn, iividPid, 7, 0, 2, 0),
        ELEM(IvidPartn, iividPid, 6, 0, 6, 4),
        ELEM(IvidPartn, iividPid, 5, 0, 10, 8),
        ELEM(IvidPartn, iividPid, 4, 0, 14, 12),
        ELEM(IvidPartn, iividPid, 3, 0, 18, 16),
        ELEM(IvidPartn, iividPid, 2, 0, 22, 20),
        ELEM(IvidPartn, iividPid, 1, 0, 26, 24),
        ELEM(IvidPartn, iividPid, 0, 0, 30, 28),
        BITS(FcoeVfid, vfid, 0, 11, 0),
        BITS(FcoeVfid, vfid_typ, 0, 12, 12),
        ELEM(MpathHash, npath, 0, 0, 31, 27),
        ELEM(MpathHash, hashNum, 0, 0, 26, 24),
        ELEM(MpathHash, npath, 1, 0, 23, 19),
        ELEM(MpathHash, hashNum, 1, 0, 18, 16),
        ELEM(MpathHash, npath, 2, 0, 15, 11),
        ELEM(MpathHash, hashNum, 2, 0, 10, 8),
        ELEM(MpathHash, npath, 3, 0, 7, 3),
        ELEM(MpathHash, hashNum, 3, 0, 2, 0),
        BITS(NxtHop, mpid_lgid_egid_mgid, 1, 31, 15),
        BITS(NxtHop, l2_prio, 1, 14, 12),
        BITS(NxtHop, reserved0, 1, 11, 0),
        BITS(NxtHop, mctid_trill_da, 2, 31, 16),
        BITS(NxtHop, mct_npath, 2, 31, 29),
        BITS(NxtHop, mct_id, 2, 28, 16),
        BITS(NxtHop, trill_mc, 2, 15, 15),
        BITS(NxtHop, trill_cmd, 2, 14, 13),
        BITS(NxtHop, is_mgid, 2, 12, 12),
        BITS(NxtHop, vsan_tagged, 2, 11, 11),
        BITS(NxtHop, fcoe_prio_pth, 2, 10, 10),
        BITS(NxtHop, sa_idx, 2, 9, 0),
        BITS(NxtHop, eivid, 3, 31, 19),
        BITS(NxtHop, da_idx, 3, 18, 2),
        BITS(NxtHop, mcast_typ, 3, 1, 0),
        BITS(Ipv4McuidIdx, hshIdx, 0, 31, 0),
        BITS(Ipv4McuidBkt, iivid, 0, 12, 0),
        BITS(Ipv4McuidBkt, l3IpDa, 1, 31, 0),
        BITS(Ipv4McuidKey, iivid, 0, 12, 0),
        BITS(Ipv4McuidKey, l3IpDa, 1, 31, 0),
        BITS(Ipv4McuidRslt, l3PselMcuid, 0, 31, 0),
        BITS(Ipv6McuidIdx, hshIdx, 0, 31, 0),
        BITS(Ipv6McuidBkt, iivid, 3, 12, 0),
        PIECE(Ipv6McuidBkt, l3IpDa, 96, 4, 31, 0),
        PIECE(Ipv6McuidBkt, l3IpDa, 64, 5, 31, 0),
        PIECE(Ipv6McuidBkt, l3IpDa, 32, 6, 31, 0),
        PIECE(Ipv6McuidBkt, l3IpDa, 0, 7, 31, 0),
        BITS(Ipv6McuidKey, iivid, 3, 12, 0),
        PIECE(Ipv6McuidKey, l3IpDa, 96, 4, 31, 0),
        PIECE(Ipv6McuidKey, l3IpDa, 64, 5, 31, 0),
        PIECE(Ipv6McuidKey, l3IpDa, 32, 6, 31, 0),
        PIECE(Ipv6McuidKey, l3IpDa, 0, 7, 31, 0),
        BITS(Ipv6McuidRslt, l3PselMcuid, 0, 31, 0),
    };
    // 16 types a word, from the top; one flag a number, from the low end.
    for (unsigned i = 0; i < 16; i++) {
        list.push_back(ELEM(L3CtrlRslt, rsltTyp, i, 0, 31 - 2 * i, 30 - 2 * i));
        list.push_back(ELEM(L3CtrlRslt, rsltTyp, 16 + i, 1, 31 - 2 * i, 30 - 2 * i));
    }
    for (unsigned i = 0; i < 32; i++) {
        list.push_back(ELEM(FcoeIvidFlt, rte_en, i, 0, i, i));
        list.push_back(ELEM(FcoeVfidFlt, rte_en, i, 0, i, i));
    }
    return list;
}

TEST(TblL3, EveryFieldStandsAtItsPlace) {
    checkEntryLayouts(kKinds, places());
}

TEST(TblL3, RowsAndMemoriesAreThoseOfTheChip) {
    checkEntryRows(kKinds);
}

TEST(TblL3, TheListHasTheseEntries) {
    EXPECT_EQ(typesThatDiffer(TblList::L3, kKinds), "");
}

TEST(TblL3, ControlKeysAreComparedByTheirLow424Bits) {
    const TblDesc &desc = findEntry("L3CtrlKey");
    const std::vector<uint32_t> half(desc.loadMsk.begin(), desc.loadMsk.begin() + 16);
    std::vector<uint32_t> expected(16, 0xffffffff);
    expected[0] = expected[1] = 0;
    expected[2] = 0xff; // 13 words and 8 bits
    EXPECT_EQ(half, expected);
}

TEST(TblL3, AnEntryBeyondItsMemoryReads0) {
    uint32_t words[12];
    std::fill(std::begin(words), std::end(words), 0xffffffffu);
    EXPECT_EQ(entry<NxtHop>(words, 2).eivid, 0x1fffu);
    EXPECT_EQ(entry<NxtHop>(words, 3).eivid, 0u);
}

// ---- As the stages read them ----

class TblL3Stage : public ModelTest {
protected:
    uint32_t random() { return static_cast<uint32_t>(engine()); }

    /// Random words at `words`, `cnt` of them.
    void fill(uint32_t *words, size_t cnt) {
        for (size_t i = 0; i < cnt; i++)
            words[i] = random();
    }
    /// Random values for the fields of `Entry`.
    template <class Entry> Entry randomEntry() {
        uint32_t words[Entry::kWords];
        fill(words, Entry::kWords);
        return entryAt<Entry>(words);
    }

    std::mt19937 engine{7};
};

TEST_F(TblL3Stage, VlanFeatures) {
    for (uint32_t vid : {0u, 5u, 0x1fffu}) {
        const VlanFeatCtl feat = randomEntry<VlanFeatCtl>();
        pack(feat, &mem.RTE_L3_FEATURE_CTL_SRAM[vid]);
        stat.iivid = vid;
        stat.l3IpVer = 4;
        L3FeatureCtrl(&stat);
        EXPECT_EQ(stat.ipv6McHdrCkEn, feat.ipv6McHdrCkEn);
        EXPECT_EQ(stat.ipv6UcHdrCkEn, feat.ipv6UcHdrCkEn);
        EXPECT_EQ(stat.ipv6IcmpRedirectTrpEn, feat.ipv6IcmpRedirectTrpEn);
        EXPECT_EQ(stat.ipv6IcmpUnreachTrpEn, feat.ipv6IcmpUnreachTrpEn);
        EXPECT_EQ(stat.ipv6RpfCkMode, feat.ipv6RpfCkMode);
        EXPECT_EQ(stat.ipv4McHdrCkEn, feat.ipv4McHdrCkEn);
        EXPECT_EQ(stat.ipv4UcHdrCkEn, feat.ipv4UcHdrCkEn);
        EXPECT_EQ(stat.ipv4IcmpRedirectTrpEn, feat.ipv4IcmpRedirectTrpEn);
        EXPECT_EQ(stat.ipv4IcmpUnreachTrpEn, feat.ipv4IcmpUnreachTrpEn);
        EXPECT_EQ(stat.ipv4RpfCkMode, feat.ipv4RpfCkMode);
    }
}

TEST_F(TblL3Stage, VrfAndCustomerGroup) {
    for (uint32_t vid = 100; vid < 120; vid++) {
        const Vrf vrf = randomEntry<Vrf>();
        const Cugid group = randomEntry<Cugid>();
        pack(vrf, &mem.RTE_L3_VRF_SRAM[vid]);
        pack(group, &mem.RTE_L2_CID_SRAM[vid]);
        stat.iivid = vid;
        L3VrfLu(&stat);
        L3CugidLu(&stat);
        EXPECT_EQ(stat.vrfId, vrf.vrfId);
        EXPECT_EQ(stat.deftVrfEn, vrf.deftVrfEn);
        EXPECT_EQ(stat.l3PselCugid, group.cugid);
    }
}

TEST_F(TblL3Stage, VirtualFabricsAndTheirFilters) {
    port.rte_prc_l2_fcoe_def_vid = 0x2000;
    for (uint32_t vid = 1000; vid < 1100; vid++) {
        const FcoeVfid fabric = randomEntry<FcoeVfid>();
        pack(fabric, &mem.RTE_FCOE_VFID_SRAM[vid]);
        FcoeIvidFlt vidFlt{};
        FcoeVfidFlt vfidFlt{};
        vidFlt.rte_en[vid % 32] = random() & 1;
        vfidFlt.rte_en[fabric.vfid % 32] = random() & 1;
        pack(vidFlt, &mem.RTE_FCOE_VID_FLT_RA[vid / 32]);
        pack(vfidFlt, &mem.RTE_FCOE_VFID_FLT_RA[fabric.vfid / 32]);
        resetStat();
        stat.iivid = vid;
        FcoeCls(&stat);
        EXPECT_EQ(stat.l2FcoeClsVfid, fabric.vfid);
        EXPECT_EQ(stat.l2FcoeClsVfidTyp, fabric.vfid_typ);
        EXPECT_EQ(stat.l2FcoeClsRteEn, vidFlt.rte_en[vid % 32] & vfidFlt.rte_en[fabric.vfid % 32]);
    }
}

TEST_F(TblL3Stage, NextHopsOfAllPaths) {
    for (uint32_t round = 0; round < 200; round++) {
        const uint32_t idx = random() % 0x20000;
        resetStat();
        stat.l3IpVer = 4;
        stat.l3RteRqd = 1;
        stat.l3PselNextHopRsltIdx = idx;
        for (uint32_t &hsh : stat.hshVal)
            hsh = random();
        const MpathHash spread = randomEntry<MpathHash>();
        pack(spread, &mem.RTE_L3_MP_INFO_EDRAM[idx / 4]);
        const uint32_t npath = spread.npath[idx % 4];
        const uint32_t path = npath ? (stat.hshVal[spread.hashNum[idx % 4]] & 0xfff) % (npath + 1) : 0;
        const NxtHop hop = randomEntry<NxtHop>();
        pack(hop, &mem.RTE_L3_NXT_HOP_RSLT_EDRAM[4 * (idx + path)]);
        L3NextHopLu(&stat, 1);

        EXPECT_EQ(stat.l3NxtHopMpOffset, path);
        EXPECT_EQ(stat.l3NxtHopTrillCmd, hop.trill_cmd);
        EXPECT_EQ(stat.l3NxtHopTrillMc, hop.trill_mc);
        EXPECT_EQ(stat.l3NxtHopL2DaIdx, hop.da_idx);
        EXPECT_EQ(stat.l3NxtHopFcoeL2Prio, hop.l2_prio);
        EXPECT_EQ(stat.l3NxtHopFcoeL2PrioPth, hop.fcoe_prio_pth);
        EXPECT_EQ(stat.l3NxtHopFcoeL2SaIdx, hop.sa_idx);
        EXPECT_EQ(stat.l3NxtHopFcoeVsanTagged, hop.vsan_tagged);
        EXPECT_EQ(stat.l3EividDa, hop.eivid);
        if (hop.trill_cmd == 1) {
            EXPECT_EQ(stat.l3NxtHopMctNpath, hop.mct_npath);
            EXPECT_EQ(stat.l3NxtHopMctId, hop.mct_id);
        } else {
            EXPECT_EQ(stat.l3NxtHopTrillDa, hop.mctid_trill_da);
        }
        if (hop.is_mgid) { // no table behind the record changes these
            EXPECT_EQ(stat.l3PselIsMgid, 1u);
            EXPECT_EQ(stat.l3PselMcastTyp, hop.mcast_typ);
            EXPECT_EQ(stat.l3NxtHopMpidLgidEgidMgid, hop.mpid_lgid_egid_mgid);
        }
    }
}

/// Puts an entry that asks for exactly the key `key` at `idx` of a ternary memory.
template <class Key> void putExact(uint32_t *tcam, size_t idx, const Key &key) {
    uint32_t *entry = tcam + idx * 2 * Key::kWords;
    uint32_t want[Key::kWords] = {};
    uint32_t care[Key::kWords] = {};
    pack(key, want);
    const std::vector<uint32_t> ones(Key::kWords, 0xffffffff);
    pack(entryAt<Key>(ones.data()), care);
    for (uint32_t i = 0; i < Key::kWords; i++) {
        entry[i] = want[i] & care[i];
        entry[Key::kWords + i] = ~want[i] & care[i];
    }
}

/// As ipv6Da: the two halves of an address.
TblWide wideOf(uint64_t hi, uint64_t lo) {
    return {static_cast<uint32_t>(hi >> 32), static_cast<uint32_t>(hi), static_cast<uint32_t>(lo >> 32),
            static_cast<uint32_t>(lo)};
}

TEST_F(TblL3Stage, ControlEntriesFindTheirFrameAndGiveItsVerdict) {
    tcamOff(mem.RTE_L3_CONTROL_TCAM, 32);
    std::mt19937_64 wide(3);
    for (uint32_t round = 0; round < 64; round++) {
        const uint32_t idx = 255 - round; // the frame's own entry comes before all that stand already
        const bool ipv6 = round % 2;
        resetStat();
        stat.l3IpVer = ipv6 ? 6 : 4;
        stat.typ = random();
        stat.l2Da = wide() >> 16;
        stat.l3IpUlp = random() & 0xff;
        stat.l4TcpFlags = random() & 0x3f;
        stat.l3FwdIsMyIpDa = random() & 1;
        stat.typL4Src = random() & 0xffff;
        stat.typL4Dst = random() & 0xffff;
        stat.l3IpDa0 = ipv6 ? wide() : wide() >> 32;
        stat.l3IpDa1 = ipv6 ? wide() : 0;
        com.l3_ctl_flx_key_sel = random() & 1;
        fill(stat.flexKey0, 6);
        fill(stat.flexKey1, 6);
        stat.iivid = random() & 0x1fff;

        L3CtrlKey key{};
        key.typ = stat.typ;
        key.l2Da = stat.l2Da;
        key.l3IpUlp = stat.l3IpUlp;
        key.tcp_fin = stat.l4TcpFlags & 1;
        key.tcp_syn = stat.l4TcpFlags >> 1 & 1;
        key.tcp_rst = stat.l4TcpFlags >> 2 & 1;
        key.tcp_psh = stat.l4TcpFlags >> 3 & 1;
        key.tcp_ack = stat.l4TcpFlags >> 4 & 1;
        key.tcp_urg = stat.l4TcpFlags >> 5 & 1;
        key.isIpv6 = ipv6;
        key.l3FwdIsMyIpDa = stat.l3FwdIsMyIpDa;
        key.typL4Src = stat.typL4Src;
        key.typL4Dst = stat.typL4Dst;
        key.l3IpDa = ipv6 ? wideOf(stat.l3IpDa0, stat.l3IpDa1) : wideOf(0, stat.l3IpDa0);
        key.l3Ipv4Da = key.l3IpDa[3];
        std::copy_n(com.l3_ctl_flx_key_sel ? stat.flexKey1 : stat.flexKey0, 6, key.flexKey.begin());
        putExact(mem.RTE_L3_CONTROL_TCAM, idx, key);

        const L3CtrlRslt verdict = randomEntry<L3CtrlRslt>();
        const L3CtrlQnum queues = randomEntry<L3CtrlQnum>();
        const IvidPartn partn = randomEntry<IvidPartn>();
        pack(verdict, &mem.RTE_L3_CONTROL_RSLT_EDRAM[(stat.iivid * 8 + idx / 32) * 2]);
        pack(queues, &mem.RTE_L3_CONTROL_QUEUE_NUM_SRAM[idx * 2]);
        pack(partn, &mem.RTE_L3_CONTROL_PID_SRAM[stat.iivid / 8]);
        L3CtrlCls(&stat);

        ASSERT_EQ(stat.l3CtrlHit, 1u) << round;
        ASSERT_EQ(stat.l3CtrlHitIdx, idx);
        EXPECT_EQ(stat.l3CtrlOvrd, queues.l3CtrlOvrd);
        EXPECT_EQ(stat.l3CtrlTrapQue, queues.l3CtrlTrapQue[partn.iividPid[stat.iivid % 8]]);
        const uint32_t typ = verdict.rsltTyp[idx % 32];
        EXPECT_EQ(stat.l3CtrlDrop, typ == 0 ? 1u : 0u);
        EXPECT_EQ(stat.l3CtrlTrap, typ == 1 ? 1u : 0u);
        EXPECT_EQ(stat.l3CtrlFwd, typ == 2 ? 1u : 0u);
        EXPECT_EQ(stat.l3CtrlTrapFwd, typ == 3 ? 1u : 0u);
    }
}

TEST_F(TblL3Stage, MulticastUsersAreFoundInTheirBucket) {
    tcamOff(mem.RTE_L3_IPV4_MCUID_OVERFLOW_TCAM, 4);
    tcamOff(mem.RTE_L3_IPV6_MCUID_OVERFLOW_TCAM, 16);
    constexpr uint32_t kBkt = 600, kPlace = 2;
    for (uint32_t &idx : mem.RTE_L3_IPV4_MCUID_IDX_SRAM)
        pack(Ipv4McuidIdx{kBkt}, &idx);
    for (uint32_t &idx : mem.RTE_L3_IPV6_MCUID_IDX_SRAM)
        pack(Ipv6McuidIdx{kBkt}, &idx);
    pack(Ipv4McuidBkt{0x123, 0xe0010203}, &mem.RTE_L3_IPV4_MCUID_BKT_EDRAM[(kBkt * 16 + kPlace) * 2]);
    pack(Ipv4McuidRslt{77}, &mem.RTE_L3_IPV4_MCUID_RSLT_SRAM[kBkt * 16 + kPlace]);
    pack(Ipv6McuidBkt{0x1456, wideOf(0xff02000000000001, 0x1122334455667788)},
         &mem.RTE_L3_IPV6_MCUID_BKT_EDRAM[(kBkt * 4 + kPlace) * 8]);
    pack(Ipv6McuidRslt{88}, &mem.RTE_L3_IPV6_MCUID_RSLT_SRAM[kBkt * 4 + kPlace]);

    stat.l3IpVer = 4;
    stat.iivid = 0x123;
    stat.l3IpDa0 = 0xe0010203;
    L3McuidLu(&stat);
    EXPECT_EQ(stat.l3PselMcuid, 77u);

    stat.l3IpVer = 6;
    stat.iivid = 0x1456;
    stat.l3IpDa0 = 0xff02000000000001;
    stat.l3IpDa1 = 0x1122334455667788;
    L3McuidLu(&stat);
    EXPECT_EQ(stat.l3PselMcuid, 88u);
}

TEST_F(TblL3Stage, MulticastUsersAreFoundInTheOverflow) {
    tcamOff(mem.RTE_L3_IPV4_MCUID_OVERFLOW_TCAM, 4);
    tcamOff(mem.RTE_L3_IPV6_MCUID_OVERFLOW_TCAM, 16);
    putExact(mem.RTE_L3_IPV4_MCUID_OVERFLOW_TCAM, 5, Ipv4McuidKey{0x123, 0xe0010203});
    putExact(mem.RTE_L3_IPV6_MCUID_OVERFLOW_TCAM, 6,
             Ipv6McuidKey{0x1456, wideOf(0xff02000000000001, 0x1122334455667788)});
    pack(Ipv4McuidRslt{77}, &mem.RTE_L3_IPV4_MCUID_RSLT_SRAM[16384 - 1024 + 5]);
    pack(Ipv6McuidRslt{88}, &mem.RTE_L3_IPV6_MCUID_RSLT_SRAM[4096 - 256 + 6]);

    stat.l3IpVer = 4;
    stat.iivid = 0x123;
    stat.l3IpDa0 = 0xe0010203;
    L3McuidLu(&stat);
    EXPECT_EQ(stat.l3PselMcuid, 77u);
    stat.iivid = 0x124;
    L3McuidLu(&stat);
    EXPECT_EQ(stat.l3PselMcuid, 0u);

    stat.l3IpVer = 6;
    stat.iivid = 0x1456;
    stat.l3IpDa0 = 0xff02000000000001;
    stat.l3IpDa1 = 0x1122334455667788;
    L3McuidLu(&stat);
    EXPECT_EQ(stat.l3PselMcuid, 88u);
    stat.l3IpDa1 = 0x1122334455667789;
    L3McuidLu(&stat);
    EXPECT_EQ(stat.l3PselMcuid, 0u);
}

} // namespace
