// FIP and FCoE headers.

#include "frame_builder.h"
#include "model_fixture.h"
#include "prc/cmRtePrc.h"

#include <unistd.h>

namespace {

const char kPfx[] = "CM port=0, frameIdx=0>> ";

// ---- FIP

class Fip : public ModelTest {
protected:
    static constexpr uint32_t kFipOffset = 14;

    /// A FIP frame; `flags` are the two bytes at offset 8 of the FIP header.
    static Frame fipFrame(uint32_t verByte, uint32_t protocol, uint32_t subcode, uint32_t flags) {
        return Frame()
            .mac(0x011018010001, 0x0e0000112233)
            .etyp(0x8914)
            .num(verByte, 1)
            .num(0x77, 1)
            .num(protocol, 2)
            .num(0x88, 1)
            .num(subcode, 1)
            .num(0x0005, 2)
            .num(flags, 2)
            .fill(20, 0xee);
    }
    void setFipFrame(const Frame &frame) {
        setFrame(frame.bytes);
        stat.l2FipOffset = kFipOffset;
    }
    void expectNoField() {
        EXPECT_EQ(stat.l2FipVer, 0u);
        EXPECT_EQ(stat.l2FipProtocol, 0u);
        EXPECT_EQ(stat.l2FipSubcode, 0u);
        EXPECT_EQ(stat.l2FipBitFP, 0u);
        EXPECT_EQ(stat.l2FipBitSP, 0u);
        EXPECT_EQ(stat.l2FipBitA, 0u);
        EXPECT_EQ(stat.l2FipBitS, 0u);
        EXPECT_EQ(stat.l2FipBitF, 0u);
    }
};

TEST_F(Fip, FieldsAreReadAndTraced) {
    setFipFrame(fipFrame(0x9c, 0x1234, 0xab, 0x8005));
    stat.dbgLvl = 2;
    int ret = 0;
    EXPECT_EQ(printed([&] { ret = PrcFip(&stat); }),
              std::string(kPfx) + "FIP frame, ver=9 prot=1234 subcode=ab fp=1 sp=0 a=1 s=0 f=1\n");
    EXPECT_EQ(ret, 1);
    EXPECT_EQ(stat.l2FipVer, 9u);
    EXPECT_EQ(stat.l2FipProtocol, 0x1234u);
    EXPECT_EQ(stat.l2FipSubcode, 0xabu);
    stat.dbgLvl = 1;
    EXPECT_EQ(printed([&] { PrcFip(&stat); }), "");
}

TEST_F(Fip, EveryFlagHasItsOwnBit) {
    for (uint32_t n = 0; n < 16; n++) {
        setFipFrame(fipFrame(0x10, 1, 1, 1u << n));
        EXPECT_EQ(PrcFip(&stat), 1);
        EXPECT_EQ(stat.l2FipBitFP, n == 15 ? 1u : 0u) << n;
        EXPECT_EQ(stat.l2FipBitSP, n == 14 ? 1u : 0u) << n;
        EXPECT_EQ(stat.l2FipBitA, n == 2 ? 1u : 0u) << n;
        EXPECT_EQ(stat.l2FipBitS, n == 1 ? 1u : 0u) << n;
        EXPECT_EQ(stat.l2FipBitF, n == 0 ? 1u : 0u) << n;
    }
}

TEST_F(Fip, ShortFrameIsAnEndOfFrameErrorAtEveryLength) {
    com.rte_l2_hdr_vio_trap_que = 6;
    port.rte_prc_l2_trill_trap_eof_err = 1; // not the register that decides
    for (uint32_t len = 15; len <= 40; len++) {
        for (uint32_t trap = 0; trap < 2; trap++) {
            resetStat();
            Frame frame = fipFrame(0x10, 1, 2, 0xffff);
            frame.bytes.resize(len - 4);
            setFipFrame(frame);
            port.rte_prc_l2_trap_eof_err = trap;
            verbose(true);
            int ret = -1;
            const std::string text = printed([&] { ret = PrcFip(&stat); });
            // The last end test: 14 + 13 = 27, in words 24.
            if (len > 24) {
                EXPECT_EQ(ret, 1) << len;
                EXPECT_EQ(stat.l2FipVer, 1u) << len;
                EXPECT_EQ(stat.l2PrcTrap + stat.l2PrcDrop, 0u) << len;
                continue;
            }
            EXPECT_EQ(ret, 0) << len;
            expectNoField();
            EXPECT_EQ(stat.l2PrcTrap, trap) << len;
            EXPECT_EQ(stat.l2PrcTrapQue, trap ? 6u : 0u) << len;
            EXPECT_EQ(stat.l2PrcTrapRsn, 0u) << len;
            EXPECT_EQ(stat.l2PrcDrop, 1 - trap) << len;
            EXPECT_EQ(stat.l2PrcDropRsn, trap ? 0u : 12u) << len;
            EXPECT_EQ(text, std::string(kPfx) + "PRC L2 EOF err.\n" + kPfx + "PRC L2 EOF err. " +
                                (trap ? "TRAP\n" : "DROP\n"))
                << len;
        }
    }
}

TEST_F(Fip, EachEndTestCountsByWords) {
    // From an offset of 13 the tests end at 18, 22 and 26: words 16, 20 and 24. From 15: 20, 24, 28.
    for (uint32_t offset : {13u, 14u, 15u}) {
        for (uint32_t len = 17; len <= 32; len++) {
            resetStat();
            setFrame(std::vector<uint8_t>(len - 4, 0xff));
            stat.l2FipOffset = offset;
            const uint32_t last = offset == 13 ? 24 : offset == 14 ? 24 : 28;
            EXPECT_EQ(PrcFip(&stat), len > last ? 1 : 0) << offset << " " << len;
        }
    }
}

// ---- FCoE

class Fcoe : public ModelTest {
protected:
    static constexpr uint32_t kFcoeOffset = 14;
    static constexpr uint32_t kHdrLen = 6;
    static constexpr uint32_t kFcOffset = 28; // 14 + 6 + 8

