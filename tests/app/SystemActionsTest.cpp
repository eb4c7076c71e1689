#include "app/SystemActions.h"
#include "platform/fake/FakeKeySynthesizer.h"
#include "platform/fake/FakeProcessRunner.h"

#include <gtest/gtest.h>

#include <mutex>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
using Call = FakeProcessRunner::Call;
using Event = FakeKeySynthesizer::Event;

// The lock sequence calls the runner from pool threads, two at once when locks overlap.
struct LockedRunner : FakeProcessRunner {
    std::mutex mutex;
    ProcessResult run(const QString &p, const QStringList &a) override
    {
        std::lock_guard lock(mutex);
        return FakeProcessRunner::run(p, a);
    }
    bool startDetached(const QString &p, const QStringList &a) override
    {
        std::lock_guard lock(mutex);
        return FakeProcessRunner::startDetached(p, a);
    }
};

const ToolPaths tools{{}, "/opt/test/bin/loginctl", "/opt/test/bin/xset", {}};
const QList<Call> lockThenSleep{{"/opt/test/bin/loginctl", {"lock-session"}, false},
                                {"/opt/test/bin/xset", {"dpms", "force", "off"}, true}};

TEST(SystemActions, LockFallsBackToChordThenSleepsDisplayAfterAPause)
{
    const Event superDown{VirtualKey::command, true, {}}, superUp{VirtualKey::command, false, {}};
    const Event lDown{VirtualKey::l, true, {}}, lUp{VirtualKey::l, false, {}};
    const struct { const char *name; std::optional<int> lockExit; QSet<quint32> failingKeys; QList<Event> events; } cases[] = {
        {"lock tool missing", std::nullopt, {}, {superDown, lDown, lUp, superUp}},
        {"lock tool fails", 1, {}, {superDown, lDown, lUp, superUp}}, {"lock tool succeeds", 0, {}, {}},
        {"unpostable key skipped", std::nullopt, {VirtualKey::l}, {superDown, superUp}},
        {"nothing postable", 3, {VirtualKey::l, VirtualKey::command}, {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        LockedRunner processes;
        processes.queuedResults = {c.lockExit ? FakeProcessRunner::exited(*c.lockExit) : FakeProcessRunner::failedToStart()};
        FakeKeySynthesizer keys(c.failingKeys);
        SystemActions actions(processes, keys, tools);
        const Clock::time_point start = Clock::now();
        actions.lockScreen().waitForFinished();
        EXPECT_GE(Clock::now() - start, SystemActions::displaySleepDelay);
        EXPECT_EQ(processes.calls, lockThenSleep);
        EXPECT_EQ(keys.events(), c.events);
    }
}

TEST(SystemActions, CallerNeverWaitsQuickLocksOverlapAndDestructionWaits)
{
    LockedRunner processes;
    // The lock tool takes a while and fails; the caller must not notice.
    processes.responder = [](const QString &, const QStringList &) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        return FakeProcessRunner::exited(1);
    };
    FakeKeySynthesizer keys;
    {
        SystemActions actions(processes, keys, tools);
        const Clock::time_point start = Clock::now();
        QFuture<void> first = actions.lockScreen(), second = actions.lockScreen();
        EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(200));
        EXPECT_TRUE(first.isStarted());   // a watcher hears of the lock while it runs
        first.waitForFinished();
        second.waitForFinished();
        // Side by side, the two pauses overlap instead of adding up.
        EXPECT_LT(Clock::now() - start, 2 * SystemActions::displaySleepDelay);
        EXPECT_EQ(processes.calls.size(), 4);
        actions.lockScreen();   // left to the destructor
    }
    EXPECT_EQ(processes.calls.mid(4), lockThenSleep);
    EXPECT_EQ(keys.events().size(), 12);
}

} // namespace
