#include "keymap/X11Keyboard.h"

#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xlib.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace keymap {
namespace {

constexpr char kSavedPropertyName[] = "_VISTREL_ORIGINAL_KEYMAP";
constexpr char kMappingPropertyName[] = "_VISTREL_KEYMAP_MAPPING";
constexpr char kWatchSelectionName[] = "_VISTREL_KEYMAP_WATCH";
constexpr long kLongestPropertyInLongs = 1L << 20;
constexpr unsigned kEntryParts = XkbKeyTypesMask | XkbKeySymsMask | XkbKeyActionsMask
    | XkbExplicitComponentsMask | XkbModifierMapMask | XkbVirtualModMapMask;
static_assert(sizeof(XkbAction) == sizeof(quint64), "actions are stored as 8-byte words");

// Failed requests show up when the keymap is read back; Xlib's default would print and exit.
int ignoreError(Display *, XErrorEvent *)
{
    return 0;
}

// A lost connection cannot be recovered from; keep the one-line error contract.
int connectionLost(Display *)
{
    std::fputs("vistrel-keymap: lost the connection to the X server\n", stderr);
    std::_Exit(4);
}

struct XkbDescDeleter {
    void operator()(XkbDescPtr xkb) const { XkbFreeKeyboard(xkb, 0, True); }
};
using XkbDescHolder = std::unique_ptr<XkbDescRec, XkbDescDeleter>;

KeyEntry entryOf(XkbDescPtr xkb, int keycode)
{
    KeyEntry entry;
    const XkbSymMapRec &symbols = xkb->map->key_sym_map[keycode];
    std::copy(std::begin(symbols.kt_index), std::end(symbols.kt_index), entry.types.begin());
    entry.groupInfo = symbols.group_info;
    entry.width = symbols.width;
    const KeySym *keysyms = XkbKeySymsPtr(xkb, keycode);
    entry.keysyms.assign(keysyms, keysyms + XkbKeyNumSyms(xkb, keycode));
    if (XkbKeyHasActions(xkb, keycode)) {
        const XkbAction *actions = XkbKeyActionsPtr(xkb, keycode);
        entry.actions.resize(std::size_t(XkbKeyNumSyms(xkb, keycode)));
        std::memcpy(entry.actions.data(), actions, entry.actions.size() * sizeof(XkbAction));
    }
    entry.explicitComponents = xkb->server->c_explicit[keycode];
    entry.virtualModifiers = xkb->server->vmodmap[keycode];
    entry.modifiers = xkb->map->modmap[keycode];
    return entry;
}

bool fits(XkbDescPtr xkb, const KeyEntry &entry)
{
    for (int group = 0; group < entry.groupCount(); ++group) {
        if (entry.types[std::size_t(group)] >= xkb->map->num_types)
            return false;
    }
    return entry.isConsistent();
}

bool allFit(XkbDescPtr xkb, const KeymapSnapshot &target, const std::vector<int> &keycodes)
{
    for (int keycode : keycodes) {
        if (!target.contains(keycode) || keycode < xkb->min_key_code || keycode > xkb->max_key_code
            || !fits(xkb, target.key(keycode)))
            return false;
    }
    return true;
}

bool setEntry(XkbDescPtr xkb, int keycode, const KeyEntry &entry)
{
    int types[XkbNumKbdGroups];
    std::copy(entry.types.begin(), entry.types.end(), types);
    XkbMapChangesRec ignored{};
    if (XkbChangeTypesOfKey(xkb, keycode, entry.groupCount(), XkbAllGroupsMask, types, &ignored) != Success)
        return false;
    KeySym *keysyms = XkbResizeKeySyms(xkb, keycode, int(entry.keysyms.size()));
    if (!keysyms && !entry.keysyms.empty())
        return false;
    xkb->map->key_sym_map[keycode].group_info = entry.groupInfo;
    xkb->map->key_sym_map[keycode].width = entry.width;
    std::copy(entry.keysyms.begin(), entry.keysyms.end(), keysyms);

    XkbAction *actions = XkbResizeKeyActions(xkb, keycode, int(entry.actions.size()));
    if (entry.actions.empty())
        xkb->server->key_acts[keycode] = 0;
    else if (!actions)
        return false;
    else
        std::memcpy(actions, entry.actions.data(), entry.actions.size() * sizeof(XkbAction));
    xkb->server->c_explicit[keycode] = entry.explicitComponents;
    xkb->server->vmodmap[keycode] = entry.virtualModifiers;
    return true;
}

} // namespace

