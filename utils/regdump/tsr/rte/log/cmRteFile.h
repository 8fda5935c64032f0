#pragma once
// What the run log and the state files share: plain reads and writes, and the end of a run on a file that is no good.

#include <cstddef>
#include <sys/types.h>

/// Opens `path` for writing (created with mode 0744, truncated) or for reading. Returns the descriptor, or -1 with
/// errno set.
int CmRteFileOpen(bool isWrite, const char *path);

/// Reads up to `byteCnt` bytes into `bytes`; fewer only at the end of the file. Returns how many were read, or -1 on an
/// error; errno is 0 when there was none.
ssize_t CmRteFileRead(int fd, void *bytes, size_t byteCnt);

/// Reads exactly `byteCnt` bytes; false when the file has fewer or cannot be read.
bool CmRteFileReadAll(int fd, void *bytes, size_t byteCnt);

/// Writes `byteCnt` bytes. A file system that takes no more ends the writing without a word.
void CmRteFileWrite(int fd, const void *bytes, size_t byteCnt);

/// Prints the message on standard error with the system's reason behind it, and ends the process with exit status 1.
[[noreturn]] void CmRteFileFatal(const char *format, ...) __attribute__((format(printf, 1, 2)));
