/* A failing medium for tests, preloaded into a real process (LD_PRELOAD). Calls on files whose
 * absolute path starts with BROVANT_FAULT_PREFIX fail as a full storage card or a broken disk
 * would make them fail; every other file is left alone.
 *
 *   BROVANT_FAULT        enospc     writes fail with ENOSPC once BROVANT_FAULT_AFTER bytes went
 *                        eio        writes fail with EIO once BROVANT_FAULT_AFTER bytes went
 *                        eio-fsync  fsync and fdatasync fail with EIO
 *                        eio-rename rename and the linking of unnamed files fail with EIO
 *                        eio-read   reads fail with EIO once BROVANT_FAULT_AFTER bytes came
 *   BROVANT_FAULT_PREFIX host path prefixes, ':' between them (folders or files, canonical)
 *   BROVANT_FAULT_AFTER  what still goes through first (0): bytes for reads and writes, summed
 *                        over all matching files; calls for fsync and rename
 *   BROVANT_FAULT_LOG    a file that gets one line per failed call ("write <path>"), so a test
 *                        knows the fault really hit the code it meant to test
 *
 * The write that crosses the limit is cut short to the bytes that are left, as a real full
 * medium answers. The library is plain C without sanitizers, so it can sit in front of the
 * sanitizer runtime (which then needs ASAN_OPTIONS=verify_asan_link_order=0). */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <pthread.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

enum Fault { kNone, kEnospc, kEio, kEioFsync, kEioRename, kEioRead };

static enum Fault g_fault = kNone;
static const char* g_prefix;
static const char* g_log;
static uint64_t g_budget;
static pthread_mutex_t g_lock = PTHREAD_MUTEX_INITIALIZER;

__attribute__((constructor)) static void faultInit(void)
{
    const char* fault = getenv("BROVANT_FAULT");
    g_prefix = getenv("BROVANT_FAULT_PREFIX");
    g_log = getenv("BROVANT_FAULT_LOG");
    const char* after = getenv("BROVANT_FAULT_AFTER");
    g_budget = after ? strtoull(after, NULL, 10) : 0;
    if (!fault || !g_prefix || !*g_prefix)
        return;
    if (strcmp(fault, "enospc") == 0)
        g_fault = kEnospc;
    else if (strcmp(fault, "eio") == 0)
        g_fault = kEio;
    else if (strcmp(fault, "eio-fsync") == 0)
        g_fault = kEioFsync;
    else if (strcmp(fault, "eio-rename") == 0)
        g_fault = kEioRename;
    else if (strcmp(fault, "eio-read") == 0)
        g_fault = kEioRead;
}

/* The next definition of `name` after this library: the sanitizer's interceptor or libc. */
static void* next(const char* name)
{
    return dlsym(RTLD_NEXT, name);
}

