#pragma once
// Where the model stops: it cannot tell what the chip would do, or has found a fault of its own. A program ends by
// that, the library answers with it.

#include <string>

/// A stop as an exception.
struct CmStopped {
    std::string message;
};

/// Whether a stop of the calling thread throws CmStopped. Else the process ends, each stop in its own way.
extern constinit thread_local bool cmStopThrows;

/// Every stop comes here first: throws CmStopped with `message` when stops throw, else returns.
void cmStop(const std::string &message);
