#pragma once

#include <QString>
#include <functional>

// The app's folders, found once at launch and handed to whoever writes files.
// Each app folder is moved over from its legacy "Tarnwick" sibling when only that exists.
struct AppPaths {
    QString applicationSupport;   // history.db, key-mappings.json, markers
    QString documents;            // capture root; holds "Recordings"
    QString desktop;              // screenshots land here

    QString recordings() const { return documents + QStringLiteral("/Recordings"); }

    // The standard locations of this user (XDG), migrated and created.
    static AppPaths standard();
    // base/Vistrel, moved (or, failing that, copied) from base/Tarnwick when only that
    // exists, then created. Failures are ignored.
    static QString migrateFolder(const QString &base);

    // Moves a folder; true on success. Injectable so the copy fallback can be exercised.
    using FolderMove = std::function<bool(const QString &from, const QString &to)>;
    static QString migrateFolder(const QString &base, const FolderMove &move);
};
