#pragma once

#include <QByteArray>
#include <QList>
#include <ctime>
#include <optional>

// Sets environment variables for one scope and puts the old values back; TZ reaches the C
// library at once.
class ScopedEnv {
public:
    ScopedEnv(std::initializer_list<std::pair<const char *, QByteArray>> values)
    {
        for (const auto &[name, value] : values) {
            m_saved.prepend({name, qEnvironmentVariableIsSet(name) ? std::optional(qgetenv(name)) : std::nullopt});
            qputenv(name, value);
        }
        tzset();
    }
    ScopedEnv(const ScopedEnv &) = delete;
    ~ScopedEnv()
    {
        for (const auto &[name, value] : m_saved)
            value ? void(qputenv(name, *value)) : void(qunsetenv(name));
        tzset();
    }

private:
    QList<std::pair<const char *, std::optional<QByteArray>>> m_saved;
};
