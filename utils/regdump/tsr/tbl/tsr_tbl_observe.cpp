#include "tbl/tsr_tbl_observe.h"

thread_local TblObserver *tblObserver = nullptr;
