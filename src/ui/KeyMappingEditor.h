#pragma once

#include "keyboard/MacKeyOption.h"

#include <QList>
#include <QStringList>
#include <optional>

// The rules of the key-mapping window, apart from its widgets.
namespace KeyMappingEditor {

// Catalogue names that are not yet the source of a mapping, in catalogue order.
QStringList sourceChoices(const QList<MacCustomKeyMapping> &mappings);
// "source  →  destination" per mapping, or the single placeholder for an empty list.
QStringList mappingTitles(const QList<MacCustomKeyMapping> &mappings);

// The list after adding source -> destination (replacing any mapping of that source,
// appended last); empty when the choice is refused (unknown name, same key).
std::optional<QList<MacCustomKeyMapping>> added(const QList<MacCustomKeyMapping> &mappings,
                                                const QString &source, const QString &destination);
// The list without the mapping at index; empty when there is nothing there to remove.
std::optional<QList<MacCustomKeyMapping>> removed(const QList<MacCustomKeyMapping> &mappings,
                                                  qsizetype index);

} // namespace KeyMappingEditor
