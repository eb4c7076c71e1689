#pragma once

#include "capture/scrollingflow/ScrollingCaptureRun.h"

#include <QImage>
#include <QObject>
#include <QPointer>
#include <QScreen>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class CaptureHost;
class CaptureService;
class EditorLauncher;
class RegionSelectorSlot;
class ScreenEnvironment;
class ScrollingCaptureHUDController;

// A scrolling capture: the main window steps aside, the user selects the region on the
// live screen, the loop grabs and stitches while the content scrolls (by itself or by the
// user's hand) with the HUD showing progress, and the long image is saved, copied,
// recorded and opened in the editor. GUI thread only.
class ScrollingCaptureFlow : public QObject {
    Q_OBJECT
public:
    static inline const QString selectingText = QStringLiteral("Chọn vùng nội dung cần chụp cuộn…");
    static inline const QString runningText =
        QStringLiteral("Đang chụp cuộn… Website tự cuộn; app desktop tự cuộn bằng tay");
    static inline const QString doneText = QStringLiteral("Đã ghép xong ảnh cuộn");
    static inline const QString cancelledText = QStringLiteral("Đã hủy chụp cuộn");
    static inline const QString webPrompt =
        QStringLiteral("Website sẽ tự cuộn  •  Chọn vùng nội dung trang web  •  Esc để hủy");
    static inline const QString manualPrompt =
        QStringLiteral("App desktop: tự cuộn bằng tay  •  Enter hoàn tất  •  Esc hủy");
    static inline const QString filePrefix = QStringLiteral("ScrollingCapture");
    static constexpr std::chrono::milliseconds completeDisplay{700};

    struct Services {
        CaptureHost &host;
        CaptureService &service;
        RegionSelectorSlot &selector;
        const ScreenEnvironment &screens;
        EditorLauncher &editor;
        ScrollingCaptureRun::Services run;
    };

    explicit ScrollingCaptureFlow(Services services, QObject *parent = nullptr);
    ~ScrollingCaptureFlow() override;

    // Ignored while the loop of an earlier capture is still running.
    void captureScrollingScreenshot(bool automaticWeb);
    bool isRunning() const { return !m_run.isNull(); }
    ScrollingCaptureHUDController *hud() const { return m_hud.get(); }

    // Region prompt, loop and HUD; the completion gets the image (or nothing) and the
    // screen the capture was on.
    void takeScrollingScreenshot(bool automaticWeb,
                                 std::function<void(std::optional<QImage>, QScreen *)> completion);

signals:
    // Once per captureScrollingScreenshot(): the saved file, or empty when nothing was saved.
    void ended(const QString &savedPath);

private:
    void regionChosen(std::optional<QRectF> rect, QScreen *screen, bool automaticWeb,
                      std::function<void(std::optional<QImage>, QScreen *)> completion);
    void captured(std::optional<QImage> image, bool wasVisible, QScreen *screen);
    void editingFinished(const std::optional<QImage> &edited, const QString &path);

    Services m_;
    std::unique_ptr<ScrollingCaptureHUDController> m_hud;
    QPointer<ScrollingCaptureRun> m_run;
};
