#include "capture/ScreenshotFlow.h"

#include "capture/CaptureHost.h"
#include "capture/CaptureService.h"

#include <QPointer>
#include <QScreen>
#include <QTimer>

ScreenshotFlow::ScreenshotFlow(CaptureHost &host, CaptureService &service, QObject *parent)
    : QObject(parent), m_host(host), m_service(service)
{
}

void ScreenshotFlow::captureScreenshot()
{
    const bool wasVisible = m_host.isWindowVisible();
    m_host.hideWindow();
    m_service.report(CaptureService::selectingText);
    // One turn of the event loop lets the hide reach the X server before the grab.
    QPointer<ScreenshotFlow> self(this);
    QPointer<CaptureService> service(&m_service);
    QTimer::singleShot(0, this, [self, service, wasVisible] {
        if (!self || !service)
            return;
        service->takeScreenshot([self, wasVisible](const QImage &image, QScreen *screen) {
            if (self)
                self->screenshotTaken(image, screen, wasVisible);
        });
    });
}

void ScreenshotFlow::screenshotTaken(const QImage &image, QScreen *screen, bool wasVisible)
{
    if (!image.isNull()) {
        const auto path = m_service.saveScreenshot(image);
        // A failed save reports nothing more and leaves the window hidden.
        if (path)
            m_host.openEditor(image, screen, *path);
        return;
    }
    // A failure text from the service stays; only a plain cancel is reported here.
    if (m_host.status() == CaptureService::selectingText)
        m_host.setStatus(CaptureService::cancelledText);
    if (wasVisible)
        m_host.showWindowCentredOn(screen);
}

void ScreenshotFlow::editingFinished(const QImage &edited, const QString &path)
{
    if (edited.isNull())
        return;
    if (!m_service.replaceScreenshot(edited, path)) {
        m_service.copyImageToPasteboard(edited);
        m_host.setStatus(editSaveFailedText);
    }
}
