#pragma once

namespace corvane {

// The verifier's "Time Taken" clock: hours, minutes and seconds, advanced one tick at a
// time by the one-second display timer.
class ElapsedClock
{
public:
    static constexpr int kTickMs = 1000;

    void tick();
    void reset() { *this = ElapsedClock(); }

    int hours() const { return m_hours; }
    int minutes() const { return m_minutes; }
    int seconds() const { return m_milliseconds / 1000; }

private:
    int m_hours = 0;
    int m_minutes = 0;
    // Milliseconds towards the next full minute.
    int m_milliseconds = 0;
};

} // namespace corvane
