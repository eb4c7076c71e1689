#pragma once

#include "platform/ApplicationRegistry.h"

#include <optional>

// Activates the next or previous ordinary application in a fixed cyclic order (by
// process id, not by recent use). GUI thread.
class ApplicationSwitcher {
public:
    explicit ApplicationSwitcher(ApplicationRegistry &registry);

    void switchApplication(bool reverse);

    // The pid to activate among the candidates, or nothing when there are none.
    static std::optional<qint64> target(const QList<RunningApplication> &applications,
                                        std::optional<qint64> frontmost, bool reverse);

private:
    ApplicationRegistry &m_registry;
};
