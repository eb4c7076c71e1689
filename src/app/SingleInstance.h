#pragma once

#include <QObject>
#include <QString>
#include <functional>

class QLocalServer;

// One running copy per executable path and display. A second launch hands "reopen" to
// the first and ends before it creates anything.
class SingleInstance : public QObject {
    Q_OBJECT
public:
    explicit SingleInstance(QString serverPath, QObject *parent = nullptr);
    ~SingleInstance() override;

    // The socket path for this executable on this display, inside the runtime folder.
    static QString defaultServerPath();

    // True when another instance answered and took the reopen request.
    bool forwardToRunningInstance();
    // Starts answering later launches; each one calls onReopen on the GUI thread.
    bool listen();

    std::function<void()> onReopen;

private:
    QString m_serverPath;
    QLocalServer *m_server = nullptr;
};
