#pragma once

#include <QtGlobal>
#include <optional>

namespace keymap {

// Usages travel with their page in the bits above bit 31; page 7 is keyboard/keypad.
inline constexpr quint64 keyboardPagePrefix = quint64(0x7) << 32;

// The Linux input (evdev) code of a keyboard-page usage; empty for reserved usages and
// for those no Linux keyboard driver reports.
std::optional<int> evdevCodeForUsage(quint32 usage);

// X servers running on evdev number their keys evdev code + 8.
std::optional<int> xKeycodeForUsage(quint32 usage);

} // namespace keymap