    Fcoe() {
        com.rte_l2_fcoe_hdr_len = kHdrLen;
        com.rte_l2_fcoe_vsan_rctl = 0x50;
        com.fc_class_2_sof = 0x35;
        com.fc_class_2i_sof = 0x2d;
        com.fc_class_f_sof = 0x28;
        com.rte_fcoe_hdr_vio_trap_que = 7;
        com.rte_fcoe_ttl_trap_que = 8;
    }
    /// MACs, EtherType and the FCoE header with its SOF.
    static Frame fcoeHdr(uint32_t sof) {
        return Frame().mac(0x0efc00010203, 0x0efc000a0b0c).etyp(0x8906).num(0x9c, 1).fill(12, 0x77).num(sof, 1);
    }
    /// The FC header; every field has a value of its own.
    static Frame &fcHdr(Frame &frame, uint32_t rctl = 0x22) {
        return frame.num(rctl, 1)
            .num(0x010203, 3) // D_ID
            .num(0x44, 1)     // CS_CTL
            .num(0x0a0b0c, 3) // S_ID
            .num(0x08, 1)     // TYPE
            .num(0x290000, 3) // F_CTL
            .num(0xe0e1e2e3, 4)
            .num(0xbeef, 2) // OX_ID
            .fill(6, 0xdd);
    }
    /// Payload whose byte i is 0xa0 + i.
    static Frame &payload(Frame &frame, uint32_t len) {
        for (uint32_t i = 0; i < len; i++)
            frame.num(0xa0 + i, 1);
        return frame;
    }
    static Frame plain(uint32_t sof = 0x2e, uint32_t pldLen = 40) {
        Frame frame = fcoeHdr(sof);
        fcHdr(frame);
        return payload(frame, pldLen);
    }
    /// `typ` stands in bits 5 to 2 of the second byte, `hword` holds the VSAN number in bits 12 to 1.
    static Frame vsan(uint32_t typByte = 0, uint32_t hword = 0x0246, uint32_t ttl = 5, uint32_t sof = 0x2e,
                      uint32_t pldLen = 40) {
        Frame frame = fcoeHdr(sof);
        frame.num(0x50, 1).num(typByte, 1).num(hword, 2).num(ttl, 1).fill(3, 0xcc);
        fcHdr(frame);
        return payload(frame, pldLen);
    }
    void setFcoeFrame(const Frame &frame) {
        setFrame(frame.bytes);
        stat.l2FcoeOffset = kFcoeOffset;
    }
    /// A frame of `len` bytes, its last four cleared as the driver leaves them.
    void setCutFrame(Frame frame, uint32_t len) {
        frame.bytes.resize(len - 4);
        setFcoeFrame(frame);
    }
    void expectFcFields() {
        EXPECT_EQ(stat.l2FcoeFcRctl, 0x22u);
        EXPECT_EQ(stat.l2FcoeFcDid, 0x010203u);
        EXPECT_EQ(stat.l2FcoeFcCsctl, 0x44u);
        EXPECT_EQ(stat.l2FcoeFcSid, 0x0a0b0cu);
        EXPECT_EQ(stat.l2FcoeFcType, 0x08u);
        EXPECT_EQ(stat.l2FcoeFcFctl, 0x290000u);
        EXPECT_EQ(stat.l2FcoeFcOxid, 0xbeefu);
        EXPECT_EQ(stat.l2FcoeFcSof, 0x2eu);
        EXPECT_EQ(stat.l2FcoeVersion, 9u);
        EXPECT_EQ(stat.l2FcoeFcPld0, 0xa0u);
        EXPECT_EQ(stat.l2FcoeFcPld35, 0xabu);
        EXPECT_EQ(stat.l2FcoeFcPld36, 0xacu);
        EXPECT_EQ(stat.l2FcoeFcPld41, 0xb1u);
    }
    void expectPlain() {
        EXPECT_EQ(stat.l2FcoeFcVfidVld, 0u);
        EXPECT_EQ(stat.l2FcoeVfidVld, 0u);
        EXPECT_EQ(stat.l2FcoeFcVfid, 0u);
        EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_VSAN], 0u);
    }
};

