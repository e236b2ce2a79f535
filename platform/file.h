// CFile: raw, unbuffered byte access to a file on disk; CMemFile: the same over a block of memory.
// CArchive (platform/archive.h) reads and writes through either one, so the Knowledge Base file,
// tests and fuzzers share one code path.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/cstring.h"
#include "platform/types.h"

// A file opened by path. Owns its descriptor: the destructor closes it, ignoring errors.
// Not copyable. Used from one thread at a time.
// Every failure throws CFileException; its message names the path and the system's reason.
class NORVIK_API CFile {
public:
    // Exactly one of modeRead, modeWrite, modeReadWrite, optionally with modeCreate.
    enum OpenFlags : unsigned {
        modeRead = 0x0000,
        modeWrite = 0x0001,
        modeReadWrite = 0x0002,
        modeCreate = 0x1000,  // create the file, or empty an existing one
    };
    enum SeekPosition { begin = 0, current = 1, end = 2 };

    CFile() = default;
    // Opens at once; throws CFileException as Open does.
    CFile(const char* path, unsigned flags);
    virtual ~CFile();
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;

    // Closes any file already open, then opens `path`. Throws CFileException when the file
    // cannot be opened or the flags are not a valid combination.
    void Open(const char* path, unsigned flags);

    // Reads up to `count` bytes at the current position and returns how many were read;
    // fewer than `count` only at the end of the file, 0 when already there.
    virtual std::size_t Read(void* buffer, std::size_t count);
    // Writes all `count` bytes or throws.
    virtual void Write(const void* buffer, std::size_t count);
    // Moves the position and returns the new one. A position before the start throws.
    virtual std::uint64_t Seek(std::int64_t offset, SeekPosition from);
    virtual std::uint64_t GetPosition() const;
    virtual std::uint64_t GetLength() const;
    // Writes are not buffered here, so this only checks that the file is open; no fsync.
    virtual void Flush();
    // Asks the system to put the file's data on the disk (fsync); throws when it cannot.
    void Sync();
    // Closes the file; throws when the system reports a failure (data may be lost).
    // Closing a closed file does nothing.
    virtual void Close();
    virtual bool IsOpen() const { return m_hFile >= 0; }

    // The path given to Open; for a memory file, "(memory)".
    const CString& GetFilePath() const { return m_strPath; }

protected:
    explicit CFile(CString path) : m_strPath(std::move(path)) {}
    // Throws CFileException "<what> '<path>': <reason>" for the current errno.
    [[noreturn]] void ThrowSystemError(const char* what) const;

    CString m_strPath;

private:
    int CheckedHandle() const;

    int m_hFile = -1;
};

// A file held in memory: empty, or a copy of the bytes it was made from. Reads stop at the
// end of the data; writes overwrite and extend it (a gap left by seeking past the end reads
// as zero bytes). Always open until Close, which drops the data.
class NORVIK_API CMemFile : public CFile {
public:
    CMemFile();
    CMemFile(const void* data, std::size_t size);

    std::size_t Read(void* buffer, std::size_t count) override;
    void Write(const void* buffer, std::size_t count) override;
    std::uint64_t Seek(std::int64_t offset, SeekPosition from) override;
    std::uint64_t GetPosition() const override { return m_nPosition; }
    std::uint64_t GetLength() const override { return m_data.size(); }
    void Flush() override {}
    void Close() override;
    bool IsOpen() const override { return m_bOpen; }

    // Every byte written so far.
    const std::vector<std::uint8_t>& GetData() const { return m_data; }

private:
    std::vector<std::uint8_t> m_data;
    std::size_t m_nPosition = 0;
    bool m_bOpen = true;
};
