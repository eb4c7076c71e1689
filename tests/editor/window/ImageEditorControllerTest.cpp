#include "editor/window/EditorWindowTestSupport.h"

#include "editor/overlays/CanvasOverlays.h"
#include "editor/window/ColorWell.h"
#include "editor/overlays/EditableImageOverlayView.h"
#include "editor/overlays/EditableTextOverlayView.h"
#include "editor/canvas/EditorCanvasView.h"
#include "editor/window/EditorChoices.h"
#include "editor/window/EditorSidePanel.h"
#include "editor/window/EditorStatusBar.h"
#include "editor/window/EditorToolBar.h"
#include "editor/window/ImageEditorController.h"
#include "editor/window/ImageEditorWindow.h"
#include "editor/imaging/PastedImage.h"
#include "platform/SystemClipboard.h"

#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QScrollArea>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <vector>

using namespace EditorWindowTestSupport;
using testing::_;
using testing::ElementsAre;
using testing::Optional;
using testing::Return;

namespace {

class EditorControllerTest : public ::testing::Test {
protected:
    void open(const QImage &image)
    {
        editor = std::make_unique<ImageEditorController>(image, nullptr, clipboard, [this](std::optional<QImage> edited) {
            results.push_back(std::move(edited));
        });
        auto chooserOwned = std::make_unique<testing::NiceMock<MockFileChooser>>();
        chooser = chooserOwned.get();
        editor->setFileChooser(std::move(chooserOwned));
        editor->window()->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(editor->window()));
        QCoreApplication::processEvents(); // the first fit
    }

    EditorCanvasModel &model() { return editor->canvas().model(); }
    QComboBox *zoomPicker() { return editor->sidePanel().zoomPicker(); }

    QStringList zoomItems()
    {
        QStringList items;
        for (int i = 0; i < zoomPicker()->count(); ++i)
            items << zoomPicker()->itemText(i);
        return items;
    }

    SystemClipboard clipboard;   // the offscreen platform's own
    std::unique_ptr<ImageEditorController> editor;
    MockFileChooser *chooser = nullptr;
    std::vector<std::optional<QImage>> results;
};

TEST_F(EditorControllerTest, SavingCompletesOnceWithTheImageThenTheCloseIsQuiet)
{
    open(solid(300, 200, Qt::white));
    editor->overlays().addImageOverlay(solid(20, 20, Qt::black), QRectF(10, 10, 40, 40));
    editor->save();
    ASSERT_THAT(results, ElementsAre(Optional(_)));
    // The floating image went in before the copy was taken.
    EXPECT_EQ(results[0]->size(), QSize(300, 200));
    EXPECT_EQ(results[0]->pixelColor(30, 30), QColor(Qt::black));
    EXPECT_FALSE(editor->window()->isVisible());
    EXPECT_TRUE(editor->isFinished());

    editor->window()->close();
    editor->save();
    editor->cancel();
    EXPECT_EQ(results.size(), 1u);
}

TEST_F(EditorControllerTest, CancelAndTheCloseButtonCompleteOnceWithNothing)
{
    for (const bool viaCancel : {true, false}) {
        results.clear();
        open(solid(100, 100, Qt::white));
        if (viaCancel)
            QTest::mouseClick(editor->toolBar().actionButton(EditorToolBar::Action::cancel), Qt::LeftButton);
        else
            editor->window()->close();
        EXPECT_FALSE(editor->window()->isVisible());
        editor->window()->close();
        editor->save();
        ASSERT_EQ(results.size(), 1u) << viaCancel;
        EXPECT_FALSE(results[0].has_value());
    }
}

TEST_F(EditorControllerTest, TheOpenerMayDropTheEditorFromItsCompletion)
{
    int calls = 0;
    editor = std::make_unique<ImageEditorController>(solid(80, 60, Qt::white), nullptr, clipboard,
                                                     [&](std::optional<QImage>) { ++calls; editor.reset(); });
    const QPointer<ImageEditorWindow> window = editor->window();
    window->show();
    QTest::mouseClick(editor->toolBar().actionButton(EditorToolBar::Action::save), Qt::LeftButton);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(editor, nullptr);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(window.isNull());
}

