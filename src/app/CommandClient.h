#pragma once

#include "app/CommandLine.h"
#include "app/RemoteProtocol.h"

#include <QString>
#include <chrono>
#include <optional>

class ProcessLauncher;

// The command-line side of the single-instance socket: hands one command to the running
// app, starting the app first when none answers, and turns the answer into what to print.
// Blocking; needs a QCoreApplication but no event loop and no display of its own.
class CommandClient {
public:
    struct Settings {
        QString serverPath;   // the running app's socket
        QString appProgram;   // started when nobody answers
        QString display;      // where the app will show, for the message when it cannot
        std::chrono::milliseconds connectTimeout{1500};
        std::chrono::milliseconds startTimeout{30000};
    };

    CommandClient(Settings settings, ProcessLauncher &launcher);

    CommandLine::Outcome run(RemoteCommand command);

    // One request and its reply on an already running app; empty when nobody answered in
    // time. replyTimeout < 0 waits as long as the connection lasts.
    static std::optional<RemoteReply> exchange(const QString &serverPath, RemoteCommand command,
                                               std::chrono::milliseconds connectTimeout,
                                               std::chrono::milliseconds replyTimeout);

private:
    // Starts the app and waits for its socket; a reason when it did not come up.
    std::optional<QString> startApp();

    Settings m_settings;
    ProcessLauncher &m_launcher;
};
