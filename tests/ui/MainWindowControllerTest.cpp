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

#include <QPushButton>
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

TEST(MainWindowController, StatusChannelReachesTheWindow)
{
    Fixture f;
    EXPECT_EQ(f.controller.status(), QStringLiteral("Sẵn sàng"));
    ASSERT_TRUE(f.capture.onStatus);
    f.capture.onStatus(QStringLiteral("Đã lưu và sao chép: a.png"));
    EXPECT_EQ(f.controller.status(), QStringLiteral("Đã lưu và sao chép: a.png"));
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
    struct Case {
        Qt::KeyboardModifiers modifiers;
        Qt::Key key;
        int expectedCopies;
    } cases[] = {
        {Qt::ControlModifier, Qt::Key_C, 1},
        {Qt::MetaModifier, Qt::Key_C, 1},
        {Qt::ControlModifier | Qt::ShiftModifier, Qt::Key_C, 1},
        {Qt::NoModifier, Qt::Key_C, 0},
        {Qt::ControlModifier, Qt::Key_V, 0},
    };
    for (const Case &c : cases) {
        HistoryTableView view;
        int copies = 0;
        view.copyHandler = [&copies] { ++copies; };
        QTest::keyClick(&view, c.key, c.modifiers);
        EXPECT_EQ(copies, c.expectedCopies) << int(c.modifiers) << " " << c.key;
    }
}
