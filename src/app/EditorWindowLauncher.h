#pragma once

#include "capture/library/EditorLauncher.h"

#include <memory>

class ClipboardWriter;
class ImageEditorController;
class WindowExitWatcher;

// Opens image editor windows for the capture flows. Keeps the newest editor; a later
// capture replaces it, and the earlier window then goes unsaved. GUI thread only.
class EditorWindowLauncher : public EditorLauncher {
public:
    EditorWindowLauncher(ClipboardWriter &clipboard, WindowExitWatcher &windowExits);
    ~EditorWindowLauncher() override;

    void openEditor(const QImage &image, QScreen *screen, Completion completion) override;
    ImageEditorController *editor() const { return m_editor.get(); }

private:
    ClipboardWriter &m_clipboard;
    WindowExitWatcher &m_windowExits;
    std::unique_ptr<ImageEditorController> m_editor;
};
