#include "keyboard/KeyRemapper.h"
#include "platform/fake/FakeHotKeyService.h"
#include "platform/fake/FakeProcessRunner.h"
#include "platform/fake/FakeScreenEnvironment.h"
#include "ui/KeyMappingController.h"

#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace {

QPushButton *buttonTitled(QWidget *window, const QString &title)
{
    for (QPushButton *b : window->findChildren<QPushButton *>())
        if (b->text() == title)
            return b;
    return nullptr;
}

QStringList itemsOf(const QComboBox *combo)
{
    QStringList items;
    for (int i = 0; i < combo->count(); ++i)
        items << combo->itemText(i);
    return items;
}

QByteArray readAll(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

struct Fixture {
    QTemporaryDir dir;
    FakeProcessRunner processes;
    FakeHotKeyService hotKeys;
    FakeScreenEnvironment screens;
    KeyRemapper remapper{processes, hotKeys, "/opt/vistrel/vistrel-keymap"};
    QString file = dir.filePath("key-mappings.json");
    std::unique_ptr<KeyMappingController> controller;

    void open()
    {
        controller = std::make_unique<KeyMappingController>(remapper, screens, file);
        QCoreApplication::processEvents();
    }
    void choose(const QString &source, const QString &destination)
    {
        controller->sourceKeyPopup()->setCurrentText(source);
        controller->destinationKeyPopup()->setCurrentText(destination);
    }
    void click(const QString &title)
    {
        QPushButton *b = buttonTitled(controller->window(), title);
        ASSERT_TRUE(b) << title.toStdString();
        QTest::mouseClick(b, Qt::LeftButton);
        QCoreApplication::processEvents();
    }
    QString lastProperty() const { return processes.runs().last().arguments.last(); }
    // The app's retry tick: the remapper retries, the window repaints.
    void tick()
    {
        remapper.start();
        controller->refreshPermissionState();
        QCoreApplication::processEvents();
    }
};

} // namespace

TEST(KeyMappingController, AddingAMappingSavesAppliesAndUpdatesBothPopups)
{
    Fixture f;
    f.open();
    f.remapper.start();
    const auto runsBefore = f.processes.runCount();

    f.choose("Caps Lock", "Escape");
    f.click("＋");

    EXPECT_EQ(readAll(f.file), QByteArray(R"([{"source":"Caps Lock","destination":"Escape"}])"));
    EXPECT_EQ(itemsOf(f.controller->customMappingsPopup()), QStringList{"Caps Lock  →  Escape"});
    EXPECT_EQ(f.controller->sourceKeyPopup()->count(), 70); // which one goes is the editor's rule
    // In force, so the new mapping reaches the keyboard at once.
    ASSERT_EQ(f.processes.runCount(), runsBefore + 1);
    EXPECT_TRUE(f.lastProperty().contains(R"("HIDKeyboardModifierMappingDst":30064771113,"HIDKeyboardModifierMappingSrc":30064771129)"))
        << f.lastProperty().toStdString();
}

TEST(KeyMappingController, RefusedChoicesWriteNothing)
{
    Fixture f;
    f.open();
    f.choose("Caps Lock", "Caps Lock");
    f.click("＋");
    EXPECT_FALSE(QFile::exists(f.file));
    EXPECT_EQ(itemsOf(f.controller->customMappingsPopup()), QStringList{"Chưa có mapping"});

    // "×" on the placeholder row removes nothing and writes nothing either.
    f.click("×");
    EXPECT_FALSE(QFile::exists(f.file));
}

TEST(KeyMappingController, RemovingTheLastMappingBringsBackThePlaceholderAndTheSource)
{
    Fixture f;
    QFile seed(f.file);
    ASSERT_TRUE(seed.open(QIODevice::WriteOnly));
    seed.write(R"([{"source":"Caps Lock","destination":"Escape"},{"source":"Tab","destination":"A"}])");
    seed.close();
    f.open();
    EXPECT_EQ(f.remapper.customMappings().size(), 2);   // handed over at construction

    f.controller->customMappingsPopup()->setCurrentIndex(0);
    f.click("×");
    EXPECT_EQ(readAll(f.file), QByteArray(R"([{"source":"Tab","destination":"A"}])"));
    EXPECT_TRUE(itemsOf(f.controller->sourceKeyPopup()).contains("Caps Lock"));

    f.controller->customMappingsPopup()->setCurrentIndex(0);
    f.click("×");
    EXPECT_EQ(readAll(f.file), QByteArray("[]"));
    EXPECT_EQ(itemsOf(f.controller->customMappingsPopup()), QStringList{"Chưa có mapping"});
    EXPECT_TRUE(f.remapper.customMappings().isEmpty());
}

TEST(KeyMappingController, TickRunsAFailingToolOnceAndPaintsWhatIsInForce)
{
    Fixture f;
    f.processes.defaultResult = FakeProcessRunner::exited(1);   // the tool keeps failing
    f.open();
    QPushButton *pill = f.controller->mappingToggle();
    QLabel *line = f.controller->permissionStatus();
    // Built before the remapper starts: asked for, but paused.
    EXPECT_TRUE(pill->isChecked());
    EXPECT_EQ(pill->text(), QStringLiteral("○  PAUSED"));
    EXPECT_EQ(line->text(), QStringLiteral("○  ĐANG TẠM DỪNG"));

    for (qsizetype tick = 1; tick <= 2; ++tick) {
        SCOPED_TRACE(tick);
        f.tick();
        EXPECT_EQ(f.processes.runCount(), tick);   // the repaint must not retry as well
        EXPECT_TRUE(f.remapper.isRequested());
        EXPECT_TRUE(pill->isChecked());
        EXPECT_EQ(pill->text(), QStringLiteral("○  PAUSED"));
    }

    f.processes.defaultResult = FakeProcessRunner::exited(0);
    f.tick();
    EXPECT_EQ(f.processes.runCount(), 3);
    EXPECT_EQ(pill->text(), QStringLiteral("●  ACTIVE"));
    EXPECT_EQ(line->text(), QStringLiteral("●  ĐANG HOẠT ĐỘNG"));
}

TEST(KeyMappingController, ToggleFollowsWhatTheRemapperWasAsked)
{
    Fixture f;
    f.open();
    f.remapper.start();
    QCoreApplication::processEvents();
    QPushButton *pill = f.controller->mappingToggle();
    ASSERT_EQ(pill->text(), QStringLiteral("●  ACTIVE"));

    f.click("●  ACTIVE");
    EXPECT_FALSE(f.remapper.isRequested());
    EXPECT_FALSE(f.remapper.isRunning());
    EXPECT_EQ(f.lastProperty(), QStringLiteral(R"({"UserKeyMapping":[]})"));
    EXPECT_EQ(pill->text(), QStringLiteral("○  PAUSED"));
    EXPECT_FALSE(pill->isChecked());

    const auto runs = f.processes.runCount();
    f.tick();
    EXPECT_EQ(f.processes.runCount(), runs);
    EXPECT_FALSE(f.remapper.isRunning());

    f.click("○  PAUSED");
    EXPECT_TRUE(f.remapper.isRunning());
    EXPECT_EQ(pill->text(), QStringLiteral("●  ACTIVE"));
    EXPECT_TRUE(pill->isChecked());

    // Turned off without the toggle (the quit path): a repaint shows it and turns nothing back on.
    f.remapper.stop();
    f.controller->refreshPermissionState();
    EXPECT_FALSE(f.remapper.isRunning());
    EXPECT_FALSE(pill->isChecked());
    EXPECT_EQ(pill->text(), QStringLiteral("○  PAUSED"));
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
    window->hide();
}
