#pragma once

#include <QByteArray>
#include <QString>

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

// Applies a "UserKeyMapping" property to the display's keymap, or restores the original
// keymap for an empty list. Nothing is changed unless the whole property is valid.
Outcome applyProperty(const QByteArray &json, const QByteArray &displayName);

} // namespace keymap
