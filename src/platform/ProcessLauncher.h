#pragma once

#include <QString>
#include <QStringList>
#include <optional>

// Starts a program that outlives this process, and tells later whether it still runs.
class ProcessLauncher {
public:
    virtual ~ProcessLauncher() = default;
    // The new process's id, or nothing when it could not be started.
    virtual std::optional<qint64> launch(const QString &program, const QStringList &arguments) = 0;
    virtual bool isRunning(qint64 pid) const = 0;
};
