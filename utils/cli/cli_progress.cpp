#include "cli_progress.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

using Clock = std::chrono::steady_clock;

static const Clock::time_point kStart = Clock::now();

void cliProgress(const char *what, size_t done, size_t all) {
    static const bool isTerminal = isatty(STDERR_FILENO) != 0;
    static bool isShown = false;
    if (!isTerminal || all == 0 || Clock::now() - kStart < std::chrono::seconds(1))
        return;
    if (done < all) {
        std::fprintf(stderr, "\r%s %zu%%", what, done * 100 / all);
        isShown = true;
    } else if (isShown) {
        std::fputs("\r\033[K", stderr);
        isShown = false;
    }
    std::fflush(stderr);
}

bool cliHasColor() {
    const char *noColor = std::getenv("NO_COLOR");
    const char *term = std::getenv("TERM");
    return isatty(STDOUT_FILENO) != 0 && (noColor == nullptr || *noColor == '\0') &&
           (term == nullptr || std::strcmp(term, "dumb") != 0);
}
