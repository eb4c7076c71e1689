#include "app/EditorWindowLauncher.h"

#include "editor/window/ImageEditorController.h"
#include "editor/window/ImageEditorWindow.h"
#include "platform/WindowExitWatcher.h"

EditorWindowLauncher::EditorWindowLauncher(ClipboardWriter &clipboard, WindowExitWatcher &windowExits)
    : m_clipboard(clipboard), m_windowExits(windowExits)
{
}

EditorWindowLauncher::~EditorWindowLauncher() = default;

void EditorWindowLauncher::openEditor(const QImage &image, QScreen *screen, Completion completion)
{
    // Only the newest editor can still answer: a replaced one is destroyed unanswered.
    m_editor = std::make_unique<ImageEditorController>(
        image, screen, m_clipboard, [this, completion = std::move(completion)](std::optional<QImage> edited) {
            // Closed by now; a capture that follows waits for its frame to go too.
            m_windowExits.leaving(m_editor->window()->winId());
            completion(std::move(edited));
            m_editor.reset();
        });
    QWidget *window = m_editor->window();
    window->show();
    window->raise();
    window->activateWindow();
}
