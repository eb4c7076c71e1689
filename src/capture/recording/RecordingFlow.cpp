#include "capture/recording/RecordingFlow.h"

#include "capture/library/CaptureHost.h"
#include "capture/library/CaptureService.h"
#include "capture/recording/InterruptedRecordings.h"
#include "capture/recording/RecordingHUDController.h"
#include "capture/recording/RecordingSetup.h"
#include "capture/selector/RegionSelectorSlot.h"
#include "platform/ScreenEnvironment.h"
#include "platform/ScreenGrabber.h"
#include "platform/WindowExitWatcher.h"
#include "storage/CaptureFileNaming.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

RecordingFlow::RecordingFlow(Services services, QObject *parent) : QObject(parent), m_(services) {}

RecordingFlow::~RecordingFlow() = default;

void RecordingFlow::toggleVideo()
{
    if (isRecording()) {
        stopVideo();
        return;
    }
    m_.host.hideWindow();
    m_.service.report(selectingText);
    QPointer<RecordingFlow> self(this);
    m_.windowExits.whenGone(hideDelay, [self] {
        if (self)
            self->startVideo();
    });
}

void RecordingFlow::startVideo()
{
    if (isRecording()) {
        stopVideo();
        return;
    }
    m_.service.report(selectingText);
    // Without a compositor a see-through window shows black, so the selector shows a
    // still of the screen as it is now; the recording itself is of the live screen.
    QScreen *screen = m_.screens.screenUnderCursor();
    const QImage still = screen ? m_.grabber.grabScreen(screen) : QImage();
    QPointer<RecordingFlow> self(this);
    m_.selector.open(prompt, screen, still, [self](std::optional<QRectF> rect, QScreen *chosen) {
        if (!self)
            return;
        self->m_.selector.dismiss();
        self->regionChosen(rect, chosen);
    }, [self] {
        if (self)
            emit self->ended({});
    });
}

void RecordingFlow::regionChosen(std::optional<QRectF> region, QScreen *screen)
{
    if (!region || !screen) {
        m_.service.report(cancelledText);
        videoFinished(screen);
        emit ended({});
        return;
    }
    m_.service.report(preparingText);
    if (const auto error = beginVideo(*region, screen)) {
        m_.service.report(startFailedPrefix + error->description);
        videoFinished(screen);
        emit ended({});
    }
}

std::optional<RecordingError> RecordingFlow::beginVideo(const QRectF &region, QScreen *screen)
{
    if (!screen)
        return RecordingError{QStringLiteral("Vistrel"), 30, QStringLiteral("Không tìm thấy màn hình đã chọn")};
    const QString folder = RecordingSetup::folder(m_.service.rootFolder());
    if (!QDir().mkpath(folder))
        return RecordingError{QStringLiteral("Vistrel"), 31, QStringLiteral("Không thể tạo thư mục ") + folder};
    const QString path = CaptureFileNaming::freePath(folder, QStringLiteral("Recording"), QStringLiteral("mp4"));
    const StreamConfiguration configuration =
        RecordingSetup::streamConfiguration(region, QRectF(screen->geometry()), screen->devicePixelRatio());

    auto created = m_.backend.create(configuration, path);
    if (auto *error = std::get_if<RecordingError>(&created))
        return *error;
    m_recorder = std::make_unique<ScreenVideoRecorder>(std::move(std::get<RecordingPipeline>(created)), path);
    InterruptedRecordings::begin(path);
    QPointer<RecordingFlow> self(this);
    QPointer<QScreen> recordedScreen(screen);
    const auto startError = m_recorder->start([self, recordedScreen](const ScreenVideoRecorder::Result &result) {
        if (self)
            self->recordingFinished(result, recordedScreen);
    });
    if (startError) {
        m_recorder.reset();
        QFile::remove(path);
        InterruptedRecordings::end(path);
        return startError;
    }
    m_hud = std::make_unique<RecordingHUDController>(screen, [self] {
        if (self)
            self->stopVideo();
    });
    m_hud->show();
    m_.service.report(recordingText);
    return std::nullopt;
}

void RecordingFlow::stopVideo()
{
    if (!m_recorder)
        return;
    m_.service.report(finishingText);
    if (m_hud) {
        m_hud->close();
        // The click that got here may still be on the stack of the HUD's button.
        m_hud.release()->deleteLater();
    }
    m_recorder->stop();
}

void RecordingFlow::recordingFinished(const ScreenVideoRecorder::Result &result, QScreen *screen)
{
    const QString path = m_recorder ? m_recorder->outputPath() : QString();
    // This runs inside the recorder's own delivery; it goes once that has returned.
    if (m_recorder)
        m_recorder.release()->deleteLater();
    if (m_hud) {
        m_hud->close();
        m_hud.release()->deleteLater();
    }
    QString saved;
    if (const auto *error = std::get_if<RecordingError>(&result)) {
        QFile::remove(path);
        m_.service.report(failedPrefix + error->description);
    } else {
        saved = std::get<QString>(result);
        m_.service.addVideo(saved);
        m_.service.report(savedPrefix + QFileInfo(saved).fileName());
    }
    InterruptedRecordings::end(path);
    videoFinished(screen);
    emit ended(saved);
}

void RecordingFlow::videoFinished(QScreen *screen)
{
    if (m_.service.onVideoFinished)
        m_.service.onVideoFinished(screen);
}

void RecordingFlow::recoverInterrupted()
{
    const QStringList recovered =
        InterruptedRecordings::recover(RecordingSetup::folder(m_.service.rootFolder()), m_.backend);
    for (const QString &path : recovered)
        m_.service.addVideo(path);
}
