#include "app/ApplicationSwitcher.h"

#include <algorithm>

ApplicationSwitcher::ApplicationSwitcher(ApplicationRegistry &registry)
    : m_registry(registry)
{
}

void ApplicationSwitcher::switchApplication(bool reverse)
{
    const std::optional<qint64> pid =
        target(m_registry.runningApplications(), m_registry.frontmostPid(), reverse);
    if (pid)
        m_registry.activate(*pid);
}

std::optional<qint64> ApplicationSwitcher::target(const QList<RunningApplication> &applications,
                                                  std::optional<qint64> frontmost, bool reverse)
{
    QList<qint64> candidates;
    for (const RunningApplication &application : applications) {
        if (!application.terminated && application.regular)
            candidates.append(application.pid);
    }
    if (candidates.isEmpty())
        return std::nullopt;
    std::stable_sort(candidates.begin(), candidates.end());

    const qsizetype count = candidates.size();
    const qsizetype position = frontmost ? candidates.indexOf(*frontmost) : -1;
    qsizetype next;
    if (position >= 0)
        next = reverse ? position - 1 : position + 1;
    else
        next = reverse ? count - 1 : 0;
    return candidates.at((next + count) % count);
}
