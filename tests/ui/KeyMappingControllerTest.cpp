#include "ui/KeyMappingController.h"

#include "support/TestFiles.h"
#include "ui/UiTestSupport.h"

#include <QComboBox>
#include <QLabel>

namespace {

QStringList itemsOf(const QComboBox *combo)
{
    QStringList items;
    for (int i = 0; i < combo->count(); ++i)
        items << combo->itemText(i);
    return items;
}

struct Fixture : KeyboardFakes {
    QString file = dir.filePath("key-mappings.json");
    std::unique_ptr<KeyMappingController> controller;

    void open(const QByteArray &saved = {})
    {
        if (!saved.isEmpty())
            writeFile(file, saved);
        controller = std::make_unique<KeyMappingController>(remapper, screens, file);
        QCoreApplication::processEvents();
    }
    QStringList mappings() const { return itemsOf(controller->customMappingsPopup()); }
    QPushButton *button(const QString &title) const
    {
        for (QPushButton *b : controller->window()->findChildren<QPushButton *>())
            if (b->text() == title)
                return b;
        return nullptr;
    }
    void click(const QString &title)
    {
        QPushButton *b = button(title);
        ASSERT_TRUE(b) << title.toStdString();
        QTest::mouseClick(b, Qt::LeftButton);
        QCoreApplication::processEvents();
    }
    void add(const QString &source, const QString &destination)
    {
        controller->sourceKeyPopup()->setCurrentText(source);
        controller->destinationKeyPopup()->setCurrentText(destination);
        click("＋");
    }
    // The app's retry tick: the remapper retries, the window repaints.
    void tick()
    {
        remapper.start();
        controller->refreshPermissionState();
        QCoreApplication::processEvents();
    }
};

TEST(KeyMappingController, AddedMappingsAreSavedAppliedAndReadBackRefusedOnesWriteNothing)
{
    Fixture f;
    f.open();
    f.add("Caps Lock", "Caps Lock"); // refused
    f.click("×");                    // on the placeholder row
    EXPECT_FALSE(QFile::exists(f.file));
    EXPECT_EQ(f.mappings(), QStringList{"Chưa có mapping"});
    f.add("Caps Lock", "Escape");
    EXPECT_EQ(f.mappings(), QStringList{"Caps Lock  →  Escape"});
    EXPECT_EQ(f.controller->sourceKeyPopup()->count(), 70); // which one goes is the editor's rule
    // The first destination of the list is a choice like any other.
    f.controller->sourceKeyPopup()->setCurrentText("Tab");
    f.controller->destinationKeyPopup()->setCurrentIndex(0);
    f.click("＋");
    EXPECT_EQ(f.mappings(), QStringList({"Caps Lock  →  Escape", "Tab  →  Control trái"}));

    // The next session reads them back; removing the last one brings back the placeholder.
    Fixture next;
    next.open(readFile(f.file));
    next.controller->customMappingsPopup()->setCurrentIndex(0);
    next.click("×");
    EXPECT_EQ(readFile(next.file), QByteArray(R"([{"source":"Tab","destination":"Control trái"}])"));
    EXPECT_TRUE(itemsOf(next.controller->sourceKeyPopup()).contains("Caps Lock"));
    next.controller->customMappingsPopup()->setCurrentIndex(0);
    next.click("×");
    EXPECT_EQ(readFile(next.file), QByteArray("[]"));
    EXPECT_EQ(next.mappings(), QStringList{"Chưa có mapping"});
    EXPECT_TRUE(next.remapper.customMappings().isEmpty());
}

TEST(KeyMappingController, TickRunsAFailingToolOnceAndTheToggleFollowsWhatTheRemapperWasAsked)
{
    Fixture f;
    f.processes.defaultResult = FakeProcessRunner::exited(1); // the tool keeps failing
    f.open();
    QPushButton *pill = f.controller->mappingToggle();
    QLabel *line = f.controller->permissionStatus();
    // Built before the remapper starts: asked for, but paused.
    EXPECT_EQ(line->text(), QStringLiteral("○  ĐANG TẠM DỪNG"));
    const auto shows = [&](bool checked, bool running) {
        EXPECT_EQ(pill->text(), running ? QStringLiteral("●  ACTIVE") : QStringLiteral("○  PAUSED"));
        EXPECT_EQ(pill->isChecked(), checked);
        EXPECT_EQ(f.remapper.isRunning(), running);
    };
    for (qsizetype tick = 0; tick <= 2; ++tick) {
        SCOPED_TRACE(tick);
        if (tick > 0)
            f.tick();
        EXPECT_EQ(f.processes.runCount(), tick); // the repaint must not retry as well
        EXPECT_TRUE(f.remapper.isRequested());
        shows(true, false);
    }
    f.processes.defaultResult = FakeProcessRunner::exited(0);
    f.tick();
    EXPECT_EQ(f.processes.runCount(), 3);
    shows(true, true);
    EXPECT_EQ(line->text(), QStringLiteral("●  ĐANG HOẠT ĐỘNG"));

    f.click("●  ACTIVE");
    shows(false, false);
    EXPECT_FALSE(f.remapper.isRequested());
    EXPECT_EQ(f.lastProperty(), QStringLiteral(R"({"UserKeyMapping":[]})"));
    f.tick();
    EXPECT_EQ(f.processes.runCount(), 4);
    shows(false, false);
    f.click("○  PAUSED");
    shows(true, true);
    // Turned off without the toggle (the quit path): a repaint shows it and turns nothing back on.
    f.remapper.stop();
    f.controller->refreshPermissionState();
    shows(false, false);
}

TEST(KeyMappingController, WindowIsBuiltOnceAndKeepsItsLayout)
{
    Fixture f;
    f.open();
    QWidget *window = f.controller->window();
    f.controller->showMappingWindow();
    f.controller->showMappingWindow();
    EXPECT_EQ(f.controller->window(), window);
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Vistrel · Ánh xạ phím"));
    EXPECT_EQ(window->size(), QSize(720, 470));
    // System tests click these points; keep them where they are.
    EXPECT_EQ(f.controller->mappingToggle()->geometry(), QRect(554, 32, 126, 40));
    EXPECT_EQ(f.controller->mappingToggle()->font().pixelSize(), 11);
    QStringList labels;
    for (const QLabel *label : window->findChildren<QLabel *>())
        labels << label->text();
    EXPECT_TRUE(labels.contains("Phím nguồn") && labels.contains("Phím đích")) << labels.join(", ").toStdString();
    EXPECT_EQ(f.controller->customMappingsPopup()->nextInFocusChain(), f.button("×")); // Tab from the list
    window->hide();
}

} // namespace
