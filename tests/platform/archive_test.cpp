// CArchive: the string length prefixes, and truncated data failing with CArchiveException.
#include "platform/archive.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/exceptions.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

template <typename WriteFn>
Bytes Stored(WriteFn write) {
    CMemFile file;
    CArchive ar(file, CArchive::store);
    write(ar);
    ar.Close();
    return file.GetData();
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

TEST(CArchive, EveryTruncationOfValidDataThrowsArchiveException) {
    const Bytes whole = Stored([](CArchive& ar) {
        ar.WriteU8(0xAB);
        ar.WriteU16(0xBEEF);
        ar.WriteU32(0xDEADBEEF);
        ar.WriteI32(-2);
        ar.WriteU64(0x0123456789ABCDEFull);
        ar.WriteDouble(-1.5);
        ar.WriteString(CString("short"));
        ar.WriteString(CString(std::string(300, 'm')));
    });
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
                },
                CArchiveException)
                << "cut at " << cut;
        }
    }
}

}  // namespace
