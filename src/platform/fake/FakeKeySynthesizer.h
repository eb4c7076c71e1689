#pragma once

#include "platform/KeySynthesizer.h"

#include <QList>
#include <QSet>

#include <chrono>
#include <mutex>

// A KeySynthesizer that records the events it posts. Keys in failingKeys cannot be
// posted (postKey answers false and nothing is recorded). Safe to call from any thread.
class FakeKeySynthesizer : public KeySynthesizer {
public:
    struct Event {
        quint32 virtualKey = 0;
        bool down = false;
        std::chrono::steady_clock::time_point at;
        friend bool operator==(const Event &a, const Event &b)
        {
            return a.virtualKey == b.virtualKey && a.down == b.down;
        }
    };

    explicit FakeKeySynthesizer(QSet<quint32> failing = {}) : m_failingKeys(std::move(failing)) {}

    bool postKey(quint32 virtualKey, bool down) override
    {
        std::lock_guard lock(m_mutex);
        if (m_failingKeys.contains(virtualKey))
            return false;
        m_events.append({virtualKey, down, std::chrono::steady_clock::now()});
        return true;
    }

    QList<Event> events() const
    {
        std::lock_guard lock(m_mutex);
        return m_events;
    }

private:
    mutable std::mutex m_mutex;
    const QSet<quint32> m_failingKeys;
    QList<Event> m_events;
};