TEST_F(EditorControllerTest, ZoomStepsStopAtTheirLimitsAndNameThePicker)
{
    open(solid(200, 100, Qt::white));
    EXPECT_DOUBLE_EQ(editor->canvas().zoom(), 1.0); // a small image is not enlarged by the fit
    for (int i = 0; i < 5; ++i)
        QTest::mouseClick(editor->statusBar().zoomInButton(), Qt::LeftButton);
    EXPECT_DOUBLE_EQ(editor->canvas().zoom(), 2.0);
    EXPECT_EQ(zoomPicker()->currentText(), QStringLiteral("200%"));
    editor->resetZoom();
    for (int i = 0; i < 3; ++i)
        editor->zoomOut();
    EXPECT_DOUBLE_EQ(editor->canvas().zoom(), 0.25);
    EXPECT_EQ(zoomPicker()->currentText(), QStringLiteral("25%"));
    EXPECT_EQ(editor->canvas().size(), QSize(50, 25));

    zoomPicker()->setCurrentIndex(zoomPicker()->findText(QStringLiteral("150%")));
    editor->zoomChanged();
    EXPECT_DOUBLE_EQ(editor->canvas().zoom(), 1.5);
    // 175 % was passed on the way up and is in the list now.
    EXPECT_EQ(zoomItems(), EditorChoices::zoomTitles() << QStringLiteral("175%"));
}

TEST_F(EditorControllerTest, FittingALargeImageAddsItsPercentage)
{
    open(solid(4000, 3000, Qt::white));
    const qreal zoom = editor->canvas().zoom();
    EXPECT_LT(zoom, 0.5);
    EXPECT_GE(zoom, 0.08);
    const QString title = EditorChoices::zoomTitle(zoom);
    EXPECT_EQ(zoomPicker()->currentText(), title);
    EXPECT_EQ(zoomItems().size(), EditorChoices::zoomTitles().size() + 1);
    // The fitted image lies inside the scroll view with room to spare.
    const QSize viewport = editor->scrollView().maximumViewportSize();
    EXPECT_LE(editor->canvas().width(), viewport.width() - 64 + 1);
    EXPECT_LE(editor->canvas().height(), viewport.height() - 64 + 1);

    editor->fitCanvasToWindow();
    EXPECT_EQ(zoomItems().size(), EditorChoices::zoomTitles().size() + 1);
}

TEST_F(EditorControllerTest, PickersAndQuickStylesSetTheDrawingStyle)
{
    open(solid(200, 100, Qt::white));
    EditorSidePanel &panel = editor->sidePanel();
    panel.widthPicker()->setCurrentIndex(panel.widthPicker()->findText(QStringLiteral("16")));
    editor->widthChanged();
    panel.opacityPicker()->setCurrentIndex(panel.opacityPicker()->findText(QStringLiteral("70%")));
    editor->opacityChanged();
    panel.fontPicker()->setCurrentIndex(panel.fontPicker()->findText(QStringLiteral("Menlo")));
    panel.textSizePicker()->setCurrentIndex(panel.textSizePicker()->findText(QStringLiteral("96")));
    editor->textStyleChanged();
    EXPECT_EQ(model().style().lineWidth, 16);
    EXPECT_DOUBLE_EQ(model().style().opacity, 0.7);
    EXPECT_EQ(model().style().textFontName, QStringLiteral("Menlo"));
    EXPECT_EQ(model().style().textFontSize, 96);

    // Width 8 is not in the list: the canvas takes it, the list keeps its choice.
    QTest::mouseClick(panel.quickStyleButton(7), Qt::LeftButton);
    EXPECT_EQ(model().style().lineWidth, 8);
    EXPECT_EQ(model().style().color, EditorChoices::quickStyles()[7].color);
    EXPECT_EQ(panel.colorWell()->color(), EditorChoices::quickStyles()[7].color);
    EXPECT_EQ(panel.widthPicker()->currentText(), QStringLiteral("16"));
    editor->applyQuickStyle(0);
    EXPECT_EQ(panel.widthPicker()->currentText(), QStringLiteral("4"));
    editor->applyQuickStyle(12);
    EXPECT_EQ(model().style().lineWidth, 4);
}

