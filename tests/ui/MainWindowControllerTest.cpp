#include "capture/library/CaptureService.h"
#include "platform/WindowExitWatcher.h"
#include "platform/fake/FakeClipboard.h"
#include "storage/HistoryDatabase.h"
#include "ui/HistoryTableModel.h"
#include "ui/HistoryTableView.h"
#include "ui/MainWindow.h"
#include "ui/MainWindowController.h"

#include "support/TestFiles.h"
#include "ui/UiTestSupport.h"

#include <QDesktopServices>
#include <QUrl>

namespace {

struct Fixture : KeyboardFakes {
    HistoryDatabase database{dir.path()};
    FakeClipboard clipboard;
    WindowExitWatcher windowExits;
    CaptureService capture{database, clipboard, dir.filePath("Documents"), dir.filePath("Desktop")};
    MainWindowController controller{database, capture, remapper, screens, windowExits, dir.filePath("key-mappings.json")};
    MainWindow *window() { return static_cast<MainWindow *>(controller.window()); }
};

// Stands in for the desktop's default applications.
class OpenedUrls : public QObject {
    Q_OBJECT
public:
    QList<QUrl> urls;
public slots:
    void open(const QUrl &url) { urls.append(url); }
};

TEST(MainWindowController, OneWindowKeepsItsShapeThroughHideAndShowAndListsTheNewestFirst)
{
    Fixture f;
    QWidget *w = f.controller.window();
    EXPECT_EQ(w->size(), QSize(1080, 760));
    EXPECT_EQ(f.window()->mappingButton()->geometry().center(), QPoint(963, 48)); // (964, 49) as a click point
    f.controller.showWindow();
    EXPECT_TRUE(f.controller.isWindowVisible());
    auto *hide = w->findChild<QPushButton *>(QStringLiteral("hideButton"));
    ASSERT_TRUE(hide);
    QTest::mouseClick(hide, Qt::LeftButton);
    EXPECT_FALSE(f.controller.isWindowVisible());
    f.controller.showWindow();
    EXPECT_EQ(f.controller.window(), w);
    EXPECT_TRUE(f.controller.isWindowVisible());
    w->hide();

    // Video tiles come from the frame reader the app hands in.
    f.controller.setVideoFrameReader([](const QString &, double) { return filled({160, 90}, Qt::red); });
    // History changes reload the newest rows first.
    f.database.add(CaptureKind::screenshot, f.dir.filePath("Desktop/Screenshot_1.png"));
    f.database.add(CaptureKind::video, f.dir.filePath("Documents/Recordings/Recording_1.mp4"));
    EXPECT_TRUE(f.controller.items().isEmpty()); // only a change notice reloads
    f.capture.onHistoryChanged();
    const QAbstractItemModel *model = f.window()->table()->model();
    ASSERT_EQ(model->rowCount(), 2);
    const auto cell = [&](int row, int column, int role = Qt::DisplayRole) { return model->index(row, column).data(role).toString(); };
    EXPECT_EQ(QStringList({cell(0, 1), cell(1, 1), cell(1, 3)}), QStringList({"Video", "Ảnh", "Screenshot_1.png"}));
    EXPECT_EQ(cell(1, 3, Qt::ToolTipRole), f.dir.filePath("Desktop/Screenshot_1.png")); // the whole path on hover
    EXPECT_EQ(cell(1, 3, Qt::EditRole), QString());
    EXPECT_EQ(model->headerData(3, Qt::Horizontal).toString(), QStringLiteral("Tệp"));
    EXPECT_FALSE(model->headerData(model->columnCount(), Qt::Horizontal).isValid());
    EXPECT_TRUE(QTest::qWaitFor([&] {
        const QImage tile = model->index(0, HistoryTableModel::thumb).data(Qt::DecorationRole).value<QImage>();
        return !tile.isNull() && tile.pixelColor(tile.width() / 2, tile.height() / 2) == QColor(Qt::red);
    }, 10000));
}

TEST(HistoryTableView, CopyShortcutGoesToTheHandler)
{
    for (const auto &[modifiers, key, expected] :
         {std::tuple{Qt::KeyboardModifiers(Qt::ControlModifier), Qt::Key_C, 1}, {Qt::MetaModifier, Qt::Key_C, 1},
          {Qt::ControlModifier | Qt::ShiftModifier, Qt::Key_C, 1}, {Qt::NoModifier, Qt::Key_C, 0}, {Qt::ControlModifier, Qt::Key_V, 0}}) {
        HistoryTableView view;
        int copies = 0;
        view.copyHandler = [&copies] { ++copies; };
        QTest::keyClick(&view, key, modifiers);
        EXPECT_EQ(copies, expected) << int(modifiers) << " " << key;
    }
}

TEST(MainWindowController, CopyAndOpenActOnTheSelectedRow)
{
    Fixture f;
    const QString shot = f.dir.filePath("Screenshot_1.png");
    const QImage image = filled({40, 30}, Qt::red);
    ASSERT_TRUE(image.save(shot));
    // Newest first: the video, the missing screenshot, the real one.
    f.database.add(CaptureKind::screenshot, shot);
    f.database.add(CaptureKind::screenshot, f.dir.filePath("Screenshot_gone.png"));
    f.database.add(CaptureKind::video, f.dir.filePath("Recording_1.mp4"));
    f.controller.reloadHistory();
    OpenedUrls opened;
    QDesktopServices::setUrlHandler(QStringLiteral("file"), &opened, "open");
    QList<QString> edits;
    QObject::connect(&f.controller, &MainWindowController::editRequested, [&](const QString &path, const QImage &edited) {
        EXPECT_EQ(edited.convertToFormat(QImage::Format_RGB32), image);
        edits.append(path);
    });
    f.controller.copySelected(); // nothing selected: nothing happens
    f.controller.openSelected();
    EXPECT_TRUE(f.clipboard.entries.empty());
    EXPECT_EQ(f.controller.status(), QStringLiteral("Sẵn sàng"));
    // The clipboard entry's format; a picture opens in the editor, the rest in the default application.
    for (const auto &[row, status, format, inEditor] : {std::tuple{2, "Đã sao chép ảnh: Screenshot_1.png", "image/png", true},
                                                        {1, "Đã sao chép video: Screenshot_gone.png", "text/uri-list", false},
                                                        {0, "Đã sao chép video: Recording_1.mp4", "x-special/gnome-copied-files", false}}) {
        SCOPED_TRACE(row);
        const QString path = f.controller.items().at(row).path;
        f.window()->table()->selectRow(row);
        QTest::keyClick(f.window()->table(), Qt::Key_C, Qt::ControlModifier);
        EXPECT_EQ(f.controller.status(), QString::fromUtf8(status));
        ASSERT_FALSE(f.clipboard.entries.empty());
        EXPECT_TRUE(f.clipboard.entries.back()->hasFormat(format));
        EXPECT_TRUE(inEditor || f.clipboard.entries.back()->urls() == QList{QUrl::fromLocalFile(path)});
        edits.clear();
        opened.urls.clear();
        f.controller.openSelected();
        EXPECT_EQ(edits, inEditor ? QList{path} : QList<QString>{});
        EXPECT_EQ(opened.urls, inEditor ? QList<QUrl>{} : QList{QUrl::fromLocalFile(path)});
    }
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
}

} // namespace

#include "MainWindowControllerTest.moc"
