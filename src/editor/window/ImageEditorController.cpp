#include "editor/window/ImageEditorController.h"

#include "platform/ClipboardWriter.h"
#include "platform/ImageMimeData.h"
#include "platform/ScreenGeometry.h"
#include "editor/overlays/CanvasOverlays.h"
#include "editor/window/ColorWell.h"
#include "editor/overlays/EditableImageOverlayView.h"
#include "editor/overlays/EditableTextOverlayView.h"
#include "editor/window/EditorButtons.h"
#include "editor/canvas/EditorCanvasView.h"
#include "editor/window/EditorChoices.h"
#include "editor/window/EditorFileChooser.h"
#include "editor/window/EditorSidePanel.h"
#include "editor/window/EditorStatusBar.h"
#include "editor/window/EditorToolBar.h"
#include "editor/window/EditorWindowGeometry.h"
#include "editor/window/ImageEditorWindow.h"
#include "editor/imaging/PastedImage.h"
#include "storage/AtomicFile.h"

#include <QComboBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QImageReader>
#include <QScreen>
#include <QScrollArea>
#include <QShortcut>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

#include <utility>

namespace {

const QColor canvasSurround = QColor::fromRgbF(0.15f, 0.15f, 0.15f);

std::optional<QString> selectedTitle(const QComboBox *picker)
{
    if (picker->currentIndex() < 0)
        return std::nullopt;
    return picker->currentText();
}

QSize roundedSize(const QSizeF &size)
{
    return QSize(qRound(size.width()), qRound(size.height()));
}

} // namespace

ImageEditorController::ImageEditorController(const QImage &image, QScreen *screen, ClipboardWriter &clipboard,
                                             Completion completion, QObject *parent)
    : QObject(parent),
      clipboard_(clipboard),
      window_(std::make_unique<ImageEditorWindow>()),
      completion_(std::move(completion)),
      fileChooser_(std::make_unique<DialogFileChooser>())
{
    canvas_ = new EditorCanvasView(image);
    overlays_ = new CanvasOverlays(*canvas_);
    placeWindow(screen);
    buildInterface(canvas_->image().deviceIndependentSize());
    connectControls();

    QPointer<ImageEditorController> self(this);
    window_->saveAndCopyHandler = [self] {
        if (self)
            self->save();
    };
    window_->pasteImageHandler = [self] {
        if (self)
            self->insertFromClipboard();
    };
    window_->closeHandler = [self] {
        if (self)
            self->windowWillClose();
    };
    // Return saves, unless the focused control takes it (the text box, a floating image).
    for (const int key : {Qt::Key_Return, Qt::Key_Enter}) {
        auto *shortcut = new QShortcut(QKeySequence(key), window_.get());
        connect(shortcut, &QShortcut::activated, this, &ImageEditorController::save);
    }
    // The window has its final size once the event loop has shown it.
    QTimer::singleShot(0, this, &ImageEditorController::fitCanvasToWindow);
    setSelectedTool(EditTool::rectangle);
}

ImageEditorController::~ImageEditorController()
{
    // The opener may drop the editor from inside the completion, while one of the window's
    // buttons is still handling its click: the window goes once that is over.
    window_->saveAndCopyHandler = nullptr;
    window_->pasteImageHandler = nullptr;
    window_->closeHandler = nullptr;
    window_->hide();
    window_.release()->deleteLater();
}

void ImageEditorController::setFileChooser(std::unique_ptr<EditorFileChooser> chooser)
{
    fileChooser_ = std::move(chooser);
}

void ImageEditorController::placeWindow(QScreen *screen)
{
    QScreen *target = screen ? screen : QGuiApplication::primaryScreen();
    const QRectF area = target ? QRectF(target->availableGeometry()) : EditorWindowGeometry::fallbackArea;
    window_->resize(roundedSize(EditorWindowGeometry::contentSize(area.size())));
    window_->setMinimumSize(roundedSize(EditorWindowGeometry::minimumSize(area.size())));
    window_->setMaximumSize(roundedSize(EditorWindowGeometry::maximumSize(area.size())));
    if (target)
        window_->move(ScreenGeometry::centredTopLeft(window_->frameGeometry().size(), target->availableGeometry()));
}

