#include "app/CaptureCoordinator.h"

CaptureCoordinator::CaptureCoordinator(Services services, QObject *parent)
    : QObject(parent),
      m_selector(services.screens),
      m_editors(services.clipboard, services.windowExits),
      m_screenshot({services.host, services.service, m_selector, services.grabber, services.screens,
                    services.windowExits, m_editors})
{
}

CaptureCoordinator::~CaptureCoordinator() = default;

void CaptureCoordinator::captureScreenshot()
{
    m_screenshot.captureScreenshot();
}

void CaptureCoordinator::captureScrollingScreenshot(bool)
{
}

void CaptureCoordinator::toggleVideo()
{
}
