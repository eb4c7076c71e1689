#include "keyboard/KeyRemapper.h"
#include "platform/fake/FakeHotKeyService.h"
#include "platform/fake/FakeProcessRunner.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace {

using Registration = FakeHotKeyService::Registration;
using Kind = FakeHotKeyService::Event::Kind;
using Reports = QList<std::pair<bool, bool>>;

const QString tool = QStringLiteral("/opt/vistrel/bin/vistrel-keymap");
constexpr quint32 command = 0x100, shift = 0x200, control = 0x1000;

// Key codes are ANSI virtual key codes: 4=21, 5=23, 6=22, L=37, Q=12, Tab=48.
QList<Registration> expectedKeys(quint32 m)
{
    return {{21, m, 4, 0}, {23, m, 5, 0}, {22, m, 6, 0}, {37, m, 12, 0}, {12, m, 15, 0}, {48, m, 13, 0}, {48, m | shift, 14, 0}};
}

QList<Registration> withoutHandles(QList<Registration> list)
{
    for (Registration &r : list)
        r.handle = 0;
    return list;
}

struct Fixture {
    FakeProcessRunner processes;
    FakeHotKeyService hotKeys;
    std::unique_ptr<KeyRemapper> remapper = std::make_unique<KeyRemapper>(processes, hotKeys, tool);
    Reports reports;
    QList<BridgeCommand> delivered;
    Fixture()
    {
        remapper->stateHandler = [this](bool running, bool trusted) { reports.append({running, trusted}); };
        remapper->commandHandler = [this](BridgeCommand c) { delivered.append(c); };
    }
    // The tool's last run (not a detached start) set this property.
    void expectLastRunSets(const QByteArray &json) const
    {
        EXPECT_EQ(processes.runs().value(processes.runCount() - 1),
                  (FakeProcessRunner::Call{tool, {"property", "--set", QString::fromUtf8(json)}, false}));
    }
};

constexpr quint32 noHotKeys = 0;

struct Step {
    void (*action)(Fixture &);
    std::optional<int> toolExit;   // what the tool does if run; nullopt: cannot start
    bool running, requested;
    qsizetype toolRuns;            // total so far
    QByteArray lastProperty;       // last run sets "on" or "off" (mappingProperty(true/false))
    quint32 hotKeyModifiers;
    Reports reports;               // reported during this step
    QList<bool> companions;        // each watch companion started so far: still running?
};

TEST(KeyRemapperStates, ScenariosFollowTheTransitionTable)
{
    const Reports on = {{true, true}}, off = {{false, true}};
    const auto start = +[](Fixture &f) { f.remapper->start(); }, stop = +[](Fixture &f) { f.remapper->stop(); };
    const auto enable = +[](Fixture &f) { f.remapper->enable(); };
    const auto setMappings = +[](Fixture &f) { f.remapper->setCustomMappings({{"Caps Lock", "Escape"}}); };
    const auto kill = +[](Fixture &f) { f.processes.companions->last().running = false; };
    struct Scenario { const char *label; QList<Step> steps; };
    const Scenario scenarios[] = {
        {"failing tool keeps Command, retry succeeds, one companion throughout",
         {{start, 1, false, true, 1, "on", command, off, {true}},
          {start, std::nullopt, false, true, 2, "on", command, off, {true}},
          {start, 0, true, true, 3, "on", control, on, {true}}}},
        {"failed removal still turns off and finishes the companion",
         {{start, 0, true, true, 1, "on", control, on, {true}}, {stop, 1, false, false, 2, "off", command, off, {false}}}},
        {"enable after stop tries at once with a fresh companion",
         {{start, 0, true, true, 1, "on", control, on, {true}}, {stop, 0, false, false, 2, "off", command, off, {false}},
          {start, 0, false, false, 2, "off", command, {}, {false}},
          {enable, 0, true, true, 3, "on", control, on, {false, true}}}},
        {"a second start runs nothing but replaces a killed companion",
         {{start, 0, true, true, 1, "on", control, on, {true}}, {kill, 0, true, true, 1, "on", control, {}, {false}},
          {start, 0, true, true, 1, "on", control, {}, {false, true}}}},
        {"mappings while running are re-applied, failure keeps running",
         {{start, 0, true, true, 1, "on", control, on, {true}},
          {setMappings, 1, true, true, 2, "on", control, {}, {true}}}},
        {"mappings while not running are only stored",
         {{setMappings, 0, false, true, 0, "", noHotKeys, {}, {}}, {start, 0, true, true, 1, "on", control, on, {true}}}},
    };
    for (const Scenario &s : scenarios) {
        Fixture f;
        for (qsizetype i = 0; i < s.steps.size(); ++i) {
            const Step &step = s.steps[i];
            SCOPED_TRACE(std::string(s.label) + ", step " + std::to_string(i));
            f.processes.defaultResult = step.toolExit ? FakeProcessRunner::exited(*step.toolExit)
                                                      : FakeProcessRunner::failedToStart();
            f.reports.clear();
            step.action(f);
            EXPECT_EQ(f.remapper->isRunning(), step.running);
            EXPECT_EQ(f.remapper->isRequested(), step.requested);
            EXPECT_EQ(f.processes.runCount(), step.toolRuns);
            if (!step.lastProperty.isEmpty())
                f.expectLastRunSets(f.remapper->mappingProperty(step.lastProperty == "on"));
            // The service holds all seven keys with the mask the remapper reports.
            EXPECT_EQ(f.remapper->hotKeyModifiers().value_or(noHotKeys), step.hotKeyModifiers);
            EXPECT_EQ(withoutHandles(f.hotKeys.active()),
                      step.hotKeyModifiers == noHotKeys ? QList<Registration>() : expectedKeys(step.hotKeyModifiers));
            EXPECT_EQ(f.reports, step.reports);
            QList<bool> companions;
            for (const auto &companion : *f.processes.companions) {
                companions.append(companion.running);
                EXPECT_EQ(companion.call, (FakeProcessRunner::Call{tool, {"watch"}, true}));
            }
            EXPECT_EQ(companions, step.companions);
        }
    }
}

