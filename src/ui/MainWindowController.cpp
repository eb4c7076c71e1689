#include "ui/MainWindowController.h"

#include "capture/CaptureHost.h"
#include "capture/CaptureService.h"
#include "capture/ScreenGeometry.h"
#include "capture/ScreenshotFlow.h"
#include "editor/ImageEditorController.h"
#include "editor/ImageEditorWindow.h"
#include "storage/HistoryDatabase.h"
#include "ui/HistoryTableModel.h"
#include "ui/HistoryTableView.h"
#include "ui/KeyMappingController.h"
#include "ui/MainWindow.h"

#include <QDesktopServices>
#include <QGuiApplication>
#include <QDir>
#include <QHeaderView>
#include <QMessageBox>
#include <QPointer>
#include <QScreen>
#include <QUrl>

namespace {

// The main window as the capture flows see it.
class MainWindowCaptureHost : public CaptureHost {
public:
    explicit MainWindowCaptureHost(MainWindowController &controller) : m_controller(controller) {}
    bool isWindowVisible() const override { return m_controller.isWindowVisible(); }
    void hideWindow() override { m_controller.hideWindow(); }
    void showWindowCentredOn(QScreen *screen) override
    {
        m_controller.centerOn(screen);
        m_controller.showWindow();
    }
    QString status() const override { return m_controller.status(); }
    void setStatus(const QString &text) override { m_controller.setStatus(text); }
    void openEditor(const QImage &image, QScreen *screen, const QString &savedPath) override
    {
        m_controller.openEditor(image, screen, savedPath);
    }

private:
    MainWindowController &m_controller;
};

} // namespace

MainWindowController::MainWindowController(HistoryDatabase &database, CaptureService &capture,
                                           KeyRemapper &remapper, QString mappingFile, QObject *parent)
    : QObject(parent), m_database(database), m_capture(capture)
{
    m_window = std::make_unique<MainWindow>();
    m_model = new HistoryTableModel(this);
    HistoryTableView *table = m_window->table();
    table->setModel(m_model);
    const int widths[] = {112, 70, 165, 590};
    for (int c = 0; c < HistoryTableModel::columnTotal; ++c)
        table->horizontalHeader()->resizeSection(c, widths[c]);

    connect(m_window.get(), &MainWindow::mappingRequested, this, &MainWindowController::showMappingWindow);
    connect(m_window.get(), &MainWindow::screenshotRequested, this, &MainWindowController::captureScreenshot);
    connect(m_window.get(), &MainWindow::videoRequested, this, &MainWindowController::toggleVideo);
    connect(m_window.get(), &MainWindow::scrollingRequested, this, &MainWindowController::chooseScrolling);
    connect(m_window.get(), &MainWindow::folderRequested, this, &MainWindowController::openFolder);
    connect(m_window.get(), &MainWindow::hideRequested, this, &MainWindowController::hideWindow);

    // Loads the user's mappings, hands them to the remapper and starts painting its state.
    m_keyMapping = std::make_unique<KeyMappingController>(remapper, std::move(mappingFile));

    QPointer<MainWindowController> self(this);
    m_capture.onStatus = [self](const QString &text) {
        if (self)
            self->setStatus(text);
    };
    m_capture.onHistoryChanged = [self] {
        if (self)
            self->reloadHistory();
    };
    m_capture.onVideoFinished = [self](QScreen *screen) {
        if (!self)
            return;
        if (screen)
            self->centerOn(screen);
        self->showWindow();
    };
    m_captureHost = std::make_unique<MainWindowCaptureHost>(*this);
    m_screenshotFlow = std::make_unique<ScreenshotFlow>(*m_captureHost, m_capture);
    reloadHistory();
    centerOn(QGuiApplication::primaryScreen());
}

MainWindowController::~MainWindowController()
{
    m_capture.onStatus = nullptr;
    m_capture.onHistoryChanged = nullptr;
    m_capture.onVideoFinished = nullptr;
}

QWidget *MainWindowController::window() const
{
    return m_window.get();
}

void MainWindowController::showWindow()
{
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

void MainWindowController::hideWindow()
{
    m_window->hide();
}

bool MainWindowController::isWindowVisible() const
{
    return m_window->isVisible();
}

void MainWindowController::centerOn(QScreen *screen)
{
    if (screen)
        m_window->move(ScreenGeometry::centredTopLeft(m_window->frameGeometry().size(), screen->availableGeometry()));
}

void MainWindowController::setStatus(const QString &text)
{
    m_status = text;
}

const QList<CaptureItem> &MainWindowController::items() const
{
    return m_model->items();
}

void MainWindowController::reloadHistory()
{
    m_model->setItems(m_database.recent());
}

void MainWindowController::captureScreenshot()
{
    // capture flow
    m_screenshotFlow->captureScreenshot();
}

void MainWindowController::openEditor(const QImage &image, QScreen *screen, const QString &savedPath)
{
    QPointer<MainWindowController> self(this);
    // A later capture replaces this editor; the earlier window then goes unsaved.
    m_editor = std::make_unique<ImageEditorController>(image, screen, [self, savedPath](std::optional<QImage> edited) {
        if (!self)
            return;
        self->m_screenshotFlow->editingFinished(edited.value_or(QImage()), savedPath);
        self->m_editor.reset();
    });
    QWidget *editorWindow = m_editor->window();
    editorWindow->show();
    editorWindow->raise();
    editorWindow->activateWindow();
}

void MainWindowController::captureScrollingScreenshot(bool)
{
    // Scrolling capture is not built yet; the entry point exists so commands route here.
}

void MainWindowController::toggleVideo()
{
    // Screen recording is not built yet; the entry point exists so commands route here.
}

void MainWindowController::chooseScrolling()
{
    // Asks website or application once scrolling capture exists; a no-op until then.
}

void MainWindowController::showScrollingCaptureHelp()
{
    QMessageBox box(m_window.get());
    box.setWindowTitle(QStringLiteral("Vistrel"));
    box.setText(QStringLiteral("Hướng dẫn chụp cuộn"));
    box.setInformativeText(QStringLiteral(
        "1. Mở website, tài liệu hoặc ứng dụng tại vị trí muốn bắt đầu.\n\n"
        "2. Nhấn Command + 6.\n\n"
        "3. Kéo chọn riêng vùng nội dung có thể cuộn; tránh thanh tiêu đề, menu và thanh công cụ cố định.\n\n"
        "4. Website: Vistrel tự động cuộn, chụp và ghép ảnh.\n\n"
        "5. App desktop: bạn tự cuộn xuống; Vistrel tự bắt từng khung. Nhấn Enter để hoàn tất.\n\n"
        "6. Nhấn Esc để hủy."));
    box.addButton(QStringLiteral("Đã hiểu"), QMessageBox::AcceptRole);
    box.exec();
}

void MainWindowController::openFolder()
{
    const QString root = m_capture.rootFolder();
    QDir().mkpath(root);
    QDesktopServices::openUrl(QUrl::fromLocalFile(root));
}

void MainWindowController::showMappingWindow()
{
    m_keyMapping->showMappingWindow();
}

void MainWindowController::refreshPermissionState()
{
    m_keyMapping->refreshPermissionState();
}
