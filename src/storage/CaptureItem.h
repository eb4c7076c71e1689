#pragma once

#include "storage/CaptureKind.h"

#include <QDateTime>
#include <QString>

// One history row.
struct CaptureItem {
    qint64 id = 0;
    CaptureKind kind = CaptureKind::screenshot;
    QString path;
    QDateTime createdAt;
};
