// CArchive: byte layout of numbers and strings, round trips across buffer boundaries, and
// damaged input (truncated data, absurd lengths) failing with CArchiveException.
#include "platform/archive.h"

#include <gtest/gtest.h>

#include <unistd.h>
#include <cstdio>
#include <string>
#include <vector>

#include "platform/exceptions.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

template <typename WriteFn>
Bytes Stored(WriteFn write, std::size_t bufferSize = CArchive::kDefaultBufferSize) {
    CMemFile file;
    CArchive ar(file, CArchive::store, bufferSize);
    write(ar);
    ar.Close();
    return file.GetData();
}

// Writes one of each kind of value; ReadSample expects exactly these.
void WriteSample(CArchive& ar) {
    ar.WriteU8(0xAB);
    ar.WriteU16(0xBEEF);
    ar.WriteU32(0xDEADBEEF);
    ar.WriteI32(-2);
    ar.WriteU64(0x0123456789ABCDEFull);
    ar.WriteDouble(-1.5);
    ar.WriteString(CString("short"));
    ar.WriteString(CString(std::string(300, 'm')));
    ar.WriteString(CString(""));
}

void ReadSample(CArchive& ar) {
    EXPECT_EQ(ar.ReadU8(), 0xAB);
    EXPECT_EQ(ar.ReadU16(), 0xBEEF);
    EXPECT_EQ(ar.ReadU32(), 0xDEADBEEFu);
    EXPECT_EQ(ar.ReadI32(), -2);
    EXPECT_EQ(ar.ReadU64(), 0x0123456789ABCDEFull);
    EXPECT_EQ(ar.ReadDouble(), -1.5);
    EXPECT_EQ(ar.ReadString(), "short");
    EXPECT_EQ(ar.ReadString().str(), std::string(300, 'm'));
    EXPECT_EQ(ar.ReadString(), "");
}

TEST(CArchive, NumbersAreStoredLittleEndian) {
    const Bytes bytes = Stored([](CArchive& ar) {
        ar.WriteU8(0x01);
        ar.WriteU16(0x0302);
        ar.WriteU32(0x07060504);
        ar.WriteI32(-1);
        ar.WriteU64(0x0F0E0D0C0B0A0908ull);
        ar.WriteDouble(1.0);
    });
    const Bytes expected = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0xFF, 0xFF, 0xFF, 0xFF, 0x08, 0x09, 0x0A,
                            0x0B, 0x0C, 0x0D, 0x0E, 0x0F, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF0, 0x3F};
    EXPECT_EQ(bytes, expected);
}

TEST(CArchive, StringLengthPrefixFollowsTheLengthBands) {
    struct Case {
        std::size_t length;
        Bytes prefix;
    };
    const Case cases[] = {
        {0, {0x00}},
        {254, {0xFE}},
        {255, {0xFF, 0xFF, 0x00}},
        {65533, {0xFF, 0xFD, 0xFF}},
        {65534, {0xFF, 0xFF, 0xFF, 0xFE, 0xFF, 0x00, 0x00}},
        {70000, {0xFF, 0xFF, 0xFF, 0x70, 0x11, 0x01, 0x00}},
    };
    for (const Case& c : cases) {
        const std::string text(c.length, 'q');
        const Bytes bytes = Stored([&](CArchive& ar) { ar.WriteString(text.data(), text.size()); });
        ASSERT_EQ(bytes.size(), CArchive::GetStringSize(c.length)) << c.length;
        EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + static_cast<long>(c.prefix.size())), c.prefix) << c.length;

        CMemFile file(bytes.data(), bytes.size());
        CArchive ar(file, CArchive::load);
        EXPECT_EQ(ar.ReadString().str(), text) << c.length;
        EXPECT_EQ(ar.GetBytesLeft(), 0u);
    }
}

TEST(CArchive, ReaderAcceptsLongFormsForShortStrings) {
    const Bytes bytes = {0xFF, 0x02, 0x00, 'h', 'i', 0xFF, 0xFF, 0xFF, 0x01, 0x00, 0x00, 0x00, '!'};
    CMemFile file(bytes.data(), bytes.size());
    CArchive ar(file, CArchive::load);
    EXPECT_EQ(ar.ReadString(), "hi");
    EXPECT_EQ(ar.ReadString(), "!");
}

TEST(CArchive, EmbeddedZeroBytesSurviveARoundTrip) {
    const std::string text("a\0b", 3);
    const Bytes bytes = Stored([&](CArchive& ar) { ar.WriteString(text.data(), text.size()); });
    CMemFile file(bytes.data(), bytes.size());
    CArchive ar(file, CArchive::load);
    EXPECT_EQ(ar.ReadString().str(), text);
}

TEST(CArchive, ValuesSurviveEveryBufferSize) {
    for (std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{3}, std::size_t{7}, std::size_t{64},
                             CArchive::kDefaultBufferSize}) {
        const Bytes bytes = Stored(WriteSample, size);
        EXPECT_EQ(bytes, Stored(WriteSample)) << "the bytes must not depend on the buffer, size " << size;
        CMemFile file(bytes.data(), bytes.size());
        CArchive ar(file, CArchive::load, size);
        SCOPED_TRACE(size);
        ReadSample(ar);
        EXPECT_EQ(ar.GetBytesLeft(), 0u);
    }
}

