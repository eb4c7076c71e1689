#include "support/XvfbServer.h"

#include <QDeadlineTimer>

XvfbServer::XvfbServer(const QString &screenGeometry, const QStringList &extraArguments)
{
    // The server writes its display number to -displayfd once it accepts connections.
    m_process.start("/usr/bin/Xvfb",
                    QStringList{"-displayfd", "1", "-screen", "0", screenGeometry, "-nolisten", "tcp"} + extraArguments);
    for (QDeadlineTimer deadline(10000); !m_process.canReadLine() && m_process.waitForReadyRead(int(deadline.remainingTime()));) {
    }
    if (m_process.canReadLine())
        m_display = ":" + QString::fromLatin1(m_process.readLine().trimmed());
}

XvfbServer::~XvfbServer()
{
    m_process.terminate();
    if (!m_process.waitForFinished(3000))
        m_process.kill();
    m_process.waitForFinished(1000);
}
