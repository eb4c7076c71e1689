#include "keymap/KeymapPlanner.h"

namespace keymap {

KeymapSnapshot remappedKeymap(const KeymapSnapshot &original, const std::map<int, int> &mapping)
{
    // Keycode-based on purpose: the same keysym may sit on several keys (Super_L often does)
    // and only the physical key that moved may change.
    KeymapSnapshot target = original;
    for (const auto &[source, destination] : mapping)
        target.key(source) = original.key(destination);
    return target;
}

std::vector<int> keycodesToWrite(const KeymapSnapshot &current, const KeymapSnapshot &target)
{
    std::vector<int> keycodes;
    for (int keycode = target.minKeycode; keycode <= target.maxKeycode; ++keycode) {
        if (!current.contains(keycode)) {
            keycodes.push_back(keycode);
            continue;
        }
        KeyEntry have = current.key(keycode);
        have.modifiers = target.key(keycode).modifiers;
        if (have != target.key(keycode))
            keycodes.push_back(keycode);
    }
    return keycodes;
}

std::vector<int> keycodesProducingDifferently(const KeymapSnapshot &actual, const KeymapSnapshot &target)
{
    std::vector<int> keycodes;
    for (int keycode = target.minKeycode; keycode <= target.maxKeycode; ++keycode) {
        if (!actual.contains(keycode) || !actual.key(keycode).producesSameAs(target.key(keycode)))
            keycodes.push_back(keycode);
    }
    return keycodes;
}

std::optional<KeymapSnapshot> adoptedOriginal(const KeymapSnapshot &original, const std::map<int, int> &mapping,
                                              const KeymapSnapshot &current)
{
    if (current.minKeycode != original.minKeycode || current.maxKeycode != original.maxKeycode
        || keycodeOutside(original, mapping))
        return current;
    const KeymapSnapshot expected = remappedKeymap(original, mapping);
    if (keycodesProducingDifferently(current, expected).empty())
        return std::nullopt;
    KeymapSnapshot adopted = current;
    for (const auto &[source, destination] : mapping) {
        if (current.key(source).producesSameAs(expected.key(source)))
            adopted.key(source) = original.key(source);
    }
    return adopted;
}

std::optional<int> keycodeOutside(const KeymapSnapshot &snapshot, const std::map<int, int> &mapping)
{
    for (const auto &[source, destination] : mapping) {
        if (!snapshot.contains(source))
            return source;
        if (!snapshot.contains(destination))
            return destination;
    }
    return std::nullopt;
}

} // namespace keymap
