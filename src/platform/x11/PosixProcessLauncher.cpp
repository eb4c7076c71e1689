#include "platform/x11/PosixProcessLauncher.h"

#include <QDir>
#include <QProcess>
#include <cerrno>
#include <csignal>

std::optional<qint64> PosixProcessLauncher::launch(const QString &program, const QStringList &arguments)
{
    if (!QDir::isAbsolutePath(program))
        return std::nullopt;
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    process.setStandardInputFile(QProcess::nullDevice());
    // It outlives us: holding our output open would keep a reader of our pipes waiting.
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    qint64 pid = 0;
    if (!process.startDetached(&pid))
        return std::nullopt;
    return pid;
}

bool PosixProcessLauncher::isRunning(qint64 pid) const
{
    if (pid <= 0)
        return false;
    return ::kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM;
}
