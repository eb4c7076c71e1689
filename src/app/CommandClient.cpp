#include "app/CommandClient.h"

#include "platform/ProcessLauncher.h"

#include <QDeadlineTimer>
#include <QLocalSocket>
#include <QThread>

using namespace std::chrono_literals;

namespace {

constexpr auto pollInterval = 50ms;
constexpr auto quitTimeout = 20s;

bool connectTo(QLocalSocket &socket, const QString &serverPath, std::chrono::milliseconds timeout)
{
    socket.connectToServer(serverPath);
    return socket.waitForConnected(int(timeout.count()));
}

// Reads up to the end of the first line; false when the peer left or time ran out first.
bool readLine(QLocalSocket &socket, QByteArray &line, std::chrono::milliseconds timeout)
{
    const QDeadlineTimer deadline = timeout < 0ms ? QDeadlineTimer(QDeadlineTimer::Forever) : QDeadlineTimer(timeout);
    while (!line.contains('\n')) {
        // remainingTime() is -1 for ever, which is also what waitForReadyRead takes for ever.
        if (socket.bytesAvailable() == 0 && !socket.waitForReadyRead(int(deadline.remainingTime())))
            return false;
        line += socket.readAll();
    }
    line.truncate(line.indexOf('\n') + 1);
    return true;
}

std::optional<RemoteReply> exchangeOn(QLocalSocket &socket, RemoteCommand command,
                                      std::chrono::milliseconds replyTimeout)
{
    socket.write(RemoteProtocol::encodeRequest(command));
    if (!socket.waitForBytesWritten(int(quitTimeout / 1ms)))
        return std::nullopt;
    QByteArray line;
    if (!readLine(socket, line, replyTimeout))
        return std::nullopt;
    return RemoteProtocol::decodeReply(line);
}

} // namespace

CommandClient::CommandClient(Settings settings, ProcessLauncher &launcher)
    : m_settings(std::move(settings)), m_launcher(launcher)
{
}

std::optional<RemoteReply> CommandClient::exchange(const QString &serverPath, RemoteCommand command,
                                                   std::chrono::milliseconds connectTimeout,
                                                   std::chrono::milliseconds replyTimeout)
{
    QLocalSocket socket;
    if (!connectTo(socket, serverPath, connectTimeout))
        return std::nullopt;
    return exchangeOn(socket, command, replyTimeout);
}

CommandLine::Outcome CommandClient::run(RemoteCommand command)
{
    QLocalSocket socket;
    if (!connectTo(socket, m_settings.serverPath, m_settings.connectTimeout)) {
        // Nothing runs, so nothing needs quitting; starting the app only to end it helps nobody.
        if (command == RemoteCommand::quit)
            return {};
        if (const auto why = startApp())
            return CommandLine::cannotReach(*why);
        if (!connectTo(socket, m_settings.serverPath, m_settings.connectTimeout))
            return CommandLine::cannotReach(QStringLiteral("Vistrel started but does not answer"));
    }
    const auto reply = exchangeOn(socket, command, -1ms);
    if (!reply)
        return CommandLine::cannotReach(QStringLiteral("Vistrel ended before it answered"));
    if (command == RemoteCommand::quit) {
        // The keyboard is back once the app is gone; return only then.
        if (socket.state() == QLocalSocket::ConnectedState)
            socket.waitForDisconnected(int(quitTimeout / 1ms));
    }
    return CommandLine::outcome(*reply);
}

std::optional<QString> CommandClient::startApp()
{
    if (m_settings.display.isEmpty())
        return QStringLiteral("no display to start Vistrel on (DISPLAY is not set)");
    const auto pid = m_launcher.launch(m_settings.appProgram, {});
    if (!pid)
        return QStringLiteral("cannot start %1").arg(m_settings.appProgram);
    const QDeadlineTimer deadline(m_settings.startTimeout);
    while (!deadline.hasExpired()) {
        QLocalSocket probe;
        if (connectTo(probe, m_settings.serverPath, pollInterval))
            return std::nullopt;
        if (!m_launcher.isRunning(*pid)) {
            // It may have handed over to an instance that came up meanwhile.
            if (connectTo(probe, m_settings.serverPath, pollInterval))
                return std::nullopt;
            return QStringLiteral("Vistrel could not start on display %1").arg(m_settings.display);
        }
        QThread::msleep(pollInterval.count());
    }
    return QStringLiteral("Vistrel did not come up on display %1").arg(m_settings.display);
}
