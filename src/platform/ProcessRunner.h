#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>

// Outcome of running an external program to completion.
struct ProcessResult {
    bool started = false;   // false: the program could not be started at all
    int exitCode = -1;      // meaningful only when started
    QByteArray output;      // stdout and stderr merged
    bool succeeded() const { return started && exitCode == 0; }
};

// A helper process joined to us by its standard input: however we end, even killed, the
// kernel closes our end and the helper reads end of file. Dropping the handle without
// finish() closes that end too, so the helper acts as if we had died.
class CompanionProcess {
public:
    virtual ~CompanionProcess() = default;
    virtual bool isRunning() const = 0;
    // Tells it we are leaving on purpose (a "stop" line), then waits briefly for it to exit.
    virtual void finish() = 0;
};

// Starts programs by absolute path with an argument list, never through a shell.
class ProcessRunner {
public:
    virtual ~ProcessRunner() = default;
    // Runs the program and waits for it to exit.
    virtual ProcessResult run(const QString &program, const QStringList &arguments) = 0;
    // Starts the program and returns at once; true when it was started.
    virtual bool startDetached(const QString &program, const QStringList &arguments) = 0;
    // Starts a companion in a session of its own, so a signal to our process group does not
    // take it along; empty when it cannot be started.
    virtual std::unique_ptr<CompanionProcess> startCompanion(const QString &program,
                                                             const QStringList &arguments) = 0;
};
