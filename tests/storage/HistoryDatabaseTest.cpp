#include "storage/HistoryDatabase.h"
#include "ScopedEnv.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QFile>
#include <array>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTimeZone>
#include <gtest/gtest.h>
#include <sqlite3.h>

namespace {

// Direct access to the file, as another tool would have it.
class RawDb {
public:
    explicit RawDb(const QString &path) { sqlite3_open(QFile::encodeName(path).constData(), &m_db); }
    ~RawDb() { sqlite3_close(m_db); }
    bool exec(const char *sql) { return sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr) == SQLITE_OK; }
    // First column of every row, as raw bytes.
    QList<QByteArray> column(const char *sql)
    {
        QList<QByteArray> values;
        sqlite3_stmt *stmt = nullptr;
        sqlite3_prepare_v2(m_db, sql, -1, &stmt, nullptr);
        while (sqlite3_step(stmt) == SQLITE_ROW)
            values.append(QByteArray(reinterpret_cast<const char *>(sqlite3_column_blob(stmt, 0)),
                                     sqlite3_column_bytes(stmt, 0)));
        sqlite3_finalize(stmt);
        return values;
    }

private:
    sqlite3 *m_db = nullptr;
};

const QDateTime someTime(QDate(2026, 11, 16), QTime(18, 23, 47), QTimeZone::utc());

TEST(HistoryDatabase, CreatesTheExactTableUnderANonAsciiFolder)
{
    QTemporaryDir root;
    const QString folder = root.filePath("Dữ liệu ứng dụng/Vistrel");
    const QString path = "/home/người dùng/Màn hình/Ảnh chụp_2026-11-16_18-23-47.png";
    {
        HistoryDatabase db(folder);
        EXPECT_TRUE(db.isOpen());
        EXPECT_TRUE(db.recent().isEmpty());
        ASSERT_TRUE(db.add(CaptureKind::screenshot, path, someTime));
        EXPECT_EQ(db.recent().value(0).path, path);
    }
    ASSERT_TRUE(QFile::exists(folder + "/history.db"));
    RawDb raw(folder + "/history.db");
    EXPECT_EQ(raw.column("SELECT sql FROM sqlite_master WHERE name='captures'"),
              QList<QByteArray>{"CREATE TABLE captures (\n"
                                "    id INTEGER PRIMARY KEY AUTOINCREMENT,\n"
                                "    type TEXT NOT NULL,\n"
                                "    path TEXT NOT NULL,\n"
                                "    created_at TEXT NOT NULL\n"
                                ")"});
    EXPECT_EQ(raw.column("SELECT path FROM captures"), QList<QByteArray>{path.toUtf8()});
}

// CaptureItem has no ==; a tuple compares and prints every field.
auto rows(const QList<CaptureItem> &items)
{
    QList<std::tuple<qint64, int, std::string, qint64>> result;
    for (const CaptureItem &i : items)
        result.append({i.id, int(i.kind), i.path.toStdString(), i.createdAt.toMSecsSinceEpoch()});
    return result;
}

TEST(HistoryDatabase, RecentIsNewestIdFirstLimitedAndSurvivesReopen)
{
    QTemporaryDir dir;
    {
        HistoryDatabase db(dir.path());
        EXPECT_TRUE(db.add(CaptureKind::video, "/r/1.mp4", someTime));
    }
    HistoryDatabase db(dir.path());
    QList<CaptureItem> expected;
    // Ever earlier times: only the id may order them.
    for (int i = 2; i <= 150; ++i) {
        const CaptureItem item{i, CaptureKind::screenshot, QString("/d/%1.png").arg(i), someTime.addSecs(-i)};
        ASSERT_TRUE(db.add(item.kind, item.path, item.createdAt));
        expected.prepend(item);
    }
    expected.append({1, CaptureKind::video, "/r/1.mp4", someTime});
    for (const int limit : {0, 1, 150, 200})
        EXPECT_EQ(rows(db.recent(limit)), rows(expected.first(std::min(limit, 150)))) << limit;
    EXPECT_EQ(rows(db.recent()), rows(expected.first(100)));
}

