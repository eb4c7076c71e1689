#pragma once

#include <QByteArray>
#include <QList>
#include <ctime>
#include <optional>
#include <utility>

// Sets environment variables for one scope and puts the old values back.
// TZ changes are pushed to the C library at once.
class ScopedEnv {
public:
    ScopedEnv() = default;
    ScopedEnv(const char *name, const QByteArray &value) { set(name, value); }
    ScopedEnv(const ScopedEnv &) = delete;
    ScopedEnv &operator=(const ScopedEnv &) = delete;
    ~ScopedEnv()
    {
        for (auto it = m_saved.crbegin(); it != m_saved.crend(); ++it) {
            if (it->second)
                qputenv(it->first, *it->second);
            else
                qunsetenv(it->first);
        }
        tzset();
    }

    void set(const char *name, const QByteArray &value)
    {
        m_saved.append({name, qEnvironmentVariableIsSet(name) ? std::optional(qgetenv(name)) : std::nullopt});
        qputenv(name, value);
        tzset();
    }

private:
    QList<std::pair<const char *, std::optional<QByteArray>>> m_saved;
};
