#pragma once

#include <QByteArray>
#include <QString>

#include <map>
#include <optional>

namespace keymap {

enum ExitStatus : int {
    ExitDone = 0,
    ExitBadArguments = 1,
    ExitBadProperty = 2,
    ExitNoDisplay = 3,
    ExitRefused = 4,
};

struct Outcome {
    ExitStatus status = ExitDone;
    QString error;   // one line when status is not ExitDone
};

class X11Keyboard;

struct Attempt {
    Outcome outcome;
    bool modifierHeld = false;   // nothing changed; worth trying again once the key is up
};

// One pass with the server grabbed: plans `mapping` (empty: restore the saved original)
// against the original and writes it. Without a mapping it re-applies the one recorded on
// the root window, if any. A keymap changed by someone else becomes the new original.
Attempt applyOnce(X11Keyboard &keyboard, const std::optional<std::map<int, int>> &mapping);
// applyOnce, retried for a while as long as a modifier key is held.
Outcome applyWithPatience(X11Keyboard &keyboard, const std::map<int, int> &mapping);

// Applies a "UserKeyMapping" property to the display's keymap, or restores the original
// keymap for an empty list. Nothing is changed unless the whole property is valid.
Outcome applyProperty(const QByteArray &json, const QByteArray &displayName);

} // namespace keymap
