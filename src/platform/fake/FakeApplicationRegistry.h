#pragma once

#include "platform/ApplicationRegistry.h"

// An ApplicationRegistry over a scripted list; records every activation.
class FakeApplicationRegistry : public ApplicationRegistry {
public:
    QList<RunningApplication> applications;
    std::optional<qint64> frontmost;
    QList<qint64> activated;

    QList<RunningApplication> runningApplications() override { return applications; }
    std::optional<qint64> frontmostPid() override { return frontmost; }
    bool activate(qint64 pid) override
    {
        activated.append(pid);
        for (const RunningApplication &application : applications)
            if (application.pid == pid)
                return true;
        return false;
    }
};
