// history.db holding arbitrary bytes: opening and listing never crash, and a file SQLite
// itself judges damaged is left exactly as it was.
#include "FuzzScratch.h"
#include "storage/HistoryDatabase.h"

#include <sqlite3.h>

#include <cstdint>

namespace {

// SQLite's own verdict, on a read-only, immutable view so the check changes nothing.
bool looksIntact(const QString &path)
{
    sqlite3 *db = nullptr;
    const QByteArray uri = "file:" + QFile::encodeName(path) + "?immutable=1";
    bool intact = false;
    if (sqlite3_open_v2(uri.constData(), &db, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr) == SQLITE_OK) {
        sqlite3_stmt *check = nullptr;
        if (sqlite3_prepare_v2(db, "PRAGMA quick_check", -1, &check, nullptr) == SQLITE_OK
            && sqlite3_step(check) == SQLITE_ROW) {
            const auto *verdict = reinterpret_cast<const char *>(sqlite3_column_text(check, 0));
            intact = verdict && QByteArray(verdict) == "ok";
        }
        sqlite3_finalize(check);
    }
    sqlite3_close(db);
    return intact;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes = fuzz::bytesOf(data, size);
    const QString path = fuzz::writeScratch(QStringLiteral("history.db"), bytes);
    QFile::remove(path + QStringLiteral("-journal"));
    const bool intact = bytes.isEmpty() || looksIntact(path);
    {
        HistoryDatabase database(QFileInfo(path).path());
        const QList<CaptureItem> items = database.recent(10);
        fuzz::require(items.size() <= 10, "more rows than the limit");
        for (const CaptureItem &item : items)
            fuzz::require(item.createdAt.isValid(), "a row without a valid time");
    }
    if (!intact)
        fuzz::require(fuzz::readFile(path) == bytes, "a damaged database was modified");
    return 0;
}
