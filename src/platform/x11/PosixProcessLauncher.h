#pragma once

#include "platform/ProcessLauncher.h"

// QProcess::startDetached (the child is re-parented, so it never becomes our zombie) and a
// null signal to ask whether it lives.
class PosixProcessLauncher : public ProcessLauncher {
public:
    std::optional<qint64> launch(const QString &program, const QStringList &arguments) override;
    bool isRunning(qint64 pid) const override;
};
