#include "app/SystemActions.h"
#include "platform/fake/FakeKeySynthesizer.h"
#include "platform/fake/FakeProcessRunner.h"

#include <gtest/gtest.h>

#include <chrono>
#include <mutex>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Adds a clock and a lock to the scripted runner: the lock sequence calls it from a
// pool thread, and the pause before display sleep is measured against it.
class TimedProcessRunner : public FakeProcessRunner {
public:
    ProcessResult run(const QString &program, const QStringList &arguments) override
    {
        std::lock_guard lock(mutex);
        const ProcessResult result = FakeProcessRunner::run(program, arguments);
        runFinishedAt = Clock::now();
        return result;
    }
    bool startDetached(const QString &program, const QStringList &arguments) override
    {
        std::lock_guard lock(mutex);
        detachedAt = Clock::now();
        return FakeProcessRunner::startDetached(program, arguments);
    }

    std::mutex mutex;
    Clock::time_point runFinishedAt;
    Clock::time_point detachedAt;
};

ToolPaths testTools()
{
    ToolPaths tools;
    tools.sessionLock = "/opt/test/bin/loginctl";
    tools.displayPower = "/opt/test/bin/xset";
    return tools;
}

using Event = FakeKeySynthesizer::Event;
const Event superDown{VirtualKey::command, true, {}};
const Event superUp{VirtualKey::command, false, {}};
const Event lDown{VirtualKey::l, true, {}};
const Event lUp{VirtualKey::l, false, {}};

TEST(SystemActions, LockFallsBackToChordThenSleepsDisplay)
{
    struct Case {
        const char *name;
        std::optional<int> lockExit;   // empty: the lock tool cannot be started
        QSet<quint32> failingKeys;
        QList<Event> expectedEvents;
    };
    const Case cases[] = {
        {"lock tool missing", std::nullopt, {}, {superDown, lDown, lUp, superUp}},
        {"lock tool fails", 1, {}, {superDown, lDown, lUp, superUp}},
        {"lock tool succeeds", 0, {}, {}},
        {"unpostable key skipped", std::nullopt, {VirtualKey::l}, {superDown, superUp}},
        {"nothing postable", 3, {VirtualKey::l, VirtualKey::command}, {}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        TimedProcessRunner processes;
        if (c.lockExit)
            processes.queueExit(*c.lockExit);
        else
            processes.queueStartFailure();
        FakeKeySynthesizer keys(c.failingKeys);
        SystemActions actions(processes, keys, testTools());

        actions.lockScreen().waitForFinished();

        EXPECT_EQ(processes.calls, (QList<FakeProcessRunner::Call>{{"/opt/test/bin/loginctl", {"lock-session"}, false},
                                                                {"/opt/test/bin/xset", {"dpms", "force", "off"}, true}}));
        const QList<Event> events = keys.events();
        EXPECT_EQ(events, c.expectedEvents);

        Clock::time_point lastBeforePause = processes.runFinishedAt;
        if (!events.isEmpty())
            lastBeforePause = events.last().at;
        EXPECT_GE(processes.detachedAt - lastBeforePause, SystemActions::displaySleepDelay);
    }
}

TEST(SystemActions, CallerNeverWaitsAndQuickLocksRunSideBySide)
{
    TimedProcessRunner processes;
    // The lock tool takes a while and fails; the caller must not notice.
    processes.responder = [](const QString &, const QStringList &) {
        std::this_thread::sleep_for(milliseconds(50));
        return FakeProcessRunner::exited(1);
    };
    FakeKeySynthesizer keys;
    SystemActions actions(processes, keys, testTools());

    const Clock::time_point start = Clock::now();
    QFuture<void> first = actions.lockScreen();
    QFuture<void> second = actions.lockScreen();
    EXPECT_LT(Clock::now() - start, milliseconds(200));
    first.waitForFinished();
    second.waitForFinished();
    // Side by side, the two pauses overlap instead of adding up.
    EXPECT_LT(Clock::now() - start, 2 * SystemActions::displaySleepDelay);

    EXPECT_EQ(processes.runCount(), 2);
    EXPECT_EQ(processes.calls.size() - processes.runCount(), 2);
    EXPECT_EQ(keys.events().size(), 8);
}

TEST(SystemActions, DestructionWaitsForRunningSequence)
{
    TimedProcessRunner processes;
    FakeKeySynthesizer keys;
    {
        SystemActions actions(processes, keys, testTools());
        actions.lockScreen();
    }
    // Had the destructor not waited, the display-sleep start would be missing here (or
    // would reach freed objects later).
    std::lock_guard lock(processes.mutex);
    ASSERT_EQ(processes.calls.size(), 2);
    EXPECT_TRUE(processes.calls.last().detached);
}

} // namespace
