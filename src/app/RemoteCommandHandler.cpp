#include "app/RemoteCommandHandler.h"

RemoteCommandHandler::RemoteCommandHandler(Actions actions, QObject *parent)
    : QObject(parent), m_actions(std::move(actions))
{
}

void RemoteCommandHandler::waitFor(CaptureCoordinator::Flow flow, Reply reply)
{
    // Listed before the flow starts: a flow may end before the call that started it returns.
    m_waiters.append({flow, std::move(reply)});
}

void RemoteCommandHandler::handle(RemoteCommand command, Reply reply)
{
    using Flow = CaptureCoordinator::Flow;
    using Kind = BridgeCommand::Kind;
    switch (command) {
    case RemoteCommand::screenshot:
        waitFor(Flow::screenshot, std::move(reply));
        m_actions.route(BridgeCommand::of(Kind::screenshot));
        return;
    case RemoteCommand::scroll:
        waitFor(Flow::scrolling, std::move(reply));
        m_actions.route(BridgeCommand::of(Kind::scrollingScreenshot));
        return;
    case RemoteCommand::scrollManual:
        waitFor(Flow::scrolling, std::move(reply));
        m_actions.scrollingApplication();
        return;
    case RemoteCommand::record:
        // A toggle: the command that starts a recording and the one that stops it both
        // answer when it ends, with the same file.
        waitFor(Flow::recording, std::move(reply));
        m_actions.route(BridgeCommand::of(Kind::video));
        return;
    case RemoteCommand::show:
        m_actions.openMain();
        reply({});
        return;
    case RemoteCommand::mappingOn:
    case RemoteCommand::mappingOff:
        if (m_actions.setMapping(command == RemoteCommand::mappingOn))
            reply({});
        else
            reply({RemoteReply::Result::failed, {}, mappingPendingText});
        return;
    case RemoteCommand::quit:
        // The mapping is removed before this returns; the event loop ends after the answer.
        m_actions.quit();
        reply({});
        return;
    }
}

void RemoteCommandHandler::captureEnded(CaptureCoordinator::Flow flow, const QString &savedPath)
{
    const RemoteReply answer = savedPath.isEmpty() ? RemoteReply{RemoteReply::Result::cancelled, {}, {}}
                                                   : RemoteReply{RemoteReply::Result::saved, savedPath, {}};
    // Answered replies may start another command; take this flow's waiters out first.
    QList<Waiter> ended;
    for (auto it = m_waiters.begin(); it != m_waiters.end();) {
        if (it->flow == flow) {
            ended.append(std::move(*it));
            it = m_waiters.erase(it);
        } else {
            ++it;
        }
    }
    for (const Waiter &waiter : ended)
        waiter.reply(answer);
}
