#include "tbl/tsr_tbl_observe.h"

constinit thread_local TblObserver *tblObserver = nullptr;
