#include "support/XvfbServer.h"

#include <QDeadlineTimer>

XvfbServer::XvfbServer(const QString &screenGeometry)
{
    m_process.setProgram(QStringLiteral("/usr/bin/Xvfb"));
    m_process.setArguments({QStringLiteral("-displayfd"), QStringLiteral("1"),
                            QStringLiteral("-screen"), QStringLiteral("0"), screenGeometry,
                            QStringLiteral("-nolisten"), QStringLiteral("tcp")});
    m_process.start();
    if (!m_process.waitForStarted(5000))
        return;
    QByteArray out;
    QDeadlineTimer deadline(10000);
    while (!out.contains('\n') && !deadline.hasExpired()) {
        if (!m_process.waitForReadyRead(int(deadline.remainingTime())))
            break;
        out += m_process.readAllStandardOutput();
    }
    const QByteArray number = out.trimmed();
    if (!number.isEmpty())
        m_display = QStringLiteral(":") + QString::fromLatin1(number);
}

XvfbServer::~XvfbServer()
{
    m_process.terminate();
    if (!m_process.waitForFinished(3000))
        m_process.kill();
    m_process.waitForFinished(1000);
}
