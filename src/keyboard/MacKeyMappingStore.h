#pragma once

#include "keyboard/MacKeyOption.h"

#include <QList>
#include <QString>
#include <utility>

// The key catalogue and the user's mapping file, key-mappings.json.
// Best-effort: failures read as an empty list or leave the old file.
namespace MacKeyMappingStore {

// The 71 catalogue keys, in the order the key-mapping window lists them.
const QList<MacKeyOption> &keys();

// Catalogue lookup by name; nullptr when the name is unknown.
const MacKeyOption *find(const QString &name);

// Path of key-mappings.json in the application-support folder (created on the way).
QString filePath(const QString &applicationSupport);

QList<MacCustomKeyMapping> load(const QString &filePath);
// Atomic replace; false when the file could not be written (the old one stays).
bool save(const QString &filePath, const QList<MacCustomKeyMapping> &mappings);

// (source usage, destination usage) pairs in list order; unknown names and
// identity mappings are skipped.
QList<std::pair<quint64, quint64>> resolved(const QList<MacCustomKeyMapping> &mappings);

} // namespace MacKeyMappingStore
