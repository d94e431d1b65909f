// Preloaded into the program by the interrupted-run tests: stops the process (SIGSTOP) right
// before the N-th call, counted from 1, that makes or renames a file or folder, N being
// ANAREP_STOP_BEFORE, so that a test can signal a run at every step of its writing.

#include <cstdarg>
#include <cstdlib>

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>

namespace {

void step() {
    static const long stopAt = [] {
        const char* n = std::getenv("ANAREP_STOP_BEFORE");
        return n != nullptr ? std::atol(n) : 0L;
    }();
    static long calls = 0;
    if (++calls == stopAt)
        raise(SIGSTOP);
}

template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

int openat(int folder, const char* name, int flags, ...) {
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0) {
        va_list rest;
        va_start(rest, flags);
        mode = va_arg(rest, mode_t);
        va_end(rest);
        step();
    }
    return next<int (*)(int, const char*, int, ...)>("openat")(folder, name, flags, mode);
}

int mkdirat(int folder, const char* name, mode_t mode) {
    step();
    return next<int (*)(int, const char*, mode_t)>("mkdirat")(folder, name, mode);
}

int renameat(int fromFolder, const char* from, int toFolder, const char* to) {
    step();
    return next<int (*)(int, const char*, int, const char*)>("renameat")(fromFolder, from, toFolder, to);
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) {
    step();
    return next<int (*)(int, const char*, int, const char*, unsigned)>("renameat2")(fromFolder, from, toFolder, to,
                                                                                     flags);
}

}  // extern "C"