TEST_F(Fcoe, PlainFrameIsRead) {
    setFcoeFrame(plain());
    PrcFcoe(&stat);
    expectFcFields();
    expectPlain();
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_FCOE], 12u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_FC], 28u);
    EXPECT_EQ(stat.l3PrcTrapRsn, 0u);
    EXPECT_EQ(stat.l3PrcDropRsn, 0u);
}

TEST_F(Fcoe, PlainFrameIsTraced) {
    setFcoeFrame(plain());
    stat.dbgLvl = 2;
    EXPECT_EQ(printed([&] { PrcFcoe(&stat); }),
              std::string(kPfx) + "Flex key FCOE (10) detected at offset=12 val=0x89\n" + kPfx +
                  "FCoE offset = 14, FC offset = 28\n" + kPfx + "Flex key FC (12) detected at offset=28 val=0x22\n" +
                  kPfx + "Plain FC encapsulated FCoE frame, rctl=22 sof=2e\n");
    stat.dbgLvl = 1;
    EXPECT_EQ(printed([&] { PrcFcoe(&stat); }), "");
}

TEST_F(Fcoe, VsanFrameIsRead) {
    setFcoeFrame(vsan());
    PrcFcoe(&stat);
    expectFcFields();
    EXPECT_EQ(stat.l2FcoeFcVfidVld, 1u);
    EXPECT_EQ(stat.l2FcoeVfidVld, 1u);
    EXPECT_EQ(stat.l2FcoeFcVfid, 0x123u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_FCOE], 12u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_VSAN], 28u);
    EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_FC], 36u);
}

TEST_F(Fcoe, VsanFrameIsTraced) {
    setFcoeFrame(vsan());
    stat.dbgLvl = 2;
    EXPECT_EQ(printed([&] { PrcFcoe(&stat); }),
              std::string(kPfx) + "Flex key FCOE (10) detected at offset=12 val=0x89\n" + kPfx +
                  "FCoE offset = 14, FC offset = 28\n" + kPfx + "Flex key VSAN (11) detected at offset=28 val=0x50\n" +
                  kPfx + "Flex key FC (12) detected at offset=36 val=0x22\n" + kPfx +
                  "VSAN FC encapsulated FCoE frame, rctl=22 sof=2e\n");
}

TEST_F(Fcoe, VfidIsTwelveBitsAboveTheLowestBit) {
    setFcoeFrame(vsan(0, 0xffff));
    PrcFcoe(&stat);
    EXPECT_EQ(stat.l2FcoeFcVfid, 0xfffu);
    setFcoeFrame(vsan(0, 0xe001));
    PrcFcoe(&stat);
    EXPECT_EQ(stat.l2FcoeFcVfid, 0u);
}

