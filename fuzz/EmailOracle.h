#pragma once

#include <string>
#include <vector>

namespace corvane::fuzz {

// The address pattern run by the standard regular-expression engine: what the hand-written
// matcher must find. Its engine recurses per character and backtracks, so it suits short
// texts only.
std::vector<std::string> emailOracleMatches(const std::string &text);

} // namespace corvane::fuzz
