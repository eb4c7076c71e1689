#pragma once

#include "platform/HotKeyService.h"

#include <QList>
#include <QSet>
#include <algorithm>
#include <optional>
#include <utility>

// A HotKeyService that grabs nothing. It keeps a log of every register and unregister
// call in order, the set of registrations in force, and lets a test press a hot key.
class FakeHotKeyService : public HotKeyService {
public:
    struct Registration {
        quint32 virtualKey = 0;
        quint32 modifiers = 0;
        quint32 id = 0;
        quint32 handle = 0;
        friend bool operator==(const Registration &, const Registration &) = default;
    };
    struct Event {
        enum class Kind { registered, refused, unregistered };
        Kind kind = Kind::registered;
        Registration registration;   // for unregistered: the one removed, or just the handle if unknown
    };

    QList<Event> log;

    // Makes registerHotKey return 0 for this combination from now on.
    void refuse(quint32 virtualKey, quint32 modifiers) { m_refused.insert({virtualKey, modifiers}); }

    const QList<Registration> &active() const { return m_active; }
    bool hasPressHandler() const { return bool(m_handler); }
    int setPressHandlerCalls() const { return m_setHandlerCalls; }

    std::optional<Registration> activeFor(quint32 virtualKey, quint32 modifiers) const
    {
        for (const Registration &r : m_active)
            if (r.virtualKey == virtualKey && r.modifiers == modifiers)
                return r;
        return std::nullopt;
    }

    qsizetype count(Event::Kind kind) const
    {
        return std::count_if(log.cbegin(), log.cend(), [kind](const Event &e) { return e.kind == kind; });
    }

    // Hands the id to the press handler, as the platform would for a registered key.
    // Returns false when no handler is installed.
    bool pressId(quint32 id)
    {
        if (!m_handler)
            return false;
        m_handler(id);
        return true;
    }

    // Presses a key combination: delivered only when it is registered and a handler is set.
    bool press(quint32 virtualKey, quint32 modifiers)
    {
        const std::optional<Registration> r = activeFor(virtualKey, modifiers);
        return r && pressId(r->id);
    }

    void setPressHandler(PressHandler handler) override
    {
        m_handler = std::move(handler);
        ++m_setHandlerCalls;
    }

    quint32 registerHotKey(quint32 virtualKey, quint32 modifiers, quint32 id) override
    {
        Registration r{virtualKey, modifiers, id, 0};
        if (m_refused.contains({virtualKey, modifiers})) {
            log.append({Event::Kind::refused, r});
            return 0;
        }
        r.handle = m_nextHandle++;
        m_active.append(r);
        log.append({Event::Kind::registered, r});
        return r.handle;
    }

    void unregisterHotKey(quint32 handle) override
    {
        Registration removed{0, 0, 0, handle};
        const auto it = std::find_if(m_active.begin(), m_active.end(),
                                     [handle](const Registration &r) { return r.handle == handle; });
        if (it != m_active.end()) {
            removed = *it;
            m_active.erase(it);
        }
        log.append({Event::Kind::unregistered, removed});
    }

private:
    PressHandler m_handler;
    int m_setHandlerCalls = 0;
    quint32 m_nextHandle = 1;
    QList<Registration> m_active;
    QSet<std::pair<quint32, quint32>> m_refused;
};
