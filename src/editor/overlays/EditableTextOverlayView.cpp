#include "editor/overlays/EditableTextOverlayView.h"

#include "editor/overlays/OverlayPointerView.h"
#include "editor/overlays/TextOverlayGeometry.h"
#include "editor/overlays/TextOverlayRendering.h"

#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextDocument>
#include <QToolButton>

namespace {

namespace Geometry = TextOverlayGeometry;

const QColor headerColor(244, 241, 232);

QRect pixelFrame(const QRectF &frame)
{
    return QRect(qRound(frame.x()), qRound(frame.y()), qRound(frame.width()), qRound(frame.height()));
}

// The header bar: its top corners follow the box's rounding.
class HeaderBar : public QWidget {
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QRectF r(rect());
        const qreal radius = Geometry::cornerRadius;
        QPainterPath path;
        path.moveTo(r.left(), r.bottom());
        path.lineTo(r.left(), r.top() + radius);
        path.arcTo(QRectF(r.left(), r.top(), 2 * radius, 2 * radius), 180, -90);
        path.lineTo(r.right() - radius, r.top());
        path.arcTo(QRectF(r.right() - 2 * radius, r.top(), 2 * radius, 2 * radius), 90, -90);
        path.lineTo(r.right(), r.bottom());
        path.closeSubpath();
        painter.fillPath(path, headerColor);
        painter.setPen(QPen(QColor(0, 0, 0, 24), 1));
        painter.drawLine(QPointF(r.left(), r.bottom() - 0.5), QPointF(r.right(), r.bottom() - 0.5));
    }
};

// The accent border, drawn over every child so the header and the corner sit inside it.
class BoxBorder : public QWidget {
public:
    explicit BoxBorder(QWidget *parent) : QWidget(parent)
    {
        setAttribute(Qt::WA_TransparentForMouseEvents);
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const qreal half = Geometry::borderWidth / 2;
        painter.setPen(QPen(EditableTextOverlayView::accent, Geometry::borderWidth));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(QRectF(rect()).adjusted(half, half, -half, -half), Geometry::cornerRadius - half,
                                Geometry::cornerRadius - half);
    }
};

QToolButton *headerButton(const QString &title, const QString &style, QWidget *parent)
{
    auto *button = new QToolButton(parent);
    button->setText(title);
    button->setCursor(Qt::ArrowCursor);
    button->setFocusPolicy(Qt::NoFocus);
    button->setStyleSheet(style);
    return button;
}

} // namespace

EditableTextOverlayView::EditableTextOverlayView(const QRectF &frame, QWidget *canvas) : QWidget(canvas)
{
    setAttribute(Qt::WA_NoMousePropagation);

    textView_ = new QPlainTextEdit(this);
    textView_->setFrameShape(QFrame::NoFrame);
    textView_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    textView_->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    textView_->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    textView_->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    textView_->document()->setDocumentMargin(0);
    textView_->setPlainText(placeholderText);

    header_ = new HeaderBar(this);
    dragHandle_ = new OverlayPointerView(header_);
    dragHandle_->setToolTip(QStringLiteral("Kéo để di chuyển"));
    dragHandle_->setCursor(Qt::OpenHandCursor);
    auto *grip = new QLabel(QStringLiteral("⠿"), dragHandle_);
    QFont gripFont = grip->font();
    gripFont.setPixelSize(16);
    gripFont.setBold(true);
    grip->setFont(gripFont);
    grip->setAlignment(Qt::AlignCenter);
    grip->setStyleSheet(QStringLiteral("color: rgba(19, 21, 19, 170); background: transparent;"));
    grip->setAttribute(Qt::WA_TransparentForMouseEvents);
    grip->setGeometry(pixelFrame(Geometry::gripLabelRect()));

    closeButton_ = headerButton(QStringLiteral("×"),
                                QStringLiteral("QToolButton { background: white; color: rgb(19, 21, 19);"
                                               " border: 1px solid rgba(0, 0, 0, 38); border-radius: 6px;"
                                               " font-size: 17px; padding: 0px; }"
                                               "QToolButton:hover { background: rgb(236, 236, 232); }"
                                               "QToolButton:pressed { background: rgb(220, 220, 214); }"),
                                header_);
    closeButton_->setToolTip(QStringLiteral("Đóng"));
    applyButton_ = headerButton(QStringLiteral("✓"),
                                QStringLiteral("QToolButton { background: rgb(215, 255, 63); color: rgb(20, 20, 20);"
                                               " border: 1px solid rgba(0, 0, 0, 38); border-radius: 6px;"
                                               " font-size: 15px; font-weight: bold; padding: 0px; }"
                                               "QToolButton:hover { background: rgb(200, 242, 48); }"
                                               "QToolButton:pressed { background: rgb(184, 226, 36); }"),
                                header_);
    applyButton_->setToolTip(QStringLiteral("Áp dụng"));
    connect(closeButton_, &QToolButton::clicked, this, &EditableTextOverlayView::cancel);
    connect(applyButton_, &QToolButton::clicked, this, &EditableTextOverlayView::apply);

    resizeHandle_ = new OverlayPointerView(this);
    resizeHandle_->setBackground(accent);
    resizeHandle_->setShowsResizeGrip(true);
    resizeHandle_->setCursor(Qt::SizeFDiagCursor);

    border_ = new BoxBorder(this);
    configurePointerActions();
    setGeometry(pixelFrame(frame));
    layoutChildren();
    applyTextStyle();
}

