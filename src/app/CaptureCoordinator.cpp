#include "app/CaptureCoordinator.h"

#include "capture/library/CaptureService.h"
#include "platform/ScreenEnvironment.h"

#include <QPointer>
#include <QTimer>

CaptureCoordinator::CaptureCoordinator(Services services, QObject *parent)
    : QObject(parent),
      m_service(services.service),
      m_screens(services.screens),
      m_selector(services.screens),
      m_editors(services.clipboard, services.windowExits),
      m_screenshot({services.host, services.service, m_selector, services.grabber, services.screens,
                    services.windowExits, m_editors}),
      m_scrolling({services.host, services.service, m_selector, services.screens, m_editors,
                   {services.grabber, services.applications, services.windowList, services.pointer,
                    services.keyState}}),
      m_recording({services.host, services.service, m_selector, services.grabber, services.screens,
                   services.windowExits, services.recording})
{
    connect(&m_screenshot, &ScreenshotFlow::ended, this,
            [this](const QString &path) { emit captureEnded(Flow::screenshot, path); });
    connect(&m_scrolling, &ScrollingCaptureFlow::ended, this,
            [this](const QString &path) { emit captureEnded(Flow::scrolling, path); });
    connect(&m_recording, &RecordingFlow::ended, this,
            [this](const QString &path) { emit captureEnded(Flow::recording, path); });
    // A recording the last run could not finish is finished once the window is up.
    QTimer::singleShot(0, &m_recording, &RecordingFlow::recoverInterrupted);
}

CaptureCoordinator::~CaptureCoordinator() = default;

void CaptureCoordinator::captureScreenshot()
{
    m_screenshot.captureScreenshot();
}

void CaptureCoordinator::editCapture(const QString &path, const QImage &image)
{
    QPointer<CaptureService> service(&m_service);
    m_editors.openEditor(image, m_screens.screenUnderCursor(), [service, path](std::optional<QImage> edited) {
        // A failed overwrite says nothing here; the capture's own file stays as it was.
        if (service && edited)
            service->replaceScreenshot(*edited, path);
    });
}

void CaptureCoordinator::captureScrollingScreenshot(bool automaticWeb)
{
    m_scrolling.captureScrollingScreenshot(automaticWeb);
}

void CaptureCoordinator::finishRecording(std::function<void()> done)
{
    if (!m_recording.isRecording()) {
        done();
        return;
    }
    connect(&m_recording, &RecordingFlow::ended, this, [done = std::move(done)] { done(); },
            Qt::SingleShotConnection);
    m_recording.stopVideo();
}

void CaptureCoordinator::toggleVideo()
{
    m_recording.toggleVideo();
}
