// The compressions agents use for their posts, told from the Content-Type (or, when that names
// none, from the body's first bytes), and the bounded inflate that keeps a zlib bomb from
// taking the server's memory.
//
//   Content-Type                     body
//   application/x-compress-zlib      zlib stream (RFC 1950: 0x78 ...)
//   application/x-compress           zlib or gzip stream (OCS agents send either)
//   application/x-compress-gzip      gzip stream (RFC 1952: 0x1F 0x8B 0x08 ...)
//   anything else                    plain, unless it starts with a zlib or gzip header
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

enum class Compression { kPlain, kZlib, kGzip };

// The compression of a body sent with `contentType`.
Compression CompressionOf(const std::string& contentType, std::string_view body);

enum class InflateStatus {
    kOk,
    kTooLarge,  // the inflated text would pass the limit; inflating stopped there
    kDamaged,   // not a complete stream of its compression
};

// Inflates `body` of compression `kind` into `text`, never holding more than `limit` bytes of
// it. A plain body is copied (kTooLarge when it passes `limit`). `error` gets one line on failure.
InflateStatus Inflate(std::string_view body, Compression kind, std::size_t limit, std::string& text,
                      std::string& error);

// `text` compressed as `kind` (plain: unchanged).
std::string Deflate(std::string_view text, Compression kind);

// The Content-Type of a reply of compression `kind` whose plain type is `plainType`.
std::string ReplyContentType(Compression kind, const std::string& plainType);