QString EditableTextOverlayView::text() const
{
    return textView_->toPlainText();
}

QRectF EditableTextOverlayView::scrollFrame() const
{
    return QRectF(textView_->geometry());
}

void EditableTextOverlayView::setTextStyle(const QString &fontName, qreal fontSize, const QColor &color,
                                           qreal displayScale)
{
    fontName_ = fontName;
    fontSize_ = fontSize;
    textColor_ = color;
    displayScale_ = displayScale;
    applyTextStyle();
}

void EditableTextOverlayView::applyTextStyle()
{
    textView_->setFont(TextOverlayRendering::font(
        fontName_, TextOverlayGeometry::displayFontSize(fontSize_, displayScale_), *textView_));
    QPalette palette = textView_->palette();
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::Text, textColor_);
    textView_->setPalette(palette);
}

void EditableTextOverlayView::apply()
{
    if (applyHandler)
        applyHandler(this);
}

void EditableTextOverlayView::cancel()
{
    if (cancelHandler)
        cancelHandler(this);
}

void EditableTextOverlayView::focusText()
{
    textView_->setFocus(Qt::OtherFocusReason);
    textView_->selectAll();
}

void EditableTextOverlayView::configurePointerActions()
{
    const auto start = [this](QPointF pointer) {
        pointerStart_ = pointer;
        frameStart_ = frame();
    };
    dragHandle_->began = start;
    resizeHandle_->began = start;
    dragHandle_->moved = [this](QPointF pointer) {
        if (parentWidget())
            setGeometry(pixelFrame(Geometry::moved(frameStart_, pointer - pointerStart_, parentWidget()->size())));
    };
    resizeHandle_->moved = [this](QPointF pointer) {
        if (parentWidget())
            setGeometry(pixelFrame(Geometry::resized(frameStart_, pointer - pointerStart_, parentWidget()->size())));
    };
}

void EditableTextOverlayView::layoutChildren()
{
    const QSizeF size(this->size());
    textView_->setGeometry(pixelFrame(Geometry::textAreaRect(size)));
    header_->setGeometry(pixelFrame(Geometry::headerRect(size)));
    dragHandle_->setGeometry(pixelFrame(Geometry::dragHandleRect()));
    closeButton_->setGeometry(pixelFrame(Geometry::closeButtonRect(size)));
    applyButton_->setGeometry(pixelFrame(Geometry::applyButtonRect(size)));
    resizeHandle_->setGeometry(pixelFrame(Geometry::resizeHandleRect(size)));
    border_->setGeometry(rect());
    border_->raise();
}

void EditableTextOverlayView::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    layoutChildren();
}

void EditableTextOverlayView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    painter.drawRoundedRect(QRectF(rect()), Geometry::cornerRadius, Geometry::cornerRadius);
}
