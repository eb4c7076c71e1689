#include "editor/window/EditorWindowTestSupport.h"

#include "editor/imaging/PastedImage.h"
#include "editor/window/ColorWell.h"
#include "editor/window/EditorChoices.h"
#include "editor/window/EditorSidePanel.h"
#include "editor/window/EditorStatusBar.h"
#include "editor/window/EditorToolBar.h"
#include "editor/window/ImageEditorController.h"
#include "editor/window/ImageEditorWindow.h"
#include "platform/SystemClipboard.h"

#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QScrollArea>
#include <QTemporaryDir>
#include <QToolButton>

using testing::_;
using testing::Return;

namespace {

class EditorControllerTest : public ::testing::Test {
protected:
    void open(const QImage &image)
    {
        editor = std::make_unique<ImageEditorController>(image, nullptr, clipboard, [this](std::optional<QImage> edited) {
            results.push_back(std::move(edited));
        });
        auto owned = std::make_unique<testing::NiceMock<MockFileChooser>>();
        chooser = owned.get();
        editor->setFileChooser(std::move(owned));
        editor->window()->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(editor->window()));
        QCoreApplication::processEvents(); // the first fit
    }
    EditorCanvasModel &model() { return editor->canvas().model(); }
    EditorSidePanel &panel() { return editor->sidePanel(); }
    void click(QWidget *w) { QTest::mouseClick(w, Qt::LeftButton); }
    void key(QWidget *w, int k, Qt::KeyboardModifiers m = Qt::ControlModifier) { QTest::keyClick(w, Qt::Key(k), m); }
    // The one saved image; fails when the editor has not completed exactly once with one.
    QImage saved()
    {
        EXPECT_EQ(results.size(), 1u);
        return results.size() == 1 && results[0] ? *results[0] : QImage();
    }

    SystemClipboard clipboard; // the offscreen platform's own
    std::unique_ptr<ImageEditorController> editor;
    MockFileChooser *chooser = nullptr;
    std::vector<std::optional<QImage>> results;
};

TEST_F(EditorControllerTest, SaveCancelAndTheCloseButtonCompleteOnceThenAllIsQuiet)
{
    for (const auto how : {EditorToolBar::Action::save, EditorToolBar::Action::cancel, EditorToolBar::Action(-1)}) {
        SCOPED_TRACE(int(how));
        results.clear();
        open(solid(300, 200, Qt::white));
        editor->overlays().addImageOverlay(solid(20, 20, Qt::black), QRectF(10, 10, 40, 40));
        if (int(how) < 0)
            editor->window()->close();
        else
            click(editor->toolBar().actionButton(how));
        EXPECT_FALSE(editor->window()->isVisible());
        EXPECT_TRUE(editor->isFinished());
        editor->window()->close();
        editor->save();
        editor->cancel();
        ASSERT_EQ(results.size(), 1u);
        ASSERT_EQ(results[0].has_value(), how == EditorToolBar::Action::save);
        // The floating image went in before the copy was taken.
        EXPECT_TRUE(!results[0] || (results[0]->size() == QSize(300, 200) && results[0]->pixelColor(30, 30) == Qt::black));
    }
}

TEST_F(EditorControllerTest, TheOpenerMayDropTheEditorFromItsCompletion)
{
    editor = std::make_unique<ImageEditorController>(solid(80, 60, Qt::white), nullptr, clipboard,
                                                     [&](std::optional<QImage>) { editor.reset(); });
    const QPointer<ImageEditorWindow> window = editor->window();
    window->show();
    click(editor->toolBar().actionButton(EditorToolBar::Action::save));
    EXPECT_EQ(editor, nullptr);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(window.isNull());
}

