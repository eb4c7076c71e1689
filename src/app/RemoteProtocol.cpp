#include "app/RemoteProtocol.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <array>
#include <utility>

namespace {

const QString versionKey = QStringLiteral("vistrel");

// (command, name on the wire, its argument): scroll and mapping take one.
struct CommandName {
    RemoteCommand command;
    const char *name;
    const char *argument;
};
constexpr std::array<CommandName, 8> commandNames{{
    {RemoteCommand::show, "show", nullptr},
    {RemoteCommand::screenshot, "screenshot", nullptr},
    {RemoteCommand::scroll, "scroll", "web"},
    {RemoteCommand::scrollManual, "scroll", "manual"},
    {RemoteCommand::record, "record", nullptr},
    {RemoteCommand::mappingOn, "mapping", "on"},
    {RemoteCommand::mappingOff, "mapping", "off"},
    {RemoteCommand::quit, "quit", nullptr},
}};

constexpr std::array<std::pair<RemoteReply::Result, const char *>, 5> resultNames{{
    {RemoteReply::Result::done, "done"},
    {RemoteReply::Result::saved, "saved"},
    {RemoteReply::Result::cancelled, "cancelled"},
    {RemoteReply::Result::failed, "failed"},
    {RemoteReply::Result::refused, "refused"},
}};

QByteArray line(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

// The object of a line whose version this side reads; empty otherwise.
std::optional<QJsonObject> readable(const QByteArray &text)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text.trimmed(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    const QJsonObject object = document.object();
    const int v = object.value(versionKey).toInt(0);
    if (v < 1 || v > RemoteProtocol::version)
        return std::nullopt;
    return object;
}

} // namespace

namespace RemoteProtocol {

QByteArray encodeRequest(RemoteCommand command)
{
    QJsonObject object{{versionKey, version}};
    for (const CommandName &entry : commandNames) {
        if (entry.command != command)
            continue;
        object.insert(QStringLiteral("command"), QLatin1String(entry.name));
        if (entry.argument)
            object.insert(QStringLiteral("argument"), QLatin1String(entry.argument));
    }
    return line(object);
}

std::optional<RemoteCommand> decodeRequest(const QByteArray &text)
{
    const auto object = readable(text);
    if (!object)
        return std::nullopt;
    const QString name = object->value(QStringLiteral("command")).toString();
    const QJsonValue argument = object->value(QStringLiteral("argument"));
    for (const CommandName &entry : commandNames) {
        if (name != QLatin1String(entry.name))
            continue;
        // scroll without an argument is the web capture, as on the command line.
        const bool matches = entry.argument ? argument.toString(QStringLiteral("web")) == QLatin1String(entry.argument)
                                            : argument.isUndefined();
        if (matches)
            return entry.command;
    }
    return std::nullopt;
}

QByteArray encodeReply(const RemoteReply &reply)
{
    QJsonObject object{{versionKey, version}};
    for (const auto &[result, name] : resultNames)
        if (result == reply.result)
            object.insert(QStringLiteral("result"), QLatin1String(name));
    if (!reply.path.isEmpty())
        object.insert(QStringLiteral("path"), reply.path);
    if (!reply.message.isEmpty())
        object.insert(QStringLiteral("message"), reply.message);
    return line(object);
}

std::optional<RemoteReply> decodeReply(const QByteArray &text)
{
    const auto object = readable(text);
    if (!object)
        return std::nullopt;
    const QString name = object->value(QStringLiteral("result")).toString();
    for (const auto &[result, resultName] : resultNames) {
        if (name != QLatin1String(resultName))
            continue;
        RemoteReply reply{result, object->value(QStringLiteral("path")).toString(),
                          object->value(QStringLiteral("message")).toString()};
        // A saved capture without its file is not an answer we can act on.
        if (result == RemoteReply::Result::saved && reply.path.isEmpty())
            return std::nullopt;
        return reply;
    }
    return std::nullopt;
}

} // namespace RemoteProtocol
