// CFile over real files and CMemFile over memory: positions, lengths, short reads and failures.
#include "platform/file.h"

#include <gtest/gtest.h>

#include <unistd.h>
#include <cstdio>
#include <string>

#include "platform/exceptions.h"

namespace {

std::string ScratchPath(const char* name) {
    return testing::TempDir() + "norvik_file_" + std::to_string(::getpid()) + "_" + name;
}

std::string MessageOf(const CFileException& e) { return e.GetErrorMessage().str(); }

TEST(CFile, WrittenBytesReadBackWithPositionsAndLength) {
    const std::string path = ScratchPath("roundtrip");
    {
        CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite);
        file.Write("0123456789", 10);
        EXPECT_EQ(file.GetPosition(), 10u);
        file.Close();
    }
    CFile file(path.c_str(), CFile::modeRead);
    EXPECT_EQ(file.GetLength(), 10u);
    EXPECT_EQ(file.Seek(4, CFile::begin), 4u);
    char buffer[16] = {};
    EXPECT_EQ(file.Read(buffer, 3), 3u);
    EXPECT_EQ(std::string(buffer, 3), "456");
    EXPECT_EQ(file.Seek(-2, CFile::end), 8u);
    EXPECT_EQ(file.Read(buffer, sizeof buffer), 2u) << "a read stops at the end of the file";
    EXPECT_EQ(file.Read(buffer, sizeof buffer), 0u);
    EXPECT_EQ(file.Seek(-1, CFile::current), 9u);
    std::remove(path.c_str());
}

TEST(CFile, CreateEmptiesAnExistingFile) {
    const std::string path = ScratchPath("truncate");
    CFile(path.c_str(), CFile::modeCreate | CFile::modeWrite).Write("abc", 3);
    CFile file(path.c_str(), CFile::modeCreate | CFile::modeReadWrite);
    EXPECT_EQ(file.GetLength(), 0u);
    std::remove(path.c_str());
}

TEST(CFile, FailuresThrowNamingThePath) {
    const std::string missing = ScratchPath("does_not_exist");
    try {
        CFile file(missing.c_str(), CFile::modeRead);
        FAIL() << "opening a missing file must throw";
    } catch (const CFileException& e) {
        EXPECT_NE(MessageOf(e).find(missing), std::string::npos) << MessageOf(e);
        EXPECT_NE(MessageOf(e).find("No such file"), std::string::npos) << MessageOf(e);
    }
    EXPECT_THROW(CFile(missing.c_str(), CFile::modeCreate | CFile::modeRead), CFileException);
    EXPECT_THROW(CFile(missing.c_str(), CFile::modeWrite | CFile::modeReadWrite), CFileException);
    EXPECT_THROW(CFile(missing.c_str(), CFile::modeWrite), CFileException) << "write without create needs the file";
}

TEST(CFile, ClosedFileRefusesEveryOperation) {
    CFile file;
    char byte = 0;
    EXPECT_FALSE(file.IsOpen());
    EXPECT_THROW(file.Read(&byte, 1), CFileException);
    EXPECT_THROW(file.Write(&byte, 1), CFileException);
    EXPECT_THROW(file.GetLength(), CFileException);
    EXPECT_NO_THROW(file.Close());
}

TEST(CFile, WritingAFileOpenedForReadingThrows) {
    const std::string path = ScratchPath("readonly");
    CFile(path.c_str(), CFile::modeCreate | CFile::modeWrite).Write("x", 1);
    CFile file(path.c_str(), CFile::modeRead);
    EXPECT_THROW(file.Write("y", 1), CFileException);
    std::remove(path.c_str());
}

TEST(CMemFile, StartsAsACopyOfItsBytesAndGrowsWhenWritten) {
    const char source[] = {'a', 'b', 'c'};
    CMemFile file(source, sizeof source);
    EXPECT_EQ(file.GetLength(), 3u);
    EXPECT_EQ(file.Seek(5, CFile::begin), 5u);
    file.Write("z", 1);
    const std::vector<std::uint8_t> expected = {'a', 'b', 'c', 0, 0, 'z'};
    EXPECT_EQ(file.GetData(), expected) << "a gap left by seeking past the end reads as zeros";
    file.Seek(1, CFile::begin);
    char buffer[8] = {};
    EXPECT_EQ(file.Read(buffer, sizeof buffer), 5u);
    EXPECT_EQ(file.Read(buffer, sizeof buffer), 0u);
}

TEST(CMemFile, SeekBeforeTheStartThrowsAndKeepsThePosition) {
    CMemFile file("abcd", 4);
    file.Seek(2, CFile::begin);
    EXPECT_THROW(file.Seek(-3, CFile::current), CFileException);
    EXPECT_THROW(file.Seek(INT64_MIN, CFile::end), CFileException);
    EXPECT_EQ(file.GetPosition(), 2u);
}

}  // namespace
