#pragma once

#include "capture/library/CaptureHost.h"
#include "storage/CaptureItem.h"

#include <QImage>
#include <QList>
#include <QObject>
#include <QString>
#include <functional>
#include <memory>

class CaptureService;
class HistoryDatabase;
class HistoryTableModel;
class KeyMappingController;
class KeyRemapper;
class MainWindow;
class QScreen;
class QWidget;
class ScreenEnvironment;
class WindowExitWatcher;

// The one main window of the app: built once, hidden rather than destroyed when closed.
// Owns the key-mapping window and the recent-captures list. It starts no capture itself:
// its buttons become the request signals, and it listens to the capture service's status
// channel. GUI thread only.
class MainWindowController : public QObject, public CaptureHost {
    Q_OBJECT
public:
    MainWindowController(HistoryDatabase &database, CaptureService &capture, KeyRemapper &remapper,
                         const ScreenEnvironment &screens, WindowExitWatcher &windowExits, QString mappingFile,
                         QObject *parent = nullptr);
    ~MainWindowController() override;

    QWidget *window() const;
    KeyMappingController &keyMapping() const { return *m_keyMapping; }

    // Shows the window, brings it to front and gives it the focus.
    void showWindow();
    void hideWindow() override;
    bool isWindowVisible() const override;
    void showWindowCentredOn(QScreen *screen) override;
    void centerOn(QScreen *screen);

    QString status() const { return m_status; }
    void setStatus(const QString &text);

    // Asks website or application (a modal alert), then requests that scrolling capture.
    void chooseScrolling();
    void showScrollingCaptureHelp();
    void openFolder();
    void showMappingWindow();
    void refreshPermissionState();
    void reloadHistory();
    // Gives video rows their frame thumbnails; the rows shown are made again.
    void setVideoFrameReader(std::function<QImage(const QString &, double)> reader);
    // The selected history row: its image (or for a video, the file) onto the clipboard;
    // a screenshot into the editor through editRequested, anything else to its application.
    void copySelected();
    void openSelected();

    const QList<CaptureItem> &items() const;

signals:
    void screenshotRequested();
    void videoRequested();
    void scrollingCaptureRequested(bool automaticWeb);
    // Saving in the editor overwrites the file at path.
    void editRequested(const QString &path, const QImage &image);

private:
    const CaptureItem *selectedItem() const;

    HistoryDatabase &m_database;
    CaptureService &m_capture;
    const ScreenEnvironment &m_screens;
    WindowExitWatcher &m_windowExits;
    std::unique_ptr<MainWindow> m_window;
    HistoryTableModel *m_model = nullptr;
    std::unique_ptr<KeyMappingController> m_keyMapping;
    QString m_status = QStringLiteral("Sẵn sàng");
};
