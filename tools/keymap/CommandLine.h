#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

namespace keymap {

struct Command {
    enum class Kind { Help, SetProperty, Watch, Invalid };
    Kind kind = Kind::Invalid;
    QByteArray property;   // the JSON text, as given
    QString error;         // one line, for Invalid
};

// Arguments without the program name: "property --set JSON", as macOS's hidutil takes them,
// so the app runs either tool the same way; or "watch", the companion the app starts while
// a mapping is in force (see KeymapWatch.h).
Command parseCommandLine(const std::vector<QByteArray> &arguments);

QString usageText();

} // namespace keymap
