#pragma once

#include <QObject>
#include <memory>

class QMenu;
class QSystemTrayIcon;

// The tray icon and its menu; every item reaches the same operations as the hot keys.
class StatusMenu : public QObject {
    Q_OBJECT
public:
    explicit StatusMenu(QObject *parent = nullptr);
    ~StatusMenu() override;

    QMenu *menu() const { return m_menu.get(); }

signals:
    void openMain();
    void screenshot();
    void scrollingScreenshot();
    void scrollingApplication();
    void scrollingHelp();
    void video();
    void lock();
    void quit();

private:
    std::unique_ptr<QMenu> m_menu;
    QSystemTrayIcon *m_tray = nullptr;
};
