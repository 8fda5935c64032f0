#include "base/cmOut.h"

#include "base/cmRteState.h"

#include <cstdarg>
#include <cstdio>
#include <string>

namespace {

/// Gives formatted text to the sink of the thread's model.
void toSink(CmSink &sink, const char *format, va_list args) {
    va_list again;
    va_copy(again, args);
    char piece[512];
    const int len = std::vsnprintf(piece, sizeof piece, format, args);
    if (len >= 0 && static_cast<size_t>(len) < sizeof piece) {
        sink.text({piece, static_cast<size_t>(len)});
    } else if (len >= 0) {
        std::string whole(static_cast<size_t>(len) + 1, '\0');
        std::vsnprintf(whole.data(), whole.size(), format, again);
        whole.pop_back();
        sink.text(whole);
    }
    va_end(again);
}

void say(std::FILE *file, const char *format, va_list args) {
    const CmRteOut &out = cmState().out;
    if (out.toStdio)
        std::vfprintf(file, format, args);
    else if (out.sink)
        toSink(*out.sink, format, args);
}

} // namespace

bool cmSilent() {
    const CmRteOut &out = cmState().out;
    return !out.toStdio && !out.sink;
}

void cmPrintf(const char *format, ...) {
    va_list args;
    va_start(args, format);
    say(stdout, format, args);
    va_end(args);
}

void cmPuts(const char *line) {
    cmPrintf("%s\n", line);
}

void cmPrintErr(const char *format, ...) {
    va_list args;
    va_start(args, format);
    say(stderr, format, args);
    va_end(args);
}
