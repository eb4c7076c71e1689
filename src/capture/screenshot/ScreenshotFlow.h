#pragma once

#include <QImage>
#include <QObject>
#include <QPointer>
#include <QRectF>
#include <QScreen>
#include <QString>
#include <chrono>
#include <functional>
#include <optional>

class CaptureHost;
class CaptureService;
class EditorLauncher;
class RegionSelectorSlot;
class ScreenEnvironment;
class ScreenGrabber;
class WindowExitWatcher;

// A screen and the still image of it, taken when a screenshot starts.
struct FrozenDisplayCapture {
    QPointer<QScreen> screen;
    QImage image;   // device pixels
    QRectF frame;   // the screen's geometry when it was frozen
};

// How a freeze-and-select ended; the status text follows from it.
enum class ScreenshotResult { captured, cancelled, noScreen, grabFailed, cropFailed };

struct ScreenshotOutcome {
    ScreenshotResult result = ScreenshotResult::cancelled;
    QImage image;              // the cut region at device pixels; captured only
    QPointer<QScreen> screen;  // given whenever one was known
};

// A region screenshot: the main window steps aside, the screen under the pointer is
// frozen, the user selects a region on it, the cut is saved, copied and recorded, and the
// editor opens on it; saving there overwrites the file. GUI thread only.
class ScreenshotFlow : public QObject {
    Q_OBJECT
public:
    static inline const QString selectingText = QStringLiteral("Đang chọn vùng chụp…");
    static inline const QString noScreenText = QStringLiteral("Không tìm thấy màn hình để chụp");
    static inline const QString grabFailedText =
        QStringLiteral("Không thể chụp màn hình. Hãy kiểm tra quyền Ghi màn hình.");
    static inline const QString cancelledText = QStringLiteral("Đã hủy chụp màn hình");
    static inline const QString cropFailedText = QStringLiteral("Không thể cắt vùng ảnh đã chọn");
    static inline const QString editSaveFailedText = QStringLiteral("Không thể lưu ảnh đã chỉnh sửa");
    static inline const QString prompt = QStringLiteral("Kéo chuột để chọn vùng chụp  •  Esc để hủy");
    static constexpr std::chrono::milliseconds hideTimeout{300};

    struct Services {
        CaptureHost &host;
        CaptureService &service;
        RegionSelectorSlot &selector;
        ScreenGrabber &grabber;
        const ScreenEnvironment &screens;
        WindowExitWatcher &windowExits;
        EditorLauncher &editor;
    };

    explicit ScreenshotFlow(Services services, QObject *parent = nullptr);

    void captureScreenshot();

    // Freezes the screen under the pointer, lets the user select on it and cuts the region
    // out. The completion runs once, unless another selector replaces this one first.
    void takeScreenshot(std::function<void(const ScreenshotOutcome &)> completion);

    // The status text an unsuccessful outcome leaves.
    static QString statusText(ScreenshotResult result);

signals:
    // Once per captureScreenshot(): the saved file, or empty when nothing was saved.
    void ended(const QString &savedPath);

private:
    void screenshotTaken(const ScreenshotOutcome &outcome, bool wasVisible);
    void editingFinished(const std::optional<QImage> &edited, const QString &path);

    Services m_;
};
