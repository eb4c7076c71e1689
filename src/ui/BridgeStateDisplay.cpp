#include "ui/BridgeStateDisplay.h"

#include "ui/Theme.h"

#include <QLabel>
#include <QPushButton>

namespace BridgeStateDisplay {

void configureToggle(QPushButton *toggle)
{
    toggle->setText(QStringLiteral("●  ACTIVE"));
    toggle->setCheckable(true);
    toggle->setChecked(true);
    toggle->setFont(Theme::monospaceFont(11, QFont::Bold));
    toggle->setCursor(Qt::PointingHandCursor);
}

void paint(QPushButton *toggle, QLabel *stateLine, bool running)
{
    const QColor text = running ? Theme::lime() : Theme::pausedPillText();
    const QColor background = running ? Theme::pillDark() : Theme::pausedPillBackground();
    toggle->setText(running ? QStringLiteral("●  ACTIVE") : QStringLiteral("○  PAUSED"));
    toggle->setStyleSheet(QStringLiteral("QPushButton{background:%1;color:%2;border:none;border-radius:9px;}"
                                         "QPushButton:focus{border:1px solid %3;}")
                              .arg(background.name(), text.name(), Theme::whiteLevel(0.55).name()));

    stateLine->setText(running ? QStringLiteral("●  ĐANG HOẠT ĐỘNG") : QStringLiteral("○  ĐANG TẠM DỪNG"));
    QPalette pal = stateLine->palette();
    pal.setColor(QPalette::WindowText, running ? Theme::activeLine() : Theme::pausedLine());
    stateLine->setPalette(pal);
    stateLine->adjustSize();
}

} // namespace BridgeStateDisplay