TEST_F(EditorControllerTest, ToolButtonsShowExactlyTheChosenTool)
{
    open(solid(200, 100, Qt::white));
    const auto checked = [this] {
        QList<EditTool> on;
        const auto &buttons = editor->toolBar().toolButtons();
        for (auto it = buttons.cbegin(); it != buttons.cend(); ++it)
            if (it.value()->isChecked())
                on.append(it.key());
        return on;
    };
    EXPECT_EQ(checked(), QList<EditTool>{EditTool::rectangle});
    QTest::mouseClick(editor->toolBar().toolButton(EditTool::arrow), Qt::LeftButton);
    EXPECT_EQ(model().tool(), EditTool::arrow);
    EXPECT_EQ(checked(), QList<EditTool>{EditTool::arrow});
    // Clicking the chosen tool again keeps it chosen.
    QTest::mouseClick(editor->toolBar().toolButton(EditTool::arrow), Qt::LeftButton);
    EXPECT_EQ(checked(), QList<EditTool>{EditTool::arrow});

    // The insertion tool with the dialogue cancelled: the previous tool stays.
    EXPECT_CALL(*chooser, chooseImageToInsert).WillOnce(Return(QString()));
    QTest::mouseClick(editor->toolBar().toolButton(EditTool::insertImage), Qt::LeftButton);
    EXPECT_EQ(model().tool(), EditTool::arrow);
    EXPECT_EQ(checked(), QList<EditTool>{EditTool::arrow});
    EXPECT_EQ(editor->overlays().imageOverlay(), nullptr);
    editor->selectTool(99);
    EXPECT_EQ(model().tool(), EditTool::arrow);
}

TEST_F(EditorControllerTest, AnImageFileFloatsAndLeavingTheToolAppliesIt)
{
    open(solid(400, 300, Qt::white));
    QTemporaryDir dir;
    const QString stamp = dir.filePath(QStringLiteral("stamp.webp"));
    EXPECT_CALL(*chooser, chooseImageToInsert).WillOnce(Return(dir.filePath("unreadable.png"))).WillOnce(Return(stamp));
    editor->selectTool(int(EditTool::insertImage));
    EXPECT_EQ(model().tool(), EditTool::rectangle);

    ASSERT_TRUE(solid(40, 40, Qt::blue).save(stamp, "WEBP", 100));
    editor->selectTool(int(EditTool::insertImage));
    EXPECT_EQ(model().tool(), EditTool::insertImage);
    ASSERT_NE(editor->overlays().imageOverlay(), nullptr);
    EXPECT_EQ(editor->insertImage().size(), QSize(40, 40));
    EXPECT_EQ(model().insertImage().size(), QSize(40, 40));

    editor->selectTool(int(EditTool::pen));
    EXPECT_EQ(editor->overlays().imageOverlay(), nullptr);
    EXPECT_EQ(model().undoCount(), 1);
}

