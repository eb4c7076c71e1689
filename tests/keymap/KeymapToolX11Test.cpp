#include "support/XvfbServer.h"

#include <QByteArrayList>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>

#include <gtest/gtest.h>

// After gtest: Xlib defines None and Bool as macros.
#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

const QString kTool = QStringLiteral(VISTREL_KEYMAP_TOOL);
constexpr int kControlBit = 2, kLockBit = 1, kMod1Bit = 3, kMod4Bit = 6;

QByteArray entry(quint32 source, quint32 destination)
{
    const quint64 page = quint64(7) << 32;
    return "{\"HIDKeyboardModifierMappingSrc\":" + QByteArray::number(page + source)
        + ",\"HIDKeyboardModifierMappingDst\":" + QByteArray::number(page + destination) + "}";
}

QByteArray property(const QList<QByteArray> &entries)
{
    return "{\"UserKeyMapping\":[" + entries.join(',') + "]}";
}

const QByteArray kWindowsMode =
    property({entry(0xE0, 0xE3), entry(0xE3, 0xE0), entry(0xE4, 0xE7), entry(0xE7, 0xE4)});
const QByteArray kWindowsModeAndCapsToEscape = property(
    {entry(0x39, 0x29), entry(0xE0, 0xE3), entry(0xE3, 0xE0), entry(0xE4, 0xE7), entry(0xE7, 0xE4)});
const QByteArray kRestore = property({});

