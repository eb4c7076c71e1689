#include "ui/KeyMappingEditor.h"

#include "keyboard/MacKeyMappingStore.h"

#include <QSet>

namespace KeyMappingEditor {

QStringList sourceChoices(const QList<MacCustomKeyMapping> &mappings)
{
    QSet<QString> used;
    for (const auto &m : mappings)
        used.insert(m.source);
    QStringList names;
    for (const auto &key : MacKeyMappingStore::keys()) {
        if (!used.contains(key.name))
            names << key.name;
    }
    return names;
}

QStringList mappingTitles(const QList<MacCustomKeyMapping> &mappings)
{
    if (mappings.isEmpty())
        return {QStringLiteral("Chưa có mapping")};
    QStringList titles;
    for (const auto &m : mappings)
        titles << m.source + QStringLiteral("  →  ") + m.destination;
    return titles;
}

std::optional<QList<MacCustomKeyMapping>> added(const QList<MacCustomKeyMapping> &mappings,
                                                const QString &source, const QString &destination)
{
    const MacKeyOption *from = MacKeyMappingStore::find(source);
    const MacKeyOption *to = MacKeyMappingStore::find(destination);
    if (!from || !to || from->usage == to->usage)
        return std::nullopt;
    QList<MacCustomKeyMapping> result;
    for (const auto &m : mappings) {
        if (m.source != source)
            result << m;
    }
    result << MacCustomKeyMapping{source, destination};
    return result;
}

std::optional<QList<MacCustomKeyMapping>> removed(const QList<MacCustomKeyMapping> &mappings,
                                                  qsizetype index)
{
    if (index < 0 || index >= mappings.size())
        return std::nullopt;
    QList<MacCustomKeyMapping> result = mappings;
    result.removeAt(index);
    return result;
}

} // namespace KeyMappingEditor
