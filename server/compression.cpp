// zlib and gzip both ways, with the inflated size bounded.
#include "server/compression.h"

#include <strings.h>
#include <zlib.h>

#include <algorithm>

namespace {

bool StartsWith(const std::string& text, const char* prefix) {
    return strncasecmp(text.c_str(), prefix, std::char_traits<char>::length(prefix)) == 0;
}

bool LooksZlib(std::string_view body) {
    // CMF 0x78 (deflate, 32K window) and a header whose check bits make it a multiple of 31.
    return body.size() >= 2 && static_cast<unsigned char>(body[0]) == 0x78 &&
           ((static_cast<unsigned char>(body[0]) << 8) | static_cast<unsigned char>(body[1])) % 31 == 0;
}

bool LooksGzip(std::string_view body) {
    return body.size() >= 3 && static_cast<unsigned char>(body[0]) == 0x1F &&
           static_cast<unsigned char>(body[1]) == 0x8B && body[2] == 0x08;
}

}  // namespace

Compression CompressionOf(const std::string& contentType, std::string_view body) {
    if (StartsWith(contentType, "application/x-compress-zlib")) return Compression::kZlib;
    if (StartsWith(contentType, "application/x-compress-gzip")) return Compression::kGzip;
    if (StartsWith(contentType, "application/x-compress"))
        return LooksGzip(body) ? Compression::kGzip : Compression::kZlib;
    if (LooksZlib(body)) return Compression::kZlib;
    if (LooksGzip(body)) return Compression::kGzip;
    return Compression::kPlain;
}

InflateStatus Inflate(std::string_view body, Compression kind, std::size_t limit, std::string& text,
                      std::string& error) {
    text.clear();
    if (kind == Compression::kPlain) {
        if (body.size() > limit) {
            error = "the body is larger than " + std::to_string(limit) + " bytes";
            return InflateStatus::kTooLarge;
        }
        text.assign(body);
        return InflateStatus::kOk;
    }
    z_stream stream{};
    if (inflateInit2(&stream, kind == Compression::kGzip ? 15 + 16 : 15) != Z_OK) {
        error = "cannot start inflating";
        return InflateStatus::kDamaged;
    }
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(body.data()));
    stream.avail_in = static_cast<uInt>(body.size());
    char chunk[64 * 1024];
    int rc = Z_OK;
    while (rc == Z_OK) {
        stream.next_out = reinterpret_cast<Bytef*>(chunk);
        stream.avail_out = sizeof chunk;
        rc = inflate(&stream, Z_NO_FLUSH);
        const std::size_t produced = sizeof chunk - stream.avail_out;
        if (text.size() + produced > limit) {
            inflateEnd(&stream);
            text.clear();
            text.shrink_to_fit();
            error = "the inflated body is larger than " + std::to_string(limit) + " bytes";
            return InflateStatus::kTooLarge;
        }
        text.append(chunk, produced);
        if (rc == Z_BUF_ERROR && stream.avail_in == 0) break;  // the stream ended early
    }
    const bool whole = rc == Z_STREAM_END && stream.avail_in == 0;
    inflateEnd(&stream);
    if (!whole) {
        text.clear();
        error = rc == Z_STREAM_END
                    ? "data after the end of the compressed stream"
                    : (kind == Compression::kGzip ? "not a complete gzip stream" : "not a complete zlib stream");
        return InflateStatus::kDamaged;
    }
    return InflateStatus::kOk;
}

std::string Deflate(std::string_view text, Compression kind) {
    if (kind == Compression::kPlain) return std::string(text);
    z_stream stream{};
    deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kind == Compression::kGzip ? 15 + 16 : 15, 8,
                 Z_DEFAULT_STRATEGY);
    std::string out(deflateBound(&stream, static_cast<uLong>(text.size())), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

std::string ReplyContentType(Compression kind, const std::string& plainType) {
    switch (kind) {
        case Compression::kZlib: return "application/x-compress-zlib";
        case Compression::kGzip: return "application/x-compress-gzip";
        case Compression::kPlain: break;
    }
    return plainType;
}