TEST_F(Fcoe, HeaderLengthMovesTheFcHeader) {
    for (uint32_t hdrLen = 0; hdrLen < 32; hdrLen++) {
        resetStat();
        com.rte_l2_fcoe_hdr_len = hdrLen;
        Frame frame = Frame().fill(kFcoeOffset).num(0x9c, 1).fill(hdrLen + 6, 0x77).num(0x2e, 1);
        fcHdr(frame);
        setFcoeFrame(payload(frame, 40));
        PrcFcoe(&stat);
        expectFcFields();
        EXPECT_EQ(stat.flexKeyOffset[FLEX_KEY_FC], 14 + hdrLen + 8);
    }
}

TEST_F(Fcoe, OtherRctlIsPlain) {
    Frame frame = vsan();
    frame.bytes[kFcOffset] = 0x51;
    setFcoeFrame(frame);
    PrcFcoe(&stat);
    expectPlain();
    EXPECT_EQ(stat.l2FcoeFcRctl, 0x51u);
}

TEST_F(Fcoe, CheckedVsanTypeMustBeZero) {
    com.rte_l2_fcoe_vsan_typ_ck_en = 1;
    for (uint32_t typ = 0; typ < 16; typ++) {
        resetStat();
        setFcoeFrame(vsan(typ << 2));
        PrcFcoe(&stat);
        EXPECT_EQ(stat.l2FcoeFcVfidVld, typ == 0 ? 1u : 0u) << typ;
        EXPECT_EQ(stat.l2FcoeFcRctl, typ == 0 ? 0x22u : 0x50u) << typ;
    }
    // The neighbouring bits are no type.
    resetStat();
    setFcoeFrame(vsan(0xc3));
    PrcFcoe(&stat);
    EXPECT_EQ(stat.l2FcoeFcVfidVld, 1u);
}

TEST_F(Fcoe, UncheckedVsanTypeMayBeAnything) {
    setFcoeFrame(vsan(0xff));
    PrcFcoe(&stat);
    EXPECT_EQ(stat.l2FcoeFcVfidVld, 1u);
}

TEST_F(Fcoe, FrameThatEndsBehindTheVsanRctlIsPlain) {
    // 28 + 5 = 33, in words 32.
    setCutFrame(vsan(), 32);
    stat.frm[28] = 0x50; // where the FCS stood, so that the R_CTL matches
    PrcFcoe(&stat);
    expectPlain();
    setCutFrame(vsan(), 33);
    PrcFcoe(&stat);
    EXPECT_EQ(stat.l2FcoeFcVfidVld, 1u);
}

TEST_F(Fcoe, ClassTwoIsToldByEitherSof) {
    struct Row {
        uint32_t ck2, ck2i, sof, class2;
    };
    const Row rows[] = {
        {1, 0, 0x35, 1}, {0, 0, 0x35, 0}, {0, 1, 0x35, 0}, {1, 1, 0x35, 1}, {0, 1, 0x2d, 1},
        {0, 0, 0x2d, 0}, {1, 0, 0x2d, 0}, {1, 1, 0x2d, 1}, {1, 1, 0x28, 0},
    };
    for (const Row &row : rows) {
        resetStat();
        port.rte_prc_l2_fcoe_ck_class_2 = row.ck2;
        port.rte_prc_l2_fcoe_ck_class_2i = row.ck2i;
        setFcoeFrame(plain(row.sof));
        PrcFcoe(&stat);
        EXPECT_EQ(stat.l2FcoeFcClass2, row.class2) << row.ck2 << row.ck2i << " " << row.sof;
        EXPECT_EQ(stat.l2FcoeFcClassF, 0u);
        EXPECT_EQ(stat.l2FcoeFcSof, row.sof);
    }
}

TEST_F(Fcoe, ClassFIsToldByItsSof) {
    setFcoeFrame(plain(0x28));
    PrcFcoe(&stat);
    EXPECT_EQ(stat.l2FcoeFcClassF, 0u);
    port.rte_prc_l2_fcoe_ck_class_f = 1;
    PrcFcoe(&stat);
    EXPECT_EQ(stat.l2FcoeFcClassF, 1u);
    EXPECT_EQ(stat.l2FcoeFcClass2, 0u);
    setFcoeFrame(plain(0x29));
    PrcFcoe(&stat);
    EXPECT_EQ(stat.l2FcoeFcClassF, 0u);
}

