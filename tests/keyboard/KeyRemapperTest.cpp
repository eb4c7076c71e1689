#include "keyboard/KeyRemapper.h"
#include "platform/fake/FakeHotKeyService.h"
#include "platform/fake/FakeProcessRunner.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <gtest/gtest.h>
#include <memory>

namespace {

using Registration = FakeHotKeyService::Registration;
using Kind = FakeHotKeyService::Event::Kind;
using Reports = QList<std::pair<bool, bool>>;

const QString tool = QStringLiteral("/opt/vistrel/bin/vistrel-keymap");
constexpr quint32 command = 0x100, shift = 0x200, control = 0x1000;

// The Windows Mode objects, each 0x700000000 + usage in decimal.
const QByteArray controlLeft = R"({"HIDKeyboardModifierMappingSrc":30064771296,"HIDKeyboardModifierMappingDst":30064771299})";
const QByteArray commandLeft = R"({"HIDKeyboardModifierMappingSrc":30064771299,"HIDKeyboardModifierMappingDst":30064771296})";
const QByteArray controlRight = R"({"HIDKeyboardModifierMappingSrc":30064771300,"HIDKeyboardModifierMappingDst":30064771303})";
const QByteArray commandRight = R"({"HIDKeyboardModifierMappingSrc":30064771303,"HIDKeyboardModifierMappingDst":30064771300})";

QByteArray property(const QList<QByteArray> &objects)
{
    return R"({"UserKeyMapping":[)" + objects.join(',') + "]}";
}

const QByteArray swapOnly = property({controlLeft, commandLeft, controlRight, commandRight});

// Re-serialised through QJsonDocument: members inside an entry come out sorted (their order
// means nothing to the tool) while entry order and every value are kept.
std::string canonical(const QByteArray &json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError)
        return "not JSON: " + json.toStdString();
    return document.toJson(QJsonDocument::Compact).toStdString();
}

// Key codes are ANSI virtual key codes: 4=21, 5=23, 6=22, L=37, Q=12, Tab=48.
QList<Registration> expectedKeys(quint32 m)
{
    return {{21, m, 4, 0}, {23, m, 5, 0}, {22, m, 6, 0}, {37, m, 12, 0},
            {12, m, 15, 0}, {48, m, 13, 0}, {48, m | shift, 14, 0}};
}

QList<Registration> withoutHandles(QList<Registration> list)
{
    for (Registration &r : list)
        r.handle = 0;
    return list;
}

QList<Registration> logged(const FakeHotKeyService &hotKeys, Kind kind)
{
    QList<Registration> result;
    for (const auto &event : hotKeys.log)
        if (event.kind == kind)
            result.append(event.registration);
    return result;
}

enum class Action { start, stop, enable, setMappings };

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
    void act(Action action)
    {
        switch (action) {
        case Action::start: remapper->start(); break;
        case Action::stop: remapper->stop(); break;
        case Action::enable: remapper->enable(); break;
        case Action::setMappings: remapper->setCustomMappings({{"Caps Lock", "Escape"}}); break;
        }
    }
    // The tool is run (not started detached) to set this property.
    void expectLastRunSets(const QByteArray &property) const
    {
        ASSERT_FALSE(processes.runs().isEmpty());
        const FakeProcessRunner::Call last = processes.runs().last();
        EXPECT_EQ(last.program, tool);
        ASSERT_EQ(last.arguments.size(), 3);
        EXPECT_EQ(last.arguments.first(2), (QStringList{"property", "--set"}));
        EXPECT_EQ(canonical(last.arguments[2].toUtf8()), canonical(property));
    }
};

