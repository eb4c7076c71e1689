#include "ui/MainWindowController.h"

#include "capture/library/CaptureService.h"
#include "platform/ScreenEnvironment.h"
#include "platform/WindowExitWatcher.h"
#include "storage/HistoryDatabase.h"
#include "ui/HistoryTableModel.h"
#include "ui/HistoryTableView.h"
#include "ui/KeyMappingController.h"
#include "ui/MainWindow.h"

#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QImageReader>
#include <QHeaderView>
#include <QMessageBox>
#include <QPushButton>
#include <QPointer>
#include <QScreen>
#include <QUrl>

MainWindowController::MainWindowController(HistoryDatabase &database, CaptureService &capture,
                                           KeyRemapper &remapper, const ScreenEnvironment &screens,
                                           WindowExitWatcher &windowExits, QString mappingFile, QObject *parent)
    : QObject(parent), m_database(database), m_capture(capture), m_screens(screens), m_windowExits(windowExits)
{
    m_window = std::make_unique<MainWindow>();
    m_model = new HistoryTableModel(this);
    HistoryTableView *table = m_window->table();
    table->setModel(m_model);
    const int widths[] = {112, 70, 165, 590};
    for (int c = 0; c < HistoryTableModel::columnTotal; ++c)
        table->horizontalHeader()->resizeSection(c, widths[c]);

    table->copyHandler = [this] { copySelected(); };
    connect(table, &QAbstractItemView::doubleClicked, this, &MainWindowController::openSelected);
    connect(m_window.get(), &MainWindow::mappingRequested, this, &MainWindowController::showMappingWindow);
    connect(m_window.get(), &MainWindow::screenshotRequested, this, &MainWindowController::screenshotRequested);
    connect(m_window.get(), &MainWindow::videoRequested, this, &MainWindowController::videoRequested);
    connect(m_window.get(), &MainWindow::scrollingRequested, this, &MainWindowController::chooseScrolling);
    connect(m_window.get(), &MainWindow::folderRequested, this, &MainWindowController::openFolder);
    connect(m_window.get(), &MainWindow::hideRequested, this, &MainWindowController::hideWindow);

    // Loads the user's mappings, hands them to the remapper and starts painting its state.
    m_keyMapping = std::make_unique<KeyMappingController>(remapper, screens, std::move(mappingFile));

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
        if (self)
            self->showWindowCentredOn(screen);
    };
    reloadHistory();
    centerOn(m_screens.primaryScreen());
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
    if (m_window->isVisible())
        m_windowExits.leaving(m_window->winId());
    m_window->hide();
}

bool MainWindowController::isWindowVisible() const
{
    return m_window->isVisible();
}

void MainWindowController::showWindowCentredOn(QScreen *screen)
{
    centerOn(screen);
    showWindow();
}

void MainWindowController::centerOn(QScreen *screen)
{
    if (screen)
        m_window->move(*m_screens.centredTopLeft(m_window->frameGeometry().size(), screen));
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

void MainWindowController::chooseScrolling()
{
    QMessageBox box(m_window.get());
    box.setWindowTitle(QStringLiteral("Vistrel"));
    box.setText(QStringLiteral("Chọn loại nội dung"));
    box.setInformativeText(QStringLiteral("Website sẽ tự động cuộn đến cuối trang. Với ứng dụng desktop, bạn tự cuộn và "
                                          "nhấn Enter để hoàn tất."));
    QPushButton *web = box.addButton(QStringLiteral("Website tự cuộn"), QMessageBox::AcceptRole);
    QPushButton *application = box.addButton(QStringLiteral("Ứng dụng"), QMessageBox::AcceptRole);
    box.addButton(QStringLiteral("Hủy"), QMessageBox::RejectRole);
    box.setDefaultButton(web);
    box.setObjectName(QStringLiteral("chooseScrollingAlert"));
    box.exec();
    if (box.clickedButton() == web)
        emit scrollingCaptureRequested(true);
    else if (box.clickedButton() == application)
        emit scrollingCaptureRequested(false);
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

void MainWindowController::setVideoFrameReader(std::function<QImage(const QString &, double)> reader)
{
    m_model->setVideoFrameReader(std::move(reader));
    m_model->setItems({});
    reloadHistory();
}

const CaptureItem *MainWindowController::selectedItem() const
{
    const QModelIndexList rows = m_window->table()->selectionModel()->selectedRows();
    if (rows.isEmpty() || rows.first().row() >= items().size())
        return nullptr;
    return &items().at(rows.first().row());
}

namespace {

// Null when the file is gone or is not an image.
QImage readImage(const CaptureItem &item)
{
    if (item.kind != CaptureKind::screenshot)
        return {};
    QImageReader reader(item.path);
    reader.setAutoTransform(true);
    return reader.read();
}

} // namespace

void MainWindowController::copySelected()
{
    const CaptureItem *item = selectedItem();
    if (!item)
        return;
    const QString name = QFileInfo(item->path).fileName();
    const QImage image = readImage(*item);
    if (!image.isNull()) {
        m_capture.copyImageToPasteboard(image);
        setStatus(QStringLiteral("Đã sao chép ảnh: ") + name);
        return;
    }
    // A video, or a screenshot that no longer reads as one: the file itself.
    m_capture.copyFileToPasteboard(item->path);
    setStatus(QStringLiteral("Đã sao chép video: ") + name);
}

void MainWindowController::openSelected()
{
    const CaptureItem *item = selectedItem();
    if (!item)
        return;
    const QImage image = readImage(*item);
    if (!image.isNull()) {
        emit editRequested(item->path, image);
        return;
    }
    // Without a default application the platform says so in its own way; nothing waits here.
    QDesktopServices::openUrl(QUrl::fromLocalFile(item->path));
}
