#include "storage/AtomicFile.h"
#include "support/TestFiles.h"

#include <csignal>
#include <sys/resource.h>

namespace {

TEST(AtomicFile, AWriteTheDiskCannotTakeFailsAndKeepsTheOldFile)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("a.json");
    ASSERT_TRUE(AtomicFile::write(path, "old"));
    std::signal(SIGXFSZ, SIG_IGN);   // past the size limit a write fails instead of ending the process
    rlimit saved{}, limit{};
    getrlimit(RLIMIT_FSIZE, &saved);
    limit = {4096, saved.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
    const bool written = AtomicFile::write(path, QByteArray(1 << 20, 'x'));
    setrlimit(RLIMIT_FSIZE, &saved);
    EXPECT_FALSE(written);
    EXPECT_EQ(readFile(path), "old");
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList{"a.json"});
}

} // namespace
