#include "keyboard/KeyRemapper.h"
#include "platform/fake/FakeHotKeyService.h"
#include "platform/fake/FakeProcessRunner.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

const QString tool = QStringLiteral("/opt/vistrel/bin/vistrel-keymap");

constexpr quint32 command = 0x100;
constexpr quint32 control = 0x1000;

// The Windows Mode objects, each 0x700000000 + usage in decimal.
const QByteArray controlLeft = R"({"HIDKeyboardModifierMappingSrc":30064771296,"HIDKeyboardModifierMappingDst":30064771299})";
const QByteArray commandLeft = R"({"HIDKeyboardModifierMappingSrc":30064771299,"HIDKeyboardModifierMappingDst":30064771296})";
const QByteArray controlRight = R"({"HIDKeyboardModifierMappingSrc":30064771300,"HIDKeyboardModifierMappingDst":30064771303})";
const QByteArray commandRight = R"({"HIDKeyboardModifierMappingSrc":30064771303,"HIDKeyboardModifierMappingDst":30064771300})";

QByteArray property(const QList<QByteArray> &objects)
{
    QByteArray joined;
    for (const QByteArray &o : objects)
        joined += (joined.isEmpty() ? "" : ",") + o;
    return R"({"UserKeyMapping":[)" + joined + "]}";
}

struct Fixture {
    FakeProcessRunner processes;
    FakeHotKeyService hotKeys;
    KeyRemapper remapper{processes, hotKeys, tool};
    QList<std::pair<bool, bool>> reports;
    Fixture()
    {
        remapper.stateHandler = [this](bool running, bool trusted) { reports.append({running, trusted}); };
    }
    QByteArray lastProperty() const
    {
        const auto runs = processes.runs();
        return runs.isEmpty() ? QByteArray() : runs.last().arguments.value(2).toUtf8();
    }
};

TEST(KeyRemapperProperty, MatchesTheToolFormatByteForByte)
{
    struct Case { const char *label; QList<MacCustomKeyMapping> mappings; bool enabled; QByteArray expected; };
    const QByteArray capsToEscape = R"({"HIDKeyboardModifierMappingSrc":30064771129,"HIDKeyboardModifierMappingDst":30064771113})";
    const QByteArray capsToTab = R"({"HIDKeyboardModifierMappingSrc":30064771129,"HIDKeyboardModifierMappingDst":30064771115})";
    const QByteArray commandLeftToOption = R"({"HIDKeyboardModifierMappingSrc":30064771299,"HIDKeyboardModifierMappingDst":30064771298})";
    const QByteArray base = property({controlLeft, commandLeft, controlRight, commandRight});
    const Case cases[] = {
        {"swap only", {}, true,
         R"({"UserKeyMapping":[{"HIDKeyboardModifierMappingSrc":30064771296,"HIDKeyboardModifierMappingDst":30064771299},{"HIDKeyboardModifierMappingSrc":30064771299,"HIDKeyboardModifierMappingDst":30064771296},{"HIDKeyboardModifierMappingSrc":30064771300,"HIDKeyboardModifierMappingDst":30064771303},{"HIDKeyboardModifierMappingSrc":30064771303,"HIDKeyboardModifierMappingDst":30064771300}]})"},
        {"custom sorts first", {{"Caps Lock", "Escape"}}, true,
         property({capsToEscape, controlLeft, commandLeft, controlRight, commandRight})},
        {"custom overrides the swap", {{"Command trái", "Option trái"}}, true,
         property({controlLeft, commandLeftToOption, controlRight, commandRight})},
        {"later custom wins", {{"Caps Lock", "Escape"}, {"Caps Lock", "Tab"}}, true,
         property({capsToTab, controlLeft, commandLeft, controlRight, commandRight})},
        {"unknown and identity change nothing", {{"F13", "A"}, {"A", "A"}}, true, base},
        {"disabled", {{"Caps Lock", "Escape"}}, false, R"({"UserKeyMapping":[]})"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.label);
        Fixture f;
        f.remapper.setCustomMappings(c.mappings);
        EXPECT_EQ(f.remapper.mappingProperty(c.enabled), c.expected);
        EXPECT_EQ(f.processes.runCount(), 0);   // storing alone runs nothing
    }
}

TEST(KeyRemapperProperty, ApplyRunsTheToolWithThreeArguments)
{
    struct Case { std::optional<int> exitCode; bool expected; };   // nullopt: cannot start
    const Case cases[] = {{0, true}, {1, false}, {255, false}, {std::nullopt, false}};
    for (const Case &c : cases) {
        Fixture f;
        f.processes.defaultResult = c.exitCode ? FakeProcessRunner::exited(*c.exitCode)
                                               : FakeProcessRunner::failedToStart();
        for (const bool enabled : {true, false}) {
            EXPECT_EQ(f.remapper.applyMapping(enabled), c.expected);
            const FakeProcessRunner::Call expectedCall{
                tool, {"property", "--set", QString::fromUtf8(f.remapper.mappingProperty(enabled))}, false};
            EXPECT_EQ(f.processes.calls.last(), expectedCall);
        }
    }
}