TEST_F(EditorControllerTest, ZoomStepsStopAtTheirLimitsAndNameThePicker)
{
    open(solid(200, 100, Qt::white));
    EXPECT_DOUBLE_EQ(editor->canvas().zoom(), 1.0); // a small image is not enlarged by the fit
    QComboBox *picker = panel().zoomPicker();
    QSignalSpy zooms(&model(), &EditorCanvasModel::zoomChanged);
    for (int i = 0; i < 5; ++i)
        click(editor->statusBar().zoomInButton());
    EXPECT_EQ(picker->currentText(), QStringLiteral("200%"));
    editor->resetZoom();
    for (int i = 0; i < 4; ++i)
        editor->zoomOut();
    EXPECT_EQ(picker->currentText(), QStringLiteral("25%"));
    EXPECT_EQ(editor->canvas().size(), QSize(50, 25));
    EXPECT_EQ(zooms.count(), 8); // changes only: not the steps past either limit
    picker->setCurrentText(QStringLiteral("150%"));
    editor->zoomChanged();
    EXPECT_DOUBLE_EQ(editor->canvas().zoom(), 1.5);
    // 175 % was passed on the way up and is added at the end of the list.
    EXPECT_EQ(picker->count(), EditorChoices::zoomTitles().size() + 1);
    EXPECT_EQ(picker->itemText(picker->count() - 1), QStringLiteral("175%"));
}

TEST_F(EditorControllerTest, FittingALargeImageAddsItsPercentageOnce)
{
    open(solid(4000, 3000, Qt::white));
    const qreal zoom = editor->canvas().zoom();
    EXPECT_TRUE(zoom >= 0.08 && zoom < 0.5) << zoom;
    EXPECT_EQ(panel().zoomPicker()->currentText(), EditorChoices::zoomTitle(zoom));
    editor->fitCanvasToWindow();
    EXPECT_EQ(panel().zoomPicker()->count(), EditorChoices::zoomTitles().size() + 1);
}

TEST_F(EditorControllerTest, PickersAndQuickStylesSetTheDrawingStyle)
{
    open(solid(200, 100, Qt::white));
    panel().widthPicker()->setCurrentText(QStringLiteral("16"));
    editor->widthChanged();
    panel().opacityPicker()->setCurrentText(QStringLiteral("70%"));
    editor->opacityChanged();
    panel().fontPicker()->setCurrentText(QStringLiteral("Menlo"));
    panel().textSizePicker()->setCurrentText(QStringLiteral("96"));
    editor->textStyleChanged();
    const DrawingStyle &style = model().style();
    EXPECT_EQ(std::tuple(style.lineWidth, style.textFontName, style.textFontSize), std::tuple(16, QStringLiteral("Menlo"), 96));
    EXPECT_DOUBLE_EQ(style.opacity, 0.7);

    // Width 8 is not in the list: the canvas takes it, the list keeps its choice.
    click(panel().quickStyleButton(7));
    EXPECT_EQ(style.lineWidth, 8);
    EXPECT_EQ(style.color, EditorChoices::quickStyles()[7].color);
    EXPECT_EQ(panel().colorWell()->color(), style.color);
    EXPECT_EQ(panel().widthPicker()->currentText(), QStringLiteral("16"));
    click(panel().quickStyleButton(0));
    EXPECT_EQ(panel().widthPicker()->currentText(), QStringLiteral("4"));
    EXPECT_EQ(panel().quickStyleButton(EditorChoices::quickStyleCount), nullptr);
    editor->applyQuickStyle(EditorChoices::quickStyleCount);
    EXPECT_EQ(style.lineWidth, 4);
}

