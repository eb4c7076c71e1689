#pragma once

#include "editor/document/EditTool.h"

#include <QImage>
#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>
#include <optional>

class CanvasOverlays;
class ClipboardWriter;
class EditorCanvasView;
class EditorFileChooser;
class EditorSidePanel;
class EditorStatusBar;
class EditorToolBar;
class ImageEditorWindow;
class QScreen;
class QScrollArea;

// One image editor: builds the window around the canvas (tool bar, canvas, side panel,
// status bar), turns every control into an operation on the canvas, and tells its opener
// how it ended through the completion, exactly once: with the edited image on save, with
// nothing on cancel or close. The opener shows the window and saves the result; it may
// destroy the controller from inside the completion. GUI thread only.
class ImageEditorController : public QObject {
    Q_OBJECT
public:
    using Completion = std::function<void(std::optional<QImage> edited)>;

    static inline const QString exportTitle = QStringLiteral("Xuất ảnh PNG");
    static inline const QString exportName = QStringLiteral("Vistrel-edited.png");

    // `screen`: where the window opens, centred; the primary screen when none is given.
    // The clipboard must outlive the controller.
    ImageEditorController(const QImage &image, QScreen *screen, ClipboardWriter &clipboard,
                          Completion completion, QObject *parent = nullptr);
    ~ImageEditorController() override;

    ImageEditorWindow *window() const { return window_.get(); }
    EditorCanvasView &canvas() const { return *canvas_; }
    CanvasOverlays &overlays() const { return *overlays_; }
    EditorToolBar &toolBar() const { return *toolBar_; }
    EditorSidePanel &sidePanel() const { return *sidePanel_; }
    EditorStatusBar &statusBar() const { return *statusBar_; }
    QScrollArea &scrollView() const { return *scrollView_; }
    const QImage &insertImage() const { return insertImage_; }
    bool isFinished() const { return finished_; }

    // Tests and other platforms replace the file dialogues.
    void setFileChooser(std::unique_ptr<EditorFileChooser> chooser);

    // Tools and style.
    void selectTool(int tag);
    void setSelectedTool(EditTool tool);
    void colorChanged();
    void widthChanged();
    void opacityChanged();
    void textStyleChanged();
    void applyQuickStyle(int tag);

    // Undo and zoom; each commits the floating overlays first.
    void undo();
    void redo();
    void zoomChanged();
    void zoomIn();
    void zoomOut();
    void resetZoom();
    void fitCanvasToWindow();
    void updateZoomPickerTitle();

    // Clipboard, insertion and export.
    void copyImage();
    void insertFromClipboard();
    // Asks for an image file and floats it centred; false when none was chosen or read.
    bool openInsertImage();
    void deleteSelectedOverlay();
    void exportPNG();

    // Whole-image operations.
    void grayscale();
    void brighten();
    void darken();
    void sepia();
    void invert();
    void sharpen();
    void resizeHalf();
    void resizeDouble();

    // Ending: each reaches the completion at most once between them.
    void save();
    void cancel();
    void windowWillClose();

private:
    void buildInterface(const QSizeF &imageSize);
    void placeWindow(QScreen *screen);
    void connectControls();
    void floatImage(const QImage &image);
    void finish(std::optional<QImage> edited);

    ClipboardWriter &clipboard_;
    std::unique_ptr<ImageEditorWindow> window_;
    EditorCanvasView *canvas_ = nullptr;
    CanvasOverlays *overlays_ = nullptr;
    EditorToolBar *toolBar_ = nullptr;
    EditorSidePanel *sidePanel_ = nullptr;
    EditorStatusBar *statusBar_ = nullptr;
    QScrollArea *scrollView_ = nullptr;
    QImage insertImage_;
    Completion completion_;
    bool finished_ = false;
    std::unique_ptr<EditorFileChooser> fileChooser_;
};
