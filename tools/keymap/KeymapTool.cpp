#include "keymap/KeymapTool.h"

#include "keymap/KeymapPlanner.h"
#include "keymap/UserKeyMapping.h"
#include "keymap/X11Keyboard.h"

#include <chrono>
#include <thread>

namespace keymap {
namespace {

// Quitting with the hot key runs us while its modifier is still down; a slow release must
// not leave the keyboard swapped after the app has gone.
constexpr auto kModifierPatience = std::chrono::milliseconds(8000);
constexpr auto kBusyRetryInterval = std::chrono::milliseconds(50);

struct Attempt {
    Outcome outcome;
    bool modifierHeld = false;   // worth trying again once the key is up
};

Attempt failed(ExitStatus status, const QString &error)
{
    return {{status, error}, false};
}

Attempt unreadableKeymap()
{
    return failed(ExitRefused, QStringLiteral("cannot read the keyboard map (is the XKB extension there?)"));
}

// The keymap every mapping is planned against: the one saved before the first mapping,
// or the current one when nothing is saved yet.
std::optional<KeymapSnapshot> originalKeymap(const X11Keyboard &keyboard,
                                             const std::optional<QByteArray> &saved)
{
    return saved ? decodeSnapshot(*saved) : keyboard.read();
}

// Writes the target keymap. The modifier map goes first: it is the step the server may
// refuse, so a refusal leaves everything as it was.
Attempt write(X11Keyboard &keyboard, const KeymapSnapshot &current, const KeymapSnapshot &target,
              const std::vector<int> &keycodes)
{
    if (current.modifierKeycodes() != target.modifierKeycodes()) {
        const auto result = keyboard.setModifiers(target);
        if (result == X11Keyboard::ModifierResult::Busy)
            return {{ExitRefused, QStringLiteral("a modifier key is held down; nothing was changed")}, true};
        if (result == X11Keyboard::ModifierResult::Refused)
            return failed(ExitRefused, QStringLiteral("the X server refused the modifier map; nothing was changed"));
    }
    if (!keyboard.writeKeys(target, keycodes))
        return failed(ExitRefused, QStringLiteral("the X server did not take the key entries"));
    // The server re-derives the virtual modifiers (Super, Alt, ...) only on a modifier-map
    // request, not when key entries change; sending the same map again brings them up to date.
    if (!keycodes.empty())
        keyboard.setModifiers(target);

    const std::optional<KeymapSnapshot> after = keyboard.read();
    if (!after || !keycodesProducingDifferently(*after, target).empty())
        return failed(ExitRefused, QStringLiteral("the X server did not take the whole keymap"));
    return {};
}

// One read-plan-write pass with the server grabbed, so no other client sees or makes a
// change half way.
Attempt applyOnce(X11Keyboard &keyboard, const std::map<int, int> &mapping)
{
    ServerGrab grab(keyboard);
    const std::optional<QByteArray> saved = keyboard.savedOriginal();
    if (!saved && mapping.empty())
        return {};
    const std::optional<KeymapSnapshot> original = originalKeymap(keyboard, saved);
    if (!original) {
        return saved ? failed(ExitRefused, QStringLiteral("the saved original keymap on the root window is unreadable"))
                     : unreadableKeymap();
    }
    if (const auto keycode = keycodeOutside(*original, mapping)) {
        return failed(ExitBadProperty, QStringLiteral("keycode %1 is outside this display's keymap (%2..%3)")
                                           .arg(*keycode)
                                           .arg(original->minKeycode)
                                           .arg(original->maxKeycode));
    }

    const KeymapSnapshot target = mapping.empty() ? *original : remappedKeymap(*original, mapping);
    const std::optional<KeymapSnapshot> current = keyboard.read();
    if (!current)
        return unreadableKeymap();
    const std::vector<int> keycodes = keycodesToWrite(*current, target);
    if (!keyboard.fits(target, keycodes))
        return failed(ExitRefused, QStringLiteral("the saved keymap does not fit this keyboard layout"));

    if (!saved)
        keyboard.saveOriginal(encodeSnapshot(*original));
    const Attempt attempt = write(keyboard, *current, target, keycodes);
    if (!saved && attempt.modifierHeld)
        keyboard.deleteSavedOriginal();
    else if (attempt.outcome.status == ExitDone && mapping.empty())
        keyboard.deleteSavedOriginal();
    return attempt;
}

} // namespace

Outcome applyProperty(const QByteArray &json, const QByteArray &displayName)
{
    const ParsedMapping parsed = parseUserKeyMapping(json);
    if (!parsed.ok())
        return {ExitBadProperty, parsed.error};
    const std::map<int, int> mapping = keycodeMapping(parsed.mappings);

    const auto keyboard = X11Keyboard::open(displayName);
    if (!keyboard) {
        const QString name = displayName.isEmpty() ? qEnvironmentVariable("DISPLAY")
                                                   : QString::fromLocal8Bit(displayName);
        return {ExitNoDisplay, QStringLiteral("cannot open display \"%1\"").arg(name)};
    }

    // A held modifier is usually let go within moments (the hot key that asked for the
    // change); wait without the grab so the release, even a synthetic one, gets through.
    const auto deadline = std::chrono::steady_clock::now() + kModifierPatience;
    Attempt attempt = applyOnce(*keyboard, mapping);
    while (attempt.modifierHeld && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(kBusyRetryInterval);
        attempt = applyOnce(*keyboard, mapping);
    }
    return attempt.outcome;
}

} // namespace keymap
