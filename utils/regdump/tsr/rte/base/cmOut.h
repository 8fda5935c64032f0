#pragma once
// What the model says: its trace and its messages. They go where the model of the calling thread has them go
// (cmRteState.h).

#include <string_view>

/// Takes the model's text piece by piece; a piece need not be a whole line.
class CmSink {
public:
    virtual void text(std::string_view piece) = 0;

protected:
    ~CmSink() = default;
};

/// Whether nothing takes the text, so that it need not be put together.
bool cmSilent();

/// Says formatted text.
void cmPrintf(const char *format, ...) __attribute__((format(printf, 1, 2)));

/// Says `line` and the end of the line.
void cmPuts(const char *line);

/// Says formatted text that a program prints on standard error.
void cmPrintErr(const char *format, ...) __attribute__((format(printf, 1, 2)));