std::unique_ptr<X11Keyboard> X11Keyboard::open(const QByteArray &displayName)
{
    Display *display = XOpenDisplay(displayName.isEmpty() ? nullptr : displayName.constData());
    if (!display)
        return nullptr;
    XSetErrorHandler(ignoreError);
    XSetIOErrorHandler(connectionLost);
    return std::unique_ptr<X11Keyboard>(new X11Keyboard(display));
}

X11Keyboard::X11Keyboard(Display *display)
    : m_display(display),
      m_savedAtom(XInternAtom(display, kSavedPropertyName, False)),
      m_mappingAtom(XInternAtom(display, kMappingPropertyName, False))
{
}

X11Keyboard::~X11Keyboard()
{
    XSync(m_display, False);
    XCloseDisplay(m_display);
}

std::optional<KeymapSnapshot> X11Keyboard::read() const
{
    const XkbDescHolder xkb(XkbGetMap(m_display, kEntryParts, XkbUseCoreKbd));
    if (!xkb || !xkb->map || !xkb->server)
        return std::nullopt;
    KeymapSnapshot snapshot;
    snapshot.minKeycode = xkb->min_key_code;
    snapshot.maxKeycode = xkb->max_key_code;
    for (int keycode = snapshot.minKeycode; keycode <= snapshot.maxKeycode; ++keycode)
        snapshot.keys.push_back(entryOf(xkb.get(), keycode));
    return snapshot;
}

std::optional<QByteArray> X11Keyboard::rootText(unsigned long atom) const
{
    Atom type = None;
    int format = 0;
    unsigned long count = 0;
    unsigned long remaining = 0;
    unsigned char *data = nullptr;
    const int status = XGetWindowProperty(m_display, DefaultRootWindow(m_display), atom, 0,
                                          kLongestPropertyInLongs, False, AnyPropertyType, &type,
                                          &format, &count, &remaining, &data);
    std::optional<QByteArray> text;
    if (status == Success && type != None)
        text = format == 8 && data ? QByteArray(reinterpret_cast<const char *>(data), qsizetype(count))
                                   : QByteArray();
    if (data)
        XFree(data);
    return text;
}

void X11Keyboard::setRootText(unsigned long atom, const QByteArray &text)
{
    XChangeProperty(m_display, DefaultRootWindow(m_display), atom, XA_STRING, 8,
                    PropModeReplace, reinterpret_cast<const unsigned char *>(text.constData()),
                    int(text.size()));
    XSync(m_display, False);
}

void X11Keyboard::deleteRootText(unsigned long atom)
{
    XDeleteProperty(m_display, DefaultRootWindow(m_display), atom);
    XSync(m_display, False);
}

X11Keyboard::ModifierResult X11Keyboard::setModifiers(const KeymapSnapshot &target)
{
    const auto keycodes = target.modifierKeycodes();
    std::size_t widest = 1;
    for (const std::vector<int> &modifier : keycodes)
        widest = std::max(widest, modifier.size());
    XModifierKeymap *map = XNewModifiermap(int(widest));
    if (!map)
        return ModifierResult::Refused;
    for (std::size_t bit = 0; bit < keycodes.size(); ++bit) {
        for (std::size_t slot = 0; slot < widest; ++slot)
            map->modifiermap[bit * widest + slot] = slot < keycodes[bit].size() ? KeyCode(keycodes[bit][slot]) : 0;
    }
    const int status = XSetModifierMapping(m_display, map);
    XFreeModifiermap(map);
    if (status == MappingSuccess)
        return ModifierResult::Done;
    return status == MappingBusy ? ModifierResult::Busy : ModifierResult::Refused;
}

