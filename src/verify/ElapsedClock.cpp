#include "verify/ElapsedClock.h"

namespace corvane {

void ElapsedClock::tick()
{
    m_milliseconds += kTickMs;
    if (m_milliseconds >= 60000) {
        m_milliseconds = 0;
        ++m_minutes;
    }
    // Carry into the hours on the same tick, so a full hour reads 1:00:00 and never 0:60:00.
    if (m_minutes >= 60) {
        ++m_hours;
        m_minutes = 0;
        m_milliseconds = 0;
    }
}

} // namespace corvane
