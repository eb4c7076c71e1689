#include "capture/CaptureTestDoubles.h"

#include <QCursor>
#include <QDialog>
#include <QPointer>

namespace {

class RegionSelectorControllerTest : public ::testing::Test {
protected:
    std::unique_ptr<RegionSelectorController> open()
    {
        QImage frozen(screen->geometry().size(), QImage::Format_RGB32);
        frozen.fill(Qt::gray);
        return std::make_unique<RegionSelectorController>("Kéo", nullptr, frozen, [this](std::optional<QRectF> rect, QScreen *s) {
            answers.push_back({rect, s});
            if (afterAnswer)
                afterAnswer();
        }, screens);
    }
    static Qt::CursorShape cursor() { return QGuiApplication::overrideCursor() ? QGuiApplication::overrideCursor()->shape() : Qt::BitmapCursor; }

    QScreen *screen = QGuiApplication::primaryScreen();
    FakeScreenEnvironment screens;
    std::vector<std::pair<std::optional<QRectF>, QScreen *>> answers;
    std::function<void()> afterAnswer;
};

TEST_F(RegionSelectorControllerTest, CoversTheScreenAndAnswersADragOnce)
{
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);   // someone else's, kept throughout
    screens.pointer = screen->geometry().center();
    auto selector = open();
    RegionSelectorView *view = selector->view();
    EXPECT_EQ(selector->targetScreen(), screen);
    EXPECT_TRUE(view->isVisible());
    EXPECT_EQ(view->geometry(), screen->geometry());
    EXPECT_EQ(cursor(), Qt::CrossCursor);
    // A click, then a drag too thin (3 × 100): no answer, still open.
    QTest::mouseClick(view, Qt::LeftButton, {}, {50, 50});
    dragOn(view, {50, 50}, {53, 150});
    EXPECT_TRUE(answers.empty());
    EXPECT_TRUE(view->isVisible());

    dragOn(view, {10, 20}, {110, 70});
    QTest::keyClick(view, Qt::Key_Escape);
    dragOn(view, {10, 20}, {300, 300});
    const QRectF expected(QPointF(screen->geometry().topLeft()) + QPointF(10, 20), QSizeF(100, 50));
    EXPECT_EQ(answers, (decltype(answers){{expected, screen}}));
    EXPECT_FALSE(view->isVisible());
    EXPECT_EQ(cursor(), Qt::WaitCursor);
    // Once answered it lets Escape through to the rest of the application.
    QDialog dialog;
    dialog.show();
    QTest::keyClick(&dialog, Qt::Key_Escape);
    EXPECT_FALSE(dialog.isVisible());
    selector.reset();
    EXPECT_EQ(cursor(), Qt::WaitCursor);
    QGuiApplication::restoreOverrideCursor();
}

TEST_F(RegionSelectorControllerTest, ReleasedMidDragItTearsDownWithoutAnAnswer)
{
    auto selector = open();
    QPointer<QWidget> view = selector->view();
    QTest::mousePress(view, Qt::LeftButton, {}, {10, 10});
    QTest::mouseMove(view, {200, 200});
    selector.reset();
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    ASSERT_TRUE(view);
    EXPECT_FALSE(view->isVisible());
    QTest::keyClick(view, Qt::Key_Escape);   // goes nowhere after teardown
    EXPECT_TRUE(answers.empty());
    flushDeletions();
    EXPECT_FALSE(view);

    // The owner may also release it from inside the answer.
    selector = open();
    afterAnswer = [&] { selector.reset(); };
    dragOn(selector->view(), {10, 10}, {100, 100});
    EXPECT_TRUE(answers.size() == 1 && !selector);
    flushDeletions();
}

// Escape meant for any other window cancels the selection and goes no further.
TEST_F(RegionSelectorControllerTest, EscapeAnywhereCancelsAndIsSwallowed)
{
    QDialog dialog;
    dialog.show();
    auto selector = open();
    QTest::keyClick(&dialog, Qt::Key_Escape);
    EXPECT_EQ(answers, (decltype(answers){{std::nullopt, screen}}));
    EXPECT_TRUE(dialog.isVisible());
}

} // namespace
