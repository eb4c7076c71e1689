#pragma once

#include <QList>
#include <QString>
#include <optional>

struct RunningApplication {
    qint64 pid = 0;
    QString name;
    bool terminated = false;
    bool regular = true;   // an ordinary application with windows of its own
};

// The running applications of the desktop session and which one is in front.
class ApplicationRegistry {
public:
    virtual ~ApplicationRegistry() = default;
    virtual QList<RunningApplication> runningApplications() = 0;
    virtual std::optional<qint64> frontmostPid() = 0;
    // Brings all windows of the application forward and gives it the focus.
    virtual bool activate(qint64 pid) = 0;
};