#define REAL(name)                                                                                 \
    static __typeof__(&name) real_##name;                                                          \
    if (!real_##name)                                                                              \
        real_##name = (__typeof__(&name))next(#name);

static int matches(const char* path)
{
    if (!path)
        return 0;
    for (const char* prefix = g_prefix; *prefix;) {
        const char* end = strchr(prefix, ':');
        const size_t length = end ? (size_t)(end - prefix) : strlen(prefix);
        if (length > 0 && strncmp(path, prefix, length) == 0)
            return 1;
        if (!end)
            break;
        prefix = end + 1;
    }
    return 0;
}

/* One more matching fsync or rename: 1 when it is to fail, after the first ones went through. */
static int callFails(void)
{
    pthread_mutex_lock(&g_lock);
    const int fails = g_budget == 0;
    if (!fails)
        --g_budget;
    pthread_mutex_unlock(&g_lock);
    return fails;
}

/* The absolute path an fd was opened under ("pipe:[...]" and the like for other fds, "" when it
 * cannot be read). An unnamed file (O_TMPFILE) reads "<folder>/#<inode> (deleted)", which still
 * starts with its folder. */
static void fdPath(int fd, char* out, size_t size)
{
    char link[64];
    snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    const ssize_t n = readlink(link, out, size - 1);
    out[n > 0 ? n : 0] = '\0';
}

static int fdMatches(int fd)
{
    if (g_fault == kNone)
        return 0;
    char path[PATH_MAX];
    fdPath(fd, path, sizeof path);
    return matches(path);
}

/* A relative path made absolute against the working directory (no symlinks resolved). */
static void absolute(int dirfd, const char* path, char* out, size_t size)
{
    if (path[0] == '/') {
        snprintf(out, size, "%s", path);
        return;
    }
    char base[PATH_MAX];
    if (dirfd == AT_FDCWD) {
        if (!getcwd(base, sizeof base))
            base[0] = '\0';
    } else {
        fdPath(dirfd, base, sizeof base);
    }
    snprintf(out, size, "%s/%s", base, path);
}

static void logFault(const char* call, const char* path)
{
    if (!g_log)
        return;
    REAL(open)
    REAL(write)
    const int fd = real_open(g_log, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0)
        return;
    char line[PATH_MAX + 64];
    const int n = snprintf(line, sizeof line, "%s %s\n", call, path);
    if (n > 0)
        real_write(fd, line, (size_t)n < sizeof line ? (size_t)n : sizeof line - 1);
    close(fd);
}

static void logFd(const char* call, int fd)
{
    char path[PATH_MAX];
    fdPath(fd, path, sizeof path);
    logFault(call, path);
}

/* How many of `count` bytes may pass on a matching fd for the fault `kind`; -1 with errno set
 * when the call fails outright. Calls on other files, and other faults, pass whole. */
static ssize_t allowance(enum Fault kind, int fd, size_t count, const char* call)
{
    if (g_fault != kind || count == 0 || !fdMatches(fd))
        return (ssize_t)count;
    pthread_mutex_lock(&g_lock);
    const uint64_t left = g_budget;
    const size_t pass = left >= count ? count : (size_t)left;
    g_budget -= pass;
    pthread_mutex_unlock(&g_lock);
    if (pass > 0)
        return (ssize_t)pass;
    logFd(call, fd);
    errno = kind == kEnospc ? ENOSPC : EIO;
    return -1;
}

static ssize_t writeAllowance(int fd, size_t count, const char* call)
{
    if (g_fault == kEnospc)
        return allowance(kEnospc, fd, count, call);
    return allowance(kEio, fd, count, call);
}

ssize_t write(int fd, const void* buf, size_t count)
{
    REAL(write)
    const ssize_t pass = writeAllowance(fd, count, "write");
    return pass < 0 ? -1 : real_write(fd, buf, (size_t)pass);
}

ssize_t pwrite(int fd, const void* buf, size_t count, off_t offset)
{
    REAL(pwrite)
    const ssize_t pass = writeAllowance(fd, count, "pwrite");
    return pass < 0 ? -1 : real_pwrite(fd, buf, (size_t)pass, offset);
}

ssize_t pwrite64(int fd, const void* buf, size_t count, off64_t offset)
{
    REAL(pwrite64)
    const ssize_t pass = writeAllowance(fd, count, "pwrite64");
    return pass < 0 ? -1 : real_pwrite64(fd, buf, (size_t)pass, offset);
}

static size_t iovTotal(const struct iovec* iov, int iovcnt)
{
    size_t total = 0;
    for (int i = 0; i < iovcnt; ++i)
        total += iov[i].iov_len;
    return total;
}

/* Vectored writes are not cut short: one that does not fit fails whole. */
ssize_t writev(int fd, const struct iovec* iov, int iovcnt)
{
    REAL(writev)
    const size_t total = iovTotal(iov, iovcnt);
    const ssize_t pass = writeAllowance(fd, total, "writev");
    if (pass >= 0 && (size_t)pass < total) {
        logFd("writev", fd);
        errno = g_fault == kEnospc ? ENOSPC : EIO;
        return -1;
    }
    return pass < 0 ? -1 : real_writev(fd, iov, iovcnt);
}

ssize_t pwritev(int fd, const struct iovec* iov, int iovcnt, off_t offset)
{
    REAL(pwritev)
    const size_t total = iovTotal(iov, iovcnt);
    const ssize_t pass = writeAllowance(fd, total, "pwritev");
    if (pass >= 0 && (size_t)pass < total) {
        logFd("pwritev", fd);
        errno = g_fault == kEnospc ? ENOSPC : EIO;
        return -1;
    }
    return pass < 0 ? -1 : real_pwritev(fd, iov, iovcnt, offset);
}

static int syncFails(int fd, const char* call)
{
    if (g_fault != kEioFsync || !fdMatches(fd) || !callFails())
        return 0;
    logFd(call, fd);
    errno = EIO;
    return 1;
}

int fsync(int fd)
{
    REAL(fsync)
    return syncFails(fd, "fsync") ? -1 : real_fsync(fd);
}

int fdatasync(int fd)
{
    REAL(fdatasync)
    return syncFails(fd, "fdatasync") ? -1 : real_fdatasync(fd);
}

int syncfs(int fd)
{
    REAL(syncfs)
    return syncFails(fd, "syncfs") ? -1 : real_syncfs(fd);
}

static int renameFails(int olddirfd, const char* oldpath, int newdirfd, const char* newpath,
                       const char* call)
{
    if (g_fault != kEioRename || !oldpath || !newpath)
        return 0;
    char from[PATH_MAX];
    char to[PATH_MAX];
    absolute(olddirfd, oldpath, from, sizeof from);
    absolute(newdirfd, newpath, to, sizeof to);
    if ((!matches(from) && !matches(to)) || !callFails())
        return 0;
    logFault(call, to);
    errno = EIO;
    return 1;
}

int rename(const char* oldpath, const char* newpath)
{
    REAL(rename)
    return renameFails(AT_FDCWD, oldpath, AT_FDCWD, newpath, "rename")
               ? -1
               : real_rename(oldpath, newpath);
}

int renameat(int olddirfd, const char* oldpath, int newdirfd, const char* newpath)
{
    REAL(renameat)
    return renameFails(olddirfd, oldpath, newdirfd, newpath, "renameat")
               ? -1
               : real_renameat(olddirfd, oldpath, newdirfd, newpath);
}

int renameat2(int olddirfd, const char* oldpath, int newdirfd, const char* newpath,
              unsigned int flags)
{
    REAL(renameat2)
    return renameFails(olddirfd, oldpath, newdirfd, newpath, "renameat2")
               ? -1
               : real_renameat2(olddirfd, oldpath, newdirfd, newpath, flags);
}

/* An unnamed temporary file gets its name by linkat(); that is its rename. */
int linkat(int olddirfd, const char* oldpath, int newdirfd, const char* newpath, int flags)
{
    REAL(linkat)
    return renameFails(olddirfd, oldpath, newdirfd, newpath, "linkat")
               ? -1
               : real_linkat(olddirfd, oldpath, newdirfd, newpath, flags);
}

static ssize_t readAllowance(int fd, size_t count, const char* call)
{
    return allowance(kEioRead, fd, count, call);
}

ssize_t read(int fd, void* buf, size_t count)
{
    REAL(read)
    const ssize_t pass = readAllowance(fd, count, "read");
    return pass < 0 ? -1 : real_read(fd, buf, (size_t)pass);
}

ssize_t pread(int fd, void* buf, size_t count, off_t offset)
{
    REAL(pread)
    const ssize_t pass = readAllowance(fd, count, "pread");
    return pass < 0 ? -1 : real_pread(fd, buf, (size_t)pass, offset);
}

ssize_t pread64(int fd, void* buf, size_t count, off64_t offset)
{
    REAL(pread64)
    const ssize_t pass = readAllowance(fd, count, "pread64");
    return pass < 0 ? -1 : real_pread64(fd, buf, (size_t)pass, offset);
}

ssize_t readv(int fd, const struct iovec* iov, int iovcnt)
{
    REAL(readv)
    if (g_fault == kEioRead && readAllowance(fd, iovTotal(iov, iovcnt), "readv") < 0)
        return -1;
    return real_readv(fd, iov, iovcnt);
}

/* Fortified callers read through these. */
ssize_t __read_chk(int fd, void* buf, size_t count, size_t buflen)
{
    (void)buflen;
    return read(fd, buf, count);
}

ssize_t __pread64_chk(int fd, void* buf, size_t count, off64_t offset, size_t buflen)
{
    (void)buflen;
    return pread64(fd, buf, count, offset);
}