bool X11Keyboard::fits(const KeymapSnapshot &target, const std::vector<int> &keycodes) const
{
    const XkbDescHolder xkb(XkbGetMap(m_display, kEntryParts, XkbUseCoreKbd));
    return xkb && xkb->map && xkb->server && allFit(xkb.get(), target, keycodes);
}

bool X11Keyboard::writeKeys(const KeymapSnapshot &target, const std::vector<int> &keycodes)
{
    const XkbDescHolder xkb(XkbGetMap(m_display, kEntryParts, XkbUseCoreKbd));
    if (!xkb || !xkb->map || !xkb->server || !allFit(xkb.get(), target, keycodes))
        return false;
    for (int keycode : keycodes) {
        if (!setEntry(xkb.get(), keycode, target.key(keycode)))
            return false;
        // One key per request keeps the server from re-deriving actions of untouched keys.
        // Actions go in a request of their own: the server checks an action count against
        // the key's width from before the request, so a key whose width changes would be
        // refused if both travelled together.
        XkbMapChangesRec entry{};
        entry.changed = XkbKeySymsMask | XkbExplicitComponentsMask | XkbVirtualModMapMask;
        entry.first_key_sym = entry.first_key_explicit = entry.first_vmodmap_key = KeyCode(keycode);
        entry.num_key_syms = entry.num_key_explicit = entry.num_vmodmap_keys = 1;
        XkbChangeMap(m_display, xkb.get(), &entry);
        XkbMapChangesRec actions{};
        actions.changed = XkbKeyActionsMask;
        actions.first_key_act = KeyCode(keycode);
        actions.num_key_acts = 1;
        XkbChangeMap(m_display, xkb.get(), &actions);
    }
    XSync(m_display, False);
    return true;
}

void X11Keyboard::grabServer()
{
    XGrabServer(m_display);
}

void X11Keyboard::ungrabServer()
{
    XUngrabServer(m_display);
    XSync(m_display, False);
}

bool X11Keyboard::claimWatch()
{
    int opcode = 0, errorBase = 0, major = XkbMajorVersion, minor = XkbMinorVersion;
    if (!XkbQueryExtension(m_display, &opcode, &m_xkbEventBase, &errorBase, &major, &minor))
        return false;
    XkbSelectEvents(m_display, XkbUseCoreKbd, XkbMapNotifyMask | XkbNewKeyboardNotifyMask,
                    XkbMapNotifyMask | XkbNewKeyboardNotifyMask);

    const Window root = DefaultRootWindow(m_display);
    m_watchWindow = XCreateSimpleWindow(m_display, root, 0, 0, 1, 1, 0, 0, 0);
    const Atom selection = XInternAtom(m_display, kWatchSelectionName, False);
    XSetSelectionOwner(m_display, selection, m_watchWindow, CurrentTime);
    return XGetSelectionOwner(m_display, selection) == m_watchWindow;
}

int X11Keyboard::connectionNumber() const
{
    return ConnectionNumber(m_display);
}

X11Keyboard::Events X11Keyboard::takeEvents()
{
    Events events;
    // XPending reads the socket; a closed connection ends in the I/O error handler.
    while (XPending(m_display) > 0) {
        XEvent event;
        XNextEvent(m_display, &event);
        if (event.type == SelectionClear && event.xselectionclear.window == m_watchWindow)
            events.watchTakenOver = true;
        else if (event.type == MappingNotify || (m_xkbEventBase >= 0 && event.type == m_xkbEventBase))
            events.keymapChanged = true;
    }
    return events;
}

} // namespace keymap
