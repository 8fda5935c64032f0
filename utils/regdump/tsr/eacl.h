#pragma once
// The egress ACL stage: the tool models none of it. Its fields of the EMC side band (eacl_drop, eacl_iwqos, eacl_dp,
// eacl_dscp) stay 0.
