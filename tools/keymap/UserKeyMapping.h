#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <map>
#include <vector>

namespace keymap {

// One "UserKeyMapping" entry, as keyboard-page usages without the page.
struct UsageMapping {
    quint32 source = 0;
    quint32 destination = 0;
    friend bool operator==(const UsageMapping &, const UsageMapping &) = default;
};

struct ParsedMapping {
    std::vector<UsageMapping> mappings;
    QString error;   // one line; empty when the property is usable
    bool ok() const { return error.isEmpty(); }
};

// Reads {"UserKeyMapping":[{"HIDKeyboardModifierMappingSrc":N,"HIDKeyboardModifierMappingDst":M},...]}.
// Everything is checked here (shape, page, known usages) so nothing reaches the X server
// unless the whole property is good.
ParsedMapping parseUserKeyMapping(const QByteArray &json);

// Source X keycode -> destination X keycode. All usages must be known (parseUserKeyMapping
// guarantees it); of two entries with the same source the later one wins.
std::map<int, int> keycodeMapping(const std::vector<UsageMapping> &mappings);

} // namespace keymap
