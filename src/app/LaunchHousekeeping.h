#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>

class ProcessRunner;

// The first steps of a launch, before any window exists: a portable copy started from
// somewhere temporary moves into ~/Applications/Vistrel and restarts from there, and the
// one-time screen-recording permission reset. Each reports by its result only; a failure
// lets the launch go on where it is. GUI thread only.
class LaunchHousekeeping : public QObject {
    Q_OBJECT
public:
    static inline const QString migrationMarker = QStringLiteral("tcc-signature-migrated-v2");
    static inline const QString migratedText =
        QStringLiteral("Quyền cũ đã được làm mới — chọn Cho phép một lần khi chụp hoặc quay");
    static constexpr int terminateDelayMs = 500;

    struct Locations {
        QString executable;          // the running program
        QString target;              // where a portable copy belongs
        QStringList temporary;       // folders a started copy is only passing through
        QString applicationSupport;  // holds the migration marker
    };
    // ~/Applications/Vistrel, with the Downloads folder, /tmp and the removable media
    // folders as the temporary places.
    static Locations standard(const QString &executable, const QString &home, const QString &downloads,
                              const QString &applicationSupport);

    // The portable copy's top folder (the one holding bin/) when the running program should
    // move to the target: it sits below a temporary place, is neither a build tree nor a usr/
    // tree, and neither is nor holds the target. Empty when it stays. Paths are compared after
    // resolving links.
    static QString bundleToRelocate(const Locations &locations);

    // permissionTool: empty where the platform has no such tool.
    LaunchHousekeeping(Locations locations, ProcessRunner &processes, QString permissionTool,
                       std::function<void()> terminate, QObject *parent = nullptr);

    // True: the copy in the target was started and this process ends in 0.5 s.
    bool relocateFromDiskImageIfNeeded();
    // True once per user: the reset ran and the marker was written.
    bool migrateLegacyScreenCapturePermission();

private:
    Locations m_locations;
    ProcessRunner &m_processes;
    QString m_permissionTool;
    std::function<void()> m_terminate;
};
