#pragma once

#include <QByteArray>
#include <QList>
#include <ctime>
#include <initializer_list>
#include <optional>
#include <utility>

// Sets environment variables for one scope and puts the old values back.
// TZ changes are pushed to the C library at once.
class ScopedEnv {
public:
    ScopedEnv(std::initializer_list<std::pair<const char *, QByteArray>> values)
    {
        for (const auto &[name, value] : values) {
            m_saved.append({name, qEnvironmentVariableIsSet(name) ? std::optional(qgetenv(name)) : std::nullopt});
            qputenv(name, value);
        }
        tzset();
    }
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

private:
    QList<std::pair<const char *, std::optional<QByteArray>>> m_saved;
};
