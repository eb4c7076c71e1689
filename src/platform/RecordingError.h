#pragma once

#include <QString>

// An error that ends a recording: who raised it, its number, and the text the user sees.
struct RecordingError {
    QString domain;
    int code = 0;
    QString description;

    friend bool operator==(const RecordingError &, const RecordingError &) = default;
};
