#pragma once

#include "capture/recording/ScreenVideoRecorder.h"

#include <QObject>
#include <QPointer>
#include <QRectF>
#include <QScreen>
#include <chrono>
#include <memory>

class CaptureHost;
class CaptureService;
class RecordingBackend;
class RecordingHUDController;
class RegionSelectorSlot;
class ScreenEnvironment;
class ScreenGrabber;
class WindowExitWatcher;

// A screen recording: the main window steps aside, the user selects a region, the region
// is recorded with the system sound under a small HUD until stopped, and the file goes
// into the history. GUI thread only; the recorder's own thread is its business.
class RecordingFlow : public QObject {
    Q_OBJECT
public:
    static inline const QString selectingText = QStringLiteral("Đang chọn vùng quay…");
    static inline const QString preparingText = QStringLiteral("Đang chuẩn bị quay màn hình…");
    static inline const QString recordingText = QStringLiteral("Đang quay MP4 + âm thanh…");
    static inline const QString finishingText = QStringLiteral("Đang hoàn tất video…");
    static inline const QString cancelledText = QStringLiteral("Đã hủy quay màn hình");
    static inline const QString startFailedPrefix = QStringLiteral("Không thể quay màn hình: ");
    static inline const QString failedPrefix = QStringLiteral("Quay màn hình thất bại: ");
    static inline const QString savedPrefix = QStringLiteral("Đã lưu: ");
    static inline const QString prompt = QStringLiteral("Kéo chuột để chọn vùng quay  •  Esc để hủy");
    static constexpr std::chrono::milliseconds hideDelay{220};

    struct Services {
        CaptureHost &host;
        CaptureService &service;
        RegionSelectorSlot &selector;
        ScreenGrabber &grabber;
        const ScreenEnvironment &screens;
        WindowExitWatcher &windowExits;
        RecordingBackend &backend;
    };

    explicit RecordingFlow(Services services, QObject *parent = nullptr);
    ~RecordingFlow() override;

    // The video command: stops a running recording, or hides the window and starts one.
    void toggleVideo();
    // Opens the region selector, or stops the running recording.
    void startVideo();
    void stopVideo();
    // Prepares and starts a recording of region on screen; the error when it cannot.
    std::optional<RecordingError> beginVideo(const QRectF &region, QScreen *screen);
    // Finishes recordings a crash interrupted and lists them in the history.
    void recoverInterrupted();

    bool isRecording() const { return m_recorder != nullptr; }
    ScreenVideoRecorder *recorder() const { return m_recorder.get(); }
    RecordingHUDController *hud() const { return m_hud.get(); }

signals:
    // Once per recording that was asked for: the saved file, or empty when none was saved.
    void ended(const QString &savedPath);

private:
    void regionChosen(std::optional<QRectF> region, QScreen *screen);
    void recordingFinished(const ScreenVideoRecorder::Result &result, QScreen *screen);
    void videoFinished(QScreen *screen);

    Services m_;
    std::unique_ptr<ScreenVideoRecorder> m_recorder;
    std::unique_ptr<RecordingHUDController> m_hud;
};
