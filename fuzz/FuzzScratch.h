#pragma once

// What the fuzz targets share: a private folder for the files they open, and a check that
// stops the run (libFuzzer saves the input) when a property does not hold.
#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

namespace fuzz {

inline QString scratchPath(const QString &name)
{
    // Shared memory when there is some: libFuzzer writes thousands of files a second.
    static const QTemporaryDir folder(QDir(QStringLiteral("/dev/shm")).exists()
                                          ? QStringLiteral("/dev/shm/vistrel-fuzz-XXXXXX")
                                          : QDir::tempPath() + QStringLiteral("/vistrel-fuzz-XXXXXX"));
    return QDir(folder.path()).filePath(name);
}

inline QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline QString writeScratch(const QString &name, const QByteArray &bytes)
{
    const QString path = scratchPath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size()) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
        std::abort();
    }
    return path;
}

inline void require(bool holds, const char *what)
{
    if (!holds) {
        std::fprintf(stderr, "property broken: %s\n", what);
        std::abort();
    }
}

inline QByteArray bytesOf(const uint8_t *data, size_t size)
{
    return QByteArray(reinterpret_cast<const char *>(data), qsizetype(size));
}

} // namespace fuzz
