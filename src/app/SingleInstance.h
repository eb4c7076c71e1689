#pragma once

#include "app/RemoteProtocol.h"

#include <QObject>
#include <QString>
#include <functional>

class QLocalServer;

// One running copy per executable path and display. A second launch hands "show" to the
// first and ends before it creates anything; the command line sends its commands the same way.
class SingleInstance : public QObject {
    Q_OBJECT
public:
    using Reply = std::function<void(const RemoteReply &)>;

    explicit SingleInstance(QString serverPath, QObject *parent = nullptr);
    ~SingleInstance() override;

    // The socket path for this executable on this display, inside the runtime folder.
    static QString defaultServerPath();

    // True when another instance answered and took the show request.
    bool forwardToRunningInstance();
    // Starts answering later launches and commands; each request reaches onRequest on the
    // GUI thread, whose reply (called once, now or later) goes back to the requester.
    bool listen();

    std::function<void(RemoteCommand, Reply)> onRequest;

private:
    QString m_serverPath;
    QLocalServer *m_server = nullptr;
};
