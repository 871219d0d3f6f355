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

// Calls the next definition of the function (the C library's), then pauses when it worked.
template <typename... Args>
int passOn(const char *function, const char *pausePath, Args... args)
{
    using Next = int (*)(Args...);
    const auto next = reinterpret_cast<Next>(dlsym(RTLD_NEXT, function));
    const int result = next(args...);
    if (result == 0)
        pauseAfter(pausePath);
    return result;
}

} // namespace

extern "C" {

int mkdir(const char *path, mode_t mode)
{
    return passOn("mkdir", path, path, mode);
}

int rename(const char *from, const char *to)
{
    return passOn("rename", to, from, to);
}

int renameat2(int fromDir, const char *from, int toDir, const char *to, unsigned int flags)
{
    return passOn("renameat2", to, fromDir, from, toDir, to, flags);
}

// Qt gives a page written through an unnamed temporary file its name with linkat.
int linkat(int fromDir, const char *from, int toDir, const char *to, int flags)
{
    return passOn("linkat", to, fromDir, from, toDir, to, flags);
}

int link(const char *from, const char *to)
{
    return passOn("link", to, from, to);
}

} // extern "C"