TEST(KeyRemapperProperty, MatchesTheToolFormat)
{
    struct Case { const char *label; QList<MacCustomKeyMapping> mappings; bool enabled; QByteArray expected; };
    const QByteArray capsToEscape = R"({"HIDKeyboardModifierMappingSrc":30064771129,"HIDKeyboardModifierMappingDst":30064771113})";
    const QByteArray capsToTab = R"({"HIDKeyboardModifierMappingSrc":30064771129,"HIDKeyboardModifierMappingDst":30064771115})";
    const QByteArray commandLeftToOption = R"({"HIDKeyboardModifierMappingSrc":30064771299,"HIDKeyboardModifierMappingDst":30064771298})";
    const Case cases[] = {
        {"unknown and identity leave the swap alone", {{"F13", "A"}, {"A", "A"}}, true, swapOnly},
        {"custom sorts first", {{"Caps Lock", "Escape"}}, true,
         property({capsToEscape, controlLeft, commandLeft, controlRight, commandRight})},
        {"custom overrides the swap", {{"Command trái", "Option trái"}}, true,
         property({controlLeft, commandLeftToOption, controlRight, commandRight})},
        {"later custom wins", {{"Caps Lock", "Escape"}, {"Caps Lock", "Tab"}}, true,
         property({capsToTab, controlLeft, commandLeft, controlRight, commandRight})},
        {"disabled", {{"Caps Lock", "Escape"}}, false, R"({"UserKeyMapping":[]})"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.label);
        Fixture f;
        f.remapper->setCustomMappings(c.mappings);
        EXPECT_EQ(canonical(f.remapper->mappingProperty(c.enabled)), canonical(c.expected));
        EXPECT_EQ(f.processes.runCount(), 0);   // storing alone runs nothing
    }
}

constexpr quint32 noHotKeys = 0;

struct Step {
    Action action;
    std::optional<int> toolExit;   // what the tool does if run; nullopt: cannot start
    bool running;
    bool requested;
    qsizetype toolRuns;            // total so far
    QByteArray lastProperty;       // last run sets "on" or "off" (mappingProperty(true/false))
    quint32 hotKeyModifiers;
    Reports reports;               // reported during this step
};

TEST(KeyRemapperStates, ScenariosFollowTheTransitionTable)
{
    const Reports on = {{true, true}};
    const Reports off = {{false, true}};
    struct Scenario { const char *label; QList<Step> steps; };
    const Scenario scenarios[] = {
        {"second start runs nothing",
         {{Action::start, 0, true, true, 1, "on", control, on},
          {Action::start, 0, true, true, 1, "on", control, {}}}},
        {"failing tool keeps Command, retry succeeds",
         {{Action::start, 1, false, true, 1, "on", command, off},
          {Action::start, std::nullopt, false, true, 2, "on", command, off},
          {Action::start, 0, true, true, 3, "on", control, on}}},
        {"failed removal still turns off",
         {{Action::start, 0, true, true, 1, "on", control, on},
          {Action::stop, 1, false, false, 2, "off", command, off}}},
        {"start while turned off only registers hot keys",
         {{Action::stop, 0, false, false, 0, "", command, off},
          {Action::start, 0, false, false, 0, "", command, {}}}},
        {"enable after stop tries at once",
         {{Action::stop, 0, false, false, 0, "", command, off},
          {Action::enable, 0, true, true, 1, "on", control, on}}},
        {"mappings while running are re-applied, failure keeps running",
         {{Action::start, 0, true, true, 1, "on", control, on},
          {Action::setMappings, 1, true, true, 2, "on", control, {}}}},
        {"mappings while not running are only stored",
         {{Action::setMappings, 0, false, true, 0, "", noHotKeys, {}},
          {Action::start, 0, true, true, 1, "on", control, on}}},
    };
    for (const Scenario &s : scenarios) {
        Fixture f;
        for (qsizetype i = 0; i < s.steps.size(); ++i) {
            const Step &step = s.steps[i];
            SCOPED_TRACE(std::string(s.label) + ", step " + std::to_string(i));
            f.processes.defaultResult = step.toolExit ? FakeProcessRunner::exited(*step.toolExit)
                                                      : FakeProcessRunner::failedToStart();
            f.reports.clear();
            f.act(step.action);
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
        }
    }
}

