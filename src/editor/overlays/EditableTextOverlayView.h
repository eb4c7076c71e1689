#pragma once

#include <QColor>
#include <QPointF>
#include <QRectF>
#include <QString>
#include <QWidget>

#include <functional>

class OverlayPointerView;
class QLabel;
class QPlainTextEdit;
class QToolButton;

// The floating text box the text tool opens over the canvas: a header with a grip, close
// and apply, the text being typed, and a corner to resize it. Its frame is in the
// canvas's view points. Applying and closing are the canvas's business (the handlers).
class EditableTextOverlayView : public QWidget {
    Q_OBJECT
public:
    static inline const QString placeholderText = QStringLiteral("Nhập nội dung…");
    static inline const QColor accent = QColor(215, 255, 63);

    EditableTextOverlayView(const QRectF &frame, QWidget *canvas);

    std::function<void(EditableTextOverlayView *)> applyHandler;
    std::function<void(EditableTextOverlayView *)> cancelHandler;

    QPlainTextEdit *textView() const { return textView_; }
    QString text() const;
    QRectF frame() const { return QRectF(geometry()); }
    // The text area in the box's coordinates.
    QRectF scrollFrame() const;

    QString fontName() const { return fontName_; }
    qreal fontSize() const { return fontSize_; }
    QColor textColor() const { return textColor_; }
    qreal displayScale() const { return displayScale_; }
    // The text shows at fontSize × displayScale (at least 8); fontSize stays in image points.
    void setTextStyle(const QString &fontName, qreal fontSize, const QColor &color, qreal displayScale);

    OverlayPointerView *dragHandle() const { return dragHandle_; }
    OverlayPointerView *resizeHandle() const { return resizeHandle_; }
    QToolButton *applyButton() const { return applyButton_; }
    QToolButton *closeButton() const { return closeButton_; }

    // The "✓" and "×" buttons.
    void apply();
    void cancel();
    // Gives the text the keyboard focus with all of it selected, so typing replaces it.
    void focusText();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void configurePointerActions();
    void layoutChildren();
    void applyTextStyle();

    QPlainTextEdit *textView_;
    QWidget *header_;
    OverlayPointerView *dragHandle_;
    QToolButton *closeButton_;
    QToolButton *applyButton_;
    OverlayPointerView *resizeHandle_;
    QWidget *border_;
    QPointF pointerStart_;
    QRectF frameStart_;
    QString fontName_ = QStringLiteral("Helvetica");
    qreal fontSize_ = 32;
    QColor textColor_ = QColor(255, 59, 48);
    qreal displayScale_ = 1.0;
};