TEST_F(Fcoe, FpmaCheckComparesTheLowHalfOfTheSource) {
    setFcoeFrame(plain());
    stat.l2Sa = 0x0efc000a0b0c;
    PrcFcoe(&stat);
    EXPECT_EQ(stat.fpmaChkOk, 1u);
    stat.l2Sa = 0xffffff0a0b0c; // no such address, yet the check holds
    PrcFcoe(&stat);
    EXPECT_EQ(stat.fpmaChkOk, 1u);
    stat.l2Sa = 0x0efc000a0b0d;
    PrcFcoe(&stat);
    EXPECT_EQ(stat.fpmaChkOk, 0u);
    stat.l2Sa = 0x0efc008a0b0c;
    PrcFcoe(&stat);
    EXPECT_EQ(stat.fpmaChkOk, 0u);
}

TEST_F(Fcoe, EndInsideThePlainHeaderIsTrapped) {
    port.rte_prc_fcoe_trap_eof_err = 1;
    setCutFrame(plain(), 52);
    stat.dbgLvl = 2;
    const std::string text = printed([&] { PrcFcoe(&stat); });
    EXPECT_EQ(text.substr(text.find("rctl=22 sof=2e\n") + 15),
              std::string(kPfx) + "FCOE DRP_EOF. L3_TRAP.\n" + kPfx +
                  "FCOE EOF err (frameLen=52, FcoeOffset=14 , fcOffset=28, estLen=52). stop parsing.\n");
    EXPECT_EQ(stat.l3PrcTrapQue, 7u);
    EXPECT_EQ(stat.l3PrcTrapRsn, 15u);
    EXPECT_EQ(stat.l3PrcDropRsn, 0u);
}

TEST_F(Fcoe, EndInsideThePlainHeaderIsDropped) {
    setCutFrame(plain(), 50);
    stat.dbgLvl = 2;
    const std::string text = printed([&] { PrcFcoe(&stat); });
    EXPECT_EQ(text.substr(text.find("rctl=22 sof=2e\n") + 15),
              std::string(kPfx) + "FCOE DRP_EOF. L3_DROP.\n" + kPfx +
                  "FCOE EOF err (frameLen=50, FcoeOffset=14 , fcOffset=28, estLen=52). stop parsing.\n");
    EXPECT_EQ(stat.l3PrcTrapQue, 0u);
    EXPECT_EQ(stat.l3PrcTrapRsn, 0u);
    EXPECT_EQ(stat.l3PrcDropRsn, 12u);
    stat.dbgLvl = 1;
    EXPECT_EQ(printed([&] { PrcFcoe(&stat); }), "");
}

TEST_F(Fcoe, EndInsideTheVsanHeaderNamesItsLength) {
    setCutFrame(vsan(), 60);
    stat.dbgLvl = 2;
    const std::string text = printed([&] { PrcFcoe(&stat); });
    EXPECT_NE(text.find(std::string(kPfx) +
                        "FCOE EOF err (frameLen=60, FcoeOffset=14 , fcOffset=28, estLen=60). stop parsing.\n"),
              std::string::npos);
}

