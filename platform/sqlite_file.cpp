#include "platform/sqlite_file.h"

std::string SqliteFileConnection(const std::string& file) {
    return "Driver=SQLite3;Database=" + file + ";JournalMode=WAL;SyncPragma=NORMAL;Timeout=10000;";
}
