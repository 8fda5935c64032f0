#pragma once
// The model's own ends as exceptions, so that a program can go on with the next frame. Only one source of a program may
// include this; the definitions stand in for those of the library.

#include "cmAssert.h"
#include "cmRteAbort.h"

/// The model has said that it cannot go on with this frame.
struct ModelEnds {};

void CmRteAbort_(const char *, int, const char *) {
    throw ModelEnds();
}

void CmAssertFail(const char *, const char *, int, const char *) {
    throw ModelEnds();
}
