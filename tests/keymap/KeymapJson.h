#pragma once

#include <QByteArrayList>

#include <utility>

// UserKeyMapping properties as the app writes them.
inline QByteArray entry(quint64 source, quint64 destination)
{
    return "{\"HIDKeyboardModifierMappingSrc\":" + QByteArray::number(source)
        + ",\"HIDKeyboardModifierMappingDst\":" + QByteArray::number(destination) + "}";
}

inline QByteArray property(const QByteArrayList &entries) { return "{\"UserKeyMapping\":[" + entries.join(',') + "]}"; }

// From (source, destination) usages of the keyboard page.
inline QByteArray usages(std::initializer_list<std::pair<quint32, quint32>> pairs)
{
    QByteArrayList entries;
    for (const auto &[source, destination] : pairs)
        entries.append(entry((quint64(7) << 32) + source, (quint64(7) << 32) + destination));
    return property(entries);
}
