#include "app/RemoteCommandHandler.h"

#include <gtest/gtest.h>

namespace {

using Flow = CaptureCoordinator::Flow;
using Result = RemoteReply::Result;
using K = BridgeCommand::Kind;

QString routed(K kind) { return QStringLiteral("route %1").arg(int(kind)); }

// Records, in order, what the handler asked of the app and what it answered.
struct App {
    QStringList calls;
    bool mappingInForce = true;
    bool screenshotEndsAtOnce = false;   // no screen under the pointer
    QList<RemoteReply> replies;
    RemoteCommandHandler handler{{
        [this](const BridgeCommand &c) {
            calls.append(routed(c.kind));
            if (screenshotEndsAtOnce)
                handler.captureEnded(Flow::screenshot, {});
        },
        [this] { calls.append("scrollingApplication"); },
        [this] { calls.append("openMain"); },
        [this](bool on) { calls.append(on ? "mapping on" : "mapping off"); return mappingInForce; },
        [this] { calls.append("quit"); },
    }};
    void handle(RemoteCommand command) { handler.handle(command, [this](const RemoteReply &r) { replies.append(r); }); }
};

TEST(RemoteCommandHandler, CapturesTakeTheHotKeyPathAndAnswerWhenTheirOwnFlowEnds)
{
    const std::tuple<RemoteCommand, QString, Flow> cases[] = {
        {RemoteCommand::screenshot, routed(K::screenshot), Flow::screenshot},
        {RemoteCommand::scroll, routed(K::scrollingScreenshot), Flow::scrolling},
        {RemoteCommand::scrollManual, "scrollingApplication", Flow::scrolling},
        {RemoteCommand::record, routed(K::video), Flow::recording},
    };
    for (const auto &[command, call, flow] : cases) {
        for (const QString &saved : {QStringLiteral("/d/Capture.png"), QString()}) {
            SCOPED_TRACE(call.toStdString() + " saved=" + saved.toStdString());
            App app;
            app.handle(command);
            EXPECT_EQ(app.calls, QStringList{call});
            // Other flows ending leave this command waiting.
            for (Flow other : {Flow::screenshot, Flow::scrolling, Flow::recording})
                if (other != flow)
                    app.handler.captureEnded(other, "/d/other.png");
            EXPECT_TRUE(app.replies.isEmpty());

            app.handler.captureEnded(flow, saved);
            // Answered once: a later capture of the same kind is someone else's.
            app.handler.captureEnded(flow, "/d/later.png");
            const RemoteReply expected{saved.isEmpty() ? Result::cancelled : Result::saved, saved, {}};
            EXPECT_TRUE((app.replies == QList<RemoteReply>{expected}));
        }
    }
    // Both halves of a recording toggle get the recording; a capture may end inside the call that started it.
    App app;
    app.handle(RemoteCommand::record);
    app.handle(RemoteCommand::record);
    EXPECT_EQ(app.calls, QStringList(2, routed(K::video)));
    app.handler.captureEnded(Flow::recording, "/v/Recording.mp4");
    app.screenshotEndsAtOnce = true;
    app.handle(RemoteCommand::screenshot);
    EXPECT_TRUE((app.replies == QList<RemoteReply>{{Result::saved, "/v/Recording.mp4", {}},
                                                   {Result::saved, "/v/Recording.mp4", {}}, {Result::cancelled, {}, {}}}));
}

TEST(RemoteCommandHandler, OtherCommandsAnswerAtOnce)
{
    const std::tuple<RemoteCommand, bool, QString, Result> cases[] = {
        {RemoteCommand::show, true, "openMain", Result::done},
        {RemoteCommand::mappingOn, true, "mapping on", Result::done},
        {RemoteCommand::mappingOn, false, "mapping on", Result::failed},
        {RemoteCommand::mappingOff, true, "mapping off", Result::done},
        {RemoteCommand::quit, true, "quit", Result::done},
    };
    for (const auto &[command, inForce, call, result] : cases) {
        SCOPED_TRACE(call.toStdString());
        App app;
        app.mappingInForce = inForce;
        app.handle(command);
        EXPECT_EQ(app.calls, QStringList{call});
        ASSERT_EQ(app.replies.size(), 1);
        EXPECT_EQ(int(app.replies.first().result), int(result));
        EXPECT_EQ(app.replies.first().message.isEmpty(), result == Result::done);
    }
}

} // namespace
