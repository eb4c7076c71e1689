#include "KeymapJson.h"
#include "support/XvfbServer.h"

#include <QDeadlineTimer>
#include <QProcess>
#include <QThread>

#include <gtest/gtest.h>

// After gtest: Xlib defines None and Bool as macros.
#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include <algorithm>
#include <map>
#include <memory>

namespace {

// Keycodes of Xvfb's default keymap; 206 is the second Super_L key, 207 Hyper_L, both in mod4.
constexpr int kEscape = 9, kKeyY = 29, kControlL = 37, kShiftL = 50, kCapsLock = 66, kControlR = 105, kSuperL = 133,
              kSuperR = 134, kSecondSuper = 206, kHyper = 207;

const QByteArray kWindowsMode = usages({{0xE0, 0xE3}, {0xE3, 0xE0}, {0xE4, 0xE7}, {0xE7, 0xE4}});
const QByteArray kWindowsModeAndCapsToEscape =
    usages({{0x39, 0x29}, {0xE0, 0xE3}, {0xE3, 0xE0}, {0xE4, 0xE7}, {0xE7, 0xE4}});
const QByteArray kRestore = property({});
const char *const kSaved = "_VISTREL_ORIGINAL_KEYMAP";

struct RunResult { int exitCode = -1; QByteArray out, err; };

// Each key's core keysym row and modifier bits, to say "key A now does what key B did".
using Looks = std::map<int, std::pair<std::vector<KeySym>, unsigned>>;

// Polls without the event loop, so a QProcess that ends meanwhile still reports it through waitForFinished.
template <typename Predicate>
bool waitFor(Predicate done, int milliseconds)
{
    for (const QDeadlineTimer deadline(milliseconds); !done(); QThread::msleep(10))
        if (deadline.hasExpired())
            return false;
    return true;
}

class KeymapToolX11Test : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_server.isRunning());
        // Holding a connection also keeps Xvfb from resetting its keymap between tool runs.
        m_display.reset(XOpenDisplay(m_server.display().toLocal8Bit().constData()));
        ASSERT_TRUE(m_display);
    }

    Display *display() const { return m_display.get(); }

    // The tool with DISPLAY set to displayName, or unset when it is empty.
    std::unique_ptr<QProcess> start(const QStringList &arguments, const QString &displayName) const
    {
        auto process = std::make_unique<QProcess>();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove("DISPLAY");
        if (!displayName.isEmpty())
            environment.insert("DISPLAY", displayName);
        process->setProcessEnvironment(environment);
        process->start(VISTREL_KEYMAP_TOOL, arguments);
        return process;
    }

    RunResult run(const QStringList &arguments, const QString &displayName) const
    {
        const auto process = start(arguments, displayName);
        process->waitForFinished(15000);
        return {process->exitStatus() == QProcess::NormalExit ? process->exitCode() : -1,
                process->readAllStandardOutput(), process->readAllStandardError()};
    }

    static QStringList setArguments(const QByteArray &json) { return {"property", "--set", QString::fromUtf8(json)}; }
    RunResult set(const QByteArray &json) const { return run(setArguments(json), m_server.display()); }

    // Every stored part of every key, one line per key, and last what each virtual modifier resolves to.
    std::vector<std::string> snapshot() const
    {
        const auto hex = [](const void *data, std::size_t size) {
            return QByteArray(static_cast<const char *>(data), qsizetype(size)).toHex(' ').toStdString() + " | ";
        };
        std::vector<std::string> lines;
        XkbDescPtr xkb = XkbGetMap(display(), XkbAllMapComponentsMask, XkbUseCoreKbd);
        for (int key = xkb->min_key_code; key <= xkb->max_key_code; ++key) {
            const XkbSymMapRec &map = xkb->map->key_sym_map[key];
            const std::size_t syms = XkbKeyNumSyms(xkb, key);
            lines.push_back(hex(map.kt_index, XkbKeyNumGroups(xkb, key)) + hex(&map.group_info, 2)
                            + hex(&xkb->server->c_explicit[key], 1) + hex(&xkb->server->vmodmap[key], 2)
                            + hex(&xkb->map->modmap[key], 1) + hex(&xkb->server->behaviors[key], sizeof(XkbBehavior))
                            + hex(XkbKeySymsPtr(xkb, key), syms * sizeof(KeySym))
                            + (XkbKeyHasActions(xkb, key) ? hex(XkbKeyActionsPtr(xkb, key), syms * sizeof(XkbAction)) : ""));
        }
        lines.push_back(hex(xkb->server->vmods, XkbNumVirtualMods));
        XkbFreeKeyboard(xkb, 0, True);
        return lines;
    }

    Looks looks() const
    {
        Looks result;
        int width = 0;
        KeySym *keysyms = XGetKeyboardMapping(display(), 8, 248, &width);
        for (int keycode = 8; keycode < 256; ++keycode)
            result[keycode] = {{keysyms + (keycode - 8) * width, keysyms + (keycode - 7) * width}, 0};
        XFree(keysyms);
        XModifierKeymap *modifiers = XGetModifierMapping(display());
        for (int i = 0; i < 8 * modifiers->max_keypermod; ++i)
            result[modifiers->modifiermap[i]].second |= 1u << (i / modifiers->max_keypermod);
        XFreeModifiermap(modifiers);
        return result;
    }

    std::vector<KeySym> firstKeysyms(std::initializer_list<int> keycodes) const
    {
        const Looks now = looks();
        std::vector<KeySym> keysyms;
        for (int keycode : keycodes)
            keysyms.push_back(now.at(keycode).first.front());
        return keysyms;
    }

    // What the server's keyboard state says while the physical key is held.
    unsigned stateWhileHeld(int keycode) const
    {
        XTestFakeKeyEvent(display(), unsigned(keycode), True, CurrentTime);
        XSync(display(), False);
        XkbStateRec state{};
        XkbGetState(display(), XkbUseCoreKbd, &state);
        XTestFakeKeyEvent(display(), unsigned(keycode), False, CurrentTime);
        XSync(display(), False);
        return state.mods;
    }

    // keycode has from's keysyms and modifier in before, and holding it sets that modifier.
    void expectActsAs(int keycode, int from, const Looks &before) const
    {
        SCOPED_TRACE(testing::Message() << "key " << keycode << " as key " << from);
        const auto &[row, modifiers] = before.at(from);
        EXPECT_EQ(looks().at(keycode), before.at(from));
        // Holding a Caps Lock would leave it locked for every check after this one; a key
        // with nothing on its first level (the second Super_L) sets nothing when held.
        if (modifiers != LockMask && row.front() != NoSymbol) {
            EXPECT_EQ(stateWhileHeld(keycode), modifiers);
        }
    }

    // `vistrel-keymap watch` with its standard input held by the test, as the app holds it.
    std::unique_ptr<QProcess> startWatcher() const
    {
        const auto owner = [this] {
            return XGetSelectionOwner(display(), XInternAtom(display(), "_VISTREL_KEYMAP_WATCH", False));
        };
        const Window before = owner();
        auto watcher = start({"watch"}, m_server.display());
        EXPECT_TRUE(waitFor([&] { return owner() != None && owner() != before; }, 5000))
            << "the watcher never took the watch selection";
        return watcher;
    }

    bool hasRootProperty(const char *name) const
    {
        int count = 0;
        Atom *atoms = XListProperties(display(), DefaultRootWindow(display()), &count);
        const bool found = std::count(atoms, atoms + count, XInternAtom(display(), name, False)) > 0;
        XFree(atoms);
        return found;
    }

    XvfbServer m_server;
    std::unique_ptr<Display, decltype(&XCloseDisplay)> m_display{nullptr, &XCloseDisplay};
};

