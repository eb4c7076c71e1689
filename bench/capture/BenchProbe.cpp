// Times what a user sees of a screenshot tool on an X server, from outside the tool:
//
//   vistrel-bench-probe map (--keys 133+13 | --exec PROGRAM ARGS...) [--min-size WxH]
//                           [--painted X,Y] [--escape]
//       from the hot-key press (or the start of PROGRAM) to a window of at least WxH
//       being mapped; with --painted also to the root pixel at X,Y changing (the overlay
//       drawn); with --escape, then presses Escape and waits for the window to go.
//   vistrel-bench-probe save --drag X1,Y1,X2,Y2 --dir FOLDER
//       drags with the mouse and times from the button release to a new *.png in
//       FOLDER being complete: named (linked, renamed or closed) and ending in IEND.
//
// Prints milliseconds (and for save the file size in bytes). Exit status 2 on timeout.

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <string>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

std::vector<unsigned> parseKeys(const char *text)
{
    std::vector<unsigned> keys;
    for (const char *p = text; *p;) {
        keys.push_back(unsigned(std::strtoul(p, const_cast<char **>(&p), 10)));
        if (*p == '+')
            ++p;
        else
            break;
    }
    return keys;
}

void pressChord(Display *display, const std::vector<unsigned> &keys)
{
    for (unsigned key : keys)
        XTestFakeKeyEvent(display, key, True, CurrentTime);
    for (auto it = keys.rbegin(); it != keys.rend(); ++it)
        XTestFakeKeyEvent(display, *it, False, CurrentTime);
    XFlush(display);
}

// Waits for the next X event of one of the given types, up to the deadline.
bool nextEvent(Display *display, XEvent &event, Clock::time_point deadline)
{
    while (true) {
        while (XPending(display)) {
            XNextEvent(display, &event);
            return true;
        }
        const double left = std::chrono::duration<double, std::milli>(deadline - Clock::now()).count();
        if (left <= 0)
            return false;
        pollfd fd{ConnectionNumber(display), POLLIN, 0};
        poll(&fd, 1, int(left) + 1);
    }
}

unsigned long rootPixel(Display *display, int x, int y)
{
    XImage *image = XGetImage(display, DefaultRootWindow(display), x, y, 1, 1, AllPlanes, ZPixmap);
    if (!image)
        return 0;
    const unsigned long pixel = XGetPixel(image, 0, 0);
    XDestroyImage(image);
    return pixel;
}

int mapMode(int argc, char **argv)
{
    std::vector<unsigned> keys;
    std::vector<char *> program;
    int minWidth = 1, minHeight = 1;
    bool escape = false;
    int probeX = -1, probeY = -1;
    for (int i = 0; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--keys") && i + 1 < argc) {
            keys = parseKeys(argv[++i]);
        } else if (!std::strcmp(argv[i], "--min-size") && i + 1 < argc) {
            std::sscanf(argv[++i], "%dx%d", &minWidth, &minHeight);
        } else if (!std::strcmp(argv[i], "--painted") && i + 1 < argc) {
            std::sscanf(argv[++i], "%d,%d", &probeX, &probeY);
        } else if (!std::strcmp(argv[i], "--escape")) {
            escape = true;
        } else if (!std::strcmp(argv[i], "--exec")) {
            program.assign(argv + i + 1, argv + argc);
            break;
        }
    }
    Display *display = XOpenDisplay(nullptr);
    if (!display) {
        std::fprintf(stderr, "cannot open the display\n");
        return 1;
    }
    const Window root = DefaultRootWindow(display);
    XSelectInput(display, root, SubstructureNotifyMask);
    XSync(display, False);
    const unsigned long before = probeX >= 0 ? rootPixel(display, probeX, probeY) : 0;

    const Clock::time_point start = Clock::now();
    if (!program.empty()) {
        program.push_back(nullptr);
        if (fork() == 0) {
            execv(program[0], program.data());
            _exit(127);
        }
    } else {
        pressChord(display, keys);
    }

    const Clock::time_point deadline = start + std::chrono::seconds(10);
    Window shown = 0;
    XEvent event;
    while (!shown && nextEvent(display, event, deadline)) {
        if (event.type != MapNotify)
            continue;
        XWindowAttributes attributes;
        if (XGetWindowAttributes(display, event.xmap.window, &attributes)
            && attributes.width >= minWidth && attributes.height >= minHeight)
            shown = event.xmap.window;
    }
    if (!shown) {
        std::fprintf(stderr, "no window of %dx%d appeared\n", minWidth, minHeight);
        return 2;
    }
    std::printf("%.2f", msSince(start));
    if (probeX >= 0) {
        while (rootPixel(display, probeX, probeY) == before && Clock::now() < deadline)
            usleep(200);
        std::printf(" %.2f", msSince(start));
    }
    std::printf("\n");
    std::fflush(stdout);

    if (escape) {
        usleep(150 * 1000);
        pressChord(display, {9});
        const Clock::time_point gone = Clock::now() + std::chrono::seconds(5);
        bool unmapped = false;
        while (!unmapped && nextEvent(display, event, gone))
            unmapped = (event.type == UnmapNotify && event.xunmap.window == shown)
                       || (event.type == DestroyNotify && event.xdestroywindow.window == shown);
        if (!unmapped) {
            std::fprintf(stderr, "the window did not go after Escape\n");
            return 2;
        }
    }
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
    XCloseDisplay(display);
    return 0;
}