TEST_F(EditorControllerTest, ControlVInsertsTheClipboardImageControlCSaves)
{
    open(solid(400, 300, Qt::white));
    QGuiApplication::clipboard()->setText(QStringLiteral("no picture"));
    QTest::keyClick(&editor->canvas(), Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(editor->overlays().imageOverlay(), nullptr);

    QGuiApplication::clipboard()->setImage(solid(4000, 3000, Qt::green));
    QTest::keyClick(&editor->canvas(), Qt::Key_V, Qt::ControlModifier);
    ASSERT_NE(editor->overlays().imageOverlay(), nullptr);
    EXPECT_EQ(model().tool(), EditTool::insertImage);
    EXPECT_TRUE(editor->toolBar().toolButton(EditTool::insertImage)->isChecked());

    QTest::keyClick(&editor->canvas(), Qt::Key_C, Qt::ControlModifier);
    ASSERT_THAT(results, ElementsAre(Optional(_)));
    EXPECT_EQ(results[0]->pixelColor(200, 150), QColor(Qt::green));
}

TEST_F(EditorControllerTest, InTheTextBoxControlCAndVEditTheText)
{
    open(solid(600, 400, Qt::white));
    editor->setSelectedTool(EditTool::text);
    editor->overlays().addText(QRectF(20, 20, 430, 185));
    QPlainTextEdit *text = editor->overlays().textOverlay()->textView();
    text->setPlainText(QStringLiteral("alpha beta"));
    text->selectAll();
    QTest::keyClick(text, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("alpha beta"));
    QTest::keyClick(text, Qt::Key_End);
    QTest::keyClick(text, Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(text->toPlainText(), QStringLiteral("alpha betaalpha beta"));
    // Return is a new line here, not a save.
    QTest::keyClick(text, Qt::Key_Return);
    EXPECT_TRUE(results.empty());
    EXPECT_EQ(text->toPlainText(), QStringLiteral("alpha betaalpha beta\n"));

    // Leaving the text tool applies the box.
    editor->selectTool(int(EditTool::pen));
    EXPECT_EQ(editor->overlays().textOverlay(), nullptr);
    EXPECT_EQ(model().undoCount(), 1);
}

TEST_F(EditorControllerTest, PastingAnImageLeavesTheOpenTextBoxFloating)
{
    open(solid(600, 400, Qt::white));
    editor->setSelectedTool(EditTool::text);
    QTest::mouseClick(&editor->canvas(), Qt::LeftButton, {}, QPoint(40, 300));
    ASSERT_NE(editor->overlays().textOverlay(), nullptr);
    QGuiApplication::clipboard()->setImage(solid(50, 50, Qt::blue));
    QTest::mouseClick(editor->toolBar().actionButton(EditorToolBar::Action::paste), Qt::LeftButton);
    EXPECT_NE(editor->overlays().textOverlay(), nullptr);
    ASSERT_NE(editor->overlays().imageOverlay(), nullptr);
    EXPECT_EQ(model().tool(), EditTool::insertImage);
    EXPECT_FALSE(model().canUndo());

    // A second paste applies the first image only.
    QTest::mouseClick(editor->toolBar().actionButton(EditorToolBar::Action::paste), Qt::LeftButton);
    EXPECT_EQ(model().undoCount(), 1);
    EXPECT_NE(editor->overlays().textOverlay(), nullptr);
}

TEST_F(EditorControllerTest, ReturnAppliesAFloatingImageAndOtherwiseSaves)
{
    open(solid(400, 300, Qt::white));
    editor->overlays().addImageOverlay(solid(10, 10, Qt::black), QRectF(100, 100, 50, 50));
    QTest::keyClick(editor->overlays().imageOverlay(), Qt::Key_Return);
    EXPECT_EQ(editor->overlays().imageOverlay(), nullptr);
    EXPECT_TRUE(results.empty());
    EXPECT_TRUE(editor->canvas().hasFocus());

    QTest::keyClick(&editor->canvas(), Qt::Key_Return);
    ASSERT_EQ(results.size(), 1u);
    EXPECT_EQ(results[0]->pixelColor(120, 120), QColor(Qt::black));
}

TEST_F(EditorControllerTest, CopyKeepsTheEditorOpenAndExportWritesThePng)
{
    open(solid(120, 80, Qt::white));
    editor->overlays().addImageOverlay(solid(10, 10, Qt::red), QRectF(0, 0, 60, 80));
    editor->copyImage();
    const QImage copied = PastedImage::fromMimeData(*QGuiApplication::clipboard()->mimeData());
    EXPECT_EQ(copied.size(), QSize(120, 80));
    EXPECT_EQ(copied.pixelColor(30, 40), QColor(Qt::red));
    EXPECT_TRUE(QGuiApplication::clipboard()->mimeData()->hasFormat(QStringLiteral("image/png")));
    EXPECT_TRUE(results.empty());

    QTemporaryDir dir;
    const QString out = dir.filePath(QStringLiteral("out.png")), nowhere = dir.filePath(QStringLiteral("no/dir/out.png"));
    EXPECT_CALL(*chooser, choosePngDestination(_, QStringLiteral("Xuất ảnh PNG"), QStringLiteral("Vistrel-edited.png")))
        .WillOnce(Return(QString())).WillOnce(Return(out)).WillOnce(Return(nowhere));
    editor->exportPNG();
    editor->exportPNG();
    const QImage written(out);
    EXPECT_EQ(written.size(), QSize(120, 80));
    EXPECT_EQ(written.pixelColor(30, 40), QColor(Qt::red));
    EXPECT_EQ(written.pixelColor(90, 40), QColor(Qt::white));

    editor->exportPNG();
    EXPECT_FALSE(QFile::exists(nowhere));
    EXPECT_TRUE(results.empty());
}

TEST_F(EditorControllerTest, ImageOperationsApplyTheOverlaysFirst)
{
    open(solid(200, 100, Qt::white));
    editor->overlays().addText(QRectF(0, 0, 300, 150));
    editor->overlays().textOverlay()->textView()->setPlainText(QStringLiteral("HH"));
    editor->invert();
    EXPECT_EQ(editor->overlays().textOverlay(), nullptr);
    EXPECT_EQ(model().undoCount(), 2);
    // Red text inverted is cyan-ish; the white ground is black.
    EXPECT_EQ(editor->canvas().image().pixelColor(190, 90), QColor(Qt::black));
    EXPECT_FALSE(inkBounds(editor->canvas().image(), [](QRgb p) {
                     return qRed(p) < 60 && qGreen(p) > 150 && qBlue(p) > 150;
                 }).isEmpty());
    editor->resizeDouble();
    EXPECT_EQ(editor->canvas().image().size(), QSize(400, 200));
    // The status bar keeps the size the image had when the editor opened.
    EXPECT_EQ(editor->statusBar().sizeLabel()->text(), QStringLiteral("200 × 100 px"));
}

TEST_F(EditorControllerTest, ADenseCaptureShowsItsPointSizeAndSavesItsPixels)
{
    QImage capture = solid(400, 200, Qt::white);
    capture.setDevicePixelRatio(2.0);
    open(capture);
    EXPECT_EQ(editor->statusBar().sizeLabel()->text(), QStringLiteral("200 × 100 px"));
    editor->resetZoom();
    EXPECT_EQ(editor->canvas().size(), QSize(200, 100));
    editor->save();
    ASSERT_THAT(results, ElementsAre(Optional(_)));
    EXPECT_EQ(results[0]->size(), QSize(400, 200));
    EXPECT_EQ(results[0]->devicePixelRatio(), 2.0);
}

TEST_F(EditorControllerTest, EveryButtonShowsAnIconOrATitleAndSaysWhatItDoes)
{
    open(solid(200, 100, Qt::white));
    const QList<QToolButton *> buttons = editor->window()->findChildren<QToolButton *>();
    EXPECT_GE(buttons.size(), 12 + 6 + 12 + 14 + 3);
    for (QToolButton *button : buttons) {
        if (qobject_cast<ColorWell *>(button) || button->parentWidget()->inherits("HeaderBar"))
            continue;
        const bool quickStyle = button->toolTip().startsWith(QStringLiteral("Màu nhanh"));
        EXPECT_TRUE(quickStyle || !button->icon().isNull() || !button->text().isEmpty()) << button->toolTip().toStdString();
        EXPECT_FALSE(button->toolTip().isEmpty());
    }
    EXPECT_EQ(editor->window()->windowTitle(), QStringLiteral("Chỉnh sửa ảnh — Vistrel"));
}

} // namespace
