#include "app/SystemActions.h"

#include <QPromise>

#include <memory>
#include <thread>

SystemActions::SystemActions(ProcessRunner &processes, KeySynthesizer &keys, ToolPaths tools)
    : m_processes(processes)
    , m_keys(keys)
    , m_tools(std::move(tools))
{
    m_pool.setMaxThreadCount(4);
}

SystemActions::~SystemActions()
{
    m_pool.waitForDone();
}

QFuture<void> SystemActions::lockScreen()
{
    // std::function needs a copyable callable; the promise is move-only.
    auto promise = std::make_shared<QPromise<void>>();
    QFuture<void> future = promise->future();
    promise->start();
    m_pool.start([this, promise] {
        try {
            runLockSequence();
        } catch (...) {
            // Nothing is reported to the user; the future still finishes.
        }
        promise->finish();
    });
    return future;
}

void SystemActions::runLockSequence()
{
    const ProcessResult locked =
        m_processes.run(m_tools.sessionLock, {QStringLiteral("lock-session")});
    if (!locked.succeeded()) {
        // The desktop's own lock shortcut; an event that cannot be posted is skipped.
        m_keys.postKey(VirtualKey::command, true);
        m_keys.postKey(VirtualKey::l, true);
        m_keys.postKey(VirtualKey::l, false);
        m_keys.postKey(VirtualKey::command, false);
    }
    std::this_thread::sleep_for(displaySleepDelay);
    m_processes.startDetached(m_tools.displayPower,
                              {QStringLiteral("dpms"), QStringLiteral("force"), QStringLiteral("off")});
}