TEST_F(Fcoe, PlainFrameAtEveryLength) {
    port.rte_prc_l2_fcoe_ck_class_2 = 1;
    // 14 + 7 = 21, in words 20: shorter frames are not predicted.
    for (uint32_t len = 21; len <= 80; len++) {
        resetStat();
        setCutFrame(plain(0x35), len);
        stat.l2Sa = 0x0efc000a0b0c;
        PrcFcoe(&stat);
        const bool whole = len > 52; // 52 + 3 = 55, in words 52
        EXPECT_EQ(stat.l3PrcDropRsn, whole ? 0u : 12u) << len;
        EXPECT_EQ(stat.l2FcoeFcClass2, whole ? 1u : 0u) << len;
        EXPECT_EQ(stat.fpmaChkOk, whole ? 1u : 0u) << len;
        // Bytes below len - 4 are the frame's own; the rest reads 0.
        EXPECT_EQ(stat.l2FcoeFcRctl, len > 32 ? 0x22u : 0u) << len;
        EXPECT_EQ(stat.l2FcoeFcDid, len >= 36 ? 0x010203u : len == 35 ? 0x010200u : len == 34 ? 0x010000u : 0u) << len;
        EXPECT_EQ(stat.l2FcoeFcCsctl, len > 36 ? 0x44u : 0u) << len;
        EXPECT_EQ(stat.l2FcoeFcSid, len >= 40 ? 0x0a0b0cu : len == 39 ? 0x0a0b00u : len == 38 ? 0x0a0000u : 0u) << len;
        EXPECT_EQ(stat.l2FcoeFcType, len > 40 ? 0x08u : 0u) << len;
        EXPECT_EQ(stat.l2FcoeFcFctl, len > 41 ? 0x290000u : 0u) << len;
        EXPECT_EQ(stat.l2FcoeFcOxid, len >= 50 ? 0xbeefu : len == 49 ? 0xbe00u : 0u) << len;
        // Payload: kept when the frame goes on at byte 4, 12, 16 and 20 of it; the FCS place reads 0.
        EXPECT_EQ(stat.l2FcoeFcPld0, len > 56 ? 0xa0u : 0u) << len;
        EXPECT_EQ(stat.l2FcoeFcPld35, len > 67 ? 0xabu : 0u) << len; // byte 63 is the frame's own from 68 on
        EXPECT_EQ(stat.l2FcoeFcPld36, len > 68 ? 0xacu : 0u) << len;
        EXPECT_EQ(stat.l2FcoeFcPld41, len > 73 ? 0xb1u : 0u) << len; // byte 69 is the frame's own from 74 on
    }
}

TEST_F(Fcoe, PayloadBytesAreComparedByBytes) {
    // The same without the FCS cleared, so that the comparisons alone decide.
    for (uint32_t len = 53; len <= 80; len++) {
        resetStat();
        setFcoeFrame(plain());
        setFrameLen(len);
        PrcFcoe(&stat);
        EXPECT_EQ(stat.l2FcoeFcPld0, len > 56 ? 0xa0u : 0u) << len;
        EXPECT_EQ(stat.l2FcoeFcPld35, len > 64 ? 0xabu : 0u) << len;
        EXPECT_EQ(stat.l2FcoeFcPld36, len > 68 ? 0xacu : 0u) << len;
        EXPECT_EQ(stat.l2FcoeFcPld41, len > 72 ? 0xb1u : 0u) << len;
    }
}

TEST_F(Fcoe, VsanFrameAtEveryLength) {
    for (uint32_t len = 33; len <= 90; len++) {
        resetStat();
        setCutFrame(vsan(0, 0x0246, 1), len);
        port.rte_prc_fcoe_ck_ttl = 1;
        PrcFcoe(&stat);
        const bool whole = len > 60; // 60 + 3 = 63, in words 60
        EXPECT_EQ(stat.l2FcoeFcVfidVld, 1u) << len;
        EXPECT_EQ(stat.l2FcoeFcVfid, len >= 36 ? 0x123u : len == 35 ? 0x100u : 0u) << len; // bits 12 to 1 of 0x0200
        EXPECT_EQ(stat.l3PrcDropRsn, whole ? 23u : 12u) << len; // no TTL check in a short frame
        // 28 + 11 = 39, in words 36: the inner R_CTL is not reached. Behind that it reads the cleared FCS up to 40.
        EXPECT_EQ(stat.l2FcoeFcRctl, len <= 36 ? 0x50u : len <= 40 ? 0u : 0x22u) << len;
        EXPECT_EQ(stat.l2FcoeFcDid, len >= 44 ? 0x010203u : len == 43 ? 0x010200u : len == 42 ? 0x010000u : 0u) << len;
        EXPECT_EQ(stat.l2FcoeFcPld0, len > 64 ? 0xa0u : 0u) << len;
        EXPECT_EQ(stat.l2FcoeFcPld35, len > 75 ? 0xabu : 0u) << len;
        EXPECT_EQ(stat.l2FcoeFcPld36, len > 76 ? 0xacu : 0u) << len;
        EXPECT_EQ(stat.l2FcoeFcPld41, len > 81 ? 0xb1u : 0u) << len;
    }
}

