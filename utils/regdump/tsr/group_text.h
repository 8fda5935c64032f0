#pragma once
// Where a group word leads, as people say it.

#include <cstdint>
#include <string>

#include "tsr_reg_dump.h"

/// The special egress ids of a dump, which say something else than a way out.
struct GroupIds {
    uint32_t drop;
    uint32_t aclDrop;
    uint32_t trap;
    uint32_t passThru;
    uint32_t rteRqd;
};

GroupIds groupIds(const tsr_dmp_t *tsr_reg);

/// The group word `gid` as the lookups take it: "mgid 0x16" for a multicast group, "egid 0x101" for a way out, "lgid
/// 3", "mpid 5 of 4 paths", and of the special egress ids "drop", "acl drop", "trap", "route required (ipv4 ipv6)" and
/// "pass through". An egress id that has the form of a special one and is none is "special egid 0x...".
std::string groupText(const GroupIds &ids, uint32_t gid, bool isMgid);