TEST_F(EditorControllerTest, ToolButtonsShowExactlyTheChosenToolAndOnlyAReadableImageFileFloats)
{
    open(solid(400, 300, Qt::white));
    const auto onlyChecked = [this](EditTool tool) {
        const auto &buttons = editor->toolBar().toolButtons();
        return std::ranges::count_if(buttons, &QToolButton::isChecked) == 1 && buttons.value(tool)->isChecked();
    };
    EXPECT_TRUE(onlyChecked(EditTool::rectangle));
    click(editor->toolBar().toolButton(EditTool::arrow));
    EXPECT_EQ(model().tool(), EditTool::arrow);
    click(editor->toolBar().toolButton(EditTool::arrow)); // clicking it again keeps it chosen
    EXPECT_TRUE(onlyChecked(EditTool::arrow));
    // The insertion tool with the dialogue cancelled or an unreadable file: the previous tool stays.
    QTemporaryDir dir;
    const QString stamp = dir.filePath(QStringLiteral("stamp.webp"));
    EXPECT_CALL(*chooser, chooseImageToInsert)
        .WillOnce(Return(QString())).WillOnce(Return(dir.filePath("unreadable.png"))).WillOnce(Return(stamp));
    click(editor->toolBar().toolButton(EditTool::insertImage));
    editor->selectTool(int(EditTool::insertImage));
    EXPECT_TRUE(onlyChecked(EditTool::arrow));
    EXPECT_EQ(model().tool(), EditTool::arrow);
    EXPECT_EQ(editor->overlays().imageOverlay(), nullptr);
    ASSERT_TRUE(solid(40, 40, Qt::blue).save(stamp, "WEBP", 100));
    editor->selectTool(int(EditTool::insertImage));
    EXPECT_EQ(model().tool(), EditTool::insertImage);
    ASSERT_NE(editor->overlays().imageOverlay(), nullptr);
    EXPECT_EQ(model().insertImage().size(), QSize(40, 40));
    editor->selectTool(99);
    EXPECT_EQ(model().tool(), EditTool::insertImage);
}

TEST_F(EditorControllerTest, ControlVInsertsTheClipboardImageReturnAppliesItControlCSaves)
{
    open(solid(400, 300, Qt::white));
    QGuiApplication::clipboard()->setText(QStringLiteral("no picture"));
    key(&editor->canvas(), Qt::Key_V);
    EXPECT_EQ(editor->overlays().imageOverlay(), nullptr);
    QGuiApplication::clipboard()->setImage(solid(4000, 3000, Qt::green));
    key(&editor->canvas(), Qt::Key_V);
    ASSERT_NE(editor->overlays().imageOverlay(), nullptr);
    EXPECT_EQ(model().tool(), EditTool::insertImage);
    EXPECT_TRUE(editor->toolBar().toolButton(EditTool::insertImage)->isChecked());
    key(editor->overlays().imageOverlay(), Qt::Key_Return, Qt::NoModifier);
    EXPECT_EQ(editor->overlays().imageOverlay(), nullptr);
    EXPECT_TRUE(results.empty());
    EXPECT_TRUE(editor->canvas().hasFocus());
    key(&editor->canvas(), Qt::Key_C);
    EXPECT_EQ(saved().pixelColor(200, 150), QColor(Qt::green));
}

TEST_F(EditorControllerTest, InTheTextBoxControlCAndVEditTheTextAndPastedImagesFloatBesideIt)
{
    open(solid(600, 400, Qt::white));
    editor->setSelectedTool(EditTool::text);
    QTest::mouseClick(&editor->canvas(), Qt::LeftButton, {}, QPoint(40, 300));
    ASSERT_NE(editor->overlays().textOverlay(), nullptr);
    QPlainTextEdit *text = editor->overlays().textOverlay()->textView();
    text->setPlainText(QStringLiteral("alpha beta"));
    text->selectAll();
    key(text, Qt::Key_C);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("alpha beta"));
    key(text, Qt::Key_End, Qt::NoModifier);
    key(text, Qt::Key_V);
    key(text, Qt::Key_Return, Qt::NoModifier); // a new line here, not a save
    EXPECT_TRUE(results.empty());
    EXPECT_EQ(text->toPlainText(), QStringLiteral("alpha betaalpha beta\n"));

    QGuiApplication::clipboard()->setImage(solid(50, 50, Qt::blue));
    click(editor->toolBar().actionButton(EditorToolBar::Action::paste));
    ASSERT_NE(editor->overlays().imageOverlay(), nullptr);
    const QRectF frame = editor->overlays().imageOverlay()->frame(); // centred, 64 at least
    EXPECT_EQ(frame, QRectF(0, 0, 64, 64).translated(QRectF(QPointF(), model().frameSize()).center() - QPointF(32, 32)));
    EXPECT_EQ(model().tool(), EditTool::insertImage);
    EXPECT_FALSE(model().canUndo());
    // A second paste applies the first image only.
    click(editor->toolBar().actionButton(EditorToolBar::Action::paste));
    EXPECT_EQ(model().undoCount(), 1);
    EXPECT_NE(editor->overlays().textOverlay(), nullptr);
    // Leaving each tool applies what it left floating.
    editor->selectTool(int(EditTool::text));
    EXPECT_EQ(editor->overlays().imageOverlay(), nullptr);
    EXPECT_NE(editor->overlays().textOverlay(), nullptr);
    editor->selectTool(int(EditTool::pen));
    EXPECT_EQ(editor->overlays().textOverlay(), nullptr);
    EXPECT_EQ(model().undoCount(), 3);
}

