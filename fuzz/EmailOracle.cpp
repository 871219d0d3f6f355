#include "EmailOracle.h"

#include <regex>

namespace corvane::fuzz {

std::vector<std::string> emailOracleMatches(const std::string &text)
{
    static const std::regex pattern("[a-zA-Z0-9-_.]+@[a-zA-Z0-9-_.]+\\.[a-zA-Z0-9]+",
                                    std::regex::ECMAScript);
    std::vector<std::string> out;
    for (std::sregex_iterator it(text.begin(), text.end(), pattern), end; it != end; ++it)
        out.push_back(it->str());
    return out;
}

} // namespace corvane::fuzz