void ImageEditorController::buildInterface(const QSizeF &imageSize)
{
    window_->setStyleSheet(EditorButtons::windowStyleSheet());
    auto *column = new QVBoxLayout(window_.get());
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);

    toolBar_ = new EditorToolBar(window_.get());
    column->addWidget(toolBar_);

    auto *work = new QHBoxLayout;
    work->setContentsMargins(0, 0, 0, 0);
    work->setSpacing(0);
    scrollView_ = new QScrollArea(window_.get());
    scrollView_->setFrameShape(QFrame::NoFrame);
    scrollView_->setAlignment(Qt::AlignCenter);
    scrollView_->setWidgetResizable(false);
    QPalette surround = scrollView_->palette();
    surround.setColor(QPalette::Window, canvasSurround);
    scrollView_->setPalette(surround);
    scrollView_->viewport()->setPalette(surround);
    scrollView_->viewport()->setAutoFillBackground(true);
    scrollView_->setWidget(canvas_);
    work->addWidget(scrollView_, 1);

    // The panel scrolls when the window is too short to show all of it.
    sidePanel_ = new EditorSidePanel;
    auto *panelScroll = new QScrollArea(window_.get());
    panelScroll->setFrameShape(QFrame::NoFrame);
    panelScroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    panelScroll->setWidgetResizable(true);
    panelScroll->setFixedWidth(EditorSidePanel::panelWidth);
    panelScroll->setWidget(sidePanel_);
    panelScroll->setStyleSheet(QStringLiteral(
        "QScrollArea { background: white; border: none; }"
        "QScrollBar:vertical { background: white; width: 8px; margin: 2px; }"
        "QScrollBar::handle:vertical { background: rgb(200, 199, 192); border-radius: 2px; min-height: 24px; }"
        "QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical { height: 0px; }"
        "QScrollBar::add-page:vertical, QScrollBar::sub-page:vertical { background: none; }"));
    work->addWidget(panelScroll);
    column->addLayout(work, 1);

    statusBar_ = new EditorStatusBar(imageSize, window_.get());
    column->addWidget(statusBar_);
}

void ImageEditorController::connectControls()
{
    connect(toolBar_, &EditorToolBar::toolClicked, this, &ImageEditorController::selectTool);
    connect(toolBar_, &EditorToolBar::actionTriggered, this, [this](EditorToolBar::Action action) {
        switch (action) {
        case EditorToolBar::Action::undo: return undo();
        case EditorToolBar::Action::redo: return redo();
        case EditorToolBar::Action::copy: return copyImage();
        case EditorToolBar::Action::paste: return insertFromClipboard();
        case EditorToolBar::Action::cancel: return cancel();
        case EditorToolBar::Action::save: return save();
        }
    });

    EditorSidePanel &panel = *sidePanel_;
    connect(panel.colorWell(), &ColorWell::colorChanged, this, &ImageEditorController::colorChanged);
    connect(panel.widthPicker(), &QComboBox::activated, this, &ImageEditorController::widthChanged);
    connect(panel.opacityPicker(), &QComboBox::activated, this, &ImageEditorController::opacityChanged);
    connect(panel.fontPicker(), &QComboBox::activated, this, &ImageEditorController::textStyleChanged);
    connect(panel.textSizePicker(), &QComboBox::activated, this, &ImageEditorController::textStyleChanged);
    connect(panel.zoomPicker(), &QComboBox::activated, this, &ImageEditorController::zoomChanged);
    connect(&panel, &EditorSidePanel::quickStyleClicked, this, &ImageEditorController::applyQuickStyle);
    connect(&panel, &EditorSidePanel::actionTriggered, this, [this](EditorSidePanel::Action action) {
        using A = EditorSidePanel::Action;
        switch (action) {
        case A::resetZoom: return resetZoom();
        case A::fitToWindow: return fitCanvasToWindow();
        case A::grayscale: return grayscale();
        case A::deleteOverlay: return deleteSelectedOverlay();
        case A::resizeHalf: return resizeHalf();
        case A::resizeDouble: return resizeDouble();
        case A::fit: return fitCanvasToWindow();
        case A::actualSize: return resetZoom();
        case A::brighten: return brighten();
        case A::darken: return darken();
        case A::sepia: return sepia();
        case A::invert: return invert();
        case A::sharpen: return sharpen();
        case A::exportPNG: return exportPNG();
        }
    });

    connect(statusBar_->zoomOutButton(), &QToolButton::clicked, this, &ImageEditorController::zoomOut);
    connect(statusBar_->zoomInButton(), &QToolButton::clicked, this, &ImageEditorController::zoomIn);
    connect(statusBar_->fitButton(), &QToolButton::clicked, this, &ImageEditorController::fitCanvasToWindow);
}

