#include "storage/HistoryDatabase.h"
#include "ScopedEnv.h"
#include "support/TestFiles.h"

#include <QTimeZone>
#include <sqlite3.h>

namespace {

// Runs sql on the file as another tool would, giving the first column of every row.
QByteArrayList raw(const QString &file, const char *sql)
{
    sqlite3 *db = nullptr;
    QByteArrayList values;
    sqlite3_open(QFile::encodeName(file).constData(), &db);
    const auto collect = [](void *out, int, char **columns, char **) {
        static_cast<QByteArrayList *>(out)->append(columns[0]);
        return 0;
    };
    if (sqlite3_exec(db, sql, collect, &values, nullptr) != SQLITE_OK)
        values.append("<failed>");
    sqlite3_close(db);
    return values;
}

// CaptureItem has no ==; a tuple compares and prints every field.
auto rows(const QList<CaptureItem> &items)
{
    QList<std::tuple<qint64, int, std::string, qint64>> result;
    for (const CaptureItem &i : items)
        result.append({i.id, int(i.kind), i.path.toStdString(), i.createdAt.toMSecsSinceEpoch()});
    return result;
}

const QDateTime someTime(QDate(2026, 11, 16), QTime(18, 23, 47), QTimeZone::utc());

TEST(HistoryDatabase, CreatesTheExactTableUnderANonAsciiFolderAndStoresUtcWhateverTheLocalZone)
{
    const QString path = "/home/người dùng/Màn hình/Ảnh chụp_2026-11-16_18-23-47.png";
    for (const QByteArray tz : {"ICT-7", "EST5EDT", "NPT-5:45"}) {
        SCOPED_TRACE(tz.toStdString());
        const ScopedEnv env{{"TZ", tz}};
        QTemporaryDir root;
        const QString folder = root.filePath("Dữ liệu ứng dụng/Vistrel");
        {
            HistoryDatabase db(folder);
            EXPECT_TRUE(db.isOpen());
            EXPECT_TRUE(db.recent().isEmpty());
            ASSERT_TRUE(db.add(CaptureKind::screenshot, path, someTime.toLocalTime()));
            EXPECT_EQ(rows(db.recent()), rows({{1, CaptureKind::screenshot, path, someTime}}));
        }
        const QString file = folder + "/history.db";
        EXPECT_EQ(raw(file, "SELECT sql FROM sqlite_master WHERE name='captures'"),
                  QByteArrayList{"CREATE TABLE captures (\n"
                                 "    id INTEGER PRIMARY KEY AUTOINCREMENT,\n"
                                 "    type TEXT NOT NULL,\n"
                                 "    path TEXT NOT NULL,\n"
                                 "    created_at TEXT NOT NULL\n"
                                 ")"});
        EXPECT_EQ(raw(file, "SELECT type || '|' || path || '|' || created_at FROM captures"),
                  QByteArrayList{"screenshot|" + path.toUtf8() + "|2026-11-16T18:23:47Z"});
    }
}

TEST(HistoryDatabase, RecentIsNewestIdFirstLimitedAndSurvivesReopen)
{
    QTemporaryDir dir;
    EXPECT_TRUE(HistoryDatabase(dir.path()).add(CaptureKind::video, "/r/1.mp4", someTime));
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

TEST(HistoryDatabase, ReadsHandEditedRowsSkippingThoseWithoutTypeOrPath)
{
    QTemporaryDir dir;
    // A table another tool made, without the NOT NULL constraints; an unreadable time reads
    // as the time of reading.
    ASSERT_EQ(raw(dir.filePath("history.db"),
                  "CREATE TABLE captures (id INTEGER PRIMARY KEY AUTOINCREMENT, type TEXT, path TEXT, created_at TEXT);"
                  "INSERT INTO captures(type,path,created_at) VALUES ('screenshot','/d/1.png','2026-11-17T01:23:47+07:00'),"
                  " (NULL,'/d/2.png','2026-11-16T18:23:47Z'), ('video',NULL,'2026-11-16T18:23:47Z'), ('video','/r/4.mp4',NULL),"
                  " ('video','/r/5.mp4','2026-11-16 18:23:47'), ('video','/r/6.mp4','2026-11-16'),"
                  " ('video','/r/7.mp4','2026-11-16T18:23:47.250Z'), ('video','/r/8.mp4','2026-13-40T25:00:00Z');"),
              QByteArrayList{});
    const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-1);
    const QList<CaptureItem> items = HistoryDatabase(dir.path()).recent();
    const QDateTime after = QDateTime::currentDateTimeUtc().addSecs(1);
    ASSERT_EQ(items.size(), 6);
    for (int i = 0; i < 5; ++i) {
        SCOPED_TRACE(items[i].path.toStdString());
        EXPECT_EQ(items[i].id, 8 - i);
        EXPECT_EQ(items[i].path, QString("/r/%1.mp4").arg(8 - i));
        EXPECT_TRUE(items[i].createdAt >= before && items[i].createdAt <= after);
    }
    EXPECT_EQ(rows({items[5]}), rows({{1, CaptureKind::screenshot, "/d/1.png", someTime}}));
}

TEST(HistoryDatabase, CorruptFileIsReadAsEmptyAndLeftUntouched)
{
    QTemporaryDir dir;
    const QString file = dir.filePath("history.db");
    writeFile(file, "not a database");
    {
        HistoryDatabase db(dir.path());
        EXPECT_TRUE(db.recent().isEmpty());
        EXPECT_FALSE(db.add(CaptureKind::screenshot, "/d/a.png", someTime));
        EXPECT_TRUE(db.recent().isEmpty());
    }
    EXPECT_EQ(readFile(file), "not a database");
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::Hidden), QStringList{"history.db"});
}

} // namespace
