#pragma once

#include "platform/Platform.h"

#include <QFuture>
#include <QThreadPool>

#include <chrono>

// Locks the session and then puts the display to sleep, off the GUI thread.
// The destructor waits for sequences still running, so the references they hold stay
// valid: destroy this before the platform objects it was given.
class SystemActions {
public:
    static constexpr std::chrono::milliseconds displaySleepDelay{350};

    SystemActions(ProcessRunner &processes, KeySynthesizer &keys, ToolPaths tools);
    ~SystemActions();
    SystemActions(const SystemActions &) = delete;
    SystemActions &operator=(const SystemActions &) = delete;

    // Returns at once; the future finishes when the display-sleep command has been
    // issued. Callers other than tests may ignore it.
    QFuture<void> lockScreen();

private:
    void runLockSequence();

    ProcessRunner &m_processes;
    KeySynthesizer &m_keys;
    const ToolPaths m_tools;
    QThreadPool m_pool;   // our own pool: two quick locks run side by side
};