void ImageEditorController::selectTool(int tag)
{
    EditorCanvasModel &model = canvas_->model();
    EditTool tool;
    if (!EditTools::fromRaw(tag, &tool)) {
        toolBar_->showSelectedTool(model.tool());
        return;
    }
    if (model.tool() == EditTool::text && tool != EditTool::text && overlays_->textOverlay())
        overlays_->commitTextOverlay(overlays_->textOverlay());
    // The insertion tool is chosen only together with an image; a button click toggles
    // its look either way, so the look is set again from the canvas.
    if (tool == EditTool::insertImage && !openInsertImage()) {
        toolBar_->showSelectedTool(model.tool());
        return;
    }
    setSelectedTool(tool);
}

void ImageEditorController::setSelectedTool(EditTool tool)
{
    EditorCanvasModel &model = canvas_->model();
    if (model.tool() == EditTool::insertImage && tool != EditTool::insertImage && overlays_->imageOverlay())
        overlays_->commitImageOverlay(overlays_->imageOverlay());
    model.setTool(tool);
    toolBar_->showSelectedTool(tool);
}

void ImageEditorController::colorChanged()
{
    canvas_->model().setColor(sidePanel_->colorWell()->color());
}

void ImageEditorController::widthChanged()
{
    canvas_->model().setLineWidth(EditorChoices::lineWidth(selectedTitle(sidePanel_->widthPicker())));
}

void ImageEditorController::opacityChanged()
{
    canvas_->model().setOpacity(EditorChoices::opacity(selectedTitle(sidePanel_->opacityPicker())));
}

void ImageEditorController::textStyleChanged()
{
    EditorCanvasModel &model = canvas_->model();
    model.setTextFontName(EditorChoices::textFontName(selectedTitle(sidePanel_->fontPicker())));
    model.setTextFontSize(EditorChoices::textFontSize(selectedTitle(sidePanel_->textSizePicker())));
    overlays_->updateTextOverlayStyle();
}

void ImageEditorController::applyQuickStyle(int tag)
{
    if (tag < 0 || tag >= EditorChoices::quickStyleCount)
        return;
    const EditorChoices::QuickStyle &style = EditorChoices::quickStyles()[size_t(tag)];
    sidePanel_->colorWell()->setColor(style.color);
    canvas_->model().setColor(style.color);
    canvas_->model().setLineWidth(style.lineWidth);
    const int item = sidePanel_->widthPicker()->findText(QString::number(qint64(style.lineWidth)));
    if (item >= 0)
        sidePanel_->widthPicker()->setCurrentIndex(item);
}

void ImageEditorController::undo()
{
    canvas_->commitActiveOverlays();
    canvas_->undo();
}

void ImageEditorController::redo()
{
    canvas_->commitActiveOverlays();
    canvas_->redo();
}

void ImageEditorController::zoomChanged()
{
    canvas_->model().setZoom(EditorChoices::zoom(selectedTitle(sidePanel_->zoomPicker())));
}

void ImageEditorController::zoomIn()
{
    canvas_->model().zoomIn();
    updateZoomPickerTitle();
}

void ImageEditorController::zoomOut()
{
    canvas_->model().zoomOut();
    updateZoomPickerTitle();
}

