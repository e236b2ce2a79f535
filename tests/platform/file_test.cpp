// CFile over real files: positions, lengths, short reads and failures.
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

TEST(CFile, FailuresThrowNamingThePath) {
    const std::string missing = ScratchPath("does_not_exist");
    try {
        CFile file(missing.c_str(), CFile::modeRead);
        FAIL() << "opening a missing file must throw";
    } catch (const CFileException& e) {
        const std::string message = e.GetErrorMessage().str();
        EXPECT_NE(message.find(missing), std::string::npos) << message;
        EXPECT_NE(message.find("No such file"), std::string::npos) << message;
    }
    EXPECT_THROW(CFile(missing.c_str(), CFile::modeWrite), CFileException) << "write without create needs the file";
}

}  // namespace
