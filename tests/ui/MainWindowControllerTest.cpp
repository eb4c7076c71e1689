#include "capture/library/CaptureService.h"
#include "keyboard/KeyRemapper.h"
#include "platform/fake/FakeHotKeyService.h"
#include "platform/fake/FakeClipboard.h"
#include "platform/fake/FakeProcessRunner.h"
#include "platform/fake/FakeScreenEnvironment.h"
#include "platform/WindowExitWatcher.h"
#include "storage/HistoryDatabase.h"
#include "ui/HistoryTableView.h"
#include "ui/MainWindow.h"
#include "ui/MainWindowController.h"

#include <QDesktopServices>
#include <QPushButton>
#include <QUrl>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace {

struct Fixture {
    QTemporaryDir dir;
    HistoryDatabase database{dir.path()};
    FakeClipboard clipboard;
    FakeScreenEnvironment screens;
    WindowExitWatcher windowExits;
    CaptureService capture{database, clipboard, dir.filePath("Documents"), dir.filePath("Desktop")};
    FakeProcessRunner processes;
    FakeHotKeyService hotKeys;
    KeyRemapper remapper{processes, hotKeys, "/opt/vistrel/vistrel-keymap"};
    MainWindowController controller{database, capture, remapper, screens, windowExits, dir.filePath("key-mappings.json")};
};

} // namespace

TEST(MainWindowController, OneWindowKeepsTheShapeSystemTestsClickThroughHideAndShow)
{
    Fixture f;
    QWidget *w = f.controller.window();
    EXPECT_EQ(w->size(), QSize(1080, 760));
    auto *main = static_cast<MainWindow *>(w);
    EXPECT_EQ(main->mappingButton()->geometry().center(), QPoint(963, 48));   // (964, 49) as a click point
    f.controller.showWindow();
    EXPECT_TRUE(f.controller.isWindowVisible());
    auto *hide = main->findChild<QPushButton *>(QStringLiteral("hideButton"));
    ASSERT_TRUE(hide);
    QTest::mouseClick(hide, Qt::LeftButton);
    EXPECT_FALSE(f.controller.isWindowVisible());
    f.controller.showWindow();
    EXPECT_EQ(f.controller.window(), w);
    EXPECT_TRUE(f.controller.isWindowVisible());
    w->hide();
}

TEST(MainWindowController, HistoryChangesReloadTheNewestRowsFirst)
{
    Fixture f;
    EXPECT_TRUE(f.controller.items().isEmpty());
    f.database.add(CaptureKind::screenshot, f.dir.filePath("Desktop/Screenshot_1.png"));
    f.database.add(CaptureKind::video, f.dir.filePath("Documents/Recordings/Recording_1.mp4"));
    EXPECT_TRUE(f.controller.items().isEmpty());   // only a change notice reloads

    f.capture.onHistoryChanged();
    ASSERT_EQ(f.controller.items().size(), 2);
    EXPECT_EQ(f.controller.items().first().kind, CaptureKind::video);

    auto *table = static_cast<MainWindow *>(f.controller.window())->table();
    const QAbstractItemModel *model = table->model();
    ASSERT_EQ(model->rowCount(), 2);
    EXPECT_EQ(model->index(0, 1).data().toString(), QStringLiteral("Video"));
    EXPECT_EQ(model->index(1, 1).data().toString(), QStringLiteral("Ảnh"));
    EXPECT_EQ(model->index(1, 3).data().toString(), QStringLiteral("Screenshot_1.png"));
}

TEST(HistoryTableView, CopyShortcutGoesToTheHandler)
{
    const struct {
        Qt::KeyboardModifiers modifiers;
        Qt::Key key;
        int copies;
    } cases[] = {
        {Qt::ControlModifier, Qt::Key_C, 1},
        {Qt::MetaModifier, Qt::Key_C, 1},
        {Qt::ControlModifier | Qt::ShiftModifier, Qt::Key_C, 1},
        {Qt::NoModifier, Qt::Key_C, 0},
        {Qt::ControlModifier, Qt::Key_V, 0},
    };
    for (const auto &c : cases) {
        HistoryTableView view;
        int copies = 0;
        view.copyHandler = [&copies] { ++copies; };
        QTest::keyClick(&view, c.key, c.modifiers);
        EXPECT_EQ(copies, c.copies) << int(c.modifiers) << " " << c.key;
    }
}

namespace {

// Stands in for the desktop's default applications.
class OpenedUrls : public QObject {
    Q_OBJECT
public:
    QList<QUrl> urls;
public slots:
    void open(const QUrl &url) { urls.append(url); }
};

} // namespace

TEST(MainWindowController, CopyAndOpenActOnTheSelectedRow)
{
    Fixture f;
    const QString shot = f.dir.filePath("Screenshot_1.png");
    QImage image(40, 30, QImage::Format_RGB32);
    image.fill(Qt::red);
    ASSERT_TRUE(image.save(shot));
    // Newest first: the video, the missing screenshot, the real one.
    f.database.add(CaptureKind::screenshot, shot);
    f.database.add(CaptureKind::screenshot, f.dir.filePath("Screenshot_gone.png"));
    f.database.add(CaptureKind::video, f.dir.filePath("Recording_1.mp4"));
    f.controller.reloadHistory();

    OpenedUrls opened;
    QDesktopServices::setUrlHandler(QStringLiteral("file"), &opened, "open");
    QList<QString> edits;
    QObject::connect(&f.controller, &MainWindowController::editRequested,
                     [&](const QString &path, const QImage &edited) {
                         EXPECT_EQ(edited.convertToFormat(QImage::Format_RGB32), image);
                         edits.append(path);
                     });
    HistoryTableView *table = static_cast<MainWindow *>(f.controller.window())->table();

    f.controller.copySelected();   // nothing selected: nothing happens
    f.controller.openSelected();
    EXPECT_TRUE(f.clipboard.entries.empty());
    EXPECT_EQ(f.controller.status(), QStringLiteral("Sẵn sàng"));

    const struct {
        int row;
        QString status;
        const char *format;   // what the clipboard entry carries
        bool edits;           // opens in the editor rather than the default application
    } cases[] = {
        {2, "Đã sao chép ảnh: Screenshot_1.png", "image/png", true},
        {1, "Đã sao chép video: Screenshot_gone.png", "text/uri-list", false},
        {0, "Đã sao chép video: Recording_1.mp4", "x-special/gnome-copied-files", false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.row);
        const QString path = f.controller.items().at(c.row).path;
        table->selectRow(c.row);
        QTest::keyClick(table, Qt::Key_C, Qt::ControlModifier);
        EXPECT_EQ(f.controller.status(), c.status);
        ASSERT_FALSE(f.clipboard.entries.empty());
        EXPECT_TRUE(f.clipboard.entries.back()->hasFormat(c.format));
        if (!c.edits) {
            EXPECT_EQ(f.clipboard.entries.back()->urls(), QList<QUrl>{QUrl::fromLocalFile(path)});
        }

        edits.clear();
        opened.urls.clear();
        f.controller.openSelected();
        EXPECT_EQ(edits, c.edits ? QList<QString>{path} : QList<QString>{});
        EXPECT_EQ(opened.urls, c.edits ? QList<QUrl>{} : QList<QUrl>{QUrl::fromLocalFile(path)});
    }
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
}

#include "MainWindowControllerTest.moc"
