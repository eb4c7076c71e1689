#include "platform/x11/QtProcessRunner.h"

#include "platform/x11/PosixProcessLauncher.h"

#include <QDir>
#include <QProcess>

#include <unistd.h>

namespace {

// Owns the write end of the companion's standard input (Qt opens its pipes close-on-exec,
// so no other child of ours holds it open after we are gone).
class QtCompanionProcess : public CompanionProcess {
public:
    bool start(const QString &program, const QStringList &arguments)
    {
        m_process.setProgram(program);
        m_process.setArguments(arguments);
        m_process.setStandardOutputFile(QProcess::nullDevice());
        m_process.setStandardErrorFile(QProcess::nullDevice());
        m_process.setChildProcessModifier([] { ::setsid(); });
        m_process.start(QIODevice::WriteOnly);
        return m_process.waitForStarted(5000);
    }

    ~QtCompanionProcess() override
    {
        // End of file without "stop": the companion cleans up as if we had died.
        if (isRunning()) {
            m_process.closeWriteChannel();
            m_process.waitForFinished(kExitPatienceMs);
        }
    }

    bool isRunning() const override { return m_process.state() != QProcess::NotRunning; }

    void finish() override
    {
        if (!isRunning())
            return;
        m_process.write("stop\n");
        m_process.waitForBytesWritten(kExitPatienceMs);
        m_process.closeWriteChannel();
        if (!m_process.waitForFinished(kExitPatienceMs)) {
            m_process.kill();
            m_process.waitForFinished(kExitPatienceMs);
        }
    }

private:
    static constexpr int kExitPatienceMs = 2000;
    QProcess m_process;
};

} // namespace

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
    return PosixProcessLauncher().launch(program, arguments).has_value();
}

std::unique_ptr<CompanionProcess> QtProcessRunner::startCompanion(const QString &program,
                                                                  const QStringList &arguments)
{
    if (!QDir::isAbsolutePath(program))
        return nullptr;
    auto companion = std::make_unique<QtCompanionProcess>();
    if (!companion->start(program, arguments))
        return nullptr;
    return companion;
}