void ImageEditorController::resetZoom()
{
    QComboBox *picker = sidePanel_->zoomPicker();
    picker->setCurrentIndex(picker->findText(EditorChoices::defaultZoom));
    zoomChanged();
}

void ImageEditorController::fitCanvasToWindow()
{
    canvas_->commitActiveOverlays();
    // Before the window is first shown its layout has not placed the scroll view yet.
    if (!window_->isVisible())
        window_->layout()->activate();
    canvas_->model().fitToViewport(QSizeF(scrollView_->maximumViewportSize()));
    updateZoomPickerTitle();
}

void ImageEditorController::updateZoomPickerTitle()
{
    QComboBox *picker = sidePanel_->zoomPicker();
    const QString title = EditorChoices::zoomTitle(canvas_->zoom());
    int item = picker->findText(title);
    if (item < 0) {
        picker->addItem(title);
        item = picker->count() - 1;
    }
    picker->setCurrentIndex(item);
}

void ImageEditorController::copyImage()
{
    canvas_->commitActiveOverlays();
    const auto png = canvas_->pngData();
    if (!png)
        return;
    clipboard_.write(std::make_unique<ImageMimeData>(canvas_->image(), *png));
}

void ImageEditorController::insertFromClipboard()
{
    const QMimeData *data = clipboard_.contents();
    const QImage image = data ? PastedImage::fromMimeData(*data) : QImage();
    if (image.isNull())
        return;
    floatImage(image);
    setSelectedTool(EditTool::insertImage);
}

bool ImageEditorController::openInsertImage()
{
    const QString path = fileChooser_->chooseImageToInsert(window_.get());
    if (path.isEmpty())
        return false;
    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QImage image = reader.read();
    if (image.isNull())
        return false;
    floatImage(image);
    return true;
}

void ImageEditorController::floatImage(const QImage &image)
{
    insertImage_ = image;
    canvas_->model().setInsertImage(image);
    overlays_->addCenteredImageOverlay(image);
}

void ImageEditorController::deleteSelectedOverlay()
{
    overlays_->cancelImageOverlay();
}

void ImageEditorController::exportPNG()
{
    canvas_->commitActiveOverlays();
    const QString path = fileChooser_->choosePngDestination(window_.get(), exportTitle, exportName);
    if (path.isEmpty())
        return;
    const auto png = canvas_->pngData();
    if (!png)
        return;
    // A failed write is not reported; nothing half-written is left behind.
    AtomicFile::write(path, *png);
}

// The model's filters and resizes commit open overlays first themselves.
void ImageEditorController::grayscale()
{
    canvas_->model().grayscale();
}

void ImageEditorController::brighten()
{
    canvas_->model().adjustExposure(0.35);
}

void ImageEditorController::darken()
{
    canvas_->model().adjustExposure(-0.35);
}

void ImageEditorController::sepia()
{
    canvas_->model().sepia();
}

void ImageEditorController::invert()
{
    canvas_->model().invertColors();
}

void ImageEditorController::sharpen()
{
    canvas_->model().sharpen();
}

void ImageEditorController::resizeHalf()
{
    canvas_->model().resizeImage(0.5);
    fitCanvasToWindow();
}

void ImageEditorController::resizeDouble()
{
    canvas_->model().resizeImage(2.0);
    fitCanvasToWindow();
}

void ImageEditorController::save()
{
    canvas_->commitActiveOverlays();
    QImage edited = canvas_->image().copy();
    if (finished_)
        return;
    finish(std::move(edited));
}

void ImageEditorController::cancel()
{
    if (!finished_)
        finish(std::nullopt);
}

void ImageEditorController::windowWillClose()
{
    if (finished_)
        return;
    finished_ = true;
    const Completion done = std::exchange(completion_, nullptr);
    if (done)
        done(std::nullopt);
}

void ImageEditorController::finish(std::optional<QImage> edited)
{
    finished_ = true;
    const Completion done = std::exchange(completion_, nullptr);
    // Closed before the opener hears of it: the opener may destroy this controller.
    window_->close();
    if (done)
        done(std::move(edited));
}