struct RunResult {
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

// The raw core keymap and modifier map, exactly as the server reports them.
struct KeymapDump {
    int keysymsPerKeycode = 0;
    std::vector<KeySym> keysyms;
    int keysPerModifier = 0;
    std::vector<KeyCode> modifiers;
    bool operator==(const KeymapDump &) const = default;
};

class KeymapToolX11Test : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_server.isRunning());
        // Holding a connection also keeps Xvfb from resetting its keymap between tool runs.
        m_display.reset(XOpenDisplay(m_server.display().toLocal8Bit().constData()));
        ASSERT_TRUE(m_display);
        m_savedAtom = XInternAtom(display(), "_VISTREL_ORIGINAL_KEYMAP", False);
    }

    Display *display() const { return m_display.get(); }

    RunResult run(const QStringList &arguments, const std::optional<QString> &displayName) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(QStringLiteral("DISPLAY"));
        if (displayName)
            environment.insert(QStringLiteral("DISPLAY"), *displayName);
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(kTool, arguments);
        process.waitForFinished(15000);
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                process.readAllStandardOutput(), process.readAllStandardError()};
    }

    RunResult set(const QByteArray &json) const
    {
        return run({QStringLiteral("property"), QStringLiteral("--set"), QString::fromUtf8(json)},
                   m_server.display());
    }

    KeymapDump dump() const
    {
        KeymapDump result;
        int minKeycode = 0, maxKeycode = 0;
        XDisplayKeycodes(display(), &minKeycode, &maxKeycode);
        const int count = maxKeycode - minKeycode + 1;
        KeySym *keysyms = XGetKeyboardMapping(display(), KeyCode(minKeycode), count, &result.keysymsPerKeycode);
        result.keysyms.assign(keysyms, keysyms + count * result.keysymsPerKeycode);
        XFree(keysyms);
        XModifierKeymap *modifiers = XGetModifierMapping(display());
        result.keysPerModifier = modifiers->max_keypermod;
        result.modifiers.assign(modifiers->modifiermap, modifiers->modifiermap + 8 * modifiers->max_keypermod);
        XFreeModifiermap(modifiers);
        return result;
    }

    // Every stored part of every key as the keyboard extension holds it, one line per key,
    // plus what each virtual modifier resolves to.
    std::vector<std::string> xkbDump() const
    {
        std::vector<std::string> lines;
        XkbDescPtr xkb = XkbGetMap(display(),
                                   XkbKeyTypesMask | XkbKeySymsMask | XkbKeyActionsMask
                                       | XkbExplicitComponentsMask | XkbModifierMapMask
                                       | XkbVirtualModMapMask | XkbVirtualModsMask,
                                   XkbUseCoreKbd);
        for (int key = xkb->min_key_code; key <= xkb->max_key_code; ++key) {
            QString line = QStringLiteral("key %1 groups %2 width %3 explicit %4 vmods %5 mods %6 types")
                               .arg(key)
                               .arg(xkb->map->key_sym_map[key].group_info)
                               .arg(xkb->map->key_sym_map[key].width)
                               .arg(xkb->server->c_explicit[key])
                               .arg(xkb->server->vmodmap[key])
                               .arg(xkb->map->modmap[key]);
            for (int group = 0; group < XkbKeyNumGroups(xkb, key); ++group)
                line += QStringLiteral(" %1").arg(xkb->map->key_sym_map[key].kt_index[group]);
            line += QStringLiteral(" syms");
            for (int i = 0; i < XkbKeyNumSyms(xkb, key); ++i)
                line += QStringLiteral(" %1").arg(XkbKeySymsPtr(xkb, key)[i], 0, 16);
            if (XkbKeyHasActions(xkb, key)) {
                line += QStringLiteral(" actions");
                const auto *bytes = reinterpret_cast<const unsigned char *>(XkbKeyActionsPtr(xkb, key));
                for (std::size_t i = 0; i < std::size_t(XkbKeyNumSyms(xkb, key)) * sizeof(XkbAction); ++i)
                    line += QStringLiteral("%1").arg(bytes[i], 2, 16, QLatin1Char('0'));
            }
            lines.push_back(line.toStdString());
        }
        for (int i = 0; i < XkbNumVirtualMods; ++i)
            lines.push_back("virtual modifier " + std::to_string(i) + " = " + std::to_string(xkb->server->vmods[i]));
        XkbFreeKeyboard(xkb, 0, True);
        return lines;
    }

    // The real modifiers a named virtual modifier (Super, Alt, ...) stands for.
    unsigned virtualModifierMask(const char *name) const
    {
        XkbDescPtr xkb = XkbGetMap(display(), XkbVirtualModsMask, XkbUseCoreKbd);
        XkbGetNames(display(), XkbVirtualModNamesMask, xkb);
        const Atom wanted = XInternAtom(display(), name, False);
        unsigned mask = ~0u;
        for (int i = 0; i < XkbNumVirtualMods; ++i) {
            if (xkb->names->vmods[i] == wanted)
                mask = xkb->server->vmods[i];
        }
        XkbFreeKeyboard(xkb, 0, True);
        return mask;
    }

    std::vector<KeySym> coreRow(int keycode) const
    {
        int width = 0;
        KeySym *keysyms = XGetKeyboardMapping(display(), KeyCode(keycode), 1, &width);
        std::vector<KeySym> row(keysyms, keysyms + width);
        XFree(keysyms);
        return row;
    }

    QString firstKeysym(int keycode) const
    {
        int width = 0;
        KeySym *keysyms = XGetKeyboardMapping(display(), KeyCode(keycode), 1, &width);
        const char *name = XKeysymToString(keysyms[0]);
        XFree(keysyms);
        return name ? QString::fromLatin1(name) : QStringLiteral("NoSymbol");
    }

    // Bit mask of the modifiers the keycode belongs to.
    unsigned modifiersOf(int keycode) const
    {
        unsigned bits = 0;
        XModifierKeymap *modifiers = XGetModifierMapping(display());
        for (int bit = 0; bit < 8; ++bit) {
            for (int slot = 0; slot < modifiers->max_keypermod; ++slot) {
                if (modifiers->modifiermap[bit * modifiers->max_keypermod + slot] == keycode)
                    bits |= 1u << bit;
            }
        }
        XFreeModifiermap(modifiers);
        return bits;
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

    bool hasSavedOriginal() const
    {
        Atom type = None;
        int format = 0;
        unsigned long count = 0, remaining = 0;
        unsigned char *data = nullptr;
        XGetWindowProperty(display(), DefaultRootWindow(display()), m_savedAtom, 0, 0, False,
                           AnyPropertyType, &type, &format, &count, &remaining, &data);
        if (data)
            XFree(data);
        return type != None;
    }

    struct DisplayCloser {
        void operator()(Display *d) const { XCloseDisplay(d); }
    };

    XvfbServer m_server;
    std::unique_ptr<Display, DisplayCloser> m_display;
    Atom m_savedAtom = None;
};

