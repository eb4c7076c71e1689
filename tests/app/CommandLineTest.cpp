#include "app/CommandLine.h"

#include <gtest/gtest.h>

namespace {

using Kind = CommandLine::Invocation::Kind;
using Invocation = CommandLine::Invocation;

Invocation run(RemoteCommand c) { return {Kind::command, c, {}}; }
Invocation bad(const char *error) { return {Kind::usageError, RemoteCommand::show, error}; }

TEST(CommandLine, ParsesEveryCommandAndRejectsWhatItDoesNotKnow)
{
    const Invocation help{Kind::help, RemoteCommand::show, {}};
    const std::pair<QStringList, Invocation> cases[] = {
        {{}, {}}, {{"screenshot"}, run(RemoteCommand::screenshot)}, {{"scroll"}, run(RemoteCommand::scroll)},
        {{"scroll", "--manual"}, run(RemoteCommand::scrollManual)}, {{"record"}, run(RemoteCommand::record)},
        {{"show"}, run(RemoteCommand::show)}, {{"mapping", "on"}, run(RemoteCommand::mappingOn)},
        {{"mapping", "off"}, run(RemoteCommand::mappingOff)}, {{"quit"}, run(RemoteCommand::quit)},
        {{"--help"}, help}, {{"-h"}, help}, {{"screenshot", "--help"}, help},
        {{"--version"}, {Kind::version, RemoteCommand::show, {}}},
        {{"--version", "x"}, bad("unexpected argument 'x'")}, {{"shot"}, bad("unknown command 'shot'")},
        {{"--quiet"}, bad("unknown option '--quiet'")}, {{"screenshot", "now"}, bad("unexpected argument 'now'")},
        {{"scroll", "--auto"}, bad("unexpected argument '--auto'")},
        {{"scroll", "--manual", "x"}, bad("unexpected argument 'x'")},
        {{"mapping"}, bad("mapping needs 'on' or 'off'")},
        {{"mapping", "yes"}, bad("mapping takes 'on' or 'off', not 'yes'")},
        {{"mapping", "on", "off"}, bad("unexpected argument 'off'")},
    };
    for (const auto &[arguments, expected] : cases) {
        const Invocation got = CommandLine::parse(arguments);
        EXPECT_TRUE(got == expected) << arguments.join(' ').toStdString() << ": kind " << int(got.kind)
                                     << ", command " << int(got.command) << ", " << got.error.toStdString();
    }
}

TEST(CommandLine, RepliesBecomeExitStatusAndOutput)
{
    using Result = RemoteReply::Result;
    const std::pair<RemoteReply, CommandLine::Outcome> cases[] = {
        {{Result::done, {}, {}}, {0, {}, {}}},
        {{Result::saved, "/home/u/Desktop/Screenshot 1.png", {}}, {0, "/home/u/Desktop/Screenshot 1.png\n", {}}},
        {{Result::cancelled, {}, {}}, {1, {}, {}}},
        // A reason over several lines still prints as one.
        {{Result::failed, {}, "not in force\nyet"}, {3, {}, "vistrel: not in force yet\n"}},
        {{Result::refused, {}, {}}, {3, {}, "vistrel: Vistrel did not answer\n"}},
    };
    for (const auto &[reply, expected] : cases) {
        const CommandLine::Outcome got = CommandLine::outcome(reply);
        EXPECT_TRUE(got == expected) << int(reply.result) << ": " << got.exitStatus << " ["
                                     << got.standardOutput.toStdString() << "] [" << got.standardError.toStdString() << "]";
    }
}

} // namespace
