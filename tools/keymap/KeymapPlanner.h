#pragma once

#include "keymap/KeymapSnapshot.h"

#include <map>
#include <optional>
#include <vector>

namespace keymap {

// The keymap with a mapping in force: every source key takes the destination's original
// entry (keysyms, levels, actions, modifiers). Destinations are always read from the
// original, so swaps work and a new mapping replaces the previous one instead of stacking.
KeymapSnapshot remappedKeymap(const KeymapSnapshot &original, const std::map<int, int> &mapping);

// Keycodes whose entries differ in anything the server stores per key, modifiers aside
// (those travel in the modifier map).
std::vector<int> keycodesToWrite(const KeymapSnapshot &current, const KeymapSnapshot &target);

// Keycodes whose visible behaviour differs (see KeyEntry::producesSameAs).
std::vector<int> keycodesProducingDifferently(const KeymapSnapshot &actual, const KeymapSnapshot &target);

// The original to plan against once someone else changed the keymap under a mapping
// (another layout loaded, a key rewritten): empty while `current` still produces what
// `mapping` on `original` made. A mapped key that still carries what we wrote keeps its
// old original entry; every other key's current entry becomes its original. A keymap of
// another keycode range, or a mapping that does not fit the old original, is taken whole.
std::optional<KeymapSnapshot> adoptedOriginal(const KeymapSnapshot &original, const std::map<int, int> &mapping,
                                              const KeymapSnapshot &current);

// The first keycode of the mapping (source or destination) outside the map's range.
std::optional<int> keycodeOutside(const KeymapSnapshot &snapshot, const std::map<int, int> &mapping);

} // namespace keymap
