#include "regdump_prog.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <gtest/gtest.h>
#include <pthread.h>
#include <string>
#include <sys/time.h>
#include <thread>
#include <unistd.h>

// ------------------------------------------------------------------------------------------------- words in a message

TEST(RegdumpShown, PlainTextStays) {
    for (const char *text : {"", "ftc_cntl", "a b", "~", "with \\ and 'quotes'", "gr\u00fc\u00df", "\u0416",
                             "\u65e5\u672c", "\U0001f600", "\u00a0", "\ud7ff", "\ue000", "\U0010ffff"})
        EXPECT_EQ(regdump_shown(text), text);
}

TEST(RegdumpShown, ControlCharactersAndBytesThatAreNoCharacterAreEscaped) {
    const struct {
        std::string text;
        const char *shown;
    } rows[] = {
        {std::string("a\0b", 3), "a\\x00b"},
        {"\a\b\t\n\r\x1b[31m", "\\x07\\x08\\x09\\x0a\\x0d\\x1b[31m"},
        {"\x1f \x7f", "\\x1f \\x7f"},
        {"\u0080\u009b31m\u009f", "\\xc2\\x80\\xc2\\x9b31m\\xc2\\x9f"}, // 8-bit control characters
        {"\x80\xff", "\\x80\\xff"},
        {"\xc3", "\\xc3"}, // cut off
        {"\xc3(", "\\xc3("},
        {"\xe2\x82", "\\xe2\\x82"},
        {"\xe2\x82z", "\\xe2\\x82z"},
        {"\xf0\x9f\x98", "\\xf0\\x9f\\x98"},
        {"\xc0\xaf", "\\xc0\\xaf"}, // longer than it must be
        {"\xc1\xbf", "\\xc1\\xbf"},
        {"\xe0\x9f\xbf", "\\xe0\\x9f\\xbf"},
        {"\xf0\x8f\xbf\xbf", "\\xf0\\x8f\\xbf\\xbf"},
        {"\xed\xa0\x80", "\\xed\\xa0\\x80"},          // a surrogate
        {"\xf4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"}, // beyond the last character
        {"\xf5\x80\x80\x80", "\\xf5\\x80\\x80\\x80"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(regdump_shown(row.text), row.shown);
}

TEST(RegdumpShown, LongTextKeepsItsEnds) {
    EXPECT_EQ(regdump_shown(std::string(120, 'a')), std::string(120, 'a'));
    EXPECT_EQ(regdump_shown(std::string(60, 'a') + "x" + std::string(60, 'b')),
              std::string(60, 'a') + "..." + std::string(60, 'b'));
    EXPECT_EQ(regdump_shown("abcdefgh", 5), "abc...gh");
    EXPECT_EQ(regdump_shown(std::string(1000000, '\x1b')).size(), 4u * 120 + 3);
    EXPECT_EQ(regdump_shown_file(std::string(1000000, 'a')).size(), 512u + 3);
}

TEST(RegdumpShown, NoCharacterIsCutIntoPieces) {
    const std::string letters[] = {"\u00fc", "\u65e5", "\U0001f600"};
    for (const std::string &letter : letters) {
        std::string text;
        for (int i = 0; i < 20; ++i)
            text += letter;
        for (size_t limit = 8; limit < 20; ++limit) {
            const std::string shown = regdump_shown(text, limit);
            EXPECT_EQ(shown.find('\\'), shown.npos) << shown;
            EXPECT_LE(shown.size(), limit + 3);
            EXPECT_GE(shown.size(), limit - 3);
        }
    }
    // Bytes that only look like pieces of a character are not left out without end.
    EXPECT_EQ(regdump_shown(std::string(100, '\x80'), 8), "\\x80...\\x80");
}

// --------------------------------------------------------------------------------------------------------- the input

namespace {

std::atomic<int> numInterrupts = 0;

void onAlarm(int) {
    ++numInterrupts;
}

} // namespace

TEST(RegdumpReadAll, GoesOnAfterInterruptsAndShortReads) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    std::string sent;
    for (int i = 0; i < 2000; ++i)
        sent += static_cast<char>(i * 7);
    std::thread writer([&] {
        // The signals are for the reader.
        sigset_t set;
        sigemptyset(&set);
        sigaddset(&set, SIGALRM);
        pthread_sigmask(SIG_BLOCK, &set, nullptr);
        for (size_t at = 0; at < sent.size(); at += 100) {
            usleep(5000);
            EXPECT_EQ(write(ends[1], sent.data() + at, 100), 100);
        }
        close(ends[1]);
    });
    struct sigaction action = {};
    struct sigaction before;
    action.sa_handler = onAlarm; // without SA_RESTART a signal ends a read
    ASSERT_EQ(sigaction(SIGALRM, &action, &before), 0);
    const itimerval often = {{0, 1000}, {0, 1000}};
    const itimerval never = {};
    setitimer(ITIMER_REAL, &often, nullptr);
    std::string got(3000, 'x');
    const ssize_t count = regdump_read_all(ends[0], got.data(), 1500);
    const ssize_t rest = regdump_read_all(ends[0], got.data() + 1500, 1500);
    setitimer(ITIMER_REAL, &never, nullptr);
    writer.join();
    sigaction(SIGALRM, &before, nullptr);
    EXPECT_EQ(count, 1500);
    EXPECT_EQ(rest, 500);
    EXPECT_EQ(got.substr(0, 2000), sent);
    EXPECT_EQ(got.substr(2000), std::string(1000, 'x'));
    EXPECT_GT(numInterrupts, 0);
    EXPECT_EQ(regdump_read_all(ends[0], got.data(), 1), 0);
    close(ends[0]);
    errno = 0;
    EXPECT_EQ(regdump_read_all(ends[0], got.data(), 1), -1);
    EXPECT_EQ(errno, EBADF);
}

// -------------------------------------------------------------------------------------------------------- the version

TEST(RegdumpVersion, IsThreeNumbers) {
    int numbers[3];
    char end = 0;
    EXPECT_EQ(std::sscanf(REGDUMP_VERSION, "%d.%d.%d%c", &numbers[0], &numbers[1], &numbers[2], &end), 3);
}
