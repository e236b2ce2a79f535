// CArchive: buffered, little-endian reading or writing of numbers and strings over a CFile.
// The Knowledge Base file is read and written through it in one pass.
//
// Encodings (all integers little-endian, doubles as their IEEE-754 bits in a u64):
//
//   string, length n < 255          : u8 n,                         then n bytes
//   string, 255 <= n < 65534        : u8 0xFF, u16 n,               then n bytes
//   string, n >= 65534              : u8 0xFF, u16 0xFFFF, u32 n,   then n bytes
//
// No terminator is written. A reader accepts any of the three forms for any length.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "platform/cstring.h"
#include "platform/file.h"
#include "platform/types.h"

// One direction over one open CFile, which must outlive the archive and must not be used
// directly while the archive is open. Not copyable; one thread at a time.
//
// Loading: the archive learns the file's length once, at construction, and never reads or
// allocates for more than the bytes left; running out of data, or a string longer than the
// data left, throws CArchiveException. I/O failures of the file throw CFileException.
// Using a loading archive to write, or a storing one to read, throws CArchiveException.
class NORVIK_API CArchive {
public:
    enum Mode { store = 0, load = 1 };
    static constexpr std::size_t kDefaultBufferSize = 4096;

    // Loading starts at the file's current position. A bufferSize of 0 is taken as 1.
    CArchive(CFile& file, Mode mode, std::size_t bufferSize = kDefaultBufferSize);
    // Closes the archive; errors are swallowed here, so a writer calls Close() to see them.
    ~CArchive();
    CArchive(const CArchive&) = delete;
    CArchive& operator=(const CArchive&) = delete;

    bool IsStoring() const { return m_mode == store; }
    bool IsLoading() const { return m_mode == load; }
    CFile& GetFile() const { return m_file; }

    // Storing: hands the buffered bytes to the file. Loading: does nothing.
    void Flush();
    // Storing: flushes. Loading: moves the file back to just after the last byte consumed.
    // Afterwards every read or write throws. Closing twice does nothing.
    void Close();

    // Loading: the bytes not yet consumed (buffered plus still in the file); storing: 0.
    std::uint64_t GetBytesLeft() const { return static_cast<std::uint64_t>(m_pReadEnd - m_pRead) + m_nFileLeft; }

    // Reads exactly `count` bytes. When fewer are left, throws without consuming any.
    void Read(void* buffer, std::size_t count) {
        if (count <= static_cast<std::size_t>(m_pReadEnd - m_pRead)) {
            if (count != 0) std::memcpy(buffer, m_pRead, count);
            m_pRead += count;
            return;
        }
        ReadSlow(buffer, count);
    }
    void Write(const void* buffer, std::size_t count) {
        if (count <= static_cast<std::size_t>(m_pWriteEnd - m_pWrite)) {
            if (count != 0) std::memcpy(m_pWrite, buffer, count);
            m_pWrite += count;
            return;
        }
        WriteSlow(buffer, count);
    }

    std::uint8_t ReadU8() { return ReadLittle<std::uint8_t>(); }
    std::uint16_t ReadU16() { return ReadLittle<std::uint16_t>(); }
    std::uint32_t ReadU32() { return ReadLittle<std::uint32_t>(); }
    std::int32_t ReadI32() { return static_cast<std::int32_t>(ReadLittle<std::uint32_t>()); }
    std::uint64_t ReadU64() { return ReadLittle<std::uint64_t>(); }
    double ReadDouble() { return std::bit_cast<double>(ReadLittle<std::uint64_t>()); }

    void WriteU8(std::uint8_t value) { WriteLittle(value); }
    void WriteU16(std::uint16_t value) { WriteLittle(value); }
    void WriteU32(std::uint32_t value) { WriteLittle(value); }
    void WriteI32(std::int32_t value) { WriteLittle(static_cast<std::uint32_t>(value)); }
    void WriteU64(std::uint64_t value) { WriteLittle(value); }
    void WriteDouble(double value) { WriteLittle(std::bit_cast<std::uint64_t>(value)); }

    // Reads one string into `out`, reusing its storage; on failure `out` is unspecified.
    void ReadString(std::string& out);
    CString ReadString();
    // Writes `length` bytes of `text` (embedded zero bytes included) in the string form.
    // A length of 2^32 or more throws CArchiveException.
    void WriteString(const char* text, std::size_t length);
    void WriteString(const CString& text) { WriteString(text.c_str(), text.str().size()); }

    // Bytes that WriteString takes for a string of `length` characters.
    static std::uint64_t GetStringSize(std::uint64_t length) {
        return length + (length < 255 ? 1 : length < 65534 ? 3 : 7);
    }

private:
    template <typename T>
    T ReadLittle() {
        std::uint8_t bytes[sizeof(T)];
        Read(bytes, sizeof(T));
        T value = 0;
        for (std::size_t i = 0; i < sizeof(T); ++i)
            value = static_cast<T>(value | (static_cast<T>(bytes[i]) << (8 * i)));
        return value;
    }
    template <typename T>
    void WriteLittle(T value) {
        std::uint8_t bytes[sizeof(T)];
        for (std::size_t i = 0; i < sizeof(T); ++i) bytes[i] = static_cast<std::uint8_t>(value >> (8 * i));
        Write(bytes, sizeof(T));
    }

    void ReadSlow(void* buffer, std::size_t count);
    void WriteSlow(const void* buffer, std::size_t count);
    void CheckOpen() const;
    [[noreturn]] void ThrowEndOfData(std::uint64_t needed) const;

    CFile& m_file;
    Mode m_mode;
    bool m_bOpen = true;
    std::size_t m_nBufferSize;
    std::unique_ptr<std::uint8_t[]> m_buffer;
    // Loading: unread bytes are [m_pRead, m_pReadEnd); both stay null while storing.
    const std::uint8_t* m_pRead = nullptr;
    const std::uint8_t* m_pReadEnd = nullptr;
    // Storing: free space is [m_pWrite, m_pWriteEnd); both stay null while loading.
    std::uint8_t* m_pWrite = nullptr;
    std::uint8_t* m_pWriteEnd = nullptr;
    // Loading: bytes of the file not yet pulled into the buffer.
    std::uint64_t m_nFileLeft = 0;
};
