#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

// Outcome of running an external program to completion.
struct ProcessResult {
    bool started = false;   // false: the program could not be started at all
    int exitCode = -1;      // meaningful only when started
    QByteArray output;      // stdout and stderr merged
    bool succeeded() const { return started && exitCode == 0; }
};

// Starts programs by absolute path with an argument list, never through a shell.
class ProcessRunner {
public:
    virtual ~ProcessRunner() = default;
    // Runs the program and waits for it to exit.
    virtual ProcessResult run(const QString &program, const QStringList &arguments) = 0;
    // Starts the program and returns at once; true when it was started.
    virtual bool startDetached(const QString &program, const QStringList &arguments) = 0;
};
