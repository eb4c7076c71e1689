#pragma once

#include <QImage>
#include <QObject>
#include <QString>

class CaptureHost;
class CaptureService;
class QScreen;

// The main window's side of a region screenshot: hide the window, let the service freeze
// and select, then save and hand over to the editor, or bring the window back when the
// capture came to nothing. GUI thread only.
class ScreenshotFlow : public QObject {
    Q_OBJECT
public:
    static inline const QString editSaveFailedText =
        QStringLiteral("Không thể lưu ảnh đã chỉnh sửa");

    ScreenshotFlow(CaptureHost &host, CaptureService &service, QObject *parent = nullptr);

    void captureScreenshot();

    // The editor's single answer for a capture saved at path: the edited image, or a null
    // image when the editor closed without saving.
    void editingFinished(const QImage &edited, const QString &path);

private:
    void screenshotTaken(const QImage &image, QScreen *screen, bool wasVisible);

    CaptureHost &m_host;
    CaptureService &m_service;
};
