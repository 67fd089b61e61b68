// A library to preload: counts a program's system calls on files below one folder and makes chosen
// ones fail. The environment says which:
//
//   FAULT_FOLDER   calls on files whose absolute path begins with this text are counted
//   FAULT_COUNTS   a file that takes a `struct Counts`; written as the calls happen, so that it
//   also
//                  serves after a kill
//   FAULT_CALL     which call fails: read, pread, write, pwrite, ftruncate, fsync, rename, open,
//                  fallocate or pthread_create; or any
//   FAULT_AT       the first call of it that fails, counted from 1; 0: none
//   FAULT_TIMES    how many of them fail from there on
//   FAULT_ERROR    the errno of the failure; 0: the call transfers half of what it is asked to;
//                  -1: the process is killed before the call; -2: behind it
//
// Calls that the C library makes inside itself can't be intercepted. So streams of fopen are made
// anew from functions that call the intercepted read and write.
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

enum Call {
  kRead,
  kPread,
  kWrite,
  kPwrite,
  kFtruncate,
  kFsync,
  kRename,
  kOpen,
  kFallocate,
  kThread
};
enum { kCalls = kThread + 1, kAny = kCalls };
static const char* const kNames[] = {"read",  "pread",  "write", "pwrite",    "ftruncate",
                                     "fsync", "rename", "open",  "fallocate", "pthread_create"};

struct Counts {
  _Atomic uint64_t calls[kCalls];
  _Atomic uint64_t all;
  _Atomic uint64_t failed;    // calls that were made to fail
  _Atomic uint64_t standard;  // calls on files below the folder with a descriptor of 0, 1 or 2
};

enum { kShort = 0, kKillBefore = -1, kKillBehind = -2 };

static struct Counts ownCounts;
static struct Counts* counts = &ownCounts;
static const char* folder;
static size_t folderLength;
static int failingCall = -1;
static uint64_t failingAt;
static uint64_t failingTimes = 1;
static int failingError;

static long numberOf(const char* variable, long otherwise) {
  const char* text = getenv(variable);
  return text != NULL ? atol(text) : otherwise;
}

__attribute__((constructor)) static void start(void) {
  folder = getenv("FAULT_FOLDER");
  if (folder == NULL) return;
  folderLength = strlen(folder);
  const char* name = getenv("FAULT_CALL");
  if (name != NULL && strcmp(name, "any") == 0) failingCall = kAny;
  for (int call = 0; name != NULL && call < kCalls; ++call)
    if (strcmp(name, kNames[call]) == 0) failingCall = call;
  failingAt = (uint64_t)numberOf("FAULT_AT", 0);
  failingTimes = (uint64_t)numberOf("FAULT_TIMES", 1);
  failingError = (int)numberOf("FAULT_ERROR", EIO);
  const char* file = getenv("FAULT_COUNTS");
  if (file == NULL) return;
  const int descriptor = (int)syscall(SYS_openat, AT_FDCWD, file, O_RDWR | O_CLOEXEC);
  void* shared = descriptor < 0 ? MAP_FAILED
                                : mmap(NULL, sizeof *counts, PROT_READ | PROT_WRITE, MAP_SHARED,
                                       descriptor, 0);
  if (shared != MAP_FAILED) counts = shared;
  if (descriptor >= 0) syscall(SYS_close, descriptor);
}

static int isBelow(const char* path) {
  return folder != NULL && strncmp(path, folder, folderLength) == 0;
}

static int isNameBelow(int at, const char* name) {
  char path[8192];
  if (folder == NULL || name == NULL) return 0;
  if (name[0] == '/') return isBelow(name);
  if (at == AT_FDCWD) {
    if (syscall(SYS_getcwd, path, sizeof path / 2) <= 0) return 0;
  } else {
    char link[64];
    snprintf(link, sizeof link, "/proc/self/fd/%d", at);
    const ssize_t length = readlink(link, path, sizeof path / 2);
    if (length < 0) return 0;
    path[length] = 0;
  }
  return isBelow(strcat(path, "/"));
}

static int isFileBelow(int descriptor) {
  char link[64];
  char path[4096];
  if (folder == NULL) return 0;
  snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
  const int before = errno;
  const ssize_t length = readlink(link, path, sizeof path - 1);
  errno = before;
  if (length < 0) return 0;
  path[length] = 0;
  return isBelow(path);
}

enum Fate { kGo, kFail, kHalf, kDieBehind };

/// Counts a call. \return what becomes of it; errno is set where it fails.
static enum Fate fateOf(enum Call call) {
  const uint64_t ofCall = 1 + atomic_fetch_add(&counts->calls[call], 1);
  const uint64_t ofAll = 1 + atomic_fetch_add(&counts->all, 1);
  const uint64_t number = failingCall == kAny ? ofAll : ofCall;
  if ((failingCall != kAny && failingCall != (int)call) || failingAt == 0 || number < failingAt ||
      number - failingAt >= failingTimes)
    return kGo;
  atomic_fetch_add(&counts->failed, 1);
  if (failingError == kShort) return kHalf;
  if (failingError == kKillBehind) return kDieBehind;
  if (failingError == kKillBefore) kill(getpid(), SIGKILL);
  errno = failingError;
  return kFail;
}

