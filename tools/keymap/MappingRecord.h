#pragma once

#include <QByteArray>

#include <map>
#include <optional>

namespace keymap {

// The keycode mapping in force, kept on the root window beside the saved original so any
// process can tell what the keymap should look like and so notice a change made by
// someone else.
QByteArray encodeMapping(const std::map<int, int> &mapping);
// Empty when the text is not a complete record of keycodes 8..255.
std::optional<std::map<int, int>> decodeMapping(const QByteArray &text);

} // namespace keymap
