/* Recorded by LD_PRELOAD: every flush and rename a program makes, in order, one line each in the
   file RF_FS_ORDER_LOG names: "flush" for sync, syncfs, fsync and fdatasync (with the file or
   folder for the last two), "rename FROM TO". The calls themselves go on as asked. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static void record(char const* line) {
    char const* path = getenv("RF_FS_ORDER_LOG");
    if (!path) return;
    int fd = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) return;
    ssize_t ignored = write(fd, line, strlen(line));
    (void)ignored;
    close(fd);
}

static void recordFd(char const* what, int fd) {
    char link[64], target[4096] = "", line[4200];
    snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    ssize_t n = readlink(link, target, sizeof target - 1);
    if (n > 0) target[n] = '\0';
    snprintf(line, sizeof line, "%s %s\n", what, target);
    record(line);
}

int syncfs(int fd) {
    recordFd("flush", fd);
    int (*real)(int) = (int (*)(int))dlsym(RTLD_NEXT, "syncfs");
    return real(fd);
}

int fsync(int fd) {
    recordFd("fsync", fd);
    int (*real)(int) = (int (*)(int))dlsym(RTLD_NEXT, "fsync");
    return real(fd);
}

int rename(char const* from, char const* to) {
    char line[8300];
    snprintf(line, sizeof line, "rename %s %s\n", from, to);
    record(line);
    int (*real)(char const*, char const*) = (int (*)(char const*, char const*))dlsym(RTLD_NEXT, "rename");
    return real(from, to);
}
