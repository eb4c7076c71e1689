#pragma once

#include "app/RemoteProtocol.h"

#include <QString>
#include <QStringList>

// The `vistrel` command line: what the arguments ask for, and what a reply prints.
// Pure; main does the printing and the talking.
namespace CommandLine {

// Exit statuses of a command.
enum ExitStatus : int {
    success = 0,        // saved, or carried out
    nothingSaved = 1,   // a capture was cancelled
    usageError = 2,     // arguments not understood
    unavailable = 3,    // the app could not be started or reached, or refused the command
};

struct Invocation {
    enum class Kind { launchApp, help, version, command, usageError };
    Kind kind = Kind::launchApp;
    RemoteCommand command = RemoteCommand::show;   // Kind::command
    QString error;                                  // Kind::usageError: what was wrong
    friend bool operator==(const Invocation &, const Invocation &) = default;
};

// arguments: without the program name. No arguments starts the app.
Invocation parse(const QStringList &arguments);

QString usage();
QString version(const QString &number);
// The one line a usage error prints on standard error.
QString usageHint(const QString &error);

// Whether the command waits for a capture to end before the app answers.
bool waitsForCapture(RemoteCommand command);

struct Outcome {
    int exitStatus = success;
    QString standardOutput;   // whole lines, or empty
    QString standardError;    // whole lines, or empty
    friend bool operator==(const Outcome &, const Outcome &) = default;
};
Outcome outcome(const RemoteReply &reply);
// The app could not be started or reached: one line saying why.
Outcome cannotReach(const QString &why);

} // namespace CommandLine
