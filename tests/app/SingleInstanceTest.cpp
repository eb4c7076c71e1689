#include "app/CommandClient.h"
#include "app/SingleInstance.h"

#include <QCoreApplication>
#include <QLocalSocket>
#include <QTemporaryDir>
#include <QTimer>
#include <future>
#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

// Keeps the server's (this thread's) events going until the client thread has its answer.
template<typename T>
T serveUntil(std::future<T> &answer)
{
    while (answer.wait_for(0ms) != std::future_status::ready)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    return answer.get();
}

TEST(SingleInstance, CommandsAndTheirLateAnswersCrossTheSocket)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("instance.sock");
    SingleInstance server(path);
    ASSERT_TRUE(server.listen());
    QList<RemoteCommand> received;
    server.onRequest = [&](RemoteCommand command, SingleInstance::Reply reply) {
        received.append(command);
        if (command == RemoteCommand::screenshot) {
            // A capture answers when it ends, long after the request.
            QTimer::singleShot(200, [reply] { reply({RemoteReply::Result::saved, "/d/Screenshot_1.png", {}}); });
            return;
        }
        reply({});
    };

    auto shot = std::async(std::launch::async, [&] {
        return CommandClient::exchange(path, RemoteCommand::screenshot, 1500ms, -1ms);
    });
    const auto saved = serveUntil(shot);
    ASSERT_TRUE(saved.has_value());
    EXPECT_TRUE(*saved == (RemoteReply{RemoteReply::Result::saved, "/d/Screenshot_1.png", {}}));

    auto mapping = std::async(std::launch::async, [&] {
        return CommandClient::exchange(path, RemoteCommand::mappingOff, 1500ms, 1500ms);
    });
    const auto done = serveUntil(mapping);
    ASSERT_TRUE(done.has_value());
    EXPECT_EQ(int(done->result), int(RemoteReply::Result::done));
    EXPECT_EQ(received, (QList<RemoteCommand>{RemoteCommand::screenshot, RemoteCommand::mappingOff}));
}

TEST(SingleInstance, ARequestItCannotReadIsRefusedAndReachesNobody)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("instance.sock");
    SingleInstance server(path);
    ASSERT_TRUE(server.listen());
    int requests = 0;
    server.onRequest = [&](RemoteCommand, SingleInstance::Reply reply) {
        ++requests;
        reply({});
    };
    for (const QByteArray &line : {QByteArray("reopen\n"), QByteArray(R"({"vistrel":7,"command":"show"})" "\n"),
                                   QByteArray(5000, 'x')}) {
        auto answer = std::async(std::launch::async, [&] {
            QLocalSocket socket;
            socket.connectToServer(path);
            if (!socket.waitForConnected(1500))
                return QByteArray("no connection");
            socket.write(line);
            socket.waitForBytesWritten(1500);
            QByteArray reply;
            while (!reply.contains('\n') && socket.waitForReadyRead(1500))
                reply += socket.readAll();
            return reply;
        });
        const auto reply = RemoteProtocol::decodeReply(serveUntil(answer));
        ASSERT_TRUE(reply.has_value()) << line.left(40).constData();
        EXPECT_EQ(int(reply->result), int(RemoteReply::Result::refused));
    }
    EXPECT_EQ(requests, 0);
}

TEST(SingleInstance, NobodyListeningMeansNoForwarding)
{
    QTemporaryDir dir;
    SingleInstance lonely(dir.filePath("nobody.sock"));
    EXPECT_FALSE(lonely.forwardToRunningInstance());
}

} // namespace
