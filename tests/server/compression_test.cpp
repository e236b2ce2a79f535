// The compressions of agents' posts: told apart, inflated whole or refused, never past the bound.
#include "server/compression.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <zlib.h>

#include <string>

namespace {

TEST(Compression, IsToldFromContentTypeThenFromTheFirstBytes) {
    const std::string zlib = Deflate("<REQUEST/>", Compression::kZlib);
    const std::string gzip = Deflate("<REQUEST/>", Compression::kGzip);
    const struct {
        const char* contentType;
        std::string body;
        Compression expected;
    } cases[] = {
        {"application/x-compress-zlib", zlib, Compression::kZlib},
        {"application/x-compress-gzip", gzip, Compression::kGzip},
        {"Application/X-Compress", zlib, Compression::kZlib},
        {"application/x-compress", gzip, Compression::kGzip},
        {"application/xml", "<REQUEST/>", Compression::kPlain},
        {"application/json", "{}", Compression::kPlain},
        {"", zlib, Compression::kZlib},
        {"application/octet-stream", gzip, Compression::kGzip},
        {"", "x", Compression::kPlain},
    };
    for (const auto& c : cases) EXPECT_EQ(CompressionOf(c.contentType, c.body), c.expected) << c.contentType;
}

TEST(Compression, EveryKindRoundTrips) {
    std::string text;
    for (int i = 0; i < 5000; ++i)
        text += "<SOFTWARES><NAME>application " + std::to_string(i) + "</NAME></SOFTWARES>\n";
    for (const Compression kind : {Compression::kPlain, Compression::kZlib, Compression::kGzip}) {
        std::string back, error;
        EXPECT_EQ(Inflate(Deflate(text, kind), kind, text.size(), back, error), InflateStatus::kOk) << error;
        EXPECT_EQ(back, text);
    }
}

TEST(Compression, DamagedStreamsAreRefusedWithNothingKept) {
    const std::string zlib = Deflate(std::string(10000, 'a') + "tail", Compression::kZlib);
    const std::string gzip = Deflate(std::string(10000, 'a') + "tail", Compression::kGzip);
    const struct {
        std::string body;
        Compression kind;
        const char* error;
    } cases[] = {
        {zlib.substr(0, zlib.size() - 5), Compression::kZlib, "not a complete zlib stream"},
        {gzip.substr(0, gzip.size() - 3), Compression::kGzip, "not a complete gzip stream"},
        {zlib + "trailing", Compression::kZlib, "data after the end of the compressed stream"},
        {"<REQUEST/>", Compression::kZlib, "not a complete zlib stream"},
        {zlib, Compression::kGzip, "not a complete gzip stream"},
        {"", Compression::kZlib, "not a complete zlib stream"},
    };
    for (const auto& c : cases) {
        std::string text, error;
        EXPECT_EQ(Inflate(c.body, c.kind, 1 << 20, text, error), InflateStatus::kDamaged) << c.error;
        EXPECT_EQ(error, c.error);
        EXPECT_TRUE(text.empty());
    }
}

TEST(Compression, PlainBodyOverTheLimitIsTooLarge) {
    std::string text, error;
    EXPECT_EQ(Inflate(std::string(101, 'x'), Compression::kPlain, 100, text, error), InflateStatus::kTooLarge);
    EXPECT_EQ(error, "the body is larger than 100 bytes");
}

// 1 GiB of zeros in about a megabyte of zlib, made without holding the gigabyte.
std::string ZlibBomb() {
    z_stream stream{};
    deflateInit(&stream, Z_BEST_COMPRESSION);
    const std::string zeros(1 << 20, '\0');
    std::string out;
    char chunk[1 << 16];
    for (int i = 0; i < 1024; ++i) {
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(zeros.data()));
        stream.avail_in = static_cast<uInt>(zeros.size());
        do {
            stream.next_out = reinterpret_cast<Bytef*>(chunk);
            stream.avail_out = sizeof chunk;
            deflate(&stream, i == 1023 ? Z_FINISH : Z_NO_FLUSH);
            out.append(chunk, sizeof chunk - stream.avail_out);
        } while (stream.avail_out == 0);
    }
    deflateEnd(&stream);
    return out;
}

long PeakKilobytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

TEST(Compression, ZlibBombStopsAtTheLimitInBoundedMemory) {
    const std::string bomb = ZlibBomb();
    ASSERT_LT(bomb.size(), 2u << 20);
    const long before = PeakKilobytes();
    std::string text, error;
    EXPECT_EQ(Inflate(bomb, Compression::kZlib, 8u << 20, text, error), InflateStatus::kTooLarge);
    EXPECT_EQ(error, "the inflated body is larger than 8388608 bytes");
    EXPECT_TRUE(text.empty());
    // The inflated text is never held past the limit (and the gigabyte never at all).
    EXPECT_LT(PeakKilobytes() - before, 40 * 1024);
}

}  // namespace
