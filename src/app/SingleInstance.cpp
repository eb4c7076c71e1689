#include "app/SingleInstance.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QStandardPaths>

namespace {
const QByteArray reopenMessage = "reopen\n";
constexpr int timeoutMs = 1500;
}

SingleInstance::SingleInstance(QString serverPath, QObject *parent)
    : QObject(parent), m_serverPath(std::move(serverPath))
{
}

SingleInstance::~SingleInstance()
{
    if (m_server)
        m_server->close();
}

QString SingleInstance::defaultServerPath()
{
    const QString executable = QFileInfo(QCoreApplication::applicationFilePath()).canonicalFilePath();
    const QByteArray key = executable.toUtf8() + '\0' + qgetenv("DISPLAY");
    const QString id = QString::fromLatin1(QCryptographicHash::hash(key, QCryptographicHash::Sha1).toHex().left(16));
    QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (runtime.isEmpty())
        runtime = QDir::tempPath();
    return QDir(runtime).filePath(QStringLiteral("vistrel-") + id + QStringLiteral(".sock"));
}

bool SingleInstance::forwardToRunningInstance()
{
    QLocalSocket socket;
    socket.connectToServer(m_serverPath);
    if (!socket.waitForConnected(timeoutMs))
        return false;
    socket.write(reopenMessage);
    if (!socket.waitForBytesWritten(timeoutMs))
        return false;
    // The first instance answers once it has acted, so this launch can end cleanly.
    return socket.waitForReadyRead(timeoutMs) && socket.readAll().startsWith("ok");
}

bool SingleInstance::listen()
{
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    // Nobody answered forwardToRunningInstance, so a leftover socket file is stale.
    QLocalServer::removeServer(m_serverPath);
    if (!m_server->listen(m_serverPath))
        return false;
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *socket = m_server->nextPendingConnection()) {
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
                if (!socket->readAll().startsWith(reopenMessage.trimmed()))
                    return;
                if (onReopen)
                    onReopen();
                socket->write("ok\n");
                socket->flush();
            });
        }
    });
    return true;
}
