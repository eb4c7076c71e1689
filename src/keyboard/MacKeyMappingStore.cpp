#include "keyboard/MacKeyMappingStore.h"

#include "storage/AtomicFile.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <optional>

namespace MacKeyMappingStore {
namespace {

QList<MacKeyOption> buildCatalogue()
{
    QList<MacKeyOption> keys = {
        {QStringLiteral("Control trái"), 0xE0},  {QStringLiteral("Control phải"), 0xE4},
        {QStringLiteral("Shift trái"), 0xE1},    {QStringLiteral("Shift phải"), 0xE5},
        {QStringLiteral("Option trái"), 0xE2},   {QStringLiteral("Option phải"), 0xE6},
        {QStringLiteral("Command trái"), 0xE3},  {QStringLiteral("Command phải"), 0xE7},
        {QStringLiteral("Caps Lock"), 0x39},     {QStringLiteral("Space"), 0x2C},
        {QStringLiteral("Return"), 0x28},        {QStringLiteral("Tab"), 0x2B},
        {QStringLiteral("Escape"), 0x29},        {QStringLiteral("Delete"), 0x2A},
        {QStringLiteral("Forward Delete"), 0x4C}, {QStringLiteral("Home"), 0x4A},
        {QStringLiteral("End"), 0x4D},           {QStringLiteral("Page Up"), 0x4B},
        {QStringLiteral("Page Down"), 0x4E},
        {QString(QChar(0x2190)), 0x50},          {QString(QChar(0x2191)), 0x52},
        {QString(QChar(0x2192)), 0x4F},          {QString(QChar(0x2193)), 0x51},
    };
    for (int i = 0; i < 26; ++i)
        keys.append({QString(QChar('A' + i)), quint64(4 + i)});
    // The HID page puts 0 after 9.
    for (int i = 1; i <= 9; ++i)
        keys.append({QString::number(i), quint64(29 + i)});
    keys.append({QStringLiteral("0"), 39});
    for (int i = 1; i <= 12; ++i)
        keys.append({QStringLiteral("F%1").arg(i), quint64(57 + i)});
    return keys;
}

const QHash<QString, qsizetype> &indexByName()
{
    static const QHash<QString, qsizetype> index = [] {
        QHash<QString, qsizetype> byName;
        const QList<MacKeyOption> &all = keys();
        for (qsizetype i = 0; i < all.size(); ++i)
            byName.insert(all[i].name, i);
        return byName;
    }();
    return index;
}

// A JSON string literal, escaped the way QJsonDocument escapes it.
QByteArray jsonString(const QString &text)
{
    const QByteArray wrapped = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return wrapped.mid(1, wrapped.size() - 2);
}

// Nothing when the bytes are not a list of mappings.
std::optional<QList<MacCustomKeyMapping>> parse(const QByteArray &bytes)
{
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    if (!document.isArray())
        return std::nullopt;

    QList<MacCustomKeyMapping> mappings;
    const QJsonArray array = document.array();
    for (const QJsonValue &value : array) {
        if (!value.isObject())
            return std::nullopt;
        const QJsonObject object = value.toObject();
        const QJsonValue source = object.value(QLatin1String("source"));
        const QJsonValue destination = object.value(QLatin1String("destination"));
        // All or nothing: a half-understood file is worse than none.
        if (!source.isString() || !destination.isString())
            return std::nullopt;
        mappings.append({source.toString(), destination.toString()});
    }
    return mappings;
}

// A file that does not read as mappings may still be the user's work (a hand edit cut
// short, say): it is kept beside the new one rather than overwritten.
void keepDamagedFile(const QString &filePath)
{
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly) || parse(file.readAll()))
        return;
    const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd_HH-mm-ss"));
    QFile::copy(filePath, filePath + QStringLiteral(".damaged-") + stamp);
}

} // namespace

const QList<MacKeyOption> &keys()
{
    static const QList<MacKeyOption> catalogue = buildCatalogue();
    return catalogue;
}

const MacKeyOption *find(const QString &name)
{
    const auto it = indexByName().constFind(name);
    return it == indexByName().cend() ? nullptr : &keys()[*it];
}

QString filePath(const QString &applicationSupport)
{
    QDir().mkpath(applicationSupport);
    return QDir(applicationSupport).filePath(QStringLiteral("key-mappings.json"));
}

QList<MacCustomKeyMapping> load(const QString &filePath)
{
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return parse(file.readAll()).value_or(QList<MacCustomKeyMapping>());
}

bool save(const QString &filePath, const QList<MacCustomKeyMapping> &mappings)
{
    // Written by hand so the members keep their declared order (QJsonObject sorts them).
    QByteArray bytes = "[";
    for (qsizetype i = 0; i < mappings.size(); ++i) {
        if (i > 0)
            bytes += ',';
        bytes += "{\"source\":" + jsonString(mappings[i].source)
                 + ",\"destination\":" + jsonString(mappings[i].destination) + '}';
    }
    bytes += ']';

    keepDamagedFile(filePath);
    return AtomicFile::write(filePath, bytes);
}

QList<std::pair<quint64, quint64>> resolved(const QList<MacCustomKeyMapping> &mappings)
{
    QList<std::pair<quint64, quint64>> pairs;
    for (const MacCustomKeyMapping &mapping : mappings) {
        const MacKeyOption *source = find(mapping.source);
        const MacKeyOption *destination = find(mapping.destination);
        if (!source || !destination || source->usage == destination->usage)
            continue;
        pairs.append({source->usage, destination->usage});
    }
    return pairs;
}

} // namespace MacKeyMappingStore
