// CAtomicFile: a temporary file beside the target, fsync, rename, fsync of the folder.
#include "platform/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "platform/exceptions.h"

namespace {

CString TemporaryPath(const char* path) {
    return CString::Formatted("%s.%ld.tmp", path ? path : "", static_cast<long>(::getpid()));
}

// The rename is only durable once the folder's entry is on the disk. A folder that refuses
// fsync (some file systems do) has nothing more to give; the rename itself has happened.
void SyncFolderOf(const char* path) {
    std::filesystem::path folder = std::filesystem::path(path).parent_path();
    if (folder.empty()) folder = ".";
    const int handle = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (handle < 0) return;
    while (::fsync(handle) != 0 && errno == EINTR) {
    }
    ::close(handle);
}

}  // namespace

CAtomicFile::CAtomicFile(const char* path) : m_strTarget(path ? path : "") {
    const CString temporary = TemporaryPath(path);
    Open(temporary, modeCreate | modeWrite);
    struct stat info {};
    if (::stat(m_strTarget.c_str(), &info) == 0) ::chmod(GetFilePath().c_str(), info.st_mode & 07777);
}

CAtomicFile::~CAtomicFile() {
    if (m_bCommitted) return;
    try {
        CFile::Close();
    } catch (const CFileException&) {
        // The file is removed below whatever close said.
    }
    ::unlink(GetFilePath().c_str());
}

void CAtomicFile::Commit() {
    Flush();
    Sync();
    CFile::Close();
    if (std::rename(GetFilePath().c_str(), m_strTarget.c_str()) != 0) {
        const int error = errno;
        throw CFileException(CString::Formatted("Cannot replace '%s': %s", m_strTarget.c_str(), std::strerror(error)));
    }
    m_bCommitted = true;
    SyncFolderOf(m_strTarget.c_str());
}

void CAtomicFile::Replace(const char* path, std::string_view bytes) {
    CAtomicFile file(path);
    file.Write(bytes.data(), bytes.size());
    file.Commit();
}
