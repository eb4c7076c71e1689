#include "app/RemoteProtocol.h"

#include <QSet>
#include <gtest/gtest.h>

namespace {

using Result = RemoteReply::Result;

TEST(RemoteProtocol, EveryMessageSurvivesTheWireAsOneDistinctLine)
{
    QSet<QByteArray> lines;
    for (int c = int(RemoteCommand::show); c <= int(RemoteCommand::quit); ++c) {
        const QByteArray line = RemoteProtocol::encodeRequest(RemoteCommand(c));
        EXPECT_TRUE(line.endsWith('\n') && line.count('\n') == 1) << line.constData();
        EXPECT_EQ(RemoteProtocol::decodeRequest(line), std::optional(RemoteCommand(c))) << line.constData();
        lines.insert(line);
    }
    EXPECT_EQ(lines.size(), 8);   // no two commands collide
    const RemoteReply replies[] = {
        {Result::done, {}, {}}, {Result::cancelled, {}, {}}, {Result::refused, {}, QStringLiteral("no")},
        {Result::saved, QStringLiteral("/home/tú/Desktop/Screenshot_2026-01-02_03-04-05.png"), {}},
        {Result::saved, QStringLiteral("/tmp/a\nb \"quoted\".png"), {}},
        {Result::failed, {}, QStringLiteral("Không thể chụp màn hình")},
    };
    for (const RemoteReply &reply : replies) {
        const QByteArray line = RemoteProtocol::encodeReply(reply);
        EXPECT_EQ(line.count('\n'), 1) << line.constData();
        EXPECT_TRUE(RemoteProtocol::decodeReply(line) == std::optional(reply)) << line.constData();
    }
}

TEST(RemoteProtocol, ReadsOlderAndExtendedMessagesAndRefusesTheRest)
{
    const std::pair<QByteArray, std::optional<RemoteCommand>> requests[] = {
        {R"({"vistrel":1,"command":"scroll"})", RemoteCommand::scroll},          // web by default
        {R"({"vistrel":1,"command":"scroll","argument":"manual"})", RemoteCommand::scrollManual},
        {R"({"vistrel":1,"command":"quit","since":"a later field"})", RemoteCommand::quit},
        {R"({"vistrel":2,"command":"screenshot"})", std::nullopt},               // newer than us
        {R"({"command":"screenshot"})", std::nullopt},                          // no version
        {R"({"vistrel":1,"command":"mapping"})", std::nullopt},                 // on or off?
        {R"({"vistrel":1,"command":"mapping","argument":"maybe"})", std::nullopt},
        {R"({"vistrel":1,"command":"format-disk"})", std::nullopt},
        {"reopen", std::nullopt},
    };
    for (const auto &[line, request] : requests)
        EXPECT_EQ(RemoteProtocol::decodeRequest(line), request) << line.constData();
    for (const QByteArray line : {R"({"vistrel":1,"result":"saved"})",   // saved, but where?
                                  R"({"vistrel":1,"result":"exploded"})", R"({"vistrel":9,"result":"done"})", "ok"})
        EXPECT_FALSE(RemoteProtocol::decodeReply(line).has_value()) << line.constData();
}

} // namespace
