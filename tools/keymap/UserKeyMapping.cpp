#include "keymap/UserKeyMapping.h"

#include "keymap/HidUsageTable.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>

#include <optional>

namespace keymap {
namespace {

const QString kPropertyKey = QStringLiteral("UserKeyMapping");
const QString kSourceKey = QStringLiteral("HIDKeyboardModifierMappingSrc");
const QString kDestinationKey = QStringLiteral("HIDKeyboardModifierMappingDst");

QString hex(quint64 value)
{
    return QStringLiteral("0x") + QString::number(value, 16).toUpper();
}

// A usage with its page, checked to be a key we can place on the X keymap.
std::optional<quint32> keyboardUsage(const QJsonObject &entry, const QString &key,
                                     const QString &where, QString &error)
{
    const QJsonValue value = entry.value(key);
    constexpr qint64 notAnInteger = -1;
    const qint64 number = value.isDouble() ? value.toInteger(notAnInteger) : notAnInteger;
    if (number < 0) {
        error = QStringLiteral("%1: \"%2\" is missing or not a non-negative integer").arg(where, key);
        return std::nullopt;
    }
    const quint64 full = quint64(number);
    if ((full >> 32) != (keyboardPagePrefix >> 32)) {
        error = QStringLiteral("%1: %2 is not a keyboard-page usage (page 7)").arg(where, hex(full));
        return std::nullopt;
    }
    const quint32 usage = quint32(full & 0xFFFFFFFFu);
    if (!xKeycodeForUsage(usage)) {
        error = QStringLiteral("%1: keyboard usage %2 is not a known key").arg(where, hex(usage));
        return std::nullopt;
    }
    return usage;
}

void parseInto(const QByteArray &json, ParsedMapping &result)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(json, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        result.error = QStringLiteral("invalid JSON at offset %1: %2")
                           .arg(parseError.offset)
                           .arg(parseError.errorString());
        return;
    }
    if (!document.isObject()) {
        result.error = QStringLiteral("the property must be a JSON object");
        return;
    }
    const QJsonObject root = document.object();
    for (auto it = root.begin(); it != root.end(); ++it) {
        if (it.key() != kPropertyKey) {
            result.error = QStringLiteral("unsupported property \"%1\"").arg(it.key());
            return;
        }
    }
    if (!root.value(kPropertyKey).isArray()) {
        result.error = QStringLiteral("\"%1\" is missing or not an array").arg(kPropertyKey);
        return;
    }
    const QJsonArray entries = root.value(kPropertyKey).toArray();
    for (qsizetype i = 0; i < entries.size(); ++i) {
        const QString where = QStringLiteral("entry %1").arg(i + 1);
        if (!entries.at(i).isObject()) {
            result.error = where + QStringLiteral(" is not an object");
            return;
        }
        const QJsonObject entry = entries.at(i).toObject();
        for (auto it = entry.begin(); it != entry.end(); ++it) {
            if (it.key() != kSourceKey && it.key() != kDestinationKey) {
                result.error = QStringLiteral("%1: unexpected member \"%2\"").arg(where, it.key());
                return;
            }
        }
        const auto source = keyboardUsage(entry, kSourceKey, where, result.error);
        if (!source)
            return;
        const auto destination = keyboardUsage(entry, kDestinationKey, where, result.error);
        if (!destination)
            return;
        result.mappings.push_back({*source, *destination});
    }
}

} // namespace

ParsedMapping parseUserKeyMapping(const QByteArray &json)
{
    ParsedMapping result;
    parseInto(json, result);
    if (!result.ok())
        result.mappings.clear();
    return result;
}

std::map<int, int> keycodeMapping(const std::vector<UsageMapping> &mappings)
{
    std::map<int, int> keycodes;
    for (const UsageMapping &mapping : mappings) {
        const auto source = xKeycodeForUsage(mapping.source);
        const auto destination = xKeycodeForUsage(mapping.destination);
        if (source && destination)
            keycodes[*source] = *destination;
    }
    return keycodes;
}

} // namespace keymap
