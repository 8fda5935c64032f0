#include "regenc_tsr_out.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include "regdump_prog.h"
#include "regenc_tsr_text.h"

// ------------------------------------------------------------------------------------------------------- the signals

/// The signals that end a process if nobody cares, but for those that tell of a fault in it.
static constexpr int SIGNALS[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGPIPE,   SIGALRM, SIGTERM,
                                  SIGUSR1, SIGUSR2, SIGXCPU, SIGVTALRM, SIGPROF, SIGXFSZ};
static constexpr size_t NUM_SIGNALS = sizeof(SIGNALS) / sizeof(SIGNALS[0]);

/// The file that must not outlive the process, or null.
static std::atomic<const char *> doomed = nullptr;
static_assert(std::atomic<const char *>::is_always_lock_free);

static struct sigaction oldActions[NUM_SIGNALS];

/// Removes the file, and lets the signal do what it does without this handler.
static void onSignal(int signal) {
    const char *name = doomed;
    if (name != nullptr)
        unlink(name);
    std::raise(signal);
}

static sigset_t allSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : SIGNALS)
        sigaddset(&set, signal);
    return set;
}

namespace {

/// Holds the signals back while the file's name and the handlers change together.
class SignalPause {
public:
    SignalPause() {
        const sigset_t set = allSignals();
        sigprocmask(SIG_BLOCK, &set, &before_);
    }
    SignalPause(const SignalPause &) = delete;
    SignalPause &operator=(const SignalPause &) = delete;
    ~SignalPause() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_;
};

} // namespace

/// Dooms the file `name`, which must stay in place. Signals that are ignored or have another handler keep their ways.
static void doom(const char *name) {
    doomed = name;
    struct sigaction action = {};
    action.sa_handler = onSignal;
    action.sa_mask = allSignals();
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (size_t i = 0; i < NUM_SIGNALS; ++i) {
        sigaction(SIGNALS[i], nullptr, &oldActions[i]);
        if (oldActions[i].sa_handler == SIG_DFL)
            sigaction(SIGNALS[i], &action, nullptr);
    }
}

static void spare() {
    for (size_t i = 0; i < NUM_SIGNALS; ++i) {
        if (oldActions[i].sa_handler == SIG_DFL)
            sigaction(SIGNALS[i], &oldActions[i], nullptr);
    }
    doomed = nullptr;
}

// -------------------------------------------------------------------------------------------------------- the target

/// The folder of `path` with the slash behind it, or "".
static std::string folderOf(const std::string &path) {
    const size_t slash = path.rfind('/');
    return slash == path.npos ? "" : path.substr(0, slash + 1);
}

/// Tells whether `path` is one of the kernel's links to what a process has open.
static bool isDescriptor(const std::string &path) {
    struct statfs info;
    const std::string folder = folderOf(path);
    return statfs(folder.empty() ? "." : folder.c_str(), &info) == 0 && info.f_type == PROC_SUPER_MAGIC;
}

/// Follows the links at the end of `path`, but not those to what a process has open. Returns false with `errno` set
/// when they do not end.
static bool followLinks(std::string &path) {
    constexpr int MAX_LINKS = 40;
    for (int i = 0; i < MAX_LINKS; ++i) {
        char link[PATH_MAX];
        const ssize_t size = readlink(path.c_str(), link, sizeof(link));
        if (size < 0 || isDescriptor(path))
            return true;
        const std::string to(link, static_cast<size_t>(size));
        path = to.starts_with('/') ? to : folderOf(path).append(to);
    }
    errno = ELOOP;
    return false;
}

// -------------------------------------------------------------------------------------------------------- the output

bool RegencOutput::fail(const char *what, std::string &error) const {
    error = regencText(regdump_shown_file(path_), ": cannot ", what, regdump_system_error());
    return false;
}

bool RegencOutput::open(const std::string &path, std::string &error) {
    path_ = path;
    target_ = path;
    // The system is asked before the links are followed here: it knows which of them may be.
    struct stat old;
    const bool exists = stat(path.c_str(), &old) == 0;
    if ((!exists && errno != ENOENT) || !followLinks(target_))
        return fail("create", error);
    if (!exists)
        return openTemporary(nullptr, error);
    struct stat link;
    const bool isLink = lstat(target_.c_str(), &link) == 0 && S_ISLNK(link.st_mode);
    return S_ISREG(old.st_mode) && !isLink ? openTemporary(&old, error) : openDirectly(old, error);
}

bool RegencOutput::openDirectly(const struct stat &old, std::string &error) {
    // Standard output goes on where it stands: it may be a socket, or a file that others append to.
    struct stat out;
    if (fstat(STDOUT_FILENO, &out) == 0 && out.st_dev == old.st_dev && out.st_ino == old.st_ino)
        fd_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    else
        fd_ = ::open(target_.c_str(), O_WRONLY | O_TRUNC | O_NOCTTY | O_CLOEXEC);
    return fd_ >= 0 || fail("open", error);
}

bool RegencOutput::openTemporary(const struct stat *old, std::string &error) {
    constexpr std::string_view SUFFIX = ".XXXXXX";
    const std::string folder = folderOf(target_);
    temp_ = regencText(folder, target_.substr(folder.size(), NAME_MAX - SUFFIX.size()), SUFFIX);
    {
        const SignalPause pause;
        fd_ = mkostemp(temp_.data(), O_CLOEXEC);
        if (fd_ >= 0)
            doom(temp_.c_str());
    }
    if (fd_ < 0) {
        temp_.clear();
        return fail("create", error);
    }
    mode_t mode = 0;
    if (old == nullptr) {
        const mode_t mask = umask(0);
        umask(mask);
        mode = 0666 & ~mask;
    } else {
        // Another owner must not come to rights that the mode meant for the old one.
        const bool sameOwner = fchown(fd_, old->st_uid, old->st_gid) == 0;
        mode = old->st_mode & (sameOwner ? 07777 : 0777);
    }
    return fchmod(fd_, mode) == 0 || fail("create", error);
}

bool RegencOutput::write(const void *data, size_t size, std::string &error) {
    size_t done = 0;
    while (done != size) {
        const ssize_t count = ::write(fd_, static_cast<const char *>(data) + done, size - done);
        if (count < 0 && errno != EINTR)
            return fail("write", error);
        if (count > 0)
            done += static_cast<size_t>(count);
    }
    return true;
}

bool RegencOutput::finish(std::string &error) {
    const int fd = fd_;
    fd_ = -1;
    if (close(fd) != 0)
        return fail("write", error);
    if (temp_.empty())
        return true;
    const SignalPause pause;
    if (std::rename(temp_.c_str(), target_.c_str()) != 0)
        return fail("create", error);
    spare();
    temp_.clear();
    return true;
}

RegencOutput::~RegencOutput() {
    if (fd_ >= 0)
        close(fd_);
    if (temp_.empty())
        return;
    const SignalPause pause;
    unlink(temp_.c_str());
    spare();
}
