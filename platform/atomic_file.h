// CAtomicFile: replaces a file whole. The new contents go to a temporary file beside it, which
// is put on the disk and renamed over the old one, so that a kill, a crash or a full disk at any
// moment leaves the old file or the new one, never a mixture or a truncated file.
#pragma once

#include <string_view>

#include "platform/file.h"

// Write through the CFile interface (directly or through a CArchive), then Commit. Until
// Commit, `path` is untouched; a CAtomicFile destroyed without Commit removes its temporary
// file. The temporary file is "<path>.<pid>.tmp" (a leftover from a killed process is harmless
// and is replaced by the next write of the same process id). The new file takes the old one's
// permission bits; a new path gets 0666 less the umask. Owner, links and extended attributes are
// not carried over: `path` must be an ordinary file or missing. Not copyable; one thread.
// Every failure throws CFileException naming the path and the system's reason.
class NORVIK_API CAtomicFile : public CFile {
public:
    // Creates the temporary file for writing; throws when it cannot.
    explicit CAtomicFile(const char* path);
    // Removes the temporary file unless committed; never throws.
    ~CAtomicFile() override;

    // Puts the data on the disk, closes, renames over `path` and puts the folder's entry on the
    // disk too. Throws on any failure, `path` then as it was.
    void Commit();
    // The file that Commit replaces.
    const CString& GetTargetPath() const { return m_strTarget; }

    // Writes `bytes` to `path` through a CAtomicFile: all of them or, on a throw, nothing.
    static void Replace(const char* path, std::string_view bytes);

private:
    CString m_strTarget;
    bool m_bCommitted = false;
};
