// CTableDatabase: the Knowledge Base's list of tables with the file header's versions, the
// change count that decides whether a save is needed, the trace switch and the busy counter
// that brackets writes. CAuditDBSys derives from it; its file form is in kb/table_file.cpp.
#pragma once

#include <atomic>
#include <cstdint>

#include "common/dynalist.h"
#include "kb/table.h"
#include "platform/types.h"

class CArchive;

// Progress of one read or write pass: (code, value, user value) -> ignored answer.
using KbProgressCallback = int (*)(int code, CallbackValue value, CallbackValue user);

// The tables, in list order, as a CDynaList<CTable>. Pointers and references to tables (record
// sets keep them) stay valid until a table is added or removed, or the list is read.
// Used from one thread; the busy counter guards against re-entry from message handlers run
// while a write waits, not against other threads.
class NORVIK_API CTableDatabase : public CDynaList<CTable> {
public:
    // Progress codes: start (value: "Reading Database" or "Saving Database" as const char*),
    // total (value: table count), one table done (value: its position), end (value 0).
    static constexpr int kProgStart = 1;
    static constexpr int kProgTotal = 2;
    static constexpr int kProgTable = 3;
    static constexpr int kProgEnd = 4;
    // The file format this system writes: 2.10.
    static constexpr std::uint16_t kFormatMajor = 2;
    static constexpr std::uint16_t kFormatMinor = 10;
    // The archive buffer for reading or writing a whole file: the pool's many small strings
    // otherwise cost one system call per 4 KiB, more than reading the cells does.
    static constexpr std::size_t kFileBufferSize = 65536;

    CTableDatabase() = default;
    ~CTableDatabase() override = default;
    CTableDatabase(const CTableDatabase&) = delete;
    CTableDatabase& operator=(const CTableDatabase&) = delete;

    // Index of the first table whose name equals `name` ignoring case, or -1.
    int FindTable(const char* name) const;
    // Appends a copy of `table` (purged when it has deleted rows); with tracing on, the copy
    // gets its string check enabled.
    void AddTable(const CTable& table);
    // Removes the table at `index` (which must be below GetCount()); later tables move down.
    void RemoveTable(ULong index);

    // The list's own change count plus every table's: 0 when nothing needs saving.
    ULong GetChangeCount() const;
    // The content version (0.0 until set or read); the Knowledge Base object gives it meaning.
    void GetVersion(std::uint16_t& major, std::uint16_t& minor) const {
        major = m_nVersionMajor;
        minor = m_nVersionMinor;
    }
    void SetVersion(std::uint16_t major, std::uint16_t minor) {
        m_nVersionMajor = major;
        m_nVersionMinor = minor;
    }
    // The file format version last read or written (2.10 for a new database).
    void GetFormatVersion(std::uint16_t& major, std::uint16_t& minor) const {
        major = m_nFormatMajor;
        minor = m_nFormatMinor;
    }

    // Turns on the string check of every table, present and future, and says so in the trace.
    void EnableTracing();
    bool IsTracing() const { return m_bTracing; }

    // Installs the callback for the next read or write pass; the pass clears it when it ends.
    void SetProgressCallback(KbProgressCallback callback, CallbackValue user) {
        m_pfnProgress = callback;
        m_progressUser = user;
    }

    // Storing writes the whole file (format 2.10, "IDS" magic) while holding the busy counter.
    // Loading replaces every table with those of the file and drops later duplicates of a name.
    // A file that is not a table file, is damaged or ends early throws CArchiveException (and
    // I/O failures CFileException): after a bad header the tables are untouched, after a bad
    // table section the list is empty. Both leave every change count at 0 on success.
    void Serialize(CArchive& ar);

    // Brackets a write. EnterWrite waits while another write is under way, running the
    // application's message pump meanwhile; without a pump nothing on this thread could end
    // that write, so it does not wait. LeaveWrite ends the bracket.
    void EnterWrite();
    void LeaveWrite() { m_nBusy.fetch_sub(1); }
    std::int32_t GetBusyCount() const { return m_nBusy.load(); }

    // Holds the busy counter for a scope.
    class WriteScope {
    public:
        explicit WriteScope(CTableDatabase& db) : m_db(db) { m_db.EnterWrite(); }
        ~WriteScope() { m_db.LeaveWrite(); }
        WriteScope(const WriteScope&) = delete;
        WriteScope& operator=(const WriteScope&) = delete;

    private:
        CTableDatabase& m_db;
    };

private:
    void Store(CArchive& ar);
    void Load(CArchive& ar);
    void Progress(int code, CallbackValue value);
    void RemoveDuplicates();

    std::uint16_t m_nFormatMajor = kFormatMajor;
    std::uint16_t m_nFormatMinor = kFormatMinor;
    std::uint16_t m_nVersionMajor = 0;
    std::uint16_t m_nVersionMinor = 0;
    ULong m_nChangeCount = 0;
    bool m_bTracing = false;
    KbProgressCallback m_pfnProgress = nullptr;
    CallbackValue m_progressUser = 0;
    std::atomic<std::int32_t> m_nBusy{0};
};
