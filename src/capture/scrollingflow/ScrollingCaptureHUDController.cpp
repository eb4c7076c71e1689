#include "capture/scrollingflow/ScrollingCaptureHUDController.h"

#include <QColor>
#include <QFont>
#include <QLabel>
#include <QPalette>
#include <QScreen>
#include <QWidget>

namespace {

QLabel *label(QWidget *parent, const QRect &frame, int pointSize, bool bold, const QColor &colour,
              const QString &text)
{
    auto *field = new QLabel(text, parent);
    field->setGeometry(frame);
    QFont font = field->font();
    font.setPointSize(pointSize);
    font.setBold(bold);
    field->setFont(font);
    QPalette palette = field->palette();
    palette.setColor(QPalette::WindowText, colour);
    field->setPalette(palette);
    return field;
}

} // namespace

ScrollingCaptureHUDController::ScrollingCaptureHUDController(QScreen *screen, const QRectF &region)
{
    // Bypassing the window manager keeps the panel out of the client list and off the
    // focus chain; input transparency lets clicks reach the page underneath.
    m_panel = std::make_unique<QWidget>(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint
                                                     | Qt::WindowDoesNotAcceptFocus | Qt::WindowTransparentForInput
                                                     | Qt::X11BypassWindowManagerHint);
    m_panel->setAttribute(Qt::WA_ShowWithoutActivating);
    m_panel->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_panel->setFocusPolicy(Qt::NoFocus);
    m_panel->setObjectName(QStringLiteral("scrollingCaptureHUD"));
    m_panel->setFixedSize(panelSize);
    m_panel->setAutoFillBackground(true);
    QPalette palette = m_panel->palette();
    palette.setColor(QPalette::Window, QColor::fromRgbF(0.12f, 0.12f, 0.12f));
    m_panel->setPalette(palette);

    // The panel's y axis points down: a label at y from the bottom sits at height − y − h.
    auto frame = [](int x, int yFromBottom, int w, int h) { return QRect(x, panelSize.height() - yFromBottom - h, w, h); };
    m_title = label(m_panel.get(), frame(18, 65, 284, 20), 12, true,
                    QColor::fromRgbF(0.8431372549019608f, 1.0f, 0.24705882352941178f), initialTitle);
    m_detail = label(m_panel.get(), frame(18, 39, 284, 20), 12, false, Qt::white, QStringLiteral("Đang chụp ảnh 1…"));
    m_hint = label(m_panel.get(), frame(18, 13, 284, 18), 10, false, QColor::fromRgbF(0.68f, 0.68f, 0.68f), webHint);
    // The title mirrors the progress line, for accessibility tools and scripts.
    m_panel->setWindowTitle(m_detail->text());

    if (screen) {
        m_position = placement(screen->availableGeometry(), region);
        if (m_position)
            m_panel->move(*m_position);
    }
}

ScrollingCaptureHUDController::~ScrollingCaptureHUDController() = default;

std::optional<QPoint> ScrollingCaptureHUDController::placement(const QRect &available, const QRectF &region)
{
    const int left = available.left() + margin;
    const int right = available.left() + available.width() - panelSize.width() - margin;
    const int top = available.top() + margin;
    const int bottom = available.top() + available.height() - panelSize.height() - margin;
    for (const QPoint corner : {QPoint(right, top), QPoint(left, top), QPoint(right, bottom), QPoint(left, bottom)}) {
        // One pixel of slack either way: the region's pixels are widened outwards on a grab.
        const QRectF panel(QPointF(corner) - QPointF(1, 1), QSizeF(panelSize) + QSizeF(2, 2));
        if (!panel.intersects(region))
            return corner;
    }
    return std::nullopt;
}

QWidget *ScrollingCaptureHUDController::panel() const
{
    return m_panel.get();
}

void ScrollingCaptureHUDController::show()
{
    if (m_position)
        m_panel->show();
}

void ScrollingCaptureHUDController::update(int count, bool manual)
{
    m_detail->setText(QStringLiteral("Đang chụp ảnh %1…").arg(count));
    m_hint->setText(manual ? manualHint : webHint);
    m_panel->setWindowTitle(m_detail->text());
}

void ScrollingCaptureHUDController::complete(int count)
{
    m_title->setText(completeTitle);
    m_detail->setText(QStringLiteral("Đã ghép %1 ảnh").arg(count));
    m_hint->setText(openingEditorHint);
    m_panel->setWindowTitle(m_detail->text());
}

void ScrollingCaptureHUDController::close()
{
    m_panel->hide();
}
