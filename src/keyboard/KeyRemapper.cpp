#include "keyboard/KeyRemapper.h"

#include "keyboard/MacKeyMappingStore.h"
#include "platform/HotKeyService.h"
#include "platform/ProcessRunner.h"

#include <QMap>
#include <QMetaObject>
#include <iterator>

namespace {

// Command and Control trade places on both sides (HID page 7 usages).
constexpr std::pair<quint64, quint64> windowsModePairs[] = {
    {0xE0, 0xE3}, {0xE4, 0xE7}, {0xE3, 0xE0}, {0xE7, 0xE4},
};

constexpr quint64 keyboardPage = 0x700000000ULL;

struct HotKeySpec {
    quint32 virtualKey;
    bool withShift;
    quint32 id;
};

// Registration order; the ids are what a press carries back.
constexpr HotKeySpec hotKeySpecs[] = {
    {VirtualKey::four, false, 4},  {VirtualKey::five, false, 5}, {VirtualKey::six, false, 6},
    {VirtualKey::l, false, 12},    {VirtualKey::q, false, 15},   {VirtualKey::tab, false, 13},
    {VirtualKey::tab, true, 14},
};

} // namespace

KeyRemapper::KeyRemapper(ProcessRunner &processes, HotKeyService &hotKeys, QString keymapTool,
                         QObject *parent)
    : QObject(parent), m_processes(processes), m_hotKeys(hotKeys), m_keymapTool(std::move(keymapTool))
{
}

KeyRemapper::~KeyRemapper()
{
    uninstallHotKeys();
    if (m_running)
        applyMapping(false);
}

QByteArray KeyRemapper::mappingProperty(bool enabled) const
{
    QByteArray entries;
    if (enabled) {
        QMap<quint64, quint64> table;   // sorted by source usage
        for (const auto &[source, destination] : windowsModePairs)
            table.insert(source, destination);
        // Custom mappings override the swap; of two with one source the later wins.
        for (const auto &[source, destination] : MacKeyMappingStore::resolved(m_customMappings))
            table.insert(source, destination);

        for (auto it = table.cbegin(); it != table.cend(); ++it) {
            if (!entries.isEmpty())
                entries += ',';
            entries += "{\"HIDKeyboardModifierMappingSrc\":" + QByteArray::number(keyboardPage + it.key())
                       + ",\"HIDKeyboardModifierMappingDst\":"
                       + QByteArray::number(keyboardPage + it.value()) + '}';
        }
    }
    return "{\"UserKeyMapping\":[" + entries + "]}";
}

bool KeyRemapper::applyMapping(bool enabled)
{
    const QStringList arguments = {QStringLiteral("property"), QStringLiteral("--set"),
                                   QString::fromUtf8(mappingProperty(enabled))};
    return m_processes.run(m_keymapTool, arguments).succeeded();
}

void KeyRemapper::start()
{
    if (!m_requested) {
        installHotKeys(HotKeyModifier::command);
        return;
    }
    if (m_running) {
        installHotKeys(HotKeyModifier::control);
        return;
    }
    if (applyMapping(true)) {
        m_running = true;
        // The swap moves physical Command to Control, so the hot keys follow it.
        installHotKeys(HotKeyModifier::control);
        if (stateHandler)
            stateHandler(true, true);
    } else {
        installHotKeys(HotKeyModifier::command);
        if (stateHandler)
            stateHandler(false, true);
    }
}

void KeyRemapper::stop()
{
    m_requested = false;
    if (m_running) {
        applyMapping(false);   // a failed removal still leaves the bridge off
        m_running = false;
    }
    installHotKeys(HotKeyModifier::command);
    if (stateHandler)
        stateHandler(false, true);
}

void KeyRemapper::enable()
{
    m_requested = true;
    start();
}

void KeyRemapper::setCustomMappings(const QList<MacCustomKeyMapping> &mappings)
{
    m_customMappings = mappings;
    if (m_running)
        applyMapping(true);   // on failure the previous mapping stays in force
}

void KeyRemapper::installHotKeys(quint32 modifiers)
{
    if (m_handlerInstalled) {
        if (m_hotKeyModifiers == modifiers)
            return;
        uninstallHotKeys();
    }

    // Presses come straight from event dispatch; the command runs on a later turn of
    // the loop. `this` as context drops a press that outlives the remapper.
    m_hotKeys.setPressHandler([this](quint32 id) {
        QMetaObject::invokeMethod(this, [this, id] { deliver(id); }, Qt::QueuedConnection);
    });
    m_handlerInstalled = true;

    for (std::size_t i = 0; i < std::size(hotKeySpecs); ++i) {
        const HotKeySpec &spec = hotKeySpecs[i];
        const quint32 mask = spec.withShift ? (modifiers | HotKeyModifier::shift) : modifiers;
        m_hotKeyHandles[i] = m_hotKeys.registerHotKey(spec.virtualKey, mask, spec.id);
    }
    m_hotKeyModifiers = modifiers;
}

void KeyRemapper::uninstallHotKeys()
{
    for (quint32 &handle : m_hotKeyHandles) {
        if (handle != 0)
            m_hotKeys.unregisterHotKey(handle);
        handle = 0;
    }
    if (m_handlerInstalled)
        m_hotKeys.setPressHandler({});
    m_handlerInstalled = false;
    m_hotKeyModifiers.reset();
}

std::optional<BridgeCommand> KeyRemapper::commandForHotKey(quint32 id)
{
    switch (id) {
    case 4: return BridgeCommand::of(BridgeCommand::Kind::screenshot);
    case 5: return BridgeCommand::of(BridgeCommand::Kind::video);
    case 6: return BridgeCommand::of(BridgeCommand::Kind::scrollingScreenshot);
    case 12: return BridgeCommand::of(BridgeCommand::Kind::lock);
    case 15: return BridgeCommand::of(BridgeCommand::Kind::quit);
    case 13: return BridgeCommand::switchApplication(false);
    case 14: return BridgeCommand::switchApplication(true);
    default: return std::nullopt;
    }
}

void KeyRemapper::deliver(quint32 id)
{
    const std::optional<BridgeCommand> command = commandForHotKey(id);
    if (command && commandHandler)
        commandHandler(*command);
}
