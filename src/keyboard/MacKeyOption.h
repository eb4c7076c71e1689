#pragma once

#include <QString>
#include <QtGlobal>

// One key that can take part in a mapping: its user-facing name and HID usage (page 7).
struct MacKeyOption {
    QString name;
    quint64 usage = 0;
};

// A user mapping, by catalogue name.
struct MacCustomKeyMapping {
    QString source;
    QString destination;
    friend bool operator==(const MacCustomKeyMapping &, const MacCustomKeyMapping &) = default;
};
