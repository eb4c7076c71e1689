#include "storage/AppPaths.h"
#include "ScopedEnv.h"
#include "support/TestFiles.h"

#include <QDirIterator>
#include <QMap>

namespace {

using Files = QMap<QString, QByteArray>;
using Moves = QList<std::pair<QString, QString>>;

// Every file below root, relative path -> content.
Files contents(const QString &root)
{
    Files files;
    QDirIterator it(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        files.insert(QDir(root).relativeFilePath(path), readFile(path));
    }
    return files;
}

// latest.db is a link to history.db.
const Files legacyFiles = {{"history.db", "old history"}, {"latest.db", "old history"}, {".hidden", "h"}, {"Recordings/Recording_1.mp4", "mp4"}};
const Files currentFiles = {{"key-mappings.json", "[]"}};

TEST(AppPaths, MigratesOnlyWhenTheNewFolderIsMissing)
{
    struct Case { const char *label; bool legacy, current, moveWorks, moveTried; Files currentAfter; bool legacyRemains; };
    const Case cases[] = {
        {"only legacy: moved", true, false, true, true, legacyFiles, false},
        {"only legacy, move refused: copied", true, false, false, true, legacyFiles, true},
        {"both: never merged", true, true, true, false, currentFiles, true},
        {"neither: created empty", false, false, true, false, {}, false},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.label);
        QTemporaryDir base;
        const QString legacy = base.filePath("Tarnwick");
        const QString current = base.filePath("Vistrel");
        for (const auto &[name, bytes] : legacyFiles.asKeyValueRange())
            if (c.legacy)
                name == "latest.db" ? void(QFile::link("history.db", legacy + "/" + name)) : writeFile(legacy + "/" + name, bytes);
        for (const auto &[name, bytes] : currentFiles.asKeyValueRange())
            c.current ? writeFile(current + "/" + name, bytes) : void();
        Moves moves;
        const QString result = AppPaths::migrateFolder(base.path(), [&](const QString &from, const QString &to) {
            moves.append({from, to});
            return c.moveWorks && QDir().rename(from, to);
        });
        EXPECT_EQ(result, current);
        EXPECT_TRUE(QFileInfo(current).isDir());
        EXPECT_EQ(contents(current), c.currentAfter);
        EXPECT_EQ(moves, (c.moveTried ? Moves{{legacy, current}} : Moves{}));
        EXPECT_EQ(QFileInfo::exists(legacy), c.legacyRemains);
        EXPECT_EQ(contents(legacy), c.legacyRemains ? legacyFiles : Files{});
    }
}

TEST(AppPaths, StandardMigratesEachFolderOnItsOwn)
{
    QTemporaryDir home;
    const ScopedEnv env{{"HOME", QFile::encodeName(home.path())},
                        {"XDG_DATA_HOME", QFile::encodeName(home.filePath(".local/share"))},
                        {"XDG_CONFIG_HOME", QFile::encodeName(home.filePath(".config"))}};
    writeFile(home.filePath(".local/share/Tarnwick/history.db"), "db");
    writeFile(home.filePath("Documents/Tarnwick/Recordings/a.mp4"), "a");
    writeFile(home.filePath("Documents/Vistrel/Recordings/b.mp4"), "b");
    const AppPaths paths = AppPaths::standard();

    EXPECT_EQ(paths.applicationSupport, home.filePath(".local/share/Vistrel"));
    EXPECT_EQ(paths.documents, home.filePath("Documents/Vistrel"));
    EXPECT_EQ(paths.desktop, home.filePath("Desktop"));
    EXPECT_EQ(paths.recordings(), home.filePath("Documents/Vistrel/Recordings"));
    EXPECT_EQ(readFile(paths.applicationSupport + "/history.db"), "db");
    EXPECT_FALSE(QFileInfo::exists(home.filePath(".local/share/Tarnwick")));
    EXPECT_EQ(contents(paths.documents), (Files{{"Recordings/b.mp4", "b"}}));
    EXPECT_TRUE(QFileInfo::exists(home.filePath("Documents/Tarnwick/Recordings/a.mp4")));
}

} // namespace