void expectOneErrorLine(const RunResult &result, const char *what)
{
    EXPECT_NE(result.exitCode, 0) << what;
    EXPECT_EQ(result.err.count('\n'), 1) << what << ": " << result.err.toStdString();
    EXPECT_TRUE(result.err.startsWith("vistrel-keymap: ")) << what;
}

TEST_F(KeymapToolX11Test, EachSetReplacesThePreviousMappingAndAnEmptyOneRestoresExactly)
{
    // Usage -> the keysym Xvfb's default US keymap puts on that physical key: every kind of
    // catalogue key, so every width, type and modifier changes hands round the ring.
    const std::pair<quint32, const char *> ring[] = {
        {0x04, "a"}, {0x1D, "z"}, {0x1E, "1"}, {0x27, "0"}, {0x28, "Return"}, {0x29, "Escape"},
        {0x2A, "BackSpace"}, {0x2B, "Tab"}, {0x2C, "space"}, {0x39, "Caps_Lock"}, {0x3A, "F1"},
        {0x45, "F12"}, {0x4A, "Home"}, {0x4B, "Prior"}, {0x4C, "Delete"}, {0x4D, "End"},
        {0x4E, "Next"}, {0x4F, "Right"}, {0x50, "Left"}, {0x51, "Down"}, {0x52, "Up"},
        {0xE0, "Control_L"}, {0xE1, "Shift_L"}, {0xE2, "Alt_L"}, {0xE3, "Super_L"},
        {0xE4, "Control_R"}, {0xE5, "Shift_R"}, {0xE6, "Alt_R"}, {0xE7, "Super_R"},
    };
    const std::size_t n = std::size(ring);
    const auto keycode = [&](std::size_t i) { return int(XKeysymToKeycode(display(), XStringToKeysym(ring[i % n].second))); };
    QByteArrayList entries;
    std::vector<std::pair<int, int>> ringActsAs;
    for (std::size_t i = 0; i < n; ++i) {
        entries.push_back(entry(0x700000000 + ring[i].first, 0x700000000 + ring[(i + 1) % n].first));
        ringActsAs.push_back({keycode(i), keycode(i + 1)});
    }
    const Looks before = looks();
    const std::vector<std::string> original = snapshot();
    struct Step { const char *name; QByteArray json; std::vector<std::pair<int, int>> actsAs; };
    const Step steps[] = {
        {"every catalogue key round a ring", property(entries), ringActsAs},
        {"windows mode swaps Control and Super; other keys keep their modifiers", kWindowsMode,
         {{kControlL, kSuperL}, {kSuperL, kControlL}, {kControlR, kSuperR}, {kSuperR, kControlR},
          {kSecondSuper, kSecondSuper}, {kHyper, kHyper}, {kShiftL, kShiftL}, {kCapsLock, kCapsLock}}},
        {"custom mappings ride along", kWindowsModeAndCapsToEscape, {{kCapsLock, kEscape}, {kControlL, kSuperL}}},
        {"the swap goes when left out", usages({{0x39, 0x29}}),
         {{kControlL, kControlL}, {kSuperL, kSuperL}, {kCapsLock, kEscape}}},
        {"windows mode", kWindowsMode, {}},
        {"the same swap twice does not stack", kWindowsMode, {{kControlL, kSuperL}, {kCapsLock, kCapsLock}}},
    };
    for (const Step &step : steps) {
        SCOPED_TRACE(step.name);
        const RunResult result = set(step.json);
        ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
        EXPECT_TRUE(result.err.isEmpty());
        for (const auto &[keycode, from] : step.actsAs)
            expectActsAs(keycode, from, before);
    }
    // Toolkits resolve Super through the virtual modifiers: none may pick up Control.
    EXPECT_EQ(snapshot().back(), original.back());
    // Later sets kept the saved original.
    EXPECT_TRUE(hasRootProperty(kSaved));
    const RunResult restored = set(kRestore);
    EXPECT_EQ(restored.exitCode, 0);
    EXPECT_TRUE(restored.err.isEmpty()) << restored.err.toStdString();
    EXPECT_EQ(snapshot(), original);
    EXPECT_FALSE(hasRootProperty(kSaved));
    EXPECT_FALSE(hasRootProperty("_VISTREL_KEYMAP_MAPPING"));
    EXPECT_EQ(stateWhileHeld(kControlL), unsigned(ControlMask));
}

