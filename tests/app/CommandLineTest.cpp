#include "app/CommandLine.h"

#include <gtest/gtest.h>

namespace {

using Kind = CommandLine::Invocation::Kind;

struct ParseCase {
    QStringList arguments;
    Kind kind;
    RemoteCommand command = RemoteCommand::show;
    QString error = {};
};

TEST(CommandLine, ParsesEveryCommandAndRejectsWhatItDoesNotKnow)
{
    const QList<ParseCase> cases = {
        {{}, Kind::launchApp},
        {{"screenshot"}, Kind::command, RemoteCommand::screenshot},
        {{"scroll"}, Kind::command, RemoteCommand::scroll},
        {{"scroll", "--manual"}, Kind::command, RemoteCommand::scrollManual},
        {{"record"}, Kind::command, RemoteCommand::record},
        {{"show"}, Kind::command, RemoteCommand::show},
        {{"mapping", "on"}, Kind::command, RemoteCommand::mappingOn},
        {{"mapping", "off"}, Kind::command, RemoteCommand::mappingOff},
        {{"quit"}, Kind::command, RemoteCommand::quit},
        {{"--help"}, Kind::help},
        {{"-h"}, Kind::help},
        {{"screenshot", "--help"}, Kind::help},
        {{"bogus", "--help"}, Kind::help},
        {{"--version"}, Kind::version},
        {{"--version", "x"}, Kind::usageError, RemoteCommand::show, "unexpected argument 'x'"},
        {{"shot"}, Kind::usageError, RemoteCommand::show, "unknown command 'shot'"},
        {{"Screenshot"}, Kind::usageError, RemoteCommand::show, "unknown command 'Screenshot'"},
        {{"--quiet"}, Kind::usageError, RemoteCommand::show, "unknown option '--quiet'"},
        {{"-platform", "xcb"}, Kind::usageError, RemoteCommand::show, "unknown option '-platform'"},
        {{"screenshot", "now"}, Kind::usageError, RemoteCommand::show, "unexpected argument 'now'"},
        {{"record", "--manual"}, Kind::usageError, RemoteCommand::show, "unexpected argument '--manual'"},
        {{"scroll", "--auto"}, Kind::usageError, RemoteCommand::show, "unexpected argument '--auto'"},
        {{"scroll", "--manual", "x"}, Kind::usageError, RemoteCommand::show, "unexpected argument 'x'"},
        {{"mapping"}, Kind::usageError, RemoteCommand::show, "mapping needs 'on' or 'off'"},
        {{"mapping", "yes"}, Kind::usageError, RemoteCommand::show, "mapping takes 'on' or 'off', not 'yes'"},
        {{"mapping", "on", "off"}, Kind::usageError, RemoteCommand::show, "unexpected argument 'off'"},
        {{""}, Kind::usageError, RemoteCommand::show, "unknown command ''"},
    };
    for (const ParseCase &c : cases) {
        SCOPED_TRACE(c.arguments.join(' ').toStdString());
        const CommandLine::Invocation got = CommandLine::parse(c.arguments);
        EXPECT_EQ(int(got.kind), int(c.kind));
        if (c.kind == Kind::command) {
            EXPECT_EQ(int(got.command), int(c.command));
        }
        EXPECT_EQ(got.error.toStdString(), c.error.toStdString());
    }
}

TEST(CommandLine, RepliesBecomeExitStatusAndOutput)
{
    using Result = RemoteReply::Result;
    struct Case {
        RemoteReply reply;
        CommandLine::Outcome expected;
    };
    const QList<Case> cases = {
        {{Result::done, {}, {}}, {0, {}, {}}},
        {{Result::saved, "/home/u/Desktop/Screenshot 1.png", {}}, {0, "/home/u/Desktop/Screenshot 1.png\n", {}}},
        {{Result::cancelled, {}, {}}, {1, {}, {}}},
        // A reason over several lines still prints as one.
        {{Result::failed, {}, "not in force\nyet"}, {3, {}, "vistrel: not in force yet\n"}},
        {{Result::refused, {}, {}}, {3, {}, "vistrel: Vistrel did not answer\n"}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(int(c.reply.result));
        const CommandLine::Outcome got = CommandLine::outcome(c.reply);
        EXPECT_EQ(got.exitStatus, c.expected.exitStatus);
        EXPECT_EQ(got.standardOutput.toStdString(), c.expected.standardOutput.toStdString());
        EXPECT_EQ(got.standardError.toStdString(), c.expected.standardError.toStdString());
    }
}

} // namespace
