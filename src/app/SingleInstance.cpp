#include "app/SingleInstance.h"

#include "app/CommandClient.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QPointer>
#include <QStandardPaths>

using namespace std::chrono_literals;

namespace {
constexpr auto timeout = 1500ms;
// A request is one short line; anything longer is not one of ours.
constexpr qsizetype maxRequestBytes = 4096;
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
    // The first instance answers once it has acted, so this launch can end cleanly.
    const auto reply = CommandClient::exchange(m_serverPath, RemoteCommand::show, timeout, timeout);
    return reply && reply->result == RemoteReply::Result::done;
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
                // One request per connection: the first line; later bytes are ignored.
                if (socket->property("answered").toBool()) {
                    socket->readAll();
                    return;
                }
                QByteArray pending = socket->property("pending").toByteArray() + socket->readAll();
                if (!pending.contains('\n') && pending.size() < maxRequestBytes) {
                    socket->setProperty("pending", pending);
                    return;
                }
                socket->setProperty("answered", true);
                QPointer<QLocalSocket> peer(socket);
                const Reply reply = [peer](const RemoteReply &answer) {
                    // The requester may have given up (Ctrl+C) while a capture ran.
                    if (!peer || peer->state() != QLocalSocket::ConnectedState)
                        return;
                    peer->write(RemoteProtocol::encodeReply(answer));
                    peer->flush();
                };
                const qsizetype end = pending.indexOf('\n');
                const auto command = RemoteProtocol::decodeRequest(end < 0 ? pending : pending.left(end));
                if (!command)
                    reply({RemoteReply::Result::refused, {},
                           QStringLiteral("this Vistrel does not understand the request")});
                else if (onRequest)
                    onRequest(*command, reply);
                else
                    reply({RemoteReply::Result::failed, {}, QStringLiteral("Vistrel is not ready")});
            });
        }
    });
    return true;
}
