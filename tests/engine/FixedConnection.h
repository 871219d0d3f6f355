#pragma once

#include "engine/ConnectionProbe.h"

namespace corvane::test {

// A connection test that answers at once with what the test says, and counts the questions.
class FixedConnection final : public ConnectionCheck
{
public:
    explicit FixedConnection(bool connected = true) : online(connected) {}
    using ConnectionCheck::check;
    void check() override
    {
        ++checks;
        finish(online);
    }

    bool online;
    int checks = 0;
};

} // namespace corvane::test
