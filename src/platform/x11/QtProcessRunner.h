#pragma once

#include "platform/ProcessRunner.h"

// ProcessRunner over QProcess. Keeps no state between calls, so any thread may use it
// (each call owns its QProcess); run() needs no event loop.
class QtProcessRunner : public ProcessRunner {
public:
    ProcessResult run(const QString &program, const QStringList &arguments) override;
    // The child's output goes to the null device.
    bool startDetached(const QString &program, const QStringList &arguments) override;
    std::unique_ptr<CompanionProcess> startCompanion(const QString &program,
                                                     const QStringList &arguments) override;
};