enum class Action { start, stop, enable, setMappings };

struct Step {
    Action action;
    std::optional<int> toolExit;   // what the tool does if run; nullopt: cannot start
    bool running;
    bool requested;
    qsizetype toolRuns;            // total so far
    QByteArray lastProperty;       // "on", "off" or "" (never ran)
    quint32 hotKeyModifiers;
    QList<std::pair<bool, bool>> reports;   // reported during this step
};

TEST(KeyRemapperStates, ScenariosFollowTheTransitionTable)
{
    using R = QList<std::pair<bool, bool>>;
    const R on = {{true, true}};
    const R off = {{false, true}};
    struct Scenario { const char *label; QList<Step> steps; };
    const Scenario scenarios[] = {
        {"start succeeds", {{Action::start, 0, true, true, 1, "on", control, on}}},
        {"second start runs nothing",
         {{Action::start, 0, true, true, 1, "on", control, on},
          {Action::start, 0, true, true, 1, "on", control, {}}}},
        {"failing tool keeps Command, retry succeeds",
         {{Action::start, 1, false, true, 1, "on", command, off},
          {Action::start, std::nullopt, false, true, 2, "on", command, off},
          {Action::start, 0, true, true, 3, "on", control, on}}},
        {"stop when not running runs nothing",
         {{Action::stop, 0, false, false, 0, "", command, off}}},
        {"stop when running removes the mapping",
         {{Action::start, 0, true, true, 1, "on", control, on},
          {Action::stop, 0, false, false, 2, "off", command, off}}},
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
         {{Action::setMappings, 0, false, true, 0, "", std::numeric_limits<quint32>::max(), {}},
          {Action::start, 0, true, true, 1, "on", control, on}}},
    };
    const QList<MacCustomKeyMapping> mappings = {{"Caps Lock", "Escape"}};

    for (const Scenario &s : scenarios) {
        Fixture f;
        for (qsizetype i = 0; i < s.steps.size(); ++i) {
            const Step &step = s.steps[i];
            SCOPED_TRACE(std::string(s.label) + ", step " + std::to_string(i));
            f.processes.defaultResult = step.toolExit ? FakeProcessRunner::exited(*step.toolExit)
                                                      : FakeProcessRunner::failedToStart();
            f.reports.clear();
            switch (step.action) {
            case Action::start: f.remapper.start(); break;
            case Action::stop: f.remapper.stop(); break;
            case Action::enable: f.remapper.enable(); break;
            case Action::setMappings: f.remapper.setCustomMappings(mappings); break;
            }
            EXPECT_EQ(f.remapper.isRunning(), step.running);
            EXPECT_EQ(f.remapper.isRequested(), step.requested);
            EXPECT_EQ(f.processes.runCount(), step.toolRuns);
            const QByteArray expectedProperty = step.lastProperty == "on"    ? f.remapper.mappingProperty(true)
                                                : step.lastProperty == "off" ? f.remapper.mappingProperty(false)
                                                                             : QByteArray();
            EXPECT_EQ(f.lastProperty(), expectedProperty);
            if (step.hotKeyModifiers == std::numeric_limits<quint32>::max()) {
                EXPECT_FALSE(f.remapper.hotKeyModifiers().has_value());
            } else {
                EXPECT_EQ(f.remapper.hotKeyModifiers(), step.hotKeyModifiers);
            }
            EXPECT_EQ(f.reports, step.reports);
        }
        // A re-applied list reaches the tool.
        if (f.remapper.isRunning() && !f.remapper.customMappings().isEmpty()) {
            EXPECT_TRUE(f.lastProperty().contains("30064771129"));
        }
    }
}

TEST(KeyRemapperStates, TeardownRemovesWhatIsInForce)
{
    for (const bool running : {true, false}) {
        SCOPED_TRACE(running ? "running" : "not running");
        FakeProcessRunner processes;
        FakeHotKeyService hotKeys;
        {
            KeyRemapper remapper(processes, hotKeys, tool);
            processes.defaultResult = FakeProcessRunner::exited(running ? 0 : 1);
            remapper.start();
            processes.defaultResult = FakeProcessRunner::exited(0);
        }
        EXPECT_TRUE(hotKeys.active().isEmpty());
        EXPECT_FALSE(hotKeys.hasPressHandler());
        EXPECT_EQ(processes.runCount(), running ? 2 : 1);
        EXPECT_EQ(processes.runs().last().arguments.value(2),
                  running ? R"({"UserKeyMapping":[]})" : QString(property({controlLeft, commandLeft, controlRight, commandRight})));
    }
}

} // namespace
