#pragma once

#include "capture/selector/RegionSelection.h"

#include <QImage>
#include <QString>
#include <QWidget>

// The selector's covering window: feeds the mouse and Escape to its selection and paints
// it. The selection lives here so that it outlives a controller released from inside its
// own completion, until the window itself is deleted.
class RegionSelectorView : public QWidget {
    Q_OBJECT
public:
    static inline const QString defaultPrompt =
        QStringLiteral("Kéo chuột để chọn vùng  •  Esc để hủy");

    // frozen: the still image of the screen, or null to show the live screen through.
    RegionSelectorView(const QRectF &screenFrame, QImage frozen, QString prompt,
                       QWidget *parent = nullptr);

    RegionSelection &selection() { return m_selection; }
    QString prompt() const { return m_prompt; }
    const QImage &frozenImage() const { return m_frozen; }

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void repaintChanged(const std::optional<QRectF> &before);
    std::optional<QRectF> shownSelection() const;

    RegionSelection m_selection;
    QImage m_frozen;
    QString m_prompt;
};
