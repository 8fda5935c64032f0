#include "cmStop.h"

constinit thread_local bool cmStopThrows = false;

void cmStop(const std::string &message) {
    if (cmStopThrows)
        throw CmStopped{message};
}
