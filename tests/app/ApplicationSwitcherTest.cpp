#include "app/ApplicationSwitcher.h"
#include "platform/fake/FakeApplicationRegistry.h"

#include <gtest/gtest.h>

namespace {

RunningApplication app(qint64 pid, bool regular = true, bool terminated = false) { return {pid, "app", terminated, regular}; }

TEST(ApplicationSwitcher, ActivatesNeighbourInPidOrder)
{
    const QList<RunningApplication> three{app(300), app(120), app(450)};
    const QList<RunningApplication> mixed{app(400), app(200, true, true), app(100), app(300, false), app(50, false, true)};
    const struct { const char *name; QList<RunningApplication> applications; std::optional<qint64> frontmost; bool reverse;
                   QList<qint64> activated; } cases[] = {
        {"forward", three, 120, false, {300}}, {"reverse", three, 300, true, {120}},
        {"forward wraps", three, 450, false, {120}}, {"reverse wraps", three, 120, true, {450}},
        {"front unlisted forward takes lowest", three, 999, false, {120}},
        {"front unlisted reverse takes highest", three, 999, true, {450}},
        {"no front reverse takes highest", three, std::nullopt, true, {450}},
        {"terminated and accessory skipped forward", mixed, 100, false, {400}},
        {"terminated and accessory skipped reverse", mixed, 400, true, {100}},
        {"accessory in front has no position", mixed, 300, false, {100}},
        {"no eligible applications", {app(1, false), app(2, true, true)}, 1, false, {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        FakeApplicationRegistry registry;
        registry.applications = c.applications;
        registry.frontmost = c.frontmost;
        ApplicationSwitcher(registry).switchApplication(c.reverse);
        EXPECT_EQ(registry.activated, c.activated);
    }
}

} // namespace
