#include "keyboard/KeyRemapper.h"

#include "keyboard/MacKeyMappingStore.h"
#include "platform/HotKeyService.h"
#include "platform/ProcessRunner.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QMetaObject>
#include <iterator>

namespace {

// Command and Control trade places on both sides (HID page 7 usages).
constexpr std::pair<quint64, quint64> windowsModePairs[] = {
    {0xE0, 0xE3}, {0xE4, 0xE7}, {0xE3, 0xE0}, {0xE7, 0xE4},
};

constexpr quint64 keyboardPage = 0x700000000ULL;

struct HotKeyBinding {
    quint32 virtualKey;
    bool withShift;
    quint32 id;   // what a press carries back
    BridgeCommand command;
};

using Kind = BridgeCommand::Kind;

// Registration order, and the only place an id is tied to its command.
constexpr HotKeyBinding hotKeyBindings[] = {
    {VirtualKey::four, false, 4, BridgeCommand::of(Kind::screenshot)},
    {VirtualKey::five, false, 5, BridgeCommand::of(Kind::video)},
    {VirtualKey::six, false, 6, BridgeCommand::of(Kind::scrollingScreenshot)},
    {VirtualKey::l, false, 12, BridgeCommand::of(Kind::lock)},
    {VirtualKey::q, false, 15, BridgeCommand::of(Kind::quit)},
    {VirtualKey::tab, false, 13, BridgeCommand::switchApplication(false)},
    {VirtualKey::tab, true, 14, BridgeCommand::switchApplication(true)},
};

// A press is known only by its id, so two rows sharing one would shadow each other.
constexpr bool idsAreUnique()
{
    for (std::size_t i = 0; i < std::size(hotKeyBindings); ++i)
        for (std::size_t j = i + 1; j < std::size(hotKeyBindings); ++j)
            if (hotKeyBindings[i].id == hotKeyBindings[j].id)
                return false;
    return true;
}
static_assert(idsAreUnique());

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
    releaseWatchdog();
}

QByteArray KeyRemapper::mappingProperty(bool enabled) const
{
    QJsonArray entries;
    if (enabled) {
        QMap<quint64, quint64> table;   // sorted by source usage
        for (const auto &[source, destination] : windowsModePairs)
            table.insert(source, destination);
        // Custom mappings override the swap; of two with one source the later wins.
        for (const auto &[source, destination] : MacKeyMappingStore::resolved(m_customMappings))
            table.insert(source, destination);

        // qint64, not double, so each usage is written as an exact integer.
        for (auto it = table.cbegin(); it != table.cend(); ++it)
            entries.append(QJsonObject{
                {QStringLiteral("HIDKeyboardModifierMappingSrc"), qint64(keyboardPage + it.key())},
                {QStringLiteral("HIDKeyboardModifierMappingDst"), qint64(keyboardPage + it.value())},
            });
    }
    return QJsonDocument(QJsonObject{{QStringLiteral("UserKeyMapping"), entries}}).toJson(QJsonDocument::Compact);
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
    // The watchdog comes first: from the moment the mapping lands, our death is covered.
    keepWatchdog();
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
    releaseWatchdog();
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

void KeyRemapper::keepWatchdog()
{
    // Also brings back a companion that was killed.
    if (!m_watchdog || !m_watchdog->isRunning())
        m_watchdog = m_processes.startCompanion(m_keymapTool, {QStringLiteral("watch")});
}

void KeyRemapper::releaseWatchdog()
{
    // Only after the mapping is gone: the companion then has nothing to restore twice.
    if (m_watchdog)
        m_watchdog->finish();
    m_watchdog.reset();
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

    static_assert(std::size(hotKeyBindings) == std::tuple_size_v<decltype(m_hotKeyHandles)>);
    for (std::size_t i = 0; i < std::size(hotKeyBindings); ++i) {
        const HotKeyBinding &binding = hotKeyBindings[i];
        const quint32 mask = binding.withShift ? (modifiers | HotKeyModifier::shift) : modifiers;
        m_hotKeyHandles[i] = m_hotKeys.registerHotKey(binding.virtualKey, mask, binding.id);
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
    for (const HotKeyBinding &binding : hotKeyBindings)
        if (binding.id == id)
            return binding.command;
    return std::nullopt;
}

void KeyRemapper::deliver(quint32 id)
{
    const std::optional<BridgeCommand> command = commandForHotKey(id);
    if (command && commandHandler)
        commandHandler(*command);
}
