#include "log/cmRteFile.h"

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

int CmRteFileOpen(bool isWrite, const char *path) {
    return isWrite ? open(path, O_WRONLY | O_CREAT | O_TRUNC, 0744) : open(path, O_RDONLY);
}

ssize_t CmRteFileRead(int fd, void *bytes, size_t byteCnt) {
    errno = 0;
    size_t done = 0;
    while (done < byteCnt) {
        const ssize_t got = read(fd, static_cast<uint8_t *>(bytes) + done, byteCnt - done);
        if (got < 0)
            return -1;
        if (got == 0)
            break;
        done += static_cast<size_t>(got);
    }
    return static_cast<ssize_t>(done);
}

bool CmRteFileReadAll(int fd, void *bytes, size_t byteCnt) {
    return CmRteFileRead(fd, bytes, byteCnt) == static_cast<ssize_t>(byteCnt);
}

void CmRteFileWrite(int fd, const void *bytes, size_t byteCnt) {
    size_t done = 0;
    while (done < byteCnt) {
        const ssize_t put = write(fd, static_cast<const uint8_t *>(bytes) + done, byteCnt - done);
        if (put <= 0)
            return;
        done += static_cast<size_t>(put);
    }
}

void CmRteFileFatal(const char *format, ...) {
    static char msg[8192];
    const int reason = errno;
    va_list args;
    va_start(args, format);
    std::vsnprintf(msg, sizeof msg, format, args);
    va_end(args);
    errno = reason;
    std::perror(msg);
    std::exit(1);
}
