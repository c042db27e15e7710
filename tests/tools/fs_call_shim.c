/* Loaded with LD_PRELOAD into a program under test; watches the calls that change the file system
   or flush it. The calls themselves go on as asked.
     RF_FS_CALL_LOG=FILE    appends one line per call, its fields separated by tabs: the call's name,
                            the path it acts on (the one a descriptor names, for calls on one), and
                            what it takes to do the call again on another copy of the tree:
                              create PATH MODE              open with O_CREAT (the file made empty)
                              write PATH OFFSET HEX         the bytes, written at OFFSET
                              fchmod|chmod|mkdir PATH MODE  octal
                              futimens|utimensat PATH SECONDS NANOSECONDS   the modification time
                              symlink PATH TARGET
                              rename FROM TO
                              remove|unlink|rmdir PATH
                              fsync|fdatasync PATH          flushes of one item
                              syncfs PATH, sync             flushes of a whole file system, or all */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#define REAL(name) ((__typeof__(&name))dlsym(RTLD_NEXT, #name))

static void record(char const* line, size_t length) {
    char const* path = getenv("RF_FS_CALL_LOG");
    if (!path) return;
    int fd = (int)syscall(SYS_openat, AT_FDCWD, path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) return;
    syscall(SYS_write, fd, line, length);
    syscall(SYS_close, fd);
}

/* Logs "NAME\tPATH" and the extra fields, each led by a tab. */
static void logLine(char const* name, char const* path, char const* format, va_list args) {
    if (!getenv("RF_FS_CALL_LOG")) return;
    char line[8400];
    int n = snprintf(line, sizeof line, "%s\t%s", name, path);
    if (format && n < (int)sizeof line) n += vsnprintf(line + n, sizeof line - (size_t)n, format, args);
    if (n > (int)sizeof line - 2) n = (int)sizeof line - 2;
    line[n++] = '\n';
    record(line, (size_t)n);
}

static void call(char const* name, char const* path, char const* format, ...) {
    va_list args;
    va_start(args, format);
    logLine(name, path, format, args);
    va_end(args);
}

static char const* pathOf(int fd, char* target, size_t size) {
    char link[64];
    snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    ssize_t n = readlink(link, target, size - 1);
    target[n > 0 ? n : 0] = '\0';
    return target;
}

static void callFd(char const* name, int fd, char const* format, ...) {
    char target[4096];
    pathOf(fd, target, sizeof target);
    va_list args;
    va_start(args, format);
    logLine(name, target, format, args);
    va_end(args);
}

ssize_t write(int fd, void const* data, size_t size) {
    if (fd <= 2) return REAL(write)(fd, data, size); /* not the messages on standard error */
    char target[4096];
    pathOf(fd, target, sizeof target);
    long const offset = (long)lseek(fd, 0, SEEK_CUR);
    if (getenv("RF_FS_CALL_LOG")) {
        /* The bytes in hex: a line as long as the write needs. */
        size_t const length = strlen("write\t") + strlen(target) + 32 + 2 * size + 2;
        char* line = malloc(length);
        if (line) {
            int n = snprintf(line, length, "write\t%s\t%ld\t", target, offset);
            for (size_t i = 0; i < size; ++i) n += snprintf(line + n, length - (size_t)n, "%02x", ((unsigned char const*)data)[i]);
            line[n++] = '\n';
            record(line, (size_t)n);
            free(line);
        }
    }
    return REAL(write)(fd, data, size);
}

/* open and open64 take a mode only when they may make the file; one that makes it is logged. */
#define MODE_OF(flags) \
    mode_t mode = 0; \
    if ((flags) & (O_CREAT | O_TMPFILE)) { \
        va_list args; \
        va_start(args, flags); \
        mode = va_arg(args, mode_t); \
        va_end(args); \
    } \
    if ((flags) & O_CREAT) call("create", path, "\t%o", (unsigned)mode)
int open(char const* path, int flags, ...) {
    MODE_OF(flags);
    return REAL(open)(path, flags, mode);
}
int open64(char const* path, int flags, ...) {
    MODE_OF(flags);
    return REAL(open64)(path, flags, mode);
}

int syncfs(int fd) { callFd("syncfs", fd, NULL); return REAL(syncfs)(fd); }
void sync(void) { call("sync", "", NULL); REAL(sync)(); }
int fsync(int fd) { callFd("fsync", fd, NULL); return REAL(fsync)(fd); }
int fdatasync(int fd) { callFd("fdatasync", fd, NULL); return REAL(fdatasync)(fd); }
int fchmod(int fd, mode_t mode) { callFd("fchmod", fd, "\t%o", (unsigned)mode); return REAL(fchmod)(fd, mode); }
int futimens(int fd, struct timespec const times[2]) {
    callFd("futimens", fd, "\t%lld\t%ld", (long long)times[1].tv_sec, times[1].tv_nsec);
    return REAL(futimens)(fd, times);
}
int rename(char const* from, char const* to) { call("rename", from, "\t%s", to); return REAL(rename)(from, to); }
int remove(char const* path) { call("remove", path, NULL); return REAL(remove)(path); }
int unlink(char const* path) { call("unlink", path, NULL); return REAL(unlink)(path); }
int rmdir(char const* path) { call("rmdir", path, NULL); return REAL(rmdir)(path); }
int mkdir(char const* path, mode_t mode) { call("mkdir", path, "\t%o", (unsigned)mode); return REAL(mkdir)(path, mode); }
int symlink(char const* target, char const* path) { call("symlink", path, "\t%s", target); return REAL(symlink)(target, path); }
int chmod(char const* path, mode_t mode) { call("chmod", path, "\t%o", (unsigned)mode); return REAL(chmod)(path, mode); }
int utimensat(int dirfd, char const* path, struct timespec const times[2], int flags) {
    call("utimensat", path, "\t%lld\t%ld", (long long)times[1].tv_sec, times[1].tv_nsec);
    return REAL(utimensat)(dirfd, path, times, flags);
}