TEST(HistoryDatabase, StoresUtcWhateverTheLocalZone)
{
    for (const QByteArray tz : {"ICT-7", "EST5EDT", "NPT-5:45"}) {
        SCOPED_TRACE(tz.toStdString());
        const ScopedEnv env{{"TZ", tz}};
        QTemporaryDir dir;
        {
            HistoryDatabase db(dir.path());
            ASSERT_TRUE(db.add(CaptureKind::screenshot, "/d/a.png", someTime.toLocalTime()));
            EXPECT_EQ(db.recent().value(0).createdAt, someTime);
        }
        RawDb raw(dir.filePath("history.db"));
        EXPECT_EQ(raw.column("SELECT created_at FROM captures"), QList<QByteArray>{"2026-11-16T18:23:47Z"});
    }
}

TEST(HistoryDatabase, ReadsHandEditedTimestamps)
{
    struct Case { const char *text; std::optional<QDateTime> expected; };   // nullopt: time of reading
    const Case cases[] = {
        {"2026-11-17T01:23:47+07:00", someTime},
        {"2026-11-16 18:23:47", std::nullopt},
        {"2026-11-16", std::nullopt},
        {"2026-11-16T18:23:47.250Z", std::nullopt},
        {"2026-13-40T25:00:00Z", std::nullopt},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        QTemporaryDir dir;
        HistoryDatabase db(dir.path());
        ASSERT_TRUE(db.add(CaptureKind::screenshot, "/d/a.png", someTime));
        RawDb(dir.filePath("history.db"))
            .exec(QByteArray("UPDATE captures SET created_at='") + c.text + "'");
        const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-1);
        const QList<CaptureItem> items = db.recent();
        const QDateTime after = QDateTime::currentDateTimeUtc().addSecs(1);
        ASSERT_EQ(items.size(), 1);
        EXPECT_EQ(items[0].path, "/d/a.png");
        if (c.expected) {
            EXPECT_EQ(items[0].createdAt, *c.expected);
        } else {
            EXPECT_GE(items[0].createdAt, before);
            EXPECT_LE(items[0].createdAt, after);
        }
    }
}

TEST(HistoryDatabase, SkipsRowsWithoutTypeOrPath)
{
    QTemporaryDir dir;
    {
        // A table another tool made, without the NOT NULL constraints.
        RawDb raw(dir.filePath("history.db"));
        ASSERT_TRUE(raw.exec("CREATE TABLE captures (id INTEGER PRIMARY KEY AUTOINCREMENT, type TEXT, path TEXT, created_at TEXT);"
                             "INSERT INTO captures(type,path,created_at) VALUES"
                             " ('screenshot','/d/1.png','2026-11-16T18:23:47Z'), (NULL,'/d/2.png','2026-11-16T18:23:47Z'),"
                             " ('video',NULL,'2026-11-16T18:23:47Z'), ('video','/r/4.mp4',NULL);"));
    }
    HistoryDatabase db(dir.path());
    const QList<CaptureItem> items = db.recent();
    ASSERT_EQ(items.size(), 2);
    EXPECT_EQ(items[0].id, 4);
    EXPECT_EQ(items[0].path, "/r/4.mp4");
    EXPECT_TRUE(items[0].createdAt.isValid());
    EXPECT_EQ(items[1].id, 1);
}

TEST(HistoryDatabase, CorruptFileIsReadAsEmptyAndLeftUntouched)
{
    std::array<quint32, 2044> noise;
    QRandomGenerator(20261116).fillRange(noise.data(), noise.size());
    struct Case { const char *label; QByteArray content; };
    const Case cases[] = {
        {"short text", "not a database"},
        {"database header over noise", QByteArray("SQLite format 3", 16) + QByteArray(reinterpret_cast<const char *>(noise.data()), 8176)},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.label);
        QTemporaryDir dir;
        const QString file = dir.filePath("history.db");
        writeFile(file, c.content);
        {
            HistoryDatabase db(dir.path());
            EXPECT_TRUE(db.recent().isEmpty());
            EXPECT_FALSE(db.add(CaptureKind::screenshot, "/d/a.png", someTime));
            EXPECT_TRUE(db.recent().isEmpty());
        }
        EXPECT_EQ(readFile(file), c.content);
        EXPECT_EQ(QDir(dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::Hidden),
                  QStringList{"history.db"});
    }
}

} // namespace
