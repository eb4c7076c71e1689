#pragma once

#include <QColor>
#include <QPushButton>

// A Capture Studio button. Its title may have two lines; the second is drawn lighter,
// as a hint under the action.
class ActionButton : public QPushButton {
public:
    ActionButton(const QString &title, QColor background, QColor foreground, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QColor m_background;
    QColor m_foreground;
};