TEST_F(Fcoe, FrameThatEndsBehindTheVsanHeaderKeepsItsRctl) {
    setCutFrame(vsan(), 36);
    PrcFcoe(&stat);
    EXPECT_EQ(stat.l2FcoeFcVfidVld, 1u);
    EXPECT_EQ(stat.l2FcoeFcRctl, 0x50u);
    EXPECT_EQ(stat.l2FcoeFcDid, 0u);
    EXPECT_EQ(stat.l2FcoeFcSid, 0u);
    EXPECT_EQ(stat.l2FcoeFcType, 0u);
    EXPECT_EQ(stat.l2FcoeFcOxid, 0u);
}

class FcoeTtl : public Fcoe {
protected:
    FcoeTtl() { port.rte_prc_fcoe_ck_ttl = 1; }
    std::string runFrame(const Frame &frame) {
        setFcoeFrame(frame);
        stat.dbgLvl = 2;
        const std::string text = printed([&] { PrcFcoe(&stat); });
        return text.substr(text.find("sof=2e\n") + 7);
    }
};

TEST_F(FcoeTtl, OneIsTrapped) {
    port.rte_prc_fcoe_trap_ttl_err = 1;
    EXPECT_EQ(runFrame(vsan(0, 0, 1)), std::string(kPfx) + "FCoE TTL err. L3_TRAP\n");
    EXPECT_EQ(stat.l3PrcTrapQue, 8u);
    EXPECT_EQ(stat.l3PrcTrapRsn, 16u);
    EXPECT_EQ(stat.l3PrcDropRsn, 0u);
}

TEST_F(FcoeTtl, OneIsDropped) {
    EXPECT_EQ(runFrame(vsan(0, 0, 1)), std::string(kPfx) + "FCoE TTL err. L3_DROP\n");
    EXPECT_EQ(stat.l3PrcTrapQue, 0u);
    EXPECT_EQ(stat.l3PrcTrapRsn, 0u);
    EXPECT_EQ(stat.l3PrcDropRsn, 23u);
}

TEST_F(FcoeTtl, UncheckedOneIsNoError) {
    port.rte_prc_fcoe_ck_ttl = 0;
    port.rte_prc_fcoe_trap_ttl_err = 1;
    EXPECT_EQ(runFrame(vsan(0, 0, 1)), "");
    EXPECT_EQ(stat.l3PrcTrapRsn, 0u);
    EXPECT_EQ(stat.l3PrcDropRsn, 0u);
}

TEST_F(FcoeTtl, OtherValuesAreNoError) {
    for (uint32_t ttl : {0u, 2u, 255u})
        EXPECT_EQ(runFrame(vsan(0, 0, ttl)), "") << ttl;
    EXPECT_EQ(stat.l3PrcDropRsn, 0u);
}

TEST_F(FcoeTtl, PlainFrameHasNone) {
    Frame frame = plain();
    frame.bytes[kFcOffset + 4] = 1; // where a VSAN header has its TTL
    EXPECT_EQ(runFrame(frame), "");
    EXPECT_EQ(stat.l3PrcDropRsn, 0u);
}

TEST_F(FcoeTtl, ReasonThatStandsIsOverwritten) {
    stat.l3PrcDropRsn = 14;
    stat.l3PrcTrapRsn = 3;
    runFrame(vsan(0, 0, 1));
    EXPECT_EQ(stat.l3PrcDropRsn, 23u);
    EXPECT_EQ(stat.l3PrcTrapRsn, 3u);
    port.rte_prc_fcoe_trap_ttl_err = 1;
    runFrame(vsan(0, 0, 1));
    EXPECT_EQ(stat.l3PrcTrapRsn, 16u);
    EXPECT_EQ(stat.l3PrcDropRsn, 23u);
}

using FcoeDeathTest = Fcoe;

/// The model's last words go to standard output, which a death test does not see: the child sends them to standard
/// error.
void runOnStderr(CmRteStat *statPtr) {
    std::fflush(stdout);
    dup2(2, 1);
    PrcFcoe(statPtr);
}

TEST_F(FcoeDeathTest, FrameWithoutAWholeFcoeHeaderEndsTheRun) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (uint32_t len : {15u, 19u, 20u}) {
        setCutFrame(plain(), len);
        EXPECT_EXIT(runOnStderr(&stat), testing::ExitedWithCode(1),
                    "FCoE header ends prematurely\nRTL may or may not consider it error\n");
        EXPECT_EQ(stat.flexKeyDetected[FLEX_KEY_FCOE], 0u);
    }
}

} // namespace
