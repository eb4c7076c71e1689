#include "keymap/MappingRecord.h"

#include <QList>

namespace keymap {
namespace {

const QByteArray kMagic = QByteArrayLiteral("VISTREL_MAPPING");
const QByteArray kVersion = QByteArrayLiteral("1");
constexpr int kLowestKeycode = 8;
constexpr int kHighestKeycode = 255;

std::optional<int> keycode(const QByteArray &token)
{
    bool ok = false;
    const int value = token.toInt(&ok);
    if (!ok || value < kLowestKeycode || value > kHighestKeycode)
        return std::nullopt;
    return value;
}

} // namespace

QByteArray encodeMapping(const std::map<int, int> &mapping)
{
    QByteArray text = kMagic + ' ' + kVersion + ' ' + QByteArray::number(qsizetype(mapping.size()));
    for (const auto &[source, destination] : mapping)
        text += ' ' + QByteArray::number(source) + ' ' + QByteArray::number(destination);
    return text + '\n';
}

std::optional<std::map<int, int>> decodeMapping(const QByteArray &text)
{
    const QList<QByteArray> tokens = text.simplified().split(' ');
    if (tokens.size() < 3 || tokens.at(0) != kMagic || tokens.at(1) != kVersion)
        return std::nullopt;
    bool ok = false;
    const qsizetype count = tokens.at(2).toLongLong(&ok);
    if (!ok || count < 0 || tokens.size() != 3 + 2 * count)
        return std::nullopt;
    std::map<int, int> mapping;
    for (qsizetype i = 3; i < tokens.size(); i += 2) {
        const auto source = keycode(tokens.at(i));
        const auto destination = keycode(tokens.at(i + 1));
        // Each source once: the record is written from a map.
        if (!source || !destination || !mapping.emplace(*source, *destination).second)
            return std::nullopt;
    }
    return mapping;
}

} // namespace keymap