void expectOneErrorLine(const RunResult &result, const char *what)
{
    EXPECT_NE(result.exitCode, 0) << what;
    EXPECT_EQ(result.err.count('\n'), 1) << what << ": " << result.err.toStdString();
    EXPECT_TRUE(result.err.startsWith("vistrel-keymap: ")) << what;
}

TEST_F(KeymapToolX11Test, CatalogueUsagesAddressTheKeysCarryingTheirKeysyms)
{
    // Usage -> the keysym Xvfb's default US keymap puts on that physical key.
    const struct {
        quint32 usage;
        const char *keysym;
    } cases[] = {
        {0x04, "a"}, {0x1D, "z"}, {0x1E, "1"}, {0x27, "0"}, {0x28, "Return"}, {0x29, "Escape"},
        {0x2A, "BackSpace"}, {0x2B, "Tab"}, {0x2C, "space"}, {0x39, "Caps_Lock"}, {0x3A, "F1"},
        {0x45, "F12"}, {0x4A, "Home"}, {0x4B, "Prior"}, {0x4C, "Delete"}, {0x4D, "End"},
        {0x4E, "Next"}, {0x4F, "Right"}, {0x50, "Left"}, {0x51, "Down"}, {0x52, "Up"},
        {0xE0, "Control_L"}, {0xE1, "Shift_L"}, {0xE2, "Alt_L"}, {0xE3, "Super_L"},
        {0xE4, "Control_R"}, {0xE5, "Shift_R"}, {0xE6, "Alt_R"}, {0xE7, "Super_R"},
    };
    // Map the escape key onto each usage in turn and read which keysym it picked up.
    for (const auto &c : cases) {
        const RunResult result = set(property({entry(0x29, c.usage)}));
        ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
        EXPECT_EQ(firstKeysym(9), QLatin1String(c.keysym)) << "usage 0x" << std::hex << c.usage;
    }
}

TEST_F(KeymapToolX11Test, WindowsModeSwapsControlAndSuperOnBothSides)
{
    const RunResult result = set(kWindowsMode);
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(result.err.isEmpty());

    const struct {
        int keycode;
        const char *keysym;
        unsigned modifiers;
        unsigned stateMask;
    } cases[] = {
        {37, "Super_L", 1u << kMod4Bit, Mod4Mask},
        {133, "Control_L", 1u << kControlBit, ControlMask},
        {105, "Super_R", 1u << kMod4Bit, Mod4Mask},
        {134, "Control_R", 1u << kControlBit, ControlMask},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(firstKeysym(c.keycode), QLatin1String(c.keysym)) << c.keycode;
        EXPECT_EQ(modifiersOf(c.keycode), c.modifiers) << c.keycode;
        EXPECT_EQ(stateWhileHeld(c.keycode), c.stateMask) << c.keycode;
    }
    // Keys outside the mapping keep their modifiers, including the second Super_L key.
    EXPECT_EQ(modifiersOf(206), 1u << kMod4Bit);
    EXPECT_EQ(modifiersOf(207), 1u << kMod4Bit);
    EXPECT_EQ(modifiersOf(50), 1u << 0);
    // Toolkits resolve Super through the virtual modifier: it must not pick up Control.
    EXPECT_EQ(virtualModifierMask("Super"), unsigned(Mod4Mask));
    EXPECT_TRUE(hasSavedOriginal());
}

TEST_F(KeymapToolX11Test, CustomMappingsRideAlong)
{
    ASSERT_EQ(set(kWindowsModeAndCapsToEscape).exitCode, 0);
    EXPECT_EQ(firstKeysym(66), QStringLiteral("Escape"));
    EXPECT_EQ(modifiersOf(66), 0u);
    EXPECT_EQ(stateWhileHeld(66), 0u);
    EXPECT_EQ(firstKeysym(37), QStringLiteral("Super_L"));

    // A multi-level destination arrives whole: F1 carries a Ctrl+Alt level for VT switching.
    const std::vector<KeySym> f1 = coreRow(67);
    ASSERT_EQ(set(property({entry(0x39, 0x3A)})).exitCode, 0);
    EXPECT_EQ(coreRow(66), f1);
    EXPECT_EQ(firstKeysym(37), QStringLiteral("Control_L"));

    // Right Command onto right Option: the key takes Alt_R and joins mod1.
    ASSERT_EQ(set(property({entry(0xE7, 0xE6)})).exitCode, 0);
    EXPECT_EQ(firstKeysym(134), QStringLiteral("Alt_R"));
    EXPECT_EQ(modifiersOf(134), 1u << kMod1Bit);
    EXPECT_EQ(stateWhileHeld(134), unsigned(Mod1Mask));
}