TEST(CArchive, DiskFileRoundTripThroughCloseAndReopen) {
    const std::string path = testing::TempDir() + "norvik_archive_" + std::to_string(::getpid());
    {
        CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite);
        CArchive ar(file, CArchive::store);
        for (int i = 0; i < 5000; ++i) WriteSample(ar);
        ar.Close();
    }
    CFile file(path.c_str(), CFile::modeRead);
    CArchive ar(file, CArchive::load);
    for (int i = 0; i < 5000 && !HasFailure(); ++i) ReadSample(ar);
    EXPECT_EQ(ar.GetBytesLeft(), 0u);
    EXPECT_THROW(ar.ReadU8(), CArchiveException);
    std::remove(path.c_str());
}

TEST(CArchive, DestructorWritesWhatIsBuffered) {
    CMemFile file;
    {
        CArchive ar(file, CArchive::store);
        ar.WriteU32(7);
    }
    EXPECT_EQ(file.GetLength(), 4u);
}

TEST(CArchive, EveryTruncationOfValidDataThrowsArchiveException) {
    const Bytes whole = Stored(WriteSample);
    for (std::size_t cut = 0; cut < whole.size(); ++cut) {
        for (std::size_t bufferSize : {std::size_t{5}, CArchive::kDefaultBufferSize}) {
            CMemFile file(whole.data(), cut);
            CArchive ar(file, CArchive::load, bufferSize);
            EXPECT_THROW(
                {
                    ar.ReadU8();
                    ar.ReadU16();
                    ar.ReadU32();
                    ar.ReadI32();
                    ar.ReadU64();
                    ar.ReadDouble();
                    ar.ReadString();
                    ar.ReadString();
                    ar.ReadString();
                },
                CArchiveException)
                << "cut at " << cut;
        }
    }
}

TEST(CArchive, FailedReadConsumesNothing) {
    const Bytes bytes = {1, 2, 3};
    CMemFile file(bytes.data(), bytes.size());
    CArchive ar(file, CArchive::load, 2);
    EXPECT_THROW(ar.ReadU32(), CArchiveException);
    EXPECT_EQ(ar.GetBytesLeft(), 3u);
    EXPECT_EQ(ar.ReadU16(), 0x0201);
    EXPECT_EQ(ar.ReadU8(), 3);
}

TEST(CArchive, StringLongerThanTheDataLeftThrowsBeforeAllocating) {
    // Claims a string of 2^32 - 1 bytes with two bytes behind it.
    const Bytes bytes = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 'a', 'b'};
    CMemFile file(bytes.data(), bytes.size());
    CArchive ar(file, CArchive::load);
    std::string out;
    try {
        ar.ReadString(out);
        FAIL() << "an absurd length must throw";
    } catch (const CArchiveException& e) {
        EXPECT_NE(e.GetErrorMessage().str().find("4294967295"), std::string::npos) << e.GetErrorMessage().str();
    }
    EXPECT_LT(out.capacity(), 1024u);
}

TEST(CArchive, EndOfDataMessageNamesTheFile) {
    const std::string path = testing::TempDir() + "norvik_short_" + std::to_string(::getpid());
    CFile(path.c_str(), CFile::modeCreate | CFile::modeWrite).Write("ab", 2);
    CFile file(path.c_str(), CFile::modeRead);
    CArchive ar(file, CArchive::load);
    try {
        ar.ReadU32();
        FAIL() << "reading past the end must throw";
    } catch (const CArchiveException& e) {
        EXPECT_NE(e.GetErrorMessage().str().find(path), std::string::npos) << e.GetErrorMessage().str();
    }
    std::remove(path.c_str());
}

TEST(CArchive, WrongDirectionAndClosedArchiveThrow) {
    CMemFile file;
    CArchive storing(file, CArchive::store);
    EXPECT_TRUE(storing.IsStoring());
    EXPECT_THROW(storing.ReadU8(), CArchiveException);
    storing.Close();
    EXPECT_THROW(storing.WriteU8(1), CArchiveException);

    CMemFile input("abcd", 4);
    CArchive loading(input, CArchive::load);
    EXPECT_TRUE(loading.IsLoading());
    EXPECT_THROW(loading.WriteU8(1), CArchiveException);
    loading.Close();
    EXPECT_THROW(loading.ReadU8(), CArchiveException);
}

TEST(CArchive, LoadingStartsAtTheFilePositionAndCloseReturnsUnreadBytes) {
    CMemFile file("xxABCDEFGH", 10);
    file.Seek(2, CFile::begin);
    CArchive ar(file, CArchive::load);
    EXPECT_EQ(ar.GetBytesLeft(), 8u);
    EXPECT_EQ(ar.ReadU8(), 'A');
    ar.Close();
    EXPECT_EQ(file.GetPosition(), 3u) << "the buffered but unread bytes go back to the file";
}

TEST(CArchive, ReadsLargerThanTheBufferGoStraightThrough) {
    std::string big(10000, 'z');
    big[9999] = 'e';
    const Bytes bytes = Stored(
        [&](CArchive& ar) {
            ar.WriteU8(1);
            ar.Write(big.data(), big.size());
            ar.WriteU8(2);
        },
        16);
    CMemFile file(bytes.data(), bytes.size());
    CArchive ar(file, CArchive::load, 16);
    EXPECT_EQ(ar.ReadU8(), 1);
    std::string back(big.size(), '\0');
    ar.Read(back.data(), back.size());
    EXPECT_EQ(back, big);
    EXPECT_EQ(ar.ReadU8(), 2);
}

}  // namespace
