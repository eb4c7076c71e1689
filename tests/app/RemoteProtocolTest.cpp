#include "app/RemoteProtocol.h"

#include <QList>
#include <QSet>
#include <gtest/gtest.h>

namespace {

TEST(RemoteProtocol, EveryRequestSurvivesTheWireAndIsOneLine)
{
    const QList<RemoteCommand> all = {RemoteCommand::show,   RemoteCommand::screenshot, RemoteCommand::scroll,
                                      RemoteCommand::scrollManual, RemoteCommand::record, RemoteCommand::mappingOn,
                                      RemoteCommand::mappingOff, RemoteCommand::quit};
    QSet<QByteArray> lines;
    for (RemoteCommand command : all) {
        const QByteArray line = RemoteProtocol::encodeRequest(command);
        EXPECT_EQ(line.count('\n'), 1);
        EXPECT_TRUE(line.endsWith('\n'));
        lines.insert(line);
        const auto decoded = RemoteProtocol::decodeRequest(line);
        ASSERT_TRUE(decoded.has_value()) << line.constData();
        EXPECT_EQ(int(*decoded), int(command));
    }
    EXPECT_EQ(lines.size(), all.size());   // no two commands collide
}

TEST(RemoteProtocol, EveryReplySurvivesTheWire)
{
    using Result = RemoteReply::Result;
    const QList<RemoteReply> replies = {
        {Result::done, {}, {}},
        {Result::saved, QStringLiteral("/home/tú/Desktop/Screenshot_2026-01-02_03-04-05.png"), {}},
        {Result::saved, QStringLiteral("/tmp/a\nb \"quoted\".png"), {}},
        {Result::cancelled, {}, {}},
        {Result::failed, {}, QStringLiteral("Không thể chụp màn hình")},
        {Result::refused, {}, QStringLiteral("no")},
    };
    for (const RemoteReply &reply : replies) {
        const QByteArray line = RemoteProtocol::encodeReply(reply);
        EXPECT_EQ(line.count('\n'), 1) << line.constData();
        const auto decoded = RemoteProtocol::decodeReply(line);
        ASSERT_TRUE(decoded.has_value()) << line.constData();
        EXPECT_TRUE(*decoded == reply) << line.constData();
    }
}

TEST(RemoteProtocol, ReadsOlderAndExtendedMessagesAndRefusesTheRest)
{
    struct Case {
        QByteArray line;
        std::optional<RemoteCommand> request;
    };
    const QList<Case> requests = {
        {R"({"vistrel":1,"command":"screenshot"})", RemoteCommand::screenshot},
        {R"({"vistrel":1,"command":"scroll"})", RemoteCommand::scroll},          // web by default
        {R"({"vistrel":1,"command":"scroll","argument":"manual"})", RemoteCommand::scrollManual},
        {R"({"vistrel":1,"command":"quit","since":"a later field"})", RemoteCommand::quit},
        {R"({"vistrel":2,"command":"screenshot"})", std::nullopt},               // newer than us
        {R"({"command":"screenshot"})", std::nullopt},                          // no version
        {R"({"vistrel":1,"command":"mapping"})", std::nullopt},                 // on or off?
        {R"({"vistrel":1,"command":"mapping","argument":"maybe"})", std::nullopt},
        {R"({"vistrel":1,"command":"format-disk"})", std::nullopt},
        {"reopen", std::nullopt},
        {"", std::nullopt},
    };
    for (const Case &c : requests) {
        const auto got = RemoteProtocol::decodeRequest(c.line);
        EXPECT_EQ(got.has_value(), c.request.has_value()) << c.line.constData();
        if (got && c.request) {
            EXPECT_EQ(int(*got), int(*c.request)) << c.line.constData();
        }
    }

    const QList<QByteArray> badReplies = {
        R"({"vistrel":1,"result":"saved"})",               // saved, but where?
        R"({"vistrel":1,"result":"exploded"})",
        R"({"vistrel":9,"result":"done"})",
        "ok",
    };
    for (const QByteArray &line : badReplies)
        EXPECT_FALSE(RemoteProtocol::decodeReply(line).has_value()) << line.constData();
}

} // namespace
