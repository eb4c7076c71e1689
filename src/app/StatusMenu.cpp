#include "app/StatusMenu.h"

#include "ui/AppIcon.h"

#include <QCursor>
#include <QKeySequence>
#include <QMenu>
#include <QSystemTrayIcon>

StatusMenu::StatusMenu(QObject *parent) : QObject(parent), m_menu(std::make_unique<QMenu>())
{
    struct Item {
        const char *title;
        void (StatusMenu::*signal)();
    };
    const Item items[] = {
        {"Mở Vistrel", &StatusMenu::openMain},
        {"Chụp vùng (⌘4)", &StatusMenu::screenshot},
        {"Chụp cuộn website (⌘6)", &StatusMenu::scrollingScreenshot},
        {"Chụp cuộn ứng dụng (tự cuộn bằng tay)", &StatusMenu::scrollingApplication},
        {"Hướng dẫn chụp cuộn", &StatusMenu::scrollingHelp},
        {"Quay / dừng quay (⌘5)", &StatusMenu::video},
        {"Khóa máy (Command + L)", &StatusMenu::lock},
    };
    for (const Item &item : items)
        connect(m_menu->addAction(QString::fromUtf8(item.title)), &QAction::triggered, this, item.signal);
    m_menu->addSeparator();
    QAction *quitAction = m_menu->addAction(QStringLiteral("Thoát"));
    quitAction->setShortcut(QKeySequence(QStringLiteral("Ctrl+Q")));
    connect(quitAction, &QAction::triggered, this, &StatusMenu::quit);

    m_tray = new QSystemTrayIcon(AppIcon::icon(), this);
    m_tray->setToolTip(QStringLiteral("Vistrel"));
    m_tray->setContextMenu(m_menu.get());
    connect(m_tray, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        // Menu-bar habit: a plain click opens the menu too, not only a right click.
        if (reason == QSystemTrayIcon::Trigger)
            m_menu->popup(QCursor::pos());
    });
    m_tray->show();
}

StatusMenu::~StatusMenu() = default;
