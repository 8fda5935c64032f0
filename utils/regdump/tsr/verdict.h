#pragma once
// What becomes of a frame, as a record.

#include "base/cmRteVerdict.h"
#include "cm.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

enum class VerdictKind : uint8_t {
    DROP,
    TRAP,
    FORWARD,
    FORWARD_TRAP, ///< forwarded, and a copy trapped
    UNDECIDED,    ///< the model has stopped; `message` says why
};

/// The verdict on one frame. Members that its kind does not name are 0 or empty.
struct Verdict {
    VerdictKind kind = VerdictKind::DROP;
    bool fromFabric = false; ///< the egress stages gave the verdict, else the ingress stages

    // DROP at the ingress.
    uint32_t dropRsn = kNoRsn; ///< an RTE_DRP_RSN, kNoRsn for a drop without a reason

    // TRAP and FORWARD_TRAP.
    uint32_t trapRsn = kNoRsn; ///< an RTE_TRP_RSN or the reason of an ACL bank
    uint32_t trapQue = 0;

    // At the ingress, but for a drop with a reason: the shim as the result stage composes it.
    uint32_t routed = 0;  ///< kind of route
    uint32_t isMgid = 0;  ///< the group is a multicast one
    uint32_t group = 0;   ///< its MGID, else the EGID
    uint32_t rsltTyp = 0; ///< an RTE_RSLT_TYP

    // FORWARD and FORWARD_TRAP at the ingress.
    std::array<uint32_t, kShimWords> shim{}; ///< the six words in front of the frame on its way to the fabric
    std::vector<uint8_t> frame;              ///< without the FCS

    // FORWARD at the egress.
    uint32_t txPort = 0;                      ///< logical port; -1 for the discard queue
    std::vector<std::vector<uint8_t>> frames; ///< one, or a fragment each

    // UNDECIDED.
    std::string message;

    bool operator==(const Verdict &) const = default;
};
