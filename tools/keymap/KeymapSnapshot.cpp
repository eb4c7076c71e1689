#include "keymap/KeymapSnapshot.h"

#include <QList>

namespace keymap {
namespace {

const QByteArray kMagic = QByteArrayLiteral("VISTREL_KEYMAP");
const QByteArray kVersion = QByteArrayLiteral("2");
constexpr int kLowestKeycode = 8;
constexpr int kHighestKeycode = 255;
constexpr int kMostLevels = 63;

// Reads whitespace-separated tokens in order; any malformed token fails the whole read.
class TokenReader {
public:
    explicit TokenReader(const QByteArray &text) : m_tokens(text.simplified().split(' ')) {}

    bool expect(const QByteArray &token) { return next() == token; }
    std::optional<quint64> number(quint64 highest, int base = 10)
    {
        bool ok = false;
        const quint64 value = next().toULongLong(&ok, base);
        if (!ok || value > highest)
            return std::nullopt;
        return value;
    }
    bool atEnd() const { return m_next >= m_tokens.size(); }

private:
    QByteArray next() { return atEnd() ? QByteArray() : m_tokens.at(m_next++); }

    QList<QByteArray> m_tokens;
    qsizetype m_next = 0;
};

template <typename T>
bool readInto(TokenReader &reader, T &field, quint64 highest, int base = 10)
{
    const auto value = reader.number(highest, base);
    if (value)
        field = T(*value);
    return value.has_value();
}

void appendKey(QByteArray &text, const KeyEntry &key)
{
    for (quint8 type : key.types)
        text += QByteArray::number(type) + ' ';
    text += QByteArray::number(key.groupInfo) + ' ' + QByteArray::number(key.width) + ' '
        + QByteArray::number(key.explicitComponents) + ' ' + QByteArray::number(key.virtualModifiers)
        + ' ' + QByteArray::number(key.modifiers) + ' ' + QByteArray::number(qsizetype(key.keysyms.size()));
    for (quint32 keysym : key.keysyms)
        text += ' ' + QByteArray::number(keysym, 16);
    text += ' ' + QByteArray::number(qsizetype(key.actions.size()));
    for (quint64 action : key.actions)
        text += ' ' + QByteArray::number(action, 16);
    text += '\n';
}

bool readKey(TokenReader &reader, KeyEntry &key)
{
    for (quint8 &type : key.types) {
        if (!readInto(reader, type, 0xFF))
            return false;
    }
    std::size_t keysymCount = 0;
    if (!readInto(reader, key.groupInfo, 0xFF) || !readInto(reader, key.width, kMostLevels)
        || !readInto(reader, key.explicitComponents, 0xFF)
        || !readInto(reader, key.virtualModifiers, 0xFFFF) || !readInto(reader, key.modifiers, 0xFF)
        || !readInto(reader, keysymCount, std::size_t(kMaxGroups) * kMostLevels))
        return false;
    key.keysyms.resize(keysymCount);
    for (quint32 &keysym : key.keysyms) {
        if (!readInto(reader, keysym, 0xFFFFFFFFu, 16))
            return false;
    }
    std::size_t actionCount = 0;
    if (!readInto(reader, actionCount, keysymCount))
        return false;
    key.actions.resize(actionCount);
    for (quint64 &action : key.actions) {
        if (!readInto(reader, action, ~quint64(0), 16))
            return false;
    }
    return key.isConsistent();
}

} // namespace

bool KeyEntry::isConsistent() const
{
    return groupCount() <= kMaxGroups && keysyms.size() == std::size_t(groupCount()) * width
        && (actions.empty() || actions.size() == keysyms.size());
}

bool KeyEntry::producesSameAs(const KeyEntry &other) const
{
    if (groupInfo != other.groupInfo || width != other.width || keysyms != other.keysyms
        || modifiers != other.modifiers)
        return false;
    for (int group = 0; group < groupCount(); ++group) {
        if (types[std::size_t(group)] != other.types[std::size_t(group)])
            return false;
    }
    return true;
}

std::array<std::vector<int>, kModifierCount> KeymapSnapshot::modifierKeycodes() const
{
    std::array<std::vector<int>, kModifierCount> result;
    for (int keycode = minKeycode; keycode <= maxKeycode; ++keycode) {
        for (int bit = 0; bit < kModifierCount; ++bit) {
            if (key(keycode).modifiers & (1u << bit))
                result[std::size_t(bit)].push_back(keycode);
        }
    }
    return result;
}

QByteArray encodeSnapshot(const KeymapSnapshot &snapshot)
{
    QByteArray text = kMagic + ' ' + kVersion + ' ' + QByteArray::number(snapshot.minKeycode) + ' '
        + QByteArray::number(snapshot.maxKeycode) + '\n';
    for (const KeyEntry &key : snapshot.keys)
        appendKey(text, key);
    return text;
}

std::optional<KeymapSnapshot> decodeSnapshot(const QByteArray &text)
{
    TokenReader reader(text);
    if (!reader.expect(kMagic) || !reader.expect(kVersion))
        return std::nullopt;
    KeymapSnapshot snapshot;
    if (!readInto(reader, snapshot.minKeycode, kHighestKeycode)
        || !readInto(reader, snapshot.maxKeycode, kHighestKeycode)
        || snapshot.minKeycode < kLowestKeycode || snapshot.maxKeycode < snapshot.minKeycode)
        return std::nullopt;
    snapshot.keys.resize(std::size_t(snapshot.maxKeycode - snapshot.minKeycode + 1));
    for (KeyEntry &key : snapshot.keys) {
        if (!readKey(reader, key))
            return std::nullopt;
    }
    if (!reader.atEnd())
        return std::nullopt;
    return snapshot;
}

} // namespace keymap
