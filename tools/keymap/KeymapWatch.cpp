#include "keymap/KeymapWatch.h"

#include "keymap/X11Keyboard.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <algorithm>
#include <chrono>

namespace keymap {
namespace {

using Clock = std::chrono::steady_clock;

// Lets a burst of change events (a layout load sends several) settle into one pass.
constexpr auto kSettle = std::chrono::milliseconds(50);
// A held modifier blocks the write; look again soon.
constexpr auto kHeldRetry = std::chrono::milliseconds(200);
// A pass the server refused is not retried until this much later, so a keymap we cannot
// fix does not turn into a busy loop.
constexpr auto kRefusedRetry = std::chrono::seconds(2);
// A tool run the app started just before it died lives on and may still set a mapping
// after our restore; it gives up on a held modifier after 8 s.
constexpr auto kLinger = std::chrono::seconds(10);

enum class InputState { Open, Stopped, Gone };

// Reads what the app wrote; only a "stop" line means anything.
InputState readInput(int input, QByteArray &pending)
{
    char buffer[256];
    const ssize_t count = ::read(input, buffer, sizeof buffer);
    if (count < 0)
        return errno == EINTR || errno == EAGAIN ? InputState::Open : InputState::Gone;
    if (count == 0)
        return InputState::Gone;
    pending.append(buffer, count);
    if (pending.contains("stop\n"))
        return InputState::Stopped;
    if (pending.size() > 1024)
        pending = pending.right(16);
    return InputState::Open;
}

int millisecondsUntil(std::optional<Clock::time_point> when)
{
    if (!when)
        return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*when - Clock::now()).count();
    return left < 0 ? 0 : int(left);
}

// After the restore: undoes a mapping that an orphaned tool run sets, until a new watcher
// takes over or the tool has surely finished.
Outcome linger(X11Keyboard &keyboard, Outcome restored)
{
    const auto end = Clock::now() + kLinger;
    Clock::time_point nextPass = end;   // `end` means none is due
    while (Clock::now() < end) {
        const X11Keyboard::Events events = keyboard.takeEvents();
        if (events.watchTakenOver)
            break;
        if (events.keymapChanged && nextPass == end)
            nextPass = Clock::now() + kSettle;
        if (nextPass != end && Clock::now() >= nextPass) {
            nextPass = end;
            if (keyboard.savedOriginal()) {
                const Attempt attempt = applyOnce(keyboard, std::map<int, int>());
                restored = attempt.outcome;
                if (attempt.modifierHeld)
                    nextPass = Clock::now() + kHeldRetry;
            }
        }
        pollfd fd = {keyboard.connectionNumber(), POLLIN, 0};
        ::poll(&fd, 1, millisecondsUntil(std::min(nextPass, end)));
    }
    return restored;
}

} // namespace

Outcome watch(const QByteArray &displayName, int input)
{
    const auto keyboard = X11Keyboard::open(displayName);
    if (!keyboard)
        return {ExitNoDisplay, QStringLiteral("cannot open display")};
    if (!keyboard->claimWatch())
        return {ExitRefused, QStringLiteral("cannot watch the keymap (no XKB, or the selection was refused)")};

    QByteArray pending;
    std::optional<Clock::time_point> nextPass;
    for (;;) {
        pollfd fds[2] = {{input, POLLIN, 0}, {keyboard->connectionNumber(), POLLIN, 0}};
        // Events may already sit in Xlib's queue, where poll cannot see them.
        const X11Keyboard::Events events = keyboard->takeEvents();
        if (events.watchTakenOver)
            return {};
        if (events.keymapChanged && !nextPass)
            nextPass = Clock::now() + kSettle;

        const int ready = ::poll(fds, 2, millisecondsUntil(nextPass));
        if (ready < 0 && errno != EINTR)
            return {ExitRefused, QStringLiteral("cannot wait for the app")};
        if (ready > 0 && (fds[0].revents & (POLLIN | POLLHUP | POLLERR))) {
            const InputState state = readInput(input, pending);
            if (state == InputState::Stopped)
                return {};
            if (state == InputState::Gone)
                return linger(*keyboard, applyWithPatience(*keyboard, {}));
        }
        if (nextPass && Clock::now() >= *nextPass) {
            nextPass.reset();
            const Attempt attempt = applyOnce(*keyboard, std::nullopt);
            if (attempt.modifierHeld)
                nextPass = Clock::now() + kHeldRetry;
            else if (attempt.outcome.status != ExitDone)
                nextPass = Clock::now() + kRefusedRetry;
        }
    }
}

} // namespace keymap
