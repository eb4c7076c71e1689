#pragma once

#include <QColor>
#include <QPushButton>

// A borderless Capture Studio button: one 12-point semibold title, which may have two
// lines, in the button's own text colour. A click does not take the focus; the frame
// shows only when the keyboard brought the focus here.
class ActionButton : public QPushButton {
public:
    ActionButton(const QString &title, QColor background, QColor foreground, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QColor m_background;
    QColor m_foreground;
};
