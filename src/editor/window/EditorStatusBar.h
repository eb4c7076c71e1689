#pragma once

#include <QSize>
#include <QString>
#include <QWidget>

class QLabel;
class QToolButton;

// The editor's bottom bar: the image's size when it was opened, the format, and the zoom
// buttons.
class EditorStatusBar : public QWidget {
    Q_OBJECT
public:
    // "1280 × 720 px", whole numbers cut, not rounded.
    static QString sizeText(const QSizeF &imageSize);

    EditorStatusBar(const QSizeF &imageSize, QWidget *parent = nullptr);

    QLabel *sizeLabel() const { return sizeLabel_; }
    QToolButton *zoomOutButton() const { return zoomOut_; }
    QToolButton *zoomInButton() const { return zoomIn_; }
    QToolButton *fitButton() const { return fit_; }

private:
    QLabel *sizeLabel_;
    QToolButton *zoomOut_;
    QToolButton *zoomIn_;
    QToolButton *fit_;
};
