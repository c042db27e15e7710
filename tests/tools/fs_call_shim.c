/* Loaded with LD_PRELOAD into a program under test; watches the calls that change the file system
   (write, rename, remove, unlink, rmdir, mkdir, symlink, chmod, fchmod, futimens, utimensat, fsync,
   syncfs), numbered from 1 across all threads. The calls themselves go on as asked.
     RF_FS_CALL_LOG=FILE    appends one line per call: "NAME PATH" (for rename "rename FROM TO"; for
                            syncfs "flush PATH"), PATH being the file or folder a descriptor names
     RF_FS_KILL_AT=N        the program kills itself with SIGKILL just before its Nth call, as a
                            power cut or kill -9 would stop it between two calls */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

static long g_calls;

#define REAL(name) ((__typeof__(&name))dlsym(RTLD_NEXT, #name))

static void record(char const* line) {
    char const* path = getenv("RF_FS_CALL_LOG");
    if (!path) return;
    int fd = (int)syscall(SYS_openat, AT_FDCWD, path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) return;
    syscall(SYS_write, fd, line, strlen(line));
    syscall(SYS_close, fd);
}

/* Numbers the call, dies before it when it is the one asked for, and logs it. */
static void call(char const* name, char const* path, char const* to) {
    long const number = __atomic_add_fetch(&g_calls, 1, __ATOMIC_SEQ_CST);
    char const* killAt = getenv("RF_FS_KILL_AT");
    if (killAt && atol(killAt) == number) raise(SIGKILL);
    char line[8400];
    snprintf(line, sizeof line, "%s %s%s%s\n", name, path, to ? " " : "", to ? to : "");
    record(line);
}

static void callFd(char const* name, int fd) {
    char link[64], target[4096] = "";
    snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    ssize_t n = readlink(link, target, sizeof target - 1);
    if (n > 0) target[n] = '\0';
    call(name, target, NULL);
}

ssize_t write(int fd, void const* data, size_t count) {
    if (fd > 2) callFd("write", fd);  /* not the messages on standard error */
    return REAL(write)(fd, data, count);
}
int syncfs(int fd) { callFd("flush", fd); return REAL(syncfs)(fd); }
int fsync(int fd) { callFd("fsync", fd); return REAL(fsync)(fd); }
int fchmod(int fd, mode_t mode) { callFd("fchmod", fd); return REAL(fchmod)(fd, mode); }
int futimens(int fd, struct timespec const times[2]) { callFd("futimens", fd); return REAL(futimens)(fd, times); }
int rename(char const* from, char const* to) { call("rename", from, to); return REAL(rename)(from, to); }
int remove(char const* path) { call("remove", path, NULL); return REAL(remove)(path); }
int unlink(char const* path) { call("unlink", path, NULL); return REAL(unlink)(path); }
int rmdir(char const* path) { call("rmdir", path, NULL); return REAL(rmdir)(path); }
int mkdir(char const* path, mode_t mode) { call("mkdir", path, NULL); return REAL(mkdir)(path, mode); }
int symlink(char const* target, char const* path) { call("symlink", path, NULL); return REAL(symlink)(target, path); }
int chmod(char const* path, mode_t mode) { call("chmod", path, NULL); return REAL(chmod)(path, mode); }
int utimensat(int dirfd, char const* path, struct timespec const times[2], int flags) {
    call("utimensat", path, NULL);
    return REAL(utimensat)(dirfd, path, times, flags);
}