bool endsWith(const std::string &text, const std::string &tail)
{
    return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

// An atomic writer links the finished file into place; anything else shows by its tail.
bool pngComplete(const std::string &path)
{
    static const unsigned char iend[12] = {0, 0, 0, 0, 'I', 'E', 'N', 'D', 0xae, 0x42, 0x60, 0x82};
    FILE *file = std::fopen(path.c_str(), "rb");
    if (!file)
        return false;
    unsigned char tail[12] = {};
    const bool complete = std::fseek(file, -12, SEEK_END) == 0
        && std::fread(tail, 1, 12, file) == 12 && std::memcmp(tail, iend, 12) == 0;
    std::fclose(file);
    return complete;
}

int saveMode(int argc, char **argv)
{
    int x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    std::string folder;
    for (int i = 0; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--drag") && i + 1 < argc)
            std::sscanf(argv[++i], "%d,%d,%d,%d", &x1, &y1, &x2, &y2);
        else if (!std::strcmp(argv[i], "--dir") && i + 1 < argc)
            folder = argv[++i];
    }
    const int watcher = inotify_init1(IN_NONBLOCK);
    const uint32_t events = IN_CREATE | IN_MOVED_TO | IN_CLOSE_WRITE;
    if (watcher < 0 || inotify_add_watch(watcher, folder.c_str(), events) < 0) {
        std::fprintf(stderr, "cannot watch %s\n", folder.c_str());
        return 1;
    }
    Display *display = XOpenDisplay(nullptr);
    if (!display) {
        std::fprintf(stderr, "cannot open the display\n");
        return 1;
    }
    XTestFakeMotionEvent(display, -1, x1, y1, CurrentTime);
    XTestFakeButtonEvent(display, 1, True, CurrentTime);
    for (int step = 1; step <= 8; ++step)
        XTestFakeMotionEvent(display, -1, x1 + (x2 - x1) * step / 8, y1 + (y2 - y1) * step / 8, CurrentTime);
    XSync(display, False);
    usleep(100 * 1000);   // let the tool catch up with the drag before the clock starts

    const Clock::time_point start = Clock::now();
    XTestFakeButtonEvent(display, 1, False, CurrentTime);
    XFlush(display);

    const Clock::time_point deadline = start + std::chrono::seconds(10);
    alignas(inotify_event) char buffer[4096];
    while (Clock::now() < deadline) {
        pollfd fd{watcher, POLLIN, 0};
        poll(&fd, 1, 50);
        const ssize_t length = read(watcher, buffer, sizeof buffer);
        for (ssize_t at = 0; length > 0 && at < length;) {
            const auto *event = reinterpret_cast<const inotify_event *>(buffer + at);
            at += ssize_t(sizeof(inotify_event) + event->len);
            const std::string name = event->len ? event->name : "";
            if (!endsWith(name, ".png") || !pngComplete(folder + "/" + name))
                continue;
            const double elapsed = msSince(start);
            struct stat info {};
            stat((folder + "/" + name).c_str(), &info);
            std::printf("%.2f %lld %s\n", elapsed, static_cast<long long>(info.st_size), name.c_str());
            XCloseDisplay(display);
            return 0;
        }
    }
    std::fprintf(stderr, "no PNG appeared in %s\n", folder.c_str());
    return 2;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc >= 2 && !std::strcmp(argv[1], "map"))
        return mapMode(argc - 2, argv + 2);
    if (argc >= 2 && !std::strcmp(argv[1], "save"))
        return saveMode(argc - 2, argv + 2);
    std::fprintf(stderr, "usage: %s map|save ...\n", argv[0]);
    return 1;
}