TEST(KeyRemapperWatchdog, OneCompanionWhileTheBridgeIsWanted)
{
    struct WatchStep {
        Action action;
        int toolExit;
        bool companionDiesFirst;
        qsizetype started;   // companions started so far
        bool live;           // the newest one is running
    };
    struct Scenario { const char *label; QList<WatchStep> steps; };
    const Scenario scenarios[] = {
        {"started once, kept across ticks",
         {{Action::start, 0, false, 1, true}, {Action::start, 0, false, 1, true}}},
        {"a killed companion is replaced on the next tick",
         {{Action::start, 0, false, 1, true}, {Action::start, 0, true, 2, true}}},
        {"turned off: finished, and none while off",
         {{Action::start, 0, false, 1, true}, {Action::stop, 0, false, 1, false}, {Action::start, 0, false, 1, false}}},
        {"failing tool: one companion, not one per retry",
         {{Action::start, 1, false, 1, true}, {Action::start, 1, false, 1, true}}},
        {"enabled again: a fresh one",
         {{Action::start, 0, false, 1, true}, {Action::stop, 0, false, 1, false}, {Action::enable, 0, false, 2, true}}},
    };
    for (const Scenario &s : scenarios) {
        Fixture f;
        for (qsizetype i = 0; i < s.steps.size(); ++i) {
            const WatchStep &step = s.steps[i];
            SCOPED_TRACE(std::string(s.label) + ", step " + std::to_string(i));
            f.processes.defaultResult = FakeProcessRunner::exited(step.toolExit);
            if (step.companionDiesFirst)
                f.processes.companions->last().running = false;
            f.act(step.action);
            const auto &companions = *f.processes.companions;
            ASSERT_EQ(companions.size(), step.started);
            EXPECT_EQ(companions.last().running, step.live);
            EXPECT_EQ(companions.last().call.program, tool);
            EXPECT_EQ(companions.last().call.arguments, QStringList{"watch"});
            // Only the newest may run: never two at once.
            for (qsizetype c = 0; c + 1 < companions.size(); ++c)
                EXPECT_FALSE(companions[c].running) << "companion " << c;
        }
    }
}

// The mapping in force is removed before the companion is told "stop" (so it does not
// restore a second time); teardown also releases the hot keys.
TEST(KeyRemapperWatchdog, StopAndTeardownRemoveTheMappingThenFinishTheCompanion)
{
    for (const bool byStop : {true, false}) {
        for (const bool running : {true, false}) {
            SCOPED_TRACE(std::string(byStop ? "stop" : "teardown") + (running ? ", running" : ", not running"));
            Fixture f;
            f.processes.defaultResult = FakeProcessRunner::exited(running ? 0 : 1);
            f.remapper->start();
            ASSERT_EQ(f.processes.companions->size(), 1);
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
            f.expectLastRunSets(running ? R"({"UserKeyMapping":[]})" : swapOnly);
            EXPECT_EQ(f.hotKeys.active().isEmpty(), !byStop);
            EXPECT_EQ(f.hotKeys.hasPressHandler(), byStop);
        }
    }
}

TEST(KeyRemapperHotKeys, InstallSwitchAndUninstall)
{
    Fixture f;
    f.remapper->installHotKeys(command);
    f.remapper->installHotKeys(command);   // same mask: nothing to do
    EXPECT_EQ(withoutHandles(f.hotKeys.active()), expectedKeys(command));
    EXPECT_EQ(f.hotKeys.log.size(), 7);
    EXPECT_EQ(f.hotKeys.setPressHandlerCalls(), 1);
    const QList<Registration> first = f.hotKeys.active();

    // Switching releases every key before registering anew, in the same order.
    f.remapper->installHotKeys(control);
    ASSERT_EQ(f.hotKeys.log.size(), 21);
    for (int i = 7; i < 14; ++i)
        EXPECT_EQ(f.hotKeys.log[i].kind, Kind::unregistered) << i;
    EXPECT_EQ(logged(f.hotKeys, Kind::unregistered), first);
    EXPECT_EQ(withoutHandles(logged(f.hotKeys, Kind::registered)), expectedKeys(command) + expectedKeys(control));
    EXPECT_EQ(f.remapper->hotKeyModifiers(), control);

    f.remapper->uninstallHotKeys();
    EXPECT_TRUE(f.hotKeys.active().isEmpty());
    EXPECT_FALSE(f.hotKeys.hasPressHandler());
    EXPECT_FALSE(f.remapper->hotKeyModifiers().has_value());
    f.remapper->installHotKeys(control);   // same mask, but nothing is registered any more
    EXPECT_EQ(withoutHandles(f.hotKeys.active()), expectedKeys(control));
    EXPECT_TRUE(f.hotKeys.hasPressHandler());
}

