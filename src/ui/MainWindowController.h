#pragma once

#include "storage/CaptureItem.h"

#include <QImage>
#include <QList>
#include <QObject>
#include <QString>
#include <memory>

class CaptureHost;
class CaptureService;
class HistoryDatabase;
class HistoryTableModel;
class ImageEditorController;
class KeyMappingController;
class KeyRemapper;
class MainWindow;
class QScreen;
class QWidget;
class ScreenshotFlow;

// The one main window of the app: built once, hidden rather than destroyed when closed.
// Owns the key-mapping window and the recent-captures list; GUI thread only.
class MainWindowController : public QObject {
    Q_OBJECT
public:
    MainWindowController(HistoryDatabase &database, CaptureService &capture, KeyRemapper &remapper,
                         QString mappingFile, QObject *parent = nullptr);
    ~MainWindowController() override;

    QWidget *window() const;
    KeyMappingController &keyMapping() const { return *m_keyMapping; }

    // Shows the window, brings it to front and gives it the focus.
    void showWindow();
    void hideWindow();
    bool isWindowVisible() const;
    void centerOn(QScreen *screen);

    QString status() const { return m_status; }
    void setStatus(const QString &text);

    void captureScreenshot();
    void captureScrollingScreenshot(bool automaticWeb);
    void toggleVideo();
    void chooseScrolling();
    void showScrollingCaptureHelp();
    void openFolder();
    void showMappingWindow();
    void refreshPermissionState();
    void reloadHistory();
    // Opens the image editor on a capture saved at savedPath; saving there overwrites it.
    void openEditor(const QImage &image, QScreen *screen, const QString &savedPath);
    ImageEditorController *editor() const { return m_editor.get(); }

    const QList<CaptureItem> &items() const;

private:
    HistoryDatabase &m_database;
    CaptureService &m_capture;
    std::unique_ptr<MainWindow> m_window;
    HistoryTableModel *m_model = nullptr;
    std::unique_ptr<KeyMappingController> m_keyMapping;
    std::unique_ptr<CaptureHost> m_captureHost;
    std::unique_ptr<ScreenshotFlow> m_screenshotFlow;
    std::unique_ptr<ImageEditorController> m_editor;
    QString m_status = QStringLiteral("Sẵn sàng");
};
