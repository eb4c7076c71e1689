#include "app/RemoteCommandHandler.h"

#include <gtest/gtest.h>

namespace {

using Flow = CaptureCoordinator::Flow;
using Result = RemoteReply::Result;

// Records what the handler asked of the app, in order.
struct Recorder {
    QStringList calls;
    bool mappingInForce = true;

    RemoteCommandHandler::Actions actions()
    {
        return {
            [this](const BridgeCommand &c) { calls.append(QStringLiteral("route %1").arg(int(c.kind))); },
            [this] { calls.append(QStringLiteral("scrollingApplication")); },
            [this] { calls.append(QStringLiteral("openMain")); },
            [this](bool on) {
                calls.append(on ? QStringLiteral("mapping on") : QStringLiteral("mapping off"));
                return mappingInForce;
            },
            [this] { calls.append(QStringLiteral("quit")); },
        };
    }
};

QString routed(BridgeCommand::Kind kind)
{
    return QStringLiteral("route %1").arg(int(kind));
}

TEST(RemoteCommandHandler, CapturesTakeTheHotKeyPathAndAnswerWhenTheirOwnFlowEnds)
{
    struct Case {
        RemoteCommand command;
        QString call;
        Flow flow;
    };
    const QList<Case> cases = {
        {RemoteCommand::screenshot, routed(BridgeCommand::Kind::screenshot), Flow::screenshot},
        {RemoteCommand::scroll, routed(BridgeCommand::Kind::scrollingScreenshot), Flow::scrolling},
        {RemoteCommand::scrollManual, QStringLiteral("scrollingApplication"), Flow::scrolling},
        {RemoteCommand::record, routed(BridgeCommand::Kind::video), Flow::recording},
    };
    const QList<Flow> flows = {Flow::screenshot, Flow::scrolling, Flow::recording};
    for (const Case &c : cases) {
        for (const QString &saved : {QStringLiteral("/d/Capture.png"), QString()}) {
            SCOPED_TRACE(c.call.toStdString() + " saved=" + saved.toStdString());
            Recorder app;
            RemoteCommandHandler handler(app.actions());
            QList<RemoteReply> replies;
            handler.handle(c.command, [&](const RemoteReply &r) { replies.append(r); });
            EXPECT_EQ(app.calls, QStringList{c.call});
            EXPECT_TRUE(replies.isEmpty());
            // Other flows ending leave this command waiting.
            for (Flow other : flows)
                if (other != c.flow)
                    handler.captureEnded(other, QStringLiteral("/d/other.png"));
            EXPECT_TRUE(replies.isEmpty());

            handler.captureEnded(c.flow, saved);
            const RemoteReply expected = saved.isEmpty() ? RemoteReply{Result::cancelled, {}, {}}
                                                         : RemoteReply{Result::saved, saved, {}};
            ASSERT_EQ(replies.size(), 1);
            EXPECT_TRUE(replies.first() == expected);
            // Answered once: a later capture of the same kind is someone else's.
            handler.captureEnded(c.flow, QStringLiteral("/d/later.png"));
            EXPECT_EQ(replies.size(), 1);
        }
    }
}

TEST(RemoteCommandHandler, BothHalvesOfARecordingToggleGetTheFile)
{
    Recorder app;
    RemoteCommandHandler handler(app.actions());
    QStringList answers;
    handler.handle(RemoteCommand::record, [&](const RemoteReply &r) { answers.append("start " + r.path); });
    handler.handle(RemoteCommand::record, [&](const RemoteReply &r) { answers.append("stop " + r.path); });
    EXPECT_EQ(app.calls, QStringList(2, routed(BridgeCommand::Kind::video)));
    handler.captureEnded(Flow::recording, QStringLiteral("/v/Recording.mp4"));
    EXPECT_EQ(answers, (QStringList{"start /v/Recording.mp4", "stop /v/Recording.mp4"}));
}

TEST(RemoteCommandHandler, ACaptureThatEndsAtOnceStillAnswers)
{
    Recorder app;
    RemoteCommandHandler *handlerPointer = nullptr;
    RemoteCommandHandler::Actions actions = app.actions();
    // No screen under the pointer: the flow ends inside the call that started it.
    actions.route = [&](const BridgeCommand &) { handlerPointer->captureEnded(Flow::screenshot, {}); };
    RemoteCommandHandler handler(actions);
    handlerPointer = &handler;
    QList<RemoteReply> replies;
    handler.handle(RemoteCommand::screenshot, [&](const RemoteReply &r) { replies.append(r); });
    ASSERT_EQ(replies.size(), 1);
    EXPECT_EQ(int(replies.first().result), int(Result::cancelled));
}

TEST(RemoteCommandHandler, OtherCommandsAnswerAtOnce)
{
    struct Case {
        RemoteCommand command;
        bool mappingInForce;
        QString call;
        Result result;
    };
    const QList<Case> cases = {
        {RemoteCommand::show, true, QStringLiteral("openMain"), Result::done},
        {RemoteCommand::mappingOn, true, QStringLiteral("mapping on"), Result::done},
        {RemoteCommand::mappingOn, false, QStringLiteral("mapping on"), Result::failed},
        {RemoteCommand::mappingOff, true, QStringLiteral("mapping off"), Result::done},
        {RemoteCommand::quit, true, QStringLiteral("quit"), Result::done},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.call.toStdString());
        Recorder app;
        app.mappingInForce = c.mappingInForce;
        RemoteCommandHandler handler(app.actions());
        QList<RemoteReply> replies;
        handler.handle(c.command, [&](const RemoteReply &r) { replies.append(r); });
        EXPECT_EQ(app.calls, QStringList{c.call});
        ASSERT_EQ(replies.size(), 1);
        EXPECT_EQ(int(replies.first().result), int(c.result));
        EXPECT_EQ(replies.first().message.isEmpty(), c.result == Result::done);
    }
}

} // namespace
