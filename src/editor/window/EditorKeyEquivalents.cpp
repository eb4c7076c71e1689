#include "editor/window/EditorKeyEquivalents.h"

EditorKeyEquivalents::Action EditorKeyEquivalents::classify(Qt::KeyboardModifiers modifiers, int key)
{
    // The keypad flag says where the key is, not what is held.
    const Qt::KeyboardModifiers held = modifiers & (Qt::ShiftModifier | Qt::ControlModifier |
                                                    Qt::AltModifier | Qt::MetaModifier);
    if (held != Qt::ControlModifier && held != Qt::MetaModifier)
        return Action::none;
    if (key == Qt::Key_C)
        return Action::copy;
    if (key == Qt::Key_V)
        return Action::paste;
    return Action::none;
}
