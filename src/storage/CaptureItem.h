#pragma once

#include <QDateTime>
#include <QString>

// One history row.
struct CaptureItem {
    qint64 id = 0;
    QString type;        // "screenshot" or "video"
    QString path;
    QDateTime createdAt;
};
