#pragma once

#include "keyboard/BridgeCommand.h"
#include "keyboard/MacKeyOption.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>
#include <array>
#include <functional>
#include <memory>
#include <optional>

class CompanionProcess;
class HotKeyService;
class ProcessRunner;

// Windows Mode (Command <-> Control swap plus the user's mappings, handed to the keymap
// tool as one property) and the seven global hot keys whose modifier follows it.
// While the bridge is wanted a companion (the keymap tool in watch mode) runs beside the
// app: it restores the keymap if the app dies with the mapping in force, and puts the
// mapping back when someone else loads a layout.
// Lives on the GUI thread; every handler is called there.
class KeyRemapper : public QObject {
    Q_OBJECT
public:
    using CommandHandler = std::function<void(BridgeCommand)>;
    using StateHandler = std::function<void(bool running, bool trusted)>;

    KeyRemapper(ProcessRunner &processes, HotKeyService &hotKeys, QString keymapTool,
                QObject *parent = nullptr);
    ~KeyRemapper() override;   // unregisters the hot keys and removes a mapping in force

    CommandHandler commandHandler;
    StateHandler stateHandler;

    // The property text for the current custom mappings: the swap plus the mappings,
    // sorted by source usage, or an empty list when disabled.
    QByteArray mappingProperty(bool enabled) const;
    // Runs the keymap tool with the property; true on exit status 0.
    bool applyMapping(bool enabled);

    void start();
    void stop();
    void enable();
    void requestPermission() { enable(); }
    void setCustomMappings(const QList<MacCustomKeyMapping> &mappings);

    bool isRunning() const { return m_running; }
    bool isRequested() const { return m_requested; }
    const QList<MacCustomKeyMapping> &customMappings() const { return m_customMappings; }
    // The mask the hot keys are registered with; empty while none are.
    std::optional<quint32> hotKeyModifiers() const { return m_hotKeyModifiers; }

    void installHotKeys(quint32 modifiers);
    void uninstallHotKeys();

    // The command a hot-key id stands for; empty for ids that are not ours.
    static std::optional<BridgeCommand> commandForHotKey(quint32 id);

private:
    void deliver(quint32 id);
    void keepWatchdog();
    void releaseWatchdog();

    ProcessRunner &m_processes;
    HotKeyService &m_hotKeys;
    QString m_keymapTool;
    bool m_handlerInstalled = false;
    std::array<quint32, 7> m_hotKeyHandles{};
    std::optional<quint32> m_hotKeyModifiers;
    bool m_requested = true;
    QList<MacCustomKeyMapping> m_customMappings;
    bool m_running = false;
    std::unique_ptr<CompanionProcess> m_watchdog;
};
