#pragma once

#include <QImage>
#include <QString>

class QScreen;

// What the screenshot flow needs of the main window.
class CaptureHost {
public:
    virtual ~CaptureHost() = default;
    virtual bool isWindowVisible() const = 0;
    virtual void hideWindow() = 0;
    // Centres the window on screen (when given), shows it, brings it to front, activates.
    virtual void showWindowCentredOn(QScreen *screen) = 0;
    virtual QString status() const = 0;
    virtual void setStatus(const QString &text) = 0;
    // Opens the image editor on a capture just saved at savedPath. The editor hands its
    // result to ScreenshotFlow::editingFinished. Until there is an editor, nothing opens.
    virtual void openEditor(const QImage &image, QScreen *screen, const QString &savedPath)
    {
        Q_UNUSED(image) Q_UNUSED(screen) Q_UNUSED(savedPath)
    }
};
