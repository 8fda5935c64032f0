// What people say of a group word.

#include "group_text.h"

#include <gtest/gtest.h>

#include "chip_image.h"

TEST(GroupText, SaysWhereAWordLeads) {
    ChipImage image;
    image.set(DMP(rte_spcl_egid_0), 0, 0x7f1u << 16 | 0x7f0);
    image.set(DMP(rte_spcl_egid_1), 0, 0x7f2u << 16 | 0x7f3);
    image.set(DMP(rte_spcl_egid_2), 0, 0x1f4);
    const GroupIds ids = groupIds(image.get());
    const struct {
        uint32_t gid;
        bool isMgid;
        const char *text;
    } cases[] = {
        {0x16, true, "mgid 0x16"},
        {0x101, false, "egid 0x101"},
        {0x8003, false, "lgid 3"},
        {0x1a005, false, "mpid 5 of 6 paths"},
        {0x10005, false, "mpid 5 of 1 path"},
        {0x47f0, false, "drop"},
        {0x47f1, false, "acl drop"},
        {0x47f2, false, "trap"},
        {0x47f3, false, "pass through"},
        {0x43f4, false, "route required (ipv4)"},
        {0x47f4, false, "route required (ipv4 ipv6)"},
        {0x59f4, false, "route required (fcoe vf fcoe ve)"},
        {0x41f4, false, "route required (nothing)"},
        {0x4123, false, "special egid 0x123"},
        {0x6123, false, "group 0x6123"},
        {0x47f0, true, "mgid 0x47f0"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(groupText(ids, c.gid, c.isMgid), c.text);
}
