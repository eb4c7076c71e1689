#pragma once

#include "keymap/KeymapTool.h"

namespace keymap {

// Keeps the mapping in force honest while the app that set it lives, and cleans up after
// it when it does not. Runs until one of these:
// - `input` reaches end of file without a "stop" line (the app is gone, however it went):
//   the original keymap is restored, and restored again should a tool run the app started
//   just before it died set a mapping in the next few seconds;
// - a "stop" line arrives (the app removed the mapping itself): nothing is touched;
// - another watcher starts on the display, or the X connection ends: nothing is touched.
// Meanwhile a keymap change made by someone else gets the recorded mapping put back on top.
Outcome watch(const QByteArray &displayName, int input);

} // namespace keymap