static enum Fate fateOnFile(enum Call call, int descriptor) {
  if (!isFileBelow(descriptor)) return kGo;
  if (descriptor <= STDERR_FILENO) atomic_fetch_add(&counts->standard, 1);
  return fateOf(call);
}

/// What is left to transfer of `size` bytes.
static size_t shortened(enum Fate fate, size_t size) {
  return fate == kHalf && size > 1 ? size / 2 : size;
}

static void end(enum Fate fate) {
  if (fate == kDieBehind) kill(getpid(), SIGKILL);
}

#define REAL(name)               \
  static __typeof__(&name) real; \
  if (real == NULL) real = (__typeof__(&name))dlsym(RTLD_NEXT, #name)

/// Defines `name` with parameters and arguments in parentheses, as a call on `descriptor` that may
/// fail.
#define ON_FILE(result, name, call, parameters, arguments) \
  result name parameters {                                 \
    REAL(name);                                            \
    const enum Fate fate = fateOnFile(call, descriptor);   \
    if (fate == kFail) return -1;                          \
    const result outcome = real arguments;                 \
    end(fate);                                             \
    return outcome;                                        \
  }

ON_FILE(ssize_t, read, kRead, (int descriptor, void* buffer, size_t size),
        (descriptor, buffer, shortened(fate, size)))
ON_FILE(ssize_t, pread, kPread, (int descriptor, void* buffer, size_t size, off_t at),
        (descriptor, buffer, shortened(fate, size), at))
ON_FILE(ssize_t, pread64, kPread, (int descriptor, void* buffer, size_t size, off64_t at),
        (descriptor, buffer, shortened(fate, size), at))
ON_FILE(ssize_t, write, kWrite, (int descriptor, const void* buffer, size_t size),
        (descriptor, buffer, shortened(fate, size)))
ON_FILE(ssize_t, writev, kWrite, (int descriptor, const struct iovec* parts, int count),
        (descriptor, parts, count))
ON_FILE(ssize_t, pwrite, kPwrite, (int descriptor, const void* buffer, size_t size, off_t at),
        (descriptor, buffer, shortened(fate, size), at))
ON_FILE(ssize_t, pwrite64, kPwrite, (int descriptor, const void* buffer, size_t size, off64_t at),
        (descriptor, buffer, shortened(fate, size), at))
ON_FILE(int, ftruncate, kFtruncate, (int descriptor, off_t size), (descriptor, size))
ON_FILE(int, ftruncate64, kFtruncate, (int descriptor, off64_t size), (descriptor, size))
ON_FILE(int, fsync, kFsync, (int descriptor), (descriptor))
ON_FILE(int, fdatasync, kFsync, (int descriptor), (descriptor))
ON_FILE(int, fallocate, kFallocate, (int descriptor, int mode, off_t at, off_t size),
        (descriptor, mode, at, size))
ON_FILE(int, fallocate64, kFallocate, (int descriptor, int mode, off64_t at, off64_t size),
        (descriptor, mode, at, size))

// What compilers make of read and pread where they know the buffer's size.
ssize_t __read_chk(int descriptor, void* buffer, size_t size, size_t room) {
  if (size > room) abort();
  return read(descriptor, buffer, size);
}
ssize_t __pread_chk(int descriptor, void* buffer, size_t size, off_t at, size_t room) {
  if (size > room) abort();
  return pread(descriptor, buffer, size, at);
}
ssize_t __pread64_chk(int descriptor, void* buffer, size_t size, off64_t at, size_t room) {
  if (size > room) abort();
  return pread(descriptor, buffer, size, at);
}

int rename(const char* from, const char* to) {
  REAL(rename);
  const enum Fate fate = isNameBelow(AT_FDCWD, to) ? fateOf(kRename) : kGo;
  if (fate == kFail) return -1;
  const int outcome = real(from, to);
  end(fate);
  return outcome;
}

int renameat(int fromFolder, const char* from, int toFolder, const char* to) {
  REAL(renameat);
  const enum Fate fate = isNameBelow(toFolder, to) ? fateOf(kRename) : kGo;
  if (fate == kFail) return -1;
  const int outcome = real(fromFolder, from, toFolder, to);
  end(fate);
  return outcome;
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) {
  REAL(renameat2);
  const enum Fate fate = isNameBelow(toFolder, to) ? fateOf(kRename) : kGo;
  if (fate == kFail) return -1;
  const int outcome = real(fromFolder, from, toFolder, to, flags);
  end(fate);
  return outcome;
}

static int openCounted(int at, const char* name, int flags, mode_t mode) {
  static int (*real)(int, const char*, int, ...);
  if (real == NULL) real = (int (*)(int, const char*, int, ...))dlsym(RTLD_NEXT, "openat");
  const enum Fate fate = isNameBelow(at, name) ? fateOf(kOpen) : kGo;
  if (fate == kFail) return -1;
  const int outcome = real(at, name, flags, mode);
  end(fate);
  return outcome;
}

static mode_t modeOf(int flags, va_list rest) {
  return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE ? (mode_t)va_arg(rest, int) : 0;
}

#define OPEN(name, parameters, at)             \
  int name parameters {                        \
    va_list rest;                              \
    va_start(rest, flags);                     \
    const mode_t mode = modeOf(flags, rest);   \
    va_end(rest);                              \
    return openCounted(at, file, flags, mode); \
  }

OPEN(open, (const char* file, int flags, ...), AT_FDCWD)
OPEN(open64, (const char* file, int flags, ...), AT_FDCWD)
OPEN(openat, (int at, const char* file, int flags, ...), at)
OPEN(openat64, (int at, const char* file, int flags, ...), at)
int __open_2(const char* file, int flags) {
  return openCounted(AT_FDCWD, file, flags, 0);
}
int __open64_2(const char* file, int flags) {
  return openCounted(AT_FDCWD, file, flags, 0);
}
int creat(const char* file, mode_t mode) {
  return openCounted(AT_FDCWD, file, O_WRONLY | O_CREAT | O_TRUNC, mode);
}

// Streams. The C library gives streams of fopencookie no descriptor; so fileno is answered here.
enum { kMostStreams = 64 };
static struct {
  FILE* stream;
  int descriptor;
} streams[kMostStreams];
static pthread_mutex_t streamsLock = PTHREAD_MUTEX_INITIALIZER;

static void note(FILE* before, FILE* stream, int descriptor) {
  pthread_mutex_lock(&streamsLock);
  for (int n = 0; n < kMostStreams; ++n)
    if (streams[n].stream == before && (before != NULL || stream != NULL)) {
      streams[n].stream = stream;
      streams[n].descriptor = descriptor;
      break;
    }
  pthread_mutex_unlock(&streamsLock);
}

static int descriptorOf(FILE* stream) {
  int descriptor = -1;
  pthread_mutex_lock(&streamsLock);
  for (int n = 0; n < kMostStreams; ++n)
    if (streams[n].stream == stream) descriptor = streams[n].descriptor;
  pthread_mutex_unlock(&streamsLock);
  return descriptor;
}

static ssize_t readStream(void* cookie, char* buffer, size_t size) {
  return read((int)(intptr_t)cookie, buffer, size);
}
static ssize_t writeStream(void* cookie, const char* buffer, size_t size) {
  const ssize_t written = write((int)(intptr_t)cookie, buffer, size);
  return written < 0 ? 0 : written;  // fopencookie's sign of an error
}
static int seekStream(void* cookie, off64_t* at, int from) {
  const off64_t there = lseek64((int)(intptr_t)cookie, *at, from);
  if (there < 0) return -1;
  *at = there;
  return 0;
}
static int closeStream(void* cookie) {
  return close((int)(intptr_t)cookie);
}

static FILE* openStream(const char* file, const char* mode) {
  const int both = strchr(mode, '+') != NULL;
  int flags = both ? O_RDWR : mode[0] == 'r' ? O_RDONLY : O_WRONLY;
  if (mode[0] == 'w') flags |= O_CREAT | O_TRUNC;
  if (mode[0] == 'a') flags |= O_CREAT | O_APPEND;
  if (strchr(mode, 'e') != NULL) flags |= O_CLOEXEC;
  if (strchr(mode, 'x') != NULL) flags |= O_EXCL;
  const int descriptor = openCounted(AT_FDCWD, file, flags, 0666);
  if (descriptor < 0) return NULL;
  const cookie_io_functions_t functions = {readStream, writeStream, seekStream, closeStream};
  FILE* stream = fopencookie((void*)(intptr_t)descriptor, mode, functions);
  if (stream != NULL) note(NULL, stream, descriptor);
  return stream;
}

FILE* fopen(const char* file, const char* mode) {
  REAL(fopen);
  return isNameBelow(AT_FDCWD, file) ? openStream(file, mode) : real(file, mode);
}
FILE* fopen64(const char* file, const char* mode) {
  REAL(fopen64);
  return isNameBelow(AT_FDCWD, file) ? openStream(file, mode) : real(file, mode);
}
int fclose(FILE* stream) {
  REAL(fclose);
  note(stream, NULL, -1);
  return real(stream);
}
int fileno(FILE* stream) {
  REAL(fileno);
  const int descriptor = descriptorOf(stream);
  return descriptor >= 0 ? descriptor : real(stream);
}
int fileno_unlocked(FILE* stream) {
  return fileno(stream);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                   void* argument) {
  REAL(pthread_create);
  return folder != NULL && fateOf(kThread) == kFail ? failingError
                                                    : real(thread, attributes, body, argument);
}