TEST_F(EditorControllerTest, CopyKeepsTheEditorOpenAndExportWritesThePng)
{
    open(solid(120, 80, Qt::white));
    editor->overlays().addImageOverlay(solid(10, 10, Qt::red), QRectF(0, 0, 60, 80));
    editor->copyImage();
    const QMimeData *copied = QGuiApplication::clipboard()->mimeData();
    EXPECT_TRUE(copied->hasFormat(QStringLiteral("image/png")));
    QImage expected = solid(120, 80, Qt::white);
    QPainter(&expected).fillRect(0, 0, 60, 80, Qt::red);
    EXPECT_TRUE(samePixels(PastedImage::fromMimeData(*copied), expected));
    EXPECT_TRUE(results.empty());

    QTemporaryDir dir;
    const QString out = dir.filePath(QStringLiteral("out.png")), nowhere = dir.filePath(QStringLiteral("no/dir/out.png"));
    EXPECT_CALL(*chooser, choosePngDestination(_, QStringLiteral("Xuất ảnh PNG"), QStringLiteral("Vistrel-edited.png")))
        .WillOnce(Return(QString())).WillOnce(Return(out)).WillOnce(Return(nowhere));
    for (int i = 0; i < 3; ++i)
        editor->exportPNG();
    EXPECT_TRUE(samePixels(QImage(out), expected));
    EXPECT_FALSE(QFile::exists(nowhere));
    EXPECT_TRUE(results.empty());
}

TEST_F(EditorControllerTest, ImageOperationsApplyTheOverlaysFirstAndReturnSavesADenseCapturesPixels)
{
    open(solid(400, 200, Qt::white, 2));
    editor->overlays().addText(QRectF(0, 0, 300, 150));
    editor->overlays().textOverlay()->textView()->setPlainText(QStringLiteral("HH"));
    editor->invert();
    EXPECT_EQ(editor->overlays().textOverlay(), nullptr);
    EXPECT_EQ(model().undoCount(), 2); // the text's step, then the inversion's
    EXPECT_EQ(editor->canvas().image().pixelColor(390, 190), QColor(Qt::black));
    editor->resizeDouble();
    EXPECT_EQ(editor->canvas().image().size(), QSize(800, 400));
    // The status bar keeps the size in points the image had when the editor opened.
    EXPECT_EQ(editor->statusBar().sizeLabel()->text(), QStringLiteral("200 × 100 px"));
    key(&editor->canvas(), Qt::Key_Return, Qt::NoModifier);
    EXPECT_EQ(saved().size(), QSize(800, 400));
    EXPECT_EQ(saved().devicePixelRatio(), 2.0);
}

TEST_F(EditorControllerTest, EveryButtonShowsAnIconOrATitleAndSaysWhatItDoes)
{
    open(solid(200, 100, Qt::white));
    const QList<QToolButton *> buttons = editor->window()->findChildren<QToolButton *>();
    EXPECT_GE(buttons.size(), 12 + 6 + 12 + 14 + 3);
    for (QToolButton *b : buttons) {
        if (qobject_cast<ColorWell *>(b) || b->parentWidget()->inherits("HeaderBar"))
            continue;
        const bool quickStyle = b->toolTip().startsWith(QStringLiteral("Màu nhanh"));
        EXPECT_TRUE(quickStyle || !b->icon().isNull() || !b->text().isEmpty()) << b->toolTip().toStdString();
        EXPECT_FALSE(b->toolTip().isEmpty());
    }
    EXPECT_EQ(editor->window()->windowTitle(), QStringLiteral("Chỉnh sửa ảnh — Vistrel"));
}

} // namespace
