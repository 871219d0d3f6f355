// A fault injector for crash tests, preloaded into the program under test (LD_PRELOAD): every
// folder creation, rename and link below CORVANE_SLOW_FS_UNDER pauses for CORVANE_SLOW_FS_MS
// milliseconds once it is done. A test that kills the program then lands between one step of
// the store and the next (a folder made but not yet recorded, a page in place but not yet
// listed) far more often than the microseconds between them would otherwise allow.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

void pauseAfter(const char *path)
{
    static const char *under = std::getenv("CORVANE_SLOW_FS_UNDER");
    static const long ms = [] {
        const char *value = std::getenv("CORVANE_SLOW_FS_MS");
        return value ? std::atol(value) : 0L;
    }();
    if (!under || !*under || ms <= 0 || !path || std::strncmp(path, under, std::strlen(under)))
        return;
    const timespec pause{ms / 1000, (ms % 1000) * 1000000L};
    nanosleep(&pause, nullptr);
}

template <typename Function>
Function real(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

int mkdir(const char *path, mode_t mode)
{
    static const auto next = real<int (*)(const char *, mode_t)>("mkdir");
    const int result = next(path, mode);
    if (result == 0)
        pauseAfter(path);
    return result;
}

int rename(const char *from, const char *to)
{
    static const auto next = real<int (*)(const char *, const char *)>("rename");
    const int result = next(from, to);
    if (result == 0)
        pauseAfter(to);
    return result;
}

int renameat2(int fromDir, const char *from, int toDir, const char *to, unsigned int flags)
{
    static const auto next =
        real<int (*)(int, const char *, int, const char *, unsigned int)>("renameat2");
    const int result = next(fromDir, from, toDir, to, flags);
    if (result == 0)
        pauseAfter(to);
    return result;
}

// Qt gives a page written through an unnamed temporary file its name with linkat.
int linkat(int fromDir, const char *from, int toDir, const char *to, int flags)
{
    static const auto next = real<int (*)(int, const char *, int, const char *, int)>("linkat");
    const int result = next(fromDir, from, toDir, to, flags);
    if (result == 0)
        pauseAfter(to);
    return result;
}

int link(const char *from, const char *to)
{
    static const auto next = real<int (*)(const char *, const char *)>("link");
    const int result = next(from, to);
    if (result == 0)
        pauseAfter(to);
    return result;
}

} // extern "C"
