#include "capture/screenshot/ScreenshotFlow.h"

#include "capture/library/CaptureHost.h"
#include "capture/library/CaptureService.h"
#include "capture/library/EditorLauncher.h"
#include "capture/screenshot/ScreenshotCrop.h"
#include "capture/selector/RegionSelectorSlot.h"
#include "platform/ScreenEnvironment.h"
#include "platform/ScreenGrabber.h"
#include "platform/WindowExitWatcher.h"

ScreenshotFlow::ScreenshotFlow(Services services, QObject *parent)
    : QObject(parent), m_(services)
{
}

QString ScreenshotFlow::statusText(ScreenshotResult result)
{
    switch (result) {
    case ScreenshotResult::captured: return {};
    case ScreenshotResult::cancelled: return cancelledText;
    case ScreenshotResult::noScreen: return noScreenText;
    case ScreenshotResult::grabFailed: return grabFailedText;
    case ScreenshotResult::cropFailed: return cropFailedText;
    }
    return {};
}

void ScreenshotFlow::captureScreenshot()
{
    const bool wasVisible = m_.host.isWindowVisible();
    m_.host.hideWindow();
    m_.service.report(selectingText);
    // Freeze only once the window and its frame are off the screen, or the picture shows
    // them; a window manager that never answers holds the capture up for the bound at most.
    QPointer<ScreenshotFlow> self(this);
    m_.windowExits.whenGone(hideTimeout, [self, wasVisible] {
        if (!self)
            return;
        self->takeScreenshot([self, wasVisible](const ScreenshotOutcome &outcome) {
            if (self)
                self->screenshotTaken(outcome, wasVisible);
        });
    });
}

void ScreenshotFlow::takeScreenshot(std::function<void(const ScreenshotOutcome &)> completion)
{
    QScreen *screen = m_.screens.screenUnderCursor();
    if (!screen) {
        completion({ScreenshotResult::noScreen, {}, nullptr});
        return;
    }
    const FrozenDisplayCapture frozen{screen, m_.grabber.grabScreen(screen), QRectF(screen->geometry())};
    if (frozen.image.isNull()) {
        completion({ScreenshotResult::grabFailed, {}, screen});
        return;
    }
    QPointer<ScreenshotFlow> self(this);
    m_.selector.open(prompt, screen, frozen.image,
                     [self, frozen, completion](std::optional<QRectF> rect, QScreen *chosen) {
                         if (!self)
                             return;
                         self->m_.selector.dismiss();
                         if (!rect || !chosen) {
                             completion({ScreenshotResult::cancelled, {}, chosen});
                             return;
                         }
                         // Cut from the frozen screen, whichever screen the selector ended on.
                         const auto cropped = ScreenshotCrop::crop(frozen.image, frozen.frame, *rect);
                         if (!cropped)
                             completion({ScreenshotResult::cropFailed, {}, chosen});
                         else
                             completion({ScreenshotResult::captured, cropped->image, chosen});
                     },
                     [self] {
                         if (self)
                             emit self->ended({});
                     });
}

void ScreenshotFlow::screenshotTaken(const ScreenshotOutcome &outcome, bool wasVisible)
{
    if (outcome.result == ScreenshotResult::captured) {
        const auto path = m_.service.saveScreenshot(outcome.image);
        emit ended(path.value_or(QString()));
        // A failed save reports nothing more and leaves the window hidden.
        if (!path)
            return;
        QPointer<ScreenshotFlow> self(this);
        m_.editor.openEditor(outcome.image, outcome.screen,
                             [self, path = *path](std::optional<QImage> edited) {
                                 if (self)
                                     self->editingFinished(edited, path);
                             });
        return;
    }
    m_.service.report(statusText(outcome.result));
    if (wasVisible)
        m_.host.showWindowCentredOn(outcome.screen);
    emit ended({});
}

void ScreenshotFlow::editingFinished(const std::optional<QImage> &edited, const QString &path)
{
    if (!edited || edited->isNull())
        return;
    if (!m_.service.replaceScreenshot(*edited, path)) {
        m_.service.copyImageToPasteboard(*edited);
        m_.service.report(editSaveFailedText);
    }
}
