#include "app/AppDelegate.h"
#include "app/CaptureCoordinator.h"
#include "app/CommandClient.h"
#include "app/CommandLine.h"
#include "app/RemoteCommandHandler.h"
#include "app/SingleInstance.h"
#include "platform/TerminationSignals.h"
#include "platform/ffmpeg/FfmpegRecordingBackend.h"
#include "platform/ffmpeg/FfmpegVideoFrameDecoder.h"
#include "platform/x11/PosixProcessLauncher.h"
#include "platform/x11/X11Platform.h"
#include "storage/AppPaths.h"
#include "ui/KeyMappingController.h"
#include "ui/MainWindowController.h"

#include <QApplication>
#include <QCoreApplication>
#include <QWidget>
#include <cstdio>

namespace {

void print(FILE *stream, const QString &text)
{
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fflush(stream);
}

// `vistrel <command>`: no window and no display of its own; the running app does the work.
int runCommand(int argc, char **argv, RemoteCommand command)
{
    // The command says what went wrong in its own one line; Qt's notes would only add noise.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    QCoreApplication app(argc, argv);
    PosixProcessLauncher launcher;
    CommandClient client({SingleInstance::defaultServerPath(), QCoreApplication::applicationFilePath(),
                          qEnvironmentVariable("DISPLAY")},
                         launcher);
    const CommandLine::Outcome outcome = client.run(command);
    print(stdout, outcome.standardOutput);
    print(stderr, outcome.standardError);
    return outcome.exitStatus;
}

// The command line's commands, by the same paths as the hot keys and the tray menu.
RemoteCommandHandler::Actions remoteActions(AppDelegate &delegate)
{
    return {
        [&delegate](const BridgeCommand &command) { delegate.route(command); },
        [&delegate] { delegate.capture()->captureScrollingScreenshot(false); },
        [&delegate] { delegate.applicationShouldHandleReopen(); },
        [&delegate](bool on) {
            KeyRemapper &remapper = delegate.remapper();
            // The bridge toggle's own path, so the key-mapping window shows the change.
            if (remapper.isRequested() != on)
                delegate.mainWindow()->keyMapping().toggleMapping();
            return remapper.isRunning() == on;
        },
        [&delegate] { delegate.terminate(); },
    };
}

int runApp(int argc, char **argv)
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
    instance.listen();

    // The session ending or a kill must still take the system-wide mapping away.
    TerminationSignals terminationSignals([&delegate] { delegate.terminate(); });
    QObject::connect(&app, &QCoreApplication::aboutToQuit, &delegate, [&delegate] { delegate.terminate(); });

    delegate.applicationDidFinishLaunching();
    // A launch that relocated itself is ending and takes no commands.
    std::unique_ptr<RemoteCommandHandler> commands;
    if (delegate.capture()) {
        commands = std::make_unique<RemoteCommandHandler>(remoteActions(delegate));
        QObject::connect(delegate.capture(), &CaptureCoordinator::captureEnded, commands.get(),
                         &RemoteCommandHandler::captureEnded);
        instance.onRequest = [handler = commands.get()](RemoteCommand command, SingleInstance::Reply reply) {
            handler->handle(command, std::move(reply));
        };
    }
    return QApplication::exec();
}

} // namespace

int main(int argc, char **argv)
{
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    const CommandLine::Invocation invocation = CommandLine::parse(arguments);
    switch (invocation.kind) {
    case CommandLine::Invocation::Kind::launchApp:
        return runApp(argc, argv);
    case CommandLine::Invocation::Kind::help:
        print(stdout, CommandLine::usage());
        return CommandLine::success;
    case CommandLine::Invocation::Kind::version:
        print(stdout, CommandLine::version(QStringLiteral(VISTREL_VERSION)));
        return CommandLine::success;
    case CommandLine::Invocation::Kind::usageError:
        print(stderr, CommandLine::usageHint(invocation.error));
        return CommandLine::usageError;
    case CommandLine::Invocation::Kind::command:
        return runCommand(argc, argv, invocation.command);
    }
    return CommandLine::usageError;
}