TEST_F(KeymapToolX11Test, EachSetReplacesThePreviousMapping)
{
    ASSERT_EQ(set(kWindowsModeAndCapsToEscape).exitCode, 0);
    ASSERT_EQ(set(property({entry(0x39, 0x29)})).exitCode, 0);
    EXPECT_EQ(firstKeysym(37), QStringLiteral("Control_L"));
    EXPECT_EQ(modifiersOf(37), 1u << kControlBit);
    EXPECT_EQ(firstKeysym(133), QStringLiteral("Super_L"));
    EXPECT_EQ(modifiersOf(133), 1u << kMod4Bit);
    EXPECT_EQ(firstKeysym(66), QStringLiteral("Escape"));

    // Applying the same swap twice must not stack into "no swap".
    ASSERT_EQ(set(kWindowsMode).exitCode, 0);
    ASSERT_EQ(set(kWindowsMode).exitCode, 0);
    EXPECT_EQ(firstKeysym(37), QStringLiteral("Super_L"));
    EXPECT_EQ(firstKeysym(66), QStringLiteral("Caps_Lock"));
    EXPECT_EQ(modifiersOf(66), 1u << kLockBit);
}

TEST_F(KeymapToolX11Test, EmptyMappingRestoresTheOriginalExactly)
{
    const KeymapDump original = dump();
    const std::vector<std::string> originalXkb = xkbDump();
    ASSERT_EQ(set(kWindowsModeAndCapsToEscape).exitCode, 0);
    ASSERT_NE(dump(), original);
    ASSERT_EQ(set(property({entry(0x04, 0x05), entry(0xE7, 0xE6), entry(0x29, 0x45)})).exitCode, 0);

    const RunResult result = set(kRestore);
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_EQ(dump(), original);
    EXPECT_EQ(xkbDump(), originalXkb);
    EXPECT_FALSE(hasSavedOriginal());
    EXPECT_EQ(stateWhileHeld(37), unsigned(ControlMask));

    // A second restore, with nothing saved any more, is a successful no-op.
    const RunResult again = set(kRestore);
    EXPECT_EQ(again.exitCode, 0);
    EXPECT_TRUE(again.err.isEmpty());
    EXPECT_EQ(dump(), original);
}

TEST_F(KeymapToolX11Test, EveryCatalogueKeyMovesAndComesBackExactly)
{
    std::vector<quint32> catalogue;
    for (quint32 usage = 0x04; usage <= 0x2C; ++usage)   // letters, digits, Return .. Space
        catalogue.push_back(usage);
    for (quint32 usage = 0x39; usage <= 0x45; ++usage)   // Caps Lock, F1 .. F12
        catalogue.push_back(usage);
    for (quint32 usage = 0x4A; usage <= 0x52; ++usage)   // Home .. Up
        catalogue.push_back(usage);
    for (quint32 usage = 0xE0; usage <= 0xE7; ++usage)   // modifiers
        catalogue.push_back(usage);
    const int keycodes[] = {37, 50, 64, 133, 105, 62, 108, 134};   // evdev keycodes of 0xE0 .. 0xE7

    // Each key takes the next one's place: every width, type and modifier changes hands.
    QList<QByteArray> entries;
    for (std::size_t i = 0; i < catalogue.size(); ++i)
        entries.push_back(entry(catalogue[i], catalogue[(i + 1) % catalogue.size()]));
    const KeymapDump original = dump();
    const std::vector<std::string> originalXkb = xkbDump();
    std::map<int, std::vector<KeySym>> rowsBefore;
    for (int keycode = 8; keycode < 256; ++keycode)
        rowsBefore[keycode] = coreRow(keycode);

    const RunResult result = set(property(entries));
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    // Spot checks along the ring: Escape's key gives BackSpace, F12's key gives Home,
    // right Command's key gives "a" (the ring closes), Space's key gives Caps Lock.
    EXPECT_EQ(coreRow(9), rowsBefore[22]);
    EXPECT_EQ(coreRow(96), rowsBefore[110]);
    EXPECT_EQ(coreRow(keycodes[7]), rowsBefore[38]);
    EXPECT_EQ(coreRow(65), rowsBefore[66]);
    EXPECT_EQ(modifiersOf(65), 1u << kLockBit);
    EXPECT_EQ(modifiersOf(keycodes[2]), 1u << kMod4Bit);   // left Option now acts as left Command

    ASSERT_EQ(set(kRestore).exitCode, 0);
    EXPECT_EQ(dump(), original);
    EXPECT_EQ(xkbDump(), originalXkb);
}

