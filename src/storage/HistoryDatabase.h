#pragma once

#include "storage/CaptureItem.h"

#include <QDateTime>
#include <QList>
#include <QString>

struct sqlite3;

// history.db: one row per saved capture. Best-effort: a database that cannot be opened
// or read gives empty results, never an error. Not thread-safe; GUI thread only.
class HistoryDatabase {
public:
    explicit HistoryDatabase(const QString &folder);
    ~HistoryDatabase();
    HistoryDatabase(const HistoryDatabase &) = delete;
    HistoryDatabase &operator=(const HistoryDatabase &) = delete;

    bool add(CaptureKind kind, const QString &path,
             const QDateTime &now = QDateTime::currentDateTimeUtc());
    QList<CaptureItem> recent(int limit = 100) const;

    bool isOpen() const { return m_db != nullptr; }

private:
    sqlite3 *m_db = nullptr;
};