// The mapping in force is removed before the companion is told "stop" (so it does not
// restore a second time); teardown also releases the hot keys.
TEST(KeyRemapperWatchdog, StopAndTeardownRemoveTheMappingThenFinishTheCompanion)
{
    for (const auto &[byStop, running] : {std::pair(true, true), {true, false}, {false, true}, {false, false}}) {
        SCOPED_TRACE(std::string(byStop ? "stop" : "teardown") + (running ? ", running" : ", not running"));
        Fixture f;
        f.processes.defaultResult = FakeProcessRunner::exited(running ? 0 : 1);
        f.remapper->start();
        ASSERT_EQ(f.processes.companions->size(), 1);
        const QByteArray on = f.remapper->mappingProperty(true), off = f.remapper->mappingProperty(false);
        bool companionAliveAtRemoval = false;
        f.processes.responder = [&](const QString &, const QStringList &) {
            companionAliveAtRemoval = f.processes.companions->first().running;
            return FakeProcessRunner::exited(0);
        };
        if (byStop)
            f.remapper->stop();
        else
            f.remapper.reset();
        EXPECT_EQ(companionAliveAtRemoval, running);
        EXPECT_TRUE(f.processes.companions->first().finished);
        EXPECT_EQ(f.processes.runCount(), running ? 2 : 1);
        f.expectLastRunSets(running ? off : on);
        EXPECT_EQ(f.hotKeys.active().isEmpty(), !byStop);
        EXPECT_EQ(f.hotKeys.hasPressHandler(), byStop);
    }
}

TEST(KeyRemapperHotKeys, InstallSwitchAndUninstall)
{
    Fixture f;
    f.hotKeys.refuse(48, command | shift);
    f.remapper->installHotKeys(command);
    f.remapper->installHotKeys(command);   // same mask: nothing to do
    EXPECT_EQ(f.hotKeys.setPressHandlerCalls(), 1);
    // A refused combination leaves the others working.
    EXPECT_EQ(f.hotKeys.active().size(), 6);
    // Switching releases every key (nothing for the refused one) before registering anew.
    f.remapper->installHotKeys(control);
    EXPECT_EQ(f.hotKeys.count(Kind::unregistered), 6);
    EXPECT_TRUE(std::ranges::all_of(f.hotKeys.log.mid(7, 6), [](const auto &e) { return e.kind == Kind::unregistered; }));

    f.remapper->uninstallHotKeys();
    EXPECT_TRUE(f.hotKeys.active().isEmpty());
    EXPECT_FALSE(f.hotKeys.hasPressHandler());
    EXPECT_FALSE(f.remapper->hotKeyModifiers().has_value());
    f.remapper->installHotKeys(control);   // same mask, but nothing is registered any more
    EXPECT_EQ(withoutHandles(f.hotKeys.active()), expectedKeys(control));
    EXPECT_TRUE(f.hotKeys.hasPressHandler());
}

TEST(KeyRemapperHotKeys, PressDeliversItsCommandOnALaterTurnOnlyToALiveHandler)
{
    using K = BridgeCommand::Kind;
    const std::tuple<quint32, quint32, BridgeCommand> cases[] = {   // key, extra modifier, command
        {21, 0, BridgeCommand::of(K::screenshot)}, {23, 0, BridgeCommand::of(K::video)},
        {22, 0, BridgeCommand::of(K::scrollingScreenshot)}, {37, 0, BridgeCommand::of(K::lock)},
        {12, 0, BridgeCommand::of(K::quit)}, {48, 0, BridgeCommand::switchApplication(false)},
        {48, shift, BridgeCommand::switchApplication(true)},
    };
    Fixture f;
    f.remapper->installHotKeys(control);
    for (const auto &[key, extra, expected] : cases) {
        SCOPED_TRACE(testing::Message() << "key " << key << " extra " << extra);
        f.delivered.clear();
        ASSERT_TRUE(f.hotKeys.press(key, control | extra));
        EXPECT_TRUE(f.delivered.isEmpty());   // never from inside event dispatch
        QCoreApplication::processEvents();
        EXPECT_EQ(f.delivered, QList<BridgeCommand>{expected});
    }
    f.delivered.clear();
    // A press with no commandHandler is consumed, not kept for a later handler.
    const KeyRemapper::CommandHandler handler = std::exchange(f.remapper->commandHandler, nullptr);
    ASSERT_TRUE(f.hotKeys.press(21, control));
    QCoreApplication::processEvents();
    f.remapper->commandHandler = handler;
    QCoreApplication::processEvents();
    EXPECT_TRUE(f.delivered.isEmpty());
    // A press still queued when the remapper goes away is dropped.
    ASSERT_TRUE(f.hotKeys.press(21, control));
    f.remapper.reset();
    QCoreApplication::processEvents();
    EXPECT_TRUE(f.delivered.isEmpty());
}

} // namespace