TEST_F(KeymapToolX11Test, BadInputChangesNothing)
{
    const KeymapDump original = dump();
    ASSERT_EQ(set(kWindowsMode).exitCode, 0);
    const KeymapDump inForce = dump();

    const struct {
        const char *name;
        QStringList arguments;
        int exitCode;
    } cases[] = {
        {"not JSON", {"property", "--set", "{\"UserKeyMapping\":["}, 2},
        {"wrong shape", {"property", "--set", "{\"UserKeyMapping\":{}}"}, 2},
        {"unknown usage",
         {"property", "--set", QString::fromUtf8(property({entry(0x39, 0x29), entry(0x39, 0xE8)}))}, 2},
        {"wrong page",
         {"property", "--set",
          QStringLiteral("{\"UserKeyMapping\":[{\"HIDKeyboardModifierMappingSrc\":51539607609,"
                         "\"HIDKeyboardModifierMappingDst\":30064771113}]}")}, 2},
        {"no arguments", {}, 1},
        {"missing JSON", {"property", "--set"}, 1},
    };
    for (const auto &c : cases) {
        const RunResult result = run(c.arguments, m_server.display());
        EXPECT_EQ(result.exitCode, c.exitCode) << c.name;
        expectOneErrorLine(result, c.name);
        EXPECT_EQ(dump(), inForce) << c.name;
        EXPECT_TRUE(hasSavedOriginal()) << c.name;
    }
    // The saved original survived untouched: restoring still gets back to the start.
    ASSERT_EQ(set(kRestore).exitCode, 0);
    EXPECT_EQ(dump(), original);
}

TEST_F(KeymapToolX11Test, HeldModifierWaitsForItsRelease)
{
    const KeymapDump original = dump();
    XTestFakeKeyEvent(display(), 37, True, CurrentTime);   // left Control held through the run
    XSync(display(), False);
    const RunResult refused = set(kWindowsMode);
    EXPECT_EQ(refused.exitCode, 4);
    expectOneErrorLine(refused, "held modifier");
    EXPECT_EQ(dump(), original);
    EXPECT_FALSE(hasSavedOriginal());

    // Let go while the tool is waiting: it must go ahead, so the grab is not held meanwhile.
    QProcess tool;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DISPLAY"), m_server.display());
    tool.setProcessEnvironment(environment);
    tool.start(kTool, {QStringLiteral("property"), QStringLiteral("--set"), QString::fromUtf8(kWindowsMode)});
    EXPECT_FALSE(tool.waitForFinished(300)) << "the tool did not wait for the key";
    XTestFakeKeyEvent(display(), 37, False, CurrentTime);
    XSync(display(), False);
    ASSERT_TRUE(tool.waitForFinished(5000));
    EXPECT_EQ(tool.exitCode(), 0) << tool.readAllStandardError().toStdString();
    EXPECT_EQ(firstKeysym(37), QStringLiteral("Super_L"));
    EXPECT_EQ(modifiersOf(37), 1u << kMod4Bit);
}

TEST_F(KeymapToolX11Test, NoDisplayFailsCleanly)
{
    const struct {
        const char *name;
        std::optional<QString> display;
    } cases[] = {
        {"DISPLAY unset", std::nullopt},
        {"no server there", QStringLiteral(":4093")},
    };
    for (const auto &c : cases) {
        const RunResult result = run({"property", "--set", QString::fromUtf8(kWindowsMode)}, c.display);
        EXPECT_EQ(result.exitCode, 3) << c.name;
        expectOneErrorLine(result, c.name);
    }
}

TEST_F(KeymapToolX11Test, HelpDescribesUsage)
{
    const RunResult result = run({"--help"}, std::nullopt);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.out.contains("property --set JSON"));
    EXPECT_TRUE(result.err.isEmpty());
}

} // namespace
