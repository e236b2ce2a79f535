// CFile over a POSIX descriptor and CMemFile over a byte vector.
#include "platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>

#include "platform/exceptions.h"

namespace {

int SeekWhence(CFile::SeekPosition from) {
    switch (from) {
        case CFile::begin: return SEEK_SET;
        case CFile::current: return SEEK_CUR;
        case CFile::end: return SEEK_END;
    }
    return SEEK_SET;
}

}  // namespace

CFile::CFile(const char* path, unsigned flags) { Open(path, flags); }

CFile::~CFile() {
    if (m_hFile >= 0) ::close(m_hFile);
}

void CFile::Open(const char* path, unsigned flags) {
    Close();
    m_strPath = path ? path : "";
    int access = 0;
    switch (flags & ~static_cast<unsigned>(modeCreate)) {
        case modeRead: access = O_RDONLY; break;
        case modeWrite: access = O_WRONLY; break;
        case modeReadWrite: access = O_RDWR; break;
        default:
            throw CFileException(
                CString::Formatted("Cannot open '%s': invalid open mode 0x%x", m_strPath.c_str(), flags));
    }
    if (flags & modeCreate) {
        if (access == O_RDONLY) {
            throw CFileException(CString::Formatted("Cannot create '%s' for reading only", m_strPath.c_str()));
        }
        access |= O_CREAT | O_TRUNC;
    }
    do {
        m_hFile = ::open(m_strPath.c_str(), access | O_CLOEXEC, 0666);
    } while (m_hFile < 0 && errno == EINTR);
    if (m_hFile < 0) ThrowSystemError((flags & modeCreate) ? "Cannot create" : "Cannot open");
}

std::size_t CFile::Read(void* buffer, std::size_t count) {
    const int handle = CheckedHandle();
    auto* out = static_cast<char*>(buffer);
    std::size_t done = 0;
    while (done < count) {
        const ssize_t got = ::read(handle, out + done, count - done);
        if (got < 0) {
            if (errno == EINTR) continue;
            ThrowSystemError("Cannot read");
        }
        if (got == 0) break;
        done += static_cast<std::size_t>(got);
    }
    return done;
}

void CFile::Write(const void* buffer, std::size_t count) {
    const int handle = CheckedHandle();
    const auto* in = static_cast<const char*>(buffer);
    std::size_t done = 0;
    while (done < count) {
        const ssize_t put = ::write(handle, in + done, count - done);
        if (put < 0) {
            if (errno == EINTR) continue;
            ThrowSystemError("Cannot write");
        }
        done += static_cast<std::size_t>(put);
    }
}

std::uint64_t CFile::Seek(std::int64_t offset, SeekPosition from) {
    const off_t position = ::lseek(CheckedHandle(), static_cast<off_t>(offset), SeekWhence(from));
    if (position < 0) ThrowSystemError("Cannot seek in");
    return static_cast<std::uint64_t>(position);
}

std::uint64_t CFile::GetPosition() const {
    const off_t position = ::lseek(CheckedHandle(), 0, SEEK_CUR);
    if (position < 0) ThrowSystemError("Cannot get the position in");
    return static_cast<std::uint64_t>(position);
}

std::uint64_t CFile::GetLength() const {
    struct stat info {};
    if (::fstat(CheckedHandle(), &info) != 0) ThrowSystemError("Cannot get the length of");
    return static_cast<std::uint64_t>(info.st_size);
}

void CFile::Flush() { CheckedHandle(); }

void CFile::Sync() {
    const int handle = CheckedHandle();
    int result;
    do {
        result = ::fsync(handle);
    } while (result != 0 && errno == EINTR);
    if (result != 0) ThrowSystemError("Cannot write");
}

void CFile::Close() {
    if (m_hFile < 0) return;
    const int handle = m_hFile;
    m_hFile = -1;
    // The descriptor is released even when close reports an error, so it is never retried.
    if (::close(handle) != 0 && errno != EINTR) ThrowSystemError("Cannot close");
}

void CFile::ThrowSystemError(const char* what) const {
    const int error = errno;
    throw CFileException(CString::Formatted("%s '%s': %s", what, m_strPath.c_str(), std::strerror(error)));
}

int CFile::CheckedHandle() const {
    if (m_hFile < 0) {
        throw CFileException(CString::Formatted("File '%s' is not open", m_strPath.c_str()));
    }
    return m_hFile;
}

CMemFile::CMemFile() : CFile(CString("(memory)")) {}

CMemFile::CMemFile(const void* data, std::size_t size) : CMemFile() {
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    if (size != 0) m_data.assign(bytes, bytes + size);
}

std::size_t CMemFile::Read(void* buffer, std::size_t count) {
    if (!m_bOpen) throw CFileException("Memory file is not open");
    if (m_nPosition >= m_data.size()) return 0;
    const std::size_t take = std::min(count, m_data.size() - m_nPosition);
    std::memcpy(buffer, m_data.data() + m_nPosition, take);
    m_nPosition += take;
    return take;
}

void CMemFile::Write(const void* buffer, std::size_t count) {
    if (!m_bOpen) throw CFileException("Memory file is not open");
    if (count == 0) return;
    if (count > std::numeric_limits<std::size_t>::max() - m_nPosition) {
        throw CFileException("Cannot write to memory file: size overflow");
    }
    const std::size_t end = m_nPosition + count;
    if (end > m_data.size()) m_data.resize(end);
    std::memcpy(m_data.data() + m_nPosition, buffer, count);
    m_nPosition = end;
}

std::uint64_t CMemFile::Seek(std::int64_t offset, SeekPosition from) {
    if (!m_bOpen) throw CFileException("Memory file is not open");
    std::int64_t base = 0;
    if (from == current) base = static_cast<std::int64_t>(m_nPosition);
    if (from == end) base = static_cast<std::int64_t>(m_data.size());
    if ((offset < 0 && offset < -base) || offset > std::numeric_limits<std::int64_t>::max() - base) {
        throw CFileException("Cannot seek in memory file: position out of range");
    }
    m_nPosition = static_cast<std::size_t>(base + offset);
    return m_nPosition;
}

void CMemFile::Close() {
    m_bOpen = false;
    m_data.clear();
    m_data.shrink_to_fit();
    m_nPosition = 0;
}
