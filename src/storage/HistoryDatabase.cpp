#include "storage/HistoryDatabase.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <optional>
#include <sqlite3.h>

namespace {

const char createTableSql[] = "CREATE TABLE IF NOT EXISTS captures (\n"
                              "    id INTEGER PRIMARY KEY AUTOINCREMENT,\n"
                              "    type TEXT NOT NULL,\n"
                              "    path TEXT NOT NULL,\n"
                              "    created_at TEXT NOT NULL\n"
                              ");";

// Prepared statement, finalized when it goes out of scope.
class Statement {
public:
    Statement(sqlite3 *db, const char *sql)
    {
        if (db)
            sqlite3_prepare_v2(db, sql, -1, &m_stmt, nullptr);
    }
    ~Statement() { sqlite3_finalize(m_stmt); }
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;

    bool isValid() const { return m_stmt != nullptr; }
    void bind(int index, const QString &text)
    {
        const QByteArray utf8 = text.toUtf8();
        sqlite3_bind_text(m_stmt, index, utf8.constData(), int(utf8.size()), SQLITE_TRANSIENT);
    }
    void bind(int index, int value) { sqlite3_bind_int(m_stmt, index, value); }
    int step() { return sqlite3_step(m_stmt); }

    qint64 int64At(int column) const { return sqlite3_column_int64(m_stmt, column); }
    // Nothing for NULL.
    std::optional<QString> textAt(int column) const
    {
        const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(m_stmt, column));
        if (!text)
            return std::nullopt;
        return QString::fromUtf8(text, sqlite3_column_bytes(m_stmt, column));
    }

private:
    sqlite3_stmt *m_stmt = nullptr;
};

QString formatTimestamp(const QDateTime &time)
{
    return time.toUTC().toString(QStringLiteral("yyyy-MM-dd'T'HH:mm:ss'Z'"));
}

// Internet date-time at whole seconds, with Z or a numeric offset; nothing else.
std::optional<QDateTime> parseTimestamp(const QString &text)
{
    static const QRegularExpression form(
        QStringLiteral("^\\d{4}-\\d{2}-\\d{2}T\\d{2}:\\d{2}:\\d{2}(Z|[+-]\\d{2}:\\d{2})$"));
    if (!form.match(text).hasMatch())
        return std::nullopt;
    const QDateTime parsed = QDateTime::fromString(text, Qt::ISODate);
    if (!parsed.isValid())
        return std::nullopt;
    return parsed.toUTC();
}

} // namespace

HistoryDatabase::HistoryDatabase(const QString &folder)
{
    QDir().mkpath(folder);
    const QByteArray path = QFile::encodeName(QDir(folder).filePath(QStringLiteral("history.db")));
    if (sqlite3_open_v2(path.constData(), &m_db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr)
        != SQLITE_OK) {
        sqlite3_close(m_db);
        m_db = nullptr;
        return;
    }
    // Fails on a file that is not a database; every later statement then fails too.
    sqlite3_exec(m_db, createTableSql, nullptr, nullptr, nullptr);
}

HistoryDatabase::~HistoryDatabase()
{
    sqlite3_close(m_db);
}

bool HistoryDatabase::add(CaptureKind kind, const QString &path, const QDateTime &now)
{
    Statement insert(m_db, "INSERT INTO captures(type,path,created_at) VALUES(?,?,?)");
    if (!insert.isValid())
        return false;
    insert.bind(1, CaptureKinds::text(kind));
    insert.bind(2, path);
    insert.bind(3, formatTimestamp(now));
    return insert.step() == SQLITE_DONE;
}

QList<CaptureItem> HistoryDatabase::recent(int limit) const
{
    QList<CaptureItem> items;
    Statement select(m_db, "SELECT id,type,path,created_at FROM captures ORDER BY id DESC LIMIT ?");
    if (!select.isValid())
        return items;
    select.bind(1, limit);
    while (select.step() == SQLITE_ROW) {
        const std::optional<QString> type = select.textAt(1);
        const std::optional<QString> path = select.textAt(2);
        // Only another tool can leave these NULL; such a row names no file to show.
        if (!type || !path)
            continue;
        CaptureItem item;
        item.id = select.int64At(0);
        item.kind = CaptureKinds::fromText(*type);
        item.path = *path;
        const std::optional<QString> stamp = select.textAt(3);
        item.createdAt = (stamp ? parseTimestamp(*stamp) : std::nullopt)
                             .value_or(QDateTime::currentDateTimeUtc());
        items.append(item);
    }
    return items;
}
