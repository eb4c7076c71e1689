#pragma once

#include <Qt>

// The editor window's two key equivalents: copy and paste with Control (or Super, the
// key in the Command position) and no other modifier.
namespace EditorKeyEquivalents {

enum class Action { none, copy, paste };

Action classify(Qt::KeyboardModifiers modifiers, int key);

} // namespace EditorKeyEquivalents
