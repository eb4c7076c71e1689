#pragma once

#include "platform/ProcessRunner.h"

#include <QList>
#include <functional>
#include <memory>

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
    bool companionStarts = true;  // whether startCompanion succeeds

    // What became of each companion started so far, in order.
    struct CompanionRecord {
        Call call;
        bool running = true;   // a test clears it to play a companion that died
        bool finished = false; // finish() was called
        bool dropped = false;  // the handle was destroyed
    };
    std::shared_ptr<QList<CompanionRecord>> companions = std::make_shared<QList<CompanionRecord>>();

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

    std::unique_ptr<CompanionProcess> startCompanion(const QString &program,
                                                     const QStringList &arguments) override
    {
        if (!companionStarts)
            return nullptr;
        companions->append(CompanionRecord{Call{program, arguments, true}});
        return std::make_unique<Companion>(companions, companions->size() - 1);
    }

private:
    class Companion : public CompanionProcess {
    public:
        Companion(std::shared_ptr<QList<CompanionRecord>> records, qsizetype index)
            : m_records(std::move(records)), m_index(index) {}
        ~Companion() override
        {
            (*m_records)[m_index].dropped = true;
            (*m_records)[m_index].running = false;
        }
        bool isRunning() const override { return m_records->at(m_index).running; }
        void finish() override
        {
            (*m_records)[m_index].finished = true;
            (*m_records)[m_index].running = false;
        }

    private:
        std::shared_ptr<QList<CompanionRecord>> m_records;
        qsizetype m_index;
    };
};
