// vistrel-test-keys: presses physical keys by X keycode through XTest, bypassing the keymap
// the app under test rewrites. Each argument is a chord ("133+23": hold 133, tap 23, let go).
//   --hold MS CHORD    holds the chord MS milliseconds (the server auto-repeats)
//   --burst CHORD...   all chords in one go, one round trip at the end
//   --modifiers        prints the logical modifier mask, e.g. "0"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {

bool parseChord(const std::string &text, std::vector<unsigned> &keycodes)
{
    keycodes.clear();
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = text.find('+', start);
        const std::string part = text.substr(start, end == std::string::npos ? std::string::npos
                                                                             : end - start);
        char *rest = nullptr;
        const unsigned long code = std::strtoul(part.c_str(), &rest, 10);
        if (part.empty() || *rest != '\0' || code < 8 || code > 255)
            return false;
        keycodes.push_back(static_cast<unsigned>(code));
        if (end == std::string::npos)
            break;
        start = end + 1;
    }
    return !keycodes.empty();
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s KEYCODE[+KEYCODE...] ...\n", argv[0]);
        return 2;
    }
    const bool modifiersOnly = std::string(argv[1]) == "--modifiers";
    long holdMs = 0;
    int first = 1;
    const bool burst = std::string(argv[1]) == "--burst";
    if (burst) {
        first = 2;
    } else if (std::string(argv[1]) == "--hold" && argc >= 4) {
        holdMs = std::strtol(argv[2], nullptr, 10);
        first = 3;
    }
    std::vector<std::vector<unsigned>> chords;
    for (int i = modifiersOnly ? argc : first; i < argc; ++i) {
        std::vector<unsigned> chord;
        if (!parseChord(argv[i], chord)) {
            std::fprintf(stderr, "%s: bad chord '%s' (keycodes 8-255 joined by '+')\n",
                         argv[0], argv[i]);
            return 2;
        }
        chords.push_back(chord);
    }

    Display *display = XOpenDisplay(nullptr);
    if (!display) {
        std::fprintf(stderr, "%s: cannot open display\n", argv[0]);
        return 1;
    }
    if (modifiersOnly) {
        XkbStateRec state{};
        XkbGetState(display, XkbUseCoreKbd, &state);
        std::printf("%u\n", unsigned(state.mods));
        XCloseDisplay(display);
        return 0;
    }
    int eventBase = 0, errorBase = 0, major = 0, minor = 0;
    if (!XTestQueryExtension(display, &eventBase, &errorBase, &major, &minor)) {
        std::fprintf(stderr, "%s: the X server has no XTEST extension\n", argv[0]);
        XCloseDisplay(display);
        return 1;
    }
    for (const auto &chord : chords) {
        for (unsigned code : chord)
            XTestFakeKeyEvent(display, code, True, CurrentTime);
        if (holdMs > 0) {
            XSync(display, False);
            std::this_thread::sleep_for(std::chrono::milliseconds(holdMs));
        }
        for (auto it = chord.rbegin(); it != chord.rend(); ++it)
            XTestFakeKeyEvent(display, *it, False, CurrentTime);
        // One round trip per chord: the server has seen it before the next starts.
        if (!burst)
            XSync(display, False);
    }
    XSync(display, False);
    XCloseDisplay(display);
    return 0;
}
