#include "FuzzTarget.h"

namespace corvane::fuzz {

std::vector<Target> &targets()
{
    static std::vector<Target> all;
    return all;
}

bool registerTarget(const char *name, Entry entry)
{
    targets().push_back({name, entry});
    return true;
}

} // namespace corvane::fuzz
