#pragma once

#include <QByteArray>
#include <QImage>
#include <QObject>
#include <QPointer>
#include <QRectF>
#include <QScreen>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

class ClipboardWriter;
class HistoryDatabase;
class RegionSelectorController;
class ScreenEnvironment;
class ScreenGrabber;

// A screen and the still image of it, taken when a screenshot starts.
struct FrozenDisplayCapture {
    QPointer<QScreen> screen;
    QImage image;   // device pixels
};

// Owns saving, copying and recording of captures, the one region selector on screen, and
// the status channel through which every capture flow reports to the main window.
// GUI thread only.
class CaptureService : public QObject {
    Q_OBJECT
public:
    // Status texts, exactly as the user sees them.
    static inline const QString selectingText = QStringLiteral("Đang chọn vùng chụp…");
    static inline const QString noScreenText = QStringLiteral("Không tìm thấy màn hình để chụp");
    static inline const QString grabFailedText =
        QStringLiteral("Không thể chụp màn hình. Hãy kiểm tra quyền Ghi màn hình.");
    static inline const QString cancelledText = QStringLiteral("Đã hủy chụp màn hình");
    static inline const QString cropFailedText = QStringLiteral("Không thể cắt vùng ảnh đã chọn");
    static inline const QString savedPrefix = QStringLiteral("Đã lưu và sao chép: ");
    static inline const QString replacedPrefix = QStringLiteral("Đã cập nhật và sao chép: ");
    static inline const QString screenshotPrompt =
        QStringLiteral("Kéo chuột để chọn vùng chụp  •  Esc để hủy");

    // image is null on cancel or failure; screen is given whenever one was known.
    using ScreenshotCompletion = std::function<void(const QImage &image, QScreen *screen)>;
    using SelectionCompletion = std::function<void(std::optional<QRectF> rect, QScreen *screen)>;

    // desktopFolder: where screenshots are saved. The grabber must outlive the service.
    CaptureService(HistoryDatabase &database, QString rootFolder, ScreenGrabber &grabber,
                   QString desktopFolder, QObject *parent = nullptr);
    ~CaptureService() override;

    std::function<void(const QString &)> onStatus;
    std::function<void()> onHistoryChanged;
    std::function<void(QScreen *)> onVideoFinished;

    QString rootFolder() const { return m_rootFolder; }
    QString desktopFolder() const { return m_desktopFolder; }
    bool isRecording() const { return false; }

    // Replace the system clipboard and Qt's screens (tests, other platforms).
    void setClipboardWriter(std::unique_ptr<ClipboardWriter> clipboard);
    void setScreenEnvironment(std::unique_ptr<ScreenEnvironment> screens);
    const ScreenEnvironment &screens() const { return *m_screens; }

    // Freezes the screen under the pointer, lets the user select a region on it and cuts
    // that region out. The completion runs once, unless another selector replaces this one.
    void takeScreenshot(ScreenshotCompletion completion);

    // Shows a region selector, replacing (and silently dismissing) any earlier one.
    void openRegionSelector(const QString &prompt, QScreen *screen, const QImage &frozenImage,
                            SelectionCompletion completion);
    RegionSelectorController *regionSelector() const { return m_regionSelector.get(); }

    // Writes a new PNG on the Desktop, copies it, records it and reports it.
    // The saved file's path, or nothing when encoding or writing failed.
    std::optional<QString> saveScreenshot(const QImage &image,
                                          const QString &prefix = QStringLiteral("Screenshot"));
    // Overwrites an existing capture file, copies and reports it; adds no history row.
    bool replaceScreenshot(const QImage &image, const QString &path);
    // One clipboard entry with PNG and TIFF of the image; pngData saves encoding it again.
    bool copyImageToPasteboard(const QImage &image, const QByteArray &pngData = {});

    // Sends a status text to the main window.
    void report(const QString &text);

private:
    void selectionFinished(const FrozenDisplayCapture &frozen, std::optional<QRectF> rect,
                           QScreen *screen, const ScreenshotCompletion &completion);
    void dismissRegionSelector();

    HistoryDatabase &m_database;
    QString m_rootFolder;
    ScreenGrabber &m_grabber;
    QString m_desktopFolder;
    std::unique_ptr<ClipboardWriter> m_clipboard;
    std::unique_ptr<ScreenEnvironment> m_screens;
    std::unique_ptr<RegionSelectorController> m_regionSelector;
};
