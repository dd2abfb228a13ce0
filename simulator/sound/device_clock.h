// How far a sound device has got: its own time, driven by virtual time.
#pragma once

#include "../schedule/trace.h"

namespace simulator {

class DeviceClock {
public:
    // Time that cursors see moves in steps of this length; 0 is smooth.
    void setStep(Nanoseconds step) { m_Step = step; }
    // Parts per million faster (or slower) than virtual time, from now on.
    void setDrift(Nanoseconds now, double partsPerMillion) {
        settle(now);
        m_Drift = partsPerMillion;
    }
    void freeze(Nanoseconds now) {
        settle(now);
        m_Frozen = true;
    }
    void thaw(Nanoseconds now) {
        settle(now);
        m_Frozen = false;
    }
    void jump(Nanoseconds now, Nanoseconds by) {
        settle(now);
        m_Device += by;
    }

    // Device time without steps.
    [[nodiscard]] Nanoseconds exact(Nanoseconds now) const {
        if (m_Frozen)
            return m_Device;
        const Nanoseconds passed = now - m_Settled;
        return m_Device + passed + static_cast<Nanoseconds>(static_cast<double>(passed) * m_Drift * 1e-6);
    }
    // So much device time since a buffer's start as its cursors show it.
    [[nodiscard]] Nanoseconds shown(Nanoseconds passed) const {
        return m_Step > 0 ? passed / m_Step * m_Step : passed;
    }

private:
    void settle(Nanoseconds now) {
        m_Device = exact(now);
        m_Settled = now;
    }

    Nanoseconds m_Step = 0;
    double m_Drift = 0;
    bool m_Frozen = false;
    Nanoseconds m_Settled = 0; // virtual time of the last change
    Nanoseconds m_Device = 0;  // device time then
};

} // namespace simulator