TEST_F(KeymapToolX11Test, BadInputNoDisplayOrAHeldModifierChangeNothing)
{
    const Looks before = looks();
    const std::vector<std::string> original = snapshot();
    ASSERT_EQ(set(kWindowsMode).exitCode, 0);
    const std::vector<std::string> inForce = snapshot();

    const struct { const char *name; QStringList arguments; QString display; int exitCode; } cases[] = {
        {"not JSON", setArguments("{\"UserKeyMapping\":["), m_server.display(), 2},
        // The first entry is fine: nothing is touched before the whole property is checked.
        {"unknown usage", setArguments(usages({{0x39, 0x29}, {0x39, 0xE8}})), m_server.display(), 2},
        {"missing JSON", {"property", "--set"}, m_server.display(), 1},
        {"watch with an argument", {"watch", "now"}, {}, 1},
        {"DISPLAY unset", setArguments(kWindowsMode), {}, 3},
    };
    for (const auto &c : cases) {
        const RunResult result = run(c.arguments, c.display);
        EXPECT_EQ(result.exitCode, c.exitCode) << c.name;
        expectOneErrorLine(result, c.name);
        EXPECT_EQ(snapshot(), inForce) << c.name;
        EXPECT_TRUE(hasRootProperty(kSaved)) << c.name;
    }
    const RunResult help = run({"--help"}, {});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.out.contains("property --set JSON"));
    EXPECT_TRUE(help.err.isEmpty());
    // The saved original survived untouched: restoring still gets back to the start.
    ASSERT_EQ(set(kRestore).exitCode, 0);
    EXPECT_EQ(snapshot(), original);

    XTestFakeKeyEvent(display(), kControlL, True, CurrentTime);   // a modifier held through the run
    XSync(display(), False);
    const RunResult refused = set(kWindowsMode);
    EXPECT_EQ(refused.exitCode, 4);
    expectOneErrorLine(refused, "held modifier");
    EXPECT_EQ(snapshot(), original);
    EXPECT_FALSE(hasRootProperty(kSaved));
    // Let go while the tool is waiting: it must go ahead, so the grab is not held meanwhile.
    const auto tool = start(setArguments(kWindowsMode), m_server.display());
    EXPECT_FALSE(tool->waitForFinished(300)) << "the tool did not wait for the key";
    XTestFakeKeyEvent(display(), kControlL, False, CurrentTime);
    XSync(display(), False);
    ASSERT_TRUE(tool->waitForFinished(5000));
    EXPECT_EQ(tool->exitCode(), 0) << tool->readAllStandardError().toStdString();
    expectActsAs(kControlL, kSuperL, before);
}

