#include "keymap/KeymapTool.h"

#include "keymap/KeymapPlanner.h"
#include "keymap/MappingRecord.h"
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

Attempt failed(ExitStatus status, const QString &error)
{
    return {{status, error}, false};
}

Attempt unreadableKeymap()
{
    return failed(ExitRefused, QStringLiteral("cannot read the keyboard map (is the XKB extension there?)"));
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

std::optional<std::map<int, int>> recordedMapping(const X11Keyboard &keyboard)
{
    const std::optional<QByteArray> text = keyboard.savedMapping();
    return text ? decodeMapping(*text) : std::nullopt;
}

} // namespace

// One read-plan-write pass with the server grabbed, so no other client sees or makes a
// change half way.
Attempt applyOnce(X11Keyboard &keyboard, const std::optional<std::map<int, int>> &requested)
{
    ServerGrab grab(keyboard);
    const std::optional<QByteArray> saved = keyboard.savedOriginal();
    const std::optional<std::map<int, int>> recorded = saved ? recordedMapping(keyboard) : std::nullopt;
    if (!requested && !recorded)
        return {};   // nothing in force to keep up
    const std::map<int, int> &mapping = requested ? *requested : *recorded;
    if (!saved && mapping.empty()) {
        if (keyboard.savedMapping())
            keyboard.deleteSavedMapping();
        return {};
    }
    const std::optional<KeymapSnapshot> current = keyboard.read();
    if (!current)
        return unreadableKeymap();
    std::optional<KeymapSnapshot> original = saved ? decodeSnapshot(*saved) : current;
    if (!original)
        return failed(ExitRefused, QStringLiteral("the saved original keymap on the root window is unreadable"));
    // Someone else loaded a layout or rewrote keys since our last write: what they made is
    // the new original, so the mapping goes on top of it and a restore brings it back.
    bool adopted = false;
    if (recorded) {
        if (auto newer = adoptedOriginal(*original, *recorded, *current)) {
            original = std::move(newer);
            adopted = true;
        }
    }
    if (!requested && !adopted)
        return {};   // the recorded mapping is still what the keymap shows
    if (const auto keycode = keycodeOutside(*original, mapping)) {
        return failed(ExitBadProperty, QStringLiteral("keycode %1 is outside this display's keymap (%2..%3)")
                                           .arg(*keycode)
                                           .arg(original->minKeycode)
                                           .arg(original->maxKeycode));
    }

    const KeymapSnapshot target = mapping.empty() ? *original : remappedKeymap(*original, mapping);
    const std::vector<int> keycodes = keycodesToWrite(*current, target);
    if (!keyboard.fits(target, keycodes))
        return failed(ExitRefused, QStringLiteral("the saved keymap does not fit this keyboard layout"));

    if (!saved || adopted)
        keyboard.saveOriginal(encodeSnapshot(*original));
    const Attempt attempt = write(keyboard, *current, target, keycodes);
    if (attempt.modifierHeld) {
        // Nothing changed: leave the root window as it was for the next try.
        if (!saved)
            keyboard.deleteSavedOriginal();
        else if (adopted)
            keyboard.saveOriginal(*saved);
    } else if (attempt.outcome.status == ExitDone) {
        if (mapping.empty()) {
            keyboard.deleteSavedOriginal();
            keyboard.deleteSavedMapping();
        } else if (!recorded || *recorded != mapping) {
            keyboard.saveMapping(encodeMapping(mapping));
        }
    }
    return attempt;
}

Outcome applyWithPatience(X11Keyboard &keyboard, const std::map<int, int> &mapping)
{
    // A held modifier is usually let go within moments (the hot key that asked for the
    // change); wait without the grab so the release, even a synthetic one, gets through.
    const auto deadline = std::chrono::steady_clock::now() + kModifierPatience;
    Attempt attempt = applyOnce(keyboard, mapping);
    while (attempt.modifierHeld && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(kBusyRetryInterval);
        attempt = applyOnce(keyboard, mapping);
    }
    return attempt.outcome;
}

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

    return applyWithPatience(*keyboard, mapping);
}

} // namespace keymap
