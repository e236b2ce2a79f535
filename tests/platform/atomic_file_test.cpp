// CAtomicFile: whole replacement, permission bits kept, no temporary file left.
#include "platform/atomic_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "platform/exceptions.h"
#include "support/slurp.h"

namespace {

namespace fs = std::filesystem;

class AtomicFile : public ::testing::Test {
protected:
    void SetUp() override { fs::create_directories(dir_); }
    void TearDown() override { fs::remove_all(dir_); }
    // The names in the folder, to see that no temporary file stays.
    std::size_t Entries() const {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(dir_), fs::directory_iterator()));
    }

    const fs::path dir_ = fs::path(testing::TempDir()) / ("norvik_atomic_" + std::to_string(::getpid()));
    const fs::path file_ = dir_ / "data.bin";
};

TEST_F(AtomicFile, ReplacesWholeAndKeepsThePermissionBits) {
    CAtomicFile::Replace(file_.c_str(), "old contents");
    ::chmod(file_.c_str(), 0640);
    CAtomicFile::Replace(file_.c_str(), std::string("new\0contents", 12));
    EXPECT_EQ(Slurp(file_), std::string("new\0contents", 12));
    struct stat info {};
    ASSERT_EQ(::stat(file_.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
    EXPECT_EQ(Entries(), 1u);
}

TEST_F(AtomicFile, UncommittedWritesLeaveTheOldFileAndNoTemporaryFile) {
    CAtomicFile::Replace(file_.c_str(), "old contents");
    {
        CAtomicFile file(file_.c_str());
        file.Write("half of the new", 15);
        EXPECT_EQ(Slurp(file_), "old contents") << "nothing shows before Commit";
    }
    EXPECT_EQ(Slurp(file_), "old contents");
    EXPECT_EQ(Entries(), 1u);
}

TEST_F(AtomicFile, FailuresThrowNamingThePathAndChangeNothing) {
    const fs::path missing = dir_ / "no such folder" / "data.bin";
    try {
        CAtomicFile::Replace(missing.c_str(), "x");
        ADD_FAILURE() << "no throw";
    } catch (const CFileException& e) {
        EXPECT_NE(e.GetErrorMessage().str().find("no such folder"), std::string::npos) << e.GetErrorMessage().str();
    }
    // A folder in the way of the rename: the old entry stays, the temporary file goes.
    fs::create_directories(dir_ / "taken");
    CAtomicFile file((dir_ / "taken").c_str());
    file.Write("x", 1);
    EXPECT_THROW(file.Commit(), CFileException);
    EXPECT_TRUE(fs::is_directory(dir_ / "taken"));
}

}  // namespace
