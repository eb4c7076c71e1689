#pragma once

#include "app/CaptureCoordinator.h"
#include "app/RemoteProtocol.h"
#include "keyboard/BridgeCommand.h"

#include <QList>
#include <QObject>
#include <functional>

// Carries out the command line's commands inside the running app, by the same paths as the
// hot keys and the tray menu, and answers each one: at once, or for a capture when its flow
// has ended. GUI thread only.
class RemoteCommandHandler : public QObject {
    Q_OBJECT
public:
    using Reply = std::function<void(const RemoteReply &)>;

    struct Actions {
        std::function<void(const BridgeCommand &)> route;   // the hot keys' path
        std::function<void()> scrollingApplication;         // the tray menu's hand-scrolled capture
        std::function<void()> openMain;
        // Windows Mode on or off as the bridge toggle does it; true when it is then in force
        // (on) or removed (off).
        std::function<bool(bool on)> setMapping;
        std::function<void()> quit;
    };

    static inline const QString mappingPendingText =
        QStringLiteral("Windows Mode is on but not in force yet; Vistrel retries every 2 seconds");

    explicit RemoteCommandHandler(Actions actions, QObject *parent = nullptr);

    void handle(RemoteCommand command, Reply reply);
    // Connected to CaptureCoordinator::captureEnded: answers everyone waiting on that flow.
    void captureEnded(CaptureCoordinator::Flow flow, const QString &savedPath);

private:
    struct Waiter {
        CaptureCoordinator::Flow flow;
        Reply reply;
    };

    void waitFor(CaptureCoordinator::Flow flow, Reply reply);

    Actions m_actions;
    QList<Waiter> m_waiters;
};