TEST_F(KeymapToolX11Test, WatcherRestoresOnlyWhenItsInputEndsUnannouncedAndGivesWayToANewOne)
{
    const std::vector<std::string> original = snapshot();
    const struct { const char *name; void (*end)(QProcess &); bool restores; } cases[] = {
        {"the app died: end of file", [](QProcess &w) { w.closeWriteChannel(); }, true},
        {"the app removed the mapping itself", [](QProcess &w) { w.write("stop\n"); w.closeWriteChannel(); }, false},
        {"the watcher itself was killed", [](QProcess &w) { w.kill(); }, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        ASSERT_EQ(set(kWindowsMode).exitCode, 0);
        const std::vector<std::string> expected = c.restores ? original : snapshot();
        const auto watcher = startWatcher();
        c.end(*watcher);
        EXPECT_TRUE(waitFor([&] { return snapshot() == expected; }, 1000)) << "not restored within 1 s";
        // A restoring watcher lingers a few seconds for a late tool run of the dead app, then exits.
        ASSERT_TRUE(watcher->waitForFinished(c.restores ? 15000 : 5000));
        EXPECT_TRUE(!c.restores || watcher->exitCode() == 0) << watcher->readAllStandardError().toStdString();
        EXPECT_EQ(snapshot(), expected);
        EXPECT_EQ(hasRootProperty(kSaved), !c.restores);
        ASSERT_EQ(set(kRestore).exitCode, 0);
    }
    // A new watcher takes over from the old one.
    ASSERT_EQ(set(kWindowsMode).exitCode, 0);
    const std::vector<std::string> inForce = snapshot();
    const auto first = startWatcher();
    const auto second = startWatcher();
    ASSERT_TRUE(first->waitForFinished(5000)) << "two watchers on one display";
    EXPECT_EQ(first->exitCode(), 0);
    EXPECT_EQ(snapshot(), inForce);

    second->closeWriteChannel();
    EXPECT_TRUE(waitFor([&] { return snapshot() == original; }, 2000));
    // A watcher lingering after its restore gives way to a new one at once.
    const auto third = startWatcher();
    EXPECT_TRUE(second->waitForFinished(2000));
}

TEST_F(KeymapToolX11Test, AnotherLayoutGetsTheMappingBackAndBecomesTheOriginal)
{
    ASSERT_EQ(set(kWindowsModeAndCapsToEscape).exitCode, 0);
    const auto watcher = startWatcher();
    ASSERT_EQ(QProcess::execute("/usr/bin/setxkbmap", {"-display", m_server.display(), "de"}), 0);
    // The German layout has z where US has y; the swap and Caps Lock -> Escape come back on it.
    EXPECT_TRUE(waitFor([&] {
        return firstKeysyms({kKeyY, kControlL, kSuperL, kCapsLock})
            == std::vector<KeySym>{XK_z, XK_Super_L, XK_Control_L, XK_Escape};
    }, 2000)) << "the mapping is not back on the new layout";
    EXPECT_EQ(looks().at(kSuperL).second, unsigned(ControlMask));
    const std::vector<std::string> reapplied = snapshot();

    // Restoring now brings the German layout, not the one from before it.
    watcher->closeWriteChannel();
    EXPECT_TRUE(waitFor([&] { return !hasRootProperty(kSaved); }, 2000));
    EXPECT_EQ(firstKeysyms({kKeyY, kControlL, kCapsLock}), (std::vector<KeySym>{XK_z, XK_Control_L, XK_Caps_Lock}));
    EXPECT_EQ(looks().at(kControlL).second, unsigned(ControlMask));
    EXPECT_NE(snapshot(), reapplied);
}

} // namespace
