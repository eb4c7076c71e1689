#include "storage/AppPaths.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace {

const QString appFolderName = QStringLiteral("Vistrel");
const QString legacyFolderName = QStringLiteral("Tarnwick");

// Best effort: copies what it can and keeps going past entries it cannot.
void copyRecursively(const QString &from, const QString &to)
{
    const QFileInfo source(from);
    if (source.isSymLink()) {
        QFile::link(source.symLinkTarget(), to);
        return;
    }
    if (!source.isDir()) {
        QFile::copy(from, to);
        return;
    }
    QDir().mkpath(to);
    const QDir sourceDir(from);
    const QFileInfoList entries =
        sourceDir.entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QFileInfo &entry : entries)
        copyRecursively(entry.filePath(), QDir(to).filePath(entry.fileName()));
}

bool existsAt(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

QString standardFolder(QStandardPaths::StandardLocation location)
{
    return QStandardPaths::writableLocation(location);
}

} // namespace

AppPaths AppPaths::standard()
{
    AppPaths paths;
    paths.applicationSupport = migrateFolder(standardFolder(QStandardPaths::GenericDataLocation));
    paths.documents = migrateFolder(standardFolder(QStandardPaths::DocumentsLocation));
    paths.desktop = standardFolder(QStandardPaths::DesktopLocation);
    return paths;
}

QString AppPaths::migrateFolder(const QString &base)
{
    return migrateFolder(base, [](const QString &from, const QString &to) { return QDir().rename(from, to); });
}

QString AppPaths::migrateFolder(const QString &base, const FolderMove &move)
{
    const QDir baseDir(base);
    const QString current = baseDir.filePath(appFolderName);
    const QString legacy = baseDir.filePath(legacyFolderName);

    // Never merge: the legacy folder only counts while the new one does not exist.
    if (!existsAt(current) && existsAt(legacy)) {
        if (!move(legacy, current))
            copyRecursively(legacy, current);
    }
    QDir().mkpath(current);
    return current;
}
