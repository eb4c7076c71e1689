#include "capture/CaptureTestDoubles.h"
#include "capture/selector/SelectorDriving.h"

#include "capture/selector/RegionSelectorController.h"
#include "capture/selector/RegionSelectorView.h"

#include <QCursor>
#include <QPointer>
#include <gtest/gtest.h>

namespace {

struct Answer {
    std::optional<QRectF> rect;
    QScreen *screen;
};

class RegionSelectorControllerTest : public ::testing::Test {
protected:
    std::unique_ptr<RegionSelectorController> open()
    {
        QImage frozen(screen->geometry().size(), QImage::Format_RGB32);
        frozen.fill(Qt::gray);
        return std::make_unique<RegionSelectorController>(
            "Kéo", nullptr, frozen,
            [this](std::optional<QRectF> rect, QScreen *s) {
                answers.push_back({rect, s});
                if (afterAnswer)
                    afterAnswer();
            },
            screens);
    }

    QScreen *screen = QGuiApplication::primaryScreen();
    FakeScreenEnvironment screens;
    std::vector<Answer> answers;
    std::function<void()> afterAnswer;
};

TEST_F(RegionSelectorControllerTest, CoversTheScreenAndAnswersADragOnce)
{
    screens.pointer = screen->geometry().center();
    auto selector = open();
    RegionSelectorView *view = selector->view();
    EXPECT_EQ(selector->targetScreen(), screen);
    EXPECT_TRUE(view->isVisible());
    EXPECT_EQ(view->geometry(), screen->geometry());
    ASSERT_NE(QGuiApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::CrossCursor);

    // A click, then a drag too thin (3 × 100): no answer, still open.
    QTest::mouseClick(view, Qt::LeftButton, {}, {50, 50});
    dragOn(view, {50, 50}, {53, 150});
    EXPECT_TRUE(answers.empty());
    EXPECT_TRUE(view->isVisible());

    dragOn(view, {10, 20}, {110, 70});
    ASSERT_EQ(answers.size(), 1u);
    EXPECT_EQ(answers[0].rect, QRectF(QPointF(screen->geometry().topLeft()) + QPointF(10, 20), QSizeF(100, 50)));
    EXPECT_EQ(answers[0].screen, screen);
    EXPECT_FALSE(view->isVisible());
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);

    QTest::keyClick(view, Qt::Key_Escape);
    dragOn(view, {10, 20}, {300, 300});
    EXPECT_EQ(answers.size(), 1u);
}

TEST_F(RegionSelectorControllerTest, EscapeEndsWithoutARectangleExactlyOnce)
{
    struct Case {
        const char *name;
        bool dragFirst;
        int escapes;
        bool strayRelease;
    } cases[] = {
        {"two escapes while idle", false, 2, false},
        {"escape while dragging, then a stray release", true, 1, true},
    };
    for (const Case &c : cases) {
        answers.clear();
        auto selector = open();
        QWidget *view = selector->view();
        if (c.dragFirst) {
            QTest::mousePress(view, Qt::LeftButton, {}, {10, 10});
            QTest::mouseMove(view, {200, 200});
        }
        for (int i = 0; i < c.escapes; ++i)
            QTest::keyClick(view, Qt::Key_Escape);
        if (c.strayRelease)
            QTest::mouseRelease(view, Qt::LeftButton, {}, {200, 200});
        ASSERT_EQ(answers.size(), 1u) << c.name;
        EXPECT_FALSE(answers[0].rect) << c.name;
        EXPECT_EQ(answers[0].screen, screen) << c.name;
        EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr) << c.name;
    }
}

TEST_F(RegionSelectorControllerTest, ReleasingTearsDownWithoutACompletion)
{
    auto selector = open();
    QPointer<QWidget> view = selector->view();
    QTest::mousePress(view, Qt::LeftButton, {}, {10, 10});
    QTest::mouseMove(view, {200, 200});
    selector.reset();
    EXPECT_TRUE(answers.empty());
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    ASSERT_TRUE(view);
    EXPECT_FALSE(view->isVisible());
    // Escape after teardown goes nowhere.
    QTest::keyClick(view, Qt::Key_Escape);
    EXPECT_TRUE(answers.empty());
    flushDeletions();
    EXPECT_FALSE(view);
}

TEST_F(RegionSelectorControllerTest, TheOwnerMayReleaseItFromTheCompletion)
{
    auto selector = open();
    afterAnswer = [&] { selector.reset(); };
    dragOn(selector->view(), {10, 10}, {100, 100});
    EXPECT_EQ(answers.size(), 1u);
    EXPECT_EQ(selector, nullptr);
    flushDeletions();
}

} // namespace
