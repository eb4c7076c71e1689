#pragma once

#include <QImage>
#include <functional>
#include <optional>

class QScreen;

// Opens the image editor for a capture flow, so the editor's answer goes straight back
// to the flow that asked. GUI thread only.
class EditorLauncher {
public:
    // The edited image on save, nothing on cancel or close; called exactly once.
    using Completion = std::function<void(std::optional<QImage> edited)>;

    virtual ~EditorLauncher() = default;
    // Shows an editor on image, centred on screen, in front; it replaces any earlier one.
    virtual void openEditor(const QImage &image, QScreen *screen, Completion completion) = 0;
};