TEST(KeyRemapperHotKeys, RefusedCombinationLeavesTheOthersWorking)
{
    Fixture f;
    f.hotKeys.refuse(48, command | shift);
    f.remapper->installHotKeys(command);
    EXPECT_EQ(f.hotKeys.active().size(), 6);
    EXPECT_FALSE(f.hotKeys.press(48, command | shift));
    EXPECT_TRUE(f.hotKeys.press(48, command));
    QCoreApplication::processEvents();
    EXPECT_EQ(f.delivered, QList<BridgeCommand>{BridgeCommand::switchApplication(false)});

    f.remapper->uninstallHotKeys();
    EXPECT_EQ(f.hotKeys.count(Kind::unregistered), 6);   // nothing to release for the refused one
}

TEST(KeyRemapperHotKeys, PressDeliversItsCommandOnALaterTurn)
{
    using K = BridgeCommand::Kind;
    struct Case { quint32 key; quint32 extra; BridgeCommand expected; };
    const Case cases[] = {
        {21, 0, BridgeCommand::of(K::screenshot)},
        {23, 0, BridgeCommand::of(K::video)},
        {22, 0, BridgeCommand::of(K::scrollingScreenshot)},
        {37, 0, BridgeCommand::of(K::lock)},
        {12, 0, BridgeCommand::of(K::quit)},
        {48, 0, BridgeCommand::switchApplication(false)},
        {48, shift, BridgeCommand::switchApplication(true)},
    };
    Fixture f;
    f.remapper->installHotKeys(control);
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << "key " << c.key << " extra " << c.extra);
        f.delivered.clear();
        ASSERT_TRUE(f.hotKeys.press(c.key, control | c.extra));
        EXPECT_TRUE(f.delivered.isEmpty());   // never from inside event dispatch
        QCoreApplication::processEvents();
        EXPECT_EQ(f.delivered, QList<BridgeCommand>{c.expected});
    }
    f.delivered.clear();
    for (const quint32 id : {0u, 1u, 7u, 16u, 0x544E5743u})   // ids that are not ours
        f.hotKeys.pressId(id);
    QCoreApplication::processEvents();
    EXPECT_TRUE(f.delivered.isEmpty());
}

TEST(KeyRemapperHotKeys, PressesThatMustDoNothing)
{
    // A press with no commandHandler is consumed, not kept for a later handler.
    {
        Fixture f;
        const KeyRemapper::CommandHandler handler = std::exchange(f.remapper->commandHandler, nullptr);
        f.remapper->installHotKeys(command);
        ASSERT_TRUE(f.hotKeys.press(21, command));
        QCoreApplication::processEvents();
        f.remapper->commandHandler = handler;
        QCoreApplication::processEvents();
        EXPECT_TRUE(f.delivered.isEmpty());
    }
    // A press still queued when the remapper goes away.
    {
        Fixture f;
        f.remapper->installHotKeys(command);
        ASSERT_TRUE(f.hotKeys.press(21, command));
        f.remapper.reset();
        QCoreApplication::processEvents();
        EXPECT_TRUE(f.delivered.isEmpty());
    }
}

} // namespace
