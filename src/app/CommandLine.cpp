#include "app/CommandLine.h"

namespace CommandLine {

namespace {

const QString program = QStringLiteral("vistrel");

Invocation failure(const QString &error)
{
    return {Invocation::Kind::usageError, RemoteCommand::show, error};
}

Invocation command(RemoteCommand c)
{
    return {Invocation::Kind::command, c, {}};
}

// A command that takes no argument, with what followed it.
Invocation bare(RemoteCommand c, const QStringList &rest)
{
    if (!rest.isEmpty())
        return failure(QStringLiteral("unexpected argument '%1'").arg(rest.first()));
    return command(c);
}

} // namespace

Invocation parse(const QStringList &arguments)
{
    if (arguments.isEmpty())
        return {};
    // As most tools do, help anywhere wins over everything else on the line.
    for (const QString &argument : arguments)
        if (argument == QLatin1String("--help") || argument == QLatin1String("-h"))
            return {Invocation::Kind::help, RemoteCommand::show, {}};

    const QString &name = arguments.first();
    const QStringList rest = arguments.mid(1);
    if (name == QLatin1String("--version"))
        return rest.isEmpty() ? Invocation{Invocation::Kind::version, RemoteCommand::show, {}}
                              : failure(QStringLiteral("unexpected argument '%1'").arg(rest.first()));
    if (name == QLatin1String("screenshot"))
        return bare(RemoteCommand::screenshot, rest);
    if (name == QLatin1String("record"))
        return bare(RemoteCommand::record, rest);
    if (name == QLatin1String("show"))
        return bare(RemoteCommand::show, rest);
    if (name == QLatin1String("quit"))
        return bare(RemoteCommand::quit, rest);
    if (name == QLatin1String("scroll")) {
        if (!rest.isEmpty() && rest.first() == QLatin1String("--manual"))
            return bare(RemoteCommand::scrollManual, rest.mid(1));
        return bare(RemoteCommand::scroll, rest);
    }
    if (name == QLatin1String("mapping")) {
        if (rest == QStringList{QStringLiteral("on")})
            return command(RemoteCommand::mappingOn);
        if (rest == QStringList{QStringLiteral("off")})
            return command(RemoteCommand::mappingOff);
        if (rest.isEmpty())
            return failure(QStringLiteral("mapping needs 'on' or 'off'"));
        if (rest.size() > 1 && (rest.first() == QLatin1String("on") || rest.first() == QLatin1String("off")))
            return failure(QStringLiteral("unexpected argument '%1'").arg(rest.at(1)));
        return failure(QStringLiteral("mapping takes 'on' or 'off', not '%1'").arg(rest.first()));
    }
    if (name.startsWith(QLatin1Char('-')))
        return failure(QStringLiteral("unknown option '%1'").arg(name));
    return failure(QStringLiteral("unknown command '%1'").arg(name));
}

QString usage()
{
    return QStringLiteral(
        "Usage: vistrel [COMMAND]\n"
        "\n"
        "Without a command, starts Vistrel, or brings the running one forward.\n"
        "A command is carried out by the running Vistrel, which is started first if needed.\n"
        "\n"
        "Commands:\n"
        "  screenshot        select a region and save it; prints the PNG's path\n"
        "  scroll            scrolling capture of a web page; prints the PNG's path\n"
        "  scroll --manual   scrolling capture while you scroll by hand; prints the PNG's path\n"
        "  record            start a screen recording, or stop the one running;\n"
        "                    prints the MP4's path once the recording stops\n"
        "  show              open the main window\n"
        "  mapping on|off    turn Windows Mode (Command/Control swap, your mappings) on or off\n"
        "  quit              quit Vistrel; the keyboard goes back as it was\n"
        "\n"
        "Options:\n"
        "  -h, --help        show this help and exit\n"
        "      --version     show the version and exit\n"
        "\n"
        "Exit status:\n"
        "  0  saved (the path is printed) or done\n"
        "  1  the capture was cancelled; nothing was saved\n"
        "  2  the arguments were not understood\n"
        "  3  Vistrel could not be started or reached, or could not carry the command out\n");
}

QString version(const QString &number)
{
    return program + QLatin1Char(' ') + number + QLatin1Char('\n');
}

QString usageHint(const QString &error)
{
    return program + QStringLiteral(": ") + error + QStringLiteral(". Try 'vistrel --help'.\n");
}

bool waitsForCapture(RemoteCommand command)
{
    switch (command) {
    case RemoteCommand::screenshot:
    case RemoteCommand::scroll:
    case RemoteCommand::scrollManual:
    case RemoteCommand::record:
        return true;
    case RemoteCommand::show:
    case RemoteCommand::mappingOn:
    case RemoteCommand::mappingOff:
    case RemoteCommand::quit:
        return false;
    }
    return false;
}

Outcome outcome(const RemoteReply &reply)
{
    switch (reply.result) {
    case RemoteReply::Result::done:
        return {};
    case RemoteReply::Result::saved:
        return {success, reply.path + QLatin1Char('\n'), {}};
    case RemoteReply::Result::cancelled:
        return {nothingSaved, {}, {}};
    case RemoteReply::Result::failed:
    case RemoteReply::Result::refused:
        return cannotReach(reply.message);
    }
    return cannotReach({});
}

Outcome cannotReach(const QString &why)
{
    QString text = why.simplified();   // one line, whatever the reason held
    if (text.isEmpty())
        text = QStringLiteral("Vistrel did not answer");
    return {CommandLine::unavailable, {}, program + QStringLiteral(": ") + text + QLatin1Char('\n')};
}

} // namespace CommandLine
