#pragma once

#include <QByteArray>
#include <QImage>
#include <QObject>
#include <QString>
#include <functional>
#include <optional>

class ClipboardWriter;
class HistoryDatabase;
class QScreen;

// Saving, overwriting and copying of captures, their history rows, and the status channel
// through which every capture flow reports to the main window. GUI thread only.
class CaptureService : public QObject {
    Q_OBJECT
public:
    // Status texts, exactly as the user sees them.
    static inline const QString savedPrefix = QStringLiteral("Đã lưu và sao chép: ");
    static inline const QString replacedPrefix = QStringLiteral("Đã cập nhật và sao chép: ");

    // rootFolder: the documents folder; desktopFolder: where screenshots are saved.
    // The database and the clipboard must outlive the service.
    CaptureService(HistoryDatabase &database, ClipboardWriter &clipboard, QString rootFolder,
                   QString desktopFolder, QObject *parent = nullptr);

    std::function<void(const QString &)> onStatus;
    std::function<void()> onHistoryChanged;
    std::function<void(QScreen *)> onVideoFinished;

    QString rootFolder() const { return m_rootFolder; }
    QString desktopFolder() const { return m_desktopFolder; }

    // Writes a new PNG on the Desktop, copies it, records it and reports it.
    // The saved file's path, or nothing when encoding or writing failed.
    std::optional<QString> saveScreenshot(const QImage &image,
                                          const QString &prefix = QStringLiteral("Screenshot"));
    // Overwrites an existing capture file, copies and reports it; adds no history row.
    bool replaceScreenshot(const QImage &image, const QString &path);
    // One clipboard entry with PNG and TIFF of the image; pngData saves encoding it again.
    bool copyImageToPasteboard(const QImage &image, const QByteArray &pngData = {});
    // The file itself, as a file manager pastes it.
    bool copyFileToPasteboard(const QString &path);

    // A finished recording's history row; the list reloads.
    void addVideo(const QString &path);

    // Sends a status text to the main window.
    void report(const QString &text);

private:
    HistoryDatabase &m_database;
    ClipboardWriter &m_clipboard;
    QString m_rootFolder;
    QString m_desktopFolder;
};
