#pragma once

#include <QObject>
#include <QString>
#include <functional>

class HistoryDatabase;
class QScreen;

// Owns saving, copying and recording of captures, and the status channel through which
// every capture flow reports to the main window. GUI thread only.
class CaptureService : public QObject {
    Q_OBJECT
public:
    CaptureService(HistoryDatabase &database, QString rootFolder, QObject *parent = nullptr);

    std::function<void(const QString &)> onStatus;
    std::function<void()> onHistoryChanged;
    std::function<void(QScreen *)> onVideoFinished;

    QString rootFolder() const { return m_rootFolder; }
    bool isRecording() const { return false; }

private:
    void report(const QString &text);

    HistoryDatabase &m_database;
    QString m_rootFolder;
};
