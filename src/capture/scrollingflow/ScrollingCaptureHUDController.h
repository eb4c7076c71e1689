#pragma once

#include <QObject>
#include <QPointer>
#include <QRect>
#include <QRectF>
#include <QSize>
#include <memory>
#include <optional>

class QLabel;
class QScreen;
class QWidget;

// The small dark panel that says a scrolling capture is running, how many frames it has
// kept and which keys apply. It never takes focus, clicks go through it, and it is placed
// where the capture region is not, so no grab of the region can contain it: top right of
// the screen's usable area, else another corner, else not shown at all. GUI thread only.
class ScrollingCaptureHUDController : public QObject {
    Q_OBJECT
public:
    static inline const QString initialTitle = QStringLiteral("↧  ĐANG CHỤP CUỘN");
    static inline const QString completeTitle = QStringLiteral("✓  HOÀN TẤT");
    static inline const QString webHint = QStringLiteral("Đang tự cuộn website • Esc để hủy");
    static inline const QString manualHint = QStringLiteral("Tự cuộn ứng dụng • Enter hoàn tất • Esc hủy");
    static inline const QString openingEditorHint = QStringLiteral("Đang mở trình chỉnh sửa…");
    static constexpr QSize panelSize{320, 98};
    static constexpr int margin = 24;

    // region: the capture region in global logical pixels, which the panel must not cover.
    ScrollingCaptureHUDController(QScreen *screen, const QRectF &region);
    ~ScrollingCaptureHUDController() override;

    void show();
    void update(int count, bool manual);
    void complete(int count);
    void close();

    // Where the panel's top-left goes in an available area so that it stays clear of the
    // region: corners in the order top right, top left, bottom right, bottom left.
    static std::optional<QPoint> placement(const QRect &available, const QRectF &region);

    QWidget *panel() const;
    QLabel *titleField() const { return m_title; }
    QLabel *detailField() const { return m_detail; }
    QLabel *hintField() const { return m_hint; }
    bool isPlaced() const { return m_position.has_value(); }

private:
    std::unique_ptr<QWidget> m_panel;
    QLabel *m_title = nullptr;
    QLabel *m_detail = nullptr;
    QLabel *m_hint = nullptr;
    std::optional<QPoint> m_position;
};
