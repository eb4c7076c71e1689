#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

// What a command line asks of the running app.
enum class RemoteCommand { show, screenshot, scroll, scrollManual, record, mappingOn, mappingOff, quit };

// The app's one answer to a command.
struct RemoteReply {
    enum class Result {
        done,        // carried out; nothing to print
        saved,       // a capture ended with a file: path
        cancelled,   // a capture ended with nothing saved
        failed,      // could not be carried out: message
        refused,     // not understood (an older app, or a malformed request): message
    };
    Result result = Result::done;
    QString path;
    QString message;
    friend bool operator==(const RemoteReply &, const RemoteReply &) = default;
};

// One JSON object per line, each way, over the single-instance socket. Every message carries
// the protocol version; a reader takes any version up to its own and ignores fields it does not
// know, so a newer side can add fields without breaking an older one.
namespace RemoteProtocol {

inline constexpr int version = 1;

QByteArray encodeRequest(RemoteCommand command);
// Empty when the line is not a request this version understands.
std::optional<RemoteCommand> decodeRequest(const QByteArray &line);

QByteArray encodeReply(const RemoteReply &reply);
std::optional<RemoteReply> decodeReply(const QByteArray &line);

} // namespace RemoteProtocol
