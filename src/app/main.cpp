#include "app/AppDelegate.h"
#include "app/SingleInstance.h"
#include "platform/TerminationSignals.h"
#include "platform/ffmpeg/FfmpegRecordingBackend.h"
#include "platform/ffmpeg/FfmpegVideoFrameDecoder.h"
#include "platform/x11/X11Platform.h"
#include "storage/AppPaths.h"

#include <QApplication>

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Vistrel"));
    QApplication::setApplicationVersion(QStringLiteral(VISTREL_VERSION));
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setStyle(QStringLiteral("Fusion"));

    // A second launch only hands the request to the running copy; it creates nothing.
    SingleInstance instance(SingleInstance::defaultServerPath());
    if (instance.forwardToRunningInstance())
        return 0;

    std::unique_ptr<Platform> platform = createX11Platform();
    platform->recording = std::make_unique<FfmpegRecordingBackend>(qgetenv("DISPLAY"));
    platform->videoFrames = std::make_unique<FfmpegVideoFrameDecoder>();
    AppDelegate delegate(*platform, AppPaths::standard());
    instance.onReopen = [&delegate] { delegate.applicationShouldHandleReopen(); };
    instance.listen();

    // The session ending or a kill must still take the system-wide mapping away.
    TerminationSignals terminationSignals([&delegate] { delegate.terminate(); });
    QObject::connect(&app, &QCoreApplication::aboutToQuit, &delegate, [&delegate] { delegate.terminate(); });

    delegate.applicationDidFinishLaunching();
    return QApplication::exec();
}
