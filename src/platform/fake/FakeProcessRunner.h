#pragma once

#include "platform/ProcessRunner.h"

#include <QList>
#include <functional>

// A ProcessRunner that starts nothing. It records every call and answers from a script:
// queued results first (one per run), then the responder if set, then defaultResult.
class FakeProcessRunner : public ProcessRunner {
public:
    struct Call {
        QString program;
        QStringList arguments;
        bool detached = false;
        friend bool operator==(const Call &, const Call &) = default;
    };
    using Responder = std::function<ProcessResult(const QString &program, const QStringList &arguments)>;

    QList<Call> calls;
    QList<ProcessResult> queuedResults;
    Responder responder;
    ProcessResult defaultResult = exited(0);
    bool detachedStarts = true;   // what startDetached answers

    static ProcessResult exited(int exitCode, QByteArray output = {})
    {
        return {true, exitCode, std::move(output)};
    }
    static ProcessResult failedToStart() { return {false, -1, {}}; }

    // The next run exits with exitCode / cannot be started.
    void queueExit(int exitCode) { queuedResults.append(exited(exitCode)); }
    void queueStartFailure() { queuedResults.append(failedToStart()); }

    // Runs (not detached starts) so far, in order.
    QList<Call> runs() const
    {
        QList<Call> result;
        for (const Call &call : calls)
            if (!call.detached)
                result.append(call);
        return result;
    }
    qsizetype runCount() const { return runs().size(); }

    ProcessResult run(const QString &program, const QStringList &arguments) override
    {
        calls.append({program, arguments, false});
        if (!queuedResults.isEmpty())
            return queuedResults.takeFirst();
        if (responder)
            return responder(program, arguments);
        return defaultResult;
    }

    bool startDetached(const QString &program, const QStringList &arguments) override
    {
        calls.append({program, arguments, true});
        return detachedStarts;
    }
};
