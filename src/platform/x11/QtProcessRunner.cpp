#include "platform/x11/QtProcessRunner.h"

#include <QDir>
#include <QProcess>

ProcessResult QtProcessRunner::run(const QString &program, const QStringList &arguments)
{
    ProcessResult result;
    // A bare name would be looked up on PATH; we only ever run the exact program asked for.
    if (!QDir::isAbsolutePath(program))
        return result;

    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(program, arguments, QIODevice::ReadOnly);
    if (!process.waitForStarted(-1))
        return result;
    result.started = true;
    // waitForFinished keeps draining the pipe into QProcess's buffer, so a chatty child
    // never blocks on a full pipe.
    process.waitForFinished(-1);
    result.output = process.readAll();
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return result;
}

bool QtProcessRunner::startDetached(const QString &program, const QStringList &arguments)
{
    if (!QDir::isAbsolutePath(program))
        return false;
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    return process.startDetached();
}
