#include "capture/scrollingflow/ScrollingCaptureFlow.h"

#include "capture/library/CaptureHost.h"
#include "capture/library/CaptureService.h"
#include "capture/library/EditorLauncher.h"
#include "capture/scrollingflow/ScrollingCaptureHUDController.h"
#include "capture/selector/RegionSelectorSlot.h"
#include "platform/ScreenEnvironment.h"

#include <QGuiApplication>
#include <QTimer>

ScrollingCaptureFlow::ScrollingCaptureFlow(Services services, QObject *parent)
    : QObject(parent), m_(services)
{
}

ScrollingCaptureFlow::~ScrollingCaptureFlow()
{
    delete m_run.data();   // stops the loop and waits for its thread
}

void ScrollingCaptureFlow::captureScrollingScreenshot(bool automaticWeb)
{
    if (isRunning())
        return;
    const bool wasVisible = m_.host.isWindowVisible();
    m_.host.hideWindow();
    m_.service.report(selectingText);
    QPointer<ScrollingCaptureFlow> self(this);
    QTimer::singleShot(0, this, [self, automaticWeb, wasVisible] {
        if (!self)
            return;
        self->takeScrollingScreenshot(automaticWeb, [self, wasVisible](std::optional<QImage> image, QScreen *screen) {
            if (self)
                self->captured(std::move(image), wasVisible, screen);
        });
    });
}

void ScrollingCaptureFlow::takeScrollingScreenshot(bool automaticWeb,
                                                   std::function<void(std::optional<QImage>, QScreen *)> completion)
{
    QScreen *screen = m_.screens.screenUnderCursor();
    if (!screen && !m_.screens.screens().isEmpty())
        screen = m_.screens.screens().first();
    if (!screen) {
        completion(std::nullopt, nullptr);
        return;
    }
    QPointer<ScrollingCaptureFlow> self(this);
    m_.selector.open(automaticWeb ? webPrompt : manualPrompt, screen, QImage(),
                     [self, automaticWeb, completion](std::optional<QRectF> rect, QScreen *chosen) {
                         if (self)
                             self->regionChosen(rect, chosen, automaticWeb, completion);
                     },
                     [self] {
                         if (self)
                             emit self->ended({});
                     });
}

void ScrollingCaptureFlow::regionChosen(std::optional<QRectF> rect, QScreen *screen, bool automaticWeb,
                                        std::function<void(std::optional<QImage>, QScreen *)> completion)
{
    m_.selector.dismiss();
    if (!rect || !screen) {
        m_.service.report(cancelledText);
        completion(std::nullopt, screen);
        return;
    }
    m_.service.report(runningText);
    m_hud = std::make_unique<ScrollingCaptureHUDController>(screen, *rect);
    m_hud->show();
    auto counter = std::make_shared<int>(0);
    QPointer<ScrollingCaptureFlow> self(this);
    QPointer<QScreen> target(screen);
    auto report = [self, counter](int count, bool manual) {
        *counter = count;
        if (self && self->m_hud)
            self->m_hud->update(count, manual);
    };
    auto finished = [self, counter, target, completion](std::optional<QImage> image) {
        if (!self)
            return;
        if (self->m_run)
            self->m_run->deleteLater();
        self->m_run = nullptr;
        auto close = [self, target, completion, image] {
            if (!self)
                return;
            if (self->m_hud)
                self->m_hud->close();
            self->m_hud.reset();
            self->m_.service.report(image ? doneText : cancelledText);
            completion(image, target);
        };
        if (image && self->m_hud) {
            self->m_hud->complete(*counter);
            QTimer::singleShot(completeDisplay, self, close);
        } else {
            close();
        }
    };
    m_run = new ScrollingCaptureRun(m_.run, screen, *rect, automaticWeb, report, finished, this);
    m_run->start();
}

void ScrollingCaptureFlow::captured(std::optional<QImage> image, bool wasVisible, QScreen *screen)
{
    if (!image) {
        if (wasVisible)
            m_.host.showWindowCentredOn(screen);
        emit ended({});
        return;
    }
    const auto path = m_.service.saveScreenshot(*image, filePrefix);
    emit ended(path.value_or(QString()));
    if (!path)
        return;
    QPointer<ScrollingCaptureFlow> self(this);
    m_.editor.openEditor(*image, screen, [self, path = *path](std::optional<QImage> edited) {
        if (self)
            self->editingFinished(edited, path);
    });
}

void ScrollingCaptureFlow::editingFinished(const std::optional<QImage> &edited, const QString &path)
{
    if (!edited || edited->isNull())
        return;
    if (!m_.service.replaceScreenshot(*edited, path))
        m_.service.copyImageToPasteboard(*edited);
}
