#include "platform/SystemClipboard.h"

#include <QMimeData>
#include <gtest/gtest.h>

TEST(SystemClipboard, HoldsTheEntryItWasGiven)
{
    auto entry = std::make_unique<QMimeData>();
    entry->setText("copied");
    SystemClipboard clipboard;
    EXPECT_TRUE(clipboard.write(std::move(entry)));
    ASSERT_TRUE(clipboard.contents());
    EXPECT_EQ(clipboard.contents()->text(), "copied");
}
