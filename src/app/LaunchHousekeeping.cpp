#include "app/LaunchHousekeeping.h"

#include "platform/ProcessRunner.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTimer>
#include <filesystem>
#include <system_error>

namespace {

// Resolves links where the path exists; a missing tail is kept as written, cleaned.
QString resolved(const QString &path)
{
    if (path.isEmpty())
        return {};
    const QString canonical = QFileInfo(path).canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(QDir::current().absoluteFilePath(path)) : canonical;
}

bool isInside(const QString &path, const QString &folder)
{
    return !folder.isEmpty() && path.startsWith(folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/'));
}

bool sameOrInside(const QString &path, const QString &folder)
{
    return path == folder || isInside(path, folder);
}

std::filesystem::path fsPath(const QString &path)
{
    return std::filesystem::path(path.toStdString());
}

} // namespace

LaunchHousekeeping::Locations LaunchHousekeeping::standard(const QString &executable, const QString &home,
                                                           const QString &downloads,
                                                           const QString &applicationSupport)
{
    QStringList temporary{QStringLiteral("/tmp"), QStringLiteral("/media"), QStringLiteral("/run/media")};
    temporary.append(QDir(home).filePath(QStringLiteral("Downloads")));
    if (!downloads.isEmpty())
        temporary.append(downloads);
    return {executable, QDir(home).filePath(QStringLiteral("Applications/Vistrel")), temporary,
            applicationSupport};
}

QString LaunchHousekeeping::bundleToRelocate(const Locations &locations)
{
    const QString executable = resolved(locations.executable);
    const QString binFolder = QFileInfo(executable).path();
    // Only a bundle laid out as <top>/bin/vistrel is ours to copy whole.
    if (QFileInfo(binFolder).fileName() != QLatin1String("bin"))
        return {};
    const QString top = QFileInfo(binFolder).path();
    const QString target = resolved(locations.target);
    if (sameOrInside(top, target) || isInside(target, top))
        return {};
    // A build tree runs where it was built; an installed package (a usr/ tree, also one
    // unpacked into some other root) stays where the package manager put it.
    if (QFileInfo::exists(QDir(top).filePath(QStringLiteral("CMakeCache.txt")))
        || QFileInfo(top).fileName() == QLatin1String("usr"))
        return {};
    for (const QString &place : locations.temporary) {
        // Strictly below: a program straight in /tmp/bin would take all of /tmp with it.
        if (isInside(top, resolved(place)))
            return top;
    }
    return {};
}

LaunchHousekeeping::LaunchHousekeeping(Locations locations, ProcessRunner &processes, QString permissionTool,
                                       std::function<void()> terminate, QObject *parent)
    : QObject(parent),
      m_locations(std::move(locations)),
      m_processes(processes),
      m_permissionTool(std::move(permissionTool)),
      m_terminate(std::move(terminate))
{
}

bool LaunchHousekeeping::relocateFromDiskImageIfNeeded()
{
    const QString bundle = bundleToRelocate(m_locations);
    if (bundle.isEmpty())
        return false;
    const QString target = resolved(m_locations.target);
    std::error_code error;
    std::filesystem::create_directories(fsPath(QFileInfo(target).path()), error);
    if (error)
        return false;
    // The older copy goes first, so no file of it survives among the new ones.
    std::filesystem::remove_all(fsPath(target), error);
    if (error)
        return false;
    std::filesystem::copy(fsPath(bundle), fsPath(target),
                          std::filesystem::copy_options::recursive | std::filesystem::copy_options::copy_symlinks,
                          error);
    if (error)
        return false;
    const QString relocated = QDir(target).filePath(QStringLiteral("bin/") + QFileInfo(m_locations.executable).fileName());
    if (!m_processes.startDetached(relocated, {}))
        return false;
    QTimer::singleShot(terminateDelayMs, this, [this] {
        if (m_terminate)
            m_terminate();
    });
    return true;
}

bool LaunchHousekeeping::migrateLegacyScreenCapturePermission()
{
    const QString marker = QDir(m_locations.applicationSupport).filePath(migrationMarker);
    if (QFileInfo::exists(marker))
        return false;
    QDir().mkpath(m_locations.applicationSupport);
    // X11 has no screen-recording permission, so there is no tool to run.
    if (m_permissionTool.isEmpty())
        return false;
    if (!m_processes.run(m_permissionTool, {QStringLiteral("reset"), QStringLiteral("ScreenCapture"),
                                            QStringLiteral("local.tarnwick.macos")})
             .succeeded())
        return false;
    QFile file(marker);
    return file.open(QIODevice::WriteOnly);
}
