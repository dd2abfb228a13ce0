// What playback and capture buffers have in common: the memory, and the rule that a lock ends before anything else
// begins.
#pragma once

#include "ring.h"
#include "sound_system.h"

namespace simulator {

class FakeBuffer : public FakeObject {
protected:
    FakeBuffer(World& world, const FakeObject& parent, std::string name, DWORD bytes)
        : FakeObject(world, parent.device(), std::move(name), &parent), m_Ring(bytes) {}

    // A method that works on the memory while a lock is held is found.
    void requireUnlocked(const char* method) {
        if (m_LockedAndNotUnlocked)
            m_World.findings.add(objectName() + "." + method + " of " + m_Device.label() + " without unlock before");
    }
    // A Lock that succeeded.
    void noteLock() {
        requireUnlocked("Lock");
        m_LockedAndNotUnlocked = true;
    }
    // An Unlock, also one that is made to fail.
    void noteUnlock() { m_LockedAndNotUnlocked = false; }
    void onLastRelease() override {
        requireUnlocked("last Release");
        m_Ring.freeMemory();
    }

    Ring m_Ring;

private:
    bool m_LockedAndNotUnlocked = false;
};

} // namespace simulator
