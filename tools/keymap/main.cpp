#include "keymap/CommandLine.h"
#include "keymap/KeymapTool.h"
#include "keymap/KeymapWatch.h"

#include <cstdio>
#include <unistd.h>
#include <vector>

namespace {

// Callers read exactly one line of error text.
void printError(const QString &message)
{
    QString line = message;
    line.replace(QLatin1Char('\n'), QLatin1Char(' '));
    std::fprintf(stderr, "vistrel-keymap: %s\n", line.toLocal8Bit().constData());
}

} // namespace

int main(int argc, char **argv)
{
    std::vector<QByteArray> arguments;
    for (int i = 1; i < argc; ++i)
        arguments.emplace_back(argv[i]);

    const keymap::Command command = keymap::parseCommandLine(arguments);
    switch (command.kind) {
    case keymap::Command::Kind::Help:
        std::fputs(keymap::usageText().toLocal8Bit().constData(), stdout);
        return keymap::ExitDone;
    case keymap::Command::Kind::Invalid:
        printError(command.error);
        return keymap::ExitBadArguments;
    case keymap::Command::Kind::SetProperty:
    case keymap::Command::Kind::Watch:
        break;
    }
    const keymap::Outcome outcome = command.kind == keymap::Command::Kind::Watch
        ? keymap::watch(QByteArray(), STDIN_FILENO)
        : keymap::applyProperty(command.property, QByteArray());
    if (outcome.status != keymap::ExitDone)
        printError(outcome.error);
    return outcome.status;
}
