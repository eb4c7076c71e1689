#pragma once

#include <QProcess>
#include <QString>

// A private X server for tests that need a real display. The server picks a free
// display number itself (-displayfd), so suites can run in parallel.
class XvfbServer {
public:
    explicit XvfbServer(const QString &screenGeometry = QStringLiteral("1280x800x24"),
                        const QStringList &extraArguments = {});
    ~XvfbServer();
    XvfbServer(const XvfbServer &) = delete;
    XvfbServer &operator=(const XvfbServer &) = delete;

    bool isRunning() const { return !m_display.isEmpty(); }
    QString display() const { return m_display; }   // ":N"

private:
    QProcess m_process;
    QString m_display;
};
